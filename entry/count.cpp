// The counting exports: how many pictures of one kind a container holds,
// found by their signatures block by block, without writing anything. Each
// member keeps its own block size and end-of-file rule: those that stop when
// the end-of-file indicator rises never search their last, short block.
#include <cstdint>
#include <string>

#include "common/budget.h"
#include "common/paths.h"
#include "common/reader.h"
#include "common/search.h"
#include "extract/jpeg_source.h"
#include "extract/ppt_records.h"
#include "pixmisc.h"

namespace pix {
namespace {

std::int64_t Back(std::size_t n) { return -static_cast<std::int64_t>(n); }

// A resume point never lies before the signature that started a picture.
void KeepPast(BlockSource& src, std::int64_t tagPos) {
  if (src.tell() <= tagPos) src.seekSet(tagPos + 1);
}

// Skips the picture at the read position up to its first FF D9, in
// 4096-byte blocks. False when the source ended inside it (end-of-file set).
bool SkipToEndMarker(BlockSource& src, ScanBlock& block) {
  for (;;) {
    std::size_t got = src.read(block.data(), 4096);
    if (got == 0) return true;
    if (src.eof()) return false;
    int e = FindPair(static_cast<int>(got), block.data(), 0xFF, 0xD9);
    if (e >= 0) {
      src.seekCur(Back(got));
      src.seekCur(e + 2);
      return true;
    }
  }
}

// The two JPEG counts share one scheme: find the start, step over an Exif
// block to the "JFIF" after it, count, skip to the end marker.
int CountJpeg(const char* path, bool byJfif, bool* opened) {
  BlockSource src;
  *opened = src.open(path);
  if (!*opened) return 0;
  ScanBlock block(4096);
  int count = 0;
  for (;;) {
    std::size_t got = src.read(block.data(), 1024);
    if (src.eof()) break;
    int p = byJfif ? FindPattern(static_cast<int>(got), block.data(), "JFIF")
                   : FindStartOfPicture(static_cast<int>(got), block.data());
    if (p < 0) continue;
    const std::int64_t tagPos = src.tell() - static_cast<std::int64_t>(got) + p;
    src.seekCur(Back(got));
    src.seekCur(byJfif ? p - 6 : p);
    std::size_t got2 = src.read(block.data(), 1024);
    int q = FindPattern(static_cast<int>(got2), block.data(), "Exif");
    src.seekCur(Back(got2));
    if (q >= 0) {
      src.seekCur(q);
      std::size_t got3 = src.read(block.data(), byJfif ? 4096 : 1024);
      int r = FindPattern(static_cast<int>(got3), block.data(), "JFIF");
      src.seekCur(Back(got3));
      src.seekCur(r - 6);
    }
    ++count;
    if (!SkipToEndMarker(src, block)) return count;
    KeepPast(src, tagPos);
  }
  return count;
}

// Counts blocks of blockSize that hold the pattern; stopAtEof: the last,
// short block is not searched.
int CountBlocks(const char* path, std::size_t blockSize, const char* pattern, bool stopAtEof, bool* opened) {
  BlockSource src;
  *opened = src.open(path);
  if (!*opened) return 0;
  ScanBlock block(blockSize);
  int count = 0;
  for (;;) {
    std::size_t got = src.read(block.data(), blockSize);
    if (stopAtEof ? src.eof() : got == 0) break;
    if (FindPattern(static_cast<int>(got), block.data(), pattern) >= 0) ++count;
  }
  return count;
}

}  // namespace
}  // namespace pix

using namespace pix;

