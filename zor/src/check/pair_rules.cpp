// The environment of a product together with its parts, computed by the engine. Each product is
// requested alone, as a user would, with the conditions of each variety, for setting and for
// undoing: once in a nearly empty environment, and once in one where each of its patterns matches.
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

#include "check/product.h"

namespace zor::check {

namespace {

constexpr std::size_t kMostVarieties = 64;
constexpr int kTagLength = 11;  // of <ENV-INSERT, <ENV-REMOVE and <ENV-DELETE

using Conditions = std::vector<Binding>;

// A text that the pattern matches, as a rule.
std::string witness(const std::string& pattern) {
  std::string text;
  const std::size_t bar = pattern.find('|');
  for (std::size_t i = 0; i < std::min(bar, pattern.size()); ++i) {
    if (pattern[i] == '?' || pattern[i] == '*') {
      text += 'x';
      while (pattern[i] == '*' && i + 1 < pattern.size() && pattern[i + 1] == '*')
        ++i;
    } else {
      text += pattern[i];
    }
  }
  return text;
}

constexpr std::size_t kMostCrossed = 12;

// Texts that one of the patterns matches, and as a rule some that two of them match: with ** as
// nothing, and with ** as what another pattern speaks of.
std::vector<std::string> witnesses(const std::vector<std::string>& patterns) {
  std::vector<std::string> texts;
  texts.reserve(2 * patterns.size());
  for (const std::string& pattern : patterns)
    texts.push_back(witness(pattern));
  const std::size_t plain = std::min(texts.size(), kMostCrossed);
  for (const std::string& pattern : patterns) {
    const std::size_t at = pattern.find("**");
    if (at == std::string::npos) continue;
    const std::string before = pattern.substr(0, at);
    const std::string behind = pattern.substr(at + 2);
    if (before.ends_with('/')) texts.push_back(witness(before.substr(0, at - 1) + behind));
    if (behind.starts_with('/')) {
      texts.push_back(witness(before + behind.substr(1)));
      texts.push_back(witness(before + behind));
    }
    for (std::size_t i = 0; i < plain; ++i) {
      const std::size_t start = before.empty() ? 0 : texts[i].find_first_not_of('/');
      if (start != std::string::npos)
        texts.push_back(witness(std::string(before).append(texts[i], start).append(behind)));
    }
  }
  return texts;
}

// An environment in which every pattern of the steps meets something.
Environment full_environment(const Environment& base, const std::vector<AppliedStep>& steps) {
  std::map<std::string, std::vector<std::string>> elements;
  std::map<std::string, std::string> separators;
  const auto add = [](std::vector<std::string>* list, const std::string& element) {
    if (!element.empty() && std::find(list->begin(), list->end(), element) == list->end())
      list->push_back(element);
  };
  for (const AppliedStep& step : steps)
    elements[witness(step.variable)];
  const auto add_step = [&](const AppliedStep& step, const std::string& name,
                            std::vector<std::string>* list) {
    if (!step.separator.empty()) separators.emplace(name, step.separator);
    for (const auto* patterns : {&step.before, &step.after, &step.values})
      for (const std::string& pattern : *patterns)
        add(list, pattern);
  };
  for (const AppliedStep& step : steps) {
    if (!is_pattern(step.variable)) {
      add_step(step, step.variable, &elements[step.variable]);
      continue;
    }
    for (auto& [name, list] : elements)
      if (pattern_matches(step.variable, name)) add_step(step, name, &list);
  }
  Environment full = base;
  for (const auto& [name, list] : elements) {
    if (name.empty() || name.find('=') != std::string::npos) continue;
    const auto stated = separators.find(name);
    const std::string separator = stated == separators.end() ? ":" : stated->second;
    full.set(name, fmt::format("{}", fmt::join(witnesses(list), separator)));
  }
  return full;
}

// Whether what is in the environment could make a difference. An element of it can only be in a
// circle if one constraint leads to it and another one from it; and the colon that a removal
// without a separator settles is only at odds with others.
bool depends_on_environment(const Stated& stated) {
  return (stated.before && stated.after) || stated.separator || stated.pattern_names;
}

std::string detail(const Fault& fault, const char* word) {
  for (const Binding& binding : fault.details)
    if (binding.name == word) return binding.value;
  return {};
}

class ComputationCheck {
 public:
  explicit ComputationCheck(Product* product) : product_(product) {
    base_ = Environment({"HOME=/home/user", "PATH=/usr/bin:/bin"});
  }

  void run() {
    const bool parts = !product_->facts().links.empty();
    const bool sets = parts || product_->has_files("env.xml") || product_->has_files("setup.xml");
    const bool undoes =
        parts || product_->has_files("unenv.xml") || product_->has_files("unset.xml");
    for (const bool undo : {false, true}) {
      if (undo ? !undoes : !sets) continue;
      if (!undo || !product_->inspection().undoes_plainly())
        for (const Conditions& conditions : requests())
          run(conditions, undo);
      check_removals(undo ? "unenv.xml" : "env.xml");
    }
  }

