// Recipe files (setup.xml, unset.xml, prep.xml, install.xml, uninstall.xml): ordered steps of
// commands, each step under a condition on the variety. They are the older way of saying what a
// set-up or an installation does.
//
//   <RECIPE>
//     <STEP ui="gui">
//       <PATTERN><MATCH><VAR n="platform" v="unix"/></MATCH></PATTERN>
//       <SETENV op="prepend" name="PATH" value="%(BASE-CNVR)/bin"/>
//       <RUN program="bin/configure"><ARG>--quiet</ARG></RUN>
//     </STEP>
//   </RECIPE>
//
// The whole model is read, because a malformed file fails its product. Of the commands only
// wh_setenv is ever carried out here, by wh_legacy_setenv; nothing else of a recipe is run.
//
// The name of the file decides what it may hold: SETENV belongs to setup.xml, unset.xml and
// prep.xml, which in turn may hold no DELETE and no DIR; every MATCH of install.xml and
// uninstall.xml must have a host.
#ifndef RECIPE_H
#define RECIPE_H

#include "environ.h"
#include "fwstring.h"
#include "fwvector.h"
#include "readdata.h"
#include "traverse.h"
#include "warehouse.h"

enum WH_COMMAND_TYPE {
  wh_cmd = 0,
  wh_make = 1,
  wh_run = 2,
  wh_copy = 3,
  wh_append = 4,
  wh_delete = 5,
  wh_create = 6,
  wh_dir = 7,
  wh_setenv = 8,
  wh_setreg = 9,
  wh_shortcut = 10,
  wh_java = 11,
  wh_message = 12,
};

// Strings are owned by their record. An attribute that the file leaves out, and that has no
// default, is null.

struct WH_CMD {
  FwTextString command;
  FwTextString cwd;
  FwTextString feedback;
};

// A file and its contents, or what an argument is made of.
struct WH_DATA {
  FwTextString contents;
  FwTextString file;
  FwTextString creator;
  FwTextString type;
  FwTextString mode;
  FwTextString eol;
};

enum WH_ARG_TYPE { wh_arg_str = 0, wh_arg_data = 1 };

struct WH_RUN_ARG {
  WH_ARG_TYPE type;
  union {
    FwTextString str;
    WH_DATA* data;
  } u;
};

struct WH_RUN {
  FwTextString program;
  FwTextString cwd;
  int wait;
  FwTextString feedback;
  FwVector args;  // of WH_RUN_ARG*, owned
};

struct WH_COPY {
  FwTextString from;
  FwTextString to;
  FwTextString onlyifabsent;
};

struct WH_DELETE {
  FwTextString path;
  FwTextString ifempty;
};

struct WH_DIR {
  FwTextString path;  // with a trailing separator
  FwTextString mode;
};

struct WH_SETENV {
  FwTextString op;
  FwTextString name;
  FwTextString value;
  FwTextString context;
};

struct WH_SETREG {
  FwTextString op;
  FwTextString hive;
  FwTextString key;
  FwTextString value;
  FwTextString data;
  FwTextString type;
};

struct FwFileShortcut {
  FwTextString op;
  FwTextString name;
  FwTextString program;
  FwTextString args;
  FwTextString icon;
  FwTextString folder;
  FwTextString workdir;
  FwTextString defaulticon;
};

struct WH_JAVA {
  FwTextString name;
  FwTextString entry;
  FwTextString location;
  FwVector args;  // of WH_RUN_ARG*, owned
};

struct WH_MESSAGE {
  FwTextString title;
  FwTextString text;
};

struct WH_COMMAND {
  WH_COMMAND_TYPE type;
  union {
    WH_CMD* cmd;
    WH_CMD* make;
    WH_RUN* run;
    WH_COPY* copy;
    WH_DATA* append;
    WH_DELETE* del;
    WH_DATA* create;
    WH_DIR* dir;
    WH_SETENV* setenv;
    WH_SETREG* setreg;
    FwFileShortcut* shortcut;
    WH_JAVA* java;
    WH_MESSAGE* message;
  } u;
  const WH_PLACE* place;  // not owned; null unless places were asked for (readdata.h)
};

struct WH_STEP {
  WH_PATTERN* pattern;
  FwVector commands;  // of WH_COMMAND*, owned
  FwTextString ui;
};

struct WH_RECIPE {
  FwVector steps;     // of WH_STEP*, owned
  FwMemPool* places;  // owned: the places in the records; null for none
};

// Takes what a running command writes.
using WH_PIPE_FUNC = void (*)(FwTextString text, void* wxdata);

// The state of a program that runs a recipe.
struct WH_RECIPE_DATA {
  FwTextString ui;
  FwObj* progress;
  FwHashTable* deferred;  // text to text, owned
  WH_PIPE_FUNC readpipe;
  void* wxdata;
};

