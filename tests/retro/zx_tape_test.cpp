// Spectrum tapes: the first file of a tape as a .scr, the re-packed .zxs with
// its listing compared with tzxlist, and the screen-to-program wrapper.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "common/call.h"
#include "platform/platform.h"
#include "retro/retro.h"
#include "retro_support.h"

namespace {

using pixtest::Bytes;

Bytes Block(std::uint8_t flag, const Bytes& payload) {
  Bytes b = {0, 0, flag};
  b.insert(b.end(), payload.begin(), payload.end());
  std::uint8_t x = flag;
  for (auto c : payload) x ^= c;
  b.push_back(x);
  retrotest::Put16le(b, 0, static_cast<unsigned>(b.size() - 2));
  return b;
}

Bytes Header(std::uint8_t type, const char* name, unsigned len, unsigned p1, unsigned p2) {
  Bytes h(17, ' ');
  h[0] = type;
  for (int i = 0; name[i] && i < 10; ++i) h[1 + i] = static_cast<std::uint8_t>(name[i]);
  retrotest::Put16le(h, 11, len);
  retrotest::Put16le(h, 13, p1);
  retrotest::Put16le(h, 15, p2);
  return h;
}

Bytes Screen() {
  Bytes s(6912);
  for (std::size_t i = 0; i < s.size(); ++i) s[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  return s;
}

Bytes Tape() {
  Bytes t;
  for (const Bytes& b : {Block(0, Header(3, "screen", 6912, 16384, 32768)), Block(0xFF, Screen()),
                         Block(0, Header(0, "loader\x01", 5, 10, 5)), Block(0xFF, pixtest::ToBytes("hello")),
                         Block(0, Header(1, "numbers", 3, 0, 0)), Block(0xFF, {1, 2, 3})})
    t.insert(t.end(), b.begin(), b.end());
  return t;
}

TEST(ZxTape, FirstFileBecomesTheScreen) {
  pixtest::Scratch dir;
  std::string src = dir.path("game.tap"), dst = dir.path("out.scr");
  pixtest::WriteFile(src, Tape());
  EXPECT_EQ(retrotest::CliConvert(src, dst), 1);
  EXPECT_TRUE(pixtest::ReadFile(dst) == Screen());
}

TEST(ZxTape, UnusableTapesWriteNothing) {
  pixtest::Scratch dir;
  std::string dst = dir.path("out.scr");
  Bytes dataFirst = Block(0xFF, Screen());
  Bytes badFlag = Tape();
  badFlag[2] = 0x42;
  Bytes shortData = Block(0, Header(3, "screen", 6912, 16384, 0));
  Bytes cutHeader = Tape();
  cutHeader.resize(12);
  struct Case {
    Bytes tape;
    const char* message;
  } cases[] = {{dataFirst, ""}, {badFlag, ""}, {shortData, ""}, {cutHeader, "error reading header\n"}};
  for (const auto& c : cases) {
    std::string src = dir.path("bad.tap");
    pixtest::WriteFile(src, c.tape);
    pix::ConvertCall call;
    call.source = src.c_str();
    call.target = dst.c_str();
    testing::internal::CaptureStderr();
    EXPECT_EQ(pix::ZxTapeBlockExtract(call), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.message);
    EXPECT_FALSE(pix::platform::FileExists(dst));
  }
  // A source that is not there: the host is told "done" and nothing is written.
  std::string missing = dir.path("none.tap");
  pix::ConvertCall call;
  call.source = missing.c_str();
  call.target = dst.c_str();
  EXPECT_EQ(pix::ZxTapeBlockExtract(call), 1);
  EXPECT_FALSE(pix::platform::FileExists(dst));
}

// Records of L + 5 bytes: length, three zeros, the block as it stands.
TEST(ZxTape, ZxsRecordsAndListingAgreeWithTzxlist) {
  PIX_REQUIRE_TOOL("tzxlist");
  pixtest::Scratch dir;
  Bytes tape = Tape();
  std::string src = dir.path("game.tap"), dst = dir.path("game.zxs");
  pixtest::WriteFile(src, tape);
  pix::ConvertCall call;
  call.source = src.c_str();
  call.target = dst.c_str();
  testing::internal::CaptureStderr();
  ASSERT_EQ(pix::ZxTapeToZxs(call), 1);
  std::string listing = testing::internal::GetCapturedStderr();

  Bytes zxs = pixtest::ReadFile(dst);
  std::vector<unsigned> ours;
  for (std::size_t t = 0, z = 0; t < tape.size();) {
    unsigned len = tape[t] | tape[t + 1] << 8;
    ASSERT_LE(z + 5 + len, zxs.size());
    EXPECT_EQ(zxs[z] | zxs[z + 1] << 8, len + 5);
    EXPECT_EQ(zxs[z + 2] | zxs[z + 3] | zxs[z + 4], 0);
    EXPECT_TRUE(std::equal(tape.begin() + static_cast<long>(t + 2), tape.begin() + static_cast<long>(t + 2 + len),
                           zxs.begin() + static_cast<long>(z + 5)));
    ours.push_back(len);
    t += 2 + len;
    z += 5 + len;
  }

  // tzxlist's block lengths and names against our listing lines.
  auto r = pixtest::Run("tzxlist " + pixtest::Quote(src));
  ASSERT_EQ(r.status, 0);
  std::vector<unsigned> theirs;
  const std::string key = "Block length: ";
  for (std::size_t at = r.out.find(key); at != std::string::npos; at = r.out.find(key, at + 1))
    theirs.push_back(static_cast<unsigned>(std::stoul(r.out.substr(at + key.size()))));
  EXPECT_EQ(theirs, ours);
  std::vector<std::string> lines;
  std::istringstream in(listing);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), theirs.size());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    char expect[64];
    std::snprintf(expect, sizeof expect, "%03zu %5d", i, static_cast<int>(theirs[i]) - 2);
    EXPECT_EQ(lines[i].rfind(expect, 0), 0u) << lines[i];
  }
  EXPECT_NE(lines[0].find("C  \"screen    \""), std::string::npos) << lines[0];
  EXPECT_NE(lines[2].find("B  \"loader?   \""), std::string::npos) << lines[2];
  EXPECT_NE(lines[4].find("D$ \"numbers   \""), std::string::npos) << lines[4];
  EXPECT_NE(r.out.find("\"screen    \""), std::string::npos);
}

