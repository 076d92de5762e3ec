// The shared picture writers, read back by netpbm's independent decoders.
#include <sys/resource.h>

#include "common/image.h"
#include "support.h"

namespace {

using pixtest::Pnm;

// A 13 x 7 indexed test card (odd width exercises row padding).
pix::Image Card(int colours) {
  pix::Image img;
  img.allocate(13, 7, 1);
  for (int i = 0; i < colours; ++i)
    img.palette.push_back({std::uint8_t(i * 37), std::uint8_t(255 - i * 11), std::uint8_t(i * 5)});
  for (std::uint32_t y = 0; y < img.height; ++y)
    for (std::uint32_t x = 0; x < img.width; ++x) img.row(y)[x] = std::uint8_t((x * 3 + y * 5) % colours);
  return img;
}

Pnm Decode(const std::string& cmd) {
  pixtest::RunResult r = pixtest::Run(cmd);
  EXPECT_EQ(r.status, 0) << cmd << "\n" << r.err;
  Pnm p;
  EXPECT_TRUE(pixtest::ParsePnm(pixtest::ToBytes(r.out), p)) << cmd;
  return p;
}

std::string WriteWith(const pixtest::Scratch& s, const char* name, bool (*writer)(pix::Sink&, const pix::Image&),
                      const pix::Image& img) {
  pix::Sink out;
  EXPECT_TRUE(out.open(s.path(name).c_str()));
  EXPECT_TRUE(writer(out, img));
  EXPECT_TRUE(out.close());
  return s.path(name);
}

// Compares a decoded picture (grey or RGB) with the colours of ours.
void ExpectSame(const Pnm& p, const pix::Image& img, const std::string& what) {
  ASSERT_EQ(p.width, static_cast<int>(img.width)) << what;
  ASSERT_EQ(p.height, static_cast<int>(img.height)) << what;
  for (std::uint32_t y = 0; y < img.height; ++y)
    for (std::uint32_t x = 0; x < img.width; ++x) {
      pix::Rgb c = img.rgb(x, y);
      std::size_t i = (std::size_t(y) * img.width + x) * p.channels;
      pix::Rgb d = p.channels == 1 ? pix::Rgb{p.samples[i], p.samples[i], p.samples[i]}
                                   : pix::Rgb{p.samples[i], p.samples[i + 1], p.samples[i + 2]};
      ASSERT_EQ(d, c) << what << " at " << x << "," << y;
    }
}

// The pictures every writer is tried on: the kinds and depths the formats need.
std::vector<std::pair<std::string, pix::Image>> Pictures() {
  std::vector<std::pair<std::string, pix::Image>> v;
  v.emplace_back("2 colours", Card(2));
  v.emplace_back("6 colours", Card(6));
  v.emplace_back("200 colours", Card(200));
  pix::Image grey = Card(2);
  grey.palette.clear();
  for (std::size_t i = 0; i < grey.pixels.size(); ++i) grey.pixels[i] = std::uint8_t(i * 7);
  v.emplace_back("grey", grey);
  pix::Image rgb;
  rgb.allocate(13, 7, 3);
  for (std::size_t i = 0; i < rgb.pixels.size(); ++i) rgb.pixels[i] = std::uint8_t(i * 17);
  v.emplace_back("RGB", rgb);
  pix::Image rgba;
  rgba.allocate(13, 7, 4);
  for (std::size_t i = 0; i < rgba.pixels.size(); ++i) rgba.pixels[i] = std::uint8_t(i % 4 == 3 ? 255 : i * 13);
  v.emplace_back("RGBA", rgba);
  return v;
}

struct WriterCase {
  const char* name;
  bool (*write)(pix::Sink&, const pix::Image&);
  const char* decoder;  // netpbm-style command writing PNM
  bool indexedOnly;
};

TEST(Writers, EveryWriterDecodesToTheColoursOfEveryKindOfPicture) {
  const WriterCase cases[] = {
      {"a.bmp", [](pix::Sink& o, const pix::Image& i) { return pix::WriteBmp(o, i); }, "bmptopnm", false},
      {"a.tga", pix::WriteTga, "tgatoppm", false},
      {"a.pcx", pix::WritePcx, "pcxtoppm", false},
      {"a.ras", pix::WriteSun, "rasttopnm", false},
      {"a.xpm", [](pix::Sink& o, const pix::Image& i) { return pix::WriteXpm(o, i); }, "xpmtoppm", false},
      {"a.png", pix::WritePng, "pngtopnm", false},
      {"a.gif", pix::WriteGif, "giftopnm", true},
      {"a.tif", pix::WriteTiff, "tifftopnm", false},
      {"a.ppm", [](pix::Sink& o, const pix::Image& i) { return pix::WritePnm(o, i); }, "cat", false},
  };
  pixtest::Scratch s;
  for (const WriterCase& w : cases) {
    PIX_REQUIRE_TOOL(w.decoder);
    for (const auto& [kind, img] : Pictures()) {
      if (w.indexedOnly && img.channels != 1) continue;
      std::string what = std::string(w.name) + " of a " + kind + " picture";
      std::string path = WriteWith(s, w.name, w.write, img);
      ExpectSame(Decode(std::string(w.decoder) + " " + pixtest::Quote(path) + " 2>/dev/null"), img, what);
      // memory mode gives the same bytes
      pix::Sink mem;
      mem.openMemory();
      ASSERT_TRUE(w.write(mem, img));
      EXPECT_EQ(mem.memory(), pixtest::ReadFile(path)) << what;
    }
  }
}

TEST(Writers, BmpDepthFollowsThePalette) {
  pixtest::Scratch s;
  const std::pair<int, int> depths[] = {{2, 1}, {6, 4}, {200, 8}};
  for (auto [colours, bits] : depths) {
    std::string path = WriteWith(s, "d.bmp", [](pix::Sink& o, const pix::Image& i) { return pix::WriteBmp(o, i); },
                                 Card(colours));
    pixtest::Bytes b = pixtest::ReadFile(path);
    ASSERT_GT(b.size(), 54u);
    EXPECT_EQ(b[28], bits) << colours << " colours";
    EXPECT_EQ(b[46], colours) << "palette length";
  }
}

TEST(Writers, RefuseEmptyPictures) {
  pix::Image none;
  pix::Sink out;
  out.openMemory();
  EXPECT_FALSE(pix::WriteBmp(out, none));
  EXPECT_FALSE(pix::WritePng(out, none));
  EXPECT_FALSE(pix::WriteGif(out, none));
  EXPECT_FALSE(pix::WritePnm(out, none));
  EXPECT_FALSE(pix::WriteTga(out, none));
  EXPECT_FALSE(pix::WritePcx(out, none));
  EXPECT_FALSE(pix::WriteSun(out, none));
  EXPECT_FALSE(pix::WriteXpm(out, none));
  EXPECT_FALSE(pix::WriteTiff(out, none));
}

}  // namespace

