// The Spectrum pieces shared by the snapshot and screen converters: the
// 48K snapshot state every snapshot kind is read into, the kind taken from a
// file name, the readers, and the 4-bit palette TIFF of a Spectrum screen.
#pragma once

#include <cstdint>
#include <vector>

#include "common/call.h"
#include "common/files.h"

namespace pix {

inline constexpr std::size_t kZxScreenBytes = 6912;
inline constexpr std::size_t kZxRamBytes = 49152;
inline constexpr std::size_t kZxSnaHeader = 27;
inline constexpr std::size_t kZxSnaBytes = kZxSnaHeader + kZxRamBytes;  // 49179
inline constexpr std::size_t kZxTiffBytes = 25088;

// The 27-byte SNA register header and the RAM from 0x4000 to 0xFFFF.
struct ZxSnapshot {
  std::uint8_t header[kZxSnaHeader] = {};
  std::vector<std::uint8_t> ram = std::vector<std::uint8_t>(kZxRamBytes, 0);
  bool pushPc = true;  // readers push a stored program counter on the stack

  std::uint8_t border() const { return header[26]; }
  const std::uint8_t* screen() const { return ram.data(); }
};

// Snapshot kinds, numbered as the snapshot converter numbers them.
enum class ZxKind {
  Raw = 1,      // 49161 bytes: a 9-byte CODE header and the RAM
  Sna = 2,
  Sp = 3,
  Z80 = 4,
  Prg = 5,
  Ach = 6,
  Zx = 7,
  Snx = 8,
  Sit = 9,
  Unknown = 10,
  Tif = 11,
  Sem = 12,
};

// The kind a file's extension names (".zx" compared over 3 characters, the
// others over 4). Never returns Raw: that one is decided by the size.
ZxKind ZxKindOf(const char* path);

enum class ZxRead {
  Ok,
  WrongSize,    // the size does not fit the kind
  Corrupt,      // a Z80 or SNX stream that cannot be decoded
  Unsupported,  // not a snapshot kind
};

// Reads a whole snapshot of the given kind. Unknown is read by the SNA layout
// and needs only the header and the screen. With pushPc false, a program
// counter stored as a register is not pushed: the RAM stays as stored (the
// screen converter wants the screen as it was saved, even with the stack in it).
ZxRead ReadZxSnapshot(const Bytes& file, ZxKind kind, ZxSnapshot& out, bool pushPc = true);

// The state as an SNA file (49179 bytes).
Bytes ZxSnapshotToSna(const ZxSnapshot& snap);

// The message for a Z80 file that cannot be decoded.
inline constexpr const char* kZ80Corrupt = "Z80 image corrupted, can't convert\n";

// Writes the 25088-byte big-endian palette TIFF of a 6912-byte screen.
bool WriteZxTiff(Sink& out, const std::uint8_t* screen);

}  // namespace pix

namespace pix {

// Largest snapshot file read (a 128K Z80 with every page stored is ~131K).
inline constexpr std::size_t kZxMaxFile = std::size_t(1) << 20;

// Writes the TIFF of a screen to the call's target, or builds it in memory:
// 1 for a file, the byte count in memory mode, 0 on failure.
int DeliverZxTiff(const ConvertCall& call, const std::uint8_t* screen);

}  // namespace pix
