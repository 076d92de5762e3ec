// StarImpress presentations (.sdd, StarOffice 3 to 5.2): OLE2 compound files
// whose streams carry the JPEG pictures placed on the slides with their
// original bytes. Every stream of the compound file is read through its
// sector chain (large streams through the FAT, small ones through the mini
// stream) and searched for JPEGs, in directory order; each JPEG whose markers
// hold together up to its end marker is written unchanged to
// "<source name>_%04d.jpg" beside the target, numbered from 1. A file that is
// not a compound file, or whose header or directory does not hold together,
// is searched as it stands. The result is the number of files written.
#include <cstdint>
#include <vector>

#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/embedded_pictures.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr std::size_t kMinJpeg = 128;
constexpr int kMaxPictures = 10000;

using Chain = std::vector<std::uint32_t>;

// The compound file's tables, read from the bytes of the whole file.
struct Compound {
  ByteReader file;
  std::size_t sectorSize = 512;
  std::uint32_t sectorCount = 0;
  std::uint32_t miniCutoff = 4096;
  std::vector<std::uint32_t> fat, miniFat;
  Bytes miniStream;

  ByteReader sector(std::uint32_t n) const { return file.sub((std::size_t(n) + 1) * sectorSize, sectorSize); }

  // The sectors of a chain; false when it leaves the file, loops or is cut.
  bool chain(std::uint32_t start, const std::vector<std::uint32_t>& table, std::uint32_t limit, Chain& out) const {
    out.clear();
    for (std::uint32_t s = start; s != kEndOfChain;) {
      if (s >= limit || s >= table.size() || out.size() >= limit) return false;
      out.push_back(s);
      s = table[s];
    }
    return true;
  }

  // A stream of the given size through the FAT.
  bool read(std::uint32_t start, std::uint64_t size, Bytes& out) const {
    Chain c;
    if (!chain(start, fat, sectorCount, c) || size > std::uint64_t(c.size()) * sectorSize) return false;
    out.clear();
    for (std::uint32_t s : c) {
      const ByteReader b = sector(s);
      out.insert(out.end(), b.data(), b.data() + b.size());
    }
    out.resize(static_cast<std::size_t>(size));
    return true;
  }

  // A small stream through the mini FAT, 64-byte sectors inside the mini stream.
  bool readMini(std::uint32_t start, std::uint64_t size, Bytes& out) const {
    const ByteReader mini(miniStream);
    const std::uint32_t miniCount = static_cast<std::uint32_t>(miniStream.size() / 64);
    Chain c;
    if (!chain(start, miniFat, miniCount, c) || size > std::uint64_t(c.size()) * 64) return false;
    out.clear();
    for (std::uint32_t s : c) {
      const ByteReader b = mini.sub(std::size_t(s) * 64, 64);
      out.insert(out.end(), b.data(), b.data() + b.size());
    }
    out.resize(static_cast<std::size_t>(size));
    return true;
  }
};

// Sector numbers listed in a table sector.
void AppendEntries(const ByteReader& sector, std::size_t count, std::vector<std::uint32_t>& to) {
  for (std::size_t i = 0; i < count; ++i) to.push_back(sector.u32leAt(4 * i));
}

bool OpenCompound(const ByteReader& r, Compound& cf) {
  static const std::uint8_t kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
  for (std::size_t i = 0; i < 8; ++i)
    if (r.at(i) != kSignature[i]) return false;
  const std::uint16_t shift = r.u16leAt(30);
  if ((shift != 9 && shift != 12) || r.u16leAt(32) != 6 || r.size() < (std::size_t(1) << shift)) return false;
  cf.file = r;
  cf.sectorSize = std::size_t(1) << shift;
  cf.sectorCount = static_cast<std::uint32_t>(r.size() / cf.sectorSize - 1);
  cf.miniCutoff = r.u32leAt(56);
  const std::size_t perSector = cf.sectorSize / 4;

  // The FAT sectors: 109 in the header, the rest in the DIFAT chain.
  const std::uint32_t fatSectors = r.u32leAt(44);
  if (fatSectors == 0 || fatSectors > cf.sectorCount) return false;
  std::vector<std::uint32_t> fatList;
  AppendEntries(r.sub(76, 436), 109, fatList);
  std::uint32_t difat = r.u32leAt(68);
  for (std::uint32_t n = r.u32leAt(72), k = 0; k < n && fatList.size() < fatSectors; ++k) {
    if (difat >= cf.sectorCount) return false;
    const ByteReader d = cf.sector(difat);
    AppendEntries(d, perSector - 1, fatList);
    difat = d.u32leAt(cf.sectorSize - 4);
  }
  if (fatList.size() < fatSectors) return false;
  for (std::uint32_t i = 0; i < fatSectors; ++i) {
    if (fatList[i] >= cf.sectorCount) return false;
    AppendEntries(cf.sector(fatList[i]), perSector, cf.fat);
  }

  // The mini FAT and the mini stream (the root entry's stream).
  const std::uint32_t miniFatStart = r.u32leAt(60);
  if (miniFatStart != kEndOfChain) {
    Chain c;
    if (!cf.chain(miniFatStart, cf.fat, cf.sectorCount, c)) return false;
    for (std::uint32_t s : c) AppendEntries(cf.sector(s), perSector, cf.miniFat);
  }
  return true;
}

