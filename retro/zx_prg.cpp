// A Spectrum screen (.scr) wrapped as a DISCiPLE/+D program file: the type
// byte 0x05, the screen, then a program body kept beside the host program or
// beside the source as "PRGCORPS.bin". Without that body the result is 0 and
// the target keeps what was written up to then.
#include "common/files.h"
#include "common/paths.h"
#include "platform/platform.h"
#include "retro/retro.h"

namespace pix {
namespace {

bool CopyAll(InFile& in, Sink& out) {
  std::uint8_t buf[1024];
  std::size_t n;
  while ((n = in.read(buf, sizeof buf)) > 0) out.write(buf, n);
  return !out.failed();
}

}  // namespace

int ZxScreenToPrg(const ConvertCall& call) {
  if (!call.source || call.memoryMode()) return 0;
  Sink out;
  if (!out.open(call.target)) return 0;
  out.put8(0x05);
  InFile screen(call.source);
  if (!screen) return 0;
  CopyAll(screen, out);
  // The body is looked for beside the host program, then beside the source.
  InFile body((platform::HostProgramDir() + "PRGCORPS.bin").c_str());
  if (!body) {
    const SplitPath src = Split(call.source);
    const std::string besideSource = src.dir.empty() ? FormatPath("%sPRGCORPS.bin", src.drive.c_str())
                                                     : FormatPath("%s%s\\PRGCORPS.bin", src.drive.c_str(), src.dir.c_str());
    if (besideSource.empty() || !body.open(besideSource.c_str())) return 0;
  }
  CopyAll(body, out);
  return out.close() ? 1 : 0;
}

}  // namespace pix
