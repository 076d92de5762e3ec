// Shape archives built here (plain and QFS-compressed), converted, and every
// BMP read back with netpbm's bmptopnm and compared with the source pixels.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "games/games.h"
#include "support.h"

namespace {

using pixtest::Bytes;
namespace fs = std::filesystem;

// The tests' own RefPack compressor: greedy longest match, every command form.
Bytes Compress(const Bytes& in, bool withExtraField = false) {
  Bytes out{static_cast<std::uint8_t>(withExtraField ? 0x11 : 0x10), 0xFB, static_cast<std::uint8_t>(in.size() >> 16),
            static_cast<std::uint8_t>(in.size() >> 8), static_cast<std::uint8_t>(in.size())};
  if (withExtraField) out.insert(out.end(), {0, 0, 0});
  std::size_t lit = 0;  // start of pending literals
  auto flush = [&](std::size_t upto, bool keepFew) {
    while (upto - lit >= 4 && (!keepFew || upto - lit > 3)) {
      std::size_t n = std::min<std::size_t>((upto - lit) & ~std::size_t(3), 112);
      out.push_back(static_cast<std::uint8_t>(0xE0 | ((n - 4) / 4)));
      out.insert(out.end(), in.begin() + lit, in.begin() + lit + n);
      lit += n;
    }
  };
  std::size_t i = 0;
  while (i < in.size()) {
    std::size_t bestLen = 0, bestDist = 0;
    for (std::size_t d = 1; d <= std::min<std::size_t>(i, 131072); ++d) {
      std::size_t l = 0;
      while (i + l < in.size() && l < 1028 && in[i + l] == in[i + l - d]) ++l;
      if (l > bestLen) bestLen = l, bestDist = d;
    }
    bool fits2 = bestLen >= 3 && bestDist <= 1024, fits3 = bestLen >= 4 && bestDist <= 16384, fits4 = bestLen >= 5;
    if (!fits2 && !fits3 && !fits4) {
      ++i;
      continue;
    }
    flush(i, true);
    std::size_t k = i - lit, dist = bestDist - 1;
    if (fits2 && (bestLen <= 10 || (!fits3 && !fits4))) {
      std::size_t len = std::min<std::size_t>(bestLen, 10);
      out.push_back(static_cast<std::uint8_t>(((dist >> 3) & 0x60) | ((len - 3) << 2) | k));
      out.push_back(static_cast<std::uint8_t>(dist));
      bestLen = len;
    } else if (fits3 && (bestLen <= 67 || !fits4)) {
      std::size_t len = std::min<std::size_t>(bestLen, 67);
      out.insert(out.end(), {static_cast<std::uint8_t>(0x80 | (len - 4)), static_cast<std::uint8_t>((k << 6) | (dist >> 8)),
                             static_cast<std::uint8_t>(dist)});
      bestLen = len;
    } else {
      std::size_t len = bestLen - 5;
      out.insert(out.end(), {static_cast<std::uint8_t>(0xC0 | ((dist >> 16) & 1) << 4 | (len >> 8) << 2 | k),
                             static_cast<std::uint8_t>(dist >> 8), static_cast<std::uint8_t>(dist),
                             static_cast<std::uint8_t>(len)});
    }
    out.insert(out.end(), in.begin() + lit, in.begin() + i);
    i += bestLen;
    lit = i;
  }
  flush(in.size(), false);
  out.push_back(static_cast<std::uint8_t>(0xFC | (in.size() - lit)));
  out.insert(out.end(), in.begin() + lit, in.end());
  return out;
}

void Put16(Bytes& b, int v) {
  b.push_back(static_cast<std::uint8_t>(v));
  b.push_back(static_cast<std::uint8_t>(v >> 8));
}

// A 16-byte block header.
Bytes Header(int code, std::size_t next, int w, int h, int p4 = 0) {
  Bytes b{static_cast<std::uint8_t>(code), static_cast<std::uint8_t>(next), static_cast<std::uint8_t>(next >> 8),
          static_cast<std::uint8_t>(next >> 16)};
  Put16(b, w);
  Put16(b, h);
  Put16(b, 1);
  Put16(b, -2);
  Put16(b, 3);
  Put16(b, p4);
  return b;
}

std::uint8_t Sample(int obj, int x, int y, int k) { return static_cast<std::uint8_t>(obj * 37 + x * 11 + y * 53 + k * 101); }

Bytes Pixels(int obj, int w, int h, int bpp) {
  Bytes b;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int k = 0; k < bpp; ++k) b.push_back(Sample(obj, x, y, k));
  return b;
}

