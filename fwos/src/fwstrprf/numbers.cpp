// Numbers: the printers that know no locale, and the way to the C library for those that do.
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "fcpp.h"
#include "fcreal.h"
#include "fcstrprf.h"
#include "fpstring.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwstrprf.h"
#include "vqassert.h"

namespace {

// Wide enough for the numbers of ordinary formats; larger areas are allocated.
constexpr std::size_t kWorkArea = 128;

void PutRepeated(FwStrRecord* pRecord, char ch, int64 n) {
  for (; n > 0; n--) {
    FwStrPutRawByte(pRecord, static_cast<FwRawByte>(ch));
  }
}

// How an integer begins and in which digits it is written.
struct IntegerForm {
  uint32 nBase;
  const char* pszDigits;
  char achPrefix[2];
  uint32 cbPrefix;
  uint32 nMagnitude;
};

bool ChooseForm(int32 value, const FcNumberFormat& format, IntegerForm* pForm) {
  *pForm = {10, "0123456789abcdef", {0, 0}, 0, static_cast<uint32>(value)};
  switch (format.type) {
    case 'd':
    case 'i':
      if (value < 0) {
        pForm->achPrefix[pForm->cbPrefix++] = '-';
        pForm->nMagnitude = 0u - pForm->nMagnitude;
      } else if (format.tbPositiveChar != 0) {
        pForm->achPrefix[pForm->cbPrefix++] = static_cast<char>(format.tbPositiveChar);
      }
      return true;
    case 'u':
      return true;
    case 'o':
      pForm->nBase = 8;
      break;
    case 'x':
      pForm->nBase = 16;
      break;
    case 'X':
      pForm->nBase = 16;
      pForm->pszDigits = "0123456789ABCDEF";
      break;
    default:
      FwAssertFailed("Bad type");
      return false;
  }
  if (format.fOptionalForm) {
    // Kept, as the text of the output: the prefix stands before 0 as well, unlike the C library's.
    pForm->achPrefix[pForm->cbPrefix++] = '0';
    if (format.type != 'o') pForm->achPrefix[pForm->cbPrefix++] = format.type;
  }
  return true;
}

// Reals are printed without the C library, whose point depends on the locale of the process and
// whose exponents may have two digits where the interface has three.
//
// The magnitude is divided by a power of ten until one digit stands before its point, and half a
// unit of the last place that is printed is added. From then on the digits are taken off the front:
// each is the whole part, and what is left of the number is multiplied by ten.
//
// The error of the division, the sum and each subtraction is that of a double. So some 15 digits
// are right; further ones are given where they are asked for, but are not those of the exact value.
// What is below 1e-30 is zero. Nothing is buffered, so a precision may be of any size.
constexpr double kLeastMagnitude = 1e-30;

struct RealForm {
  double scaled = 0;  // below 10, its digits are the output; 0 if zero is printed
  char outputType = 0;
  bool fPrintingZero = false;
  bool fTrailingZeros = true;
  bool fAlwaysOutputDp = false;
  int64 nPrecision = 0;
  int64 nExponent = 0;
  int64 nDigitsBeforeDp = 1;
  int64 nDigitsAfterDp = 0;
};

bool IsGeneral(char type) {
  return type == 'g' || type == 'G';
}

// Sets out to print a magnitude. False if the type is not one of a real.
bool ChooseRealForm(double magnitude, const FcNumberFormat& format, RealForm* pForm) {
  pForm->outputType = format.type;
  pForm->nPrecision = format.nPrecision == kFcPrfNone ? 6 : format.nPrecision;
  pForm->fAlwaysOutputDp = format.fOptionalForm;
  pForm->fPrintingZero = magnitude < kLeastMagnitude;
  if (!pForm->fPrintingZero) pForm->nExponent = FcWholeLog10(magnitude);
  if (IsGeneral(format.type)) {
    if (pForm->nPrecision < 1) pForm->nPrecision = 1;
    bool fExponential = pForm->nExponent < -4 || pForm->nExponent >= pForm->nPrecision;
    pForm->outputType = !fExponential ? 'f' : format.type == 'g' ? 'e' : 'E';
    // Kept, as the text of the output: %#g keeps trailing zeros but forces no point.
    pForm->fTrailingZeros = format.fOptionalForm;
    pForm->fAlwaysOutputDp = false;
  }
  const char type = pForm->outputType;
  return FwExpect(type == 'f' || type == 'e' || type == 'E', "Bad type");
}

// Half a unit of the place that many places behind the point.
double RoundingValue(int64 nPower) {
  static constexpr double kValues[] = {0.5,      0.05,      0.005,      0.0005,      0.00005,
                                       0.000005, 0.0000005, 0.00000005, 0.000000005, 0.0000000005};
  if (nPower >= 0 && nPower < static_cast<int64>(std::size(kValues))) return kValues[nPower];
  return 0.5 / FcPowerOfTen(nPower);
}

// Scales and rounds the value, or finds that zero is to be printed.
void RoundReal(double value, char type, RealForm* pForm) {
  // With a point in its place a value below 10 can stay as it is; its first digit may be a zero.
  bool fUnscaled = pForm->outputType == 'f' && pForm->nExponent < 1;
  if (!pForm->fPrintingZero && !fUnscaled) {
    value /= FcPowerOfTen(pForm->nExponent);
  }
  // The place to round at, counted from the digit before the point of the scaled value.
  int64 nRoundingPower = pForm->nPrecision;
  if (IsGeneral(type)) {
    nRoundingPower--;
    if (fUnscaled) nRoundingPower -= pForm->nExponent;
  } else if (type == 'f' && pForm->nExponent >= 1) {
    nRoundingPower += pForm->nExponent;
  }
  double roundingValue = RoundingValue(nRoundingPower);
  if (pForm->fPrintingZero || value < roundingValue) {
    pForm->fPrintingZero = true;
    pForm->nExponent = 0;
    pForm->scaled = 0;
    return;
  }
  pForm->scaled = value + roundingValue;
  // A carry into a new digit. Kept, as the text of the output: a tenth of the half is added again.
  if (pForm->scaled >= 10.0) {
    pForm->scaled = pForm->scaled / 10 + roundingValue / 10;
    pForm->nExponent++;
  }
}

// How many digits stand before the point and behind it.
void CountDigits(char type, RealForm* pForm) {
  int64 nExponent = pForm->nExponent;
  int64 nDigits = pForm->nPrecision;
  int64 nBefore = 1;
  if (pForm->fPrintingZero) {
    if (!IsGeneral(type)) nDigits++;
  } else if (IsGeneral(type)) {
    if (pForm->outputType == 'f') {
      if (nExponent < 0) {
        nDigits -= nExponent;
      } else {
        nBefore = nExponent + 1;
      }
    }
  } else if (type == 'f') {
    if (nExponent > 0) nDigits += nExponent;
    nDigits++;
    if (nExponent >= 0) nBefore = nExponent + 1;
  } else {
    nDigits++;
  }
  int64 nAfter = nDigits > nBefore ? nDigits - nBefore : 0;
  if (nAfter > 0 && !pForm->fTrailingZeros) {
    double whole;
    double fraction = std::modf(FcPowerOfTen(nBefore - 1) * pForm->scaled, &whole);
    int64 nLastNonZero = 0;
    for (int64 n = 1; n <= nAfter && fraction != 0; n++) {
      double digit;
      fraction = std::modf(fraction * 10, &digit);
      if (digit != 0) nLastNonZero = n;
    }
    nAfter = nLastNonZero;
  }
  pForm->nDigitsBeforeDp = nBefore;
  pForm->nDigitsAfterDp = nAfter;
}

// Takes n digits off the front of the number.
void PutDigits(FwStrRecord* pRecord, double* pScaled, int64 n) {
  for (; n > 0; n--) {
    int nDigit = static_cast<int>(*pScaled);
    FwStrPutRawByte(pRecord, static_cast<FwRawByte>('0' + nDigit));
    *pScaled = (*pScaled - nDigit) * 10;
  }
}

constexpr int kExponentDigits = 3;

void PutExponent(FwStrRecord* pRecord, const RealForm& form) {
  FwStrPutRawByte(pRecord, static_cast<FwRawByte>(form.outputType));
  FwStrPutRawByte(pRecord, form.nExponent < 0 ? '-' : '+');
  const int64 nExponent = std::llabs(form.nExponent);
  for (int64 nPower = 100; nPower > 0; nPower /= 10) {
    FwStrPutRawByte(pRecord, static_cast<FwRawByte>('0' + nExponent / nPower % 10));
  }
}

void PutReal(FwStrRecord* pRecord, bool fNegative, const FcNumberFormat& format, RealForm form) {
  const bool fExponent = form.outputType != 'f';
  const bool fZeroPadded = format.fPadWithZero && !format.fLeftJustified;
  // A negative value that rounds to zero has no minus sign.
  const FwTextByte tbSign = fNegative && !form.fPrintingZero ? '-' : format.tbPositiveChar;
  const bool fPoint = form.nDigitsAfterDp > 0 || form.fAlwaysOutputDp;
  const int64 nPadding = format.nMinWidth - (tbSign != 0) - form.nDigitsBeforeDp -
                         form.nDigitsAfterDp - fPoint - (fExponent ? kExponentDigits + 2 : 0);
  if (!format.fLeftJustified && !fZeroPadded) PutRepeated(pRecord, ' ', nPadding);
  if (tbSign != 0) FwStrPutRawByte(pRecord, tbSign);
  if (fZeroPadded) PutRepeated(pRecord, '0', nPadding);
  PutDigits(pRecord, &form.scaled, form.nDigitsBeforeDp);
  if (fPoint) FwStrPutRawByte(pRecord, '.');
  PutDigits(pRecord, &form.scaled, form.nDigitsAfterDp);
  if (fExponent) PutExponent(pRecord, form);
  if (format.fLeftJustified) PutRepeated(pRecord, ' ', nPadding);
}

// The C library's flags and numbers for one item.
struct CFormat {
  char szFormat[64];

