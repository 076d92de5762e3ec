// pixmisc: the command-line face of the library, for trying conversions,
// looking routes up and running the other exports by hand.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "cli/batch.h"
#include "common/paths.h"
#include "entry/previews.h"
#include "entry/routes.h"
#include "pixmisc.h"

namespace {

namespace fs = std::filesystem;

const char* const kUsage =
    "Usage: pixmisc COMMAND [ARGS]\n"
    "\n"
    "Commands:\n"
    "  convert SRC DST          convert SRC into DST (or a numbered series beside DST)\n"
    "  route SRC DST            show which route row would convert SRC into DST\n"
    "  routes                   list the route table\n"
    "  count KIND SRC           count embedded pictures; KIND is one of\n"
    "                           jpeg, jpeg2, png, gif, tiff, bmp, bmpelse, dib, ppt, pps\n"
    "  preview SRC [--index N] -o OUT\n"
    "                           convert SRC in memory (with --index: picture N of a\n"
    "                           container) and write the returned block to OUT\n"
    "  thumbnail SRC -o OUT     write the Exif thumbnail of a JPEG file\n"
    "  frames SRC               count the frames of an FLI/FLC animation or a film strip\n"
    "  ascii SRC DST [--average] [--invert] [--columns N] [--rows N] [--chars S]\n"
    "                           turn a PGM picture into a character picture; S runs\n"
    "                           from dark to light (default \" .:-=+*#%@\")\n"
    "  batch SRC_DIR --to EXT [--out DIR] [--jobs N] [--report FILE.json] [--gallery]\n"
    "                           convert every file of a folder tree that has a route to EXT\n"
    "\n"
    "Options: --help, --version. Exit status: 0 success, 1 failure, 2 usage error.\n";

int Usage(const char* why) {
  if (why) std::fprintf(stderr, "pixmisc: %s\n", why);
  std::fputs("Try 'pixmisc --help'.\n", stderr);
  return 2;
}

std::set<std::string> FilesIn(const fs::path& dir) {
  std::set<std::string> names;
  std::error_code ec;
  for (const auto& e : fs::directory_iterator(dir.empty() ? fs::path(".") : dir, ec))
    if (e.is_regular_file()) names.insert(e.path().filename().string());
  return names;
}

const char* ResultMeaning(pix::Result r) {
  return r == pix::Result::ZeroIsSuccess ? "0 means success" : "number of files written";
}

// The extension as the route table reads it, or a word for none.
std::string ExtensionOf(const char* path) {
  const std::string ext = pix::Split(path).ext;
  return ext.empty() ? "(no extension)" : ext;
}

// Why a conversion cannot start, as far as the tool can tell without running
// it: an unreadable source or a missing target folder. Empty when neither.
std::string CannotStart(const char* src, const char* dst) {
  std::error_code ec;
  if (fs::is_directory(src, ec)) return std::string("cannot open ") + src + ": " + std::strerror(EISDIR);
  if (FILE* f = std::fopen(src, "rb")) {
    std::fclose(f);
  } else {
    return std::string("cannot open ") + src + ": " + std::strerror(errno);
  }
  const fs::path dir = fs::path(dst).parent_path();
  if (!dir.empty() && !fs::is_directory(dir, ec)) return "the target folder does not exist: " + dir.string();
  return {};
}

int Convert(const char* src, const char* dst) {
  pix::RouteMatch m = pix::LookUpRoute(src, dst);
  if (m.kind == pix::RouteMatch::NoMatch) {
    std::fprintf(stderr, "pixmisc: no route from %s to %s\n", ExtensionOf(src).c_str(), ExtensionOf(dst).c_str());
    return 1;
  }
  if (const std::string why = CannotStart(src, dst); !why.empty()) {
    std::fprintf(stderr, "pixmisc: %s\n", why.c_str());
    return 1;
  }
  fs::path dir = fs::path(dst).parent_path();
  std::set<std::string> before = FilesIn(dir);
  int result = pixMISC(src, dst);
  std::set<std::string> after = FilesIn(dir);
  // Only files this call created count, and only those that hold something.
  std::vector<std::string> written, empty;
  for (const auto& n : after) {
    if (before.count(n)) continue;
    std::error_code ec;
    const auto size = fs::file_size(dir / n, ec);
    (ec || size == 0 ? empty : written).push_back(n);
  }
  const char* converter = pix::kCatchAllConverter;
  std::string described;
  if (m.kind == pix::RouteMatch::CatchAll) {
    std::printf("route: catch-all (%s)\n", pix::kCatchAllConverter);
    std::printf("result: %d\n", result);
  } else {
    described = pix::DescribeConverter(*m.route);
    converter = described.c_str();
    std::printf("route: %d (%s)\n", m.route->number, converter);
    std::printf("result: %d (%s)\n", result, ResultMeaning(m.route->result));
  }
  std::printf("files written: %zu\n", written.size());
  for (const auto& n : written) std::printf("  %s\n", (dir / n).string().c_str());
  const bool ok = pix::RouteSucceeded(m, result);
  std::fflush(stdout);  // the report first, then what went wrong
  if (!empty.empty()) {
    std::string names;
    for (const auto& n : empty) names += " " + (dir / n).string();
    if (ok)
      std::fprintf(stderr, "pixmisc: %s reported success but left %s:%s\n", converter,
                   empty.size() == 1 ? "an empty file" : "empty files", names.c_str());
    else
      std::fprintf(stderr, "pixmisc: empty file%s left behind:%s\n", empty.size() == 1 ? "" : "s", names.c_str());
  }
  if (ok && written.empty() && !empty.empty()) {
    std::fprintf(stderr, "pixmisc: empty result: no picture was written\n");
    return 1;
  }
  if (!ok) std::fprintf(stderr, "pixmisc: nothing was converted (the converter found nothing it could read, or failed)\n");
  return ok ? 0 : 1;
}

int Route(const char* src, const char* dst) {
  pix::RouteMatch m = pix::LookUpRoute(src, dst);
  switch (m.kind) {
    case pix::RouteMatch::NoMatch: std::printf("none\n"); return 1;
    case pix::RouteMatch::CatchAll: std::printf("catch-all %s\n", pix::kCatchAllConverter); return 0;
    default: std::printf("%d %s\n", m.route->number, pix::DescribeConverter(*m.route).c_str()); return 0;
  }
}

int Routes() {
  for (const pix::Route& r : pix::RouteTable()) {
    std::string src = r.source ? r.source : "(none)";
    if (r.source && r.compared != 4) src += " /" + std::to_string(r.compared);
    if (r.exactly3) src += " =3";
    std::string args;
    if (r.argCount >= 1) args = std::to_string(r.arg1);
    if (r.argCount >= 2) args += ", " + std::to_string(r.arg2);
    std::printf("%3d  %-16s %-6s %-28s %s%s\n", r.number, src.c_str(), r.target, args.empty() ? "-" : args.c_str(),
                pix::DescribeConverter(r).c_str(),
                !pix::IsPlaceholder(r.converter)    ? ""
                : r.decision == pix::Decision::None ? "  [layout unknown: recognises nothing]"
                                                    : "  [the first kind's layout unknown: recognises nothing]");
  }
  std::printf("catch-all  (any)  ");
  for (const char* t : pix::CatchAllTargets()) std::printf("%s ", t);
  std::printf(" %s\n", pix::kCatchAllConverter);
  return 0;
}

int Count(const char* kind, const char* src) {
  static const std::set<std::string> kinds = {"jpeg", "jpeg2", "png", "gif", "tiff",
                                              "bmp", "bmpelse", "dib", "ppt", "pps"};
  if (!kinds.count(kind)) return Usage("unknown KIND for count");
  int out = 0;
  int n;
  std::string k = kind;
  if (k == "jpeg") n = compteFichiers(src, &out);
  else if (k == "jpeg2") n = compteFichiers_2(src);
  else if (k == "png") n = compteFichiersPNG(src, &out);
  else if (k == "gif") n = compteFichiersGIF(src, &out);
  else if (k == "tiff") n = compteFichiersTIFF(src);
  else if (k == "bmp") n = compteFichiersBMP(src, &out);
  else if (k == "bmpelse") n = compteFichiersBMPelse(src, &out);
  else if (k == "dib") n = compteFichiersDIB(src, &out);
  else if (k == "ppt") n = compteFichiersPPT(src);
  else if (k == "pps") n = compteFichiers_PPS_jpeg(src);
  else return Usage("unknown KIND for count");
  std::printf("%d\n", n);
  return n >= 0 ? 0 : 1;
}

bool WriteBlock(const char* path, unsigned char* block, int size) {
  FILE* f = std::fopen(path, "wb");
  bool ok = f && std::fwrite(block, 1, static_cast<size_t>(size), f) == static_cast<size_t>(size);
  if (f && std::fclose(f) != 0) ok = false;
  pixFree(block);
  if (!ok) std::fprintf(stderr, "pixmisc: cannot write %s\n", path);
  return ok;
}

int Preview(int argc, char** argv) {
  const char* src = nullptr;
  const char* out = nullptr;
  bool multi = false;
  int index = 0;
  for (int i = 0; i < argc; ++i) {
    if (!std::strcmp(argv[i], "-o") && i + 1 < argc) out = argv[++i];
    else if (!std::strcmp(argv[i], "--index") && i + 1 < argc) { multi = true; index = std::atoi(argv[++i]); }
    else if (!src && argv[i][0] != '-') src = argv[i];
    else return Usage("preview takes SRC [--index N] -o OUT");
  }
  if (!src || !out) return Usage("preview takes SRC [--index N] -o OUT");
  unsigned char* block = nullptr;
  int size = multi ? seeMultiMISC(src, index, &block) : seeMISC(src, &block);
  const char* name = multi ? pix::MultiConverterName(src) : pix::SingleConverterName(src);
  if (size <= 0 || !block) {
    if (!*name) std::fprintf(stderr, "pixmisc: no preview converter handles %s\n", src);
    else std::fprintf(stderr, "pixmisc: %s returned %d: no picture\n", name, size);
    return 1;
  }
  if (!WriteBlock(out, block, size)) return 1;
  std::printf("%s: %d bytes written to %s\n", name, size, out);
  return 0;
}

int Thumbnail(int argc, char** argv) {
  if (argc != 3 || std::strcmp(argv[1], "-o")) return Usage("thumbnail takes SRC -o OUT");
  unsigned char* block = nullptr;
  int size = extract_thumbnail_from_jpeg(argv[0], &block);
  if (size <= 0 || !block) {
    std::fprintf(stderr, "pixmisc: %s holds no Exif thumbnail\n", argv[0]);
    return 1;
  }
  return WriteBlock(argv[2], block, size) ? 0 : 1;
}

int Frames(const char* src) {
  std::string ext = fs::path(src).extension().string();
  for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  int n = ext == ".flm" ? get_nb_frames_from_flm(src) : get_nb_frames_from_flc(src);
  std::printf("%d\n", n);
  return n > 0 ? 0 : 1;
}

// The characters `ascii` draws with when --chars is not given, dark to light.
constexpr const char* kDefaultRamp = " .:-=+*#%@";

int Ascii(int argc, char** argv) {
  if (argc < 2) return Usage("ascii takes SRC DST [options]");
  int average = 0, invert = 0, columns = 0, rows = 0;
  const char* chars = kDefaultRamp;
  for (int i = 2; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--average")) average = 1;
    else if (!std::strcmp(argv[i], "--invert")) invert = 1;
    else if (!std::strcmp(argv[i], "--columns") && i + 1 < argc) columns = std::atoi(argv[++i]);
    else if (!std::strcmp(argv[i], "--rows") && i + 1 < argc) rows = std::atoi(argv[++i]);
    else if (!std::strcmp(argv[i], "--chars") && i + 1 < argc) chars = argv[++i];
    else return Usage("unknown option for ascii");
  }
  if (!*chars) return Usage("--chars needs at least one character");
  if (const std::string why = CannotStart(argv[0], argv[1]); !why.empty()) {
    std::fprintf(stderr, "pixmisc: %s\n", why.c_str());
    return 1;
  }
  int r = PGMtoASCII(argv[0], argv[1], 0, average, invert, columns, rows, chars);
  if (r != 1) std::fprintf(stderr, "pixmisc: no text was written (%s is not a binary PGM picture)\n", argv[0]);
  return r == 1 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage("missing COMMAND");
  std::string cmd = argv[1];
  if (cmd == "--help" || cmd == "-h" || cmd == "help") {
    std::fputs(kUsage, stdout);
    return 0;
  }
  if (cmd == "--version") {
    std::printf("pixmisc %s\n", pixVersion());
    return 0;
  }
  int n = argc - 2;
  char** a = argv + 2;
  if (cmd == "convert") return n == 2 ? Convert(a[0], a[1]) : Usage("convert takes SRC DST");
  if (cmd == "route") return n == 2 ? Route(a[0], a[1]) : Usage("route takes SRC DST");
  if (cmd == "routes") return n == 0 ? Routes() : Usage("routes takes no arguments");
  if (cmd == "count") return n == 2 ? Count(a[0], a[1]) : Usage("count takes KIND SRC");
  if (cmd == "preview") return Preview(n, a);
  if (cmd == "thumbnail") return Thumbnail(n, a);
  if (cmd == "frames") return n == 1 ? Frames(a[0]) : Usage("frames takes SRC");
  if (cmd == "ascii") return Ascii(n, a);
  if (cmd == "batch") return pixcli::Batch(n, a);
  return Usage(("unknown command '" + cmd + "'").c_str());
}
