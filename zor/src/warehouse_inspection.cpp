#include <algorithm>
#include <iterator>
#include <unordered_map>

#include "fwmem.h"
#include "glob.h"
#include "inspection.h"
#include "vqosarch.h"
#include "warehouse_private.h"

namespace zor {

namespace {

// Freed by free_pattern. Without any alternative it is null, which matches everything.
WH_PATTERN* make_pattern(const Condition& condition) {
  WH_PATTERN* first = nullptr;
  WH_PATTERN** end = &first;
  for (const Alternative& alternative : condition) {
    *end = ::make_pattern();
    WH_VAR** last = &(*end)->vars;
    for (Binding variable : alternative.variables) {
      *last = make_var(text(variable.name), text(variable.value));
      last = &(*last)->next;
    }
    end = &(*end)->next;
  }
  return first;
}

AppliedStep step_of(const WH_OPERATION* operation) {
  const WH_ENV_OP* op = operation->op;
  AppliedStep step;
  step.place = place_of(operation);
  step.variable = string_of(op->name);
  const bool inserts = op->type == wh_env_insert;
  const FwTextCharacter separator = inserts ? op->u.ins->sep : op->u.rem->sep;
  if (separator != 0) step.separator = string_of(separator);
  if (inserts) {
    step.values = {string_of(op->u.ins->value)};
    step.before = strings_of(op->u.ins->before);
    step.after = strings_of(op->u.ins->after);
  } else {
    step.kind = op->type == wh_env_remove ? OperationKind::kRemove : OperationKind::kDelete;
    step.values = strings_of(op->u.rem->values);
  }
  return step;
}

// The trial that the observer's callbacks write into. They get no context of ours, as those that
// note places are called with none.
Trial* observed = nullptr;

void take_step(void*, const WH_OPERATION* operation) {
  observed->steps.push_back(step_of(operation));
}

FwTextCharacter separator_of(const WH_ENV_OP* op) {
  return op->type == wh_env_insert ? op->u.ins->sep : op->u.rem->sep;
}

void take_stated(void*, const WH_OPERATION* operation) {
  const WH_ENV_OP* op = operation->op;
  Stated& stated = observed->stated;
  const FwTextCharacter separator = separator_of(op);
  stated.separator = stated.separator || (separator != 0 && separator != ':');
  stated.pattern_names = stated.pattern_names || wh_has_globs(op->name) != 0;
  if (op->type != wh_env_insert) return;
  stated.before = stated.before || FwVectorLength(&op->u.ins->before) > 0;
  stated.after = stated.after || FwVectorLength(&op->u.ins->after) > 0;
}

void take_both(void* context, const WH_OPERATION* operation) {
  take_stated(context, operation);
  take_step(context, operation);
}

bool has_constraints(const WH_ENV_OP* op) {
  return !elements<FwTextByte>(op->u.ins->before).empty() ||
         !elements<FwTextByte>(op->u.ins->after).empty();
}

void take_overruled(void*, const WH_ELEMENT* element, const WH_OPERATION* loser,
                    const WH_OPERATION* winner) {
  if (loser->op->type != wh_env_insert || winner->op->type != wh_env_insert) return;
  observed->overruled.push_back({place_of(loser), place_of(winner), string_of(element->variable),
                                 string_of(element->value),
                                 has_constraints(loser->op) && !has_constraints(winner->op)});
}

}  // namespace

struct Inspection::State {
  std::string root;
  WH_INDEX* index = nullptr;
  WH_PRODUCT_NAME* name = nullptr;
  WH_PRODUCT* product = nullptr;
  std::vector<VarietyFacts> varieties;
  std::vector<WH_SYMTAB*> symtabs;  // by variety; null until it is asked for
  std::vector<std::unordered_map<std::string, Expansion>> expansions;  // likewise
  std::unordered_map<std::string, bool> plain;  // whether a product, by its path, undoes so

  WH_VARIETY* variety(std::size_t i) const {
    return element<WH_VARIETY>(product->prodinfo->varieties->seq, static_cast<int32>(i));
  }

