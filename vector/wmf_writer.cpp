// Windows metafiles with the placeable header (22 bytes: key 9AC6CDD7, bounding
// box, units per inch, checksum), the 18-byte metafile header and 16-bit
// records. A drawing is written in twips (1440 to the inch) when it fits the
// 16-bit coordinates, else at half that scale until it does. Filled paths are
// POLYPOLYGON records (as many polygons per record as fit) with a null pen
// and a solid brush, outlines one POLYLINE per sub-path; curves are
// flattened to straight lines within kWmfFlatness logical units. Text lines
// are TEXTOUT records in a font made for each. Every item creates its pen,
// brush and font, selects them, draws and deletes them, so the object table
// never holds more than three.
#include "vector/wmf_writer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "common/endian.h"

namespace pix::vec {
namespace {

constexpr std::size_t kMaxPointsPerRecord = 16000;
constexpr std::size_t kMaxPointsTotal = 4000000;  // hostile drawings stop here
constexpr int kMaxCurveSteps = 256;

struct IPoint {
  std::int16_t x = 0, y = 0;
  bool operator==(const IPoint& o) const { return x == o.x && y == o.y; }
};

struct WmfState {
  explicit WmfState(const Document& d) : doc(d) {}
  const Document& doc;
  double scale = 1;  // logical units per document unit
  Bytes records;
  std::uint32_t largest = 3;
  std::size_t points = 0;
  bool full = false;

  IPoint map(const Point& p) const {
    double x = std::lround((p.x - doc.box.x0) * scale);
    double y = std::lround((doc.box.y1 - p.y) * scale);
    return {static_cast<std::int16_t>(std::clamp(x, -32768.0, 32767.0)),
            static_cast<std::int16_t>(std::clamp(y, -32768.0, 32767.0))};
  }

