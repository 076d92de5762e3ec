// PC Paint / Pictor pictures (DOS ".pic", word 0x1234 first): a 17-byte
// header, a palette of one of six kinds, then rows stored bottom row first,
// packed (1, 2, 4 or 8 bits) or as whole bit planes (2 or 4 planes of 1 bit),
// raw or in run-length blocks. One reader serves two converters: PIC to BMP
// (1, 4 or 8 bits with the palette) and PIC to PCX (8-bit PCX with a
// 256-colour palette, also in memory mode for previews). Each writes the
// target path itself and returns 1.
#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

Rgb Hex(std::uint32_t v) { return Rgb{std::uint8_t(v >> 16), std::uint8_t(v >> 8), std::uint8_t(v)}; }

// The colours a picture has without a palette of its own: black and white;
// CGA palette 1 in high intensity; the 16 PC colours; for 256 colours the PC
// colours followed by a grey ramp.
std::vector<Rgb> DefaultPalette(int colours, int cgaPalette = 1, int background = 0) {
  std::vector<Rgb> p;
  if (colours == 2) return {Hex(0x000000), Hex(0xFFFFFF)};
  if (colours == 4) {
    if (cgaPalette == 0) return {PcColours()[background & 15], Hex(0x55FF55), Hex(0xFF5555), Hex(0xFFFF55)};
    return {PcColours()[background & 15], Hex(0x55FFFF), Hex(0xFF55FF), Hex(0xFFFFFF)};
  }
  p = PcColours();
  for (int i = 16; i < colours; ++i) {
    const auto g = static_cast<std::uint8_t>((i - 16) * 255 / 239);
    p.push_back(Rgb{g, g, g});
  }
  return p;
}

struct PicLayout {
  std::uint32_t width = 0, height = 0;
  int bits = 0, planes = 0;                 // bits per pixel in a plane, plane count
  std::size_t stride = 0;                   // bytes per row of one plane
};

std::vector<Rgb> ReadPalette(const ByteReader& pal, int type, int colours) {
  std::vector<Rgb> p = DefaultPalette(colours);
  if (type == 1 && pal.size() >= 2) return DefaultPalette(colours, pal.at(0) & 1, pal.at(1));
  if (type == 2 || type == 3) {
    for (std::size_t i = 0; i < pal.size() && i < p.size() && i < 16; ++i) {
      const unsigned v = pal.at(i);
      if (type == 2) {
        p[i] = PcColours()[v & 15];
      } else {
        p[i] = EgaColour(v);
      }
    }
  } else if (type == 4 || type == 5) {
    const std::size_t n = std::min(pal.size() / 3, p.size());
    bool sixBits = true;
    for (std::size_t i = 0; i < 3 * n; ++i) sixBits = sixBits && pal.at(i) <= 63;
    for (std::size_t i = 0; i < n; ++i) {
      std::uint8_t c[3];
      for (int k = 0; k < 3; ++k) c[k] = sixBits ? static_cast<std::uint8_t>(pal.at(3 * i + k) * 255 / 63) : pal.at(3 * i + k);
      p[i] = Rgb{c[0], c[1], c[2]};
    }
  }
  return p;
}

// The run-length blocks: a marker byte starts a run (count byte, or 0 and a
// 16-bit count, then the value); other bytes are pixels. A block that does not
// fit ends the data.
void Unpack(ByteReader in, unsigned blocks, std::vector<std::uint8_t>& out) {
  std::size_t at = 0;
  for (unsigned b = 0; b < blocks && at < out.size() && in.remaining() >= 5; ++b) {
    const std::size_t packed = in.u16le();
    in.u16le();  // unpacked size
    const std::uint8_t marker = in.u8();
    if (packed < 5 || packed - 5 > in.remaining()) break;
    ByteReader codes = in.sub(in.pos(), packed - 5);
    in.skip(packed - 5);
    while (!codes.atEnd() && at < out.size()) {
      const std::uint8_t c = codes.u8();
      if (c != marker) {
        out[at++] = c;
        continue;
      }
      unsigned n = codes.u8();
      if (n == 0) n = codes.u16le();
      const std::uint8_t v = codes.u8();
      for (unsigned i = 0; i < n && at < out.size(); ++i) out[at++] = v;
    }
  }
}

bool DecodePic(const char* source, Image& img) {
  Bytes bytes;
  if (!source || !ReadWholeFile(source, bytes)) return false;
  const ByteReader file(bytes);
  if (file.size() < 19 || file.u16leAt(0) != 0x1234 || file.at(11) != 0xFF) return false;
  const std::uint8_t mode = file.at(12);
  if (mode >= '0' && mode <= '3') return false;  // text screens
  PicLayout l;
  l.width = file.u16leAt(2);
  l.height = file.u16leAt(4);
  const unsigned info = file.at(10);
  if (info == 0x01 || info == 0x02 || info == 0x04 || info == 0x08) {
    l.bits = static_cast<int>(info);
    l.planes = 1;
  } else if (info == 0x11 || info == 0x31) {
    l.bits = 1;
    l.planes = static_cast<int>(info >> 4) + 1;
  } else {
    return false;
  }
  l.stride = (std::size_t(l.width) * l.bits + 7) / 8;
  const unsigned type = file.u16leAt(13), esize = file.u16leAt(15);
  if (!file.has(17, esize + 2u) || CheckedSize(l.width, l.height, 1) == 0) return false;
  const unsigned blocks = file.u16leAt(17 + esize);
  const int colours = 1 << (l.bits * l.planes);
  std::vector<std::uint8_t> data(l.stride * l.height * l.planes, 0);
  ByteReader rest = file.sub(19 + esize, file.size() - 19 - esize);
  // Raw data must all be there; a run yields at most 65535 pixels from 4 bytes.
  if (data.size() > std::uint64_t(rest.size()) * (blocks ? 16384 : 1)) return false;
  if (blocks == 0)
    rest.bytes(data.data(), std::min(data.size(), rest.size()));
  else
    Unpack(rest, blocks, data);
  if (!img.allocate(l.width, l.height, 1)) return false;
  img.palette = ReadPalette(file.sub(17, esize), static_cast<int>(type), colours);
  img.bits = l.bits * l.planes;
  const std::size_t planeSize = l.stride * l.height;
  for (std::uint32_t y = 0; y < l.height; ++y) {
    std::uint8_t* out = img.row(l.height - 1 - y);  // bottom row first
    for (std::uint32_t x = 0; x < l.width; ++x) {
      unsigned v = 0;
      for (int p = 0; p < l.planes; ++p) {
        const std::size_t bit = std::size_t(x) * l.bits;
        const unsigned byte = data[p * planeSize + y * l.stride + bit / 8];
        v |= ((byte >> (8 - l.bits - bit % 8)) & ((1u << l.bits) - 1)) << p;
      }
      out[x] = static_cast<std::uint8_t>(v);
    }
  }
  return true;
}

}  // namespace

int PicToBmp(const ConvertCall& call) {
  Image img;
  if (!DecodePic(call.source, img)) return 0;
  return WriteOne(call, [&](Sink& s) { return WriteBmp(s, img); });
}

int PicToPcx(const ConvertCall& call) {
  Image img;
  if (!DecodePic(call.source, img)) return 0;
  img.palette.resize(256);
  return WriteOne(call, [&](Sink& s) { return WritePcx(s, img); });
}

}  // namespace pix
