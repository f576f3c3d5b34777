// What the boot shares inside the framework: the context, the level, and the modules' hooks.
#ifndef FCBOOT_H
#define FCBOOT_H

#include "fwboot.h"
#include "vqassert.h"

// The levels at which the modules are up, in the order of the boot. While a module is being started
// the level is one less.
inline constexpr uint32 kFcLevelControl = 2;
inline constexpr uint32 kFcLevelMemory = 4;
inline constexpr uint32 kFcLevelStrings = 6;
inline constexpr uint32 kFcLevelErrors = 8;
inline constexpr uint32 kFcLevelFiles = 10;
inline constexpr uint32 kFcLevelTranslation = 12;
inline constexpr uint32 kFcLevelEvents = 14;  // all of the framework is up

// The application's context as copied at boot.
extern FwBootContext fcBootContext;

// One of the levels above, or one less; 0 before the boot.
extern uint32 fcBootLevel;

void FcBootLevelInsufficient();
void FcBootLevelWrong();

// Asserts "FrameWork insufficiently booted" below level n.
inline void FcAssertBootLevel(uint32 n) {
  if (!VqAssertHolds(fcBootLevel >= n)) FcBootLevelInsufficient();
}

// Assert "Wrong boot level".
inline void FcAssertBootLevelEqual(uint32 n) {
  if (!VqAssertHolds(fcBootLevel == n)) FcBootLevelWrong();
}
inline void FcAssertBootLevelNoMoreThan(uint32 n) {
  if (!VqAssertHolds(fcBootLevel <= n)) FcBootLevelWrong();
}

// Calls the application's tickle function, if any, and returns its result, else 0. b tells whether
// an abort is possible: without, a result other than 0 asserts "abort requested when not allowed".
int32 FcAppTickle(int32 a, int32 b);

// In place of the application's functions while the framework is down. They only assert.
void FcDefaultExitErrorf(FwTextString ptbzText);
void FcDefaultLogf(const char* pszFormat, ...);

// The modules' hooks, in the order of the boot, declared here alone.
void FcControlInit();
void FcControlShutdown();
void FcMemInit();
void FcMemShutdown();
// Sets up the locale and stores the boot arguments in UTF-8 as argvUTF8 of the boot context; these
// strings are never freed.
void FcStrInit();
void FcStrShutdown();
// Makes the kinds of error; they stay for good, a second boot makes them anew.
void FcErrorInit();
void FcErrorShutdown();
// Finds the directories of the process (fcfile.h). Asserts "bad app dir", "bad current dir" and
// "bad app file name".
void FcFileInit();
void FcFileShutdown();
// Opens the working records of message files and makes their tables (fctransl.h).
void FcTranslInit();
void FcTranslShutdown();
void FcEventInitNonGui();
void FcEventShutdownNonGui();

// The last step of the boot, once all modules are up. Nothing is left to be tested here.
void FcFileTest();

#endif