  explicit CFormat(const FcNumberFormat& format) {
    char szFlags[5];
    char* pszFlags = szFlags;
    if (format.fLeftJustified) *pszFlags++ = '-';
    if (format.fPadWithZero) *pszFlags++ = '0';
    if (format.tbPositiveChar != 0) *pszFlags++ = static_cast<char>(format.tbPositiveChar);
    if (format.fOptionalForm) *pszFlags++ = '#';
    *pszFlags = 0;
    char szWidth[12] = "";
    if (format.nMinWidth > 0) std::snprintf(szWidth, sizeof szWidth, "%d", format.nMinWidth);
    char szPrecision[13] = "";
    if (format.nPrecision >= 0)
      std::snprintf(szPrecision, sizeof szPrecision, ".%d", format.nPrecision);
    std::snprintf(szFormat, sizeof szFormat, "%%%s%s%s%c", szFlags, szWidth, szPrecision,
                  format.type);
  }
};

}  // namespace

uint32 FwStrPrintInt(FwStrRecord* pRecord, int32 value, char type, int32 nMinWidth,
                     int32 nMinDigits, int32 fLeftJustified, int32 fPadWithZero,
                     FwTextByte tbPositiveChar, int32 fUseCLocale, int32 fOptionalForm) {
  const FcNumberFormat format = {
      type,           nMinWidth,         nMinDigits, fLeftJustified != 0, fPadWithZero != 0,
      tbPositiveChar, fOptionalForm != 0};
  if (!fUseCLocale && (type == 'd' || type == 'i' || type == 'u'))
    return FpStrPrintLocalInt(pRecord, value, format);
  IntegerForm form;
  if (!ChooseForm(value, format, &form)) return 0;

  char achDigits[16];
  char* pchDigits = std::end(achDigits);
  do {
    *--pchDigits = form.pszDigits[form.nMagnitude % form.nBase];
    form.nMagnitude /= form.nBase;
  } while (form.nMagnitude != 0);
  int64 nDigits = std::end(achDigits) - pchDigits;
  int64 nZeros = nMinDigits > nDigits ? nMinDigits - nDigits : 0;
  int64 nPadding = nMinWidth - (nDigits + nZeros) - form.cbPrefix;
  if (nPadding < 0) nPadding = 0;
  if (fPadWithZero && !fLeftJustified) {
    // Kept, as the text of the output: a precision does not cancel the zero flag, as it does in C.
    nZeros += nPadding;
    nPadding = 0;
  }
  int64 nLeading = fLeftJustified ? 0 : nPadding;

  // All but trailing blanks goes out in one put, so that a fixed record is cut once.
  std::size_t cb = static_cast<std::size_t>(nLeading + form.cbPrefix + nZeros + nDigits);
  char achArea[kWorkArea];
  char* pchArea = achArea;
  if (cb > sizeof achArea) {
    pchArea = static_cast<char*>(FwMemAlloc(cb, ALLOC_MUST_SUCCEED | INIT_NONE));
  }
  char* pch = pchArea;
  std::memset(pch, ' ', static_cast<std::size_t>(nLeading));
  pch += nLeading;
  std::memcpy(pch, form.achPrefix, form.cbPrefix);
  pch += form.cbPrefix;
  std::memset(pch, '0', static_cast<std::size_t>(nZeros));
  pch += nZeros;
  std::memcpy(pch, pchDigits, static_cast<std::size_t>(nDigits));

  uint32 cbBefore = record_length(pRecord);
  FwStrNPutRawString(pRecord, reinterpret_cast<FwRawByte*>(pchArea), static_cast<uint32>(cb));
  if (pchArea != achArea) FwMemFree(pchArea);
  PutRepeated(pRecord, ' ', nPadding - nLeading);
  return record_length(pRecord) - cbBefore;
}

