// Character-wise walking, checking and classification.
#include <cstring>

#include "fcstring.h"
#include "fpstring.h"
#include "fwstring.h"
#include "fwstring/terminated.h"
#include "fwunicod.h"
#include "vqassert.h"

namespace {

// Steps over bytes below 0x80. Eight at a time: most text is ASCII.
FwTextByte* SkipAscii(FwTextByte* ptb, const FwTextByte* ptbEnd) {
  while (ptbEnd - ptb >= 8) {
    uint64 word;
    std::memcpy(&word, ptb, sizeof word);
    if ((word & 0x8080808080808080) != 0) break;
    ptb += 8;
  }
  while (ptb < ptbEnd && *ptb < 0x80)
    ptb++;
  return ptb;
}

}  // namespace

FwTextCharacter FwStrGetTextCharacter(FwTextByte** pptb) {
  if (!FwExpect(pptb != nullptr, "NULL pptb")) return 0;
  FwTextByte* ptb = *pptb;
  if (!FwExpect(ptb != nullptr, "NULL *pptb")) return 0;
  if (*ptb < 0x80) {
    *pptb = ptb + 1;
    return *ptb;
  }
  FwTextCharacter tc;
  const uint32 nLength = FwUTF8ToCharacter(&tc, ptb);
  // A byte that leads nothing is stepped over; a lead byte near the end doesn't carry the cursor
  // past the terminator.
  uint32 n = 1;
  while (n < nLength && ptb[n] != 0)
    n++;
  *pptb = ptb + n;
  // An overlong zero is not a terminator: what follows it belongs to the text.
  return tc != 0 ? tc : *ptb - 0x100;
}

FwTextCharacter FwStrGetPreviousTextCharacter(FwTextString ptbzStart, FwTextByte** pptb) {
  FwAssert(ptbzStart != nullptr, "NULL ptbz");
  FwAssert(pptb != nullptr, "NULL pptb");
  if (ptbzStart == nullptr || pptb == nullptr) return 0;
  FwTextByte* ptb = *pptb != nullptr ? *pptb : ptbzStart + std::strlen(FWC(ptbzStart));
  FwAssert(ptb >= ptbzStart, "Search before start");
  if (ptb <= ptbzStart) {
    if (ptb == ptbzStart) *pptb = ptb;
    return 0;
  }
  do {
    ptb--;
  } while (ptb > ptbzStart && FwStrGetByteType(*ptb) == FW_TEXTBYTE_TRAIL);
  FwAssert(*ptb != 0, "Shouldn't see NULL terminator");
  FwAssert(FwStrGetByteType(*ptb) != FW_TEXTBYTE_TRAIL, "No lead byte found");
  *pptb = ptb;
  FwTextCharacter tc;
  FwUTF8ToCharacter(&tc, ptb);
  return tc;
}

FwTextByte* FcTextCharacterOffset(FwTextString ptbzStart, FwTextByte* ptb, int32 nOffset) {
  FwAssert(ptbzStart != nullptr, "NULL ptbz");
  FwAssert(ptb != nullptr, "NULL ptb");
  if (ptbzStart == nullptr || ptb == nullptr) return nullptr;
  for (; nOffset > 0 && *ptb != 0; nOffset--)
    FwStrGetTextCharacter(&ptb);
  for (; nOffset < 0 && ptb != ptbzStart; nOffset++) {
    if (FwStrGetPreviousTextCharacter(ptbzStart, &ptb) == 0) break;
  }
  return ptb;
}

uint32 FwStrCountCharacters(FwTextString ptbz) {
  if (!FwExpect(ptbz != nullptr, "NULL ptbz")) return 0;
  uint32 n = 0;
  for (; *ptbz != 0; ptbz++)
    n += (*ptbz & 0xC0) != 0x80;
  return n;
}

uint32 FwStrGetByteType(FwTextByte tb) {
  return (tb & 0xC0) == 0x80 ? FW_TEXTBYTE_TRAIL : FW_TEXTBYTE_LEAD;
}

int32 FwStrValidate(FwTextString ptbz) {
  if (!FwExpect(ptbz != nullptr, "NULL ptbz")) return 0;
  FwTextByte* ptb = ptbz;
  FwTextCharacter tc;
  do {
    tc = FwStrGetTextCharacter(&ptb);
    FwAssert(tc >= 0, "Badly formed multibyte string");
  } while (tc > 0);
  return tc == 0;
}

int32 fFcStrWellTerminated(FwTextString ptbz, FwTextByte** pptbFirstBadChar) {
  if (!FwExpect(ptbz != nullptr, "NULL ptbz")) return 0;
  return fFcStrNWellTerminated(ptbz, static_cast<uint32>(std::strlen(FWC(ptbz))), pptbFirstBadChar);
}

FcStrCheck FcStrCheckCharacters(FwTextByte* ptb, uint32 cbLength) {
  // A zero ends the text, and the bytes behind it need not be there.
  const size_t cbText = strnlen(FWC(ptb), cbLength);
  const size_t cbBehind = cbLength - cbText;
  const FwTextByte* const ptbEnd = ptb + cbText;
  while ((ptb = SkipAscii(ptb, ptbEnd)) < ptbEnd) {
    const auto cbLeft = static_cast<size_t>(ptbEnd - ptb);
    const uint32 nLength = FcUTF8LeadLength(*ptb);
    if (nLength > cbLeft + cbBehind) return {false, ptb};
    FwTextCharacter tc;
    FwUTF8ToCharacter(&tc, ptb);
    // The length that the lead byte tells is what counts, even where the zero ends the character.
    if (nLength > cbLeft) return {true, ptb};
    ptb += nLength > 0 ? nLength : 1;
  }
  return {true, ptb};
}

int32 fFcStrNWellTerminated(FwTextString ptb, uint32 cbLength, FwTextByte** pptbFirstBadChar) {
  if (!FwExpect(ptb != nullptr, "NULL ptb")) return 0;
  const FcStrCheck check = FcStrCheckCharacters(ptb, cbLength);
  if (!check.fWellTerminated && pptbFirstBadChar != nullptr) *pptbFirstBadChar = check.ptbEnd;
  return check.fWellTerminated;
}

int32 FwStrIsWhiteSpace(FwTextCharacter tc) {
  return tc == ' ' || tc == '\t';
}

int32 FwStrIsDigit(FwTextCharacter tc) {
  return tc >= '0' && tc <= '9';
}

FwTextCharacter FwStrSkipWhiteSpace(FwTextByte** pptb) {
  if (!FwExpect(pptb != nullptr, "NULL pptb")) return 0;
  FwTextCharacter tc;
  do {
    tc = FwStrGetTextCharacter(pptb);
  } while (FwStrIsWhiteSpace(tc));
  return tc;
}

FwTextCharacter FwStrToUpper(FwTextCharacter tc) {
  return tc >= 'a' && tc <= 'z' ? tc - 'a' + 'A' : tc;
}

FwTextCharacter FwStrToLower(FwTextCharacter tc) {
  return tc >= 'A' && tc <= 'Z' ? tc - 'A' + 'a' : tc;
}

FwTextCharacter FwGetTextCharacterUpper(FwByte** ptr) {
  return FwStrToUpper(FwStrGetTextCharacter(ptr));
}

void FwStrGetLocaleIDString(FwStrRecord* pRecord) {
  FpStrGetLocaleIDString(pRecord);
}
