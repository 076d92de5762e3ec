// FLI and FLC animations (Autodesk Animator): frames decoded one after the
// other into an 8-bit frame buffer and a 256-colour palette, and written as
// binary PPM pictures. The animation holds the N frames of its header plus
// the closing frame that loops back to the first. `FLItoPPM` with frame -1
// writes every frame as "<target name>_%03d.ppm" beside the target (numbered
// from 1) and returns N + 1; with a frame number it returns that frame's PPM
// in memory. A prefix chunk (0xF100) before the first frame is passed over; a
// frame cut short by the end of the file is still written and ends the walk,
// the result then counting the frames written. All decoder state belongs to
// the call.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "common/budget.h"
#include "common/files.h"
#include "common/image.h"
#include "common/paths.h"
#include "common/reader.h"
#include "pixmisc.h"

namespace pix {
namespace {

constexpr int kShortRead = -1;
constexpr int kNoMemory = -2;
constexpr std::size_t kFileHeader = 128;
constexpr std::size_t kFrameHeader = 16;
constexpr std::uint16_t kFrameMagic = 0xF1FA;
constexpr std::uint16_t kPrefixMagic = 0xF100;

struct FliHeader {
  std::uint16_t magic = 0, frames = 0, width = 0, height = 0;
};

// 0 when the header was read, otherwise kShortRead.
int ReadFliHeader(InFile& in, FliHeader& h) {
  std::uint8_t b[kFileHeader];
  if (in.read(b, kFileHeader) != kFileHeader) return kShortRead;
  ByteReader r(b, kFileHeader);
  h.magic = r.u16leAt(4);
  h.frames = r.u16leAt(6);
  h.width = r.u16leAt(8);
  h.height = r.u16leAt(10);
  return 0;
}

bool KnownMagic(const FliHeader& h) { return h.magic == 0xAF11 || h.magic == 0xAF12; }

class FliDecoder {
 public:
  bool init(int w, int h) {
    const std::uint64_t n = CheckedSize(static_cast<std::uint64_t>(w), static_cast<std::uint64_t>(h), 1);
    if (n == 0) return false;
    try {
      frame_.assign(static_cast<std::size_t>(n), 0);
    } catch (...) {
      return false;
    }
    w_ = w;
    h_ = h;
    return true;
  }

  void applyChunks(const std::uint8_t* data, std::size_t size, unsigned chunks) {
    std::size_t off = 0;
    for (unsigned i = 0; i < chunks && off + 6 <= size; ++i) {
      ByteReader head(data + off, size - off);
      const std::uint32_t chunkSize = head.u32le();
      const std::uint16_t type = head.u16le();
      if (chunkSize < 6) break;
      const std::size_t end = chunkSize > size - off ? size : off + chunkSize;
      ByteReader r(data + off + 6, end - off - 6);
      switch (type) {
        case 11: palette(r, 2); break;
        case 4: palette(r, 0); break;
        case 7: wordDelta(r); break;
        case 12: lineDelta(r); break;
        case 15: byteRun(r); break;
        default: break;  // black frames, copies and the rest leave the frame as it is
      }
      if (end == size) break;
      off = end;
    }
  }

  void writePpm(Sink& out) const {
    out.printf("P6\n%d %d 255\n", w_, h_);
    std::vector<std::uint8_t> row(3 * static_cast<std::size_t>(w_));
    for (int y = 0; y < h_; ++y) {
      const std::uint8_t* src = frame_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(w_);
      for (int x = 0; x < w_; ++x) {
        row[3 * x] = red_[src[x]];
        row[3 * x + 1] = green_[src[x]];
        row[3 * x + 2] = blue_[src[x]];
      }
      if (!out.write(row.data(), row.size())) return;
    }
  }

 private:
  void put(int x, int y, std::uint8_t v) {
    if (x >= 0 && x < w_ && y >= 0 && y < h_) frame_[static_cast<std::size_t>(y) * static_cast<std::size_t>(w_) + x] = v;
  }

