// Spectrum snapshots and tapes. The samples table converts every snapshot
// kind to the one TIFF and every tape to its screen and records; here what a
// row cannot say: snapconv's state, both converters on every kind, the
// messages, failure codes and the program body beside the source.
#include <algorithm>
#include <filesystem>
#include <sstream>

#include "pixmisc.h"
#include "platform/platform.h"
#include "retro/retro.h"
#include "retro/zx.h"
#include "retro_support.h"

namespace {

using retrotest::Bytes;
using retrotest::Convert;
using retrotest::InMemory;
using retrotest::ReadSample;
using retrotest::Sample;

// The whole state of snapconv's Z80 files equals the SNA they were made from.
TEST(ZxSnapshots, Z80StateMatchesSnapconv) {
  for (const char* z80 : {"retro_zx_v3.z80", "retro_zx_stored.z80"}) {
    pix::ZxSnapshot snap;
    ASSERT_EQ(pix::ReadZxSnapshot(ReadSample(z80), pix::ZxKind::Z80, snap), pix::ZxRead::Ok);
    EXPECT_TRUE(pix::ZxSnapshotToSna(snap) == ReadSample("retro_snap.sna")) << z80;
  }
}

// Both converters, whichever a route takes: a size one off a kind's gives 0
// (".dat" is the raw kind); PRG files have no size rule; memory mode gives
// the file's bytes.
TEST(ZxSnapshots, BothConvertersOnEveryKind) {
  pixtest::Scratch dir;
  for (const char* name : {"retro_snap.sna", "retro_snap.sp", "retro_snap.zx", "retro_zx.ach", "retro_zx.sit", "retro_zx.bin"}) {
    const Bytes whole = ReadSample(name);
    std::string ext = std::filesystem::path(name).extension().string();
    if (ext == ".bin") ext = ".dat";
    Bytes longer = whole;
    longer.push_back(0);
    for (const Bytes& b : {Bytes(whole.begin(), whole.end() - 1), longer}) {
      EXPECT_EQ(Convert(pix::ZxSnapshotToTiff, dir, "x" + ext, b, "x.tif").result, 0) << name;
      if (ext != ".dat") {
        EXPECT_EQ(Convert(pix::ZxScreenToTiff, dir, "x" + ext, b, "x.tif").result, 0) << name;
      }
    }
  }
  const Bytes ref = ReadSample("ref/retro_zx.tif");
  for (auto fn : {pix::ZxSnapshotToTiff, pix::ZxScreenToTiff}) {
    for (const char* name : {"retro_snap.z80", "retro_snap.prg", "retro_zx_cut.prg"})
      EXPECT_TRUE(InMemory(fn, Sample(name)) == ref) << name;
    EXPECT_EQ(InMemory(fn, Sample("retro_zx_short.prg")).size(), pix::kZxTiffBytes);
  }
}

TEST(ZxSnapshots, CorruptZ80IsReported) {
  pixtest::Scratch dir;
  const Bytes good = ReadSample("retro_zx_pages.z80");  // pages 5, 4, 8
  Bytes hugeExtra = good;
  hugeExtra[30] = 0x60;
  hugeExtra[31] = 0xEA;
  for (const Bytes& b : {Bytes(good.begin(), good.end() - 10), Bytes(good.begin(), good.begin() + 614), hugeExtra, Bytes(12, 0)}) {
    const auto o = Convert(pix::ZxSnapshotToTiff, dir, "bad.z80", b, "bad.tif");
    EXPECT_EQ(o.result, 0);
    EXPECT_EQ(o.err, "Z80 image corrupted, can't convert\n");
  }
}

TEST(ZxSnapshots, SnapshotConverterFailureCodes) {
  pixtest::Scratch dir;
  const Bytes sna = ReadSample("retro_snap.sna");
  EXPECT_EQ(Convert(pix::ZxSnapshotToTiff, dir, "a.tif", sna, "o.tif").result, 4);
  EXPECT_EQ(Convert(pix::ZxSnapshotToTiff, dir, "a.dat", sna, "o.tif").result, 0);
  pix::ConvertCall call;
  const std::string missing = dir.path("none.sna"), dst = dir.path("o.tif");
  call.source = missing.c_str();
  call.target = dst.c_str();
  EXPECT_EQ(pix::ZxSnapshotToTiff(call), 4);
  unsigned char* block = reinterpret_cast<unsigned char*>(&call);
  call.target = nullptr;
  call.out = &block;
  EXPECT_EQ(pix::ZxSnapshotToTiff(call), 0);
  EXPECT_EQ(block, reinterpret_cast<unsigned char*>(&call));
}

// Tapes the screen cannot come from say why (only a cut header does); a
// missing one is "done" with nothing written. The records' trailers.
TEST(ZxTape, Messages) {
  pixtest::Scratch dir;
  const Bytes tape = ReadSample("retro_screen.tap");
  Bytes badFlag = tape;
  badFlag[2] = 0x42;
  const struct {
    Bytes tape;
    const char* message;
  } unusable[] = {{Bytes(tape.begin() + 21, tape.end()), ""},  // data first
                  {badFlag, ""},
                  {Bytes(tape.begin(), tape.begin() + 21), ""},  // no data
                  {Bytes(tape.begin(), tape.begin() + 12), "error reading header\n"}};
  for (const auto& c : unusable) {
    const auto o = Convert(pix::ZxTapeBlockExtract, dir, "bad.tap", c.tape, "out.scr");
    EXPECT_EQ(o.result, 0);
    EXPECT_EQ(o.err, c.message);
    EXPECT_FALSE(pix::platform::FileExists(dir.path("out.scr")));
  }
  pix::ConvertCall call;
  const std::string missing = dir.path("none.tap"), dst = dir.path("out.scr");
  call.source = missing.c_str();
  call.target = dst.c_str();
  EXPECT_EQ(pix::ZxTapeBlockExtract(call), 1);
  EXPECT_FALSE(pix::platform::FileExists(dst));

  const struct {
    Bytes tail;
    int result;
    std::string message;
  } trailers[] = {{{0}, 1, " Zero one\n"}, {{0, 0, 0}, 1, " Zeros\n"}, {{0, 0, 7}, 1, " Scrap\n"}, {{9}, 0, ""}};
  for (const auto& c : trailers) {
    Bytes t = tape;
    t.insert(t.end(), c.tail.begin(), c.tail.end());
    const auto o = Convert(pix::ZxTapeToZxs, dir, "t.tap", t, "t.zxs");
    EXPECT_EQ(o.result, c.result);
    if (!c.message.empty()) {
      EXPECT_TRUE(o.err.size() >= c.message.size() && o.err.compare(o.err.size() - c.message.size(), c.message.size(), c.message) == 0) << o.err;
    } else {
      EXPECT_EQ(o.err.find(" Z"), std::string::npos);
      EXPECT_EQ(o.err.find(" Scrap"), std::string::npos);
    }
  }
  const std::string cut = Convert(pix::ZxTapeToZxs, dir, "c.tap", ReadSample("retro_tape_cut.tap"), "c.zxs").err;
  EXPECT_EQ(std::count(cut.begin(), cut.end(), '\n'), 6);
}

// The listing printed while the records are written agrees with tzxlist's
// reading of the tape: block lengths, and the names with their types.
TEST(ZxTape, ListingAgreesWithTzxlist) {
  PIX_REQUIRE_TOOL("tzxlist");
  pixtest::Scratch dir;
  const auto o = Convert(pix::ZxTapeToZxs, dir, "t.tap", ReadSample("retro_screen.tap"), "t.zxs");
  ASSERT_EQ(o.result, 1);
  const auto r = pixtest::Run("tzxlist " + pixtest::Quote(dir.path("t.tap")));
  ASSERT_EQ(r.status, 0);
  std::vector<int> theirs;
  const std::string key = "Block length: ";
  for (std::size_t at = r.out.find(key); at != std::string::npos; at = r.out.find(key, at + 1))
    theirs.push_back(std::stoi(r.out.substr(at + key.size())));
  std::vector<std::string> lines;
  std::istringstream in(o.err);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 6u);
  ASSERT_EQ(theirs.size(), 6u);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    char expect[64];
    std::snprintf(expect, sizeof expect, "%03zu %5d", i, theirs[i] - 2);
    EXPECT_EQ(lines[i].rfind(expect, 0), 0u) << lines[i];
  }
  EXPECT_NE(lines[0].find("C  \"screen    \""), std::string::npos) << lines[0];
  EXPECT_NE(lines[2].find("B  \"loader?   \""), std::string::npos) << lines[2];
  EXPECT_NE(lines[4].find("D$ \"numbers   \""), std::string::npos) << lines[4];
  EXPECT_NE(r.out.find("\"screen    \""), std::string::npos);
}

