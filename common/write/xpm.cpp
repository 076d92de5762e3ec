// XPM 3: a C array of strings, the colours first ("<chars> c #RRGGBB", "None"
// for fully transparent pixels), then one string per row. Characters per
// pixel grow with the number of colours.
#include <map>
#include <string>
#include <vector>

#include "common/image.h"

namespace pix {
namespace {

// Printable characters that need no escaping inside a C string.
constexpr char kChars[] = ".#abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789@$%&*+-=:;<>,/";
constexpr std::size_t kCharCount = sizeof kChars - 1;

void AppendCode(std::vector<char>& s, std::size_t n, int width) {
  for (int i = 0; i < width; ++i) {
    s.push_back(kChars[n % kCharCount]);
    n /= kCharCount;
  }
}

std::string Code(std::size_t n, int width) {
  std::vector<char> s;
  AppendCode(s, n, width);
  return std::string(s.begin(), s.end());
}

}  // namespace

bool WriteXpm(Sink& out, const Image& img, const char* name) {
  if (img.width == 0 || img.height == 0) return false;
  // Colour keys: the RGB value, or 1 << 24 for transparency.
  std::map<std::uint32_t, std::size_t> index;
  std::vector<std::uint32_t> keys(std::size_t(img.width) * img.height);
  for (std::uint32_t y = 0; y < img.height; ++y)
    for (std::uint32_t x = 0; x < img.width; ++x) {
      Rgb c = img.rgb(x, y);
      std::uint32_t key = img.alpha(x, y) == 0 ? 1u << 24 : std::uint32_t(c.r) << 16 | std::uint32_t(c.g) << 8 | c.b;
      keys[std::size_t(y) * img.width + x] = key;
      index.emplace(key, 0);
    }
  int cpp = 1;
  for (std::size_t cap = kCharCount; cap < index.size(); cap *= kCharCount) ++cpp;
  std::size_t n = 0;
  for (auto& [key, i] : index) i = n++;
  out.printf("/* XPM */\nstatic char *%s[] = {\n", name && *name ? name : "image");
  out.printf("\"%u %u %zu %d\",\n", img.width, img.height, index.size(), cpp);
  for (const auto& [key, i] : index) {
    if (key >> 24)
      out.printf("\"%s c None\",\n", Code(i, cpp).c_str());
    else
      out.printf("\"%s c #%06X\",\n", Code(i, cpp).c_str(), key);
  }
  std::vector<char> line;
  for (std::uint32_t y = 0; y < img.height; ++y) {
    line.assign(1, '"');
    for (std::uint32_t x = 0; x < img.width; ++x) AppendCode(line, index[keys[std::size_t(y) * img.width + x]], cpp);
    line.push_back('"');
    if (y + 1 < img.height) line.push_back(',');
    line.push_back('\n');
    out.write(line.data(), line.size());
  }
  out.puts("};\n");
  return !out.failed();
}

}  // namespace pix
