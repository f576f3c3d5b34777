// The format engine as the framework itself uses it: typed argument lists, parsed items, and the
// state of one call.
//
// A call runs in two stages. The first copies the format with its branches expanded and reads every
// argument into a slot; the second walks that copy and produces output. So a fault of the first
// stage leaves the record untouched. A slot is one place in the argument list behind the selectors:
//
//   "%[1]*d %[0]s"      slot 0: the string    slot 1: the width    slot 2: the integer
#ifndef FCSTRPRF_H
#define FCSTRPRF_H

#include <cstdarg>

#include "fwstring.h"
#include "fwtypes.h"

using FcGeneric = void*;  // an argument that no item refers to
using FcPrfPInt = int*;
using FcPrfPVoid = void*;

union FcStrValue {
  FcGeneric FcGeneric_;
  FwTextString FwTextString_;
  int32 int32_;
  uint32 uint32_;
  double promoted_real_;
  FcPrfPInt FcPrfPInt_;
  FcPrfPVoid FcPrfPVoid_;
};

// The names of the argument types. They are compared as text.
inline constexpr char kFcTypeGeneric[] = "FcGeneric";
inline constexpr char kFcTypeTextString[] = "FwTextString";
inline constexpr char kFcTypeInt32[] = "int32";
inline constexpr char kFcTypeUint32[] = "uint32";
inline constexpr char kFcTypeReal[] = "promoted_real";
inline constexpr char kFcTypePInt[] = "FcPrfPInt";
inline constexpr char kFcTypePVoid[] = "FcPrfPVoid";

// The sizes that go with the type names: constants of the protocol, whatever a pointer measures.
inline constexpr uint32 kFcTypeSize = 4;
inline constexpr uint32 kFcTypeSizeReal = 8;

inline constexpr uint32 kFcStrTerminated = 0xFFFFFFFF;  // the string ends at its terminator

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): what belongs together stands together
struct FcStrArg {
  FcStrValue Value;
  uint32 cbValueStringLength;  // of a string: its bytes, or kFcStrTerminated
  char* pszType;               // one of the type names
  uint32 cbTypeSize;           // kFcTypeSize or kFcTypeSizeReal
};

struct FcStrArgList {
  FcStrArg* paArg;
  uint32 cSize;
};

// Stands behind each string of a message that holds several.
inline constexpr FwTextByte kFcStrMarker = 8;

// A pointer's item can't be longer.
inline constexpr uint32 kFcPrfMaxPointerItem = 31;

inline constexpr uint32 kFcPrfVaList = 0;
inline constexpr uint32 kFcPrfArgList = 1;

// The one source of arguments for the whole engine.
struct FcPrfArgIterator {
  uint32 nType;  // kFcPrfVaList or kFcPrfArgList
  union {
    va_list VaList_;
    FcStrArgList* pArgList_;
  } ArgList;
  uint32 iList;  // arguments taken so far
};

struct FcPrfContext;
struct FcStrFormatSpec;

// Puts one item. False abandons the call; the fault was reported.
using pfnFcPrfProcessFormat = bool (*)(FcPrfContext* pctpr, FcStrFormatSpec* pFormat,
                                       FwStrRecord* pRecord);

inline constexpr int32 kFcPrfNone = -2;          // no width, no precision
inline constexpr int32 kFcPrfFromArgument = -1;  // * until it is read

// One parsed item.
struct FcStrFormatSpec {
  FwTextByte* ptbLocation;    // its % in the format
  uint32 cbFormatSpecLength;  // of the whole item, % included
  uint32 fLeftAlign;
  FwTextByte tbPadChar;       // '0' or a blank
  FwTextByte tbPositiveChar;  // '+', a blank or 0
  int32 fOptionalForm;
  FwTextByte ptbzOtherFlags[3];  // the positive character and # as text
  int32 nWidth;                  // or kFcPrfNone, or kFcPrfFromArgument
  int32 nPrecision;              // or kFcPrfNone, or kFcPrfFromArgument
  int32 nPosition;               // the [n], or -1
  FcStrArg* pArg;
  FwByte bTypeName;        // the conversion
  uint32 nLengthModifier;  // 0 none, 1 for h, 2 for l or L
  pfnFcPrfProcessFormat pfnProcessArg;
};

using FcStrFormatSpecList = FcStrFormatSpec*;

inline constexpr int32 kFcPrfSlotUnused = -1;
inline constexpr int32 kFcPrfSlotStar = -2;

// The state of one call, on the stack.
struct FcPrfContext {
  FwStrRecord RecordFormat;   // the expanded format
  FwTextByte** paptbPercent;  // every % in the format, %% once
  uint32 cNumPercents;
  FcStrFormatSpecList paFormat;  // one for each percent
  uint32 cNumFormats;
  FcStrArgList ArgList;  // the slots; the caller's own if it gave a list
  int32 fGivenArgList;
  int32* paMapFormatFromArg;  // for each slot the index of its item, or kFcPrfSlot...
  uint32 cMaxSlots;           // entries of that map
  uint32 cSlots;              // those in use
  int32 fLocalisedNumerics;
  va_list ArgsSave;  // the variable list as it stood when the items' arguments were read
  int32 fArgsSaved;
  int32 fCanUsePrintf;  // whether the C library would print the same
  uint32 cbOutput;      // bytes produced so far
};

// As FwStrPrintf and FwStrVPrintf, with the numerics by flag. FcStrVPrintf is the one real entry.
uint32 FcStrPrintf(FwStrRecord* pRecord, int32 fMessage, int32 fLocalisedNumerics,
                   FwTextString ptbzFormat, ...);
uint32 FcStrVPrintf(FwStrRecord* pRecord, int32 fMessage, int32 fLocalisedNumerics,
                    FwTextString ptbzFormat, va_list VaList);