  // Packets of (index skip, count (0 = 256), count RGB triples).
  void palette(ByteReader& r, int shift) {
    const unsigned packets = r.u16le();
    unsigned index = 0;
    for (unsigned p = 0; p < packets && !r.bad(); ++p) {
      index = (index + r.u8()) & 255;
      unsigned count = r.u8();
      if (count == 0) count = 256;
      for (unsigned i = 0; i < count && !r.bad(); ++i, ++index) {
        const std::uint8_t cr = r.u8(), cg = r.u8(), cb = r.u8();
        if (r.bad()) break;
        if (index < 256) {
          red_[index] = static_cast<std::uint8_t>(cr << shift);
          green_[index] = static_cast<std::uint8_t>(cg << shift);
          blue_[index] = static_cast<std::uint8_t>(cb << shift);
        }
      }
    }
  }

  // FLC word delta: per line entry, skip words (above 32768) then a packet
  // count; packets of (column skip, signed count of pixel pairs).
  void wordDelta(ByteReader& r) {
    const unsigned lines = r.u16le();
    int y = 0;
    for (unsigned e = 0; e < lines && y < h_ && !r.bad(); ++e) {
      unsigned word = r.u16le();
      while (word > 32768 && !r.bad() && y < h_) {
        y += static_cast<int>(65536 - word);
        word = r.u16le();
      }
      if (r.bad() || y >= h_) break;
      int x = 0;
      for (unsigned p = 0; p < word && !r.bad(); ++p) {
        x += r.u8();
        const int count = r.s8();
        if (count < 0) {
          const std::uint8_t a = r.u8(), b = r.u8();
          if (r.bad()) break;
          for (int i = 0; i < -count; ++i, x += 2) {
            put(x, y, a);
            put(x + 1, y, b);
          }
        } else {
          for (int i = 0; i < count; ++i, x += 2) {
            const std::uint8_t a = r.u8(), b = r.u8();
            if (r.bad()) break;
            put(x, y, a);
            put(x + 1, y, b);
          }
        }
      }
      ++y;
    }
  }

  // FLI line delta: first line, line count; per line packets of (column skip,
  // signed count: negative repeats one byte, positive copies bytes).
  void lineDelta(ByteReader& r) {
    const int first = r.u16le();
    const unsigned count = r.u16le();
    for (unsigned l = 0; l < count && !r.bad(); ++l) {
      const int y = first + static_cast<int>(l);
      if (y >= h_) break;
      const unsigned packets = r.u8();
      int x = 0;
      for (unsigned p = 0; p < packets && !r.bad(); ++p) {
        x += r.u8();
        const int n = r.s8();
        if (n < 0) {
          const std::uint8_t v = r.u8();
          if (r.bad()) break;
          for (int i = 0; i < -n; ++i) put(x++, y, v);
        } else {
          for (int i = 0; i < n; ++i) {
            const std::uint8_t v = r.u8();
            if (r.bad()) break;
            put(x++, y, v);
          }
        }
      }
    }
  }

  // Byte run over the whole frame: per line a packet count; packets of a
  // signed count (negative copies bytes, positive repeats the next byte).
  void byteRun(ByteReader& r) {
    for (int y = 0; y < h_ && !r.bad(); ++y) {
      const unsigned packets = r.u8();
      int x = 0;
      for (unsigned p = 0; p < packets && !r.bad(); ++p) {
        const int n = r.s8();
        if (n < 0) {
          for (int i = 0; i < -n; ++i) {
            const std::uint8_t v = r.u8();
            if (r.bad()) break;
            put(x++, y, v);
          }
        } else {
          const std::uint8_t v = r.u8();
          if (r.bad()) break;
          for (int i = 0; i < n; ++i) put(x++, y, v);
        }
      }
    }
  }

