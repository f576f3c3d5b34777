// Scanners for integers and reals. Each works on a cursor of its own and moves the caller's only
// over text that was a number.
#include "fcreal.h"
#include "fcstring.h"
#include "fwstring.h"
#include "vqassert.h"

namespace {

// The value of a digit, or a large number for any other character.
uint32 DigitValue(FwTextCharacter tc) {
  if (tc >= '0' && tc <= '9') return static_cast<uint32>(tc - '0');
  if (tc >= 'A' && tc <= 'Z') return static_cast<uint32>(tc - 'A') + 10;
  if (tc >= 'a' && tc <= 'z') return static_cast<uint32>(tc - 'a') + 10;
  return 0xFF;
}

bool IsX(FwTextByte tb) {
  return tb == 'x' || tb == 'X';
}

// The text at a cursor, white space skipped. Nothing is decoded: what counts here is ASCII, and a
// number ends at any other byte.
FwTextByte* SkipWhiteSpace(FwTextByte* ptb) {
  while (FwStrIsWhiteSpace(*ptb))
    ptb++;
  return ptb;
}

// The significant digits of a decimal number: leading zeros are dropped, and at most 32 are kept.
struct Digits {
  static constexpr int32 kMost = 32;
  uint8 digits[kMost];
  int32 nSig = 0;
  int32 nBeforePoint = 0;   // significant ones, kept or not
  int32 nDecimalZeros = 0;  // behind the point, before the first significant digit
  bool fAny = false;

  void keep(FwTextByte tb) {
    if (nSig < kMost) digits[nSig++] = static_cast<uint8>(tb - '0');
  }

  void add_before_point(FwTextByte tb) {
    fAny = true;
    if (tb == '0' && nBeforePoint == 0) return;
    keep(tb);
    nBeforePoint++;
  }

  void add_behind_point(FwTextByte tb) {
    fAny = true;
    if (tb == '0' && nSig == 0)
      nDecimalZeros++;
    else
      keep(tb);
  }

  void cut_trailing_zeros() {
    while (nSig > 0 && digits[nSig - 1] == 0)
      nSig--;
  }

  // The digits from iFrom up to iTo as an integer; at most 8, so it fits.
  uint32 chunk(int32 iFrom, int32 iTo) const {
    uint32 value = 0;
    for (int32 i = iFrom < 0 ? 0 : iFrom; i < iTo; i++)
      value = value * 10 + digits[i];
    return value;
  }

  // All digits as an integer, summed from the most significant chunk down.
  double value() const {
    double sum = 0.0;
    if (nSig > 24) sum += chunk(nSig - 32, nSig - 24) * 1e24;
    if (nSig > 16) sum += chunk(nSig - 24, nSig - 16) * 1e16;
    if (nSig > 8) sum += chunk(nSig - 16, nSig - 8) * 1e8;
    return sum + chunk(nSig - 8, nSig);
  }
};

// Reads an exponent at its marker. Returns the place behind it, or the marker's own when no digit
// follows.
FwTextByte* ScanExponent(FwTextByte* ptbMarker, int32* pnExponent) {
  constexpr int32 kLargest = 308;
  FwTextByte* ptb = ptbMarker + 1;
  const bool fNegative = *ptb == '-';
  if (*ptb == '-' || *ptb == '+') ptb++;
  if (!FwStrIsDigit(*ptb)) return ptbMarker;
  int32 nExponent = 0;
  for (; FwStrIsDigit(*ptb); ptb++) {
    if (nExponent < kLargest) nExponent = nExponent * 10 + (*ptb - '0');
  }
  *pnExponent = fNegative ? -nExponent : nExponent;
  return ptb;
}

// FwStrToL and FwStrToUL, by their scan.
template <class T>
int32 StrToInteger(FwTextString* pptbz, uint32 nBase, T* pnResult,
                   int32 (*pfnScan)(FwTextString*, uint32, T*, int32)) {
  FwAssert(pptbz != nullptr && pnResult != nullptr, "NULL param");
  if (pnResult != nullptr) *pnResult = 0;
  if (pptbz == nullptr || pnResult == nullptr) return 0;
  if (!FwExpect(nBase >= 2, "Bad base")) return 0;
  T value;
  if (!pfnScan(pptbz, nBase, &value, 1)) return 0;
  *pnResult = value;
  return 1;
}

}  // namespace

