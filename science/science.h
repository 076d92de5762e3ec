// The converters of this folder, as the route table and the previews call them.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "common/call.h"
#include "common/files.h"

namespace pix {

// Astronomy converters
int SbigToFits(const ConvertCall& call);
int FtzToFits(const ConvertCall& call);
int IbgToFits(const ConvertCall& call);
int B16ToFits(const ConvertCall& call);
int PicToFits(const ConvertCall& call);
int HeightField(const ConvertCall& call);

// The SBIG conversion with all its knobs: an optional parameter file whose
// lines name OBJECT, TELESCOP and OBSERVER and add cards of their own, a
// shift of the observation time in seconds, and a header-only mode. Returns
// 1 when the FITS file was completed, -1 otherwise. With a null or empty
// target the FITS bytes are built in memory and handed over through out (the
// result is then their size, or -1).
int SbigConvert(const char* source, const char* paramFile, int timeOffset, const char* target,
                bool headerOnly, unsigned char** out = nullptr);

// The FITS writer of the SBIG converter: 80-character cards gathered in
// 2880-byte records, then 16-bit data records.
inline constexpr int kFitsRecord = 2880;
inline constexpr int kSbigHeaderSize = 2048;

struct FitsRecordWriter {
  Sink out;
  std::array<char, kFitsRecord> record{};
  int cards = 0;       // cards placed in the current header record
  int dataBytes = 0;   // bytes placed in the current data record
  bool paramErrorReported = false;
  Bytes pending;       // full data records not yet handed to the sink
};

// Writes the whole header for an SBIG text header (kSbigHeaderSize + 1 bytes,
// the last one zero; its date and time are rewritten in place). Opens the
// target (memory mode when null or empty) and leaves it open after the
// header; false on failure.
bool FitsWriteSbigHeader(FitsRecordWriter& w, const char* target, char* sbigHeader, const char* paramFile,
                         int timeOffset);
// Formats one card (cut or blank-padded to 80 characters) into the record;
// writes the record when it holds 36 cards. 1, or -1 after a failed write.
int FitsPutCard(FitsRecordWriter& w, const char* fmt, ...) PIX_PRINTF(2, 3);
// Appends count 16-bit pixels (low byte first in row) as stored FITS values
// (value - 32768, big-endian). Returns count, or -1 after a failed write.
int FitsWriteRow(FitsRecordWriter& w, const std::uint8_t* row, int count);
// Writes the current data record in full and closes the target; the number of
// bytes that last write put out (kFitsRecord on success, else 0).
int FitsCloseData(FitsRecordWriter& w);

// A grid of real heights, row by row (element (x, y) at y * width + x).
struct HeightMap {
  std::uint32_t width = 0, height = 0;
  std::vector<float> values;
};

// Reserves width x height values; false (after the console message) when the
// size is refused.
bool AllocateHeights(HeightMap& map, std::uint32_t width, std::uint32_t height);
// Matlab level-4 matrix files: one real matrix, column by column. The reader
// takes the whole file; false when it is refused.
bool ReadMatlab(const Bytes& data, HeightMap& map);
// Writes type 10 (single precision, little-endian), rows, columns and the name
// "topo"; false when the file cannot be written.
bool WriteMatlab(const char* path, const HeightMap& map);

}  // namespace pix
