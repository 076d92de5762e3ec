// The one picture type open converters decode to, the size checks done
// before any allocation, and the shared writers (BMP, PNG, GIF, PNM).
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "common/files.h"

namespace pix {

// Largest width or height accepted, and largest pixel count.
inline constexpr std::uint32_t kMaxDimension = 32768;
inline constexpr std::uint64_t kMaxPixels = std::uint64_t(1) << 30;

// w * h * bytesPerPixel + extra, or 0 when a dimension is 0, over
// kMaxDimension, the pixel count over kMaxPixels, or the sum overflows.
std::uint64_t CheckedSize(std::uint64_t w, std::uint64_t h, std::uint64_t bytesPerPixel, std::uint64_t extra = 0);

struct Rgb {
  std::uint8_t r = 0, g = 0, b = 0;
};

// An indexed picture (channels 1, with a palette) or a true-colour one
// (channels 3 = RGB, 4 = RGBA). Rows top to bottom, no padding.
struct Image {
  std::uint32_t width = 0, height = 0;
  int channels = 1;
  std::vector<Rgb> palette;           // indexed pictures only (up to 256)
  std::vector<std::uint8_t> pixels;   // width * height * channels

  // Allocates zeroed pixels after CheckedSize; false when the size is refused.
  bool allocate(std::uint32_t w, std::uint32_t h, int ch);
  std::uint8_t* row(std::uint32_t y) { return pixels.data() + std::size_t(y) * width * channels; }
  const std::uint8_t* row(std::uint32_t y) const { return pixels.data() + std::size_t(y) * width * channels; }
};

// BMP: indexed pictures as 8-bit (or 1-bit when bitsPerPixel is 1) with their
// palette, true colour as 24-bit (alpha dropped). Bottom-up rows padded to 4.
bool WriteBmp(Sink& out, const Image& img, int bitsPerPixel = 0);
// PNG through libpng: indexed with PLTE, RGB or RGBA.
bool WritePng(Sink& out, const Image& img);
// GIF through giflib: indexed pictures only (palette padded to a power of 2).
bool WriteGif(Sink& out, const Image& img);
// GIF reading through giflib: the first picture's palette indices (rows in
// display order, interlacing undone) and its colour table (local, else
// global). False for anything that is not a readable GIF or whose size
// CheckedSize refuses (checked before the pixels are allocated).
bool ReadGif(const Bytes& data, Image& img);
// Netpbm: P5 for indexed pictures whose palette is grey or empty (index as
// grey level), P6 otherwise; P4 with pbm = true (index 0 white, others black).
bool WritePnm(Sink& out, const Image& img, bool pbm = false);

}  // namespace pix
