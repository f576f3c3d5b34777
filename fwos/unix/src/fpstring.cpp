// The locale, and conversion to and from its encoding by iconv.
#include "fpstring.h"

#include <iconv.h>
#include <langinfo.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fcstring.h"
#include "fcstrprf.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwunicod.h"
#include "vqassert.h"

FwTextString FpLocaleStr = nullptr;
int fUnicode = 0;

namespace {

// A descriptor of all one bits: no conversion is needed.
iconv_t no_conversion() {
  return reinterpret_cast<iconv_t>(~uintptr_t{0});
}

iconv_t iconvt_UTF8ToNative = reinterpret_cast<iconv_t>(~uintptr_t{0});
iconv_t iconvt_NativeToUTF8 = reinterpret_cast<iconv_t>(~uintptr_t{0});

struct LocaleToCodeset {
  const char* pszLocale;
  const char* pszCodeset;
};

// For systems that don't tell the code set of a locale.
const LocaleToCodeset apszLocaleToCodeset[] = {
    {"inv", "ISO-8859-1"},
    {"en_US", "ISO-8859-1"},
    {"en_UK", "ISO-8859-1"},
    {"en_GB", "ISO-8859-1"},
    {"ja", "EUC-JP"},
    {reinterpret_cast<const char*>(~uintptr_t{0}), reinterpret_cast<const char*>(~uintptr_t{0})},
};

const char* codeset_of_locale() {
  const char* pszCodeset = nl_langinfo(CODESET);
  if (pszCodeset != nullptr || FpLocaleStr == nullptr) return pszCodeset;
  for (const LocaleToCodeset* p = apszLocaleToCodeset;
       reinterpret_cast<uintptr_t>(p->pszLocale) != ~uintptr_t{0}; p++) {
    if (std::strcmp(FWC(FpLocaleStr), p->pszLocale) == 0) return p->pszCodeset;
  }
  return nullptr;
}

void close_converter(iconv_t* pConverter) {
  if (*pConverter != no_conversion()) iconv_close(*pConverter);
  *pConverter = no_conversion();
}

int32 FiInitUnicode() {
  const char* pszCodeset = codeset_of_locale();
  if (pszCodeset == nullptr) return 0;
  if (std::strcmp(pszCodeset, "UTF-8") == 0) return 1;
  // Kept: each descriptor converts in the direction opposite to its name, so outside UTF-8 locales
  // the two conversion functions are crossed; names already stored on disk were made this way.
  iconvt_UTF8ToNative = iconv_open("UTF-8", pszCodeset);
  iconvt_NativeToUTF8 = iconv_open(pszCodeset, "UTF-8");
  return iconvt_UTF8ToNative != no_conversion() && iconvt_NativeToUTF8 != no_conversion();
}

FwByte* alloc_bytes(size_t cb) {
  return static_cast<FwByte*>(FwMemAlloc(cb, ALLOC_MUST_SUCCEED | INIT_NONE));
}

// Replaces a block that begins with cbUsed bytes of output by one of the exact size, terminated.
FwByte* fit(FwByte* pbBlock, size_t cbUsed) {
  if (cbUsed > 0 && pbBlock[cbUsed - 1] == 0) cbUsed--;
  FwByte* pbExact = alloc_bytes(cbUsed + 1);
  std::memcpy(pbExact, pbBlock, cbUsed);
  pbExact[cbUsed] = 0;
  FwMemFree(pbBlock);
  return pbExact;
}

void reset(iconv_t converter) {
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
}

// How far the input moves over text that can't be converted, from its first byte on: at least one
// byte, and never over the terminator.
size_t bad_length(const char* pszBad, int nError) {
  size_t n = 1;
  if (nError == EINVAL) {
    while (FwStrGetByteType(static_cast<FwTextByte>(pszBad[n])) == FW_TEXTBYTE_TRAIL)
      n++;
  } else {
    const uint32 nLength = FcUTF8LeadLength(static_cast<FwTextByte>(*pszBad));
    while (n < nLength && pszBad[n] != 0)
      n++;
  }
  return n;
}

// Converts all of the input, terminator included, into a buffer; what can't be converted becomes
// an underscore. False when the buffer is too small.
bool convert_into(iconv_t converter, const char* psz, FwByte* pbOut, size_t cbOut,
                  size_t* pcbUsed) {
  char* pszIn = const_cast<char*>(psz);
  size_t cbIn = std::strlen(psz) + 1;
  char* pOut = reinterpret_cast<char*>(pbOut);
  size_t cbFree = cbOut;
  reset(converter);
  while (cbIn > 0) {
    const bool fFailed = iconv(converter, &pszIn, &cbIn, &pOut, &cbFree) == static_cast<size_t>(-1);
    const int nError = fFailed ? errno : 0;
    if (fFailed && nError != E2BIG) {
      if (*pszIn == 0) break;
      if (cbFree == 0) return false;
      *pOut++ = '_';
      cbFree--;
      const size_t cbBad = bad_length(pszIn, nError);
      pszIn += cbBad;
      cbIn -= cbBad;
    }
    if (cbIn > 0 && (nError == E2BIG || cbFree < 6)) return false;
  }
  *pcbUsed = cbOut - cbFree;
  return true;
}

// The first character of a piece of local text.
FwTextCharacter first_character(const char* psz) {
  auto* ptb = reinterpret_cast<FwTextByte*>(const_cast<char*>(psz));
  return iconvt_UTF8ToNative == no_conversion() ? FwStrGetTextCharacter(&ptb) : *ptb;
}

}  // namespace

