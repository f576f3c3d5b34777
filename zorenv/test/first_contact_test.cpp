// What people meet first: ./demo and ./check, bootstrap on a machine that lacks something, the
// installed demonstration, lines of the documents that shells other than sh run, and what a run
// makes of an environment that no shell can make.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "caller.h"
#include "tool.h"

namespace {

const std::string kSource = ZOR_SOURCE_DIR;

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

RunResult Start(const std::vector<std::string>& argv, const std::vector<std::string>& environment) {
  RunOptions options;
  options.environment = environment;
  return RunProgram(argv, options);
}

RunResult Sh(const std::string& script, const std::vector<std::string>& environment,
             const std::string& directory = "") {
  RunOptions options;
  options.environment = environment;
  options.directory = directory;
  return RunProgram({"/bin/sh", "-c", script}, options);
}

// A source of which only the scripts are there, with a directory of tools to put on PATH. The tools
// that the scripts need of the system are linked into it; others are not to be found.
class Scripts : public testing::Test {
 protected:
  Scripts() {
    for (const char* script :
         {"demo", "check", "tools/bootstrap", "tools/steps.sh", "tools/progress", "examples/demo"})
      Script(std::string("source/") + script, ReadFile(kSource + "/" + script));
    tree_.Write("source/CMakeLists.txt", "");
    for (const char* tool : {"sh", "dirname", "sed", "cat", "mkdir", "id", "mktemp", "rm", "env",
                             "printf", "uname", "sort"})
      tree_.Link(std::string("bin/") + tool, std::string("/usr/bin/") + tool);
  }

  void Script(const std::string& name, const std::string& text, Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    ASSERT_EQ(0, chmod(tree_.Write(name, text).c_str(), 0755));
  }
  // A tool that does nothing, or this.
  void Tool(const std::string& name, const std::string& text = "") {
    Script("bin/" + name, "#!/bin/sh\n" + text + "\n");
  }
  // All that building needs.
  void Compiler() {
    for (const char* tool : {"c++", "ninja", "tcsh"})
      Tool(tool);
    Tool("cmake", "[ \"$1\" != --version ] || echo cmake version 3.25.1");
  }
  RunResult Run(const std::string& script) {
    return Sh(script, {"PATH=" + tree_ / "bin"}, tree_ / "source");
  }

