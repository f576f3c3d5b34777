#include "settings.h"

#include "fcpp.h"
#include "fwmem.h"
#include "whreaddata.h"
#include "wqmem.h"

namespace {

constexpr int kListRoom = 10;     // groups of the settings, operations of a group
constexpr int kPatternsRoom = 4;  // patterns of an operation

// ---- Records ------------------------------------------------------------------------------------

WH_ENV_INSERT* make_env_insert(FwTextCharacter sep) {
  auto* ins = make<WH_ENV_INSERT>();
  ins->sep = sep;
  FwVectorOpen(&ins->before, kPatternsRoom);
  FwVectorOpen(&ins->after, kPatternsRoom);
  return ins;
}

void free_env_insert(WH_ENV_INSERT** ins) {
  if (*ins == nullptr) return;
  wh_free((*ins)->value);
  FwVectorAbandon(&(*ins)->before, 1);
  FwVectorAbandon(&(*ins)->after, 1);
  FwMemFreeAndClear(ins);
}

WH_ENV_REMOVE* make_env_remove(FwTextCharacter sep) {
  auto* rem = make<WH_ENV_REMOVE>();
  rem->sep = sep;
  FwVectorOpen(&rem->values, kPatternsRoom);
  return rem;
}

void free_env_remove(WH_ENV_REMOVE** rem) {
  if (*rem == nullptr) return;
  FwVectorAbandon(&(*rem)->values, 1);
  FwMemFreeAndClear(rem);
}

WH_ENV_OP* make_env_op(WH_ENV_OP_TYPE type, const WH_PLACE* place) {
  auto* op = make<WH_ENV_OP>();
  op->type = type;
  op->place = place;
  return op;
}

WH_ENV_GROUP* make_env_group() {
  auto* group = make<WH_ENV_GROUP>();
  FwVectorOpen(&group->ops, kListRoom);
  return group;
}

void free_env_group(WH_ENV_GROUP** group) {
  if (*group == nullptr) return;
  free_pattern(&(*group)->pattern);
  FwVector* ops = &(*group)->ops;
  for (WH_ENV_OP* op : elements<WH_ENV_OP>(ops))
    free_env_op(&op);
  FwVectorAbandon(ops, 0);
  FwMemFreeAndClear(group);
}

WH_ENV_SETTINGS* make_env_settings() {
  auto* settings = make<WH_ENV_SETTINGS>();
  FwVectorOpen(&settings->groups, kListRoom);
  return settings;
}

// ---- The format ---------------------------------------------------------------------------------

struct DFA : READER {
  WH_ENV_SETTINGS* settings = nullptr;
  WH_ENV_GROUP* group = nullptr;  // until it is appended to the settings
  WH_ENV_OP* op = nullptr;        // until it is appended to the group
};

// The separator of an operation: one character, 0 if none is given.
FwTextCharacter get_sep(ELEMENT* element) {
  return char_attr("sep", element->atts, &element->seen);
}

void start_settings(DFA* dfa, ELEMENT*) {
  dfa->settings = make_env_settings();
}

void start_group(DFA* dfa, ELEMENT*) {
  dfa->group = make_env_group();
}

void end_group(DFA* dfa) {
  FwVectorAddElement(&dfa->settings->groups, dfa->group);
  dfa->group = nullptr;
}

void start_condition(DFA* dfa, ELEMENT* element) {
  start_pattern(dfa, element, &dfa->group->pattern);
}

void start_insert(DFA* dfa, ELEMENT* element) {
  dfa->op = make_env_op(wh_env_insert, place_of(element->user));
  dfa->op->u.ins = make_env_insert(get_sep(element));
}

void start_remove(DFA* dfa, ELEMENT* element) {
  dfa->op = make_env_op(wh_env_remove, place_of(element->user));
  dfa->op->u.rem = make_env_remove(get_sep(element));
}

void start_delete(DFA* dfa, ELEMENT* element) {
  dfa->op = make_env_op(wh_env_delete, place_of(element->user));
  dfa->op->u.rem = make_env_remove(get_sep(element));
  opentext(dfa);
}

void end_op(DFA* dfa) {
  FwVectorAddElement(&dfa->group->ops, dfa->op);
  dfa->op = nullptr;
}

void start_text(DFA* dfa, ELEMENT*) {
  opentext(dfa);
}

void end_name(DFA* dfa) {
  dfa->op->name = closetext(dfa);
}

void end_insert_value(DFA* dfa) {
  dfa->op->u.ins->value = closetext(dfa);
}

void end_remove_value(DFA* dfa) {
  FwVectorAddElement(&dfa->op->u.rem->values, closetext(dfa));
}

// Deleting a variable removes all its elements.
void end_delete(DFA* dfa) {
  dfa->op->name = closetext(dfa);
  FwVectorAddElement(&dfa->op->u.rem->values, FwStrDuplicate(FWT("**")));
  end_op(dfa);
}

void end_before(DFA* dfa) {
  FwVectorAddElement(&dfa->op->u.ins->before, closetext(dfa));
}

void end_after(DFA* dfa) {
  FwVectorAddElement(&dfa->op->u.ins->after, closetext(dfa));
}

enum STATE {
  st_initial = 0,
  st_in_settings = 1,
  st_group_start = 2,
  st_in_pattern = 3,
  st_in_match = 4,
  st_in_var = 5,
  st_in_operations = 6,
  st_insert_start = 7,
  st_insert_named = 8,
  st_insert_constraints = 9,
  st_insert_name = 10,
  st_insert_value = 11,
  st_remove_start = 12,
  st_remove_values = 13,
  st_remove_name = 14,
  st_remove_value = 15,
  st_delete_name = 16,
  st_before = 17,
  st_after = 18,
  st_error = 19,
  st_final = 20,
};

constexpr START_RULE<DFA> kStarts[] = {
    {st_initial, "ENV-SETTINGS", st_in_settings, start_settings},
    {st_in_settings, "ENV-GROUP", st_group_start, start_group},
    {st_group_start, "PATTERN", st_in_pattern, start_condition},
    {st_in_pattern, "MATCH", st_in_match, start_match<DFA>},
    {st_in_match, "VAR", st_in_var, start_var<DFA>},
    {st_in_operations, "ENV-INSERT", st_insert_start, start_insert},
    {st_in_operations, "ENV-REMOVE", st_remove_start, start_remove},
    {st_in_operations, "ENV-DELETE", st_delete_name, start_delete},
    {st_insert_start, "NAME", st_insert_name, start_text},
    {st_insert_named, "VALUE", st_insert_value, start_text},
    {st_insert_constraints, "BEFORE", st_before, start_text},
    {st_insert_constraints, "AFTER", st_after, start_text},
    {st_remove_start, "NAME", st_remove_name, start_text},
    {st_remove_values, "VALUE", st_remove_value, start_text},
};

constexpr END_RULE<DFA> kEnds[] = {
    {st_in_settings, "ENV-SETTINGS", st_final},
    {st_in_pattern, "PATTERN", st_in_operations, end_pattern},
    {st_in_match, "MATCH", st_in_pattern, end_match},
    {st_in_var, "VAR", st_in_match, end_var},
    {st_in_operations, "ENV-GROUP", st_in_settings, end_group},
    {st_insert_constraints, "ENV-INSERT", st_in_operations, end_op},
    {st_insert_name, "NAME", st_insert_named, end_name},
    {st_insert_value, "VALUE", st_insert_constraints, end_insert_value},
    {st_remove_values, "ENV-REMOVE", st_in_operations, end_op},
    {st_remove_name, "NAME", st_remove_values, end_name},
    {st_remove_value, "VALUE", st_remove_values, end_remove_value},
    {st_delete_name, "ENV-DELETE", st_in_operations, end_delete},
    {st_before, "BEFORE", st_insert_constraints, end_before},
    {st_after, "AFTER", st_insert_constraints, end_after},
};

// No checks: expansion brackets are the normal content of these files.
constexpr MACHINE kMachine{kStarts, kEnds, st_error, st_final, 0};

void expand_patterns(FwErrorState* err, FwVector* from, FwVector* to, WH_SYMTAB* symtab) {
  for (FwTextString pattern : texts(from))
    FwVectorAddElement(to, wh_expand(err, pattern, symtab));
}

}  // namespace

