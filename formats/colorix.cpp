// ColoRIX VGA/EGA Paint pictures (".rix", ".scx", ".scz", ".ska"; "RIX3"
// first): a 10-byte header, a palette of VGA levels or EGA colour numbers,
// then pixels one byte each (256 colours) or as four bit planes (16 colours),
// raw or compressed (a code tree, then segments of code bits, a run-length
// stage for 00 and FF bytes, and for 256 colours an XOR filter). Written as
// one 8-bit BMP to the target path, or handed back in memory mode. Text
// screens, encrypted files and direct colour are not pictures here.
#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxSide = 4096;
constexpr int kMaxCodeLength = 32;
constexpr std::size_t kMaxNodes = 1024;

struct Layout {
  std::uint32_t width = 0, height = 0;
  int bits = 8;       // bits per pixel: 8 linear, 4 planar
  int storage = 0;    // low nibble of the storage byte
  bool compressed = false;
  std::size_t planeRow = 0, rowBytes = 0;
};

// The code tree: node 0 is the root; a leaf holds value >= 0.
struct Node {
  int one = -1, zero = -1, value = -1;
};

class CodeTree {
 public:
  bool read(ByteReader& in) {
    const unsigned count = in.u16le();
    if (count == 0 || !in.has(in.pos(), 2 * std::size_t(count))) return false;
    items_ = in.sub(in.pos(), 2 * std::size_t(count));
    in.skip(2 * std::size_t(count));
    return build(0, 0) == 0 && nodes_[0].value < 0;
  }
  const Node& node(int i) const { return nodes_[std::size_t(i)]; }

 private:
  // Builds the subtree of item i; -1 on a bad item, a walk too deep or too long.
  int build(std::size_t item, int depth) {
    if (depth > kMaxCodeLength || item >= items_.size() / 2 || nodes_.size() >= kMaxNodes) return -1;
    const unsigned v = items_.u16leAt(2 * item);
    const int self = static_cast<int>(nodes_.size());
    nodes_.push_back(Node{});
    if (v >= 0x1000 && v <= 0x10FF) {
      nodes_[std::size_t(self)].value = static_cast<int>(v - 0x1000);
      return self;
    }
    if (v < 2 || v >= 0x1000 || (v & 1)) return -1;
    const int one = build(item + 1, depth + 1);
    if (one < 0) return -1;
    const int zero = build(item + 1 + v / 2, depth + 1);
    if (zero < 0) return -1;
    nodes_[std::size_t(self)].one = one;
    nodes_[std::size_t(self)].zero = zero;
    return self;
  }

  ByteReader items_;
  std::vector<Node> nodes_;
};

// Decodes the segments into out; each segment restarts the run-length and
// XOR stages, and one that does not finish the picture keeps whole rows only.
// False when the code tree is damaged.
bool Decompress(ByteReader in, const Layout& l, std::vector<std::uint8_t>& out) {
  CodeTree tree;
  if (!tree.read(in)) return false;
  std::size_t at = 0;
  while (at < out.size() && in.remaining() >= 2) {
    const std::size_t length = in.u16le();
    if (length == 0 || length > in.remaining()) break;
    ByteReader bits = in.sub(in.pos(), length);
    in.skip(length);
    int node = 0, runOf = -1;
    std::uint8_t x = 0;
    auto emit = [&](std::uint8_t b) {
      if (at >= out.size()) return;
      if (l.bits == 8) b = x ^= b;
      out[at++] = b;
    };
    for (std::size_t i = 0; i < 8 * length && at < out.size(); ++i) {
      const bool bit = (bits.at(i / 8) >> (7 - i % 8)) & 1;
      node = bit ? tree.node(node).one : tree.node(node).zero;
      const int value = tree.node(node).value;
      if (value < 0) continue;
      node = 0;
      const auto b = static_cast<std::uint8_t>(value);
      if (runOf >= 0) {
        for (int k = 0; k <= b; ++k) emit(static_cast<std::uint8_t>(runOf));
        runOf = -1;
      } else if (b == 0x00 || b == 0xFF) {
        runOf = b;
      } else {
        emit(b);
      }
    }
    if (at < out.size()) at -= at % l.rowBytes;  // padding bits may have made part of a row
  }
  return true;
}

std::vector<Rgb> ReadPalette(ByteReader& in, unsigned type, int colours) {
  std::vector<Rgb> pal(256);
  if (type & 0x40) {  // EGA colour numbers
    for (int i = 0; i < colours; ++i) {
      pal[std::size_t(i)] = EgaColour(in.u8());
    }
    return pal;
  }
  const unsigned top = (1u << (((type >> 3) & 7) + 1)) - 1;
  for (int i = 0; i < colours; ++i) {
    std::uint8_t c[3];
    for (std::uint8_t& v : c) v = static_cast<std::uint8_t>(std::min<unsigned>(in.u8(), top) * 255 / top);
    pal[std::size_t(i)] = Rgb{c[0], c[1], c[2]};
  }
  return pal;
}

bool Decode(const ByteReader& file, Image& img) {
  if (file.sub(0, 4).str(4) != "RIX3") return false;
  Layout l;
  l.width = file.u16leAt(4);
  l.height = file.u16leAt(6);
  const unsigned type = file.at(8), storage = file.at(9);
  l.storage = static_cast<int>(storage & 0x0F);
  l.compressed = (storage & 0x80) != 0;
  l.bits = static_cast<int>(type & 7) + 1;
  if (!(type & 0x80) || (storage & 0x20) || (l.bits != 4 && l.bits != 8)) return false;
  if (l.width < 1 || l.width > kMaxSide || l.height < 1 || l.height > kMaxSide) return false;
  if (!(l.storage == 0 || (l.bits == 4 && (l.storage == 2 || l.storage == 4)))) return false;
  ByteReader in = file.sub(10, file.size() - 10);
  if (storage & 0x40) in.skip(2 + std::size_t(in.u16le()));
  const int colours = 1 << l.bits;
  const std::vector<Rgb> palette = ReadPalette(in, type, colours);
  if (in.bad()) return false;
  l.planeRow = (l.width + 7) / 8;
  l.rowBytes = l.storage == 0 ? l.width : 4 * l.planeRow;
  std::vector<std::uint8_t> data(l.rowBytes * l.height, 0);
  if (l.compressed) {
    if (!Decompress(in.rest(), l, data)) return false;
  } else {
    in.bytes(data.data(), std::min(data.size(), in.remaining()));
  }
  if (!img.allocate(l.width, l.height, 1)) return false;
  img.palette = palette;
  img.bits = 8;
  const std::size_t planeSize = l.planeRow * l.height;
  for (std::uint32_t y = 0; y < l.height; ++y) {
    std::uint8_t* out = img.row(y);
    for (std::uint32_t x = 0; x < l.width; ++x) {
      if (l.storage == 0) {
        out[x] = data[y * l.width + x];
        continue;
      }
      unsigned v = 0;
      for (int p = 0; p < 4; ++p) {
        const std::size_t at = l.storage == 4 ? y * l.rowBytes + p * l.planeRow + x / 8 : p * planeSize + y * l.planeRow + x / 8;
        v |= ((data[at] >> (7 - x % 8)) & 1u) << p;
      }
      out[x] = static_cast<std::uint8_t>(v);
    }
  }
  return true;
}

}  // namespace

int RixToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& bytes, Image& img) { return Decode(ByteReader(bytes), img); },
      [](Sink& s, const Image& img) { return WriteBmp(s, img, 8); });
}

}  // namespace pix
