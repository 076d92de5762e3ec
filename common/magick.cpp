// MagickCore behind MagickConvert: started once per process, quiet (no
// warning, error or fatal-error output, no signal handlers, no pixel cache on
// disk), and given the source's bytes as a blob and a forced coder, so that
// neither the file name nor the content can make it open other files.
#include "common/magick.h"

#include "common/console.h"

#ifdef PIXMISC_MAGICK
#include <magick/MagickCore.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>
#endif

namespace pix {

#ifdef PIXMISC_MAGICK
namespace {

constexpr std::size_t kMaxSource = std::size_t(1) << 30;

void Quiet(const ExceptionType, const char*, const char*) {}

std::once_flag gStarted;

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
  std::call_once(gStarted, StartMagick);

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

bool MagickThumbnail(const std::string& source, const std::string& png) {
  if (source.size() >= MaxTextExtent || png.size() + 4 >= MaxTextExtent) return false;
  std::call_once(gStarted, StartMagick);
  InfoOwner info;
  ExceptionOwner exception;
  if (!info.p || !exception.p) return false;
  CopyMagickString(info.p->filename, source.c_str(), MaxTextExtent);
  ImageOwner image;
  image.p = ReadImage(info.p, exception.p);
  if (!image.p) return false;
  // small pictures are enlarged by whole pixels, large ones shrunk smoothly
  const double fit = std::min(160.0 / image.p->columns, 120.0 / image.p->rows);
  const double scale = fit >= 1 ? std::min(8.0, std::floor(fit)) : fit;
  const size_t w = std::max<size_t>(1, static_cast<size_t>(image.p->columns * scale));
  const size_t h = std::max<size_t>(1, static_cast<size_t>(image.p->rows * scale));
  ImageOwner thumb;
  thumb.p = scale >= 1 ? SampleImage(image.p, w, h, exception.p) : ThumbnailImage(image.p, w, h, exception.p);
  if (!thumb.p) return false;
  CopyMagickString(thumb.p->filename, ("PNG:" + png).c_str(), MaxTextExtent);
  InfoOwner out;
  return out.p && WriteImage(out.p, thumb.p) == MagickTrue;
}

#else

bool MagickConvert(const char*, const char*, const char*, Bytes&) {
  PrintErr("this conversion needs ImageMagick, which this build leaves out\n");
  return false;
}

bool MagickThumbnail(const std::string&, const std::string&) { return false; }

#endif

}  // namespace pix
