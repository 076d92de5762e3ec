// The block scanner shared by the JPEG stream scanners: read the source in
// fixed blocks, find a start signature, step back to the stream start, copy
// 4096-byte blocks up to the end rule, resume, and number the outputs. Each
// member is this engine with its own rules.
#pragma once

#include <cstdint>
#include <string>

#include "common/call.h"
#include "extract/jpeg_source.h"

namespace pix {

struct JpegScanRules {
  enum class Start {
    Jfif,           // "JFIF"; the stream starts 6 bytes before it
    StartOfPicture, // FF D8 FF E0, stream starts at it
    ShortStart,     // FF D8 FF (searched while i + 4 <= n), stream starts at it
    Soi,            // the pair FF D8, stream starts at it
  };
  enum class Before {
    Nothing,
    ExifSkip,       // thumbnail databases: from "Exif" on to the next "JFIF" - 6
    PhotoshopSkip,  // e-books: on to "8BIM" - 4, then the next "JFIF" - 6
    ExifTest,       // catalogues: "Exif" in the scan block changes the end rule
  };
  enum class End {
    FirstPair,      // the first FF D9 ends the stream
    SecondPair,     // the second block holding FF D9 ends it
  };
  enum class Resume {
    AfterPair,      // right after the end marker
    Movie,          // q - n, then -n, then q + 2 from the end of the copy block
  };

  int scanBlock = 4097;
  Start start = Start::Jfif;
  Before before = Before::Nothing;
  End end = End::FirstPair;
  Resume resume = Resume::AfterPair;
  const char* suffix = "_%04d.jpg";
  bool fromOne = true;          // first file _0001 (else _0000)
  bool memoryCapable = false;
  int memorySkip = 10;          // memory mode: skipped streams move on by offset + this
  bool fallback = false;        // nothing found: run the start-of-picture fallback
  bool emptyMessage = false;    // nothing found: the e-book message box
  bool compoundStreams = false; // a compound file is scanned stream by stream
};

// Runs the block scanner. File mode returns the number of files written;
// memory mode (memory-capable members only) the length of stream number
// call.arg1 (from 1) handed over through call.out, or 0.
int RunJpegScan(const ConvertCall& call, const JpegScanRules& rules);

// Copies everything from the read position to the end of the source into
// sink, in 4096-byte blocks.
class Sink;
void CopyToEnd(BlockSource& src, Sink& sink);

// The one-picture wrappers: passes over the first `skip` "JFIF" tags (found
// in 512-byte blocks), then writes everything from 6 bytes before the next
// one to the end of the source as the target. 1, or 0 without such a tag.
int ExtractFromJfif(const ConvertCall& call, int skip);

// "%s%s\\%s" from the target's drive and directory and a file name: a name
// in the target's directory (the file name alone when the target has none).
std::string InTargetDir(const char* target, const std::string& fileName);

// FindPattern(n, block, "JFIF"), faster.
int FindJfif(int n, const std::uint8_t* block);

// The fallback scanner of the thumbnail databases (FF D8 FF E0 starts).
int ThumbDbFallbackScan(const ConvertCall& call);

}  // namespace pix
