// How an open converter hands over what it decoded, in file and memory mode
// alike.
//
// WriteOne: a converter that produces exactly one picture writes the target
// path itself and returns 1 (0 when it could not), or in memory mode returns
// the block's size. ConvertWhole is the whole of most such converters: the
// source read (at most maxBytes), decoded into a picture, handed to a writer.
//
// Series: a converter that can produce several pictures writes them beside
// the target as "<target drive and directory><source name>_%04d.<ext>",
// numbered from 1, and returns the number of files written. In memory mode
// only the wanted picture is encoded (the call's arg1, 1 when it is 0 or
// less) and its size returned; a number past the last picture gives 0.
#pragma once

#include <functional>
#include <string>

#include "common/call.h"
#include "common/files.h"
#include "common/image.h"

namespace pix {

using Encoder = std::function<bool(Sink&)>;

int WriteOne(const ConvertCall& call, const Encoder& encode);

using PictureDecoder = std::function<bool(const Bytes& source, Image& img)>;
using PictureWriter = std::function<bool(Sink& out, const Image& img)>;
int ConvertWhole(const ConvertCall& call, const PictureDecoder& decode, const PictureWriter& write,
                 std::size_t maxBytes = std::size_t(1) << 30);

class Series {
 public:
  // suffix: a printf pattern for the number, e.g. "_%04d.bmp".
  Series(const ConvertCall& call, const char* suffix);
  Series(const Series&) = delete;
  Series& operator=(const Series&) = delete;

  // Whether the next picture (number next()) is wanted at all: always in
  // file mode; in memory mode only the wanted one. Converters whose pictures
  // are costly to decode ask before decoding.
  bool wantsNext() const;
  int next() const { return number_; }
  // Writes the next picture (or skips it when it is not wanted) and moves
  // on. False when a file could not be written (nothing is counted then).
  bool add(const Encoder& encode);
  // Skips a picture number without writing it (a damaged picture that keeps
  // its place in the numbering).
  void skip() { ++number_; }
  // True once memory mode has its picture: the converter may stop.
  bool done() const;
  // The converter's result: files written, or the memory block's size.
  int finish();

 private:
  const ConvertCall& call_;
  std::string suffix_;
  int number_ = 1;
  int written_ = 0;
  int wanted_ = 1;
  Bytes block_;
  bool have_ = false;
};

}  // namespace pix
