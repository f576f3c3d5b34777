// The replay of SETENV commands. It is purely sequential: a later command sees the result of an
// earlier one, and nothing is weighed against anything else.
#include "fcpp.h"
#include "fwstring.h"
#include "recipe/lists.h"
#include "recipe/records.h"

namespace {

constexpr int kElementsRoom = 10;
constexpr FwTextCharacter kSeparator = ':';

// Takes every occurrence of value out of the list.
void remove_equal(FwVector* list, FwTextString value) {
  for (int i = FwVectorLength(list) - 1; i >= 0; --i) {
    FwTextString element = nth<FwTextByte>(list, i);
    if (!wh_env_equal(element, value)) continue;
    FwVectorRemoveElement(list, i);
    wh_free(element);
  }
}

// The list operations. Without a value nothing is taken out or put in, but the variable is still
// split and joined.
void edit_list(WH_SETENV* setenv, SETENV_OP op, WH_ENVIRON* env) {
  FwTextString current = wh_lookup_ev(setenv->name, env);
  LocalVector list(kElementsRoom, Elements::kFreed);
  if (current != nullptr) FwStrTextSplitByChar(current, kSeparator, &list);
  if (setenv->value != nullptr) {
    remove_equal(&list, setenv->value);
    if (op == op_append)
      FwVectorAddElement(&list, FwStrDuplicate(setenv->value));
    else if (op == op_prepend)
      FwVectorInsertElement(&list, FwStrDuplicate(setenv->value), 0);
  }
  OpenRecord joined;
  FwStrTextJoinByChar(&list, 0, kSeparator, &joined);
  wh_set_ev(env, setenv->name, joined.pbz);
}

// One command, its text expanded. After a fault the later commands of the step are still expanded,
// and the last fault stands, but none is carried out.
void replay_command(FwErrorState* err, WH_COMMAND* command, WH_SYMTAB* symtab,
                    SETENV_STATE* state) {
  WH_COMMAND* expanded = wh_expand_command(err, command, symtab);
  if (err->pError == nullptr) {
    if (state->lists != nullptr)
      edit_in_lists(state->lists, expanded->u.setenv);
    else
      emulate_setenv(err, expanded->u.setenv, state->environ);
  }
  free_command(&expanded);
}

void replay_step(WH_CALL_ENV* callenv, WH_STEP* step, WH_VARIETY* variety) {
  auto* state = static_cast<SETENV_STATE*>(callenv->state);
  LocalError err;
  WH_PATTERN* pattern = wh_expand_pattern(&err, step->pattern, callenv->symtab);
  if (!err.failed() && matchvar(variety, pattern, nullptr)) {
    for (WH_COMMAND* command : elements<WH_COMMAND>(&step->commands))
      if (command->type == wh_setenv) replay_command(&err, command, callenv->symtab, state);
  }
  rep_clear(&err, callenv->errorfunc);
  free_pattern(&pattern);
}

// Apart from the walk's callback: a chain of parts keeps that one's frame open, and it must be
// small.
[[gnu::noinline]] void replay_recipe(WH_CALL_ENV* callenv, WH_RECIPE* recipe, WH_VARIETY* variety) {
  WH_CONTEXT* context = context_from_variety(variety);
  add_context(callenv->symtab, context);
  keep_meanings(callenv->symtab);
  for (WH_STEP* step : elements<WH_STEP>(&recipe->steps))
    replay_step(callenv, step, variety);
  remove_context(callenv->symtab, context);
  free_context(&context);
}

// Whether there may be anything to replay for a product or its parts. Most have new files and no
// parts, and cost nothing then.
bool concerns_replay(const WH_PRODUCT* product, int set) {
  return product->partlist->partspecs != nullptr ||
         (set ? product->setup : product->unset) != nullptr;
}

}  // namespace

int ui_matches(FwTextString ui1, FwTextString ui2) {
  return ui1 == nullptr || ui2 == nullptr || FwStrCompare(ui1, ui2) == 0;
}

SETENV_OP op_of(const WH_SETENV* setenv) {
  static constexpr struct {
    const char* word;
    SETENV_OP op;
  } kWords[] = {
      {"set", op_set}, {"delete", op_delete}, {"append", op_append}, {"prepend", op_prepend}};
  for (const auto& word : kWords)
    if (FwStrEqualFolded(setenv->op, FWT(word.word))) return word.op;
  return op_remove;
}

void emulate_setenv(FwErrorState*, WH_SETENV* setenv, WH_ENVIRON* environ) {
  if (environ == nullptr) return;
  const SETENV_OP op = op_of(setenv);
  if (op == op_set)
    wh_set_ev(environ, setenv->name, setenv->value);
  else if (op == op_delete)
    wh_delete_ev(environ, setenv->name);
  else
    edit_list(setenv, op, environ);
}

void old_setenv_in_variety(WH_CALL_ENV* callenv, WH_VARIETY* variety, WH_PRODUCT* product) {
  auto* state = static_cast<SETENV_STATE*>(callenv->state);
  // The table owns the context only until it is removed: the next product's table gets it as well.
  add_context(callenv->symtab, state->context);
  wh_traverse_partlist(callenv, product->partlist, variety, nullptr, old_setenv_in_spec);
  WH_RECIPE* recipe = state->set ? product->setup : product->unset;
  // A product uses the new files or the old ones, never both.
  if (recipe != nullptr && product->envset == nullptr && product->envunset == nullptr)
    replay_recipe(callenv, recipe, variety);
  remove_context(callenv->symtab, state->context);
}

void old_setenv_in_spec(WH_CALL_ENV* callenv, WH_PRODUCT_SPEC* spec) {
  if (!concerns_replay(spec->product, static_cast<SETENV_STATE*>(callenv->state)->set)) return;
  wh_traverse_spec(callenv->index, spec, old_setenv_in_variety, callenv->errorfunc, callenv->source,
                   callenv->state);
}

void wh_legacy_setenv(WH_INDEX* index, WH_ENVIRON* environ, WH_PRODUCT_SPEC_LIST* speclist,
                      WH_CONTEXT* context, WH_ERROR_FUNC error, int set) {
  // Kept, as the text of the output: the word names the newer files, though the older ones are
  // read.
  FwTextString word = FWT(set ? "env.xml" : "unenv.xml");
  SETENV_STATE state{environ, context, set, environ != nullptr ? open_lists(environ) : nullptr};
  index_unvisit(index);
  for (WH_PRODUCT_SPEC* spec : elements<WH_PRODUCT_SPEC>(&speclist->specs)) {
    if (concerns_replay(spec->product, set))
      wh_traverse_spec(index, spec, old_setenv_in_variety, error, word, &state);
  }
  close_lists(&state.lists);
}
