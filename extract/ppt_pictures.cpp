// JPEG pictures of PowerPoint files. From offset 512 on the file is walked
// as one flat run of records (32-bit little-endian header word and length);
// a record whose header is 0xF01D46A0 holds a 16-byte identifier, a tag
// byte and then a whole JPEG file. PPTtoJPG writes such pictures as
// <target name>_01.jpg, _02.jpg, ... (the number is the picture's place in
// the file) or returns one in memory. compteFichiers_PPS_jpeg counts the
// JFIF streams of a slide show the way the catalogue scanner finds them.
// When the flat walk meets no picture record and the file is a compound
// file, its "Pictures" stream, read as the compound file chains it, is
// walked with the same rules from its first byte.
#include <cstdint>
#include <string>
#include <vector>

#include "common/budget.h"
#include "common/files.h"
#include "common/paths.h"
#include "common/reader.h"
#include "common/search.h"
#include "extract/compound_file.h"
#include "extract/jpeg_scan.h"
#include "extract/jpeg_source.h"
#include "extract/ppt_records.h"
#include "pixmisc.h"

namespace pix {
namespace {

constexpr std::uint32_t kPictureHeader = 17;

// Copies the picture of the record whose body starts at the read position.
void CopyPicture(BlockSource& src, std::uint32_t length, Sink& sink) {
  src.seekCur(kPictureHeader);
  std::vector<std::uint8_t> buf(64 * 1024);
  std::uint64_t left = length - kPictureHeader;
  while (left > 0) {
    std::size_t want = left < buf.size() ? static_cast<std::size_t>(left) : buf.size();
    std::size_t got = src.read(buf.data(), want);
    sink.write(buf.data(), got);
    if (got < want) break;
    left -= got;
  }
}

std::string PictureName(const char* target, int number) {
  char suffix[32];
  std::snprintf(suffix, sizeof suffix, "_%02d.jpg", number);
  return InTargetDir(target, Split(target).name + suffix);
}

struct PptWalk {
  int result = 0;
  int pictures = 0;  // picture records met
};

// The record walk from the read position: writes every picture (wanted 0,
// with a target), or the wanted one to the target or into memory.
PptWalk WalkPptPictures(BlockSource& src, const char* target, int wanted, unsigned char** out) {
  const bool memory = !target || !*target;
  PptWalk walk;
  int& written = walk.result;
  std::uint32_t header = 0, length = 0;
  while (NextPptRecord(src, header, length)) {
    const std::int64_t next = src.tell() + length;
    if (header != kPptJpegRecord) {
      src.seekCur(length);
      continue;
    }
    const int number = ++walk.pictures;
    const bool take = number == wanted || (!memory && wanted == 0);
    if (take && length > kPictureHeader) {
      Sink sink;
      if (memory) {
        sink.openMemory();
        CopyPicture(src, length, sink);
        walk.result = sink.release(out);
        return walk;
      }
      std::string name = PictureName(target, number);
      if (name.empty() || !sink.open(name.c_str())) return walk;
      CopyPicture(src, length, sink);
      sink.close();
      ++written;
      if (wanted != 0) return walk;
    } else if (take && wanted != 0) {
      walk.result = 0;  // a record too short to hold a picture
      return walk;
    }
    src.seekSet(next);
  }
  return walk;
}

int CountPpsStreams(const char* path) {
  BlockSource src;
  if (!src.open(path)) return 0;
  ScanBlock block(4096);
  int count = 0;
  for (;;) {
    std::size_t got = src.read(block.data(), 1024);
    if (src.eof()) return count;
    int p = FindPattern(static_cast<int>(got), block.data(), "JFIF");
    if (p < 0) continue;
    const std::int64_t tagPos = src.tell() - static_cast<std::int64_t>(got) + p;
    src.seekCur(-static_cast<std::int64_t>(got));
    src.seekCur(p - 6);
    std::size_t got2 = src.read(block.data(), 1024);
    const int e = FindPattern(static_cast<int>(got2), block.data(), "Exif");
    const bool exif = e >= 0;
    src.seekCur(-static_cast<std::int64_t>(got2));
    if (exif) {
      src.seekCur(e);
      std::size_t got3 = src.read(block.data(), 4096);
      int j = FindPattern(static_cast<int>(got3), block.data(), "JFIF");
      src.seekCur(-static_cast<std::int64_t>(got3));
      src.seekCur(j - 6);
    }
    ++count;
    int pairs = 0;
    for (;;) {
      std::size_t n = src.read(block.data(), 4096);
      if (src.eof()) return count;
      if (n == 0) break;
      int q = FindPair(static_cast<int>(n), block.data(), 0xFF, 0xD9);
      if (q >= 0 && ++pairs == (exif ? 2 : 1)) {
        src.seekCur(-static_cast<std::int64_t>(n));
        src.seekCur(q + 2);
        break;
      }
    }
    if (src.tell() <= tagPos) src.seekSet(tagPos + 1);
  }
}

}  // namespace
}  // namespace pix

using namespace pix;

extern "C" {

int PPTtoJPG(const char* source, const char* target, int wanted, unsigned char** out) {
  return pix::InCallScope(source, [&]() -> int {
    const bool memory = !target || !*target;
    if (memory && !out) return 0;
    BlockSource src;
    if (!src.open(source)) return 0;
    src.seekSet(kPptFirstRecord);
    PptWalk walk = WalkPptPictures(src, target, wanted, out);
    if (walk.pictures > 0 || !LooksLikeCompoundFile(source)) return walk.result;
    // No picture record in the flat walk: a compound file keeps its pictures in
    // the "Pictures" stream, whose sectors need not follow offset 512.
    CompoundFile file;
    Bytes pictures;
    if (!file.open(source) || !file.readStream("Pictures", pictures)) return walk.result;
    src.openMemory(pictures.data(), pictures.size());
    return WalkPptPictures(src, target, wanted, out).result;
  });
}

int compteFichiers_PPS_jpeg(const char* path) {
  pix::CallScope scope(path);
  return CountPpsStreams(path);
}

}  // extern "C"
