// The FITS header this library writes for SBIG camera files: a fixed table of
// 36 cards filled from the camera's text header, the lines of an optional
// parameter file, END, all in 2880-byte records of 80-character cards; then
// 16-bit data records (value - 32768, most significant byte first).
#include <cctype>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "common/console.h"
#include "platform/platform.h"
#include "science/science.h"

namespace pix {
namespace {

enum class Kind { Fixed, Integer, Real, Hex, String, Parameter, Text };

struct CardEntry {
  const char* keyword;
  Kind kind;
  const char* key;      // SBIG search key
  const char* value;    // fixed value
  const char* comment;
};

constexpr CardEntry kCards[] = {
    {"SIMPLE  =", Kind::Fixed, "", "                   T", " "},
    {"BITPIX  =", Kind::Fixed, "", "                  16", " "},
    {"NAXIS   =", Kind::Fixed, "", "                   2", " "},
    {"NAXIS1  =", Kind::Integer, "Width =", "", " "},
    {"NAXIS2  =", Kind::Integer, "Height =", "", " "},
    {"OBJECT  =", Kind::Parameter, "", "", " "},
    {"DATE    =", Kind::Fixed, "", "", " "},  // today, filled in per call
    {"DATE-OBS=", Kind::String, "Date =", "", "/ UT DATE OF START (ASSUMES PC CLOCK=UT)"},
    {"UT      =", Kind::String, "Time =", "", "/ UT TIME OF START (ASSUMES PC CLOCK=UT)"},
    {"ORIGIN  =", Kind::Fixed, "", "'PIXAM   '", " "},
    {"INSTRUME=", Kind::Fixed, "", "'SBIG ST-xx'", " "},  // xx filled in per call
    {"TELESCOP=", Kind::Parameter, "", "", " "},
    {"OBSERVER=", Kind::Parameter, "", "", " "},
    {"BZERO   =", Kind::Fixed, "", "     3.2768000000E04", " "},
    {"BSCALE  =", Kind::Fixed, "", "     1.0000000000E00", " "},
    {"EXPTIME =", Kind::Real, "Exposure =", "", "/ EXPOSURE IN SECONDS"},
    {"SNAPSHOT=", Kind::Integer, "Number_exposures =", "", "/ NUMBER OF SNAPSHOT"},
    {"EACHSNAP=", Kind::Real, "Each_exposure =", "", "/ SNAPSHOT IN SECONDS"},
    {"PIXWIDTH=", Kind::Real, "X_pixel_size =", "", "/ PIXEL WIDTH IN MM"},
    {"PIXHEIGH=", Kind::Real, "Y_pixel_size =", "", "/ PIXEL HEIGHT IN MM"},
    {"RESMODE =", Kind::Integer, "Readout_mode =", "", "/ RESOLUTION MODE"},
    {"EXPSTATE=", Kind::Hex, "Exposure_state =", "", "/ EXPOSURE STATE (HEX)"},
    {"TEMPERAT=", Kind::Real, "Temperature =", "", "/ TEMPERATURE IN DEGREES C"},
    {"RESPONSE=", Kind::Real, "Response_factor =", "", "/ CCD RESPONSE FACTOR"},
    {"EPERADU =", Kind::Real, "E_gain =", "", "/ ELECTRONS PER ADU"},
    {"FOCALLEN=", Kind::Real, "Focal_length =", "", "/ FOCAL LENGHT IN INCHES"},
    {"APERTURE=", Kind::Real, "Aperture =", "", "/ APERTURE AREA IN SQ-INCHES"},
    {"FILTER  =", Kind::String, "Filter =", "", "/ OPTICAL FILTER NAME"},
    {"BACKGRND=", Kind::Integer, "Background =", "", "/ BACKGROUND FOR DISPLAY"},
    {"RANGE   =", Kind::Integer, "Range =", "", "/ RANGE FOR DISPLAY"},
    {"HISTORY", Kind::Text, "History =", "", "                    / IMAGE MODIFICATIONS"},
    {"PEDESTAL=", Kind::Integer, "Pedestal =", "", "/ PEDESTAL OFFSET"},
    {"TRAKTIME=", Kind::Real, "Track_time =", "", "/ TRACK PERIOD IN SECONDS"},
    {"SATURATE=", Kind::Integer, "Sat_level =", "", "/ SATURATION LEVEL"},
    {"COMMENT", Kind::Text, "Note =", "", " "},
    {"COMMENT", Kind::Fixed, "", "File created by the Pixamorph", ""},
};
constexpr int kCardCount = sizeof kCards / sizeof kCards[0];
static_assert(kCardCount == 36);
constexpr int kWidth = 3, kHeight = 4, kExptime = 15, kEachsnap = 17, kDate = 6, kInstrument = 10;

// The camera wrote these programs with a 32-bit long: values saturate there.
long TextToLong(const char* text) {
  long long v = std::strtoll(text, nullptr, 10);
  if (v > 2147483647LL) v = 2147483647LL;
  if (v < -2147483647LL - 1) v = -2147483647LL - 1;
  return static_cast<long>(v);
}

// Text right after a key, or null when the key is not in the header.
const char* AfterKey(char* header, const char* key) {
  char* p = std::strstr(header, key);
  return p ? p + std::strlen(key) : nullptr;
}

void Upper(std::string& s) {
  for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}


// Line reading as a text-mode stream with an 80-byte line buffer gives it:
// at most 79 characters, up to and including LF; CR before LF dropped.
class TextLines {
 public:
  explicit TextLines(const Bytes& data) : data_(data) {}
  bool next(std::string& line) {
    line.clear();
    while (pos_ < data_.size() && line.size() < 79) {
      char c = static_cast<char>(data_[pos_++]);
      if (c == '\r' && pos_ < data_.size() && data_[pos_] == '\n') continue;
      line += c;
      if (c == '\n') break;
    }
    return !line.empty();
  }