struct Entry {
  std::string name;
  Bytes body;
};

Bytes Archive(const std::vector<Entry>& objects, std::size_t gapAfterDirectory) {
  Bytes a{'S', 'H', 'P', 'I', 0, 0, 0, 0, static_cast<std::uint8_t>(objects.size()), 0, 0, 0, 'G', '2', '6', '4'};
  std::size_t at = 16 + 8 * objects.size() + gapAfterDirectory;
  for (const Entry& e : objects) {
    a.insert(a.end(), e.name.begin(), e.name.end());
    for (int s = 0; s < 32; s += 8) a.push_back(static_cast<std::uint8_t>(at >> s));
    at += e.body.size();
  }
  for (std::size_t i = 0; i < gapAfterDirectory; ++i) a.push_back(static_cast<std::uint8_t>(0xA0 + i));
  for (const Entry& e : objects) a.insert(a.end(), e.body.begin(), e.body.end());
  for (int s = 0; s < 32; s += 8) a[4 + s / 8] = static_cast<std::uint8_t>(a.size() >> s);
  return a;
}

// 16-bit channels widen by bit replication.
std::uint8_t W5(unsigned v) { return static_cast<std::uint8_t>((v << 3) | (v >> 2)); }
std::uint8_t W6(unsigned v) { return static_cast<std::uint8_t>((v << 2) | (v >> 4)); }

struct Rgba {
  std::uint8_t r, g, b, a;
};
using Palette = std::vector<Rgba>;

// The archive of the tests and, per BMP name, the pixels each must show.
struct Fixture {
  Bytes archive;
  std::map<std::string, std::vector<Rgba>> expect;  // name -> w*h pixels; alpha BMPs in .r
  std::map<std::string, std::pair<int, int>> sizes;
};

void Expect(Fixture& f, const std::string& name, int w, int h, const std::vector<Rgba>& px) {
  f.expect[name] = px;
  f.sizes[name] = {w, h};
}

