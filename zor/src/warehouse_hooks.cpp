#include "warehouse_hooks.h"

#include "vqassert.h"

void VqCustomAssert(char* pszFilename, int nLine, char* pszMessage, int) {
  zor::report_assertion(pszMessage, pszFilename, nLine);
}

void VqCustomTrace(char*, int, char*, va_list) {}
