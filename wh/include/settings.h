// The environment settings files, env.xml and unenv.xml: the operations that set up a product's
// environment, and those that undo it.
//
//   <ENV-SETTINGS>
//     <ENV-GROUP>
//       <PATTERN><MATCH><VAR n="platform" v="unix"/></MATCH></PATTERN>
//       <ENV-INSERT sep=":">
//         <NAME>PATH</NAME><VALUE>%(BASE-CNVR)/bin</VALUE>
//         <BEFORE>**</BEFORE><AFTER>/opt/**</AFTER>
//       </ENV-INSERT>
//       <ENV-REMOVE><NAME>PATH</NAME><VALUE>/old/**</VALUE></ENV-REMOVE>
//       <ENV-DELETE>OLDVAR</ENV-DELETE>
//     </ENV-GROUP>
//   </ENV-SETTINGS>
//
// A group applies to the varieties that meet its pattern. Text is kept byte for byte, blanks and
// expansion forms included; the wh_expand_env_ functions expand one operation.
#ifndef SETTINGS_H
#define SETTINGS_H

#include "fwvector.h"
#include "readdata.h"
#include "warehouse.h"

enum WH_ENV_OP_TYPE { wh_env_insert = 0, wh_env_remove = 1, wh_env_delete = 2 };

// One element to insert. The elements that match a before pattern must come behind it, those that
// match an after pattern in front of it.
struct WH_ENV_INSERT {
  FwTextString value;
  FwTextCharacter sep;  // the variable's separator; 0 if unset
  FwVector before;      // of FwTextString, owned
  FwVector after;       // of FwTextString, owned
};

// The elements to remove. Deleting a variable is a remove of "**".
struct WH_ENV_REMOVE {
  FwTextCharacter sep;  // 0 if unset
  FwVector values;      // of FwTextString, glob patterns, owned
};

struct WH_ENV_OP {
  WH_ENV_OP_TYPE type;
  FwTextString name;  // a variable, or a glob pattern over variables
  union {
    WH_ENV_INSERT* ins;  // wh_env_insert
    WH_ENV_REMOVE* rem;  // wh_env_remove, wh_env_delete
  } u;
  const WH_PLACE* place;  // not owned; null unless places were asked for (readdata.h)
};

struct WH_ENV_GROUP {
  WH_PATTERN* pattern;  // null: the group always applies
  FwVector ops;         // of WH_ENV_OP*, owned, in file order
};

struct WH_ENV_SETTINGS {
  FwVector groups;    // of WH_ENV_GROUP*, owned, in file order
  FwMemPool* places;  // owned: the places in the records; null for none
};

// Reads a settings file. The result belongs to the caller, who frees it with free_env_settings; it
// is null on failure. Expansion brackets are the normal content of these files, so that flags
// select no error here. Errors: those of opening and reading, a missing file among them; the
// VQN_XML_ERROR family (vqnexpat.h).
WH_ENV_SETTINGS* read_env_settings(FwErrorState* err, FwTextString file, WH_XML_PARSE_FLAGS flags);

// Frees the settings with all that they own and nulls the pointer. A null pointer to settings is
// accepted.
void free_env_settings(WH_ENV_SETTINGS** settings);

// Frees an operation, its u null or not, and nulls the pointer. A null operation is accepted.
void free_env_op(WH_ENV_OP** op);

// A new operation with all text expanded and the same place, which the caller frees with
// free_env_op. It is never null, but after an error its u may be: the caller tests err. Errors:
// those of wh_expand (warehouse.h).
WH_ENV_OP* wh_expand_env_op(FwErrorState* err, WH_ENV_OP* op, WH_SYMTAB* symtab);

// The same for the two kinds of content. Null if err holds an error afterwards.
WH_ENV_INSERT* wh_expand_env_insert(FwErrorState* err, WH_ENV_INSERT* ins, WH_SYMTAB* symtab);
WH_ENV_REMOVE* wh_expand_env_remove(FwErrorState* err, WH_ENV_REMOVE* rem, WH_SYMTAB* symtab);

#endif
