#include "emission.h"

#include <algorithm>
#include <csignal>
#include <cstdio>

#include "fcpp.h"
#include "fwfile.h"
#include "fwmem.h"
#include "fwrun.h"
#include "output.h"

namespace {

struct DIALECT {
  const char* head;
  const char* set;
  const char* unset;
};

const DIALECT kBatDialect = {"", "set %s=%s\n", "set %s=\n"};
const DIALECT kShDialect = {"", "%s='%s'; export %s\n", "unset %s ;\n"};
const DIALECT kCshDialect = {"", "setenv %s '%s' ;\n", "unsetenv %s ;\n"};
// Kept, as the text of the output: under a shell of the sh family the assignment runs through eval,
// so its value is parsed twice.
const DIALECT kPoshDialect = {
    "test $?shell = 1 && set setcmd=setenv && set eq=' ' && set unsetcmd=unsetenv;\n"
    "test $?shell != 1 && setcmd=eval && eq== && unsetcmd=unset;\n",
    "$setcmd %s$eq'%s' ;\ntest $?shell != 1 && export %s ;\n", "$unsetcmd %s ;\n"};

int32 list_entry(FwHashEntry* entry, void* list, FwErrorState*) {
  FwVectorAddElement(static_cast<FwVector*>(list), entry);
  return 1;
}

// The entries of a table in the order of the script.
struct ENTRIES : LocalVector {
  explicit ENTRIES(WH_ENVIRON* env)
      : LocalVector(std::max(1, static_cast<int32>(env->variables->nUsedEntries)),
                    Elements::kKept) {
    wh_sorted_enumerate_environ(env, list_entry, this, nullptr);
  }
};

void print_entries(const ENTRIES& list, FwHashIterationFn* print, print_context con) {
  for (FwHashEntry* entry : elements<FwHashEntry>(&list))
    print(entry, &con, nullptr);
}

// Both walks are done before anything is printed, so that exhausted memory can't end a script
// half-way.
void print_difference(const DIALECT& dialect, WH_ENVIRON* oldenv, WH_ENVIRON* newenv) {
  const ENTRIES new_entries(newenv);
  const ENTRIES old_entries(oldenv);
  std::fputs(dialect.head, stdout);
  print_entries(new_entries, print_new, {oldenv, const_cast<char*>(dialect.set)});
  print_entries(old_entries, print_del, {newenv, const_cast<char*>(dialect.unset)});
}

FwTextString name_of(FwHashEntry* entry) {
  return static_cast<FwTextString>(entry->key);
}
FwTextString value_of(FwHashEntry* entry) {
  return static_cast<FwTextString>(entry->value);
}

}  // namespace

int32 print_new(FwHashEntry* entry, void* context, FwErrorState*) {
  const auto* con = static_cast<print_context*>(context);
  FwTextString old_value = wh_lookup_ev(name_of(entry), con->env);
  if (!old_value || !wh_env_equal(old_value, value_of(entry)))
    std::printf(con->fmt, name_of(entry), value_of(entry), name_of(entry));
  return 1;
}

int32 print_del(FwHashEntry* entry, void* context, FwErrorState*) {
  const auto* con = static_cast<print_context*>(context);
  if (!wh_lookup_ev(name_of(entry), con->env)) std::printf(con->fmt, name_of(entry));
  return 1;
}

int32 printval(FwHashEntry* entry, void*, FwErrorState*) {
  std::printf("%s=%s\n", FWC(name_of(entry)), FWC(value_of(entry)));
  return 1;
}

void print_env(WH_ENVIRON* env) {
  if (env)
    wh_enumerate_environ(env, printval, nullptr, nullptr);
  else
    std::printf("null environment\n");
}

void print_bat(WH_ENVIRON* oldenv, WH_ENVIRON* newenv) {
  print_difference(kBatDialect, oldenv, newenv);
}

void print_sh(WH_ENVIRON* oldenv, WH_ENVIRON* newenv) {
  print_difference(kShDialect, oldenv, newenv);
}

void print_csh(WH_ENVIRON* oldenv, WH_ENVIRON* newenv) {
  print_difference(kCshDialect, oldenv, newenv);
}

void print_posh(WH_ENVIRON* oldenv, WH_ENVIRON* newenv) {
  print_difference(kPoshDialect, oldenv, newenv);
}

void execute_program(FwErrorState* err, WH_ENVIRON* newenv, FwTextString program, FwVector* args) {
  // The C library has no other reason to refuse a variable, and without it the program would run in
  // an environment that nobody asked for.
  if (!wh_set_process_env(err, newenv) || wh_env_incomplete) FwMemExitMemoryExhausted();
  // What this run printed comes before what the program prints.
  output_taken();
  lend_output();
  // A caller that ignores the ends of its children has left that to this process, and then nobody
  // could be told of the program's end. The program starts with the default too: whether an ignored
  // SIGCHLD outlives exec is not settled, so that no program counts on it.
  std::signal(SIGCHLD, SIG_DFL);
  FwRunProgram(err, program, args, FwCurrentDir(), 1);
  open_output();
}
