#include "fwrun.h"
#include "caller.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "files.h"
#include "fwvector.h"
#include "process.h"
#include "syscalls.h"

namespace {

constexpr uint32 kMinusOne = 0xffffffff;

// An open vector of texts.
class Arguments {
 public:
  explicit Arguments(std::vector<std::string> texts) : texts_(std::move(texts)) {
    FwVectorOpen(&vector_, 3);
    for (std::string& text : texts_)
      FwVectorAddElement(&vector_, text.data());
  }
  ~Arguments() { FwVectorAbandon(&vector_, 0); }
  operator FwVector*() { return &vector_; }

 private:
  std::vector<std::string> texts_;
  FwVector vector_ = {};
};

std::string ReadAll(FwFile file, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  Error err;
  Record record;
  FwFileReadRecord(err, file, record);
  EXPECT_EQ(1, FwFileClose(err, file));
  return record.text();
}

bool NothingToWaitFor() {
  return waitpid(-1, nullptr, WNOHANG) == -1;
}

// No descriptor is left to open a pipe on.
class NoDescriptors {
 public:
  NoDescriptors() {
    getrlimit(RLIMIT_NOFILE, &limit_);
    const int fd = open("/dev/null", O_RDONLY);
    close(fd);
    rlimit low = limit_;
    low.rlim_cur = static_cast<rlim_t>(fd);
    setrlimit(RLIMIT_NOFILE, &low);
  }
  ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &limit_); }

 private:
  rlimit limit_;
};

// ---------------------------------------------------------------------------------------------
// Commands

struct CommandRow {
  const char* command;
  uint32 result;
  const char* error;
};

const CommandRow kCommands[] = {
    {"exit 0", 0, "clear"},
    {"exit 3", 3, "FromCommand Error status 3 Command exit 3"},
    {"exit 255", 255, "FromCommand Error status 255 Command exit 255"},
    {"kill -9 $$", kMinusOne, "CallingCommand Command kill -9 $$"},
    {"/no-such-program 2>/dev/null", 127,
     "FromCommand Error status 127 Command /no-such-program 2>/dev/null"},
};

TEST(FwRunCommand, ReturnsTheStatusAndReportsAnyButZero) {
  for (const CommandRow& row : kCommands) {
    SCOPED_TRACE(row.command);
    Error err;
    EXPECT_EQ(row.result, FwRunCommand(err, FWT(row.command), nullptr)) << row.command;
    EXPECT_EQ(row.error, Describe(err));
  }
}

TEST(FwDoRunCommand, TakesQuietWithoutEffect) {
  for (const int quiet : {0, 1}) {
    SCOPED_TRACE(quiet);
    Error err;
    EXPECT_EQ(3u, FwDoRunCommand(err, FWT("exit 3"), nullptr, quiet));
    EXPECT_EQ("FromCommand Error status 3 Command exit 3", Describe(err));
  }
}

TEST(FwRunCommand, RunsInADirectory) {
  TemporaryTree tree;
  Error err;
  EXPECT_EQ(0u, FwRunCommand(err, FWT("echo here > file"), Txt(tree.path())));
  EXPECT_EQ("here\n", ReadFile(tree / "file"));
}

TEST(FwRunCommand, StaysWhereItIsIfTheDirectoryCannotBeEntered) {
  TemporaryTree tree;
  Error err;
  const std::string command = "pwd > " + (tree / "file");
  EXPECT_EQ(0u, FwRunCommand(err, Txt(command), FWT("/no-such-directory/")));
  char directory[4096];
  ASSERT_NE(nullptr, getcwd(directory, sizeof directory));
  EXPECT_EQ(std::string(directory) + "\n", ReadFile(tree / "file"));
}

TEST(FwRunCommand, WaitsOnWhenInterrupted) {
  Error err;
  InterruptWaits(3);
  EXPECT_EQ(3u, FwRunCommand(err, FWT("exit 3"), nullptr));
  InterruptWaits(0);
  EXPECT_TRUE(NothingToWaitFor());
}

TEST(FwRunCommand, ReportsAChildWhoseStatusIsLost) {
  auto* const saved = std::signal(SIGCHLD, SIG_IGN);
  Error err;
  EXPECT_EQ(kMinusOne, FwRunCommand(err, FWT("exit 3"), nullptr));
  EXPECT_EQ("CallingCommand Command exit 3", Describe(err));
  std::signal(SIGCHLD, saved);
}

