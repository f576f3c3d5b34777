// Searching, comparing and tokens.
#include <cstring>

#include "fwstring.h"
#include "vqassert.h"

namespace {

FwTextString FindByte(FwTextString ptbz, FwTextCharacter tc) {
  return reinterpret_cast<FwTextString>(std::strchr(FWC(ptbz), tc));
}

// A set of delimiter characters: a bit for each of ASCII, and the string itself for the others.
class Delimiters {
 public:
  explicit Delimiters(FwTextString ptbzDelimiters) : ptbz_(ptbzDelimiters) {
    FwTextByte* ptb = ptbzDelimiters;
    for (FwTextCharacter tc; (tc = FwStrGetTextCharacter(&ptb)) != 0;) {
      if (tc > 0 && tc < 0x80)
        bits_[tc >> 6] |= uint64{1} << (tc & 63);
      else
        fOthers_ = true;
    }
  }

  // The terminator is never a delimiter.
  bool contains_ascii(FwTextByte tb) const { return (bits_[tb >> 6] >> (tb & 63) & 1) != 0; }

  bool contains_other(FwTextCharacter tc) const {
    if (!fOthers_) return false;
    FwTextByte* ptb = ptbz_;
    for (FwTextCharacter tcDelimiter; (tcDelimiter = FwStrGetTextCharacter(&ptb)) != 0;) {
      if (tcDelimiter == tc) return true;
    }
    return false;
  }

 private:
  FwTextString ptbz_;
  uint64 bits_[2] = {0, 0};
  bool fOthers_ = false;
};

// The first character from ptb on whose being a delimiter is as wanted, or null. *pptbAfter becomes
// the place behind it. Only bytes from 0x80 on are decoded.
FwTextByte* Find(FwTextByte* ptb, const Delimiters& delimiters, bool fWanted,
                 FwTextByte** pptbAfter) {
  for (;;) {
    const FwTextByte tb = *ptb;
    if (tb < 0x80) {
      if (tb == 0) return nullptr;
      if (delimiters.contains_ascii(tb) == fWanted) {
        *pptbAfter = ptb + 1;
        return ptb;
      }
      ptb++;
      continue;
    }
    FwTextByte* ptbNext = ptb;
    const FwTextCharacter tc = FwStrGetTextCharacter(&ptbNext);
    if (tc == 0) return nullptr;
    const bool fIs = tc > 0 && tc < 0x80 ? delimiters.contains_ascii(static_cast<FwTextByte>(tc))
                                         : delimiters.contains_other(tc);
    if (fIs == fWanted) {
      *pptbAfter = ptbNext;
      return ptb;
    }
    ptb = ptbNext;
  }
}

}  // namespace

FwTextString FwStrChr(FwTextString ptbz, FwTextCharacter tc) {
  if (!FwExpect(ptbz != nullptr, "NULL ptbz")) return nullptr;
  if (!FwExpect(tc >= 0, "Invalid tc to find")) return nullptr;
  if (tc < 0x80) return FindByte(ptbz, tc);
  FwTextByte* ptb = ptbz;
  for (;;) {
    FwTextByte* const ptbStart = ptb;
    const FwTextCharacter tcFound = FwStrGetTextCharacter(&ptb);
    if (tcFound == tc) return ptbStart;
    if (tcFound == 0) return nullptr;
  }
}

FwTextString FwStrRChr(FwTextString ptbz, FwTextCharacter tc) {
  FwTextString ptbzLast = nullptr;
  for (FwTextString ptbzFound = FwStrChr(ptbz, tc); ptbzFound != nullptr;) {
    ptbzLast = ptbzFound;
    // There is one terminator, and nothing to be searched behind it.
    if (tc == 0) break;
    FwStrGetTextCharacter(&ptbzFound);
    ptbzFound = FwStrChr(ptbzFound, tc);
  }
  return ptbzLast;
}

int FwStrChrCount(FwTextString ptbz, FwTextCharacter tc) {
  int n = 0;
  for (FwTextString ptbzFound = FwStrChr(ptbz, tc); ptbzFound != nullptr;) {
    n++;
    if (tc == 0) break;
    FwStrGetTextCharacter(&ptbzFound);
    ptbzFound = FwStrChr(ptbzFound, tc);
  }
  return n;
}

