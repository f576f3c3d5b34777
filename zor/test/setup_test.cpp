// The start-up files of a machine, in shells of every mode. The users' own files stand for those of
// the system, which tests leave alone.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "zor.h"

namespace {

class Setup : public testing::Test {
 protected:
  Setup() {
    Zor({"setup", "--install", "--etc", etc_, "--root", Examples()});
    tree_.Directory("home/.config/fish/conf.d");
  }

  RunResult Start(const std::vector<std::string>& argv, const std::string& input = "",
                  std::vector<std::string> more = {}) {
    RunOptions options;
    more.push_back("HOME=" + tree_ / "home");
    options.environment = PlainEnvironment(std::move(more));
    options.input = input;
    options.directory = tree_.path();
    return RunProgram(argv, options);
  }

  // Expects that the settings of the site's product arrive there.
  void ExpectSite(const RunResult& result) {
    EXPECT_NE(std::string::npos, result.out.find("<Mill Street>")) << result.out << result.err;
  }

  TemporaryTree tree_;
  const std::string etc_ = tree_ / "etc";
};

const char kShow[] = "zor load site; echo \"<$SITE_NAME>\"";

TEST_F(Setup, ShowsWhatItWouldWriteAndWritesNothing) {
  const RunResult shown = Zor({"setup", "--etc", tree_ / "other"});
  EXPECT_EQ(0, shown.status);
  EXPECT_EQ("", shown.err);
  for (const char* file :
       {"/profile.d/zor.sh", "/bash.bashrc", "/zsh/zshenv", "/csh.cshrc", "/fish/conf.d/zor.fish"})
    EXPECT_NE(std::string::npos, shown.out.find(tree_ / "other" + file + ", read by ")) << file;
  EXPECT_FALSE(std::filesystem::exists(tree_ / "other"));
  const RunResult one = Zor({"setup", "--etc", etc_, "--shell", "fish"});
  EXPECT_EQ(0u, one.out.find(etc_ + "/fish/conf.d/zor.fish, read by all shells and scripts"));
  EXPECT_EQ(std::string::npos, one.out.find("csh.cshrc"));
  Expect(Zor({"setup", "--shell", "xonsh"}), "",
         "zor: there is no start-up file for xonsh; there are some for sh, bash, zsh, csh, fish\n",
         2);
}

TEST_F(Setup, KnowsTheFilesOfEachShell) {
  const std::string sh = "/profile.d/zor.sh was written\n", bash = "/bash.bashrc was written\n";
  const struct {
    const char* shell;
    std::vector<std::string> files;
  } rows[] = {
      {"sh", {sh}},
      {"dash", {sh}},
      {"ksh", {sh}},
      {"mksh", {sh}},
      {"bash", {sh, bash}},
      {"zsh", {"/zsh/zshenv was written\n"}},
      {"csh", {"/csh.cshrc was written\n"}},
      {"tcsh", {"/csh.cshrc was written\n"}},
      {"fish", {"/fish/conf.d/zor.fish was written\n"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.shell);
    const std::string etc = tree_ / ("of." + std::string(row.shell));
    std::string told;
    for (const std::string& file : row.files)
      told += etc + file;
    Expect(Zor({"setup", "--install", "--etc", etc, "--shell", row.shell}), told, "", 0);
  }
  Expect(Zor({"setup", "--shell", "nonesuch"}), "",
         "zor: there is no start-up file for nonesuch; there are some for sh, bash, zsh, csh, "
         "fish\n",
         2);
}

TEST_F(Setup, RefusesPathsThatSomeFamilyReadsInAnotherWay) {
  for (const char* path : {"/a'b", "/a\\b", "/a!b"})
    Expect(Zor({"setup", "--install", "--etc", tree_ / "none", "--root", path}), "",
           "zor: " + std::string(path) +
               ": a path in a start-up file can hold no quote, backslash, exclamation mark or line "
               "end\n",
           1);
  EXPECT_FALSE(std::filesystem::exists(tree_ / "none"));
}

TEST_F(Setup, ASecondTimeChangesNothing) {
  const RunResult again =
      Zor({"setup", "--install", "--etc", etc_, "--root", Examples(), "--shell", "zsh"});
  Expect(again, etc_ + "/zsh/zshenv is as it should be\n", "", 0);
}

TEST_F(Setup, WhatOthersWroteStaysWithItsModeAndItsLinks) {
  const std::string file = tree_.Write("real/bash.bashrc", "[ -z \"$PS1\" ] && return\nX=1\n");
  ASSERT_EQ(0, chmod(file.c_str(), 0640));
  tree_.Link("new/bash.bashrc", file);
  for (const std::string root : {"/first", "/second"})
    EXPECT_EQ(0, Zor({"setup", "--install", "--etc", tree_ / "new", "--root", root}).status);
  const std::string content = ReadFile(file);
  EXPECT_EQ(0u, content.find("# >>> zor setup >>>\nif [ -r "));
  EXPECT_EQ(content.rfind("# >>> zor setup >>>"), content.find("# >>> zor setup >>>"));
  EXPECT_NE(std::string::npos,
            content.find("# <<< zor setup <<<\n[ -z \"$PS1\" ] && return\nX=1\n"));
  EXPECT_TRUE(std::filesystem::is_symlink(tree_ / "new/bash.bashrc"));
  struct stat info;
  ASSERT_EQ(0, stat(file.c_str(), &info));
  EXPECT_EQ(0640u, info.st_mode & 07777);
  EXPECT_EQ(std::string::npos, ReadFile(tree_ / "new/zsh/zshenv").find("/first"));
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(tree_ / "real")) {
    EXPECT_EQ("bash.bashrc", entry.path().filename());
    ++files;
  }
  EXPECT_EQ(1, files);
}

TEST_F(Setup, ABlockThatDoesNotEndIsLeftAsItIs) {
  const std::string text = "# >>> zor setup >>>\nX=1\n";
  const std::string file = tree_.Write("new/bash.bashrc", text);
  Expect(
      Zor({"setup", "--install", "--etc", tree_ / "new", "--shell", "bash"}), "",
      "zor: " + file + ": a block of zor setup begins here and does not end; mend that by hand\n",
      1);
  EXPECT_EQ(text, ReadFile(file));
  // Nor is another one written.
  EXPECT_FALSE(std::filesystem::exists(tree_ / "new/profile.d"));
}

TEST_F(Setup, ADirectoryOfAPackagerIsNotNamedInTheFiles) {
  EXPECT_EQ(0, Zor({"setup", "--install", "--destdir", tree_ / "root"}).status);
  const std::string content = ReadFile(tree_ / "root/etc/bash.bashrc");
  EXPECT_NE(std::string::npos, content.find(". '/etc/profile.d/zor.sh'\n")) << content;
}

TEST_F(Setup, LoginShellsOfTheShFamilyHaveTheFunction) {
  const std::string line = ". " + etc_ + "/profile.d/zor.sh\n";
  tree_.Write("home/.profile", line);
  ExpectSite(Start({"/bin/dash", "-l"}, kShow));
  ExpectSite(Start({"/bin/bash", "-l", "-c", kShow}));
  for (const char* shell : {"/bin/ksh93", "/bin/mksh"})
    if (access(shell, X_OK) == 0) ExpectSite(Start({shell, "-l"}, kShow));
  // They tell it to what they start: scripts of bash, and interactive shells.
  tree_.Write("batch", kShow);
  ExpectSite(Start({"/bin/bash", "-l", "-c", "bash batch"}));
  ExpectSite(Start({"/bin/dash", "-l"}, "echo '" + std::string(kShow) + "' | dash -i\n"));
}

TEST_F(Setup, InteractiveBashAndCommandsFromAfarHaveTheFunction) {
  ExpectSite(Start({"/bin/bash", "--rcfile", etc_ + "/bash.bashrc", "-i"}, kShow));
  // What Debian's bash does where a daemon starts it with a command.
  tree_.Write("home/.bashrc", ". " + etc_ + "/bash.bashrc\n");
  ExpectSite(Start({"/bin/bash", "-c", std::string(". ~/.bashrc; ") + kShow}));
}

TEST_F(Setup, AllShellsOfZshHaveTheFunction) {
  if (access("/bin/zsh", X_OK) != 0) GTEST_SKIP() << "zsh is not installed";
  tree_.Link("home/.zshenv", etc_ + "/zsh/zshenv");
  ExpectSite(Start({"/bin/zsh", "-c", kShow}));
  ExpectSite(Start({"/bin/zsh", "-l", "-c", kShow}));
  ExpectSite(Start({"/bin/zsh", "-i"}, kShow));
}

TEST_F(Setup, AllShellsOfCshHaveTheAlias) {
  if (access("/bin/tcsh", X_OK) != 0) GTEST_SKIP() << "tcsh is not installed";
  tree_.Link("home/.cshrc", etc_ + "/csh.cshrc");
  const std::string show = "zor load site\necho \"<$SITE_NAME>\"\n";
  tree_.Write("batch", show);
  ExpectSite(Start({"/bin/tcsh", "batch"}));
  ExpectSite(Start({"/bin/tcsh", "-i"}, show));
  ExpectSite(Start({"/bin/tcsh", "-c", "zor load site; echo \"<$SITE_NAME>\""}));
}

TEST_F(Setup, AllShellsOfFishHaveTheFunction) {
  if (access("/usr/bin/fish", X_OK) != 0) GTEST_SKIP() << "fish is not installed";
  tree_.Link("home/.config/fish/conf.d/zor.fish", etc_ + "/fish/conf.d/zor.fish");
  ExpectSite(Start({"/usr/bin/fish", "-c", kShow}));
  ExpectSite(Start({"/usr/bin/fish", "-l", "-c", kShow}));
  ExpectSite(Start({"/usr/bin/fish", "-i", "-c", kShow}));
}

}  // namespace
