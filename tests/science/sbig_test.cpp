// SBIG camera files to FITS: the card table, the date rewrite, the parameter
// file, the row codings, the offset and mirror rules and the record layout,
// checked against sbigtopgm, astropy and fitsverify.
#include <cstring>
#include <ctime>
#include <sstream>

#include "helpers.h"
#include "science/science.h"

namespace {

using pixtest::Bytes;
using pixtest::Scratch;
using scitest::Put16le;

std::string SbigText(const std::string& type, int w, int h, const std::string& extra = "",
                     const std::string& date = "11/15/98", const std::string& time = "23:30:10") {
  return type + "\r\nFile_version = 3\r\nHeight = " + std::to_string(h) + "\r\nWidth = " + std::to_string(w) +
         "\r\nDate = " + date + "\r\nTime = " + time + "\r\nSat_level = 65535\r\n" + extra + "End\r\n\x1a";
}

Bytes Sbig(const std::string& text, const Bytes& data) {
  Bytes b(text.begin(), text.end());
  b.resize(2048, 0);
  b.insert(b.end(), data.begin(), data.end());
  return b;
}

Bytes RawRows(const std::vector<std::vector<unsigned>>& rows) {
  Bytes b;
  for (const auto& r : rows)
    for (unsigned v : r) Put16le(b, v);
  return b;
}

// A compressed row: its byte count, then the bytes.
void PackedRow(Bytes& b, const Bytes& body) {
  Put16le(b, static_cast<unsigned>(body.size()));
  b.insert(b.end(), body.begin(), body.end());
}

std::string Trim(std::string s) {
  while (!s.empty() && s.back() == ' ') s.pop_back();
  return s;
}

std::vector<std::string> TrimmedCards(const Bytes& fits) {
  std::vector<std::string> out;
  for (auto& c : scitest::Cards(fits)) out.push_back(Trim(c));
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

int Convert(const std::string& src, const std::string& dst, const char* param = "", int offset = 0, bool headerOnly = false) {
  return pix::SbigConvert(src.c_str(), param, offset, dst.c_str(), headerOnly);
}

TEST(Sbig, CardTableInOrderWithEveryKind) {
  Scratch s;
  std::string extra =
      "Note = first note\r\nExposure = 150\r\nEach_exposure = 25\r\nNumber_exposures = 6\r\n"
      "X_pixel_size = 0.009\r\nY_pixel_size = 0.0125\r\nReadout_mode = 1\r\nExposure_state = 255\r\n"
      "Temperature = -10.5\r\nResponse_factor = 1.0\r\nE_gain = 2.3\r\nFocal_length = 80\r\nAperture = 12.5\r\n"
      "Background = 10\r\nRange = 4000\r\nHistory = 0\r\nPedestal = -100\r\nTrack_time = 150\r\n";
  pixtest::WriteFile(s.path("a.st7"), Sbig(SbigText("ST-7 Image", 2, 1, extra), RawRows({{100, 200}})));
  ASSERT_EQ(Convert(s.path("a.st7"), s.path("a.fts")), 1);
  std::vector<std::string> want = {
      "SIMPLE  =                    T",
      "BITPIX  =                   16",
      "NAXIS   =                    2",
      "NAXIS1  =                    2",
      "NAXIS2  =                    1",
      "OBJECT  = 'Unknown '",
      "DATE    = " + Today(),
      "DATE-OBS= '15/11/19'           / UT DATE OF START (ASSUMES PC CLOCK=UT)",
      "UT      = '23:30:10'           / UT TIME OF START (ASSUMES PC CLOCK=UT)",
      "ORIGIN  = 'PIXAM   '",
      "INSTRUME= 'SBIG ST-7 '",
      "TELESCOP= 'Unknown '",
      "OBSERVER= 'Unknown '",
      "BZERO   =      3.2768000000E04",
      "BSCALE  =      1.0000000000E00",
      "EXPTIME =     1.5000000000E+00 / EXPOSURE IN SECONDS",
      "SNAPSHOT=                    6 / NUMBER OF SNAPSHOT",
      "EACHSNAP=     2.5000000000E-01 / SNAPSHOT IN SECONDS",
      "PIXWIDTH=     9.0000000000E-03 / PIXEL WIDTH IN MM",
      "PIXHEIGH=     1.2500000000E-02 / PIXEL HEIGHT IN MM",
      "RESMODE =                    1 / RESOLUTION MODE",
      "EXPSTATE= 'FF      '           / EXPOSURE STATE (HEX)",
      "TEMPERAT=    -1.0500000000E+01 / TEMPERATURE IN DEGREES C",
      "RESPONSE=     1.0000000000E+00 / CCD RESPONSE FACTOR",
      "EPERADU =     2.3000000000E+00 / ELECTRONS PER ADU",
      "FOCALLEN=     8.0000000000E+01 / FOCAL LENGHT IN INCHES",
      "APERTURE=     1.2500000000E+01 / APERTURE AREA IN SQ-INCHES",
      "BACKGRND=                   10 / BACKGROUND FOR DISPLAY",
      "RANGE   =                 4000 / RANGE FOR DISPLAY",
      "HISTORY 0                     / IMAGE MODIFICATIONS",
      "PEDESTAL=                 -100 / PEDESTAL OFFSET",
      "TRAKTIME=     1.5000000000E+02 / TRACK PERIOD IN SECONDS",
      "SATURATE=                65535 / SATURATION LEVEL",
      "COMMENT first note",
      "COMMENT File created by the Pixamorph",
      "END",
  };
  EXPECT_EQ(TrimmedCards(pixtest::ReadFile(s.path("a.fts"))), want);

  // Without "Filter =" there is no FILTER card; with it, its first word.
  pixtest::WriteFile(s.path("b.st4"), Sbig(SbigText("ST-4X Image", 2, 1, "Filter = Red band\r\n"), RawRows({{1, 2}})));
  ASSERT_EQ(Convert(s.path("b.st4"), s.path("b.fts")), 1);
  auto cards = TrimmedCards(pixtest::ReadFile(s.path("b.fts")));
  EXPECT_EQ(scitest::CardFor(cards, "FILTER"), "FILTER  = 'Red     '           / OPTICAL FILTER NAME");
  EXPECT_EQ(scitest::CardFor(cards, "INSTRUME"), "INSTRUME= 'SBIG ST-4X'");
  EXPECT_EQ(scitest::CardFor(want, "FILTER"), "");
}

TEST(Sbig, TextCardsAreCutIntoChunks) {
  Scratch s;
  std::string hundred(100, 'X');
  std::string words = " " + std::string(65, 'a') + " b";
  pixtest::WriteFile(s.path("a.st7"),
                     Sbig(SbigText("ST-7 Image", 1, 1, "History =" + hundred + "\r\nNote =" + words + "\r\n"), RawRows({{7}})));
  ASSERT_EQ(Convert(s.path("a.st7"), s.path("a.fts")), 1);
  auto cards = TrimmedCards(pixtest::ReadFile(s.path("a.fts")));
  std::vector<std::string> history, comment;
  for (auto& c : cards) {
    if (c.rfind("HISTORY", 0) == 0) history.push_back(c);
    if (c.rfind("COMMENT", 0) == 0) comment.push_back(c);
  }
  // 70 characters, the 71st lost, then the other 29 (the card keeps its first 80 characters).
  ASSERT_EQ(history.size(), 2u);
  EXPECT_EQ(history[0], "HISTORY" + std::string(70, 'X'));
  EXPECT_EQ(history[1], "HISTORY" + std::string(29, 'X') + "                     / IMAGE MODIFICATIONS");
  // A blank past the 60th character ends the chunk and is dropped.
  ASSERT_EQ(comment.size(), 3u);
  EXPECT_EQ(comment[0], "COMMENT " + std::string(65, 'a'));
  EXPECT_EQ(comment[1], "COMMENTb");
}

struct DateCase {
  const char* date;
  const char* time;
  int offset;
  const char* dateObs;
  const char* ut;
};

TEST(Sbig, DateAndTimeAreRewrittenThroughJulianDays) {
  const DateCase cases[] = {
      {"11/15/98", "23:30:10", 0, "15/11/19", "23:30:10"},
      {"11/15/98", "23:30:10", 3600, "16/11/19", "00:30:10"},
      {"02/28/96", "23:00:00", 7200, "29/02/19", "01:00:00"},  // leap year
      {"02/28/97", "23:00:00", 7200, "01/03/19", "01:00:00"},
      {"12/31/99", "23:59:59", 1, "01/01/20", "00:00:00"},
      {"03/01/97", "00:30:00", -3600, "28/02/19", "23:30:00"},
      {"07/04/05", "12:00:00", 0, "04/07/19", "12:00:00"},      // two-digit years are 19xx
      {"01.02.03", "04-05-06", 0, "02/01/19", "04:05:06"},      // any single separator
  };
  Scratch s;
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.date) + " " + c.time + " " + std::to_string(c.offset));
    pixtest::WriteFile(s.path("a.st7"), Sbig(SbigText("ST-7 Image", 1, 1, "", c.date, c.time), RawRows({{7}})));
    ASSERT_EQ(Convert(s.path("a.st7"), s.path("a.fts"), "", c.offset), 1);
    auto cards = scitest::Cards(pixtest::ReadFile(s.path("a.fts")));
    EXPECT_EQ(scitest::CardFor(cards, "DATE-OBS").substr(10, 10), "'" + std::string(c.dateObs) + "'");
    EXPECT_EQ(scitest::CardFor(cards, "UT").substr(10, 10), "'" + std::string(c.ut) + "'");
  }
}

