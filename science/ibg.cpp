// ".ibg" pictures keep their FITS header in a separate file of the same name
// with ".hdr" beside them. The FITS file is the two joined: the header file's
// bytes, then the ".ibg" bytes, both unchanged.
#include <vector>

#include "common/paths.h"
#include "platform/platform.h"
#include "science/science.h"

namespace pix {

int IbgToFits(const ConvertCall& call) {
  SplitPath src = Split(call.source);
  // A source without a directory has its header in the working directory,
  // not at the root.
  std::string hdrPath = src.drive.empty() && src.dir.empty()
                            ? FormatPath("%s.hdr", src.name.c_str())
                            : FormatPath("%s%s\\%s.hdr", src.drive.c_str(), src.dir.c_str(), src.name.c_str());
  Bytes header;
  if (hdrPath.empty() || !ReadWholeFile(hdrPath.c_str(), header)) {
    platform::MessageBox("Could not find the HDR file, aborting...", platform::MessageIcon::Error);
    return 0;
  }
  bool memory = call.memoryMode();
  Sink out;
  if (!out.open(memory ? nullptr : call.target)) return 0;
  out.write(header);

  InFile in(call.source);
  if (!in) {
    out.close();
    if (!memory) platform::DeleteFile(call.target);
    return 0;
  }
  std::vector<std::uint8_t> block(4096);
  while (std::size_t n = in.read(block.data(), block.size())) out.write(block.data(), n);
  if (memory) return out.release(call.out);
  return out.close() ? 1 : 0;
}

}  // namespace pix
