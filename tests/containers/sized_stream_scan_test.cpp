// Bitmap files, packed bitmaps and presentation PNGs cut out of containers
// (samples/gen_scanners.py; the samples table checks every stream and count
// its rows name): what the rows cannot say, degenerate sources, sounds,
// compressed bitmaps and icon families.
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "containers_util.h"
#include "extract/extract.h"
#include "formats/formats.h"
#include "pixmisc.h"

namespace {

namespace fs = std::filesystem;
using pixtest::Bytes;

// The ".tsk" preview: no XAR picture, so the bitmap scanner's first stream.
TEST(SizedStreamScan, ThemePreviewIsTheFirstBitmap) {
  const std::string tsk = std::string(pixtest::kSourceDir) + "/samples/scanners_theme.tsk";
  pixtest::Scratch s;
  ASSERT_EQ(pixMISC(tsk.c_str(), s.path("theme.bmp").c_str()), 2);
  unsigned char* block = nullptr;
  const int n = seeMISC(tsk.c_str(), &block);
  EXPECT_EQ(pixtest::TakeBlock(block, n), pixtest::ReadFile(s.path("scanners_theme_0001.bmp")));
}

// Headers that would not move the scan on, and sources with nothing in them.
TEST(SizedStreamScan, DegenerateSourcesEndTheScan) {
  pixtest::Scratch s;
  struct Case {
    const char* name;
    Bytes data;
  };
  Bytes zeroSize = pixtest::ToBytes("BM");
  zeroSize.resize(64, 0);  // "BM", size 0, reserved 0
  Bytes zeroDib(64, 0);
  zeroDib[0] = 0x28;       // a 40-byte header of zero width
  Bytes manyBm;
  for (int i = 0; i < 4000; ++i) ctest::Append(manyBm, std::string("BM"));
  for (const Case& c : {Case{"empty.pjs", {}}, Case{"zero.pjs", zeroSize}, Case{"zero.abm", zeroDib}, Case{"bm.pjs", manyBm},
                        Case{"one.pjs", pixtest::ToBytes("B")}}) {
    SCOPED_TRACE(c.name);
    const std::string src = s.path(c.name);
    pixtest::WriteFile(src, c.data);
    EXPECT_EQ(ctest::CallFile(pix::BmpStreamScan, src, s.path("out.bmp"), -1), 0);
    EXPECT_EQ(ctest::CallFile(pix::DibStreamScan, src, s.path("out.dib")), 0);
    int result = -1;
    EXPECT_TRUE(ctest::CallMemory(pix::BmpStreamScan, src, 0, &result).empty());
    EXPECT_EQ(result, 0);
  }
  EXPECT_EQ(s.files().size(), 5u);  // the sources only
  EXPECT_EQ(ctest::CallFile(pix::BmpStreamScan, s.path("missing.pjs"), s.path("out.bmp"), -1), 0);
  // An output that cannot be created stops the scan before anything is counted.
  const std::string album = std::string(pixtest::kSourceDir) + "/samples/scanners_album.pjs";
  EXPECT_EQ(ctest::CallFile(pix::BmpStreamScan, album, s.path("no/such/dir/x.bmp"), -1), 0);
}

// The sound track of an AVI muxed by ffmpeg: sox reads the same samples, at
// the same rate and in the same channels, from our WAV as from the track's WAV.
TEST(SoundRoutes, AviSoundHoldsTheTrackSamples) {
  PIX_REQUIRE_TOOL("sox");
  int checked = 0;
  for (const pixtest::Sample& sample : pixtest::Samples()) {
    const std::string sound = sample.option("sound");
    if (sound.empty()) continue;
    SCOPED_TRACE(sample.source);
    pixtest::Scratch s;
    const std::string target = s.path(sample.target);
    EXPECT_EQ(pixMISC(sample.source.c_str(), target.c_str()), 1);
    const std::string ref = std::string(pixtest::kSourceDir) + "/samples/" + sound;
    for (const char* what : {"-r", "-c"}) {
      const auto a = pixtest::Run(std::string("soxi ") + what + " " + pixtest::Quote(target));
      const auto b = pixtest::Run(std::string("soxi ") + what + " " + pixtest::Quote(ref));
      EXPECT_EQ(a.out, b.out) << what;
    }
    const auto ours = pixtest::Run("sox -D " + pixtest::Quote(target) + " -t s16 -");
    const auto theirs = pixtest::Run("sox -D " + pixtest::Quote(ref) + " -t s16 -");
    EXPECT_EQ(ours.status, 0) << ours.err;
    EXPECT_GT(theirs.out.size(), 1000u);
    EXPECT_TRUE(ours.out == theirs.out) << ours.out.size() << " bytes of samples against " << theirs.out.size();
    ++checked;
  }
  EXPECT_GE(checked, 2);
}

// One bitmap wrapped by gzip, zlib and ZIP (stored, deflated beside another
// member, streamed with a data descriptor): the ".bmz" preview hands over
// the bitmap itself; a damaged stream gives nothing.
TEST(CompressedBitmap, PreviewUnpacksEveryWrapper) {
  const std::string dir = std::string(pixtest::kSourceDir) + "/samples/";
  const Bytes bmp = pixtest::ReadFile(dir + "ref/scanners_wrap.bmp");
  ASSERT_GT(bmp.size(), 1000u);
  for (const char* wrap : {"gz", "zlib", "stored", "deflated", "stream"}) {
    const std::string src = dir + "scanners_wrap_" + wrap + ".bmz";
    SCOPED_TRACE(src);
    unsigned char* block = nullptr;
    const int n = seeMISC(src.c_str(), &block);
    EXPECT_EQ(pixtest::TakeBlock(block, n), bmp);
  }
  unsigned char* block = nullptr;
  EXPECT_EQ(seeMISC((dir + "scanners_wrap_damaged.bmz").c_str(), &block), 0);
  EXPECT_EQ(block, nullptr);
  // A bitmap cut short inside its wrapper is no bitmap either.
  pixtest::Scratch s;
  Bytes cut = pixtest::ReadFile(dir + "scanners_wrap_zlib.bmz");
  cut.resize(cut.size() / 2);
  pixtest::WriteFile(s.path("cut.bmz"), cut);
  EXPECT_EQ(seeMISC(s.path("cut.bmz").c_str(), &block), 0);
}

// Icon families: the packed 24-bit rendition takes its transparency from its
// 8-bit mask (Pillow compares RGBA with png2icns's input); a PNG member is
// handed over as it is stored.
TEST(IconFamily, LargestRenditionWithItsMask) {
  const std::string dir = std::string(pixtest::kSourceDir) + "/samples/";
  pixtest::Scratch s;
  ASSERT_EQ(pixMISC((dir + "scanners_logo.icns").c_str(), s.path("logo.png").c_str()), 1);
  const std::string rgba = std::string(pixtest::kPython) +
                           " -c \"import sys; from PIL import Image; "
                           "sys.stdout.buffer.write(Image.open(sys.argv[1]).convert('RGBA').tobytes())\" ";
  const auto ours = pixtest::Run(rgba + pixtest::Quote(s.path("logo.png")));
  const auto want = pixtest::Run(rgba + pixtest::Quote(dir + "ref/scanners_logo.png"));
  EXPECT_EQ(ours.status, 0) << ours.err;
  EXPECT_EQ(want.out.size(), 48u * 48 * 4);
  EXPECT_TRUE(ours.out == want.out);
  ASSERT_EQ(pixMISC((dir + "scanners_icon.icns").c_str(), s.path("icon.png").c_str()), 1);
  EXPECT_EQ(pixtest::ReadFile(s.path("icon.png")), pixtest::ReadFile(dir + "ref/scanners_icon.png"));
}

}  // namespace

