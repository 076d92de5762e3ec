#include "helpers.h"

#include <sstream>

namespace scitest {

std::vector<std::string> Cards(const Bytes& fits) {
  std::vector<std::string> cards;
  for (std::size_t at = 0; at + 80 <= fits.size(); at += 80) {
    cards.emplace_back(fits.begin() + static_cast<long>(at), fits.begin() + static_cast<long>(at) + 80);
    if (cards.back().compare(0, 8, "END     ") == 0) break;
  }
  return cards;
}

std::string CardFor(const std::vector<std::string>& cards, const std::string& key) {
  std::string k = key;
  k.resize(8, ' ');
  for (const auto& c : cards)
    if (c.compare(0, 8, k) == 0) return c;
  return "";
}

FitsPixels AstropyRead(const std::string& path) {
  FitsPixels p;
  const char* script =
      "import sys, warnings\n"
      "warnings.simplefilter('ignore')\n"
      "from astropy.io import fits\n"
      "with fits.open(sys.argv[1], ignore_missing_end=True) as h:\n"
      "    d = h[0].data\n"
      "    print(d.shape[1], d.shape[0])\n"
      "    print(' '.join(str(int(v)) for v in d.ravel()))\n";
  auto r = pixtest::Run(std::string(pixtest::kPython) + " -c " + pixtest::Quote(script) + " " + pixtest::Quote(path));
  if (r.status != 0) {
    p.error = r.err;
    return p;
  }
  std::istringstream in(r.out);
  in >> p.width >> p.height;
  long v;
  while (in >> v) p.values.push_back(v);
  p.ok = static_cast<long>(p.values.size()) == static_cast<long>(p.width) * p.height;
  return p;
}

std::vector<std::string> FitsVerifyErrors(const std::string& path) {
  auto r = pixtest::Run("fitsverify " + pixtest::Quote(path));
  std::vector<std::string> errors;
  std::istringstream in(r.out + r.err);
  std::string line;
  bool inError = false;
  while (std::getline(in, line)) {
    if (line.rfind("*** Error:", 0) == 0) {
      errors.push_back(line);
      inError = true;
    } else if (inError && line.size() > 1 && line[0] == ' ' && line.find_first_not_of(' ') != std::string::npos) {
      errors.back() += " " + line.substr(line.find_first_not_of(' '));
    } else {
      inError = false;
    }
  }
  return errors;
}

}  // namespace scitest