extern "C" {

int compteFichiers(const char* path, int* out) {
  CallScope scope(path);
  bool opened = false;
  int count = CountJpeg(path, true, &opened);
  if (!opened) return 0;
  if (count == 0) count = compteFichiers_2(path);
  if (out) *out = count;
  return count;
}

int compteFichiers_2(const char* path) {
  CallScope scope(path);
  bool opened = false;
  return CountJpeg(path, false, &opened);
}

int compteFichiersPNG(const char* path, int* out) {
  CallScope scope(path);
  bool opened = false;
  int count = CountBlocks(path, 512, "PNG", true, &opened);
  if (opened && out) *out = count;
  return count;
}

int compteFichiersGIF(const char* path, int* out) {
  CallScope scope(path);
  bool opened = false;
  int count = CountBlocks(path, 512, "GIF89a", false, &opened);
  if (opened && out) *out = count;
  return count;
}

int compteFichiersTIFF(const char* path) {
  CallScope scope(path);
  BlockSource src;
  if (!src.open(path)) return 0;
  constexpr std::size_t kBlock = 5096;
  ScanBlock block(kBlock);
  std::int64_t position = 0;
  int count = 0;
  for (;;) {
    std::size_t got = src.read(block.data(), kBlock);
    if (got == 0) break;
    position += static_cast<std::int64_t>(got);
    int p = FindPattern(static_cast<int>(got), block.data(), "II*");
    if (p >= 0) {
      position = position - static_cast<std::int64_t>(got) + p + 3;
      src.seekSet(position);
      ++count;
    }
  }
  return count;
}

int compteFichiersBMP(const char* path, int* out) {
  CallScope scope(path);
  BlockSource src;
  if (!src.open(path)) return 0;
  ScanBlock block(512);
  int count = 0;
  for (;;) {
    std::size_t got = src.read(block.data(), 512);
    if (src.eof()) break;
    int p = FindPattern(static_cast<int>(got), block.data(), "BMP");
    if (p < 0) continue;
    src.seekCur(Back(got));
    src.seekCur(p + 3);
    std::size_t got2 = src.read(block.data(), 512);
    int q = FindPattern(static_cast<int>(got2), block.data(), "BM");
    if (q >= 0) {
      ++count;
      src.seekCur(Back(got2));
      src.seekCur(q + 5);
    }
  }
  if (out) *out = count;
  return count;
}

int compteFichiersBMPelse(const char* path, int* out) {
  CallScope scope(path);
  BlockSource src;
  if (!src.open(path)) return 0;
  ScanBlock block(512);
  int count = 0;
  for (;;) {
    std::size_t got = src.read(block.data(), 512);
    if (src.eof()) break;
    int p = FindPattern(static_cast<int>(got), block.data(), "BM");
    if (p < 0) continue;
    src.seekCur(Back(got));
    src.seekCur(p);
    std::uint8_t header[14];
    if (src.read(header, sizeof header) < sizeof header) break;
    ByteReader h(header, sizeof header);
    if (h.u16leAt(6) == 0 && h.u16leAt(8) == 0) {
      src.seekCur(-14);
      ++count;
      const std::uint32_t size = h.u32leAt(2);
      if (size == 0) break;  // a bitmap of no length ends the walk
      src.seekCur(size);
    }
  }
  if (out) *out = count;
  return count;
}

int compteFichiersDIB(const char* path, int* out) {
  CallScope scope(path);
  const bool mic = Lower(Split(path).ext) == ".mic";
  BlockSource src;
  if (!src.open(path)) return -1;
  ScanBlock block(1024);
  int count = 0;
  for (;;) {
    std::size_t got = src.read(block.data(), 1024);
    if (got == 0) break;
    const int n = static_cast<int>(got);
    int hit = mic ? FindWide(n, block.data(), "Thumb") : FindFour(n, block.data(), 0x28, 0, 0, 0);
    if (hit >= 0) ++count;
  }
  if (out) *out = count;
  return count;
}

int compteFichiersPPT(const char* path) {
  CallScope scope(path);
  BlockSource src;
  if (!src.open(path)) return 0;
  src.seekSet(kPptFirstRecord);
  int count = 0;
  std::uint32_t header = 0, length = 0;
  while (NextPptRecord(src, header, length)) {
    if (header == kPptJpegRecord) ++count;
    src.seekCur(length);
  }
  return count;
}

}  // extern "C"
