// PSF console fonts to X bitmaps: the sheets of samples/*.psf (made up, and
// Debian's console fonts, version 1 and 2, 256 and 512 glyphs, 6 to 10 pixels
// wide) are checked by the samples table; here memory mode and the exact text
// of small fonts built here, file and memory mode.
#include <string>
#include <vector>

#include "formats/formats.h"
#include "support.h"

namespace {

using pixtest::Bytes;

int Convert(const std::string& src, const std::string& dst) {
  pix::ConvertCall call;
  call.source = src.c_str();
  call.target = dst.c_str();
  return pix::PsfToXbm(call);
}

std::string Memory(const std::string& src, int& result) {
  unsigned char* block = nullptr;
  pix::ConvertCall call;
  call.source = src.c_str();
  call.out = &block;
  result = pix::PsfToXbm(call);
  if (result <= 0) return "";
  Bytes b = pixtest::TakeBlock(block, result);
  return std::string(b.begin(), b.end());
}

// The "0x.." values of a text, in order.
std::vector<std::string> Values(const std::string& t) {
  std::vector<std::string> v;
  for (std::size_t i = 0; (i = t.find(" 0x", i)) != std::string::npos; i += 5) v.push_back(t.substr(i + 1, 4));
  return v;
}

std::string Text(const std::string& path) {
  Bytes b = pixtest::ReadFile(path);
  return std::string(b.begin(), b.end());
}

// Memory mode of the listed fonts: the values of the file, with the preview
// consumer's separators (the sheets themselves are checked by the samples table).
TEST(PsfFonts, MemoryModeHoldsTheFilesValues) {
  pixtest::Scratch s;
  int checked = 0;
  for (const pixtest::Sample& sample : pixtest::Samples()) {
    if (sample.source.size() < 4 || sample.source.compare(sample.source.size() - 4, 4, ".psf") != 0) continue;
    SCOPED_TRACE(sample.source);
    ASSERT_EQ(Convert(sample.source, s.path("f.xbm")), 1);
    int size = 0;
    std::string mem = Memory(sample.source, size), file = Text(s.path("f.xbm"));
    ASSERT_EQ(size_t(size), mem.size());
    EXPECT_GT(Values(file).size(), 100u);
    EXPECT_EQ(Values(mem), Values(file));
    EXPECT_EQ(mem.back(), 's');
    ++checked;
  }
  EXPECT_GE(checked, 5);
}

// A version 2 font of 1x1 glyphs (so each value covers 8 glyphs).
Bytes Psf2(std::uint32_t count, std::uint32_t glyphSize, std::uint32_t h, std::uint32_t w, const Bytes& glyphs,
           std::uint32_t version = 0, std::uint32_t headerSize = 32, std::uint32_t flags = 0) {
  Bytes b;
  for (std::uint32_t v : {0x864AB572u, version, headerSize, flags, count, glyphSize, h, w})
    for (int k = 0; k < 4; ++k) b.push_back(static_cast<std::uint8_t>(v >> (8 * k)));
  b.resize(headerSize < 32 ? 32 : headerSize, 0xCC);
  b.insert(b.end(), glyphs.begin(), glyphs.end());
  return b;
}

TEST(PsfFonts, ExactTextOfSmallFonts) {
  pixtest::Scratch s;
  Bytes thirtyTwo(32, 0);
  thirtyTwo[0] = 0x80;
  thirtyTwo[15] = 0x80;
  const std::string header1x1 = "#define psf_width  32\n#define psf_height 1\nstatic unsigned char psf_bits[] = {\n";

  struct Case {
    const char* label;
    Bytes font;
    std::string file;    // whole file-mode text ("" = empty target)
    std::string memory;  // whole memory-mode text ("" = result 0)
  };
  Bytes v1(4 + 256 * 16, 0);
  v1[0] = 0x36, v1[1] = 0x04, v1[2] = 0, v1[3] = 16;
  Bytes v1mode4 = v1;
  v1mode4[2] = 4;
  Bytes unicodeCut = Psf2(32, 1, 1, 1, thirtyTwo, 0, 32, 1);
  unicodeCut.insert(unicodeCut.end(), {0x41, 0xFF, 0xC3});  // second list cut inside a code point
  Bytes unicodeGood = Psf2(32, 1, 1, 1, thirtyTwo, 0, 32, 1);
  for (int g = 0; g < 32; ++g) unicodeGood.insert(unicodeGood.end(), {0xE2, 0x94, 0x80, 0xFE, 0x41, 0xFF});
  Bytes skipped = Psf2(32, 1, 1, 1, Bytes(8, 0xFF), 0, 40);  // the 8 bytes after the header are skipped
  skipped.resize(40, 0xFF);
  skipped.insert(skipped.end(), thirtyTwo.begin(), thirtyTwo.end());

  const std::string values = " 0x01, 0x80, 0x00, 0x00};\n";
  const std::string zeroWidth =
      "#define psf_width  0\n#define psf_height " + std::to_string(0x2D4F000C) + "\nstatic unsigned char psf_bits[] = {\n";
  const std::string memValues = " 0x01 x 0x80 x 0x00 x 0x00s";
  const Case cases[] = {
      {"twoValues", Psf2(32, 1, 1, 1, thirtyTwo), header1x1 + values, header1x1 + memValues},
      {"header40", skipped, header1x1 + values, header1x1 + memValues},
      {"unicodeTable", unicodeGood, header1x1 + values, header1x1 + memValues},
      {"unicodeCut", unicodeCut, "", ""},
      {"v1mode4", v1mode4, "", ""},
      {"v2version1", Psf2(32, 1, 1, 1, thirtyTwo, 1), "", ""},
      {"badMagic", Bytes(64, 0x11), "", ""},
      {"shortGlyphs", Psf2(32, 1, 1, 1, Bytes(31, 0)), "", ""},
      // 32 one-byte glyphs that claim 1024 x 32768 pixels each: a sheet of
      // 1 Gi pixels that the glyph data cannot back is unreadable
      {"hugeSheet", Psf2(32, 1, 32768, 1024, thirtyTwo), "", ""},
      // no columns: the header alone, however many rows are claimed
      {"zeroWidth", Psf2(32, 1, 0x2D4F000C, 0, thirtyTwo), zeroWidth, zeroWidth},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    pixtest::WriteFile(s.path("f.psf"), c.font);
    EXPECT_EQ(Convert(s.path("f.psf"), s.path("f.xbm")), 1);
    EXPECT_EQ(Text(s.path("f.xbm")), c.file);
    int size = 0;
    EXPECT_EQ(Memory(s.path("f.psf"), size), c.memory);
    EXPECT_EQ(size_t(size), c.memory.size());
  }

  // Version 1, 256 glyphs of 8x16: 4096 values, 12 to a line, the last one
  // followed directly by the closing (4096 is no multiple of 12).
  pixtest::WriteFile(s.path("v1.psf"), v1);
  ASSERT_EQ(Convert(s.path("v1.psf"), s.path("v1.xbm")), 1);
  std::string t = Text(s.path("v1.xbm"));
  EXPECT_EQ(t.rfind("#define psf_width  256\n#define psf_height 128\n", 0), 0u);
  std::size_t count = 0;
  for (std::size_t i = 0; (i = t.find(" 0x", i)) != std::string::npos; ++i) ++count;
  EXPECT_EQ(count, 4096u);
  EXPECT_EQ(t.substr(t.size() - 8), " 0x00};\n");
  EXPECT_EQ(t.substr(t.find("{\n") + 2, 73), " 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,\n");

  // Version 2, 100 glyphs of 8x8 (all ink): a 256x32 sheet whose cells 100-127 are blank.
  pixtest::WriteFile(s.path("v2.psf"), Psf2(100, 8, 8, 8, Bytes(800, 0xFF)));
  ASSERT_EQ(Convert(s.path("v2.psf"), s.path("v2.xbm")), 1);
  t = Text(s.path("v2.xbm"));
  EXPECT_EQ(t.rfind("#define psf_width  256\n#define psf_height 32\n", 0), 0u);
  EXPECT_EQ(t.substr(t.size() - 8), " 0x00};\n");  // the last cell is blank
  EXPECT_NE(t.find("0xff"), std::string::npos);

  // A source that cannot be opened, a target that cannot be created.
  EXPECT_EQ(Convert(s.path("absent.psf"), s.path("x.xbm")), 0);
  EXPECT_EQ(Convert(s.path("v2.psf"), s.path("no/such/dir/x.xbm")), 0);
}

}  // namespace
