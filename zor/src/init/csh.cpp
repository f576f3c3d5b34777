// The alias for csh and tcsh, and what the program does for it.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "error.h"
#include "init/init.h"
#include "init/text.h"

namespace zor {

namespace {

// The words are put in where the alias is used, and the shell reads them there as if they had been
// typed: variables are replaced, and nothing is read twice. In a pipe it is the last command that
// writes to it, so that one runs what changes nothing.
constexpr std::string_view kAlias =
    R"(set zor_script = "`@PROGRAM@ --csh-file`"; )"
    R"(@PROGRAM@ --csh-before $?histchars$?backslash_quote $zor_script:q \!* && )"
    R"(( source $zor_script:q ) >& /dev/null; set zor_status = $status; )"
    R"(if ( $zor_status == 0 ) source $zor_script:q; )"
    R"(@PROGRAM@ --csh-after $zor_status $zor_script:q \!*)";

// Behind a backslash each character is itself, but for a line end.
std::string escaped_path(const std::string& path) {
  std::string text;
  for (const char c : path) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       std::strchr("/._-+", c) != nullptr || (c & 0x80) != 0;
    if (c == '\n' || c == '!')
      fail(
          "csh can't take the path of this program, which holds a line end or its mark of history");
    if (!plain) text += '\\';
    text += c;
  }
  return text;
}

std::string alias_text(const std::string& path) {
  return quoted_for_sh(filled(kAlias, {{"PROGRAM", escaped_path(path)}}));
}

}  // namespace

// One line: a csh makes words of lines where it evaluates what a command prints.
std::string define_for_csh(const Callee& callee) {
  return "alias zor " + alias_text(callee.path) + '\n';
}

std::string define_for_tcsh(const Callee& callee) {
  // What separates the fields of a rule must not occur in them.
  char separator = 0;
  for (const char c : std::string_view("@,%+=^~"))
    if (separator == 0 && callee.path.find(c) == std::string::npos) separator = c;
  if (separator == 0) return define_for_csh(callee);
  const std::string rule =
      filled("p%*%`@PROGRAM@ complete tcsh`%%", {{"PROGRAM", escaped_path(callee.path)}});
  std::string fields;
  for (const char c : rule)
    fields += c == '%' ? separator : c;
  return "alias zor " + alias_text(callee.path) + "; complete zor " + quoted_for_sh(fields) + '\n';
}

namespace {

// Makes an empty file that nobody else can write to. Gives its path.
std::string make_file(const Environment& environment) {
  std::string directory(environment.find("TMPDIR").value_or("/tmp"));
  // csh would take a line end for the end of the name.
  if (directory.empty() || directory.find('\n') != std::string::npos) directory = "/tmp";
  std::string path = directory + "/zor.XXXXXX";
  const int fd = mkostemp(path.data(), O_CLOEXEC);
  if (fd < 0)
    throw Error(fmt::format("{}: {}; nothing was changed", path, std::strerror(errno)), kTrouble);
  close(fd);
  return path;
}

// Scripts for csh are written in its usual quoting. Where the mark of history is another one, the
// alias's own mark has not been replaced by the words.
void require_usual_quoting(std::string_view signs, std::span<const std::string> words) {
  const bool unread = !words.empty() && words[0] == "!*";
  if (signs != "00" || unread)
    misuse("unset histchars and backslash_quote, which change how csh quotes; nothing was changed");
}

void take_off(std::vector<std::string>* words, std::size_t count) {
  words->erase(words->begin(), words->begin() + static_cast<long>(count));
}

}  // namespace

std::optional<int> take_csh_step(Context* context, std::vector<std::string>* words) {
  if (words->empty()) return std::nullopt;
  const std::string step = words->front();
  if (step == "--csh-file") {
    context->out = make_file(context->environment) + '\n';
    return kDone;
  }
  if ((step != "--csh-before" && step != "--csh-after") || words->size() < 3) return std::nullopt;
  const std::string value = (*words)[1];
  const std::string file = (*words)[2];
  take_off(words, 3);
  if (step == "--csh-before") {
    // What made no file has said why.
    if (file.empty()) return kTrouble;
    context->script_file = file;
    require_usual_quoting(value, *words);
    // Nothing to run for a script.
    if (words->empty()) return kRunsDirectly;
    words->insert(words->begin(), {"--shell", "csh"});
    return std::nullopt;
  }
  const bool there = unlink(file.c_str()) == 0;
  const int status = std::atoi(value.c_str());
  if (status == kRunsDirectly) return std::nullopt;
  if (status == kNotDone && there) fail("csh refuses one of the variables; nothing was changed");
  return status;
}

int open_csh_file(const std::string& path) {
  return open(path.c_str(), O_WRONLY | O_TRUNC | O_NOFOLLOW | O_CLOEXEC);
}

void remove_csh_file(const std::string& path) {
  unlink(path.c_str());
}

}  // namespace zor
