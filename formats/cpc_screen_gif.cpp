// Amstrad CPC screen memory dumps (".bin" files saved from BASIC or paint
// programs, and files without an extension after transfer) to a 16-colour
// GIF written through giflib: 320 x 200 in modes 0 and 1, 640 x 200 in mode
// 2. The screen loader, the palette and mode step and the pixel fetcher are
// the ones the CPC TIFF route uses; firmware colour levels 0, 1, 2 become
// 0x00, 0x80, 0xFF. Every file is a screen (missing bytes read as 0), so the
// result is 1 unless the source cannot be read or the target written.
#include <cstdint>

#include "common/image.h"
#include "common/series.h"
#include "formats/formats.h"
#include "retro/cpc_screen.h"

namespace pix {
namespace {

std::uint8_t Level8(std::uint16_t level16) { return level16 == 0 ? 0x00 : level16 == 0xFFFF ? 0xFF : 0x80; }

}  // namespace

int BinToGif(const ConvertCall& call) {
  if (!call.source || (call.memoryMode() && !call.out)) return 0;
  CpcScreen screen;
  if (CpcScreenLoader(call.source, screen) != 0) return 0;
  CpcApplyPaletteAndMode(screen);
  CpcPixelFetcher pixels(screen);
  Image img;
  if (!img.allocate(static_cast<std::uint32_t>(pixels.width()), CpcPixelFetcher::height(), 1)) return 0;
  img.bits = 4;
  for (std::uint8_t pen : screen.pens) {
    const CpcColour c = CpcFirmwareColour(pen);
    img.palette.push_back(Rgb{Level8(c.r), Level8(c.g), Level8(c.b)});
  }
  for (std::uint8_t& p : img.pixels) p = pixels.next();
  return WriteOne(call, [&](Sink& s) { return WriteGif(s, img); });
}

}  // namespace pix
