#include "fwboot.h"

#include <iterator>

#include "fcboot.h"
#include "fpboot.h"

// Before the first boot and after the last shutdown the stand-ins are there to be called.
FwBootContext fcBootContext = {
    {nullptr, FcDefaultExitErrorf, FcDefaultLogf, nullptr, {}}, {}, {}, {}, {}, {}};
uint32 fcBootLevel = 0;

namespace {

uint32 bootCounter;

// The shutdown of a module sets the level to that below.
struct BootRow {
  uint32 nLevel;
  void (*pfnInit)();
  void (*pfnShutdown)();
};

constexpr BootRow kRows[] = {
    {kFcLevelControl, FcControlInit, FcControlShutdown},
    {kFcLevelMemory, FcMemInit, FcMemShutdown},
    {kFcLevelStrings, FcStrInit, FcStrShutdown},
    {kFcLevelErrors, FcErrorInit, FcErrorShutdown},
    {kFcLevelFiles, FcFileInit, FcFileShutdown},
    {kFcLevelTranslation, FcTranslInit, FcTranslShutdown},
    {kFcLevelEvents, FcEventInitNonGui, FcEventShutdownNonGui},
};

void CopyContext(const FwBootContext& context) {
  fcBootContext = context;
  FwControlContext& control = fcBootContext.control;
  FwAssert(control.ptbzAppName != nullptr, "Application must provide a name.");
  FwAssert(control.exiterrorf != nullptr, "Application must provide an exiterror function");
  if (control.ptbzAppName == nullptr) control.ptbzAppName = FWT("");
  if (control.exiterrorf == nullptr) control.exiterrorf = FcDefaultExitErrorf;
  if (control.logf == nullptr) control.logf = FcDefaultLogf;
}

}  // namespace

void FwBoot(FwBootContext* context) {
  if (++bootCounter != 1) return;
  FcAssertBootLevelEqual(0);
  if (!FwExpect(context != nullptr, "FwBoot() must be called with non-null argument.")) {
    --bootCounter;
    return;
  }
  CopyContext(*context);
  for (const BootRow& row : kRows) {
    FcAssertBootLevelEqual(row.nLevel - 2);
    fcBootLevel = row.nLevel - 1;
    row.pfnInit();
    fcBootLevel = row.nLevel;
  }
  FcAssertBootLevelEqual(kFcLevelEvents);
  FcFileTest();
}

void FwShutdown() {
  if (bootCounter == 0 || --bootCounter != 0) return;
  for (auto row = std::rbegin(kRows); row != std::rend(kRows); ++row) {
    if (fcBootLevel <= row->nLevel - 2) continue;
    row->pfnShutdown();
    fcBootLevel = row->nLevel - 2;
  }
  fcBootContext.control.exiterrorf = FcDefaultExitErrorf;
  fcBootContext.control.logf = FcDefaultLogf;
}

int FwBootDone() {
  return fcBootLevel >= kFcLevelEvents;
}

FwTextString FwStr_argv(int i) {
  const FwPlatformControlContext& platform = fcBootContext.control.platform;
  const bool fElement = platform.argvUTF8 != nullptr && i >= 0 && i <= platform.argc;
  FwAssert(fElement, "Tried to lookup invalid element of argv");
  return fElement ? platform.argvUTF8[i] : nullptr;
}

FwLogfFn* FwGetLogFunction() {
  FwAssert(fcBootContext.control.logf != nullptr,
           "FwGetLogFunction called before FwBoot has initialized the log function");
  return fcBootContext.control.logf;
}

int32 FcAppTickle(int32 a, int32 b) {
  FwApplicationTickleFn* const pfnTickle = fcBootContext.control.application_tickle;
  if (pfnTickle == nullptr) return 0;
  const int32 result = pfnTickle(a, b);
  FwAssert(result == 0 || b != 0, "abort requested when not allowed");
  return result;
}

void FcBootLevelInsufficient() {
  FwAssertFailed("FrameWork insufficiently booted");
}

void FcBootLevelWrong() {
  FwAssertFailed("Wrong boot level");
}

void FcDefaultExitErrorf(FwTextString) {
  FwAssert(fcBootLevel != 0, "Cannot call FC_EXITERRORF when framework not booted");
  FwAssert(fcBootLevel == 0, "FC_EXITERRORF failed to call application provided function");
}

void FcDefaultLogf(const char*, ...) {
  // Kept, as the text of the output: also the booted framework says so, when the application gives
  // no function to log with.
  FwAssertFailed("Cannot call FC_LOGF when framework not booted");
}

void FcControlInit() {
  FpBootRecordThread();
}

void FcControlShutdown() {}
