// DIV MAP pictures built here, plain and gzip-compressed, converted to PNG
// and read back with netpbm's pngtopnm (colour and alpha).
#include <zlib.h>

#include <string>
#include <vector>

#include "formats/formats.h"
#include "support.h"

namespace {

using pixtest::Bytes;

void Put16(Bytes& b, unsigned v) {
  b.push_back(static_cast<std::uint8_t>(v));
  b.push_back(static_cast<std::uint8_t>(v >> 8));
}

struct MapSpec {
  bool sixteen = false;
  unsigned width = 0, height = 0;
  std::string description;
  unsigned points = 0;
  unsigned frames = 0;  // 0: not animated
  Bytes palette;        // 768 bytes, 0-63
  Bytes pixels;         // as stored
};

Bytes BuildMap(const MapSpec& m) {
  const char* magic = m.sixteen ? "m16\x1A\x0D\x0A" : "map\x1A\x0D\x0A";
  Bytes b(magic, magic + 6);
  b.resize(8, 0);
  Put16(b, m.width);
  Put16(b, m.height);
  b.insert(b.end(), {1, 2, 3, 4});
  Bytes desc(32, 0);
  std::copy(m.description.begin(), m.description.end(), desc.begin());
  b.insert(b.end(), desc.begin(), desc.end());
  if (!m.sixteen) {
    b.insert(b.end(), m.palette.begin(), m.palette.end());
    b.resize(b.size() + 576, 0x3F);
  }
  Put16(b, m.points | (m.frames ? 0x1000 : 0));
  for (unsigned i = 0; i < m.points; ++i) Put16(b, i), Put16(b, 0xFFFF);
  if (m.frames) {
    Put16(b, m.frames);
    Put16(b, 3);
    Put16(b, 100);
    Put16(b, 0), Put16(b, 1), Put16(b, 0);
  }
  b.insert(b.end(), m.pixels.begin(), m.pixels.end());
  return b;
}

void WriteGzip(const std::string& path, const Bytes& data) {
  gzFile f = gzopen(path.c_str(), "wb9");
  ASSERT_NE(f, nullptr);
  gzwrite(f, data.data(), static_cast<unsigned>(data.size()));
  gzclose(f);
}

int Convert(const std::string& src, const std::string& dst) {
  pix::ConvertCall call;
  call.source = src.c_str();
  call.target = dst.c_str();
  testing::internal::CaptureStdout();
  int r = pix::DivMapToPng(call);
  testing::internal::GetCapturedStdout();
  return r;
}

pixtest::Pnm Decode(const std::string& png, bool alpha) {
  pixtest::Pnm pnm;
  auto r = pixtest::Run(std::string("pngtopnm ") + (alpha ? "-alpha " : "") + pixtest::Quote(png));
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(pixtest::ParsePnm(pixtest::ToBytes(r.out), pnm));
  return pnm;
}

MapSpec EightBit() {
  MapSpec m;
  m.width = 5, m.height = 3, m.description = "Hero", m.points = 2;
  for (int i = 0; i < 256; ++i) m.palette.insert(m.palette.end(), {static_cast<std::uint8_t>(i % 64), static_cast<std::uint8_t>((i * 7) % 64), static_cast<std::uint8_t>(63 - i % 64)});
  m.palette[3 * 9] = 63, m.palette[3 * 9 + 1] = 0, m.palette[3 * 9 + 2] = 32;
  for (int i = 0; i < 15; ++i) m.pixels.push_back(static_cast<std::uint8_t>(i * 17 % 256));
  m.pixels[0] = 9;
  return m;
}

TEST(DivMap, EightBitPalettesScaleByFour) {
  PIX_REQUIRE_TOOL("pngtopnm");
  pixtest::Scratch s;
  MapSpec m = EightBit();
  pixtest::WriteFile(s.path("a.map"), BuildMap(m));
  WriteGzip(s.path("z.map"), BuildMap(m));
  // Animated: only the first frame is written.
  MapSpec anim = m;
  anim.frames = 2;
  anim.pixels.resize(30, 0xEE);
  pixtest::WriteFile(s.path("n.map"), BuildMap(anim));

  for (const char* name : {"a", "z", "n"}) {
    SCOPED_TRACE(name);
    ASSERT_EQ(Convert(s.path(std::string(name) + ".map"), s.path(std::string(name) + ".png")), 1);
    pixtest::Pnm p = Decode(s.path(std::string(name) + ".png"), false);
    ASSERT_EQ(p.width, 5);
    ASSERT_EQ(p.height, 3);
    ASSERT_EQ(p.channels, 3);
    for (int i = 0; i < 15; ++i)
      for (int c = 0; c < 3; ++c) ASSERT_EQ(p.samples[3 * i + c], m.palette[3 * m.pixels[i] + c] * 4) << i;
    EXPECT_EQ(p.samples[0], 252);  // 63 becomes 252, not 255
    EXPECT_EQ(p.samples[2], 128);
  }
  EXPECT_EQ(pixtest::ReadFile(s.path("a.png")), pixtest::ReadFile(s.path("z.png")));

  // The summary line, without a line end.
  pix::ConvertCall call;
  std::string src = s.path("a.map"), dst = s.path("b.png");
  call.source = src.c_str();
  call.target = dst.c_str();
  testing::internal::CaptureStdout();
  pix::DivMapToPng(call);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), src + ": \"Hero\" 5x3 pixels (8 bits)");
}

