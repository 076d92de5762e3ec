// A small vector document model: what a drawing reader fills and a drawing
// writer consumes. Readers and writers meet only here, so another source or
// target format needs no change on the other side.
//
// Coordinates are in the document's own units (`unitsPerInch` of them to the
// inch), x growing to the right and y growing UP, as in most drawing formats;
// a writer whose target grows downwards flips them itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pix::vec {

struct Point {
  double x = 0;
  double y = 0;
};

struct Box {
  double x0 = 0, y0 = 0, x1 = 0, y1 = 0;  // low and high corners
  bool empty() const { return !(x1 > x0 && y1 > y0); }
};

// An RGB colour or none (no fill, no outline).
struct Colour {
  bool none = true;
  std::uint8_t r = 0, g = 0, b = 0;
  static Colour Rgb(std::uint8_t r, std::uint8_t g, std::uint8_t b) { return {false, r, g, b}; }
};

struct Segment {
  enum Kind { Line, Cubic } kind = Line;
  Point c1, c2;  // control points of a cubic Bézier curve
  Point to;
};

struct SubPath {
  Point start;
  std::vector<Segment> segments;
  bool closed = false;
};

enum class Join { Mitre, Round, Bevel };
enum class Cap { Butt, Round, Square, Triangle };

struct Path {
  Colour fill;
  Colour stroke;
  double width = 0;  // outline width in document units; 0 = the thinnest line
  bool evenOdd = false;
  Join join = Join::Mitre;
  Cap startCap = Cap::Butt;
  Cap endCap = Cap::Butt;
  std::vector<double> dashes;  // alternately dash and gap lengths; empty = solid
  std::vector<SubPath> subPaths;
};

struct Text {
  std::string font;            // the source's font name ("System" when it has none)
  double xSize = 0, ySize = 0; // character width and height in document units
  Colour colour;
  Point origin;                // start of the baseline
  double angle = 0;            // baseline direction, radians anticlockwise
  std::string text;            // Latin-1 bytes
};

// One thing drawn: a path, a text line, a group of items (drawn in order), or
// a picture the model records by its place only.
struct Item {
  enum Kind { PathItem, TextItem, GroupItem, ImageItem } kind = PathItem;
  Path path;
  Text text;
  std::string name;            // group name
  std::vector<Item> children;  // group members
  Box box;                     // picture placement
};

struct Document {
  Box box;
  double unitsPerInch = 1;
  std::vector<Item> items;  // painted in order, later ones on top
};

}  // namespace pix::vec
