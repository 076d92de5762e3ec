// Thumbnail databases and caches (.db, .cache, .bpthumbdata and many more)
// hold one JFIF picture per entry, often after an Exif-wrapped copy. The
// scanner reads 512-byte blocks; from an "Exif" tag near the stream start it
// moves on to the next "JFIF". A stream ends at the second block holding
// FF D9 (thumbnail, then picture). Files are <source>_0000.jpg on. When no
// "JFIF" is found at all, the fallback looks for FF D8 FF E0 in 1024-byte
// blocks instead. In memory mode, arg1 picks the stream (from 1). A cache
// that is a compound file (Windows' Thumbs.db) is scanned stream by stream,
// numbering on across streams; only a picture after an "Exif" tag needs the
// second end marker there.
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int ThumbDbFallbackScan(const ConvertCall& call) {
  JpegScanRules rules;
  rules.scanBlock = 1024;
  rules.start = JpegScanRules::Start::StartOfPicture;
  rules.end = JpegScanRules::End::SecondPair;
  rules.fromOne = false;
  rules.memoryCapable = true;
  rules.memorySkip = 4;
  return RunJpegScan(call, rules);
}

int ThumbDbScan(const ConvertCall& call) {
  JpegScanRules rules;
  rules.scanBlock = 512;
  rules.before = JpegScanRules::Before::ExifSkip;
  rules.end = JpegScanRules::End::SecondPair;
  rules.fromOne = false;
  rules.memoryCapable = true;
  rules.memorySkip = 10;
  rules.fallback = true;
  rules.compoundStreams = true;
  return RunJpegScan(call, rules);
}

}  // namespace pix
