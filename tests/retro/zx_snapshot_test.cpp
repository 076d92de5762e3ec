// Spectrum snapshots: one screen packed into every snapshot kind gives one
// TIFF, read back by libtiff with the screen's colours; Z80 files come from
// snapconv; sizes that do not fit a kind and corrupt Z80 files give 0.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "common/call.h"
#include "retro/retro.h"
#include "retro/zx.h"
#include "retro_support.h"

namespace {

using pixtest::Bytes;
using retrotest::Put16be;
using retrotest::Put16le;

constexpr std::uint16_t kSp = 0x9000, kPc = 0x8123;

// 48K of RAM whose screen has long runs, ED runs, a lone ED pair and an ED
// before a run, with bright white-on-black and plain black-on-white cells.
Bytes MakeRam() {
  Bytes ram(49152);
  std::uint32_t x = 12345;
  for (auto& b : ram) {
    x = x * 1103515245u + 12345u;
    b = static_cast<std::uint8_t>(x >> 16);
  }
  std::memset(ram.data() + 40, 0x00, 30);
  std::memset(ram.data() + 100, 0xED, 10);
  ram[200] = 0xED;
  ram[201] = 0xED;
  ram[202] = 0x11;
  ram[300] = 0xED;
  std::memset(ram.data() + 301, 0x00, 6);
  for (int i = 0; i < 768; ++i) ram[6144 + i] = i % 3 == 0 ? 0x47 : i % 3 == 1 ? 0x38 : static_cast<std::uint8_t>(i * 7);
  ram[23624 - 16384] = 3 << 3;  // BORDCR: magenta
  ram[kSp - 0x4000] = kPc & 0xFF;
  ram[kSp - 0x4000 + 1] = kPc >> 8;
  return ram;
}

// Registers as an SNA header, PC on the stack at kSp.
Bytes SnaHeader() {
  Bytes h(27);
  h[0] = 0x3F;
  Put16le(h, 1, 0x1111);
  Put16le(h, 3, 0x2222);
  Put16le(h, 5, 0x3333);
  Put16le(h, 7, 0x4455);
  Put16le(h, 9, 0x5566);
  Put16le(h, 11, 0x6677);
  Put16le(h, 13, 0x7788);
  Put16le(h, 15, 0x8899);
  Put16le(h, 17, 0x99AA);
  h[19] = 0x04;
  h[20] = 0x5A;
  h[21] = 0x81;
  h[22] = 0x42;
  Put16le(h, 23, kSp);
  h[25] = 1;
  h[26] = 5;
  return h;
}

Bytes Cat(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Bytes Sna(const Bytes& ram) { return Cat(SnaHeader(), ram); }

// Z80 run-length code as encoders write it.
Bytes Z80Pack(const Bytes& d) {
  Bytes out;
  for (std::size_t i = 0; i < d.size();) {
    std::size_t run = 1;
    while (i + run < d.size() && d[i + run] == d[i] && run < 255) ++run;
    if (run >= 5 || (d[i] == 0xED && run >= 2)) {
      out.insert(out.end(), {0xED, 0xED, static_cast<std::uint8_t>(run), d[i]});
      i += run;
    } else {
      out.push_back(d[i]);
      if (d[i] == 0xED && i + 1 < d.size()) out.push_back(d[++i]);
      ++i;
    }
  }
  return out;
}

Bytes Z80v1(const Bytes& ram, bool packed) {
  Bytes h(30);
  h[0] = 0x42;
  h[1] = 0x81;
  Put16le(h, 6, kPc);
  Put16le(h, 8, kSp + 2);
  h[12] = static_cast<std::uint8_t>(5 << 1 | (packed ? 0x20 : 0));
  Bytes body = packed ? Z80Pack(ram) : ram;
  if (packed) body.insert(body.end(), {0x00, 0xED, 0xED, 0x00});
  return Cat(h, body);
}

// A version-3 file with its pages in the order given.
Bytes Z80v3(const Bytes& ram, std::vector<int> pages) {
  Bytes h(30 + 2 + 54);
  h[0] = 0x42;
  h[1] = 0x81;
  Put16le(h, 8, kSp + 2);
  h[12] = 5 << 1;
  Put16le(h, 30, 54);
  Put16le(h, 32, kPc);
  for (int p : pages) {
    std::size_t at = p == 8 ? 0 : p == 4 ? 16384 : 32768;
    Bytes data = Z80Pack(Bytes(ram.begin() + at, ram.begin() + at + 16384));
    Bytes block(3);
    Put16le(block, 0, static_cast<unsigned>(data.size()));
    block[2] = static_cast<std::uint8_t>(p);
    h = Cat(Cat(h, block), data);
  }
  return h;
}

Bytes Prg(const Bytes& ram) {
  Bytes h(256);
  h[0] = 0x05;
  std::memcpy(h.data() + 1, "snapshot  ", 10);
  Bytes r = ram;
  // The stack under PC: interrupt byte, R, F, A.
  std::size_t s = kSp - 4 - 0x4000;
  r[s] = 0x04;
  r[s + 1] = 0x5A;
  r[s + 2] = 0x81;
  r[s + 3] = 0x42;
  Put16le(h, 0xF0, kSp - 4);
  h[0xEF] = 0x3F;
  return Cat(h, r);
}

Bytes Sp(const Bytes& ram, bool oldForm) {
  Bytes h(38);
  h[0] = 'S';
  h[1] = 'P';
  Put16le(h, 2, 49152);
  Put16le(h, 4, 16384);
  Put16le(h, 28, kSp + 2);
  Put16le(h, 30, kPc);
  h[34] = 5;
  if (oldForm) h.erase(h.begin(), h.begin() + 6);
  return Cat(h, ram);
}

Bytes Zx(const Bytes& ram) {
  Bytes f = Cat(Cat(Bytes(132, 0), ram), Bytes(49486 - 132 - 49152, 0));
  f[49427] = 0;
  f[49428] = 3;
  Put16be(f, 49464, kPc);
  Put16be(f, 49468, kSp + 2);
  return f;
}

Bytes Ach(const Bytes& ram) {
  Bytes f(256 + 16384, 0x77);
  std::memset(f.data(), 0, 256);
  Put16le(f, 32, kPc);
  Put16le(f, 40, kSp + 2);
  f[156] = 5;
  return Cat(f, ram);
}

Bytes Sit(const Bytes& ram) {
  Bytes f(28 + 16384, 0x77);
  std::memset(f.data(), 0, 28);
  Put16le(f, 12, kSp + 2);
  Put16le(f, 14, kPc);
  f[27] = 5;
  return Cat(f, ram);
}

// SNX: "XSNA", header length 37, the SNA header, ten setting bytes, then
// literal blocks (flag 0x00) and one long fill (flag 0xFF) over a run.
Bytes Snx(Bytes ram) {
  std::memset(ram.data() + 20000, 0xAB, 3000);
  Bytes f = {'X', 'S', 'N', 'A', 0, 37};
  f = Cat(Cat(f, SnaHeader()), Bytes(10, 0));
  auto literal = [&](std::size_t from, std::size_t n) {
    while (n) {
      std::size_t k = std::min<std::size_t>(n, 0xDFFF);
      f.insert(f.end(), {static_cast<std::uint8_t>(k >> 8), static_cast<std::uint8_t>(k), 0x00});
      f.insert(f.end(), ram.begin() + static_cast<long>(from), ram.begin() + static_cast<long>(from + k));
      from += k;
      n -= k;
    }
  };
  literal(0, 20000);
  f.insert(f.end(), {static_cast<std::uint8_t>(3000 >> 8), static_cast<std::uint8_t>(3000 & 0xFF), 0xFF, 0xAB});
  literal(23000, 49152 - 23000);
  return f;
}

Bytes Sem(const Bytes& ram) {
  Bytes f = {0x05, 'S', 'P', 'E', 'C', '1'};
  f = Cat(f, ram);
  Bytes regs(34, 0);
  Put16le(regs, 16, kPc);
  Put16le(regs, 18, kSp + 2);
  return Cat(f, regs);
}

Bytes Raw(const Bytes& ram) {
  Bytes f = {3, 0x00, 0xC0, 0x00, 0x40, 0, 0, 0, 0};
  return Cat(f, ram);
}

// The colours a screen shows, as 8-bit RGB (216 normal, 255 bright).
Bytes ExpectedRgb(const Bytes& screen) {
  Bytes rgb;
  for (int y = 0; y < 192; ++y) {
    std::size_t line = (y / 64) * 2048 + (y % 8) * 256 + ((y / 8) % 8) * 32;
    for (int x = 0; x < 256; ++x) {
      std::uint8_t attr = screen[6144 + (y / 8) * 32 + x / 8];
      bool set = screen[line + x / 8] & (0x80 >> (x % 8));
      int colour = set ? attr & 7 : (attr >> 3) & 7;
      std::uint8_t level = attr & 0x40 ? 255 : 216;
      rgb.push_back(colour & 2 ? level : 0);
      rgb.push_back(colour & 4 ? level : 0);
      rgb.push_back(colour & 1 ? level : 0);
    }
  }
  return rgb;
}

class ZxSnapshots : public testing::Test {
 protected:
  pixtest::Scratch dir;
  Bytes ram = MakeRam();

  std::string Write(const std::string& name, const Bytes& b) {
    std::string p = dir.path(name);
    pixtest::WriteFile(p, b);
    return p;
  }
  // The TIFF of the SNA, checked once against libtiff's reading.
  Bytes Reference() {
    std::string src = Write("ref.sna", Sna(ram)), dst = dir.path("ref.tif");
    EXPECT_EQ(retrotest::CliConvert(src, dst), 1);
    return pixtest::ReadFile(dst);
  }
};

TEST_F(ZxSnapshots, SnaGivesTheScreenThroughLibtiff) {
  PIX_REQUIRE_TOOL("tifftopnm");
  PIX_REQUIRE_TOOL("tiffinfo");
  Bytes tif = Reference();
  ASSERT_EQ(tif.size(), pix::kZxTiffBytes);
  auto pnm = pixtest::DecodeWith("tifftopnm", dir.path("ref.tif"));
  ASSERT_EQ(pnm.width, 256);
  ASSERT_EQ(pnm.height, 192);
  ASSERT_EQ(pnm.maxval, 255);
  EXPECT_TRUE(pnm.samples == ExpectedRgb(Bytes(ram.begin(), ram.begin() + 6912)));
  auto info = pixtest::Run("tiffinfo " + pixtest::Quote(dir.path("ref.tif")));
  EXPECT_NE(info.out.find("Bits/Sample: 4"), std::string::npos);
  EXPECT_NE(info.out.find("palette color"), std::string::npos);
  // Colour map at 256: red of index 15 is 0xFFFF, of index 2 0xD8D8; pixels at 512.
  EXPECT_EQ(tif[256 + 15 * 2], 0xFF);
  EXPECT_EQ(tif[256 + 4 * 2], 0xD8);
  EXPECT_EQ(tif[256 + 2 * 2], 0x00);
}

// Every kind, by its own route (or the catch-all where no row takes it to a
// TIFF), gives the same TIFF as the SNA.
TEST_F(ZxSnapshots, EveryKindGivesTheSameTiff) {
  PIX_REQUIRE_TOOL("snapconv");
  Bytes ref = Reference();
  std::string sna = Write("snap.sna", Sna(ram));
  ASSERT_EQ(pixtest::Run("snapconv -c " + pixtest::Quote(sna) + " " + pixtest::Quote(dir.path("packed.z80"))).status, 0);
  ASSERT_EQ(pixtest::Run("snapconv -n " + pixtest::Quote(sna) + " " + pixtest::Quote(dir.path("stored.z80"))).status, 0);
  Bytes v3 = pixtest::ReadFile(dir.path("packed.z80"));
  Bytes v2 = v3;
  Put16le(v2, 30, 23);
  v2.erase(v2.begin() + 32 + 23, v2.begin() + 32 + 54);

  struct Case {
    std::string name;
    Bytes file;
    std::string target;
  };
  std::vector<Case> cases = {
      {"a.z80", v3, "a.tif"},
      {"b.z80", pixtest::ReadFile(dir.path("stored.z80")), "b.tif"},
      {"c.z80", v2, "c.tif"},
      {"d.z80", Z80v1(ram, true), "d.tif"},
      {"e.z80", Z80v1(ram, false), "e.tif"},
      {"f.z80", Z80v3(ram, {8, 4, 5}), "f.tif"},
      {"g.sem", Sem(ram), "g.tif"},
      {"h.sem", Sna(ram), "h.tif"},
      {"i.prg", Prg(ram), "i.tif"},
      {"j.sp", Sp(ram, false), "j.tif"},
      {"k.sp", Sp(ram, true), "k.tif"},
      {"l.zx", Zx(ram), "l.tif"},
      {"m.zxs", Zx(ram), "m.tif"},
      {"n.ach", Ach(ram), "n.tif"},
      {"o.sit", Sit(ram), "o.sna"},
      {"p.snx", Snx(ram), "p.z80"},
      {"q.bin", Raw(ram), "q.sp"},
      {"r.scr", Sna(ram), "r.ach"},
  };
  for (const auto& c : cases) {
    std::string src = Write(c.name, c.file), dst = dir.path(c.target);
    EXPECT_EQ(retrotest::CliConvert(src, dst), 1) << c.name;
    EXPECT_TRUE(pixtest::ReadFile(dst) == ref) << c.name << " -> " << c.target;
  }
}

// A stack just under 0x5B00 leaves the screen converter's picture alone: the
// program counter is not pushed over the last attribute cells.
TEST_F(ZxSnapshots, ScreenConverterKeepsTheScreenUnderTheStack) {
  Bytes ref = Reference();
  Bytes sp = Sp(ram, false);
  Put16le(sp, 28, 0x5B00);
  Bytes z80 = Z80v1(ram, true);
  Put16le(z80, 8, 0x5B00);
  struct Case {
    std::string name;
    Bytes file;
    std::string target;
  } cases[] = {{"s.sp", sp, "s.tif"}, {"s.z80", z80, "s.sna"}};
  for (const auto& c : cases) {
    std::string src = Write(c.name, c.file), dst = dir.path(c.target);
    EXPECT_EQ(retrotest::CliConvert(src, dst), 1) << c.name;
    EXPECT_TRUE(pixtest::ReadFile(dst) == ref) << c.name;
  }
}

// The whole state of a Z80 file equals snapconv's own reading of it.
TEST_F(ZxSnapshots, Z80StateMatchesSnapconv) {
  PIX_REQUIRE_TOOL("snapconv");
  std::string sna = Write("s.sna", Sna(ram));
  for (const char* opt : {"-c", "-n"}) {
    std::string z80 = dir.path(std::string("s") + opt + ".z80");
    ASSERT_EQ(pixtest::Run(std::string("snapconv ") + opt + " " + pixtest::Quote(sna) + " " + pixtest::Quote(z80)).status, 0);
    pix::ZxSnapshot snap;
    ASSERT_EQ(pix::ReadZxSnapshot(pixtest::ReadFile(z80), pix::ZxKind::Z80, snap), pix::ZxRead::Ok);
    EXPECT_TRUE(pix::ZxSnapshotToSna(snap) == Sna(ram)) << opt;
  }
}

TEST_F(ZxSnapshots, SizesThatDoNotFitGiveZero) {
  struct Case {
    std::string name;
    Bytes file;
  };
  std::vector<Case> cases = {{"a.sna", Sna(ram)}, {"a.sp", Sp(ram, false)}, {"a.zx", Zx(ram)},
                             {"a.ach", Ach(ram)}, {"a.sit", Sit(ram)},      {"a.dat", Raw(ram)}};
  for (auto& c : cases) {
    for (int delta : {-1, 1}) {
      Bytes b = c.file;
      if (delta < 0) b.pop_back();
      else b.push_back(0);
      std::string src = Write(c.name, b);
      pix::ConvertCall call;
      call.source = src.c_str();
      std::string dst = dir.path("x.tif");
      call.target = dst.c_str();
      EXPECT_EQ(pix::ZxSnapshotToTiff(call), 0) << c.name << " " << delta;
      if (c.name != "a.dat") {
        EXPECT_EQ(pix::ZxScreenToTiff(call), 0) << c.name << " " << delta;
      }
    }
  }
}

// PRG files have no size rule: a cut one still gives a picture of what it holds.
TEST_F(ZxSnapshots, CutPrgStillGivesAPicture) {
  for (std::size_t size : {std::size_t(100), std::size_t(256 + 6912)}) {
    Bytes prg = Prg(ram);
    prg.resize(size);
    std::string src = Write("cut.prg", prg);
    for (auto fn : {pix::ZxSnapshotToTiff, pix::ZxScreenToTiff}) {
      unsigned char* block = nullptr;
      pix::ConvertCall call;
      call.source = src.c_str();
      call.out = &block;
      int n = fn(call);
      ASSERT_EQ(n, 25088) << size;
      Bytes tif = pixtest::TakeBlock(block, n);
      if (size > 256) {
        EXPECT_TRUE(tif == Reference()) << size;
      }
    }
  }
}

TEST_F(ZxSnapshots, CorruptZ80IsReportedAndRefused) {
  Bytes good = Z80v3(ram, {4, 5, 8});
  Bytes cut(good.begin(), good.end() - 10);  // the page-8 block runs past the end
  Bytes noScreen = Z80v3(ram, {4, 5});
  Bytes hugeExtra = good;
  Put16le(hugeExtra, 30, 60000);
  for (const Bytes& b : {cut, noScreen, hugeExtra, Bytes(12, 0)}) {
    std::string src = Write("bad.z80", b), dst = dir.path("bad.tif");
    pix::ConvertCall call;
    call.source = src.c_str();
    call.target = dst.c_str();
    testing::internal::CaptureStderr();
    EXPECT_EQ(pix::ZxSnapshotToTiff(call), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Z80 image corrupted, can't convert\n");
  }
}

TEST_F(ZxSnapshots, MemoryModeGivesTheFileBytes) {
  Bytes ref = Reference();
  std::string z80 = Write("m.z80", Z80v1(ram, true)), prg = Write("m.prg", Prg(ram));
  for (auto fn : {pix::ZxSnapshotToTiff, pix::ZxScreenToTiff}) {
    for (const std::string& src : {z80, prg}) {
      unsigned char* block = nullptr;
      pix::ConvertCall call;
      call.source = src.c_str();
      call.out = &block;
      int n = fn(call);
      ASSERT_EQ(n, 25088) << src;
      EXPECT_TRUE(pixtest::TakeBlock(block, n) == ref);
    }
  }
}

TEST_F(ZxSnapshots, SnapshotConverterFailureCodes) {
  pix::ConvertCall call;
  std::string missing = dir.path("none.sna"), dst = dir.path("o.tif");
  call.source = missing.c_str();
  call.target = dst.c_str();
  EXPECT_EQ(pix::ZxSnapshotToTiff(call), 4);
  std::string tif = Write("a.tif", Sna(ram));
  call.source = tif.c_str();
  EXPECT_EQ(pix::ZxSnapshotToTiff(call), 4);
  std::string other = Write("a.dat", Sna(ram));
  call.source = other.c_str();
  EXPECT_EQ(pix::ZxSnapshotToTiff(call), 0);
  unsigned char* block = reinterpret_cast<unsigned char*>(&call);
  call.source = missing.c_str();
  call.target = nullptr;
  call.out = &block;
  EXPECT_EQ(pix::ZxSnapshotToTiff(call), 0);
  EXPECT_EQ(block, reinterpret_cast<unsigned char*>(&call));
}

}  // namespace
