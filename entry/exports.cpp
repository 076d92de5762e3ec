// The conversion entry, the block-freeing export and the version query.
#include <cstdlib>

#include "entry/routes.h"
#include "pixmisc.h"

extern "C" int pixMISC(const char* source, const char* target) {
  if (!source) return 0;
  return pix::RunRoute(pix::LookUpRoute(source, target), source, target);
}

extern "C" void pixFree(void* block) { std::free(block); }

#ifndef PIXMISC_VERSION
#error "the build sets PIXMISC_VERSION to the project's version"
#endif
extern "C" const char* pixVersion(void) { return PIXMISC_VERSION; }
