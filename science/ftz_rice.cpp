// Rice-compressed FITS (".ftz"): a FITS header marked SIMPLE = F with a card
// COMPRESS = 'rice_KK_EEE', then one bit stream for all pixels: per pixel a
// unary count q and KK low bits give a zigzag-mapped difference to the pixel
// before; q = EEE + 1 escapes to a verbatim 16-bit value. Written as a plain
// FITS file: the header with SIMPLE = T and COMPRESS = 'none', the pixels as
// 16-bit values low byte first, zero-padded to a whole record.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "common/console.h"
#include "common/image.h"
#include "science/science.h"

namespace pix {
namespace {

constexpr std::size_t kCard = 80;
constexpr std::size_t kRecord = 2880;
constexpr std::size_t kMaxHeader = std::size_t(1) << 28;

// Header size in bytes: read the file as 80-character text pieces (a piece
// also ends after a line feed) until one begins with "END"; the size is the
// position after it rounded up to the next record, a whole record more when
// it already ends on one. 0 when there is no END piece.
std::size_t ScanHeader(InFile& in) {
  in.seekSet(0);
  std::size_t pos = 0;
  char piece[kCard];
  for (;;) {
    std::size_t n = 0;
    int c = 0;
    while (n < kCard && (c = in.getc()) != EOF) {
      piece[n++] = static_cast<char>(c);
      if (c == '\n') break;
    }
    if (n == 0) return 0;
    pos += n;
    if (n >= 3 && std::memcmp(piece, "END", 3) == 0) return (pos / kRecord + 1) * kRecord;
    if (pos > kMaxHeader) return 0;
  }
}

bool CardIs(const Bytes& h, std::size_t card, const char* keyword) {
  std::size_t len = std::strlen(keyword);
  std::size_t at = card * kCard;
  return at + kCard <= h.size() && std::memcmp(h.data() + at, keyword, len) == 0;
}

// Index of the first card matching keyword or END; -1 when neither is found.
long FindCard(const Bytes& h, const char* keyword) {
  for (std::size_t i = 0; (i + 1) * kCard <= h.size(); ++i)
    if (CardIs(h, i, keyword) || CardIs(h, i, "END     ")) return static_cast<long>(i);
  return -1;
}

// The value of a card: from column 11, leading and trailing blanks removed.
bool CardValue(const Bytes& h, const char* keyword, std::string& value) {
  long i = FindCard(h, keyword);
  if (i < 0 || !CardIs(h, static_cast<std::size_t>(i), keyword)) return false;
  const char* card = reinterpret_cast<const char*>(h.data()) + i * kCard;
  std::size_t a = 10, b = kCard;
  while (a < b && card[a] == ' ') ++a;
  while (b > a && card[b - 1] == ' ') --b;
  value.assign(card + a, b - a);
  return true;
}

struct RiceHeader {
  int columns = 0, rows = 0, kk = 0, eee = 0;
};

bool CheckHeader(const Bytes& h, RiceHeader& r) {
  std::string simple, compress, naxis1, naxis2;
  if (!CardValue(h, "SIMPLE  ", simple) || simple.compare(0, 1, "F") != 0) return false;
  if (!CardValue(h, "COMPRESS", compress) || compress.compare(0, 5, "'rice") != 0) return false;
  if (compress.size() < 10 || std::sscanf(compress.c_str() + 6, "%2d", &r.kk) != 1) return false;
  if (std::sscanf(compress.c_str() + 9, "%3d", &r.eee) != 1) return false;
  if (!CardValue(h, "NAXIS1", naxis1) || std::sscanf(naxis1.c_str(), "%d", &r.columns) != 1) return false;
  if (!CardValue(h, "NAXIS2", naxis2) || std::sscanf(naxis2.c_str(), "%d", &r.rows) != 1) return false;
  // Fields wider than 16 bits and rows wider than any picture are refused.
  return r.kk >= 0 && r.kk <= 16 && r.columns <= static_cast<int>(kMaxDimension);
}

void OverwriteCard(Bytes& h, std::size_t card, const std::string& text) {
  std::memcpy(h.data() + card * kCard, text.data(), std::min(text.size(), kCard));
}

// Marks the header as plain and returns its size in whole records (0 when it
// has no END card on a card boundary).
std::size_t PatchHeader(Bytes& h) {
  char text[96];
  long simple = FindCard(h, "SIMPLE  ");
  if (simple >= 0 && CardIs(h, static_cast<std::size_t>(simple), "SIMPLE  ")) {
    std::snprintf(text, sizeof text, "SIMPLE  = %20s%50s", "T", " ");
    OverwriteCard(h, static_cast<std::size_t>(simple), text);
  }
  long compress = FindCard(h, "COMPRESS");
  if (compress >= 0 && CardIs(h, static_cast<std::size_t>(compress), "COMPRESS")) {
    std::snprintf(text, sizeof text, "COMPRESS= 'none' %63s", " ");
    OverwriteCard(h, static_cast<std::size_t>(compress), text);
  }
  long end = FindCard(h, "END     ");
  if (end < 0) return 0;
  return (static_cast<std::size_t>(end) / 36 + 1) * kRecord;
}

// Bits most significant first, bytes in file order, read in large chunks.
class BitReader {
 public:
  explicit BitReader(InFile& in) : in_(in), buf_(1 << 16) {}

  // Zero bits before the next one bit, which is consumed.
  bool unary(std::uint32_t& q) {
    q = 0;
    for (;;) {
      if (nbits_ == 0 && !refill()) return false;
      std::uint64_t top = acc_ >> (64 - nbits_);
      if (top != 0) {
        int lead = nbits_ - (64 - __builtin_clzll(top));
        q += static_cast<std::uint32_t>(lead);
        consume(lead + 1);
        return true;
      }
      q += static_cast<std::uint32_t>(nbits_);
      acc_ = 0;
      nbits_ = 0;
    }
  }

