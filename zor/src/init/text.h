// Texts of the shells' definitions, with places in them that are filled in.
#ifndef ZOR_INIT_TEXT_H
#define ZOR_INIT_TEXT_H

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "init/init.h"

namespace zor {

// The text with each "@NAME@" replaced by what belongs to the name.
std::string filled(std::string_view text,
                   std::initializer_list<std::pair<std::string_view, std::string>> values);

// The text between quotes, with each of the characters replaced by what stands for it there.
std::string quoted(std::string_view text, char quote,
                   std::initializer_list<std::pair<char, std::string_view>> in_place);
// As a word of the sh family.
std::string quoted_for_sh(std::string_view text);

// kRunsDirectly as a text.
std::string directly();

// The definitions of the shells, for the table of them.
std::string define_for_sh(const Callee& callee);
std::string define_for_bash(const Callee& callee);
std::string define_for_zsh(const Callee& callee);
std::string define_for_ksh(const Callee& callee);
std::string define_for_fish(const Callee& callee);
std::string define_for_csh(const Callee& callee);
std::string define_for_tcsh(const Callee& callee);
std::string define_for_elvish(const Callee& callee);
std::string define_for_xonsh(const Callee& callee);
std::string define_for_nushell(const Callee& callee);
std::string define_for_powershell(const Callee& callee);

}  // namespace zor

#endif