// Formats from a typed list, with local numerics. The types must be those that the items want.
uint32 FcPrfPrintArgList(FwStrRecord* pRecord, FwTextString ptbzFormat, FcStrArgList* pArgList);

// How one number is printed: what the flags, the width and the precision of an item ask for.
struct FcNumberFormat {
  char type;                  // the conversion
  int32 nMinWidth;            // bytes, 0 or less for none
  int32 nPrecision;           // the least digits of an integer; of a real, as the conversion says
  bool fLeftJustified;        // cancels fPadWithZero
  bool fPadWithZero;          // fills the width
  FwTextByte tbPositiveChar;  // in front of what is not negative; 0: nothing
  bool fOptionalForm;         // prefixes of o, x and X; the point of reals
};

// Print one number through the C library, for local numerics. A negative precision means none.
uint32 FcStrPrintfInt(FwStrRecord* pRecord, int32 value, char type, int32 nMinWidth,
                      int32 nPrecision, int32 fLeftJustified, int32 fPadWithZero,
                      FwTextByte tbPositiveChar, int32 fOptionalForm);
uint32 FcStrPrintfReal(FwStrRecord* pRecord, double value, char type, int32 nMinWidth,
                       int32 nPrecision, int32 fLeftJustified, int32 fPadWithZero,
                       FwTextByte tbPositiveChar, int32 fOptionalForm);

// Puts what the C library's printf makes of a format and its arguments.
[[gnu::format(printf, 2, 3)]] uint32 FcStrPutCFormat(FwStrRecord* pRecord, const char* pszFormat,
                                                     ...);

// Puts at most cbStringLength bytes of a string, padded to cbWidth bytes; a width of 0 means none.
// A string with a width must not be empty.
uint32 FcStrNPutPaddedRawByteString(FwStrRecord* pRecord, FwTextByte* ptb, uint32 cbStringLength,
                                    uint32 cbWidth, uint32 fLeftAlign, FwTextByte tbPadChar);

// The number of % signs in a format: what a list of its percents can hold at most.
uint32 FcStrCountPercents(FwTextString ptbzFormat);

// Fills the list with the position of every % that begins an item, a literal %% once, and gives
// their number. pcMaxSlots, which may be null, receives an upper bound of argument slots.
// Asserts and returns false for a % at the end and for a [ without a number or ].
bool FcStrGetPercentList(FwTextString ptbzFormat, FwTextByte** paptbPercent, uint32* pcNumPercents,
                         uint64* pcMaxSlots);

// Parses the item at ptbLocation, up to its conversion, whatever byte that is. pArg and
// pfnProcessArg are null then. Asserts and returns false for a fault.
bool FcStrGetFormatSpec(FwTextByte* ptbLocation, FcStrFormatSpec* pFormat);

// An item by its index. A cbTypeSize other than -1 must be the size of its argument ("Bad typing").
FcStrFormatSpec* FcStrGetFormat_(FcStrFormatSpecList paFormat, uint32 iFormat, int32 cbTypeSize);

// First stage: fills the context. False: the fault was reported, the context is empty again.
bool fFcPrfInitContext(FcPrfContext* pctpr, int32 fMessage, int32 fLocalisedNumerics,
                       FwTextString ptbzFormat, int32 fGivenArgList,
                       FcPrfArgIterator* pArgIterator);

// Second stage: puts everything. False: abandoned, what was put so far stays.
bool FcPrfDoPrintf(FcPrfContext* pctpr, FwStrRecord* pRecord);

// Frees what the context owns.
void FcPrfDestroyContext(FcPrfContext* pctpr);

// Walks the percents from iSearchFrom and looks at the byte after each. One that is in pbzToFind is
// found, one in pbzToAvoid gives up.
bool fFcPrfGetNextPercentIndex(FcPrfContext* pctpr, uint32 iSearchFrom, const char* pbzToFind,
                               const char* pbzToAvoid, uint32* piFound);

// Expand the list or option whose opener is the percent *piPercent into RecordFormat; *piPercent
// becomes its closer. Each takes its selector from the arguments.
bool FcPrfParseBranchList(FcPrfContext* pctpr, FcPrfArgIterator* pArgIterator, uint32* piPercent);
bool FcPrfParseOptional(FcPrfContext* pctpr, FcPrfArgIterator* pArgIterator, uint32* piPercent);

// Copies the format into RecordFormat with all branches and options expanded.
bool FcPrfExpand(FcPrfContext* pctpr, FwTextString ptbzFormat, FcPrfArgIterator* pArgIterator);

// Takes the next argument: read into pStore from a variable list, or the list's own.
// Asserts and returns null if a given list holds another type there.
FcStrArg* FcPrfNextArg(FcPrfArgIterator* pArgIterator, const char* pszType, FcStrArg* pStore);

// Prepare RecordFormat for a message: see FwStrPrintf.
bool FcPrfHandleMessages(FcPrfContext* pctpr);

// Assign slots to the items, and read all arguments.
bool FcPrfScanFormats(FcPrfContext* pctpr);
bool FcPrfScanArguments(FcPrfContext* pctpr, FcPrfArgIterator* pArgIterator);

// The handlers of the conversions.
bool FcPrfProcessIntArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord);
bool FcPrfProcessCharArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord);
bool FcPrfProcessStringArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord);
bool FcPrfProcessDoubleArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord);
bool FcPrfProcessCountArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord);
bool FcPrfProcessPointerArg(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord);
bool FcPrfProcessQuotedPercent(FcPrfContext* pctpr, FcStrFormatSpec* pFormat, FwStrRecord* pRecord);

#endif
