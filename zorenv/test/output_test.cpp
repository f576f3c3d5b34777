// Standard output that can't be written: the run goes on as ever, and says so at its end.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "tool.h"

namespace {

const char kFull[] =
    "*** Error: File storage device full: standard output (No space left on device)\n";
const char kClosed[] = "*** Error: Parameter rejected: standard output (Bad file descriptor)\n";
const char kTooLarge[] = "*** Error: Uncategorized error: standard output (File too large)\n";
const char kBroken[] = "*** Error: Uncategorized error: standard output (Broken pipe)\n";

// Runs the tool by a shell, after commands of its own and with its output sent somewhere.
RunResult ThroughShell(const Warehouse& warehouse, const std::string& before,
                       const std::vector<std::string>& arguments, const std::string& redirection,
                       const std::vector<std::string>& more = {}) {
  std::vector<std::string> argv = {
      "/bin/sh",       "-c", before + "\nexec \"$@\" " + redirection, "sh", ZORENV_PROGRAM, "-r",
      warehouse.Root()};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  RunOptions options;
  options.environment = PlainEnvironment(more);
  options.directory = warehouse.path();
  return RunProgram(argv, options);
}

// A pipe without a reader, for descriptor 4.
const char kBrokenPipe[] = "mkfifo f; exec 3<>f 4>f 3<&-; trap '' PIPE";

const char* const kDialects[] = {"--sh", "--csh", "--bat", "--posh"};

TEST(Output, AScriptThatCannotBeWrittenIsAFailure) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "new"));
  const struct {
    const char* redirection;
    const char* err;
  } rows[] = {{">/dev/full", kFull}, {">&-", kClosed}};
  for (const char* dialect : kDialects)
    for (const auto& row : rows) {
      SCOPED_TRACE(testing::Message() << dialect << ' ' << row.redirection);
      Expect(ThroughShell(warehouse, "", {"-p", "C", dialect}, row.redirection), "", row.err, 1);
    }
}

// More than the buffer holds: what fails first is a write in the midst of the script.
TEST(Output, ALongScriptThatCannotBeWrittenIsReportedOnce) {
  Warehouse warehouse;
  std::string operations;
  for (int i = 0; i < 30; ++i)
    operations += Insert("A" + std::to_string(i), std::string(1000, 'x'));
  warehouse.Product("C/Contents/1.0/1", operations);
  Expect(ThroughShell(warehouse, "", {"-p", "C", "--sh"}, ">/dev/full"), "", kFull, 1);
  Expect(ThroughShell(warehouse, "", {"-p", "C", "--sh"}, ">&-"), "", kClosed, 1);
  Expect(ThroughShell(warehouse, "ulimit -f 16", {"-p", "C", "--sh"}, ">script"), "", kTooLarge, 1);
  // As much as the limit lets through, 16 blocks of 512 bytes.
  EXPECT_EQ(8192u, ReadFile(warehouse / "script").size());
}

TEST(Output, AFileSizeLimitIsAnErrorWhateverItsSignalDoes) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "new"));
  for (const char* signal : {"", "trap '' XFSZ; "})
    for (const char* dialect : kDialects) {
      SCOPED_TRACE(testing::Message() << signal << ' ' << dialect);
      Expect(ThroughShell(warehouse, std::string(signal) + "ulimit -f 0", {"-p", "C", dialect},
                          ">script"),
             "", kTooLarge, 1);
    }
}

TEST(Output, APipeWithoutAReaderIsAnErrorWhereItsSignalIsIgnored) {
  for (const char* dialect : kDialects) {
    SCOPED_TRACE(dialect);
    Warehouse warehouse;
    warehouse.Product("C/Contents/1.0/1", Insert("A", "new"));
    Expect(ThroughShell(warehouse, kBrokenPipe, {"-p", "C", dialect}, ">&4"), "", kBroken, 1);
  }
}

TEST(Output, AUsageTextThatCannotBeWrittenIsReported) {
  Warehouse warehouse;
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"--unknown"}, {"-p", "C", "--sh", "--csh"}}) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    Expect(ThroughShell(warehouse, "", arguments, ">/dev/full"), "", kFull, 1);
    Expect(ThroughShell(warehouse, "", arguments, ">&-"), "", kClosed, 1);
    Expect(ThroughShell(warehouse, "ulimit -f 0", arguments, ">usage"), "", kTooLarge, 1);
  }
}

