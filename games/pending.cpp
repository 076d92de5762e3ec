// Placeholders for the shape archives that are not built yet: each recognises
// nothing, writes nothing and returns 0.
#include "games/games.h"

namespace pix {

int FshToBmp(const ConvertCall&) { return 0; }

}  // namespace pix
