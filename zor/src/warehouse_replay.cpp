// The replay of old recipes, told step by step.
#include <algorithm>
#include <iterator>

#include "recipe.h"
#include "warehouse_reasons_private.h"

namespace zor {

namespace {

// Whether any of the products may have been replayed.
bool has_recipes(const WH_COMPUTATION* all) {
  for (const WH_PRODUCT* product : elements<WH_PRODUCT>(all->index->entries))
    if ((all->set ? product->setup : product->unset) && !product->envset && !product->envunset)
      return true;
  return false;
}

const char* word_of(const WH_SETENV* setenv) {
  for (const char* word : {"set", "delete", "append", "prepend"})
    if (FwStrEqualFolded(setenv->op, FWT(word))) return word;
  return "remove";
}

// Goes once more through what wh_legacy_setenv has done, in its order and on a table of its own.
class Replay {
 public:
  Replay(Account* account, WH_COMPUTATION* all, const std::string& only)
      : account_(account), all_(all), only_(only), table_(dup_environ(all->oldenv)) {}
  ~Replay() { free_environ(&table_); }
  Replay(const Replay&) = delete;
  Replay& operator=(const Replay&) = delete;

  void run() {
    for (group_ = 0; group_ < FwVectorLength(&all_->group_speclists); ++group_) {
      // Each group goes through its products anew.
      index_unvisit(all_->index);
      const auto* list = element<WH_PRODUCT_SPEC_LIST>(all_->group_speclists, group_);
      for (WH_PRODUCT_SPEC* spec : elements<WH_PRODUCT_SPEC>(list->specs))
        wh_traverse_spec(all_->index, spec, in_variety, nullptr,
                         FWT(all_->set ? "env.xml" : "unenv.xml"), this);
    }
    std::vector<VariableReason> reasons;
    for (Traced& traced : variables_)
      reasons.push_back(finished(&traced));
    account_->variables.insert(account_->variables.begin(),
                               std::make_move_iterator(reasons.begin()),
                               std::make_move_iterator(reasons.end()));
  }

 private:
  struct Item {
    std::string value;
    int operation;  // that put it there, -1 for none
  };
  struct Frame {
    const WH_PRODUCT* product;
    const WH_VARIETY* variety;
    const WH_PART* part;  // that led here
    int station;          // -1 as long as nobody needed it
  };
  struct Traced {
    VariableAccount variable;
    std::vector<Item> items;
  };

  // Parts act before the product itself.
  static void in_variety(WH_CALL_ENV* callenv, WH_VARIETY* variety, WH_PRODUCT* product) {
    auto* self = static_cast<Replay*>(callenv->state);
    add_context(callenv->symtab, self->all_->context);
    self->frames_.push_back({product, variety, self->frames_.empty() ? nullptr : self->part_, -1});
    wh_traverse_partlist(callenv, product->partlist, variety, nullptr, in_part);
    const WH_RECIPE* recipe = self->all_->set ? product->setup : product->unset;
    if (recipe && !product->envset && !product->envunset)
      self->replay(callenv, recipe, variety, product);
    self->frames_.pop_back();
    remove_context(callenv->symtab, self->all_->context);
  }

  static void in_part(WH_CALL_ENV* callenv, WH_PRODUCT_SPEC* spec) {
    static_cast<Replay*>(callenv->state)->part_ = callenv->part;
    wh_traverse_spec(callenv->index, spec, in_variety, nullptr, callenv->source, callenv->state);
  }

  // That of the product in hand, made with those above it when it is first needed.
  int station() {
    int includer = -1;
    for (Frame& frame : frames_) {
      if (frame.station < 0) frame.station = enter(frame, includer);
      includer = frame.station;
    }
    return includer;
  }

  int enter(const Frame& frame, int includer) {
    Station station;
    station.product = name_of(frame.product->prodinfo->prodname);
    station.variety = string_of(frame.variety->name);
    station.variables = bindings_of(frame.variety->vars);
    station.group = group_;
    station.includer = includer;
    if (includer >= 0) {
      const WH_PLACE* place = frame.part->place;
      station.part = {account_->stations[static_cast<std::size_t>(includer)].product,
                      string_of(place->file), place->line, place->column};
    } else {
      station.query = query_of(all_, group_, frame.product, frame.variety);
    }
    account_->stations.push_back(std::move(station));
    return static_cast<int>(account_->stations.size()) - 1;
  }

  void replay(WH_CALL_ENV* callenv, const WH_RECIPE* recipe, WH_VARIETY* variety,
              const WH_PRODUCT* product) {
    WH_CONTEXT* context = context_from_variety(variety);
    add_context(callenv->symtab, context);
    for (const WH_STEP* step : elements<WH_STEP>(recipe->steps))
      replay(callenv, step, variety, product);
    remove_context(callenv->symtab, context);
    free_context(&context);
  }

