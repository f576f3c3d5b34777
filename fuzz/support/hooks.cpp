// The hooks of the standard floor: a report that the target didn't announce is a finding.
#include <cstdio>

#include "fuzz.h"
#include "vqassert.h"

void VqCustomAssert(char* pszFilename, int nLine, char* pszMessage, int) {
  if (fuzz::Allowed(pszMessage)) return;
  fuzz::Fail("unexpected assertion",
             std::string(pszMessage) + " at " + std::to_string(nLine) + " in " + pszFilename);
}

void VqCustomTrace(char* pszFilename, int nLine, char* pszFormat, va_list vlist) {
  char text[2048];
  std::vsnprintf(text, sizeof text, pszFormat, vlist);
  if (fuzz::Allowed(text)) return;
  fuzz::Fail("unexpected trace",
             std::string(text) + " at " + std::to_string(nLine) + " in " + pszFilename);
}
