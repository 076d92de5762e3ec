// ICN icons to IFF ILBM: the icon's two little-endian words (width - 1,
// height - 1) and its 16-colour planes are wrapped in a FORM with a fixed
// 16-colour map and a PSIM chunk. Both FORM and BODY sizes are written
// little-endian, and the body is the file from offset 4, as the icon tools of
// that machine expect it.
#include "common/files.h"
#include "common/reader.h"
#include "retro/ilbm_writer.h"
#include "retro/retro.h"

namespace pix {
namespace {

constexpr Rgb kIcnColours[16] = {
    {0, 0, 0},          {0, 0, 0xAA},       {0, 0xAA, 0},       {0, 0xAA, 0xAA},
    {0xAA, 0, 0},       {0xAA, 0, 0xAA},    {0xAA, 0x55, 0},    {0x80, 0x80, 0x80},
    {0xCC, 0xCC, 0xCC}, {0x55, 0x55, 0xFF}, {0x55, 0xFF, 0x55}, {0x55, 0xFF, 0xFF},
    {0xFF, 0x55, 0x55}, {0xFF, 0x55, 0xFF}, {0xFF, 0xFF, 0x55}, {0xFF, 0xFF, 0xFF},
};

}  // namespace

int IcnToIff(const ConvertCall& call) {
  if (!call.source) return 0;
  Bytes file;
  if (!ReadWholeFile(call.source, file, std::size_t(64) << 20)) return 0;
  ByteReader r(file);
  const std::uint16_t width = static_cast<std::uint16_t>(r.u16leAt(0) + 1);
  const std::uint16_t height = static_cast<std::uint16_t>(r.u16leAt(2) + 1);
  const std::uint32_t size = static_cast<std::uint32_t>(file.size());

  Sink sink;
  if (!sink.open(call.memoryMode() ? nullptr : call.target)) return 0;
  IlbmWriter w(sink);
  w.id("FORM");
  sink.put32le(size + 102);
  w.id("ILBM");
  w.id("BMHD");
  w.u32(20);
  w.u16(width);
  w.u16(height);
  w.u16(0);
  w.u16(0);
  w.u8(4);
  w.u8(2);
  w.u8(0);
  w.u8(0);
  w.u16(0);
  w.u8(1);
  w.u8(1);
  w.u8(0);
  w.u8(static_cast<std::uint8_t>(width));
  w.u8(0);
  w.u8(static_cast<std::uint8_t>(height));
  w.id("CMAP");
  w.u32(48);
  for (const Rgb& c : kIcnColours) w.colour(c);
  w.id("PSIM");
  w.u32(4);
  const std::uint8_t psim[4] = {0x01, 0x75, 0x01, 0x75};
  sink.write(psim, 4);
  w.id("BODY");
  sink.put32le(size - 6);
  if (file.size() > 4) sink.write(file.data() + 4, file.size() - 4);
  if (sink.isMemory()) return sink.release(call.out);
  return sink.close() ? 1 : 0;
}

}  // namespace pix