TEST(FwRunCommand, ReportsThatNoChildCouldBeMade) {
  NoFork no_fork;
  Error err;
  EXPECT_EQ(kMinusOne, FwRunCommand(err, FWT("exit 3"), nullptr));
  EXPECT_EQ("CallingCommand Command exit 3", Describe(err));
}

TEST(FwRunCommand, InheritsTheEnvironmentAsItStands) {
  setenv("FWRUN_TEST", "7", 1);
  Error err;
  EXPECT_EQ(7u, FwRunCommand(err, FWT("exit $FWRUN_TEST"), nullptr));
  unsetenv("FWRUN_TEST");
}

// ---------------------------------------------------------------------------------------------
// Pipes

TEST(FwRunPipeFromCommand, GivesTheOutput) {
  Error err;
  const FwFile file = FwRunPipeFromCommand(err, FWT("echo one; echo two"), nullptr);
  EXPECT_EQ("one\ntwo\n", ReadAll(file));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

TEST(FwDoRunPipeFromCommand, TellsTheChild) {
  TemporaryTree tree;
  Error err;
  int pid = 0;
  const FwFile file = FwDoRunPipeFromCommand(err, FWT("pwd; exit 5"), Txt(tree.path()), &pid);
  EXPECT_EQ(tree.path() + "\n", ReadAll(file));
  int status = 0;
  EXPECT_EQ(pid, waitpid(pid, &status, 0));
  EXPECT_EQ(5, WEXITSTATUS(status));
}

TEST(FwDoRunPipeFromCommand, ReportsThatNoPipeOrChildCouldBeMade) {
  Error err;
  int pid = 77;
  {
    NoDescriptors none;
    EXPECT_EQ(-1, FwDoRunPipeFromCommand(err, FWT("echo x"), nullptr, &pid));
  }
  EXPECT_EQ("CallingCommand Command echo x", Describe(err));
  EXPECT_EQ(77, pid);
  FwErrorClear(err);
  NoFork no_fork;
  EXPECT_EQ(-1, FwDoRunPipeFromCommand(err, FWT("echo x"), nullptr, &pid));
  EXPECT_EQ("CallingCommand Command echo x", Describe(err));
  EXPECT_EQ(0, pid);
}

TEST(FwRunPipeFromCommand, WorksWithTheStandardOutputClosed) {
  TemporaryTree tree;
  const int saved = dup(1);
  close(1);
  Error err;
  const FwFile file = FwRunPipeFromCommand(err, FWT("echo text"), nullptr);
  const std::string text = ReadAll(file);
  dup2(saved, 1);
  close(saved);
  EXPECT_EQ("text\n", text);
  EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

TEST(FwRunCommandSilent, ReturnsTheStatusWithoutAnError) {
  Error err;
  EXPECT_EQ(4u, FwRunCommandSilent(err, FWT("echo not seen; exit 4"), nullptr));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_EQ(0u, FwRunCommandSilent(err, FWT("kill -9 $$"), nullptr)) << "no exit status to see";
  EXPECT_EQ("clear", Describe(err));
}

std::ptrdiff_t OpenDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                       std::filesystem::directory_iterator());
}

TEST(FwRunCommandSilent, LosesADescriptorEachTime) {
  const std::ptrdiff_t before = OpenDescriptors();
  const int lowest = open("/dev/null", O_RDONLY);
  close(lowest);
  Error err;
  FwRunCommandSilent(err, FWT("exit 0"), nullptr);
  EXPECT_EQ(before + 1, OpenDescriptors());
  close(lowest);
}

TEST(FwRunCommandSilent, ReturnsMinusOneIfItCannotBegin) {
  Error err;
  NoFork no_fork;
  EXPECT_EQ(kMinusOne, FwRunCommandSilent(err, FWT("exit 0"), nullptr));
  EXPECT_EQ("CallingCommand Command exit 0", Describe(err));
}

// ---------------------------------------------------------------------------------------------
// Programs

TEST(FwRunProgram, SearchesThePathAndPassesTheArguments) {
  TemporaryTree tree;
  Arguments args({"-c", "printf '%s|' \"$0\" \"$@\" > file; exit 6", "zero", "a b", "", "*"});
  Error err;
  EXPECT_EQ(6u, FwRunProgram(err, FWT("sh"), args, Txt(tree.path()), 1));
  EXPECT_EQ("FromCommand Error status 6 Command sh", Describe(err));
  EXPECT_EQ("zero|a b||*|", ReadFile(tree / "file"));
}

