// Picture packages (.ipg): the program scanner's extraction, followed by a
// small log "<source>.log" beside the target with the counts found:
// "[FILES]", "jpeg=<n>", "bmp=0", "gif=0", lines ending in CR LF.
#include "common/files.h"
#include "common/paths.h"
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int LoggedProgramScan(const ConvertCall& call) {
  if (call.memoryMode()) return 0;
  int found = ProgramScan(call);
  std::string log = InTargetDir(call.target, Split(call.source).name + ".log");
  Sink sink;
  if (!log.empty() && sink.open(log.c_str())) {
    sink.puts("[FILES]\r\n");
    sink.printf("jpeg=%d\r\n", found);
    sink.printf("bmp=%d\r\n", 0);
    sink.printf("gif=%d\r\n", 0);
    sink.close();
  }
  return found;
}

}  // namespace pix
