// IFF ILBM headers as the retro converters write them: no pad byte after an
// odd body, the FORM size taken from the body size and the colour count.
#include "retro/ilbm_writer.h"

namespace pix {

void IlbmWriter::header(const Header& h, bool shiftedColours) {
  const std::uint32_t colours = 1u << h.planes;
  id("FORM");
  u32(h.bodySize + 3 * (colours + 16));
  id("ILBM");
  id("BMHD");
  u32(20);
  u16(h.width);
  u16(h.height);
  u16(0);
  u16(0);
  u8(h.planes);
  u8(h.masking);
  u8(h.compression);
  u8(0);
  u16(0);
  u8(h.xAspect);
  u8(h.yAspect);
  u16(h.width);
  u16(h.height);
  id("CMAP");
  u32(3 * colours);
  std::vector<std::uint8_t> bytes;
  for (std::uint32_t i = 0; i < colours; ++i) {
    Rgb c = i < h.palette.size() ? h.palette[i] : Rgb{};
    bytes.insert(bytes.end(), {c.r, c.g, c.b});
  }
  if (shiftedColours) {
    bytes.insert(bytes.begin(), 0);
    bytes.pop_back();
  }
  out_.write(bytes.data(), bytes.size());
  id("BODY");
  u32(h.bodySize);
}

}  // namespace pix
