// The warehouse floor's test program: boots the framework once and makes the error kinds.
//
//   wh_test [--debug-level=N] [--gtest_...]
//
// N is the memory manager's debug level, 0 without the option.
//
// With --print-cnvr it runs no tests, but asks twice for the product that it stands in and prints
// the answers: a test starts a copy of it inside a small warehouse.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "fwboot.h"
#include "leftovers.h"
#include "warehouse.h"
#include "whbootfw.h"
#include "wherror.h"

namespace {

void PrintCnvr() {
  FwErrorState err;
  WH_PRODUCT_NAME* name = wh_getCNVR(&err);
  if (name != nullptr)
    std::printf("%s|%s|%s|%s\n", FWC(name->category), FWC(name->name), FWC(name->version),
                FWC(name->rev));
  report_error(&err);
  FwErrorClear(&err);
}

[[noreturn]] void ExitWithText(FwTextString ptbzText) {
  std::printf("\nwh_test: frameWork error - %s\n", ptbzText != nullptr ? FWC(ptbzText) : "(null)");
  std::exit(1);
}

// Boots nest: of the floor's own only the error kinds remain then.
void BootAtLevel(uint32 debug_level, int argc, char** argv) {
  FwBootContext context;
  context.control.ptbzAppName = FWT("wh_test");
  context.control.exiterrorf = ExitWithText;
  context.control.platform.argc = argc;
  context.control.platform.argv = argv;
  context.memory.debug_level = debug_level;
  FwBoot(&context);
}

}  // namespace

int main(int argc, char** argv) {
  // The framework is to come up without a current directory.
  if (argc > 2 && std::string_view(argv[2]) == "--lose-directory") {
    char directory[4096];
    if (getcwd(directory, sizeof directory) == nullptr || rmdir(directory) != 0) return 2;
  }
  const uint32 debug_level = DebugLevelOption(argc, argv);
  if (debug_level != 0) BootAtLevel(debug_level, argc, argv);
  wh_boot_fw(argc, argv);
  wh_init();
  if (argc > 1 && std::string_view(argv[1]) == "--print-cnvr") {
    PrintCnvr();
    PrintCnvr();
    return 0;
  }
  testing::InitGoogleTest(&argc, argv);
  CountLeftovers({});
  const int result = RUN_ALL_TESTS();
  FwShutdown();
  if (debug_level != 0) FwShutdown();
  return result;
}