namespace {

// Our GIF writer and reader agree, and the reader undoes interlacing done by
// an independent encoder.
TEST(GifReader, ReadsOursAndInterlacedPictures) {
  pix::Image card = Card(6);
  pix::Sink out;
  out.openMemory();
  ASSERT_TRUE(pix::WriteGif(out, card));
  pix::Image back;
  ASSERT_TRUE(pix::ReadGif(out.memory(), back));
  EXPECT_EQ(back.width, card.width);
  EXPECT_EQ(back.pixels, card.pixels);
  ASSERT_GE(back.palette.size(), 6u);
  EXPECT_EQ(back.palette[5].r, card.palette[5].r);

  PIX_REQUIRE_TOOL("convert");
  pixtest::Scratch s;
  pixtest::RunResult r = pixtest::Run("convert -size 7x29 gradient:white-black -colors 5 -interlace GIF " +
                                      pixtest::Quote(s.path("i.gif")));
  ASSERT_EQ(r.status, 0) << r.err;
  pix::Image il;
  ASSERT_TRUE(pix::ReadGif(pixtest::ReadFile(s.path("i.gif")), il));
  Pnm p = Decode("giftopnm " + pixtest::Quote(s.path("i.gif")) + " | ppmtoppm");
  ASSERT_EQ(p.height, 29);
  ExpectSame(p, il, "interlaced GIF");
}

TEST(GifReader, RefusesBrokenAndHugePictures) {
  pix::Image img;
  EXPECT_FALSE(pix::ReadGif({}, img));
  EXPECT_FALSE(pix::ReadGif(pixtest::ToBytes("GIF89a"), img));
  // a 65535 x 65535 picture is refused before anything is allocated
  pixtest::Bytes huge = pixtest::ToBytes("GIF89a");
  for (int v : {0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00}) huge.push_back(std::uint8_t(v));
  for (int v : {0x2C, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x02, 0x02, 0x44, 0x01, 0x00, 0x3B}) huge.push_back(std::uint8_t(v));
  EXPECT_FALSE(pix::ReadGif(huge, img));

  // 32768 x 32768 passes the size limits, but a few bytes cannot hold it:
  // refused without allocating the gigabyte first.
  huge[6] = huge[8] = 0x00;
  huge[7] = huge[9] = 0x80;
  huge[18] = huge[20] = 0x00;
  huge[19] = huge[21] = 0x80;
  rusage before{}, after{};
  getrusage(RUSAGE_SELF, &before);
  EXPECT_FALSE(pix::ReadGif(huge, img));
  getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 256L * 1024) << "kilobytes";
}

}  // namespace