  void record(std::uint16_t function, const std::vector<std::uint16_t>& params) {
    std::uint32_t words = 3 + static_cast<std::uint32_t>(params.size());
    largest = std::max(largest, words);
    AppendLe32(records, words);
    AppendLe16(records, function);
    for (std::uint16_t p : params) AppendLe16(records, p);
  }
};

std::uint16_t Lo(const Colour& c) { return static_cast<std::uint16_t>(c.r | c.g << 8); }
std::uint16_t Hi(const Colour& c) { return c.b; }
std::uint16_t U(int v) { return static_cast<std::uint16_t>(static_cast<std::int16_t>(std::clamp(v, -32768, 32767))); }

enum : std::uint16_t {
  kSetWindowOrg = 0x020B, kSetWindowExt = 0x020C, kSetBkMode = 0x0102, kSetPolyFillMode = 0x0106,
  kCreatePen = 0x02FA, kCreateBrush = 0x02FC, kCreateFont = 0x02FB, kSelectObject = 0x012D,
  kDeleteObject = 0x01F0, kPolyPolygon = 0x0538, kPolyline = 0x0325, kSetTextColor = 0x0209,
  kSetTextAlign = 0x012E, kTextOut = 0x0521, kEof = 0x0000,
};

// A sub-path as logical points, curves flattened; repeated points dropped.
std::vector<IPoint> Flatten(WmfState& st, const SubPath& sp) {
  std::vector<IPoint> pts;
  auto add = [&](const Point& p) {
    IPoint q = st.map(p);
    if (pts.empty() || !(pts.back() == q)) pts.push_back(q);
  };
  add(sp.start);
  Point from = sp.start;
  for (const Segment& s : sp.segments) {
    if (st.points + pts.size() > kMaxPointsTotal) {
      st.full = true;
      break;
    }
    if (s.kind == Segment::Cubic) {
      // Steps from the curve's second differences: the chord error of n
      // uniform steps is at most 3/4 * L / n^2 (L the largest second difference).
      double lx = std::max(std::fabs(from.x - 2 * s.c1.x + s.c2.x), std::fabs(s.c1.x - 2 * s.c2.x + s.to.x));
      double ly = std::max(std::fabs(from.y - 2 * s.c1.y + s.c2.y), std::fabs(s.c1.y - 2 * s.c2.y + s.to.y));
      double l = std::hypot(lx, ly) * st.scale;
      int n = static_cast<int>(std::ceil(std::sqrt(0.75 * l / kWmfFlatness)));
      n = std::clamp(n, 1, kMaxCurveSteps);
      for (int i = 1; i <= n; ++i) {
        double t = static_cast<double>(i) / n, u = 1 - t;
        double a = u * u * u, b = 3 * u * u * t, c = 3 * u * t * t, d = t * t * t;
        add({a * from.x + b * s.c1.x + c * s.c2.x + d * s.to.x, a * from.y + b * s.c1.y + c * s.c2.y + d * s.to.y});
      }
    } else {
      add(s.to);
    }
    from = s.to;
  }
  st.points += pts.size();
  return pts;
}

// Keeps a record within the points a reader copes with, by taking every k-th point.
std::vector<IPoint> Thin(const std::vector<IPoint>& pts, std::size_t limit) {
  if (pts.size() <= limit) return pts;
  std::size_t step = (pts.size() + limit - 1) / limit;
  std::vector<IPoint> out;
  for (std::size_t i = 0; i < pts.size(); i += step) out.push_back(pts[i]);
  return out;
}

void Objects(WmfState& st, std::uint16_t pen, int width, const Colour& penColour, bool brush, const Colour& brushColour) {
  st.record(kCreatePen, {pen, U(width), 0, Lo(penColour), Hi(penColour)});
  st.record(kCreateBrush, {static_cast<std::uint16_t>(brush ? 0 : 1), Lo(brushColour), Hi(brushColour), 0});
  st.record(kSelectObject, {0});
  st.record(kSelectObject, {1});
}

void DeleteObjects(WmfState& st, int count) {
  for (int i = 0; i < count; ++i) st.record(kDeleteObject, {static_cast<std::uint16_t>(i)});
}

void WritePath(WmfState& st, const Path& path) {
  std::vector<std::vector<IPoint>> subs;
  for (const SubPath& sp : path.subPaths) {
    std::vector<IPoint> pts = Flatten(st, sp);
    if (sp.closed && pts.size() > 1) pts.push_back(pts.front());
    subs.push_back(Thin(pts, kMaxPointsPerRecord));
  }
  if (!path.fill.none) {
    st.record(kSetPolyFillMode, {static_cast<std::uint16_t>(path.evenOdd ? 1 : 2)});
    Objects(st, 5, 0, Colour{}, true, path.fill);
    std::size_t i = 0;
    while (i < subs.size()) {  // as many polygons per record as fit
      std::vector<std::uint16_t> counts, coords;
      for (; i < subs.size(); ++i) {
        if (subs[i].size() < 3) continue;
        if (!counts.empty() && coords.size() / 2 + subs[i].size() > kMaxPointsPerRecord) break;
        counts.push_back(static_cast<std::uint16_t>(subs[i].size()));
        for (const IPoint& p : subs[i]) {
          coords.push_back(static_cast<std::uint16_t>(p.x));
          coords.push_back(static_cast<std::uint16_t>(p.y));
        }
      }
      if (counts.empty()) break;
      std::vector<std::uint16_t> params{static_cast<std::uint16_t>(counts.size())};
      params.insert(params.end(), counts.begin(), counts.end());
      params.insert(params.end(), coords.begin(), coords.end());
      st.record(kPolyPolygon, params);
    }
    DeleteObjects(st, 2);
  }
  if (!path.stroke.none) {
    int width = static_cast<int>(std::lround(path.width * st.scale));
    Objects(st, path.dashes.empty() ? 0 : 1, width, path.stroke, false, Colour{});
    for (const std::vector<IPoint>& pts : subs) {
      if (pts.size() < 2) continue;
      std::vector<std::uint16_t> params{static_cast<std::uint16_t>(pts.size())};
      for (const IPoint& p : pts) {
        params.push_back(static_cast<std::uint16_t>(p.x));
        params.push_back(static_cast<std::uint16_t>(p.y));
      }
      st.record(kPolyline, params);
    }
    DeleteObjects(st, 2);
  }
}

std::string FaceOf(const std::string& font) {
  if (font.rfind("Trinity", 0) == 0) return "Times New Roman";
  if (font.rfind("Corpus", 0) == 0) return "Courier New";
  return "Arial";  // Homerton, the system font and the rest
}

void WriteText(WmfState& st, const Text& text) {
  if (text.text.empty()) return;
  int height = static_cast<int>(std::lround(text.ySize * st.scale));
  int width = text.xSize == text.ySize ? 0 : static_cast<int>(std::lround(text.xSize * st.scale));
  int escapement = static_cast<int>(std::lround(text.angle * 1800 / 3.14159265358979323846));
  bool bold = text.font.find("Bold") != std::string::npos;
  bool italic = text.font.find("Italic") != std::string::npos || text.font.find("Oblique") != std::string::npos;
  Bytes tail{static_cast<std::uint8_t>(italic), 0, 0, 0, 0, 0, 0, 0};  // italic .. pitch and family
  std::string face = FaceOf(text.font);
  face.resize(32, '\0');
  tail.insert(tail.end(), face.begin(), face.end());
  std::vector<std::uint16_t> params{U(-height), U(width), U(escapement), U(escapement),
                                    static_cast<std::uint16_t>(bold ? 700 : 400)};
  for (std::size_t i = 0; i < tail.size(); i += 2) params.push_back(static_cast<std::uint16_t>(tail[i] | tail[i + 1] << 8));
  st.record(kCreateFont, params);
  st.record(kSelectObject, {0});
  st.record(kSetTextColor, {Lo(text.colour), Hi(text.colour)});
  st.record(kSetTextAlign, {24});
  std::string s = text.text.substr(0, 8000);
  IPoint at = st.map(text.origin);
  std::vector<std::uint16_t> out{static_cast<std::uint16_t>(s.size())};
  if (s.size() % 2) s.push_back('\0');
  for (std::size_t i = 0; i < s.size(); i += 2) {
    out.push_back(static_cast<std::uint16_t>(static_cast<std::uint8_t>(s[i]) | static_cast<std::uint8_t>(s[i + 1]) << 8));
  }
  out.push_back(static_cast<std::uint16_t>(at.y));
  out.push_back(static_cast<std::uint16_t>(at.x));
  st.record(kTextOut, out);
  DeleteObjects(st, 1);
}

void WriteItems(WmfState& st, const std::vector<Item>& items) {
  for (const Item& item : items) {
    if (st.full) return;
    switch (item.kind) {
      case Item::PathItem: WritePath(st, item.path); break;
      case Item::TextItem: if (!item.text.colour.none) WriteText(st, item.text); break;
      case Item::GroupItem: WriteItems(st, item.children); break;
      case Item::ImageItem: break;  // pictures inside drawings are not carried over
    }
  }
}

}  // namespace

bool WriteWmf(Sink& out, const Document& doc) {
  if (doc.box.empty() || doc.unitsPerInch <= 0) return false;
  WmfState st(doc);
  // Twips, halved until the drawing fits 16-bit coordinates.
  double perInch = 1440;
  double w = doc.box.x1 - doc.box.x0, h = doc.box.y1 - doc.box.y0;
  while (perInch > 1e-3 && (w * perInch / doc.unitsPerInch > 32000 || h * perInch / doc.unitsPerInch > 32000)) perInch /= 2;
  st.scale = perInch / doc.unitsPerInch;
  int wl = std::max(1, static_cast<int>(std::lround(w * st.scale)));
  int hl = std::max(1, static_cast<int>(std::lround(h * st.scale)));

  st.record(kSetWindowOrg, {0, 0});
  st.record(kSetWindowExt, {U(hl), U(wl)});
  st.record(kSetBkMode, {1});
  WriteItems(st, doc.items);
  st.record(kEof, {});

  std::uint8_t head[22 + 18] = {};
  PutLe32(head, 0x9AC6CDD7u);
  PutLe16(head + 10, static_cast<std::uint16_t>(wl));
  PutLe16(head + 12, static_cast<std::uint16_t>(hl));
  PutLe16(head + 14, static_cast<std::uint16_t>(std::max(1L, std::lround(perInch))));
  std::uint16_t sum = 0;
  for (int i = 0; i < 20; i += 2) sum ^= static_cast<std::uint16_t>(head[i] | head[i + 1] << 8);
  PutLe16(head + 20, sum);
  std::uint8_t* m = head + 22;
  PutLe16(m, 1);
  PutLe16(m + 2, 9);
  PutLe16(m + 4, 0x0300);
  PutLe32(m + 6, static_cast<std::uint32_t>((18 + st.records.size()) / 2));
  PutLe16(m + 10, 3);
  PutLe32(m + 12, st.largest);
  return out.write(head, sizeof head) && out.write(st.records);
}

}  // namespace pix::vec