uint32 FwStrPrintReal(FwStrRecord* pRecord, double value, char type, int32 nMinWidth,
                      int32 nPrecision, int32 fLeftJustified, int32 fPadWithZero,
                      FwTextByte tbPositiveChar, int32 fUseCLocale, int32 fOptionalForm) {
  const FcNumberFormat format = {
      type,           nMinWidth,         nPrecision, fLeftJustified != 0, fPadWithZero != 0,
      tbPositiveChar, fOptionalForm != 0};
  if (!fUseCLocale) return FpStrPrintLocalReal(pRecord, value, format);
  if (!std::isfinite(value)) {
    const char* psz = std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf";
    return FcStrNPutPaddedRawByteString(pRecord, FWT(psz), static_cast<uint32>(std::strlen(psz)),
                                        nMinWidth > 0 ? static_cast<uint32>(nMinWidth) : 0,
                                        fLeftJustified != 0, ' ');
  }
  const double magnitude = std::fabs(value);
  RealForm form;
  if (!ChooseRealForm(magnitude, format, &form)) return 0;
  RoundReal(magnitude, type, &form);
  CountDigits(type, &form);
  const uint32 cbBefore = record_length(pRecord);
  PutReal(pRecord, value < 0, format, form);
  return record_length(pRecord) - cbBefore;
}

