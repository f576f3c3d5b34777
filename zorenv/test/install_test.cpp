// What this build tree installs works where it was put, and where it was moved after that: the tool
// on the installed example, the front end's functions, the completions from their usual places, and
// the framework for programs that other people build, by CMake and by pkg-config.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <regex>

#include "caller.h"
#include "process.h"
#include "tool.h"

namespace {

bool Exists(const std::string& path) {
  return std::filesystem::exists(path);
}

RunResult Start(const std::vector<std::string>& argv, const std::vector<std::string>& more = {},
                const std::string& directory = "") {
  RunOptions options;
  options.environment = PlainEnvironment();
  for (const std::string& variable : more) {
    if (variable.rfind("PATH=", 0) == 0) options.environment->erase(options.environment->begin());
    options.environment->push_back(variable);
  }
  options.directory = directory;
  options.limit = std::chrono::seconds(120);
  return RunProgram(argv, options);
}

RunResult RunInSh(const std::string& script, const std::vector<std::string>& more = {}) {
  return Start({"/bin/sh", "-ec", script}, more);
}

// All files of a tree, relative to it.
std::vector<std::string> Files(const std::string& tree) {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(tree))
    if (!entry.is_directory()) files.push_back(std::filesystem::relative(entry.path(), tree));
  std::sort(files.begin(), files.end());
  return files;
}

class Installed : public testing::Test {
 protected:
  // One installation for all, which has moved since.
  static void SetUpTestSuite() {
    tree_ = std::make_unique<TemporaryTree>();
    const RunResult result =
        Start({CMAKE_PROGRAM, "--install", ZOR_BINARY_DIR, "--prefix", *tree_ / "first"});
    ASSERT_EQ(0, result.status) << result.err;
    std::filesystem::create_directory(*tree_ / "moved");
    std::filesystem::rename(*tree_ / "first", *tree_ / "moved/second");
  }

  static void TearDownTestSuite() { tree_.reset(); }

  static std::string Prefix() { return *tree_ / "moved/second"; }
  static std::string Warehouse() { return Prefix() + "/share/doc/zorenv/examples/warehouse"; }
  static std::vector<std::string> Environment() {
    return {"PATH=" + Prefix() + "/bin:/usr/bin:/bin", "HOME=/home/you", "ZORROOT=" + Warehouse(),
            "SHARE=" + Prefix() + "/share"};
  }

  // The programs that were built against the installed framework print what the tree's own does.
  void ExpectGreetings(const std::string& greet, Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    const std::string messages = std::string(ZOR_SOURCE_DIR) + "/examples/greet";
    for (const char* file : {"deutsch.msg", "nihongo.msg", "missing.msg"}) {
      SCOPED_TRACE(file);
      const RunResult expected = Start({GREET_PROGRAM, file}, {}, messages);
      EXPECT_EQ(expected.status, std::string(file) == "missing.msg" ? 1 : 0);
      Expect(Start({greet, file}, {}, messages), expected.out, expected.err, expected.status);
    }
  }

  // The installed example, where it can be built.
  std::string Greet(const TemporaryTree& tree) {
    std::filesystem::copy(Prefix() + "/share/doc/libfwos-dev/examples/greet", tree / "greet");
    return tree / "greet";
  }

  static std::unique_ptr<TemporaryTree> tree_;
};

std::unique_ptr<TemporaryTree> Installed::tree_;

TEST_F(Installed, ToolWorksOnTheInstalledExample) {
  const std::string root = Warehouse();
  // The platform is stated, so that the test holds on hosts of any kind. Both products want to be
  // before /usr/bin, so the directory of the tool stays before them.
  Expect(Start({Prefix() + "/bin/zorenv", "-p", "tools", "suite", "-v", "platform", "linux-x86",
                "--exec", "sh", "-c", "echo $PATH; echo $SUITE_HOME; spindle a 'b c'"},
               Environment()),
         Prefix() + "/bin:" + root + "/tools/weaver/1.10/2/linux-x86/bin:" + root +
             "/tools/spindle/3.0/1/linux-x86/bin:/usr/bin:/bin\n" + root +
             "/tools/suite/1.0/1\nspindle 3.0 (revision 1)\n  [a]\n  [b c]\n",
         "", 0);
}

