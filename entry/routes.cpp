#include "entry/routes.h"

#include <cstdint>
#include <cstring>

#include "common/files.h"
#include "common/paths.h"
#include "extract/extract.h"
#include "formats/formats.h"
#include "games/games.h"
#include "pixmisc.h"
#include "retro/retro.h"
#include "science/science.h"
#include "vector/vector.h"

namespace pix {
namespace {

// The exports that are route converters too.
int PptToJpgRoute(const ConvertCall& c) { return PPTtoJPG(c.source, c.target, c.arg1, c.out); }
int Pc1ToIffRoute(const ConvertCall& c) { return PC1toIFF(c.source, c.target, c.out); }

constexpr Route kRoutes[] = {
    {1, ".img", 4, false, ".pgm", "ImgToPgm", ImgToPgm, 0, 0, 1, Result::Files, Decision::None},
    {2, ".ics", 4, false, ".dib", "IcsToDib", IcsToDib, 0, 0, 1, Result::Files, Decision::None},
    {3, ".aff", 4, false, ".wmf", "AffToWmf", AffToWmf, 0, 0, 0, Result::Files, Decision::None},
    {4, ".tga", 4, false, ".wlm", "TgaWlm", TgaWlm, 0, 0, 1, Result::Files, Decision::None},
    {5, ".wlm", 4, false, ".tga", "TgaWlm", TgaWlm, 0, 0, 1, Result::Files, Decision::None},
    {6, ".gpb", 4, false, ".tga", "GpbToTga", GpbToTga, 0, 0, 0, Result::Files, Decision::None},
    {7, ".dc2", 4, false, ".tga", "Dc2ToTga", Dc2ToTga, 0, 0, 1, Result::Files, Decision::None},
    {8, nullptr, 4, false, ".gif", "BinToGif", BinToGif, 0, 0, 0, Result::Files, Decision::EmptySource},
    {9, ".cbm", 4, false, ".sun", "CbmFbmToSun", CbmFbmToSun, 0, 0, 1, Result::Files, Decision::None},
    {10, ".fbm", 4, false, ".sun", "CbmFbmToSun", CbmFbmToSun, 0, 0, 1, Result::Files, Decision::None},
    {11, ".ibg", 4, false, ".fts", "IbgToFits", IbgToFits, 0, 0, 1, Result::Files, Decision::None},
    {12, ".ftz", 4, false, ".fts", "FtzToFits", FtzToFits, 0, 0, 1, Result::Files, Decision::None},
    {13, ".b16", 4, false, ".fts", "B16ToFits", B16ToFits, 0, 0, 1, Result::Files, Decision::None},
    {14, ".pic", 4, false, ".fts", "PicToFits", PicToFits, 0, 0, 1, Result::Files, Decision::None},
    {15, ".st4", 4, false, ".fts", "SbigToFits", SbigToFits, 0, 0, 0, Result::Files, Decision::None},
    {16, ".st5", 4, false, ".fts", "SbigToFits", SbigToFits, 0, 0, 0, Result::Files, Decision::None},
    {17, ".st6", 4, false, ".fts", "SbigToFits", SbigToFits, 0, 0, 0, Result::Files, Decision::None},
    {18, ".st7", 4, false, ".fts", "SbigToFits", SbigToFits, 0, 0, 0, Result::Files, Decision::None},
    {19, ".st8", 4, false, ".fts", "SbigToFits", SbigToFits, 0, 0, 0, Result::Files, Decision::None},
    {20, ".scm", 4, false, ".wav", "ScmToWav", ScmToWav, 0, 0, 0, Result::Files, Decision::None},
    {21, ".cpc", 4, false, ".tif", "CpcScreenToTiff", CpcScreenToTiff, 0, 0, 0, Result::ZeroIsSuccess, Decision::None},
    {22, ".bmp", 4, false, ".pms", "BmpToPms", BmpToPms, 0, 0, 0, Result::Files, Decision::None},
    {23, ".hdr", 4, false, ".pct", "RadianceToPict", RadianceToPict, 0, 0, 1, Result::Files, Decision::None},
    {24, ".rad", 4, false, ".pct", "RadianceToPict", RadianceToPict, 0, 0, 1, Result::Files, Decision::None},
    {25, ".pic", 4, false, ".pct", "RadianceToPict", RadianceToPict, 0, 0, 1, Result::Files, Decision::None},
    {26, ".scr", 4, false, ".prg", "ZxScreenToPrg", ZxScreenToPrg, 0, 0, 0, Result::Files, Decision::None},
    {27, ".xbm", 4, false, ".grb", "XbmToGrob", XbmToGrob, 0, 0, 0, Result::ZeroIsSuccess, Decision::None},
    {28, ".pcx", 4, false, ".grb", "PcxToTiGrayPic", PcxToTiGrayPic, 0, 0, 0, Result::Files, Decision::None},
    {29, ".tap", 4, false, ".scr", "ZxTapeBlockExtract", ZxTapeBlockExtract, 0, 0, 0, Result::Files, Decision::None},
    {30, ".tap", 4, false, ".zxs", "ZxTapeToZxs", ZxTapeToZxs, 0, 0, 0, Result::Files, Decision::None},
    {31, ".gif", 4, false, ".jif", "GifToJif", GifToJif, 0, 0, 0, Result::Files, Decision::None},
    {32, ".itg", 4, false, ".pbm", "ItgToPbm", ItgToPbm, 0, 0, 0, Result::Files, Decision::None},
    {33, ".pgc", 4, false, ".pbm", "PgcToPbm", PgcToPbm, 0, 0, 1, Result::Files, Decision::None},
    {34, ".flm", 4, false, ".pcx", "FilmStripToPcx", FilmStripToPcx, 0, 0, 2, Result::Files, Decision::None},
    {35, ".pca", 4, false, ".pcx", "PcxArchiveRead", PcxArchiveRead, 0, 0, 0, Result::Files, Decision::None},
    {36, ".pic", 4, false, ".pcx", "PicToPcx", PicToPcx, 0, 0, 1, Result::Files, Decision::None},
    {37, ".bdf", 4, false, ".xbm", "BdfToXbm", BdfToXbm, 0, 0, 1, Result::ZeroIsSuccess, Decision::None},
    {38, ".psf", 4, false, ".xbm", "PsfToXbm", PsfToXbm, 0, 0, 1, Result::Files, Decision::None},
    {39, ".avi", 4, false, ".wav", "AviToWav", AviToWav, 0, 0, 0, Result::Files, Decision::None},
    {40, ".ami", 4, false, ".koa", "AmiToKoala", AmiToKoala, 0, 0, 0, Result::Files, Decision::None},
    {41, ".pix", 4, false, ".xpm", "PixToXpm", PixToXpm, 0, 0, 1, Result::Files, Decision::None},
    {42, ".yal", 4, false, ".dib", "DibStreamScan", DibStreamScan, 0, 0, 2, Result::Files, Decision::None},
    {43, ".skf", 4, false, ".dib", "DibStreamScan", DibStreamScan, 0, 0, 2, Result::Files, Decision::None},
    {44, ".abm", 4, false, ".dib", "DibStreamScan", DibStreamScan, 0, 0, 2, Result::Files, Decision::None},
    {45, ".ilb", 4, false, ".dib", "DibStreamScan", DibStreamScan, 0, 0, 2, Result::Files, Decision::None},
    {46, ".mic", 4, false, ".dib", "DibStreamScan", DibStreamScan, 0, 0, 2, Result::Files, Decision::None},
    {47, ".phb", 4, false, ".dib", "DibStreamScan", DibStreamScan, 0, 0, 2, Result::Files, Decision::None},
    {48, ".ui", 3, false, ".dib", "DibStreamScan", DibStreamScan, 0, 0, 2, Result::Files, Decision::None},
    {49, ".vfs", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {50, ".ts", 3, true, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {51, ".collage", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {52, ".mov", 4, false, ".jpg", "MovieScan", MovieScan, 0, 0, 2, Result::Files, Decision::None},
    {53, ".dll", 4, false, ".jpg", "ProgramScan", ProgramScan, 0, 0, 0, Result::Files, Decision::None},
    {54, ".exe", 4, false, ".jpg", "ProgramScan", ProgramScan, 0, 0, 0, Result::Files, Decision::None},
    {55, ".scr", 4, false, ".jpg", "ProgramScan", ProgramScan, 0, 0, 0, Result::Files, Decision::None},
    {56, ".imd", 4, false, ".jpg", "ZipPackedScan", ZipPackedScan, 0, 0, 2, Result::Files, Decision::None},
    {57, ".tjp", 4, false, ".jpg", "SharedFolderScan", SharedFolderScan, 0, 0, 1, Result::Files, Decision::None},
    {58, ".fga", 4, false, ".jpg", "ProgramScan", ProgramScan, 0, 0, 0, Result::Files, Decision::None},
    {59, ".kiz", 4, false, ".jpg", "SinglePictureExtract", SinglePictureExtract, 0, 0, 0, Result::Files, Decision::None},
    {60, ".abt", 4, false, ".jpg", "AnimationAlbumScan", AnimationAlbumScan, 0, 0, 0, Result::Files, Decision::None},
    {61, ".fla", 4, false, ".jpg", "AnimationAlbumScan", AnimationAlbumScan, 0, 0, 0, Result::Files, Decision::None},
    {62, ".ipg", 4, false, ".jpg", "LoggedProgramScan", LoggedProgramScan, 0, 0, 1, Result::Files, Decision::None},
    {63, ".info", 4, false, ".jpg", "ProgramScan", ProgramScan, 0, 0, 0, Result::Files, Decision::None},
    {64, ".lit", 4, false, ".jpg", "EbookScan", EbookScan, 0, 0, 0, Result::Files, Decision::None},
    {65, ".tnc", 4, false, ".jpg", "ProgramScan", ProgramScan, 0, 0, 0, Result::Files, Decision::None},
    {66, ".uol", 4, false, ".jpg", "ProgramScan", ProgramScan, 0, 0, 0, Result::Files, Decision::None},
    {67, ".pix", 4, false, ".jpg", "PixToJpeg", PixToJpeg, 0, 0, 0, Result::Files, Decision::None},
    {68, ".sdd", 4, false, ".jpg", "SddToJpeg", SddToJpeg, 0, 0, 0, Result::Files, Decision::None},
    {69, ".smp", 4, false, ".jpg", "SampleScan", SampleScan, 0, 0, 0, Result::Files, Decision::None},
    {70, ".fpt", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {71, ".w3d", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {72, ".pe4", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {73, ".phm", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {74, ".iac", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {75, ".collage", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {76, ".db", 3, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {77, ".dbt", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {78, ".cache", 6, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {79, ".wsb", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {80, ".mbd", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {81, ".bam", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {82, ".bdi", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {83, ".bpthumbdata", 12, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {84, ".jbf", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {85, ".ksq", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {86, ".ivc", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {87, ".vig", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {88, ".vix", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {89, ".sig", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {90, ".4pp", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {91, ".shp", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {92, ".ab3", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {93, ".abk", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {94, ".ppt", 4, false, ".jpg", "PPTtoJPG", PptToJpgRoute, 0, 0, 2, Result::Files, Decision::None},
    {95, ".ufo", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {96, ".gal", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {97, ".pmx", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {98, ".flz", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {99, ".cat", 4, false, ".jpg", "ThumbDbScan", ThumbDbScan, 0, 0, 2, Result::Files, Decision::None},
    {100, ".dat", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {101, ".mvr", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {102, ".obv", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {103, ".ppg", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {104, ".pps", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {105, ".pzp", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {106, ".aeh", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {107, ".ssp", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::FallbackToPng},
    {108, ".albm", 5, false, ".jpg", "AlbumScan", AlbumScan, 0, 0, 2, Result::Files, Decision::None},
    {109, ".tmb", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {110, ".ptc", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {111, ".pha", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {112, ".tsk", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {113, ".psf", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {114, ".pst", 4, false, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {115, ".qt", 3, true, ".jpg", "CatalogueScan", CatalogueScan, 0, 0, 2, Result::Files, Decision::None},
    {116, ".swf", 4, false, ".jpg", "SwfPictureExtract", SwfPictureExtract, -1, 0, 2, Result::Files, Decision::None},
    {117, ".fff", 4, false, ".jpg", "FffExtract", FffExtract, 0, 0, 0, Result::Files, Decision::None},
    {118, ".pfr", 4, false, ".jpg", "GalleryScan", GalleryScan, 0, 0, 0, Result::Files, Decision::None},
    {119, ".gal", 4, false, ".jpg", "GalleryScan", GalleryScan, 0, 0, 0, Result::Files, Decision::None},
    {120, ".atd", 4, false, ".jpg", "AnimationAlbumScan", AnimationAlbumScan, 0, 0, 0, Result::Files, Decision::None},
    {121, ".tpx", 4, false, ".jpg", "ProgramScan", ProgramScan, 0, 0, 0, Result::Files, Decision::None},
    {122, ".max", 4, false, ".jpg", "ProgramScan", ProgramScan, 0, 0, 0, Result::Files, Decision::None},
    {123, ".img", 4, false, ".jpg", "SinglePictureExtract", SinglePictureExtract, 0, 0, 0, Result::Files, Decision::None},
    {124, ".tjm", 4, false, ".jpg", "SampleScan", SampleScan, 0, 0, 0, Result::Files, Decision::None},
    {125, ".xif", 4, false, ".jpg", "SinglePictureExtract", SinglePictureExtract, 0, 0, 0, Result::Files, Decision::None},
    {126, ".tnl", 4, false, ".jpg", "SinglePictureExtract", SinglePictureExtract, 0, 0, 0, Result::Files, Decision::None},
    {127, ".fi", 3, false, ".jpg", "AnimationAlbumScan", AnimationAlbumScan, 0, 0, 0, Result::Files, Decision::None},
    {128, ".lvp", 4, false, ".jpg", "AnimationAlbumScan", AnimationAlbumScan, 0, 0, 0, Result::Files, Decision::None},
    {129, ".tub", 4, false, ".jpg", "AnimationAlbumScan", AnimationAlbumScan, 0, 0, 0, Result::Files, Decision::None},
    {130, ".jsl", 4, false, ".jpg", "ProgramScan", ProgramScan, 0, 0, 0, Result::Files, Decision::None},
    {131, ".tou", 4, false, ".jpg", "ProgramScan", ProgramScan, 0, 0, 0, Result::Files, Decision::None},
    {132, ".kqp", 4, false, ".jpg", "HeaderRebuildExtract", HeaderRebuildExtract, 0, 0, 0, Result::Files, Decision::None},
    {133, ".pic", 4, false, ".jpg", "HeaderRebuildExtract", HeaderRebuildExtract, 0, 0, 0, Result::Files, Decision::None},
    {134, ".pan", 4, false, ".jpg", "AnimationAlbumScan", AnimationAlbumScan, 0, 0, 0, Result::Files, Decision::None},
    {135, ".pspd", 5, false, ".png", "PngScan", PngScan, 0, 0, 2, Result::Files, Decision::None},
    {136, ".ivp", 4, false, ".png", "PngScan", PngScan, 0, 0, 2, Result::Files, Decision::None},
    {137, ".ecc", 4, false, ".png", "PngScan", PngScan, 0, 0, 2, Result::Files, Decision::None},
    {138, ".ban", 4, false, ".png", "PngScan", PngScan, 0, 0, 2, Result::Files, Decision::None},
    {139, ".pmd", 4, false, ".png", "PngScan", PngScan, 0, 0, 2, Result::Files, Decision::None},
    {140, ".exe", 4, false, ".png", "PngScan", PngScan, 0, 0, 2, Result::Files, Decision::None},
    {141, ".icns", 5, false, ".png", "IcnsToPng", IcnsToPng, 0, 0, 1, Result::Files, Decision::None},
    {142, ".hta", 4, false, ".png", "HtaNctToPng", HtaNctToPng, 0, 0, 0, Result::Files, Decision::None},
    {143, ".fpg", 4, false, ".png", "FpgToPng", FpgToPng, 0, 0, 0, Result::Files, Decision::None},
    {144, ".map", 4, false, ".png", "DivMapToPng", DivMapToPng, 0, 0, 0, Result::Files, Decision::None},
    {145, ".nct", 4, false, ".png", "HtaNctToPng", HtaNctToPng, 0, 0, 0, Result::Files, Decision::None},
    {146, ".ssp", 4, false, ".png", "PresentationPngScan", PresentationPngScan, 0, 0, 0, Result::Files, Decision::None},
    {147, ".pzp", 4, false, ".png", "PresentationPngScan", PresentationPngScan, 0, 0, 0, Result::Files, Decision::None},
    {148, ".pps", 4, false, ".png", "PresentationPngScan", PresentationPngScan, 0, 0, 0, Result::Files, Decision::None},
    {149, ".ppt", 4, false, ".png", "PresentationPngScan", PresentationPngScan, 0, 0, 0, Result::Files, Decision::None},
    {150, ".ssp", 4, false, ".png", "GalleryScan", GalleryScan, 0, 0, 0, Result::Files, Decision::None},
    {151, ".skp", 4, false, ".png", "SkpSxdToPng", SkpSxdToPng, 0, 0, 0, Result::Files, Decision::None},
    {152, ".sxd", 4, false, ".png", "SkpSxdToPng", SkpSxdToPng, 0, 0, 0, Result::Files, Decision::None},
    {153, ".tbs", 4, false, ".png", "PngScan", PngScan, 0, 0, 2, Result::Files, Decision::None},
    {154, ".exe", 4, false, ".gif", "GifScanTwoSigs", GifScanTwoSigs, 0, 0, 0, Result::Files, Decision::None},
    {155, ".hru", 4, false, ".gif", "HruToGif", HruToGif, 0, 0, 0, Result::Files, Decision::None},
    {156, ".mvr", 4, false, ".gif", "GifScanOneSig", GifScanOneSig, 0, 0, 0, Result::Files, Decision::None},
    {157, ".tcf", 4, false, ".gif", "GifScanTcf", GifScanTcf, 0, 0, 2, Result::Files, Decision::None},
    {158, ".elm", 4, false, ".gif", "GifScanTcf", GifScanTcf, 0, 0, 2, Result::Files, Decision::None},
    {159, ".3ds", 4, false, ".gif", "GifScanTcf", GifScanTcf, 0, 0, 2, Result::Files, Decision::None},
    {160, ".big", 4, false, ".gif", "GifScanTwoSigs", GifScanTwoSigs, 0, 0, 0, Result::Files, Decision::None},
    {161, ".mbm", 4, false, ".gif", "MbmToGif", MbmToGif, 0, 0, 1, Result::Files, Decision::None},
    {162, ".sdl", 4, false, ".gif", "SdlLqtToGif", SdlLqtToGif, 0, 0, 0, Result::Files, Decision::None},
    {163, ".lqt", 4, false, ".gif", "SdlLqtToGif", SdlLqtToGif, 0, 0, 0, Result::Files, Decision::None},
    {164, ".xar", 4, false, ".gif", "XarToGif", XarToGif, 0, 0, 1, Result::Files, Decision::None},
    {165, ".tsk", 4, false, ".gif", "GifScanTwoSigs", GifScanTwoSigs, 0, 0, 0, Result::Files, Decision::None},
    {166, ".pot", 4, false, ".gif", "HeightField", HeightField, 0, 0, 0, Result::Files, Decision::None},
    {167, ".mat", 4, false, ".gif", "HeightField", HeightField, 0, 0, 0, Result::Files, Decision::None},
    {168, ".bin", 4, false, ".gif", "BinToGif", BinToGif, 0, 0, 0, Result::Files, Decision::None},
    {169, ".vob", 4, false, ".gif", "VobToGif", VobToGif, 0, 0, 0, Result::Files, Decision::None},
    {170, ".jif", 4, false, ".gif", "JifToGif", JifToGif, 0, 0, 1, Result::Files, Decision::None},
    {171, ".bmp", 4, false, ".otb", "BmpToOtb", BmpToOtb, 0, 0, 0, Result::Files, Decision::None},
    {172, ".gif", 4, false, ".pot", "HeightField", HeightField, 0, 0, 0, Result::Files, Decision::None},
    {173, ".gif", 4, false, ".mat", "HeightField", HeightField, 0, 0, 0, Result::Files, Decision::None},
    {174, ".pig", 4, false, ".ras", "PigToSun", PigToSun, 0, 0, 1, Result::Files, Decision::None},
    {175, ".img", 4, false, ".cmu", "ImgToCmuA", ImgToCmuA, 0, 0, 1, Result::Files, Decision::FirstBytesFFFF},
    {176, ".hs2", 4, false, ".bmp", "Hs2ToBmp", Hs2ToBmp, 0, 0, 1, Result::Files, Decision::None},
    {177, ".cfa", 4, false, ".bmp", "CfaToBmp", CfaToBmp, 0, 0, 1, Result::Files, Decision::None},
    {178, ".gro", 4, false, ".bmp", "GroToBmp", GroToBmp, 0, 0, 1, Result::ZeroIsSuccess, Decision::None},
    {179, ".gf2", 4, false, ".bmp", "GroToBmp", GroToBmp, 0, 0, 1, Result::ZeroIsSuccess, Decision::None},
    {180, ".img", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::FirstBytesBmTp},
    {181, ".acorn", 6, false, ".bmp", "AcornSpriteToBmp", AcornSpriteToBmp, 0, 0, 1, Result::Files, Decision::None},
    {182, ".ff9", 4, false, ".bmp", "Ff9ToBmp", Ff9ToBmp, 0, 0, 1, Result::Files, Decision::None},
    {183, ".bdt", 4, false, ".bmp", "BdtToBmp", BdtToBmp, 0, 0, 0, Result::Files, Decision::None},
    {184, ".fmp", 4, false, ".bmp", "MappyFmpToBmp", MappyFmpToBmp, 0, 0, 0, Result::Files, Decision::None},
    {185, ".qfs", 4, false, ".bmp", "FshToBmp", FshToBmp, 0, 0, 0, Result::Files, Decision::None},
    {186, ".fsh", 4, false, ".bmp", "FshToBmp", FshToBmp, 0, 0, 0, Result::Files, Decision::None},
    {187, ".ypc", 4, false, ".bmp", "YpcToBmp", YpcToBmp, 0, 0, 1, Result::Files, Decision::None},
    {188, ".dat", 4, false, ".bmp", "DatToBmp", DatToBmp, 0, 0, 0, Result::Files, Decision::None},
    {189, ".npm", 4, false, ".bmp", "NpmToBmp", NpmToBmp, 0, 0, 1, Result::Files, Decision::None},
    {190, ".sir", 4, false, ".bmp", "SirToBmp", SirToBmp, 0, 0, 0, Result::Files, Decision::None},
    {191, ".mgc", 4, false, ".bmp", "MgcToBmp", MgcToBmp, 0, 0, 0, Result::Files, Decision::None},
    {192, ".pic", 4, false, ".bmp", "PicToBmp", PicToBmp, 0, 0, 0, Result::Files, Decision::None},
    {193, ".epa", 4, false, ".bmp", "EpaToBmp", EpaToBmp, 0, 0, 1, Result::Files, Decision::None},
    {194, ".zbr", 4, false, ".bmp", "ZbrToBmp", ZbrToBmp, 0, 0, 1, Result::Files, Decision::None},
    {195, ".pvr", 4, false, ".bmp", "PvrToBmp", PvrToBmp, 0, 0, 1, Result::Files, Decision::None},
    {196, ".pms", 4, false, ".bmp", "PmsToBmp", PmsToBmp, 0, 0, 0, Result::Files, Decision::None},
    {197, ".awg", 4, false, ".bmp", "AwgToBmp", AwgToBmp, 0, 0, 0, Result::Files, Decision::None},
    {198, ".bmf", 4, false, ".bmp", "BmfToBmp", BmfToBmp, 0, 0, 1, Result::Files, Decision::None},
    {199, ".cmx", 4, false, ".bmp", "CmxToBmp", CmxToBmp, 0, 0, 1, Result::Files, Decision::None},
    {200, ".otb", 4, false, ".bmp", "OtbNlmToBmp", OtbNlmToBmp, 0, 0, 1, Result::Files, Decision::None},
    {201, ".nlm", 4, false, ".bmp", "OtbNlmToBmp", OtbNlmToBmp, 0, 0, 1, Result::Files, Decision::None},
    {202, ".pdb", 4, false, ".bmp", "PdbToBmp", PdbToBmp, 0, 0, 0, Result::Files, Decision::None},
    {203, ".msp", 4, false, ".bmp", "MspToBmp", MspToBmp, 0, 0, 1, Result::Files, Decision::None},
    {204, ".art", 4, false, ".bmp", "ArtToBmp", ArtToBmp, 0, 0, 0, Result::Files, Decision::None},
    {205, ".shs", 4, false, ".bmp", "ShsBinQt2ToBmp", ShsBinQt2ToBmp, 0, 0, 0, Result::Files, Decision::None},
    {206, ".bin", 4, false, ".bmp", "ShsBinQt2ToBmp", ShsBinQt2ToBmp, 0, 0, 0, Result::Files, Decision::None},
    {207, ".prc", 4, false, ".bmp", "PrcToBmp", PrcToBmp, 0, 0, 1, Result::Files, Decision::None},
    {208, ".pat", 4, false, ".bmp", "PatToBmp", PatToBmp, 0, 0, 0, Result::Files, Decision::None},
    {209, ".qt2", 4, false, ".bmp", "ShsBinQt2ToBmp", ShsBinQt2ToBmp, 0, 0, 0, Result::Files, Decision::None},
    {210, ".iff", 4, false, ".bmp", "IffFlrToBmp", IffFlrToBmp, -1, 0, 2, Result::Files, Decision::None},
    {211, ".flr", 4, false, ".bmp", "IffFlrToBmp", IffFlrToBmp, -1, 0, 2, Result::Files, Decision::None},
    {212, ".iff", 4, false, ".tga", "IffToTga", IffToTga, 0, 0, 1, Result::Files, Decision::None},
    {213, ".pjs", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {214, ".jsk", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {215, ".ssf", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {216, ".sui", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {217, ".wsn", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {218, ".fan", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {219, ".gdb", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {220, ".tsk", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {221, ".bal", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {222, ".brw", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {223, ".iml", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {224, ".exe", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {225, ".ftu", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {226, ".cat", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {227, ".btn", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {228, ".sdg", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {229, ".opn", 4, false, ".bmp", "BmpStreamScan", BmpStreamScan, -1, 0, 2, Result::Files, Decision::None},
    {230, ".lca", 4, false, ".bmp", "LcaToBmp", LcaToBmp, 0, 0, 0, Result::Files, Decision::None},
    {231, ".frm", 4, false, ".bmp", "FrmToBmp", FrmToBmp, 0, 0, 0, Result::Files, Decision::None},
    {232, ".rix", 4, false, ".bmp", "RixToBmp", RixToBmp, 0, 0, 1, Result::Files, Decision::None},
    {233, ".scx", 4, false, ".bmp", "RixToBmp", RixToBmp, 0, 0, 1, Result::Files, Decision::None},
    {234, ".scz", 4, false, ".bmp", "RixToBmp", RixToBmp, 0, 0, 1, Result::Files, Decision::None},
    {235, ".ska", 4, false, ".bmp", "RixToBmp", RixToBmp, 0, 0, 1, Result::Files, Decision::None},
    {236, ".gaf", 4, false, ".bmp", "GafToBmp", GafToBmp, 0, 0, 0, Result::Files, Decision::None},
    {237, ".cap", 4, false, ".bmp", "CapToBmp", CapToBmp, 0, 0, 1, Result::Files, Decision::None},
    {238, ".icn", 4, false, ".iff", "IcnToIff", IcnToIff, 0, 0, 0, Result::Files, Decision::None},
    {239, ".ani", 4, false, ".iff", "IffFormScan", IffFormScan, 0, 0, 0, Result::Files, Decision::None},
    {240, ".neo", 4, false, ".iff", "PC1toIFF", Pc1ToIffRoute, 0, 0, 1, Result::Files, Decision::None},
    {241, ".pc1", 4, false, ".iff", "PC1toIFF", Pc1ToIffRoute, 0, 0, 1, Result::Files, Decision::None},
    {242, ".pc3", 4, false, ".iff", "PC1toIFF", Pc1ToIffRoute, 0, 0, 1, Result::Files, Decision::None},
    {243, ".pi1", 4, false, ".iff", "PC1toIFF", Pc1ToIffRoute, 0, 0, 1, Result::Files, Decision::None},
    {244, ".pi2", 4, false, ".iff", "PC1toIFF", Pc1ToIffRoute, 0, 0, 1, Result::Files, Decision::None},
    {245, ".pi3", 4, false, ".iff", "PC1toIFF", Pc1ToIffRoute, 0, 0, 1, Result::Files, Decision::None},
    {246, ".pln", 4, false, ".iff", "PC1toIFF", Pc1ToIffRoute, 0, 0, 1, Result::Files, Decision::None},
    {247, ".sff", 4, false, ".pbm", "SffToPbm", SffToPbm, 0, 0, 0, Result::Files, Decision::None},
    {248, ".ppp", 4, false, ".ppm", "PppToPpm", PppToPpm, 0, 0, 0, Result::Files, Decision::None},
    {249, ".mtx", 4, false, ".ppm", "MtxToPpm", MtxToPpm, 0, 0, 1, Result::Files, Decision::None},
    {250, ".pat", 4, false, ".ppm", "PatToPpm", PatToPpm, 0, 0, 1, Result::Files, Decision::None},
    {251, ".tap", 4, false, ".ppm", "OricTapeToPpm", OricTapeToPpm, 0, 0, 1, Result::Files, Decision::None},
    {252, ".yuv", 4, false, ".ppm", "YuvToPpm", YuvToPpm, 0, 0, 0, Result::Files, Decision::None},
    {253, ".b3d", 4, false, ".ppm", "B3dToPpm", B3dToPpm, 0, 0, 1, Result::Files, Decision::None},
    {254, ".ach", 4, false, ".tif", "ZxScreenToTiff", ZxScreenToTiff, 0, 0, 1, Result::Files, Decision::None},
    {255, ".zx", 3, false, ".tif", "ZxScreenToTiff", ZxScreenToTiff, 0, 0, 1, Result::Files, Decision::None},
    {256, ".prg", 4, false, ".tif", "ZxScreenToTiff", ZxScreenToTiff, 0, 0, 1, Result::Files, Decision::None},
    {257, ".sp", 4, false, ".tif", "ZxScreenToTiff", ZxScreenToTiff, 0, 0, 1, Result::Files, Decision::None},
    {258, ".z80", 4, false, ".tif", "ZxSnapshotToTiff", ZxSnapshotToTiff, 0, 0, 1, Result::Files, Decision::None},
    {259, ".sna", 4, false, ".tif", "ZxSnapshotToTiff", ZxSnapshotToTiff, 0, 0, 1, Result::Files, Decision::None},
    {260, ".sem", 4, false, ".tif", "ZxSnapshotToTiff", ZxSnapshotToTiff, 0, 0, 1, Result::Files, Decision::None},
    {261, ".cmp", 4, false, ".tif", "CmpToTiff", CmpToTiff, 0, 0, 0, Result::Files, Decision::None},
};

// Formats known by name (and sometimes a signature) only; each converter's
// file says what is known.
constexpr ConverterFn kUnknownLayout[] = {TgaWlm,   GifToJif, PigToSun, MtxToPpm, B3dToPpm,
                                          ImgToCmuA, BdtToBmp, YpcToBmp, AwgToBmp, LcaToBmp};

constexpr const char* kCatchAll[] = {".sit", ".snx", ".sna", ".z80", ".ach", ".zx", ".sp"};

// The first five bytes of the source; fewer when it is short or unreadable.
std::size_t FirstBytes(const char* path, std::uint8_t (&b)[5]) {
  std::memset(b, 0, sizeof b);
  InFile in(path);
  return in ? in.read(b, sizeof b) : 0;
}

}  // namespace

std::span<const Route> RouteTable() { return kRoutes; }
std::span<const char* const> CatchAllTargets() { return kCatchAll; }

RouteMatch LookUpRoute(const char* source, const char* target) {
  RouteMatch m;
  if (!source || !target) return m;
  const std::string srcExt = Split(source).ext;
  const std::string dstExt = Split(target).ext;
  for (const Route& r : kRoutes) {
    bool srcOk = r.decision == Decision::EmptySource ? srcExt.empty() : ExtMatches(srcExt, r.source, r.compared);
    if (srcOk && r.exactly3 && srcExt.size() != 3) srcOk = false;
    if (srcOk && ExtMatches(dstExt, r.target, 4)) {
      m.kind = RouteMatch::Row;
      m.route = &r;
      return m;
    }
  }
  for (const char* t : kCatchAll) {
    if (ExtMatches(dstExt, t, 4)) {
      m.kind = RouteMatch::CatchAll;
      return m;
    }
  }
  return m;
}

bool RouteSucceeded(const RouteMatch& match, int n) {
  return match.kind == RouteMatch::Row && match.route->result == Result::ZeroIsSuccess ? n == 0 : n > 0;
}

ConverterChoice ChooseConverter(const Route& r, const char* source) {
  std::uint8_t b[5];
  switch (r.decision) {
    case Decision::FirstBytesFFFF:
      if (FirstBytes(source, b) >= 2 && b[0] == 0xFF && b[1] == 0xFF) return {"ImgToCmuA", ImgToCmuA, r.arg1, r.arg2};
      return {"ImgToCmuB", ImgToCmuB, r.arg1, r.arg2};
    case Decision::FirstBytesBmTp:
      if (FirstBytes(source, b) >= 2 && ((b[0] == 'B' && b[1] == 'M') || (b[0] == 'T' && b[1] == 'P')))
        return {"BmpStreamScan", BmpStreamScan, -1, 0};
      return {"ImgToBmp", ImgToBmp, 0, 0};
    default:
      return {r.converterName, r.converter, r.arg1, r.arg2};
  }
}

int RunRoute(const RouteMatch& match, const char* source, const char* target) {
  if (match.kind == RouteMatch::NoMatch) return 0;
  ConvertCall call;
  call.source = source;
  call.target = target;
  if (match.kind == RouteMatch::CatchAll) return ZxScreenToTiff(call);
  ConverterChoice c = ChooseConverter(*match.route, source);
  call.arg1 = c.arg1;
  call.arg2 = c.arg2;
  int n = c.converter(call);
  // The one fallback chain: a catalogue that holds no JPEG may hold PNGs.
  if (n == 0 && match.route->decision == Decision::FallbackToPng) n = PngScan(call);
  return n;
}

bool IsPlaceholder(ConverterFn converter) {
  for (ConverterFn f : kUnknownLayout)
    if (f == converter) return true;
  return false;
}

std::string DescribeConverter(const Route& r) {
  switch (r.decision) {
    case Decision::FallbackToPng: return "CatalogueScan, then PngScan when it finds nothing";
    case Decision::FirstBytesFFFF: return "ImgToCmuA when the source begins FF FF, ImgToCmuB otherwise";
    case Decision::FirstBytesBmTp: return "BmpStreamScan when the source begins \"BM\" or \"TP\", ImgToBmp otherwise";
    default: return r.converterName;
  }
}

}  // namespace pix
