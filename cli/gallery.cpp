// The contact sheet of a batch run: index.html in the output folder, with a
// PNG thumbnail (made through MagickCore) of every output it can read, the
// source, route and result under each, and the messages of failures.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "cli/batch.h"
#include "common/magick.h"
#include "common/paths.h"

namespace pixcli {
namespace {

namespace fs = std::filesystem;

std::string Html(const std::string& s) {
  std::string o;
  for (char c : s) {
    switch (c) {
      case '<': o += "&lt;"; break;
      case '>': o += "&gt;"; break;
      case '&': o += "&amp;"; break;
      case '"': o += "&quot;"; break;
      default: o += c;
    }
  }
  return o;
}

// Formats whose files carry no signature MagickCore could go by.
const std::map<std::string, std::string> kPrefix = {{".tga", "TGA:"}, {".pct", "PICT:"}, {".wlm", "TGA:"}};

// A thumbnail of the first picture of `path`, through MagickCore.
bool Thumbnail(const std::string& path, const std::string& png) {
  auto prefix = kPrefix.find(pix::Lower(fs::path(path).extension().string()));
  const std::string name = (prefix == kPrefix.end() ? "" : prefix->second) + path;
  return pix::MagickThumbnail(name, png) && fs::exists(png);
}

}  // namespace

void WriteGallery(const std::string& outDir, const std::vector<FileReport>& files) {
  const fs::path thumbs = fs::path(outDir) / "thumbs";
  std::error_code ec;
  fs::create_directories(thumbs, ec);
  std::ofstream html(fs::path(outDir) / "index.html");
  html << "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>Pixmisc contact sheet</title>\n"
          "<style>body{font:13px sans-serif;background:#eee}figure{display:inline-block;vertical-align:top;"
          "width:180px;margin:6px;padding:6px;background:#fff;border:1px solid #ccc}figure img{display:block;"
          "margin:auto;image-rendering:pixelated}.none{height:60px;background:#ddd;color:#666;text-align:center;"
          "line-height:60px}.failed{border-color:#c33}.failed pre{color:#c33;white-space:pre-wrap}"
          "figcaption{word-break:break-all}</style>\n"
          // once everything has loaded, the body says how many pictures did not
          "<script>window.addEventListener('load', () => { const all = [...document.images];"
          " document.body.dataset.images = all.length;"
          " document.body.dataset.broken = all.filter(i => !i.complete || i.naturalWidth === 0).length; });"
          "</script></head>\n<body>\n<h1>Pixmisc contact sheet</h1>\n";
  int n = 0;
  for (const FileReport& r : files) {
    if (r.status == "skipped" || r.status == "not started") continue;
    const std::string name = fs::path(r.source).filename().string();
    const std::string caption = Html(name) + "<br>route " + std::to_string(r.route) + " " + Html(r.converter) +
                                "<br>result " + std::to_string(r.result);
    if (r.status != "converted") {
      html << "<figure class=\"failed\"><div class=\"none\">failed</div><figcaption>" << caption << "<pre>";
      for (const std::string& m : r.messages) html << Html(m) << "\n";
      html << "</pre></figcaption></figure>\n";
      continue;
    }
    for (const Output& o : r.outputs) {
      const std::string png = (thumbs / (std::to_string(++n) + ".png")).string();
      html << "<figure>";
      if (Thumbnail(o.path, png))
        html << "<img src=\"thumbs/" << n << ".png\" alt=\"" << Html(fs::path(o.path).filename().string()) << "\">";
      else
        html << "<div class=\"none\">no preview</div>";
      html << "<figcaption>" << Html(fs::path(o.path).filename().string()) << "<br>from " << caption
           << "</figcaption></figure>\n";
    }
  }
  html << "</body></html>\n";
}

}  // namespace pixcli