TEST_F(Installed, DemoShowsItsPieces) {
  const RunResult result = Start({Prefix() + "/share/doc/zorenv/examples/demo"},
                                 {"PATH=" + Prefix() + "/bin:/usr/bin:/bin", "HOME=/home/you"});
  EXPECT_EQ(0, result.status);
  for (const std::string text :
       {"\n# The same in the other family of shells\n", "\n$ zorenv -p tools quill --exec quill\n",
        "\nquill 0.9, writing in black\n", "\nRENDER_MODE='exact'; export RENDER_MODE\n"})
    EXPECT_NE(std::string::npos, result.out.find(text)) << text << result.out;
  EXPECT_EQ(
      "*** Error:  value fast is both inserted and removed in environment variable RENDER_MODE\n"
      "*** Error:  value left has cyclic constraints in environment variable KNOT_ENDS\n",
      result.err);
}

TEST_F(Installed, FunctionsOfTheFrontEndFindTheProgramThatPrintedThem) {
  Expect(RunInSh("eval \"$(zor init sh)\"; PATH=/usr/bin:/bin; zor load site; echo $SITE_NAME; "
                 "zor unload site; echo \"[${SITE_NAME-}]\"",
                 Environment()),
         "Mill Street\n[]\n", "", 0);
  if (Exists("/usr/bin/fish")) {
    std::vector<std::string> environment = Environment();
    environment.push_back("XDG_DATA_HOME=" + *tree_ / "data");
    environment.push_back("XDG_CONFIG_HOME=" + *tree_ / "config");
    Expect(Start({"/usr/bin/fish", "--no-config", "-c",
                  "zor init fish | source; zor load site; echo $SITE_NAME"},
                 environment),
           "Mill Street\n", "", 0);
  }
  if (Exists("/bin/tcsh"))
    Expect(
        Start({"/bin/tcsh", "-f", "-c", "eval \"`zor init tcsh`\"\nzor load site\necho $SITE_NAME"},
              Environment()),
        "Mill Street\n", "", 0);
}

TEST_F(Installed, CompletionsLieWhereShellsLookByTheCommandsName) {
  const std::string share = Prefix() + "/share/";
  Expect(Start({"/bin/bash", "-c", ". $SHARE/bash-completion/completions/$0; complete -p $0",
                "zorenv"},
               Environment()),
         "complete -F _zorenv zorenv\n", "", 0);
  EXPECT_TRUE(Exists(share + "fish/vendor_completions.d/zorenv.fish"));
  EXPECT_EQ(0u, ReadFile(share + "zsh/site-functions/_zorenv").find("#compdef zorenv\n"));
}

TEST_F(Installed, PagesSchemasAndDocumentsAreThere) {
  for (const char* file :
       {"man/man1/zorenv.1", "man/man1/zor.1", "man/man5/zorenv-warehouse.5",
        "man/man7/zor-check.7", "man/man7/zor-formats.7", "man/man7/zor-session.7",
        "man/man3/zorenv-framework.3", "zorenv/ci/action.yml", "zorenv/ci/.pre-commit-hooks.yaml",
        "zorenv/schemas/json/avail.schema.json", "zorenv/schemas/env.rng",
        "zorenv/schemas/xsd/env.xsd", "doc/zorenv/README.md", "doc/zorenv/doc/guide.md",
        "doc/zorenv/doc/daily-use.md", "doc/zorenv/doc/sharp-edges.md",
        "doc/zorenv/doc/cookbook.md", "doc/zorenv/share/README.md",
        "doc/libfwos-dev/doc/framework.md"})
    EXPECT_TRUE(Exists(Prefix() + "/share/" + file)) << file;
}

// Links of the documents lead to what is installed with them, and those of the source somewhere.
TEST_F(Installed, LinksOfTheDocumentsHold) {
  const std::string source = ZOR_SOURCE_DIR;
  std::vector<std::filesystem::path> documents = {source + "/README.md",
                                                  source + "/CONTRIBUTING.md"};
  for (const std::string& root :
       {Prefix() + "/share/doc", source + "/doc", source + "/share", source + "/examples"})
    for (const std::string& file : Files(root))
      if (std::filesystem::path(file).extension() == ".md") documents.push_back(root + "/" + file);
  int links = 0;
  for (const std::filesystem::path& document : documents) {
    const std::string text = ReadFile(document);
    for (std::size_t at = 0; (at = text.find("](", at)) != std::string::npos; ++at) {
      SCOPED_TRACE(at);
      const std::size_t end = text.find_first_of(")#", at);
      ASSERT_NE(std::string::npos, end);
      const std::string link = text.substr(at + 2, end - at - 2);
      EXPECT_TRUE(Exists(document.parent_path() / link)) << document << ": " << link;
      ++links;
    }
  }
  EXPECT_LT(30, links);
}

