// Path splitting, the clean-up and target names.
#include "common/paths.h"
#include "platform/platform.h"
#include "support.h"

namespace {

const std::string S(1, pix::platform::kSep);

TEST(Paths, CleanUpCollapsesRunsOfEitherSeparator) {
  struct {
    std::string in, out;
  } cases[] = {
      {"C:\\Temp\\\\tmp.bmp", "C:\\Temp\\tmp.bmp"},
      {"a\\\\\\b", "a\\b"},
      {"", ""},
      {"a//b///c", "a/b/c"},
      {"a/\\b", "a/b"},
      {"\\\\server\\share", "\\server\\share"},
      {"plain", "plain"},
  };
  for (auto& c : cases) {
    std::string p = c.in;
    pix::CleanPath(p);
    EXPECT_EQ(p, c.out) << c.in;
  }
}

TEST(Paths, SplitLikeTheRuntime) {
  struct {
    const char* in;
    const char *drive, *dir, *name, *ext;
  } cases[] = {
      {"D:\\out\\y.jpg", "D:", "\\out\\", "y", ".jpg"},
      {"/tmp/x/a.b.c", "", "/tmp/x/", "a.b", ".c"},
      {"noext", "", "", "noext", ""},
      {"dir.d/noext", "", "dir.d/", "noext", ""},
      {"mixed\\dir/file.TIF", "", "mixed\\dir/", "file", ".TIF"},
      {".hidden", "", "", "", ".hidden"},
      {"", "", "", "", ""},
  };
  for (auto& c : cases) {
    pix::SplitPath s = pix::Split(c.in);
    EXPECT_EQ(s.drive, c.drive) << c.in;
    EXPECT_EQ(s.dir, c.dir) << c.in;
    EXPECT_EQ(s.name, c.name) << c.in;
    EXPECT_EQ(s.ext, c.ext) << c.in;
  }
}

TEST(Paths, NumberedNamesUseTargetFolderAndSourceName) {
  EXPECT_EQ(pix::SiblingName("/out/y.jpg", "/in/x.abc", "_%04d.jpg", 1), "/out/x_0001.jpg");
  EXPECT_EQ(pix::SiblingName("D:\\out\\y.jpg", "C:\\in\\x.abc", "_%04d.jpg", 12), "D:\\out\\x_0012.jpg");
  EXPECT_EQ(pix::SiblingName("y.jpg", "in/x.abc", "_%d.jpg", 3), "x_3.jpg");
  EXPECT_EQ(pix::SiblingName("o/y.ppm", "x.fli", "_%03d.ppm", 7), "o/x_007.ppm");
}

TEST(Paths, PatternBackslashBecomesNativeSeparator) {
  EXPECT_EQ(pix::FormatPath("%s%s\\%s_%04d.jpg", "", "/out/", "x", 2), "/out" + S + "x_0002.jpg");
  EXPECT_EQ(pix::FormatPath("%s\\tmp.bmp", "/tmp/p/"), "/tmp/p" + std::string(S == "/" ? "/" : "\\") + "tmp.bmp");
  // arguments keep their own separators; runs still collapse
  EXPECT_EQ(pix::FormatPath("%s%s", "a\\\\", "b"), "a\\b");
  // overlong names are refused
  EXPECT_EQ(pix::FormatPath("%s", std::string(pix::kMaxPath + 1, 'a').c_str()), "");
}

TEST(Paths, ExtensionComparison) {
  EXPECT_TRUE(pix::ExtMatches(".IMG", ".img", 4));
  EXPECT_TRUE(pix::ExtMatches(".tiff", ".tif", 4));
  EXPECT_FALSE(pix::ExtMatches(".jpeg", ".jpg", 4));
  EXPECT_FALSE(pix::ExtMatches(".spx", ".sp", 4));
  EXPECT_TRUE(pix::ExtMatches(".sp", ".sp", 4));
  EXPECT_TRUE(pix::ExtMatches(".zxs", ".zx", 3));
  EXPECT_FALSE(pix::ExtMatches("", ".gif", 4));
  EXPECT_FALSE(pix::ExtMatches(".col", ".collage", 8));
  EXPECT_TRUE(pix::ExtMatches(".col", ".collage", 4));
}

}  // namespace
