#include "commandline.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fwfile.h"
#include "output.h"
#include "whbootfw.h"

namespace {

// Kept, as the text of the output: "--sys" stands in the first lines though only --system is
// accepted, and the fields of a product stand in another order than they are read in.
const char kUsageText[] =
    "usage:\n       %s [-r root] [-u] <product>... [--and <product>...]...\n"
    "[--user|--sys|--proc] [--bat|--sh|--csh|--posh|--exec program [args]]\n"
    "\nwhere\n"
    "   -r <root>        the root path of the installation\n"
    "   -u               undo the environment variable settings\n"
    "   -p <product>     the product to generate environment variable settings for\n"
    "   --user           update the Windows USER area of the registry\n"
    "   --system         update the Windows SYSTEM area of the registry\n"
    "   --proc           use the current process environment as the basis of change\n"
    "   --sh             generate a sh syntax shell script\n"
    "   --csh            generate a csh syntax shell script\n"
    "   --posh           generate a portable shell script\n"
    "   --exec           execute a program in the new environment\n"
    "   --ignore-missing do not give error messages if products named with -p are missing\n"
    "and\n"
    "   <product>   is   -p category version name rev [-v name value]...\n"
    "                    eg. -p QVD\n"
    "                        -p QVD Contents 1.8 5\n"
    "                        -p QVDS Contents 2.2 6 -v platform solaris-sparc\n\n"
    "-p product1 -p product2          checks for clashes between products\n"
    "-p product1 --and -p product2    product2 overrides product1\n"
    "\nDefault is --posh on Unix, --system on Windows.\n";

[[noreturn]] void usage(const COMMAND_LINE* line) {
  std::printf(kUsageText, line->program_name);
  output_taken();
  std::exit(1);
}

// The arguments not yet read.
struct ARGUMENTS {
  int argc;
  char** argv;

