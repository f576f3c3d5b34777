#include "output.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "fcpp.h"
#include "fwerror.h"
#include "fwstring.h"
#include "fwstrprf.h"

namespace {

const char kOutputName[] = "standard output";

using SIGNAL_HANDLER = void(int);

SIGNAL_HANDLER* limit_handler = SIG_DFL;

bool reported = false;

// The error of the write that failed. The number of an earlier failure is lost if other writes came
// after it, and then the device is to blame.
int output_error() {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return 0;
  return errno ? errno : EIO;
}

// The line of any other error, and behind it the system's own words: several errors that an output
// can meet have one kind in common.
void report(int error) {
  const FwError* kind = FwPlatformErrorMap(error);
  OpenRecord record;
  FwStrPutTextString(&record, FWT("*** "));
  FwStrPrintf(&record, 0, kind->ptbzFormat, FWT("File"), FWT(kOutputName), FWT(""), FWT(""));
  // Many kinds have no place for a name.
  const bool named = std::strstr(FWC(record.pbz), kOutputName) != nullptr;
  std::fprintf(stderr, "%s%s%s (%s)\n", FWC(record.pbz), named ? "" : ": ",
               named ? "" : kOutputName, std::strerror(error));
}

}  // namespace

void open_output() {
  limit_handler = std::signal(SIGXFSZ, SIG_IGN);
}

void lend_output() {
  std::signal(SIGXFSZ, limit_handler);
}

bool output_taken() {
  if (!reported) {
    const int error = output_error();
    if (error == 0) return true;
    reported = true;
    report(error);
    // An error of a kind unknown to the framework makes it complain, on that same output.
    std::fflush(stdout);
  }
  return false;
}