// Reads a recipe. The result belongs to the caller, who frees it with free_recipe; it is null on
// failure.
// Errors: those of opening and reading, a missing file among them; the VQN_XML_ERROR family
// (vqnexpat.h) for what is no XML; whErrorInvalid for elements out of place and values that are
// refused; whErrorHostNeeded; the located kinds of wherror.h that flags ask for.
WH_RECIPE* read_recipe(FwErrorState* err, FwTextString file, WH_XML_PARSE_FLAGS flags);

// Frees the recipe with all that it owns and nulls the pointer. A null recipe is accepted.
void free_recipe(WH_RECIPE** recipe);

// Appends string to rec with its line ends turned into those of style: "cr", "crlf" or "lf"; null
// and any other word mean the host's own. A CR that comes anywhere behind an LF is dropped, one for
// each; every other CR and LF is a line end of its own, so that CR LF gives two.
void wh_convert_eol(FwTextString string, FwStrRecord* rec, FwTextString style);

// For programs on this library: a zeroed record with a copy of ui and an empty table, and its
// release, which nulls the pointer and accepts null.
WH_RECIPE_DATA* make_recipe_data(FwTextString ui);
void free_recipe_data(WH_RECIPE_DATA** data);

// A command with its records, of which it takes ownership, and its release, which nulls the pointer
// and accepts null. value is the record of the type.
WH_COMMAND* make_command(WH_COMMAND_TYPE type, void* value);
void free_command(WH_COMMAND** command);

// New records with their text expanded, which the caller frees (free_command for a command). They
// come back whole in any case: a fault in one field stays in err, where the fault of a later field
// replaces it, and the caller tests err.
WH_COMMAND* wh_expand_command(FwErrorState* err, WH_COMMAND* command, WH_SYMTAB* symtab);
WH_CMD* wh_expand_cmd(FwErrorState* err, WH_CMD* cmd, WH_SYMTAB* symtab);
WH_RUN* wh_expand_run(FwErrorState* err, WH_RUN* run, WH_SYMTAB* symtab);
WH_COPY* wh_expand_copy(FwErrorState* err, WH_COPY* copy, WH_SYMTAB* symtab);
WH_DATA* wh_expand_data(FwErrorState* err, WH_DATA* data, WH_SYMTAB* symtab);
WH_DELETE* wh_expand_delete(FwErrorState* err, WH_DELETE* del, WH_SYMTAB* symtab);
WH_DIR* wh_expand_dir(FwErrorState* err, WH_DIR* dir, WH_SYMTAB* symtab);
WH_SETENV* wh_expand_setenv(FwErrorState* err, WH_SETENV* setenv, WH_SYMTAB* symtab);
WH_SETREG* wh_expand_setreg(FwErrorState* err, WH_SETREG* setreg, WH_SYMTAB* symtab);
FwFileShortcut* wh_expand_shortcut(FwErrorState* err, FwFileShortcut* shortcut, WH_SYMTAB* symtab);
WH_JAVA* wh_expand_java(FwErrorState* err, WH_JAVA* java, WH_SYMTAB* symtab);
WH_MESSAGE* wh_expand_message(FwErrorState* err, WH_MESSAGE* message, WH_SYMTAB* symtab);

// For programs on this library: 1 if a step of one user interface is to be run under the other,
// because either is null or both are equal.
int ui_matches(FwTextString ui1, FwTextString ui2);

// Replays the SETENV commands of the products that have neither env.xml nor unenv.xml, and of all
// their parts, onto the table: those of setup.xml if set is not 0, otherwise those of unset.xml.
// A product's parts act before itself. context, which may not be null and stays the caller's, is
// added to the symbol table of every product. A fault ends its step and goes to error, which may be
// null.
void wh_legacy_setenv(WH_INDEX* index, WH_ENVIRON* environ, WH_PRODUCT_SPEC_LIST* speclist,
                      WH_CONTEXT* context, WH_ERROR_FUNC error, int set);

struct LISTS;  // private to the replay

// The record that the walk of wh_legacy_setenv carries, and its two callbacks.
struct SETENV_STATE {
  WH_ENVIRON* environ;
  WH_CONTEXT* context;
  int set;
  LISTS* lists = nullptr;  // private: variables that are taken apart meanwhile
};
void old_setenv_in_variety(WH_CALL_ENV* callenv, WH_VARIETY* variety, WH_PRODUCT* product);
void old_setenv_in_spec(WH_CALL_ENV* callenv, WH_PRODUCT_SPEC* spec);

// Carries out one command on the table; a null table means that there is nothing to do. err is
// never set. List operations take the variable as elements between colons, out of which all that
// equal the value are taken first.
void emulate_setenv(FwErrorState* err, WH_SETENV* setenv, WH_ENVIRON* environ);

#endif
