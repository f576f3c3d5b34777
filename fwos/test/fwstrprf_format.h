// Formats into a string, for the tests of formatted output.
#ifndef FWSTRPRF_FORMAT_H
#define FWSTRPRF_FORMAT_H

#include <gtest/gtest.h>

#include <cstdarg>
#include <string>

#include "fwstring.h"
#include "fwstrprf.h"

// The text of a growing record, which ends here.
inline std::string Taken(FwStrRecord* pRecord) {
  std::string text = FWC(pRecord->pbz);
  FwStrRecordAbandon(pRecord);
  return text;
}

inline std::string FormatList(int32 fMessage, bool fLocal, const char* pszFormat, va_list VaList) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  uint32 cbAdded = fLocal ? FwStrVPrintfLocal(&record, fMessage, FWT(pszFormat), VaList)
                          : FwStrVPrintf(&record, fMessage, FWT(pszFormat), VaList);
  std::string text = Taken(&record);
  EXPECT_EQ(text.size(), cbAdded) << pszFormat;
  return text;
}

// With C numerics, not a message.
inline std::string Format(const char* pszFormat, ...) {
  va_list VaList;
  va_start(VaList, pszFormat);
  std::string text = FormatList(0, false, pszFormat, VaList);
  va_end(VaList);
  return text;
}

inline std::string FormatMessage(const char* pszFormat, ...) {
  va_list VaList;
  va_start(VaList, pszFormat);
  std::string text = FormatList(1, false, pszFormat, VaList);
  va_end(VaList);
  return text;
}

inline std::string FormatLocal(const char* pszFormat, ...) {
  va_list VaList;
  va_start(VaList, pszFormat);
  std::string text = FormatList(0, true, pszFormat, VaList);
  va_end(VaList);
  return text;
}

#endif