TEST(Sbig, ParameterFileNamesObjectsAndAddsCards) {
  Scratch s;
  pixtest::WriteFile(s.path("a.st8"), Sbig(SbigText("ST-8 Compressed Image", 1, 1), Bytes{2, 0, 200, 0}));
  pixtest::WriteFile(s.path("p.txt"),
                     "OBJECT  = 'M31'\n"
                     "TELESCOP= 'C14'\r\n"
                     "\n"
                     "   \n"
                     "OBSERVER= Jane\n"
                     "SITE    = 'Backyard'\n"
                     "BITPIX  = 8\n"
                     "EXTRA card that has HISTORY inside\n"
                     "AIRMASS =                  1.2\n");
  ASSERT_EQ(Convert(s.path("a.st8"), s.path("a.fts"), s.path("p.txt").c_str()), 1);
  auto cards = TrimmedCards(pixtest::ReadFile(s.path("a.fts")));
  EXPECT_EQ(scitest::CardFor(cards, "OBJECT"), "OBJECT  = 'M31     '");
  EXPECT_EQ(scitest::CardFor(cards, "TELESCOP"), "TELESCOP= 'C14     '");
  EXPECT_EQ(scitest::CardFor(cards, "OBSERVER"), "OBSERVER= 'Jane    '");
  ASSERT_GE(cards.size(), 3u);
  std::vector<std::string> tail(cards.end() - 3, cards.end());
  EXPECT_EQ(tail, (std::vector<std::string>{"SITE    = 'Backyard'", "AIRMASS =                  1.2", "END"}));

  // A parameter file that cannot be opened is reported once and fails the call.
  testing::internal::CaptureStdout();
  int r = Convert(s.path("a.st8"), s.path("b.fts"), s.path("missing.txt").c_str());
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(r, -1);
  EXPECT_EQ(out, "Can't open parameter file. \n\r");
}

