// The route table: which converter turns which source extension into which
// target extension. It is the only place that knows routes.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "common/call.h"

namespace pix {

// What a converter's result means to the host.
enum class Result {
  Files,          // number of files written, 0 none
  ZeroIsSuccess,  // 0 success, anything else a failure
};

// Rows whose converter is not decided by the extensions alone.
enum class Decision {
  None,
  EmptySource,     // the source has no extension at all
  FallbackToPng,   // catalogue scanner; when it finds nothing, the PNG scanner
  FirstBytesFFFF,  // source begins FF FF: IMG to CMU form A, otherwise form B
  FirstBytesBmTp,  // source begins "BM" or "TP": BMP stream scanner, otherwise IMG to BMP
};

struct Route {
  int number;
  const char* source;   // extension literal with its dot (null: no extension)
  int compared;         // characters compared
  bool exactly3;        // the source extension must be exactly 3 characters long
  const char* target;   // compared over 4 characters
  const char* converterName;
  ConverterFn converter;
  int arg1, arg2;       // constant arguments
  int argCount;         // how many of them the converter takes
  Result result;
  Decision decision;
};

// The table, in the order it is tried.
std::span<const Route> RouteTable();

// Target extensions of the catch-all group, tried after every row.
std::span<const char* const> CatchAllTargets();
inline constexpr const char* kCatchAllConverter = "ZxScreenToTiff";

// The outcome of looking a pair of paths up, without touching any file.
struct RouteMatch {
  enum Kind { NoMatch, Row, CatchAll } kind = NoMatch;
  const Route* route = nullptr;  // for Row
};
RouteMatch LookUpRoute(const char* source, const char* target);
// Whether result n of a matched conversion is a success: as a rule a number of
// files written (above 0); a few rows return 0 for success.
bool RouteSucceeded(const RouteMatch& match, int n);

// The converter a row runs for this source, with its constant arguments;
// rows 175 and 180 read the source's first bytes to decide.
struct ConverterChoice {
  const char* name;
  ConverterFn converter;
  int arg1, arg2;
};
ConverterChoice ChooseConverter(const Route& r, const char* source);

// Runs what LookUpRoute chose (reading the source's first bytes where the
// row says so) and returns the converter's result; 0 for NoMatch.
int RunRoute(const RouteMatch& match, const char* source, const char* target);

// The converter a Decision row runs after its test, as a name (for listings).
std::string DescribeConverter(const Route& r);

// True for the converters of formats whose layout is not known: they keep
// their rows but recognise nothing, write nothing and return 0.
bool IsPlaceholder(ConverterFn converter);

}  // namespace pix
