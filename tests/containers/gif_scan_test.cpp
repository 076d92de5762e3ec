// GIF streams cut out of containers: the block scanners' numbering and cut
// rule, the structure scanner's exact streams and memory mode; giftopnm reads
// every file written. Previews of pictures stored whole in documents.
#include "containers_util.h"
#include "extract/extract.h"
#include "formats/formats.h"
#include "pixmisc.h"

namespace {

using ctest::Append;
using pixtest::Bytes;

Bytes Slice(const Bytes& b, std::size_t from, std::size_t to) {
  return Bytes(b.begin() + static_cast<std::ptrdiff_t>(from), b.begin() + static_cast<std::ptrdiff_t>(to));
}

// Places each picture at its offset, filler elsewhere.
Bytes Lay(const std::vector<std::pair<std::size_t, Bytes>>& parts, std::size_t total) {
  Bytes file = ctest::Filler(total, 7);
  for (const auto& [at, pic] : parts) {
    if (file.size() < at + pic.size()) file.resize(at + pic.size());
    std::copy(pic.begin(), pic.end(), file.begin() + static_cast<std::ptrdiff_t>(at));
  }
  return file;
}

void ExpectSamePixels(const std::string& original, const std::string& cut) {
  const pixtest::Pnm a = pixtest::DecodeWith("giftopnm", original);
  const pixtest::Pnm b = pixtest::DecodeWith("giftopnm", cut);
  EXPECT_EQ(a.width, b.width);
  EXPECT_EQ(a.height, b.height);
  EXPECT_TRUE(a.samples == b.samples) << cut;
}

struct ThreeGifs {
  pixtest::Scratch s;
  std::vector<Bytes> gifs;
  Bytes file;
  std::vector<std::size_t> at{100, 6100, 12100};

  ThreeGifs() {
    for (int i = 0; i < 3; ++i) {
      gifs.push_back(ctest::MakePicture(s, "GIF", 48, 48, 20 + i));
      EXPECT_GT(gifs.back().size(), 1500u);
      EXPECT_LT(gifs.back().size(), 5900u);
    }
    file = Lay({{at[0], gifs[0]}, {at[1], gifs[1]}, {at[2], gifs[2]}}, 12100 + gifs[2].size() + 333);
  }
  std::string write(const std::string& name) {
    const std::string p = s.path(name);
    pixtest::WriteFile(p, file);
    return p;
  }
};

// Each file runs from its signature to the next one; the one-signature
// scanner never uses number 1, the two-signature scanner numbers from 1.
TEST(GifScan, BlockScannersCutAtEachSignature) {
  PIX_REQUIRE_TOOL("giftopnm");
  struct Case {
    pix::ConverterFn fn;
    const char* source;
    std::vector<std::string> names;
  };
  const Case cases[] = {
      {pix::GifScanOneSig, "movie.mvr", {"movie_0000.gif", "movie_0002.gif", "movie_0003.gif"}},
      {pix::GifScanTwoSigs, "game.big", {"game_0001.gif", "game_0002.gif", "game_0003.gif"}},
  };
  for (const Case& c : cases) {
    ThreeGifs g;
    const std::string src = g.write(c.source);
    std::filesystem::create_directory(g.s.path("out"));
    EXPECT_EQ(ctest::CallFile(c.fn, src, g.s.path("out/x.gif")), 3) << c.source;
    const std::size_t ends[] = {g.at[1], g.at[2], g.file.size()};
    for (std::size_t i = 0; i < 3; ++i) {
      const std::string cut = g.s.path("out/" + c.names[i]);
      EXPECT_EQ(pixtest::ReadFile(cut), Slice(g.file, g.at[i], ends[i])) << cut;
      const std::string original = g.s.path("orig.gif");
      pixtest::WriteFile(original, g.gifs[i]);
      ExpectSamePixels(original, cut);
    }
  }
}

TEST(GifScan, FirstSignatureSearchLimits) {
  pixtest::Scratch s;
  const Bytes gif = ctest::MakePicture(s, "GIF", 8, 8, 3);
  struct Case {
    pix::ConverterFn fn;
    std::size_t at;
    int want;
  };
  const Case cases[] = {
      {pix::GifScanOneSig, 8990, 1},        // last block of the six
      {pix::GifScanOneSig, 9000, 0},        // seventh block: given up
      {pix::GifScanTwoSigs, 148400, 1},     // block 99
      {pix::GifScanTwoSigs, 150000, 0},     // block 101
  };
  int k = 0;
  for (const Case& c : cases) {
    const std::string src = s.path("c" + std::to_string(k++) + ".exe");
    pixtest::WriteFile(src, Lay({{c.at, gif}}, c.at + gif.size() + 10));
    EXPECT_EQ(ctest::CallFile(c.fn, src, s.path("o.gif")), c.want) << c.at;
  }
}

TEST(GifScan, TwoSignatureScannerFindsGif87aToo) {
  pixtest::Scratch s;
  Bytes gif = ctest::MakePicture(s, "GIF", 8, 8, 4);
  std::copy_n("GIF87a", 6, gif.begin());
  const std::string src = s.path("prog.tsk");
  pixtest::WriteFile(src, Lay({{3000, gif}}, 5000));
  EXPECT_EQ(ctest::CallFile(pix::GifScanTwoSigs, src, s.path("o.gif")), 1);
  EXPECT_EQ(pixtest::ReadFile(s.path("prog_0001.gif")), Slice(pixtest::ReadFile(src), 3000, 5000));
}

// The structure scanner: small GIFs close together, a false signature with
// zero size, a signature across the 1024-byte block boundary, a truncated
// GIF at the end.
struct TcfFile {
  pixtest::Scratch s;
  std::vector<Bytes> gifs;
  std::string source;
  TcfFile() {
    for (int i = 0; i < 3; ++i) gifs.push_back(ctest::MakePicture(s, "GIF", 6 + i, 5, 30 + i));
    Bytes file = ctest::Filler(40, 1);
    Append(file, gifs[0]);
    Append(file, std::string("GIF89a"));
    Append(file, Bytes(7, 0));  // zero width and height: not a picture
    file.resize(1020, 'q');
    Append(file, gifs[1]);  // its signature straddles the first block boundary
    Append(file, ctest::Filler(10, 2));
    Append(file, gifs[2]);
    Append(file, ctest::Filler(5, 3));
    Bytes cut = gifs[0];
    cut.resize(cut.size() / 2);
    Append(file, cut);  // truncated: written as far as it goes
    gifs.push_back(cut);
    source = s.path("theme.elm");
    pixtest::WriteFile(source, file);
  }
};

TEST(GifScan, StructureScannerWritesExactStreams) {
  PIX_REQUIRE_TOOL("giftopnm");
  TcfFile t;
  EXPECT_EQ(ctest::CallFile(pix::GifScanTcf, t.source, t.s.path("x.gif")), 4);
  for (int i = 0; i < 4; ++i) {
    const std::string name = t.s.path("theme_000" + std::to_string(i + 1) + ".bmp");
    EXPECT_EQ(pixtest::ReadFile(name), t.gifs[static_cast<std::size_t>(i)]) << name;
    if (i < 3) {
      const std::string original = t.s.path("orig.gif");
      pixtest::WriteFile(original, t.gifs[static_cast<std::size_t>(i)]);
      ExpectSamePixels(original, name);
    }
  }
}

TEST(GifScan, StructureScannerMemoryMode) {
  TcfFile t;
  for (int wanted = 1; wanted <= 4; ++wanted) {
    unsigned char* block = nullptr;
    const int n = seeMultiMISC((t.source).c_str(), wanted, &block);
    EXPECT_EQ(pixtest::TakeBlock(block, n), t.gifs[static_cast<std::size_t>(wanted - 1)]) << wanted;
  }
  for (int wanted : {0, 5}) {
    int result = -1;
    EXPECT_TRUE(ctest::CallMemory(pix::GifScanTcf, t.source, wanted, &result).empty());
    EXPECT_EQ(result, 0);
  }
}

TEST(GifScan, UnreadableOrEmptySources) {
  pixtest::Scratch s;
  pixtest::WriteFile(s.path("empty.3ds"), Bytes{});
  for (pix::ConverterFn fn : {pix::GifScanOneSig, pix::GifScanTwoSigs, pix::GifScanTcf}) {
    EXPECT_EQ(ctest::CallFile(fn, s.path("missing.mvr"), s.path("o.gif")), 0);
    EXPECT_EQ(ctest::CallFile(fn, s.path("empty.3ds"), s.path("o.gif")), 0);
  }
  EXPECT_EQ(s.files(), std::vector<std::string>{"empty.3ds"});
}

}  // namespace

