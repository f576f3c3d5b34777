#include "undo.h"

#include <algorithm>

#include "error.h"

namespace zor {

namespace {

template <typename T>
bool holds(const std::vector<T>& all, const T& one) {
  return std::find(all.begin(), all.end(), one) != all.end();
}

template <typename T>
void add_once(std::vector<T>* all, const T& one) {
  if (!holds(*all, one)) all->push_back(one);
}

bool same_condition(const Condition& a, const Condition& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Alternative& one, const Alternative& two) {
                      return one.host == two.host && one.variables == two.variables;
                    });
}

// The pieces between separators, without empty ones. Those inside %(...) and the like, in which a
// separator separates nothing, stay whole.
std::vector<std::string> pieces_of(const std::string& text, const std::string& separator) {
  std::vector<std::string> pieces(1);
  int depth = 0;
  for (std::size_t i = 0; i < text.size();) {
    if (depth == 0 && text.compare(i, separator.size(), separator) == 0) {
      if (!pieces.back().empty()) pieces.emplace_back();
      i += separator.size();
      continue;
    }
    const char c = text[i++];
    const bool opens = c == '%' && i < text.size() &&
                       std::string_view("({[").find(text[i]) != std::string_view::npos;
    if (opens) ++depth;
    if (depth > 0 && (c == ')' || c == '}' || c == ']')) --depth;
    pieces.back() += c;
  }
  if (pieces.back().empty()) pieces.pop_back();
  return pieces;
}

// The %{...} and %[...] in a text.
std::vector<std::string> outside_forms(const std::string& text) {
  std::vector<std::string> forms;
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] != '%' || (text[i + 1] != '{' && text[i + 1] != '[')) continue;
    const std::size_t end = text.find(text[i + 1] == '{' ? '}' : ']', i);
    add_once(&forms, text.substr(i, end == std::string::npos ? end : end - i + 1));
  }
  return forms;
}

class Undoing {
 public:
  Undoing(const ProductFacts& facts, const std::vector<std::vector<std::string>>& meanings,
          const std::vector<std::string>& own)
      : meanings_(meanings), own_(own) {
    for (const Operation& operation : facts.operations)
      if (operation.kind != OperationKind::kRecipe) operations_.push_back(operation);
    for (const VarietyFacts& variety : facts.varieties)
      for (const Binding& variable : variety.variables)
        for (const std::string& form : outside_forms(variable.value))
          add_once(&forms_of_varieties_, form);
  }

  UndoFile take() {
    for (std::size_t i = 0; i < operations_.size(); ++i) {
      if (file_.groups.empty() || !same_condition(file_.groups.back().when, operations_[i].when))
        file_.groups.push_back({operations_[i].when, {}});
      take(i);
    }
    std::erase_if(file_.groups, [](const UndoGroup& group) { return group.steps.empty(); });
    std::erase_if(file_.claims, [&](const UndoClaim& claim) {
      return std::any_of(file_.not_undone.begin(), file_.not_undone.end(),
                         [&](const NotUndone& each) { return voids(each, claim); });
    });
    return std::move(file_);
  }

 private:
  void take(std::size_t i) {
    const Operation& operation = operations_[i];
    if (const std::string why = why_unsure(operation); !why.empty()) {
      // An attempt with the wrong separator would spoil the rest.
      claim(operation);
      file_.not_undone.push_back({operation, why});
      return;
    }
    if (is_emptied(operation))
      take_emptied(operation);
    else if (operation.kind == OperationKind::kInsert)
      take_insert(i);
    else if (operation.kind == OperationKind::kRemove)
      take_remove(i);
  }

  // Whether an operation that stays leaves nothing to be claimed.
  static bool voids(const NotUndone& each, const UndoClaim& claim) {
    const std::string& name = each.operation.variable;
    return !each.is_covered &&
           (name == claim.variable || (is_pattern(name) && pattern_matches(name, claim.variable)));
  }

  // Whether some operation on the variable does so, in the same group or anywhere.
  bool exists(OperationKind kind, const Operation& like, bool in_group) const {
    return std::any_of(operations_.begin(), operations_.end(), [&](const Operation& other) {
      return other.kind == kind && other.variable == like.variable &&
             (!in_group || same_condition(other.when, like.when));
    });
  }

  // Whether the variable as a whole is to go again: it is the product's own, or its group empties
  // it before it gets its values.
  bool is_emptied(const Operation& operation) const {
    if (exists(OperationKind::kDelete, operation, true)) return true;
    return holds(own_, operation.variable) && exists(OperationKind::kInsert, operation, false);
  }

