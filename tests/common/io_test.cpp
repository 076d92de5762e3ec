// The byte reader, the output sink in both modes, memory results, temporary
// files and the private temporary directory.
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>

#include "common/files.h"
#include "common/image.h"
#include "common/reader.h"
#include "platform/platform.h"
#include "support.h"

namespace {

TEST(ByteReader, IntegersAndStickyEnd) {
  const std::uint8_t data[] = {0x01, 0x02, 0x03, 0x04, 0x05};
  pix::ByteReader r(data, sizeof data);
  EXPECT_EQ(r.u16le(), 0x0201);
  EXPECT_EQ(r.u16be(), 0x0304);
  EXPECT_FALSE(r.bad());
  EXPECT_EQ(r.u32le(), 0x05u);  // one byte left: the rest reads as zero
  EXPECT_TRUE(r.bad());
  EXPECT_EQ(r.u8(), 0);
  pix::ByteReader s(data, sizeof data);
  EXPECT_EQ(s.u32be(), 0x01020304u);
  EXPECT_EQ(s.at(4), 5);
  EXPECT_EQ(s.at(5), 0);
  EXPECT_EQ(s.u32beAt(1), 0x02030405u);
  EXPECT_EQ(s.u32leAt(3), 0x0504u);  // bytes past the end read as 0
  EXPECT_EQ(s.take(2), nullptr);
  EXPECT_TRUE(s.bad());
  pix::ByteReader t(data, sizeof data);
  EXPECT_FALSE(t.seek(6));
  EXPECT_TRUE(t.bad());
  EXPECT_EQ(t.pos(), 5u);
  pix::ByteReader u(data, sizeof data);
  EXPECT_TRUE(u.skip(5));
  EXPECT_FALSE(u.skip(1));
  EXPECT_TRUE(u.has(0, 5));
  EXPECT_FALSE(u.has(1, 5));
  EXPECT_FALSE(u.has(6, 0));
}

// Writing the same things to a file and to memory gives the same bytes.
TEST(Sink, FileAndMemoryModesAgree) {
  pixtest::Scratch s;
  auto fill = [](pix::Sink& k) {
    k.puts("HEAD");
    k.put16le(0x1234);
    k.put16be(0x1234);
    k.put32le(0xA1B2C3D4);
    k.put32be(0xA1B2C3D4);
    k.printf("%03d|", 7);
    std::uint8_t z[3] = {0, 0, 0};
    k.write(z, 3);
    std::uint8_t p[2] = {'P', 'Q'};
    k.patch(0, p, 2);
  };
  pix::Sink f;
  ASSERT_TRUE(f.open(s.path("o.bin").c_str()));
  fill(f);
  ASSERT_TRUE(f.close());
  pix::Sink m;
  ASSERT_TRUE(m.open(nullptr));
  fill(m);
  unsigned char* block = nullptr;
  int n = m.release(&block);
  pixtest::Bytes mem = pixtest::TakeBlock(block, n);
  EXPECT_EQ(mem, pixtest::ReadFile(s.path("o.bin")));
  EXPECT_EQ(n, 4 + 2 + 2 + 4 + 4 + 4 + 3);
  EXPECT_EQ(mem[0], 'P');
  EXPECT_EQ(mem[2], 'A');
}

TEST(Sink, UnwritableTargetFails) {
  pix::Sink f;
  EXPECT_FALSE(f.open("/nonexistent-dir/x/y.bin"));
}

TEST(HandOver, BlockHasSpareZeroByteAndFailureLeavesPointer) {
  const std::uint8_t data[] = {9, 8, 7};
  unsigned char* block = nullptr;
  ASSERT_EQ(pix::HandOver(data, 3, &block), 3);
  EXPECT_EQ(block[0], 9);
  EXPECT_EQ(block[3], 0);
  std::free(block);
  unsigned char* untouched = reinterpret_cast<unsigned char*>(0x1);
  EXPECT_EQ(pix::HandOver(data, 0, &untouched), 0);
  EXPECT_EQ(untouched, reinterpret_cast<unsigned char*>(0x1));
  EXPECT_EQ(pix::HandOver(data, 3, nullptr), 0);
}

TEST(TempFiles, PrivateDirectoryAndUniqueNames) {
  const std::string& dir = pix::platform::TempDir();
  ASSERT_FALSE(dir.empty());
  struct stat st{};
  ASSERT_EQ(stat(dir.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0700u);
  std::string a, b;
  {
    pix::TempFile t1(".bmp"), t2(".bmp");
    ASSERT_TRUE(t1.ok());
    a = t1.path();
    b = t2.path();
    EXPECT_NE(a, b);
    EXPECT_EQ(a.rfind(dir, 0), 0u);
    EXPECT_TRUE(pix::platform::FileExists(a));
  }
  EXPECT_FALSE(pix::platform::FileExists(a));
  EXPECT_FALSE(pix::platform::FileExists(b));
}

TEST(Buffers, GrowthAndAllocation) {
  void* buf = nullptr;
  ASSERT_NE(pix::GrowBuffer(&buf, 100), nullptr);
  std::memset(buf, 1, 100);
  ASSERT_NE(pix::GrowBuffer(&buf, 200), nullptr);
  EXPECT_EQ(static_cast<std::uint8_t*>(buf)[99], 1);
  std::free(buf);
  EXPECT_EQ(pix::AllocBlock(0), nullptr);
  void* p = pix::AllocBlock(10);
  EXPECT_NE(p, nullptr);
  std::free(p);
}

TEST(Sizes, CheckedSizeRefusesHugeAndOverflowing) {
  EXPECT_EQ(pix::CheckedSize(10, 10, 3, 5), 305u);
  EXPECT_EQ(pix::CheckedSize(0, 10, 1), 0u);
  EXPECT_EQ(pix::CheckedSize(32769, 1, 1), 0u);
  EXPECT_EQ(pix::CheckedSize(32768, 32768, 1), 1u << 30);  // the largest accepted
  EXPECT_EQ(pix::CheckedSize(32768, 32768, 4, 1), (std::uint64_t(1) << 32) + 1);
}

}  // namespace
