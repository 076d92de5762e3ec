#include "entry/previews.h"

#include "common/budget.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "common/files.h"
#include "common/paths.h"
#include "extract/extract.h"
#include "formats/formats.h"
#include "pixmisc.h"
#include "retro/retro.h"
#include "science/science.h"

namespace pix {
namespace {

int Pc1ToIffPreview(const ConvertCall& c) { return PC1toIFF(c.source, c.target, c.out); }
int PptToJpgPreview(const ConvertCall& c) { return PPTtoJPG(c.source, c.target, c.arg1, c.out); }

// seeMISC's plain entries, in the order they are tried (the signature-checked
// kinds ".pic", ".pix", ".img" and the ".tsk" chain are handled before and
// between them, see seeMISC).
constexpr PreviewEntry kSingleA[] = {
    {".acorn", 6, false, "AcornSpriteToBmp", AcornSpriteToBmp, 0},
    {".bmf", 4, false, "BmfToBmp", BmfToBmp, 0},
    {".bmz", 4, false, "BmzToBmp", BmzToBmp, 0},
    {".cap", 4, false, "CapToBmp", CapToBmp, 0},
    {".cfa", 4, false, "CfaToBmp", CfaToBmp, 0},
    {".cmx", 4, false, "CmxToBmp", CmxToBmp, 0},
    {".epa", 4, false, "EpaToBmp", EpaToBmp, 0},
    {".ff9", 4, false, "Ff9ToBmp", Ff9ToBmp, 0},
    {".gf2", 4, false, "GroToBmp", GroToBmp, 0},
    {".gro", 4, false, "GroToBmp", GroToBmp, 0},
    {".hs2", 4, false, "Hs2ToBmp", Hs2ToBmp, 0},
};
constexpr PreviewEntry kSingleB[] = {
    {".nlm", 4, false, "OtbNlmToBmp", OtbNlmToBmp, 0},
    {".msp", 4, false, "MspToBmp", MspToBmp, 0},
    {".npm", 4, false, "NpmToBmp", NpmToBmp, 0},
    {".otb", 4, false, "OtbNlmToBmp", OtbNlmToBmp, 0},
    {".prc", 4, false, "PrcToBmp", PrcToBmp, 0},
    {".pvr", 4, false, "PvrToBmp", PvrToBmp, 0},
    {".flr", 4, false, "IffFlrToBmp", IffFlrToBmp, 1},
    {".scx", 4, false, "RixToBmp", RixToBmp, 0},
    {".scz", 4, false, "RixToBmp", RixToBmp, 0},
    {".ska", 4, false, "RixToBmp", RixToBmp, 0},
    {".ypc", 4, false, "YpcToBmp", YpcToBmp, 0},
    {".zbr", 4, false, "ZbrToBmp", ZbrToBmp, 0},
    {".ics", 4, false, "IcsToDib", IcsToDib, 0},
    {".b16", 4, false, "B16ToFits", B16ToFits, 0},
    {".ftz", 4, false, "FtzToFits", FtzToFits, 0},
    {".ibg", 4, false, "IbgToFits", IbgToFits, 0},
    {".jif", 4, false, "JifToGif", JifToGif, 0},
    {".mbm", 4, false, "MbmToGif", MbmToGif, 0},
};
constexpr PreviewEntry kSingleC[] = {
    {".xar", 4, false, "XarToGif", XarToGif, 0},
    {".neo", 4, false, "PC1toIFF", Pc1ToIffPreview, 0},
    {".pc1", 4, false, "PC1toIFF", Pc1ToIffPreview, 0},
    {".pc3", 4, false, "PC1toIFF", Pc1ToIffPreview, 0},
    {".pi2", 4, false, "PC1toIFF", Pc1ToIffPreview, 0},
    {".pi3", 4, false, "PC1toIFF", Pc1ToIffPreview, 0},
    {".pln", 4, false, "PC1toIFF", Pc1ToIffPreview, 0},
    {".pgc", 4, false, "PgcToPbm", PgcToPbm, 0},
    {".hdr", 4, false, "RadianceToPict", RadianceToPict, 0},
    {".rad", 4, false, "RadianceToPict", RadianceToPict, 0},
    {".mtx", 4, false, "MtxToPpm", MtxToPpm, 0},
    {".pat", 4, false, "PatToPpm", PatToPpm, 0},
    {".tap", 4, false, "OricTapeToPpm", OricTapeToPpm, 0},
    {".pig", 4, false, "PigToSun", PigToSun, 0},
    {".prg", 4, false, "ZxSnapshotToTiff", ZxSnapshotToTiff, 0},
    {".sem", 4, false, "ZxSnapshotToTiff", ZxSnapshotToTiff, 0},
    {".sna", 4, false, "ZxSnapshotToTiff", ZxSnapshotToTiff, 0},
    {".z80", 4, false, "ZxSnapshotToTiff", ZxSnapshotToTiff, 0},
    {".sp", 3, true, "ZxScreenToTiff", ZxScreenToTiff, 0},
    {".zx", 3, false, "ZxScreenToTiff", ZxScreenToTiff, 0},
    {".bdf", 4, false, "BdfToXbm", BdfToXbm, 0},
    {".psf", 4, false, "PsfToXbm", PsfToXbm, 0},
    {".pps", 4, false, "CatalogueScan", CatalogueScan, 1},
    {".tjp", 4, false, "SharedFolderScan", SharedFolderScan, 1},
    {".cbm", 4, false, "CbmFbmToSun", CbmFbmToSun, 0},
    {".fbm", 4, false, "CbmFbmToSun", CbmFbmToSun, 0},
    {".iff", 4, false, "IffToTga", IffToTga, 0},
    {".wlm", 4, false, "TgaWlm", TgaWlm, 0},
};

constexpr PreviewEntry kMulti[] = {
    // DIB stream scanner
    {".abm", 4, false, "DibStreamScan", DibStreamScan, 0},
    {".ilb", 4, false, "DibStreamScan", DibStreamScan, 0},
    {".mic", 4, false, "DibStreamScan", DibStreamScan, 0},
    {".phb", 4, false, "DibStreamScan", DibStreamScan, 0},
    {".skf", 4, false, "DibStreamScan", DibStreamScan, 0},
    {".ui", 3, false, "DibStreamScan", DibStreamScan, 0},
    {".yal", 4, false, "DibStreamScan", DibStreamScan, 0},
    // GIF scanner for .tcf, .elm and .3ds
    {".3ds", 4, false, "GifScanTcf", GifScanTcf, 0},
    {".elm", 4, false, "GifScanTcf", GifScanTcf, 0},
    {".tcf", 4, false, "GifScanTcf", GifScanTcf, 0},
    // film strips
    {".flm", 4, false, "FilmStripToPcx", FilmStripToPcx, 0},
    // PNG scanner
    {".ban", 4, false, "PngScan", PngScan, 0},
    {".ecc", 4, false, "PngScan", PngScan, 0},
    {".pspd", 5, false, "PngScan", PngScan, 0},
    {".ivp", 4, false, "PngScan", PngScan, 0},
    {".pmd", 4, false, "PngScan", PngScan, 0},
    {".tbs", 4, false, "PngScan", PngScan, 0},
    // thumbnail databases
    {".4pp", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".ab3", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".abk", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".bam", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".bdi", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".bpthumbdata", 12, false, "ThumbDbScan", ThumbDbScan, 0},
    {".cache", 6, false, "ThumbDbScan", ThumbDbScan, 0},
    {".cat", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".collage", 8, false, "ThumbDbScan", ThumbDbScan, 0},
    {".db", 3, false, "ThumbDbScan", ThumbDbScan, 0},
    {".dbt", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".iac", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".ivc", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".ksq", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".jbf", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".mbd", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".pe4", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".pha", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".phm", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".pmx", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".shp", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".sig", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".ufo", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".vig", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".vix", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".wsb", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    {".w3d", 4, false, "ThumbDbScan", ThumbDbScan, 0},
    // catalogues
    {".aeh", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".flz", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".gal", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".ipg", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".obv", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".ppg", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".pps", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".psf", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".pst", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".ptc", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".pzp", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".qt", 3, true, "CatalogueScan", CatalogueScan, 0},
    {".ssp", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".tmb", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".ts", 3, true, "CatalogueScan", CatalogueScan, 0},
    {".vfs", 4, false, "CatalogueScan", CatalogueScan, 0},
    {".fpt", 4, false, "CatalogueScan", CatalogueScan, 0},
    // single kinds
    {".albm", 5, false, "AlbumScan", AlbumScan, 0},
    {".imd", 4, false, "ZipPackedScan", ZipPackedScan, 0},
    {".mov", 4, false, "MovieScan", MovieScan, 0},
    {".ppt", 4, false, "PPTtoJPG", PptToJpgPreview, 0},
    {".swf", 4, false, "SwfPictureExtract", SwfPictureExtract, 0},
    {".iff", 4, false, "IffFlrToBmp", IffFlrToBmp, 0},
    // BMP stream scanner
    {".bal", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".brw", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".fan", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".ftu", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".gdb", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".img", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".jsk", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".opn", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".pjs", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".sdg", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".ssf", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".sui", 4, false, "BmpStreamScan", BmpStreamScan, 0},
    {".wsn", 4, false, "BmpStreamScan", BmpStreamScan, 0},
};

bool Matches(const std::string& ext, const PreviewEntry& e) {
  return ExtMatches(ext, e.ext, e.compared) && (!e.exactly3 || ext.size() == 3);
}

const PreviewEntry* Find(const std::string& ext, std::span<const PreviewEntry> list) {
  for (const PreviewEntry& e : list)
    if (Matches(ext, e)) return &e;
  return nullptr;
}

// The first n bytes of the source, zero-filled where it is short.
void Head(const char* path, std::uint8_t* b, std::size_t n) {
  std::memset(b, 0, n);
  InFile in(path);
  if (in) in.read(b, n);
}

enum class Special { None, PicFits, PicPcx, PixXpm, PixNone, ImgPgm, ImgBmp, TskChain };

Special SpecialKind(const char* source, const std::string& ext) {
  std::uint8_t b[256];
  if (ExtMatches(ext, ".pic", 4)) {
    Head(source, b, 256);
    return b[0] == 0xFC && b[1] == 0x31 ? Special::PicFits : Special::PicPcx;
  }
  if (ExtMatches(ext, ".pix", 4)) {
    Head(source, b, 5);
    return std::memcmp(b, "PIX", 3) == 0 ? Special::PixXpm : Special::PixNone;
  }
  return Special::None;
}

int CallEntry(const PreviewEntry& e, const char* source, unsigned char** out) {
  ConvertCall call;
  call.source = source;
  call.arg1 = e.arg1;
  call.out = out;
  return e.converter(call);
}

}  // namespace

std::span<const PreviewEntry> SingleList() {
  static const std::vector<PreviewEntry> all = [] {
    std::vector<PreviewEntry> v(std::begin(kSingleA), std::end(kSingleA));
    v.insert(v.end(), std::begin(kSingleB), std::end(kSingleB));
    v.insert(v.end(), std::begin(kSingleC), std::end(kSingleC));
    return v;
  }();
  return all;
}

std::span<const PreviewEntry> MultiList() { return kMulti; }

const char* SingleConverterName(const char* source) {
  if (!source) return "";
  const std::string ext = Split(source).ext;
  switch (SpecialKind(source, ext)) {
    case Special::PicFits: return "PicToFits";
    case Special::PicPcx: return "PicToPcx";
    case Special::PixXpm: return "PixToXpm";
    case Special::PixNone: return "";
    default: break;
  }
  if (const PreviewEntry* e = Find(ext, kSingleA)) return e->converterName;
  if (ExtMatches(ext, ".img", 4)) {
    std::uint8_t b[5];
    Head(source, b, 5);
    return b[0] == 'I' && b[1] == 'M' ? "ImgToPgm" : "ImgToBmp";
  }
  if (const PreviewEntry* e = Find(ext, kSingleB)) return e->converterName;
  if (ExtMatches(ext, ".tsk", 4)) return "XarToGif, then BmpStreamScan, then CatalogueScan";
  if (const PreviewEntry* e = Find(ext, kSingleC)) return e->converterName;
  return "";
}

const char* MultiConverterName(const char* source) {
  if (!source) return "";
  const PreviewEntry* e = Find(Split(source).ext, kMulti);
  return e ? e->converterName : "";
}

}  // namespace pix

using pix::ConvertCall;

extern "C" int seeMISC(const char* source, unsigned char** out) {
  if (!source) return 0;
  pix::CallScope scope(source);
  const std::string ext = pix::Split(source).ext;
  ConvertCall call;
  call.source = source;
  call.out = out;
  switch (pix::SpecialKind(source, ext)) {
    case pix::Special::PicFits: return pix::PicToFits(call);
    case pix::Special::PicPcx: return pix::PicToPcx(call);
    case pix::Special::PixXpm: return pix::PixToXpm(call);
    case pix::Special::PixNone: return 0;
    default: break;
  }
  if (const pix::PreviewEntry* e = pix::Find(ext, pix::kSingleA)) return pix::CallEntry(*e, source, out);
  if (pix::ExtMatches(ext, ".img", 4)) {
    std::uint8_t b[5];
    pix::Head(source, b, 5);
    return b[0] == 'I' && b[1] == 'M' ? pix::ImgToPgm(call) : pix::ImgToBmp(call);
  }
  if (const pix::PreviewEntry* e = pix::Find(ext, pix::kSingleB)) return pix::CallEntry(*e, source, out);
  if (pix::ExtMatches(ext, ".tsk", 4)) {
    int n = pix::XarToGif(call);
    if (n == 0) n = pix::BmpStreamScan(call);
    if (n == 0) n = pix::CatalogueScan(call);
    return n;
  }
  if (const pix::PreviewEntry* e = pix::Find(ext, pix::kSingleC)) return pix::CallEntry(*e, source, out);
  return 0;
}

extern "C" int seeMultiMISC(const char* source, int index, unsigned char** out) {
  if (!source) return 0;
  const pix::PreviewEntry* e = pix::Find(pix::Split(source).ext, pix::kMulti);
  if (!e) return 0;
  pix::CallScope scope(source);
  ConvertCall call;
  call.source = source;
  call.arg1 = index;
  call.out = out;
  return e->converter(call);
}
