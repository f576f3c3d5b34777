// Text strings: names shared inside the framework.
#ifndef FCSTRING_H
#define FCSTRING_H

#include "fwstring.h"

// The offset of the first zero among cbSize bytes, plus one, or cbSize. Asserts "No cbSize".
uint32 FcStrNSize(FwByte* pabBuffer, uint32 cbSize);

// The capacity that a growing record takes for a request: the first power of two, from 32 on, that
// is above twice the request.
size_t FcStrGetGrowBufferSize(size_t cbRequest);

// Moves a growing record to a larger buffer, by FcStrGetGrowBufferSize, or to a smaller one of
// exactly cbSize bytes, which cuts the string between characters. The present capacity changes
// nothing.
// Asserts "Can't resize fixed record", "Never resize to 0".
void FcStrRecordResize(FwStrRecord* pRecord, size_t cbSize);

// Inserts a character at a byte offset up to the length and returns the growth. Leaves one block
// allocated for each insertion before the end. Asserts "Bad position".
uint32 FcStrRecordInsertCharacter(FwStrRecord* pRecord, uint32 nPosition, FwTextCharacter tc);

// Puts nRepeats copies of a character; meant for characters of one byte.
uint32 FcStrMultiPutTextCharacter(FwStrRecord* pRecord, FwTextCharacter tc, uint32 nRepeats);

// Moves nOffset characters forward or back, but not beyond either end of the string.
FwTextByte* FcTextCharacterOffset(FwTextString ptbzStart, FwTextByte* ptb, int32 nOffset);

// Whether whole characters end at the end of the string, or of cbLength bytes. If not, the start of
// the character that straddles it is stored unless the pointer is null.
int32 fFcStrWellTerminated(FwTextString ptbz, FwTextByte** pptbFirstBadChar);
int32 fFcStrNWellTerminated(FwTextString ptb, uint32 cbLength, FwTextByte** pptbFirstBadChar);

// The length of the character that a byte leads; 0 if it can't lead one.
inline uint32 FcUTF8LeadLength(FwTextByte tb) {
  if (tb < 0x80) return 1;
  if (tb < 0xC0) return 0;
  if (tb < 0xE0) return 2;
  if (tb < 0xF0) return 3;
  if (tb < 0xF8) return 4;
  if (tb < 0xFC) return 5;
  return tb < 0xFE ? 6 : 0;
}

// The scanners below FwStrToL, FwStrToUL and FwStrToD. White space and one sign may come first.
// Base 0 reads the base from the text: 0x for 16, 0 for 8. fUseCLocale has no effect: digits and
// point are ASCII always. Out of range, the result is the nearest bound and the return is false.
int32 FcStrScanInt(FwTextString* pptbz, uint32 nBase, int32* pnResult, int32 fUseCLocale);
int32 FcStrScanUInt(FwTextString* pptbz, uint32 nBase, uint32* pnResult, int32 fUseCLocale);
int32 FcStrScanReal(FwTextString* pptbz, double* pnResult, int32 fUseCLocale);

#endif