// Reads a PGM through pnmtoplainpnm: width, height and the values.
std::vector<long> PlainPgm(const std::string& cmd, int& w, int& h) {
  auto r = pixtest::Run(cmd + " | pnmtoplainpnm");
  std::istringstream in(r.out);
  std::string magic;
  long maxval = 0;
  in >> magic >> w >> h >> maxval;
  std::vector<long> v;
  long x;
  while (in >> x) v.push_back(x);
  return v;
}

void CheckAgainstSbigtopgm(const std::string& src, const std::string& fits, int w, int h) {
  int pw = 0, ph = 0;
  auto pgm = PlainPgm("sbigtopgm " + pixtest::Quote(src), pw, ph);
  ASSERT_EQ(pw, w);
  ASSERT_EQ(ph, h);
  ASSERT_EQ(pgm.size(), std::size_t(w) * h);
  auto got = scitest::AstropyRead(fits);
  ASSERT_TRUE(got.ok) << got.error;
  ASSERT_EQ(got.width, w);
  ASSERT_EQ(got.height, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      ASSERT_EQ(got.values[std::size_t(y) * w + (w - 1 - x)], Expected(static_cast<unsigned>(pgm[std::size_t(y) * w + x])))
          << "pixel " << x << "," << y;
}

TEST(Sbig, PixelsAgreeWithSbigtopgmAfterOffsetAndMirror) {
  PIX_REQUIRE_TOOL("sbigtopgm");
  PIX_REQUIRE_TOOL("pnmtoplainpnm");
  Scratch s;
  // Uncompressed: values around the offset and at both ends of the range.
  std::vector<std::vector<unsigned>> rows = {
      {0, 1, 99, 100, 101, 355, 356}, {65535, 65534, 32768, 32767, 1000, 25600, 25699}, {7, 77, 777, 7777, 17777, 27777, 37777}};
  pixtest::WriteFile(s.path("u.st6"), Sbig(SbigText("ST-6 Image", 7, 3), RawRows(rows)));
  ASSERT_EQ(pix::SbigToFits({s.path("u.st6").c_str(), s.path("u.fts").c_str()}), 1);
  CheckAgainstSbigtopgm(s.path("u.st6"), s.path("u.fts"), 7, 3);
  auto mine = scitest::AstropyRead(s.path("u.fts"));
  EXPECT_EQ(mine.values[6], 0xFF9C & 0x00FF) << "raw 0 is 0x009C";
  EXPECT_EQ(mine.values[4], 0x00FF) << "raw 99 is 0x00FF";
  EXPECT_EQ(mine.values[3], 0) << "raw 100 is 0";

  // Compressed: a raw row (length 2 x width), a row of absolute values and
  // deltas, each delta right after an absolute value, and a flat row.
  Bytes packed;
  Bytes raw;
  for (unsigned v : {500u, 99u, 4000u, 12u, 65535u}) Put16le(raw, v);
  PackedRow(packed, raw);
  PackedRow(packed, Bytes{0x34, 0x12, 5, 0x80, 0x10, 0x00, 0xFB, 0x80, 0xFF, 0xFF});
  PackedRow(packed, Bytes{200, 0, 0, 0, 0, 0});
  pixtest::WriteFile(s.path("c.st5"), Sbig(SbigText("ST-5 Compressed Image", 5, 3), packed));
  ASSERT_EQ(pix::SbigToFits({s.path("c.st5").c_str(), s.path("c.fts").c_str()}), 1);
  CheckAgainstSbigtopgm(s.path("c.st5"), s.path("c.fts"), 5, 3);
}

TEST(Sbig, DeltaRowsAccumulateAndTypeNameWinsOverExtension) {
  Scratch s;
  Bytes packed;
  // Running value: 1000, +5, +5, -3, then 0x1234 absolute, +1.
  PackedRow(packed, Bytes{0xE8, 0x03, 5, 5, 0xFD, 0x80, 0x34, 0x12, 1});
  // A row whose length is 2 x width is raw even though it would decode as deltas.
  PackedRow(packed, Bytes{0x64, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1});
  // Surplus pixels past the width are dropped.
  PackedRow(packed, Bytes{0x64, 0, 1, 1, 1, 1, 1, 1, 1});
  pixtest::WriteFile(s.path("a.st4"), Sbig(SbigText("ST-7 Compressed Image", 6, 3), packed));
  ASSERT_EQ(pix::SbigToFits({s.path("a.st4").c_str(), s.path("a.fts").c_str()}), 1);
  auto got = scitest::AstropyRead(s.path("a.fts"));
  ASSERT_TRUE(got.ok) << got.error;
  std::vector<long> want;
  for (unsigned v : {0x1235u, 0x1234u, 1007u, 1010u, 1005u, 1000u}) want.push_back(Expected(v));
  for (unsigned v : {0x0101u, 0x0101u, 0x0101u, 0x0101u, 0x0101u, 0x0064u}) want.push_back(Expected(v));
  for (unsigned v : {105u, 104u, 103u, 102u, 101u, 100u}) want.push_back(Expected(v));
  EXPECT_EQ(got.values, want);
}

// A row that supplies fewer pixels than the width keeps the rest of the row
// buffer as the row before left it: offset, mirrored and stored as FITS words.
TEST(Sbig, ShortRowsReadOverTheRowBefore) {
  Scratch s;
  Bytes raw = RawRows({{1000, 2000, 3000}});
  Put16le(raw, 500);  // the file ends after one pixel of the second row
  Bytes packed;
  PackedRow(packed, RawRows({{1000, 2000, 3000}}));
  PackedRow(packed, Bytes{0xF4, 0x01});  // delta-coded, one pixel only
  struct {
    const char* type;
    Bytes data;
  } sources[] = {{"ST-7 Image", raw}, {"ST-7 Compressed Image", packed}};
  for (const auto& src : sources) {
    SCOPED_TRACE(src.type);
    pixtest::WriteFile(s.path("a.st7"), Sbig(SbigText(src.type, 3, 2), src.data));
    ASSERT_EQ(pix::SbigToFits({s.path("a.st7").c_str(), s.path("a.fts").c_str()}), 1);
    Bytes f = pixtest::ReadFile(s.path("a.fts"));
    std::size_t at = ((scitest::Cards(f).size() + 35) / 36) * 2880;
    ASSERT_GE(f.size(), at + 12);
    std::vector<long> got;
    for (std::size_t i = at; i < at + 12; i += 2) got.push_back(((f[i] << 8) | f[i + 1]) ^ 0x8000);
    // Row 1 leaves the words 0x548B 0x6C87 0x8483 (2900, 1900, 900 stored
    // high byte first, less 0x8000); row 2 reads 500 over the first.
    EXPECT_EQ(got, (std::vector<long>{2900, 1900, 900, 0x8483 - 100, 0x6C87 - 100, 400}));
  }
}

struct LayoutCase {
  const char* name;
  int width, height;
  std::size_t dataRecords;
  std::uint8_t pad;
};

TEST(Sbig, DataRecordsAndPadding) {
  const LayoutCase cases[] = {
      {"small: spaces", 4, 3, 1, ' '},
      {"375 x 242: zeros", 375, 242, 64, 0},
      {"exact boundary: extra zero record", 360, 8, 3, 0},  // 5760 bytes of data
  };
  Scratch s;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<std::vector<unsigned>> rows(static_cast<std::size_t>(c.height), std::vector<unsigned>(static_cast<std::size_t>(c.width), 1234));
    pixtest::WriteFile(s.path("a.st7"), Sbig(SbigText("ST-7 Image", c.width, c.height), RawRows(rows)));
    ASSERT_EQ(pix::SbigToFits({s.path("a.st7").c_str(), s.path("a.fts").c_str()}), 1);
    Bytes f = pixtest::ReadFile(s.path("a.fts"));
    std::size_t headerBytes = ((scitest::Cards(f).size() + 35) / 36) * 2880;
    ASSERT_EQ(f.size(), headerBytes + c.dataRecords * 2880);
    std::size_t dataEnd = headerBytes + std::size_t(c.width) * c.height * 2;
    for (std::size_t i = dataEnd; i < f.size(); ++i) ASSERT_EQ(f[i], c.pad) << "byte " << i;
    EXPECT_EQ(f[headerBytes], 0x84) << "1234 - 100 - 32768, high byte first";
    EXPECT_EQ(f[headerBytes + 1], 0x6E);
  }
}

