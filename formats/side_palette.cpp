// Side files beside a source (palettes of game pictures), looked for in the
// source's directory only, their names compared without regard to case.
#include "formats/side_palette.h"

#include "common/paths.h"
#include "platform/platform.h"

namespace pix {

bool ReadSideFile(const char* source, const std::string& name, Bytes& out, std::size_t maxBytes) {
  const SplitPath sp = Split(source);
  const std::string dir = sp.drive + sp.dir;
  const std::string want = Lower(name);
  for (const std::string& entry : platform::ListDir(dir.empty() ? "./" : dir, "")) {
    if (Lower(entry) == want && ReadWholeFile((dir + entry).c_str(), out, maxBytes)) return true;
  }
  return false;
}

}  // namespace pix
