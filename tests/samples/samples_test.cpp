// Every listed sample whose row says what its output must be (the picture an
// independent decoder shows, the bytes it holds) is converted through the
// route table and checked. Each bad= case of a row (a cut
// or patched copy of the sample) must convert to nothing and leave no file.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "entry/routes.h"
#include "pixmisc.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;
using pixtest::Bytes;
using pixtest::Pnm;

// The command that prints a file as PNM for a decoder named in a row.
std::string DecodeCommand(const std::string& decoder, const std::string& path) {
  if (decoder == "magick") return "convert " + pixtest::Quote(path) + " -depth 8 ppm:-";
  if (decoder == "wmf2gd")  // libwmf renders a metafile to PNG, laid over white
    return "wmf2gd -o " + pixtest::Quote(path + ".png") + " " + pixtest::Quote(path) + " && pngtopnm -mix -background=white " +
           pixtest::Quote(path + ".png");
  if (decoder == "pillow")
    return std::string(pixtest::kPython) +
           " -c \"import sys; from PIL import Image; im = Image.open(sys.argv[1]).convert('RGB'); "
           "sys.stdout.buffer.write(b'P6 %d %d 255\\n' % im.size + im.tobytes())\" " +
           pixtest::Quote(path);
  return decoder + " " + pixtest::Quote(path);
}

// RGB samples 0..255 of a decoded picture, whatever its kind and depth.
Bytes ToRgb(const Pnm& p) {
  Bytes rgb;
  rgb.reserve(std::size_t(p.width) * p.height * 3);
  for (std::size_t i = 0; i < std::size_t(p.width) * p.height; ++i)
    for (int c = 0; c < 3; ++c) {
      int v = p.samples[i * p.channels + (p.channels == 3 ? c : 0)];
      if (p.maxval == 1) v = v ? 0 : 255;  // P4: 1 is black
      else if (p.maxval != 255 && p.maxval > 0) v = v * 255 / p.maxval;
      rgb.push_back(static_cast<std::uint8_t>(v));
    }
  return rgb;
}

Pnm Decode(const std::string& command) {
  pixtest::RunResult r = pixtest::Run(command + " 2>/dev/null");
  Pnm p;
  EXPECT_EQ(r.status, 0) << command;
  EXPECT_TRUE(pixtest::ParsePnm(pixtest::ToBytes(r.out), p)) << command << " gave no picture";
  return p;
}

std::vector<fs::path> FilesIn(const fs::path& dir) {
  std::vector<fs::path> v;
  if (fs::exists(dir))
    for (const auto& f : fs::directory_iterator(dir)) v.push_back(f.path());
  std::sort(v.begin(), v.end());
  return v;
}

// Copies the sample and its side files (same name, other extension) into dir.
fs::path Place(const std::string& sample, const fs::path& dir) {
  fs::path from(sample);
  for (const auto& f : fs::directory_iterator(from.parent_path()))
    if (f.path().stem() == from.stem()) fs::copy_file(f.path(), dir / f.path().filename());
  return dir / from.filename();
}

// streams=OFFSET+LENGTH[+HEAD],...: the bytes of the source every written
// file holds, in name order (HEAD: hex bytes put in front, a file header).
std::vector<Bytes> Streams(const pixtest::Sample& sample) {
  std::vector<Bytes> v;
  const Bytes data = pixtest::ReadFile(sample.source);
  std::stringstream in(sample.option("streams"));
  for (std::string item; std::getline(in, item, ',');) {
    std::stringstream parts(item);
    std::string off, len, head;
    std::getline(parts, off, '+');
    std::getline(parts, len, '+');
    std::getline(parts, head, '+');
    const std::size_t at = std::stoul(off), n = std::stoul(len);
    Bytes want;
    for (std::size_t i = 0; i + 1 < head.size(); i += 2)
      want.push_back(static_cast<std::uint8_t>(std::strtoul(head.substr(i, 2).c_str(), nullptr, 16)));
    EXPECT_LE(at + n, data.size()) << item;
    if (at + n <= data.size()) want.insert(want.end(), data.begin() + std::ptrdiff_t(at), data.begin() + std::ptrdiff_t(at + n));
    v.push_back(want);
  }
  return v;
}

