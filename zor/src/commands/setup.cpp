// zor setup: the start-up files of the shells of a whole machine.
#include <string>
#include <string_view>
#include <vector>

#include "commands/command.h"
#include "error.h"
#include "files.h"
#include "init/init.h"
#include "init/text.h"

namespace zor {

namespace {

constexpr std::string_view kBegin = "# >>> zor setup >>>\n";
constexpr std::string_view kEnd = "# <<< zor setup <<<\n";

// Login shells read it, and it names itself to those that look for a file in the environment:
// interactive ksh, mksh and dash in ENV, scripts of bash in BASH_ENV.
constexpr std::string_view kProfile = R"zor(if [ -x @PROGRAM@ ]; then
@ROOT@  if [ -n "${BASH_VERSION-}" ]; then
    eval "$(@PROGRAM@ init bash)"
  elif [ -n "${ZSH_VERSION-}" ]; then
    eval "$(@PROGRAM@ init zsh)"
  elif [ -n "${KSH_VERSION-}" ]; then
    eval "$(@PROGRAM@ init ksh)"
  else
    eval "$(@PROGRAM@ init sh)"
  fi
  [ -n "${ENV-}" ] || export ENV=@PROFILE@
  [ -n "${BASH_ENV-}" ] || export BASH_ENV=@PROFILE@
fi
)zor";

// Debian's bash reads its file also for a command that comes through ssh. The file goes no further
// than its head there, so the lines stand at its head.
constexpr std::string_view kBash = R"zor(if [ -r @PROFILE@ ]; then
  . @PROFILE@
fi
)zor";

constexpr std::string_view kZsh = R"zor(if [ -x @PROGRAM@ ]; then
@ROOT@  eval "$(@PROGRAM@ init zsh)"
fi
)zor";

constexpr std::string_view kCsh = R"zor(if ( -x @PROGRAM@ ) then
@ROOT@  if ( $?tcsh ) then
    eval "`@PROGRAM@ init tcsh`"
  else
    eval "`@PROGRAM@ init csh`"
  endif
endif
)zor";

constexpr std::string_view kFish = R"zor(if test -x @PROGRAM@
@ROOT@    @PROGRAM@ init fish | source
end
)zor";

struct StartUpFile {
  const char* family;
  const char* path;  // below /etc
  const char* read_by;
  bool is_ours;  // the whole file; elsewhere a block of it
  std::string_view text;
  const char* root;  // how ZORROOT is set
};

constexpr StartUpFile kFiles[] = {
    {"sh", "profile.d/zor.sh", "login shells of sh, dash, bash, ksh, mksh, and what they start",
     true, kProfile, "  [ -n \"${ZORROOT-}\" ] || export ZORROOT="},
    {"bash", "bash.bashrc", "interactive shells of bash, and commands through ssh", false, kBash,
     ""},
    {"zsh", "zsh/zshenv", "all shells and scripts of zsh", false, kZsh,
     "  [ -n \"${ZORROOT-}\" ] || export ZORROOT="},
    {"csh", "csh.cshrc", "all shells and scripts of csh and tcsh", false, kCsh,
     "  if ( ! $?ZORROOT ) setenv ZORROOT "},
    {"fish", "fish/conf.d/zor.fish", "all shells and scripts of fish", true, kFish,
     "    set -q ZORROOT; or set -gx ZORROOT "},
};

struct Settings {
  std::string etc = "/etc";
  std::string destdir;
  std::string root;
  std::string program;
};

// Paths stand in the files between quotes that are the same in all families, and csh keeps its mark
// of history even there.
std::string path_word(const std::string& path) {
  if (path.find_first_of("'\\!\n") != path.npos)
    fail("{}: a path in a start-up file can hold no quote, backslash, exclamation mark or line end",
         path);
  return "'" + path + "'";
}

