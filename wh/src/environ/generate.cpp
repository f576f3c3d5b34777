// Spreads the operations over the variables and the values that they touch.
#include "generate.h"

#include "fcpp.h"
#include "fwmem.h"
#include "wherror.h"

namespace {

// From so many texts or removes on it pays to look literal patterns up instead of trying each pair.
constexpr int32 kIndexFrom = 32;

// So many patterns are tried on each of the texts before these are cut up for good.
constexpr int32 kTriedPlainly = 4;

struct GEN_STATE {
  EXPANDED_OP* eop;
  FwHashTable* variables;
  WH_ENVIRON* input_env;
  WH_ERROR_FUNC error;
  GLOB* name;  // the operation's name, cut up
};

int32 add_op_to_matched_variables(FwHashEntry* entry, void* vstate, FwErrorState* /*err*/) {
  auto* state = static_cast<GEN_STATE*>(vstate);
  auto* name = static_cast<FwTextString>(entry->key);
  if (glob_accepts(state->name, name))
    add_op_to_variable(state->eop, name, state->variables, state->input_env, state->error);
  return 1;
}

int32 add_name(FwHashEntry* entry, void* texts, FwErrorState* /*err*/) {
  add_text(static_cast<TEXTS*>(texts), static_cast<FwTextString>(entry->key));
  return 1;
}

void add_op_to_names(const GEN_STATE* state, TEXTS* names) {
  POSITIONS found;
  find_texts(names, state->name, &found);
  for (int32 i = 0; i < found.count; ++i)
    add_op_to_variable(state->eop, names->list[found.list[i]].text, state->variables,
                       state->input_env, state->error);
  free_positions(&found);
}

void enter_remove(VAR_OPS* var_ops, FwTextString value, EXPANDED_OP* remeop) {
  enter_removal(get_val_ops(var_ops, value), remeop);
}

// Appends the positions of the texts that one pattern accepts, ascending. The first few patterns
// are tried on each text, as cutting all texts up for good has to pay.
void find_subjects(SUBJECTS* subjects, const GLOB* pattern, POSITIONS* hits) {
  const int32 count = FwVectorLength(&subjects->texts);
  auto text = [&](int32 i) { return nth<FwTextByte>(&subjects->texts, i); };
  if (pattern->key) {
    if (!subjects->index.table) open_literals(&subjects->index);
    for (; subjects->indexed < count; ++subjects->indexed)
      add_literal(&subjects->index, text(subjects->indexed), subjects->indexed);
    if (const POSITIONS* found = find_literal(&subjects->index, pattern->key))
      for (int32 i = 0; i < found->count; ++i)
        add_position(hits, found->list[i]);
  } else if (pattern->everything || subjects->tried < kTriedPlainly) {
    if (!pattern->everything) ++subjects->tried;
    for (int32 i = 0; i < count; ++i)
      if (glob_accepts(pattern, text(i))) add_position(hits, i);
  } else {
    while (subjects->globs.count < count)
      add_text(&subjects->globs, text(subjects->globs.count));
    find_texts(&subjects->globs, pattern, hits);
  }
}

bool accepts(const EXPANDED_OP* remeop, FwTextString value) {
  for (int32 i = 0; i < remeop->pattern_count; ++i)
    if (glob_accepts(&remeop->patterns[i], value)) return true;
  return false;
}

// Tries a remove that looks at the disk on all inserted values: on each as often as it is inserted,
// which shows on the disk alone.
void look_for_inserts(VAR_OPS* var_ops, EXPANDED_OP* remeop) {
  const FwVector* values = &var_ops->inserted.texts;  // each as it was inserted first
  int32 next = 0;
  for (int32 i = 0; i < FwVectorLength(&var_ops->inserts); ++i) {
    FwTextString value = nth<EXPANDED_OP>(&var_ops->inserts, i)->op->u.ins->value;
    const bool first = next < FwVectorLength(values) && nth<FwTextByte>(values, next) == value;
    if (first) ++next;
    if (accepts(remeop, value) && first) enter_remove(var_ops, value, remeop);
  }
}

// Tries the removes that look at the disk on a value that is inserted once more, likewise.
void look_again(VAR_OPS* var_ops, FwTextString value) {
  if (!var_ops->looks) return;
  for (int32 i = 0; i < FwVectorLength(&var_ops->removes); ++i) {
    const auto* remeop = nth<EXPANDED_OP>(&var_ops->removes, i);
    if (remeop->looks) accepts(remeop, value);
  }
}

// Tries one remove on all texts, in their order.
void try_remove(VAR_OPS* var_ops, SUBJECTS* subjects, EXPANDED_OP* remeop) {
  if (subjects->texts.state != FW_VECTOR_OPEN) return;
  int32 count = FwVectorLength(&subjects->texts);
  if (remeop->looks || count < kIndexFrom) {
    for (int32 i = 0; i < count; ++i)
      add_rem_reqs(var_ops, nth<FwTextByte>(&subjects->texts, i), remeop);
    return;
  }
  POSITIONS hits;
  for (int32 i = 0; i < remeop->pattern_count; ++i)
    find_subjects(subjects, &remeop->patterns[i], &hits);
  if (remeop->pattern_count > 1) sort_positions(&hits);
  for (int32 i = 0; i < hits.count; ++i)
    enter_remove(var_ops, nth<FwTextByte>(&subjects->texts, hits.list[i]), remeop);
  free_positions(&hits);
}

// Files the patterns of the removes that have arrived since the last time.
void file_removes(VAR_OPS* var_ops) {
  if (!var_ops->remove_keys.table) open_literals(&var_ops->remove_keys);
  for (; var_ops->filed < FwVectorLength(&var_ops->removes); ++var_ops->filed) {
    const auto* remeop = nth<EXPANDED_OP>(&var_ops->removes, var_ops->filed);
    if (remeop->looks) add_any_pattern(&var_ops->remove_globs, var_ops->filed);
    for (int32 i = 0; i < remeop->pattern_count; ++i) {
      const GLOB* pattern = &remeop->patterns[i];
      if (pattern->key)
        add_literal_key(&var_ops->remove_keys, pattern->key, var_ops->filed);
      else if (!remeop->looks)
        add_pattern(&var_ops->remove_globs, pattern, var_ops->filed);
    }
  }
}

bool accepts(const EXPANDED_OP* remeop, const TOKENS* tokens, FwTextString value) {
  for (int32 i = 0; i < remeop->pattern_count; ++i) {
    const GLOB* pattern = &remeop->patterns[i];
    if (pattern->everything || path_matches(pattern->tokens.list, tokens->list, value)) return true;
  }
  return false;
}

// Tries all removes that have arrived on one text, in their order.
void try_removes(VAR_OPS* var_ops, FwTextString value) {
  int32 count = FwVectorLength(&var_ops->removes);
  if (count < kIndexFrom) {
    for (int32 i = 0; i < count; ++i)
      add_rem_reqs(var_ops, value, nth<EXPANDED_OP>(&var_ops->removes, i));
    return;
  }
  file_removes(var_ops);
  POSITIONS none;
  const POSITIONS* found = nullptr;
  if (FwTextString key = literal_key(value)) {
    found = find_literal(&var_ops->remove_keys, key);
    FwMemFree(key);
  }
  const POSITIONS* literal = found ? found : &none;
  TOKENS tokens;
  parse(&tokens, value);
  POSITIONS others;
  find_patterns(&var_ops->remove_globs, value, &tokens, &others);
  for (int32 i = 0, j = 0; i < literal->count || j < others.count;) {
    if (j == others.count || (i < literal->count && literal->list[i] <= others.list[j])) {
      if (j < others.count && literal->list[i] == others.list[j]) ++j;
      enter_remove(var_ops, value, nth<EXPANDED_OP>(&var_ops->removes, literal->list[i++]));
    } else {
      auto* remeop = nth<EXPANDED_OP>(&var_ops->removes, others.list[j++]);
      if (accepts(remeop, &tokens, value)) enter_remove(var_ops, value, remeop);
    }
  }
  free_positions(&others);
  free_tokens(&tokens);
}

void add_insert(EXPANDED_OP* eop, FwTextString name, VAR_OPS* var_ops, WH_ERROR_FUNC error) {
  WH_ENV_INSERT* ins = eop->op->u.ins;
  check_sep(var_ops, &ins->sep, name, error);
  FwVectorAddElement(&var_ops->inserts, eop);
  if (enter_insert(get_val_ops(var_ops, ins->value), eop)) {
    look_again(var_ops, ins->value);
    return;
  }
  add_subject(&var_ops->inserted, ins->value);
  try_removes(var_ops, ins->value);
}

void add_remove(EXPANDED_OP* eop, FwTextString name, VAR_OPS* var_ops, WH_ENVIRON* input_env,
                WH_ERROR_FUNC error) {
  WH_ENV_REMOVE* rem = eop->op->u.rem;
  check_sep(var_ops, &rem->sep, name, error);
  FwVectorAddElement(&var_ops->removes, eop);
  if (eop->looks) {
    var_ops->looks = true;
    look_for_inserts(var_ops, eop);
  } else {
    try_remove(var_ops, &var_ops->inserted, eop);
  }

  FwTextString value = wh_lookup_ev(name, input_env);
  if (!value) return;
  if (rem->sep == 0) rem->sep = var_ops->sep = ':';
  split_input(var_ops, value, rem->sep);
  // Kept, as part of the interface: an element that is in the input more than once lists the remove
  // as often.
  try_remove(var_ops, &var_ops->elements, eop);
}

}  // namespace

