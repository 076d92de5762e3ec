// Where PNG, GIF and JPEG streams stored inside other files end: each walk
// follows the format's own lengths and is checked against the bytes there are.
#include "formats/embedded_pictures.h"

#include <algorithm>

#include "common/budget.h"
#include "common/image.h"

namespace pix {
namespace {

constexpr std::string_view kPngSignature("\x89PNG\r\n\x1a\n", 8);

// Skips GIF data sub-blocks (a length byte, that many bytes, ..., a zero
// length); false when they run past the end.
bool SkipSubBlocks(ByteReader& r) {
  for (;;) {
    const std::uint8_t n = r.u8();
    if (r.bad()) return false;
    if (n == 0) return true;
    if (!r.skip(n)) return false;
  }
}

// Walking a candidate counts as reading the bytes walked over, so that a file
// full of false starts cannot make a scan run without bound.
std::size_t Charged(const ByteReader& walked, std::size_t length) {
  if (CallScope* scope = CallScope::Current()) scope->chargeRead(walked.pos());
  return length;
}

std::size_t PngWalk(ByteReader& r) {
  r.skip(8);
  if (r.u32be() != 13 || r.str(4) != "IHDR") return 0;
  const std::uint32_t w = r.u32be(), h = r.u32be();
  if (r.bad() || CheckedSize(w, h, 1) == 0) return 0;
  r.seek(8);
  for (;;) {
    const std::uint32_t length = r.u32be();
    const std::string type = r.str(4);
    if (r.bad() || length > 0x7FFFFFFFu || !r.skip(std::size_t(length) + 4)) return 0;
    if (type == "IEND") return r.pos();
  }
}

std::size_t GifWalk(ByteReader& r) {
  const std::string sig = r.str(6);
  if (sig != "GIF87a" && sig != "GIF89a") return 0;
  const std::uint16_t w = r.u16le(), h = r.u16le();
  const std::uint8_t flags = r.u8();
  r.skip(2);
  if (CheckedSize(w, h, 1) == 0) return 0;
  if (flags & 0x80) r.skip(3u << ((flags & 7) + 1));
  for (;;) {
    const std::uint8_t kind = r.u8();
    if (r.bad()) return 0;
    if (kind == 0x3B) return r.pos();
    if (kind == 0x21) {
      r.skip(1);
    } else if (kind == 0x2C) {
      r.skip(8);
      const std::uint8_t local = r.u8();
      if (local & 0x80) r.skip(3u << ((local & 7) + 1));
      const std::uint8_t codeSize = r.u8();
      if (codeSize < 2 || codeSize > 11) return 0;
    } else {
      return 0;
    }
    if (!SkipSubBlocks(r)) return 0;
  }
}

bool IsFrameMarker(std::uint8_t m) { return m >= 0xC0 && m <= 0xCF && m != 0xC4 && m != 0xC8 && m != 0xCC; }

}  // namespace

std::size_t FindBytes(const ByteReader& in, std::size_t from, std::string_view pattern) {
  if (pattern.empty() || from >= in.size()) return kNotFound;
  for (std::size_t i = from; i + pattern.size() <= in.size(); ++i) {
    if (in.at(i) != static_cast<std::uint8_t>(pattern[0])) continue;
    std::size_t k = 1;
    while (k < pattern.size() && in.at(i + k) == static_cast<std::uint8_t>(pattern[k])) ++k;
    if (k == pattern.size()) return i;
  }
  return kNotFound;
}

bool IsPngSignature(const ByteReader& in, std::size_t at) {
  if (!in.has(at, kPngSignature.size())) return false;
  for (std::size_t i = 0; i < kPngSignature.size(); ++i)
    if (in.at(at + i) != static_cast<std::uint8_t>(kPngSignature[i])) return false;
  return true;
}

std::size_t PngStreamLength(const ByteReader& in, std::size_t at) {
  if (!IsPngSignature(in, at)) return 0;
  ByteReader r = in.sub(at, std::min(in.size() - at, kMaxStoredPicture));
  return Charged(r, PngWalk(r));
}

std::size_t GifStreamLength(const ByteReader& in, std::size_t at) {
  if (!in.has(at, 13)) return 0;
  ByteReader r = in.sub(at, std::min(in.size() - at, kMaxStoredPicture));
  return Charged(r, GifWalk(r));
}

namespace {

// The JPEG's marker segments from SOI on; with headerOnly up to the first
// scan's header, otherwise through the entropy-coded data up to EOI. A frame
// header must come before the first scan and give a size the library accepts.
std::size_t JpegWalk(ByteReader& r, bool headerOnly) {
  r.skip(2);
  bool sawFrame = false;
  for (;;) {
    if (r.u8() != 0xFF) return 0;
    std::uint8_t marker = r.u8();
    while (marker == 0xFF && !r.bad()) marker = r.u8();  // fill bytes
    if (r.bad()) return 0;
    if (marker == 0xD9) return sawFrame ? r.pos() : 0;
    if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) continue;  // no length
    const std::uint16_t length = r.u16be();
    if (r.bad() || length < 2 || !r.skip(length - 2u)) return 0;
    if (IsFrameMarker(marker)) {
      const ByteReader frame = r.sub(r.pos() - (length - 2u), length - 2u);
      if (CheckedSize(frame.u16beAt(3), frame.u16beAt(1), 1) == 0) return 0;
      sawFrame = true;
    }
    if (marker != 0xDA) continue;
    if (!sawFrame) return 0;
    if (headerOnly) return r.pos();
    // Entropy-coded data: up to the first marker that is not a stuffed
    // zero or a restart marker.
    for (;;) {
      const std::uint8_t b = r.u8();
      if (r.bad()) return 0;
      if (b != 0xFF) continue;
      const std::uint8_t next = r.at(r.pos());
      if (next == 0x00 || (next >= 0xD0 && next <= 0xD7)) {
        r.skip(1);
        continue;
      }
      if (next == 0xFF) continue;
      r.seek(r.pos() - 1);
      break;
    }
  }
}

}  // namespace

