// SBIG camera files to FITS: the card table, the date rewrite, the parameter
// file, the row codings, the offset and mirror rules and the record layout,
// checked against sbigtopgm, astropy and fitsverify on the generated sources
// (samples/science_*.st?).
#include <algorithm>
#include <ctime>
#include <fstream>
#include <iterator>
#include <sstream>

#include "helpers.h"
#include "science/science.h"

namespace {

using pixtest::Bytes;
using pixtest::Scratch;
using scitest::Sample;

std::vector<std::string> TrimmedCards(const std::string& path) {
  std::vector<std::string> out;
  for (auto c : scitest::Cards(pixtest::ReadFile(path))) out.push_back(c.erase(c.find_last_not_of(' ') + 1));
  return out;
}

std::string Today() {
  std::time_t now = std::time(nullptr);
  std::tm t{};
  localtime_r(&now, &t);
  char buf[32];
  std::snprintf(buf, sizeof buf, "'%02d/%02d/%02d'", t.tm_mday, t.tm_mon + 1, t.tm_year);
  return buf;
}

// Physical FITS value of a raw camera value: less 100, the high byte divided
// toward zero (raw 99 gives 0x00FF, not 0xFFFF).
long Expected(unsigned raw) {
  int v = static_cast<int>(raw) - 100;
  return (v & 0xFF) | ((v / 256) & 0xFF) << 8;
}

int Convert(const std::string& src, const std::string& dst, const std::string& param = "", int offset = 0, bool headerOnly = false) {
  return pix::SbigConvert(src.c_str(), param.c_str(), offset, dst.c_str(), headerOnly);
}

// The FITS file made from a generated source, in a scratch folder.
std::string Made(const Scratch& s, const std::string& sample) {
  EXPECT_EQ(Convert(Sample(sample), s.path(sample + ".fts")), 1) << sample;
  return s.path(sample + ".fts");
}

TEST(Sbig, CardsFromTheHeaderAndTheParameterFile) {
  Scratch s;
  std::vector<std::string> want;
  std::ifstream in(Sample("ref/science_cards.txt"));
  for (std::string line; std::getline(in, line);) want.push_back(line.rfind("DATE    =", 0) == 0 ? "DATE    = " + Today() : line);
  EXPECT_EQ(TrimmedCards(Made(s, "science_cards.st7")), want);

  // "Filter =" gives its first word; ST-4X is named whole.
  auto cards = TrimmedCards(Made(s, "science_filter.st4"));
  EXPECT_EQ(scitest::CardFor(cards, "FILTER"), "FILTER  = 'Red     '           / OPTICAL FILTER NAME");
  EXPECT_EQ(scitest::CardFor(cards, "INSTRUME"), "INSTRUME= 'SBIG ST-4X'");

  // History: 70 characters, the 71st lost, then the other 29; a note is cut
  // at a blank past the 60th character, the blank dropped.
  std::vector<std::string> text;
  for (auto& c : TrimmedCards(Made(s, "science_chunks.st7")))
    if (c.rfind("HISTORY", 0) == 0 || c.rfind("COMMENT", 0) == 0) text.push_back(c);
  EXPECT_EQ(text, (std::vector<std::string>{"HISTORY" + std::string(70, 'X'),
                                            "HISTORY" + std::string(29, 'X') + "                     / IMAGE MODIFICATIONS",
                                            "COMMENT " + std::string(65, 'a'), "COMMENTb", "COMMENT File created by the Pixamorph"}));

  // The parameter file names the object, telescope and observer and adds the
  // cards it does not know; blank lines, BITPIX and HISTORY lines are skipped.
  ASSERT_EQ(Convert(Sample("science_param.st8"), s.path("p.fts"), Sample("science_param.txt")), 1);
  cards = TrimmedCards(s.path("p.fts"));
  EXPECT_EQ(scitest::CardFor(cards, "OBJECT"), "OBJECT  = 'M31     '");
  EXPECT_EQ(scitest::CardFor(cards, "TELESCOP"), "TELESCOP= 'C14     '");
  EXPECT_EQ(scitest::CardFor(cards, "OBSERVER"), "OBSERVER= 'Jane    '");
  ASSERT_GE(cards.size(), 3u);
  EXPECT_EQ(std::vector<std::string>(cards.end() - 3, cards.end()),
            (std::vector<std::string>{"SITE    = 'Backyard'", "AIRMASS =                  1.2", "END"}));
}

TEST(Sbig, DateAndTimeAreRewrittenThroughJulianDays) {
  const struct {
    int sample, offset;
    const char *dateObs, *ut;
  } cases[] = {
      {0, 0, "15/11/19", "23:30:10"}, {0, 3600, "16/11/19", "00:30:10"},   // 11/15/98 23:30:10
      {1, 7200, "29/02/19", "01:00:00"},                                   // 02/28/96 23:00:00, a leap year
      {2, 7200, "01/03/19", "01:00:00"},                                   // 02/28/97 23:00:00
      {3, 1, "01/01/20", "00:00:00"},                                      // 12/31/99 23:59:59
      {4, -3600, "28/02/19", "23:30:00"},                                  // 03/01/97 00:30:00
      {5, 0, "04/07/19", "12:00:00"},                                      // 07/04/05: two-digit years are 19xx
      {6, 0, "02/01/19", "04:05:06"},                                      // 01.02.03 04-05-06: any separator
  };
  Scratch s;
  for (const auto& c : cases) {
    std::string src = Sample("science_date" + std::to_string(c.sample) + ".st7");
    SCOPED_TRACE(src + " " + std::to_string(c.offset));
    ASSERT_EQ(Convert(src, s.path("a.fts"), "", c.offset), 1);
    auto cards = scitest::Cards(pixtest::ReadFile(s.path("a.fts")));
    EXPECT_EQ(scitest::CardFor(cards, "DATE-OBS").substr(10, 10), "'" + std::string(c.dateObs) + "'");
    EXPECT_EQ(scitest::CardFor(cards, "UT").substr(10, 10), "'" + std::string(c.ut) + "'");
  }
}

// Uncompressed values around the offset and at both ends of the range; a
// compressed picture with a raw row, absolute values each followed by a
// delta, and a flat row. Rows are mirrored.
TEST(Sbig, PixelsAgreeWithSbigtopgmAfterOffsetAndMirror) {
  PIX_REQUIRE_TOOL("sbigtopgm");
  PIX_REQUIRE_TOOL("pnmtoplainpnm");
  Scratch s;
  for (const char* name : {"science_raw.st6", "science_packed.st5"}) {
    SCOPED_TRACE(name);
    std::istringstream pgm(pixtest::Run("sbigtopgm " + pixtest::Quote(Sample(name)) + " | pnmtoplainpnm").out);
    std::string magic;
    int w = 0, h = 0;
    long maxval = 0;
    pgm >> magic >> w >> h >> maxval;
    std::vector<long> v{std::istream_iterator<long>(pgm), std::istream_iterator<long>()};
    ASSERT_EQ(v.size(), std::size_t(w) * h);
    auto got = scitest::AstropyRead(Made(s, name));
    ASSERT_TRUE(got.ok) << got.error;
    ASSERT_EQ(got.width, w);
    ASSERT_EQ(got.height, h);
    for (int i = 0; i < w * h; ++i)
      ASSERT_EQ(got.values[std::size_t(i / w * w + (w - 1 - i % w))], Expected(static_cast<unsigned>(v[std::size_t(i)]))) << i;
  }
  auto mine = scitest::AstropyRead(s.path("science_raw.st6.fts"));
  ASSERT_EQ(mine.values.size(), 21u);
  EXPECT_EQ(mine.values[6], 0xFF9C & 0x00FF) << "raw 0 is 0x009C";
  EXPECT_EQ(mine.values[4], 0x00FF) << "raw 99 is 0x00FF";
  EXPECT_EQ(mine.values[3], 0) << "raw 100 is 0";
}

// Running deltas with an absolute value among them; a row of 2 x width bytes
// is raw; pixels past the width are dropped; "ST-7" in a ".st4" file wins.
TEST(Sbig, DeltaRowsAccumulateAndTypeNameWinsOverExtension) {
  Scratch s;
  auto got = scitest::AstropyRead(Made(s, "science_delta.st4"));
  ASSERT_TRUE(got.ok) << got.error;
  std::vector<long> want;
  for (unsigned v : {0x1235u, 0x1234u, 1007u, 1010u, 1005u, 1000u, 0x0101u, 0x0101u, 0x0101u, 0x0101u, 0x0101u, 0x0064u,
                     105u, 104u, 103u, 102u, 101u, 100u})
    want.push_back(Expected(v));
  EXPECT_EQ(got.values, want);
}

// A row that supplies fewer pixels than the width keeps the rest of the row
// buffer as the row before left it: offset, mirrored and stored as FITS words.
TEST(Sbig, ShortRowsReadOverTheRowBefore) {
  Scratch s;
  for (const char* name : {"science_short_raw.st7", "science_short_packed.st7"}) {
    SCOPED_TRACE(name);
    Bytes f = pixtest::ReadFile(Made(s, name));
    std::size_t at = ((scitest::Cards(f).size() + 35) / 36) * 2880;
    ASSERT_GE(f.size(), at + 12);
    std::vector<long> got;
    for (std::size_t i = at; i < at + 12; i += 2) got.push_back(((f[i] << 8) | f[i + 1]) ^ 0x8000);
    // Row 1 leaves the words 0x548B 0x6C87 0x8483 (2900, 1900, 900 stored
    // high byte first, less 0x8000); row 2 reads 500 over the first.
    EXPECT_EQ(got, (std::vector<long>{2900, 1900, 900, 0x8483 - 100, 0x6C87 - 100, 400}));
  }
}

// Pictures of the value 1234: data in one record are filled with blanks
// (fitsverify's complaint), past it with zeros, and data ending on a record
// boundary get a record of zeros more (fitsverify's complaint). DATE's
// three-digit year is the other.
TEST(Sbig, DataRecordsPaddingAndFitsverify) {
  PIX_REQUIRE_TOOL("fitsverify");
  const struct {
    const char* sample;
    std::size_t width, height, dataRecords;
    std::uint8_t pad;
    std::vector<std::string> errors;
  } cases[] = {
      {"science_small.st7", 4, 3, 1, ' ', {"Keyword #7, DATE", "Data fill area invalid"}},
      {"science_wide.st7", 50, 40, 2, 0, {"Keyword #7, DATE"}},
      {"science_edge.st7", 360, 8, 3, 0, {"Keyword #7, DATE", "extra byte(s) after last HDU"}},
  };
  Scratch s;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sample);
    Bytes f = pixtest::ReadFile(Made(s, c.sample));
    std::size_t headerBytes = ((scitest::Cards(f).size() + 35) / 36) * 2880;
    ASSERT_EQ(f.size(), headerBytes + c.dataRecords * 2880);
    for (std::size_t i = headerBytes + c.width * c.height * 2; i < f.size(); ++i) ASSERT_EQ(f[i], c.pad) << "byte " << i;
    EXPECT_EQ(f[headerBytes], 0x84) << "1234 - 100 - 32768, high byte first";
    EXPECT_EQ(f[headerBytes + 1], 0x6E);
    auto errors = scitest::FitsVerifyErrors(s.path(std::string(c.sample) + ".fts"));
    ASSERT_EQ(errors.size(), c.errors.size());
    for (std::size_t i = 0; i < errors.size(); ++i) EXPECT_NE(errors[i].find(c.errors[i]), std::string::npos) << errors[i];
  }
}

