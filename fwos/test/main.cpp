// The framework's test program. It boots the framework once, for all tests:
//
//   fwos_test [--debug-level=N] [--gtest_...]
//
// N is the memory manager's debug level, 0 without the option.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fwboot.h"

namespace {

// Tests of a fatal error look for the text on standard error. An interrupt gives no text.
void ExitWithText(FwTextString ptbzText) {
  std::fprintf(stderr, "%s\n", ptbzText != nullptr ? FWC(ptbzText) : "(null)");
  std::_Exit(1);
}

uint32 DebugLevel(int argc, char** argv) {
  static const char kOption[] = "--debug-level=";
  for (int i = 1; i < argc; ++i)
    if (std::strncmp(argv[i], kOption, sizeof kOption - 1) == 0)
      return static_cast<uint32>(std::atoi(argv[i] + sizeof kOption - 1));
  return 0;
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
  context.memory.debug_level = DebugLevel(argc, argv);
  FwBoot(&context);
  const int status = RUN_ALL_TESTS();
  FwShutdown();
  return status;
}