TEST(DivMap, SixteenBitPixelsAndTheirAlpha) {
  PIX_REQUIRE_TOOL("pngtopnm");
  pixtest::Scratch s;
  MapSpec m;
  m.sixteen = true, m.width = 4, m.height = 2, m.frames = 2;
  // Rows are taken at a stride of width x frames: rows 0 and 1 come from the
  // first and third row-sized pieces of the data.
  const unsigned rows[2][4] = {{0xF800, 0x0000, 0xFFFF, 0x07E0}, {0x001F, 0x1234, 0x8410, 0x0001}};
  for (int piece = 0; piece < 4; ++piece)
    for (int x = 0; x < 4; ++x) Put16(m.pixels, piece % 2 ? 0x5555 : rows[piece / 2][x]);
  pixtest::WriteFile(s.path("c.map"), BuildMap(m));
  ASSERT_EQ(Convert(s.path("c.map"), s.path("c.png")), 1);
  pixtest::Pnm rgb = Decode(s.path("c.png"), false), alpha = Decode(s.path("c.png"), true);
  ASSERT_EQ(rgb.width, 4);
  ASSERT_EQ(rgb.height, 2);
  for (int i = 0; i < 8; ++i) {
    unsigned p = rows[i / 4][i % 4];
    SCOPED_TRACE(i);
    EXPECT_EQ(rgb.samples[3 * i], p ? (p >> 11) << 3 : 0);
    EXPECT_EQ(rgb.samples[3 * i + 1], p ? ((p >> 5) & 63) << 2 : 0);
    EXPECT_EQ(rgb.samples[3 * i + 2], p ? (p & 31) << 3 : 0);
    EXPECT_EQ(alpha.samples[i], p ? 255 : 0);
  }
  EXPECT_EQ((std::vector<int>{rgb.samples[6], rgb.samples[7], rgb.samples[8]}), (std::vector<int>{248, 252, 248}));
}

TEST(DivMap, BadSourcesAndOversizedPictures) {
  pixtest::Scratch s;
  MapSpec wide;
  wide.sixteen = true, wide.width = 8193, wide.height = 1;
  wide.pixels.assign(8193 * 2, 1);
  MapSpec truncated = EightBit();
  truncated.pixels.resize(14);
  Bytes foreign = BuildMap(EightBit());
  foreign[1] = 'x';
  struct Case {
    const char* label;
    Bytes file;
  };
  const Case cases[] = {
      {"wide", BuildMap(wide)},  // refused before the target is created
      {"truncated", BuildMap(truncated)},
      {"foreign", foreign},
      {"headerOnly", Bytes(20, 0)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    std::string src = s.path(std::string(c.label) + ".map"), dst = s.path(std::string(c.label) + ".png");
    pixtest::WriteFile(src, c.file);
    EXPECT_EQ(Convert(src, dst), 0);
    EXPECT_FALSE(std::filesystem::exists(dst));
  }
  EXPECT_EQ(Convert(s.path("absent.map"), s.path("x.png")), 0);
  pixtest::WriteFile(s.path("ok.map"), BuildMap(EightBit()));
  pix::ConvertCall call;
  std::string src = s.path("ok.map");
  call.source = src.c_str();
  EXPECT_EQ(pix::DivMapToPng(call), 0);  // no target
}

}  // namespace
