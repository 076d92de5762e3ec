// Flash pictures: a JPEG made with cjpeg is split into tables and image parts
// and stored under codes 6 (with a tables tag), 21 and 35 (with alpha) and
// inside a sprite; the plain movie and its zlib-compressed twin give the same
// pictures, and djpeg decodes them to the original's pixels.
#include <sys/resource.h>
#include <zlib.h>

#include "containers_util.h"
#include "extract/extract.h"
#include "pixmisc.h"

namespace {

using ctest::Append;
using ctest::PutLe;
using pixtest::Bytes;

const Bytes kJoint{0xFF, 0xD9, 0xFF, 0xD8};

struct Jpeg {
  Bytes whole, tables, image;  // tables: SOI DQT DHT EOI; image: SOI, the other segments, scan
};

// Splits a baseline JPEG into its quantisation/Huffman tables and the rest.
Jpeg MakeJpeg(const pixtest::Scratch& s) {
  Bytes ppm = pixtest::ToBytes("P6\n16 12 255\n");
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 16; ++x) Append(ppm, Bytes{static_cast<std::uint8_t>(x * 16), static_cast<std::uint8_t>(y * 20), 90});
  pixtest::WriteFile(s.path("in.ppm"), ppm);
  const auto r = pixtest::Run("cjpeg -quality 90 " + pixtest::Quote(s.path("in.ppm")));
  EXPECT_EQ(r.status, 0) << r.err;
  Jpeg j;
  j.whole = Bytes(r.out.begin(), r.out.end());
  j.tables = {0xFF, 0xD8};
  j.image = {0xFF, 0xD8};
  std::size_t at = 2;
  while (at + 4 <= j.whole.size() && j.whole[at] == 0xFF) {
    const std::uint8_t marker = j.whole[at + 1];
    if (marker == 0xDA) break;
    const std::size_t len = 2u + (j.whole[at + 2] << 8 | j.whole[at + 3]);
    Bytes& to = (marker == 0xDB || marker == 0xC4) ? j.tables : j.image;
    to.insert(to.end(), j.whole.begin() + static_cast<std::ptrdiff_t>(at), j.whole.begin() + static_cast<std::ptrdiff_t>(at + len));
    at += len;
  }
  j.image.insert(j.image.end(), j.whole.begin() + static_cast<std::ptrdiff_t>(at), j.whole.end());
  Append(j.tables, Bytes{0xFF, 0xD9});
  return j;
}

Bytes Tag(int code, const Bytes& data, bool longForm) {
  Bytes t;
  if (longForm || data.size() >= 63) {
    PutLe(t, static_cast<std::uint32_t>(code << 6 | 63), 2);
    PutLe(t, static_cast<std::uint32_t>(data.size()), 4);
  } else {
    PutLe(t, static_cast<std::uint32_t>(code << 6 | data.size()), 2);
  }
  Append(t, data);
  return t;
}

Bytes WithId(int id, const Bytes& rest) {
  Bytes d;
  PutLe(d, static_cast<std::uint32_t>(id), 2);
  Append(d, rest);
  return d;
}

Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes b;
  for (const Bytes& p : parts) Append(b, p);
  return b;
}

// Plain movie; `compressed` gives the "CWS" twin.
Bytes Movie(const Bytes& tags, bool compressed) {
  Bytes body{0x40, 0x00, 0x00, 0x00, 0x00};  // frame rectangle: 8-bit fields, 5 + 32 bits padded to 5 bytes
  PutLe(body, 12 << 8, 2);                                  // frame rate
  PutLe(body, 1, 2);                                        // frame count
  Append(body, tags);
  Bytes m = pixtest::ToBytes(compressed ? "CWS" : "FWS");
  m.push_back(6);
  PutLe(m, static_cast<std::uint32_t>(8 + body.size()), 4);
  if (!compressed) {
    Append(m, body);
    return m;
  }
  uLongf n = compressBound(static_cast<uLong>(body.size()));
  Bytes z(n);
  EXPECT_EQ(compress(z.data(), &n, body.data(), static_cast<uLong>(body.size())), Z_OK);
  z.resize(n);
  Append(m, z);
  return m;
}

struct SwfCase {
  int id;
  Bytes want;
};

