// Kodak DC20 / Chinon ES-1000 camera pictures (".dc2") to 24-bit Targa.
// A ".dc2" file is a raw dump of the camera's 512 x 243 CCD, told apart by
// its size alone: a multiple of 5120 bytes is a set of 80 x 60 grey
// thumbnails; 124928, 125056 and 130048 bytes hold a high-resolution picture
// (one byte a cell) at 512, 640 and 5632; a smaller file of at least 62464
// bytes a low-resolution one (256 bytes a line from 256, every other pair of
// columns filled in from its neighbours). The cells see the complementary
// colours 2R+G+B, 2G+B, R+2G and R+G+2B by line and column parity; each
// pixel's R, G, B are solved from its cell and the averages of its
// neighbours. Then the camera's look: white balance, levels cut at 0.5 % of
// the pixels at each end, gamma 0.5, the 241 useful lines stretched to 375
// (the cells are not square), columns 4..499 kept: a 496 x 375 picture.
// Thumbnails become one 80-wide picture, 60 grey lines and 4 black ones
// each. Writes the target path itself and returns 1, 0 for anything else.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr int kCols = 512, kLines = 243;
constexpr int kFirstLine = 1, kUseLines = 241, kFirstCol = 2, kUseCols = 500;
constexpr int kOutLines = 375, kCropFirst = 4, kCropCols = 496;
constexpr std::size_t kThumb = 5120, kMostThumbs = 50;

using Cells = std::vector<double>;  // kLines x kCols
using Plane = std::vector<std::array<double, 3>>;

bool Thumbnails(const ByteReader& in, Image& img) {
  const std::size_t n = in.size() / kThumb;
  if (n < 1 || n > kMostThumbs || !img.allocate(80, std::uint32_t(64 * n), 3)) return false;
  for (std::size_t k = 0; k < n; ++k) {
    int most = 0;
    for (std::size_t i = 0; i < 4800; ++i) most = std::max<int>(most, in.at(k * kThumb + i));
    for (std::size_t i = 0; i < 4800; ++i) {
      const int v = most ? 255 * in.at(k * kThumb + i) / most : 0;
      const int t = (255 - v) * (255 - v) / 255;
      std::uint8_t* px = img.row(std::uint32_t(k * 64 + i / 80)) + (i % 80) * 3;
      px[0] = px[1] = px[2] = static_cast<std::uint8_t>(255 - t);
    }
  }
  return true;
}

bool ReadCells(const ByteReader& in, Cells& c) {
  c.assign(std::size_t(kLines) * kCols, 0);
  const std::size_t size = in.size();
  if (size == 124928 || size == 125056 || size == 130048) {
    const std::size_t at = size == 124928 ? 512 : size == 125056 ? 640 : 5632;
    for (std::size_t i = 0; i < c.size(); ++i) c[i] = in.at(at + i);
    return in.has(at, c.size());
  }
  if (size >= 124928 || !in.has(256, std::size_t(kLines) * 256)) return false;
  for (int y = 0; y < kLines; ++y) {
    double* line = &c[std::size_t(y) * kCols];
    for (int j = 0; j < 128; ++j) {
      line[4 * j + 2] = in.at(256 + std::size_t(y) * 256 + 2 * std::size_t(j));
      line[4 * j + 3] = in.at(256 + std::size_t(y) * 256 + 2 * std::size_t(j) + 1);
    }
    line[0] = line[2] = line[6];
    line[1] = line[3] = line[7];
    for (int j = 1; j < 128; ++j) {
      line[4 * j] = std::floor((line[4 * j - 2] + line[4 * j + 2]) / 2);
      line[4 * j + 1] = std::floor((line[4 * j - 1] + line[4 * j + 3]) / 2);
    }
  }
  return true;
}

