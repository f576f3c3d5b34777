// The expansion of recipes: copies of commands, their texts expanded.
#include "fcpp.h"
#include "recipe/records.h"

namespace {

WH_RUN_ARG* expand_run_arg(FwErrorState* err, WH_RUN_ARG* arg, WH_SYMTAB* symtab) {
  if (arg->type == wh_arg_data) return make_run_arg(wh_expand_data(err, arg->u.data, symtab));
  return make_run_arg(wh_expand(err, arg->u.str, symtab));
}

void expand_run_args(FwErrorState* err, FwVector* from, FwVector* to, WH_SYMTAB* symtab) {
  for (WH_RUN_ARG* arg : elements<WH_RUN_ARG>(from))
    FwVectorAddElement(to, expand_run_arg(err, arg, symtab));
}

// A new record with the strings of the record's first list expanded, and its arguments if it has
// any. All else is zero.
template <class RECORD>
RECORD* expand_record(FwErrorState* err, RECORD* from, WH_SYMTAB* symtab) {
  auto* to = make_record<RECORD>();
  for (TEXT_FIELD<RECORD> field : FIELDS<RECORD>::kExpanded)
    to->*field = wh_expand(err, from->*field, symtab);
  if constexpr (requires { from->args.nCurrentSize; })
    expand_run_args(err, &from->args, &to->args, symtab);
  return to;
}

void* expand_by_type(FwErrorState* err, WH_COMMAND* command, WH_SYMTAB* symtab) {
  switch (command->type) {
    case wh_cmd:
      return wh_expand_cmd(err, command->u.cmd, symtab);
    case wh_make:
      return wh_expand_cmd(err, command->u.make, symtab);
    case wh_run:
      return wh_expand_run(err, command->u.run, symtab);
    case wh_copy:
      return wh_expand_copy(err, command->u.copy, symtab);
    case wh_append:
      return wh_expand_data(err, command->u.append, symtab);
    case wh_delete:
      return wh_expand_delete(err, command->u.del, symtab);
    case wh_create:
      return wh_expand_data(err, command->u.create, symtab);
    case wh_dir:
      return wh_expand_dir(err, command->u.dir, symtab);
    case wh_setenv:
      return wh_expand_setenv(err, command->u.setenv, symtab);
    case wh_setreg:
      return wh_expand_setreg(err, command->u.setreg, symtab);
    case wh_shortcut:
      return wh_expand_shortcut(err, command->u.shortcut, symtab);
    case wh_java:
      return wh_expand_java(err, command->u.java, symtab);
    case wh_message:
      return wh_expand_message(err, command->u.message, symtab);
  }
  return nullptr;
}

}  // namespace

WH_COMMAND* wh_expand_command(FwErrorState* err, WH_COMMAND* command, WH_SYMTAB* symtab) {
  return make_command(command->type, expand_by_type(err, command, symtab));
}

WH_CMD* wh_expand_cmd(FwErrorState* err, WH_CMD* cmd, WH_SYMTAB* symtab) {
  return expand_record(err, cmd, symtab);
}

WH_RUN* wh_expand_run(FwErrorState* err, WH_RUN* run, WH_SYMTAB* symtab) {
  WH_RUN* expanded = expand_record(err, run, symtab);
  expanded->wait = run->wait;
  return expanded;
}

WH_COPY* wh_expand_copy(FwErrorState* err, WH_COPY* copy, WH_SYMTAB* symtab) {
  return expand_record(err, copy, symtab);
}

WH_DATA* wh_expand_data(FwErrorState* err, WH_DATA* data, WH_SYMTAB* symtab) {
  return expand_record(err, data, symtab);
}

// Kept, as part of the interface: ifempty goes over as it stands, without expansion.
WH_DELETE* wh_expand_delete(FwErrorState* err, WH_DELETE* del, WH_SYMTAB* symtab) {
  WH_DELETE* expanded = expand_record(err, del, symtab);
  expanded->ifempty = dup_str(del->ifempty);
  return expanded;
}

WH_DIR* wh_expand_dir(FwErrorState* err, WH_DIR* dir, WH_SYMTAB* symtab) {
  return expand_record(err, dir, symtab);
}

WH_SETENV* wh_expand_setenv(FwErrorState* err, WH_SETENV* setenv, WH_SYMTAB* symtab) {
  return expand_record(err, setenv, symtab);
}

WH_SETREG* wh_expand_setreg(FwErrorState* err, WH_SETREG* setreg, WH_SYMTAB* symtab) {
  return expand_record(err, setreg, symtab);
}

// Kept, as part of the interface: defaulticon is left unset.
FwFileShortcut* wh_expand_shortcut(FwErrorState* err, FwFileShortcut* shortcut, WH_SYMTAB* symtab) {
  return expand_record(err, shortcut, symtab);
}

WH_JAVA* wh_expand_java(FwErrorState* err, WH_JAVA* java, WH_SYMTAB* symtab) {
  return expand_record(err, java, symtab);
}

WH_MESSAGE* wh_expand_message(FwErrorState* err, WH_MESSAGE* message, WH_SYMTAB* symtab) {
  return expand_record(err, message, symtab);
}
