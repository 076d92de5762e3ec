// Spectrum tapes (.tap): a chain of blocks, each a 16-bit length, a flag byte
// (0x00 header, 0xFF data), the payload and an XOR checksum. Two converters:
// the block extractor writes the data of the first header/data pair (for a
// screen file, its 6912 bytes) in the form the target's extension names; the
// re-packer copies every block into a length-prefixed record and lists the
// blocks on standard error. Neither reads the console: block 0 is taken, and
// a name of ten blanks stands for any name a source does not carry.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

#include "common/console.h"
#include "common/files.h"
#include "common/paths.h"
#include "common/reader.h"
#include "platform/platform.h"
#include "retro/retro.h"

namespace pix {
namespace {

constexpr std::size_t kMaxTape = std::size_t(64) << 20;

enum TapeKind { kNone = -1, kTap = 200, kZxf = 201, kPlus3 = 202, kRaw = 203 };

// The 17-byte tape header: type, name, data length, two parameters.
struct TapeHeader {
  std::uint8_t bytes[17] = {};
  std::uint16_t length() const { return static_cast<std::uint16_t>(bytes[11] | bytes[12] << 8); }
  void set(std::uint8_t type, std::uint16_t len, std::uint16_t p1, std::uint16_t p2) {
    bytes[0] = type;
    std::memset(bytes + 1, ' ', 10);
    bytes[11] = static_cast<std::uint8_t>(len);
    bytes[12] = static_cast<std::uint8_t>(len >> 8);
    bytes[13] = static_cast<std::uint8_t>(p1);
    bytes[14] = static_cast<std::uint8_t>(p1 >> 8);
    bytes[15] = static_cast<std::uint8_t>(p2);
    bytes[16] = static_cast<std::uint8_t>(p2 >> 8);
  }
};

// The first blank-delimited word, at most 8 characters.
std::string FirstWord(const Bytes& f) {
  std::size_t i = 0;
  while (i < f.size() && std::isspace(f[i])) ++i;
  std::string w;
  while (i < f.size() && w.size() < 8 && !std::isspace(f[i])) w.push_back(static_cast<char>(f[i++]));
  return w;
}

TapeKind SourceKind(const Bytes& f, const char* path) {
  std::string w = FirstWord(f);
  if (w.compare(0, 4, "ZXF1") == 0) return kZxf;
  if (w == "PLUS3DOS") return kPlus3;
  if (Lower(Split(path).ext) == ".tap") return kTap;
  return kRaw;
}

TapeKind TargetKind(const char* path) {
  std::string ext = Lower(Split(path).ext);
  if (ext == ".tap") return kTap;
  if (ext == ".xzx") return kZxf;
  if (ext == ".p3d") return kPlus3;
  if (ext == ".raw" || ext == ".scr") return kRaw;
  return kNone;
}

// Walks the tape as the index does: a header block is its prefix and 18 bytes
// (its length is not looked at), a data block its prefix and L - 1 bytes.
// Returns false (after the message, if any) where the walk cannot go on.
bool IndexTape(const ByteReader& f, std::vector<std::size_t>& blocks) {
  std::size_t pos = 0;
  while (pos + 3 <= f.size()) {
    std::size_t len = f.u16leAt(pos);
    std::uint8_t flag = f.at(pos + 2);
    std::size_t need;
    if (flag == 0x00) {
      need = 18;
      if (!f.has(pos + 3, need)) {
        PrintErr("error reading header\n");
        return false;
      }
    } else if (flag == 0xFF) {
      if (len < 2 || !f.has(pos + 3, len - 1)) {
        PrintErr("error reading data block\n");
        return false;
      }
      need = len - 1;
    } else {
      return false;
    }
    blocks.push_back(pos);
    pos += 3 + need;
  }
  return true;
}

// The header and the data span of the first file of the source.
bool TakeFirstFile(const ByteReader& f, TapeKind kind, TapeHeader& h, std::size_t& dataAt) {
  switch (kind) {
    case kTap: {
      std::vector<std::size_t> blocks;
      if (!IndexTape(f, blocks) || blocks.empty()) return false;
      std::size_t at = blocks[0];
      if (f.at(at + 2) != 0x00 || !f.has(at, 3 + 18 + 3)) return false;
      std::memcpy(h.bytes, f.data() + at + 3, 17);
      dataAt = at + 3 + 18 + 3;
      return true;
    }
    case kZxf:
      if (!f.has(4, 17)) return false;
      std::memcpy(h.bytes, f.data() + 4, 17);
      dataAt = 21;
      return true;
    case kPlus3:
      if (!f.has(0, 128)) return false;
      h.set(f.at(15), f.u16leAt(16), f.u16leAt(18), f.u16leAt(20));
      dataAt = 128;
      return true;
    case kRaw:
      if (f.size() > 0xFFFF) return false;
      h.set(3, static_cast<std::uint16_t>(f.size()), 16384, 32768);
      dataAt = 0;
      return true;
    case kNone: break;
  }
  return false;
}

void WriteTargetHeader(Sink& out, TapeKind kind, const TapeHeader& h) {
  switch (kind) {
    case kZxf:
      out.puts("ZXF1");
      out.write(h.bytes, 17);
      break;
    case kPlus3: {
      std::uint8_t p[128] = {'P', 'L', 'U', 'S', '3', 'D', 'O', 'S', 0x1A, 0x01};
      std::uint32_t total = h.length() + 128u;
      p[11] = static_cast<std::uint8_t>(total);
      p[12] = static_cast<std::uint8_t>(total >> 8);
      p[15] = h.bytes[0];
      std::memcpy(p + 16, h.bytes + 11, 6);
      unsigned sum = 0;
      for (int i = 0; i < 127; ++i) sum += p[i];
      p[127] = static_cast<std::uint8_t>(sum);
      out.write(p, sizeof p);
      break;
    }
    case kTap: {
      std::uint8_t check = 0;
      for (std::uint8_t b : h.bytes) check ^= b;
      out.put16le(19);
      out.put8(0x00);
      out.write(h.bytes, 17);
      out.put8(check);
      out.put16le(static_cast<std::uint16_t>(h.length() + 2));
      out.put8(0xFF);
      break;
    }
    case kRaw:
    case kNone: break;
  }
}

}  // namespace

int ZxTapeBlockExtract(const ConvertCall& call) {
  if (!call.source || call.memoryMode()) return 0;
  if (!platform::FileExists(call.source)) return 1;  // the host reads this as done, with nothing written
  Bytes file;
  if (!ReadWholeFile(call.source, file, kMaxTape)) return 0;
  TapeKind from = SourceKind(file, call.source), to = TargetKind(call.target);
  if (from == to || to == kNone) return 0;
  ByteReader f(file);
  TapeHeader h;
  std::size_t dataAt = 0;
  if (!TakeFirstFile(f, from, h, dataAt)) return 0;
  std::size_t len = from == kRaw ? file.size() : h.length();
  if (!f.has(dataAt, len)) return 0;
  const std::uint8_t* data = file.data() + dataAt;

  Sink out;
  if (!out.open(call.target)) return 0;
  WriteTargetHeader(out, to, h);
  out.write(data, len);
  if (to == kTap) {
    std::uint8_t check = 0xFF;
    for (std::size_t i = 0; i < len; ++i) check ^= data[i];
    out.put8(check);
  }
  return out.close() ? 1 : 0;
}

int ZxTapeToZxs(const ConvertCall& call) {
  if (!call.source || call.memoryMode()) return 0;
  Bytes file;
  if (!ReadWholeFile(call.source, file, kMaxTape)) return 0;
  Sink out;
  if (!out.open(call.target)) return 0;
  ByteReader f(file);
  std::size_t pos = 0;
  for (int number = 0;; ++number) {
    if (pos >= f.size()) return out.close() ? 1 : 0;
    std::uint8_t first = f.at(pos++);
    if (pos >= f.size() || (first == 0 && f.at(pos) == 0)) {
      if (first != 0) {
        out.close();
        return 0;
      }
      if (pos >= f.size()) {
        PrintErr(" Zero one\n");
      } else {
        bool zeros = true;
        for (std::size_t i = pos; i < f.size(); ++i) zeros = zeros && f.at(i) == 0;
        PrintErr(zeros ? " Zeros\n" : " Scrap\n");
      }
      return out.close() ? 1 : 0;
    }
    std::size_t len = static_cast<std::size_t>(f.at(pos++)) << 8 | first;
    if (len + 5 > 65535) {
      out.close();
      return 0;
    }
    // A block cut by the end of the tape is copied as far as it goes; the
    // next round then meets the end and the tape is done.
    const std::size_t have = std::min(len, f.size() - pos);
    const std::uint8_t* block = f.data() + pos;
    std::size_t at = out.size();
    out.put16le(static_cast<std::uint16_t>(len + 5));
    out.put8(0);
    out.put16le(0);
    out.write(block, have);
    pos += have;

    // One listing line: number, payload length, the header's type and name or
    // the data's first bytes, the XOR of the block and where its record lies.
    std::string line;
    char buf[64];
    std::snprintf(buf, sizeof buf, "%03d %5d .. .. ..", number % 1000, static_cast<int>(len) - 2);
    line += buf;
    std::uint8_t flag = have ? block[0] : 0xFF;
    if (flag == 0x00 && len == 19 && have == len) {
      static const char* kTags[] = {"B ", "D$", "D ", "C "};
      std::uint8_t type = block[1];
      if (type < 4) line += std::string(" ") + kTags[type];
      else {
        std::snprintf(buf, sizeof buf, " %02X", type);
        line += buf;
      }
      line += " \"";
      for (int i = 0; i < 10; ++i) {
        std::uint8_t c = block[2 + i];
        line += c >= 0x20 && c <= 0x7E ? static_cast<char>(c) : '?';
      }
      line += "\"";
    } else {
      if (flag == 0xFF) line += " --";
      else {
        std::snprintf(buf, sizeof buf, " %02X", flag);
        line += buf;
      }
      line += " =";
      for (std::size_t i = 1; i < have && i <= 4; ++i) {
        std::snprintf(buf, sizeof buf, "%02X", block[i]);
        line += buf;
      }
    }
    std::uint8_t check = 0;
    for (std::size_t i = 0; i < have; ++i) check ^= block[i];
    std::snprintf(buf, sizeof buf, " %02X %04o/%03o\n", check, static_cast<unsigned>(at / 512 % 010000),
                  static_cast<unsigned>(at % 512));
    line += buf;
    PrintErr("%s", line.c_str());
  }
}

}  // namespace pix
