// Height fields between three forms: Matlab matrices (".mat"), grey GIF
// pictures (".gif", index / 255) and "pot" fields (".pot": a GIF twice as wide
// whose left half holds the high and right half the low byte of a 16-bit
// height). Sources other than ".pot" are recognised by their first bytes
// (GIF, PGM, otherwise Matlab); the target's extension picks the writer. The
// value range is reported; the values themselves are never rescaled.
#include <gif_lib.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "common/console.h"
#include "common/image.h"
#include "common/paths.h"
#include "science/science.h"

namespace pix {
namespace {

// The palette indices of the first picture of a GIF file.
bool DecodeGif(const Bytes& data, std::uint32_t& width, std::uint32_t& height, Bytes& indices) {
  Image img;
  if (!ReadGif(data, img)) return false;
  width = img.width;
  height = img.height;
  indices = std::move(img.pixels);
  return true;
}

bool ReadGifHeights(const Bytes& data, HeightMap& map) {
  std::uint32_t w = 0, h = 0;
  Bytes indices;
  if (!DecodeGif(data, w, h, indices) || !AllocateHeights(map, w, h)) return false;
  for (std::size_t i = 0; i < indices.size(); ++i) map.values[i] = static_cast<float>(indices[i] * 0.003921569);
  return true;
}

bool ReadPotHeights(const char* path, HeightMap& map) {
  Bytes data;
  std::uint32_t w = 0, h = 0;
  Bytes indices;
  if (!ReadWholeFile(path, data) || !DecodeGif(data, w, h, indices) || w % 2 != 0) return false;
  std::uint32_t half = w / 2;
  if (!AllocateHeights(map, half, h)) return false;
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < half; ++x) {
      const std::uint8_t* row = indices.data() + std::size_t(y) * w;
      map.values[std::size_t(y) * half + x] = static_cast<float>(row[x] * 0.00390625 + row[x + half] * 1.5258789e-05);
    }
  return true;
}

// Netpbm grey maps, plain (P2) or raw (P5): words after the magic, comments
// running from "#" to the line end.
bool ReadPgmHeights(const Bytes& data, HeightMap& map) {
  std::size_t pos = 2;
  auto word = [&]() {
    for (;;) {
      while (pos < data.size() && std::isspace(data[pos])) ++pos;
      if (pos < data.size() && data[pos] == '#') {
        while (pos < data.size() && data[pos] != '\n') ++pos;
        continue;
      }
      std::string w;
      while (pos < data.size() && !std::isspace(data[pos])) w += static_cast<char>(data[pos++]);
      return w;
    }
  };
  bool raw = data[1] == '5';
  long width = std::atol(word().c_str()), height = std::atol(word().c_str()), maxval = std::atol(word().c_str());
  if (width <= 0 || height <= 0 || maxval <= 0) return false;
  if (!AllocateHeights(map, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height))) return false;
  if (raw && pos < data.size()) ++pos;  // the one blank after the maximum
  std::size_t n = 0;
  for (; n < map.values.size(); ++n) {
    double v;
    if (raw) {
      if (pos >= data.size()) break;
      v = data[pos++];
    } else {
      std::string w = word();
      if (w.empty()) break;
      v = std::atof(w.c_str());
    }
    map.values[n] = static_cast<float>(v / static_cast<double>(maxval));
  }
  PrintOut("%lu elements read.\n", static_cast<unsigned long>(n));
  return true;
}

bool ReadByContent(const char* path, HeightMap& map) {
  Bytes data;
  if (!ReadWholeFile(path, data) || data.size() < 2) return false;
  if (data[0] == 'G' && data[1] == 'I') return ReadGifHeights(data, map);
  if (data[0] == 'P' && (data[1] == '5' || data[1] == '2')) return ReadPgmHeights(data, map);
  return ReadMatlab(data, map);
}

// Truncated toward zero, then taken modulo 256.
std::uint8_t WrapByte(double v) {
  if (!std::isfinite(v)) return 0;
  double m = std::fmod(std::trunc(v), 256.0);
  if (m < 0) m += 256.0;
  return static_cast<std::uint8_t>(m);
}

// A near-grey ramp whose 255 colours all differ; the last entry stays black.
Image RampPicture(std::uint32_t width, std::uint32_t height) {
  Image img;
  img.width = width;
  img.height = height;
  img.channels = 1;
  img.palette.resize(256);
  for (int k = 0; k < 255; ++k)
    img.palette[static_cast<std::size_t>(k)] =
        Rgb{static_cast<std::uint8_t>(std::max(k - 2, 0)), static_cast<std::uint8_t>(k), static_cast<std::uint8_t>(std::max(k - 3, 0))};
  img.pixels.assign(std::size_t(width) * height, 0);
  return img;
}

bool WriteGifHeights(const char* path, const HeightMap& map) {
  Image img = RampPicture(map.width, map.height);
  for (std::size_t i = 0; i < map.values.size(); ++i) img.pixels[i] = WrapByte(map.values[i] * 255);
  Sink out;
  if (!out.open(path) || out.isMemory()) return false;
  bool good = WriteGif(out, img);
  return out.close() && good;
}

bool WritePotHeights(const char* path, const HeightMap& map) {
  if (CheckedSize(std::uint64_t(map.width) * 2, map.height, 1) == 0) return false;
  Image img = RampPicture(map.width * 2, map.height);
  for (std::uint32_t y = 0; y < map.height; ++y)
    for (std::uint32_t x = 0; x < map.width; ++x) {
      double h = std::trunc(map.values[std::size_t(y) * map.width + x] * 65535);
      std::uint8_t* row = img.row(y);
      row[x] = WrapByte(std::trunc(h / 256));
      row[x + map.width] = WrapByte(std::fmod(h, 256.0));
    }
  Sink out;
  if (!out.open(path) || out.isMemory()) return false;
  bool good = WriteGif(out, img);
  return out.close() && good;
}

bool WriteOctave(const char* path, const HeightMap& map) {
  Sink out;
  if (!out.open(path) || out.isMemory()) return false;
  out.printf("# name: %s\n# type: matrix\n# rows: %d\n# columns: %d\n", "topo", static_cast<int>(map.height),
             static_cast<int>(map.width));
  for (std::uint32_t y = 0; y < map.height; ++y) {
    for (std::uint32_t x = 0; x < map.width; ++x) out.printf("%e ", map.values[std::size_t(y) * map.width + x]);
    out.puts("\n");
  }
  return out.close();
}

}  // namespace

int HeightField(const ConvertCall& call) {
  HeightMap map;
  std::string srcExt = Lower(Split(call.source).ext);
  bool read = srcExt == ".pot" ? ReadPotHeights(call.source, map) : ReadByContent(call.source, map);
  if (!read || map.values.empty()) return 0;

  float lo = map.values[0], hi = map.values[0];
  for (float v : map.values) {
    lo = std::min(lo, v);
    hi = std::max(hi, v);
  }
  PrintOut("Input file had range %1.5e .. %1.5e\n", lo, hi);

  // A writer's failure does not change the result.
  std::string dstExt = call.memoryMode() ? "" : Lower(Split(call.target).ext);
  if (dstExt == ".gif") WriteGifHeights(call.target, map);
  else if (dstExt == ".pot") WritePotHeights(call.target, map);
  else if (dstExt == ".mat") WriteMatlab(call.target, map);
  else if (dstExt == ".oct") WriteOctave(call.target, map);
  return 1;
}

}  // namespace pix
