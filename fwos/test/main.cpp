// The framework's test program. It boots the framework once, for all tests:
//
//   fwos_test [--debug-level=N] [--gtest_...]
//
// N is the memory manager's debug level, 0 without the option.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "fwboot.h"
#include "fwobserv.h"
#include "leftovers.h"

namespace {

// Tests of a fatal error look for the text on standard error. An interrupt gives no text.
void ExitWithText(FwTextString ptbzText) {
  std::fprintf(stderr, "%s\n", ptbzText != nullptr ? FWC(ptbzText) : "(null)");
  std::_Exit(1);
}

// The tables of observations are made once and stay.
void MakeObserverTables() {
  int observer = 0;
  FwObserveStart(
      &observer, &observer, &FwChangeClass, [](void*, void*, FwObj*, void*) {}, nullptr, nullptr);
  FwObserveEnd(&observer, nullptr, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  setenv("LC_ALL", "C.UTF-8", 1);
  testing::InitGoogleTest(&argc, argv);
  FwBootContext context;
  context.control.ptbzAppName = FWT("fwos_test");
  context.control.exiterrorf = ExitWithText;
  context.control.platform.argc = argc;
  context.control.platform.argv = argv;
  context.memory.debug_level = DebugLevelOption(argc, argv);
  FwBoot(&context);
  if (context.memory.debug_level != 0) MakeObserverTables();
  CountLeftovers({
      // Each of these pins that a block stays.
      "FcStrRecordInsertCharacter.InsertsAtAByteOffset",
      "FcStrRecordInsertCharacter.LeavesOneBlockForEachInsertionIntoTheMiddle",
      "FwStrTextSplit.ANullSeparatorLeavesTheVectorAloneAndTheCopyUnreleased",
      "setenv_UTF8.ReturnsOneForAVariableThatItMayNotOverwrite",
      // Its table of operations keeps a record.
      "FwFile.EveryOperationReturnsItsFailureValueAtOnceForANullState",
  });
  const int status = RUN_ALL_TESTS();
  FwShutdown();
  return status;
}
