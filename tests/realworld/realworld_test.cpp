// Files from the wild, kept by other public projects as their own test
// material, read where they lie (../shared/realworld beside the source tree,
// or PIXMISC_REALWORLD_DIR) and never copied into the project. Every output is
// checked with an independent reader: Pillow, djpeg, olefile, giftopnm, or a
// twin of the file in the form the converters have always read.
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "common/call.h"
#include "extract/extract.h"
#include "pixmisc.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;
using pixtest::Bytes;
using pixtest::Scratch;

#define PIX_REAL_FILE(var, name)                \
  const std::string var = pixtest::RealWorldFile(name); \
  if (var.empty()) GTEST_SKIP() << "no real files in " << pixtest::RealWorldDir().string() << " (" << (name) << ")"

// Runs a Python script (Debian's Python, with Pillow and olefile) with
// arguments; the test fails when it does.
std::string Python(const Scratch& s, const std::string& script, const std::vector<std::string>& args) {
  pixtest::WriteFile(s.path("check.py"), script);
  std::string command = std::string(pixtest::kPython) + " " + pixtest::Quote(s.path("check.py"));
  for (const std::string& a : args) command += " " + pixtest::Quote(a);
  const pixtest::RunResult r = pixtest::Run(command);
  EXPECT_EQ(r.status, 0) << r.err;
  return r.out;
}

pixtest::Pnm ReadPnm(const std::string& path) {
  pixtest::Pnm pnm;
  EXPECT_TRUE(pixtest::ParsePnm(pixtest::ReadFile(path), pnm)) << path;
  return pnm;
}

std::string Frame(const Scratch& s, const char* stem, int n) {
  char name[64];
  std::snprintf(name, sizeof name, "%s_%03d.ppm", stem, n);
  return s.path(name);
}

// ---------------------------------------------------------------- FLI / FLC

// Every frame Pillow decodes, as PPM files "<out>_NNN.ppm" from 1. Debian's
// Pillow reads an animation's prefix chunk as a first frame, so it is handed
// the animation without it (the chunk holds settings, no picture).
const char* const kPillowFrames = R"(
import io, struct, sys
from PIL import Image
data = open(sys.argv[1], 'rb').read()
if struct.unpack_from('<H', data, 132)[0] == 0xF100:
    data = data[:128] + data[128 + struct.unpack_from('<I', data, 128)[0]:]
im = Image.open(io.BytesIO(data))
for i in range(im.n_frames):
    im.seek(i)
    im.convert('RGB').save('%s_%03d.ppm' % (sys.argv[2], i + 1))
print(im.n_frames)
)";

TEST(RealFiles, AnimationsGiveEveryFramePillowGives) {
  PIX_REQUIRE_TOOL(pixtest::kPython);
  struct Case {
    const char* file;
    int result;  // files written, the closing frame included where the file holds it
    int pillow;  // frames Pillow decodes, each equal to ours
  };
  const Case cases[] = {
      {"2422.flc", 28, 27},                      // prefix chunk before frame 1
      {"hopper.fli", 1, 1},                      // the only frame is one byte short
      {"hopper_palette_chunk_second.fli", 1, 1}, // the palette after the pixels
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    PIX_REAL_FILE(src, c.file);
    Scratch s;
    EXPECT_EQ(FLItoPPM(src.c_str(), s.path("ours.ppm").c_str(), -1, nullptr), c.result);
    EXPECT_FALSE(fs::exists(Frame(s, "ours", c.result + 1)));
    EXPECT_EQ(std::atoi(Python(s, kPillowFrames, {src, s.path("pillow")}).c_str()), c.pillow);
    for (int f = 1; f <= c.pillow; ++f) {
      const pixtest::Pnm ours = ReadPnm(Frame(s, "ours", f)), pillow = ReadPnm(Frame(s, "pillow", f));
      EXPECT_EQ(ours.width, pillow.width);
      EXPECT_EQ(ours.height, pillow.height);
      EXPECT_TRUE(ours.samples == pillow.samples) << "frame " << f;
    }
    // The last frame in memory is the last file.
    unsigned char* block = nullptr;
    const int n = FLItoPPM(src.c_str(), nullptr, c.result, &block);
    EXPECT_TRUE(pixtest::TakeBlock(block, n) == pixtest::ReadFile(Frame(s, "ours", c.result)));
  }

  // Any other magic than the prefix chunk's still stops the walk with 0.
  PIX_REAL_FILE(flc, "2422.flc");
  Scratch s;
  Bytes bad = pixtest::ReadFile(flc);
  bad[133] = 0xF2;
  pixtest::WriteFile(s.path("bad.flc"), bad);
  EXPECT_EQ(FLItoPPM(s.path("bad.flc").c_str(), s.path("bad.ppm").c_str(), -1, nullptr), 0);
  EXPECT_EQ(s.files(), std::vector<std::string>{"bad.flc"});
}

