#include "harness.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "entry/previews.h"
#include "entry/routes.h"
#include "pixmisc.h"
#include "platform/platform.h"

namespace pixfuzz {
namespace {

// Which group a route row's converter belongs to.
std::string GroupOfConverter(const std::string& name) {
  static const std::set<std::string> extract = {
      "ProgramScan", "HeaderRebuildExtract", "AnimationAlbumScan", "ThumbDbScan", "SampleScan", "GalleryScan",
      "AlbumScan", "MovieScan", "SinglePictureExtract", "FffExtract", "EbookScan", "CatalogueScan",
      "LoggedProgramScan", "ZipPackedScan", "SharedFolderScan", "PPTtoJPG", "PngScan", "GifScanOneSig",
      "GifScanTwoSigs", "GifScanTcf", "IffFormScan", "PcxArchiveRead", "FilmStripToPcx", "SwfPictureExtract",
      "DibStreamScan", "BmpStreamScan", "PresentationPngScan"};
  static const std::set<std::string> retro = {
      "ZxScreenToTiff", "ZxSnapshotToTiff", "ZxTapeBlockExtract", "ZxTapeToZxs", "ZxScreenToPrg",
      "CpcScreenToTiff", "XbmToGrob", "PcxToTiGrayPic", "GroToBmp", "OricTapeToPpm", "IcnToIff", "PC1toIFF"};
  static const std::set<std::string> science = {"SbigToFits", "FtzToFits", "IbgToFits", "B16ToFits", "PicToFits",
                                                "HeightField"};
  static const std::set<std::string> games = {"FshToBmp", "BdfToXbm", "PsfToXbm", "DivMapToPng"};
  if (extract.count(name)) return "routes-extract";
  if (retro.count(name)) return "routes-retro";
  if (science.count(name)) return "routes-science";
  if (games.count(name)) return "routes-games";
  return "routes-formats";
}

void RemoveTree(const std::string& path);

// The scratch root, removed when the process ends.
struct ScratchRoot {
  std::string path;
  ~ScratchRoot() {
    if (path.size() > 5) RemoveTree(path);
  }
};

std::string Root() {
  static ScratchRoot root{[] {
    char tmpl[] = "/tmp/pixfuzz-XXXXXX";
    std::string r = mkdtemp(tmpl) ? tmpl : "/tmp";
    mkdir((r + "/src").c_str(), 0700);
    mkdir((r + "/out").c_str(), 0700);
    mkdir((r + "/cwd").c_str(), 0700);
    if (chdir((r + "/cwd").c_str()) != 0) std::abort();
    return r;
  }()};
  return root.path;
}

std::vector<std::string> List(const std::string& dir) {
  std::vector<std::string> names;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d))
      if (std::strcmp(e->d_name, ".") && std::strcmp(e->d_name, "..")) names.push_back(e->d_name);
    closedir(d);
  }
  return names;
}

void Fail(const std::string& what) {
  std::fprintf(stderr, "pixfuzz: %s\n", what.c_str());
  std::abort();
}

// Files the shape-archive converter is known to write in the working directory.
bool AllowedInWorkingDir(const std::string& n) {
  if (n == "index.fsh" || n == "alpha8.dat") return true;
  return n.size() == 8 && n.compare(4, 4, ".BIN") == 0 && std::isdigit(static_cast<unsigned char>(n[0])) &&
         std::isdigit(static_cast<unsigned char>(n[1])) && std::isdigit(static_cast<unsigned char>(n[2])) &&
         std::isdigit(static_cast<unsigned char>(n[3]));
}

void RemoveTree(const std::string& path) {
  struct stat st{};
  if (lstat(path.c_str(), &st) != 0) return;
  if (S_ISDIR(st.st_mode)) {
    for (const std::string& n : List(path)) RemoveTree(path + "/" + n);
    rmdir(path.c_str());
  } else {
    unlink(path.c_str());
  }
}

void CheckAndClean(const std::string& input) {
  const std::string root = Root();
  for (const std::string& n : List(root + "/src"))
    if (root + "/src/" + n != input) Fail("file written beside the source: " + n);
  for (const std::string& n : List(root + "/cwd")) {
    if (!AllowedInWorkingDir(n)) Fail("file written in the working directory: " + n);
    RemoveTree(root + "/cwd/" + n);
  }
  for (const std::string& n : List(root)) {
    if (n != "src" && n != "out" && n != "cwd") Fail("file written in the scratch root: " + n);
  }
  for (const std::string& n : List(root + "/out")) RemoveTree(root + "/out/" + n);
  const std::string& tmp = pix::platform::TempDir();
  if (!tmp.empty() && !List(tmp).empty()) Fail("private temp directory not emptied: " + List(tmp)[0]);
  unlink(input.c_str());
}

}  // namespace

std::vector<std::string> Groups() {
  return {"routes-extract", "routes-retro", "routes-science", "routes-games", "routes-formats",
          "previews",       "multi",        "counts",         "exports"};
}

