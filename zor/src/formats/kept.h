// The variables that a shell keeps for itself: quotes do not help there. Some shells calculate with
// what is assigned, and a calculation can hold a command; others are read-only, and a script would
// stop half-way; others change the user, the prompt or the meaning of what is typed next.
#ifndef ZOR_FORMATS_KEPT_H
#define ZOR_FORMATS_KEPT_H

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace zor {

struct KeptNames {
  // Words that follow the variable's name and stand before the shell's.
  std::string_view reason;
  std::span<const std::string_view> names;
};

struct Keeper {
  std::string_view shell;
  std::span<const KeptNames> kept;
};

extern const Keeper kBash, kZsh, kKsh93, kMksh, kDash, kBusybox;
extern const Keeper kFish, kCsh, kElvish, kXonsh, kNushell, kRc, kMake;

// Why the variable can't be set, in words that follow its name, or nothing. The first shell that
// keeps it gives the reason.
std::string reason_of_keepers(std::initializer_list<const Keeper*> keepers, std::string_view name);

}  // namespace zor

#endif
