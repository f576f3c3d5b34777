#include "undo.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <unordered_map>

#include "words.h"

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

// A text that is the same for conditions that say the same.
std::string key_of(const Condition& when) {
  std::string key;
  for (const Alternative& alternative : when) {
    key.append(alternative.host).append(1, '\1');
    for (const Binding& variable : alternative.variables)
      key.append(variable.name).append(1, '\2').append(variable.value).append(1, '\3');
    key += '\4';
  }
  return key;
}

// The operations of a file in their order, with answers to what is asked of each about the others.
class Operations {
 public:
  explicit Operations(const ProductFacts& facts) {
    std::unordered_map<std::string, std::size_t> groups;
    for (const Operation& operation : facts.operations)
      add(operation, groups.emplace(key_of(operation.when), groups.size()).first->second);
    for (std::size_t i = 0; i < operations_.size(); ++i)
      names_[name_of_[i]].own.first.try_emplace(separator_for_elements(i), i);
    relate();
  }

  std::size_t size() const { return operations_.size(); }
  const Operation& operator[](std::size_t i) const { return operations_[i]; }

  // Whether some operation on the same variable is of that kind, in the same group or anywhere.
  bool exists(OperationKind kind, std::size_t like, bool in_group) const {
    const Name& name = names_[name_of_[like]];
    return in_group ? name.kinds_in_groups.contains({group_of_[like], kind})
                    : name.kinds.contains(kind);
  }

  // The separator that the operation states or gets from another one of its group.
  std::string separator(std::size_t i) const {
    if (!operations_[i].separator.empty()) return operations_[i].separator;
    const auto& stated = names_[name_of_[i]].stated;
    const auto found = stated.find(group_of_[i]);
    return found == stated.end() ? "" : found->second;
  }

  // The same, or what counts where none is stated.
  std::string separator_for_elements(std::size_t i) const {
    const std::string stated = separator(i);
    return stated.empty() ? ":" : stated;
  }

  // The first operation on what may be the same variable that has another separator; size() if
  // there is none.
  std::size_t first_at_odds(std::size_t i) const {
    const std::string own = separator_for_elements(i);
    std::size_t first = size();
    for (const auto& [separator, at] : names_[name_of_[i]].all.first)
      if (separator != own) first = std::min(first, at);
    return first;
  }

  // New elements lead old ones past each other only where some go in front of old ones and some
  // behind.
  bool may_reorder(std::size_t i) const {
    const Uses& uses = names_[name_of_[i]].all;
    return uses.before && uses.after;
  }

  // Whether some operation is on the variable.
  bool change(const std::string& variable) const {
    return numbers_.contains(variable) ||
           std::any_of(patterns_.begin(), patterns_.end(), [&](std::size_t name) {
             return pattern_matches(names_[name].text, variable);
           });
  }

 private:
  // What some operations have among them.
  struct Uses {
    std::map<std::string, std::size_t> first;  // the first of them with each separator
    bool before = false;
    bool after = false;

    void add(const Uses& others) {
      for (const auto& [separator, at] : others.first) {
        const auto [known, is_new] = first.try_emplace(separator, at);
        known->second = std::min(known->second, at);
      }
      before = before || others.before;
      after = after || others.after;
    }
  };

  // A variable as operations write it.
  struct Name {
    std::string text;
    std::map<std::size_t, std::string> stated;  // the first separator in each group
    std::set<OperationKind> kinds;
    std::set<std::pair<std::size_t, OperationKind>> kinds_in_groups;
    Uses own;
    Uses all;  // also those of other names that may mean the same variable
  };

  void add(const Operation& operation, std::size_t group) {
    const std::string& variable = operation.variable;
    const auto [number, is_new] = numbers_.emplace(variable, names_.size());
    if (is_new) {
      names_.emplace_back().text = variable;
      if (is_pattern(variable)) patterns_.push_back(number->second);
    }
    Name& name = names_[number->second];
    if (!operation.separator.empty()) name.stated.try_emplace(group, operation.separator);
    name.kinds.insert(operation.kind);
    name.kinds_in_groups.insert({group, operation.kind});
    name.own.before = name.own.before || !operation.before.empty();
    name.own.after = name.own.after || !operation.after.empty();
    operations_.push_back(operation);
    name_of_.push_back(number->second);
    group_of_.push_back(group);
  }

