// Matching of printed messages against templates: the way back from a printed text to the arguments
// that went into it.
//
//   template    "Error: %t %s is not defined"       translated  "Fehler: %[0]t %[1]s fehlt"
//   English     "Error: file a.xml is not defined"
//                       |    |
//                       |    %s is bound to "a.xml"
//                       %t is bound to "file", replaced by its own translation "Datei"
//
// Each item of the template becomes a binding. A depth-first search binds them in order: each
// binding yields its candidates one after another, shortest first, and whatever fails further on
// sends the search back for the next candidate. A text with markers tells where its strings end, so
// that each string has one candidate only. The bindings then make a typed argument list, from which
// the translated template is printed.
#ifndef FCSTRMAT_H
#define FCSTRMAT_H

#include "fcstrprf.h"
#include "fwstring.h"
#include "fwtypes.h"

inline constexpr uint32 kFcMatMaxBindings = 48;
inline constexpr uint32 kFcMatMaxPrintedBindings = 39;
inline constexpr uint32 kFcMatMaxArguments = 40;
inline constexpr uint32 kFcMatMaxDepth = 16;
inline constexpr uint32 kFcMatMaxSeparators = 32;
inline constexpr uint32 kFcMatMaxRounds = 300;
inline constexpr uint32 kFcMatVariableTries = 100;
// Candidates looked at in one search. Strings in a text without markers end anywhere, so that their
// number is the exponent of what a text that matches almost takes. Messages need some hundreds.
inline constexpr uint32 kFcMatMaxCandidates = 200000;

inline constexpr uint32 FC_MAT_VARIABLE = 1;
inline constexpr uint32 FC_MAT_STRING = 2;
inline constexpr uint32 FC_MAT_BRANCH_LIST = 3;
inline constexpr uint32 FC_MAT_BRANCH_END = 4;

inline constexpr uint32 kFcMatNoPosition = 0xFFFFFFFF;

struct FcMatContext;
struct FcMatBinding;

// Tries the next way to bind, and moves the cursors over what was bound. False: there is none, and
// the English cursor is as it was.
using pfnFcMatRebind = bool (*)(FcMatContext* pctmat, FcMatBinding* pbd, FwTextByte** pptbEnglish,
                                FwTextByte** pptbTemplate);

// One item of the template. The fields of the later sections belong to the kinds named there.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): what belongs together stands together
struct FcMatBinding {
  uint32 nType;
  FwTextByte* ptbzTemplate;        // the item in the template
  uint32 cbTemplateBindingLength;  // its bytes there; 2 for structure
  FcMatBinding* pbdbrLast;         // the enclosing branch list, or null
  uint32 iBranchBinding;           // the alternative of that list that this lies in
  FwTextByte* ptbzEnglish;         // where it now starts in the English text; null while unbound
  pfnFcMatRebind pfnRebind;

  // Variables and strings.
  uint32 nSkipSpaces;  // not 0: leading spaces belong to the binding
  FcStrArg Arg;
  uint32 nArgPosition;  // the [n], or kFcMatNoPosition
  uint32 cbEnglishBindingLength;
  int32 nArgWidth;
  int32 nArgPrecision;
  FwTextByte bTypeName;

  // Strings.
  bool fMarked;                  // it ends at the next marker
  bool fMatchSingly;             // another % follows: each candidate is one character longer
  FwTextCharacter tcToMatch;     // what ends it: the template's next character, or the marker
  FwTextString pbzFixedEnglish;  // of a %t: the English side of a locked pair, or null
  bool fTranslationFailed;       // of a %t: nothing translates, so it is a plain string

  // Branch lists. An option is a list of two: the empty text and its contents.
  uint32 iCurrent;                                       // the alternative being tried
  uint32 iLast;                                          // the index of the last
  FwTextByte* aptbBranchStart[kFcMatMaxSeparators + 1];  // where each starts in the template
  FwTextByte* ptbBranchListEnd;                          // behind the closer
};

using FcMatBindingList = FcMatBinding[kFcMatMaxBindings];

