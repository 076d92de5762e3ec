// The counting exports, Exif thumbnails, PowerPoint pictures by number and
// the zip-packed reader's private folder, on the samples of
// samples/gen_jpeg.py and a few signatures placed in zeroed files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "extract/extract.h"
#include "pixmisc.h"
#include "platform/platform.h"
#include "support.h"

using pixtest::Bytes;
using pixtest::ReadFile;
using pixtest::Scratch;
using pixtest::WriteFile;

namespace {

std::string Sample(const std::string& name) { return std::string(pixtest::kSourceDir) + "/samples/" + name; }

// size zero bytes with each text at its offset.
Bytes At(std::size_t size, std::initializer_list<std::pair<std::size_t, std::string>> texts) {
  Bytes b(size, 0);
  for (const auto& [offset, text] : texts) std::copy(text.begin(), text.end(), b.begin() + static_cast<std::ptrdiff_t>(offset));
  return b;
}

TEST(Counting, EachMemberWithItsBlockAndEndRule) {
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
  for (auto fn : {compteFichiers_2, compteFichiersTIFF, compteFichiersPPT, compteFichiers_PPS_jpeg})
    EXPECT_EQ(fn(empty.c_str()), 0);

  // Unopenable: 0 (-1 for DIB), out value untouched.
  const std::string missing = s.path("missing.bin");
  out = -7;
  EXPECT_EQ(compteFichiers(missing.c_str(), &out), 0);
  EXPECT_EQ(compteFichiersDIB(missing.c_str(), &out), -1);
  EXPECT_EQ(out, -7);

  // Two JFIF pictures, and two without "JFIF" (found by the second pass).
  EXPECT_EQ(compteFichiers(Sample("jpeg_program.exe").c_str(), &out), 2);
  EXPECT_EQ(out, 2);
  EXPECT_EQ(compteFichiers(Sample("jpeg_nojfif.cache").c_str(), &out), 2);
  EXPECT_EQ(compteFichiers_2(Sample("jpeg_program.exe").c_str()), 2);
  EXPECT_EQ(compteFichiers_PPS_jpeg(Sample("jpeg_show.pps").c_str()), 2);
  EXPECT_EQ(compteFichiersPPT(Sample("jpeg_slides.ppt").c_str()), 2);
  EXPECT_EQ(compteFichiersPPT(Sample("jpeg_slides_zero.ppt").c_str()), 0);  // a zero length ends the walk

  // PNG stops at end of file before the short block; GIF searches it.
  EXPECT_EQ(compteFichiersPNG(file("p.bin", At(600, {{520, "PNG"}})).c_str(), &out), 0);
  EXPECT_EQ(compteFichiersGIF(file("g.bin", At(600, {{520, "GIF89a"}})).c_str(), &out), 1);
  EXPECT_EQ(compteFichiersGIF(file("g7.bin", At(600, {{100, "GIF87a"}})).c_str(), &out), 0);
  EXPECT_EQ(compteFichiersPNG(file("pp.bin", At(1200, {{10, "PNG"}, {300, "PNG"}, {700, "PNG"}})).c_str(), &out), 2);
  EXPECT_EQ(out, 2);
  // TIFF: every "II*", 5096-byte blocks, searched to the last.
  EXPECT_EQ(compteFichiersTIFF(file("t.bin", At(12000, {{3, "II*"}, {9, "II*"}, {11990, "II*"}})).c_str()), 3);
  // BMP: "BMP" then "BM" within 512 bytes.
  EXPECT_EQ(compteFichiersBMP(file("b.bin", At(3000, {{10, "BMP"}, {100, "BM"}})).c_str(), &out), 1);

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
  const Bytes mic = At(2048, {{1500, std::string("T\0h\0u\0m\0b\0", 10)}});
  EXPECT_EQ(compteFichiersDIB(file("d.MIC", mic).c_str(), &out), 1);
  EXPECT_EQ(compteFichiersDIB(file("d.dat", mic).c_str(), &out), 0);
}

TEST(PowerPoint, AskedPictureAloneInFileMode) {
  Scratch out;
  EXPECT_EQ(PPTtoJPG(Sample("jpeg_slides.ppt").c_str(), out.path("p.jpg").c_str(), 2, nullptr), 1);
  EXPECT_EQ(out.files(), (std::vector<std::string>{"p_02.jpg"}));
  unsigned char* block = nullptr;
  EXPECT_EQ(PPTtoJPG(Sample("jpeg_slides.ppt").c_str(), nullptr, 3, &block), 0);
  EXPECT_EQ(block, nullptr);
}

TEST(ExifThumbnail, FoundThroughTheSecondDirectory) {
  Scratch s;
  const Bytes pic = ReadFile(Sample("ref/jpeg_exif.jpg")), thumb = ReadFile(Sample("ref/jpeg_thumb.jpg"));
  auto extract = [&](const Bytes& bytes) {
    WriteFile(s.path("e.jpg"), bytes);
    unsigned char* block = nullptr;
    const int n = extract_thumbnail_from_jpeg(s.path("e.jpg").c_str(), &block);
    if (n <= 0) {
      EXPECT_EQ(block, nullptr);
    }
    return pixtest::TakeBlock(block, n);
  };
  EXPECT_EQ(extract(pic), thumb);
  const std::size_t tiff = 20 + 4 + 6;  // after SOI, APP0, the APP1 head and "Exif\0\0"
  auto patched = [&](std::size_t at, Bytes with) {
    Bytes b = pic;
    std::copy(with.begin(), with.end(), b.begin() + static_cast<std::ptrdiff_t>(at));
    return b;
  };
  auto filled = [&](std::size_t n) {  // n fill bytes between SOI and the first marker's second byte
    Bytes b = {0xFF, 0xD8};
    b.insert(b.end(), n, 0xFF);
    b.insert(b.end(), pic.begin() + 3, pic.end());
    return b;
  };
  Bytes eoiFirst = {0xFF, 0xD8, 0xFF, 0xD9, 0x00, 0x02};
  eoiFirst.insert(eoiFirst.end(), pic.begin() + 2, pic.end());
  EXPECT_EQ(extract(patched(tiff + 8 + 2 + 12, {0})), Bytes{}) << "first directory without a link";
  EXPECT_EQ(extract(filled(7)), Bytes{}) << "seven fill bytes";
  EXPECT_EQ(extract(eoiFirst), Bytes{}) << "end of image first";
  EXPECT_EQ(extract(ReadFile(Sample("ref/jpeg_a.jpg"))), Bytes{}) << "plain JFIF";
  EXPECT_EQ(extract(Bytes(500, 0x11)), Bytes{}) << "not a JPEG";
  EXPECT_EQ(extract(filled(6)), thumb) << "six fill bytes";
  // A thumbnail length running past the Exif block is cut at its end (which
  // is right after the thumbnail).
  EXPECT_EQ(extract(patched(tiff + 26 + 2 + 12 + 8, {0xFF, 0xFF})), thumb);
}

TEST(ZipPacked, NothingStaysInThePrivateFolderNorEscapesIt) {
  const std::string temp = pix::platform::TempDir();
  auto entries = [&] {
    std::vector<std::string> names;
    for (const auto& e : pixtest::fs::directory_iterator(temp)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  };
  const auto before = entries();
  Scratch out;
  const std::string pack = Sample("jpeg_pack.imd");
  EXPECT_EQ(pixMISC(pack.c_str(), out.path("y.jpg").c_str()), 1);
  unsigned char* block = nullptr;
  pix::ConvertCall call;
  call.source = pack.c_str();
  call.out = &block;
  EXPECT_GT(pixtest::TakeBlock(block, pix::ZipPackedScan(call)).size(), 0u);
  EXPECT_EQ(entries(), before);
  std::error_code ec;
  EXPECT_FALSE(pixtest::fs::exists(pixtest::fs::path(temp).parent_path().parent_path() / "escape", ec));
  EXPECT_FALSE(pixtest::fs::exists("/escape", ec));
}

}  // namespace
