// Writes the vector document model as a placeable Windows metafile.
#pragma once

#include "common/files.h"
#include "vector/document.h"

namespace pix::vec {

// Curves become straight segments no further than this from the true curve,
// in metafile logical units (twips at the usual scale).
constexpr double kWmfFlatness = 0.5;

bool WriteWmf(Sink& out, const Document& doc);

}  // namespace pix::vec
