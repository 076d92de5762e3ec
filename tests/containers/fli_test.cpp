// FLI/FLC frames: an FLC built here with a 256-entry palette, a byte run, a
// word delta, a 6-bit palette, a line delta and a skipped black chunk; every
// frame's pixels are known.
#include <array>

#include "containers_util.h"
#include "pixmisc.h"

namespace {

using ctest::Append;
using ctest::PutLe;
using pixtest::Bytes;

constexpr int kW = 8, kH = 4;

Bytes Chunk(int type, const Bytes& data) {
  Bytes c;
  PutLe(c, static_cast<std::uint32_t>(6 + data.size()), 4);
  PutLe(c, static_cast<std::uint32_t>(type), 2);
  Append(c, data);
  return c;
}

Bytes Frame(const std::vector<Bytes>& chunks, std::uint16_t magic = 0xF1FA) {
  Bytes body;
  for (const Bytes& c : chunks) Append(body, c);
  Bytes f;
  PutLe(f, static_cast<std::uint32_t>(16 + body.size()), 4);
  PutLe(f, magic, 2);
  PutLe(f, static_cast<std::uint32_t>(chunks.size()), 2);
  f.resize(16, 0);
  Append(f, body);
  return f;
}

std::array<std::uint8_t, 3> BaseColour(int i) {
  return {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(255 - i), static_cast<std::uint8_t>((i * 3) & 255)};
}

std::vector<Bytes> Frames() {
  // Frame 1: 8-bit palette, one packet of count 0 = all 256 entries; byte run.
  Bytes pal{1, 0, 0, 0};
  for (int i = 0; i < 256; ++i) {
    const auto c = BaseColour(i);
    pal.insert(pal.end(), c.begin(), c.end());
  }
  Bytes run;
  for (int y = 0; y < kH; ++y) Append(run, Bytes{2, 3, 1, 0xFB, 2, 3, 200, 2, 255});
  // Frame 2: word delta, a line-skip word then packets on lines 1 and 2.
  const Bytes delta{2, 0, 0xFF, 0xFF, 1, 0, 2, 0xFE, 3, 0, 2, 0, 0, 1, 9, 9, 4, 1, 7, 8};
  // Frame 3: 6-bit palette entry 4; line delta on line 3.
  const Bytes pal6{1, 0, 4, 1, 63, 32, 1};
  const Bytes lines{3, 0, 1, 0, 2, 1, 0xFD, 4, 2, 2, 0, 4};
  return {Frame({Chunk(4, pal), Chunk(15, run)}), Frame({Chunk(7, delta)}), Frame({Chunk(11, pal6), Chunk(12, lines)}),
          Frame({Chunk(13, {})})};
}

Bytes Header(std::uint16_t magic, std::uint16_t frames) {
  Bytes h;
  PutLe(h, 0, 4);
  PutLe(h, magic, 2);
  PutLe(h, frames, 2);
  PutLe(h, kW, 2);
  PutLe(h, kH, 2);
  h.resize(128, 0);
  return h;
}

Bytes Flc(const std::vector<Bytes>& frames, std::uint16_t magic = 0xAF12) {
  Bytes f = Header(magic, 3);
  for (const Bytes& fr : frames) Append(f, fr);
  return f;
}

using Indices = std::array<std::array<std::uint8_t, kW>, kH>;

std::vector<Indices> ExpectedIndices() {
  Indices f1;
  for (auto& row : f1) row = {1, 1, 1, 2, 3, 200, 2, 255};
  Indices f2 = f1;
  f2[1] = {1, 1, 3, 0, 3, 0, 2, 255};
  f2[2] = {9, 9, 1, 2, 3, 200, 7, 8};
  Indices f3 = f2;
  f3[3] = {1, 4, 4, 4, 3, 200, 0, 4};
  return {f1, f2, f3, f3};
}

Bytes ExpectedPpm(int frame) {
  const Indices idx = ExpectedIndices()[static_cast<std::size_t>(frame - 1)];
  Bytes p = pixtest::ToBytes("P6\n8 4 255\n");
  for (const auto& row : idx)
    for (std::uint8_t i : row) {
      std::array<std::uint8_t, 3> c = BaseColour(i);
      if (i == 4 && frame >= 3) c = {252, 128, 4};
      p.insert(p.end(), c.begin(), c.end());
    }
  return p;
}

TEST(Fli, FileModeWritesEveryFrameAndTheClosingOne) {
  PIX_REQUIRE_TOOL("ppmtoppm");
  pixtest::Scratch s;
  pixtest::WriteFile(s.path("anim.flc"), Flc(Frames()));
  EXPECT_EQ(FLItoPPM(s.path("anim.flc").c_str(), s.path("shots.ppm").c_str(), -1, nullptr), 4);
  for (int f = 1; f <= 4; ++f) {
    const std::string name = s.path("shots_00" + std::to_string(f) + ".ppm");
    EXPECT_EQ(pixtest::ReadFile(name), ExpectedPpm(f)) << name;
    const pixtest::Pnm pnm = pixtest::DecodeWith("ppmtoppm <", name);
    EXPECT_EQ(pnm.width, kW);
    EXPECT_EQ(pnm.height, kH);
  }
  EXPECT_FALSE(std::filesystem::exists(s.path("shots_005.ppm")));
  EXPECT_EQ(get_nb_frames_from_flc(s.path("anim.flc").c_str()), 3);
}

TEST(Fli, MemoryModeReturnsOneFrame) {
  pixtest::Scratch s;
  pixtest::WriteFile(s.path("anim.fli"), Flc(Frames(), 0xAF11));
  for (int f = 1; f <= 4; ++f) {
    unsigned char* block = nullptr;
    const int n = FLItoPPM(s.path("anim.fli").c_str(), nullptr, f, &block);
    EXPECT_EQ(pixtest::TakeBlock(block, n), ExpectedPpm(f)) << f;
  }
  for (int f : {0, 5, -2}) {
    unsigned char* block = nullptr;
    EXPECT_EQ(FLItoPPM(s.path("anim.fli").c_str(), nullptr, f, &block), 0) << f;
    EXPECT_EQ(block, nullptr);
  }
}

TEST(Fli, FailureCodes) {
  pixtest::Scratch s;
  std::vector<Bytes> badFrame = Frames();
  badFrame[1] = Frame({Chunk(7, {})}, 0xF1FB);
  const Bytes good = Flc(Frames());
  struct Case {
    const char* what;
    Bytes file;
    int fileMode, count;
  };
  const Case cases[] = {
      {"bad magic", Flc(Frames(), 0x1234), 0, 0},
      {"bad frame magic", Flc(badFrame), 0, 3},
      {"cut inside frame 3", Bytes(good.begin(), good.end() - 20), -1, 3},
      {"short header", Bytes(good.begin(), good.begin() + 100), -1, -1},
  };
  for (const Case& c : cases) {
    pixtest::WriteFile(s.path("c.flc"), c.file);
    EXPECT_EQ(FLItoPPM(s.path("c.flc").c_str(), s.path("o.ppm").c_str(), -1, nullptr), c.fileMode) << c.what;
    EXPECT_EQ(get_nb_frames_from_flc(s.path("c.flc").c_str()), c.count) << c.what;
    unsigned char* block = nullptr;
    EXPECT_EQ(FLItoPPM(s.path("c.flc").c_str(), nullptr, 4, &block), 0) << c.what;
  }
  EXPECT_EQ(get_nb_frames_from_flc(s.path("missing.flc").c_str()), -1);
}

// Damaged animations decode to something without reading or writing out of
// bounds (the sanitizer build checks) and without hanging.
TEST(Fli, DamagedDataStaysInsideTheFrame) {
  pixtest::Scratch s;
  const Bytes good = Flc(Frames());
  std::uint32_t x = 99;
  for (int round = 0; round < 300; ++round) {
    Bytes bad = good;
    for (int k = 0; k < 4; ++k) {
      x = x * 1664525u + 1013904223u;
      const std::size_t at = 128 + (x >> 8) % (bad.size() - 128);
      bad[at] = static_cast<std::uint8_t>(x >> 24);
    }
    pixtest::WriteFile(s.path("d.flc"), bad);
    unsigned char* block = nullptr;
    const int n = FLItoPPM(s.path("d.flc").c_str(), nullptr, 4, &block);
    if (n > 0) {
      EXPECT_EQ(pixtest::TakeBlock(block, n).size(), ExpectedPpm(4).size());
    }
  }
}

}  // namespace