  int w_ = 0, h_ = 0;
  std::vector<std::uint8_t> frame_;
  std::uint8_t red_[256] = {}, green_[256] = {}, blue_[256] = {};
};

// Decodes frames 1 .. last and hands every frame numbered `start` or more to
// `emit`, which returns false to stop with 0 (a failed write) or, having taken
// the one wanted frame, sets `done`. Returns N + 1 after the last frame, or a
// failure code.
template <class Emit>
int WalkFrames(InFile& in, int start, int count, Emit emit) {
  FliHeader h;
  if (ReadFliHeader(in, h) != 0) return kShortRead;
  if (!KnownMagic(h)) return 0;
  FliDecoder dec;
  if (!dec.init(h.width, h.height)) return kNoMemory;
  const int total = h.frames + 1;
  if (start < 1 || start > total) return 0;
  int last = count < 1 ? total : start - 1 + count;
  if (last > total) last = total;

  const std::int64_t fileSize = in.size();
  std::vector<std::uint8_t> data;
  for (int f = 1; f <= last; ++f) {
    std::uint8_t fh[kFrameHeader];
    if (in.read(fh, kFrameHeader) != kFrameHeader) return kShortRead;
    ByteReader r(fh, kFrameHeader);
    std::uint32_t frameSize = r.u32leAt(0);
    if (f == 1 && r.u16leAt(4) == kPrefixMagic) {
      // Animator Pro's prefix chunk (settings, no picture) comes before the
      // first frame: passed over by its size.
      if (frameSize < kFrameHeader || !in.seekCur(static_cast<std::int64_t>(frameSize) - static_cast<std::int64_t>(kFrameHeader)))
        return 0;
      if (in.read(fh, kFrameHeader) != kFrameHeader) return kShortRead;
      frameSize = r.u32leAt(0);
    }
    if (r.u16leAt(4) != kFrameMagic) return 0;
    const unsigned chunks = r.u16leAt(6);
    bool cut = false;
    if (frameSize > kFrameHeader) {
      const std::uint64_t need = frameSize - kFrameHeader;
      const std::int64_t left = std::max<std::int64_t>(0, fileSize - in.tell());
      // A frame cut short by the end of the file is decoded from what it
      // holds, the missing bytes read as zeros, and ends the animation. No
      // chunk takes more than a few bytes per pixel, so the zeros of a frame
      // that claims far more than the file holds stop well before its size.
      cut = static_cast<std::int64_t>(need) > left;
      const std::size_t have = cut ? static_cast<std::size_t>(left) : static_cast<std::size_t>(need);
      const std::uint64_t pad = 8 * std::uint64_t(h.width) * std::uint64_t(h.height) + 65536;
      const std::size_t size = static_cast<std::size_t>(cut ? std::min<std::uint64_t>(need, have + pad) : need);
      try {
        if (data.size() < size) data.resize(size);
      } catch (...) {
        return kNoMemory;
      }
      if (in.read(data.data(), have) != have) return kShortRead;
      std::fill(data.begin() + static_cast<std::ptrdiff_t>(have), data.begin() + static_cast<std::ptrdiff_t>(size), 0);
      dec.applyChunks(data.data(), size, chunks);
    }
    if (f >= start) {
      bool done = false;
      if (!emit(f, dec, done)) return 0;
      if (done) return 1;
    }
    if (cut) return f >= start ? f - start + 1 : 0;
  }
  return total;
}

}  // namespace
}  // namespace pix

extern "C" int FLItoPPM(const char* source, const char* target, int frame, unsigned char** out) {
  return pix::InCallScope(source, [&]() -> int {
    using namespace pix;
    if (frame == -1) {
      if (!target || !*target) return 0;
      InFile in(source);
      if (!in) return 0;
      const SplitPath t = Split(target);
      return WalkFrames(in, 1, 0, [&](int f, const FliDecoder& dec, bool&) {
        const std::string name = FormatPath("%s%s%s_%03d.ppm", t.drive.c_str(), t.dir.c_str(), t.name.c_str(), f);
        Sink ppm;
        if (name.empty() || !ppm.open(name.c_str())) return false;
        dec.writePpm(ppm);
        return ppm.close();
      });
    }
    if (!out) return 0;
    InFile in(source);
    if (!in) return 0;
    Sink ppm;
    ppm.openMemory();
    const int r = WalkFrames(in, frame, 1, [&](int, const FliDecoder& dec, bool& done) {
      dec.writePpm(ppm);
      done = true;
      return !ppm.failed();
    });
    return r == 1 ? ppm.release(out) : 0;
  });
}

extern "C" int get_nb_frames_from_flc(const char* path) {
  return pix::InCallScope(path, [&]() -> int {
    pix::InFile in(path);
    if (!in) return -1;
    pix::FliHeader h;
    if (pix::ReadFliHeader(in, h) != 0) return -1;
    if (!pix::KnownMagic(h)) return 0;
    return h.frames;
  });
}