// R, G, B of every cell from its own value and its neighbours' averages.
Plane Solve(const Cells& c) {
  Plane rgb(c.size());
  auto at = [&](int y, int x) { return c[std::size_t(y) * kCols + std::size_t(x)]; };
  for (int y = 0; y < kLines; ++y)
    for (int x = 0; x < kCols; ++x) {
      const double own = at(y, x);
      const double side = (at(y, x > 0 ? x - 1 : x + 1) + at(y, x < kCols - 1 ? x + 1 : x - 1)) / 2;
      const double vert = (at(y > 0 ? y - 1 : y + 1, x) + at(y < kLines - 1 ? y + 1 : y - 1, x)) / 2;
      double r, g, b;
      if (y % 2 && x % 2) {  // own 2R+G+B, side 2G+B, vertical R+2G
        r = (2 * (own - side) + vert) / 5, g = (vert - r) / 2, b = side - 2 * g;
      } else if (y % 2) {  // own 2G+B, side 2R+G+B, vertical R+G+2B
        r = (3 * side - own - vert) / 5, g = 2 * r - side + own, b = own - 2 * g;
      } else if (x % 2) {  // own R+2G, side R+G+2B, vertical 2R+G+B
        b = (3 * side - vert - own) / 5, g = (side - vert + own - b) / 2, r = own - 2 * g;
      } else {  // own R+G+2B, side R+2G, vertical 2G+B
        b = (vert - 2 * (side - own)) / 5, g = (vert - b) / 2, r = side - 2 * g;
      }
      rgb[std::size_t(y) * kCols + std::size_t(x)] = {std::max(r, 0.0) * 0.64, std::max(g, 0.0) * 0.58,
                                                      std::max(b, 0.0)};
    }
  return rgb;
}

// Levels from the useful pixels' luminance, then gamma 0.5.
void Tone(Plane& rgb) {
  std::vector<double> lum;
  for (int y = kFirstLine; y < kFirstLine + kUseLines; ++y)
    for (int x = kFirstCol; x < kFirstCol + kUseCols; ++x) {
      const auto& p = rgb[std::size_t(y) * kCols + std::size_t(x)];
      lum.push_back(0.3 * p[0] + 0.6 * p[1] + 0.1 * p[2]);
    }
  const double most = *std::max_element(lum.begin(), lum.end());
  std::vector<std::size_t> bins(4096, 0);
  for (double l : lum) ++bins[most > 0 ? std::min<std::size_t>(4095, std::size_t(l / most * 4095)) : 0];
  const double cut = lum.size() * 0.005;
  std::size_t low = 0, high = 4095;
  for (double sum = 0; low < 4095 && (sum += double(bins[low])) < cut;) ++low;
  for (double sum = 0; high > 0 && (sum += double(bins[high])) < cut;) --high;
  const double lo = double(low) * most / 4095;
  double hi = double(high) * most / 4095;
  if (hi <= lo) hi = lo + 1;
  for (auto& p : rgb)
    for (double& v : p)
      v = v <= lo ? 0 : v >= hi ? 255 : std::min(255.0, std::floor(256 * std::sqrt((v - lo) / (hi - lo)) + 0.5));
}

// The useful lines stretched to 375, the kept columns cropped.
void Rescale(const Plane& rgb, Image& img) {
  const double step = double(kUseLines) / kOutLines;
  for (int k = 0; k < kOutLines; ++k) {
    const double top = k * step, bottom = (k + 1) * step;
    for (int x = 0; x < kCropCols; ++x) {
      std::array<double, 3> sum{};
      for (int s = int(top); s < kUseLines && s < bottom; ++s) {
        const double weight = std::min<double>(s + 1, bottom) - std::max<double>(s, top);
        const auto& p = rgb[std::size_t(s + kFirstLine) * kCols + std::size_t(x + kCropFirst)];
        for (int c = 0; c < 3; ++c) sum[std::size_t(c)] += p[std::size_t(c)] * weight;
      }
      std::uint8_t* px = img.row(std::uint32_t(k)) + std::size_t(x) * 3;
      for (int c = 0; c < 3; ++c)
        px[c] = static_cast<std::uint8_t>(std::clamp(std::floor(sum[std::size_t(c)] / step + 0.5), 0.0, 255.0));
    }
  }
}

bool Decode(const Bytes& data, Image& img) {
  ByteReader in(data);
  if (in.size() == 0) return false;
  if (in.size() % kThumb == 0) return Thumbnails(in, img);
  Cells cells;
  if (!ReadCells(in, cells)) return false;
  for (double& v : cells) v = std::max(v, 2.0);
  Plane rgb = Solve(cells);
  Tone(rgb);
  if (!img.allocate(kCropCols, kOutLines, 3)) return false;
  Rescale(rgb, img);
  return true;
}

}  // namespace

int Dc2ToTga(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& data, Image& img) { return Decode(data, img); },
      [](Sink& out, const Image& img) { return WriteTga(out, img); }, 1 << 20);
}

}  // namespace pix
