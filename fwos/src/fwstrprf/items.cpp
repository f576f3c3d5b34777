// Finding the % signs of a format, and parsing the item behind each.
#include <cstring>

#include "fcstrprf.h"
#include "fwstring.h"
#include "vqassert.h"

namespace {

bool IsFlag(FwTextByte tb) {
  return tb == '-' || tb == '+' || tb == ' ' || tb == '#' || tb == '0';
}

// How many slots the item behind a % can take: itself, what its position makes room for, and its
// width and precision, which may be stars. False: a [ without a number or without a ].
bool CountSlots(FwTextByte* ptb, uint64* pcSlots) {
  uint64 cSlots = 1;
  if (*ptb == '(') {
    cSlots += 1;
  } else if (*ptb == '[') {
    FwTextString ptbz = ptb + 1;
    int32 nPosition = 0;
    if (!FwStrToL(&ptbz, 10, &nPosition)) {
      FwAssertFailed("Expected a number after '[' in format string");
      return false;
    }
    ptb = FwStrChr(ptbz, ']');
    if (ptb == nullptr) {
      FwAssertFailed("Failed to find closing ']' in format string");
      return false;
    }
    ptb++;
    if (nPosition >= 0) cSlots += static_cast<uint64>(nPosition) + 1;
  }
  while (IsFlag(*ptb)) {
    ptb++;
  }
  FwTextString ptbzWidth = ptb;
  int32 nWidth = 0;
  if (*ptb == '*') {
    cSlots += 1;
    ptb++;
  } else if (FwStrToL(&ptbzWidth, 10, &nWidth)) {
    cSlots += 1;
    ptb = ptbzWidth;
  }
  if (*ptb == '.') cSlots += 1;
  *pcSlots = cSlots;
  return true;
}

// The four optional parts of an item. Each moves the cursor over its part if there is one.

bool ParsePosition(FwTextByte** pptb, FcStrFormatSpec* pFormat) {
  if (**pptb != '[') return true;
  FwTextString ptbz = *pptb + 1;
  int32 nPosition = 0;
  if (!FwStrToL(&ptbz, 10, &nPosition)) {
    FwAssertFailed("Bad positional argument");
    return false;
  }
  if (nPosition < 0) {
    FwAssertFailed("Negative positional argument");
    return false;
  }
  if (*ptbz != ']') {
    FwAssertFailed("No closing bracket in positional arg");
    return false;
  }
  pFormat->nPosition = nPosition;
  *pptb = ptbz + 1;
  return true;
}

void ParseFlags(FwTextByte** pptb, FcStrFormatSpec* pFormat) {
  for (; IsFlag(**pptb); (*pptb)++) {
    switch (**pptb) {
      case '-':
        pFormat->fLeftAlign = 1;
        break;
      case '+':
        pFormat->tbPositiveChar = '+';
        break;
      case ' ':
        if (pFormat->tbPositiveChar != '+') pFormat->tbPositiveChar = ' ';
        break;
      case '#':
        pFormat->fOptionalForm = 1;
        break;
      default:
        pFormat->tbPadChar = '0';
        break;
    }
  }
  FwTextByte* ptbOther = pFormat->ptbzOtherFlags;
  if (pFormat->tbPositiveChar != 0) *ptbOther++ = pFormat->tbPositiveChar;
  if (pFormat->fOptionalForm) *ptbOther++ = '#';
  *ptbOther = 0;
}

bool ParseWidth(FwTextByte** pptb, FcStrFormatSpec* pFormat) {
  if (**pptb == '*') {
    pFormat->nWidth = kFcPrfFromArgument;
    (*pptb)++;
    return true;
  }
  FwTextString ptbz = *pptb;
  int32 nWidth = 0;
  if (!FwStrToL(&ptbz, 10, &nWidth)) return true;
  if (nWidth < 1) {
    FwAssertFailed("Non-positive width format");
    return false;
  }
  pFormat->nWidth = nWidth;
  *pptb = ptbz;
  return true;
}

bool ParsePrecision(FwTextByte** pptb, FcStrFormatSpec* pFormat) {
  if (**pptb != '.') return true;
  (*pptb)++;
  if (**pptb == '*') {
    pFormat->nPrecision = kFcPrfFromArgument;
    (*pptb)++;
    return true;
  }
  FwTextString ptbz = *pptb;
  int32 nPrecision = 0;
  if (FwStrToL(&ptbz, 10, &nPrecision)) *pptb = ptbz;
  if (nPrecision < 0) {
    FwAssertFailed("Negative precision given");
    return false;
  }
  pFormat->nPrecision = nPrecision;
  return true;
}

}  // namespace

uint32 FcStrCountPercents(FwTextString ptbzFormat) {
  uint32 nPercents = 0;
  for (FwTextByte* ptb = ptbzFormat; *ptb != 0; ptb++) {
    if (*ptb == '%') nPercents++;
  }
  return nPercents;
}

bool FcStrGetPercentList(FwTextString ptbzFormat, FwTextByte** paptbPercent, uint32* pcNumPercents,
                         uint64* pcMaxSlots) {
  uint32 nPercents = 0;
  uint64 cMaxSlots = 0;
  char* pszPercent = FWC(ptbzFormat);
  // Only two adjacent signs are a literal one. In "%5%" the second begins an item of its own.
  for (; (pszPercent = std::strchr(pszPercent, '%')) != nullptr;) {
    FwTextByte* ptb = reinterpret_cast<FwTextByte*>(pszPercent);
    if (ptb[1] == 0) {
      FwAssertFailed("Format just before terminator");
      return false;
    }
    uint64 cSlots = 0;
    if (ptb[1] != '%' && !CountSlots(ptb + 1, &cSlots)) return false;
    cMaxSlots += cSlots;
    paptbPercent[nPercents++] = ptb;
    pszPercent += ptb[1] == '%' ? 2 : 1;
  }
  *pcNumPercents = nPercents;
  if (pcMaxSlots != nullptr) *pcMaxSlots = cMaxSlots;
  return true;
}

bool FcStrGetFormatSpec(FwTextByte* ptbLocation, FcStrFormatSpec* pFormat) {
  *pFormat = FcStrFormatSpec{};
  pFormat->ptbLocation = ptbLocation;
  pFormat->tbPadChar = ' ';
  pFormat->nWidth = kFcPrfNone;
  pFormat->nPrecision = kFcPrfNone;
  pFormat->nPosition = -1;

  FwTextByte* ptb = ptbLocation + 1;
  if (!ParsePosition(&ptb, pFormat)) return false;
  ParseFlags(&ptb, pFormat);
  if (!ParseWidth(&ptb, pFormat)) return false;
  if (!ParsePrecision(&ptb, pFormat)) return false;
  if (*ptb == 'h' || *ptb == 'l' || *ptb == 'L') pFormat->nLengthModifier = *ptb++ == 'h' ? 1 : 2;
  pFormat->bTypeName = *ptb;
  if (*ptb != 0) ptb++;
  pFormat->cbFormatSpecLength = static_cast<uint32>(ptb - ptbLocation);
  return true;
}

FcStrFormatSpec* FcStrGetFormat_(FcStrFormatSpecList paFormat, uint32 iFormat, int32 cbTypeSize) {
  FcStrFormatSpec* pFormat = &paFormat[iFormat];
  FwAssert(cbTypeSize == -1 || (pFormat->pArg != nullptr &&
                                pFormat->pArg->cbTypeSize == static_cast<uint32>(cbTypeSize)),
           "Bad typing");
  return pFormat;
}