std::size_t JpegStreamLength(const ByteReader& in, std::size_t at) {
  if (!in.has(at, 4) || in.at(at) != 0xFF || in.at(at + 1) != 0xD8 || in.at(at + 2) != 0xFF) return 0;
  ByteReader r = in.sub(at, std::min(in.size() - at, kMaxStoredPicture));
  return Charged(r, JpegWalk(r, false));
}

std::size_t JpegHeaderLength(const ByteReader& in, std::size_t at) {
  if (!in.has(at, 4) || in.at(at) != 0xFF || in.at(at + 1) != 0xD8 || in.at(at + 2) != 0xFF) return 0;
  ByteReader r = in.sub(at, std::min(in.size() - at, kMaxStoredPicture));
  return Charged(r, JpegWalk(r, true));
}

bool CopyStoredStreams(const ByteReader& r, std::string_view signature, StreamLength length, std::size_t minLength,
                       Series& series, int& found) {
  for (std::size_t at = FindBytes(r, 0, signature);
       at != kNotFound && found < kMaxStoredPictures && !series.done() && ScanBudgetLeft();) {
    const std::size_t n = length(r, at);
    if (n == 0 || n < minLength) {
      at = FindBytes(r, at + 1, signature);
      continue;
    }
    ++found;
    const ByteReader stream = r.sub(at, n);
    if (!series.add([&](Sink& s) { return s.write(stream.data(), stream.size()); })) return false;
    at = FindBytes(r, at + n, signature);
  }
  return true;
}

ByteReader FirstStoredStream(const ByteReader& r, std::string_view signature, StreamLength length) {
  for (std::size_t at = FindBytes(r, 0, signature); at != kNotFound && ScanBudgetLeft();
       at = FindBytes(r, at + 1, signature)) {
    if (const std::size_t n = length(r, at)) return r.sub(at, n);
  }
  return ByteReader();
}

bool ScanBudgetLeft() {
  const CallScope* scope = CallScope::Current();
  return !scope || !scope->exceeded();
}

bool LoadScanSource(const ConvertCall& call, InFile& in, FileWindow& window) {
  if (call.memoryMode() && !call.out) return false;
  return in.open(call.source) && window.load(0, std::size_t(256) << 20);
}

}  // namespace pix