// ---------------------------------------------------------------- SWF

// The picture bytes a defining tag holds (code 6 and 21 after the id, code 35
// its JPEG bytes before the alpha data), decoded by Pillow to a PPM file.
const char* const kPillowSwfPicture = R"(
import io, struct, sys, zlib
from PIL import Image
data = open(sys.argv[1], 'rb').read()
body = data[8:] if data[:1] == b'F' else zlib.decompress(data[8:])
at = ((5 + 4 * (body[0] >> 3) + 7) // 8) + 4
while at + 2 <= len(body):
    word = struct.unpack_from('<H', body, at)[0]; at += 2
    code, length = word >> 6, word & 63
    if length == 63:
        length = struct.unpack_from('<I', body, at)[0]; at += 4
    tag = body[at:at + length]; at += length
    if code in (6, 21, 35) and struct.unpack_from('<H', tag, 0)[0] == int(sys.argv[2]):
        held = tag[6:6 + struct.unpack_from('<I', tag, 2)[0]] if code == 35 else tag[2:]
        Image.open(io.BytesIO(held)).convert('RGB').save(sys.argv[3])
        print(code)
        break
)";

TEST(RealFiles, FlashPicturesAreJpegsDjpegReadsAsPillowReadsTheirBytes) {
  PIX_REQUIRE_TOOL(pixtest::kPython);
  PIX_REQUIRE_TOOL("djpeg");
  struct Case {
    const char* file;
    int id;
    int code;
  };
  const Case cases[] = {
      {"negimiku.swf", 1, 6},  // an empty tables tag
      {"negimiku.swf", 3, 35},
      {"negimiku.swf", 5, 35},
      {"tag107.swf", 1, 6},  // no tables tag at all
      {"tag107.swf", 3, 6},
      {"tag107.swf", 5, 6},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.file) + " id " + std::to_string(c.id));
    PIX_REAL_FILE(src, c.file);
    Scratch s;
    unsigned char* block = nullptr;
    const Bytes picture = pixtest::TakeBlock(block, seeMultiMISC(src.c_str(), c.id, &block));
    ASSERT_FALSE(picture.empty());
    pix::ConvertCall call;
    const std::string target = s.path("ours.jpg");
    call.source = src.c_str();
    call.target = target.c_str();
    call.arg1 = c.id;
    EXPECT_EQ(pix::SwfPictureExtract(call), 1);
    EXPECT_TRUE(pixtest::ReadFile(target) == picture);
    const pixtest::Pnm ours = pixtest::DecodeWith("djpeg -pnm", target);
    EXPECT_EQ(std::atoi(Python(s, kPillowSwfPicture, {src, std::to_string(c.id), s.path("pillow.ppm")}).c_str()), c.code);
    const pixtest::Pnm pillow = ReadPnm(s.path("pillow.ppm"));
    EXPECT_EQ(ours.width, pillow.width);
    EXPECT_TRUE(ours.samples == pillow.samples);
  }
}

// ---------------------------------------------------------------- compound files

// The JPEG pictures a compound file holds, as olefile reads its streams, each
// written as "<out>_N.jpg" from 1: the PowerPoint picture records of the
// "Pictures" stream, or in a thumbnail cache the bytes from 6 before "JFIF"
// to each stream's end. Prints how many.
const char* const kOlefilePictures = R"(
import struct, sys
import olefile
ole = olefile.OleFileIO(sys.argv[1])
pictures = []
if sys.argv[3] == 'ppt':
    data = ole.openstream('Pictures').read()
    at = 0
    while at + 8 <= len(data):
        header, length = struct.unpack_from('<II', data, at)
        if header == 0xF01D46A0:
            pictures.append(data[at + 8 + 17:at + 8 + length])
        at += 8 + length
else:
    for name in ole.listdir():
        data = ole.openstream(name).read()
        j = data.find(b'JFIF')
        if j >= 6:
            pictures.append(data[j - 6:])
for i, p in enumerate(pictures):
    open('%s_%d.jpg' % (sys.argv[2], i + 1), 'wb').write(p)
print(len(pictures))
)";

std::vector<Bytes> OlefilePictures(const Scratch& s, const std::string& src, const char* kind) {
  const int n = std::atoi(Python(s, kOlefilePictures, {src, s.path("ole"), kind}).c_str());
  std::vector<Bytes> pictures;
  for (int i = 1; i <= n; ++i) pictures.push_back(pixtest::ReadFile(s.path("ole_" + std::to_string(i) + ".jpg")));
  return pictures;
}

