// BDF fonts to X bitmaps: the sheets of samples/*.bdf (made up, and Debian's
// X11 fonts) are checked by the samples table against PIL's BDF reader; here
// the parser's errors and the exact text of small fonts, file and memory mode.
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
  return pix::BdfToXbm(call);
}

std::string Text(const std::string& path) {
  Bytes b = pixtest::ReadFile(path);
  return std::string(b.begin(), b.end());
}

std::string Glyph(int code, const char* bbx, const std::vector<const char*>& rows) {
  std::string g = "STARTCHAR g\nENCODING " + std::to_string(code) + "\n" + bbx + "\nBITMAP\n";
  for (const char* r : rows) g += std::string(r) + "\n";
  return g + "ENDCHAR\n";
}

TEST(BdfFonts, ParseErrorsAndGlyphPlacement) {
  pixtest::Scratch s;
  const std::string head = "STARTFONT 2.1\nFONTBOUNDINGBOX 8 16 0 -2\n";
  struct Case {
    const char* label;
    std::string font;
    int result;
    std::string message;
  };
  const Case cases[] = {
      {"startfontAlone", "STARTFONT\n", 1, "bdf2xbm:1: not a bdf-file\n"},
      {"startfontTwoArgs", "\n\nSTARTFONT 2 1\n", 1, "bdf2xbm:3: not a bdf-file\n"},
      {"empty", "", 1, "bdf2xbm: not a bdf-file\n"},
      {"twoBoxes", head + "FONTBOUNDINGBOX 8 16 0 0\n", 1, "bdf2xbm:3: multiple FONTBOUNDINGBOXes!?!\n"},
      {"badBox", "STARTFONT 2.1\nFONTBOUNDINGBOX 65 16 0 0\n", 1, "bdf2xbm:2: bad bounding box 65x16\n\n"},
      {"boxOfFourTokens", "STARTFONT 2.1\nFONTBOUNDINGBOX 8 16 0\nSTARTCHAR a\n", 1, "bdf2xbm:3: no FONTBOUNDINGBOX\n"},
      {"badBbx", head + Glyph(1, "BBX 0 4 0 0", {}), 1, "bdf2xbm:5: bad BBX (0x4)\n"},
      {"missingBbx", head + "STARTCHAR a\nENCODING 3\nBITMAP\n", 1, "bdf2xbm:5: missing BBX\n"},
      {"missingEncoding", head + "STARTCHAR a\nBBX 8 1 0 0\nBITMAP\n", 1, "bdf2xbm:5: missing ENDCODING\n"},
      {"shortRow", head + Glyph(1, "BBX 9 1 0 0", {"FF"}), 1, "bdf2xbm:7: bad BITMAP\n"},
      {"badHex", head + Glyph(1, "BBX 8 1 0 0", {"G0"}), 1, "bdf2xbm:7: bad hexchar in BITMAP\n"},
      {"fine", head + Glyph(65, "BBX 8 2 5 5", {"8f", "01"}) + "ENDFONT\n", 0, ""},
      {"noBox", "STARTFONT 2.1\nENDFONT\n", 0, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    pixtest::WriteFile(s.path("f.bdf"), c.font);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Convert(s.path("f.bdf"), s.path("f.xbm")), c.result);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.message);
  }
  // No bounding box: nothing is written.
  EXPECT_EQ(Text(s.path("f.xbm")), "");

  // An 8x16 box: a 256x128 sheet of 4096 values, 16 to a line. ENCODING 65 is
  // cell column 1, cell row 2; 300 and -1 draw nothing; lower-case digits are fine.
  const std::string font = head + Glyph(65, "BBX 8 2 5 5", {"8f", "01"}) + Glyph(300, "BBX 8 1 0 0", {"FF"}) +
                           Glyph(-1, "BBX 8 1 0 0", {"FF"}) + "ENDFONT\n";
  pixtest::WriteFile(s.path("a.bdf"), font);
  ASSERT_EQ(Convert(s.path("a.bdf"), s.path("a.xbm")), 0);
  std::string t = Text(s.path("a.xbm"));
  const std::string id = s.path("a.bdf");
  const std::string header = "#define " + id + "_width 256\n#define " + id + "_height 128\nstatic unsigned char " + id + "_bits[] = {\n";
  ASSERT_EQ(t.rfind(header, 0), 0u);
  std::string body = t.substr(header.size());
  ASSERT_EQ(body.size(), 4096u * 5 + 256 + 3);
  EXPECT_EQ(body.substr(body.size() - 3), "};\n");
  // Row 32 (cell row 2), byte 1 (cell column 1): 0x8f drawn least significant bit first = 0xf1.
  auto value = [&](int row, int byte) { return body.substr((row * 32 + byte) * 5 + (row * 32 + byte) / 16, 4); };
  EXPECT_EQ(value(32, 1), "0xf1");
  EXPECT_EQ(value(33, 1), "0x80");
  int nonZero = 0;
  for (int i = 0; i < 4096; ++i) nonZero += value(i / 32, i % 32) != "0x00";
  EXPECT_EQ(nonZero, 2);

  // Memory mode: header lines keep their "\n", value lines end in 0xE8, and
  // the closing is E0 DC E8.
  unsigned char* block = nullptr;
  pix::ConvertCall call;
  call.source = id.c_str();
  call.out = &block;
  int size = pix::BdfToXbm(call);
  ASSERT_GT(size, 0);
  Bytes mem = pixtest::TakeBlock(block, size);
  std::string m(mem.begin(), mem.end());
  std::string expect = t;
  for (std::size_t i = header.size(); (i = expect.find('\n', i)) != std::string::npos;) expect[i] = '\xE8';
  expect.replace(expect.size() - 3, 3, "\xE0\xDC\xE8");
  EXPECT_EQ(m, expect);

  // Memory mode of a broken font, and files that cannot be opened.
  pixtest::WriteFile(s.path("bad.bdf"), std::string("STARTFONT\n"));
  std::string bad = s.path("bad.bdf");
  call.source = bad.c_str();
  testing::internal::CaptureStderr();
  EXPECT_EQ(pix::BdfToXbm(call), 0);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(Convert(s.path("absent.bdf"), s.path("x.xbm")), 1);
  EXPECT_EQ(Convert(s.path("a.bdf"), s.path("no/dir/x.xbm")), 1);
}