  // The common case in one step: a quotient other than the escape and its
  // low bits, all already buffered. False (nothing consumed) otherwise.
  bool quick(int kk, int escape, std::uint32_t& v) {
    if (nbits_ < 33) refill();
    if (acc_ == 0) return false;
    int lead = __builtin_clzll(acc_);
    if (lead + 1 + kk > nbits_ || lead == escape) return false;
    consume(lead + 1);
    std::uint32_t r = kk ? static_cast<std::uint32_t>(acc_ >> (64 - kk)) : 0;
    consume(kk);
    v = ((static_cast<std::uint32_t>(lead) << kk) | r) & 0xFFFF;
    return true;
  }

  // n bits (n <= 16), the first one most significant.
  bool bits(int n, std::uint32_t& v) {
    if (n == 0) {
      v = 0;
      return true;
    }
    while (nbits_ < n)
      if (!refill()) return false;
    v = static_cast<std::uint32_t>(acc_ >> (64 - n));
    consume(n);
    return true;
  }

 private:
  void consume(int n) {
    acc_ = n >= 64 ? 0 : acc_ << n;
    nbits_ -= n;
  }
  // Tops the accumulator up with whole bytes; false when nothing was left.
  bool refill() {
    bool any = false;
    while (nbits_ <= 56) {
      if (pos_ == len_) {
        len_ = in_.read(buf_.data(), buf_.size());
        pos_ = 0;
        if (len_ == 0) break;
      }
      acc_ |= static_cast<std::uint64_t>(buf_[pos_++]) << (56 - nbits_);
      nbits_ += 8;
      any = true;
    }
    return any;
  }

  InFile& in_;
  std::vector<std::uint8_t> buf_;
  std::size_t pos_ = 0, len_ = 0;
  std::uint64_t acc_ = 0;   // valid bits at the top
  int nbits_ = 0;
};

bool DecodePixel(BitReader& bits, const RiceHeader& h, std::uint16_t& prev) {
  std::uint32_t q = 0;
  if (bits.quick(h.kk, h.eee + 1, q)) {
    prev = (q & 1) ? static_cast<std::uint16_t>(prev - q / 2 - 1) : static_cast<std::uint16_t>(prev + q / 2);
    return true;
  }
  if (!bits.unary(q)) return false;
  std::uint32_t v = 0;
  if (static_cast<std::uint16_t>(q) == static_cast<std::uint32_t>(h.eee + 1)) {
    if (!bits.bits(16, v)) return false;
    prev = static_cast<std::uint16_t>(v);
    return true;
  }
  std::uint32_t r = 0;
  if (!bits.bits(h.kk, r)) return false;
  v = ((h.kk >= 32 ? 0 : q << h.kk) | r) & 0xFFFF;
  prev = (v & 1) ? static_cast<std::uint16_t>(prev - v / 2 - 1) : static_cast<std::uint16_t>(prev + v / 2);
  return true;
}

}  // namespace

int FtzToFits(const ConvertCall& call) {
  InFile in(call.source);
  if (!in) return 0;
  std::size_t headerSize = ScanHeader(in);
  if (headerSize == 0) {
    PrintErr("FITS header has no END card!?\n");
    return 0;
  }
  Bytes header;
  try {
    header.assign(headerSize + kRecord + 1, 0);
  } catch (...) {
    PrintErr("slurp_header: can't allocate for header array\n");
    return 0;
  }
  in.seekSet(0);
  std::size_t got = in.read(header.data(), headerSize + kRecord);
  header.resize(headerSize + kRecord);
  if (got == 0) {
    PrintErr("slurp_header: fread fails to read header\n");
    return 0;
  }
  RiceHeader rice;
  if (!CheckHeader(header, rice)) return 0;

  std::size_t outHeader = PatchHeader(header);
  if (outHeader == 0) return 0;
  Sink out;
  if (!out.open(call.memoryMode() ? nullptr : call.target)) return 0;
  if (header.size() < outHeader) header.resize(outHeader, 0);
  out.write(header.data(), outHeader);

  in.seekSet(static_cast<std::int64_t>(outHeader));
  BitReader bits(in);
  std::uint16_t prev = 0;
  int columns = rice.columns > 0 ? rice.columns : 0;
  // Rows are handed to the sink in batches of about 256 KiB.
  std::size_t rowBytes = 2 * static_cast<std::size_t>(columns);
  std::size_t batchRows = std::max<std::size_t>(1, (std::size_t(1) << 18) / std::max<std::size_t>(rowBytes, 1));
  std::vector<std::uint8_t> rows(rowBytes * batchRows);
  std::size_t filled = 0;
  for (int y = 0; y < rice.rows && columns > 0; ++y) {
    std::uint8_t* row = rows.data() + filled * rowBytes;
    for (int x = 0; x < columns; ++x) {
      if (!DecodePixel(bits, rice, prev)) {
        out.write(rows.data(), filled * rowBytes);
        PrintErr("read_compressed_data: error reading value for pixel (%d, %d)\n", y, x);
        return 0;
      }
      row[2 * x] = static_cast<std::uint8_t>(prev);
      row[2 * x + 1] = static_cast<std::uint8_t>(prev >> 8);
    }
    if (++filled == batchRows) {
      out.write(rows.data(), filled * rowBytes);
      filled = 0;
    }
  }
  out.write(rows.data(), filled * rowBytes);
  std::size_t length = out.size();
  std::vector<std::uint8_t> pad((length / kRecord + 1) * kRecord - length, 0);
  out.write(pad.data(), pad.size());
  if (out.isMemory()) return out.release(call.out);
  return out.close() ? 1 : 0;
}

}  // namespace pix
