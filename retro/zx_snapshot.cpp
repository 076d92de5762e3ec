// A Spectrum snapshot of any 48K kind to the TIFF of its screen. The snapshot
// is read into one state, written as an SNA image in memory, and the TIFF is
// made from that image's screen. A source of an unknown name is taken only
// when it is a raw 49161-byte RAM dump.
#include "common/console.h"
#include "platform/platform.h"
#include "retro/retro.h"
#include "retro/zx.h"

namespace pix {

int ZxSnapshotToTiff(const ConvertCall& call) {
  const int missing = call.memoryMode() ? 0 : 4;
  if (!call.source || !platform::FileExists(call.source)) return missing;
  ZxKind kind = ZxKindOf(call.source);
  if (kind == ZxKind::Tif) return missing;
  Bytes file;
  if (!ReadWholeFile(call.source, file, kZxMaxFile)) return kind == ZxKind::Unknown ? 0 : missing;
  if (kind == ZxKind::Unknown) {
    if (file.size() != 49161) return 0;
    kind = ZxKind::Raw;
  }
  ZxSnapshot snap;
  ZxRead r = ReadZxSnapshot(file, kind, snap);
  if (r == ZxRead::Corrupt && kind == ZxKind::Z80) PrintErr("%s", kZ80Corrupt);
  if (r != ZxRead::Ok) return 0;
  Bytes sna = ZxSnapshotToSna(snap);
  return DeliverZxTiff(call, sna.data() + kZxSnaHeader);
}

}  // namespace pix
