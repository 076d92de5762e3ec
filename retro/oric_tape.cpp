// An Oric tape (.tap) holding a saved high-resolution screen, drawn as a
// 240 x 200 binary PPM with the machine's serial attributes: each of the 40
// bytes of a row is a 6-pixel cell, either a pattern (bits 5..0 in ink or
// paper) or an attribute that changes ink, paper or screen mode for the rest
// of the row and is drawn in the paper colour. Bit 7 inverts a cell. A switch
// to text, whose memory this file does not hold, stripes the cells that follow
// in the colours 1 3 2 6 4 5 until the row switches back. The screen follows
// a 22-byte header, or, on a tape whose first block is a loader, the header
// of the block loaded at A000.
#include "common/files.h"
#include "common/reader.h"
#include "retro/retro.h"

namespace pix {
namespace {

constexpr std::size_t kTapeHeader = 22;
constexpr int kColumns = 40, kRows = 200;  // mode "top": the high-resolution screen only
constexpr std::uint8_t kStripe[6] = {1, 3, 2, 6, 4, 5};
constexpr std::uint8_t kSync = 0x16, kBlockStart = 0x24;
constexpr std::uint16_t kScreen = 0xA000;

// Where the screen's bytes begin. A tape that starts with a block header
// (sync bytes, 0x24) for a block loaded elsewhere than the screen (a BASIC
// loader, say) is followed block by block to the one loaded at A000; false
// when it has none. Any other file has a 22-byte header.
bool ScreenOffset(const ByteReader& f, std::size_t& offset) {
  offset = kTapeHeader;
  std::size_t at = 0;
  while (f.at(at) == kSync && at < f.size()) ++at;
  if (at == 0 || f.at(at) != kBlockStart) return true;
  for (bool first = true;; first = false) {
    // 0x24, two unused bytes, type, auto-run, end and start addresses (high
    // byte first), one unused byte, then the name up to its zero byte.
    const std::size_t head = at + 1;
    if (!f.has(head, 9)) return false;
    const std::uint16_t end = f.u16beAt(head + 4), start = f.u16beAt(head + 6);
    if (first && start == kScreen) return true;
    std::size_t data = head + 9;
    while (data < f.size() && f.at(data) != 0) ++data;
    ++data;
    if (start == kScreen) {
      offset = data;
      return true;
    }
    if (end < start) return false;
    at = data + (static_cast<std::size_t>(end - start) + 1);
    const std::size_t sync = at;
    while (at < f.size() && f.at(at) == kSync) ++at;
    if (at == sync || at >= f.size() || f.at(at) != kBlockStart) return false;
  }
}

}  // namespace

int OricTapeToPpm(const ConvertCall& call) {
  if (!call.source) return 0;
  Bytes file;
  if (!ReadWholeFile(call.source, file, std::size_t(64) << 20)) return 0;
  ByteReader f(file);
  std::size_t screen = 0;
  if (!ScreenOffset(f, screen) || !f.has(screen, kColumns * kRows)) return 0;

  Sink out;
  if (!out.open(call.memoryMode() ? nullptr : call.target)) return 0;
  out.printf("P6\n%d %d %u\n", kColumns * 6, kRows, 255u);
  std::vector<std::uint8_t> row(kColumns * 6 * 3);
  for (int y = 0; y < kRows; ++y) {
    int ink = 7, paper = 0;
    bool text = false;
    for (int x = 0; x < kColumns; ++x) {
      std::uint8_t b = f.at(screen + static_cast<std::size_t>(y * kColumns + x));
      const bool attribute = (b & 0x60) == 0;
      if (attribute) {
        switch (b & 0x18) {
          case 0x00: ink = b & 7; break;
          case 0x08: break;  // character set and height: text rows only
          case 0x10: paper = b & 7; break;
          case 0x18: text = !(b & 0x04); break;
        }
      }
      for (int k = 0; k < 6; ++k) {
        int c = text ? kStripe[k] : attribute ? paper : (b & (0x20 >> k)) ? ink : paper;
        if (b & 0x80) c = 7 - c;
        std::uint8_t* px = row.data() + (x * 6 + k) * 3;
        px[0] = c & 1 ? 255 : 0;
        px[1] = c & 2 ? 255 : 0;
        px[2] = c & 4 ? 255 : 0;
      }
    }
    out.write(row.data(), row.size());
  }
  if (out.isMemory()) return out.release(call.out);
  return out.close() ? 1 : 0;
}

}  // namespace pix
