// Placeholders for the JPEG stream scanners that are not built yet: each recognises
// nothing, writes nothing and returns 0.
#include "extract/extract.h"

namespace pix {

int ProgramScan(const ConvertCall&) { return 0; }
int HeaderRebuildExtract(const ConvertCall&) { return 0; }
int AnimationAlbumScan(const ConvertCall&) { return 0; }
int ThumbDbScan(const ConvertCall&) { return 0; }
int SampleScan(const ConvertCall&) { return 0; }
int GalleryScan(const ConvertCall&) { return 0; }
int AlbumScan(const ConvertCall&) { return 0; }
int MovieScan(const ConvertCall&) { return 0; }
int SinglePictureExtract(const ConvertCall&) { return 0; }
int FffExtract(const ConvertCall&) { return 0; }
int EbookScan(const ConvertCall&) { return 0; }
int CatalogueScan(const ConvertCall&) { return 0; }
int LoggedProgramScan(const ConvertCall&) { return 0; }
int ZipPackedScan(const ConvertCall&) { return 0; }
int SharedFolderScan(const ConvertCall&) { return 0; }

}  // namespace pix

// Exports of the JPEG family, not built yet.
#include "pixmisc.h"
extern "C" {
int compteFichiers(const char*, int*) { return 0; }
int compteFichiers_2(const char*) { return 0; }
int compteFichiersPNG(const char*, int*) { return 0; }
int compteFichiersTIFF(const char*) { return 0; }
int compteFichiersGIF(const char*, int*) { return 0; }
int compteFichiersBMP(const char*, int*) { return 0; }
int compteFichiersBMPelse(const char*, int*) { return 0; }
int compteFichiersDIB(const char*, int*) { return -1; }
int compteFichiersPPT(const char*) { return 0; }
int compteFichiers_PPS_jpeg(const char*) { return 0; }
int extract_thumbnail_from_jpeg(const char*, unsigned char**) { return 0; }
int PPTtoJPG(const char*, const char*, int, unsigned char**) { return 0; }
}
