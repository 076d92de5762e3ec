// Amstrad CPC, calculator and Atari ST pictures. The samples table checks
// their pictures and bytes; here what a row cannot say: failure codes, the
// file's fixed bytes, refused objects in both modes, memory-mode quirks.
#include <filesystem>

#include "pixmisc.h"
#include "retro/retro.h"
#include "retro_support.h"

namespace {

using retrotest::Bytes;
using retrotest::Convert;
using retrotest::InMemory;
using retrotest::ReadSample;
using retrotest::Sample;

// The TIFF's fixed bytes; 1 (failure here) for a missing source or a target
// that cannot be made.
TEST(CpcScreen, FileBytesAndFailures) {
  pixtest::Scratch dir;
  ASSERT_EQ(Convert(pix::CpcScreenToTiff, dir, "a.cpc", ReadSample("retro_screen.cpc"), "a.tif").result, 0);
  const Bytes tif = pixtest::ReadFile(dir.path("a.tif"));
  ASSERT_EQ(tif.size(), 384u + 32000);
  EXPECT_EQ(std::string(tif.begin() + 186, tif.begin() + 194), "MAIFLOT\n");
  EXPECT_EQ(tif[383], 0xE5);
  EXPECT_EQ(Convert(pix::CpcScreenToTiff, dir, "a.cpc", ReadSample("retro_screen.cpc"), "no/such/dir/x.tif").result, 1);
  pix::ConvertCall call;
  const std::string missing = dir.path("none.cpc"), dst = dir.path("x.tif");
  call.source = missing.c_str();
  call.target = dst.c_str();
  EXPECT_EQ(pix::CpcScreenToTiff(call), 1);
}

// The GIF route takes any file without an extension as a screen: an empty one
// is a blank screen in pen 0 (firmware blue, 00 00 80); a missing one is nothing.
TEST(CpcScreen, GifOfAnEmptyDumpIsBlank) {
  PIX_REQUIRE_TOOL("giftopnm");
  pixtest::Scratch dir;
  pixtest::WriteFile(dir.path("screen"), Bytes());
  ASSERT_EQ(pixMISC(dir.path("screen").c_str(), dir.path("screen.gif").c_str()), 1);
  const pixtest::Pnm p = pixtest::DecodeWith("giftopnm", dir.path("screen.gif"));
  ASSERT_EQ(p.width, 320);
  ASSERT_EQ(p.height, 200);
  for (std::size_t i = 0; i < p.samples.size(); i += 3)
    ASSERT_TRUE(p.samples[i] == 0 && p.samples[i + 1] == 0 && p.samples[i + 2] == 0x80) << i;
  EXPECT_EQ(pixMISC(dir.path("missing").c_str(), dir.path("missing.gif").c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(dir.path("missing.gif")));
}

// A refused object is 1 in file mode (0 means written) and nothing in
// memory; ".gf2" is the same format; an X bitmap without size lines is refused.
TEST(Grob, RefusedObjects) {
  pixtest::Scratch dir;
  const Bytes good = ReadSample("retro_grob.gro");
  ASSERT_EQ(Convert(pix::GroToBmp, dir, "g.gro", good, "g.bmp").result, 0);
  const Bytes bmp = pixtest::ReadFile(dir.path("g.bmp"));
  ASSERT_EQ(bmp.size(), 62u + 1280);
  EXPECT_EQ(bmp[34] | bmp[35] << 8, 1280);
  EXPECT_TRUE(InMemory(pix::GroToBmp, Sample("retro_grob.gf2")) == bmp);
  Bytes wrongLength = good, notGraphic = good, noHeader = good;
  wrongLength[10] ^= 0x20;  // the length's low nibble
  notGraphic[8] = 0x33;
  noHeader[5] = '7';
  for (const Bytes& b : {wrongLength, Bytes(good.begin(), good.end() - 3), notGraphic, noHeader}) {
    EXPECT_EQ(Convert(pix::GroToBmp, dir, "x.gro", b, "x.bmp").result, 1);
    EXPECT_TRUE(InMemory(pix::GroToBmp, dir.path("x.gro")).empty());
  }
  EXPECT_EQ(Convert(pix::XbmToGrob, dir, "c.xbm", pixtest::ToBytes("static char b_bits[] = { 0x1e };\n"), "c.grb").result, 1);
}

std::uint32_t Be32(const Bytes& b, std::size_t at) { return std::uint32_t(b[at]) << 24 | b[at + 1] << 16 | b[at + 2] << 8 | b[at + 3]; }

// The ILBM's size and aspect fields, a packed body without the 32 bytes of
// animation data, unknown extensions refused; memory mode keeps its two
// differences: the colour bytes one place late and one byte of each body word.
TEST(AtariSt, IlbmFieldsAndMemoryMode) {
  pixtest::Scratch dir;
  auto convert = [&](const std::string& name) {
    const std::string dst = dir.path(name + ".iff");
    EXPECT_EQ(PC1toIFF(Sample(name).c_str(), dst.c_str(), nullptr), 1) << name;
    return pixtest::ReadFile(dst);
  };
  const Bytes medium = convert("retro_medium.pi2");
  ASSERT_EQ(medium.size(), 48u + 12 + 8 + 32000);
  EXPECT_EQ(Be32(medium, 4), 32000u + 3 * (4 + 16));
  EXPECT_EQ(medium[30], 0);  // not compressed
  EXPECT_EQ(medium[34], 5);  // aspect 5:11
  EXPECT_EQ(medium[35], 11);
  const Bytes pc1 = ReadSample("retro_packed.pc1"), packed = convert("retro_packed.pc1");
  const Bytes body(pc1.begin() + 34, pc1.end() - 32);
  EXPECT_EQ(packed[30], 1);
  EXPECT_EQ(Be32(packed, packed.size() - body.size() - 4), body.size());
  EXPECT_TRUE(Bytes(packed.end() - static_cast<long>(body.size()), packed.end()) == body);
  EXPECT_EQ(PC1toIFF(dir.path("retro_medium.pi2.iff").c_str(), dir.path("bad.iff").c_str(), nullptr), 0);

  const Bytes file = convert("retro_picture.pi1");
  unsigned char* block = nullptr;
  const int n = PC1toIFF(Sample("retro_picture.pi1").c_str(), nullptr, &block);
  ASSERT_EQ(n, 104 + 16000);
  const Bytes mem = pixtest::TakeBlock(block, n);
  EXPECT_TRUE(Bytes(mem.begin(), mem.begin() + 48) == Bytes(file.begin(), file.begin() + 48));
  EXPECT_EQ(mem[48], 0);
  EXPECT_TRUE(Bytes(mem.begin() + 49, mem.begin() + 96) == Bytes(file.begin() + 48, file.begin() + 95));
  EXPECT_TRUE(Bytes(mem.begin() + 96, mem.begin() + 104) == Bytes(file.begin() + 96, file.begin() + 104));
  for (std::size_t i = 0; i < 16000; ++i) ASSERT_EQ(mem[104 + i], file[104 + 2 * i]) << i;
}

// A 16 x 8 icon: the ILBM wrapper's bytes, with its little-endian sizes.
TEST(Icn, IlbmWrapperBytes) {
  pixtest::Scratch dir;
  const Bytes icn = ReadSample("retro_icon.icn");
  ASSERT_EQ(Convert(pix::IcnToIff, dir, "a.icn", icn, "a.iff").result, 1);
  const Bytes iff = pixtest::ReadFile(dir.path("a.iff"));
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
