// The counting exports, Exif thumbnails, PowerPoint pictures and the two
// container readers (zip-packed and indexed).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "extract/extract.h"
#include "jpeg_fixtures.h"
#include "pixmisc.h"
#include "platform/platform.h"

using namespace jpegtest;
using pixtest::ReadFile;
using pixtest::Scratch;
using pixtest::ToBytes;
using pixtest::WriteFile;

namespace {

const Bytes& PicA() {
  static const Bytes a = MakeJpeg(64, 48, 5);
  return a;
}
const Bytes& Thumb() {
  static const Bytes t = MakeJpeg(16, 16, 6);
  return t;
}

Bytes At(std::size_t size, std::size_t offset, const std::string& text) {
  Bytes b(size, 0);
  std::copy(text.begin(), text.end(), b.begin() + static_cast<std::ptrdiff_t>(offset));
  return b;
}

TEST(Counting, EachMemberWithItsBlockAndEndRule) {
  PIX_REQUIRE_TOOL("cjpeg");
  Scratch s;
  auto file = [&](const std::string& name, const Bytes& b) {
    WriteFile(s.path(name), b);
    return s.path(name);
  };
  const std::string empty = file("empty.bin", {});
  int out = -7;
  for (auto fn : {compteFichiers, compteFichiersPNG, compteFichiersGIF, compteFichiersBMP, compteFichiersBMPelse,
                  compteFichiersDIB}) {
    out = -7;
    EXPECT_EQ(fn(empty.c_str(), &out), 0);
    EXPECT_EQ(out, 0);
  }
  EXPECT_EQ(compteFichiers_2(empty.c_str()), 0);
  EXPECT_EQ(compteFichiersTIFF(empty.c_str()), 0);
  EXPECT_EQ(compteFichiersPPT(empty.c_str()), 0);
  EXPECT_EQ(compteFichiers_PPS_jpeg(empty.c_str()), 0);

  // Unopenable: 0 (-1 for DIB), out value untouched.
  const std::string missing = s.path("missing.bin");
  out = -7;
  EXPECT_EQ(compteFichiers(missing.c_str(), &out), 0);
  EXPECT_EQ(compteFichiersDIB(missing.c_str(), &out), -1);
  EXPECT_EQ(out, -7);

  // Two JFIF pictures back to back, and the same without "JFIF".
  const Bytes two = Cat({Filler(2000, 1), PicA(), PicA(), Filler(2000, 2)});
  Bytes noJfif = two;
  for (std::size_t at = Find(noJfif, ToBytes("JFIF")); at != std::string::npos; at = Find(noJfif, ToBytes("JFIF")))
    noJfif[at] = 'j';
  EXPECT_EQ(compteFichiers(file("two.bin", two).c_str(), &out), 2);
  EXPECT_EQ(out, 2);
  EXPECT_EQ(compteFichiers(file("nojfif.bin", noJfif).c_str(), &out), 2);  // by its second pass
  EXPECT_EQ(compteFichiers_2(s.path("two.bin").c_str()), 2);
  EXPECT_EQ(compteFichiers_PPS_jpeg(s.path("two.bin").c_str()), 2);

  // PNG stops at end of file before the short block; GIF searches it.
  EXPECT_EQ(compteFichiersPNG(file("p.bin", At(600, 520, "PNG")).c_str(), &out), 0);
  EXPECT_EQ(compteFichiersGIF(file("g.bin", At(600, 520, "GIF89a")).c_str(), &out), 1);
  EXPECT_EQ(compteFichiersGIF(file("g7.bin", At(600, 100, "GIF87a")).c_str(), &out), 0);
  Bytes twoPng = At(1200, 10, "PNG");
  std::copy_n("PNG", 3, twoPng.begin() + 300);
  std::copy_n("PNG", 3, twoPng.begin() + 700);
  EXPECT_EQ(compteFichiersPNG(file("pp.bin", twoPng).c_str(), &out), 2);
  EXPECT_EQ(out, 2);

  // TIFF: every "II*", 5096-byte blocks, searched to the last.
  Bytes tiff = At(12000, 3, "II*");
  std::copy_n("II*", 3, tiff.begin() + 9);
  std::copy_n("II*", 3, tiff.begin() + 11990);
  EXPECT_EQ(compteFichiersTIFF(file("t.bin", tiff).c_str()), 3);

  // BMP: "BMP" then "BM" within 512 bytes.
  Bytes bmp = At(3000, 10, "BMP");
  std::copy_n("BM", 2, bmp.begin() + 100);
  EXPECT_EQ(compteFichiersBMP(file("b.bin", bmp).c_str(), &out), 1);

  // Bitmap file headers: the size skips the bitmap; size 0 ends the walk.
  Bytes heads(4000, 0);
  auto header = [&](std::size_t at, std::uint32_t size, std::uint16_t reserved) {
    heads[at] = 'B', heads[at + 1] = 'M';
    for (int k = 0; k < 4; ++k) heads[at + 2 + static_cast<std::size_t>(k)] = static_cast<std::uint8_t>(size >> (8 * k));
    heads[at + 6] = static_cast<std::uint8_t>(reserved);
  };
  header(10, 600, 0);
  header(100, 0, 0);   // inside the first bitmap: skipped
  header(700, 40, 1);  // reserved word set: not a bitmap
  header(1200, 0, 0);  // ends the walk
  header(2000, 30, 0);
  EXPECT_EQ(compteFichiersBMPelse(file("be.bin", heads).c_str(), &out), 2);

  // DIB: 1024-byte blocks with 28 00 00 00 (not in the last 11 bytes), or
  // "Thumb" as 16-bit text in ".mic" files, whatever the case of the name.
  Bytes dib(3072, 1);
  dib[10] = 0x28, dib[11] = dib[12] = dib[13] = 0;
  dib[1024 + 1015] = 0x28, dib[1024 + 1016] = dib[1024 + 1017] = dib[1024 + 1018] = 0;
  EXPECT_EQ(compteFichiersDIB(file("d.bin", dib).c_str(), &out), 1);
  Bytes mic(2048, 0);
  const char* wide = "T\0h\0u\0m\0b\0";
  std::copy_n(wide, 10, mic.begin() + 1500);
  EXPECT_EQ(compteFichiersDIB(file("d.MIC", mic).c_str(), &out), 1);
  EXPECT_EQ(compteFichiersDIB(file("d.dat", mic).c_str(), &out), 0);
}

// A PowerPoint-like file: 512 bytes, then flat records.
Bytes PptFile(const std::vector<Bytes>& pictures) {
  Bytes f(512, 0);
  auto record = [&](std::uint32_t type, const Bytes& body) {
    for (std::uint32_t v : {type, static_cast<std::uint32_t>(body.size())})
      for (int k = 0; k < 4; ++k) f.push_back(static_cast<std::uint8_t>(v >> (8 * k)));
    f.insert(f.end(), body.begin(), body.end());
  };
  record(0x0FF5000F, Bytes(30, 7));
  for (const Bytes& p : pictures) record(0xF01D46A0, Cat({Bytes(17, 9), p}));
  record(0x12345678, Bytes(5, 1));
  return f;
}

TEST(PowerPoint, PicturesByNumberInMemoryAndAsFiles) {
  PIX_REQUIRE_TOOL("cjpeg");
  Scratch s;
  const Bytes other = MakeJpeg(24, 24, 8);
  WriteFile(s.path("a.ppt"), PptFile({PicA(), other}));
  const std::string src = s.path("a.ppt");
  EXPECT_EQ(compteFichiersPPT(src.c_str()), 2);

  unsigned char* block = nullptr;
  int n = PPTtoJPG(src.c_str(), nullptr, 2, &block);
  ASSERT_EQ(n, static_cast<int>(other.size()));
  EXPECT_EQ(pixtest::TakeBlock(block, n), other);
  block = nullptr;
  EXPECT_EQ(PPTtoJPG(src.c_str(), nullptr, 3, &block), 0);
  EXPECT_EQ(block, nullptr);

  Scratch out;
  EXPECT_EQ(PPTtoJPG(src.c_str(), out.path("p.jpg").c_str(), 2, nullptr), 1);
  EXPECT_EQ(out.files(), (std::vector<std::string>{"p_02.jpg"}));
  Scratch all;
  EXPECT_EQ(PPTtoJPG(src.c_str(), all.path("p.jpg").c_str(), 0, nullptr), 2);  // the route's "every picture"
  EXPECT_EQ(all.files(), (std::vector<std::string>{"p_01.jpg", "p_02.jpg"}));
  EXPECT_EQ(ReadFile(all.path("p_01.jpg")), PicA());
  EXPECT_EQ(Decode(ReadFile(all.path("p_02.jpg"))), Decode(other));

  // A record length that runs past the end gives what is there; a zero
  // length ends the walk.
  Bytes cut = PptFile({PicA()});
  cut.resize(512 + 38 + 8 + 17 + 100);
  WriteFile(s.path("cut.ppt"), cut);
  block = nullptr;
  EXPECT_EQ(PPTtoJPG(s.path("cut.ppt").c_str(), nullptr, 1, &block), 100);
  free(block);
  Bytes zero(512 + 8, 0);
  zero[512] = 0xA0, zero[513] = 0x46, zero[514] = 0x1D, zero[515] = 0xF0;
  WriteFile(s.path("zero.ppt"), zero);
  EXPECT_EQ(compteFichiersPPT(s.path("zero.ppt").c_str()), 0);
  EXPECT_EQ(PPTtoJPG(s.path("zero.ppt").c_str(), nullptr, 1, &block), 0);
}

TEST(ExifThumbnail, FoundThroughTheSecondDirectory) {
  PIX_REQUIRE_TOOL("cjpeg");
  Scratch s;
  std::size_t thumbAt = 0;
  const Bytes pic = WithExifThumbnail(PicA(), Thumb(), &thumbAt);
  WriteFile(s.path("e.jpg"), pic);
  unsigned char* block = nullptr;
  int n = extract_thumbnail_from_jpeg(s.path("e.jpg").c_str(), &block);
  ASSERT_EQ(n, static_cast<int>(Thumb().size()));
  EXPECT_EQ(pixtest::TakeBlock(block, n), Thumb());

  struct Case {
    const char* what;
    Bytes bytes;
  };
  Bytes noLink = pic;  // first directory without a link: no thumbnail
  const std::size_t tiff = 20 + 4 + 6;
  noLink[tiff + 8 + 2 + 12] = 0;
  Bytes sevenFill = Cat({Bytes{0xFF, 0xD8}, Bytes(7, 0xFF), Slice(pic, 3, pic.size())});
  Bytes sixFill = Cat({Bytes{0xFF, 0xD8}, Bytes(6, 0xFF), Slice(pic, 3, pic.size())});
  Bytes eoiFirst = Cat({Bytes{0xFF, 0xD8, 0xFF, 0xD9, 0x00, 0x02}, Slice(pic, 2, pic.size())});
  const Case failing[] = {{"no link", noLink},
                          {"seven fill bytes", sevenFill},
                          {"end of image first", eoiFirst},
                          {"plain JFIF", PicA()},
                          {"not a JPEG", Filler(500, 3)}};
  for (const Case& c : failing) {
    WriteFile(s.path("f.jpg"), c.bytes);
    block = nullptr;
    EXPECT_EQ(extract_thumbnail_from_jpeg(s.path("f.jpg").c_str(), &block), 0) << c.what;
    EXPECT_EQ(block, nullptr) << c.what;
  }
  WriteFile(s.path("six.jpg"), sixFill);
  n = extract_thumbnail_from_jpeg(s.path("six.jpg").c_str(), &block);
  EXPECT_EQ(n, static_cast<int>(Thumb().size()));
  if (n > 0) free(block);

  // A thumbnail length running past the Exif block is cut at its end.
  Bytes longer = pic;
  longer[tiff + 26 + 2 + 12 + 8] = 0xFF;
  longer[tiff + 26 + 2 + 12 + 9] = 0xFF;
  WriteFile(s.path("l.jpg"), longer);
  n = extract_thumbnail_from_jpeg(s.path("l.jpg").c_str(), &block);
  ASSERT_EQ(n, static_cast<int>(Thumb().size()));  // the block ends right after the thumbnail
  EXPECT_EQ(pixtest::TakeBlock(block, n), Thumb());
}

TEST(ZipPacked, OneMemberThroughAPrivateFolder) {
  PIX_REQUIRE_TOOL("cjpeg");
  Scratch s;
  WriteFile(s.path("pic.jpg"), PicA());
  WriteFile(s.path("pic.bmp"), ToBytes("BMfake"));
  const std::string zip = s.path("x.imd");
  auto r = pixtest::Run(std::string(pixtest::kPython) + " -c " +
                        pixtest::Quote("import sys,zipfile\n"
                                       "z=zipfile.ZipFile(sys.argv[1],'w',zipfile.ZIP_DEFLATED)\n"
                                       "z.writestr('notes.txt','x')\n"
                                       "z.write(sys.argv[2],'../../../escape/deep/pic.jpg')\n"
                                       "z.write(sys.argv[3],'img/pic.bmp')\nz.close()") +
                        " " + pixtest::Quote(zip) + " " + pixtest::Quote(s.path("pic.jpg")) + " " +
                        pixtest::Quote(s.path("pic.bmp")));
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string temp = pix::platform::TempDir();
  auto entries = [&] {
    std::vector<std::string> names;
    for (const auto& e : pixtest::fs::directory_iterator(temp)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  };
  const auto before = entries();

  Scratch out;
  EXPECT_EQ(Convert(pix::ZipPackedScan, zip, out.path("y.jpg")), 1);
  EXPECT_EQ(ReadFile(out.path("y.jpg")), PicA());
  Bytes mem;
  EXPECT_EQ(ConvertToMemory(pix::ZipPackedScan, zip, 0, mem), static_cast<int>(PicA().size()));
  EXPECT_EQ(mem, PicA());
  EXPECT_EQ(ConvertToMemory(pix::ZipPackedScan, zip, 1, mem), 6);  // the kind 1 takes the bitmap
  EXPECT_EQ(ConvertToMemory(pix::ZipPackedScan, s.path("pic.jpg"), 0, mem), 0);  // not a zip

  // Nothing stays behind in the private folder, nothing escaped it.
  EXPECT_EQ(entries(), before);
  std::error_code ec;
  EXPECT_FALSE(pixtest::fs::exists(pixtest::fs::path(temp).parent_path().parent_path() / "escape", ec));
  EXPECT_FALSE(pixtest::fs::exists("/escape", ec));
}

TEST(IndexedContainer, OffsetTable) {
  Scratch s;
  const Bytes p1 = ToBytes("first picture"), p2 = ToBytes("second, longer picture");
  auto build = [&](std::uint32_t magic, std::uint32_t count, bool fullTable) {
    Bytes f;
    auto be = [&](std::uint32_t v) {
      for (int k = 3; k >= 0; --k) f.push_back(static_cast<std::uint8_t>(v >> (8 * k)));
    };
    be(magic), be(40), be(0), be(0), be(0), be(0), be(count), be(0), be(0), be(0);
    const std::uint32_t start = 40 + 12;
    be(start), be(start + static_cast<std::uint32_t>(p1.size()));
    if (fullTable) be(start + static_cast<std::uint32_t>(p1.size() + p2.size()));
    f.insert(f.end(), p1.begin(), p1.end());
    f.insert(f.end(), p2.begin(), p2.end());
    return f;
  };
  WriteFile(s.path("x.tjp"), build(0x5450430A, 2, true));
  Scratch out;
  EXPECT_EQ(Convert(pix::SharedFolderScan, s.path("x.tjp"), out.path("album.jpg")), 2);
  EXPECT_EQ(out.files(), (std::vector<std::string>{"album_0001.jpg", "album_0002.jpg"}));
  EXPECT_EQ(ReadFile(out.path("album_0001.jpg")), p1);
  EXPECT_EQ(ReadFile(out.path("album_0002.jpg")), p2);
  Bytes mem;
  EXPECT_EQ(ConvertToMemory(pix::SharedFolderScan, s.path("x.tjp"), 1, mem), static_cast<int>(p1.size()));
  EXPECT_EQ(mem, p1);

  WriteFile(s.path("bad.tjp"), build(0x5450430B, 2, true));
  EXPECT_EQ(Convert(pix::SharedFolderScan, s.path("bad.tjp"), out.path("b.jpg")), 0);
  WriteFile(s.path("none.tjp"), build(0x5450430A, 0, true));
  EXPECT_EQ(Convert(pix::SharedFolderScan, s.path("none.tjp"), out.path("b.jpg")), 0);
  WriteFile(s.path("huge.tjp"), build(0x5450430A, 0xFFFFFFFFu, true));
  EXPECT_EQ(Convert(pix::SharedFolderScan, s.path("huge.tjp"), out.path("b.jpg")), 0);
  EXPECT_EQ(out.files().size(), 2u);
}

}  // namespace
