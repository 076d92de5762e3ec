// Placeholders for the vector documents that are not built yet: each recognises
// nothing, writes nothing and returns 0.
#include "vector/vector.h"

namespace pix {}  // namespace pix