namespace {

std::string SamplePath(const std::string& name) { return std::string(pixtest::kSourceDir) + "/samples/" + name; }

// The previews the table of samples does not reach: a ".tsk" that is no
// Xara document but holds a GIF gives that GIF; a ".pix" starting "PIX" gives
// the XPM text the file mode writes, one starting otherwise gives nothing.
TEST(StoredPictures, PreviewsGiveWhatFileModeWrites) {
  pixtest::Scratch s;
  unsigned char* block = nullptr;
  const std::string tsk = SamplePath("containers2_tasks.tsk");
  const Bytes gif = pixtest::TakeBlock(block, seeMISC(tsk.c_str(), &block));
  EXPECT_EQ(gif, pixtest::ReadFile(SamplePath("ref/containers2_tasks.stored.gif")));
  EXPECT_EQ(ctest::CallFile(pix::XarToGif, tsk, s.path("tasks.gif")), 1);
  EXPECT_EQ(pixtest::ReadFile(s.path("tasks.gif")), gif);

  for (const char* name : {"containers2_art.pix", "containers2_planes.pix", "containers2_true.pix"}) {
    SCOPED_TRACE(name);
    const std::string pix = SamplePath(name);
    block = nullptr;
    const Bytes xpm = pixtest::TakeBlock(block, seeMISC(pix.c_str(), &block));
    ASSERT_FALSE(xpm.empty());
    EXPECT_EQ(pixMISC(pix.c_str(), s.path("art.xpm").c_str()), 1);
    EXPECT_EQ(pixtest::ReadFile(s.path("art.xpm")), xpm);
  }
  block = nullptr;
  EXPECT_EQ(seeMISC(SamplePath("containers2_photo.pix").c_str(), &block), 0);
  EXPECT_EQ(block, nullptr);
}

}  // namespace
