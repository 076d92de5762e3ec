// The block scanner behind every JPEG stream scanner. It copies bytes between
// a start signature and an end marker without looking at the picture; block
// sizes, numbering and the points where scanning resumes are the members'
// own (see JpegScanRules). Pairs and signatures split across two blocks are
// not seen, and the first end marker may belong to an embedded thumbnail:
// scanners of this kind have always behaved so.
#include <cstring>
#include <string>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "common/console.h"
#include "common/files.h"
#include "common/paths.h"
#include "common/search.h"
#include "extract/compound_file.h"
#include "extract/jpeg_scan.h"
#include "platform/platform.h"

namespace pix {
namespace {

constexpr int kCopyBlock = 4096;

}  // namespace

// The program scanner's hot loop: FindPattern(n, block, "JFIF") sixteen
// candidates at a time ('J' and 'I' two bytes on), for blocks that carry the
// usual slack.
int FindJfif(int n, const std::uint8_t* block) {
#if defined(__SSE2__)
  const __m128i j = _mm_set1_epi8('J'), i2 = _mm_set1_epi8('I');
  int i = 0;
  for (; i + 16 <= n; i += 16) {
    __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + i));
    __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + i + 2));
    unsigned m = static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(a, j), _mm_cmpeq_epi8(c, i2))));
    while (m) {
      int k = i + __builtin_ctz(m);
      if (block[k + 1] == 'F' && block[k + 3] == 'F') return k;
      m &= m - 1;
    }
  }
  int rest = FindPattern(n - i, block + i, "JFIF");
  return rest < 0 ? -1 : i + rest;
#else
  return FindPattern(n, block, "JFIF");
#endif
}

namespace {

int FindStart(JpegScanRules::Start start, int n, const std::uint8_t* block) {
  switch (start) {
    case JpegScanRules::Start::Jfif: return FindJfif(n, block);
    case JpegScanRules::Start::StartOfPicture: return FindStartOfPicture(n, block);
    case JpegScanRules::Start::ShortStart: return FindShortStart(n, block);
    case JpegScanRules::Start::Soi: return FindPair(n, block, 0xFF, 0xD8);
  }
  return -1;
}

// Bytes a start signature covers.
int StartLength(JpegScanRules::Start start) {
  switch (start) {
    case JpegScanRules::Start::Jfif: return 4;
    case JpegScanRules::Start::StartOfPicture: return 4;
    case JpegScanRules::Start::ShortStart: return 3;
    case JpegScanRules::Start::Soi: return 2;
  }
  return 0;
}

// How a copy ended.
enum class CopyEnd { Marker, EndOfSource };

struct Scan {
  const ConvertCall& call;
  const JpegScanRules& rules;
  BlockSource src;
  ScanBlock block;
  ScanBlock copy;
  bool memory = false;
  int counter = 0;  // streams found
  int written = 0;  // files opened
  bool exifSkipped = false;  // the current picture follows an "Exif" tag

  Scan(const ConvertCall& c, const JpegScanRules& r)
      : call(c), rules(r), block(static_cast<std::size_t>(r.scanBlock)), copy(kCopyBlock) {}

