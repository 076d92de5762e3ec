// IFF FORM groups and PCX archive records cut out of their containers.
#include "containers_util.h"
#include "extract/extract.h"

namespace {

using ctest::Append;
using pixtest::Bytes;

Bytes Slice(const Bytes& b, std::size_t from, std::size_t to) {
  return Bytes(b.begin() + static_cast<std::ptrdiff_t>(from), b.begin() + static_cast<std::ptrdiff_t>(to));
}

// "FORM" groups at 0, 5000 and 9000; the first scan block carries a text
// from offset 18 up to a zero byte.
Bytes AnimFile(std::size_t size, const std::string& head) {
  Bytes file = ctest::Filler(size, 11);
  std::copy(head.begin(), head.end(), file.begin());
  file[head.size()] = 0;
  for (std::size_t at : {std::size_t(5000), std::size_t(9000)})
    if (at + 4 <= size) std::copy_n("FORM", 4, file.begin() + static_cast<std::ptrdiff_t>(at));
  return file;
}

TEST(IffFormScan, GroupsShareTheFourBytesBeforeEachForm) {
  pixtest::Scratch s;
  const std::string head = "FORMab123456ANIMxxAnimated by hand";
  const Bytes file = AnimFile(14000, head);
  pixtest::WriteFile(s.path("walk.ani"), file);
  EXPECT_EQ(ctest::CallFile(pix::IffFormScan, s.path("walk.ani"), s.path("t.iff")), 3);
  Bytes first = pixtest::ToBytes("FORMabAnimated by hand");
  Append(first, Slice(file, 4097, 5000));
  EXPECT_EQ(pixtest::ReadFile(s.path("walk_0001.iff")), first);
  EXPECT_EQ(pixtest::ReadFile(s.path("walk_0002.iff")), Slice(file, 4996, 9000));
  EXPECT_EQ(pixtest::ReadFile(s.path("walk_0003.iff")), Slice(file, 8996, 14000));
}

TEST(IffFormScan, BlockRules) {
  struct Case {
    const char* what;
    std::size_t size;
    std::string head;
    int want;
    std::size_t firstLength;  // of _0001
  };
  const Case cases[] = {
      // The last "FORM" has fewer than 4097 bytes after it: that final short
      // block ends the scan unsearched.
      {"short tail", 11000, "FORMab123456ANIMxxtext", 2, 6 + 4 + (5000 - 4097)},
      // A zero byte before offset 18: only the first 6 bytes, then the source
      // from the block's length on.
      {"early zero", 14000, "FORM", 3, 6 + (5000 - 4097)},
      // Shorter than one scan block: nothing is searched.
      {"small file", 4000, "FORMab123456ANIMxxtext", 0, 0},
  };
  for (const Case& c : cases) {
    pixtest::Scratch s;
    pixtest::WriteFile(s.path("a.ani"), AnimFile(c.size, c.head));
    EXPECT_EQ(ctest::CallFile(pix::IffFormScan, s.path("a.ani"), s.path("t.iff")), c.want) << c.what;
    if (c.want > 0) {
      EXPECT_EQ(pixtest::ReadFile(s.path("a_0001.iff")).size(), c.firstLength) << c.what;
    }
  }
}

// Back-to-back signatures: every group still moves the scan forward.
TEST(IffFormScan, RunOfSignaturesEnds) {
  pixtest::Scratch s;
  Bytes file(4097, 0);
  for (int i = 0; i < 100; ++i) Append(file, std::string("FORM"));
  Append(file, ctest::Filler(5000, 3));
  pixtest::WriteFile(s.path("r.ani"), file);
  EXPECT_EQ(ctest::CallFile(pix::IffFormScan, s.path("r.ani"), s.path("t.iff")), 101);
  EXPECT_EQ(pixtest::ReadFile(s.path("r_0101.iff")), Slice(file, 4097 + 99 * 4 - 4, file.size()));
}

// Records: length A, A bytes, 4 bytes, 4 unused bytes, size S, S bytes of PCX.
void PutRecord(Bytes& file, const Bytes& picture, std::uint32_t declared, std::size_t junk) {
  ctest::PutLe(file, static_cast<std::uint32_t>(junk), 4);
  Append(file, ctest::Filler(junk, static_cast<int>(junk)));
  ctest::PutLe(file, 0xDEADBEEF, 4);
  ctest::PutLe(file, 7, 4);
  ctest::PutLe(file, declared, 4);
  Append(file, picture);
}

TEST(PcxArchive, WritesEachRecordAndPassesOverOversizedOnes) {
  PIX_REQUIRE_TOOL("pcxtoppm");
  pixtest::Scratch s;
  const Bytes a = ctest::MakePicture(s, "PCX", 30, 20, 1);
  const Bytes b = ctest::MakePicture(s, "PCX", 17, 9, 2);
  const Bytes big = ctest::Filler(44101, 9);
  Bytes file;
  PutRecord(file, a, static_cast<std::uint32_t>(a.size()), 3);
  PutRecord(file, big, 44101, 0);  // over the picture buffer: passed over
  PutRecord(file, b, static_cast<std::uint32_t>(b.size()), 12);
  PutRecord(file, Bytes(a.begin(), a.begin() + 300), static_cast<std::uint32_t>(a.size()), 1);  // cut short
  pixtest::WriteFile(s.path("pics.pca"), file);

  EXPECT_EQ(ctest::CallFile(pix::PcxArchiveRead, s.path("pics.pca"), s.path("x.pcx")), 2);
  const Bytes* want[] = {&a, &b};
  for (int i = 0; i < 2; ++i) {
    const std::string name = s.path("pics_000" + std::to_string(i) + ".pcx");
    EXPECT_EQ(pixtest::ReadFile(name), *want[i]);
    const pixtest::Pnm cut = pixtest::DecodeWith("pcxtoppm", name);
    EXPECT_EQ(cut.width, i == 0 ? 30 : 17);
  }
  EXPECT_FALSE(std::filesystem::exists(s.path("pics_0002.pcx")));
}

TEST(PcxArchive, DegenerateArchives) {
  pixtest::Scratch s;
  Bytes zero;
  PutRecord(zero, {}, 0, 2);  // a zero size ends the walk
  PutRecord(zero, ctest::Filler(50, 1), 50, 2);
  pixtest::WriteFile(s.path("z.pca"), zero);
  EXPECT_EQ(ctest::CallFile(pix::PcxArchiveRead, s.path("z.pca"), s.path("x.pcx")), 0);
  Bytes far;
  ctest::PutLe(far, 0xFFFFFFF0u, 4);  // skips past the end
  Append(far, ctest::Filler(100, 2));
  pixtest::WriteFile(s.path("f.pca"), far);
  EXPECT_EQ(ctest::CallFile(pix::PcxArchiveRead, s.path("f.pca"), s.path("x.pcx")), 0);
  EXPECT_EQ(ctest::CallFile(pix::PcxArchiveRead, s.path("none.pca"), s.path("x.pcx")), 0);
}

}  // namespace