TEST(BdfFonts, GlyphsRunIntoNeighbouringCellsButNeverPastTheSheet) {
  pixtest::Scratch s;
  // A 2x2 box; glyph 31 is 16 wide and 3 high, glyph 255 is 64x64 at the sheet's end.
  std::vector<const char*> tall(64, "FFFFFFFFFFFFFFFF");
  const std::string font = "STARTFONT 2.1\nFONTBOUNDINGBOX 2 2 0 0\n" + Glyph(31, "BBX 16 3 0 0", {"FFFF", "0000", "0000"}) +
                           Glyph(255, "BBX 64 64 0 0", tall) + "ENDFONT\n";
  pixtest::WriteFile(s.path("w.bdf"), font);
  ASSERT_EQ(Convert(s.path("w.bdf"), s.path("w.xbm")), 0);
  std::string t = Text(s.path("w.xbm"));
  // Row bytes 8, 16 rows: 128 values. Glyph 31 starts at x 62: bits 6-7 of
  // byte 7, then the next 14 pixels run into the following row's bytes 0-1.
  std::string body = t.substr(t.find("{\n") + 2);
  auto value = [&](int i) { return body.substr(i * 5 + i / 16, 4); };
  EXPECT_EQ(value(7), "0xc0");
  EXPECT_EQ(value(8), "0xff");
  EXPECT_EQ(value(9), "0x3f");
  // Glyph 255 at x 62, y 14 fills the sheet's last bytes; the rest is dropped.
  EXPECT_EQ(value(119), "0xc0");
  EXPECT_EQ(value(127), "0xff");
  EXPECT_EQ(t.substr(t.size() - 5), ",\n};\n");
}

}  // namespace
