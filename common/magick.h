// Routes that read a picture through MagickCore. A build without it
// (PIXMISC_MAGICK off: the Windows DLL until a Windows MagickCore is at hand)
// keeps the routes; they print one line and convert nothing.
#pragma once

namespace pix {

#if defined(PIXMISC_MAGICK) && PIXMISC_MAGICK
inline constexpr bool kHaveMagick = true;
#else
inline constexpr bool kHaveMagick = false;
#endif

// Prints "<what>: this build of Pixmisc has no MagickCore" to standard error
// and returns 0, the result of a route that wrote nothing.
int NoMagick(const char* what);

}  // namespace pix
