#include "fwunicod.h"

#include <cstring>

#include "fcpp.h"
#include "fcstring.h"
#include "fwmem.h"
#include "fwstring.h"
#include "vqassert.h"

namespace {

bool IsSurrogate(FwUTF16Char uc) {
  return uc >= 0xD800 && uc <= 0xDFFF;
}
bool IsLeading(FwUTF16Char uc) {
  return uc >= 0xD800 && uc <= 0xDBFF;
}
bool IsTrailing(FwUTF16Char uc) {
  return uc >= 0xDC00 && uc <= 0xDFFF;
}

// The units of the character at a place: a pair is cut short by the terminator.
uint32 UnitsAt(const FwUTF16Char* puc) {
  return IsSurrogate(puc[0]) && puc[1] != 0 ? 2 : 1;
}

// Appends at most cucInLength characters.
uint32 PutCharacters(FwStrRecord* pRecord, FwUTF16Char* puc, uint32 cucInLength) {
  uint32 cbAdded = 0;
  for (; cucInLength > 0 && *puc != 0; cucInLength--) {
    FwTextCharacter tc;
    puc += FwUTF16ToCharacter(&tc, puc);
    cbAdded += FwStrPutTextCharacter(pRecord, tc);
  }
  return cbAdded;
}

}  // namespace

uint32 FwCharacterToUTF8(FwTextCharacter tc, FwTextByte* utf) {
  if (!FwExpect(utf != nullptr, "NULL ptb")) return 0;
  if (tc < 0x80) {
    utf[0] = static_cast<FwTextByte>(tc);
    return 1;
  }
  const uint32 nLength = tc < 0x800       ? 2
                         : tc < 0x10000   ? 3
                         : tc < 0x200000  ? 4
                         : tc < 0x4000000 ? 5
                                          : 6;
  auto bits = static_cast<uint32>(tc);
  for (uint32 i = nLength - 1; i > 0; i--) {
    utf[i] = static_cast<FwTextByte>(0x80 | (bits & 0x3F));
    bits >>= 6;
  }
  // As many high one bits as the length, then a zero.
  utf[0] = static_cast<FwTextByte>((0xFF00u >> nLength) | bits);
  return nLength;
}

uint32 FwUTF8ToCharacter(FwTextCharacter* tc, FwTextByte* utf) {
  FwAssert(utf != nullptr, "NULL ptb");
  FwAssert(tc != nullptr, "NULL param");
  if (utf == nullptr || tc == nullptr) return 0;
  const FwTextByte tbLead = utf[0];
  if (tbLead < 0x80) {
    *tc = tbLead;
    return 1;
  }
  const uint32 nLength = FcUTF8LeadLength(tbLead);
  if (nLength == 0) {
    FwAssertFailed("Badly encoded UTF-8 character (malformed header in leading byte)");
    // Negative, so no character, and FwCharacterToUTF8 makes the same byte of it again.
    *tc = tbLead - 0x100;
    return 0;
  }
  FwAssert((tbLead & (0x80u >> nLength)) == 0,
           "Badly encoded UTF-8 character (malformed header in leading byte [no trailing zero])");
  uint32 value = tbLead & (0x7Fu >> nLength);
  bool fEnded = false;
  for (uint32 i = 1; i < nLength; i++) {
    // The terminator ends the reading: nothing behind it belongs to the string.
    fEnded = fEnded || utf[i] == 0;
    value = (value << 6) | (fEnded ? 0u : utf[i] & 0x3Fu);
  }
  constexpr uint32 kShortest[] = {0, 0, 0x80, 0x800, 0x10000, 0x200000, 0x4000000};
  FwAssert(value >= kShortest[nLength], "Badly encoded UTF-8 character (overly long encoding)");
  *tc = static_cast<FwTextCharacter>(value);
  return nLength;
}

uint32 FwCharacterToUTF16(FwTextCharacter tc, FwUTF16Char* utf16) {
  if (tc < 0x10000) {
    utf16[0] = static_cast<FwUTF16Char>(tc);
    return 1;
  }
  const uint32 bits = static_cast<uint32>(tc) - 0x10000;
  utf16[0] = static_cast<FwUTF16Char>(0xD800 + ((bits >> 10) & 0x3FF));
  utf16[1] = static_cast<FwUTF16Char>(0xDC00 + (bits & 0x3FF));
  return 2;
}

uint32 FwUTF16ToCharacter(FwTextCharacter* tc, FwUTF16Char* utf16) {
  const FwUTF16Char uc = utf16[0];
  if (!IsSurrogate(uc)) {
    *tc = uc;
    return 1;
  }
  FwAssert(IsLeading(uc), "Invalid UTF16 character (bad leading unit");
  FwAssert(IsTrailing(utf16[1]), "Invalid UTF16 character (bad second unit)");
  // Kept, as part of the interface: the second unit is stepped over and its bits are not used.
  const uint32 bits = uc & 0x3FFu;
  *tc = static_cast<FwTextCharacter>(((bits << 10) | bits) + 0x10000);
  return UnitsAt(utf16);
}