// A run that fails anyway tells that first.
TEST(Output, ComesBehindTheReportOfAnotherFailure) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "new"));
  warehouse.Product("D/Contents/1.0/1", Remove("A", "new"));
  const std::vector<std::string> arguments = {"-p", "C", "-p", "D", "--sh"};
  // A badly encoded value is complained of while it is taken apart.
  const RunResult whole = ThroughShell(warehouse, "", arguments, "", {"A=\x80"});
  ASSERT_TRUE(whole.out.starts_with("Badly")) << whole.out;
  ASSERT_TRUE(whole.err.starts_with("*** ")) << whole.err;
  Expect(ThroughShell(warehouse, "", arguments, ">/dev/full", {"A=\x80"}), "", whole.err + kFull,
         1);
}

TEST(Output, NothingPrintedIsNotAskedFor) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "same"));
  for (const char* redirection : {">/dev/full", ">&-"}) {
    SCOPED_TRACE(redirection);
    for (const char* dialect : {"--sh", "--csh", "--bat"}) {
      SCOPED_TRACE(dialect);
      Expect(ThroughShell(warehouse, "", {"-p", "C", dialect}, redirection, {"A=same"}), "", "", 0);
    }
    Expect(ThroughShell(warehouse, "", {"-p", "C", "--system"}, redirection), "", "", 0);
    Expect(ThroughShell(warehouse, "", {"-p", "C", "--exec", "true"}, redirection), "", "", 0);
  }
}

// What the program prints is its own affair.
TEST(Output, OfAProgramIsNotAskedFor) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "new"));
  const RunResult result = ThroughShell(
      warehouse, "", {"-p", "C", "--exec", "sh", "-c", "echo x; exit 0"}, ">/dev/full");
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(std::string::npos, result.err.find("***")) << result.err;
}

TEST(Output, WhatIsPrintedBeforeAProgramStartsIsAskedForAndTheProgramRuns) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "new"));
  const std::vector<std::string> arguments = {"-p", "C", "--exec", "sh", "-c", "echo ran >&2"};
  ASSERT_TRUE(ThroughShell(warehouse, "", arguments, "", {"A=\x80"}).out.starts_with("Badly"));
  for (const auto& [before, redirection, err] :
       {std::tuple("", ">/dev/full", kFull), std::tuple("", ">&-", kClosed),
        std::tuple("ulimit -f 0", ">out", kTooLarge)}) {
    SCOPED_TRACE(before);
    Expect(ThroughShell(warehouse, before, arguments, redirection, {"A=\x80"}), "",
           std::string(err) + "ran\n", 1);
  }
}

// ---- The signals that a program starts with

// A program that prints the mask of the signals that it was started to ignore; shells mend theirs.
const std::vector<std::string> kMask = {"grep", "SigIgn", "/proc/self/status"};

std::vector<std::string> ExecutingMask() {
  std::vector<std::string> arguments = {"-p", "C", "--exec"};
  arguments.insert(arguments.end(), kMask.begin(), kMask.end());
  return arguments;
}

const char kNone[] = "SigIgn:\t0000000000000000\n";

TEST(Output, AProgramFindsTheFileSizeSignalAsTheToolDid) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "new"));
  Expect(ThroughShell(warehouse, "", ExecutingMask(), ""), kNone, "", 0);
  Expect(ThroughShell(warehouse, "trap '' XFSZ", ExecutingMask(), ""),
         "SigIgn:\t0000000001000000\n", "", 0);
}

// A parent that ignores the ends of its children hands that down. The program's end is known all
// the same, and the program starts with the default.
TEST(Output, TheEndOfAProgramIsKnownUnderAParentThatIgnoresItsChildren) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "new"));
  // Shells don't hand this one down.
  const std::string ignore = "set -- env --ignore-signal=CHLD \"$@\"";
  ASSERT_EQ("SigIgn:\t0000000000010000\n",
            RunProgram({"/usr/bin/env", "--ignore-signal=CHLD", kMask[0], kMask[1], kMask[2]}).out);
  Expect(ThroughShell(warehouse, ignore, {"-p", "C", "--exec", "sh", "-c", "echo $A"}, ""), "new\n",
         "", 0);
  Expect(ThroughShell(warehouse, ignore, ExecutingMask(), ""), kNone, "", 0);
  Expect(ThroughShell(warehouse, ignore, {"-p", "C", "--exec", "sh", "-c", "exit 3"}, ""), "",
         "*** Error: Error status 3 from Command sh\n", 1);
  Expect(ThroughShell(warehouse, ignore, {"-p", "C", "--exec", "no-such-program"}, ""), "",
         "*** Error: Error status 1 from Command no-such-program\n", 1);
}

}  // namespace
