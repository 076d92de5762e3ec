// TIFF through libtiff, uncompressed, one strip per 8 KiB or so. libtiff
// seeks back over what it wrote, so the file is built in memory through
// client procedures and then written through the sink as a whole.
#include <tiffio.h>

#include <algorithm>
#include <cstring>

#include "common/image.h"

namespace pix {
namespace {

struct MemTiff {
  Bytes data;
  std::uint64_t pos = 0;
};

tsize_t MemRead(thandle_t h, tdata_t buf, tsize_t n) {
  auto* m = static_cast<MemTiff*>(h);
  if (n < 0 || m->pos >= m->data.size()) return 0;
  std::size_t k = std::min<std::size_t>(static_cast<std::size_t>(n), m->data.size() - m->pos);
  std::memcpy(buf, m->data.data() + m->pos, k);
  m->pos += k;
  return static_cast<tsize_t>(k);
}

tsize_t MemWrite(thandle_t h, tdata_t buf, tsize_t n) {
  auto* m = static_cast<MemTiff*>(h);
  if (n < 0) return 0;
  std::uint64_t end = m->pos + static_cast<std::uint64_t>(n);
  if (end > (std::uint64_t(1) << 31)) return 0;
  try {
    if (m->data.size() < end) m->data.resize(static_cast<std::size_t>(end), 0);
  } catch (...) {
    return 0;
  }
  std::memcpy(m->data.data() + m->pos, buf, static_cast<std::size_t>(n));
  m->pos = end;
  return n;
}

toff_t MemSeek(thandle_t h, toff_t off, int whence) {
  auto* m = static_cast<MemTiff*>(h);
  std::uint64_t base = whence == SEEK_CUR ? m->pos : whence == SEEK_END ? m->data.size() : 0;
  m->pos = base + off;
  return m->pos;
}

int MemClose(thandle_t) { return 0; }
toff_t MemSize(thandle_t h) { return static_cast<MemTiff*>(h)->data.size(); }
int MemMap(thandle_t, tdata_t*, toff_t*) { return 0; }
void MemUnmap(thandle_t, tdata_t, toff_t) {}

// libtiff's messages about our own output stay out of the host's console.
int Quiet(TIFF*, void*, const char*, const char*, va_list) { return 1; }

}  // namespace

bool WriteTiff(Sink& out, const Image& img) {
  if (img.width == 0 || img.height == 0) return false;
  MemTiff mem;
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  if (!options) return false;
  TIFFOpenOptionsSetErrorHandlerExtR(options, Quiet, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options, Quiet, nullptr);
  TIFF* tif = TIFFClientOpenExt("memory", "w", &mem, MemRead, MemWrite, MemSeek, MemClose, MemSize, MemMap, MemUnmap,
                                options);
  TIFFOpenOptionsFree(options);
  if (!tif) return false;
  const bool mapped = img.indexed();
  const int samples = img.channels == 1 ? 1 : img.channels;
  TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, img.width);
  TIFFSetField(tif, TIFFTAG_IMAGELENGTH, img.height);
  TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, samples);
  TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(tif, TIFFTAG_PHOTOMETRIC,
               mapped ? PHOTOMETRIC_PALETTE : img.channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
  if (img.channels == 4) {
    std::uint16_t extra = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, 1, &extra);
  }
  std::vector<std::uint16_t> r(256), g(256), b(256);
  if (mapped) {
    for (std::size_t i = 0; i < img.palette.size() && i < 256; ++i) {
      r[i] = static_cast<std::uint16_t>(img.palette[i].r * 257);
      g[i] = static_cast<std::uint16_t>(img.palette[i].g * 257);
      b[i] = static_cast<std::uint16_t>(img.palette[i].b * 257);
    }
    TIFFSetField(tif, TIFFTAG_COLORMAP, r.data(), g.data(), b.data());
  }
  const std::uint32_t rowBytes = img.width * static_cast<std::uint32_t>(samples);
  TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, std::max<std::uint32_t>(1, 8192 / rowBytes));
  bool good = true;
  std::vector<std::uint8_t> line(rowBytes);
  for (std::uint32_t y = 0; good && y < img.height; ++y) {
    std::memcpy(line.data(), img.row(y), rowBytes);
    good = TIFFWriteScanline(tif, line.data(), y, 0) == 1;
  }
  good = good && TIFFWriteDirectory(tif) == 1;
  TIFFClose(tif);
  return good && out.write(mem.data) && !out.failed();
}

}  // namespace pix