// The rows' pixel check: the output read by the decoder shows the reference;
// tol= allows a difference per channel, maxoff= a share (percent) of samples
// that may differ by more (renderings that anti-alias differently).
void ExpectReferencePixels(const pixtest::Sample& sample, const fs::path& output) {
  const std::string decoder = sample.option("decoder");
  const fs::path refPath = fs::path(pixtest::kSourceDir) / "samples" / sample.option("ref");
  Pnm want = Decode(refPath.extension() == ".png" ? "pngtopnm " + pixtest::Quote(refPath.string())
                                                  : "cat " + pixtest::Quote(refPath.string()));
  Pnm got = Decode(DecodeCommand(decoder, output.string()));
  ASSERT_EQ(got.width, want.width);
  ASSERT_EQ(got.height, want.height);
  const Bytes a = ToRgb(got), b = ToRgb(want);
  const int tol = std::atoi(sample.option("tol").c_str());
  std::size_t off = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (std::abs(int(a[i]) - int(b[i])) > tol) ++off;
  EXPECT_LE(off, a.size() * std::size_t(std::atoi(sample.option("maxoff").c_str())) / 100)
      << "samples differing from the reference (of " << a.size() << ")";
}

// Every row that says what its output must be is converted through the route
// table, and its output checked as the row says.
TEST(Samples, OutputsAreWhatTheRowsSay) {
  int checked = 0;
  for (const pixtest::Sample& sample : pixtest::Samples()) {
    const bool pixels = !sample.option("decoder").empty() && !sample.option("ref").empty();
    const bool same = !sample.option("same").empty(), streams = !sample.option("streams").empty();
    if (!pixels && !same && !streams) continue;
    const std::string decoder = sample.option("decoder");
    SCOPED_TRACE(sample.source + " -> " + sample.target);
    if (pixels) PIX_REQUIRE_TOOL(decoder == "magick" ? "convert" : decoder == "pillow" ? pixtest::kPython : decoder);
    pixtest::Scratch s;
    fs::create_directories(s.dir() / "out");
    const std::string target = (s.dir() / "out" / sample.target).string();
    const int result = pixMISC(sample.source.c_str(), target.c_str());
    const std::string expected = sample.option("result");
    if (!expected.empty())
      EXPECT_EQ(result, std::atoi(expected.c_str()));
    else
      EXPECT_GT(result, 0);
    std::vector<fs::path> written = FilesIn(s.dir() / "out");
    ASSERT_FALSE(written.empty()) << "nothing written";
    fs::path output = written.front();
    if (!sample.option("file").empty()) output = s.dir() / "out" / sample.option("file");
    ASSERT_TRUE(fs::exists(output)) << output;
    if (pixels) ExpectReferencePixels(sample, output);
    if (same) {
      const std::string stored = std::string(pixtest::kSourceDir) + "/samples/" + sample.option("same");
      EXPECT_EQ(pixtest::ReadFile(output.string()), pixtest::ReadFile(stored)) << "bytes differ from " << stored;
    }
    if (streams) {
      // every stream written whole under its number, and handed over alone in memory mode
      const std::vector<Bytes> want = Streams(sample);
      ASSERT_EQ(written.size(), want.size());
      EXPECT_EQ(static_cast<std::size_t>(result), want.size());
      const pix::RouteMatch m = pix::LookUpRoute(sample.source.c_str(), sample.target.c_str());
      ASSERT_EQ(m.kind, pix::RouteMatch::Row);
      const pix::ConverterFn fn = pix::ChooseConverter(*m.route, sample.source.c_str()).converter;
      for (std::size_t i = 0; i < want.size(); ++i) {
        char suffix[32];
        std::snprintf(suffix, sizeof suffix, "_%04zu", i + 1);
        EXPECT_EQ(written[i].filename().string(),
                  fs::path(sample.source).stem().string() + suffix + fs::path(sample.target).extension().string());
        EXPECT_EQ(pixtest::ReadFile(written[i].string()), want[i]) << written[i];
      }
      for (int wanted = -1; wanted <= static_cast<int>(want.size()) + 1; ++wanted) {
        unsigned char* block = nullptr;
        pix::ConvertCall call;
        call.source = sample.source.c_str();
        call.arg1 = wanted;
        call.out = &block;
        const Bytes got = pixtest::TakeBlock(block, fn(call));
        // 0 and below mean the first picture; past the last there is none
        if (wanted > static_cast<int>(want.size())) {
          EXPECT_TRUE(got.empty());
        } else {
          EXPECT_EQ(got, want[static_cast<std::size_t>(std::max(wanted, 1) - 1)]) << "memory mode, picture " << wanted;
        }
      }
    }
    ++checked;
  }
  std::printf("%d samples checked\n", checked);
}

