#include "common/budget.h"

#include "common/console.h"
#include "platform/platform.h"

namespace pix {
namespace {

thread_local CallScope* tCurrent = nullptr;

std::uint64_t SourceSize(const char* path) {
  long long size = path && *path ? platform::FileSize(path) : -1;
  return size > 0 ? static_cast<std::uint64_t>(size) : 0;
}

std::uint64_t SatMulAdd(std::uint64_t a, std::uint64_t m, std::uint64_t b) {
  if (a > (UINT64_MAX - b) / m) return UINT64_MAX;
  return a * m + b;
}

}  // namespace

BudgetLimits BudgetLimits::ForSource(std::uint64_t size) {
  BudgetLimits l;
  l.readBytes = SatMulAdd(size, 64, std::uint64_t(256) << 20);
  l.writeBytes = SatMulAdd(size, 64, std::uint64_t(1) << 30);
  l.files = 100000;
  return l;
}

CallScope::CallScope(const char* source) : CallScope(source, BudgetLimits::ForSource(SourceSize(source))) {}

CallScope::CallScope(const char*, const BudgetLimits& limits) : limits_(limits) {
  if (tCurrent) return;  // nested: the outer scope keeps the accounts
  outer_ = true;
  tCurrent = this;
}

CallScope::~CallScope() {
  if (outer_) tCurrent = nullptr;
}

CallScope* CallScope::Current() { return tCurrent; }

void CallScope::exceed(const char* what, bool& said) {
  exceeded_ = true;
  if (!said) PrintErr("budget exceeded: %s\n", what);
  said = true;
}

bool CallScope::chargeRead(std::uint64_t n) {
  if (read_ + n < read_ || read_ + n > limits_.readBytes) {
    exceed("bytes read", saidRead_);
    return false;
  }
  read_ += n;
  return true;
}

bool CallScope::chargeWrite(std::uint64_t n) {
  if (written_ + n < written_ || written_ + n > limits_.writeBytes) {
    exceed("bytes written", saidWrite_);
    return false;
  }
  written_ += n;
  return true;
}

bool CallScope::chargeFile() {
  if (files_ + 1 > limits_.files) {
    exceed("files written", saidFiles_);
    return false;
  }
  ++files_;
  return true;
}

bool ChargeRead(std::uint64_t n) {
  CallScope* scope = CallScope::Current();
  return !scope || scope->chargeRead(n);
}

bool BudgetSpent() {
  CallScope* scope = CallScope::Current();
  return scope && scope->exceeded();
}

void CallScope::recordCreated(const std::string& path, bool existed) {
  if (!existed) created_.push_back(path);
}

void CallScope::finish(bool failed) {
  if (!outer_ || !failed) return;
  for (const std::string& path : created_) {
    if (platform::FileSize(path) == 0) platform::DeleteFile(path);
  }
}

}  // namespace pix
