#include "common/series.h"

#include "common/paths.h"
#include "platform/platform.h"

namespace pix {

namespace {

// Encodes into the file at path; a file that could not be written whole is
// removed.
bool WriteFileAt(const char* path, const Encoder& encode) {
  Sink out;
  if (!out.open(path)) return false;
  bool good = encode(out);
  good = out.close() && good;
  if (!good) platform::DeleteFile(path);
  return good;
}

}  // namespace

int WriteOne(const ConvertCall& call, const Encoder& encode) {
  if (call.memoryMode()) {
    Sink out;
    out.openMemory();
    if (!encode(out) || out.failed()) return 0;
    return out.release(call.out);
  }
  return WriteFileAt(call.target, encode) ? 1 : 0;
}

int ConvertWhole(const ConvertCall& call, const PictureDecoder& decode, const PictureWriter& write, std::size_t maxBytes) {
  Bytes source;
  if (!call.source || !ReadWholeFile(call.source, source, maxBytes)) return 0;
  Image img;
  if (!decode(source, img)) return 0;
  return WriteOne(call, [&](Sink& out) { return write(out, img); });
}

Series::Series(const ConvertCall& call, const char* suffix) : call_(call), suffix_(suffix) {
  wanted_ = call.arg1 > 0 ? call.arg1 : 1;
}

bool Series::wantsNext() const { return call_.memoryMode() ? !have_ && number_ == wanted_ : true; }

bool Series::done() const { return call_.memoryMode() && have_; }

bool Series::add(const Encoder& encode) {
  const int n = number_++;
  if (call_.memoryMode()) {
    if (have_ || n != wanted_) return true;
    Sink out;
    out.openMemory();
    if (!encode(out) || out.failed()) return false;
    block_ = out.memory();
    have_ = true;
    return true;
  }
  const std::string name = SiblingName(call_.target, call_.source, suffix_.c_str(), n);
  if (name.empty()) return false;
  if (!WriteFileAt(name.c_str(), encode)) return false;
  ++written_;
  return true;
}

int Series::finish() {
  if (!call_.memoryMode()) return written_;
  if (!have_ || block_.empty()) return 0;
  return HandOver(block_, call_.out);
}

}  // namespace pix