uint32 FwUTF16CountChars(FwUTF16String s) {
  if (!FwExpect(s != nullptr, "NULL param")) return 0;
  uint32 n = 0;
  while (s[n] != 0)
    n += UnitsAt(s + n);
  return n;
}

uint32 FwUniCountChars(FwUTF16String s) {
  if (!FwExpect(s != nullptr, "NULL param")) return 0;
  uint32 n = 0;
  while (s[n] != 0)
    n++;
  return n;
}

FwUTF16String FwUTF16StrDuplicate(FwUTF16String s) {
  if (s == nullptr) return nullptr;
  const size_t cb = (size_t{FwUniCountChars(s)} + 1) * sizeof(FwUTF16Char);
  auto* pNew = static_cast<FwUTF16String>(FwMemAlloc(cb, ALLOC_MUST_SUCCEED | INIT_NONE));
  std::memcpy(pNew, s, cb);
  return pNew;
}

FwUTF16String FwStrToUTF16(FwTextString pbz) {
  if (pbz == nullptr) return nullptr;
  // No character takes more units than it has bytes, but for one that the terminator cuts off: its
  // lead byte alone may make two.
  const size_t cucMost = std::strlen(FWC(pbz)) + 2;
  auto* pBuffer = static_cast<FwUTF16String>(
      FwMemAlloc(cucMost * sizeof(FwUTF16Char), ALLOC_MUST_SUCCEED | INIT_NONE));
  FwUTF16Char* puc = pBuffer;
  FwTextByte* ptb = pbz;
  for (FwTextCharacter tc; (tc = FwStrGetTextCharacter(&ptb)) != 0;)
    puc += FwCharacterToUTF16(tc, puc);
  *puc = 0;
  FwUTF16String pNew = FwUTF16StrDuplicate(pBuffer);
  FwMemFree(pBuffer);
  return pNew;
}

FwTextString FwUTF16ToStr(FwUTF16String pucz, uint32* pcbOutLength) {
  return FwUTF16ToStrN(pucz, pcbOutLength, 0xFFFFFFFF);
}

FwTextString FwUTF16ToStrN(FwUTF16String pucz, uint32* pcbOutLength, uint32 cucInLength) {
  if (pucz == nullptr) {
    if (pcbOutLength != nullptr) *pcbOutLength = 0;
    return nullptr;
  }
  OpenRecord record;
  const uint32 cbAdded = PutCharacters(&record, pucz, cucInLength);
  if (pcbOutLength != nullptr) *pcbOutLength = cbAdded;
  return record.take();
}

uint32 FwUTF16ToStrRec(FwStrRecord* pRecord, FwUTF16String pucz) {
  return FwUTF16ToStrRecN(pRecord, pucz, 0xFFFFFFFF);
}

uint32 FwUTF16ToStrRecN(FwStrRecord* pRecord, FwUTF16String pucz, uint32 cucInLength) {
  if (!FwExpect(pucz != nullptr, "NULL param")) return 0;
  return PutCharacters(pRecord, pucz, cucInLength);
}

uint32 FwUTF16CharValidate(FwUTF16Char* uc) {
  if (!FwExpect(uc != nullptr, "NULL param")) return 0;
  return !IsSurrogate(uc[0]) || (IsLeading(uc[0]) && IsTrailing(uc[1]));
}

uint32 FwUTF16Validate(FwValidate fix, FwUTF16String* pbzOriginal) {
  if (pbzOriginal == nullptr) {
    if (fix == FWVALIDATE_REPORT) FwAssertFailed("Null string passed to FwUTF16Validate");
    return 0;
  }
  if (*pbzOriginal == nullptr) return 1;

  uint32 fGood = 1;
  size_t i = 0;
  // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): the string is never mended to null
  while ((*pbzOriginal)[i] != 0) {
    FwUTF16String const pucz = *pbzOriginal;
    if (FwUTF16CharValidate(pucz + i)) {
      i += UnitsAt(pucz + i);
      continue;
    }
    if (fix == FWVALIDATE_RETURN) return 0;
    if (fix != FWVALIDATE_FIX) {
      FwAssertFailed("Bad UTF16 string");
      return 0;
    }
    // The string is the caller's block and about to be freed, so it may be cut.
    FwUTF16Char* const pucAfter = pucz + i + 1;
    pucz[i] = 0;
    OpenRecord record;
    FwUTF16ToStrRec(&record, pucz);
    FwStrPutTextCharacter(&record, '_');
    FwUTF16ToStrRec(&record, pucAfter);
    FwMemFree(pucz);
    *pbzOriginal = FwStrToUTF16(record.pbz);
    fGood = 0;
  }
  return fGood;
}