WH_ENV_SETTINGS* read_env_settings(FwErrorState* err, FwTextString file, WH_XML_PARSE_FLAGS flags) {
  DFA dfa;
  dfa.flags = flags;
  PARSER parser{&dfa,      start_element<kMachine>, end_element<kMachine>, nullptr,
                text_data, &kFormatOf<kMachine>};
  int done = run_reader(err, file, &parser, kMachine.final, VQN_XML_ERROR);
  if (done) dfa.settings->places = take_places(&dfa);
  release_reader(&dfa);
  if (!done) {
    free_env_op(&dfa.op);
    free_env_group(&dfa.group);
    free_env_settings(&dfa.settings);
    return nullptr;
  }
  return dfa.settings;
}

void free_env_settings(WH_ENV_SETTINGS** settings) {
  if (*settings == nullptr) return;
  FwVector* groups = &(*settings)->groups;
  for (WH_ENV_GROUP* group : elements<WH_ENV_GROUP>(groups))
    free_env_group(&group);
  FwVectorAbandon(groups, 0);
  FwMemPoolDestroy(&(*settings)->places);
  FwMemFreeAndClear(settings);
}

void free_env_op(WH_ENV_OP** op) {
  if (*op == nullptr) return;
  wh_free((*op)->name);
  if ((*op)->type == wh_env_insert)
    free_env_insert(&(*op)->u.ins);
  else
    free_env_remove(&(*op)->u.rem);
  FwMemFreeAndClear(op);
}

WH_ENV_OP* wh_expand_env_op(FwErrorState* err, WH_ENV_OP* op, WH_SYMTAB* symtab) {
  WH_ENV_OP* expanded = make_env_op(op->type, op->place);
  expanded->name = wh_expand(err, op->name, symtab);
  if (op->type == wh_env_insert)
    expanded->u.ins = wh_expand_env_insert(err, op->u.ins, symtab);
  else
    expanded->u.rem = wh_expand_env_remove(err, op->u.rem, symtab);
  return expanded;
}

WH_ENV_INSERT* wh_expand_env_insert(FwErrorState* err, WH_ENV_INSERT* ins, WH_SYMTAB* symtab) {
  WH_ENV_INSERT* expanded = make_env_insert(ins->sep);
  expanded->value = wh_expand(err, ins->value, symtab);
  expand_patterns(err, &ins->before, &expanded->before, symtab);
  expand_patterns(err, &ins->after, &expanded->after, symtab);
  if (err->pError != nullptr) free_env_insert(&expanded);
  return expanded;
}

WH_ENV_REMOVE* wh_expand_env_remove(FwErrorState* err, WH_ENV_REMOVE* rem, WH_SYMTAB* symtab) {
  WH_ENV_REMOVE* expanded = make_env_remove(rem->sep);
  expand_patterns(err, &rem->values, &expanded->values, symtab);
  if (err->pError != nullptr) free_env_remove(&expanded);
  return expanded;
}
