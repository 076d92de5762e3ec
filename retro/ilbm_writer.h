// The IFF ILBM writer: big-endian primitives and the FORM/BMHD/CMAP/BODY
// header, into a file or a memory buffer through one Sink.
#pragma once

#include <cstdint>
#include <vector>

#include "common/files.h"
#include "common/image.h"

namespace pix {

class IlbmWriter {
 public:
  explicit IlbmWriter(Sink& out) : out_(out) {}

  struct Header {
    std::uint16_t width = 0, height = 0;
    std::uint8_t planes = 0;
    std::uint8_t masking = 0;
    std::uint8_t compression = 0;  // 0 none, 1 ByteRun1
    std::uint8_t xAspect = 10, yAspect = 11;
    std::uint32_t bodySize = 0;
    std::vector<Rgb> palette;      // 2^planes entries are written
  };

  // FORM, its size (body size + 3 * (colours + 16)), ILBM, BMHD, CMAP, and
  // the BODY id and size; the body follows. With shiftedColours the colour
  // bytes start one byte late (a zero first) and the last blue byte is lost:
  // the memory form of the Atari ST converter keeps that layout.
  void header(const Header& h, bool shiftedColours = false);

  void u32(std::uint32_t v) { out_.put32be(v); }
  void u16(std::uint16_t v) { out_.put16be(v); }
  void u8(std::uint8_t v) { out_.put8(v); }
  void id(const char (&name)[5]) { out_.write(name, 4); }
  void colour(const Rgb& c) {
    u8(c.r);
    u8(c.g);
    u8(c.b);
  }
  Sink& sink() { return out_; }

 private:
  Sink& out_;
};

}  // namespace pix
