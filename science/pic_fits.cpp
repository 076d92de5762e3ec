// 16-bit ".pic" camera frames (they begin FC 31): a 290-byte header with the
// width and height at offsets 68 and 70, then the pixels. Wrapped in a short
// FITS header; the data are copied unchanged from offset 289, one byte inside
// the header block, as the frames have always been read.
#include <cstdio>
#include <cstring>
#include <vector>

#include "science/science.h"

namespace pix {

int PicToFits(const ConvertCall& call) {
  InFile in(call.source);
  if (!in) return 0;
  std::uint8_t head[290] = {};
  in.read(head, sizeof head);
  bool memory = call.memoryMode();
  Sink out;
  if (!out.open(memory ? nullptr : call.target)) return 0;

  unsigned width = static_cast<unsigned>(head[68] | head[69] << 8);
  unsigned height = static_cast<unsigned>(head[70] | head[71] << 8);
  char header[2880];
  std::memset(header, ' ', sizeof header);
  char text[96];
  auto place = [&](int card, const char* t) { std::memcpy(header + 80 * card, t, std::strlen(t)); };
  place(0, "SIMPLE  =                    T");
  std::snprintf(text, sizeof text, "BITPIX  =                    %d", 16);
  place(1, text);
  place(2, "NAXIS   =                    2");
  std::snprintf(text, sizeof text, "NAXIS1  =           %10u", width);
  place(3, text);
  std::snprintf(text, sizeof text, "NAXIS2  =           %10u", height);
  place(4, text);
  place(7, "HISTORY Created by Pixamorph");
  place(8, "END");
  out.write(header, sizeof header);

  in.seekSet(289);
  std::vector<std::uint8_t> block(4096);
  while (std::size_t n = in.read(block.data(), block.size())) out.write(block.data(), n);
  if (memory) return out.release(call.out);
  return out.close() ? 1 : 0;
}

}  // namespace pix
