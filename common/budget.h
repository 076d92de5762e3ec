// The work and output budget of one call, and the files it created.
//
// A file may not make one conversion take unbounded time or disk: each
// export call reads at most 64 x the source's size + 256 MiB (re-reads
// included), writes at most 64 x the source's size + 1 GiB and at most
// 100,000 files. The call's scope lives on the exporting function's stack;
// InFile and Sink charge it through a thread-local pointer, so converters
// need not pass it around and calls on other threads keep their own. When a
// budget runs out, reads behave as at the end of the file and writes fail,
// one line "budget exceeded: <what>" goes to the standard error stream, and
// the converter ends as it would at the end of its input.
//
// The scope also records the files the call created, so that a failed
// conversion can remove the empty ones it leaves behind.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pix {

struct BudgetLimits {
  std::uint64_t readBytes = 0;
  std::uint64_t writeBytes = 0;
  std::uint64_t files = 0;
  // The limits for a source of the given size (bytes; 0 when unknown).
  static BudgetLimits ForSource(std::uint64_t sourceSize);
};

class CallScope {
 public:
  // Opens the scope of an export call on this thread; a scope opened while
  // another is active (an export calling another) defers to the outer one.
  explicit CallScope(const char* source);
  CallScope(const char* source, const BudgetLimits& limits);
  ~CallScope();
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

  // Ends the call: when it failed, removes the files it created that are
  // still empty. Only the outermost scope acts.
  void finish(bool failed);

  // The active scope of this thread, or null outside any export call.
  static CallScope* Current();
  // Charges n bytes read / written / one file created; false once the
  // budget is spent (the message is printed once per kind).
  bool chargeRead(std::uint64_t n);
  bool chargeWrite(std::uint64_t n);
  bool chargeFile();
  bool exceeded() const { return exceeded_; }
  // A file opened for writing by this call; existed says whether it was there before.
  void recordCreated(const std::string& path, bool existed);

 private:
  void exceed(const char* what, bool& said);
  bool outer_ = false;
  BudgetLimits limits_;
  std::uint64_t read_ = 0, written_ = 0, files_ = 0;
  bool exceeded_ = false, saidRead_ = false, saidWrite_ = false, saidFiles_ = false;
  std::vector<std::string> created_;
};

// Runs an export's body inside a call scope: a result of 0 or less counts as
// a failure, whose empty targets are removed.
template <class Body>
int InCallScope(const char* source, Body&& body) {
  CallScope scope(source);
  const int n = body();
  scope.finish(n <= 0);
  return n;
}

// For work that walks a source without reading it through InFile (skipping
// over records by seeking, re-walking bytes held in memory): charges n bytes
// to this thread's call, if any. False once the budget is spent.
bool ChargeRead(std::uint64_t n);
// True when this thread's call has spent a budget: scanners stop there.
bool BudgetSpent();

}  // namespace pix