void FpStrInit() {
  const char* pszName = setlocale(LC_CTYPE, "");
  if (pszName == nullptr || std::strcmp(pszName, "C") == 0) {
    const char* pszLang = std::getenv("LANG");
    const bool fInvariant = pszLang != nullptr && std::strcmp(pszLang, "inv") == 0;
    pszName = setlocale(LC_ALL, "en_US");
    if (pszName == nullptr) {
      setlocale(LC_ALL, "C");
      pszName = "en_US";
    }
    if (fInvariant) pszName = "inv";
  }
  FwMemFreeAndClear(&FpLocaleStr);
  // A copy: the C library reuses its own for the next call.
  if (pszName != nullptr) FpLocaleStr = FwStrDuplicate(FWT(pszName));
  FwAssert(FpLocaleStr != nullptr, "Something screwy - no locale set");
  fUnicode = FiInitUnicode();
  FwAssert(fUnicode,
           "Locale conversions not set up correctly: non-ascii filenames, etc, will not work");
}

void FpStrShutdown() {
  close_converter(&iconvt_UTF8ToNative);
  close_converter(&iconvt_NativeToUTF8);
  fUnicode = 0;
  FwMemFreeAndClear(&FpLocaleStr);
}

void FpStrGetLocaleIDString(FwStrRecord* pRecord) {
  FwStrPutTextString(pRecord, FpLocaleStr);
}

FwTextCharacter FpStrToUpper(FwTextCharacter tc) {
  FwAssertFailed("Shouldn't be called");
  return tc;
}

FwTextCharacter FpStrToLower(FwTextCharacter tc) {
  FwAssertFailed("Shouldn't be called");
  return tc;
}

int32 FpStrScanLocalUInt(FwTextString* pptbz, uint32* pnResult) {
  char* pszEnd;
  const long value = std::strtol(FWC(*pptbz), &pszEnd, 10);
  if (pszEnd == FWC(*pptbz)) return 0;
  *pptbz = FWT(pszEnd);
  *pnResult = static_cast<uint32>(std::clamp<long>(value, INT32_MIN, INT32_MAX));
  return 1;
}

int32 FpStrScanLocalReal(FwTextString* pptbz, double* pnResult) {
  char* pszEnd;
  const double value = std::strtod(FWC(*pptbz), &pszEnd);
  if (pszEnd == FWC(*pptbz)) return 0;
  *pptbz = FWT(pszEnd);
  *pnResult = value;
  return 1;
}

FwTextCharacter FpStrDecimalPointChar() {
  const lconv* p = localeconv();
  if (p == nullptr || p->decimal_point == nullptr || *p->decimal_point == 0) return '.';
  return first_character(p->decimal_point);
}

FwTextCharacter FpStrThousandsSeparatorChar() {
  const lconv* p = localeconv();
  if (p == nullptr || p->thousands_sep == nullptr || *p->thousands_sep == 0) return 0;
  return first_character(p->thousands_sep);
}

uint32 FpStrPrintLocalInt(FwStrRecord* pRecord, int32 value, char type, int32 nMinWidth,
                          int32 nMinDigits, int32 fLeftJustified, int32 fPadWithZero,
                          FwTextByte tbPositiveChar, int32 fOptionalForm) {
  return FcStrPrintfInt(pRecord, value, type, nMinWidth, nMinDigits, fLeftJustified, fPadWithZero,
                        tbPositiveChar, fOptionalForm);
}

uint32 FpStrPrintLocalReal(FwStrRecord* pRecord, double value, char type, int32 nMinWidth,
                           int32 nPrecision, int32 fLeftJustified, int32 fPadWithZero,
                           FwTextByte tbPositiveChar, int32 fOptionalForm) {
  return FcStrPrintfReal(pRecord, value, type, nMinWidth, nPrecision, fLeftJustified, fPadWithZero,
                         tbPositiveChar, fOptionalForm);
}

int32 fFpStrLocalIsUTF8() {
  return iconvt_UTF8ToNative == no_conversion();
}

FwTextString FwStrLocalToUTF8(const char* local) {
  if (local == nullptr) return nullptr;
  if (iconvt_NativeToUTF8 == no_conversion()) return FwStrDuplicate(FWT(local));
  char* pszIn = const_cast<char*>(local);
  size_t cbIn = std::strlen(local) + 1;
  const size_t cbOut = cbIn * 6;
  FwByte* pbBuffer = alloc_bytes(cbOut);
  char* pOut = reinterpret_cast<char*>(pbBuffer);
  size_t cbFree = cbOut;
  reset(iconvt_NativeToUTF8);
  if (iconv(iconvt_NativeToUTF8, &pszIn, &cbIn, &pOut, &cbFree) == static_cast<size_t>(-1)) {
    const int nError = errno;
    FwAssert(nError != EILSEQ,
             "Invalid multibyte sequence passed to FwStrLocalToUTF8() [iconv failed]");
    FwAssert(nError != EINVAL,
             "Incomplete multibyte sequence passed to FwStrLocalToUTF8() [iconv failed]");
    FwAssert(nError != E2BIG, "Memory allocation error in FwStrLocalToUTF8() [iconv failed]");
    std::printf("Failing string: %s\n", local);
  }
  return fit(pbBuffer, cbOut - cbFree);
}

char* FwStrUTF8ToLocal(const FwTextString uni) {
  if (uni == nullptr) return nullptr;
  if (iconvt_UTF8ToNative == no_conversion()) return FWC(FwStrDuplicate(uni));
  for (size_t cbOut = std::strlen(FWC(uni)) + 1 + 7;; cbOut *= 2) {
    FwByte* pbBuffer = alloc_bytes(cbOut);
    size_t cbUsed;
    if (convert_into(iconvt_UTF8ToNative, FWC(uni), pbBuffer, cbOut, &cbUsed))
      return reinterpret_cast<char*>(fit(pbBuffer, cbUsed));
    FwMemFree(pbBuffer);
  }
}
