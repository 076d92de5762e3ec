// Cut and damaged sources never make a converter read or write out of
// bounds (the sanitizer build runs this); each just gives its result.
#include <gtest/gtest.h>

#include <functional>

#include "common/call.h"
#include "pixmisc.h"
#include "retro/retro.h"
#include "retro_support.h"

namespace {

using pixtest::Bytes;

int Pc1(const pix::ConvertCall& c) { return PC1toIFF(c.source, c.target, c.out); }

TEST(Robustness, CutAndDamagedSamples) {
  struct Case {
    const char* sample;
    const char* asName;
    pix::ConverterFn fn;
    const char* target;
  } cases[] = {
      {"retro_snap.z80", "x.z80", pix::ZxSnapshotToTiff, "o.tif"}, {"retro_snap.z80", "x.z80", pix::ZxScreenToTiff, "o.tif"},
      {"retro_snap.prg", "x.prg", pix::ZxScreenToTiff, "o.tif"},   {"retro_snap.prg", "x.snx", pix::ZxScreenToTiff, "o.tif"},
      {"retro_screen.tap", "x.tap", pix::ZxTapeBlockExtract, "o.scr"}, {"retro_screen.tap", "x.tap", pix::ZxTapeToZxs, "o.zxs"},
      {"retro_screen.cpc", "x.cpc", pix::CpcScreenToTiff, "o.tif"}, {"retro_logo.xbm", "x.xbm", pix::XbmToGrob, "o.grb"},
      {"retro_logo.gro", "x.gro", pix::GroToBmp, "o.bmp"},         {"retro_gray.pcx", "x.pcx", pix::PcxToTiGrayPic, "o.grb"},
      {"retro_oric.tap", "x.tap", pix::OricTapeToPpm, "o.ppm"},    {"retro_icon.icn", "x.icn", pix::IcnToIff, "o.iff"},
      {"retro_picture.pi1", "x.pi1", Pc1, "o.iff"},                {"retro_picture.pi1", "x.neo", Pc1, "o.iff"},
  };
  pixtest::Scratch dir;
  for (const auto& c : cases) {
    Bytes whole = pixtest::ReadFile(std::string(pixtest::kSourceDir) + "/samples/" + c.sample);
    ASSERT_FALSE(whole.empty()) << c.sample;
    std::vector<Bytes> variants;
    for (std::size_t n : {std::size_t(0), std::size_t(1), std::size_t(7), std::size_t(31), whole.size() / 2, whole.size() - 1})
      variants.emplace_back(whole.begin(), whole.begin() + static_cast<long>(std::min(n, whole.size())));
    for (std::size_t at : {std::size_t(0), std::size_t(2), std::size_t(12), std::size_t(30), whole.size() - 2}) {
      Bytes b = whole;
      b[at % b.size()] ^= 0xFF;
      variants.push_back(b);
    }
    for (const Bytes& v : variants) {
      std::string src = dir.path(c.asName), dst = dir.path(c.target);
      pixtest::WriteFile(src, v);
      pix::ConvertCall call;
      call.source = src.c_str();
      call.target = dst.c_str();
      testing::internal::CaptureStderr();
      c.fn(call);
      unsigned char* block = nullptr;
      call.target = nullptr;
      call.out = &block;
      int n = c.fn(call);
      testing::internal::GetCapturedStderr();
      if (block) pixtest::TakeBlock(block, n);
    }
  }
}

}  // namespace
