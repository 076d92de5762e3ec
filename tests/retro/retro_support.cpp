#include "retro_support.h"

#include <cstdlib>

namespace retrotest {

int CliConvert(const std::string& src, const std::string& dst) {
  auto r = pixtest::Run(std::string(pixtest::kCli) + " convert " + pixtest::Quote(src) + " " + pixtest::Quote(dst));
  auto at = r.out.find("result: ");
  return at == std::string::npos ? -1 : std::atoi(r.out.c_str() + at + 8);
}

pixtest::Pnm Decode(const std::string& tool, const std::string& path) {
  pixtest::Pnm pnm;
  auto r = pixtest::Run(tool + " " + pixtest::Quote(path));
  EXPECT_EQ(r.status, 0) << tool << ": " << r.err;
  EXPECT_TRUE(pixtest::ParsePnm(pixtest::ToBytes(r.out), pnm)) << tool << " gave no picture";
  return pnm;
}

}  // namespace retrotest
