// The JPEG stream scanners and container readers on the samples of
// samples/gen_jpeg.py: every file a row's conversion writes (files=) and
// what memory mode hands over per picture number (memory=), as the
// generator placed them; then what rows cannot say.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "entry/routes.h"
#include "common/search.h"
#include "extract/jpeg_scan.h"
#include "pixmisc.h"
#include "support.h"

namespace {

using pixtest::Bytes;

// "OFF+LEN[/OFF+LEN...]" of the source, a file under samples/, or "-".
Bytes Want(const std::string& ranges, const Bytes& source) {
  if (ranges == "-") return {};
  if (ranges.find('+') == std::string::npos)
    return pixtest::ReadFile(std::string(pixtest::kSourceDir) + "/samples/" + ranges);
  Bytes out;
  std::stringstream in(ranges);
  for (std::string piece; std::getline(in, piece, '/');) {
    const std::size_t off = std::stoul(piece), len = std::stoul(piece.substr(piece.find('+') + 1));
    EXPECT_LE(off + len, source.size()) << ranges;
    if (off + len <= source.size()) out.insert(out.end(), source.begin() + std::ptrdiff_t(off), source.begin() + std::ptrdiff_t(off + len));
  }
  return out;
}

// "KEY@WANT,..." as pairs ("-" alone: none).
std::vector<std::pair<std::string, std::string>> Items(const std::string& list) {
  std::vector<std::pair<std::string, std::string>> v;
  std::stringstream in(list);
  for (std::string item; std::getline(in, item, ',');)
    if (item != "-") v.emplace_back(item.substr(0, item.find('@')), item.substr(item.find('@') + 1));
  return v;
}

TEST(JpegRows, WrittenFilesAndMemoryModeAreWhatTheRowsSay) {
  int checked = 0;
  for (const pixtest::Sample& sample : pixtest::Samples()) {
    const std::string files = sample.option("files"), memory = sample.option("memory");
    if (files.empty() && memory.empty()) continue;
    SCOPED_TRACE(sample.source + " -> " + sample.target);
    const Bytes source = pixtest::ReadFile(sample.source);
    if (!files.empty()) {
      pixtest::Scratch out;
      const int result = pixMISC(sample.source.c_str(), out.path(sample.target).c_str());
      std::vector<std::string> names;
      for (const auto& [name, want] : Items(files)) {
        names.push_back(name);
        EXPECT_EQ(pixtest::ReadFile(out.path(name)), Want(want, source)) << name;
      }
      EXPECT_EQ(out.files(), names);
      const std::string expected = sample.option("result");
      EXPECT_EQ(result, expected.empty() ? static_cast<int>(names.size()) : std::atoi(expected.c_str()));
    }
    if (!memory.empty()) {
      const pix::RouteMatch m = pix::LookUpRoute(sample.source.c_str(), sample.target.c_str());
      ASSERT_EQ(m.kind, pix::RouteMatch::Row);
      const pix::ConverterFn fn = pix::ChooseConverter(*m.route, sample.source.c_str()).converter;
      for (const auto& [wanted, want] : Items(memory)) {
        unsigned char* block = nullptr;
        pix::ConvertCall call;
        call.source = sample.source.c_str();
        call.arg1 = std::stoi(wanted);
        call.out = &block;
        EXPECT_EQ(pixtest::TakeBlock(block, fn(call)), Want(want, source)) << "memory mode, picture " << wanted;
      }
    }
    ++checked;
  }
  EXPECT_GE(checked, 25);
}

TEST(JpegRows, EbookWithoutAPictureShowsTheMessageBox) {
  const std::string src = std::string(pixtest::kSourceDir) + "/samples/jpeg_empty.lit";
  pixtest::Scratch out;
  testing::internal::CaptureStderr();
  EXPECT_EQ(pixMISC(src.c_str(), out.path("y.jpg").c_str()), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Pixamorph: Pixamorph n'a trouv\xe9 aucune image dans le fichier " + src + "\n");
  EXPECT_EQ(pixMISC((src + ".missing.exe").c_str(), out.path("y.jpg").c_str()), 0);
  EXPECT_TRUE(out.files().empty());
}

TEST(JfifSearch, AgreesWithThePatternSearch) {
  pix::ScanBlock block(4097);
  for (int seed = 0; seed < 300; ++seed) {
    for (std::size_t i = 0; i < 4097; ++i) block[i] = static_cast<std::uint8_t>((i * 7919 + seed * 31) % 0xFF);
    const int at = seed % 4097;
    const char* tag = seed % 3 == 0 ? "JFIF" : seed % 3 == 1 ? "JFIX" : "JXIF";
    for (int k = 0; k < 4 && at + k < 4097; ++k) block[static_cast<std::size_t>(at + k)] = static_cast<std::uint8_t>(tag[k]);
    if (seed % 5 == 0) block[static_cast<std::size_t>((at + 37) % 4097)] = 'J';
    for (int n : {4097, at + 2, at + 4, 15, 0})
      EXPECT_EQ(pix::FindJfif(n, block.data()), pix::FindPattern(n, block.data(), "JFIF")) << seed << " " << n;
  }
}

}  // namespace