Fixture Build() {
  Fixture f;
  std::vector<Entry> objs;
  // 0: 8-bit 4x3 with an attached 32-bit palette (alpha in its top bytes), a
  // gap, an attached text and data block.
  Palette local(256);
  {
    Bytes b = Header(0x7B, 16 + 12, 4, 3);
    Bytes px = Pixels(0, 4, 3, 1);
    b.insert(b.end(), px.begin(), px.end());
    Bytes pal = Header(0x2A, 16 + 4 * 256 + 4, 256, 1);
    for (int i = 0; i < 256; ++i) {
      local[i] = {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(255 - i), static_cast<std::uint8_t>(i * 3),
                  static_cast<std::uint8_t>(i / 2)};
      pal.insert(pal.end(), {local[i].b, local[i].g, local[i].r, local[i].a});
    }
    pal.insert(pal.end(), {0xEE, 0xEE, 0xEE, 0xEE});  // gap before the text
    b.insert(b.end(), pal.begin(), pal.end());
    Bytes text{0x6F, 16, 0, 0};
    Put16(text, 5);
    Put16(text, 0);
    text.insert(text.end(), {'h', 'i', ' ', '%', '!', 0, 0, 0});
    b.insert(b.end(), text.begin(), text.end());
    Bytes data{0x7C, 0, 0, 0, 1, 2, 3, 4, 5, 6};
    b.insert(b.end(), data.begin(), data.end());
    objs.push_back({"loc8", b});
    std::vector<Rgba> e;
    for (std::uint8_t v : px) e.push_back(local[v]);
    Expect(f, "0000.BMP", 4, 3, e);
  }
  // 1: the global palette, 16-bit 1:5:5:5 (shifted by 3, not replicated).
  Palette global(256, Rgba{0, 0, 0, 0});
  {
    Bytes b = Header(0x2D, 0, 256, 1);
    for (int i = 0; i < 256; ++i) {
      unsigned e = static_cast<unsigned>((i * 131) & 0xFFFF) | (i % 2 ? 0x8000u : 0u);
      Put16(b, static_cast<int>(e));
      global[i] = {static_cast<std::uint8_t>(((e >> 10) & 31) << 3), static_cast<std::uint8_t>(((e >> 5) & 31) << 3),
                   static_cast<std::uint8_t>((e & 31) << 3), 0};
    }
    objs.push_back({"!pal", b});
  }
  // 2: 8-bit 5x2 without its own palette.
  {
    Bytes b = Header(0x7B, 0, 5, 2);
    Bytes px = Pixels(2, 5, 2, 1);
    b.insert(b.end(), px.begin(), px.end());
    objs.push_back({"glob", b});
    std::vector<Rgba> e;
    for (std::uint8_t v : px) e.push_back(global[v]);
    Expect(f, "0002.BMP", 5, 2, e);
  }
  // 3..7: the true-colour codes; 4 and 5 share a name.
  struct TrueColour {
    int code, bpp;
    const char* name;
  };
  const TrueColour kinds[] = {{0x7D, 4, "rgba"}, {0x7F, 3, "dup "}, {0x7E, 2, "dup "}, {0x78, 2, "0565"}, {0x6D, 2, "4444"}};
  for (int k = 0; k < 5; ++k) {
    const int obj = 3 + k, w = 3, h = 2;
    Bytes b = Header(kinds[k].code, 0, w, h);
    Bytes px = Pixels(obj, w, h, kinds[k].bpp);
    b.insert(b.end(), px.begin(), px.end());
    objs.push_back({kinds[k].name, b});
    std::vector<Rgba> e;
    for (int i = 0; i < w * h; ++i) {
      const std::uint8_t* p = px.data() + i * kinds[k].bpp;
      unsigned v = p[0] | (kinds[k].bpp > 1 ? p[1] << 8 : 0);
      switch (kinds[k].code) {
        case 0x7D: e.push_back({p[2], p[1], p[0], p[3]}); break;
        case 0x7F: e.push_back({p[2], p[1], p[0], 255}); break;
        case 0x7E: e.push_back({W5((v >> 10) & 31), W5((v >> 5) & 31), W5(v & 31), static_cast<std::uint8_t>(v & 0x8000 ? 255 : 0)}); break;
        case 0x78: e.push_back({W5(v >> 11), W6((v >> 5) & 63), W5(v & 31), 255}); break;
        default: e.push_back({static_cast<std::uint8_t>(((v >> 8) & 15) * 17), static_cast<std::uint8_t>(((v >> 4) & 15) * 17),
                              static_cast<std::uint8_t>((v & 15) * 17), static_cast<std::uint8_t>((v >> 12) * 17)});
      }
    }
    char name[16];
    std::snprintf(name, sizeof name, "%04d.BMP", obj);
    Expect(f, name, w, h, e);
    if (kinds[k].code == 0x7D || kinds[k].code == 0x7E || kinds[k].code == 0x6D) {
      std::vector<Rgba> a;
      for (const Rgba& c : e) a.push_back({c.a, c.a, c.a, 255});
      std::snprintf(name, sizeof name, "%04d-a.BMP", obj);
      Expect(f, name, w, h, a);
    }
  }
  // 8: 8-bit 4x4 with two extra mipmap levels (4, 2, 1), levels on 16-byte boundaries.
  {
    Bytes b = Header(0x7B, 0, 4, 4, 0x2000);
    const int sides[] = {4, 2, 1};
    for (int l = 0; l < 3; ++l) {
      while ((b.size() - 16) % 16) b.push_back(0);
      Bytes px = Pixels(80 + l, sides[l], sides[l], 1);
      b.insert(b.end(), px.begin(), px.end());
      std::vector<Rgba> e;
      for (std::uint8_t v : px) e.push_back(global[v]);
      char name[16];
      std::snprintf(name, sizeof name, "0008-%d.BMP", l);
      Expect(f, name, sides[l], sides[l], e);
    }
    while ((b.size() - 16) % 16) b.push_back(0);
    objs.push_back({"mip8", b});
  }
  // 9: a text object, written as it is.
  {
    Bytes b{0x6F, 0, 0, 0};
    Put16(b, 4);
    Put16(b, 0);
    b.insert(b.end(), {'A', 'B', 'C', 'D'});
    objs.push_back({"TXT ", b});
  }
  // 10: a QFS-compressed 8-bit bitmap (uses the global palette).
  {
    Bytes px = Pixels(10, 6, 4, 1);
    std::fill(px.begin() + 6, px.begin() + 18, 7);  // something to repeat
    Bytes b = Header(0x80 | 0x7B, 0, 6, 4);
    Bytes packed = Compress(px);
    b.insert(b.end(), packed.begin(), packed.end());
    objs.push_back({"cmp8", b});
    std::vector<Rgba> e;
    for (std::uint8_t v : px) e.push_back(global[v]);
    Expect(f, "0010.BMP", 6, 4, e);
  }
  f.archive = Archive(objs, 6);
  return f;
}

