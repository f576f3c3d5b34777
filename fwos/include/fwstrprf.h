// Formatted output into string records: the framework's own printf.
//
//   FwStrPrintf(&record, 0, FWT("%[1]s: %[0]d file%(s%|%)"), n == 1, n, ptbzName);
//
// It differs from the C library's in what messages need. An item may name its argument, %[n], so
// that a translation can reorder the words; %(a%|b%) chooses among texts and %{a%} keeps or drops
// one; numbers print alike in every locale unless local numerics are asked for.
//
// An item is, in this order: % [n] flags(-+ #0) width .precision h|l|L conversion. Width and
// precision may be *, and count bytes for strings. Conversions: d i u o x X c s t e E f g G n p P
// %. %t prints as %s; it marks a word that has a translation of its own.
//
// The arguments: first the selectors (uint32) of all branches and options that are met, in the
// order in which they are met; selectors inside skipped text are not passed. Then the arguments of
// the items, in format order or by position. A * takes an int ahead of its item's value, and in a
// positional format [n] numbers the first of them. Either all items of a format are positional or
// none is, and each [n] is used once.
//
// A fault in the format or the arguments asserts, adds nothing and returns 0.
#ifndef FWSTRPRF_H
#define FWSTRPRF_H

#include <cstdarg>

#include "fwtypes.h"

// Formats into the record, numbers as in the C locale, and returns the bytes added. fMessage 1
// declares the result a message that may be translated later: the byte 8 marks the end of each
// string in it if there are two or more.
// Asserts "No format string" and "Bad fMessage", and the faults of the format.
uint32 FwStrPrintf(FwStrRecord* pRecord, int32 fMessage, FwTextString ptbzFormat, ...);

// The same with a list, which stays as it was.
uint32 FwStrVPrintf(FwStrRecord* pRecord, int32 fMessage, FwTextString ptbzFormat, va_list VaList);

// The same two with numbers in the local convention.
uint32 FwStrPrintfLocal(FwStrRecord* pRecord, int32 fMessage, FwTextString ptbzFormat, ...);
uint32 FwStrVPrintfLocal(FwStrRecord* pRecord, int32 fMessage, FwTextString ptbzFormat,
                         va_list VaList);

// Prints one integer and returns the bytes added. type is d, i, u, o, x or X; tbPositiveChar is
// '+', a blank or 0; fOptionalForm puts the prefix of o, x and X, for 0 as well. Zero padding fills
// the width whatever nMinDigits says. Asserts "Bad type" and returns 0 for any other type.
uint32 FwStrPrintInt(FwStrRecord* pRecord, int32 value, char type, int32 nMinWidth,
                     int32 nMinDigits, int32 fLeftJustified, int32 fPadWithZero,
                     FwTextByte tbPositiveChar, int32 fUseCLocale, int32 fOptionalForm);

// Prints one real and returns the bytes added. type is e, E, f, g or G; nPrecision -2 means 6.
// Exponents have three digits. Digits beyond the precision of a double are not exact.
// Asserts "Bad type" and returns 0 for any other type.
uint32 FwStrPrintReal(FwStrRecord* pRecord, double value, char type, int32 nMinWidth,
                      int32 nPrecision, int32 fLeftJustified, int32 fPadWithZero,
                      FwTextByte tbPositiveChar, int32 fUseCLocale, int32 fOptionalForm);

#endif
