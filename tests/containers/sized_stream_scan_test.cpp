// Bitmap files, packed bitmaps and presentation PNGs cut out of containers. The containers come
// from samples/gen_scanners.py; each row of scanners.list that carries
// streams=OFFSET+LENGTH[+HEAD],... names the bytes every output must hold
// (HEAD: the file header put in front of a packed bitmap) and the counts the
// counting exports give on the same file.
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

struct Row {
  pixtest::Sample sample;
  std::vector<Bytes> streams;
};

Bytes FromHex(const std::string& hex) {
  Bytes b;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) b.push_back(static_cast<std::uint8_t>(std::strtoul(hex.substr(i, 2).c_str(), nullptr, 16)));
  return b;
}

std::vector<Row> Rows() {
  std::vector<Row> rows;
  for (const pixtest::Sample& s : pixtest::Samples()) {
    const std::string list = s.option("streams");
    if (list.empty()) continue;
    const Bytes data = pixtest::ReadFile(s.source);
    Row row{s, {}};
    std::stringstream in(list);
    std::string item;
    while (std::getline(in, item, ',')) {
      std::stringstream parts(item);
      std::string off, len, head;
      std::getline(parts, off, '+');
      std::getline(parts, len, '+');
      std::getline(parts, head, '+');
      const std::size_t at = std::stoul(off), n = std::stoul(len);
      Bytes want = FromHex(head);
      if (at + n > data.size()) ADD_FAILURE() << s.source << ": " << item << " past the end";
      else want.insert(want.end(), data.begin() + static_cast<std::ptrdiff_t>(at), data.begin() + static_cast<std::ptrdiff_t>(at + n));
      row.streams.push_back(want);
    }
    rows.push_back(row);
  }
  return rows;
}

pix::ConverterFn ScannerFor(const std::string& target) {
  if (target.ends_with(".dib")) return pix::DibStreamScan;
  if (target.ends_with(".png")) return pix::PresentationPngScan;
  if (target.ends_with(".wav")) return pix::ScmToWav;
  return pix::BmpStreamScan;
}

TEST(SizedStreamScan, EveryStreamIsWrittenWhole) {
  const std::vector<Row> rows = Rows();
  ASSERT_GE(rows.size(), 8u);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.sample.source);
    pixtest::Scratch s;
    fs::create_directories(s.dir() / "out");
    const std::string target = (s.dir() / "out" / row.sample.target).string();
    const int result = pixMISC(row.sample.source.c_str(), target.c_str());
    EXPECT_EQ(result, std::atoi(row.sample.option("result").c_str()));
    std::vector<fs::path> written;
    for (const auto& f : fs::directory_iterator(s.dir() / "out")) written.push_back(f.path());
    std::sort(written.begin(), written.end());
    ASSERT_EQ(written.size(), row.streams.size());
    EXPECT_EQ(static_cast<std::size_t>(result), written.size());
    const std::string stem = fs::path(row.sample.source).stem().string();
    const std::string ext = fs::path(row.sample.target).extension().string();
    for (std::size_t i = 0; i < written.size(); ++i) {
      char name[32];
      std::snprintf(name, sizeof name, "_%04zu", i + 1);
      EXPECT_EQ(written[i].filename().string(), stem + name + ext);
      EXPECT_EQ(pixtest::ReadFile(written[i].string()), row.streams[i]) << written[i];
    }
  }
}

TEST(SizedStreamScan, MemoryModeHandsOverTheWantedStream) {
  for (const Row& row : Rows()) {
    SCOPED_TRACE(row.sample.source);
    const pix::ConverterFn fn = ScannerFor(row.sample.target);
    const int n = static_cast<int>(row.streams.size());
    for (int wanted = 1; wanted <= n; ++wanted) EXPECT_EQ(ctest::CallMemory(fn, row.sample.source, wanted), row.streams[wanted - 1]) << wanted;
    // 0 and below mean the first, as the file-mode routes pass them.
    EXPECT_EQ(ctest::CallMemory(fn, row.sample.source, 0), row.streams[0]);
    EXPECT_EQ(ctest::CallMemory(fn, row.sample.source, -1), row.streams[0]);
    int result = -1;
    EXPECT_TRUE(ctest::CallMemory(fn, row.sample.source, n + 1, &result).empty());
    EXPECT_EQ(result, 0);
  }
}

// The counting exports agree with the scanners where they mean to count the
// same pictures; the rows' counts show where their rules differ on purpose.
TEST(SizedStreamScan, CountingExportsGiveTheirOwnCounts) {
  int checked = 0;
  for (const Row& row : Rows()) {
    SCOPED_TRACE(row.sample.source);
    const char* src = row.sample.source.c_str();
    struct Count {
      const char* key;
      int (*fn)(const char*, int*);
    };
    for (const Count& c : {Count{"count_bmp", compteFichiersBMP}, Count{"count_bmpelse", compteFichiersBMPelse},
                           Count{"count_dib", compteFichiersDIB}}) {
      const std::string want = row.sample.option(c.key);
      if (want.empty()) continue;
      int out = -1;
      EXPECT_EQ(c.fn(src, &out), std::atoi(want.c_str())) << c.key;
      EXPECT_EQ(out, std::atoi(want.c_str())) << c.key;
      ++checked;
    }
  }
  EXPECT_GE(checked, 6);
}

// The ".tsk" preview: no XAR picture, so the bitmap scanner's first stream.
TEST(SizedStreamScan, ThemePreviewIsTheFirstBitmap) {
  for (const Row& row : Rows()) {
    if (!row.sample.source.ends_with(".tsk")) continue;
    unsigned char* block = nullptr;
    const int n = seeMISC(row.sample.source.c_str(), &block);
    EXPECT_EQ(pixtest::TakeBlock(block, n), row.streams[0]);
    return;
  }
  ADD_FAILURE() << "no .tsk row";
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

