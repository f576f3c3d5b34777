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

#include "fcboot.h"
#include "fcstring.h"
#include "fcstrprf.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwunicod.h"
#include "vqassert.h"

FwTextString FpLocaleStr = nullptr;
int fUnicode = 0;

namespace {

// The set-up that FpStrInit has put off, with what the environment said then.
struct PutOff {
  bool fSetup;
  bool fInvariant;        // LANG is "inv"
  const char* pszLocale;  // as setlocale takes it; the environment's own string
};
constinit PutOff putOff = {};

// A descriptor of all one bits: no conversion is needed.
iconv_t NoConversion() {
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

const char* CodesetOfLocale() {
  const char* pszCodeset = nl_langinfo(CODESET);
  if (pszCodeset != nullptr || FpLocaleStr == nullptr) return pszCodeset;
  for (const LocaleToCodeset* p = apszLocaleToCodeset;
       reinterpret_cast<uintptr_t>(p->pszLocale) != ~uintptr_t{0}; p++) {
    if (std::strcmp(FWC(FpLocaleStr), p->pszLocale) == 0) return p->pszCodeset;
  }
  return nullptr;
}

void CloseConverter(iconv_t* pConverter) {
  if (*pConverter != NoConversion()) iconv_close(*pConverter);
  *pConverter = NoConversion();
}

int32 FiInitUnicode() {
  const char* pszCodeset = CodesetOfLocale();
  if (pszCodeset == nullptr) return 0;
  if (std::strcmp(pszCodeset, "UTF-8") == 0) return 1;
  // Kept, as part of the interface: each descriptor converts in the direction opposite to its name,
  // so outside UTF-8 locales the two conversion functions are crossed.
  iconvt_UTF8ToNative = iconv_open("UTF-8", pszCodeset);
  iconvt_NativeToUTF8 = iconv_open(pszCodeset, "UTF-8");
  return iconvt_UTF8ToNative != NoConversion() && iconvt_NativeToUTF8 != NoConversion();
}

void SetUp(const char* pszLocale, bool fInvariant) {
  const char* pszName = setlocale(LC_CTYPE, pszLocale);
  if (pszName == nullptr || std::strcmp(pszName, "C") == 0) {
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

// Whoever needs the locale or the converters calls this first.
void CatchUp() {
  if (!putOff.fSetup) return;
  putOff.fSetup = false;
  SetUp(putOff.pszLocale, putOff.fInvariant);
}

const char* EnvironmentValue(const char* pszName) {
  const char* psz = std::getenv(pszName);
  return psz != nullptr && *psz != 0 ? psz : nullptr;
}

// The locale of characters that the environment chooses, in the C library's order.
const char* ChosenLocale() {
  for (const char* pszName : {"LC_ALL", "LC_CTYPE", "LANG"})
    if (const char* psz = EnvironmentValue(pszName)) return psz;
  return "C";
}

// Whether the name says that the code set is UTF-8, as "de_DE.UTF-8", "C.utf8", "en_US.UTF-8@x".
bool NamesUtf8(const char* pszLocale) {
  const char* pch = std::strchr(pszLocale, '.');
  if (pch == nullptr) return false;
  const char* pszRest = "utf8";
  for (pch++; *pch != 0 && *pch != '@'; pch++) {
    if (*pch == '-') continue;
    if (static_cast<char>(FwStrToLower(static_cast<FwTextByte>(*pch))) != *pszRest) return false;
    pszRest++;
  }
  return *pszRest == 0;
}

// Whether setting up the locale can have no outcome that shows before text outside ASCII comes: no
// missing converter to report, no code set that differs from ASCII. That is so of UTF-8, and of C,
// whose converters are built into the C library; a name that is not installed counts as C. Where
// locales or converters come from other places than the system's, nothing is known.
bool ShowsNothing(const char* pszLocale) {
  if (EnvironmentValue("LOCPATH") || EnvironmentValue("GCONV_PATH")) return false;
  return std::strcmp(pszLocale, "C") == 0 || std::strcmp(pszLocale, "POSIX") == 0 ||
         NamesUtf8(pszLocale);
}

// Text that is the same in every code set that setting up may be put off for.
bool IsAscii(const char* psz) {
  for (; *psz != 0; psz++)
    if (static_cast<unsigned char>(*psz) >= 0x80) return false;
  return true;
}

// Whether text passes as it is while the converters are not set up; sets them up if it doesn't.
bool PassesUnasked(const char* psz) {
  if (putOff.fSetup && IsAscii(psz)) return true;
  CatchUp();
  return false;
}

FwByte* AllocBytes(size_t cb) {
  return static_cast<FwByte*>(FwMemAlloc(cb, ALLOC_MUST_SUCCEED | INIT_NONE));
}

// Replaces a block that begins with cbUsed bytes of output by one of the exact size, terminated.
FwByte* Fit(FwByte* pbBlock, size_t cbUsed) {
  if (cbUsed > 0 && pbBlock[cbUsed - 1] == 0) cbUsed--;
  FwByte* pbExact = AllocBytes(cbUsed + 1);
  std::memcpy(pbExact, pbBlock, cbUsed);
  pbExact[cbUsed] = 0;
  FwMemFree(pbBlock);
  return pbExact;
}

void Reset(iconv_t converter) {
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
}

// How far the input moves over text that can't be converted, from its first byte on: at least one
// byte, and never over the terminator.
size_t BadLength(const char* pszBad, int nError) {
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
bool ConvertInto(iconv_t converter, const char* psz, FwByte* pbOut, size_t cbOut, size_t* pcbUsed) {
  char* pszIn = const_cast<char*>(psz);
  size_t cbIn = std::strlen(psz) + 1;
  char* pOut = reinterpret_cast<char*>(pbOut);
  size_t cbFree = cbOut;
  Reset(converter);
  while (cbIn > 0) {
    const bool fFailed = iconv(converter, &pszIn, &cbIn, &pOut, &cbFree) == static_cast<size_t>(-1);
    const int nError = fFailed ? errno : 0;
    if (fFailed && nError != E2BIG) {
      if (*pszIn == 0) break;
      if (cbFree == 0) return false;
      *pOut++ = '_';
      cbFree--;
      const size_t cbBad = BadLength(pszIn, nError);
      pszIn += cbBad;
      cbIn -= cbBad;
    }
    if (cbIn > 0 && (nError == E2BIG || cbFree < 6)) return false;
  }
  *pcbUsed = cbOut - cbFree;
  return true;
}

// The first character of a piece of local text.
FwTextCharacter FirstCharacter(const char* psz) {
  auto* ptb = reinterpret_cast<FwTextByte*>(const_cast<char*>(psz));
  return iconvt_UTF8ToNative == NoConversion() ? FwStrGetTextCharacter(&ptb) : *ptb;
}

}  // namespace

void FpStrInit() {
  const char* pszLang = std::getenv("LANG");
  const bool fInvariant = pszLang != nullptr && std::strcmp(pszLang, "inv") == 0;
  const char* pszLocale = ChosenLocale();
  if (fcBootContext.string.fLocaleOnDemand && ShowsNothing(pszLocale))
    putOff = {true, fInvariant, pszLocale};
  else
    SetUp("", fInvariant);
}

void FpStrShutdown() {
  putOff = {};
  CloseConverter(&iconvt_UTF8ToNative);
  CloseConverter(&iconvt_NativeToUTF8);
  fUnicode = 0;
  FwMemFreeAndClear(&FpLocaleStr);
}

void FpStrGetLocaleIDString(FwStrRecord* pRecord) {
  CatchUp();
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
  CatchUp();
  char* pszEnd;
  const long value = std::strtol(FWC(*pptbz), &pszEnd, 10);
  if (pszEnd == FWC(*pptbz)) return 0;
  *pptbz = FWT(pszEnd);
  *pnResult = static_cast<uint32>(std::clamp<long>(value, INT32_MIN, INT32_MAX));
  return 1;
}

int32 FpStrScanLocalReal(FwTextString* pptbz, double* pnResult) {
  CatchUp();
  char* pszEnd;
  const double value = std::strtod(FWC(*pptbz), &pszEnd);
  if (pszEnd == FWC(*pptbz)) return 0;
  *pptbz = FWT(pszEnd);
  *pnResult = value;
  return 1;
}

FwTextCharacter FpStrDecimalPointChar() {
  CatchUp();
  const lconv* p = localeconv();
  if (p == nullptr || p->decimal_point == nullptr || *p->decimal_point == 0) return '.';
  return FirstCharacter(p->decimal_point);
}

FwTextCharacter FpStrThousandsSeparatorChar() {
  CatchUp();
  const lconv* p = localeconv();
  if (p == nullptr || p->thousands_sep == nullptr || *p->thousands_sep == 0) return 0;
  return FirstCharacter(p->thousands_sep);
}

uint32 FpStrPrintLocalInt(FwStrRecord* pRecord, int32 value, const FcNumberFormat& format) {
  CatchUp();
  return FcStrPrintfInt(pRecord, value, format.type, format.nMinWidth, format.nPrecision,
                        format.fLeftJustified, format.fPadWithZero, format.tbPositiveChar,
                        format.fOptionalForm);
}

uint32 FpStrPrintLocalReal(FwStrRecord* pRecord, double value, const FcNumberFormat& format) {
  CatchUp();
  return FcStrPrintfReal(pRecord, value, format.type, format.nMinWidth, format.nPrecision,
                         format.fLeftJustified, format.fPadWithZero, format.tbPositiveChar,
                         format.fOptionalForm);
}

int32 fFpStrLocalIsUTF8() {
  CatchUp();
  return iconvt_UTF8ToNative == NoConversion();
}

int32 fFpStrIsLocal(FwTextString uni) {
  return PassesUnasked(FWC(uni)) || iconvt_UTF8ToNative == NoConversion();
}

FwTextString FwStrLocalToUTF8(const char* local) {
  if (local == nullptr) return nullptr;
  if (PassesUnasked(local) || iconvt_NativeToUTF8 == NoConversion())
    return FwStrDuplicate(FWT(local));
  char* pszIn = const_cast<char*>(local);
  size_t cbIn = std::strlen(local) + 1;
  const size_t cbOut = cbIn * 6;
  FwByte* pbBuffer = AllocBytes(cbOut);
  char* pOut = reinterpret_cast<char*>(pbBuffer);
  size_t cbFree = cbOut;
  Reset(iconvt_NativeToUTF8);
  if (iconv(iconvt_NativeToUTF8, &pszIn, &cbIn, &pOut, &cbFree) == static_cast<size_t>(-1)) {
    const int nError = errno;
    FwAssert(nError != EILSEQ,
             "Invalid multibyte sequence passed to FwStrLocalToUTF8() [iconv failed]");
    FwAssert(nError != EINVAL,
             "Incomplete multibyte sequence passed to FwStrLocalToUTF8() [iconv failed]");
    FwAssert(nError != E2BIG, "Memory allocation error in FwStrLocalToUTF8() [iconv failed]");
    std::printf("Failing string: %s\n", local);
  }
  return Fit(pbBuffer, cbOut - cbFree);
}

char* FwStrUTF8ToLocal(const FwTextString uni) {
  if (uni == nullptr) return nullptr;
  if (PassesUnasked(FWC(uni)) || iconvt_UTF8ToNative == NoConversion())
    return FWC(FwStrDuplicate(uni));
  for (size_t cbOut = std::strlen(FWC(uni)) + 1 + 7;; cbOut *= 2) {
    FwByte* pbBuffer = AllocBytes(cbOut);
    size_t cbUsed;
    if (ConvertInto(iconvt_UTF8ToNative, FWC(uni), pbBuffer, cbOut, &cbUsed))
      return reinterpret_cast<char*>(Fit(pbBuffer, cbUsed));
    FwMemFree(pbBuffer);
  }
}
