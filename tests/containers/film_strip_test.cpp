// Film strips rebuilt into one tall PCX: pcxtoppm reads the pixels back, odd
// widths keep unpadded plane lines, memory mode equals file mode.
#include "containers_util.h"
#include "extract/extract.h"
#include "pixmisc.h"

namespace {

using ctest::Append;
using pixtest::Bytes;

struct Strip {
  int w, h, e, frames;
  Bytes pixels;  // RGBX, (h + e) * frames rows
  Bytes file;
};

void PutBe(Bytes& to, std::uint32_t v, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) to.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

// Pixels with long runs (over 63), lone values of 192 and more, and noise.
Strip MakeStrip(int w, int h, int e, int frames) {
  Strip s{w, h, e, frames, {}, {}};
  const int rows = (h + e) * frames;
  std::uint32_t x = 12345;
  for (int y = 0; y < rows; ++y)
    for (int i = 0; i < w; ++i) {
      x = x * 1103515245u + 12345u;
      const std::uint8_t noise = static_cast<std::uint8_t>(x >> 16);
      s.pixels.push_back(i < 70 ? 200 : noise);                          // a run of 70 equal bytes
      s.pixels.push_back(static_cast<std::uint8_t>(i % 3 == 0 ? 255 : i));  // lone bytes of 192 and more
      s.pixels.push_back(static_cast<std::uint8_t>(y * 7));
      s.pixels.push_back(0xEE);  // dropped
    }
  s.file = s.pixels;
  Append(s.file, std::string("Rand"));
  PutBe(s.file, static_cast<std::uint32_t>(frames), 4);
  PutBe(s.file, 0x01020304, 4);
  PutBe(s.file, static_cast<std::uint32_t>(w), 2);
  PutBe(s.file, static_cast<std::uint32_t>(h), 2);
  PutBe(s.file, static_cast<std::uint32_t>(e), 2);
  PutBe(s.file, 0xABCD, 2);
  Append(s.file, Bytes(16, 0x55));
  return s;
}

std::uint16_t Le16(const Bytes& b, std::size_t at) { return static_cast<std::uint16_t>(b[at] | b[at + 1] << 8); }

TEST(FilmStrip, PcxtoppmReadsTheFrames) {
  PIX_REQUIRE_TOOL("pcxtoppm");
  pixtest::Scratch d;
  const Strip s = MakeStrip(100, 3, 1, 2);
  pixtest::WriteFile(d.path("clip.flm"), s.file);
  EXPECT_EQ(ctest::CallFile(pix::FilmStripToPcx, d.path("clip.flm"), d.path("film.pcx")), 1);
  const std::string out = d.path("film_0000.pcx");  // the target's own name
  const Bytes pcx = pixtest::ReadFile(out);
  ASSERT_GT(pcx.size(), 128u + 36u);
  EXPECT_EQ(Le16(pcx, 66), 100);
  EXPECT_EQ(Le16(pcx, 10), 7);
  const pixtest::Pnm pnm = pixtest::DecodeWith("pcxtoppm", out);
  ASSERT_EQ(pnm.width, 100);
  ASSERT_EQ(pnm.height, 8);
  for (std::size_t p = 0; p < 800; ++p)
    for (std::size_t c = 0; c < 3; ++c) ASSERT_EQ(pnm.samples[3 * p + c], s.pixels[4 * p + c]) << p << " " << c;
  // The trailer follows, its numbers now little-endian.
  const Bytes tail(pcx.end() - 36, pcx.end());
  EXPECT_EQ(Bytes(tail.begin(), tail.begin() + 4), pixtest::ToBytes("Rand"));
  EXPECT_EQ(Le16(tail, 4), 2);
  EXPECT_EQ(Le16(tail, 12), 100);
  EXPECT_EQ(Le16(tail, 14), 3);
  EXPECT_EQ(Le16(tail, 16), 1);
  EXPECT_EQ(Le16(tail, 18), 0xABCD);
  EXPECT_EQ(Bytes(tail.begin() + 8, tail.begin() + 12), (Bytes{1, 2, 3, 4}));

  int result = 0;
  EXPECT_EQ(ctest::CallMemory(pix::FilmStripToPcx, d.path("clip.flm"), 0, &result), pcx);
  unsigned char* block = nullptr;
  const int n = seeMultiMISC(d.path("clip.flm").c_str(), 1, &block);
  EXPECT_EQ(pixtest::TakeBlock(block, n), pcx);
  EXPECT_EQ(get_nb_frames_from_flm(d.path("clip.flm").c_str()), 2);
}

// An odd width: the header says W + 1 bytes per line, each plane line holds W.
TEST(FilmStrip, OddWidthPlaneLinesAreNotPadded) {
  pixtest::Scratch d;
  const Strip s = MakeStrip(5, 2, 0, 1);
  pixtest::WriteFile(d.path("odd.flm"), s.file);
  const Bytes pcx = ctest::CallMemory(pix::FilmStripToPcx, d.path("odd.flm"), 0);
  ASSERT_GT(pcx.size(), 128u);
  EXPECT_EQ(Le16(pcx, 66), 6);
  EXPECT_EQ(Le16(pcx, 8), 4);
  std::size_t at = 128;
  for (int y = 0; y < 2; ++y)
    for (int c = 0; c < 3; ++c) {
      Bytes line;
      while (line.size() < 5) {
        ASSERT_LT(at, pcx.size());
        const std::uint8_t b = pcx[at++];
        if (b >= 192) {
          line.insert(line.end(), b - 192u, pcx[at++]);
        } else {
          line.push_back(b);
        }
      }
      ASSERT_EQ(line.size(), 5u);
      for (int x = 0; x < 5; ++x) EXPECT_EQ(line[static_cast<std::size_t>(x)], s.pixels[static_cast<std::size_t>(4 * (5 * y + x) + c)]);
    }
  EXPECT_EQ(pcx.size() - at, 36u);  // nothing but the trailer after the last line
}

TEST(FilmStrip, NotAFilmStrip) {
  pixtest::Scratch d;
  Strip s = MakeStrip(4, 2, 0, 1);
  s.file[s.file.size() - 36] = 'r';
  pixtest::WriteFile(d.path("bad.flm"), s.file);
  pixtest::WriteFile(d.path("tiny.flm"), pixtest::ToBytes("Rand"));
  for (const char* name : {"bad.flm", "tiny.flm", "missing.flm"}) {
    EXPECT_EQ(get_nb_frames_from_flm(d.path(name).c_str()), 0) << name;
    EXPECT_EQ(ctest::CallFile(pix::FilmStripToPcx, d.path(name), d.path("o.pcx")), 0) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(d.path("o_0000.pcx")));

  // A strip whose pixel data is shorter than its trailer says stops where the data ends.
  Strip cut = MakeStrip(8, 4, 0, 1);
  cut.file[cut.file.size() - 30] = 0x10;  // 4097 frames declared, one stored
  pixtest::WriteFile(d.path("cut.flm"), cut.file);
  EXPECT_EQ(get_nb_frames_from_flm(d.path("cut.flm").c_str()), 4097);
  EXPECT_EQ(ctest::CallFile(pix::FilmStripToPcx, d.path("cut.flm"), d.path("o.pcx")), 1);
  // Four rows of data, a fifth made of the trailer and zeros, then the trailer.
  EXPECT_LT(pixtest::ReadFile(d.path("o_0000.pcx")).size(), 128u + 5 * 3 * 16 + 36);
}

TEST(FilmStrip, RouteWritesBesideTheTarget) {
  pixtest::Scratch d;
  pixtest::WriteFile(d.path("clip.flm"), MakeStrip(6, 2, 1, 3).file);
  EXPECT_EQ(pixMISC(d.path("clip.flm").c_str(), d.path("shot.pcx").c_str()), 1);
  EXPECT_TRUE(std::filesystem::exists(d.path("shot_0000.pcx")));
}

}  // namespace
