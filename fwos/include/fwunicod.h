// Conversions between characters, UTF-8, UTF-16 and the local encoding.
//
// UTF-8 is the old six-byte form: 31 bits, no test for surrogates or for values above 0x10FFFF.
//
//   length  values below   lead byte
//     1     0x80           0xxxxxxx
//     2     0x800          110xxxxx
//     3     0x10000        1110xxxx
//     4     0x200000       11110xxx
//     5     0x4000000      111110xx
//     6     (the rest)     1111110x
//
// New strings are framework blocks, freed by the caller with FwMemFree. A null string converts to
// null.
#ifndef FWUNICOD_H
#define FWUNICOD_H

#include "fwtypes.h"

using FwUTF16Char = uint16;
using FwUTF16String = FwUTF16Char*;  // zero-terminated

// What FwUTF16Validate does about a bad character.
enum FwValidate : int32 {
  FWVALIDATE_FIX = 0,     // puts _ in its place
  FWVALIDATE_RETURN = 1,  // returns 0
  FWVALIDATE_REPORT = 2,  // asserts and returns 0
};

// Writes a character, without a terminator, and returns the number of bytes, 1 to 6. A negative
// value writes its low byte, which undoes what FwUTF8ToCharacter makes of a malformed lead byte.
uint32 FwCharacterToUTF8(FwTextCharacter tc, FwTextByte* utf);

// Reads a character and returns the number of bytes that its lead byte tells; 1 for the terminator.
// Following bytes aren't tested; a zero among them ends the reading, and counts as zero bits. A
// byte that can't lead has length 0 and its value as a signed byte. Asserts "Badly encoded UTF-8
// character (malformed header in leading byte)", "Badly encoded UTF-8 character (overly long
// encoding)"; the value is stored nevertheless.
uint32 FwUTF8ToCharacter(FwTextCharacter* tc, FwTextByte* utf);

// One character, returning the number of units, 1 or 2. Reading takes all of the value from the
// first unit of a pair, so a pair doesn't survive the way there and back.
// Assert "Invalid UTF16 character (bad leading unit", "Invalid UTF16 character (bad second unit)".
uint32 FwCharacterToUTF16(FwTextCharacter tc, FwUTF16Char* utf16);
uint32 FwUTF16ToCharacter(FwTextCharacter* tc, FwUTF16Char* utf16);

// The units before the terminator. FwUTF16CountChars takes two at a time from a surrogate on.
uint32 FwUTF16CountChars(FwUTF16String s);
uint32 FwUniCountChars(FwUTF16String s);

FwUTF16String FwUTF16StrDuplicate(FwUTF16String s);
FwUTF16String FwStrToUTF16(FwTextString pbz);

// To UTF-8, as a new string or appended to a record. The number of bytes goes to pcbOutLength,
// which may be null, or is the result. The N forms take at most cucInLength characters.
FwTextString FwUTF16ToStr(FwUTF16String pucz, uint32* pcbOutLength);
FwTextString FwUTF16ToStrN(FwUTF16String pucz, uint32* pcbOutLength, uint32 cucInLength);
uint32 FwUTF16ToStrRec(FwStrRecord* pRecord, FwUTF16String pucz);
uint32 FwUTF16ToStrRecN(FwStrRecord* pRecord, FwUTF16String pucz, uint32 cucInLength);

// 1 unless uc points to a surrogate that doesn't lead a valid pair.
uint32 FwUTF16CharValidate(FwUTF16Char* uc);

// 1 if no character is bad. FWVALIDATE_FIX replaces the string, which must be a framework block.
// Asserts "Null string passed to FwUTF16Validate", "Bad UTF16 string" under FWVALIDATE_REPORT.
uint32 FwUTF16Validate(FwValidate fix, FwUTF16String* pbzOriginal);

// Between UTF-8 and the encoding of the locale. In a UTF-8 locale both are plain copies.
FwTextString FwStrLocalToUTF8(const char* local);
char* FwStrUTF8ToLocal(const FwTextString uni);

#endif
