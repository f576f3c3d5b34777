#include "init/init.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <iterator>

#include "error.h"
#include "init/text.h"

namespace zor {

namespace {

constexpr Shell kShells[] = {
    {"bash", "bash", define_for_bash},
    {"zsh", "zsh", define_for_zsh},
    {"sh", "sh", define_for_sh},
    {"dash", "sh", define_for_sh},
    {"busybox", "sh", define_for_sh},
    {"ksh", "ksh", define_for_ksh},
    {"mksh", "ksh", define_for_ksh},
    {"fish", "fish", define_for_fish},
    {"csh", "csh", define_for_csh},
    {"tcsh", "csh", define_for_tcsh},
    {"elvish", "elvish", define_for_elvish},
    {"xonsh", "xonsh", define_for_xonsh},
    {"nushell", "nushell", define_for_nushell},
    {"powershell", "powershell", define_for_powershell},
};

}  // namespace

std::span<const Shell> shells() {
  return kShells;
}

const Shell* find_shell(std::string_view name) {
  for (const Shell& shell : kShells)
    if (shell.name == name) return &shell;
  return nullptr;
}

bool has_function(std::string_view dialect) {
  return std::any_of(std::begin(kShells), std::end(kShells), [&](const Shell& shell) {
    return shell.name == dialect || shell.dialect == dialect;
  });
}

Callee own_callee(std::span<const Command> commands) {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length < 0 || length == sizeof path)
    throw Error(fmt::format("/proc/self/exe: {}", std::strerror(length < 0 ? errno : ENAMETOOLONG)),
                kTrouble);
  Callee callee{{path, static_cast<std::size_t>(length)}, {}};
  for (const Command& command : commands)
    if (command.makes_script) callee.changing.emplace_back(command.name);
  return callee;
}

std::string filled(std::string_view text,
                   std::initializer_list<std::pair<std::string_view, std::string>> values) {
  std::string result(text);
  for (const auto& [name, value] : values) {
    const std::string place = "@" + std::string(name) + "@";
    for (std::size_t at = 0; (at = result.find(place, at)) != std::string::npos; at += value.size())
      result.replace(at, place.size(), value);
  }
  return result;
}

std::string quoted(std::string_view text, char quote,
                   std::initializer_list<std::pair<char, std::string_view>> in_place) {
  std::string result(1, quote);
  for (const char c : text) {
    const auto* const row = std::find_if(in_place.begin(), in_place.end(),
                                         [c](const auto& pair) { return pair.first == c; });
    if (row == in_place.end())
      result += c;
    else
      result += row->second;
  }
  return result + quote;
}

std::string quoted_for_sh(std::string_view text) {
  return quoted(text, '\'', {{'\'', "'\\''"}});
}

std::string directly() {
  return std::to_string(kRunsDirectly);
}

}  // namespace zor
