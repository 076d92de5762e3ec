// Reads an Acorn Draw file (RISC OS file type &AFF) into the vector document model.
#pragma once

#include "common/files.h"
#include "vector/document.h"

namespace pix::vec {

// False when the bytes are not a Draw file (signature, a newer major version,
// a header cut short). A damaged object ends the walk at its level: what was
// read before it is kept.
bool ReadAcornDraw(const Bytes& data, Document& doc);

}  // namespace pix::vec