// Headers without a width, a height or a known type, and short headers, are
// the samples table's damaged copies of sample.st7; these print something.
TEST(Sbig, FailuresAndTheirMessages) {
  const struct {
    const char *sample, *param;
    int result;
    const char* message;
    bool targetCreated;  // a header that cannot make a FITS file leaves none (not asked with a parameter file)
  } cases[] = {
      {"science_nodate.st7", "", 0, "Warning: Date not found.\n\r", false},
      {"science_notime.st7", "", 0, "Warning: Time not found.\n\r", false},
      {"science_rowshort.st7", "", 1, "Can't read the ST-xx file.\n\r", true},  // a row shorter than its count
      {"science_rowcount.st7", "", 1, "", true},  // one byte of row count ends the image
      {"science_param.st8", "missing.txt", -1, "Can't open parameter file. \n\r", true},
      {"missing.st7", "", 0, "", false},
  };
  Scratch s;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sample);
    std::string dst = s.path(std::string(c.sample) + ".fts");
    testing::internal::CaptureStdout();
    int r = *c.param ? Convert(Sample(c.sample), dst, s.path(c.param)) : pix::SbigToFits({Sample(c.sample).c_str(), dst.c_str()});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.message);
    EXPECT_EQ(r, c.result);
    if (*c.param == 0) {
      EXPECT_EQ(pixtest::fs::exists(dst), c.targetCreated);
    }
  }
}

TEST(Sbig, HeaderOnlyAndMemoryModes) {
  Scratch s;
  ASSERT_EQ(Convert(Sample("sample.st7"), s.path("h.fts"), "", 0, true), 1);
  Bytes h = pixtest::ReadFile(s.path("h.fts"));
  ASSERT_EQ(h.size(), ((scitest::Cards(h).size() + 35) / 36 + 1) * 2880);
  EXPECT_TRUE(std::all_of(h.end() - 2880, h.end(), [](std::uint8_t b) { return b == ' '; })) << "the one data record is all blanks";

  unsigned char* block = nullptr;
  int n = pix::SbigToFits({Sample("sample.st7").c_str(), nullptr, 0, 0, &block});
  EXPECT_EQ(pixtest::TakeBlock(block, n), pixtest::ReadFile(Made(s, "sample.st7")));
}

}  // namespace
