// MagickCore behind MagickConvert: started once per process, quiet (no
// warning, error or fatal-error output, no signal handlers, no pixel cache on
// disk), and given the source's bytes as a blob and a forced coder, so that
// neither the file name nor the content can make it open other files.
#include "common/magick.h"

#include "common/console.h"

#ifdef PIXMISC_MAGICK
#include <magick/MagickCore.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#endif

namespace pix {

#ifdef PIXMISC_MAGICK
namespace {

constexpr std::size_t kMaxSource = std::size_t(1) << 30;

void Quiet(const ExceptionType, const char*, const char*) {}

void StartMagick() {
  MagickCoreGenesis(nullptr, MagickFalse);
  SetWarningHandler(Quiet);
  SetErrorHandler(Quiet);
  SetFatalErrorHandler(Quiet);
  SetMagickResourceLimit(DiskResource, 0);
}

struct InfoOwner {
  ImageInfo* p = AcquireImageInfo();
  ~InfoOwner() { DestroyImageInfo(p); }
};
struct ExceptionOwner {
  ExceptionInfo* p = AcquireExceptionInfo();
  ~ExceptionOwner() { DestroyExceptionInfo(p); }
};
struct ImageOwner {
  Image* p = nullptr;
  ~ImageOwner() {
    if (p) DestroyImageList(p);
  }
};

bool Failed(const ExceptionInfo* e) { return e->severity >= ErrorException; }

}  // namespace

bool MagickConvert(const char* source, const char* sourceFormat, const char* format, Bytes& out) {
  Bytes in;
  if (!ReadWholeFile(source, in, kMaxSource) || in.empty()) return false;
  static std::once_flag started;
  std::call_once(started, StartMagick);

  InfoOwner info;
  ExceptionOwner exception;
  if (!info.p || !exception.p) return false;
  CopyMagickString(info.p->magick, sourceFormat, MaxTextExtent);
  info.p->filename[0] = '\0';
  ImageOwner image;
  image.p = BlobToImage(info.p, in.data(), in.size(), exception.p);
  if (!image.p || Failed(exception.p)) return false;

  CopyMagickString(info.p->magick, format, MaxTextExtent);
  CopyMagickString(image.p->magick, format, MaxTextExtent);
  image.p->filename[0] = '\0';
  std::size_t length = 0;
  void* blob = ImageToBlob(info.p, image.p, &length, exception.p);
  const bool good = blob && length > 0 && !Failed(exception.p);
  if (good) {
    const auto* bytes = static_cast<const std::uint8_t*>(blob);
    out.assign(bytes, bytes + length);
  }
  if (blob) RelinquishMagickMemory(blob);
  return good;
}

#else

bool MagickConvert(const char*, const char*, const char*, Bytes&) {
  PrintErr("this conversion needs ImageMagick, which this build leaves out\n");
  return false;
}

#endif

}  // namespace pix
