// Readers for the 48K Spectrum snapshot kinds. Each fills the same state: the
// 27-byte SNA register header and the 48K of RAM. Kinds that store the program
// counter as a register push it on the stack, as an SNA file keeps it there;
// kinds that store no border take it from the BORDCR system variable.
#include <cstring>

#include "common/endian.h"
#include "common/paths.h"
#include "common/reader.h"
#include "retro/zx.h"

namespace pix {
namespace {

constexpr std::size_t kBordcr = 23624 - 0x4000;

// The registers as one machine state, before they go into the SNA header.
struct Regs {
  std::uint16_t af = 0, bc = 0, de = 0, hl = 0, af2 = 0, bc2 = 0, de2 = 0, hl2 = 0;
  std::uint16_t ix = 0, iy = 0, sp = 0, pc = 0;
  std::uint8_t i = 0, r = 0, iff = 0, im = 1;
  int border = -1;      // -1: take it from BORDCR
  bool pushPc = true;   // false: the stack already holds the return address
};

void PokeRam(ZxSnapshot& s, std::uint32_t address, std::uint8_t v) {
  address &= 0xFFFF;
  if (address >= 0x4000) s.ram[address - 0x4000] = v;
}

std::uint8_t PeekRam(const ZxSnapshot& s, std::uint32_t address) {
  address &= 0xFFFF;
  return address >= 0x4000 ? s.ram[address - 0x4000] : 0;
}

void Finish(const Regs& g, ZxSnapshot& s) {
  std::uint8_t* h = s.header;
  std::uint16_t sp = g.sp;
  if (g.pushPc && s.pushPc) {
    sp = static_cast<std::uint16_t>(g.sp - 2);
    PokeRam(s, sp, static_cast<std::uint8_t>(g.pc));
    PokeRam(s, sp + 1u, static_cast<std::uint8_t>(g.pc >> 8));
  }
  h[0] = g.i;
  PutLe16(h + 1, g.hl2);
  PutLe16(h + 3, g.de2);
  PutLe16(h + 5, g.bc2);
  PutLe16(h + 7, g.af2);
  PutLe16(h + 9, g.hl);
  PutLe16(h + 11, g.de);
  PutLe16(h + 13, g.bc);
  PutLe16(h + 15, g.iy);
  PutLe16(h + 17, g.ix);
  h[19] = g.iff;
  h[20] = g.r;
  h[21] = static_cast<std::uint8_t>(g.af);
  h[22] = static_cast<std::uint8_t>(g.af >> 8);
  PutLe16(h + 23, sp);
  h[25] = g.im;
  h[26] = static_cast<std::uint8_t>(g.border >= 0 ? g.border & 7 : (s.ram[kBordcr] >> 3) & 7);
}

// Copies n bytes of RAM from the file at off; bytes past the end stay zero.
void CopyRam(const ByteReader& f, std::size_t off, ZxSnapshot& s, std::size_t n = kZxRamBytes) {
  for (std::size_t i = 0; i < n && f.has(off + i, 1); ++i) s.ram[i] = f.at(off + i);
}

// Words as pairs of single bytes (high, low), for the formats that store them so.
std::uint16_t Pair(std::uint8_t high, std::uint8_t low) { return static_cast<std::uint16_t>(high << 8 | low); }

ZxRead ReadSna(const ByteReader& f, ZxSnapshot& s, bool lenient) {
  if (lenient ? f.size() < kZxSnaHeader + kZxScreenBytes : f.size() != kZxSnaBytes) return ZxRead::WrongSize;
  for (std::size_t i = 0; i < kZxSnaHeader; ++i) s.header[i] = f.at(i);
  CopyRam(f, kZxSnaHeader, s);
  return ZxRead::Ok;
}

// The real SEM layout: 05 "SPEC1", the RAM, then the registers.
ZxRead ReadSem(const ByteReader& f, ZxSnapshot& s) {
  if (f.size() < 49192) return ZxRead::WrongSize;
  CopyRam(f, 6, s);
  const std::size_t b = 49158;
  Regs g;
  g.af = f.u16leAt(b);
  g.bc = f.u16leAt(b + 2);
  g.de = f.u16leAt(b + 4);
  g.hl = f.u16leAt(b + 6);
  g.af2 = f.u16leAt(b + 8);
  g.bc2 = f.u16leAt(b + 10);
  g.de2 = f.u16leAt(b + 12);
  g.hl2 = f.u16leAt(b + 14);
  g.pc = f.u16leAt(b + 16);
  g.sp = f.u16leAt(b + 18);
  g.ix = f.u16leAt(b + 20);
  g.iy = f.u16leAt(b + 22);
  g.i = f.at(b + 24);
  g.r = f.at(b + 26);
  g.iff = f.at(b + 30) ? 0x04 : 0x00;
  g.im = f.at(b + 32) & 3;
  Finish(g, s);
  return ZxRead::Ok;
}

// Z80 run-length code: ED ED n b is n copies of b, any other byte itself.
// Input past `end` reads as 0xFF; a page block stops at its end instead (the
// rest of its page stays zero), a whole version-1 stream goes on with 0xFF.
void Unpack(const ByteReader& f, std::size_t pos, std::size_t end, bool stopAtEnd, std::uint8_t* out,
            std::size_t outSize) {
  auto in = [&](std::size_t p) -> std::uint8_t { return p < end ? f.at(p) : 0xFF; };
  std::size_t o = 0;
  while (o < outSize) {
    if (stopAtEnd && pos >= end) break;
    std::uint8_t b = in(pos);
    if (b == 0xED && in(pos + 1) == 0xED) {
      std::uint8_t n = in(pos + 2), v = in(pos + 3);
      pos += 4;
      for (unsigned k = 0; k < n && o < outSize; ++k) out[o++] = v;
    } else {
      out[o++] = b;
      ++pos;
    }
  }
}

ZxRead ReadZ80(const ByteReader& f, ZxSnapshot& s) {
  if (f.size() < 30) return ZxRead::Corrupt;
  std::uint8_t b12 = f.at(12) == 0xFF ? 1 : f.at(12);
  Regs g;
  g.af = Pair(f.at(0), f.at(1));
  g.bc = f.u16leAt(2);
  g.hl = f.u16leAt(4);
  g.pc = f.u16leAt(6);
  g.sp = f.u16leAt(8);
  g.i = f.at(10);
  g.r = static_cast<std::uint8_t>((f.at(11) & 0x7F) | (b12 & 1) << 7);
  g.border = (b12 >> 1) & 7;
  g.de = f.u16leAt(13);
  g.bc2 = f.u16leAt(15);
  g.de2 = f.u16leAt(17);
  g.hl2 = f.u16leAt(19);
  g.af2 = Pair(f.at(21), f.at(22));
  g.iy = f.u16leAt(23);
  g.ix = f.u16leAt(25);
  g.iff = f.at(28) ? 0x04 : 0x00;
  g.im = f.at(29) & 3;

  if (g.pc != 0) {
    // Version 1: the 48K follow the header, packed when bit 5 of byte 12 is set.
    if (b12 & 0x20) {
      Unpack(f, 30, f.size(), false, s.ram.data(), kZxRamBytes);
    } else {
      for (std::size_t i = 0; i < kZxRamBytes; ++i) s.ram[i] = f.has(30 + i, 1) ? f.at(30 + i) : 0xFF;
    }
    Finish(g, s);
    return ZxRead::Ok;
  }

  // Versions 2 and 3: an extra header, then 16K pages in any order.
  std::size_t extra = f.u16leAt(30);
  std::size_t pos = 32 + extra;
  if (extra < 2 || pos > f.size()) return ZxRead::Corrupt;
  g.pc = f.u16leAt(32);
  std::uint8_t hw = f.at(34);
  bool is128 = extra == 23 ? hw >= 3 : hw >= 4;
  int topPage = is128 ? 3 + (f.at(35) & 7) : 5;
  int midPage = is128 ? 5 : 4;
  bool sawScreen = false;
  std::vector<std::uint8_t> page(16384);
  while (pos + 3 <= f.size()) {
    std::size_t len = f.u16leAt(pos);
    int number = f.at(pos + 2);
    pos += 3;
    bool stored = len == 0xFFFF;
    if (stored) len = 16384;
    if (len > f.size() - pos) return ZxRead::Corrupt;
    std::fill(page.begin(), page.end(), 0);
    if (stored) {
      for (std::size_t i = 0; i < len; ++i) page[i] = f.at(pos + i);
    } else {
      Unpack(f, pos, pos + len, true, page.data(), page.size());
    }
    pos += len;
    std::size_t at = number == 8 ? 0 : number == midPage ? 16384 : number == topPage ? 32768 : kZxRamBytes;
    if (at < kZxRamBytes) std::memcpy(s.ram.data() + at, page.data(), page.size());
    if (number == 8) sawScreen = true;
  }
  if (!sawScreen) return ZxRead::Corrupt;
  Finish(g, s);
  return ZxRead::Ok;
}

// No size rule: a short file gives what it holds, the rest reads as zero.
ZxRead ReadPrg(const ByteReader& f, ZxSnapshot& s) {
  CopyRam(f, 256, s);
  Regs g;
  g.iy = f.u16leAt(0xDC);
  g.ix = f.u16leAt(0xDE);
  g.de2 = f.u16leAt(0xE0);
  g.bc2 = f.u16leAt(0xE2);
  g.hl2 = f.u16leAt(0xE4);
  g.af2 = f.u16leAt(0xE6);
  g.de = f.u16leAt(0xE8);
  g.bc = f.u16leAt(0xEA);
  g.hl = f.u16leAt(0xEC);
  g.iff = f.at(0xEE);
  g.i = f.at(0xEF);
  std::uint16_t stack = f.u16leAt(0xF0);
  g.r = PeekRam(s, stack + 1u);
  g.af = Pair(PeekRam(s, stack + 3u), PeekRam(s, stack + 2u));
  g.sp = static_cast<std::uint16_t>(stack + 4);
  g.im = g.i == 0x3F ? 1 : 2;
  g.pushPc = false;
  Finish(g, s);
  return ZxRead::Ok;
}

ZxRead ReadSp(const ByteReader& f, ZxSnapshot& s) {
  std::size_t b;
  if (f.size() == 49190) b = 0;        // "SP", length and start first
  else if (f.size() == 49184) b = 6;   // the early form without them
  else return ZxRead::WrongSize;
  auto at16 = [&](std::size_t off) { return f.u16leAt(off - b); };
  Regs g;
  g.bc = at16(6);
  g.de = at16(8);
  g.hl = at16(10);
  g.af = at16(12);
  g.ix = at16(14);
  g.iy = at16(16);
  g.bc2 = at16(18);
  g.de2 = at16(20);
  g.hl2 = at16(22);
  g.af2 = at16(24);
  g.r = f.at(26 - b);
  g.i = f.at(27 - b);
  g.sp = at16(28);
  g.pc = at16(30);
  g.border = f.at(34 - b) & 7;
  std::uint16_t status = at16(36);
  g.iff = status & 4 ? 0x04 : 0x00;
  g.im = status & 8 ? 0 : status & 2 ? 2 : 1;
  CopyRam(f, 38 - b, s);
  Finish(g, s);
  return ZxRead::Ok;
}

ZxRead ReadZx(const ByteReader& f, ZxSnapshot& s) {
  if (f.size() != 49486) return ZxRead::WrongSize;
  CopyRam(f, 132, s);
  Regs g;
  g.iff = f.at(49426) & 1 ? 0x04 : 0x00;
  g.bc = f.u16beAt(49434);
  g.bc2 = f.u16beAt(49436);
  g.de = f.u16beAt(49438);
  g.de2 = f.u16beAt(49440);
  g.hl = f.u16beAt(49442);
  g.hl2 = f.u16beAt(49444);
  g.ix = f.u16beAt(49446);
  g.iy = f.u16beAt(49448);
  g.i = f.at(49450);
  g.r = f.at(49451);
  g.af2 = Pair(f.at(49455), f.at(49459));
  g.af = Pair(f.at(49457), f.at(49461));
  g.pc = f.u16beAt(49464);
  g.sp = f.u16beAt(49468);
  std::uint16_t im = f.u16beAt(49474);
  g.im = im == 0xFFFF ? 0 : im == 1 ? 2 : 1;
  Finish(g, s);
  return ZxRead::Ok;
}

ZxRead ReadAch(const ByteReader& f, ZxSnapshot& s) {
  if (f.size() != 65792) return ZxRead::WrongSize;
  CopyRam(f, 16640, s);
  Regs g;
  g.af = Pair(f.at(0), f.at(4));
  g.bc = Pair(f.at(8), f.at(12));
  g.de = Pair(f.at(16), f.at(20));
  g.hl = Pair(f.at(24), f.at(28));
  g.pc = f.u16leAt(32);
  g.sp = f.u16leAt(40);
  g.r = f.at(148);
  g.border = f.at(156) & 7;
  g.im = f.at(164) & 3;
  g.i = f.at(190);
  g.iff = f.at(191) ? 0x04 : 0x00;
  g.af2 = Pair(f.at(236), f.at(237));
  g.bc2 = Pair(f.at(240), f.at(241));
  g.de2 = Pair(f.at(244), f.at(245));
  g.hl2 = Pair(f.at(246), f.at(247));
  g.ix = f.u16leAt(248);
  g.iy = f.u16leAt(252);
  Finish(g, s);
  return ZxRead::Ok;
}

ZxRead ReadSit(const ByteReader& f, ZxSnapshot& s) {
  if (f.size() != 65564) return ZxRead::WrongSize;
  CopyRam(f, 16412, s);
  Regs g;
  g.bc = f.u16leAt(0);
  g.de = f.u16leAt(2);
  g.hl = f.u16leAt(4);
  g.af = f.u16leAt(6);
  g.ix = f.u16leAt(8);
  g.iy = f.u16leAt(10);
  g.sp = f.u16leAt(12);
  g.pc = f.u16leAt(14);
  g.r = f.at(16);
  g.i = f.at(17);
  g.bc2 = f.u16leAt(18);
  g.de2 = f.u16leAt(20);
  g.hl2 = f.u16leAt(22);
  g.af2 = f.u16leAt(24);
  g.im = f.at(26) & 3;
  g.border = f.at(27) & 7;
  g.iff = 0x04;
  Finish(g, s);
  return ZxRead::Ok;
}

// SNX packing: E0-EF literal runs, F0-FF short fills, and long blocks whose
// flag byte says fill or copy. Which flag value means fill differs between
// writers, so the caller tries both; only a stream that ends exactly at the
// end of the file with 48K produced is taken.
bool UnpackSnx(const ByteReader& f, std::size_t pos, bool ffFills, std::uint8_t* out) {
  std::size_t o = 0;
  const std::size_t end = f.size();
  while (o < kZxRamBytes && pos < end) {
    std::uint8_t m = f.at(pos++);
    std::size_t count;
    bool fill;
    if (m >= 0xF0) {
      count = (m & 0x0Fu) + 1;
      fill = true;
    } else if (m >= 0xE0) {
      count = (m & 0x0Fu) + 1;
      fill = false;
    } else {
      if (pos + 2 > end) return false;
      count = static_cast<std::size_t>(m) << 8 | f.at(pos);
      fill = f.at(pos + 1) == (ffFills ? 0xFF : 0x00);
      pos += 2;
    }
    if (count > kZxRamBytes - o) return false;
    if (fill) {
      if (pos >= end) return false;
      std::memset(out + o, f.at(pos++), count);
    } else {
      if (count > end - pos) return false;
      for (std::size_t k = 0; k < count; ++k) out[o + k] = f.at(pos + k);
      pos += count;
    }
    o += count;
  }
  return o == kZxRamBytes && pos == end;
}

ZxRead ReadSnx(const ByteReader& f, ZxSnapshot& s) {
  if (f.size() < 6 + kZxSnaHeader || std::memcmp(f.data(), "XSNA", 4) != 0) return ZxRead::Corrupt;
  std::size_t headerLength = f.u16beAt(4);
  if (headerLength < kZxSnaHeader || 6 + headerLength > f.size()) return ZxRead::Corrupt;
  for (std::size_t i = 0; i < kZxSnaHeader; ++i) s.header[i] = f.at(6 + i);
  if (!UnpackSnx(f, 6 + headerLength, true, s.ram.data()) && !UnpackSnx(f, 6 + headerLength, false, s.ram.data()))
    return ZxRead::Corrupt;
  return ZxRead::Ok;
}

ZxRead ReadRaw(const ByteReader& f, ZxSnapshot& s) {
  if (f.size() != 49161) return ZxRead::WrongSize;
  CopyRam(f, 9, s);
  Regs g;
  g.i = 0x3F;
  g.im = 1;
  g.pushPc = false;
  Finish(g, s);
  return ZxRead::Ok;
}

bool IsRealSem(const ByteReader& f) {
  static const std::uint8_t kMagic[6] = {0x05, 'S', 'P', 'E', 'C', '1'};
  return f.size() >= 6 && std::memcmp(f.data(), kMagic, 6) == 0;
}

}  // namespace

ZxKind ZxKindOf(const char* path) {
  const std::string ext = Split(path ? path : "").ext;
  struct Row {
    const char* literal;
    int compared;
    ZxKind kind;
  };
  static constexpr Row kRows[] = {
      {".tif", 4, ZxKind::Tif}, {".sit", 4, ZxKind::Sit}, {".snx", 4, ZxKind::Snx}, {".sna", 4, ZxKind::Sna},
      {".z80", 4, ZxKind::Z80}, {".sp", 4, ZxKind::Sp},   {".prg", 4, ZxKind::Prg}, {".ach", 4, ZxKind::Ach},
      {".zx", 3, ZxKind::Zx},   {".sem", 4, ZxKind::Sem},
  };
  for (const Row& r : kRows)
    if (ExtMatches(ext, r.literal, r.compared)) return r.kind;
  return ZxKind::Unknown;
}

ZxRead ReadZxSnapshot(const Bytes& file, ZxKind kind, ZxSnapshot& out, bool pushPc) {
  ByteReader f(file);
  out = ZxSnapshot{};
  out.pushPc = pushPc;
  switch (kind) {
    case ZxKind::Raw: return ReadRaw(f, out);
    case ZxKind::Sna: return ReadSna(f, out, false);
    case ZxKind::Sem: return IsRealSem(f) ? ReadSem(f, out) : ReadSna(f, out, false);
    case ZxKind::Sp: return ReadSp(f, out);
    case ZxKind::Z80: return ReadZ80(f, out);
    case ZxKind::Prg: return ReadPrg(f, out);
    case ZxKind::Ach: return ReadAch(f, out);
    case ZxKind::Zx: return ReadZx(f, out);
    case ZxKind::Snx: return ReadSnx(f, out);
    case ZxKind::Sit: return ReadSit(f, out);
    case ZxKind::Unknown: return ReadSna(f, out, true);
    case ZxKind::Tif: break;
  }
  return ZxRead::Unsupported;
}

Bytes ZxSnapshotToSna(const ZxSnapshot& snap) {
  Bytes sna(snap.header, snap.header + kZxSnaHeader);
  sna.insert(sna.end(), snap.ram.begin(), snap.ram.end());
  return sna;
}

}  // namespace pix
