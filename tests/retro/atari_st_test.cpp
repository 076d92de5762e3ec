// Atari ST pictures: netpbm makes NEOchrome and Degas files from known
// pictures; netpbm's ILBM reader must see in our IFF what netpbm's ST readers
// see in the source. A compressed Degas file is packed here from a .pi1.
#include <gtest/gtest.h>

#include <cstring>

#include "common/call.h"
#include "pixmisc.h"
#include "retro/retro.h"
#include "retro_support.h"

namespace {

using pixtest::Bytes;

// A 16-colour picture at ST levels (maxval 7).
void WritePictures(const pixtest::Scratch& dir) {
  std::string ppm = "P6\n320 200\n7\n";
  for (int y = 0; y < 200; ++y)
    for (int x = 0; x < 320; ++x) {
      int i = (x / 7 + y / 5) % 16;
      ppm += static_cast<char>(i % 8);
      ppm += static_cast<char>((i / 2 + 3) % 8);
      ppm += static_cast<char>((15 - i) % 8);
    }
  pixtest::WriteFile(dir.path("p.ppm"), ppm);
  std::string pbm = "P4\n640 400\n";
  for (int y = 0; y < 400; ++y)
    for (int x = 0; x < 80; ++x) pbm += static_cast<char>((y * 3 + x * 5) & 0xFF);
  pixtest::WriteFile(dir.path("p.pbm"), pbm);
}

// Same picture, whatever the two maxvals (ST levels 0..7 become 0..224).
void ExpectSamePicture(const pixtest::Pnm& st, const pixtest::Pnm& ilbm) {
  ASSERT_EQ(st.width, ilbm.width);
  ASSERT_EQ(st.height, ilbm.height);
  ASSERT_EQ(st.samples.size() * (st.channels == 1 ? 3 : 1), ilbm.samples.size());
  ASSERT_EQ(ilbm.maxval, 255);
  for (std::size_t i = 0; i < ilbm.samples.size(); ++i) {
    // A bitmap reads 1 for black; the Degas palette of one is white, black.
    int expect = st.channels == 1 ? (st.samples[i / 3] ? 0 : 224) : st.samples[i] * (224 / st.maxval);
    if (ilbm.samples[i] != expect) {
      ADD_FAILURE() << "sample " << i << ": " << int(ilbm.samples[i]) << " != " << expect;
      return;
    }
  }
}

// PackBits, the way Degas packs each plane of a line.
Bytes PackBits(const std::uint8_t* p, std::size_t n) {
  Bytes out;
  for (std::size_t i = 0; i < n;) {
    std::size_t run = 1;
    while (i + run < n && p[i + run] == p[i] && run < 128) ++run;
    if (run >= 3) {
      out.push_back(static_cast<std::uint8_t>(257 - run));
      out.push_back(p[i]);
      i += run;
    } else {
      std::size_t j = i;
      while (j < n && j - i < 128 && !(j + 2 < n && p[j] == p[j + 1] && p[j] == p[j + 2])) ++j;
      out.push_back(static_cast<std::uint8_t>(j - i - 1));
      out.insert(out.end(), p + i, p + j);
      i = j;
    }
  }
  return out;
}

// A compressed .pc1 from an uncompressed .pi1.
Bytes Compress(const Bytes& pi1) {
  Bytes out(pi1.begin(), pi1.begin() + 34);
  out[0] |= 0x80;
  for (int y = 0; y < 200; ++y)
    for (int p = 0; p < 4; ++p) {
      std::uint8_t plane[40];
      for (int g = 0; g < 20; ++g) {
        plane[g * 2] = pi1[34 + y * 160 + (g * 4 + p) * 2];
        plane[g * 2 + 1] = pi1[34 + y * 160 + (g * 4 + p) * 2 + 1];
      }
      Bytes packed = PackBits(plane, 40);
      out.insert(out.end(), packed.begin(), packed.end());
    }
  out.insert(out.end(), 32, 0x5A);  // animation data
  return out;
}

TEST(AtariSt, IlbmMatchesNetpbmReadings) {
  for (const char* tool : {"ppmtoneo", "ppmtopi1", "pbmtopi3", "neotoppm", "pi1toppm", "pi3topbm", "ilbmtoppm"})
    PIX_REQUIRE_TOOL(tool);
  pixtest::Scratch dir;
  WritePictures(dir);
  auto make = [&](const std::string& cmd, const std::string& in, const std::string& out) {
    ASSERT_EQ(pixtest::Run(cmd + " " + pixtest::Quote(dir.path(in)) + " > " + pixtest::Quote(dir.path(out))).status, 0);
  };
  make("ppmtoneo", "p.ppm", "p.neo");
  make("ppmtopi1", "p.ppm", "p.pi1");
  make("pbmtopi3", "p.pbm", "p.pi3");
  pixtest::WriteFile(dir.path("p.pc1"), Compress(pixtest::ReadFile(dir.path("p.pi1"))));
  struct Case {
    const char* source;
    const char* reader;
    const char* sourceForReader;
  } cases[] = {{"p.neo", "neotoppm", "p.neo"}, {"p.pi1", "pi1toppm", "p.pi1"},
               {"p.pi3", "pi3topbm", "p.pi3"}, {"p.pc1", "pi1toppm", "p.pi1"}};
  for (const auto& c : cases) {
    std::string out = dir.path(std::string(c.source) + ".iff");
    ASSERT_EQ(retrotest::CliConvert(dir.path(c.source), out), 1) << c.source;
    SCOPED_TRACE(c.source);
    ExpectSamePicture(pixtest::DecodeWith(c.reader, dir.path(c.sourceForReader)), pixtest::DecodeWith("ilbmtoppm", out));
  }
}

TEST(AtariSt, ChunkLayout) {
  pixtest::Scratch dir;
  Bytes pi2(32034, 0);
  pi2[1] = 1;  // medium resolution
  retrotest::Put16be(pi2, 2, 0x0777);
  retrotest::Put16be(pi2, 4, 0x0700);
  retrotest::Put16be(pi2, 6, 0x0070);
  retrotest::Put16be(pi2, 8, 0x0007);
  for (std::size_t i = 34; i < pi2.size(); ++i) pi2[i] = static_cast<std::uint8_t>(i * 13);
  pixtest::WriteFile(dir.path("m.pi2"), pi2);
  ASSERT_EQ(retrotest::CliConvert(dir.path("m.pi2"), dir.path("m.iff")), 1);
  Bytes iff = pixtest::ReadFile(dir.path("m.iff"));
  ASSERT_EQ(iff.size(), 48u + 12 + 8 + 32000);
  EXPECT_EQ(std::string(iff.begin(), iff.begin() + 4), "FORM");
  EXPECT_EQ(iff[4] << 24 | iff[5] << 16 | iff[6] << 8 | iff[7], 32000 + 3 * (4 + 16));
  EXPECT_EQ(iff[20] << 8 | iff[21], 640);
  EXPECT_EQ(iff[22] << 8 | iff[23], 200);
  EXPECT_EQ(iff[28], 2);   // planes
  EXPECT_EQ(iff[30], 0);   // not compressed
  EXPECT_EQ(iff[34], 5);   // aspect 5:11
  EXPECT_EQ(iff[35], 11);
  Bytes cmap = {224, 224, 224, 224, 0, 0, 0, 224, 0, 0, 0, 224};
  EXPECT_TRUE(Bytes(iff.begin() + 48, iff.begin() + 60) == cmap);
  // The first line: plane 0 takes words 0, 2, 4 ..., plane 1 words 1, 3, 5 ...
  EXPECT_EQ(iff[68], pi2[34]);
  EXPECT_EQ(iff[69], pi2[35]);
  EXPECT_EQ(iff[70], pi2[38]);
  EXPECT_EQ(iff[68 + 80], pi2[36]);

  // Compressed: the body is the packed data less its last 32 bytes.
  Bytes pc(34, 0);
  pc[0] = 0x80;
  Bytes packed = {0x01, 0xAA, 0xBB, 0xFD, 0x11};
  pc.insert(pc.end(), packed.begin(), packed.end());
  pc.insert(pc.end(), 32, 0);
  pixtest::WriteFile(dir.path("c.pc1"), pc);
  ASSERT_EQ(retrotest::CliConvert(dir.path("c.pc1"), dir.path("c.iff")), 1);
  Bytes c = pixtest::ReadFile(dir.path("c.iff"));
  EXPECT_EQ(c[30], 1);
  EXPECT_TRUE(Bytes(c.end() - 5, c.end()) == packed);
  EXPECT_EQ(c[c.size() - 6], 5);

  // Resolution 3 and an unknown extension are refused.
  pi2[1] = 3;
  pixtest::WriteFile(dir.path("bad.pi1"), pi2);
  EXPECT_EQ(PC1toIFF(dir.path("bad.pi1").c_str(), dir.path("bad.iff").c_str(), nullptr), 0);
  EXPECT_EQ(PC1toIFF(dir.path("m.iff").c_str(), dir.path("bad.iff").c_str(), nullptr), 0);
}

// Memory mode keeps its two differences: the colour bytes one place late and
// one byte of each body word.
TEST(AtariSt, MemoryMode) {
  pixtest::Scratch dir;
  Bytes pi1(32034);
  for (std::size_t i = 0; i < pi1.size(); ++i) pi1[i] = static_cast<std::uint8_t>(i * 7 + 1);
  pi1[0] = 0;
  pi1[1] = 0;
  pixtest::WriteFile(dir.path("a.pi1"), pi1);
  std::string target = dir.path("a.iff");
  ASSERT_EQ(PC1toIFF(dir.path("a.pi1").c_str(), target.c_str(), nullptr), 1);
  Bytes file = pixtest::ReadFile(target);
  unsigned char* block = nullptr;
  int n = PC1toIFF(dir.path("a.pi1").c_str(), nullptr, &block);
  ASSERT_EQ(n, 104 + 16000);
  Bytes mem = pixtest::TakeBlock(block, n);
  EXPECT_TRUE(Bytes(mem.begin(), mem.begin() + 48) == Bytes(file.begin(), file.begin() + 48));
  EXPECT_EQ(mem[48], 0);
  EXPECT_TRUE(Bytes(mem.begin() + 49, mem.begin() + 96) == Bytes(file.begin() + 48, file.begin() + 95));
  EXPECT_TRUE(Bytes(mem.begin() + 96, mem.begin() + 104) == Bytes(file.begin() + 96, file.begin() + 104));
  for (std::size_t i = 0; i < 16000; ++i) ASSERT_EQ(mem[104 + i], file[104 + 2 * i]) << i;
}

TEST(Icn, IlbmWrapperBytes) {
  pixtest::Scratch dir;
  Bytes icn = {15, 0, 7, 0};
  for (int i = 0; i < 64; ++i) icn.push_back(static_cast<std::uint8_t>(i));
  pixtest::WriteFile(dir.path("a.icn"), icn);
  ASSERT_EQ(retrotest::CliConvert(dir.path("a.icn"), dir.path("a.iff")), 1);
  Bytes iff = pixtest::ReadFile(dir.path("a.iff"));
  const std::uint32_t s = static_cast<std::uint32_t>(icn.size());
  ASSERT_EQ(iff.size(), 12u + 28 + 56 + 12 + 8 + (s - 4));
  EXPECT_EQ(std::string(iff.begin(), iff.begin() + 4), "FORM");
  EXPECT_EQ(iff[4] | iff[5] << 8, static_cast<int>(s + 102));  // little-endian on purpose
  EXPECT_EQ(iff[20] << 8 | iff[21], 16);
  EXPECT_EQ(iff[22] << 8 | iff[23], 8);
  EXPECT_EQ(iff[28], 4);
  EXPECT_EQ(iff[29], 2);
  EXPECT_TRUE(Bytes(iff.begin() + 36, iff.begin() + 40) == Bytes({0, 16, 0, 8}));
  EXPECT_EQ(std::string(iff.begin() + 40, iff.begin() + 44), "CMAP");
  EXPECT_TRUE(Bytes(iff.begin() + 48 + 18, iff.begin() + 48 + 21) == Bytes({0xAA, 0x55, 0}));
  EXPECT_EQ(std::string(iff.begin() + 96, iff.begin() + 100), "PSIM");
  EXPECT_TRUE(Bytes(iff.begin() + 104, iff.begin() + 108) == Bytes({0x01, 0x75, 0x01, 0x75}));
  EXPECT_EQ(std::string(iff.begin() + 108, iff.begin() + 112), "BODY");
  EXPECT_EQ(iff[112] | iff[113] << 8, static_cast<int>(s - 6));
  EXPECT_TRUE(Bytes(iff.begin() + 116, iff.end()) == Bytes(icn.begin() + 4, icn.end()));
}

}  // namespace
