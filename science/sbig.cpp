// SBIG ST-4X to ST-8 camera files: a 2048-byte text header ("Width = 375"
// lines and a type name such as "ST-7 Compressed Image"), then rows of 16-bit
// little-endian pixels, raw or delta-coded with a byte count per row. Written
// as one FITS file: every pixel less 100, each row mirrored left to right.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "common/console.h"
#include "common/image.h"
#include "science/science.h"

namespace pix {
namespace {

// Tried in this order; odd positions are the compressed kinds.
constexpr const char* kTypeNames[] = {
    "ST-4X Image", "ST-4X Compressed Image", "ST-5 Image", "ST-5 Compressed Image",
    "ST-6 Image",  "ST-6 Compressed Image",  "ST-7 Image", "ST-7 Compressed Image",
    "ST-8 Image",  "ST-8 Compressed Image",
};

enum class RowRead { Ok, End, Error };

// Row lengths are 16-bit counts; the work buffer holds the largest with
// slack for an absolute-value escape in the last byte.
constexpr std::size_t kWorkSize = 65535 + 16;

struct SbigReader {
  InFile& in;
  int width;
  std::vector<std::uint8_t>& row;   // 2 * width bytes, low byte first
  std::vector<std::uint8_t> work = std::vector<std::uint8_t>(kWorkSize, 0);

  RowRead readRaw() {
    std::size_t got = in.read(row.data(), row.size());
    return got / 2 == 0 ? RowRead::End : RowRead::Ok;
  }

  RowRead readCompressed() {
    std::uint8_t len[2];
    if (in.read(len, 2) < 2) return RowRead::End;
    std::size_t l = static_cast<std::size_t>(len[0] | len[1] << 8);
    if (in.read(work.data(), l) < l) return RowRead::Error;
    if (l == row.size()) {
      std::memcpy(row.data(), work.data(), l);
      return RowRead::Ok;
    }
    std::uint16_t value = static_cast<std::uint16_t>(work[0] | work[1] << 8);
    std::size_t n = 0, cap = static_cast<std::size_t>(width);
    auto put = [&](std::uint16_t v) {
      if (n < cap) {
        row[2 * n] = static_cast<std::uint8_t>(v);
        row[2 * n + 1] = static_cast<std::uint8_t>(v >> 8);
      }
      ++n;
    };
    put(value);
    for (std::size_t i = 2; i < l;) {
      auto b = static_cast<std::int8_t>(work[i]);
      if (b == -128) {
        value = static_cast<std::uint16_t>(work[i + 1] | work[i + 2] << 8);
        i += 3;
      } else {
        value = static_cast<std::uint16_t>(value + b);
        i += 1;
      }
      put(value);
    }
    return RowRead::Ok;
  }
};

// The fixed offset of 100, with its high byte divided toward zero, then the
// row mirrored.
void OffsetAndMirror(std::vector<std::uint8_t>& row, int width) {
  for (int x = 0; x < width; ++x) {
    int v = (row[2 * x] | row[2 * x + 1] << 8) - 100;
    row[2 * x] = static_cast<std::uint8_t>(v);
    row[2 * x + 1] = static_cast<std::uint8_t>(v / 256);
  }
  for (int a = 0, b = width - 1; a < b; ++a, --b) {
    std::swap(row[2 * a], row[2 * b]);
    std::swap(row[2 * a + 1], row[2 * b + 1]);
  }
}

}  // namespace

int SbigConvert(const char* source, const char* paramFile, int timeOffset, const char* target, bool headerOnly,
                unsigned char** out) {
  InFile in(source);
  if (!in) return -1;
  std::setvbuf(in.raw(), nullptr, _IOFBF, 1 << 16);
  char header[kSbigHeaderSize + 1] = {};
  if (in.read(header, kSbigHeaderSize) < static_cast<std::size_t>(kSbigHeaderSize)) return -1;
  int type = -1;
  for (int i = 0; i < 10 && type < 0; ++i)
    if (std::strstr(header, kTypeNames[i])) type = i;
  if (type < 0) return -1;
  bool compressed = type % 2 == 1;
  const char* w = std::strstr(header, "Width =");
  long width = w ? std::atol(w + 7) : 0;
  if (width <= 0 || width > static_cast<long>(kMaxDimension)) return -1;

  FitsRecordWriter fits;
  if (!FitsWriteSbigHeader(fits, target, header, paramFile, timeOffset)) return -1;

  std::vector<std::uint8_t> row(2 * static_cast<std::size_t>(width), 0);
  SbigReader reader{in, static_cast<int>(width), row};
  while (!headerOnly) {
    RowRead r = compressed ? reader.readCompressed() : reader.readRaw();
    if (r == RowRead::End) break;
    if (r == RowRead::Error) {
      PrintOut("Can't read the ST-xx file.\n\r");
      break;
    }
    OffsetAndMirror(row, static_cast<int>(width));
    if (FitsWriteRow(fits, row.data(), static_cast<int>(width)) != width) {
      PrintOut("Can't write data to the FITS file.\n\r");
      break;
    }
  }
  in.close();
  if (FitsCloseData(fits) != kFitsRecord) return -1;
  if (fits.out.isMemory()) {
    int n = fits.out.release(out);
    return n > 0 ? n : -1;
  }
  return 1;
}

int SbigToFits(const ConvertCall& call) {
  int r = SbigConvert(call.source, "", 0, call.target, false, call.out);
  return r > 0 ? r : 0;
}

}  // namespace pix
