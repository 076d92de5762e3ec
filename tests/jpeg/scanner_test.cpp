// The JPEG stream scanners, on containers glued together from real JPEGs
// (cjpeg) and filler: names, counts, end rules, block boundaries, memory mode.
#include <gtest/gtest.h>

#include <cstdlib>

#include "extract/extract.h"
#include "extract/jpeg_scan.h"
#include "jpeg_fixtures.h"

using namespace jpegtest;
using pixtest::ReadFile;
using pixtest::ToBytes;
using pixtest::Scratch;
using pixtest::WriteFile;

namespace {

struct Pictures {
  Bytes a, b, thumb;
};
const Pictures& Pics() {
  static const Pictures p{MakeJpeg(160, 120, 1), MakeJpeg(120, 96, 2), MakeJpeg(32, 24, 3)};
  return p;
}

class Scanners : public ::testing::Test {
 protected:
  void SetUp() override {
    PIX_REQUIRE_TOOL("cjpeg");
    PIX_REQUIRE_TOOL("djpeg");
    ASSERT_GT(Pics().a.size(), 4096u);
    ASSERT_FALSE(Pics().b.empty());
  }
  Scratch s;
  // Filler, A, filler, B, filler: the two whole pictures between bytes
  // that hold no markers.
  Bytes TwoPictures() const { return Cat({Filler(5000, 1), Pics().a, Filler(3000, 2), Pics().b, Filler(9000, 3)}); }
};

TEST_F(Scanners, FirstEndMarkerMembersWriteEachPictureWholeUnderTheirNames) {
  struct Case {
    const char* what;
    int (*fn)(const pix::ConvertCall&);
    const char* first;
    const char* second;
  };
  const Case cases[] = {
      {"program", pix::ProgramScan, "x_0001.jpg", "x_0002.jpg"},
      {"sample", pix::SampleScan, "x_0001.jpg", "x_0002.jpg"},
      {"animation", pix::AnimationAlbumScan, "x_1.jpg", "x_2.jpg"},
      {"gallery", pix::GalleryScan, "x_0001.jpg", "x_0002.jpg"},
      {"catalogue", pix::CatalogueScan, "x_0000.jpg", "x_0001.jpg"},
      {"movie", pix::MovieScan, "x_0000.jpg", "x_0001.jpg"},
  };
  const std::string src = s.path("x.bin");
  WriteFile(src, TwoPictures());
  for (const Case& c : cases) {
    Scratch out;
    EXPECT_EQ(Convert(c.fn, src, out.path("y.jpg")), 2) << c.what;
    EXPECT_EQ(out.files(), (std::vector<std::string>{c.first, c.second})) << c.what;
    EXPECT_EQ(ReadFile(out.path(c.first)), Pics().a) << c.what;
    EXPECT_EQ(ReadFile(out.path(c.second)), Pics().b) << c.what;
  }
}

TEST_F(Scanners, ExtractedStreamsDecodeToTheOriginalPixels) {
  const std::string src = s.path("x.exe");
  WriteFile(src, TwoPictures());
  Scratch out;
  ASSERT_EQ(Convert(pix::ProgramScan, src, out.path("y.jpg")), 2);
  const Bytes* originals[] = {&Pics().a, &Pics().b};
  const char* names[] = {"x_0001.jpg", "x_0002.jpg"};
  const int sizes[][2] = {{160, 120}, {120, 96}};
  for (int i = 0; i < 2; ++i) {
    Bytes decoded = Decode(ReadFile(out.path(names[i])));
    ASSERT_FALSE(decoded.empty());
    EXPECT_EQ(decoded, Decode(*originals[i]));
    pixtest::Pnm pnm, source;
    ASSERT_TRUE(pixtest::ParsePnm(decoded, pnm));
    ASSERT_TRUE(pixtest::ParsePnm(MakePpm(sizes[i][0], sizes[i][1], i + 1), source));
    ASSERT_EQ(pnm.samples.size(), source.samples.size());
    // The red and green gradients survive compression closely (blue is noise).
    double err = 0, count = 0;
    for (std::size_t k = 0; k < pnm.samples.size(); ++k) {
      if (k % 3 == 2) continue;
      err += std::abs(pnm.samples[k] - source.samples[k]);
      ++count;
    }
    EXPECT_LT(err / count, 10.0);  // another picture would be far off
  }
}

TEST_F(Scanners, SecondEndMarkerMembersRunOnToTheNextPicturesEnd) {
  // Without thumbnails the second block holding FF D9 is the next picture's.
  Bytes plain = TwoPictures();
  Bytes noJfif = plain;  // FF D8 FF E0 without "JFIF": the fallback's input
  for (std::size_t at = Find(noJfif, ToBytes("JFIF")); at != std::string::npos; at = Find(noJfif, ToBytes("JFIF")))
    noJfif[at + 3] = 'X';
  const std::size_t aAt = 5000, bEnd = 5000 + Pics().a.size() + 3000 + Pics().b.size();
  struct Case {
    const char* what;
    int (*fn)(const pix::ConvertCall&);
    const Bytes* source;
  };
  const Case cases[] = {{"thumbnail database", pix::ThumbDbScan, &plain},
                        {"thumbnail database, fallback", pix::ThumbDbScan, &noJfif},
                        {"album", pix::AlbumScan, &plain}};
  for (const Case& c : cases) {
    const std::string src = s.path("x.db");
    WriteFile(src, *c.source);
    Scratch out;
    EXPECT_EQ(Convert(c.fn, src, out.path("y.jpg")), 1) << c.what;
    EXPECT_EQ(ReadFile(out.path("x_0000.jpg")), Slice(*c.source, aAt, bEnd)) << c.what;
    Bytes mem;
    EXPECT_EQ(ConvertToMemory(c.fn, src, 1, mem), static_cast<int>(bEnd - aAt)) << c.what;
    EXPECT_EQ(mem, Slice(*c.source, aAt, bEnd)) << c.what;
    // Skipped streams are not copied, so the second one is found on its own.
    const std::size_t bAt = 5000 + Pics().a.size() + 3000;
    EXPECT_EQ(ConvertToMemory(c.fn, src, 2, mem), static_cast<int>(c.source->size() - bAt)) << c.what;
    EXPECT_EQ(mem, Slice(*c.source, bAt, c.source->size())) << c.what;
  }
}

TEST_F(Scanners, ThumbnailDatabaseSkipsFromExifToTheThumbnailAndEndsAtThePicturesEnd) {
  std::size_t thumbAt = 0;
  Bytes entry = WithExifThumbnail(Pics().a, Pics().thumb, &thumbAt);
  Bytes entry2 = WithExifThumbnail(Pics().b, Pics().thumb);
  const std::size_t second = 700 + entry.size() + 900;
  Bytes db = Cat({Filler(700, 4), entry, Filler(900, 5), entry2, Filler(6000, 6)});
  const std::string src = s.path("x.cache");
  WriteFile(src, db);
  Scratch out;
  ASSERT_EQ(Convert(pix::ThumbDbScan, src, out.path("y.jpg")), 2);
  EXPECT_EQ(out.files(), (std::vector<std::string>{"x_0000.jpg", "x_0001.jpg"}));
  const Bytes first = Slice(db, 700 + thumbAt, 700 + entry.size());
  const Bytes next = Slice(db, second + thumbAt, second + entry2.size());
  EXPECT_EQ(ReadFile(out.path("x_0000.jpg")), first);
  EXPECT_EQ(ReadFile(out.path("x_0001.jpg")), next);
  // Memory mode gives the same bytes as the files.
  Bytes mem;
  EXPECT_EQ(ConvertToMemory(pix::ThumbDbScan, src, 2, mem), static_cast<int>(next.size()));
  EXPECT_EQ(mem, next);
  EXPECT_EQ(ConvertToMemory(pix::ThumbDbScan, src, 3, mem), 0);
}

TEST_F(Scanners, ProgramScannerStopsAtAnExifThumbnailsEnd) {
  // APP0 first: the picture's own "JFIF" starts the stream and the
  // thumbnail's FF D9 ends it.
  std::size_t thumbAt = 0;
  Bytes pic = WithExifThumbnail(Pics().a, Pics().thumb, &thumbAt);
  WriteFile(s.path("x.exe"), Cat({Filler(4200, 7), pic, Filler(5000, 8)}));
  Scratch out;
  EXPECT_EQ(Convert(pix::ProgramScan, s.path("x.exe"), out.path("y.jpg")), 1);
  EXPECT_EQ(ReadFile(out.path("x_0001.jpg")), Slice(pic, 0, thumbAt + Pics().thumb.size()));

  // Exif first: the thumbnail is taken whole, then the APP0 right after its
  // FF D9 yields a stream of just that pair, and the scan still moves on.
  Bytes exifFirst = WithExifThumbnail(Pics().a, Pics().thumb, &thumbAt, false);
  WriteFile(s.path("z.exe"), Cat({Filler(4200, 7), exifFirst, Filler(5000, 8)}));
  Scratch out2;
  EXPECT_EQ(Convert(pix::ProgramScan, s.path("z.exe"), out2.path("y.jpg")), 2);
  EXPECT_EQ(ReadFile(out2.path("z_0001.jpg")), Pics().thumb);
  EXPECT_EQ(ReadFile(out2.path("z_0002.jpg")), (Bytes{0xFF, 0xD9}));
}

TEST_F(Scanners, CatalogueWithExifCutsAtEachEndMarkerInFileModeOnly) {
  std::size_t thumbAt = 0;
  Bytes pic = WithExifThumbnail(Pics().a, Pics().thumb, &thumbAt);
  Bytes cat = Cat({Filler(300, 9), pic, Filler(5000, 10)});
  const std::string src = s.path("x.pps");
  WriteFile(src, cat);
  const std::size_t start = 300;
  const std::size_t thumbEnd = start + thumbAt + Pics().thumb.size();
  Scratch out;
  ASSERT_EQ(Convert(pix::CatalogueScan, src, out.path("y.jpg")), 1);
  // Copy blocks of 4096 from the start: the first is cut after the
  // thumbnail's FF D9, the rest run to the picture's end.
  Bytes expected = Cat({Slice(cat, start, thumbEnd), Slice(cat, start + 4096, start + pic.size())});
  EXPECT_EQ(ReadFile(out.path("x_0000.jpg")), expected);
  Bytes mem;
  EXPECT_EQ(ConvertToMemory(pix::CatalogueScan, src, 1, mem), static_cast<int>(thumbEnd - start));
  EXPECT_EQ(mem, Slice(cat, start, thumbEnd));
}

TEST_F(Scanners, BlockBoundaries) {
  // "JFIF" starting on the last byte of a 4097-byte block is not seen.
  Bytes split = Cat({Filler(4096, 11), ToBytes("JFIF"), Filler(6000, 12), Pics().a, Filler(5000, 13)});
  WriteFile(s.path("split.exe"), split);
  Scratch out;
  EXPECT_EQ(Convert(pix::ProgramScan, s.path("split.exe"), out.path("y.jpg")), 1);
  EXPECT_EQ(ReadFile(out.path("split_0001.jpg")), Pics().a);

  // FF ending a 4096-byte copy block and D9 starting the next do not end
  // the stream: it runs on to the next pair.
  Bytes head = Cat({Bytes{0xFF, 0xD8, 0xFF, 0xE0, 0, 16}, ToBytes("JFIF"), Filler(4096 - 10 - 1, 14), Bytes{0xFF}});
  ASSERT_EQ(head.size(), 4096u);
  Bytes stream = Cat({head, Bytes{0xD9}, Filler(100, 15), Bytes{0xFF, 0xD9}});
  WriteFile(s.path("pair.exe"), Cat({Filler(4097, 16), stream, Filler(9000, 17)}));
  Scratch out2;
  EXPECT_EQ(Convert(pix::ProgramScan, s.path("pair.exe"), out2.path("y.jpg")), 1);
  EXPECT_EQ(ReadFile(out2.path("pair_0001.jpg")), stream);

  // A stream cut off by the end of the source is written as far as it goes.
  Bytes cut = Cat({Filler(4097, 18), Slice(Pics().a, 0, 3000), Filler(2000, 30)});
  WriteFile(s.path("cut.exe"), cut);
  Scratch out3;
  EXPECT_EQ(Convert(pix::ProgramScan, s.path("cut.exe"), out3.path("y.jpg")), 1);
  EXPECT_EQ(ReadFile(out3.path("cut_0001.jpg")), Slice(cut, 4097, cut.size()));

  // The last, short block is never searched.
  WriteFile(s.path("short.exe"), Cat({Filler(4097, 31), Pics().thumb}));
  Scratch out4;
  EXPECT_EQ(Convert(pix::ProgramScan, s.path("short.exe"), out4.path("y.jpg")), 0);
  EXPECT_TRUE(out4.files().empty());
}

TEST_F(Scanners, StartSignaturesOnlyTheirMembersKnow) {
  // E-book: "JFIF", then "8BIM", then the picture after it.
  Bytes entry = Cat({Bytes(6, 0), ToBytes("JFIF"), Filler(200, 19), ToBytes("8BIM"), Filler(50, 20)});
  Bytes book = Cat({Filler(4097, 21), entry, Pics().a, Filler(700, 22), entry, Pics().b, Filler(9000, 23)});
  WriteFile(s.path("x.lit"), book);
  Scratch out;
  EXPECT_EQ(Convert(pix::EbookScan, s.path("x.lit"), out.path("y.jpg")), 2);
  EXPECT_EQ(ReadFile(out.path("x_0001.jpg")), Pics().a);
  EXPECT_EQ(ReadFile(out.path("x_0002.jpg")), Pics().b);

  // Without a picture: the message box, 0.
  WriteFile(s.path("empty.lit"), Filler(10000, 24));
  testing::internal::CaptureStderr();
  EXPECT_EQ(Convert(pix::EbookScan, s.path("empty.lit"), out.path("y.jpg")), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Pixamorph: Pixamorph n'a trouv\xe9 aucune image dans le fichier " + s.path("empty.lit") + "\n");
}

TEST_F(Scanners, OnePictureExtractors) {
  const Bytes src = Cat({Filler(600, 25), Pics().a, Filler(700, 26), Pics().b, Filler(800, 27)});
  const std::size_t aAt = 600, bAt = 600 + Pics().a.size() + 700;
  WriteFile(s.path("x.kiz"), src);
  Scratch out;
  EXPECT_EQ(Convert(pix::SinglePictureExtract, s.path("x.kiz"), out.path("y.jpg")), 1);
  EXPECT_EQ(ReadFile(out.path("y.jpg")), Slice(src, aAt, src.size()));
  EXPECT_EQ(Convert(pix::FffExtract, s.path("x.kiz"), out.path("f.jpg")), 1);
  EXPECT_EQ(ReadFile(out.path("f.jpg")), Slice(src, bAt, src.size()));

  WriteFile(s.path("none.kiz"), Filler(3000, 28));
  Scratch out2;
  EXPECT_EQ(Convert(pix::SinglePictureExtract, s.path("none.kiz"), out2.path("y.jpg")), 0);
  EXPECT_EQ(Convert(pix::FffExtract, s.path("none.kiz"), out2.path("f.jpg")), 0);
  EXPECT_EQ(Convert(pix::HeaderRebuildExtract, s.path("none.kiz"), out2.path("h.jpg")), 0);
  EXPECT_TRUE(out2.files().empty());
  EXPECT_EQ(Convert(pix::ProgramScan, s.path("missing.exe"), out2.path("y.jpg")), 0);
}

TEST_F(Scanners, HeaderRebuildRestoresTheQuantisationTables) {
  // A picture stored without DQT segments, its first 28 bytes ending in a
  // comment segment that the fixed 16 bytes complete.
  const Bytes& a = Pics().a;
  Bytes rest;
  for (std::size_t i = 20; i < a.size();) {  // drop cjpeg's DQT segments
    std::size_t len = static_cast<std::size_t>(a[i + 2] << 8 | a[i + 3]);
    if (a[i] == 0xFF && a[i + 1] == 0xDB) {
      i += 2 + len;
      continue;
    }
    rest = Slice(a, i, a.size());
    break;
  }
  Bytes src = Cat({Filler(100, 29), Slice(a, 0, 20), Bytes{0xFF, 0xFE, 0x00, 0x16, 1, 2, 3, 4}, rest});
  WriteFile(s.path("x.kqp"), src);
  ASSERT_EQ(Convert(pix::HeaderRebuildExtract, s.path("x.kqp"), s.path("y.jpg")), 1);
  Bytes out = ReadFile(s.path("y.jpg"));
  ASSERT_EQ(out.size(), src.size() - 100 + 150);
  EXPECT_EQ(Slice(out, 0, 28), Slice(src, 100, 128));
  EXPECT_EQ(Slice(out, 28, 31), (Bytes{0x03, 0x19, 0x1E}));
  EXPECT_EQ(Slice(out, 44, 50), (Bytes{0xFF, 0xDB, 0x00, 0x84, 0x00, 12}));
  EXPECT_EQ(out[44 + 4 + 65], 0x01);
  EXPECT_EQ(out[177], 92);
  EXPECT_EQ(Slice(out, 178, out.size()), rest);
  pixtest::Pnm pnm;
  ASSERT_TRUE(pixtest::ParsePnm(Decode(out), pnm));
  EXPECT_EQ(pnm.width, 160);
  EXPECT_EQ(pnm.height, 120);
}

TEST_F(Scanners, LoggedScanWritesItsLogBesideTheTarget) {
  WriteFile(s.path("x.ipg"), TwoPictures());
  Scratch out;
  EXPECT_EQ(Convert(pix::LoggedProgramScan, s.path("x.ipg"), out.path("y.jpg")), 2);
  EXPECT_EQ(out.files(), (std::vector<std::string>{"x.log", "x_0001.jpg", "x_0002.jpg"}));
  EXPECT_EQ(ReadFile(out.path("x.log")), ToBytes("[FILES]\r\njpeg=2\r\nbmp=0\r\ngif=0\r\n"));
}

TEST_F(Scanners, MovieFramesInMemoryAndFileModeAgree) {
  WriteFile(s.path("x.mov"), TwoPictures());
  Scratch out;
  ASSERT_EQ(Convert(pix::MovieScan, s.path("x.mov"), out.path("y.jpg")), 2);
  for (int wanted : {1, 2}) {
    Bytes mem;
    EXPECT_GT(ConvertToMemory(pix::MovieScan, s.path("x.mov"), wanted, mem), 0);
    EXPECT_EQ(mem, ReadFile(out.path(wanted == 1 ? "x_0000.jpg" : "x_0001.jpg")));
  }
  Bytes mem;
  EXPECT_EQ(ConvertToMemory(pix::MovieScan, s.path("x.mov"), 3, mem), 0);
  // Members without a memory mode refuse it.
  EXPECT_EQ(ConvertToMemory(pix::ProgramScan, s.path("x.mov"), 1, mem), 0);
}

TEST(JfifSearch, AgreesWithThePatternSearch) {
  pix::ScanBlock block(4097);
  for (int seed = 0; seed < 300; ++seed) {
    Bytes f = Filler(4097, seed);
    std::copy(f.begin(), f.end(), block.data());
    const int at = seed % 4097;
    const char* tag = seed % 3 == 0 ? "JFIF" : seed % 3 == 1 ? "JFIX" : "JXIF";
    for (int k = 0; k < 4 && at + k < 4097; ++k) block[static_cast<std::size_t>(at + k)] = static_cast<std::uint8_t>(tag[k]);
    if (seed % 5 == 0) block[static_cast<std::size_t>((at + 37) % 4097)] = 'J';
    for (int n : {4097, at + 2, at + 4, 15, 0})
      EXPECT_EQ(pix::FindJfif(n, block.data()), pix::FindPattern(n, block.data(), "JFIF")) << seed << " " << n;
  }
}

}  // namespace

namespace {

TEST(MovieScanner, ResumesAsFarBeforeTheEndMarkerAsItStoodFromItsBlocksEnd) {
  // Frame at B, a second FF D8 inside it at B + 1976, end pair at B + 3000
  // of a 4096-byte copy block: scanning resumes at B + 2 * 3000 + 2 - 4096,
  // so the inner FF D8 starts a second frame that ends at the same pair.
  const std::size_t b = 5120;
  Bytes mov(20000, 0x11);
  mov[b] = 0xFF, mov[b + 1] = 0xD8;
  mov[b + 1976] = 0xFF, mov[b + 1977] = 0xD8;
  mov[b + 3000] = 0xFF, mov[b + 3001] = 0xD9;
  Scratch s;
  WriteFile(s.path("x.mov"), mov);
  Scratch out;
  EXPECT_EQ(Convert(pix::MovieScan, s.path("x.mov"), out.path("y.jpg")), 2);
  EXPECT_EQ(ReadFile(out.path("x_0000.jpg")), Slice(mov, b, b + 3002));
  EXPECT_EQ(ReadFile(out.path("x_0001.jpg")), Slice(mov, b + 1976, b + 3002));
}

}  // namespace