FwTextByte* FwStrChrMulti(FwTextString ptbz, FwTextString ptbzDelimiters) {
  FwAssert(ptbz != nullptr, "NULL ptbz");
  FwAssert(ptbzDelimiters != nullptr, "null delimiters.");
  if (ptbz == nullptr || ptbzDelimiters == nullptr) return nullptr;
  FwTextByte* ptbAfter;
  return Find(ptbz, Delimiters(ptbzDelimiters), true, &ptbAfter);
}

FwTextByte* FwStrChrMultiNot(FwTextString ptbz, FwTextString ptbzDelimiters) {
  FwAssert(ptbz != nullptr, "NULL ptbz");
  FwAssert(ptbzDelimiters != nullptr, "null delimiters.");
  if (ptbz == nullptr || ptbzDelimiters == nullptr) return nullptr;
  FwTextByte* ptbAfter;
  return Find(ptbz, Delimiters(ptbzDelimiters), false, &ptbAfter);
}

FwTextString FwStrTok(FwTextString* pptbz, FwTextString ptbzDelimiters) {
  FwAssert(pptbz != nullptr, "NULL pptbz");
  FwAssert(ptbzDelimiters != nullptr, "null delimiters.");
  if (pptbz == nullptr || ptbzDelimiters == nullptr || *pptbz == nullptr) return nullptr;
  const Delimiters delimiters(ptbzDelimiters);
  FwTextByte* ptbAfter = nullptr;
  FwTextByte* const ptbToken = Find(*pptbz, delimiters, false, &ptbAfter);
  if (ptbToken == nullptr) {
    *pptbz = nullptr;
    return nullptr;
  }
  FwTextByte* const ptbEnd = Find(ptbAfter, delimiters, true, &ptbAfter);
  if (ptbEnd == nullptr) {
    *pptbz = nullptr;
    return ptbToken;
  }
  std::memset(ptbEnd, 0, static_cast<size_t>(ptbAfter - ptbEnd));
  *pptbz = ptbAfter;
  return ptbToken;
}

int32 FwStrEndsWith(FwTextByte* ptb1, FwTextByte* ptb2) {
  FwAssert(ptb1 != nullptr, "NULL ptb");
  FwAssert(ptb2 != nullptr, "NULL ptb");
  if (ptb1 == nullptr || ptb2 == nullptr) return 0;
  const size_t cb1 = std::strlen(FWC(ptb1));
  const size_t cb2 = std::strlen(FWC(ptb2));
  if (cb2 > cb1) return 0;
  ptb1 += cb1 - cb2;
  for (; *ptb2 != 0; ptb1++, ptb2++) {
    // Kept, as part of the interface: a signed byte against an unsigned one, so that no suffix
    // beyond ASCII matches.
    const int32 nSigned = *ptb1 < 0x80 ? *ptb1 : *ptb1 - 0x100;
    if (nSigned != *ptb2) return 0;
  }
  return 1;
}

int32 FwStrCompare(FwTextString ptbz1, FwTextString ptbz2) {
  // Null comes first, so that sorting stays defined.
  if (!FwExpect(ptbz1 != nullptr && ptbz2 != nullptr, "NULL ptbz"))
    return (ptbz1 != nullptr) - (ptbz2 != nullptr);
  return std::strcmp(FWC(ptbz1), FWC(ptbz2));
}

int32 FwStrNCompare(FwTextString ptbz1, FwTextString ptbz2, uint32 cbLength) {
  if (!FwExpect(ptbz1 != nullptr && ptbz2 != nullptr, "NULL ptbz"))
    return (ptbz1 != nullptr) - (ptbz2 != nullptr);
  return std::strncmp(FWC(ptbz1), FWC(ptbz2), cbLength);
}

int32 FwStrEqualFolded(FwTextString str1, FwTextString str2) {
  if (str1 == nullptr || str2 == nullptr) return str1 == str2;
  FwTextCharacter tc;
  do {
    tc = FwGetTextCharacterUpper(&str1);
    if (tc != FwGetTextCharacterUpper(&str2)) return 0;
  } while (tc != 0);
  return 1;
}