void close_names(NAMES* names) {
  close_texts(&names->input);
  close_texts(&names->literal);
}

void generate_instances(EXPANDED_OP* eop, WH_ENVIRON* input_env, FwHashTable* newvars,
                        FwHashTable* variables, WH_ERROR_FUNC error, NAMES* names) {
  if (!eop->hasglob) {
    add_op_to_variable(eop, eop->op->name, variables, input_env, error);
    return;
  }
  GLOB name;
  open_glob(&name, eop->op->name);
  GEN_STATE state = {eop, variables, input_env, error, &name};
  if (!names || names->tried < kTriedPlainly || name.everything || looks_at_disk(&name)) {
    if (names) ++names->tried;
    wh_enumerate_environ(input_env, add_op_to_matched_variables, &state, nullptr);
    FwHashEnumerateEntries(newvars, add_op_to_matched_variables, &state, nullptr);
  } else {
    if (names->input.count == 0) wh_enumerate_environ(input_env, add_name, &names->input, nullptr);
    if (names->literal.count == 0)
      FwHashEnumerateEntries(newvars, add_name, &names->literal, nullptr);
    add_op_to_names(&state, &names->input);
    add_op_to_names(&state, &names->literal);
  }
  close_glob(&name);
}

void add_op_to_variable(EXPANDED_OP* eop, FwTextString name, FwHashTable* variables,
                        WH_ENVIRON* input_env, WH_ERROR_FUNC error) {
  VAR_OPS* var_ops = get_var_ops(variables, name);
  switch (eop->op->type) {
    case wh_env_insert:
      add_insert(eop, name, var_ops, error);
      break;
    case wh_env_delete:
      var_ops->del = 1;
      [[fallthrough]];
    case wh_env_remove:
      add_remove(eop, name, var_ops, input_env, error);
      break;
  }
}

