// Environment variables, in the order in which a process holds them.
//
// The order matters to the computation, which meets the variables in it, and a process may hold a
// name twice or a text without "=": all of that is kept, so that what nobody asked to change is
// handed on as it came.
#ifndef ZOR_ENVIRONMENT_H
#define ZOR_ENVIRONMENT_H

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zor {

// A variable that is set, or with no value is removed.
struct Change {
  std::string name;
  std::optional<std::string> value;

  bool operator==(const Change&) const = default;
};

class Environment {
 public:
  Environment() = default;
  // Of texts "NAME=VALUE".
  explicit Environment(std::vector<std::string> texts) : texts_(std::move(texts)) {}

  // That of this process, as it was started.
  static Environment of_process();

  // The value, or none if the variable is not set. Of a name that occurs twice the last one counts.
  std::optional<std::string_view> find(std::string_view name) const;
  // Replaces the value at its place, or adds the variable at the end.
  void set(std::string_view name, std::string_view value);
  // The same for many, each of them once, and removes those without a value.
  void apply(const std::vector<Change>& changes);

  const std::vector<std::string>& texts() const { return texts_; }

 private:
  std::vector<std::string> texts_;
};

// The name in a text "NAME=VALUE"; the whole text if it has no "=".
std::string_view name_of(std::string_view text);
std::string_view value_of(std::string_view text);

// The values of an environment by name, for those who ask for many. The environment must outlive it
// unchanged.
class Values {
 public:
  explicit Values(const Environment& environment);
  // As Environment::find.
  std::optional<std::string_view> find(std::string_view name) const;

 private:
  std::unordered_map<std::string_view, std::string_view> by_name_;
};

// What turns one into the other, sorted by name.
std::vector<Change> difference(const Environment& from, const Environment& to);

}  // namespace zor

#endif
