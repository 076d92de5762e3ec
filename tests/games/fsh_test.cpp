// Shape archives: the pictures of samples/fonts_*.fsh are checked by the
// samples table; here the files written beside them (index.fsh, alpha8.dat,
// NNNN.BIN in the working folder), the console and the warnings, and the
// RefPack commands one by one.
#include <filesystem>
#include <string>

#include "games/games.h"
#include "support.h"

namespace {

using pixtest::Bytes;
namespace fs = std::filesystem;

std::string Sample(const std::string& name) { return std::string(pixtest::kSourceDir) + "/samples/" + name; }

std::string Text(const std::string& path) {
  Bytes b = pixtest::ReadFile(path);
  return std::string(b.begin(), b.end());
}

struct Outcome {
  int result;
  std::string console, errors;
};

// Converts in the program's scratch working folder, where the side files go.
Outcome Convert(const std::string& source, const std::string& target) {
  pix::ConvertCall call;
  call.source = source.c_str();
  call.target = target.c_str();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Outcome o;
  o.result = pix::FshToBmp(call);
  o.console = testing::internal::GetCapturedStdout();
  o.errors = testing::internal::GetCapturedStderr();
  return o;
}

TEST(ShapeArchive, IndexSideFilesAndConsole) {
  for (const char* name : {"fonts_shapes.fsh", "fonts_shapes.qfs", "fonts_packed.fsh"}) {
    SCOPED_TRACE(name);
    const bool packed = std::string(name) != "fonts_shapes.fsh";
    pixtest::Scratch s;
    Outcome o = Convert(Sample(name), s.path("shapes.bmp"));
    EXPECT_EQ(o.result, 14);
    EXPECT_EQ(std::distance(fs::directory_iterator(s.dir()), fs::directory_iterator()), 14);

    std::string index = Text("index.fsh");
    EXPECT_EQ(index.rfind(packed ? "QFS\n" : "FSH\n", 0), 0u) << index;
    EXPECT_EQ(index.substr(index.size() - 5), "#END\n");
    const std::string lines[] = {
        "SHPI 11 objects, tagG264\n",
        "BUFSZ " + std::to_string(2 * pixtest::ReadFile(Sample(name)).size()) + "\n",
        "\n!PAD 6A0A1A2A3A4A5\n",
        "loc8 0000.BMP\nBMP 7B +3 4 3 {1 -2 3 0}\nPAL 2A 256 1 {1 -2 3 0}\n!PAD 4EEEEEEEE\n"
        "TXT 6F 5 0\nhi%20%25!\n!PAD 3000000\nBIN 7C 10\n7C000000010203040506\n",
        "!pal 0001.BIN\nBIN\n",
        "rgba 0003.BMP\nBMP 7D +0 3 2 {1 -2 3 0}\nalpha 0003-a.BMP\n",
        "mip8 0008-%d.BMP\nMBP 7B x3 4 4 {1 -2 3}\n",
        "cmp8 0010.BMP\nBMP FB +0 6 4 {1 -2 3 0}\n",
    };
    for (const std::string& l : lines) EXPECT_NE(index.find(l), std::string::npos) << l << " in\n" << index;
    EXPECT_EQ(pixtest::ReadFile("0009.BIN"), (Bytes{0x6F, 0, 0, 0, 4, 0, 0, 0, 'A', 'B', 'C', 'D'}));
    EXPECT_EQ(pixtest::ReadFile("0001.BIN").size(), 16u + 512u);

    // alpha8.dat: the top bytes of the attached 32-bit palette (i / 2)
    std::string top;
    for (int i = 0; i < 256; ++i) top += "0123456789ABCDEF"[i / 32], top += "0123456789ABCDEF"[(i / 2) % 16];
    EXPECT_EQ(Text("alpha8.dat"), "0000.BMP\n" + top + "\n");

    for (const char* said : {"'loc8' [7B] -> '0000.BMP' (4x3) 8 bit (local palette)\n  (attached: palette text data)\n",
                             "'glob' [7B] -> '0002.BMP' (5x2) 8 bit (global palette)\n",
                             "'!pal' [2D] -> '0001.BIN' (16-bit palette)\n", "multiscale '0008-[0 to 2].BMP' (up to 4x4)",
                             "'0010.BMP' (6x4) (compressed) 8 bit (global palette)\n"})
      EXPECT_NE(o.console.find(said), std::string::npos) << said << " in\n" << o.console;
  }
  // The mipmapped square follows the directory directly: no gap to report.
  pixtest::Scratch s;
  EXPECT_EQ(Convert(Sample("fonts_mips.fsh"), s.path("m.bmp")).result, 7);
  EXPECT_EQ(Text("index.fsh").find("!PAD"), std::string::npos) << Text("index.fsh");
}

TEST(ShapeArchive, BrokenArchivesReturnWhatWasWrittenAndSayWhy) {
  struct Case {
    const char* sample;
    int result;
    const char* message;
  };
  const Case cases[] = {
      {"fonts_overrun.fsh", 1, "WARNING: passed the next block ?\nPress Enter to continue.\n"},
      {"fonts_bigdata.fsh", 2, "Attached data too large !\n"},
      {"fonts_cut.qfs", 0, "Warning: bad length ? 4 instead of 256\n"},
      {"fonts_absent.fsh", 0, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.sample);
    pixtest::Scratch s;
    Outcome o = Convert(Sample(c.sample), s.path("x.bmp"));
    EXPECT_EQ(o.result, c.result);
    EXPECT_EQ(o.errors, c.message);
  }
  // No memory mode.
  const std::string src = Sample("fonts_pad3.fsh");
  pix::ConvertCall call;
  call.source = src.c_str();
  EXPECT_EQ(pix::FshToBmp(call), 0);
}

TEST(RefPack, CommandsExpandAsDesigned) {
  struct Case {
    const char* label;
    Bytes stream;
    Bytes expected;
  };
  const Case cases[] = {
      // one literal "A", then a copy of distance 1 and length 10 repeats it.
      {"repeat", {0x10, 0xFB, 0, 0, 11, 0x1D, 0x00, 'A', 0xFC}, Bytes(11, 'A')},
      // 0xE0: four literals; 0xFD ends with one literal.
      {"literals", {0x10, 0xFB, 0, 0, 5, 0xE0, 1, 2, 3, 4, 0xFD, 5}, {1, 2, 3, 4, 5}},
      // bit 0 of the first byte: a 3-byte field to skip.
      {"extraField", {0x11, 0xFB, 0, 0, 2, 9, 9, 9, 0xFE, 7, 8}, {7, 8}},
      // 3-byte form: two literals, copy 4 at distance 2.
      {"medium", {0x10, 0xFB, 0, 0, 6, 0x80, 0x80, 0x01, 'a', 'b', 0xFC}, {'a', 'b', 'a', 'b', 'a', 'b'}},
      // 4-byte form: one literal, copy 5 at distance 1.
      {"long", {0x10, 0xFB, 0, 0, 6, 0xC1, 0x00, 0x00, 0x00, 'z', 0xFC}, Bytes(6, 'z')},
      // a copy longer than the declared size stops there
      {"overlong", {0x10, 0xFB, 0, 0, 4, 0x1D, 0x00, 'A', 0xFC}, Bytes(4, 'A')},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    Bytes out;
    testing::internal::CaptureStderr();
    ASSERT_TRUE(pix::QfsExpand(c.stream.data(), c.stream.size(), out));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(c.label) == "overlong" ? "Warning: bad length ? 11 instead of 4\n" : "");
    EXPECT_EQ(out, c.expected);
  }
}

}  // namespace
