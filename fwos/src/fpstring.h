// Text strings: the platform half, which knows the locale.
#ifndef FPSTRING_H
#define FPSTRING_H

#include "fwtypes.h"

struct FcNumberFormat;

// The name of the locale, from FpStrInit to FpStrShutdown; null while the locale isn't asked for.
extern FwTextString FpLocaleStr;

// Nonzero if conversion to and from the local encoding is set up; 0 while the locale isn't asked
// for.
extern int fUnicode;

// Nonzero if FwStrUTF8ToLocal changes no text.
int32 fFpStrLocalIsUTF8();

// Nonzero if FwStrUTF8ToLocal doesn't change this text, so that a name can go to the system as it
// is.
int32 fFpStrIsLocal(FwTextString uni);

// Takes the locale from the environment and sets up the converters: at once, or, if the boot
// context has the locale on demand and nothing shows until then, when the first of the functions
// here or in fwunicod.h has text outside ASCII or needs the locale's name or numerics. The locale
// is the one that the environment chose at FpStrInit.
// Asserts "Something screwy - no locale set", "Locale conversions not set up correctly: non-ascii
// filenames, etc, will not work".
void FpStrInit();
void FpStrShutdown();

// Appends FpLocaleStr.
void FpStrGetLocaleIDString(FwStrRecord* pRecord);

// Never called in this build. Assert "Shouldn't be called" and return the character.
FwTextCharacter FpStrToUpper(FwTextCharacter tc);
FwTextCharacter FpStrToLower(FwTextCharacter tc);

// Scan with the C library and so with local numerics. 1 and the cursor moved, or 0.
int32 FpStrScanLocalUInt(FwTextString* pptbz, uint32* pnResult);
int32 FpStrScanLocalReal(FwTextString* pptbz, double* pnResult);

// The local numerics: "." and 0 where the locale has none.
FwTextCharacter FpStrDecimalPointChar();
FwTextCharacter FpStrThousandsSeparatorChar();

// Print with local numerics, through the plain formatters FcStrPrintfInt and FcStrPrintfReal.
// Return the bytes added.
uint32 FpStrPrintLocalInt(FwStrRecord* pRecord, int32 value, const FcNumberFormat& format);
uint32 FpStrPrintLocalReal(FwStrRecord* pRecord, double value, const FcNumberFormat& format);

#endif
