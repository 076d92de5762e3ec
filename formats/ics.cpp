// Image Cytometry Standard pictures (".ics", microscopy) to DIB files (a
// Windows bitmap with its file header, the same bytes as a ".bmp"). The
// ".ics" file is text: its first two bytes are the field and line
// separators, then "ics_version 1.0|2.0", "filename ...", "layout" and
// "representation" lines, and "end". Version 1.0 keeps the samples in the
// ".ids" file beside it (or ".ids.gz"), version 2.0 after the "end" line or
// in the file a "source file" line names (looked for beside the ".ics").
// Samples are 8 to 64-bit integers, 32/64-bit reals or complex pairs in the
// stated byte order, gzip-compressed or not, the first dimension fastest.
// The first plane (the first two dimensions, every other one at 0) is
// written: 8-bit unsigned samples as they are, others stretched from the
// plane's minimum to its maximum; a "ch" dimension of 3 gives a colour DIB.
// Writes the target path itself and returns 1 (memory mode: the DIB's bytes
// and their count), 0 for anything else.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>


#include "common/inflate.h"
#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kLongestLine = 1024;

struct IcsHeader {
  std::string version;
  std::vector<std::string> order;      // dimension names, "bits" first
  std::vector<std::uint64_t> sizes;    // bits per sample, then the extents
  std::string format = "integer", sign = "unsigned", compression = "uncompressed";
  std::vector<int> byteOrder;
  std::string sourceFile;
  std::uint64_t sourceOffset = 0;
  std::size_t dataAt = 0;              // after "end", for inline data
};

std::vector<std::string> Split(const std::string& line, char sep) {
  std::vector<std::string> words;
  std::size_t start = 0;
  while (start <= line.size()) {
    std::size_t end = line.find(sep, start);
    if (end == std::string::npos) end = line.size();
    if (end > start) words.push_back(line.substr(start, end - start));
    start = end + 1;
  }
  return words;
}

std::uint64_t Number(const std::string& word) {
  std::uint64_t v = 0;
  for (char c : word) {
    if (c < '0' || c > '9') return 0;
    if (v < (std::uint64_t(1) << 40)) v = v * 10 + std::uint64_t(c - '0');
  }
  return v;
}

bool ReadHeader(const Bytes& text, IcsHeader& h) {
  ByteReader in(text);
  if (!in.has(0, 3)) return false;
  const char fieldSep = static_cast<char>(in.at(0));
  char lineSep = static_cast<char>(in.at(1));
  std::size_t pos = 2;
  if (lineSep == '\r' && fieldSep != '\n' && in.at(2) == '\n') lineSep = '\n', pos = 3;
  if (fieldSep == lineSep) return false;
  for (int n = 0; pos < in.size(); ++n) {
    std::string line;
    while (pos < in.size() && static_cast<char>(in.at(pos)) != lineSep && line.size() < kLongestLine)
      line.push_back(static_cast<char>(in.at(pos++)));
    if (line.size() >= kLongestLine) return false;
    ++pos;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::vector<std::string> w = Split(line, fieldSep);
    if (n == 0) {
      if (w.size() < 2 || w[0] != "ics_version" || (w[1] != "1.0" && w[1] != "2.0")) return false;
      h.version = w[1];
      continue;
    }
    if (w.size() == 1 && w[0] == "end") {
      h.dataAt = std::min(pos, in.size());
      return true;
    }
    if (w.size() < 3) continue;
    const std::string key = w[0] + " " + w[1];
    std::vector<std::string> values(w.begin() + 2, w.end());
    if (key == "layout order") h.order = values;
    else if (key == "layout sizes") {
      h.sizes.clear();
      for (const std::string& v : values) h.sizes.push_back(Number(v));
    } else if (key == "representation format") h.format = values[0];
    else if (key == "representation sign") h.sign = values[0];
    else if (key == "representation compression") h.compression = values[0];
    else if (key == "representation byte_order") {
      h.byteOrder.clear();
      for (const std::string& v : values) h.byteOrder.push_back(static_cast<int>(Number(v)));
    } else if (key == "source file") h.sourceFile = values[0];
    else if (key == "source offset") h.sourceOffset = Number(values[0]);
  }
  return false;  // no "end" line
}

// The path beside `source` with its name (after the last separator) replaced.
std::string Beside(const std::string& source, const std::string& name) {
  const std::size_t slash = source.find_last_of("/\\");
  return (slash == std::string::npos ? std::string() : source.substr(0, slash + 1)) + name;
}

