// pixmisc batch: whole folders converted on several threads, with progress,
// a JSON report and a contact sheet.
#pragma once

#include <string>
#include <vector>

namespace pixcli {

// One output of a conversion, where it ended up.
struct Output {
  std::string path;
  unsigned long long bytes = 0;
};

// What happened to one source file.
struct FileReport {
  std::string source;         // as found under the source folder
  std::string target;         // the target path asked for
  int route = 0;              // route row, -1 catch-all, 0 none
  std::string converter;
  int result = 0;
  std::string status;         // "converted", "failed", "skipped", "not started"
  std::vector<Output> outputs;
  double ms = 0;
  std::vector<std::string> messages;
};

// Writes index.html (and thumbs/) into outDir: a thumbnail of every output
// MagickCore can read, with the source, route and result under it, and the
// messages of the conversions that failed.
void WriteGallery(const std::string& outDir, const std::vector<FileReport>& files);

int Batch(int argc, char** argv);

}  // namespace pixcli