TEST(ZxTape, ZxsTrailers) {
  pixtest::Scratch dir;
  std::string src = dir.path("t.tap"), dst = dir.path("t.zxs");
  struct Case {
    Bytes tail;
    int result;
    const char* message;
  } cases[] = {{{0}, 1, " Zero one\n"}, {{0, 0, 0}, 1, " Zeros\n"}, {{0, 0, 7}, 1, " Scrap\n"}, {{9}, 0, ""}};
  for (const auto& c : cases) {
    Bytes t = Tape();
    t.insert(t.end(), c.tail.begin(), c.tail.end());
    pixtest::WriteFile(src, t);
    pix::ConvertCall call;
    call.source = src.c_str();
    call.target = dst.c_str();
    testing::internal::CaptureStderr();
    EXPECT_EQ(pix::ZxTapeToZxs(call), c.result);
    std::string err = testing::internal::GetCapturedStderr(), m = c.message;
    if (!m.empty()) {
      EXPECT_EQ(err.substr(err.size() - std::min(err.size(), m.size())), m);
    } else {
      EXPECT_EQ(err.find(" Z"), std::string::npos);
      EXPECT_EQ(err.find(" Scrap"), std::string::npos);
    }
  }
}

// A tape whose last block is cut: that block is copied as far as it goes,
// under its declared record length, and the tape still counts as done.
TEST(ZxTape, ZxsCutLastBlock) {
  pixtest::Scratch dir;
  std::string src = dir.path("cut.tap"), dst = dir.path("cut.zxs");
  Bytes tape = Tape();
  tape.resize(tape.size() - 2);  // the last block (length 5) keeps 3 of its bytes
  pixtest::WriteFile(src, tape);
  pix::ConvertCall call;
  call.source = src.c_str();
  call.target = dst.c_str();
  testing::internal::CaptureStderr();
  EXPECT_EQ(pix::ZxTapeToZxs(call), 1);
  std::string listing = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(listing.begin(), listing.end(), '\n'), 6);
  Bytes zxs = pixtest::ReadFile(dst);
  Bytes last(zxs.end() - 8, zxs.end());
  EXPECT_TRUE(last == (Bytes{10, 0, 0, 0, 0, 0xFF, 1, 2})) << zxs.size();
}

// The program body lives beside the host program or the source; none ships,
// so 0 without one.
TEST(ZxPrg, ScreenToProgramNeedsTheBody) {
  pixtest::Scratch dir;
  std::string src = dir.path("pic.scr"), dst = dir.path("pic.prg");
  pixtest::WriteFile(src, Screen());
  std::string body = pix::platform::HostProgramDir() + "PRGCORPS.bin";
  ASSERT_FALSE(pix::platform::FileExists(body));
  EXPECT_EQ(retrotest::CliConvert(src, dst), 0);
  Bytes expect = {0x05};
  Bytes screen = Screen();
  expect.insert(expect.end(), screen.begin(), screen.end());
  EXPECT_TRUE(pixtest::ReadFile(dst) == expect);

  // With a body beside this test program, the three parts follow each other.
  pixtest::WriteFile(body, pixtest::ToBytes("BODY"));
  pix::ConvertCall call;
  call.source = src.c_str();
  call.target = dst.c_str();
  int result = pix::ZxScreenToPrg(call);
  pix::platform::DeleteFile(body);
  EXPECT_EQ(result, 1);
  Bytes withBody = expect;
  for (char c : std::string("BODY")) withBody.push_back(static_cast<std::uint8_t>(c));
  EXPECT_TRUE(pixtest::ReadFile(dst) == withBody);

  // A body beside the source serves as well, through the route.
  pixtest::WriteFile(dir.path("PRGCORPS.bin"), pixtest::ToBytes("BODY"));
  std::filesystem::remove(dst);
  EXPECT_EQ(retrotest::CliConvert(src, dst), 1);
  EXPECT_TRUE(pixtest::ReadFile(dst) == withBody);
}

}  // namespace