// The program body lives beside the host program or the source; none ships,
// so 0 without one, and the flag byte and screen alone.
TEST(ZxPrg, ScreenToProgramNeedsTheBody) {
  pixtest::Scratch dir;
  const Bytes screen = ReadSample("retro_screen.scr");
  const std::string src = dir.path("pic.scr"), dst = dir.path("pic.prg");
  pixtest::WriteFile(src, screen);
  const std::string body = pix::platform::HostProgramDir() + "PRGCORPS.bin";
  ASSERT_FALSE(pix::platform::FileExists(body));
  EXPECT_EQ(pixMISC(src.c_str(), dst.c_str()), 0);
  Bytes expect = {0x05};
  expect.insert(expect.end(), screen.begin(), screen.end());
  EXPECT_TRUE(pixtest::ReadFile(dst) == expect);

  // With a body beside this test program, the three parts follow each other.
  pixtest::WriteFile(body, pixtest::ToBytes("BODY"));
  pix::ConvertCall call;
  call.source = src.c_str();
  call.target = dst.c_str();
  const int result = pix::ZxScreenToPrg(call);
  pix::platform::DeleteFile(body);
  EXPECT_EQ(result, 1);
  for (char c : std::string("BODY")) expect.push_back(static_cast<std::uint8_t>(c));
  EXPECT_TRUE(pixtest::ReadFile(dst) == expect);

  // A body beside the source serves as well, through the route.
  pixtest::WriteFile(dir.path("PRGCORPS.bin"), pixtest::ToBytes("BODY"));
  std::filesystem::remove(dst);
  EXPECT_EQ(pixMISC(src.c_str(), dst.c_str()), 1);
  EXPECT_TRUE(pixtest::ReadFile(dst) == expect);
}

}  // namespace
