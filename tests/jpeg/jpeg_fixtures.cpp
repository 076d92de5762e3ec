#include "jpeg_fixtures.h"

#include <algorithm>
#include <random>

#include "common/call.h"

namespace jpegtest {

Bytes MakePpm(int w, int h, int seed) {
  std::string head = "P6\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n";
  Bytes out(head.begin(), head.end());
  std::mt19937 rng(static_cast<unsigned>(seed));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      out.push_back(static_cast<std::uint8_t>(x * 255 / w));
      out.push_back(static_cast<std::uint8_t>(y * 255 / h));
      out.push_back(static_cast<std::uint8_t>((seed * 40 + (x ^ y) + static_cast<int>(rng() % 128)) & 255));
    }
  return out;
}

Bytes MakeJpeg(int w, int h, int seed) {
  pixtest::Scratch s;
  pixtest::WriteFile(s.path("in.ppm"), MakePpm(w, h, seed));
  auto r = pixtest::Run("cjpeg -quality 90 -baseline " + pixtest::Quote(s.path("in.ppm")) + " > " +
                        pixtest::Quote(s.path("out.jpg")));
  if (r.status != 0) return {};
  return pixtest::ReadFile(s.path("out.jpg"));
}

Bytes Decode(const Bytes& jpeg) {
  pixtest::Scratch s;
  pixtest::WriteFile(s.path("in.jpg"), jpeg);
  auto r = pixtest::Run("djpeg -pnm " + pixtest::Quote(s.path("in.jpg")) + " > " + pixtest::Quote(s.path("out.ppm")));
  if (r.status != 0) return {};
  return pixtest::ReadFile(s.path("out.ppm"));
}

Bytes Filler(std::size_t n, int seed) {
  std::mt19937 rng(static_cast<unsigned>(seed));
  Bytes out(n);
  for (auto& b : out) {
    b = static_cast<std::uint8_t>(rng() % 0xFF);
    if (b == 'J') b = 'K';
  }
  return out;
}

namespace {
void Put16(Bytes& b, unsigned v) {
  b.push_back(static_cast<std::uint8_t>(v));
  b.push_back(static_cast<std::uint8_t>(v >> 8));
}
void Put32(Bytes& b, std::uint32_t v) {
  Put16(b, v & 0xFFFF);
  Put16(b, v >> 16);
}
void Entry(Bytes& b, unsigned tag, unsigned format, std::uint32_t count, std::uint32_t value) {
  Put16(b, tag);
  Put16(b, format);
  Put32(b, count);
  Put32(b, value);
}
}  // namespace

Bytes WithExifThumbnail(const Bytes& main, const Bytes& thumb, std::size_t* thumbAt, bool afterApp0) {
  // TIFF: header (8), IFD0 at 8 with one entry and a link to IFD1 at 26,
  // IFD1 with the two thumbnail tags, thumbnail at 56.
  Bytes tiff = {'I', 'I', 42, 0};
  Put32(tiff, 8);
  Put16(tiff, 1);
  Entry(tiff, 0x0112, 3, 1, 1);  // orientation
  Put32(tiff, 26);
  Put16(tiff, 2);
  Entry(tiff, 0x201, 4, 1, 56);
  Entry(tiff, 0x202, 4, 1, static_cast<std::uint32_t>(thumb.size()));
  Put32(tiff, 0);
  tiff.insert(tiff.end(), thumb.begin(), thumb.end());
  Bytes app1 = {0xFF, 0xE1};
  const std::size_t len = 2 + 6 + tiff.size();
  app1.push_back(static_cast<std::uint8_t>(len >> 8));
  app1.push_back(static_cast<std::uint8_t>(len));
  for (char c : std::string("Exif\0\0", 6)) app1.push_back(static_cast<std::uint8_t>(c));
  app1.insert(app1.end(), tiff.begin(), tiff.end());
  // After SOI and APP0 (20 bytes in cjpeg's output), or after SOI.
  const std::ptrdiff_t at = afterApp0 ? 20 : 2;
  Bytes out(main.begin(), main.begin() + at);
  if (thumbAt) *thumbAt = out.size() + 4 + 6 + 56;
  out.insert(out.end(), app1.begin(), app1.end());
  out.insert(out.end(), main.begin() + at, main.end());
  return out;
}

Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

std::size_t Find(const Bytes& hay, const Bytes& needle, std::size_t from) {
  auto it = std::search(hay.begin() + static_cast<std::ptrdiff_t>(from), hay.end(), needle.begin(), needle.end());
  return it == hay.end() ? std::string::npos : static_cast<std::size_t>(it - hay.begin());
}

Bytes Slice(const Bytes& b, std::size_t from, std::size_t to) {
  return Bytes(b.begin() + static_cast<std::ptrdiff_t>(from), b.begin() + static_cast<std::ptrdiff_t>(to));
}

int Convert(int (*fn)(const pix::ConvertCall&), const std::string& source, const std::string& target, int arg1) {
  pix::ConvertCall c;
  c.source = source.c_str();
  c.target = target.c_str();
  c.arg1 = arg1;
  return fn(c);
}

int ConvertToMemory(int (*fn)(const pix::ConvertCall&), const std::string& source, int wanted, Bytes& out) {
  pix::ConvertCall c;
  c.source = source.c_str();
  c.arg1 = wanted;
  unsigned char* block = nullptr;
  c.out = &block;
  int n = fn(c);
  out = n > 0 ? pixtest::TakeBlock(block, n) : Bytes{};
  return n;
}

}  // namespace jpegtest
