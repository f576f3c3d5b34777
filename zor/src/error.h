// What zor says when it can't do what it was asked, and the statuses with which it ends.
#ifndef ZOR_ERROR_H
#define ZOR_ERROR_H

#include <fmt/format.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace zor {

inline constexpr int kDone = 0;
inline constexpr int kNotDone = 1;  // the answer is no, or nothing was done
inline constexpr int kTrouble = 2;  // the command line is wrong, or the work could not be done

// Ends a command. The text is for people: what is wrong, where, why, what to do; lines of it are
// separated by line ends, and the last has none.
class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& text, int status = kNotDone)
      : std::runtime_error(text), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

template <typename... T>
[[noreturn]] void fail(fmt::format_string<T...> format, T&&... arguments) {
  throw Error(fmt::format(format, std::forward<T>(arguments)...));
}

// For wrong usage.
template <typename... T>
[[noreturn]] void misuse(fmt::format_string<T...> format, T&&... arguments) {
  throw Error(fmt::format(format, std::forward<T>(arguments)...), kTrouble);
}

}  // namespace zor

#endif
