// zor setup: the start-up files of the shells of a whole machine.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "commands/command.h"
#include "error.h"
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

std::string content_of(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream && std::filesystem::exists(path)) fail("{}: {}", path, std::strerror(errno));
  return {std::istreambuf_iterator<char>(stream), {}};
}

// The file's content with the block in the place of the one that is there, or at its head.
std::string with_block(const std::string& content, const std::string& block) {
  const std::size_t begin = content.find(kBegin);
  if (begin == content.npos) return block + content;
  const std::size_t end = content.find(kEnd, begin);
  if (end == content.npos)
    fail("there is a line {}without one {}; mend that by hand", kBegin, kEnd);
  return content.substr(0, begin) + block + content.substr(end + kEnd.size());
}

[[noreturn]] void fail_with_reason(const std::string& path) {
  throw Error(fmt::format("{}: {}", path, std::strerror(errno)), kTrouble);
}

// Through a new file beside it, so that no shell ever reads half of it. A link stays one.
void write_file(std::string path, const std::string& content) {
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  if (error) fail("{}: {}", path, error.message());
  if (std::filesystem::is_symlink(path)) path = std::filesystem::canonical(path, error);
  if (error) fail("{}: {}", path, error.message());
  struct stat info = {};
  const bool there = stat(path.c_str(), &info) == 0;
  std::string beside = path + ".XXXXXX";
  const int fd = mkostemp(beside.data(), O_CLOEXEC);
  if (fd < 0) fail_with_reason(beside);
  bool good = fchmod(fd, there ? info.st_mode & 07777 : 0644) == 0;
  // Only root can give files away; whoever else may write here owns them.
  if (good && there && geteuid() == 0) good = fchown(fd, info.st_uid, info.st_gid) == 0;
  for (std::string_view rest = content; good && !rest.empty();) {
    const ssize_t count = write(fd, rest.data(), rest.size());
    good = count >= 0 || errno == EINTR;
    if (count > 0) rest.remove_prefix(static_cast<std::size_t>(count));
  }
  good = good && fsync(fd) == 0;
  good = close(fd) == 0 && good && rename(beside.c_str(), path.c_str()) == 0;
  if (!good) {
    const int reason = errno;
    unlink(beside.c_str());
    errno = reason;
    fail_with_reason(path);
  }
}

std::string family_names() {
  std::string names;
  for (const StartUpFile& file : kFiles)
    names += (names.empty() ? "" : ", ") + std::string(file.family);
  return names;
}

// The dialects of zor init's shells are families here, but that bash has a file of its own besides
// that of the login shells.
bool is_wanted(const StartUpFile& file, const std::string& family) {
  if (family.empty() || family == file.family) return true;
  const Shell* shell = find_shell(family);
  const std::string_view dialect = shell ? shell->dialect : "";
  const std::string_view own = file.family;
  return own == dialect || (own == "sh" && (dialect == "bash" || dialect == "ksh"));
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
  bool any = false;
  for (const StartUpFile& file : kFiles) {
    if (!is_wanted(file, family)) continue;
    any = true;
    const std::string path = settings.etc + '/' + file.path;
    const std::string block = std::string(kBegin) + lines_of(file, settings) + std::string(kEnd);
    if (!install) {
      context->out +=
          fmt::format("{}{}, read by {}{}:\n\n{}", any && !context->out.empty() ? "\n" : "", path,
                      file.read_by, file.is_ours ? "" : " (at its head)", block);
      continue;
    }
    const std::string target = settings.destdir + path;
    const std::string before = content_of(target);
    const std::string after = file.is_ours ? block : with_block(before, block);
    if (before == after) {
      context->out += fmt::format("{} is as it should be\n", target);
      continue;
    }
    write_file(target, after);
    context->out += fmt::format("{} was written\n", target);
  }
  if (!any)
    misuse("there is no start-up file for {}; there are some for {}", family, family_names());
  return kDone;
}

}  // namespace zor
