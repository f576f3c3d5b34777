// The tool on a platform with areas: what --user and --system read, and where the result goes.
#include "areas.h"
#include "caller.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "emission.h"
#include "environ.h"
#include "faults.h"
#include "mymain.h"
#include "tool.h"
#include "whbootfw.h"

namespace {

using Variables = std::map<std::string, std::string>;

class Areas : public testing::Test {
 protected:
  Areas() {
    warehouse_.Product("C/Contents/1.0/1", Insert("A", "new"));
    user_area = {};
    system_area = {};
  }

  // A run in a process of its own. What it leaves in the two areas is printed behind a line "--".
  ChildRun Run(std::vector<std::string> options) const {
    std::vector<std::string> arguments = {"zorenv", "-r", warehouse_.Root(), "-p", "C"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunInChild([&arguments] {
      setenv("A", "process", 1);
      std::vector<char*> argv;
      for (std::string& argument : arguments)
        argv.push_back(argument.data());
      argv.push_back(nullptr);
      const int status = mymain(static_cast<int>(arguments.size()), argv.data());
      std::printf("--\n");
      for (const auto& [name, value] : user_area.variables)
        std::printf("user %s=%s\n", name.c_str(), value.c_str());
      for (const auto& [name, value] : system_area.variables)
        std::printf("system %s=%s\n", name.c_str(), value.c_str());
      std::printf("process A=%s\n", std::getenv("A"));
      return status;
    });
  }

 private:
  Warehouse warehouse_;
};

void Expect(const ChildRun& run, const std::string& out, const std::string& err, int status,
            Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  EXPECT_EQ(out, run.out);
  EXPECT_EQ(err, run.err);
  EXPECT_EQ(status, run.status);
}

TEST_F(Areas, OfTheUserIsReadAndUpdated) {
  user_area = {true, true, true, {{"A", "old"}, {"B", "b"}}};
  system_area = {true, true, true, {{"A", "other"}}};
  Expect(Run({"--user"}),
         "The USER Environment Variable section of Windows Registry has been updated\n--\n"
         "user A=old:new\nuser B=b\nsystem A=other\nprocess A=process\n",
         "", 0);
}

TEST_F(Areas, OfTheSystemIsReadAndUpdated) {
  user_area = {true, true, true, {{"A", "other"}}};
  system_area = {true, true, true, {{"A", "old"}}};
  Expect(Run({"--system"}),
         "The SYSTEM Environment Variable section of Windows Registry has been updated\n--\n"
         "user A=other\nsystem A=old:new\nprocess A=process\n",
         "", 0);
}

TEST_F(Areas, AScriptStartsFromTheAreaAndUpdatesNothing) {
  user_area = {true, true, true, {{"A", "old"}}};
  Expect(Run({"--user", "--sh"}), "A='old:new'; export A\n--\nuser A=old\nprocess A=process\n", "",
         0);
}

TEST_F(Areas, ThatAreMissingGiveWayToTheProcess) {
  Expect(Run({"--user"}), "--\nprocess A=process:new\n", "", 0);
  Expect(Run({"--system"}), "--\nprocess A=process:new\n", "", 0);
}

TEST_F(Areas, TheProcessCanBeAskedForInstead) {
  user_area = {true, true, true, {{"A", "old"}}};
  Expect(Run({"--proc", "--sh"}), "A='process:new'; export A\n--\nuser A=old\nprocess A=process\n",
         "", 0);
}

TEST_F(Areas, TheLastOfSeveralIsReadBeforeTheClashIsSeen) {
  user_area = {true, true, true, {{"A", "old"}}};
  system_area = user_area;
  Expect(Run({"--user", "--system", "--sh"}),
         "only one of --proc, --user, --sys is allowed\n--\nuser A=old\nsystem A=old\n"
         "process A=process\n",
         "", 1);
}

TEST_F(Areas, ThatCannotBeReadEndTheRun) {
  user_area = {true, false, true, {{"A", "old"}}};
  Expect(Run({"--user"}), "--\nuser A=old\nprocess A=process\n",
         "*** Error: File user area Access denied\n", 1);
}

// The report of the run's end counts as an error.
TEST_F(Areas, ThatCannotBeWrittenAreReported) {
  user_area = {true, true, false, {{"A", "old"}}};
  Expect(Run({"--user"}), "--\nuser A=old\nprocess A=process\n",
         "*** Error: File user area Access denied\n", 1);
  user_area = {};
  system_area = {true, true, false, {{"A", "old"}}};
  Expect(Run({"--system"}), "--\nsystem A=old\nprocess A=process\n",
         "*** Error: File system area Access denied\n", 1);
}

// No option leads to it: it is for the debugger.
TEST(PrintEnv, WritesNamesAndValues) {
  const ChildRun run = RunInChild([] {
    static char name[] = "zorenv";
    static char* argv[] = {name, nullptr};
    wh_boot_fw(1, argv);
    print_env(nullptr);
    WH_ENVIRON* env = make_environ();
    print_env(env);
    wh_set_ev(env, FWT("A"), FWT("x y"));
    print_env(env);
    wh_set_ev(env, FWT("A"), FWT(""));
    print_env(env);
    free_environ(&env);
    return 0;
  });
  EXPECT_EQ("null environment\nA=x y\nA=\n", run.out);
  EXPECT_EQ("", run.err);
  EXPECT_EQ(0, run.status);
}

// A program may be started without any argument, not even its name.
TEST(CommandLine, WithoutArgumentsIsBadUsage) {
  const ChildRun run = RunInChild([] {
    static char* argv[] = {nullptr};
    return mymain(0, argv);
  });
  EXPECT_EQ(Usage(""), run.out);
  EXPECT_EQ("", run.err);
  EXPECT_EQ(1, run.status);
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
