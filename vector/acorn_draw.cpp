// Acorn Draw files (RISC OS "DrawFile", type &AFF): a 40-byte header ("Draw",
// major version 201, minor version, producer name, bounding box) and objects to
// the end of the file, each with a type and a size. Numbers are 32-bit
// little-endian words; coordinates are 1/640 printer's point (46080 to the
// inch) with y growing up. Paths, text (plain and transformed), groups and
// tagged objects become items of the vector document model; sprites and JPEG
// pictures are recorded by their place; editor options are skipped.
#include "vector/acorn_draw.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "common/reader.h"

namespace pix::vec {
namespace {

constexpr std::uint32_t kMaxMajor = 201;
constexpr int kMaxDepth = 64;
constexpr std::size_t kMaxElements = 1000000;

enum ObjectType : std::uint32_t {
  kFontTable = 0, kText = 1, kPath = 2, kSprite = 5, kGroup = 6, kTagged = 7,
  kTransformedText = 12, kTransformedSprite = 13, kJpeg = 16,
};

struct DrawState {
  std::string fonts[256];
  std::size_t elements = 0;
};

Colour ReadColour(ByteReader& in) {
  std::uint32_t w = in.u32le();
  if (w == 0xFFFFFFFFu) return Colour{};
  return Colour::Rgb(static_cast<std::uint8_t>(w >> 8), static_cast<std::uint8_t>(w >> 16),
                     static_cast<std::uint8_t>(w >> 24));
}

Box ReadBox(ByteReader& in) {
  Box b;
  b.x0 = in.s32le();
  b.y0 = in.s32le();
  b.x1 = in.s32le();
  b.y1 = in.s32le();
  return b;
}

Point ReadPoint(ByteReader& in) {
  Point p;
  p.x = in.s32le();
  p.y = in.s32le();
  return p;
}

void ReadFontTable(ByteReader in, DrawState& st) {
  while (in.remaining() > 0) {
    std::uint8_t number = in.u8();
    if (number == 0) break;
    std::string name;
    for (;;) {
      std::uint8_t c = in.u8();
      if (in.bad() || c == 0) break;
      name.push_back(static_cast<char>(c));
    }
    if (in.bad()) break;
    st.fonts[number] = name;
  }
}

Cap CapOf(std::uint32_t code) {
  switch (code & 3) {
    case 1: return Cap::Round;
    case 2: return Cap::Square;
    case 3: return Cap::Triangle;
    default: return Cap::Butt;
  }
}

// Path body (after the bounding box). Elements that run past the object or
// an unknown tag end the path; what came before is kept.
bool ReadPath(ByteReader in, DrawState& st, Path& path) {
  path.fill = ReadColour(in);
  path.stroke = ReadColour(in);
  path.width = in.u32le();
  std::uint32_t style = in.u32le();
  if (in.bad()) return false;
  std::uint32_t join = style & 3;
  path.join = join == 1 ? Join::Round : join == 2 ? Join::Bevel : Join::Mitre;
  path.endCap = CapOf(style >> 2);
  path.startCap = CapOf(style >> 4);
  path.evenOdd = (style & 0x40) != 0;
  if (style & 0x80) {
    in.skip(4);  // start offset into the pattern
    std::uint32_t n = in.u32le();
    if (in.bad() || n > in.remaining() / 4) return false;
    for (std::uint32_t i = 0; i < n; ++i) path.dashes.push_back(in.u32le());
  }
  SubPath* current = nullptr;
  Point last;
  for (;;) {
    std::uint32_t tag = in.u32le() & 0xFF;
    if (in.bad() || tag == 0 || ++st.elements > kMaxElements) break;
    if (tag == 2 || tag == 3 || tag == 7) {  // move (3 and 7: in-memory forms of a move)
      Point p = ReadPoint(in);
      if (in.bad()) break;
      path.subPaths.push_back(SubPath{p, {}, false});
      current = &path.subPaths.back();
      last = p;
    } else if (tag == 5 || tag == 4) {
      if (current) {
        current->closed = true;
        last = current->start;
      }
    } else if (tag == 8 || tag == 6) {
      Segment s;
      if (tag == 6) {
        s.kind = Segment::Cubic;
        s.c1 = ReadPoint(in);
        s.c2 = ReadPoint(in);
      }
      s.to = ReadPoint(in);
      if (in.bad()) break;
      if (!current || current->closed) {  // drawing on from where the pen is
        path.subPaths.push_back(SubPath{last, {}, false});
        current = &path.subPaths.back();
      }
      current->segments.push_back(s);
      last = s.to;
    } else {
      break;
    }
  }
  return true;
}

// Text body from the text colour on.
bool ReadText(ByteReader in, const DrawState& st, Text& text) {
  text.colour = ReadColour(in);
  in.skip(4);  // background colour: a hint for anti-aliasing
  std::uint32_t style = in.u32le();
  text.xSize = in.u32le();
  text.ySize = in.u32le();
  text.origin = ReadPoint(in);
  if (in.bad()) return false;
  const std::string& font = st.fonts[style & 0xFF];
  text.font = (style & 0xFF) == 0 || font.empty() ? "System" : font;
  while (in.remaining() > 0) {
    std::uint8_t c = in.u8();
    if (c == 0) break;
    text.text.push_back(static_cast<char>(c));
  }
  return true;
}

void Walk(ByteReader in, DrawState& st, int depth, std::vector<Item>& items, std::size_t maxObjects);

// One object at the reader's position; false when its size is damaged.
bool ReadObject(ByteReader& in, DrawState& st, int depth, std::vector<Item>& items) {
  std::size_t at = in.pos();
  std::uint32_t type = in.u32le();
  std::uint32_t size = in.u32le();
  if (in.bad() || size < 8 || size % 4 != 0 || !in.has(at, size)) return false;
  if (type != kFontTable && size < 24) return false;
  ByteReader body = in.sub(at + 8, size - 8);
  in.seek(at + size);
  if (type == kFontTable) {
    ReadFontTable(body, st);
    return true;
  }
  Box box = ReadBox(body);
  switch (type) {
    case kPath: {
      Item item;
      item.kind = Item::PathItem;
      if (ReadPath(body.rest(), st, item.path)) items.push_back(std::move(item));
      break;
    }
    case kText:
    case kTransformedText: {
      Item item;
      item.kind = Item::TextItem;
      if (type == kTransformedText) {
        double a = body.s32le(), b = body.s32le();
        body.skip(16);  // c, d (shear and scale across the baseline), e, f (translation)
        body.skip(4);   // font flags (kerning, right to left)
        item.text.angle = std::atan2(b, a);
      }
      // The baseline start places the text; only the matrix's direction is kept.
      if (!body.bad() && ReadText(body.rest(), st, item.text)) items.push_back(std::move(item));
      break;
    }
    case kGroup: {
      if (depth >= kMaxDepth) break;
      Item item;
      item.kind = Item::GroupItem;
      std::string name = body.str(12);
      while (!name.empty() && (name.back() == ' ' || name.back() == '\0')) name.pop_back();
      item.name = name;
      if (!body.bad()) Walk(body.rest(), st, depth + 1, item.children, SIZE_MAX);
      items.push_back(std::move(item));
      break;
    }
    case kTagged:
      body.skip(4);  // tag identifier
      if (depth < kMaxDepth && !body.bad()) Walk(body.rest(), st, depth + 1, items, 1);
      break;
    case kSprite:
    case kTransformedSprite:
    case kJpeg: {
      Item item;
      item.kind = Item::ImageItem;
      item.box = box;
      items.push_back(std::move(item));
      break;
    }
    default:
      break;  // text areas, options, grid settings, unknown types
  }
  return true;
}

void Walk(ByteReader in, DrawState& st, int depth, std::vector<Item>& items, std::size_t maxObjects) {
  for (std::size_t n = 0; n < maxObjects && in.remaining() >= 8; ++n) {
    if (!ReadObject(in, st, depth, items)) break;
  }
}

}  // namespace

bool ReadAcornDraw(const Bytes& data, Document& doc) {
  ByteReader in(data);
  if (in.str(4) != "Draw") return false;
  std::uint32_t major = in.u32le();
  in.skip(4 + 12);  // minor version, producer name
  Box box = ReadBox(in);
  if (in.bad() || major > kMaxMajor) return false;
  doc = Document{};
  doc.box = box;
  doc.unitsPerInch = 46080;
  DrawState st;
  Walk(in.rest(), st, 0, doc.items, SIZE_MAX);
  return true;
}

}  // namespace pix::vec
