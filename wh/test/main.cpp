// The warehouse floor's test program: boots the framework once and makes the error kinds.
//
// With --print-cnvr it runs no tests, but asks twice for the product that it stands in and prints
// the answers: a test starts a copy of it inside a small warehouse.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string_view>

#include "fwboot.h"
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

}  // namespace

int main(int argc, char** argv) {
  // The framework is to come up without a current directory.
  if (argc > 2 && std::string_view(argv[2]) == "--lose-directory") {
    char directory[4096];
    if (getcwd(directory, sizeof directory) == nullptr || rmdir(directory) != 0) return 2;
  }
  wh_boot_fw(argc, argv);
  wh_init();
  if (argc > 1 && std::string_view(argv[1]) == "--print-cnvr") {
    PrintCnvr();
    PrintCnvr();
    return 0;
  }
  testing::InitGoogleTest(&argc, argv);
  const int result = RUN_ALL_TESTS();
  FwShutdown();
  return result;
}