// Runs the converter inside the scratch folder, where its working-directory files go.
int ConvertIn(const pixtest::Scratch& s, const std::string& source, const std::string& target) {
  fs::path before = fs::current_path();
  fs::current_path(s.dir());
  pix::ConvertCall call;
  call.source = source.c_str();
  call.target = target.c_str();
  int r = pix::FshToBmp(call);
  fs::current_path(before);
  return r;
}

// Reads our BMP with bmptopnm and checks every pixel.
void CheckBmp(const std::string& path, int w, int h, const std::vector<Rgba>& px, bool alpha) {
  SCOPED_TRACE(path);
  auto r = pixtest::Run("bmptopnm " + pixtest::Quote(path) + " 2>/dev/null");
  ASSERT_EQ(r.status, 0);
  pixtest::Pnm pnm;
  ASSERT_TRUE(pixtest::ParsePnm(pixtest::ToBytes(r.out), pnm));
  ASSERT_EQ(pnm.width, w);
  ASSERT_EQ(pnm.height, h);
  for (int i = 0; i < w * h; ++i) {
    const std::uint8_t* s = pnm.samples.data() + i * pnm.channels;
    Rgba got = pnm.channels == 1 ? Rgba{s[0], s[0], s[0], 0} : Rgba{s[0], s[1], s[2], 0};
    if (alpha) {
      ASSERT_EQ(got.r, px[i].r) << "pixel " << i;
    } else {
      ASSERT_EQ(got.r, px[i].r) << "pixel " << i;
      ASSERT_EQ(got.g, px[i].g) << "pixel " << i;
      ASSERT_EQ(got.b, px[i].b) << "pixel " << i;
    }
  }
}

std::string Text(const std::string& path) {
  Bytes b = pixtest::ReadFile(path);
  return std::string(b.begin(), b.end());
}

struct Variant {
  const char* label;
  const char* source;
  bool compress;
  const char* firstLine;
};

class ShapeArchiveVariants : public testing::TestWithParam<Variant> {};

