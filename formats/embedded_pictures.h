// Pictures stored whole inside other files (previews, thumbnails, members of
// picture archives): where a PNG, GIF or JPEG stream that starts at a given
// offset ends, found by walking its own structure, and a plain byte search.
// The container converters of this folder copy what these walks delimit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "common/call.h"
#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"

namespace pix {

inline constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);
// A stored picture larger than this is taken as damage, not as a picture.
inline constexpr std::size_t kMaxStoredPicture = std::size_t(64) << 20;

// The first offset at or after `from` where `pattern` stands, or kNotFound.
std::size_t FindBytes(const ByteReader& in, std::size_t from, std::string_view pattern);

// Length of the PNG at `at`: the signature, an IHDR of 13 bytes first whose
// size the library accepts, then chunks up to IEND and its CRC. 0 when the
// bytes there are not such a PNG or it is cut short.
std::size_t PngStreamLength(const ByteReader& in, std::size_t at);
bool IsPngSignature(const ByteReader& in, std::size_t at);

// Length of the GIF at `at`: "GIF87a"/"GIF89a", a screen of non-zero size the
// library accepts, the colour table, then image and extension blocks up to
// the trailer 0x3B. 0 when it is not a GIF, is damaged or cut short.
std::size_t GifStreamLength(const ByteReader& in, std::size_t at);

// Length of the JPEG at `at` (FF D8 FF): the marker segments walked, each
// scan's entropy-coded data skipped, up to the EOI marker FF D9 that ends the
// outer picture (an Exif thumbnail's own EOI lies inside a segment). 0 when
// the markers do not hold together or the picture is cut short.
std::size_t JpegStreamLength(const ByteReader& in, std::size_t at);
// Length of the JPEG's header at `at`, up to and including the first scan's
// header (a frame header of accepted size before it); 0 when it does not hold.
std::size_t JpegHeaderLength(const ByteReader& in, std::size_t at);

// Copies the streams of one kind stored anywhere in r into the series, in
// file order: every place where `signature` stands and `length` walks a
// stream of at least minLength bytes (a stream found is passed over whole).
// `found` counts them, across calls too; the copy stops at kMaxStoredPictures,
// once memory mode has its picture, or when the read budget is spent. False
// when a file could not be written.
using StreamLength = std::size_t (*)(const ByteReader& in, std::size_t at);
inline constexpr int kMaxStoredPictures = 10000;
bool CopyStoredStreams(const ByteReader& r, std::string_view signature, StreamLength length, std::size_t minLength,
                       Series& series, int& found);

// The first stream of one kind in r that `length` walks whole, or an empty
// reader when there is none (or the read budget is spent first).
ByteReader FirstStoredStream(const ByteReader& r, std::string_view signature, StreamLength length);

// Walking candidates is charged to the call's read budget (as reading the
// bytes walked over would be); scans stop once this turns false.
bool ScanBudgetLeft();

// Reads the whole source (up to 256 MiB) into the window for a scan; false
// when it cannot be read, or when memory mode has nowhere to put a result.
bool LoadScanSource(const ConvertCall& call, InFile& in, FileWindow& window);

}  // namespace pix
