// Amstrad CPC screen dumps to a 4-bit palette TIFF (little-endian, colour map
// of the 16 pens, pixels from offset 384). The dump is 16K of video memory,
// after a 128-byte file header when the file is longer than that; a marker
// byte 0xF3 after the screen says the file also carries its palette and mode.
// Result: 0 when the TIFF was written, 1 when it could not be.
#include <cstring>

#include "common/endian.h"
#include "common/files.h"
#include "retro/cpc_screen.h"
#include "retro/retro.h"

namespace pix {
namespace {

constexpr std::uint8_t kHardwareToFirmware[32] = {13, 27, 19, 25, 1,  7,  10, 16, 28, 29, 24, 26, 6,  8, 15, 17,
                                                  30, 31, 18, 20, 0,  2,  9,  11, 4,  22, 21, 23, 3,  5, 12, 14};
// Hardware colours 1, 8, 9, 16 and 17 repeat hardware colours 0, 5, 3, 4 and 2.
constexpr std::uint8_t kDuplicateOf[5] = {13, 7, 25, 1, 19};

constexpr std::size_t kPaletteAt = 0x40E8, kModeAt = 0x4108;

const char kSoftware[] = "MAIFLOT\nThis picture transferred from a CPC by\nPixamorph\nwww.pixamorph.example.\n";
static_assert(sizeof kSoftware <= 90);

bool WriteCpcTiff(Sink& out, const CpcScreen& s) {
  CpcPixelFetcher pixels(s);
  const int width = pixels.width(), height = pixels.height();
  std::uint8_t h[384];
  std::memset(h, 0, sizeof h);
  h[0] = 'I';
  h[1] = 'I';
  PutLe16(h + 2, 42);
  PutLe32(h + 4, 8);
  PutLe16(h + 8, 13);
  struct Entry {
    std::uint16_t tag, type;
    std::uint32_t count, value;
  };
  const Entry entries[13] = {
      {256, 3, 1, static_cast<std::uint32_t>(width)},
      {257, 3, 1, 200},
      {258, 3, 1, 4},
      {259, 3, 1, 1},
      {262, 3, 1, 3},
      {273, 3, 1, 384},
      {278, 3, 1, 200},
      {279, 3, 1, static_cast<std::uint32_t>(width * height / 2)},
      {282, 5, 1, 170},
      {283, 5, 1, 178},
      {296, 3, 1, 3},
      {305, 2, 90, 186},
      {320, 3, 48, 276},
  };
  std::uint8_t* e = h + 10;
  for (const Entry& x : entries) {
    PutLe16(e, x.tag);
    PutLe16(e + 2, x.type);
    PutLe32(e + 4, x.count);
    PutLe32(e + 8, x.value);  // a SHORT value sits in the low half, little-endian
    e += 12;
  }
  PutLe32(h + 170, 8);
  PutLe32(h + 174, 5);
  PutLe32(h + 178, 1);
  PutLe32(h + 182, 1);
  std::memcpy(h + 186, kSoftware, sizeof kSoftware);
  for (int i = 0; i < 16; ++i) {
    CpcColour c = CpcFirmwareColour(s.pens[i]);
    PutLe16(h + 276 + i * 2, c.r);
    PutLe16(h + 276 + 32 + i * 2, c.g);
    PutLe16(h + 276 + 64 + i * 2, c.b);
  }
  std::memset(h + 372, 0xE5, 384 - 372);
  out.write(h, sizeof h);

  std::vector<std::uint8_t> row(static_cast<std::size_t>(width / 2));
  for (int y = 0; y < height; ++y) {
    for (auto& b : row) {
      std::uint8_t left = pixels.next();
      b = static_cast<std::uint8_t>(left << 4 | pixels.next());
    }
    out.write(row.data(), row.size());
  }
  return !out.failed();
}

}  // namespace

int CpcScreenLoader(const char* path, CpcScreen& s) {
  InFile in(path);
  if (!in) return 1;
  const std::int64_t size = in.size();
  const std::int64_t header = size > static_cast<std::int64_t>(kCpcScreenBytes) ? 128 : 0;
  std::fill(s.screen.begin(), s.screen.end(), 0);
  in.seekSet(header);
  in.read(s.screen.data(), kCpcScreenBytes);
  s.marker = 0;
  if (size > header + static_cast<std::int64_t>(kCpcScreenBytes)) {
    in.seekSet(header + static_cast<std::int64_t>(kCpcScreenBytes));
    s.marker = static_cast<std::uint8_t>(in.getc());
  }
  std::memset(s.filePalette, 0, sizeof s.filePalette);
  s.fileMode = 0;
  if (in.seekSet(kPaletteAt)) in.read(s.filePalette, sizeof s.filePalette);
  if (in.seekSet(kModeAt)) {
    int c = in.getc();
    s.fileMode = c == EOF ? 0 : static_cast<std::uint8_t>(c);
  }
  return 0;
}

void CpcApplyPaletteAndMode(CpcScreen& s) {
  if (s.marker == 0xF3) {
    for (int i = 0; i < 16; ++i) s.pens[i] = CpcHardwareToFirmware(s.filePalette[i]);
    if (s.mode == kCpcModeUnknown) s.mode = s.fileMode & 3;
  }
  if (s.mode == kCpcModeUnknown) s.mode = 1;
  s.mode %= 3;
}

std::uint8_t CpcHardwareToFirmware(std::uint8_t hardware) { return kHardwareToFirmware[hardware & 31]; }

CpcColour CpcFirmwareColour(int n) {
  n &= 31;
  if (n >= 27) n = kDuplicateOf[n - 27];
  static constexpr std::uint16_t kLevels[3] = {0, 0x7FFF, 0xFFFF};
  return CpcColour{kLevels[(n / 3) % 3], kLevels[n / 9], kLevels[n % 3]};
}

std::uint8_t CpcPixelFetcher::next() {
  const int perByte = s_.mode == 0 ? 2 : s_.mode == 1 ? 4 : 8;
  if (s_.mode == 0 && second_) {
    second_ = false;
    std::uint8_t b = static_cast<std::uint8_t>(byte_ << (pixel_ - 1));
    return static_cast<std::uint8_t>((b >> 7 & 1) | (b >> 3 & 1) << 1 | (b >> 5 & 1) << 2 | (b >> 1 & 1) << 3);
  }
  if (pixel_ >= perByte) {
    if (line_ < 200) {
      std::size_t at = static_cast<std::size_t>((line_ & 7) * 2048 + (line_ >> 3) * 80 + column_);
      byte_ = s_.screen[at];
    } else {
      byte_ = 0;
    }
    if (++column_ == 80) {
      column_ = 0;
      ++line_;
    }
    pixel_ = 0;
  }
  std::uint8_t b = static_cast<std::uint8_t>(byte_ << pixel_);
  ++pixel_;
  switch (s_.mode) {
    case 0:
      second_ = true;
      return static_cast<std::uint8_t>((b >> 7 & 1) | (b >> 3 & 1) << 1 | (b >> 5 & 1) << 2 | (b >> 1 & 1) << 3);
    case 1:
      return static_cast<std::uint8_t>((b >> 7 & 1) | (b >> 3 & 1) << 1);
    default:
      return b >> 7 & 1;
  }
}

int CpcScreenToTiff(const ConvertCall& call) {
  if (!call.source || call.memoryMode()) return 1;
  CpcScreen s;
  s.mode = kCpcModeUnknown;
  if (CpcScreenLoader(call.source, s) != 0) return 1;
  CpcApplyPaletteAndMode(s);
  Sink out;
  if (!out.open(call.target)) return 1;
  if (!WriteCpcTiff(out, s)) return 1;
  return out.close() ? 0 : 1;
}

}  // namespace pix