TEST_P(ShapeArchiveVariants, EveryBmpDecodesToTheSourcePixels) {
  PIX_REQUIRE_TOOL("bmptopnm");
  const Variant& v = GetParam();
  pixtest::Scratch s;
  Fixture f = Build();
  Bytes file = v.compress ? Compress(f.archive, true) : f.archive;
  pixtest::WriteFile(s.path(v.source), file);
  fs::create_directory(s.dir() / "out");

  testing::internal::CaptureStdout();
  int result = ConvertIn(s, s.path(v.source), s.path("out/shapes.bmp"));
  std::string console = testing::internal::GetCapturedStdout();
  EXPECT_EQ(result, 14);

  std::vector<std::string> written;
  for (auto& e : fs::directory_iterator(s.dir() / "out")) written.push_back(e.path().filename().string());
  EXPECT_EQ(written.size(), f.expect.size());
  for (auto& [name, px] : f.expect) {
    auto [w, h] = f.sizes[name];
    CheckBmp(s.path("out/shapes_" + name), w, h, px, name.find("-a.") != std::string::npos);
  }

  // Working-directory files: the index, the non-bitmap objects, the alpha bytes.
  std::string index = Text(s.path("index.fsh"));
  EXPECT_EQ(index.rfind(v.firstLine, 0), 0u) << index;
  EXPECT_NE(index.find("SHPI 11 objects, tagG264\n"), std::string::npos);
  EXPECT_NE(index.find("BUFSZ " + std::to_string(2 * file.size()) + "\n"), std::string::npos);
  EXPECT_NE(index.find("\n!PAD 6A0A1A2A3A4A5\n"), std::string::npos);
  EXPECT_NE(index.find("loc8 0000.BMP\nBMP 7B +3 4 3 {1 -2 3 0}\nPAL 2A 256 1 {1 -2 3 0}\n!PAD 4EEEEEEEE\n"
                       "TXT 6F 5 0\nhi%20%25!\n!PAD 3000000\nBIN 7C 10\n7C000000010203040506\n"),
            std::string::npos)
      << index;
  EXPECT_NE(index.find("!pal 0001.BIN\nBIN\n"), std::string::npos);
  EXPECT_NE(index.find("rgba 0003.BMP\nBMP 7D +0 3 2 {1 -2 3 0}\nalpha 0003-a.BMP\n"), std::string::npos);
  EXPECT_NE(index.find("mip8 0008-%d.BMP\nMBP 7B x3 4 4 {1 -2 3}\n"), std::string::npos);
  EXPECT_NE(index.find("cmp8 0010.BMP\nBMP FB +0 6 4 {1 -2 3 0}\n"), std::string::npos);
  EXPECT_EQ(index.substr(index.size() - 5), "#END\n");
  EXPECT_EQ(pixtest::ReadFile(s.path("0009.BIN")), (Bytes{0x6F, 0, 0, 0, 4, 0, 0, 0, 'A', 'B', 'C', 'D'}));
  EXPECT_EQ(pixtest::ReadFile(s.path("0001.BIN")).size(), 16u + 512u);

  std::string alpha = Text(s.path("alpha8.dat"));
  std::string top;
  for (int i = 0; i < 256; ++i) {
    char hex[3];
    std::snprintf(hex, sizeof hex, "%02X", i / 2);
    top += hex;
  }
  EXPECT_EQ(alpha, "0000.BMP\n" + top + "\n");

  EXPECT_NE(console.find("'loc8' [7B] -> '0000.BMP' (4x3) 8 bit (local palette)\n  (attached: palette text data)\n"),
            std::string::npos)
      << console;
  EXPECT_NE(console.find("'glob' [7B] -> '0002.BMP' (5x2) 8 bit (global palette)\n"), std::string::npos) << console;
  EXPECT_NE(console.find("'!pal' [2D] -> '0001.BIN' (16-bit palette)\n"), std::string::npos);
  EXPECT_NE(console.find("multiscale '0008-[0 to 2].BMP' (up to 4x4)"), std::string::npos);
  EXPECT_NE(console.find("'0010.BMP' (6x4) (compressed) 8 bit (global palette)\n"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Shapes, ShapeArchiveVariants,
                         testing::Values(Variant{"plain", "shapes.fsh", false, "FSH\n"},
                                         Variant{"qfs", "shapes.qfs", true, "QFS\n"},
                                         Variant{"fshPacked", "packed.fsh", true, "QFS\n"}),
                         [](const auto& info) { return std::string(info.param.label); });

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
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    Bytes out;
    ASSERT_TRUE(pix::QfsExpand(c.stream.data(), c.stream.size(), out));
    EXPECT_EQ(out, c.expected);
  }
  // A copy longer than the declared size stops there, with the warning.
  Bytes stream{0x10, 0xFB, 0, 0, 4, 0x1D, 0x00, 'A', 0xFC}, out;
  testing::internal::CaptureStderr();
  ASSERT_TRUE(pix::QfsExpand(stream.data(), stream.size(), out));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning: bad length ? 11 instead of 4\n");
  EXPECT_EQ(out, Bytes(4, 'A'));
  // Our compressor round-trips through the expander.
  Bytes data;
  for (int i = 0; i < 5000; ++i) data.push_back(static_cast<std::uint8_t>(i % 7 == 0 ? i : i / 50));
  Bytes packed = Compress(data);
  ASSERT_TRUE(pix::QfsExpand(packed.data(), packed.size(), out));
  EXPECT_EQ(out, data);
}

TEST(ShapeArchive, MipmapsOfA64Square) {
  PIX_REQUIRE_TOOL("bmptopnm");
  pixtest::Scratch s;
  Bytes b = Header(0x7F, 0, 64, 64, 0x6000);
  for (int side = 64; side >= 1; side /= 2) {
    while ((b.size() - 16) % 16) b.push_back(0);
    Bytes px = Pixels(side, side, side, 3);
    b.insert(b.end(), px.begin(), px.end());
  }
  while ((b.size() - 16) % 16) b.push_back(0);
  pixtest::WriteFile(s.path("m.fsh"), Archive({{"mips", b}}, 0));
  testing::internal::CaptureStdout();
  EXPECT_EQ(ConvertIn(s, s.path("m.fsh"), s.path("m.bmp")), 7);
  testing::internal::GetCapturedStdout();
  for (int l = 0, side = 64; l < 7; ++l, side /= 2) {
    Bytes px = Pixels(side, side, side, 3);
    std::vector<Rgba> e;
    for (int i = 0; i < side * side; ++i) e.push_back({px[3 * i + 2], px[3 * i + 1], px[3 * i], 255});
    CheckBmp(s.path("m_0000-" + std::to_string(l) + ".BMP"), side, side, e, false);
  }
  std::string index = Text(s.path("index.fsh"));
  EXPECT_EQ(index.find("!PAD"), std::string::npos) << index;  // first object right after the directory
}

