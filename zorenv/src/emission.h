// The output of a run: a script of the difference between two environments, or a program started in
// the new one.
//
// The script is for the caller's shell to evaluate. Assignments come first, then removals, each in
// the order of the table's slots; a variable is written only if it is new or its value changed.
// Values stand between single quotes as they are: nothing is escaped, and --bat does not quote at
// all.
#ifndef EMISSION_H
#define EMISSION_H

#include "environ.h"
#include "fwerror.h"
#include "fwhash.h"
#include "fwvector.h"

// What the callbacks of one pass over a table receive.
struct print_context {
  WH_ENVIRON* env;  // the table to compare against
  char* fmt;        // the format of one record
};

// Iteration functions over the entries of a table; each returns 1, so that the walk goes on. err is
// not used. print_new writes a variable that context->env lacks or holds with another value;
// print_del writes the removal of a variable that context->env lacks.
int32 print_new(FwHashEntry* entry, void* context, FwErrorState* err);
int32 print_del(FwHashEntry* entry, void* context, FwErrorState* err);
// For debugging, in programs on the library: printval writes "name=value", print_env all of them.
int32 printval(FwHashEntry* entry, void* context, FwErrorState* err);
void print_env(WH_ENVIRON* env);

// Writes the difference on standard output in one dialect.
void print_bat(WH_ENVIRON* oldenv, WH_ENVIRON* newenv);
void print_sh(WH_ENVIRON* oldenv, WH_ENVIRON* newenv);
void print_csh(WH_ENVIRON* oldenv, WH_ENVIRON* newenv);
// With two head lines that make the script run under both families of shells; they are written
// even if there is no difference.
void print_posh(WH_ENVIRON* oldenv, WH_ENVIRON* newenv);

// Puts newenv into this process and runs the program there, in the directory of the start, waiting
// for its end. An exit status other than 0 sets fwErrorFromCommand, an end by a signal or a failed
// start fwErrorCallingCommand.
void execute_program(FwErrorState* err, WH_ENVIRON* newenv, FwTextString program, FwVector* args);

#endif
