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
  bool operator==(const Rgb&) const = default;
};

// A decoded picture, the one type every open converter decodes to:
// - indexed (channels 1, palette of up to 256 colours; one byte per index
//   whatever the source's depth, `bits` keeps that depth: 1, 2, 4 or 8);
// - grey (channels 1, empty palette; the byte is the grey level);
// - RGB (channels 3) or RGBA (channels 4, alpha 255 = opaque).
// Rows top to bottom, no padding.
struct Image {
  std::uint32_t width = 0, height = 0;
  int channels = 1;
  int bits = 8;                       // source depth of an indexed picture
  std::vector<Rgb> palette;           // indexed pictures only (up to 256)
  std::vector<std::uint8_t> pixels;   // width * height * channels

  // Allocates zeroed pixels after CheckedSize; false when the size is refused.
  bool allocate(std::uint32_t w, std::uint32_t h, int ch);
  bool indexed() const { return channels == 1 && !palette.empty(); }
  bool grey() const { return channels == 1 && palette.empty(); }
  std::uint8_t* row(std::uint32_t y) { return pixels.data() + std::size_t(y) * width * channels; }
  const std::uint8_t* row(std::uint32_t y) const { return pixels.data() + std::size_t(y) * width * channels; }
  // The colour of a pixel whatever the kind (an index past the palette is black).
  Rgb rgb(std::uint32_t x, std::uint32_t y) const;
  std::uint8_t alpha(std::uint32_t x, std::uint32_t y) const {
    return channels == 4 ? row(y)[std::size_t(x) * 4 + 3] : 255;
  }
  // The same picture as RGB (channels 3) or RGBA (keepAlpha and channels 4).
  Image toRgb(bool keepAlpha = false) const;
};

// A palette of n grey levels from black to white.
std::vector<Rgb> GreyRamp(int n);
// The 16 colours of the PC's text modes and default EGA palette (black, blue,
// green, cyan, red, magenta, brown, light grey, then their bright forms).
const std::vector<Rgb>& PcColours();
// The colour an EGA palette register gives: bits 5..0 are r g b R G B, the
// capitals the strong (0xAA) parts, the others the weak (0x55) ones.
Rgb EgaColour(unsigned reg);

// The shared writers. Each writes one whole file through the sink (a file or
// memory, so both modes give the same bytes) and returns false when the
// picture cannot be written in that format or a write failed.

// BMP: bitsPerPixel 0 picks from the picture: indexed and grey pictures as 1,
// 4 or 8 bits by palette length (the palette written as long as the picture
// has it; grey as 256 levels), RGB as 24, RGBA as 32 bits. 1, 4, 8, 24 or 32
// force a depth (an indexed picture forced to 24 or 32 bits is expanded).
bool WriteBmp(Sink& out, const Image& img, int bitsPerPixel = 0);
// Targa, uncompressed, bottom-up: indexed as 8-bit colour-mapped (24-bit map),
// grey as 8-bit grey, RGB as 24 and RGBA as 32 bits.
bool WriteTga(Sink& out, const Image& img);
// PCX 3.0, run-length encoded: indexed and grey as one 8-bit plane with the
// 256-colour palette at the end, RGB(A) as three 8-bit planes.
bool WritePcx(Sink& out, const Image& img);
// Sun raster, standard type: indexed and grey as 8 bits with an RGB colour
// map, RGB(A) as 24 bits (BGR order); rows padded to 16 bits.
bool WriteSun(Sink& out, const Image& img);
// XPM 3 text; `name` is the C identifier of the array ("image" when empty).
bool WriteXpm(Sink& out, const Image& img, const char* name = nullptr);
// PNG through libpng: indexed with PLTE, grey, RGB or RGBA.
bool WritePng(Sink& out, const Image& img);
// GIF through giflib: indexed and grey pictures only (palette padded to a
// power of 2).
bool WriteGif(Sink& out, const Image& img);
// GIF reading through giflib: the first picture's palette indices (rows in
// display order, interlacing undone) and its colour table (local, else
// global). False for anything that is not a readable GIF or whose size
// CheckedSize refuses (checked before the pixels are allocated).
bool ReadGif(const Bytes& data, Image& img);
// Netpbm: P5 for indexed pictures whose palette is empty or maps each index
// to that grey level, P6 otherwise; P4 with pbm = true (index 0 white, others black).
bool WritePnm(Sink& out, const Image& img, bool pbm = false);
// TIFF through libtiff, uncompressed: indexed as a palette picture, grey as
// minimum-is-black, RGB and RGBA as RGB(A) strips.
bool WriteTiff(Sink& out, const Image& img);

}  // namespace pix