// Moved or not, so nothing may name the source, the build or the first prefix.
TEST_F(Installed, NothingKnowsWhereItWasMade) {
  for (const std::string& file : Files(Prefix())) {
    const std::string content = ReadFile(Prefix() + "/" + file);
    // Debugging information names the directory of the compiler's run.
    if (file != "bin/zorenv" && file != "bin/zor" && file.find("/libfwos") == std::string::npos) {
      EXPECT_EQ(std::string::npos, content.find(ZOR_SOURCE_DIR)) << file;
    }
    EXPECT_EQ(std::string::npos, content.find(*tree_ / "first")) << file;
  }
}

TEST_F(Installed, FrameworkIsFoundByCMake) {
  const TemporaryTree tree;
  const std::string greet = Greet(tree);
  const std::string script = "cmake -S \"$1\" -B \"$1/build\" && cmake --build \"$1/build\"";
  const RunResult result =
      Start({"/bin/sh", "-ec", script, "sh", greet},
            {std::string("CXX=") + CXX_PROGRAM, "CMAKE_PREFIX_PATH=" + Prefix()});
  ASSERT_EQ(0, result.status) << result.out << result.err;
  EXPECT_EQ("", result.err);
  ExpectGreetings(greet + "/build/greet");
}

TEST_F(Installed, FrameworkIsFoundByPkgConfig) {
  if (!Exists("/usr/bin/pkg-config") || !Exists("/usr/bin/make"))
    GTEST_SKIP() << "pkg-config or make is not installed";
  const TemporaryTree tree;
  const std::string greet = Greet(tree);
  const std::string directory = Prefix() + "/" + ZOR_LIBDIR + "/pkgconfig";
  const RunResult result =
      Start({"/usr/bin/make", "-C", greet, std::string("CXX=") + CXX_PROGRAM, "CXXFLAGS=-O0 -Wall"},
            {"PKG_CONFIG_PATH=" + directory});
  ASSERT_EQ(0, result.status) << result.out << result.err;
  EXPECT_EQ("", result.err);
  ExpectGreetings(greet + "/greet");
  Expect(Start({"/usr/bin/pkg-config", "--modversion", "fwos"}, {"PKG_CONFIG_PATH=" + directory}),
         "1.0.0\n", "", 0);
}

TEST_F(Installed, AnOlderMajorVersionIsNotWhatIsAskedFor) {
  const TemporaryTree tree;
  tree.Write("CMakeLists.txt",
             "cmake_minimum_required(VERSION 3.23)\nproject(asks LANGUAGES NONE)\n"
             "foreach(version 1 1.0 1.0.0 1.1 2 0.9)\n"
             "  find_package(fwos ${version} QUIET)\n"
             "  message(\"${version} ${fwos_FOUND}\")\nendforeach()\n");
  const RunResult result =
      Start({CMAKE_PROGRAM, "-B", tree / "build", "-S", tree.path(), "-Dfwos_ROOT=" + Prefix()});
  EXPECT_EQ("1 1\n1.0 1\n1.0.0 1\n1.1 0\n2 0\n0.9 0\n", result.err);
}

// Whatever the umask of the installer is.
TEST_F(Installed, UsersCanReadAll) {
  const TemporaryTree tree;
  const std::string prefix = tree / "new/prefix";
  const RunResult result =
      Start({"/bin/sh", "-c", "umask 077; exec \"$0\" --install \"$1\" --prefix \"$2\"",
             CMAKE_PROGRAM, ZOR_BINARY_DIR, prefix});
  ASSERT_EQ(0, result.status) << result.err;
  int files = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(tree / "new")) {
    if (entry.is_symlink()) continue;
    const auto mode = static_cast<unsigned>(entry.status().permissions());
    if (entry.is_directory() || (mode & 0100) != 0)
      EXPECT_EQ(0755u, mode) << entry.path();
    else
      EXPECT_EQ(0644u, mode) << entry.path();
    ++files;
  }
  EXPECT_LT(100, files);
  EXPECT_EQ(0755u, static_cast<unsigned>(std::filesystem::status(tree / "new").permissions()));
}

