// Conditions on varieties, and the words of platforms. An input is a digit, the number of an
// operator; two values, a line each; and lines that make a variety and a condition:
//
//   name=value      a variable of the variety
//   ?name=value     a variable of the condition's last alternative
//   &               a further alternative
//
// - Each test of the two values, of lists of values and of the whole condition has the answer of a
//   plain evaluation with the plain model's patterns, versions and platforms.
// - Whether platforms overlap does not depend on their order; a platform includes and overlaps
//   itself, and those that include each other overlap.
// - Nothing is written into the condition's values.
#include <string>
#include <utility>
#include <vector>

#include "fuzz.h"
#include "model/words.h"
#include "vqosarch.h"
#include "warehouse.h"

namespace {

using Variables = std::vector<std::pair<std::string, std::string>>;

// A bar would look at the disk, and plain backtracking may take for ever.
bool Plain(const std::string& text) {
  std::size_t stars = 0;
  for (const char c : text)
    stars += c == '*';
  return text.find('|') == std::string::npos && stars <= 4 && text.size() < 60 &&
         fuzz::WellFormed(text);
}

bool PlainTest(const std::string& lhs, int op, const std::string& rhs) {
  if (op == wh_op_is) return lhs == rhs;
  if (op == wh_op_matches) return model::GlobMatches(rhs, lhs, "");
  const int order = model::CompareVersions(lhs, rhs);
  switch (op) {
    case wh_op_eq:
      return order == 0;
    case wh_op_lt:
      return order < 0;
    case wh_op_le:
      return order <= 0;
    case wh_op_gt:
      return order > 0;
    case wh_op_ge:
      return order >= 0;
    default:
      return order != 0;
  }
}

// A comma means "or"; empty parts of a list are none.
bool PlainTestList(const std::string& lhs, int op, const std::string& rhs) {
  if (rhs.find(',') == std::string::npos) return PlainTest(lhs, op, rhs);
  for (const std::string& part : model::Split(rhs, ","))
    if (PlainTest(lhs, op, part)) return true;
  return false;
}

bool PlainTestVariable(const Variables& variety, const std::string& name, int op,
                       const std::string& value) {
  const std::string* held = nullptr;
  for (const auto& [n, v] : variety)
    if (held == nullptr && n == name) held = &v;
  if (held == nullptr) return false;
  if (name == "platform" || name == "target") {
    if (model::PlatformsOverlap(value, *held)) return true;
    for (std::size_t start = 0; value.find(',') != std::string::npos;) {
      const std::size_t comma = value.find(',', start);
      if (model::PlatformsOverlap(value.substr(start, comma - start), *held)) return true;
      if (comma == std::string::npos) break;
      start = comma + 1;
    }
  }
  return PlainTestList(*held, op, value);
}

bool PlainMatch(const Variables& variety, const std::vector<Variables>& alternatives) {
  for (const Variables& alternative : alternatives) {
    bool all = true;
    for (const auto& [n, v] : alternative)
      all = all && PlainTestVariable(variety, n, wh_op_matches, v);
    if (all) return true;
  }
  return false;
}

WH_VAR* MakeList(const Variables& variables) {
  WH_VAR* list = nullptr;
  for (auto each = variables.rbegin(); each != variables.rend(); ++each) {
    fuzz::Text n(each->first), v(each->second);
    WH_VAR* const head = make_var(n, v);
    head->next = list;
    list = head;
  }
  return list;
}

void CheckValues(const std::string& lhs, int op, const std::string& rhs) {
  const std::string detail = fuzz::Quoted(lhs) + " " + std::to_string(op) + " " + fuzz::Quoted(rhs);
  fuzz::Text left(lhs), right(rhs);
  if ((wh_test_op(left, op, right) != 0) != PlainTest(lhs, op, rhs))
    fuzz::Fail("another answer for a value", detail);
  if ((wh_test_op_multi(left, op, right) != 0) != PlainTestList(lhs, op, rhs))
    fuzz::Fail("another answer for a list", detail);
  if (right.str() != rhs) fuzz::Fail("a value was written to", detail);
}

void CheckPlatforms(std::string one, std::string other) {
  const std::string detail = fuzz::Quoted(one) + " " + fuzz::Quoted(other);
  const bool includes = platform_includes(one.data(), other.data()) != 0;
  const bool included = platform_includes(other.data(), one.data()) != 0;
  const bool overlap = platform_overlaps(one.data(), other.data()) != 0;
  if (includes != model::PlatformIncludes(one, other)) fuzz::Fail("another inclusion", detail);
  if (overlap != model::PlatformsOverlap(one, other)) fuzz::Fail("another overlap", detail);
  if (overlap != (platform_overlaps(other.data(), one.data()) != 0))
    fuzz::Fail("overlap depends on the order", detail);
  if (includes != (platform_included(other.data(), one.data()) != 0))
    fuzz::Fail("including is not being included", detail);
  if ((includes || included) && !overlap) fuzz::Fail("included, but no overlap", detail);
  if (platform_includes(one.data(), one.data()) == 0) fuzz::Fail("does not include itself", detail);
  if ((platform_identical(one.data(), other.data()) != 0) != (one == other) ||
      (platform_different(one.data(), other.data()) != 0) != (one != other))
    fuzz::Fail("identity", detail);
  platform_known(one.data());
}

}  // namespace

void fuzz::Try(Input& input) {
  const int op = static_cast<int>(input.Below(8));
  const std::string lhs = input.Line();
  const std::string rhs = input.Line();
  if (!Plain(lhs) || !Plain(rhs)) return;
  CheckValues(lhs, op, rhs);
  CheckPlatforms(lhs, rhs);

  Variables variables;
  std::vector<Variables> alternatives = {{}};
  while (!input.Ended()) {
    const std::string line = input.Line();
    if (!Plain(line)) return;
    if (line == "&") alternatives.emplace_back();
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    if (line.starts_with("?"))
      alternatives.back().emplace_back(line.substr(1, equals - 1), line.substr(equals + 1));
    else
      variables.emplace_back(line.substr(0, equals), line.substr(equals + 1));
  }
  if (alternatives.size() > 8) return;

  WH_VARIETY variety;
  variety.vars = MakeList(variables);
  WH_PATTERN* pattern = nullptr;
  for (WH_PATTERN** link = &pattern; const Variables& alternative : alternatives) {
    *link = make_pattern();
    (*link)->vars = MakeList(alternative);
    link = &(*link)->next;
  }
  if ((matchvar(&variety, pattern, nullptr) != 0) != PlainMatch(variables, alternatives))
    Fail("another answer for a condition");
  for (const auto& [n, v] : variables) {
    Text name(n), value(rhs);
    if ((wh_test_var(&variety, name, op, value) != 0) != PlainTestVariable(variables, n, op, rhs))
      Fail("another answer for a variable", Quoted(n));
  }
  free_pattern(&pattern);
  free_vars(&variety.vars);
}
