// The conversion entry and the block-freeing export.
#include <cstdlib>

#include "entry/routes.h"
#include "pixmisc.h"

extern "C" int pixMISC(const char* source, const char* target) {
  if (!source) return 0;
  return pix::RunRoute(pix::LookUpRoute(source, target), source, target);
}

extern "C" void pixFree(void* block) { std::free(block); }