  TemporaryTree tree_;
};

TEST_F(Scripts, BootstrapLooksForToolsBeforePackages) {
  Compiler();
  Expect(Run("tools/bootstrap"), "", "", 0);
  Tool("cmake", "echo cmake version 3.24.9");
  EXPECT_TRUE(Contains(Run("tools/bootstrap").err, "bootstrap: missing here: CMake 3.25\n"));
  Tool("cmake", "echo cmake version 4.0.2");
  Expect(Run("tools/bootstrap"), "", "", 0);
}

TEST_F(Scripts, BootstrapNamesThePackagesOfOtherSystems) {
  const RunResult result = Run("tools/bootstrap");
  EXPECT_EQ("", result.out);
  EXPECT_EQ(0u,
            result.err.find("bootstrap: missing here: a C++ compiler (c++), CMake 3.25, ninja, "
                            "Expat's header (expat.h), tcsh, CLI11, {fmt}, JSON for Modern C++, "
                            "toml++, zstd's header (zstd.h)\n"
                            "bootstrap: This is not Debian"));
  for (const char* line : {"\n  Fedora  dnf install gcc-c++ ", "\n  Arch    pacman -S gcc ",
                           "\n  Alpine  apk add g++ "})
    EXPECT_TRUE(Contains(result.err, line)) << result.err;
  EXPECT_EQ(1, result.status);
}

// tcsh is for one step of the demonstration, which says so itself.
TEST_F(Scripts, BootstrapDoesWithoutCshWhereItCannotInstallIt) {
  Compiler();
  std::filesystem::remove(tree_ / "bin/tcsh");
  Expect(Run("tools/bootstrap"), "", "", 0);
}

TEST_F(Scripts, BootstrapSaysInASentenceThatThereIsNoNetwork) {
  Compiler();
  std::filesystem::remove(tree_ / "bin/ninja");
  Tool("dpkg-query", "exit 1");
  Tool("apt-get", "echo 'E: Could not connect' >&2; exit 100");
  Tool("id", "echo 0");
  Expect(Run("tools/bootstrap"), "",
         "bootstrap: installing ninja-build\nE: Could not connect\n"
         "bootstrap: apt-get, whose messages stand above, could not fetch or install ninja-build: "
         "look whether this machine has a network and a mirror in its list of sources, and run "
         "this again.\n",
         1);
}

TEST_F(Scripts, SourceThatCannotBeWrittenToIsBuiltElsewhere) {
  Compiler();
  // Root writes anywhere, so something else stands in the way.
  tree_.Write("source/build", "");
  EXPECT_EQ(
      "demo: can't make the directory build/release: the source is read-only, or belongs to "
      "somebody else.\ndemo: Build in another directory: ./demo -B DIRECTORY\n",
      Run("./demo").err);
  Tool("cmake",
       "case $* in --version) echo cmake version 3.25.1 ;; *) printf '%s\\n' \"$*\" >>../log ;; "
       "esac");
  Run("./demo -B '../my build'");
  const std::string tree = tree_ / "source/../my build/release";
  EXPECT_EQ("--preset release -B " + tree + " -DZOR_TESTS=OFF\n--build " + tree +
                " --target zorenv zor\n",
            ReadFile(tree_ / "log"));
}

TEST_F(Scripts, BuildDirectoryThatMovedIsReportedInASentence) {
  Compiler();
  const std::string top = tree_ / "source";
  tree_.Write("source/build/release/CMakeCache.txt",
              "CMAKE_CACHEFILE_DIR:INTERNAL=/old/build/release\n"
              "CMAKE_HOME_DIRECTORY:INTERNAL=" +
                  top + "\n");
  const RunResult result = Run("./demo");
  EXPECT_EQ("demo: build/release was made as /old/build/release, for the source in " + top +
                ": one of them was moved or copied since.\ndemo: Remove it (rm -r build/release) "
                "and run ./demo again, or build in another directory: ./demo -B DIRECTORY\n",
            result.err);
  EXPECT_EQ(1, result.status);
  tree_.Write("source/build/release/CMakeCache.txt", "CMAKE_CACHEFILE_DIR:INTERNAL=" + top +
                                                         "/build/release\n"
                                                         "CMAKE_HOME_DIRECTORY:INTERNAL=/old\n");
  EXPECT_TRUE(Contains(Run("./demo").err, ", for the source in /old: one of them was moved"));
}

TEST_F(Scripts, BuildDirectoryOfAnotherUserIsReportedInASentence) {
  Compiler();
  tree_.Directory("source/build/release");
  for (const char* directory : {"", "bin", "source", "source/build/release", "source/tools"})
    ASSERT_EQ(0, chmod((tree_ / directory).c_str(), 0755)) << directory;
  ASSERT_EQ(0, chmod((tree_ / "source/build/release").c_str(), 0555));
  std::string run = "./demo";
  if (getuid() == 0) run = "/usr/bin/setpriv --reuid=65534 --regid=65534 --clear-groups ./demo";
  EXPECT_EQ(
      "demo: can't write to build/release: it is read-only, or another user made it.\n"
      "demo: Let that user remove it (rm -r build/release), or build in another directory: "
      "./demo -B DIRECTORY\n",
      Run(run).err);
}

TEST_F(Scripts, RefuseOtherArguments) {
  for (const char* arguments : {"-x", "-B", "-B ''", "-B a b", "release"}) {
    SCOPED_TRACE(arguments);
    Expect(Run(std::string("./demo ") + arguments), "", "demo: usage: ./demo [-B DIRECTORY]\n", 1);
  }
}

// Standard input may be closed, and standard output no terminal.
TEST_F(Scripts, CheckRunsTheTestsOfBothPresets) {
  Compiler();
  for (const char* tool : {"readelf", "nm", "localedef", "mandoc", "zsh", "fish", "xmllint", "make",
                           "pkg-config", "xmllint"})
    Tool(tool);
  // Not every system has the definitions of locales.
  Tool("dpkg-query", "echo install ok installed");
  Script("source/tools/bootstrap", "#!/bin/sh\n[ \"$1\" = check ]\n");
  Tool("ctest",
       "echo '1: [ RUN      ] A.B'; echo '1: some line'; echo '1: [       OK ] A.B (0 ms)'\n"
       "echo '1/1 Test #1: floor ......   Passed    0.01 sec'; echo\n"
       "echo '100% tests passed, 0 tests failed out of 1'");
  const RunResult result = Run("./check <&- 2>&1");
  EXPECT_EQ(0, result.status);
  const std::string tests =
      "   Run the tests. (One to four minutes.)\n"
      "   1/1 Test #1: floor ......   Passed    0.01 sec\n"
      "100% tests passed, 0 tests failed out of 1\n"
      "   1 tests ran, none was skipped\n";
  const std::string time = " (Five to ten minutes with two processors the first time.)\n";
  EXPECT_EQ(
      "Look for the compiler and what else building and the tests need. (Installing it takes some "
      "minutes.)\n"
      "1 of 2  release: the program as users get it\n"
      "   Build it and its tests in build/release." +
          time + tests +
          "2 of 2  asan: the program under the sanitizers\n"
          "   Build it and its tests in build/asan." +
          time + tests,
      result.out);
}

// ---- The counter

RunResult Progress(const std::string& what, const std::string& input) {
  RunOptions options;
  options.environment = PlainEnvironment();
  options.input = input;
  return RunProgram({kSource + "/tools/progress", what}, options);
}

TEST(Progress, OfABuildShowsComplaintsOnly) {
  Expect(Progress("build",
                  "[1/2] Building CXX object a.o\na.cpp:1: warning: odd\n[2/2] Linking\n"
                  "ninja: no work to do.\nstatus 0\n"),
         "a.cpp:1: warning: odd\n", "", 0);
  Expect(Progress("build", "FAILED: a.o\na.cpp:1: error\nstatus 2\n"),
         "FAILED: a.o\na.cpp:1: error\n", "", 2);
}

TEST(Progress, OfTestsShowsWhatFailedAndWhatWasSkipped) {
  Expect(Progress(
             "tests",
             "1: [ RUN      ] A.Good\n2: [ RUN      ] B.Bad\n1: [       OK ] A.Good (0 ms)\n"
             "2: b.cpp:3: Failure\n1: [ RUN      ] A.Left\n2: found two\n"
             "1: a.cpp:9: Skipped\n1: no such shell here\n1: \n"
             "2: [  FAILED  ] B.Bad (1 ms)\n1: [  SKIPPED ] A.Left (0 ms)\n"
             "1/2 Test #1: a ........   Passed    0.10 sec\n2: [  FAILED  ] 1 test, listed below:\n"
             "2/2 Test #2: b ........***Failed    0.10 sec\n\n"
             "50% tests passed, 1 tests failed out of 2\n"
             "The following tests FAILED:\n\t  2 - b (Failed)\nstatus 8\n"),
         "b.cpp:3: Failure\nfound two\n[  FAILED  ] B.Bad (1 ms)\n"
         "   1/2 Test #1: a ........   Passed    0.10 sec\n"
         "[  FAILED  ] 1 test, listed below:\n\n"
         "   2/2 Test #2: b ........***Failed    0.10 sec\n"
         "50% tests passed, 1 tests failed out of 2\n"
         "The following tests FAILED:\n\t  2 - b (Failed)\n"
         "   skipped here, and why:\n   A.Left: no such shell here\n",
         "", 8);
}

// A program that dies leaves a test without an end.
TEST(Progress, OfTestsShowsWhatADeadProgramPrinted) {
  const RunResult result = Progress("tests",
                                    "1: [ RUN      ] A.Dies\n1: about to\n"
                                    "1/1 Test #1: a ........***Exception: SegFault  0.10 sec\n\n"
                                    "0% tests passed, 1 tests failed out of 1\nstatus 8\n");
  EXPECT_TRUE(Contains(result.out, "about to\n")) << result.out;
  EXPECT_EQ(8, result.status);
}

// An input that ends early, because its writer was killed, is no success.
TEST(Progress, NeedsTheStatus) {
  EXPECT_EQ(1, Progress("build", "[1/2] Building CXX object a.o\n").status);
  EXPECT_EQ(1, Progress("tests", "100% tests passed, 0 tests failed out of 2\n").status);
}

// ---- The demonstration

// In a directory outside ASCII, on a machine without a locale.
TEST(FirstContact, DemonstrationSetsALocale) {
  const TemporaryTree tree;
  const std::string place = tree.Directory("Bücher und Läden");
  std::filesystem::copy(kSource + "/examples/demo", place + "/demo");
  std::filesystem::copy(kSource + "/examples/warehouse", place + "/warehouse",
                        std::filesystem::copy_options::recursive);
  tree.Link("bin/zorenv", ZORENV_PROGRAM);
  const RunResult result = Start({place + "/demo"}, {"PATH=" + tree / "bin:" + "/usr/bin:/bin"});
  EXPECT_EQ(0, result.status);
  EXPECT_TRUE(Contains(result.out, "\nquill 0.9, writing in black\n")) << result.out;
  EXPECT_FALSE(Contains(result.out, " at 2")) << result.out;
  EXPECT_EQ(
      "*** Error:  value fast is both inserted and removed in environment variable RENDER_MODE\n"
      "*** Error:  value left has cyclic constraints in environment variable KNOT_ENDS\n",
      result.err);
}

TEST(FirstContact, DemonstrationFindsTheProgramItWasInstalledWith) {
  const TemporaryTree tree;
  const std::string place = tree.Directory("prefix/share/doc/zorenv/examples");
  std::filesystem::copy(kSource + "/examples/demo", place + "/demo");
  std::filesystem::copy(kSource + "/examples/warehouse", place + "/warehouse",
                        std::filesystem::copy_options::recursive);
  RunOptions options;
  options.environment = {"PATH=/usr/bin:/bin"};
  Expect(RunProgram({place + "/demo"}, options), "", "demo: there is no zorenv on PATH\n", 1);
  tree.Link("prefix/bin/zorenv", ZORENV_PROGRAM);
  const RunResult result = RunProgram({place + "/demo"}, options);
  EXPECT_EQ(0, result.status);
  EXPECT_TRUE(Contains(result.out, "\nPATH='" + tree / "prefix/bin:" + place + "/warehouse/"))
      << result.out;
}

TEST(FirstContact, DemonstrationRefusesADirectoryThatItCannotQuote) {
  const TemporaryTree tree;
  const std::string place = tree.Directory("it's");
  std::filesystem::copy(kSource + "/examples/demo", place + "/demo");
  tree.Link("bin/zorenv", ZORENV_PROGRAM);
  Expect(Start({place + "/demo"}, {"PATH=" + tree / "bin:" + "/usr/bin:/bin"}), "",
         "demo: " + place +
             ", or the directory of zorenv, has a quote or a colon in its name; copy it to another "
             "one\n",
         1);
}

// ---- The documents

// The line for csh that documents give, between the first of these marks and the second.
std::string CshLine(const std::string& document, const std::string& begin, const std::string& end,
                    Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  const std::string text = ReadFile(kSource + "/" + document);
  const std::size_t first = text.find(begin);
  EXPECT_NE(std::string::npos, first) << document;
  const std::size_t last = text.find(end, first);
  EXPECT_NE(std::string::npos, last) << document;
  return text.substr(first, last - first);
}

// It sources a file of a name that nobody can foresee, asks for the status first, and leaves
// nothing behind. (The product inserts its value, so that a value from before stays.)
TEST(FirstContact, LinesForCshAreSafe) {
  const TemporaryTree tree;
  tree.Link("bin/zorenv", ZORENV_PROGRAM);
  tree.Directory("tmp");
  const std::vector<std::string> environment = {
      "PATH=" + tree / "bin:" + "/usr/bin:/bin", "ZORROOT=" + kSource + "/examples/warehouse",
      "TMPDIR=" + tree / "tmp", "LC_ALL=C.UTF-8", "WEAVER_HOME=before"};
  std::string manual = CshLine("doc/man/zorenv.1", "set script = \\(ga", "\n.Ed");
  for (const auto& [written, meant] : {std::pair("\\(ga", "`"), {"\\-", "-"}, {"\n% ", "\n"}})
    for (std::size_t at; (at = manual.find(written)) != std::string::npos;)
      manual.replace(at, std::string_view(written).size(), meant);
  for (std::string line :
       {CshLine("README.md", "set f = `mktemp` && zorenv", "`` |"),
        CshLine("doc/guide.md", "set f = `mktemp` && zorenv", "\n"),
        CshLine("doc/daily-use.md", "set script = `mktemp`", "\necho"), manual}) {
    SCOPED_TRACE(line);
    if (const std::size_t at = line.find("kiln"); at != std::string::npos)
      line.replace(at, 4, "weaver");
    if (const std::size_t at = line.find("suite"); at != std::string::npos)
      line.replace(at, 5, "weaver");
    const std::string show = "\necho \"$WEAVER_HOME\"\n";
    const std::string good = line + show;
    std::string broken = good;
    broken.replace(broken.find("weaver"), 6, "waever");
    for (const std::string noclobber : {"", "set noclobber\n"}) {
      SCOPED_TRACE(noclobber);
      Expect(Start({"/bin/tcsh", "-f", tree.Write("script", noclobber + good)}, environment),
             "before:" + kSource + "/examples/warehouse/tools/weaver/1.10/2\n", "", 0);
      Expect(Start({"/bin/tcsh", "-f", tree.Write("script", noclobber + broken)}, environment),
             "before\n",
             "*** Error: File " + kSource + "/examples/warehouse/tools/waever/ Does not exist\n",
             0);
      EXPECT_TRUE(std::filesystem::is_empty(tree / "tmp"));
    }
  }
}

TEST(FirstContact, EachPageAndSharedFileStatesTheVersion) {
  const std::string project = ReadFile(kSource + "/CMakeLists.txt");
  const std::string before = "project(zorenv VERSION ";
  const std::size_t at = project.find(before) + before.size();
  const std::string version = "zorenv " + project.substr(at, project.find(' ', at) - at);
  EXPECT_EQ(0u, version.find("zorenv 1."));
  int files = 0;
  for (const char* directory : {"/share", "/doc/man"})
    for (const auto& entry : std::filesystem::recursive_directory_iterator(kSource + directory))
      if (entry.is_regular_file()) {
        EXPECT_TRUE(Contains(ReadFile(entry.path()), version)) << entry.path();
        ++files;
      }
  EXPECT_LT(20, files);
  for (const char* page : {"zorenv.1", "zorenv-warehouse.5", "zorenv-framework.3"}) {
    const RunResult result =
        RunProgram({"/usr/bin/mandoc", "-Tascii", kSource + "/doc/man/" + page});
    const std::size_t footer = result.out.rfind('\n', result.out.size() - 2);
    EXPECT_EQ(footer + 1, result.out.find(version + " ", footer)) << result.out.substr(footer);
  }
}

TEST(FirstContact, RowsOfNamesHaveTheirExplanationOutsideTheQuotes) {
  const RunResult page =
      RunProgram({"/usr/bin/mandoc", "-Tutf8", kSource + "/doc/man/zorenv-warehouse.5"});
  for (const char* row :
       {"the separator of directories, ‘/’\n", "the ending of shared libraries, ‘.so’\n",
        "the ending of libraries, ‘.a’\n"})
    EXPECT_TRUE(Contains(page.out, row)) << row;
}

// ---- What no shell can bring about, and a document says without an example

TEST(FirstContact, OfAVariableThatStandsTwiceTheLastCounts) {
  Warehouse warehouse;
  warehouse.Product(InC("A"), Remove("DIRS", "/bin"));
  const std::vector<std::string> twice = {"DIRS=/one:/bin", "DIRS=/two:/bin"};
  Expect(Zorenv(warehouse, {"-p", "C", "A", "--sh"}, twice), "DIRS='/two'; export DIRS\n", "", 0);
  const RunResult run = Zorenv(warehouse, {"-p", "C", "A", "--exec", "/usr/bin/env"}, twice);
  EXPECT_TRUE(Contains(run.out, "\nDIRS=/two\nDIRS=/two:/bin\n")) << run.out;
}

// Who shares a directory of files can't put a name into the way of the uninstaller.
TEST(FirstContact, UninstallRefusesNamesThatAreNotAbsolute) {
  const TemporaryTree tree;
  tree.Write("build/install_directories.txt", "\n/opt/zor\n");
  tree.Write("build/install_manifest.txt", "victim");
  tree.Write("build/victim", "");
  Expect(RunProgram({"/bin/sh", kSource + "/cmake/uninstall.sh", tree / "build"}), "",
         "uninstall: install_manifest.txt lists a name that is not absolute: victim\n", 1);
  EXPECT_TRUE(std::filesystem::exists(tree / "build/victim"));
}

TEST(FirstContact, UninstallSaysThatNothingWasInstalled) {
  const TemporaryTree tree;
  Expect(RunProgram({"/bin/sh", kSource + "/cmake/uninstall.sh", tree.path()}), "",
         "uninstall: nothing was installed from " + tree.path() + "\n", 1);
}

}  // namespace