int32 FcStrScanUInt(FwTextString* pptbz, uint32 nBase, uint32* pnResult,
                    [[maybe_unused]] int32 fUseCLocale) {
  FwAssert(pptbz != nullptr, "NULL pptbz");
  FwAssert(pnResult != nullptr, "NULL pnResult");
  if (pnResult != nullptr) *pnResult = 0;
  if (pptbz == nullptr || pnResult == nullptr) return 0;
  if (!FwExpect(*pptbz != nullptr, "NULL ptbz")) return 0;
  if (!FwExpect(nBase != 1, "Bad base")) return 0;

  FwTextByte* ptb = SkipWhiteSpace(*pptbz);
  const bool fNegative = *ptb == '-';
  if (*ptb == '-' || *ptb == '+') ptb++;

  if (nBase == 0) {
    if (*ptb != '0') {
      nBase = 10;
    } else if (IsX(ptb[1])) {
      nBase = 16;
      ptb += 2;
    } else {
      // Kept, as part of the interface: the zero is consumed here and is not a digit, so "0" alone
      // is no number.
      nBase = 8;
      ptb++;
    }
  } else if (nBase == 16 && ptb[0] == '0' && IsX(ptb[1])) {
    ptb += 2;
  }

  constexpr uint32 kMost = 0xFFFFFFFF;
  const uint32 nQuotient = kMost / nBase;
  const uint32 nRemainder = kMost % nBase;
  uint32 value = 0;
  bool fAny = false;
  bool fOverflow = false;
  for (uint32 nDigit; (nDigit = DigitValue(*ptb)) < 36 && nDigit < nBase; ptb++) {
    fAny = true;
    if (value > nQuotient || (value == nQuotient && nDigit > nRemainder))
      fOverflow = true;
    else
      value = value * nBase + nDigit;
  }
  if (!fAny) return 0;
  *pptbz = ptb;
  if (fOverflow) {
    *pnResult = kMost;
    return 0;
  }
  *pnResult = fNegative ? 0u - value : value;
  return 1;
}

int32 FcStrScanInt(FwTextString* pptbz, uint32 nBase, int32* pnResult, int32 fUseCLocale) {
  FwAssert(pptbz != nullptr, "NULL pptbz");
  FwAssert(pnResult != nullptr, "NULL pnResult");
  if (pnResult != nullptr) *pnResult = 0;
  if (pptbz == nullptr || pnResult == nullptr) return 0;
  if (!FwExpect(*pptbz != nullptr, "NULL ptbz")) return 0;

  const bool fNegative = *SkipWhiteSpace(*pptbz) == '-';
  uint32 value;
  if (!FcStrScanUInt(pptbz, nBase, &value, fUseCLocale)) {
    if (value == 0xFFFFFFFF) *pnResult = fNegative ? INT32_MIN : INT32_MAX;
    return 0;
  }
  const bool fTopBit = (value & 0x80000000) != 0;
  if (fNegative && !fTopBit) {
    // Kept, as part of the interface: "-0" comes here too, as the negated value is what is tested.
    *pnResult = INT32_MIN;
    return 0;
  }
  if (!fNegative && fTopBit) {
    *pnResult = INT32_MAX;
    return 0;
  }
  *pnResult = static_cast<int32>(value);
  return 1;
}

int32 FcStrScanReal(FwTextString* pptbz, double* pnResult, [[maybe_unused]] int32 fUseCLocale) {
  FwAssert(pptbz != nullptr, "NULL pptbz");
  FwAssert(pnResult != nullptr, "NULL pnResult");
  if (pnResult != nullptr) *pnResult = 0.0;
  if (pptbz == nullptr || pnResult == nullptr) return 0;
  if (!FwExpect(*pptbz != nullptr, "NULL ptbz")) return 0;

  FwTextByte* ptb = SkipWhiteSpace(*pptbz);
  const bool fNegative = *ptb == '-';
  if (*ptb == '-' || *ptb == '+') ptb++;

  Digits digits;
  for (; FwStrIsDigit(*ptb); ptb++)
    digits.add_before_point(*ptb);
  // A point with no digit on either side isn't part of a number.
  if (*ptb == '.' && (digits.fAny || FwStrIsDigit(ptb[1]))) {
    ptb++;
    for (; FwStrIsDigit(*ptb); ptb++)
      digits.add_behind_point(*ptb);
  }
  if (!digits.fAny) return 0;
  int32 nExponent = 0;
  if (*ptb == 'e' || *ptb == 'E') ptb = ScanExponent(ptb, &nExponent);
  *pptbz = ptb;

  digits.cut_trailing_zeros();
  // Kept, as part of the interface: a zero has lost its sign.
  if (digits.nSig == 0) return 1;
  nExponent += digits.nBeforePoint > 0 ? digits.nBeforePoint - digits.nSig
                                       : -(digits.nSig + digits.nDecimalZeros);
  double value = digits.value();
  if (fNegative) value = -value;
  if (nExponent != 0) value *= FcPowerOfTen(nExponent);
  *pnResult = value;
  return 1;
}

int32 FwStrToL(FwTextString* pptbz, uint32 nBase, int32* pnResult) {
  return StrToInteger(pptbz, nBase, pnResult, FcStrScanInt);
}

int32 FwStrToUL(FwTextString* pptbz, uint32 nBase, uint32* pnResult) {
  return StrToInteger(pptbz, nBase, pnResult, FcStrScanUInt);
}

int32 FwStrToD(FwTextString* pptbz, double* prResult) {
  FwAssert(pptbz != nullptr && prResult != nullptr, "NULL param");
  if (prResult != nullptr) *prResult = 0.0;
  if (pptbz == nullptr || prResult == nullptr) return 0;
  double value;
  if (!FcStrScanReal(pptbz, &value, 1)) return 0;
  *prResult = value;
  return 1;
}
