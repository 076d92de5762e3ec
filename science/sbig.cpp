// SBIG ST-4X to ST-8 camera files: a 2048-byte text header ("Width = 375"
// lines and a type name such as "ST-7 Compressed Image"), then rows of 16-bit
// little-endian pixels, raw or delta-coded with a byte count per row. Written
// as one FITS file: every pixel less 100, each row mirrored left to right.
#include <algorithm>
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

// Reads rows into raw, the one row buffer (low byte first), and takes its
// pixels into px. Pixels a row does not supply (a short last row, a delta row
// that ends early) keep what the row before left in the buffer once it was
// written out: offset, mirrored and stored as FITS words (zero for the first).
struct SbigReader {
  InFile& in;
  std::size_t width;
  std::vector<std::uint16_t> px = std::vector<std::uint16_t>(width, 0);
  std::vector<std::uint8_t> raw = std::vector<std::uint8_t>(2 * width, 0);
  std::vector<std::uint8_t> work = std::vector<std::uint8_t>(kWorkSize, 0);

  void takeRaw(const std::uint8_t* bytes) {
    for (std::size_t x = 0; x < width; ++x) px[x] = static_cast<std::uint16_t>(bytes[2 * x] | bytes[2 * x + 1] << 8);
  }

  RowRead readRaw() {
    std::size_t got = in.read(raw.data(), raw.size());
    if (got / 2 == 0) return RowRead::End;
    takeRaw(raw.data());
    return RowRead::Ok;
  }

  RowRead readCompressed() {
    std::uint8_t len[2];
    if (in.read(len, 2) < 2) return RowRead::End;
    std::size_t l = static_cast<std::size_t>(len[0] | len[1] << 8);
    if (in.read(work.data(), l) < l) return RowRead::Error;
    const std::uint8_t* w = work.data();
    if (l == 2 * width) {
      std::copy(w, w + l, raw.begin());
      takeRaw(raw.data());
      return RowRead::Ok;
    }
    // Delta coding; pixels past the width are dropped.
    std::uint16_t value = static_cast<std::uint16_t>(w[0] | w[1] << 8);
    auto put = [&](std::size_t n) {
      raw[2 * n] = static_cast<std::uint8_t>(value);
      raw[2 * n + 1] = static_cast<std::uint8_t>(value >> 8);
    };
    put(0);
    std::size_t n = 1;
    for (std::size_t i = 2; i < l && n < width;) {
      auto b = static_cast<std::int8_t>(w[i]);
      if (b == -128) {
        value = static_cast<std::uint16_t>(w[i + 1] | w[i + 2] << 8);
        i += 3;
      } else {
        value = static_cast<std::uint16_t>(value + b);
        i += 1;
      }
      put(n++);
    }
    takeRaw(raw.data());
    return RowRead::Ok;
  }
};

// The row as the FITS writer takes it (low byte first): every value less the
// fixed offset of 100, its high byte divided toward zero (raw 99 gives
// 0x00FF), and the order of the pixels reversed.
void OffsetAndMirror(const std::vector<std::uint16_t>& px, std::vector<std::uint8_t>& row) {
  std::size_t width = px.size();
  for (std::size_t x = 0; x < width; ++x) {
    int v = px[width - 1 - x] - 100;
    row[2 * x] = static_cast<std::uint8_t>(v);
    row[2 * x + 1] = static_cast<std::uint8_t>(v / 256);
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
  SbigReader reader{in, static_cast<std::size_t>(width)};
  while (!headerOnly) {
    RowRead r = compressed ? reader.readCompressed() : reader.readRaw();
    if (r == RowRead::End) break;
    if (r == RowRead::Error) {
      PrintOut("Can't read the ST-xx file.\n\r");
      break;
    }
    OffsetAndMirror(reader.px, row);
    if (FitsWriteRow(fits, row.data(), static_cast<int>(width)) != width) {
      PrintOut("Can't write data to the FITS file.\n\r");
      break;
    }
    // The row buffer now holds the words as written: high byte less 0x80
    // first. A short next row reads over them.
    for (std::size_t i = 0; i < row.size(); i += 2) {
      reader.raw[i] = static_cast<std::uint8_t>(row[i + 1] - 0x80);
      reader.raw[i + 1] = row[i];
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
