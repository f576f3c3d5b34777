// A name on its way to the C library, and the C library's failure on its way to the caller.
#ifndef FPFILE_NAMES_H
#define FPFILE_NAMES_H

#include "fwtypes.h"

// A name in the local encoding for the length of a scope. The name itself where text is local text.
class FpLocalName {
 public:
  explicit FpLocalName(FwTextString ptbzName);
  ~FpLocalName();  // leaves errno alone
  FpLocalName(const FpLocalName&) = delete;
  FpLocalName& operator=(const FpLocalName&) = delete;

  const char* get() const { return pszLocal; }

 private:
  char* pszLocal;
  bool fOwned;
};

// Sets the error that errno tells, with the pair "File" and the name, or "File" alone for null.
// Asserts "OS error, but errno not set".
void FpFileSetSystemError(FwErrorState* pErrState, FwTextString ptbzName);

#endif