TEST(Swf, PlainAndCompressedMoviesGiveTheJpeg) {
  PIX_REQUIRE_TOOL("cjpeg");
  PIX_REQUIRE_TOOL("djpeg");
  pixtest::Scratch s;
  const Jpeg j = MakeJpeg(s);
  ASSERT_GT(j.tables.size(), 4u);
  const Bytes joined = Cat({j.tables, j.image});           // the usual "FF D9 FF D8" joint
  const Bytes rebuilt = Cat({Bytes(j.tables.begin(), j.tables.end() - 2), Bytes(j.image.begin() + 2, j.image.end())});
  const Bytes alpha = ctest::Filler(40, 3);
  Bytes code35 = WithId(3, {});
  PutLe(code35, static_cast<std::uint32_t>(joined.size()), 4);
  Append(code35, Cat({joined, alpha}));
  Bytes sprite = WithId(9, Bytes{1, 0});                    // id 9, one frame; nested tags follow
  const Bytes tags = Cat({Tag(9, {1, 2, 3}, false), Tag(8, j.tables, false), Tag(6, WithId(1, j.image), true),
                          Tag(21, WithId(2, joined), true), Tag(35, code35, true),
                          Tag(39, sprite, false), Tag(21, WithId(5, joined), true), Tag(1, {}, false),
                          Tag(0, {}, false)});
  const SwfCase cases[] = {{1, rebuilt}, {2, rebuilt}, {3, rebuilt}, {5, rebuilt}};
  pixtest::WriteFile(s.path("plain.swf"), Movie(tags, false));
  pixtest::WriteFile(s.path("packed.swf"), Movie(tags, true));
  pixtest::WriteFile(s.path("orig.jpg"), j.whole);
  const pixtest::Pnm original = pixtest::DecodeWith("djpeg -pnm", s.path("orig.jpg"));
  ASSERT_EQ(original.width, 16);
  for (const SwfCase& c : cases) {
    for (const char* movie : {"plain.swf", "packed.swf"}) {
      int n = -1;
      const Bytes got = ctest::CallMemory(pix::SwfPictureExtract, s.path(movie), c.id, &n);
      EXPECT_EQ(got, c.want) << movie << " id " << c.id;
      pixtest::WriteFile(s.path("got.jpg"), got);
      const pixtest::Pnm pnm = pixtest::DecodeWith("djpeg -pnm", s.path("got.jpg"));
      EXPECT_TRUE(pnm.samples == original.samples) << movie << " id " << c.id;
    }
  }
  // File mode writes the target path itself.
  EXPECT_EQ(ctest::CallFile(pix::SwfPictureExtract, s.path("packed.swf"), s.path("pic.jpg"), 2), 1);
  EXPECT_EQ(pixtest::ReadFile(s.path("pic.jpg")), rebuilt);
  // A missing id, and the route, which asks for id -1.
  EXPECT_TRUE(ctest::CallMemory(pix::SwfPictureExtract, s.path("plain.swf"), 4).empty());
  EXPECT_EQ(pixMISC(s.path("plain.swf").c_str(), s.path("route.jpg").c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(s.path("route.jpg")));
  unsigned char* block = nullptr;
  const int n = seeMultiMISC(s.path("packed.swf").c_str(), 5, &block);
  EXPECT_EQ(pixtest::TakeBlock(block, n), rebuilt);
}

TEST(Swf, JointAndTableRules) {
  pixtest::Scratch s;
  const Bytes a = ctest::Filler(30, 1), b = ctest::Filler(20, 2), c = ctest::Filler(10, 3);
  Bytes alphaTag = WithId(8, {});
  PutLe(alphaTag, 0xFFFFFF, 4);  // alpha offset past the tag: clamped
  Append(alphaTag, Cat({a, kJoint, b}));
  struct Case {
    const char* what;
    Bytes tags;
    int id;
    Bytes want;
  };
  const Case cases[] = {
      {"two joints: only the later goes", Tag(21, WithId(7, Cat({a, kJoint, b, kJoint, c})), false), 7,
       Cat({a, kJoint, b, c})},
      {"no joint: copied as it is", Tag(21, WithId(7, Cat({a, b})), false), 7, Cat({a, b})},
      {"code 6 before any tables", Cat({Tag(6, WithId(7, a), false), Tag(8, b, false)}), 7, {}},
      {"alpha offset clamped to the tag", Tag(35, alphaTag, true), 8, Cat({a, b})},
      {"a two-byte code 21", Tag(21, WithId(7, {}), false), 7, {}},
      {"not a picture", Tag(2, WithId(7, a), false), 7, {}},
  };
  for (const Case& t : cases) {
    pixtest::WriteFile(s.path("m.swf"), Movie(t.tags, true));
    EXPECT_EQ(ctest::CallMemory(pix::SwfPictureExtract, s.path("m.swf"), t.id), t.want) << t.what;
  }
}

TEST(Swf, MalformedMovies) {
  pixtest::Scratch s;
  const Bytes good = Movie(Tag(21, WithId(7, ctest::Filler(100, 1)), true), false);
  const Bytes packed = Movie(Tag(21, WithId(7, ctest::Filler(100, 1)), true), true);
  const std::pair<const char*, Bytes> cases[] = {
      {"short header", Bytes(good.begin(), good.begin() + 7)},
      {"bad signature", Cat({pixtest::ToBytes("GWS"), Bytes(good.begin() + 3, good.end())})},
      {"tag cut short", Bytes(good.begin(), good.end() - 1)},
      {"zlib stream cut short", Bytes(packed.begin(), packed.begin() + 30)},
      {"zlib garbage", Cat({Bytes(packed.begin(), packed.begin() + 8), ctest::Filler(200, 4)})},
  };
  for (const auto& [what, bytes] : cases) {
    pixtest::WriteFile(s.path("m.swf"), bytes);
    EXPECT_TRUE(ctest::CallMemory(pix::SwfPictureExtract, s.path("m.swf"), 7).empty()) << what;
  }
  // A defining tag too short for its id: a diagnostic, no picture.
  pixtest::WriteFile(s.path("m.swf"), Movie(Tag(21, {5}, false), false));
  testing::internal::CaptureStderr();
  EXPECT_TRUE(ctest::CallMemory(pix::SwfPictureExtract, s.path("m.swf"), 0).empty());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "GetU16() out of bounds: TagID = 21\n");
}

// Eight million empty tags before the picture, packed into a few kilobytes:
// the picture is still found, and the walk needs no memory per tag.
TEST(Swf, ManyEmptyTagsCostNoMemoryPerTag) {
  pixtest::Scratch s;
  const Bytes picture = ctest::Filler(40, 6);
  Bytes tags(std::size_t(16) << 20, 0);
  Append(tags, Tag(21, WithId(3, picture), false));
  pixtest::WriteFile(s.path("m.swf"), Movie(tags, true));
  tags = {};
  rusage before{};
  getrusage(RUSAGE_SELF, &before);
  EXPECT_EQ(ctest::CallMemory(pix::SwfPictureExtract, s.path("m.swf"), 3), picture);
  rusage after{};
  getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 128 * 1024);  // kilobytes
}

}  // namespace
