// Helpers of the retro tests: the generated samples, and running a
// converter directly on bytes or in memory mode.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "common/call.h"
#include "support.h"

namespace retrotest {

using pixtest::Bytes;

inline std::string Sample(const std::string& name) { return std::string(pixtest::kSourceDir) + "/samples/" + name; }
inline Bytes ReadSample(const std::string& name) { return pixtest::ReadFile(Sample(name)); }

struct Outcome {
  int result;
  std::string err;  // what the converter printed
};

// Writes `bytes` to dir/name and converts it to dir/target with `fn`.
inline Outcome Convert(pix::ConverterFn fn, const pixtest::Scratch& dir, const std::string& name, const Bytes& bytes,
                       const std::string& target) {
  const std::string src = dir.path(name), dst = dir.path(target);
  pixtest::WriteFile(src, bytes);
  pix::ConvertCall call;
  call.source = src.c_str();
  call.target = dst.c_str();
  testing::internal::CaptureStderr();
  const int n = fn(call);
  return {n, testing::internal::GetCapturedStderr()};
}

// The block `fn` hands over in memory mode (empty when none).
inline Bytes InMemory(pix::ConverterFn fn, const std::string& src) {
  unsigned char* block = nullptr;
  pix::ConvertCall call;
  call.source = src.c_str();
  call.out = &block;
  return pixtest::TakeBlock(block, fn(call));
}

}  // namespace retrotest
