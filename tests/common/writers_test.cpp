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

void ExpectCard(const Pnm& p, const pix::Image& img) {
  ASSERT_EQ(p.width, static_cast<int>(img.width));
  ASSERT_EQ(p.height, static_cast<int>(img.height));
  ASSERT_EQ(p.channels, 3);
  for (std::uint32_t y = 0; y < img.height; ++y)
    for (std::uint32_t x = 0; x < img.width; ++x) {
      pix::Rgb c = img.palette[img.row(y)[x]];
      std::size_t i = (std::size_t(y) * img.width + x) * 3;
      ASSERT_EQ(p.samples[i], c.r) << x << "," << y;
      ASSERT_EQ(p.samples[i + 1], c.g);
      ASSERT_EQ(p.samples[i + 2], c.b);
    }
}

std::string WriteWith(const pixtest::Scratch& s, const char* name, bool (*writer)(pix::Sink&, const pix::Image&),
                      const pix::Image& img) {
  pix::Sink out;
  EXPECT_TRUE(out.open(s.path(name).c_str()));
  EXPECT_TRUE(writer(out, img));
  EXPECT_TRUE(out.close());
  return s.path(name);
}

TEST(Writers, IndexedPicturesDecodeToTheirColours) {
  PIX_REQUIRE_TOOL("bmptopnm");
  PIX_REQUIRE_TOOL("pngtopnm");
  PIX_REQUIRE_TOOL("giftopnm");
  pixtest::Scratch s;
  pix::Image img = Card(6);
  auto bmp = [](pix::Sink& o, const pix::Image& i) { return pix::WriteBmp(o, i); };
  auto png = [](pix::Sink& o, const pix::Image& i) { return pix::WritePng(o, i); };
  auto gif = [](pix::Sink& o, const pix::Image& i) { return pix::WriteGif(o, i); };
  auto pnm = [](pix::Sink& o, const pix::Image& i) { return pix::WritePnm(o, i); };
  ExpectCard(Decode("bmptopnm " + pixtest::Quote(WriteWith(s, "a.bmp", bmp, img))), img);
  ExpectCard(Decode("pngtopnm " + pixtest::Quote(WriteWith(s, "a.png", png, img))), img);
  ExpectCard(Decode("giftopnm " + pixtest::Quote(WriteWith(s, "a.gif", gif, img))), img);
  ExpectCard(Decode("cat " + pixtest::Quote(WriteWith(s, "a.ppm", pnm, img))), img);
}

TEST(Writers, TrueColourAndBilevel) {
  PIX_REQUIRE_TOOL("bmptopnm");
  PIX_REQUIRE_TOOL("pngtopnm");
  pixtest::Scratch s;
  pix::Image rgb;
  rgb.allocate(5, 3, 3);
  for (std::size_t i = 0; i < rgb.pixels.size(); ++i) rgb.pixels[i] = std::uint8_t(i * 17);
  for (const char* name : {"t.bmp", "t.png"}) {
    pix::Sink out;
    ASSERT_TRUE(out.open(s.path(name).c_str()));
    ASSERT_TRUE(name[2] == 'b' ? pix::WriteBmp(out, rgb) : pix::WritePng(out, rgb));
    out.close();
    Pnm p = Decode(std::string(name[2] == 'b' ? "bmptopnm " : "pngtopnm ") + pixtest::Quote(s.path(name)));
    EXPECT_EQ(p.samples, rgb.pixels) << name;
  }
  pix::Image bits;
  bits.allocate(10, 2, 1);
  bits.palette = {{255, 255, 255}, {0, 0, 0}};
  for (std::uint32_t x = 0; x < 10; ++x) bits.row(1)[x] = x % 2;
  pix::Sink out;
  ASSERT_TRUE(out.open(s.path("b.bmp").c_str()));
  ASSERT_TRUE(pix::WriteBmp(out, bits, 1));
  out.close();
  Pnm p = Decode("bmptopnm " + pixtest::Quote(s.path("b.bmp")) + " | ppmtopgm");
  ASSERT_EQ(p.width, 10);
  for (std::uint32_t x = 0; x < 10; ++x) {
    EXPECT_EQ(p.samples[x], 255);
    EXPECT_EQ(p.samples[10 + x], x % 2 ? 0 : 255);
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
  ExpectCard(p, il);
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