  void take_emptied(const Operation& operation) {
    claim(operation).unset = true;
    if (operation.kind == OperationKind::kDelete) add_lost(operation);
    if (!exists(OperationKind::kInsert, operation, false)) return;
    for (const UndoStep& step : file_.groups.back().steps)
      if (step.deletes && step.variable == operation.variable) return;
    file_.groups.back().steps.push_back({true, operation.variable, separator_of(operation), {}});
  }

  void take_insert(std::size_t i) {
    const Operation& operation = operations_[i];
    UndoClaim& claimed = claim(operation);
    claimed.set = claimed.tidy = true;
    if (may_reorder(operation.variable)) claimed.order = true;
    const std::string& value = operation.values[0];
    const std::string stated = separator_of(operation);
    const std::string separator = separator_for_elements(operation);
    std::vector<std::string> outside = outside_forms(value);
    if (value.find("%(") != std::string::npos)
      for (const std::string& form : forms_of_varieties_)
        add_once(&outside, form);
    for (const std::string& form : outside)
      add_once(&claimed.same, form);
    std::string why = why_values_stay(i, outside, separator);
    if (!why.empty()) {
      file_.not_undone.push_back({operation, why});
      return;
    }
    for (const std::string& meaning : meanings_[i])
      for (const std::string& piece : pieces_of(meaning, separator))
        add_once(&claimed.lacks, piece);
    UndoStep step = {false, operation.variable, stated, pieces_of(value, separator)};
    // An empty one is no element, and the variable has to be put together again nevertheless.
    if (step.values.empty()) step.values = {value};
    std::vector<UndoStep>& steps = file_.groups.back().steps;
    const auto before = std::find_if(steps.begin(), steps.end(), [&](const UndoStep& other) {
      return !other.deletes && other.variable == step.variable && other.separator == step.separator;
    });
    if (before == steps.end()) {
      steps.push_back(std::move(step));
      return;
    }
    for (const std::string& each : step.values)
      add_once(&before->values, each);
  }

  void take_remove(std::size_t i) {
    const Operation& operation = operations_[i];
    UndoClaim& claimed = claim(operation);
    claimed.set = claimed.tidy = true;
    for (const std::string& pattern : meanings_[i])
      add_once(&claimed.lacks, pattern);
    if (!operation.values.empty()) add_lost(operation);
  }

  // Why the elements that an insert adds can't be taken out by their values; empty if they can.
  std::string why_values_stay(std::size_t i, const std::vector<std::string>& outside,
                              const std::string& separator) const {
    for (const std::string& form : outside) {
      const std::string name = form.size() > 3 ? form.substr(2, form.size() - 3) : "";
      for (const Operation& other : operations_)
        if (form.starts_with("%{") &&
            (other.variable == name ||
             (is_pattern(other.variable) && pattern_matches(other.variable, name))))
          return fmt::format("{} has another value once the product has changed {}", form, name);
    }
    const auto count = [&](const std::string& text) {
      std::size_t found = 0;
      for (std::size_t at = text.find(separator); at != std::string::npos;
           at = text.find(separator, at + separator.size()))
        ++found;
      return found;
    };
    const std::string& value = operations_[i].values[0];
    for (const std::string& meaning : meanings_[i]) {
      if (count(meaning) != count(value))
        return fmt::format(
            "its value is {} here, which holds the separator, so it becomes several elements",
            meaning);
      for (const std::string& piece : pieces_of(meaning, separator))
        if (!pattern_matches(piece, piece))
          return fmt::format("as a pattern, {} does not match itself", piece);
    }
    return {};
  }

  // New elements lead old ones past each other only where some go in front of old ones and some
  // behind.
  bool may_reorder(const std::string& variable) const {
    bool before = false, after = false;
    for (const Operation& operation : operations_) {
      if (operation.variable != variable && !overlap(operation.variable, variable)) continue;
      before = before || !operation.before.empty();
      after = after || !operation.after.empty();
    }
    return before && after;
  }

  // Whether two names that are written differently may mean one variable.
  static bool overlap(const std::string& a, const std::string& b) {
    if (a.find('%') != std::string::npos || b.find('%') != std::string::npos) return true;
    if (is_pattern(a) && is_pattern(b)) return true;
    return (is_pattern(a) && pattern_matches(a, b)) || (is_pattern(b) && pattern_matches(b, a));
  }

  // The separator that the operation states or gets from another one of its group.
  std::string separator_of(const Operation& operation) const {
    if (!operation.separator.empty()) return operation.separator;
    for (const Operation& other : operations_)
      if (other.variable == operation.variable && same_condition(other.when, operation.when) &&
          !other.separator.empty())
        return other.separator;
    return {};
  }

