// The adapter's test program: boots the framework and makes the parser's error kinds, once for all
// tests.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "fwboot.h"
#include "leftovers.h"
#include "vqnexpat.h"

namespace {

void ExitWithText(FwTextString ptbzText) {
  std::fprintf(stderr, "%s\n", ptbzText != nullptr ? FWC(ptbzText) : "(null)");
  std::_Exit(1);
}

}  // namespace

int main(int argc, char** argv) {
  setenv("LC_ALL", "C.UTF-8", 1);
  testing::InitGoogleTest(&argc, argv);
  FwBootContext context;
  context.control.ptbzAppName = FWT("vqnexpat_test");
  context.control.exiterrorf = ExitWithText;
  context.control.platform.argc = argc;
  context.control.platform.argv = argv;
  context.memory.debug_level = DebugLevelOption(argc, argv);
  FwBoot(&context);
  xml_init_errors();
  CountLeftovers({});
  const int status = RUN_ALL_TESTS();
  FwShutdown();
  return status;
}
