// Placeholders for the container scanners that are not built yet: each recognises
// nothing, writes nothing and returns 0.
#include "extract/extract.h"

namespace pix {

int PngScan(const ConvertCall&) { return 0; }
int GifScanOneSig(const ConvertCall&) { return 0; }
int GifScanTwoSigs(const ConvertCall&) { return 0; }
int GifScanTcf(const ConvertCall&) { return 0; }
int IffFormScan(const ConvertCall&) { return 0; }
int PcxArchiveRead(const ConvertCall&) { return 0; }
int FilmStripToPcx(const ConvertCall&) { return 0; }
int SwfPictureExtract(const ConvertCall&) { return 0; }

}  // namespace pix

// Exports of the animation decoders, not built yet.
#include "pixmisc.h"
extern "C" {
int FLItoPPM(const char*, const char*, int, unsigned char**) { return 0; }
int get_nb_frames_from_flc(const char*) { return -1; }
int get_nb_frames_from_flm(const char*) { return 0; }
}