  // The argument at a distance from the option at hand, null behind the last.
  char* at(int distance) const { return distance < argc ? argv[distance] : nullptr; }
  // Whether there is such an argument and it does not look like an option. An empty one is free.
  bool free(int distance) const { return at(distance) && at(distance)[0] != '-'; }
  void consume(int count) {
    argc -= count;
    argv += count;
  }
};

char latest[] = "+";
char default_name[] = "Contents";

bool is_latest(const char* field) {
  return std::strcmp(field, latest) == 0;
}

// A name can't begin with a digit: such a field is a version. Neither is a name left open.
bool is_no_name(const char* field) {
  return (field[0] >= '0' && field[0] <= '9') || is_latest(field);
}

void add_group(COMMAND_LINE* line) {
  line->querylist = make_querylist();
  FwVectorAddElement(&line->group_querylists, line->querylist);
}

// -p category [name] [version] [rev]
void read_product(COMMAND_LINE* line, ARGUMENTS* args) {
  if (!args->at(1)) usage(line);
  char* category = args->at(1);
  char* name = latest;
  char* version = latest;
  char* rev = latest;
  int consumed = 2;
  if (args->free(2) && args->free(3) && args->free(4)) {
    if (is_no_name(args->at(2))) {
      // A fourth field stays on the line, where it ends the options.
      version = args->at(2);
      rev = args->at(3);
      consumed = 4;
    } else {
      name = args->at(2);
      version = args->at(3);
      rev = args->at(4);
      consumed = 5;
    }
  } else {
    if (args->free(2)) {
      name = args->at(2);
      consumed = 3;
      if (args->free(3)) {
        version = args->at(3);
        consumed = 4;
      }
    }
    if (is_no_name(name)) {
      rev = version;
      version = name;
      name = latest;
    }
  }
  if (is_latest(name)) name = default_name;

  line->prodname = make_prodname(FWT(category), FWT(name), FWT(version), FWT(rev));
  WH_PATTERN* pattern = make_pattern();
  add_query(line->querylist, make_query(line->prodname, pattern, line->ignore_missing));
  line->v = &pattern->vars;
  args->consume(consumed);
}

// -v name value
void read_variable(COMMAND_LINE* line, ARGUMENTS* args) {
  if (!args->at(1) || !args->at(2) || !line->v) usage(line);
  *line->v = make_var(FWT(args->at(1)), FWT(args->at(2)));
  line->v = &(*line->v)->next;
  args->consume(3);
}

void read_exec(COMMAND_LINE* line, ARGUMENTS* args) {
  line->execute = 1;
  if (!args->at(1)) usage(line);
  line->program = FWT(args->at(1));
  args->consume(2);
}

using AREA_FUNC = WH_ENVIRON*(FwErrorState*);

void start_from(COMMAND_LINE* line, int* flag, AREA_FUNC* area) {
  *flag = 1;
  if (line->oldenv) free_environ(&line->oldenv);
  line->oldenv = area(&line->err);
}

// The second character by which a long option is known as well.
struct LONG_OPTION {
  const char* name;
  char letter;
};

const LONG_OPTION kLongOptions[] = {
    {"--and", 'A'},    {"--ignore-missing", 'i'}, {"--exec", 'X'},
    {"--system", 'S'}, {"--user", 'U'},           {"--proc", 'P'},
};

struct OUTPUT_OPTION {
  const char* name;
  int COMMAND_LINE::*flag;
};

const OUTPUT_OPTION kOutputOptions[] = {
    {"--bat", &COMMAND_LINE::bat},
    {"--sh", &COMMAND_LINE::sh},
    {"--csh", &COMMAND_LINE::csh},
    {"--posh", &COMMAND_LINE::posh},
};

// An option in its short form is known by its second character alone: what stands behind it is not
// looked at.
void read_option(COMMAND_LINE* line, ARGUMENTS* args, char letter) {
  switch (letter) {
    case 'p':
      return read_product(line, args);
    case 'v':
      return read_variable(line, args);
    case 'r':
      if (!args->at(1)) usage(line);
      line->basedir = FWT(args->at(1));
      return args->consume(2);
    case 'u':
      line->set = 0;
      break;
    case 'T':
      wh_trace = 1;
      break;
    case 'A':
      add_group(line);
      break;
    case 'i':
      line->ignore_missing = 1;
      break;
    case 'X':
      return read_exec(line, args);
    case 'S':
      start_from(line, &line->sys, wh_get_system_env);
      break;
    case 'U':
      start_from(line, &line->user, wh_get_user_env);
      break;
    case 'P':
      start_from(line, &line->proc, wh_get_process_env);
      break;
    default:
      usage(line);
  }
  args->consume(1);
}

void read_long_option(COMMAND_LINE* line, ARGUMENTS* args) {
  for (const OUTPUT_OPTION& option : kOutputOptions)
    if (std::strcmp(args->at(0), option.name) == 0) {
      line->*option.flag = 1;
      return args->consume(1);
    }
  for (const LONG_OPTION& option : kLongOptions)
    if (std::strcmp(args->at(0), option.name) == 0) return read_option(line, args, option.letter);
  usage(line);
}

}  // namespace

void read_command_line(COMMAND_LINE* line, int argc, char** argv) {
  line->program_name = argc > 0 && argv[0] ? argv[0] : const_cast<char*>("");
  line->zorroot = getenv_UTF8(FWT("ZORROOT"));
  line->basedir = line->zorroot ? line->zorroot : FwCurrentDir();
  line->set = 1;
  line->emulate = 1;
  FwVectorOpen(&line->group_querylists, 2);
  add_group(line);

  ARGUMENTS args{argc, argv};
  args.consume(1);
  while (!line->execute && args.argc > 0 && args.at(0)[0] == '-') {
    if (args.at(0)[1] == '-')
      read_long_option(line, &args);
    else
      read_option(line, &args, args.at(0)[1]);
  }
  if (line->execute) {
    FwVectorOpen(&line->args, args.argc + 1);
    for (; args.argc > 0; args.consume(1))
      FwVectorAddElement(&line->args, args.at(0));
  }
  if (!line->prodname || args.argc > 0) usage(line);
}
