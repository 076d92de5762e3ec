// The one message of a MagickCore route in a build without MagickCore.
#include "common/magick.h"

#include <cstdio>

namespace pix {

int NoMagick(const char* what) {
  std::fprintf(stderr, "%s: this build of Pixmisc has no MagickCore\n", what ? what : "pixmisc");
  return 0;
}

}  // namespace pix