  // A fault ends the step.
  void replay(WH_CALL_ENV* callenv, const WH_STEP* step, WH_VARIETY* variety,
              const WH_PRODUCT* product) {
    FwErrorState err;
    WH_PATTERN* pattern = wh_expand_pattern(&err, step->pattern, callenv->symtab);
    if (!err.pError && matchvar(variety, pattern, nullptr))
      for (WH_COMMAND* command : elements<WH_COMMAND>(step->commands)) {
        if (command->type != wh_setenv) continue;
        WH_COMMAND* expanded = wh_expand_command(&err, command, callenv->symtab);
        if (!err.pError) carry_out(expanded->u.setenv, place_of(product, command->place));
        free_command(&expanded);
      }
    FwErrorClear(&err);
    free_pattern(&pattern);
  }

  void carry_out(WH_SETENV* setenv, Location place) {
    if (!setenv->name || (!only_.empty() && only_ != FWC(setenv->name))) return;
    AppliedOperation operation;
    operation.kind = OperationKind::kRecipe;
    operation.group = kRecipes;
    operation.station = station();
    operation.place = std::move(place);
    operation.variable = string_of(setenv->name);
    operation.word = word_of(setenv);
    if (setenv->value) operation.values = {string_of(setenv->value)};
    const int index = static_cast<int>(account_->operations.size());
    Traced& traced = trace(operation.variable);
    traced.variable.reason().operations.push_back(index);
    FwErrorState err;
    emulate_setenv(&err, setenv, table_);
    follow(&traced, operation, index);
    account_->operations.push_back(std::move(operation));
  }

  Traced& trace(const std::string& name) {
    const auto [entry, is_new] = by_name_.emplace(name, variables_.size());
    if (is_new) {
      VariableReason reason;
      reason.name = name;
      reason.group = kRecipes;
      std::string key = name;
      if (FwTextString value = wh_lookup_ev(text(key), table_)) reason.before = string_of(value);
      std::vector<Item> items;
      for (std::string& value : split(reason.before.value_or(""), ":"))
        items.push_back({std::move(value), -1});
      variables_.push_back({VariableAccount(std::move(reason)), std::move(items)});
    }
    return variables_[entry->second];
  }

  // Takes out the items that are gone, and notes what took them.
  template <class Gone>
  static void take_out(Traced* traced, int operation, bool replaced, Gone gone) {
    for (const Item& item : traced->items) {
      if (!gone(item.value)) continue;
      ElementReason& element = traced->variable.at(item.value);
      if (item.operation >= 0) element.overruled.emplace_back(item.operation, operation);
      if (!replaced) element.removes = {operation};
    }
    std::erase_if(traced->items, [&](const Item& item) { return gone(item.value); });
  }

  static void follow(Traced* traced, const AppliedOperation& operation, int index) {
    const std::string value = operation.values.empty() ? "" : operation.values[0];
    std::vector<Item> added;
    for (std::string& piece : split(value, ":"))
      added.push_back({std::move(piece), index});
    if (operation.word == "set") {
      // A variable can't be set without a value, so it stays what it was.
      if (operation.values.empty()) return;
      const auto stays = [&](const std::string& one) {
        return std::any_of(added.begin(), added.end(),
                           [&](const Item& item) { return item.value == one; });
      };
      take_out(traced, index, true, stays);
      take_out(traced, index, false, [](const std::string&) { return true; });
      traced->items = std::move(added);
    } else if (operation.word == "delete") {
      take_out(traced, index, false, [](const std::string&) { return true; });
    } else {
      const bool adds = operation.word != "remove";
      take_out(traced, index, adds, [&](const std::string& one) { return one == value; });
      if (adds)
        traced->items.insert(
            operation.word == "append" ? traced->items.end() : traced->items.begin(), added.begin(),
            added.end());
    }
  }

  VariableReason finished(Traced* traced) {
    VariableReason& reason = traced->variable.reason();
    std::string key = reason.name;
    if (FwTextString value = wh_lookup_ev(text(key), table_)) reason.after = string_of(value);
    int position = 0;
    for (const Item& item : traced->items) {
      ElementReason& element = traced->variable.at(item.value);
      // A list that is put in may repeat what is there.
      if (element.position < 0) element.position = position++;
      auto& inserts = element.inserts;
      if (item.operation >= 0 &&
          std::find(inserts.begin(), inserts.end(), item.operation) == inserts.end())
        inserts.push_back(item.operation);
    }
    reason.name = name_from_table(reason.name);
    return traced->variable.take();
  }

  Account* account_;
  WH_COMPUTATION* all_;
  const std::string& only_;
  WH_ENVIRON* table_;
  int group_ = 0;
  std::vector<Frame> frames_;
  const WH_PART* part_ = nullptr;
  std::vector<Traced> variables_;
  std::unordered_map<std::string, std::size_t> by_name_;
};

}  // namespace

void replay_recipes(Account* account, WH_COMPUTATION* all, const std::string& only) {
  if (has_recipes(all)) Replay(account, all, only).run();
}

}  // namespace zor
