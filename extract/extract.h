// The converters of this folder, as the route table and the previews call them.
#pragma once

#include "common/call.h"

namespace pix {

// JPEG stream scanners
int ProgramScan(const ConvertCall& call);
int HeaderRebuildExtract(const ConvertCall& call);
int AnimationAlbumScan(const ConvertCall& call);
int ThumbDbScan(const ConvertCall& call);
int SampleScan(const ConvertCall& call);
int GalleryScan(const ConvertCall& call);
int AlbumScan(const ConvertCall& call);
int MovieScan(const ConvertCall& call);
int SinglePictureExtract(const ConvertCall& call);
int FffExtract(const ConvertCall& call);
int EbookScan(const ConvertCall& call);
int CatalogueScan(const ConvertCall& call);
int LoggedProgramScan(const ConvertCall& call);
int ZipPackedScan(const ConvertCall& call);
int SharedFolderScan(const ConvertCall& call);

// Container scanners
int PngScan(const ConvertCall& call);
int GifScanOneSig(const ConvertCall& call);
int GifScanTwoSigs(const ConvertCall& call);
int GifScanTcf(const ConvertCall& call);
int IffFormScan(const ConvertCall& call);
int PcxArchiveRead(const ConvertCall& call);
int FilmStripToPcx(const ConvertCall& call);
int SwfPictureExtract(const ConvertCall& call);

// Bitmap, packed-bitmap and presentation PNG scanners
int DibStreamScan(const ConvertCall& call);
int BmpStreamScan(const ConvertCall& call);
int PresentationPngScan(const ConvertCall& call);

}  // namespace pix
