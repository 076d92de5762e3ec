// The screen of a Spectrum snapshot as a 256 x 192, 4-bit palette TIFF
// (big-endian, 25088 bytes: header, colour map at 256, pixels at 512). The
// snapshot is read by the reader its extension names; a source of any other
// name is read by the SNA layout, so that only its header and screen count.
#include <cstring>

#include "retro/retro.h"
#include "retro/zx.h"
#include "common/console.h"

namespace pix {
namespace {

constexpr int kWidth = 256, kHeight = 192;

enum : std::uint16_t { kShort = 3, kLong = 4, kRational = 5 };

struct Entry {
  std::uint16_t tag, type;
  std::uint32_t count, value;
};

void Be16(std::uint8_t* p, std::uint32_t v) {
  p[0] = static_cast<std::uint8_t>(v >> 8);
  p[1] = static_cast<std::uint8_t>(v);
}
void Be32(std::uint8_t* p, std::uint32_t v) {
  Be16(p, v >> 16);
  Be16(p + 2, v);
}

// The first 512 bytes: header, one directory of 13 entries, the two
// resolutions at 172 and 180, the colour map at 256.
void BuildHeader(std::uint8_t (&h)[512]) {
  std::memset(h, 0, sizeof h);
  h[0] = 'M';
  h[1] = 'M';
  Be16(h + 2, 42);
  Be32(h + 4, 8);
  static const Entry kEntries[] = {
      {256, kShort, 1, 0},     {257, kShort, 1, 0},   {258, kShort, 1, 4},       {259, kShort, 1, 1},
      {262, kShort, 1, 3},     {273, kLong, 1, 512},  {274, kShort, 1, 1},       {278, kLong, 1, 0},
      {279, kLong, 1, 0},      {282, kRational, 1, 172}, {283, kRational, 1, 180}, {296, kShort, 1, 2},
      {320, kShort, 48, 256},
  };
  Be16(h + 8, 13);
  std::uint8_t* e = h + 10;
  for (const Entry& x : kEntries) {
    Be16(e, x.tag);
    Be16(e + 2, x.type);
    Be32(e + 4, x.count);
    if (x.type == kShort && x.count == 1) Be16(e + 8, x.value);
    else Be32(e + 8, x.value);
    e += 12;
  }
  // Next directory 0 at 166, two zero bytes, then 72/1 twice.
  Be32(h + 172, 72);
  Be32(h + 176, 1);
  Be32(h + 180, 72);
  Be32(h + 184, 1);

  // Size fields go in by tag, as SHORT or LONG per entry.
  auto patch = [&](std::uint16_t tag, std::uint32_t v) {
    for (std::size_t off = 10; off + 12 <= 166; off += 12) {
      if ((h[off] << 8 | h[off + 1]) != tag) continue;
      if ((h[off + 2] << 8 | h[off + 3]) == kShort) Be16(h + off + 8, v);
      else Be32(h + off + 8, v);
    }
  };
  patch(256, kWidth);
  patch(257, kHeight);
  patch(278, kHeight);
  patch(279, kWidth * kHeight / 2);

  // Colour map: red (index bit 2), green (bit 1), blue (bit 0); 0xD8D8 for
  // the normal colours, 0xFFFF for the bright ones.
  for (int channel = 0; channel < 3; ++channel) {
    int bit = 4 >> channel;
    for (int i = 0; i < 16; ++i) {
      std::uint32_t v = (i & bit) ? (i < 8 ? 0xD8D8 : 0xFFFF) : 0;
      Be16(h + 256 + (channel * 16 + i) * 2, v);
    }
  }
}

// Palette index of an attribute's ink or paper: red*4 + green*2 + blue, +8 bright.
std::uint8_t ColourIndex(std::uint8_t colour, bool bright) {
  int blue = colour & 1, red = (colour >> 1) & 1, green = (colour >> 2) & 1;
  return static_cast<std::uint8_t>(red * 4 + green * 2 + blue + (bright ? 8 : 0));
}

}  // namespace

bool WriteZxTiff(Sink& out, const std::uint8_t* screen) {
  std::uint8_t header[512];
  BuildHeader(header);
  out.write(header, sizeof header);
  std::uint8_t row[kWidth / 2];
  for (int y = 0; y < kHeight; ++y) {
    std::size_t line = static_cast<std::size_t>((y & 0xC0) << 5 | (y & 0x07) << 8 | (y & 0x38) << 2);
    for (int x = 0; x < kWidth / 8; ++x) {
      std::uint8_t bits = screen[line + x];
      std::uint8_t attr = screen[6144 + (y / 8) * 32 + x];
      bool bright = attr & 0x40;
      std::uint8_t ink = ColourIndex(attr & 7, bright), paper = ColourIndex((attr >> 3) & 7, bright);
      for (int k = 0; k < 8; k += 2) {
        std::uint8_t left = (bits & (0x80 >> k)) ? ink : paper;
        std::uint8_t right = (bits & (0x40 >> k)) ? ink : paper;
        row[x * 4 + k / 2] = static_cast<std::uint8_t>(left << 4 | right);
      }
    }
    out.write(row, sizeof row);
  }
  return !out.failed();
}

int DeliverZxTiff(const ConvertCall& call, const std::uint8_t* screen) {
  Sink out;
  if (!out.open(call.memoryMode() ? nullptr : call.target)) return 0;
  if (!WriteZxTiff(out, screen)) return 0;
  if (out.isMemory()) return out.release(call.out);
  return out.close() ? 1 : 0;
}

int ZxScreenToTiff(const ConvertCall& call) {
  if (!call.source) return 0;
  Bytes file;
  if (!ReadWholeFile(call.source, file, kZxMaxFile)) return 0;
  ZxKind kind = ZxKindOf(call.source);
  if (kind == ZxKind::Unknown && file.size() == 49161) kind = ZxKind::Raw;
  ZxSnapshot snap;
  ZxRead r = ReadZxSnapshot(file, kind, snap, false);
  if (r == ZxRead::Corrupt && kind == ZxKind::Z80) PrintErr("%s", kZ80Corrupt);
  if (r != ZxRead::Ok) return 0;
  return DeliverZxTiff(call, snap.screen());
}

}  // namespace pix