std::vector<Entry> EntriesOf(const std::string& group) {
  std::vector<Entry> v;
  if (group.rfind("routes-", 0) == 0) {
    for (const pix::Route& r : pix::RouteTable()) {
      if (GroupOfConverter(r.converterName) != group) continue;
      v.push_back({Kind::Route, r.source ? r.source : "", r.target, 0, "row " + std::to_string(r.number)});
    }
    if (group == "routes-retro")
      for (const char* t : pix::CatchAllTargets()) v.push_back({Kind::Route, ".xyz", t, 0, "catch-all"});
  } else if (group == "previews") {
    for (const char* e : {".pic", ".pix", ".img", ".tsk", ".pi1"}) v.push_back({Kind::Single, e, "", 0, e});
    for (const pix::PreviewEntry& p : pix::SingleList()) v.push_back({Kind::Single, p.ext, "", 0, p.ext});
  } else if (group == "multi") {
    for (const pix::PreviewEntry& p : pix::MultiList()) v.push_back({Kind::Multi, p.ext, "", 0, p.ext});
  } else if (group == "counts") {
    for (int i = 0; i < 10; ++i) v.push_back({Kind::Count, ".bin", "", i, "count " + std::to_string(i)});
    v.push_back({Kind::Count, ".mic", "", 7, "count dib .mic"});
    v.push_back({Kind::Count, ".pps", "", 9, "count pps"});
  } else if (group == "exports") {
    v.push_back({Kind::Export, ".jpg", "", 0, "extract_thumbnail_from_jpeg"});
    v.push_back({Kind::Export, ".ppt", ".jpg", 1, "PPTtoJPG"});
    v.push_back({Kind::Export, ".flc", ".ppm", 2, "FLItoPPM"});
    v.push_back({Kind::Export, ".flc", "", 3, "get_nb_frames_from_flc"});
    v.push_back({Kind::Export, ".flm", "", 4, "get_nb_frames_from_flm"});
    for (const char* e : {".neo", ".pc1", ".pc2", ".pc3", ".pi1", ".pi2", ".pi3", ".pln"})
      v.push_back({Kind::Export, e, ".iff", 5, std::string("PC1toIFF ") + e});
    v.push_back({Kind::Export, ".pgm", ".txt", 6, "PGMtoASCII"});
  }
  return v;
}

void RunEntry(const Entry& e, const std::uint8_t* bytes, std::size_t size, std::uint8_t param) {
  const std::string root = Root();
  const std::string input = root + "/src/in" + e.srcExt;
  if (FILE* f = std::fopen(input.c_str(), "wb")) {
    if (size) std::fwrite(bytes, 1, size, f);
    std::fclose(f);
  }
  const std::string target = root + "/out/out" + e.dstExt;
  const bool memory = param & 1;
  unsigned char* block = nullptr;
  int n = 0;
  int count = 0;
  switch (e.kind) {
    case Kind::Route: n = pixMISC(input.c_str(), target.c_str()); break;
    case Kind::Single: n = seeMISC(input.c_str(), &block); break;
    case Kind::Multi: n = seeMultiMISC(input.c_str(), param % 4, &block); break;
    case Kind::Count:
      switch (e.which) {
        case 0: n = compteFichiers(input.c_str(), &count); break;
        case 1: n = compteFichiers_2(input.c_str()); break;
        case 2: n = compteFichiersPNG(input.c_str(), &count); break;
        case 3: n = compteFichiersTIFF(input.c_str()); break;
        case 4: n = compteFichiersGIF(input.c_str(), &count); break;
        case 5: n = compteFichiersBMP(input.c_str(), &count); break;
        case 6: n = compteFichiersBMPelse(input.c_str(), &count); break;
        case 7: n = compteFichiersDIB(input.c_str(), &count); break;
        case 8: n = compteFichiersPPT(input.c_str()); break;
        default: n = compteFichiers_PPS_jpeg(input.c_str()); break;
      }
      break;
    case Kind::Export:
      switch (e.which) {
        case 0: n = extract_thumbnail_from_jpeg(input.c_str(), &block); break;
        case 1: n = PPTtoJPG(input.c_str(), memory ? nullptr : target.c_str(), (param >> 1) % 4, &block); break;
        case 2: n = FLItoPPM(input.c_str(), target.c_str(), memory ? (param >> 1) % 4 : -1, &block); break;
        case 3: n = get_nb_frames_from_flc(input.c_str()); break;
        case 4: n = get_nb_frames_from_flm(input.c_str()); break;
        case 5: n = PC1toIFF(input.c_str(), memory ? nullptr : target.c_str(), &block); break;
        default:
          n = PGMtoASCII(input.c_str(), target.c_str(), 0, param & 2, param & 4, (param >> 3) & 3, (param >> 5) & 3,
                         (param & 1) ? " .:-=+*#%@" : nullptr);
          break;
      }
      break;
  }
  if (block) {
    // The block must hold n bytes and a spare zero byte.
    if (n <= 0) Fail(e.label + ": block handed over with result " + std::to_string(n));
    volatile unsigned char sink = block[0] ^ block[n - 1] ^ block[n];
    (void)sink;
    if (block[n] != 0) Fail(e.label + ": memory result lacks its spare zero byte");
    pixFree(block);
  }
  CheckAndClean(input);
}

}  // namespace pixfuzz