// What is taken out again: each file, whatever the prefix is called, and the directories that were
// made for them; not those that were there, nor what somebody put into them since.
TEST_F(Installed, UninstallTakesOutWhatWasInstalledLast) {
  const std::vector<std::string> uninstall = {CMAKE_PROGRAM, "--build", ZOR_BINARY_DIR, "--target",
                                              "uninstall"};
  const TemporaryTree tree;
  const TemporaryTree other;
  ASSERT_EQ(0, Start({CMAKE_PROGRAM, "--install", ZOR_BINARY_DIR, "--prefix", other.path(),
                      "--component", "tool"})
                   .status);
  for (const char* name : {"plain", "two  words", "a;b", "it's \"$x\" [y", "sémi`id`"}) {
    SCOPED_TRACE(name);
    const std::string prefix = tree / name;
    tree.Directory(std::string(name) + "/share/man/man1");
    const RunResult result =
        Start({CMAKE_PROGRAM, "--install", ZOR_BINARY_DIR, "--prefix", prefix});
    ASSERT_EQ(0, result.status) << result.err;
    tree.Write(std::string(name) + "/lib/mine", "");
    const RunResult removed = Start(uninstall);
    EXPECT_EQ(0, removed.status) << removed.out << removed.err;
    std::vector<std::string> left;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(prefix))
      left.push_back(std::filesystem::relative(entry.path(), prefix));
    std::sort(left.begin(), left.end());
    EXPECT_EQ((std::vector<std::string>{"lib", "lib/mine", "share", "share/man", "share/man/man1"}),
              left);
  }
  EXPECT_TRUE(Exists(other / "bin/zorenv"));
  // A second time there is nothing.
  EXPECT_NE(0, Start(uninstall).status);

  // Both halves, one after the other, into a packager's root: the prefix is made and goes.
  for (const char* component : {"tool", "development"})
    ASSERT_EQ(0, Start({CMAKE_PROGRAM, "--install", ZOR_BINARY_DIR, "--prefix", "/opt/zor",
                        "--component", component},
                       {"DESTDIR=" + tree / "root"})
                     .status)
        << component;
  EXPECT_TRUE(Exists(tree / "root/opt/zor/bin/zorenv"));
  EXPECT_EQ(0, Start(uninstall).status);
  EXPECT_FALSE(Exists(tree / "root"));
}

// A program for any platform can use the rest.
TEST_F(Installed, OnlyOneHeaderOfTheFrameworkNeedsHeadersOfTheSystem) {
  const std::regex include("#include <[^>]*\\.h>");
  std::vector<std::string> found;
  for (const std::string& file : Files(Prefix() + "/include/fwos"))
    if (std::regex_search(ReadFile(Prefix() + "/include/fwos/" + file), include))
      found.push_back(file);
  EXPECT_EQ(std::vector<std::string>{"fwplatform.h"}, found);
}

// One component each for users and for programmers, and a packager's root before the prefix.
TEST_F(Installed, ComponentsSplitTheTree) {
  const TemporaryTree tree;
  std::vector<std::string> parts;
  for (const char* component : {"tool", "development"}) {
    SCOPED_TRACE(component);
    const std::string root = tree / component;
    const RunResult result = Start({CMAKE_PROGRAM, "--install", ZOR_BINARY_DIR, "--prefix",
                                    "/opt/zor", "--component", component},
                                   {"DESTDIR=" + root});
    ASSERT_EQ(0, result.status) << result.err;
    const std::vector<std::string> files = Files(root + "/opt/zor");
    EXPECT_EQ(std::string(component) == "tool",
              std::find(files.begin(), files.end(), "bin/zorenv") != files.end());
    EXPECT_EQ(std::string(component) == "development",
              std::find(files.begin(), files.end(), "include/fwos/fwos.h") != files.end());
    parts.insert(parts.end(), files.begin(), files.end());
  }
  std::sort(parts.begin(), parts.end());
  EXPECT_EQ(Files(Prefix()), parts);
}

}  // namespace