struct FcMatContext {
  FwTextByte** paptbPercent;  // of the English template
  uint32 cNumPercents;
  bool fMessageEscaped;  // the English text holds a marker
  FwTextByte* pbzEnglishEnd;
  FwTextByte* pbzTemplateEnd;
  FwTextByte* pbzEnglishIgnorableStart;  // where the newlines at its end begin
  uint32 nCandidatesLeft = kFcMatMaxCandidates;
};

// Matches the first cbEnglishLength bytes of a printed text, -1 for all of it, against the English
// template. On success appends the translation, with the newlines that end the text, and returns
// true. No match is an ordinary false; a search that has looked at kFcMatMaxCandidates ends so too.
// Asserts "Bad cbEnglishLength" and the limits and faults of the template; false then.
int32 fFcStrNMatchTemplate(FwTextString ptbzEnglish, uint32 cbEnglishLength,
                           FwTextString ptbzEnglishTemplate, FwTextString ptbzTranslatedTemplate,
                           FwStrRecord* prcdTranslated);

// Removes every marker from the record; true if there was one.
int32 FcStrStripMarkers(FwStrRecord* prcd);

// Whether the English text begins with the first cbTemplateLength bytes of the template, -1 for all
// of it. Markers in the text are passed over, and %% in the template stands for %.
int32 fFcStrNEqualIgnoreMarkers(FwTextString ptbzTemplate, FwTextString ptbzEnglish,
                                uint32 cbTemplateLength);

// Deletes one byte of the record. Asserts "Bad iDeleteAt" at or behind the terminator.
void FcStrRecordDeleteAt(FwStrRecord* prcd, FwTextByte* ptbzDelete);

// --- Between the rooms of the matcher ---

// Compares template text with the English and moves both cursors over it; false leaves them.
bool fFcMatStringNEqualIgnoreMarkers(FwTextByte** pptbTemplate, uint32 cbTemplateLength,
                                     FwTextByte** pptbEnglish, uint32 cbEnglishLength);

// Makes the bindings of the template. False: the fault was reported.
bool FcMatBindingListCreate(FcMatContext* pctmat, FcMatBinding* bdl, uint32* pcbdNumElts);

// Unbinds all, which releases the locked pairs.
void FcMatBindingListDestroy(FcMatBinding* bdl, uint32 cbdNumElts);

void FcMatUnbind(FcMatBinding* pbd);

// Whether the binding lies on the alternatives being tried.
bool fFcMatIsBindingOn(const FcMatBinding* pbd);

// Binds the list, a suffix of all bindings, and the text between, from the two cursors on.
bool fFcMatScanArgList(FcMatContext* pctmat, FcMatBinding* bdl, uint32 cbdNumElts,
                       FwTextByte* ptbEnglish, FwTextByte* ptbTemplate);

// Fills the list, which has room for kFcMatMaxArguments. False: it doesn't suffice.
bool FcMatMakeArgList(const FcMatContext* pctmat, FcStrArgList* pArgList, FcMatBinding* bdl,
                      uint32 cbdNumElts);

// What a .* of the item must have been for its text to print as it did.
int32 FcMatGetPrecision(const FcMatBinding* pbd);

// The ways to bind, by conversion.
bool fFcMatRebindReal(FcMatContext*, FcMatBinding*, FwTextByte**, FwTextByte**);
bool fFcMatRebindHex(FcMatContext*, FcMatBinding*, FwTextByte**, FwTextByte**);
bool fFcMatRebindCharacter(FcMatContext*, FcMatBinding*, FwTextByte**, FwTextByte**);
bool fFcMatRebindInt32(FcMatContext*, FcMatBinding*, FwTextByte**, FwTextByte**);
bool fFcMatRebindUInt32(FcMatContext*, FcMatBinding*, FwTextByte**, FwTextByte**);
bool fFcMatRebindString(FcMatContext*, FcMatBinding*, FwTextByte**, FwTextByte**);
bool fFcMatRebindTranslatableString(FcMatContext*, FcMatBinding*, FwTextByte**, FwTextByte**);
bool fFcMatRebindBranchList(FcMatContext*, FcMatBinding*, FwTextByte**, FwTextByte**);
bool fFcMatRebindBranchEnd(FcMatContext*, FcMatBinding*, FwTextByte**, FwTextByte**);

#endif
