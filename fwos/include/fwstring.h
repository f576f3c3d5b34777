// Text strings and string records.
//
// A string that is built goes through a record; a string that is read is walked with
// FwStrGetTextCharacter.
//
//   FwStrRecord record;
//   FwStrRecordOpen(&record);
//   FwStrPutTextString(&record, ptbzName);
//   FwStrPutTextCharacter(&record, '/');
//   FwTextString ptbz = FwStrRecordClose(&record);   // the caller's, freed with FwMemFree
//
//   FwTextByte* ptb = ptbz;
//   for (FwTextCharacter tc; (tc = FwStrGetTextCharacter(&ptb)) != 0;) use(tc);
//
// A record grows, or writes into a fixed buffer of the caller:
//
//   pbz                     pbTerminator             pbLast
//    |                           |                     |
//    t  e  x  t  s  o  f  a  r   0   .   .   .   .   . .
//
// pbz <= pbTerminator <= pbLast and a zero at pbTerminator hold between calls, so the string can be
// read through pbz at any time. A growing record never fails: running out of memory ends the
// program.
//
// Text is expected to be well-formed UTF-8, but other data can be walked too: a byte that
// can't begin a character counts as a negative character of one byte, and no walk passes the
// terminator. What the bytes of a sequence mean is fwunicod.h's business.
//
// All lengths are in bytes unless the name says characters. Broken contracts are assertions: a null
// argument asserts ("NULL ptbz", "NULL ptb", "NULL pptb", "NULL *pptb", "NULL pptbz", "NULL
// param" ...) and the call then does nothing, with the result 0 or null.
#ifndef FWSTRING_H
#define FWSTRING_H

#include "fwtypes.h"

struct FwStrRecord {
  FwString pbz = nullptr;          // the buffer; null once closed or abandoned
  FwByte* pbLast = nullptr;        // its last byte: the capacity is pbLast - pbz + 1
  FwByte* pbTerminator = nullptr;  // the terminating zero: the length is pbTerminator - pbz
  uint8 fFixed = 0;                // the buffer is the caller's: it never moves or grows
  uint8 fTruncated = 0;            // output was cut: puts do nothing until a shorten clears it
  uint32 cbWellTerminated = 0;     // private: whole characters are known to end here
};

// --- Life of a record ---

// Opens a growing record on a new 32-byte buffer that holds the empty string.
// Asserts "No record to Init".
void FwStrRecordOpen(FwStrRecord* pRecord);

// The same with a buffer of cbSize bytes. Asserts "Zero initial size", and takes 1 then.
void FwStrRecordOpenSize(FwStrRecord* pRecord, uint32 cbSize);

// Opens a fixed record on a buffer of cbSize bytes that holds a terminated string: puts append to
// it. Without a terminator the content ends on the last byte, which isn't written.
// Asserts "No initial byte string", "Can't have 0 size" (the record is closed then), "Badly
// terminated string".
void FwStrRecordOpenOn(FwStrRecord* pRecord, FwString pb, uint32 cbSize);

// Ends the record and returns the string: the caller frees it with FwMemFree, or gets back its own
// buffer from a fixed record. A grown string is moved into a block of its exact size.
// Asserts "NULL buffer from closed record".
FwString FwStrRecordClose(FwStrRecord* pRecord);

// Ends the record and frees a grown buffer. Does nothing to a record that isn't open.
void FwStrRecordAbandon(FwStrRecord* pRecord);

// Cuts the string to cbLength bytes and returns the new length; a larger cbLength changes nothing.
// Cutting ends the truncated state, and nothing else does. Asserts "Bad shorten" when the result
// ends inside a character.
uint32 FwStrRecordShorten(FwStrRecord* pRecord, uint32 cbLength);

// --- Puts: each appends and returns the number of bytes added ---

// Text puts assert "Badly terminated string" when the string now ends inside a character. On a
// fixed record without room they take the characters that still fit, skip the others and never set
// fTruncated.

// Appends one character. Asserts "Attempt to insert zero text character".
uint32 FwStrPutTextCharacter(FwStrRecord* pRecord, FwTextCharacter tc);
uint32 FwStrPutTextString(FwStrRecord* pRecord, FwTextString ptbz);
// Appends at most cbLength bytes, ending at a zero among them. Asserts "Bad cbLength" from
// 0x7FFFFFFF on.
uint32 FwStrNPutTextString(FwStrRecord* pRecord, FwTextByte* ptb, uint32 cbLength);

// Raw puts copy bytes and check nothing. On a fixed record without room they fill it to the last
// byte and set fTruncated.

// Returns 0 when the room has just run out, but 1 on a record already truncated.
uint32 FwStrPutRawByte(FwStrRecord* pRecord, FwRawByte rb);
uint32 FwStrPutRawString(FwStrRecord* pRecord, FwRawString prbz);
// Appends at most cbLength bytes, ending at a zero among them. Asserts "No cbSize" for 0, "Non +ve
// size" when a fixed record has no room at all.
uint32 FwStrNPutRawString(FwStrRecord* pRecord, FwRawByte* prb, uint32 cbLength);

// Numbers in decimal. Int, Float and Real print as the C locale does, IntLocal with local numerics.
uint32 FwStrPutInt(FwStrRecord* pRecord, int32 value);
uint32 FwStrPutIntLocal(FwStrRecord* pRecord, int32 value);
uint32 FwStrPutFloat(FwStrRecord* pRecord, double value);
uint32 FwStrPutReal(FwStrRecord* pRecord, double value, int32 nPrecision);

// --- Walking ---

