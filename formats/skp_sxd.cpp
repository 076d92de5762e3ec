// SketchUp models (.skp) and OpenOffice.org 1.x Draw documents (.sxd) carry a
// ready-made PNG preview; this converter writes that PNG, bytes unchanged, as
// the target (result 1).
// - .skp: a binary model that opens with FF FE FF 0E and "SketchUp Model" in
//   UTF-16LE; its thumbnail is the first PNG stored in the file (texture PNGs
//   may follow). Files without that header are searched in their first MiB only.
// - .sxd: a ZIP archive; the member "Thumbnails/thumbnail.png" (else the first
//   PNG under "Pictures/") is unpacked with minizip into memory. An archive
//   whose directory cannot be read is searched like a model: stored members
//   are plain bytes inside it.
#include <unzip.h>

#include <string>

#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/embedded_pictures.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kScanWithHeader = std::size_t(16) << 20;
constexpr std::size_t kScanWithoutHeader = std::size_t(1) << 20;

// minizip reads the archive through the call's source file, so what it reads
// is charged to the call like every other read.
voidpf ZipOpen(voidpf opaque, const void*, int) { return opaque; }
uLong ZipRead(voidpf, voidpf stream, void* buf, uLong size) { return static_cast<InFile*>(stream)->read(buf, size); }
uLong ZipWrite(voidpf, voidpf, const void*, uLong) { return 0; }
ZPOS64_T ZipTell(voidpf, voidpf stream) {
  const std::int64_t at = static_cast<InFile*>(stream)->tell();
  return at < 0 ? ZPOS64_T(-1) : ZPOS64_T(at);
}
long ZipSeek(voidpf, voidpf stream, ZPOS64_T offset, int origin) {
  InFile& in = *static_cast<InFile*>(stream);
  const auto delta = static_cast<std::int64_t>(offset);
  bool ok = false;
  if (origin == ZLIB_FILEFUNC_SEEK_SET) ok = in.seekSet(delta);
  else if (origin == ZLIB_FILEFUNC_SEEK_CUR) ok = in.seekCur(delta);
  else if (origin == ZLIB_FILEFUNC_SEEK_END) ok = in.seekEnd(delta);
  return ok ? 0 : -1;
}
int ZipClose(voidpf, voidpf) { return 0; }
int ZipError(voidpf, voidpf) { return 0; }

class ZipArchive {
 public:
  explicit ZipArchive(InFile& in) {
    zlib_filefunc64_def io{};
    io.zopen64_file = ZipOpen;
    io.zread_file = ZipRead;
    io.zwrite_file = ZipWrite;
    io.ztell64_file = ZipTell;
    io.zseek64_file = ZipSeek;
    io.zclose_file = ZipClose;
    io.zerror_file = ZipError;
    io.opaque = &in;
    z_ = unzOpen2_64("", &io);
  }
  ~ZipArchive() {
    if (z_) unzClose(z_);
  }
  ZipArchive(const ZipArchive&) = delete;
  ZipArchive& operator=(const ZipArchive&) = delete;
  unzFile get() const { return z_; }

 private:
  unzFile z_ = nullptr;
};

// The current member, inflated into memory; false when it is too large,
// damaged (its CRC does not match) or cannot be read.
bool ReadMember(unzFile z, const unz_file_info64& info, Bytes& data) {
  if (info.uncompressed_size == 0 || info.uncompressed_size > kMaxStoredPicture) return false;
  if (unzOpenCurrentFile(z) != UNZ_OK) return false;
  data.assign(static_cast<std::size_t>(info.uncompressed_size), 0);
  std::size_t have = 0;
  bool good = true;
  while (have < data.size()) {
    const int got = unzReadCurrentFile(z, data.data() + have, static_cast<unsigned>(data.size() - have));
    if (got <= 0) {
      good = false;
      break;
    }
    have += static_cast<std::size_t>(got);
  }
  if (unzCloseCurrentFile(z) != UNZ_OK) good = false;
  return good;
}

// The document's preview: the thumbnail member, else the first PNG among the
// drawing's pictures. The archive's names only ever select a member.
bool ZipPreview(unzFile z, Bytes& png) {
  if (unzLocateFile(z, "Thumbnails/thumbnail.png", 1) == UNZ_OK) {
    unz_file_info64 info{};
    if (unzGetCurrentFileInfo64(z, &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK) return false;
    return ReadMember(z, info, png);
  }
  for (int rc = unzGoToFirstFile(z); rc == UNZ_OK; rc = unzGoToNextFile(z)) {
    char name[512];
    unz_file_info64 info{};
    if (unzGetCurrentFileInfo64(z, &info, name, sizeof name, nullptr, 0, nullptr, 0) != UNZ_OK) return false;
    name[sizeof name - 1] = '\0';
    if (std::string(name).rfind("Pictures/", 0) != 0) continue;
    Bytes data;
    if (ReadMember(z, info, data) && IsPngSignature(ByteReader(data), 0)) {
      png.swap(data);
      return true;
    }
  }
  return false;
}

bool HasModelHeader(const ByteReader& r) {
  static const char kTitle[] = "SketchUp Model";
  if (r.u32beAt(0) != 0xFFFEFF0Eu) return false;
  for (std::size_t i = 0; i < 14; ++i)
    if (r.u16leAt(4 + 2 * i) != static_cast<std::uint8_t>(kTitle[i])) return false;
  return true;
}

// The first PNG stored in the bytes: the first signature followed by a 13-byte
// IHDR is the preview; when that one is damaged there is no preview.
ByteReader FirstStoredPng(const ByteReader& r, std::size_t limit) {
  for (std::size_t at = FindBytes(r, 0, "\x89PNG"); at != kNotFound && at < limit;
       at = FindBytes(r, at + 1, "\x89PNG")) {
    if (!IsPngSignature(r, at) || r.u32beAt(at + 8) != 13 || r.u32beAt(at + 12) != 0x49484452u) continue;
    const std::size_t length = PngStreamLength(r, at);
    return length ? r.sub(at, length) : ByteReader();
  }
  return ByteReader();
}

}  // namespace

int SkpSxdToPng(const ConvertCall& call) {
  if (call.memoryMode() && !call.out) return 0;
  InFile in(call.source);
  if (!in) return 0;
  std::uint8_t head[4] = {};
  in.read(head, 4);
  in.seekSet(0);
  if (head[0] == 'P' && head[1] == 'K' && head[2] == 3 && head[3] == 4) {
    ZipArchive zip(in);
    if (zip.get()) {
      Bytes png;
      if (!ZipPreview(zip.get(), png)) return 0;
      const std::size_t length = PngStreamLength(ByteReader(png), 0);
      if (length == 0) return 0;
      return WriteOne(call, [&](Sink& s) { return s.write(png.data(), length); });
    }
    in.seekSet(0);
  }
  FileWindow window(in);
  if (!window.load(0, kScanWithHeader)) return 0;
  const ByteReader all = window.reader();
  const ByteReader png = FirstStoredPng(all, HasModelHeader(all) ? kScanWithHeader : kScanWithoutHeader);
  if (png.size() == 0) return 0;
  return WriteOne(call, [&](Sink& s) { return s.write(png.data(), png.size()); });
}

}  // namespace pix