 private:
  // The request without conditions comes last: what is told of a variety alone is told as that.
  std::vector<Conditions> requests() const {
    std::vector<Conditions> all;
    const std::vector<VarietyFacts>& varieties = product_->inspection().varieties();
    for (const VarietyFacts& variety : varieties) {
      if (!variety.complete || variety.variables.empty() || all.size() == kMostVarieties) continue;
      Conditions conditions;
      for (const Binding& variable : variety.variables)
        if (variable.value.find_first_of("%*?|,") == std::string::npos)
          conditions.push_back(variable);
      if (std::find(all.begin(), all.end(), conditions) == all.end()) all.push_back(conditions);
    }
    // A single variety without a platform is taken in any case.
    if (all.size() == 1 && varieties.size() == 1 &&
        std::none_of(all[0].begin(), all[0].end(),
                     [](const Binding& condition) { return condition.name == "platform"; }))
      all.clear();
    all.emplace_back();
    return all;
  }

  void run(const Conditions& conditions, bool undo) {
    const Trial trial = computed(conditions, undo, base_, false);
    const bool depends = depends_on_environment(trial.stated);
    if (!depends && trial.answer.faults.empty()) {
      note(trial);
      return;
    }
    const Trial whole = computed(conditions, undo, base_, true);
    note(whole);
    if (trial.stated.separator && trial.stated.pattern_names) tell_of_taken_separators(whole.steps);
    if (depends) note(computed(conditions, undo, full_environment(base_, whole.steps), true));
  }

  // With each %{NAME} set that it asks for.
  Trial computed(const Conditions& conditions, bool undo, Environment base, bool with_steps) {
    while (true) {
      Trial trial = product_->inspection().compute(conditions, undo, base, with_steps);
      bool again = false;
      for (const Fault& fault : trial.answer.faults) {
        if (fault.kind != FaultKind::kUndefined || fault.details.empty()) continue;
        const std::string name = fault.details[0].value;
        if (!tried_.insert(name).second) continue;
        base.set(name, "x");
        base_.set(name, "x");
        again = true;
      }
      if (!again) return trial;
    }
  }

  void note(const Trial& trial) {
    for (const Fault& fault : trial.answer.faults)
      tell_of(fault, trial);
    for (const OverruledInsert& overruled : trial.overruled)
      if (overruled.loses_constraints)
        tell("ZW509", overruled.loser,
             fmt::format("{}: where {} includes this product, its insert of {} counts, and the "
                         "BEFORE and AFTER stated here are lost",
                         overruled.variable, overruled.winner.product.path(), overruled.value),
             fmt::format("State the constraints at {} as well.", shown(overruled.winner)));
  }

  std::string below_root(const std::string& file) const {
    const std::string above = product_->root() + '/';
    return file.starts_with(above) ? file.substr(above.size()) : file;
  }

  std::string shown(const Location& place) const {
    return fmt::format("{}:{}:{}", below_root(place.file), place.line, place.column);
  }

  void tell(const char* rule, const Location& place, std::string text, std::string help) {
    product_->tell(Finding{below_root(place.file), place.line, place.column, place.line,
                           place.column + kTagLength, rule, std::move(text), std::move(help),
                           product_->path()});
  }

  void tell_of(const Fault& fault, const Trial& trial) {
    const std::string variable = detail(fault, "environment variable");
    const std::string value = detail(fault, "value");
    if (fault.kind == FaultKind::kClash && fault.places.size() >= 2) {
      const bool alike = fault.places[0].product == fault.places[1].product;
      tell(alike ? "ZW505" : "ZW501", fault.places[0],
           fmt::format("{}: the value {} is inserted here and removed at {}", variable, value,
                       shown(fault.places[1])),
           alike
               ? "Two varieties that are taken together say so: state a condition wherever the "
                 "product is used, or give the varieties variables that exclude one another."
               : "Take one of the two out; or let the product that removes include the other one, "
                 "since then the removal counts.");
    } else if (fault.kind == FaultKind::kCycle && !fault.places.empty()) {
      // A circle has no first member, so each way to meet it begins with the one that sorts first.
      std::vector<Location> places = fault.places;
      std::rotate(places.begin(), std::min_element(places.begin(), places.end()), places.end());
      // One operation may have several places in it.
      places.erase(std::unique(places.begin(), places.end()), places.end());
      std::string others;
      for (std::size_t i = 1; i < places.size(); ++i)
        others += (i == 1 ? "" : ", ") + shown(places[i]);
      tell("ZW502", places[0],
           fmt::format("{}: the order that is wanted here leads round in a circle{}{}", variable,
                       others.empty() ? "" : ", together with ", others),
           "Take out one of the BEFORE and AFTER.");
    } else if (fault.kind == FaultKind::kEndless && fault.places.size() >= 2) {
      tell("ZW503", fault.places[0],
           fmt::format("{}: the value {} is inserted here and removed by a part, at {}: zorenv "
                       "never ends",
                       variable, value, shown(fault.places[1])),
           "Take one of the two out: a part must not remove what a product that includes it "
           "inserts.");
    } else if (fault.kind == FaultKind::kSeparators) {
      tell_of_separators(variable, trial);
    } else {
      tell_of_others(fault);
    }
  }