inline constexpr uint32 FW_TEXTBYTE_LEAD = 2;
inline constexpr uint32 FW_TEXTBYTE_TRAIL = 8;

// Decodes one character and moves the cursor past it. At the terminator the result is 0 and the
// cursor ends one past it. A byte that can't begin a character gives a negative value and is one
// byte long; an overlong form of zero gives one too, as it ends nothing.
FwTextCharacter FwStrGetTextCharacter(FwTextByte** pptb);

// Steps the cursor back to the lead byte of the character before it, and decodes that. A null
// cursor starts at the terminator. Returns 0 at ptbzStart.
// Asserts "Search before start", "Shouldn't see NULL terminator", "No lead byte found".
FwTextCharacter FwStrGetPreviousTextCharacter(FwTextString ptbzStart, FwTextByte** pptb);

// The number of bytes that aren't continuation bytes.
uint32 FwStrCountCharacters(FwTextString ptbz);

// FW_TEXTBYTE_TRAIL for a continuation byte, otherwise FW_TEXTBYTE_LEAD.
uint32 FwStrGetByteType(FwTextByte tb);

// Decodes to the end: true when it was reached without a bad character.
// Asserts "Badly formed multibyte string".
int32 FwStrValidate(FwTextString ptbz);

// --- Searching ---

// First and last occurrence, or null; 0 finds the terminator. Asserts "Invalid tc to find" for a
// negative character.
FwTextString FwStrChr(FwTextString ptbz, FwTextCharacter tc);
FwTextString FwStrRChr(FwTextString ptbz, FwTextCharacter tc);
int FwStrChrCount(FwTextString ptbz, FwTextCharacter tc);

// The first character that is, or is not, among the delimiters; null if there is none.
// Asserts "null delimiters.".
FwTextByte* FwStrChrMulti(FwTextString ptbz, FwTextString ptbzDelimiters);
FwTextByte* FwStrChrMultiNot(FwTextString ptbz, FwTextString ptbzDelimiters);

// The next token, or null. Writes zeros over the delimiter that ends it, and moves the cursor
// behind that, or to null at the end of the string. A run of delimiters separates once, so no token
// is empty. Asserts "null delimiters.".
FwTextString FwStrTok(FwTextString* pptbz, FwTextString ptbzDelimiters);

// Inserts copies of the tokens of ptbz at the head of an open vector, in order. sep is a set of
// delimiters. The copies are the caller's, freed with FwMemFree.
void FwStrTextSplit(FwTextString ptbz, FwTextString sep, FwVector* pvBuff);
void FwStrTextSplitByChar(FwTextString ptbz, FwTextCharacter sep, FwVector* pvBuff);

// Puts the first n strings of a vector with sep between them, and returns how many they were. n
// below 1, or above the vector's size, means all.
int32 FwStrTextJoin(FwVector* pvsb, int32 n, FwTextString sep, FwStrRecord* record);
int32 FwStrTextJoinByChar(FwVector* pvsb, int32 n, FwTextCharacter sep, FwStrRecord* record);

// Whether ptb1 ends with ptb2. A suffix with a byte from 0x80 on never matches.
int32 FwStrEndsWith(FwTextByte* ptb1, FwTextByte* ptb2);

// Byte-wise, as strcmp and strncmp.
int32 FwStrCompare(FwTextString ptbz1, FwTextString ptbz2);
int32 FwStrNCompare(FwTextString ptbz1, FwTextString ptbz2, uint32 cbLength);

// Equality of the characters folded by FwStrToUpper. Two nulls are equal.
int32 FwStrEqualFolded(FwTextString str1, FwTextString str2);

// --- Duplication: new blocks, freed by the caller with FwMemFree ---

FwTextString FwStrDuplicate(FwTextString ptbz);
// At most cbLength bytes, always terminated. Asserts "Bad cbLength" for a negative one.
FwTextString FwStrNDuplicate(FwTextString ptbz, int cbLength);
// Null when memory is exhausted.
FwTextString FwStrDuplicateFailNull(FwTextString ptbz);

// Copies into a buffer of sizeDest bytes and returns the bytes written. A source that is too long
// is cut silently, between characters. Asserts "zero destination size".
int32 FwStrNCpy(FwTextString ptbzDest, FwTextString ptbzSrc, uint32 sizeDest);

// --- Classification ---

int32 FwStrIsWhiteSpace(FwTextCharacter tc);  // space and tab
int32 FwStrIsDigit(FwTextCharacter tc);       // 0 to 9

// The first character that is not white space, or 0. The cursor ends past that character, so one
// past the terminator for 0.
FwTextCharacter FwStrSkipWhiteSpace(FwTextByte** pptb);

// Fold ASCII letters and return all others unchanged, in every locale.
FwTextCharacter FwStrToUpper(FwTextCharacter tc);
FwTextCharacter FwStrToLower(FwTextCharacter tc);

// Reads one character, folded to upper case.
FwTextCharacter FwGetTextCharacterUpper(FwByte** ptr);

// Appends the name of the locale.
void FwStrGetLocaleIDString(FwStrRecord* pRecord);

// --- Scanners: nonzero when a number was read, and the cursor is then behind it ---

// nBase is 2 to 36. The result is 0 unless the scan succeeds. Assert "Bad base".
int32 FwStrToL(FwTextString* pptbz, uint32 nBase, int32* pnResult);
int32 FwStrToUL(FwTextString* pptbz, uint32 nBase, uint32* pnResult);
int32 FwStrToD(FwTextString* pptbz, double* prResult);

#endif