  void open() {
    index = index_open(text(root));
    index->parse_flags |= WH_XML_PF_PLACES;
  }

  // What names mean in the product's files, for a variety.
  WH_SYMTAB* symbols(std::size_t i) {
    if (!symtabs[i]) {
      symtabs[i] = symtab_from_prodname(name, FWT("env.xml"));
      add_context(symtabs[i], make_context(make_cv(FWT("BASE-DIRECTORY"), text(root), nullptr)));
      add_context(symtabs[i], context_from_variety(variety(i)));
      keep_meanings(symtabs[i]);
    }
    return symtabs[i];
  }

  void leave() {
    for (WH_SYMTAB*& symtab : symtabs)
      if (symtab) free_symtab(&symtab);
    symtabs.clear();
    expansions.clear();
    varieties.clear();
    product = nullptr;
    free_prodname(&name);
  }

  bool undoes_plainly(WH_PRODUCT* one);
};

Inspection::Inspection(const std::string& root) : state_(std::make_unique<State>()) {
  state_->root = root;
  state_->open();
}

Inspection::~Inspection() {
  state_->leave();
  index_close(state_->index);
}

void Inspection::forget() {
  state_->leave();
  index_close(state_->index);
  state_->open();
}

std::vector<Fault> Inspection::load(const ProductName& product) {
  std::vector<Fault> faults;
  const Collecting collecting(&faults);
  FwErrorState err;
  state_->leave();
  state_->name = make_name(product);
  state_->product = index_fetch(&err, state_->index, state_->name, 0);
  if (!state_->product) collect_error(&err);
  FwErrorClear(&err);
  if (state_->product)
    for (WH_VARIETY* variety : elements<WH_VARIETY>(state_->product->prodinfo->varieties->seq))
      state_->varieties.push_back(facts_of(variety));
  state_->symtabs.resize(state_->varieties.size());
  state_->expansions.resize(state_->varieties.size());
  return faults;
}

const std::vector<VarietyFacts>& Inspection::varieties() const {
  return state_->varieties;
}

bool Inspection::meets(std::size_t variety, const Condition& condition) const {
  WH_PATTERN* pattern = make_pattern(condition);
  const bool met = matchvar(state_->variety(variety), pattern, nullptr) != 0;
  free_pattern(&pattern);
  return met;
}

const Expansion& Inspection::expand(std::size_t variety, const std::string& form) const {
  const auto [entry, is_new] = state_->expansions[variety].try_emplace(form);
  Expansion& expansion = entry->second;
  if (!is_new) return expansion;
  std::vector<Fault> faults;
  const Collecting collecting(&faults);
  FwErrorState err;
  std::string written = form;
  if (FwTextString expanded = wh_expand(&err, text(written), state_->symbols(variety))) {
    expansion.text = string_of(expanded);
    FwMemFree(expanded);
  }
  if (err.pError) {
    const std::string about = err.items[0].name ? string_of(err.items[0].name) : "?";
    collect_error(&err);
    const Fault& fault = faults[0];
    if (fault.kind == FaultKind::kUndefined)
      expansion.undefined = about;
    else if (fault.kind == FaultKind::kMissing)
      expansion.missing = about;
    else
      expansion.fault = fault.text;
  }
  FwErrorClear(&err);
  return expansion;
}

PartFacts Inspection::part(std::size_t variety, const ProductName& written,
                           const Condition& taken) const {
  PartFacts facts;
  const Collecting collecting(&facts.faults);
  WH_SYMTAB* symtab = state_->symbols(variety);
  WH_PATTERN* pattern = make_pattern(taken);
  FwErrorState err;
  WH_PRODUCT_NAME* name = make_name(written);
  WH_PRODUCT_NAME* expanded = wh_expand_prodname(&err, name, symtab);
  if (!err.pError) {
    facts.product = name_of(expanded);
    WH_PATTERN* expanded_pattern = wh_expand_pattern(&err, pattern, symtab);
    if (WH_PRODUCT* product = index_fetch(&err, state_->index, expanded, 0)) {
      facts.exists = true;
      for (WH_VARIETY* each : elements<WH_VARIETY>(product->prodinfo->varieties->seq)) {
        if (!wh_variety_is_complete(each)) continue;
        ++facts.complete;
        if (matchvar(each, expanded_pattern, nullptr)) facts.taken.push_back(facts_of(each));
      }
    }
    free_pattern(&expanded_pattern);
  }
  collect_error(&err);
  FwErrorClear(&err);
  if (expanded) free_prodname(&expanded);
  free_prodname(&name);
  free_pattern(&pattern);
  return facts;
}

Trial Inspection::compute(const std::vector<Binding>& conditions, bool undo,
                          const Environment& base, bool with_steps) const {
  Trial trial;
  observed = &trial;
  WH_OBSERVER observer = collecting_observer();
  observer.collected = with_steps ? take_both : take_stated;
  observer.overruled = take_overruled;
  Question question;
  question.root = state_->root;
  question.groups = {{{name_of(state_->name), conditions}}};
  question.undo = undo;
  trial.answer = zor::compute(question, base, {&observer, {}, state_->index});
  observed = nullptr;
  return trial;
}

bool Inspection::State::undoes_plainly(WH_PRODUCT* one) {
  // One that leads back to itself counts as plain meanwhile.
  const auto [entry, is_new] = plain.try_emplace(name_of(one->prodinfo->prodname).path(), true);
  if (!is_new) return entry->second;
  bool is_plain = true;
  if (one->envunset)
    for (const WH_ENV_GROUP* group : elements<WH_ENV_GROUP>(one->envunset->groups))
      for (const WH_ENV_OP* op : elements<WH_ENV_OP>(group->ops))
        is_plain = is_plain && op->type != wh_env_insert && separator_of(op) == 0;
  WH_SYMTAB* symtab = symtab_from_prodname(one->prodinfo->prodname, FWT("partlist.xml"));
  for (const WH_PARTSPEC* spec = one->partlist->partspecs; spec && is_plain; spec = spec->next)
    for (const WH_PART* part = spec->parts; part && is_plain; part = part->next) {
      if (part->type != part_product) continue;
      // A name that depends on the variety is left to the computation.
      FwErrorState err;
      WH_PRODUCT_NAME* to = wh_expand_prodname(&err, part->u.product->prodname, symtab);
      WH_PRODUCT* next = err.pError ? nullptr : index_fetch(&err, index, to, 1);
      is_plain = !err.pError && (!next || undoes_plainly(next));
      FwErrorClear(&err);
      if (to) free_prodname(&to);
    }
  free_symtab(&symtab);
  plain[name_of(one->prodinfo->prodname).path()] = is_plain;
  return is_plain;
}

bool Inspection::undoes_plainly() const {
  std::vector<Fault> faults;
  const Collecting collecting(&faults);
  return state_->undoes_plainly(state_->product);
}

bool platforms_fit(const std::string& one, const std::string& other) {
  std::string first = one;
  std::string second = other;
  return platform_overlaps(first.data(), second.data()) != 0;
}

bool is_reserved_name(const std::string& name) {
  static constexpr const char* kNames[] = {"FS",
                                           "EXE",
                                           "DLL",
                                           "LIB",
                                           "THIS-CNVR",
                                           "PLAT-THIS-CNVR",
                                           "BASE-CN",
                                           "FROM-CN",
                                           "BASE-CNV",
                                           "FROM-CNV",
                                           "BASE-CNVR",
                                           "FROM-CNVR",
                                           "BINPATH",
                                           "THIS-REV",
                                           "HOST-PLATFORM",
                                           "THIS-CATEGORY",
                                           "THIS-NAME",
                                           "THIS-VERSION",
                                           "BASE-DIRECTORY",
                                           "PLAT-CATEGORY"};
  return std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

}  // namespace zor
