// The completions of share/completions, at the Tab key of the real shells, which sit on a terminal
// of their own.
#include <gtest/gtest.h>
#include <unistd.h>

#include "terminal.h"
#include "tool.h"

namespace {

struct Shell {
  const char* path;
  std::vector<std::string> options;
  const char* start_file;
  const char* start;  // loads the completions, and makes commands that tell their arguments
};

const char kShStart[] =
    "PS1='READ''Y> '\n"
    "zorenv() { printf 'TOL''D'; printf '<%s>' \"$@\"; echo EN''D; }\n";

const Shell kShells[] = {
    {"/bin/bash",
     {"--noprofile", "--rcfile", "start", "-i"},
     "start",
     "bind 'set enable-bracketed-paste off'\n. $SHARE/completions/zorenv.bash\n"},
    {"/bin/zsh",
     {"-d", "-i"},
     ".zshrc",
     "fpath=($SHARE/completions $fpath)\nautoload -Uz compinit && compinit -u -d $HOME/dump\n"
     "unsetopt zle_bracketed_paste prompt_sp\n"},
    {"/usr/bin/fish",
     {"--no-config", "-i", "-C", "source start"},
     "start",
     "source $SHARE/completions/zorenv.fish\nset fish_greeting\n"
     "function fish_prompt; echo -n READ'Y> '; end\n"
     "function zorenv; printf TOL'D'; printf '<%s>' $argv; echo EN'D'; end\n"},
};

class Completion : public testing::TestWithParam<Shell> {
 protected:
  void SetUp() override {
    if (access(GetParam().path, X_OK) != 0) GTEST_SKIP() << GetParam().path << " is not installed";
  }

  // What a command line is, once these keys were typed.
  std::string Typed(const Warehouse& warehouse, const std::string& root, const std::string& keys) {
    const bool fish = std::string(GetParam().path) == "/usr/bin/fish";
    warehouse.Write(GetParam().start_file, std::string(GetParam().start) + (fish ? "" : kShStart));
    std::vector<std::string> argv = {GetParam().path};
    argv.insert(argv.end(), GetParam().options.begin(), GetParam().options.end());
    Terminal terminal(
        argv,
        PlainEnvironment({"TERM=xterm", "HOME=" + warehouse.path(), "ZDOTDIR=" + warehouse.path(),
                          std::string("SHARE=") + ZOR_SOURCE_DIR + "/share", "ZORROOT=" + root}),
        warehouse.path());
    terminal.ReadUntil("READY> ");
    terminal.Type(keys + "\r");
    echo_ = terminal.ReadUntil("TOLD");
    std::string told = terminal.ReadUntil("END");
    return told.substr(0, told.size() - 3);
  }

  std::string echo_;  // what the terminal showed of the last keys
};

TEST_P(Completion, OffersWhatIsInTheWarehouse) {
  const std::string root = std::string(ZOR_SOURCE_DIR) + "/examples/warehouse";
  const struct {
    const char* keys;
    const char* line;
  } rows[] = {
      {"zorenv -p to\twea\t1.1\t2\t", "<-p><tools><weaver><1.10><2>"},
      // A category in two levels; the slash comes with the first.
      {"zorenv -p li\tgr\tf\t2\t1\t", "<-p><libs/graphics><fibre><2.0><1>"},
      // A single candidate needs no letter.
      {"zorenv -p libs/\t\t2\t", "<-p><libs/graphics><fibre><2.0>"},
      // Versions of Contents.
      {"zorenv -p si\t1\t1\t", "<-p><site><1><1>"},
      {"zorenv -p tools weaver + 2\t", "<-p><tools><weaver><+><2>"},
      {"zorenv -p tools weaver -v p\tsol\t", "<-p><tools><weaver><-v><platform><solaris-sparc>"},
      {"zorenv -p tools weaver 1.9 1 -v p\tp\t",
       "<-p><tools><weaver><1.9><1><-v><platform><pc-x86>"},
      {"zorenv -p tools quill --an\t-p stu\tpr\t", "<-p><tools><quill><--and><-p><studio><proof>"},
      {"zorenv --ig\t--sy\t", "<--ignore-missing><--system>"},
      {"zorenv -p tools weaver --exec printe\tpri", "<-p><tools><weaver><--exec><printenv><pri>"},
      // Nothing fits.
      {"zorenv -p nowhe\t", "<-p><nowhe>"},
      {"zorenv -p tools nowhe\t", "<-p><tools><nowhe>"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.keys);
    Warehouse warehouse;
    EXPECT_EQ(row.line, Typed(warehouse, root, row.keys));
  }
}

TEST_P(Completion, TakesTheRootFromTheCommandLine) {
  Warehouse warehouse;
  warehouse.Product("apples/Red/1.0/7");
  warehouse.Product("apples/Green/2/8");
  // zsh takes its own slash back before a blank.
  const bool zsh = std::string(GetParam().path) == "/bin/zsh";
  EXPECT_EQ(zsh ? "<-r><root><-p><apples><Green><2><8>" : "<-r><root/><-p><apples><Green><2><8>",
            Typed(warehouse, "/nowhere", "zorenv -r ro\t -p a\tG\t2\t8\t"));
}

TEST_P(Completion, QuotesWhatTheShellWouldSplit) {
  Warehouse warehouse;
  warehouse.Product("two words/A $HOME;b/1.0/1");
  EXPECT_EQ("<-p><two words><A $HOME;b><1.0>",
            Typed(warehouse, warehouse.Root(), "zorenv -p tw\tA\t1\t"));
}

TEST_P(Completion, SkipsWhatIsNotAProduct) {
  Warehouse warehouse;
  warehouse.Product("apples/Red/1.0/7");
  warehouse.File("apples/Rotten/1.0", "README", "");
  warehouse.File("apricots", "README", "");
  EXPECT_EQ("<-p><apples><Red><1.0><7>",
            Typed(warehouse, warehouse.Root(), "zorenv -p ap\tR\t1\t7\t"));
}

TEST_P(Completion, IsSilentWithoutAWarehouse) {
  Warehouse warehouse;
  EXPECT_EQ("<-p><ap><R><-v><x>", Typed(warehouse, "/nowhere", "zorenv -p ap\t R\t -v x\t"));
  for (const char* word : {"match", "rror", "found", "such", "line ", "No "})
    EXPECT_EQ(std::string::npos, echo_.find(word)) << echo_;
}

INSTANTIATE_TEST_SUITE_P(All, Completion, testing::ValuesIn(kShells), [](const auto& shell) {
  const std::string path = shell.param.path;
  return path.substr(path.rfind('/') + 1);
});

}  // namespace