  // Which variables there are, and which of them comes first, depends on the user's environment.
  void tell_of_taken_separators(const std::vector<AppliedStep>& steps) {
    for (const AppliedStep& step : steps) {
      if (!step.separator.empty() || !is_pattern(step.variable)) continue;
      const auto stated = std::find_if(steps.begin(), steps.end(), [&](const AppliedStep& other) {
        return !other.separator.empty() && other.separator != ":" &&
               (other.variable == step.variable || pattern_matches(step.variable, other.variable));
      });
      if (stated == steps.end()) continue;
      tell("ZW417", step.place,
           fmt::format("{}: this does not state a separator, so the first variable that it "
                       "reaches gives its own to the others, and {} has sep=\"{}\" at {}",
                       step.variable, stated->variable, stated->separator, shown(stated->place)),
           "Name the variables, and state the sep of each.");
    }
  }

  void tell_of_separators(const std::string& variable, const Trial& trial) {
    const AppliedStep* first = nullptr;
    for (const AppliedStep& step : trial.steps) {
      if (step.variable != variable && !pattern_matches(step.variable, variable)) continue;
      const bool removes = step.kind != OperationKind::kInsert;
      const std::string separator = step.separator.empty() && removes ? ":" : step.separator;
      if (separator.empty()) continue;
      const std::string before = !first                     ? separator
                                 : first->separator.empty() ? ":"
                                                            : first->separator;
      if (!first) {
        first = &step;
      } else if (separator != before) {
        tell("ZW504", step.place,
             fmt::format("{}: the separator is {} here and {} at {}", variable, separator, before,
                         shown(first->place)),
             "State one sep in every operation on the variable.");
        return;
      }
    }
    tell("ZW504", first ? first->place : Location{product_->name(), product_->directory(), 0, 0},
         fmt::format("{}: the operations do not agree on the separator", variable),
         "State one sep in every operation on the variable.");
  }

  void tell_of_others(const Fault& fault) {
    // What is wrong with the files of a part, and with names in it, is told of at the part.
    const std::string file = below_root(detail(fault, "File"));
    const bool own = file.empty() || file.starts_with(product_->path() + '/');
    const bool base = !fault.details.empty() && fault.kind == FaultKind::kUndefined &&
                      fault.details[0].value.starts_with("BASE-");
    if (!own || base || fault.kind == FaultKind::kData || fault.kind == FaultKind::kMissing) return;
    if (told_of_texts()) return;
    product_->tell("ZW508", file.empty() ? product_->path() : file, fault.text,
                   "zor env with the product's name shows the fault by itself.");
  }

  // Of a text that leads to a fault by itself.
  bool told_of_texts() const {
    const auto& findings = product_->findings();
    return std::any_of(findings.begin(), findings.end(), [](const Finding& finding) {
      return finding.rule == "ZW415" || finding.rule == "ZW508";
    });
  }

  // The variables that settings of the product or of its parts fill or delete. It is seldom that
  // those of the product itself don't answer the question.
  const std::set<std::string>& filled() {
    if (filled_) return *filled_;
    filled_.emplace();
    for (const Conditions& conditions : requests())
      for (const AppliedStep& step : computed(conditions, false, base_, true).steps)
        if (step.kind != OperationKind::kRemove) filled_->insert(step.variable);
    return *filled_;
  }

  // The names of those that the file fills or deletes itself.
  std::set<std::string> filled_by(const char* file) const {
    std::set<std::string> names;
    const Document* document = product_->document(file);
    if (!document) return names;
    for (const Element& group : document->root.children)
      for (const Element& operation : group.children)
        if (is_operation(operation) && operation.name != "ENV-REMOVE")
          names.insert(name_element(operation).text);
    return names;
  }

  // Removals from variables that nothing inserts into and that may not be set.
  void check_removals(const char* file) {
    static const std::set<std::string> kAlwaysSet = {"PATH",  "HOME", "USER", "LOGNAME",
                                                     "SHELL", "TERM", "LANG", "PWD"};
    const Document* document = product_->document(file);
    if (!document) return;
    std::set<std::string> own = filled_by(file);
    own.merge(filled_by("env.xml"));
    for (const Element& group : document->root.children)
      for (const Element& operation : group.children) {
        if (operation.name != "ENV-REMOVE") continue;
        const std::string& name = name_element(operation).text;
        if (is_pattern(name) || name.find('%') != std::string::npos || kAlwaysSet.contains(name) ||
            own.contains(name) || filled().contains(name))
          continue;
        product_->tell("ZW412", file, operation,
                       fmt::format("where {} is not set, this makes it an empty variable", name),
                       "Write ENV-DELETE if the variable is to go as a whole.");
      }
  }

  Product* product_;
  Environment base_;
  std::set<std::string> tried_;  // names that were set in vain or not
  std::optional<std::set<std::string>> filled_;
};

}  // namespace

void check_computations(Product* product) {
  ComputationCheck(product).run();
}

}  // namespace zor::check
