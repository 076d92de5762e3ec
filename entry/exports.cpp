// The conversion entry, the block-freeing export and the version query.
#include <cstdlib>

#include "common/budget.h"
#include "entry/routes.h"
#include "pixmisc.h"

extern "C" int pixMISC(const char* source, const char* target) {
  if (!source) return 0;
  pix::CallScope scope(source);
  const pix::RouteMatch match = pix::LookUpRoute(source, target);
  const int n = pix::RunRoute(match, source, target);
  scope.finish(!pix::RouteSucceeded(match, n));
  return n;
}

extern "C" void pixFree(void* block) { std::free(block); }

#ifndef PIXMISC_VERSION
#error "the build sets PIXMISC_VERSION to the project's version"
#endif
extern "C" const char* pixVersion(void) { return PIXMISC_VERSION; }
