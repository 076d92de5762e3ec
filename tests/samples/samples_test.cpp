// Every listed sample whose row names an independent decoder and a reference
// picture is converted through the route table; the output, read by that
// decoder, must show the reference's pixels. Each bad= case of a row (a cut
// or patched copy of the sample) must convert to nothing and leave no file.
#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "pixmisc.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;
using pixtest::Bytes;
using pixtest::Pnm;

// The command that prints a file as PNM for a decoder named in a row.
std::string DecodeCommand(const std::string& decoder, const std::string& path) {
  if (decoder == "magick") return "convert " + pixtest::Quote(path) + " -depth 8 ppm:-";
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

TEST(Samples, OutputsShowTheReferencePictures) {
  int checked = 0;
  for (const pixtest::Sample& sample : pixtest::Samples()) {
    const std::string decoder = sample.option("decoder"), ref = sample.option("ref");
    if (decoder.empty() || ref.empty()) continue;
    SCOPED_TRACE(sample.source + " -> " + sample.target + " read by " + decoder);
    PIX_REQUIRE_TOOL(decoder == "magick" ? "convert" : decoder == "pillow" ? pixtest::kPython : decoder);
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
    const fs::path refPath = fs::path(pixtest::kSourceDir) / "samples" / ref;
    Pnm want = Decode(ref.ends_with(".png") ? "pngtopnm " + pixtest::Quote(refPath.string())
                                            : "cat " + pixtest::Quote(refPath.string()));
    Pnm got = Decode(DecodeCommand(decoder, output.string()));
    ASSERT_EQ(got.width, want.width);
    ASSERT_EQ(got.height, want.height);
    const Bytes a = ToRgb(got), b = ToRgb(want);
    const int tol = std::atoi(sample.option("tol").c_str());
    std::size_t off = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
      if (std::abs(int(a[i]) - int(b[i])) > tol) ++off;
    EXPECT_EQ(off, 0u) << "samples differing from the reference (of " << a.size() << ")";
    ++checked;
  }
  std::printf("%d samples checked against their reference pictures\n", checked);
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