TEST(Sbig, FitsverifyFindsOnlyTheDeliberateQuirks) {
  PIX_REQUIRE_TOOL("fitsverify");
  Scratch s;
  std::vector<std::vector<unsigned>> rows(40, std::vector<unsigned>(50, 3000));
  pixtest::WriteFile(s.path("big.st7"), Sbig(SbigText("ST-7 Image", 50, 40), RawRows(rows)));
  pixtest::WriteFile(s.path("small.st7"), Sbig(SbigText("ST-7 Image", 3, 2), RawRows({{1, 2, 3}, {4, 5, 6}})));
  ASSERT_EQ(pix::SbigToFits({s.path("big.st7").c_str(), s.path("big.fts").c_str()}), 1);
  ASSERT_EQ(pix::SbigToFits({s.path("small.st7").c_str(), s.path("small.fts").c_str()}), 1);
  // The three-digit year of DATE; a small image's data record padded with blanks.
  auto big = scitest::FitsVerifyErrors(s.path("big.fts"));
  ASSERT_EQ(big.size(), 1u);
  EXPECT_NE(big[0].find("Keyword #7, DATE"), std::string::npos) << big[0];
  auto small = scitest::FitsVerifyErrors(s.path("small.fts"));
  ASSERT_EQ(small.size(), 2u);
  EXPECT_NE(small[0].find("Keyword #7, DATE"), std::string::npos) << small[0];
  EXPECT_NE(small[1].find("Data fill area invalid"), std::string::npos) << small[1];
}