uint32 FcStrPutCFormat(FwStrRecord* pRecord, const char* pszFormat, ...) {
  char szText[kWorkArea];
  char* pszText = szText;
  va_list VaList;
  va_start(VaList, pszFormat);
  int cb = std::vsnprintf(szText, sizeof szText, pszFormat, VaList);
  va_end(VaList);
  if (cb < 0) return 0;
  std::size_t cbText = static_cast<std::size_t>(cb) + 1;
  if (cbText > sizeof szText) {
    pszText = static_cast<char*>(FwMemAlloc(cbText, ALLOC_MUST_SUCCEED | INIT_NONE));
    va_start(VaList, pszFormat);
    std::vsnprintf(pszText, cbText, pszFormat, VaList);
    va_end(VaList);
  }
  uint32 cbAdded = FwStrPutRawString(pRecord, reinterpret_cast<FwRawString>(pszText));
  if (pszText != szText) FwMemFree(pszText);
  return cbAdded;
}

uint32 FcStrPrintfInt(FwStrRecord* pRecord, int32 value, char type, int32 nMinWidth,
                      int32 nPrecision, int32 fLeftJustified, int32 fPadWithZero,
                      FwTextByte tbPositiveChar, int32 fOptionalForm) {
  const CFormat format({type, nMinWidth, nPrecision, fLeftJustified != 0, fPadWithZero != 0,
                        tbPositiveChar, fOptionalForm != 0});
  return FcStrPutCFormat(pRecord, format.szFormat, value);
}

uint32 FcStrPrintfReal(FwStrRecord* pRecord, double value, char type, int32 nMinWidth,
                       int32 nPrecision, int32 fLeftJustified, int32 fPadWithZero,
                       FwTextByte tbPositiveChar, int32 fOptionalForm) {
  const CFormat format({type, nMinWidth, nPrecision, fLeftJustified != 0, fPadWithZero != 0,
                        tbPositiveChar, fOptionalForm != 0});
  return FcStrPutCFormat(pRecord, format.szFormat, value);
}
