// Acorn Draw files (".aff") to a placeable Windows metafile: the drawing is read
// into the vector document model and written from it, one ".wmf" per drawing.
#include "common/files.h"
#include "common/series.h"
#include "vector/acorn_draw.h"
#include "vector/vector.h"
#include "vector/wmf_writer.h"

namespace pix {

int AffToWmf(const ConvertCall& call) {
  Bytes data;
  if (!ReadWholeFile(call.source, data, std::size_t(256) << 20)) return 0;
  vec::Document doc;
  if (!vec::ReadAcornDraw(data, doc)) return 0;
  data.clear();
  data.shrink_to_fit();
  return WriteOne(call, [&](Sink& s) { return vec::WriteWmf(s, doc); });
}

}  // namespace pix