struct FailureCase {
  const char* name;
  std::string text;
  Bytes data;
  int result;
  const char* message;
  bool targetCreated;  // a header that cannot make a FITS file leaves none
};

TEST(Sbig, FailuresAndTheirMessages) {
  const FailureCase cases[] = {
      {"no date", "ST-7 Image\r\nHeight = 1\r\nWidth = 1\r\nTime = 10:00:00\r\n", {1, 0}, 0, "Warning: Date not found.\n\r", false},
      {"no time", "ST-7 Image\r\nHeight = 1\r\nWidth = 1\r\nDate = 01/01/90\r\n", {1, 0}, 0, "Warning: Time not found.\n\r", false},
      {"no width", "ST-7 Image\r\nHeight = 1\r\nDate = 01/01/90\r\nTime = 10:00:00\r\n", {1, 0}, 0, "", false},
      {"zero width", SbigText("ST-7 Image", 0, 1), {1, 0}, 0, "", false},
      {"no height", "ST-7 Image\r\nWidth = 1\r\nDate = 01/01/90\r\nTime = 10:00:00\r\n", {1, 0}, 0, "", false},
      {"no type name", "ST-9 Image\r\nWidth = 1\r\nHeight = 1\r\n", {1, 0}, 0, "", false},
      {"row shorter than its count", SbigText("ST-7 Compressed Image", 2, 2), {4, 0, 1, 0, 2, 0, 9, 0, 1}, 1,
       "Can't read the ST-xx file.\n\r", true},
      {"one byte of row count ends the image", SbigText("ST-7 Compressed Image", 1, 2), {2, 0, 1, 0, 9}, 1, "", true},
  };
  Scratch s;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::string src = s.path("a.st7"), dst = s.path(std::string(c.name) + ".fts");
    pixtest::WriteFile(src, Sbig(c.text, c.data));
    testing::internal::CaptureStdout();
    int r = pix::SbigToFits({src.c_str(), dst.c_str()});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.message);
    EXPECT_EQ(r, c.result);
    EXPECT_EQ(pixtest::fs::exists(dst), c.targetCreated);
  }
  Bytes shortHeader(1000, ' ');
  pixtest::WriteFile(s.path("short.st7"), shortHeader);
  EXPECT_EQ(pix::SbigToFits({s.path("short.st7").c_str(), s.path("short.fts").c_str()}), 0);
  EXPECT_EQ(pix::SbigToFits({s.path("none.st7").c_str(), s.path("none.fts").c_str()}), 0);
}

TEST(Sbig, HeaderOnlyAndMemoryModes) {
  Scratch s;
  std::vector<std::vector<unsigned>> rows(20, std::vector<unsigned>(100, 500));
  pixtest::WriteFile(s.path("a.st7"), Sbig(SbigText("ST-7 Image", 100, 20), RawRows(rows)));
  ASSERT_EQ(Convert(s.path("a.st7"), s.path("h.fts"), "", 0, true), 1);
  Bytes h = pixtest::ReadFile(s.path("h.fts"));
  ASSERT_EQ(h.size(), 2u * 2880);
  EXPECT_EQ(h.back(), ' ') << "the one data record written is all blanks";

  ASSERT_EQ(Convert(s.path("a.st7"), s.path("f.fts")), 1);
  unsigned char* block = nullptr;
  int n = pix::SbigToFits({s.path("a.st7").c_str(), nullptr, 0, 0, &block});
  EXPECT_EQ(pixtest::TakeBlock(block, n), pixtest::ReadFile(s.path("f.fts")));
}

}  // namespace