TEST(FwRunProgram, GivesAProgramWithoutArgumentsItsName) {
  TemporaryTree tree;
  tree.Write("show", "#!/bin/sh\necho \"$# $0\" > \"$0.out\"\n");
  ASSERT_EQ(0, chmod((tree / "show").c_str(), 0755));
  Arguments args({});
  Error err;
  EXPECT_EQ(0u, FwRunProgram(err, Txt(tree / "show"), args, nullptr, 1));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_EQ("0 " + (tree / "show") + "\n", ReadFile(tree / "show.out"));
}

TEST(FwRunProgram, ThatDoesNotExistLooksLikeStatusOne) {
  Arguments args({"x"});
  Error err;
  EXPECT_EQ(1u, FwRunProgram(err, FWT("/no-such-program"), args, nullptr, 1));
  EXPECT_EQ("FromCommand Error status 1 Command /no-such-program", Describe(err));
}

TEST(FwRunProgram, ThatIsNotWaitedForGivesZero) {
  Arguments args({});
  Error err;
  EXPECT_EQ(0u, FwRunProgram(err, FWT("/no-such-program"), args, nullptr, 0));
  EXPECT_EQ("clear", Describe(err));
  // Nobody collected it.
  int status = 0;
  EXPECT_GT(waitpid(-1, &status, 0), 0);
  EXPECT_EQ(1, WEXITSTATUS(status));
}

TEST(FwRunProgram, ReportsThatNoChildCouldBeMadeAlsoWithoutWaiting) {
  NoFork no_fork;
  Arguments args({});
  for (const int fWait : {0, 1}) {
    SCOPED_TRACE(fWait);
    Error err;
    EXPECT_EQ(kMinusOne, FwRunProgram(err, FWT("sh"), args, nullptr, fWait));
    EXPECT_EQ("CallingCommand Command sh", Describe(err));
  }
}

TEST(FwRunProgram, ReportsADeathByASignal) {
  Arguments args({"-c", "kill -TERM $$"});
  Error err;
  EXPECT_EQ(kMinusOne, FwRunProgram(err, FWT("sh"), args, nullptr, 1));
  EXPECT_EQ("CallingCommand Command sh", Describe(err));
}

TEST(FwRunPipeFromProgram, GivesTheOutput) {
  TemporaryTree tree;
  Arguments args({"-c", "pwd; echo \"$0\"", "zero"});
  Error err;
  const FwFile file = FwRunPipeFromProgram(err, FWT("sh"), args, Txt(tree.path()));
  EXPECT_EQ(tree.path() + "\nzero\n", ReadAll(file));
  EXPECT_EQ("clear", Describe(err));
  EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

TEST(FwRunPipeFromProgram, ReportsThatNoPipeCouldBeMade) {
  Arguments args({});
  Error err;
  NoDescriptors none;
  EXPECT_EQ(-1, FwRunPipeFromProgram(err, FWT("sh"), args, nullptr));
  EXPECT_EQ("CallingCommand Command sh", Describe(err));
}

// What waits in the buffer of the standard output when a child is made.
std::string OutputAround(void (*run)()) {
  TemporaryTree tree;
  std::fflush(stdout);
  const int saved = dup(1);
  std::FILE* file = std::fopen((tree / "out").c_str(), "w");
  dup2(fileno(file), 1);
  std::fclose(file);
  std::printf("before\n");
  run();
  std::printf("after\n");
  std::fflush(stdout);
  dup2(saved, 1);
  close(saved);
  return ReadFile(tree / "out");
}

TEST(FwRunProgram, WritesWhatIsBufferedOnceAndBeforeTheChildsOutput) {
  EXPECT_EQ("before\nchild\nafter\n", OutputAround([] {
              Arguments args({"child"});
              Error err;
              FwRunProgram(err, FWT("echo"), args, nullptr, 1);
            }));
  EXPECT_EQ("before\nafter\n", OutputAround([] {
              Arguments args({});
              Error err;
              FwRunProgram(err, FWT("/no-such-program"), args, nullptr, 1);
            }));
}

TEST(FwRunCommand, WritesWhatIsBufferedOnceAndBeforeTheChildsOutput) {
  EXPECT_EQ("before\nchild\nafter\n", OutputAround([] {
              Error err;
              FwRunCommand(err, FWT("echo child"), nullptr);
            }));
}

}  // namespace
