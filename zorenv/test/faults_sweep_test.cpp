// Faults of the system: every allocation of a run fails once, or from then on for ever, and so does
// every call of each kind. A run that meets a fault either overcomes it, and then its answer is
// that of a run without a fault to the byte, or it ends with status 1 and tells so in its own
// words; never with a signal, without an end, or with a script that is cut or lacks a record.
//
// An ordinary run of these tests takes samples of the long sweeps.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <regex>
#include <sstream>

#include "caller.h"
#include "faults.h"
#include "tool.h"

namespace {

constexpr int kEach = INT_MAX;
constexpr int kShort = 0;  // in place of an error: a transfer of less than what was asked for

const std::string kFatal = "\nzorenv: frameWork error - Run out of memory\n";

struct OneRun {
  long number = 0;  // of the call that fails; -1: none
  bool met = false;
  int status = -1;
  int signal = 0;
  std::string out;
  std::string err;

  bool Same(const OneRun& other) const {
    return status == other.status && signal == other.signal && out == other.out && err == other.err;
  }
};

// A command line of the tool.
struct Task {
  std::vector<std::string> arguments;
  std::vector<std::string> environment = PlainEnvironment({"HOME=/home/you"});
  std::string directory = "/";
  std::string program_output = {};  // what the program started by --exec prints
};

struct Sweep {
  OneRun clean;
  std::vector<OneRun> runs;
};

// Runs the task with the calls failing one by one, in not more than this many runs.
Sweep RunSweep(const Task& task, const std::string& call, int error, const std::string& times,
               int runs, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  std::vector<std::string> argv = {ZORENV_FAULTS_PROGRAM,
                                   call,
                                   std::to_string(error),
                                   times,
                                   std::to_string(runs),
                                   "--",
                                   "zorenv"};
  argv.insert(argv.end(), task.arguments.begin(), task.arguments.end());
  RunOptions options;
  options.environment = task.environment;
  options.directory = task.directory;
  options.limit = std::chrono::minutes(30);
  const RunResult result = RunProgram(argv, options);
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_EQ("", result.err);

  Sweep sweep;
  std::istringstream text(result.out);
  std::string line;
  while (std::getline(text, line)) {
    OneRun run;
    std::size_t out_size = 0, err_size = 0;
    std::istringstream(line) >> run.number >> run.met >> run.status >> run.signal >> out_size >>
        err_size;
    run.out.resize(out_size);
    run.err.resize(err_size);
    text.read(run.out.data(), static_cast<std::streamsize>(out_size));
    text.read(run.err.data(), static_cast<std::streamsize>(err_size));
    (run.number < 0 ? sweep.clean : sweep.runs.emplace_back()) = run;
  }
  // It begins with a fault and ends with none.
  if (sweep.runs.empty()) {
    ADD_FAILURE() << "no runs";
    return sweep;
  }
  EXPECT_EQ(0, sweep.runs.front().number);
  EXPECT_FALSE(sweep.runs.back().met);
  EXPECT_TRUE(sweep.runs.back().Same(sweep.clean));
  for (std::size_t i = 0; i + 1 < sweep.runs.size(); ++i)
    EXPECT_TRUE(sweep.runs[i].met) << sweep.runs[i].number;
  return sweep;
}

std::string Examples() {
  return ZOR_SOURCE_DIR "/examples/warehouse";
}

// On the example warehouse.
Task OnExamples(std::vector<std::string> arguments) {
  Task task;
  task.arguments = {"-r", Examples()};
  task.arguments.insert(task.arguments.end(), arguments.begin(), arguments.end());
  return task;
}

Task Executing(const std::string& program, std::vector<std::string> arguments,
               const std::string& output) {
  Task task = OnExamples({"-p", "tools", "weaver", "--exec", program});
  task.arguments.insert(task.arguments.end(), arguments.begin(), arguments.end());
  task.program_output = output;
  return task;
}

Task ExecutingWeaver() {
  return Executing("weaver", {"two words"}, "weaver 1.10 (revision 2)\n  [two words]\n");
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  std::string line;
  while (std::getline(stream, line))
    lines.push_back(line);
  return lines;
}

bool EndsWithLine(const std::string& text) {
  return text.empty() || text.back() == '\n';
}

bool IsLineOf(const std::string& line, const std::string& text) {
  for (const std::string& other : Lines(text))
    if (line == other) return true;
  return false;
}

// ---- Allocations

// What exhausted memory may come to: the fatal text, or the parser's or the system's report of it
// behind what a run without a fault reports too.
void ExpectExhaustionIsTold(const OneRun& run, const OneRun& clean, const Task& task,
                            Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  static const std::regex kReport(
      "\\*\\*\\* (Error: Run out of memory|out of memory in File /.*\\.xml)");
  EXPECT_EQ(1, run.status);
  EXPECT_EQ(0, run.signal);
  // The program that --exec starts may have run, or its own start may have failed.
  std::string out = run.out;
  bool child_failed = false;
  if (!task.program_output.empty() && out.rfind(task.program_output, 0) == 0)
    out.erase(0, task.program_output.size());
  if (out.rfind(kFatal + kFatal, 0) == 0) out.erase(0, kFatal.size());
  EXPECT_TRUE(out.empty() || out == kFatal) << run.out;
  EXPECT_TRUE(EndsWithLine(run.err)) << run.err;
  bool told = out == kFatal;
  for (const std::string& line : Lines(run.err)) {
    const bool reported = std::regex_match(line, kReport);
    child_failed = line.rfind("*** Error: Error status 1 from Command ", 0) == 0;
    EXPECT_TRUE(reported || (child_failed && out == kFatal) || IsLineOf(line, clean.err)) << line;
    told = told || reported;
  }
  EXPECT_TRUE(told) << "nothing was told";
}

void SweepAllocations(const Task& task, int runs, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  for (const char* times : {"once", "ever"}) {
    const Sweep sweep = RunSweep(task, "allocation", ENOMEM, times, runs);
    bool failed = false;
    for (const OneRun& run : sweep.runs) {
      SCOPED_TRACE(std::string(times) + ", allocation " + std::to_string(run.number));
      if (run.Same(sweep.clean)) continue;
      failed = true;
      ExpectExhaustionIsTold(run, sweep.clean, task);
      if (testing::Test::HasFailure()) return;
    }
    EXPECT_TRUE(failed);
    // With no memory at all nothing can be done.
    if (std::string(times) == "ever" && !sweep.runs.empty()) {
      EXPECT_EQ(kFatal, sweep.runs.front().out);
    }
  }
}

constexpr int kSample = 60;

TEST(AllocationSweep, EachDialect) {
  for (const char* dialect : {"--sh", "--csh", "--bat", "--posh"}) {
    SCOPED_TRACE(dialect);
    SweepAllocations(OnExamples({"-p", "tools", "suite", dialect}), kSample);
  }
}

TEST(AllocationSweep, Undoing) {
  Task task = OnExamples({"-p", "tools", "suite", "-u", "--sh"});
  task.environment.push_back("SPINDLE_MODE=batch");
  task.environment.push_back("FIBRE_PLUGINS=" + Examples() + "/libs/graphics/fibre/2.0/1/plugins");
  SweepAllocations(task, kSample);
}

TEST(AllocationSweep, OldRecipes) {
  SweepAllocations(OnExamples({"-p", "tools", "quill", "--posh"}), kSample);
  SweepAllocations(OnExamples({"-p", "tools", "quill", "-u", "--posh"}), kSample);
}

TEST(AllocationSweep, Groups) {
  SweepAllocations(OnExamples({"-p", "site", "--and", "-p", "studio", "proof", "--sh"}), kSample);
  SweepAllocations(OnExamples({"-p", "studio", "canvas", "--and", "-p", "studio", "proof", "--and",
                               "-p", "tools", "quill", "--csh"}),
                   kSample);
}

TEST(AllocationSweep, VariablesAndMissingProducts) {
  SweepAllocations(
      OnExamples({"-p", "tools", "spindle", "-v", "platform", "solaris-sparc", "--sh"}), kSample);
  SweepAllocations(OnExamples({"-p", "tools", "loom", "-p", "site", "--ignore-missing", "--sh"}),
                   kSample);
}

TEST(AllocationSweep, FaultyRuns) {
  SweepAllocations(OnExamples({"-p", "studio", "canvas", "-p", "studio", "proof", "--sh"}),
                   kSample);
  SweepAllocations(OnExamples({"-p", "studio", "knot", "--sh"}), kSample);
  SweepAllocations(OnExamples({"-p", "tools", "loom", "--sh"}), kSample);
  SweepAllocations(OnExamples({"-p", "tools", "weaver", "extra", "words", "--sh", "word"}),
                   kSample);
}

TEST(AllocationSweep, RunningAProgram) {
  SweepAllocations(ExecutingWeaver(), kSample);
  SweepAllocations(Executing("sh", {"-c", "echo half-way; exit 3"}, "half-way\n"), kSample);
  SweepAllocations(Executing("no-such-program", {}, ""), kSample);
}

TEST(AllocationSweep, TheProcessAsTheTarget) {
  SweepAllocations(OnExamples({"-p", "tools", "suite", "--system"}), kSample);
}

TEST(AllocationSweep, ALocaleThatNeedsConversion) {
  Task task = OnExamples({"-p", "site", "--sh"});
  task.environment = {"PATH=/usr/bin:/bin", "LC_ALL=C", "HOME=/home/you"};
  for (const char* times : {"once", "ever"}) {
    const Sweep sweep = RunSweep(task, "allocation", ENOMEM, times, 2 * kSample);
    for (const OneRun& run : sweep.runs) {
      SCOPED_TRACE(std::string(times) + ", allocation " + std::to_string(run.number));
      // A converter that can't be had is asserted, and the run goes on without.
      OneRun rest = run;
      static const std::regex kAsserted(
          "^Locale conversions not set up correctly: non-ascii filenames, etc, will not work at "
          "[0-9]+ in \\S+fpstring\\.cpp\n");
      rest.out = std::regex_replace(run.out, kAsserted, "");
      if (!rest.Same(sweep.clean)) ExpectExhaustionIsTold(rest, sweep.clean, task);
    }
  }
}

// More than 64 variables, so that tables grow, and enough operations on one variable that they are
// looked up instead of being tried one by one.
TEST(AllocationSweep, ALargeEnvironment) {
  Warehouse warehouse(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp");
  std::string operations;
  for (int i = 0; i < 40; ++i) {
    const std::string n = std::to_string(i);
    operations += Insert("LIST", "/new/" + n, i % 7 == 0 ? Before("/old/**") : After("/old/3"));
    operations += Remove("LIST", "/old/" + n);
  }
  operations += Remove("V_*", "gone") + Delete("V_7") +
                Insert("V_9", "%{V_1}%[" + warehouse.Root() + "/word]");
  warehouse.Product(InC("A"), operations);
  warehouse.ProductWithParts(InC("B"), Insert("LIST", "/b", Before("**")) + Insert("NEW", "n"),
                             Part("A"));
  warehouse.Write("root/word", "word\n");
  Task task;
  task.arguments = {"-r", warehouse.Root(), "-p", "C", "B", "--sh"};
  std::string list = "LIST=/old/100";
  for (int i = 0; i < 40; ++i)
    list += ":/old/" + std::to_string(i);
  task.environment = PlainEnvironment({list});
  for (int i = 0; i < 70; ++i)
    task.environment.push_back("V_" + std::to_string(i) + "=stays:gone");
  SweepAllocations(task, 3 * kSample);
}

// An element of the list is removed if it is a directory that holds a file of some name.
struct PatternsThatLookAtTheDisk {
  Warehouse warehouse{access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp"};
  std::string list = warehouse.path() + "/bare:" + warehouse.path() + "/marked";
  Task task;
  explicit PatternsThatLookAtTheDisk(const std::string& file) {
    warehouse.Directory("bare");
    warehouse.Write("marked/mark", "");
    warehouse.Product(InC("A"), Remove("LIST", warehouse.path() + "/*|" + file));
    task.arguments = {"-r", warehouse.Root(), "-p", "C", "A", "1.0", "1", "--sh"};
    task.environment = PlainEnvironment({"LIST=" + list});
  }
};

TEST(AllocationSweep, LookingAtTheDisk) {
  for (const char* file : {"mark", "m*k"}) {
    SCOPED_TRACE(file);
    PatternsThatLookAtTheDisk looking(file);
    SweepAllocations(looking.task, kSample);
    Expect(Zorenv(looking.warehouse, {"-p", "C", "A", "--sh"}, {"LIST=" + looking.list}),
           "LIST='" + looking.warehouse.path() + "/bare'; export LIST\n", "", 0);
  }
}

// ---- System calls

// Expects of each run that meets the fault what the functions say; nothing of those that overcome
// it.
struct Told {
  std::string out;   // a pattern of the whole
  std::string line;  // a pattern of each line on standard error, behind "*** "
};

void ExpectTold(const OneRun& run, const Told& told, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  EXPECT_EQ(1, run.status);
  EXPECT_EQ(0, run.signal);
  EXPECT_TRUE(std::regex_match(run.out, std::regex(told.out))) << run.out;
  const std::regex line("\\*\\*\\* (" + told.line + ")");
  EXPECT_NE("", run.err);
  EXPECT_TRUE(EndsWithLine(run.err)) << run.err;
  for (const std::string& text : Lines(run.err))
    EXPECT_TRUE(std::regex_match(text, line)) << text;
}

// Each run that meets the fault tells it.
void SweepTold(const Task& task, const std::string& call, int error, const Told& told,
               Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  for (const char* times : {"once", "ever"}) {
    // What an error is called doesn't depend on how often it comes.
    if (error != EIO && std::string(times) == "ever" && !WholeSweeps()) continue;
    const Sweep sweep = RunSweep(task, call, error, times, kEach);
    EXPECT_GT(sweep.runs.size(), 1u) << "the call is never made";
    for (const OneRun& run : sweep.runs) {
      SCOPED_TRACE(call + " " + std::to_string(run.number) + " " + times + ", error " +
                   std::to_string(error));
      if (run.met) ExpectTold(run, told);
    }
  }
}

// Each run overcomes the fault.
void SweepOvercome(const Task& task, const std::string& call, int error,
                   const std::vector<const char*>& all_times = {"once", "ever"},
                   Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  for (const char* times : all_times) {
    const Sweep sweep = RunSweep(task, call, error, times, kEach);
    EXPECT_GT(sweep.runs.size(), 1u) << "the call is never made";
    for (const OneRun& run : sweep.runs) {
      SCOPED_TRACE(call + " " + std::to_string(run.number) + " " + times + ", error " +
                   std::to_string(error));
      EXPECT_EQ(sweep.clean.out, run.out);
      EXPECT_EQ(sweep.clean.err, run.err);
      EXPECT_EQ(sweep.clean.status, run.status);
      EXPECT_EQ(0, run.signal);
    }
  }
}

// The reports of the errors that a system call may give. What is between "File" and the rest is the
// name, if one is known.
struct ErrorRow {
  int error;
  const char* out;
  const char* before_name;
  const char* behind_name;  // null: the name is not told
};

const ErrorRow kErrorRows[] = {
    {EIO, "", "Error: File ", " Hardware error"},
    {EACCES, "", "Error: File ", " Access denied"},
    {EMFILE, "", "Error: Software limit", nullptr},
    {ENFILE, "", "Error: Software limit", nullptr},
    {ENOSPC, "", "Error: File storage device full", nullptr},
    {ENOMEM, "", "Error: Run out of memory", nullptr},
    {EBUSY, "", "Error: File ", " In use"},
    // A number that has no kind of its own is asserted, on standard output.
    {EINTR, "Unable to classify platform error at [0-9]+ in \\S+fperror\\.cpp\n",
     "Error: Uncategorized error", nullptr},
    {ESTALE, "Unable to classify platform error at [0-9]+ in \\S+fperror\\.cpp\n",
     "Error: Uncategorized error", nullptr},
};

Told ToldOf(const ErrorRow& row, const std::string& name) {
  return {row.out, row.behind_name ? row.before_name + name + row.behind_name : row.before_name};
}

// All files are read: the parts, the recipes, and a file that a value names.
Task ReadingAll() {
  return OnExamples({"-p", "site", "-p", "tools", "quill", "-p", "tools", "weaver", "--sh"});
}

TEST(SystemCallSweep, AFileThatCannotBeOpenedIsReportedByName) {
  for (const ErrorRow& row : kErrorRows)
    SweepTold(ReadingAll(), "open", row.error, ToldOf(row, Examples() + "/\\S+"));
}

// Only the handle is known then, so the name is empty.
TEST(SystemCallSweep, AFileThatCannotBeReadIsReported) {
  for (const ErrorRow& row : kErrorRows)
    SweepTold(ReadingAll(), "read", row.error, ToldOf(row, ""));
}

TEST(SystemCallSweep, AFileThatCannotBeClosedIsReported) {
  for (const ErrorRow& row : kErrorRows)
    SweepTold(ReadingAll(), "close", row.error, ToldOf(row, ""));
}

// A short read is the last one of a data file, and its text then ends too early; what a value takes
// from a file is read on.
TEST(SystemCallSweep, AShortReadIsOvercomeOrAFaultInTheFile) {
  const Told told = {
      "", "(unclosed token|no element found|XML parsing error) in File " + Examples() + "/\\S+"};
  for (const char* times : {"once", "ever"}) {
    const Sweep sweep = RunSweep(ReadingAll(), "read", kShort, times, kEach);
    int overcome = 0;
    for (const OneRun& run : sweep.runs) {
      SCOPED_TRACE(std::string(times) + ", read " + std::to_string(run.number));
      if (!run.met) continue;
      if (run.Same(sweep.clean))
        ++overcome;
      else
        ExpectTold(run, told);
    }
    // The two reads of the file that site's settings name.
    EXPECT_EQ(2, overcome);
  }
}

TEST(SystemCallSweep, AStatedVersionThatCannotBeLookedAtIsReported) {
  const Task task = OnExamples({"-p", "tools", "weaver", "1.10", "1", "--sh"});
  for (const ErrorRow& row : kErrorRows)
    SweepTold(task, "stat", row.error, ToldOf(row, Examples() + "/tools/weaver/1\\.10(/1)?"));
}

TEST(SystemCallSweep, ADirectoryThatCannotBeSearchedIsReported) {
  const Task task = OnExamples({"-p", "tools", "weaver", "--sh"});
  for (const ErrorRow& row : kErrorRows) {
    const Told told = ToldOf(row, Examples() + "/tools/weaver/(1\\.10/)?");
    SweepTold(task, "opendir", row.error, told);
    SweepTold(task, "closedir", row.error, told);
    // Without any version found before, the search just failed.
    if (row.error != EINTR)
      SweepTold(task, "readdir", row.error,
                {told.out + "|" + told.out, told.line + "|Error: Operation failed"});
  }
  SweepOvercome(task, "readdir", EINTR, {"once"});
}

TEST(SystemCallSweep, AProgramThatCannotBeStartedIsReported) {
  for (const int error : {EAGAIN, ENOMEM, ENOSYS})
    SweepTold(ExecutingWeaver(), "fork", error, {"", "Could not call Command weaver"});
  // The child can only tell by its status.
  for (const int error : {ENOENT, EACCES, ENOMEM, E2BIG, ENOEXEC, EMFILE, EIO})
    SweepTold(ExecutingWeaver(), "exec", error, {"", "Error: Error status 1 from Command weaver"});
}

TEST(SystemCallSweep, WaitingIsTakenUpAgainAfterAnInterruption) {
  SweepOvercome(ExecutingWeaver(), "waitpid", EINTR, {"once"});
  SweepTold(ExecutingWeaver(), "waitpid", ECHILD,
            // Nobody waits for what the program prints then.
            {"(weaver 1\\.10 \\(revision 2\\)\n(  \\[two words\\]\n)?)?",
             "Could not call Command weaver"});
}

// The program isn't run in half an environment.
TEST(SystemCallSweep, AnEnvironmentThatCannotBeSetIsExhaustedMemory) {
  for (const char* times : {"once", "ever"}) {
    SCOPED_TRACE(times);
    const Sweep sweep = RunSweep(ExecutingWeaver(), "putenv", ENOMEM, times, kEach);
    EXPECT_EQ(5u, sweep.runs.size());
    for (const OneRun& run : sweep.runs)
      if (run.met) {
        SCOPED_TRACE(run.number);
        EXPECT_EQ(kFatal, run.out);
        EXPECT_EQ("", run.err);
        EXPECT_EQ(1, run.status);
      }
  }
}

TEST(SystemCallSweep, ACurrentDirectoryIsMissedOnlyWhereItCounts) {
  const Task with_root = OnExamples({"-p", "tools", "weaver", "--sh"});
  Task with_variable = with_root;
  with_variable.arguments = {"-p", "tools", "weaver", "--sh"};
  with_variable.environment.push_back("ZORROOT=" + Examples());
  Task without = with_root;
  without.arguments = {"-p", "tools", "weaver", "--sh"};
  without.directory = Examples();
  Task relative = without;
  relative.arguments.insert(relative.arguments.end(), {"-r", "tools/.."});
  for (const int error : {ENOENT, EACCES, ENOMEM, EIO}) {
    SweepOvercome(with_root, "getcwd", error);
    SweepOvercome(with_variable, "getcwd", error);
    SweepOvercome(ExecutingWeaver(), "getcwd", error);
    SweepTold(without, "getcwd", error,
              {"NULL filename at [0-9]+ in \\S+path\\.cpp\n", "Error: Pointer parameter NULL"});
    SweepTold(relative, "getcwd", error,
              {"", "Error: File tools/\\.\\. String parameter syntax incorrect"});
  }
}

TEST(SystemCallSweep, TheProgramsOwnPlaceIsNotMissed) {
  for (const int error : {EIO, EACCES, ENOMEM, ENAMETOOLONG})
    SweepOvercome(OnExamples({"-p", "tools", "weaver", "--sh"}), "realpath", error);
}

// With a path of their own for locales, the program asks for the locale at its start.
const char kOwnLocales[] = "LOCPATH=/usr/lib/locale";

// The assertion stands before the script, which is whole.
TEST(SystemCallSweep, AConverterThatCannotBeHadIsAsserted) {
  Task task = OnExamples({"-p", "tools", "weaver", "--sh"});
  task.environment = {"PATH=/usr/bin:/bin", "LC_ALL=C", kOwnLocales};
  static const std::regex kAsserted(
      "^Locale conversions not set up correctly: non-ascii filenames, etc, will not work at "
      "[0-9]+ in \\S+fpstring\\.cpp\n");
  for (const int error : {EINVAL, ENOMEM, EMFILE, EIO})
    for (const char* times : {"once", "ever"}) {
      SCOPED_TRACE(testing::Message() << error << ' ' << times);
      const Sweep sweep = RunSweep(task, "iconv_open", error, times, kEach);
      EXPECT_EQ(3u, sweep.runs.size());
      for (const OneRun& run : sweep.runs) {
        SCOPED_TRACE(run.number);
        if (!run.met) continue;
        std::smatch match;
        ASSERT_TRUE(std::regex_search(run.out, match, kAsserted)) << run.out;
        EXPECT_EQ(sweep.clean.out, match.suffix());
        EXPECT_EQ("", run.err);
        EXPECT_EQ(0, run.status);
      }
    }
}

TEST(SystemCallSweep, WithoutALocaleTheRunIsTheSame) {
  Task task = OnExamples({"-p", "tools", "weaver", "--sh"});
  task.environment.push_back(kOwnLocales);
  SweepOvercome(task, "setlocale", ENOMEM);
}

// A host of an unknown kind fits no variety; a platform that is stated needs none.
TEST(SystemCallSweep, AHostThatCannotBeAskedIsOfNoKnownPlatform) {
  for (const char* times : {"once", "ever"}) {
    SCOPED_TRACE(times);
    const Sweep sweep =
        RunSweep(OnExamples({"-p", "tools", "weaver", "--sh"}), "uname", EFAULT, times, kEach);
    EXPECT_GT(sweep.runs.size(), 1u);
    for (const OneRun& run : sweep.runs) {
      SCOPED_TRACE(run.number);
      if (!run.met) continue;
      EXPECT_EQ("", run.out);
      EXPECT_EQ("", run.err);
      EXPECT_EQ(0, run.status);
    }
  }
  SweepOvercome(OnExamples({"-p", "tools", "weaver", "-v", "platform", "linux-x86", "--sh"}),
                "uname", EFAULT);
}

// A file that can't be looked for isn't there: nothing is removed then. The first two looks are at
// the version and the revision.
TEST(SystemCallSweep, ALookAtTheDiskThatFailsFindsNothing) {
  const struct {
    const char* file;
    const char* call;
    long first;
  } rows[] = {
      {"mark", "stat", 2}, {"m*k", "opendir", 0}, {"m*k", "readdir", 0}, {"m*k", "closedir", 0}};
  for (const auto& row : rows) {
    PatternsThatLookAtTheDisk looking(row.file);
    for (const int error : {EIO, EACCES, EMFILE}) {
      SCOPED_TRACE(std::string(row.call) + ", error " + std::to_string(error));
      const Sweep sweep = RunSweep(looking.task, row.call, error, "ever", kEach);
      int missed = 0;
      for (const OneRun& run : sweep.runs) {
        SCOPED_TRACE(run.number);
        if (!run.met || run.number < row.first || run.Same(sweep.clean)) continue;
        ++missed;
        EXPECT_EQ("", run.out) << run.number;
        EXPECT_EQ("", run.err);
        EXPECT_EQ(0, run.status);
      }
      EXPECT_GT(missed, 0);
    }
    const Sweep sweep = RunSweep(looking.task, row.call, ENOMEM, "ever", kEach);
    for (const OneRun& run : sweep.runs)
      if (run.met && run.number >= row.first) {
        SCOPED_TRACE(run.number);
        EXPECT_EQ(kFatal, run.out);
        EXPECT_EQ(1, run.status);
      }
  }
}

// A run without a program to start makes none of these, so nothing can go wrong there.
TEST(SystemCallSweep, WhatARunDoesNotCall) {
  for (const char* call : {"write", "pipe", "dup2", "mkdir", "rmdir", "unlink", "rename", "chmod",
                           "symlink", "readlink", "lseek", "fork", "exec"}) {
    SCOPED_TRACE(call);
    const Sweep sweep = RunSweep(ReadingAll(), call, EIO, "ever", kEach);
    EXPECT_EQ(1u, sweep.runs.size());
  }
}

// ---- Reports that can't be written

TEST(OutputFaults, AReportThatCannotBeWrittenStillCounts) {
  for (const char* to : {"2>/dev/full", "2>&-"}) {
    SCOPED_TRACE(to);
    const RunResult result =
        RunProgram({"/bin/sh", "-c", "exec \"$0\" -r \"$1\" -p tools loom --sh " + std::string(to),
                    ZORENV_PROGRAM, Examples()});
    EXPECT_EQ("", result.out);
    EXPECT_EQ("", result.err);
    EXPECT_EQ(1, result.status);
  }
}

}  // namespace