TEST(ShapeArchive, RowsArePaddedToFourBytes) {
  pixtest::Scratch s;
  Bytes b = Header(0x7F, 0, 3, 2);
  Bytes px = Pixels(1, 3, 2, 3);
  b.insert(b.end(), px.begin(), px.end());
  pixtest::WriteFile(s.path("p.fsh"), Archive({{"pad3", b}}, 0));
  testing::internal::CaptureStdout();
  EXPECT_EQ(ConvertIn(s, s.path("p.fsh"), s.path("p.bmp")), 1);
  testing::internal::GetCapturedStdout();
  Bytes bmp = pixtest::ReadFile(s.path("p_0000.BMP"));
  ASSERT_EQ(bmp.size(), 54u + 2 * 12);
  EXPECT_EQ(bmp[10], 54);
  // Bottom row first: source row 1, then three zero bytes.
  EXPECT_TRUE(std::equal(px.begin() + 9, px.end(), bmp.begin() + 54));
  EXPECT_EQ(Bytes(bmp.begin() + 63, bmp.begin() + 66), Bytes(3, 0));
}

TEST(ShapeArchive, BrokenArchivesReturnWhatWasWritten) {
  pixtest::Scratch s;
  Bytes good = Header(0x7F, 0, 1, 1);
  good.insert(good.end(), {1, 2, 3});
  // The second bitmap claims more pixels than its object holds.
  Bytes big = Header(0x7F, 0, 100, 100);
  Bytes over = Header(0x7B, 0, 1, 1);
  over.push_back(0);
  over.insert(over.end(), {0x7C, 0, 0, 0});  // a data block, reached by no chain
  Bytes hugeData = Header(0x7B, 17, 1, 1);
  hugeData.push_back(0);
  Bytes tail{0x7C, 0, 0, 0};
  tail.resize(20000, 1);
  hugeData.insert(hugeData.end(), tail.begin(), tail.end());

  struct Case {
    const char* label;
    Bytes file;
    int result;
    const char* message;
  };
  const Case cases[] = {
      {"tiny", {'S', 'H', 'P'}, 0, ""},
      {"notShpi", Bytes(64, 'x'), 0, ""},
      {"directoryPastEnd", {'S', 'H', 'P', 'I', 0, 0, 0, 0, 0xFF, 0xFF, 0, 0, 't', 'a', 'g', ' '}, 0, ""},
      {"pixelsPastObject", Archive({{"good", good}, {"big ", big}}, 0), 1, "WARNING: passed the next block ?\nPress Enter to continue.\n"},
      {"attachedTooLarge", Archive({{"good", good}, {"huge", hugeData}}, 0), 2, "Attached data too large !\n"},
      {"truncatedQfs", Bytes{0x10, 0xFB, 0, 1, 0, 0xE0, 'S', 'H', 'P', 'I'}, 0, "Warning: bad length ? 4 instead of 256\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    pixtest::WriteFile(s.path("x.fsh"), c.file);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(ConvertIn(s, s.path("x.fsh"), s.path("x.bmp")), c.result);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.message);
  }
  // An absent source and memory mode give 0.
  EXPECT_EQ(ConvertIn(s, s.path("absent.fsh"), s.path("x.bmp")), 0);
  pix::ConvertCall call;
  call.source = "x.fsh";
  EXPECT_EQ(pix::FshToBmp(call), 0);
}

TEST(ShapeArchive, RouteRowsReachTheConverter) {
  pixtest::Scratch s;
  Bytes b = Header(0x7F, 0, 1, 1);
  b.insert(b.end(), {1, 2, 3});
  pixtest::WriteFile(s.path("r.qfs"), Compress(Archive({{"one ", b}}, 0)));
  auto r = pixtest::Run("cd " + pixtest::Quote(s.dir().string()) + " && " + pixtest::kCli + " convert r.qfs out.bmp");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(fs::exists(s.dir() / "out_0000.BMP"));
  EXPECT_TRUE(fs::exists(s.dir() / "index.fsh"));
}

}  // namespace
