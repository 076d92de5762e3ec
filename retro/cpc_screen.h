// The Amstrad CPC screen model shared by the CPC converters: the screen
// loader, the palette and mode step, the firmware colours and the pixel
// fetcher that walks the screen in display order.
#pragma once

#include <cstdint>
#include <vector>

namespace pix {

inline constexpr std::size_t kCpcScreenBytes = 16384;
inline constexpr int kCpcModeUnknown = 0xFF;

// One conversion's screen state.
struct CpcScreen {
  std::vector<std::uint8_t> screen = std::vector<std::uint8_t>(kCpcScreenBytes, 0);
  int mode = kCpcModeUnknown;
  std::uint8_t marker = 0;          // the byte after the screen, 0 when there is none
  std::uint8_t pens[16] = {1, 24, 20, 6, 26, 0, 2, 8, 10, 12, 14, 16, 18, 22, 0, 0};  // firmware numbers
  // Bytes of the file kept for the palette step: 16 hardware colours at
  // 0x40E8 and the mode byte at 0x4108 (zero where the file is shorter).
  std::uint8_t filePalette[16] = {};
  std::uint8_t fileMode = 0;
};

// Loads a screen dump: files over 16384 bytes carry a 128-byte header first.
// 0 on success, 1 when the file cannot be read.
int CpcScreenLoader(const char* path, CpcScreen& s);

// Takes the file's own palette (marker byte 0xF3) and, while the mode is
// unknown, its mode byte; an unknown mode becomes 1; the mode is then taken
// modulo 3.
void CpcApplyPaletteAndMode(CpcScreen& s);

// 16-bit colour levels of a firmware colour (0..31; 27..31 are the
// duplicated hardware colours and repeat the colour they duplicate).
struct CpcColour {
  std::uint16_t r, g, b;
};
CpcColour CpcFirmwareColour(int n);
// Firmware number of a hardware colour (0..31).
std::uint8_t CpcHardwareToFirmware(std::uint8_t hardware);

// Walks lines 0..199 and byte columns 0..79, delivering one pen per output
// pixel: 320 a line in modes 0 (every pixel twice) and 1, 640 in mode 2.
class CpcPixelFetcher {
 public:
  explicit CpcPixelFetcher(const CpcScreen& s) : s_(s) {}
  int width() const { return s_.mode == 2 ? 640 : 320; }
  static constexpr int height() { return 200; }
  std::uint8_t next();

 private:
  const CpcScreen& s_;
  int line_ = 0, column_ = 0;
  int pixel_ = 8;   // pixel of the current byte to deliver next; 8: take a new byte
  bool second_ = false;  // mode 0: the repeat of the pixel just delivered
  std::uint8_t byte_ = 0;
};

}  // namespace pix
