// The command line: what the user asked for, in the groups in which it was asked.
#ifndef COMMANDLINE_H
#define COMMANDLINE_H

#include "environ.h"
#include "fwerror.h"
#include "fwvector.h"
#include "warehouse.h"

struct COMMAND_LINE {
  char* program_name;                // as in argv[0]
  FwTextString zorroot;              // the root that the environment names, or null
  FwTextString basedir;              // the root of the installation as given; null if there is none
  FwVector group_querylists;         // a WH_PRODUCT_QUERY_LIST* for each group
  WH_PRODUCT_QUERY_LIST* querylist;  // the group now being filled
  WH_PRODUCT_NAME* prodname;         // the most recent -p; null if no product was named
  WH_VAR** v;                        // where the next -v is linked in; null before the first -p
  WH_ENVIRON* oldenv;                // the environment that an option asked to start from, or null
  FwErrorState err;                  // one state for the whole run
  int sys, user, proc;               // where the starting environment comes from
  int bat, sh, csh, posh, execute;   // output modes
  int set;                           // 0: undo
  int emulate;                       // replay old recipes; no option clears it
  int ignore_missing;
  FwTextString program;  // what --exec runs
  FwVector args;         // and its arguments, without the program
};

// Reads the whole command line into line, which is zeroed. Bad usage ends the process with the
// usage text on standard output and status 1. The strings of argv are referred to, and the
// separators in a category are rewritten in place.
void read_command_line(COMMAND_LINE* line, int argc, char** argv);

#endif