void add_rem_reqs(VAR_OPS* var_ops, FwTextString value, EXPANDED_OP* remeop) {
  if (accepts(remeop, value)) enter_remove(var_ops, value, remeop);
}

void check_sep(VAR_OPS* var_ops, int* sep, FwTextString name, WH_ERROR_FUNC error) {
  if (var_ops->sep == 0) {
    var_ops->sep = *sep;
  } else if (*sep == 0) {
    // The operation is shared by all variables that its name matches, so the first one with a known
    // separator settles it for those that follow.
    *sep = var_ops->sep;
  } else if (var_ops->sep != *sep && error) {
    FwErrorState err;
    FwErrorSet(&err, whErrorEnvMixedSep, 2, FWT("environment variable"), name);
    error(&err);
    FwErrorClear(&err);
  }
}

const FwVector* split_input(VAR_OPS* var_ops, FwTextString value, int sep) {
  SUBJECTS* elements = &var_ops->elements;
  if (elements->texts.state != FW_VECTOR_OPEN || var_ops->split_sep != sep) {
    free_subjects(elements);
    elements->owned = true;
    var_ops->split_sep = sep;
    open_vector(&elements->texts, 10);
    FwStrTextSplitByChar(value, sep, &elements->texts);
  }
  return &elements->texts;
}