TEST(RealFiles, PowerPointPicturesComeFromThePicturesStream) {
  PIX_REQUIRE_TOOL(pixtest::kPython);
  PIX_REQUIRE_TOOL("djpeg");
  PIX_REAL_FILE(src, "pictures.ppt");
  Scratch s;
  const std::vector<Bytes> want = OlefilePictures(s, src, "ppt");
  ASSERT_EQ(want.size(), 1u);
  EXPECT_EQ(pixMISC(src.c_str(), s.path("slides.jpg").c_str()), 1);
  EXPECT_TRUE(pixtest::ReadFile(s.path("slides_01.jpg")) == want[0]);
  pixtest::DecodeWith("djpeg -pnm", s.path("slides_01.jpg"));
  unsigned char* block = nullptr;
  EXPECT_TRUE(pixtest::TakeBlock(block, PPTtoJPG(src.c_str(), nullptr, 1, &block)) == want[0]);
  EXPECT_EQ(PPTtoJPG(src.c_str(), nullptr, 2, &block), 0);
  EXPECT_EQ(PPTtoJPG(src.c_str(), s.path("one.jpg").c_str(), 1, nullptr), 1);
  EXPECT_TRUE(pixtest::ReadFile(s.path("one_01.jpg")) == want[0]);
}

TEST(RealFiles, ThumbnailCacheGivesEveryJpegOfItsStreams) {
  PIX_REQUIRE_TOOL(pixtest::kPython);
  PIX_REQUIRE_TOOL("djpeg");
  PIX_REAL_FILE(src, "Thumbs.db");
  Scratch s;
  const std::vector<Bytes> want = OlefilePictures(s, src, "db");
  ASSERT_EQ(want.size(), 12u);
  fs::create_directory(s.path("out"));
  const int n = pixMISC(src.c_str(), s.path("out/t.jpg").c_str());
  ASSERT_EQ(n, static_cast<int>(want.size()));
  std::multiset<Bytes> got;
  for (int i = 0; i < n; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "out/Thumbs_%04d.jpg", i);
    const Bytes file = pixtest::ReadFile(s.path(name));
    got.insert(file);
    pixtest::DecodeWith("djpeg -pnm", s.path(name));
    unsigned char* block = nullptr;
    EXPECT_TRUE(pixtest::TakeBlock(block, seeMultiMISC(src.c_str(), i + 1, &block)) == file) << "picture " << i + 1;
  }
  EXPECT_TRUE(got == std::multiset<Bytes>(want.begin(), want.end()));
  unsigned char* block = nullptr;
  EXPECT_EQ(seeMultiMISC(src.c_str(), n + 1, &block), 0);
}

// ---------------------------------------------------------------- Oric tape

TEST(RealFiles, OricTapeWithALoaderShowsItsScreenBlock) {
  PIX_REAL_FILE(src, "ghost.tap");
  Scratch s;
  const Bytes tape = pixtest::ReadFile(src);
  // The block loaded at A000: after sync byte and 0x24, two unused bytes,
  // type, auto-run, end and start address, one unused byte, the name.
  std::size_t screen = 0, secondBlock = 0;
  for (std::size_t i = 1; i + 10 < tape.size() && !screen; ++i) {
    if (tape[i - 1] != 0x16 || tape[i] != 0x24) continue;
    if (tape[i + 7] == 0xA0 && tape[i + 8] == 0x00) {
      std::size_t at = i + 10;
      while (at < tape.size() && tape[at] != 0) ++at;
      screen = at + 1;
      secondBlock = i;
    }
  }
  ASSERT_GT(screen, 22u);
  ASSERT_LE(screen + 8000, tape.size());
  // The same screen behind a 22-byte header of zeros, as such files have
  // always been read.
  Bytes twin(22, 0);
  twin.insert(twin.end(), tape.begin() + static_cast<std::ptrdiff_t>(screen),
              tape.begin() + static_cast<std::ptrdiff_t>(screen + 8000));
  pixtest::WriteFile(s.path("twin.tap"), twin);
  EXPECT_EQ(pixMISC(src.c_str(), s.path("ghost.ppm").c_str()), 1);
  EXPECT_EQ(pixMISC(s.path("twin.tap").c_str(), s.path("twin.ppm").c_str()), 1);
  const pixtest::Pnm ghost = ReadPnm(s.path("ghost.ppm"));
  EXPECT_EQ(ghost.width, 240);
  EXPECT_EQ(ghost.height, 200);
  EXPECT_TRUE(pixtest::ReadFile(s.path("ghost.ppm")) == pixtest::ReadFile(s.path("twin.ppm")));
  // The loader alone holds no screen block: nothing, and no target.
  while (secondBlock > 0 && tape[secondBlock - 1] == 0x16) --secondBlock;
  pixtest::WriteFile(s.path("loader.tap"), Bytes(tape.begin(), tape.begin() + static_cast<std::ptrdiff_t>(secondBlock)));
  EXPECT_EQ(pixMISC(s.path("loader.tap").c_str(), s.path("loader.ppm").c_str()), 0);
  EXPECT_FALSE(fs::exists(s.path("loader.ppm")));
}

