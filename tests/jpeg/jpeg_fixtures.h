// Real JPEG pictures made with cjpeg, Exif pictures with a thumbnail, and
// filler, for the JPEG scanner tests.
#pragma once

#include <cstdint>
#include <string>

#include "common/call.h"
#include "support.h"

namespace jpegtest {

using pixtest::Bytes;

// A w x h RGB test picture as a binary PPM (a gradient with some noise).
Bytes MakePpm(int w, int h, int seed);
// That picture through cjpeg (baseline, quality 90). Empty if cjpeg fails.
Bytes MakeJpeg(int w, int h, int seed);
// djpeg's PPM of a JPEG; empty on failure.
Bytes Decode(const Bytes& jpeg);

// Filler that never holds 0xFF nor 'J', so no marker or tag hides in it.
Bytes Filler(std::size_t n, int seed);

// main with an APP1 Exif block (little-endian TIFF, first directory
// linking to a second one naming thumb by tags 0x201/0x202) inserted after
// its APP0 (or right after SOI). Where the thumbnail starts in the result goes to *thumbAt.
Bytes WithExifThumbnail(const Bytes& main, const Bytes& thumb, std::size_t* thumbAt = nullptr, bool afterApp0 = true);

Bytes Cat(std::initializer_list<Bytes> parts);
std::size_t Find(const Bytes& hay, const Bytes& needle, std::size_t from = 0);
Bytes Slice(const Bytes& b, std::size_t from, std::size_t to);

// Runs a converter of the JPEG family on source with target, or in memory.
int Convert(int (*fn)(const pix::ConvertCall&), const std::string& source, const std::string& target, int arg1 = 0);
int ConvertToMemory(int (*fn)(const pix::ConvertCall&), const std::string& source, int wanted, Bytes& out);

}  // namespace jpegtest
