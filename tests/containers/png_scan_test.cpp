// PNG streams cut out of containers: exact bytes, accepted by pngcheck, the
// 128-byte block rules around "IEND", the numbering from 0, memory mode.
#include <zlib.h>

#include "containers_util.h"
#include "extract/extract.h"
#include "pixmisc.h"

namespace {

using ctest::Append;
using pixtest::Bytes;

// Adds a tEXt chunk before IEND so that the PNG's length is `mod` modulo 128.
Bytes PadPng(Bytes png, std::size_t mod) {
  const std::size_t iend = png.size() - 12;
  std::size_t d = (mod + 256 - (png.size() + 12) % 128) % 128;
  if (d < 2) d += 128;
  Bytes chunk;
  for (int s = 24; s >= 0; s -= 8) chunk.push_back(static_cast<std::uint8_t>(d >> s));
  Bytes body = pixtest::ToBytes("tEXtk");
  body.push_back(0);
  body.resize(4 + d, 'x');
  Append(chunk, body);
  const uLong crc = crc32(0, body.data(), static_cast<uInt>(body.size()));
  for (int s = 24; s >= 0; s -= 8) chunk.push_back(static_cast<std::uint8_t>(crc >> s));
  png.insert(png.begin() + static_cast<std::ptrdiff_t>(iend), chunk.begin(), chunk.end());
  EXPECT_EQ(png.size() % 128, mod);
  return png;
}

struct PngContainer {
  pixtest::Scratch s;
  std::vector<Bytes> pngs;
  std::string source;
};

// Filler, a "PNG" without its 0x89, the whole signature as a program holds
// it among its constants (no IHDR chunk after it), then the PNGs with filler
// between them.
void Build(PngContainer& c, const std::vector<std::size_t>& mods, const std::string& ext) {
  Bytes file = ctest::Filler(300, 1);
  Append(file, std::string("xxPNGxx"));
  Append(file, ctest::Filler(90, 2));
  Append(file, Bytes{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 0x0D, 'I', 'H', 'D', 'X'});
  Append(file, ctest::Filler(112, 3));  // 128 bytes in all: the streams keep their places in the blocks
  int seed = 10;
  for (std::size_t mod : mods) {
    c.pngs.push_back(PadPng(ctest::MakePicture(c.s, "PNG", 20, 20, seed++), mod));
    Append(file, c.pngs.back());
    Append(file, ctest::Filler(77 + seed, seed));
  }
  Append(file, ctest::Filler(400, 99));
  c.source = c.s.path("album" + ext);
  pixtest::WriteFile(c.source, file);
}

TEST(PngScan, CutsEveryStreamNumberedFromZeroAndPngcheckAcceptsThem) {
  PIX_REQUIRE_TOOL("pngcheck");
  PngContainer c;
  Build(c, {64, 8, 0}, ".pspd");
  ASSERT_EQ(ctest::CallFile(pix::PngScan, c.source, c.s.path("out/ignored.png")), 0);  // no such directory
  std::filesystem::create_directory(c.s.path("out"));
  EXPECT_EQ(ctest::CallFile(pix::PngScan, c.source, c.s.path("out/ignored.png")), 3);
  for (int i = 0; i < 3; ++i) {
    const std::string name = c.s.path("out/album_000" + std::to_string(i) + ".png");
    EXPECT_EQ(pixtest::ReadFile(name), c.pngs[static_cast<std::size_t>(i)]) << name;
    const auto r = pixtest::Run("pngcheck -q " + pixtest::Quote(name));
    EXPECT_EQ(r.status, 0) << r.out << r.err;
  }
}

TEST(PngScan, MemoryModeReturnsTheWantedStreamCountedFromOne) {
  PngContainer c;
  Build(c, {64, 100, 30}, ".ivp");
  for (int wanted = 1; wanted <= 3; ++wanted) {
    unsigned char* block = nullptr;
    const int n = seeMultiMISC(c.source.c_str(), wanted, &block);
    EXPECT_EQ(pixtest::TakeBlock(block, n), c.pngs[static_cast<std::size_t>(wanted - 1)]) << wanted;
  }
  int result = -1;
  EXPECT_TRUE(ctest::CallMemory(pix::PngScan, c.source, 4, &result).empty());
  EXPECT_EQ(result, 0);
}

// Where "IEND" falls in the stream's 128-byte copy blocks decides the cut.
TEST(PngScan, IendNearABlockEnd) {
  // IEND at block offset 123: q + 8 runs 3 bytes past the block into the
  // zeroed slack, so the file has the stream's length with its CRC tail zeroed;
  // the scan resumes after the real CRC and finds the next stream.
  {
    PngContainer c;
    Build(c, {3, 64}, ".ecc");
    EXPECT_EQ(ctest::CallFile(pix::PngScan, c.source, c.s.path("x.png")), 2);
    Bytes got = pixtest::ReadFile(c.s.path("album_0000.png"));
    Bytes want = c.pngs[0];
    std::fill(want.end() - 3, want.end(), 0);
    EXPECT_EQ(got, want);
    EXPECT_EQ(pixtest::ReadFile(c.s.path("album_0001.png")), c.pngs[1]);
  }
  // IEND split across two blocks is not seen: the stream runs on to the next
  // IEND, swallowing the second PNG.
  {
    PngContainer c;
    Build(c, {6}, ".ban");
    const Bytes first = c.pngs[0];
    // Append a second PNG at a distance that puts its IEND well inside a block.
    Bytes file = pixtest::ReadFile(c.source);
    const std::size_t start = 300 + 7 + 90 + 128;
    Bytes second = PadPng(ctest::MakePicture(c.s, "PNG", 12, 12, 50), 40);
    const std::size_t gap = (64 + 256 - (file.size() - start + second.size() - 8) % 128) % 128;
    Append(file, ctest::Filler(gap, 5));
    const std::size_t secondAt = file.size();
    Append(file, second);
    pixtest::WriteFile(c.source, file);
    EXPECT_EQ(ctest::CallFile(pix::PngScan, c.source, c.s.path("x.png")), 1);
    const Bytes got = pixtest::ReadFile(c.s.path("album_0000.png"));
    EXPECT_EQ(got, Bytes(file.begin() + static_cast<std::ptrdiff_t>(start), file.begin() + static_cast<std::ptrdiff_t>(secondAt + second.size())));
  }
}

TEST(PngScan, FileAndMemoryModesGiveTheSameBytes) {
  PngContainer c;
  Build(c, {64, 120}, ".tbs");
  EXPECT_EQ(ctest::CallFile(pix::PngScan, c.source, c.s.path("t.png")), 2);
  EXPECT_EQ(ctest::CallMemory(pix::PngScan, c.source, 2), pixtest::ReadFile(c.s.path("album_0001.png")));
}

TEST(PngScan, SspToJpgFallsBackToThePngScanner) {
  PngContainer c;
  Build(c, {64}, ".ssp");
  const std::string target = c.s.path("show.jpg");
  EXPECT_EQ(pixMISC(c.source.c_str(), target.c_str()), 1);
  EXPECT_EQ(pixtest::ReadFile(c.s.path("album_0000.png")), c.pngs[0]);
}

TEST(PngScan, NothingFoundOrUnreadable) {
  pixtest::Scratch s;
  const std::string src = s.path("plain.pmd");
  Bytes file = ctest::Filler(1000, 3);
  Append(file, std::string("PNG"));  // no 0x89 before it
  Append(file, ctest::Filler(500, 4));
  Append(file, Bytes{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A});  // a signature held as a constant
  Append(file, ctest::Filler(500, 5));
  pixtest::WriteFile(src, file);
  EXPECT_EQ(ctest::CallFile(pix::PngScan, src, s.path("o.png")), 0);
  EXPECT_EQ(ctest::CallFile(pix::PngScan, s.path("missing.pmd"), s.path("o.png")), 0);
  EXPECT_EQ(s.files(), std::vector<std::string>{"plain.pmd"});
}

}  // namespace