  // A name with %(NAME) in it may mean any variable, and so may two patterns mean the same. Two
  // plain names never do, and a pattern means those that it matches.
  void relate() {
    Uses everything, forms, patterns;
    for (const Name& name : names_) {
      everything.add(name.own);
      if (is_form(name)) forms.add(name.own);
      if (is_pattern(name.text)) patterns.add(name.own);
    }
    for (Name& name : names_) {
      name.all = name.own;
      name.all.add(is_form(name) ? everything : forms);
      if (is_pattern(name.text)) name.all.add(patterns);
    }
    for (const std::size_t number : patterns_)
      for (Name& plain : names_) {
        Name& pattern = names_[number];
        if (is_form(plain) || is_pattern(plain.text) || is_form(pattern) ||
            !pattern_matches(pattern.text, plain.text))
          continue;
        plain.all.add(pattern.own);
        pattern.all.add(plain.own);
      }
  }

  static bool is_form(const Name& name) { return name.text.find('%') != std::string::npos; }

  std::vector<Operation> operations_;
  std::vector<std::size_t> name_of_;   // of each operation
  std::vector<std::size_t> group_of_;  // likewise
  std::vector<Name> names_;
  std::unordered_map<std::string, std::size_t> numbers_;  // of names
  std::vector<std::size_t> patterns_;                     // of these, the patterns
};

class Undoing {
 public:
  Undoing(const ProductFacts& facts, const std::vector<std::vector<std::string>>& meanings,
          const std::vector<std::string>& own)
      : operations_(facts), meanings_(meanings), own_(own.begin(), own.end()) {
    for (const VarietyFacts& variety : facts.varieties)
      for (const Binding& variable : variety.variables)
        for (const std::string& form : outside_forms(variable.value))
          add_once(&forms_of_varieties_, form);
  }

  UndoFile take() {
    for (std::size_t i = 0; i < operations_.size(); ++i) {
      if (file_.groups.empty() || !same_condition(file_.groups.back().when, operations_[i].when))
        begin_group(operations_[i].when);
      take(i);
    }
    std::erase_if(file_.groups, [](const UndoGroup& group) { return group.steps.empty(); });
    erase_void_claims();
    return std::move(file_);
  }

 private:
  void begin_group(const Condition& when) {
    file_.groups.push_back({when, {}});
    steps_.clear();
    removed_.clear();
  }

  void take(std::size_t i) {
    const Operation& operation = operations_[i];
    if (const std::string why = why_unsure(i); !why.empty()) {
      // An attempt with the wrong separator would spoil the rest.
      claim(i);
      file_.not_undone.push_back({operation, why});
      return;
    }
    if (is_emptied(i))
      take_emptied(i);
    else if (operation.kind == OperationKind::kInsert)
      take_insert(i);
    else
      take_remove(i);
  }

