// What the boot shares inside the framework: the context, the level, and the modules' hooks.
#ifndef FCBOOT_H
#define FCBOOT_H

#include "fwboot.h"
#include "vqassert.h"

// The application's context as copied at boot.
extern FwBootContext fcBootContext;

// Even: the modules below it are up. Odd: one is being started.
extern uint32 fcBootLevel;

void FcBootLevelInsufficient();
void FcBootLevelWrong();

inline bool FcBootLevelHolds(bool condition) {
  return condition && vqassert_val == kVqAssertIntact;
}

// Asserts "FrameWork insufficiently booted" below level n.
inline void FcAssertBootLevel(uint32 n) {
  if (!FcBootLevelHolds(fcBootLevel >= n)) FcBootLevelInsufficient();
}

// Assert "Wrong boot level".
inline void FcAssertBootLevelEqual(uint32 n) {
  if (!FcBootLevelHolds(fcBootLevel == n)) FcBootLevelWrong();
}
inline void FcAssertBootLevelNoMoreThan(uint32 n) {
  if (!FcBootLevelHolds(fcBootLevel <= n)) FcBootLevelWrong();
}

// Calls the application's tickle function, if any, and returns its result, else 0. b tells whether
// an abort is possible: without, a result other than 0 asserts "abort requested when not allowed".
int32 FcAppTickle(int32 a, int32 b);

// In place of the application's functions while the framework is down. They only assert.
void FcDefaultExitErrorf(FwTextString ptbzText);
void FcDefaultLogf(const char* pszFormat, ...);

// The modules' hooks, in the order of the boot.
void FcControlInit();
void FcControlShutdown();
void FcMemInit();
void FcMemShutdown();
void FcStrInit();
void FcStrShutdown();
void FcErrorInit();
void FcErrorShutdown();
void FcFileInit();
void FcFileShutdown();
void FcTranslInit();
void FcTranslShutdown();
void FcEventInitNonGui();
void FcEventShutdownNonGui();

// Run once all modules are up.
void FcFileTest();

#endif
