// The tool with faults. Runs one command line of the tool again and again, each time with another
// call failing, until a run meets no fault any more:
//
//   zorenv_faults CALL ERRNO once|ever RUNS -- ARGV0 ARGUMENTS...
//
// Each run is a child process. What it came to is written to standard output as a head line and
// the two outputs, byte by byte:
//
//   NUMBER MET STATUS SIGNAL OUT-SIZE ERR-SIZE
//
// The first run, of number -1, has no fault and tells how many calls there are. Then follow all
// numbers from 0 on, or not more than RUNS of them if the sweeps are sampled; at last the number
// that is one too high.
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "faults.h"
#include "mymain.h"

namespace {

// Not through the stream, which is to be fresh in each child: its buffer is an allocation of
// theirs.
void Write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
    if (written <= 0) std::exit(2);
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

void Print(long number, const ChildRun& run) {
  std::string head;
  for (const long field : {number, long{run.met}, long{run.status}, long{run.signal},
                           static_cast<long>(run.out.size()), static_cast<long>(run.err.size())})
    head += std::to_string(field) + " ";
  head.back() = '\n';
  Write(head + run.out + run.err);
}

}  // namespace

// A run that ends early leaves what it holds to the end of the process; other tests look for leaks.
extern "C" int __lsan_is_turned_off() {
  return 1;
}

int main(int argc, char** argv) {
  if (argc < 7 || std::strcmp(argv[5], "--") != 0) return 2;
  Fault fault;
  fault.call = FaultCallOf(argv[1]);
  fault.error = std::atoi(argv[2]);
  if (fault.call == kFaultCalls) return 2;
  const auto run = [&](long number) {
    fault.first = number;
    const ChildRun result = RunInChild([&] { return mymain(argc - 6, argv + 6); }, &fault);
    Print(number, result);
    return result;
  };

  const long calls = run(-1).calls;
  if (std::strcmp(argv[3], "ever") == 0) fault.times = kForEver;
  for (const long number : FaultNumbers(calls, std::atol(argv[4])))
    run(number);
  return 0;
}