  // Where an operation stays and its variable's claims don't cover it, nothing can be claimed.
  void erase_void_claims() {
    std::set<std::string> names, patterns;
    for (const NotUndone& each : file_.not_undone) {
      if (each.is_covered) continue;
      names.insert(each.operation.variable);
      if (is_pattern(each.operation.variable)) patterns.insert(each.operation.variable);
    }
    std::erase_if(file_.claims, [&](const UndoClaim& claim) {
      return names.contains(claim.variable) ||
             std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
               return pattern_matches(pattern, claim.variable);
             });
    });
  }

  // Whether the variable as a whole is to go again: it is the product's own, or its group empties
  // it before it gets its values.
  bool is_emptied(std::size_t i) const {
    if (operations_.exists(OperationKind::kDelete, i, true)) return true;
    return own_.contains(operations_[i].variable) &&
           operations_.exists(OperationKind::kInsert, i, false);
  }

  // The step of this group on the variable with that separator, made if there is none.
  UndoStep& step(bool deletes, const std::string& variable, const std::string& separator) {
    std::vector<UndoStep>& steps = file_.groups.back().steps;
    const auto [at, is_new] =
        steps_.try_emplace({deletes, variable, deletes ? "" : separator}, steps.size());
    if (is_new) steps.push_back({deletes, variable, separator, {}});
    return steps[at->second];
  }

  void take_emptied(std::size_t i) {
    const Operation& operation = operations_[i];
    claim(i).unset = true;
    if (operation.kind == OperationKind::kDelete) add_lost(operation);
    if (operations_.exists(OperationKind::kInsert, i, false))
      step(true, operation.variable, operations_.separator(i));
  }

  void take_insert(std::size_t i) {
    const Operation& operation = operations_[i];
    UndoClaim& claimed = claim(i);
    claimed.set = claimed.tidy = true;
    if (operations_.may_reorder(i)) claimed.order = true;
    const std::string& value = operation.values[0];
    const std::string separator = operations_.separator_for_elements(i);
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
        add_lack(&claimed, piece);
    std::vector<std::string> pieces = pieces_of(value, separator);
    // An empty one is no element, and the variable has to be put together again nevertheless.
    if (pieces.empty()) pieces = {value};
    UndoStep& removal = step(false, operation.variable, operations_.separator(i));
    for (const std::string& piece : pieces)
      if (removed_.insert({&removal - file_.groups.back().steps.data(), piece}).second)
        removal.values.push_back(piece);
  }

  void take_remove(std::size_t i) {
    const Operation& operation = operations_[i];
    UndoClaim& claimed = claim(i);
    claimed.set = claimed.tidy = true;
    for (const std::string& pattern : meanings_[i])
      add_lack(&claimed, pattern);
    if (!operation.values.empty()) add_lost(operation);
  }

  // Why the elements that an insert adds can't be taken out by their values; empty if they can.
  std::string why_values_stay(std::size_t i, const std::vector<std::string>& outside,
                              const std::string& separator) const {
    for (const std::string& form : outside) {
      const std::string name = form.size() > 3 ? form.substr(2, form.size() - 3) : "";
      if (form.starts_with("%{") && operations_.change(name))
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

  // Why it can't be told from the file what the operation does; empty if it can.
  std::string why_unsure(std::size_t i) const {
    const Operation& operation = operations_[i];
    if (operation.variable.empty() || operation.variable.find('=') != std::string::npos)
      return "no variable can have such a name";
    const std::size_t other = operations_.first_at_odds(i);
    if (other == operations_.size()) return {};
    return fmt::format(
        "which separator counts depends on the operation in line {}; state it in both",
        operations_[other].line);
  }

  UndoClaim& claim(std::size_t i) {
    const std::string& variable = operations_[i].variable;
    const auto [at, is_new] = claims_.try_emplace(variable, file_.claims.size());
    if (is_new) {
      file_.claims.push_back({});
      file_.claims.back().variable = variable;
      file_.claims.back().separator = operations_.separator_for_elements(i);
    }
    return file_.claims[at->second];
  }

  void add_lack(UndoClaim* claim, const std::string& pattern) {
    if (lacks_.insert({claim->variable, pattern}).second) claim->lacks.push_back(pattern);
  }

  void add_lost(const Operation& operation) {
    file_.not_undone.push_back(
        {operation,
         operation.kind == OperationKind::kDelete
             ? "what the variable held is kept nowhere, so it can't be put back"
             : "what it takes out is kept nowhere, so it can't be put back",
         true});
  }

  const Operations operations_;
  const std::vector<std::vector<std::string>>& meanings_;
  const std::set<std::string> own_;
  std::vector<std::string> forms_of_varieties_;
  UndoFile file_;
  std::unordered_map<std::string, std::size_t> claims_;                      // of a variable
  std::set<std::pair<std::string, std::string>> lacks_;                      // that are there
  std::map<std::tuple<bool, std::string, std::string>, std::size_t> steps_;  // of this group
  std::set<std::pair<std::ptrdiff_t, std::string>> removed_;                 // by these, likewise
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
  if (!claim.lacks.empty()) text += "; none may have been " + joined(claim.lacks, ", ");
  if (claim.order) text += "; its elements must have stood as BEFORE and AFTER want them";
  if (!claim.same.empty()) text += "; still the same must be " + joined(claim.same, ", ");
  return text;
}

}  // namespace zor