 private:
  const Bytes& data_;
  std::size_t pos_ = 0;
};

constexpr std::size_t kMaxParamFile = std::size_t(1) << 24;

bool ReadParamFile(FitsRecordWriter& w, const char* name, Bytes& data) {
  if (ReadWholeFile(name, data, kMaxParamFile)) return true;
  if (!w.paramErrorReported) PrintOut("Can't open parameter file. \n\r");
  w.paramErrorReported = true;
  return false;
}

// OBJECT, TELESCOP, OBSERVER: the value of the first parameter-file line that
// starts with the keyword field, quotes left out; "Unknown" otherwise.
std::string LookUpParameter(FitsRecordWriter& w, const char* paramFile, const char* keyword) {
  if (!paramFile || !*paramFile) return "Unknown";
  Bytes data;
  if (!ReadParamFile(w, paramFile, data)) return "Unknown";
  TextLines lines(data);
  std::string line;
  std::size_t kwLen = std::strlen(keyword);
  while (lines.next(line)) {
    std::string head = line.substr(0, std::min<std::size_t>(9, line.find('\n')));
    if (head.compare(0, kwLen, keyword) != 0 || head.size() < kwLen) continue;
    std::string value;
    for (std::size_t i = 10; i < line.size() && line[i] != '\n'; ++i)
      if (line[i] != '\'') value += line[i];
    // Trailing blanks go from a fixed position counted from the line length.
    long p = static_cast<long>(line.size()) - 13;
    while (p >= 0 && p < static_cast<long>(value.size()) && value[static_cast<std::size_t>(p)] == ' ') {
      value.resize(static_cast<std::size_t>(p));
      --p;
    }
    return value;
  }
  return "Unknown";
}

// Meeus: Julian day of a calendar date (Gregorian from 15 October 1582 on).
double JulianDay(int year, int month, double day) {
  bool gregorian = year > 1582 || (year == 1582 && (month > 10 || (month == 10 && day >= 15)));
  if (month <= 2) {
    year -= 1;
    month += 12;
  }
  double b = 0;
  if (gregorian) {
    double a = std::floor(year / 100.0);
    b = 2 - a + std::floor(a / 4);
  }
  double yearDays = year < 0 ? std::floor(365.25 * year - 0.75) : std::floor(365.25 * year);
  return yearDays + std::floor(30.6001 * (month + 1)) + day + 1720994.5 + b;
}

// Meeus's inverse: calendar date (day with its fraction) of a Julian day.
void CalendarDate(double jd, int& year, int& month, double& day) {
  double z = std::floor(jd + 0.5);
  double f = jd + 0.5 - z;
  double a = z;
  if (z >= 2299163) {
    double alpha = std::floor((z - 1867216.25) / 36524.25);
    a = z + 1 + alpha - std::floor(alpha / 4);
  }
  double b = a + 1524;
  double c = std::floor((b - 122.1) / 365.25);
  double d = std::floor(365.25 * c);
  double e = std::floor((b - d) / 30.6001);
  day = b - d - std::floor(30.6001 * e) + f;
  month = static_cast<int>(e < 13.5 ? e - 1 : e - 13);
  year = static_cast<int>(month > 2.5 ? c - 4716 : c - 4715);
}

void Overwrite(char* header, const char* after, const std::string& text) {
  std::size_t start = static_cast<std::size_t>(after - header) + 1;
  for (std::size_t i = 0; i < 8 && i < text.size() && start + i < kSbigHeaderSize; ++i) header[start + i] = text[i];
}

// Rewrites the header's date and time (shifted by offset seconds) as
// day/month/century digits and hh:mm:ss.
bool NormaliseDate(char* header, int offsetSeconds) {
  const char* date = AfterKey(header, "Date =");
  if (!date) {
    PrintOut("Warning: Date not found.\n\r");
    return false;
  }
  int month = 0, day = 0, year = 0;
  std::sscanf(date, "%2d%*1s%2d%*1s%2d", &month, &day, &year);
  const char* time = AfterKey(header, "Time =");
  if (!time) {
    PrintOut("Warning: Time not found.\n\r");
    return false;
  }
  int hours = 0, minutes = 0, seconds = 0;
  std::sscanf(time, "%2d%*1s%2d%*1s%2d", &hours, &minutes, &seconds);
  double secs = hours * 3600.0 + minutes * 60.0 + seconds + offsetSeconds;
  double jd = JulianDay(year + 1900, month, day) + secs / 86400.0;
  int fullYear = 0, newMonth = 0;
  double dayWithFraction = 0;
  CalendarDate(jd, fullYear, newMonth, dayWithFraction);
  double whole = std::floor(dayWithFraction);
  long s = static_cast<long>((dayWithFraction - whole) * 86400.0 + 0.5);
  std::string dateText = Format("%02d/%02d/%02d", static_cast<int>(whole), newMonth, fullYear);
  std::string timeText = Format("%02ld:%02ld:%02ld", s / 3600, (s % 3600) / 60, s % 60);
  Overwrite(header, date, dateText);
  Overwrite(header, time, timeText);
  return true;
}

bool WriteRecord(FitsRecordWriter& w) { return w.out.write(w.record.data(), w.record.size()); }

// Full data records go out in batches of 64.
constexpr std::size_t kBatch = 64 * kFitsRecord;

bool FlushData(FitsRecordWriter& w) {
  bool good = w.out.write(w.pending.data(), w.pending.size());
  w.pending.clear();
  return good;
}

// HISTORY and COMMENT texts: chunks end at a blank past the 60th character or
// at the 71st character, which is dropped either way.
bool PutTextCards(FitsRecordWriter& w, const CardEntry& e, const char* text) {
  std::string chunk;
  for (const char* p = text; *p && *p != '\r' && *p != '\n'; ++p) {
    std::size_t i = chunk.size();
    if ((i > 60 && *p == ' ') || i == 70) {
      if (FitsPutCard(w, "%s%s %s", e.keyword, chunk.c_str(), e.comment) < 0) return false;
      chunk.clear();
      continue;
    }
    chunk += *p;
  }
  return FitsPutCard(w, "%s%s %s", e.keyword, chunk.c_str(), e.comment) >= 0;
}

bool IsKeywordLine(const std::string& line) {
  for (const CardEntry& e : kCards)
    if (line.find(e.keyword) != std::string::npos) return true;
  return line.find("END") != std::string::npos;
}

bool PutParameterLines(FitsRecordWriter& w, const char* paramFile) {
  if (!paramFile || !*paramFile) return true;
  Bytes data;
  if (!ReadParamFile(w, paramFile, data)) return false;
  TextLines lines(data);
  std::string line;
  while (lines.next(line)) {
    for (char& c : line)
      if (c == '\n') c = ' ';
    if (line.find_first_not_of(' ') == std::string::npos) continue;
    if (IsKeywordLine(line)) continue;
    if (FitsPutCard(w, "%-80s", line.c_str()) < 0) return false;
  }
  return true;
}

}  // namespace

int FitsPutCard(FitsRecordWriter& w, const char* fmt, ...) {
  char card[81];
  std::memset(card, ' ', sizeof card);
  va_list ap;
  va_start(ap, fmt);
  char text[512];
  int n = std::vsnprintf(text, sizeof text, fmt, ap);
  va_end(ap);
  if (n < 0) n = 0;
  std::size_t len = std::min<std::size_t>(static_cast<std::size_t>(n), std::min<std::size_t>(80, sizeof text - 1));
  std::memcpy(card, text, len);
  std::memcpy(w.record.data() + w.cards * 80, card, 80);
  if (++w.cards == 36) {
    if (!WriteRecord(w)) {
      PrintOut("Can't write FITS file header.\n\r");
      w.out.close();
      return -1;
    }
    w.record.fill(' ');
    w.cards = 0;
  }
  return 1;
}

bool FitsWriteSbigHeader(FitsRecordWriter& w, const char* target, char* header, const char* paramFile,
                         int timeOffset) {
  w.cards = 0;
  w.dataBytes = 0;
  w.paramErrorReported = false;
  w.record.fill(' ');

  // The instrument: the two characters after the first "ST-" of the header.
  char instrument[] = "'SBIG ST-xx'";
  if (const char* st = std::strstr(header, "ST-")) {
    if (st[3]) {
      instrument[9] = st[3];
      instrument[10] = st[4] ? st[4] : ' ';
    }
  }
  if (!NormaliseDate(header, timeOffset)) return false;
  for (int i : {kWidth, kHeight})  // the picture's size: without it there is no FITS file to write
    if (!AfterKey(header, kCards[i].key)) return false;
  if (!w.out.open(target)) return false;

  const std::tm today = platform::LocalNow();
  std::string dateValue = Format("'%02d/%02d/%02d'", today.tm_mday, today.tm_mon + 1, today.tm_year);

  for (int i = 0; i < kCardCount; ++i) {
    const CardEntry& e = kCards[i];
    const char* after = e.key[0] ? AfterKey(header, e.key) : nullptr;
    int r = 1;
    switch (e.kind) {
      case Kind::Fixed: {
        const char* value = i == kDate ? dateValue.c_str() : i == kInstrument ? instrument : e.value;
        r = FitsPutCard(w, "%s %-20s %s", e.keyword, value, e.comment);
        break;
      }
      case Kind::Integer:
        if (!after) continue;  // the size (kWidth, kHeight) was checked above
        r = FitsPutCard(w, "%-9s %20s %s", e.keyword, Format("%20ld", TextToLong(after)).c_str(), e.comment);
        break;
      case Kind::Real: {
        if (!after) continue;
        double v = std::strtod(after, nullptr);
        if (i == kExptime || i == kEachsnap) v *= 0.01;
        std::string text = Format("%20.10e", v);
        Upper(text);
        r = FitsPutCard(w, "%-9s %20s %s", e.keyword, text.c_str(), e.comment);
        break;
      }
      case Kind::Hex: {
        if (!after) continue;
        std::string text = Format("'%-8lx'", static_cast<unsigned long>(static_cast<std::uint32_t>(TextToLong(after))));
        Upper(text);
        r = FitsPutCard(w, "%-9s %-20s %s", e.keyword, text.c_str(), e.comment);
        break;
      }
      case Kind::String: {
        if (!after) continue;
        std::string word;
        const char* p = after;
        while (*p && std::isspace(static_cast<unsigned char>(*p))) ++p;
        while (*p && !std::isspace(static_cast<unsigned char>(*p))) word += *p++;
        r = FitsPutCard(w, "%-9s %-20s %s", e.keyword, Format("'%-8s'", word.c_str()).c_str(), e.comment);
        break;
      }
      case Kind::Parameter:
        r = FitsPutCard(w, "%-9s '%-8s' %s", e.keyword, LookUpParameter(w, paramFile, e.keyword).c_str(), e.comment);
        break;
      case Kind::Text:
        if (!after) continue;
        if (!PutTextCards(w, e, after)) return false;
        break;
    }
    if (r < 0) return false;
  }
  if (!PutParameterLines(w, paramFile)) return false;
  if (FitsPutCard(w, "%-80s", "END") < 0) return false;
  if (w.cards != 0) {
    if (!WriteRecord(w)) {
      PrintOut("Can't write FITS header.\n\r");
      w.out.close();
      return false;
    }
  }
  w.record.fill(' ');
  return true;
}

int FitsWriteRow(FitsRecordWriter& w, const std::uint8_t* row, int count) {
  std::size_t bytes = 2 * static_cast<std::size_t>(count > 0 ? count : 0), at = 0;
  while (at < bytes) {
    std::size_t k = std::min(static_cast<std::size_t>(kFitsRecord - w.dataBytes), bytes - at);
    char* dst = w.record.data() + w.dataBytes;
    const std::uint8_t* src = row + at;
    // Most significant byte first, less 0x80: value - 32768.
    for (std::size_t i = 0; i < k; i += 2) {
      dst[i] = static_cast<char>(src[i + 1] - 0x80);
      dst[i + 1] = static_cast<char>(src[i]);
    }
    w.dataBytes += static_cast<int>(k);
    at += k;
    if (w.dataBytes == kFitsRecord) {
      w.pending.insert(w.pending.end(), w.record.begin(), w.record.end());
      if (w.pending.size() >= kBatch && !FlushData(w)) return -1;
      w.record.fill(0);
      w.dataBytes = 0;
    }
  }
  return count;
}

int FitsCloseData(FitsRecordWriter& w) {
  bool good = FlushData(w) && WriteRecord(w);
  if (!w.out.isMemory()) good = w.out.close() && good;
  return good ? kFitsRecord : 0;
}

}  // namespace pix
