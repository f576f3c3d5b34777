// Message translation files: an application's vocabulary in another language, as plain text.
//
//   if (FwTranslLoadMessageFile(FWT("messages.de"), nullptr, &err)) {
//     FwStrRecord record;
//     FwStrRecordOpen(&record);
//     FwTranslMessage(ptbzPrinted, &record);   ptbzPrinted came from FwStrPrintf with fMessage 1
//     ...
//     FwTranslUnloadMessageFile(FWT("messages.de"), 0, &err);
//   }
//
// A file has three sections, found by name in any order; the last two may be missing:
//
//   [Header]                   within the first 1024 bytes
//   Locale=de                  tag=value, no blanks around the =
//   US Text=#EN                the line that introduces an English text
//   Local Text=#DE             the line that introduces a local text
//   Font Name=Courier          optional, as are Font Size, Preload (yes) and MaxOverrides (50)
//   end
//
//   [Fixed Strings]            looked up whole
//   #EN
//   file                       texts may have several lines; newlines at their ends are removed
//   #DE
//   Datei
//   #EN                        ends the local text; the next pair may follow
//   end
//
//   [Message Templates]        formats of fwstrprf.h, matched against printed messages
//   ...
//
// A line that begins with ; is a comment, even inside a text. An English text can't begin with a
// line that begins with "end", and a template has no % in its first 6 characters except %%.
//
// Entries of later files override equal ones of earlier files, up to MaxOverrides of the earlier
// file. Texts are read when first needed, or all at once with Preload=yes. Complaints about a
// file's text go to the log function of the boot context, not to the error state.
//
// All of it needs boot level 12, except the font query. None of it is reentrant. Null texts assert
// "NULL ptbz" and find nothing.
#ifndef FWTRANSL_H
#define FWTRANSL_H

#include "fwtypes.h"

inline constexpr uint32 kFwIDTextSize = 32;
using FwID_Text = FwTextByte[kFwIDTextSize];

struct FwTranslLocale {
  FwID_Text atbzLanguage;
  FwTextString ptbzFontName;  // or null
  int32 fontSize;
};

// Not 0: the events of this layer are traced.
extern int32 g_fTrace_fwtransl;

// Loads a file through a stream of the class; null means FwStreamIOFileClass. The name as given is
// the file's identity: loading it again does nothing and succeeds. The error state may be null.
// A file whose first 1024 bytes hold no [Header] fails without an error.
int32 FwTranslLoadMessageFile(FwTextString ptbzFileName, const FwClassRecord* pStreamIOClass,
                              FwErrorState* pErrState);

// Unloads a file; what it overrode is visible again at once. 0 only if entries of it are locked and
// fForce is 0. Unloading an unknown file succeeds. The name of a font is lost with its file, and at
// the debug levels of the memory manager the unload of such a file asserts "Block apparently
// corrupted/not allocated by FrameWork".
int32 FwTranslUnloadMessageFile(FwTextString ptbzFileName, int32 fForce, FwErrorState* pErrState);

// Finds a fixed string, the whole of it or its first cLength bytes (0xFFFFFFFF: all), and locks its
// entry. The two texts stay the layer's, valid until the lock is released; each lookup needs its
// own release. 255 locks on one entry are for good.
// Asserts "FcTranslLockNode: lock count has reached 255".
int32 FwTranslLookupFixedPair(FwTextString ptbzEnglish, FwTextString* pptbzFixedEnglish,
                              FwTextString* pptbzFixedLocal);
int32 FwTranslLookupFixedPairN(FwTextString ptbzEnglish, uint32 cLength,
                               FwTextString* pptbzFixedEnglish, FwTextString* pptbzFixedLocal);

// Releases one lock; takes the very pointer that a lookup stored.
// Asserts "FwTranslReleaseFixedPair: No matching fixed string", "FwTranslReleaseFixedPair: Match
// found, but ptbzFixedEnglish != pointer from node", "FcTranslUnlockNode: node is not locked".
void FwTranslReleaseFixedPair(FwTextString ptbzFixedEnglish);

// What FwTranslMessage did.
inline constexpr int32 FW_TRANSL_NONE = 0;
inline constexpr int32 FW_TRANSL_TRANSLATED = 1;
inline constexpr int32 FW_TRANSL_STRIPPED = 2;  // no translation, but markers were removed

// Appends a printed message, translated if it can be. Newlines and carriage returns around it stay.
int32 FwTranslMessage(FwTextString ptbzMessage, FwStrRecord* pRecOutput);

// The font of the newest file that names one or gives a size; null and 0 otherwise. The name stays
// the layer's.
void FwTranslGetFontInfo(FwTextString* pptbzFontName, int32* pFontSize);

#endif