  // Moves from the signature found at p of the scan block (n bytes) to the
  // stream start, taking the member's detours. Returns whether an "Exif" tag
  // changes the end rule.
  bool stepToStart(int n, int p, bool exifInBlock) {
    src.seekCur(-static_cast<std::int64_t>(n));
    const int back = rules.start == JpegScanRules::Start::Jfif ? 6 : 0;
    src.seekCur(p - back);
    switch (rules.before) {
      case JpegScanRules::Before::Nothing: return false;
      case JpegScanRules::Before::ExifSkip: {
        // The tag is looked for in the whole 512-byte buffer, whatever was read.
        std::size_t got = src.read(block.data(), block.capacity());
        int e = FindPattern(static_cast<int>(block.capacity()), block.data(), "Exif");
        src.seekCur(-static_cast<std::int64_t>(got));
        if (e >= 0) {
          exifSkipped = true;
          src.seekCur(e);
          std::size_t got2 = src.read(copy.data(), kCopyBlock);
          int j = FindPattern(static_cast<int>(got2), copy.data(), "JFIF");
          src.seekCur(-static_cast<std::int64_t>(got2));
          src.seekCur(j - 6);
        }
        return false;
      }
      case JpegScanRules::Before::PhotoshopSkip: {
        std::size_t got = src.read(block.data(), block.capacity());
        int b = FindPattern(static_cast<int>(got), block.data(), "8BIM");
        src.seekCur(-static_cast<std::int64_t>(got));
        src.seekCur(b - 4);
        std::size_t got2 = src.read(block.data(), block.capacity());
        int j = FindPattern(static_cast<int>(got2), block.data(), "JFIF");
        src.seekCur(-static_cast<std::int64_t>(got2));
        src.seekCur(j - 6);
        return false;
      }
      case JpegScanRules::Before::ExifTest: {
        // The look ahead is read and given back; the tag was looked for in
        // the scan block where "JFIF" stood.
        std::size_t got = src.read(copy.data(), kCopyBlock);
        src.seekCur(-static_cast<std::int64_t>(got));
        return exifInBlock;
      }
    }
    return false;
  }

  // Copies the stream at the read position into sink. On Marker the source
  // stands where scanning resumes.
  // A non-zero `endPairs` overrides the member's end rule.
  CopyEnd copyStream(Sink& sink, bool exif, int endPairs) {
    int pairs = 0;
    const bool cutAtEachPair = exif && !memory && rules.before == JpegScanRules::Before::ExifTest;
    const int needed = endPairs ? endPairs : rules.end == JpegScanRules::End::SecondPair || cutAtEachPair ? 2 : 1;
    for (;;) {
      std::size_t got = src.read(copy.data(), kCopyBlock);
      if (got == 0 || src.eof()) {
        sink.write(copy.data(), got);
        return CopyEnd::EndOfSource;
      }
      const int n = static_cast<int>(got);
      int q = FindPair(n, copy.data(), 0xFF, 0xD9);
      if (q >= 0) ++pairs;
      if (q >= 0 && pairs >= needed) {
        sink.write(copy.data(), static_cast<std::size_t>(q) + 2);
        if (rules.resume == JpegScanRules::Resume::Movie) {
          src.seekCur(q - n);
          src.seekCur(-n);
          src.seekCur(q + 2);
        } else {
          src.seekCur(-n);
          src.seekCur(q + 2);
        }
        return CopyEnd::Marker;
      }
      if (q >= 0 && cutAtEachPair) {
        sink.write(copy.data(), static_cast<std::size_t>(q) + 2);  // the rest of this block is dropped
      } else {
        sink.write(copy.data(), got);
      }
    }
  }

  // The result when the source ends outside a stream.
  int atEnd() {
    if (memory) {
      if (counter == 0 && rules.fallback) return ThumbDbFallbackScan(call);
      return 0;
    }
    if (counter == 0 && rules.fallback) return ThumbDbFallbackScan(call);
    if (written == 0 && rules.emptyMessage) {
      std::string text = std::string("Pixamorph n'a trouv\xe9 aucune image dans le fichier ") + call.source;
      platform::MessageBox(text.c_str(), platform::MessageIcon::Information);
    }
    return written;
  }

  int run() {
    memory = call.memoryMode();
    if (memory && (!rules.memoryCapable || !call.out)) return 0;
    int result = 0;
    if (rules.compoundStreams && runOverStreams(result)) return result;
    if (!src.open(call.source)) return 0;
    walk(false, result);
    return result;
  }

  // A compound file is scanned stream by stream, as its allocation tables
  // chain them: its sectors need not lie in order, and a byte walk would cut
  // and join pictures there. Numbering runs on across streams. False (and
  // the byte walk runs) when the source is no compound file or its streams
  // hold no picture.
  bool runOverStreams(int& result) {
    CompoundFile file;
    if (!file.open(call.source)) return false;
    bool done = false;
    file.forEachStream([&](const Bytes& data) {
      src.openMemory(data.data(), data.size());
      done = walk(true, result);
      return !done;
    });
    if (done) return true;
    if (counter == 0) return false;
    result = memory ? 0 : written;
    return true;
  }

