// The tool's hooks for assertions and traces: they print.
#include <cstdio>

#include "vqassert.h"
#include "whbootfw.h"  // IWYU pragma: keep: it declares what is defined here

int wh_trace = 0;

void VqCustomAssert(char* pszFilename, int nLine, char* pszMessage, int) {
  std::printf("%s at %ld in %s\n", pszMessage, static_cast<long>(nLine), pszFilename);
}

void VqCustomTrace(char* pszFilename, int nLine, char* pszFormat, va_list vlist) {
  if (!wh_trace) return;
  std::vprintf(pszFormat, vlist);
  std::printf(" at %ld in %s\n", static_cast<long>(nLine), pszFilename);
}
