#include <cstdio>
#include <cstdlib>

#include "fwboot.h"
#include "platform.h"
#include "whbootfw.h"

namespace {

FwBootContext boot_context;

// The interrupt handler calls the exit function with no text. Nothing of the C library's streams
// may be touched there; what is buffered is dropped, so that no half script is evaluated.
[[noreturn]] void exit_from_signal() {
  char text[512];
  std::size_t length = 0;
  const char* const pieces[] = {"\n", FWC(boot_context.control.ptbzAppName),
                                ": frameWork error - (null)\n"};
  for (const char* piece : pieces)
    for (; *piece && length < sizeof text; ++piece)
      text[length++] = *piece;
  write_and_exit(text, length);
}

void fw_error(FwTextString mes) {
  if (!mes) exit_from_signal();
  std::printf("\n%s: frameWork error - %s\n", FWC(boot_context.control.ptbzAppName), FWC(mes));
  std::exit(1);
}

}  // namespace

void wh_boot_fw(int argc, char** argv) {
  static bool done = false;
  if (done) return;
  done = true;
  boot_context.control.ptbzAppName = FWT(argc > 0 && argv[0] ? argv[0] : "");
  boot_context.control.exiterrorf = fw_error;
  boot_context.control.platform.argc = argc;
  boot_context.control.platform.argv = argv;
  boot_context.string.fLocaleOnDemand = 1;
  FwBoot(&boot_context);
}
