// Compressed bitmaps (".bmz"): a Windows BMP file packed whole by a general
// compressor. The wrapper is told by the first bytes: a gzip member (1F 8B),
// a ZIP archive ("PK": the first member named *.bmp, else the first member;
// through minizip), a bare zlib stream (a valid two-byte zlib header), or a
// plain "BM" file. What unpacks must be a bitmap file ("BM", a known info
// header, a declared size it holds); it is handed over as it stands, cut to
// its declared size. Previews call this in memory mode; with a target the
// bitmap is written there. Unpacking stops at 256 MiB.
#include <unzip.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>

#include "common/inflate.h"
#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kLargest = 256u << 20;

bool EndsWithBmp(const char* name) {
  const std::size_t n = std::strlen(name);
  if (n < 4) return false;
  const char* e = name + n - 4;
  return e[0] == '.' && (e[1] | 0x20) == 'b' && (e[2] | 0x20) == 'm' && (e[3] | 0x20) == 'p';
}

bool Unzip(const char* path, Bytes& out) {
  unzFile zip = unzOpen64(path);
  if (!zip) return false;
  // The first member named *.bmp, else the first member.
  bool chosen = false;
  for (int rc = unzGoToFirstFile(zip); rc == UNZ_OK && !chosen; rc = unzGoToNextFile(zip)) {
    char name[1024] = {};
    unz_file_info64 info{};
    if (unzGetCurrentFileInfo64(zip, &info, name, sizeof name - 1, nullptr, 0, nullptr, 0) != UNZ_OK) break;
    chosen = EndsWithBmp(name);
  }
  if (!chosen && unzGoToFirstFile(zip) != UNZ_OK) {
    unzClose(zip);
    return false;
  }
  unz_file_info64 info{};
  bool good = unzGetCurrentFileInfo64(zip, &info, nullptr, 0, nullptr, 0, nullptr, 0) == UNZ_OK &&
              (info.flag & 1) == 0 && (info.compression_method == 0 || info.compression_method == Z_DEFLATED) &&
              unzOpenCurrentFile(zip) == UNZ_OK;
  if (good) {
    std::uint8_t block[65536];
    for (;;) {
      const int got = unzReadCurrentFile(zip, block, sizeof block);
      if (got < 0 || out.size() + static_cast<std::size_t>(got) > kLargest) good = false;
      if (got <= 0 || !good) break;
      out.insert(out.end(), block, block + got);
    }
    // Closing checks the member's CRC.
    if (unzCloseCurrentFile(zip) != UNZ_OK) good = false;
  }
  unzClose(zip);
  return good;
}

// The bitmap file's own length, 0 when the bytes are not one.
std::size_t BitmapLength(const Bytes& b) {
  const ByteReader r(b);
  if (r.size() < 26 || r.at(0) != 'B' || r.at(1) != 'M') return 0;
  const std::uint32_t size = r.u32leAt(2), info = r.u32leAt(14);
  if (info != 12 && info != 40 && info != 52 && info != 56 && info != 64 && info != 108 && info != 124) return 0;
  if (size < 14 + info || size > r.size() || r.u32leAt(10) >= size) return 0;
  return size;
}

}  // namespace

int BmzToBmp(const ConvertCall& call) {
  InFile in(call.source);
  if (!in) return 0;
  std::uint8_t head[4] = {};
  const std::size_t got = in.read(head, 4);
  if (got < 2 || !in.seekSet(0)) return 0;
  Bytes bmp;
  bool good = false;
  Bytes packed;
  if (head[0] == 0x1F && head[1] == 0x8B) {
    good = ReadWholeFile(call.source, packed, kLargest) &&
           Inflate(packed.data(), packed.size(), kGzipStream, kLargest, bmp);
  } else if (got == 4 && head[0] == 'P' && head[1] == 'K' && head[2] == 3 && head[3] == 4) {
    in.close();
    good = Unzip(call.source, bmp);
  } else if ((head[0] & 0x0F) == 8 && (head[0] * 256 + head[1]) % 31 == 0) {
    good = ReadWholeFile(call.source, packed, kLargest) &&
           Inflate(packed.data(), packed.size(), kZlibStream, kLargest, bmp);
  } else if (head[0] == 'B' && head[1] == 'M') {
    good = ReadWholeFile(call.source, bmp, kLargest);
  }
  const std::size_t length = good ? BitmapLength(bmp) : 0;
  if (length == 0) return 0;
  return WriteOne(call, [&](Sink& s) { return s.write(bmp.data(), length); });
}

}  // namespace pix