// ---------------------------------------------------------------- height field

TEST(RealFiles, BigEndianMatlabMatrixConvertsLikeItsLittleEndianTwin) {
  PIX_REQUIRE_TOOL("giftopnm");
  PIX_REAL_FILE(src, "testmatrix_4.2c_SOL2.mat");
  Scratch s;
  const Bytes big = pixtest::ReadFile(src);
  auto be32 = [&](std::size_t at) {
    return static_cast<std::uint32_t>(big[at] << 24 | big[at + 1] << 16 | big[at + 2] << 8 | big[at + 3]);
  };
  ASSERT_EQ(be32(0), 1000u);  // big-endian, double precision, full matrix
  const std::uint32_t rows = be32(4), columns = be32(8), nameLength = be32(16);
  const std::size_t values = 20 + nameLength;
  ASSERT_EQ(big.size(), values + 8 * std::size_t(rows) * columns);
  // The twin: the same header as little-endian numbers (type 0), the same
  // name, every double with its bytes reversed.
  Bytes little;
  for (std::uint32_t v : {0u, rows, columns, be32(12), nameLength})
    for (int k = 0; k < 4; ++k) little.push_back(static_cast<std::uint8_t>(v >> (8 * k)));
  little.insert(little.end(), big.begin() + 20, big.begin() + static_cast<std::ptrdiff_t>(values));
  for (std::size_t at = values; at < big.size(); at += 8)
    for (int k = 7; k >= 0; --k) little.push_back(big[at + static_cast<std::size_t>(k)]);
  pixtest::WriteFile(s.path("little.mat"), little);

  testing::internal::CaptureStdout();
  EXPECT_EQ(pixMISC(src.c_str(), s.path("big.gif").c_str()), 1);
  const std::string bigRange = testing::internal::GetCapturedStdout();
  testing::internal::CaptureStdout();
  EXPECT_EQ(pixMISC(s.path("little.mat").c_str(), s.path("little.gif").c_str()), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), bigRange);
  EXPECT_TRUE(pixtest::ReadFile(s.path("big.gif")) == pixtest::ReadFile(s.path("little.gif")));
  const pixtest::Pnm pnm = pixtest::DecodeWith("giftopnm", s.path("big.gif"));
  EXPECT_EQ(pnm.width, static_cast<int>(columns));
  EXPECT_EQ(pnm.height, static_cast<int>(rows));
}

// ---------------------------------------------------------------- the tool

TEST(RealFiles, ToolCallsATruncatedFontAnEmptyResult) {
  PIX_REAL_FILE(src, "font.psf");
  Scratch s;
  const pixtest::RunResult r =
      pixtest::Run(std::string(pixtest::kCli) + " convert " + pixtest::Quote(src) + " " + pixtest::Quote(s.path("f.xbm")));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("result: 1"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("files written: 0\n"), std::string::npos) << r.out;
  EXPECT_NE(r.err.find("PsfToXbm reported success but left an empty file"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("empty result"), std::string::npos) << r.err;
}

TEST(RealFiles, ToolDrawsAGreyPictureWithItsDefaultCharacters) {
  PIX_REAL_FILE(src, "hopper_8bit.pgm");
  Scratch s;
  const std::string cli = std::string(pixtest::kCli) + " ascii " + pixtest::Quote(src) + " ";
  ASSERT_EQ(pixtest::Run(cli + pixtest::Quote(s.path("default.txt"))).status, 0);
  ASSERT_EQ(pixtest::Run(cli + pixtest::Quote(s.path("ramp.txt")) + " --chars ' .:-=+*#%@'").status, 0);
  const Bytes text = pixtest::ReadFile(s.path("default.txt"));
  EXPECT_TRUE(text == pixtest::ReadFile(s.path("ramp.txt")));
  ASSERT_EQ(text.size(), 80u * 82u);  // 80 rows of 80 characters and "\r\n"
  std::map<char, int> used;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (i % 82 >= 80) continue;
    const char c = static_cast<char>(text[i]);
    EXPECT_NE(std::string(" .:-=+*#%@").find(c), std::string::npos) << int(c);
    ++used[c];
  }
  EXPECT_GE(used.size(), 8u);  // a picture, not a blank or a flat page
  EXPECT_EQ(pixtest::Run(cli + pixtest::Quote(s.path("none.txt")) + " --chars ''").status, 2);
  EXPECT_FALSE(fs::exists(s.path("none.txt")));
}

}  // namespace
