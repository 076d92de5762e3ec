// GIF writing and reading through giflib.
#include <gif_lib.h>

#include <algorithm>
#include <cstring>

#include "common/image.h"

namespace pix {

namespace {
int GifWrite(GifFileType* gif, const GifByteType* data, int n) {
  auto* sink = static_cast<Sink*>(gif->UserData);
  return sink->write(data, static_cast<std::size_t>(n)) ? n : 0;
}
}  // namespace

bool WriteGif(Sink& out, const Image& img) {
  if (img.channels != 1 || img.width == 0 || img.height == 0 || img.width > 65535 || img.height > 65535) return false;
  int count = img.palette.empty() ? 256 : static_cast<int>(img.palette.size());
  int bits = 1;
  while ((1 << bits) < count && bits < 8) ++bits;
  ColorMapObject* map = GifMakeMapObject(1 << bits, nullptr);
  if (!map) return false;
  for (int i = 0; i < (1 << bits); ++i) {
    Rgb c = img.palette.empty() ? Rgb{std::uint8_t(i), std::uint8_t(i), std::uint8_t(i)}
                                : (i < count ? img.palette[static_cast<std::size_t>(i)] : Rgb{});
    map->Colors[i] = GifColorType{c.r, c.g, c.b};
  }
  int err = 0;
  GifFileType* gif = EGifOpen(&out, GifWrite, &err);
  if (!gif) {
    GifFreeMapObject(map);
    return false;
  }
  bool good = EGifPutScreenDesc(gif, static_cast<int>(img.width), static_cast<int>(img.height), bits, 0, map) != GIF_ERROR &&
              EGifPutImageDesc(gif, 0, 0, static_cast<int>(img.width), static_cast<int>(img.height), false, nullptr) != GIF_ERROR;
  std::vector<GifPixelType> line(img.width);
  for (std::uint32_t y = 0; good && y < img.height; ++y) {
    const std::uint8_t* src = img.row(y);
    for (std::uint32_t x = 0; x < img.width; ++x)
      line[x] = static_cast<GifPixelType>(src[x] < (1 << bits) ? src[x] : 0);
    good = EGifPutLine(gif, line.data(), static_cast<int>(img.width)) != GIF_ERROR;
  }
  if (EGifCloseFile(gif, &err) == GIF_ERROR) good = false;
  GifFreeMapObject(map);
  return good && !out.failed();
}

namespace {
struct GifInput {
  const Bytes* data;
  std::size_t pos;
};
int GifRead(GifFileType* gif, GifByteType* dst, int n) {
  auto* in = static_cast<GifInput*>(gif->UserData);
  std::size_t left = in->data->size() - in->pos;
  std::size_t k = std::min(left, static_cast<std::size_t>(n < 0 ? 0 : n));
  if (k) std::memcpy(dst, in->data->data() + in->pos, k);
  in->pos += k;
  return static_cast<int>(k);
}
}  // namespace

bool ReadGif(const Bytes& data, Image& img) {
  GifInput in{&data, 0};
  int err = 0;
  GifFileType* gif = DGifOpen(&in, GifRead, &err);
  if (!gif) return false;
  bool good = false;
  GifRecordType type;
  while (DGifGetRecordType(gif, &type) == GIF_OK && type != TERMINATE_RECORD_TYPE) {
    if (type == EXTENSION_RECORD_TYPE) {
      int code = 0;
      GifByteType* ext = nullptr;
      if (DGifGetExtension(gif, &code, &ext) != GIF_OK) break;
      while (ext && DGifGetExtensionNext(gif, &ext) == GIF_OK) {
      }
      continue;
    }
    if (type != IMAGE_DESC_RECORD_TYPE || DGifGetImageDesc(gif) != GIF_OK) break;
    const GifImageDesc& d = gif->Image;
    // One LZW code of at least one bit stands for at most 4096 pixels: a
    // picture larger than that allows for the file's bytes cannot be in it.
    if (d.Width <= 0 || d.Height <= 0 ||
        std::uint64_t(d.Width) * std::uint64_t(d.Height) > std::uint64_t(data.size()) * 8 * 4096 || !img.allocate(static_cast<std::uint32_t>(d.Width),
                                                      static_cast<std::uint32_t>(d.Height), 1))
      break;
    const ColorMapObject* map = d.ColorMap ? d.ColorMap : gif->SColorMap;
    img.palette.clear();
    for (int i = 0; map && i < map->ColorCount; ++i)
      img.palette.push_back({map->Colors[i].Red, map->Colors[i].Green, map->Colors[i].Blue});
    good = true;
    if (d.Interlace) {
      static constexpr int kStart[] = {0, 4, 2, 1}, kStep[] = {8, 8, 4, 2};
      for (int pass = 0; good && pass < 4; ++pass)
        for (int y = kStart[pass]; good && y < d.Height; y += kStep[pass])
          good = DGifGetLine(gif, img.row(static_cast<std::uint32_t>(y)), d.Width) == GIF_OK;
    } else {
      for (int y = 0; good && y < d.Height; ++y)
        good = DGifGetLine(gif, img.row(static_cast<std::uint32_t>(y)), d.Width) == GIF_OK;
    }
    break;
  }
  DGifCloseFile(gif, &err);
  return good;
}

}  // namespace pix
