#include "retro_support.h"

#include <cstdlib>

namespace retrotest {

int CliConvert(const std::string& src, const std::string& dst) {
  auto r = pixtest::Run(std::string(pixtest::kCli) + " convert " + pixtest::Quote(src) + " " + pixtest::Quote(dst));
  auto at = r.out.find("result: ");
  return at == std::string::npos ? -1 : std::atoi(r.out.c_str() + at + 8);
}


}  // namespace retrotest