  // Walks the source from its read position. True when the call's result is
  // settled (in `result`); false when a stream of a compound file ran out and
  // the next one is to be walked.
  bool walk(bool oneStream, int& result) {
    const int wanted = call.arg1;
    for (;;) {
      // The scan block is searched where it stands in the source window. Only
      // full blocks are searched, and their buffer would end in zero slack,
      // so a signature running past the block's end is no hit.
      std::size_t got = 0;
      const std::uint8_t* view = src.view(block.capacity(), &got);
      if (src.eof()) {
        if (oneStream) return false;
        result = atEnd();
        return true;
      }
      const int n = static_cast<int>(got);
      const int p = FindStart(rules.start, n, view);
      if (p < 0 || p + StartLength(rules.start) > n) continue;
      bool exifInBlock = false;
      if (rules.before == JpegScanRules::Before::ExifTest) {
        int e = FindPattern(n, view, "Exif");
        exifInBlock = e >= 0 && e + 4 <= n;
      }
      // Later reads may still find the scan block's bytes in the buffer.
      std::memcpy(block.data(), view, got);
      const std::int64_t tagPos = src.tell() - n + p;
      exifSkipped = false;
      const bool exif = stepToStart(n, p, exifInBlock);
      const std::int64_t streamStart = src.tell();
      // Scanning never resumes before this point, whatever the markers say.
      const std::int64_t floor = std::max(streamStart + 2, tagPos + 1);

      const int number = rules.fromOne ? counter + 1 : counter;
      ++counter;
      Sink sink;
      if (memory) {
        if (counter < wanted) {
          src.seekCur(p + rules.memorySkip);
          if (src.tell() < floor) src.seekSet(floor);
          continue;
        }
        sink.openMemory();
      } else {
        std::string name = SiblingName(call.target, call.source, rules.suffix, number);
        if (name.empty() || !sink.open(name.c_str())) {
          result = written;
          return true;
        }
        ++written;
      }

      // Within one stream of a compound file, only a picture that follows an
      // Exif-wrapped copy needs the second end marker.
      const int pairs = oneStream && rules.end == JpegScanRules::End::SecondPair && !exifSkipped ? 1 : 0;
      CopyEnd how = copyStream(sink, exif, pairs);
      if (memory) {
        result = sink.release(call.out);
        return true;
      }
      sink.close();
      if (how == CopyEnd::EndOfSource) {
        if (oneStream) return false;
        result = written;
        return true;
      }
      if (src.tell() < floor) src.seekSet(floor);
    }
  }
};

}  // namespace

std::string InTargetDir(const char* target, const std::string& fileName) {
  SplitPath t = Split(target);
  if (t.dir.empty()) return FormatPath("%s%s", t.drive.c_str(), fileName.c_str());
  return FormatPath("%s%s\\%s", t.drive.c_str(), t.dir.c_str(), fileName.c_str());
}

void CopyToEnd(BlockSource& src, Sink& sink) {
  ScanBlock copy(kCopyBlock);
  for (;;) {
    std::size_t got = src.read(copy.data(), kCopyBlock);
    sink.write(copy.data(), got);
    if (got < kCopyBlock) return;
  }
}

int RunJpegScan(const ConvertCall& call, const JpegScanRules& rules) {
  Scan scan(call, rules);
  return scan.run();
}

int ExtractFromJfif(const ConvertCall& call, int skip) {
  if (call.memoryMode()) return 0;
  BlockSource src;
  if (!src.open(call.source)) return 0;
  ScanBlock block(512);
  int seen = 0;
  for (;;) {
    std::size_t got = src.read(block.data(), 512);
    if (src.eof()) return 0;
    int p = FindPattern(static_cast<int>(got), block.data(), "JFIF");
    if (p < 0) continue;
    src.seekCur(-static_cast<std::int64_t>(got));
    if (seen++ < skip) {
      src.seekCur(p + 4);  // the search goes on right after the tag passed over
      continue;
    }
    src.seekCur(p - 6);
    Sink sink;
    if (!sink.open(call.target)) return 0;
    CopyToEnd(src, sink);
    sink.close();
    return 1;
  }
}

}  // namespace pix