void ScanForJpegs(const ByteReader& r, Series& series, int& found) {
  for (std::size_t at = FindBytes(r, 0, "\xFF\xD8\xFF"); at != kNotFound && found < kMaxPictures && !series.done() && ScanBudgetLeft();) {
    const std::size_t length = JpegStreamLength(r, at);
    if (length < kMinJpeg) {
      at = FindBytes(r, at + 1, "\xFF\xD8\xFF");
      continue;
    }
    ++found;
    const ByteReader jpeg = r.sub(at, length);
    if (!series.add([&](Sink& s) { return s.write(jpeg.data(), jpeg.size()); })) {
      found = kMaxPictures;
      return;
    }
    at = FindBytes(r, at + length, "\xFF\xD8\xFF");
  }
}

// Hands every stream of the compound file to `scan`, in directory order;
// false when its directory cannot be read. Streams that share sectors are
// read again each time, so the bytes handed over are bounded like a call's
// reads are.
template <class Scan>
bool ForEachStream(Compound& cf, Scan&& scan) {
  Bytes dir;
  Chain c;
  const std::uint32_t dirStart = cf.file.u32leAt(48);
  if (!cf.chain(dirStart, cf.fat, cf.sectorCount, c) || c.empty()) return false;
  if (!cf.read(dirStart, std::uint64_t(c.size()) * cf.sectorSize, dir)) return false;
  const ByteReader entries(dir);
  const bool v3 = cf.sectorSize == 512;
  auto sizeOf = [&](std::size_t e) {
    return v3 ? std::uint64_t(entries.u32leAt(e + 120))
              : std::uint64_t(entries.u32leAt(e + 120)) | std::uint64_t(entries.u32leAt(e + 124)) << 32;
  };
  if (entries.at(66) != 5) return false;  // the root comes first
  if (sizeOf(0) > 0 && !cf.read(entries.u32leAt(116), sizeOf(0), cf.miniStream)) return false;
  std::uint64_t handed = 0;
  const std::uint64_t limit = 64 * std::uint64_t(cf.file.size()) + kMaxStoredPicture;
  for (std::size_t e = 128; e + 128 <= dir.size(); e += 128) {
    if (entries.at(e + 66) != 2) continue;
    const std::uint64_t size = sizeOf(e);
    if (size == 0 || size > kMaxStoredPicture) continue;
    if ((handed += size) > limit) break;
    Bytes stream;
    const bool good = size < cf.miniCutoff ? cf.readMini(entries.u32leAt(e + 116), size, stream)
                                           : cf.read(entries.u32leAt(e + 116), size, stream);
    if (good && !scan(stream)) break;
  }
  return true;
}

}  // namespace

int SddToJpeg(const ConvertCall& call) {
  InFile in;
  FileWindow window(in);
  if (!LoadScanSource(call, in, window)) return 0;
  const ByteReader r = window.reader();
  Series series(call, "_%04d.jpg");
  int found = 0;
  Compound cf;
  const bool compound = OpenCompound(r, cf) && ForEachStream(cf, [&](const Bytes& stream) {
    ScanForJpegs(ByteReader(stream), series, found);
    return found < kMaxPictures && !series.done();
  });
  if (!compound && found == 0) ScanForJpegs(r, series, found);
  return series.finish();
}

}  // namespace pix