  // The same, or what counts where none is stated.
  std::string separator_for_elements(const Operation& operation) const {
    const std::string separator = separator_of(operation);
    return separator.empty() ? ":" : separator;
  }

  // Why it can't be told from the file what the operation does; empty if it can.
  std::string why_unsure(const Operation& operation) const {
    if (operation.variable.empty() || operation.variable.find('=') != std::string::npos)
      return "no variable can have such a name";
    const std::string separator = separator_for_elements(operation);
    for (const Operation& other : operations_) {
      const bool same = other.variable == operation.variable;
      if (!same && !overlap(other.variable, operation.variable)) continue;
      if (separator_for_elements(other) != separator)
        return fmt::format(
            "which separator counts depends on the operation in line {}; state it in both",
            other.line);
    }
    return {};
  }

  UndoClaim& claim(const Operation& operation) {
    for (UndoClaim& claim : file_.claims)
      if (claim.variable == operation.variable) return claim;
    file_.claims.push_back({});
    file_.claims.back().variable = operation.variable;
    file_.claims.back().separator = separator_for_elements(operation);
    return file_.claims.back();
  }

  void add_lost(const Operation& operation) {
    file_.not_undone.push_back(
        {operation,
         operation.kind == OperationKind::kDelete
             ? "what the variable held is kept nowhere, so it can't be put back"
             : "what it takes out is kept nowhere, so it can't be put back",
         true});
  }

  const std::vector<std::vector<std::string>>& meanings_;
  const std::vector<std::string>& own_;
  std::vector<Operation> operations_;
  std::vector<std::string> forms_of_varieties_;
  UndoFile file_;
};

// ---- The text of the file ----

// Blanks at the ends of attributes and all line ends stay only as references.
std::string xml_text(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\t':
      case '\n':
      case '\r':
        result += fmt::format("&#{};", static_cast<int>(c));
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string xml_of(const Condition& when) {
  if (when.empty()) return "    <PATTERN/>\n";
  std::string text = "    <PATTERN>\n";
  for (const Alternative& alternative : when) {
    text += "      <MATCH";
    if (!alternative.host.empty()) text += fmt::format(" host=\"{}\"", xml_text(alternative.host));
    text += ">";
    for (const Binding& variable : alternative.variables)
      text += fmt::format("<VAR n=\"{}\" v=\"{}\"/>", xml_text(variable.name),
                          xml_text(variable.value));
    text += "</MATCH>\n";
  }
  return text + "    </PATTERN>\n";
}

std::string xml_of(const UndoStep& step) {
  const std::string separator =
      step.separator.empty() ? "" : fmt::format(" sep=\"{}\"", xml_text(step.separator));
  if (step.deletes)
    return fmt::format("    <ENV-DELETE{}>{}</ENV-DELETE>\n", separator, xml_text(step.variable));
  std::string text = fmt::format("    <ENV-REMOVE{}>\n      <NAME>{}</NAME>\n", separator,
                                 xml_text(step.variable));
  for (const std::string& value : step.values)
    text += fmt::format("      <VALUE>{}</VALUE>\n", xml_text(value));
  return text + "    </ENV-REMOVE>\n";
}

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts)
    all += (all.empty() ? "" : ", ") + text;
  return all;
}

}  // namespace

UndoFile undo_of(const ProductFacts& facts, const std::vector<std::vector<std::string>>& meanings,
                 const std::vector<std::string>& own) {
  return Undoing(facts, meanings, own).take();
}

std::string written(const UndoFile& file) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ENV-SETTINGS>\n";
  for (const UndoGroup& group : file.groups) {
    text += "  <ENV-GROUP>\n" + xml_of(group.when);
    for (const UndoStep& step : group.steps)
      text += xml_of(step);
    text += "  </ENV-GROUP>\n";
  }
  return text + "</ENV-SETTINGS>\n";
}

std::string shown(const UndoClaim& claim) {
  if (claim.set && claim.unset)
    return fmt::format("{} is never quite as before: it had to be both set and not set",
                       claim.variable);
  std::string text =
      fmt::format("{} is as before if it was {}", claim.variable, claim.unset ? "not set" : "set");
  if (claim.unset) return text;
  text += " and had no empty or repeated elements";
  if (!claim.lacks.empty()) text += "; none may have been " + joined(claim.lacks);
  if (claim.order) text += "; its elements must have stood as BEFORE and AFTER want them";
  if (!claim.same.empty()) text += "; still the same must be " + joined(claim.same);
  return text;
}

}  // namespace zor