std::string lines_of(const StartUpFile& file, const Settings& settings) {
  const bool sets_root = !settings.root.empty() && file.root[0] != 0;
  const std::string root = sets_root ? file.root + path_word(settings.root) + '\n' : "";
  return filled(file.text, {{"ROOT", root},
                            {"PROGRAM", path_word(settings.program)},
                            {"PROFILE", path_word(settings.etc + "/profile.d/zor.sh")}});
}

// The file's content with the block in the place of the one that is there, or at its head.
std::string with_block(const std::string& path, const std::string& content,
                       const std::string& block) {
  const std::size_t begin = content.find(kBegin);
  if (begin == content.npos) return block + content;
  const std::size_t end = content.find(kEnd, begin);
  if (end == content.npos)
    fail("{}: a block of zor setup begins here and does not end; mend that by hand", path);
  return content.substr(0, begin) + block + content.substr(end + kEnd.size());
}

std::string family_names() {
  std::string names;
  for (const StartUpFile& file : kFiles)
    names += (names.empty() ? "" : ", ") + std::string(file.family);
  return names;
}

// A family is the dialect of one of zor init's shells. bash has a file of its own and also reads
// the file of the login shells.
bool is_wanted(const StartUpFile& file, const std::string& family) {
  if (family.empty() || family == file.family) return true;
  const Shell* shell = find_shell(family);
  const std::string_view dialect = shell ? shell->dialect : "";
  const std::string_view own = file.family;
  return own == dialect || (own == "sh" && (dialect == "bash" || dialect == "ksh"));
}

std::string path_of(const StartUpFile& file, const Settings& settings) {
  return settings.etc + '/' + file.path;
}

std::string block_of(const StartUpFile& file, const Settings& settings) {
  return std::string(kBegin) + lines_of(file, settings) + std::string(kEnd);
}

std::string shown_files(const std::vector<const StartUpFile*>& files, const Settings& settings) {
  std::string text;
  for (const StartUpFile* file : files)
    text += fmt::format("{}{}, read by {}{}:\n\n{}", text.empty() ? "" : "\n",
                        path_of(*file, settings), file->read_by,
                        file->is_ours ? "" : " (at its head)", block_of(*file, settings));
  return text;
}

// Nothing is written before it is known what becomes of each file.
std::string install_files(const std::vector<const StartUpFile*>& files, const Settings& settings) {
  struct Plan {
    std::string path;
    std::string before;
    std::string after;
  };
  std::vector<Plan> plans;
  for (const StartUpFile* file : files) {
    Plan plan;
    plan.path = settings.destdir + path_of(*file, settings);
    plan.before = content_if_there(plan.path).value_or("");
    const std::string block = block_of(*file, settings);
    plan.after = file->is_ours ? block : with_block(plan.path, plan.before, block);
    plans.push_back(std::move(plan));
  }
  std::string told;
  for (const Plan& plan : plans) {
    const bool done = plan.before == plan.after;
    if (!done) write_file_for_all(plan.path, plan.after);
    told += fmt::format("{} {}\n", plan.path, done ? "is as it should be" : "was written");
  }
  return told;
}

}  // namespace

int run_setup(Context* context) {
  CommandLine line("setup", "Show what the start-up files of all users need, or write it.",
                   "zor setup --shell zsh");
  Settings settings;
  std::string family;
  bool install = false;
  line.flag("--install", &install, "write the files");
  line.option("--shell", &family, "only the files of that shell: " + family_names());
  line.option("--root", &settings.root, "the warehouse, which ZORROOT is set to");
  line.option("--etc", &settings.etc, "where the files belong, in place of /etc");
  line.option("--destdir", &settings.destdir,
              "a directory in front of all that is written, as for making packages");
  line.parse(context->words);
  settings.program = own_callee(context->commands).path;
  std::vector<const StartUpFile*> wanted;
  for (const StartUpFile& file : kFiles)
    if (is_wanted(file, family)) wanted.push_back(&file);
  if (wanted.empty())
    misuse("there is no start-up file for {}; there are some for {}", family, family_names());
  context->out += install ? install_files(wanted, settings) : shown_files(wanted, settings);
  return kDone;
}

}  // namespace zor