// count_bmp=, count_bmpelse=, count_dib=: what the counting exports say of
// the sample (equal to the pictures written where they mean the same thing).
TEST(Samples, CountingExportsGiveTheRowsCounts) {
  struct Count {
    const char* key;
    int (*fn)(const char*, int*);
  };
  int checked = 0;
  for (const pixtest::Sample& sample : pixtest::Samples())
    for (const Count& c : {Count{"count_bmp", compteFichiersBMP}, Count{"count_bmpelse", compteFichiersBMPelse},
                           Count{"count_dib", compteFichiersDIB}}) {
      const std::string want = sample.option(c.key);
      if (want.empty()) continue;
      int out = -1;
      EXPECT_EQ(c.fn(sample.source.c_str(), &out), std::atoi(want.c_str())) << sample.source << " " << c.key;
      EXPECT_EQ(out, std::atoi(want.c_str())) << sample.source << " " << c.key;
      ++checked;
    }
  EXPECT_GE(checked, 6);
}

// bad=cut:N keeps the first N bytes; bad=OFFSET:HEX overwrites bytes at OFFSET.
Bytes Damage(Bytes data, const std::string& how) {
  std::size_t colon = how.find(':');
  if (colon == std::string::npos) return {};
  if (how.compare(0, colon, "cut") == 0) {
    data.resize(std::min<std::size_t>(data.size(), std::strtoull(how.c_str() + colon + 1, nullptr, 10)));
    return data;
  }
  std::size_t at = std::strtoull(how.c_str(), nullptr, 10);
  std::string hex = how.substr(colon + 1);
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2, ++at) {
    if (at >= data.size()) data.resize(at + 1);
    data[at] = static_cast<std::uint8_t>(std::strtoul(hex.substr(i, 2).c_str(), nullptr, 16));
  }
  return data;
}

TEST(Samples, DamagedCopiesConvertToNothingAndLeaveNoFile) {
  int checked = 0;
  for (const pixtest::Sample& sample : pixtest::Samples()) {
    for (const std::string& how : sample.bad) {
      SCOPED_TRACE(sample.source + " damaged by " + how);
      pixtest::Scratch s;
      fs::create_directories(s.dir() / "in");
      fs::create_directories(s.dir() / "out");
      fs::path src = Place(sample.source, s.dir() / "in");
      Bytes damaged = Damage(pixtest::ReadFile(src.string()), how);
      ASSERT_FALSE(damaged.empty() && how.rfind("cut:", 0) != 0) << "bad= case not understood";
      pixtest::WriteFile(src.string(), damaged);
      const std::string target = (s.dir() / "out" / sample.target).string();
      EXPECT_LE(pixMISC(src.string().c_str(), target.c_str()), 0);
      EXPECT_TRUE(FilesIn(s.dir() / "out").empty()) << FilesIn(s.dir() / "out").front();
      unsigned char* block = nullptr;
      EXPECT_EQ(pixtest::TakeBlock(block, seeMISC(src.string().c_str(), &block)).size(), 0u);
      ++checked;
    }
  }
  std::printf("%d damaged copies checked\n", checked);
}

}  // namespace