std::string NameOf(const std::string& path) {
  const std::size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

struct Layout {
  int bytes = 0;                       // per stored sample (a complex pair counts both)
  std::uint64_t width = 0, height = 0, channels = 1;
  std::uint64_t strideX = 0, strideY = 0, strideC = 0;
  std::uint64_t planeBytes = 0;
};

bool Plan(const IcsHeader& h, Layout& l) {
  if (h.order.size() < 3 || h.order.size() != h.sizes.size() || h.order[0] != "bits") return false;
  const std::uint64_t bits = h.sizes[0];
  const bool complex = h.format == "complex";
  if (complex ? bits != 64 && bits != 128 : bits != 8 && bits != 16 && bits != 32 && bits != 64) return false;
  if (h.format == "real" && bits < 32) return false;
  if (h.format != "integer" && h.format != "real" && !complex) return false;
  l.bytes = static_cast<int>(bits / 8);
  std::uint64_t stride = std::uint64_t(l.bytes);
  int spatial = 0;
  for (std::size_t i = 1; i < h.order.size(); ++i) {
    const std::uint64_t extent = h.sizes[i];
    if (extent < 1 || extent > kMaxPixels) return false;
    const bool channel = h.order[i] == "ch" || h.order[i] == "c";
    if (channel && extent == 3 && l.channels == 1) {
      l.channels = 3, l.strideC = stride;
    } else if (!channel && spatial < 2) {
      (spatial == 0 ? l.width : l.height) = extent;
      (spatial == 0 ? l.strideX : l.strideY) = stride;
      ++spatial;
    }
    if (stride > (std::uint64_t(1) << 40) / extent) return false;
    stride *= extent;
  }
  if (spatial < 2 || CheckedSize(l.width, l.height, l.channels) == 0) return false;
  l.planeBytes = l.strideX * (l.width - 1) + l.strideY * (l.height - 1) + l.strideC * (l.channels - 1) + std::uint64_t(l.bytes);
  return l.planeBytes <= (std::uint64_t(1) << 32);
}

// One stored value as a number (the modulus for a complex pair).
double Value(const ByteReader& in, std::size_t at, const IcsHeader& h, int bytes) {
  const bool complex = h.format == "complex";
  const int part = complex ? bytes / 2 : bytes;
  auto word = [&](std::size_t off) {
    std::uint64_t v = 0;
    for (int k = 0; k < part; ++k) {
      int significance = k < static_cast<int>(h.byteOrder.size()) ? h.byteOrder[std::size_t(k)] : k + 1;
      if (significance < 1 || significance > part) significance = k + 1;
      v |= std::uint64_t(in.at(off + std::size_t(k))) << (8 * (significance - 1));
    }
    return v;
  };
  auto real = [&](std::uint64_t v) {
    if (part == 4) {
      float f;
      const std::uint32_t u = static_cast<std::uint32_t>(v);
      std::memcpy(&f, &u, 4);
      return double(f);
    }
    double d;
    std::memcpy(&d, &v, 8);
    return d;
  };
  const std::uint64_t v = word(at);
  if (complex) return std::hypot(real(v), real(word(at + std::size_t(part))));
  if (h.format == "real") return real(v);
  if (h.sign == "signed") {
    const int shift = 64 - 8 * part;
    return double(static_cast<std::int64_t>(v << shift) >> shift);
  }
  return double(v);
}

bool Decode(const char* source, const Bytes& text, Image& img) {
  IcsHeader h;
  Layout l;
  if (!ReadHeader(text, h) || !Plan(h, l)) return false;
  if (h.compression != "uncompressed" && h.compression != "gzip") return false;
  // Where the samples are.
  Bytes side;
  const Bytes* file = &text;
  std::size_t offset = h.dataAt;
  const std::string src = source;
  if (h.version == "1.0" || !h.sourceFile.empty()) {
    std::string name = NameOf(h.sourceFile);
    if (h.sourceFile.empty()) {
      name = NameOf(src);
      const std::size_t dot = name.rfind('.');
      name = (dot == std::string::npos ? name : name.substr(0, dot)) + ".ids";
    }
    const std::string path = Beside(src, name);
    if (!ReadWholeFile(path.c_str(), side) && !ReadWholeFile((path + ".gz").c_str(), side)) return false;
    file = &side;
    offset = h.sourceFile.empty() ? 0 : static_cast<std::size_t>(std::min<std::uint64_t>(h.sourceOffset, SIZE_MAX));
  }
  ByteReader all(*file);
  if (offset > all.size()) return false;
  ByteReader data = all.sub(offset, all.size() - offset);
  Bytes inflated;
  if (h.compression == "gzip") {
    // deflate packs at most about 1032 bytes into one: the first plane must fit
    const auto need = static_cast<std::size_t>(l.planeBytes);
    if (need / 1032 > data.size()) return false;
    Inflate(data.data(), data.size(), kZlibOrGzip, need, inflated);
    data = ByteReader(inflated);
  }
  if (!data.has(0, static_cast<std::size_t>(l.planeBytes))) return false;
  const auto w = static_cast<std::uint32_t>(l.width), hgt = static_cast<std::uint32_t>(l.height);
  const int ch = static_cast<int>(l.channels);
  if (!img.allocate(w, hgt, ch)) return false;
  std::vector<double> values(img.pixels.size());
  for (std::uint32_t y = 0; y < hgt; ++y)
    for (std::uint32_t x = 0; x < w; ++x)
      for (int c = 0; c < ch; ++c)
        values[(std::size_t(y) * w + x) * std::size_t(ch) + std::size_t(c)] =
            Value(data, static_cast<std::size_t>(x * l.strideX + y * l.strideY + std::uint64_t(c) * l.strideC), h, l.bytes);
  const bool asIs = h.format == "integer" && l.bytes == 1 && h.sign != "signed";
  double lo = 0, hi = 0;
  if (!values.empty()) {
    auto [mn, mx] = std::minmax_element(values.begin(), values.end());
    lo = *mn, hi = *mx;
  }
  for (std::size_t i = 0; i < values.size(); ++i) {
    double v = asIs ? values[i] : hi > lo ? (values[i] - lo) * 255.0 / (hi - lo) : 0.0;
    if (!(v >= 0)) v = 0;  // also a NaN
    img.pixels[i] = static_cast<std::uint8_t>(std::lround(std::min(v, 255.0)));
  }
  return true;
}

}  // namespace

int IcsToDib(const ConvertCall& call) {
  return ConvertWhole(
      call, [&call](const Bytes& text, Image& img) { return Decode(call.source, text, img); },
      [](Sink& out, const Image& img) { return WriteBmp(out, img); });
}

}  // namespace pix
