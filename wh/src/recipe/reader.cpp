// The reader of recipes: one machine for files of all names, which differ in what they may hold.
#include <cstring>

#include "fwfile.h"
#include "fwstring.h"
#include "recipe/records.h"
#include "wherror.h"
#include "whreaddata.h"

namespace {

const char host_eol[] = "\n";

// ---- The format ---------------------------------------------------------------------------------

// Number 27 has never been given.
enum STATE {
  st_initial = 0,
  st_in_recipe = 1,
  st_step_start = 2,
  st_in_step = 3,
  st_in_pattern = 4,
  st_in_match = 5,
  st_in_var = 6,
  st_cmd_text = 7,
  st_make_text = 8,
  st_in_run = 9,
  st_run_arg_text = 10,
  st_run_data_text = 11,
  st_create_data_text = 12,
  st_append_data_text = 13,
  st_create_data_end = 14,
  st_append_data_end = 15,
  st_in_copy = 16,
  st_in_create = 17,
  st_in_append = 18,
  st_delete_text = 19,
  st_dir_text = 20,
  st_in_setenv = 21,
  st_in_setreg = 22,
  st_in_shortcut = 23,
  st_in_java = 24,
  st_java_arg_text = 25,
  st_java_data_text = 26,
  st_message_text = 28,
  st_error = 29,
  st_final = 30,
};

// What the file's name decides.
struct KIND {
  const char* leaf;  // null for any other name
  int version;
  int needhost;
};

const KIND kKinds[] = {
    {"setup.xml", 3, 0},   {"unset.xml", 3, 0},     {"prep.xml", 3, 0},
    {"install.xml", 4, 1}, {"uninstall.xml", 4, 1}, {nullptr, 4, 0},
};

struct DFA : READER {
  int version = 0;
  int needhost = 0;
  WH_RECIPE* recipe = nullptr;
  WH_STEP* step = nullptr;          // the recipe's
  WH_COMMAND* command = nullptr;    // until it is added to the step
  WH_DATA* data = nullptr;          // until it becomes an argument or a command
  const WH_PLACE* place = nullptr;  // of the last command
};

// An attribute, the field that it fills, and what stands for it if it is absent.
template <class RECORD>
struct ATTR {
  const char* name;
  TEXT_FIELD<RECORD> field;
  const char* deflt = nullptr;
};

constexpr ATTR<WH_CMD> kCmdAttrs[] = {
    {"cwd", &WH_CMD::cwd, "%(BASE-CNVR)"},
    {"feedback", &WH_CMD::feedback, "no"},
};

constexpr ATTR<WH_CMD> kMakeAttrs[] = {
    {"cwd", &WH_CMD::cwd, "%(BASE-CNVR)"},
};

constexpr ATTR<WH_RUN> kRunAttrs[] = {
    {"program", &WH_RUN::program},
    {"cwd", &WH_RUN::cwd, "%(BASE-CNVR)"},
    {"feedback", &WH_RUN::feedback, "no"},
};

constexpr ATTR<WH_COPY> kCopyAttrs[] = {
    {"from", &WH_COPY::from},
    {"to", &WH_COPY::to},
    {"onlyifabsent", &WH_COPY::onlyifabsent, "no"},
};

constexpr ATTR<WH_DELETE> kDeleteAttrs[] = {
    {"ifempty", &WH_DELETE::ifempty},
};

constexpr ATTR<WH_DIR> kDirAttrs[] = {
    {"mode", &WH_DIR::mode},
};

constexpr ATTR<WH_SETENV> kSetenvAttrs[] = {
    {"op", &WH_SETENV::op, "set"},
    {"name", &WH_SETENV::name},
    {"value", &WH_SETENV::value},
    {"context", &WH_SETENV::context, "user"},
};

constexpr ATTR<WH_SETREG> kSetregAttrs[] = {
    {"op", &WH_SETREG::op, "CREATE"}, {"hive", &WH_SETREG::hive}, {"key", &WH_SETREG::key},
    {"value", &WH_SETREG::value},     {"data", &WH_SETREG::data}, {"type", &WH_SETREG::type},
};

constexpr ATTR<FwFileShortcut> kShortcutAttrs[] = {
    {"op", &FwFileShortcut::op},           {"name", &FwFileShortcut::name},
    {"program", &FwFileShortcut::program}, {"args", &FwFileShortcut::args},
    {"icon", &FwFileShortcut::icon},       {"folder", &FwFileShortcut::folder},
    {"workdir", &FwFileShortcut::workdir},
};

constexpr ATTR<WH_JAVA> kJavaAttrs[] = {
    {"name", &WH_JAVA::name},
    {"entry", &WH_JAVA::entry, "main"},
    {"location", &WH_JAVA::location, "%(BASE-CNVR)"},
};

constexpr ATTR<WH_MESSAGE> kMessageAttrs[] = {
    {"title", &WH_MESSAGE::title},
};

constexpr ATTR<WH_DATA> kDataAttrs[] = {
    {"file", &WH_DATA::file}, {"creator", &WH_DATA::creator}, {"type", &WH_DATA::type},
    {"mode", &WH_DATA::mode}, {"eol", &WH_DATA::eol},
};

// Words that an attribute may hold, in any case.
constexpr const char* kSetenvOps[] = {"set",      "delete",  "append",
                                      "unappend", "prepend", "unprepend"};
constexpr const char* kSetenvContexts[] = {"all", "user"};
constexpr const char* kShortcutOps[] = {"create", "forcecreate", "delete"};

// Whether the value of an attribute is one of the words. Otherwise the element is refused.
template <std::size_t N>
bool is_one_of(ELEMENT* element, const char* attribute, FwTextString value,
               const char* const (&words)[N]) {
  for (const char* one : words)
    if (FwStrEqualFolded(value, FWT(one))) return true;
  refuse_value(element, st_error, attribute, FWC(value), words, N);
  return false;
}

template <class RECORD, std::size_t N>
RECORD* record_from(ELEMENT* element, const ATTR<RECORD> (&attrs)[N]) {
  auto* record = make_record<RECORD>();
  for (const ATTR<RECORD>& a : attrs)
    record->*a.field = a.deflt == nullptr
                           ? attr(a.name, element->atts, &element->seen)
                           : attr_default(a.name, element->atts, FWT(a.deflt), &element->seen);
  return record;
}

void add_command(DFA* dfa, WH_COMMAND* command) {
  command->place = dfa->place;
  FwVectorAddElement(&dfa->step->commands, command);
}

// Closes rec and hands out its text with the line ends turned into those of eol.
FwTextString convert_and_close(FwStrRecord* rec, FwTextString eol) {
  const OwnedText text(FwStrRecordClose(rec));
  FwStrRecordOpen(rec);
  wh_convert_eol(text, rec, eol);
  return FwStrRecordClose(rec);
}

// The DATA element that ends here, with its text.
WH_DATA* take_data(DFA* dfa) {
  WH_DATA* data = dfa->data;
  dfa->textopen = 0;
  data->contents = convert_and_close(&dfa->text, data->eol);
  dfa->data = nullptr;
  return data;
}

// The command that ends here goes to the step.
void end_command(DFA* dfa) {
  add_command(dfa, dfa->command);
  dfa->command = nullptr;
}

FwVector* args_of(WH_COMMAND* command) {
  return command->type == wh_run ? &command->u.run->args : &command->u.java->args;
}

void start_recipe(DFA* dfa, ELEMENT* element) {
  check_doctype(element);
  dfa->recipe = make_recipe();
}

void start_step(DFA* dfa, ELEMENT* element) {
  dfa->step = make_step(attr("ui", element->atts, &element->seen));
  FwVectorAddElement(&dfa->recipe->steps, dfa->step);
}

void start_condition(DFA* dfa, ELEMENT* element) {
  start_pattern(dfa, element, &dfa->step->pattern);
}

void host_needed(DFA* dfa) {
  FwErrorSet(dfa->err, whErrorHostNeeded, 2, FWT("File"), dfa->filename);
}

void start_alternative(DFA* dfa, ELEMENT* element) {
  match_entry(dfa, element);
  if (!dfa->needhost || (*dfa->pattern)->host != nullptr) return;
  host_needed(dfa);
  refuse(element, st_error, wh_refused_host);
}

void start_cmd(DFA* dfa, ELEMENT* element) {
  dfa->command = make_command(wh_cmd, record_from(element, kCmdAttrs));
  opentext(dfa);
}

void start_make(DFA* dfa, ELEMENT* element) {
  dfa->command = make_command(wh_make, record_from(element, kMakeAttrs));
  opentext(dfa);
}

void end_cmd(DFA* dfa) {
  WH_CMD* cmd = dfa->command->type == wh_cmd ? dfa->command->u.cmd : dfa->command->u.make;
  cmd->command = closetext(dfa);
  end_command(dfa);
}

void start_run(DFA* dfa, ELEMENT* element) {
  WH_RUN* run = record_from(element, kRunAttrs);
  dfa->command = make_command(wh_run, run);
  const OwnedText wait(attr("wait", element->atts, &element->seen));
  run->wait = wait == nullptr || FwStrCompare(wait, FWT("yes")) == 0;
}

void start_text(DFA* dfa, ELEMENT*) {
  opentext(dfa);
}

void end_arg(DFA* dfa) {
  FwVectorAddElement(args_of(dfa->command), make_run_arg(closetext(dfa)));
}

void start_data(DFA* dfa, ELEMENT* element) {
  dfa->data = record_from(element, kDataAttrs);
  opentext(dfa);
}

// Kept, as part of the interface: a bracket in the DATA of a RUN asks for a host first, a word made
// for another fault. The bracket's own report follows and replaces it.
void start_run_data(DFA* dfa, ELEMENT* element) {
  start_data(dfa, element);
  if (element->seen & dfa->flags) host_needed(dfa);
}

void end_arg_data(DFA* dfa) {
  FwVectorAddElement(args_of(dfa->command), make_run_arg(take_data(dfa)));
}

void start_copy(DFA* dfa, ELEMENT* element) {
  dfa->command = make_command(wh_copy, record_from(element, kCopyAttrs));
}

void end_create_data(DFA* dfa) {
  add_command(dfa, make_command(wh_create, take_data(dfa)));
}

void end_append_data(DFA* dfa) {
  add_command(dfa, make_command(wh_append, take_data(dfa)));
}

void start_delete(DFA* dfa, ELEMENT* element) {
  if (dfa->version < 4) {
    refuse(element, st_error, wh_refused_file);
    return;
  }
  dfa->command = make_command(wh_delete, record_from(element, kDeleteAttrs));
  opentext(dfa);
}

void end_delete(DFA* dfa) {
  dfa->command->u.del->path = closetext(dfa);
  end_command(dfa);
}

void start_dir(DFA* dfa, ELEMENT* element) {
  if (dfa->version < 4) {
    refuse(element, st_error, wh_refused_file);
    return;
  }
  dfa->command = make_command(wh_dir, record_from(element, kDirAttrs));
  opentext(dfa);
}

void end_dir(DFA* dfa) {
  FwFileEnsureTrailingSeparator(&dfa->text);
  dfa->command->u.dir->path = closetext(dfa);
  end_command(dfa);
}

// A refused value leaves the command in the step, where it is freed with the recipe.
void start_setenv(DFA* dfa, ELEMENT* element) {
  WH_SETENV* setenv = record_from(element, kSetenvAttrs);
  add_command(dfa, make_command(wh_setenv, setenv));
  if (is_one_of(element, "op", setenv->op, kSetenvOps))
    is_one_of(element, "context", setenv->context, kSetenvContexts);
}

// Kept, as part of the interface: a file that may hold no SETENV refuses it at its end, not at its
// start.
void end_setenv(DFA* dfa) {
  if (dfa->version != 3) dfa->state = st_error;
}

void start_setreg(DFA* dfa, ELEMENT* element) {
  add_command(dfa, make_command(wh_setreg, record_from(element, kSetregAttrs)));
}

void start_shortcut(DFA* dfa, ELEMENT* element) {
  FwFileShortcut* shortcut = record_from(element, kShortcutAttrs);
  add_command(dfa, make_command(wh_shortcut, shortcut));
  is_one_of(element, "op", shortcut->op, kShortcutOps);
}

void start_java(DFA* dfa, ELEMENT* element) {
  dfa->command = make_command(wh_java, record_from(element, kJavaAttrs));
}

void start_message(DFA* dfa, ELEMENT* element) {
  dfa->command = make_command(wh_message, record_from(element, kMessageAttrs));
  opentext(dfa);
}

void end_message(DFA* dfa) {
  dfa->command->u.message->text = closetext(dfa);
  end_command(dfa);
}

constexpr START_RULE<DFA> kStarts[] = {
    {st_initial, "RECIPE", st_in_recipe, start_recipe},
    {st_in_recipe, "STEP", st_step_start, start_step},
    {st_step_start, "PATTERN", st_in_pattern, start_condition},
    {st_in_step, "CMD", st_cmd_text, start_cmd},
    {st_in_step, "MAKE", st_make_text, start_make},
    {st_in_step, "RUN", st_in_run, start_run},
    {st_in_step, "COPY", st_in_copy, start_copy},
    {st_in_step, "CREATE", st_in_create},
    {st_in_step, "APPEND", st_in_append},
    {st_in_step, "DELETE", st_delete_text, start_delete},
    {st_in_step, "DIR", st_dir_text, start_dir},
    {st_in_step, "SETENV", st_in_setenv, start_setenv},
    {st_in_step, "SETREG", st_in_setreg, start_setreg},
    {st_in_step, "SHORTCUT", st_in_shortcut, start_shortcut},
    {st_in_step, "JAVA", st_in_java, start_java},
    {st_in_step, "MESSAGE", st_message_text, start_message},
    {st_in_pattern, "MATCH", st_in_match, start_alternative},
    {st_in_match, "VAR", st_in_var, start_var<DFA>},
    {st_in_run, "ARG", st_run_arg_text, start_text},
    {st_in_run, "DATA", st_run_data_text, start_run_data},
    {st_in_create, "DATA", st_create_data_text, start_data},
    {st_in_append, "DATA", st_append_data_text, start_data},
    {st_in_java, "ARG", st_java_arg_text, start_text},
    {st_in_java, "DATA", st_java_data_text, start_data},
};

constexpr END_RULE<DFA> kEnds[] = {
    {st_in_recipe, "RECIPE", st_final},
    {st_in_step, "STEP", st_in_recipe},
    {st_in_pattern, "PATTERN", st_in_step, end_pattern},
    {st_in_match, "MATCH", st_in_pattern, end_match},
    {st_in_var, "VAR", st_in_match, end_var},
    {st_cmd_text, "CMD", st_in_step, end_cmd},
    {st_make_text, "MAKE", st_in_step, end_cmd},
    {st_in_run, "RUN", st_in_step, end_command},
    {st_run_arg_text, "ARG", st_in_run, end_arg},
    {st_run_data_text, "DATA", st_in_run, end_arg_data},
    {st_create_data_text, "DATA", st_create_data_end, end_create_data},
    {st_append_data_text, "DATA", st_append_data_end, end_append_data},
    {st_create_data_end, "CREATE", st_in_step},
    {st_append_data_end, "APPEND", st_in_step},
    {st_in_copy, "COPY", st_in_step, end_command},
    {st_delete_text, "DELETE", st_in_step, end_delete},
    {st_dir_text, "DIR", st_in_step, end_dir},
    {st_in_setenv, "SETENV", st_in_step, end_setenv},
    {st_in_setreg, "SETREG", st_in_step},
    {st_in_shortcut, "SHORTCUT", st_in_step},
    {st_in_java, "JAVA", st_in_step, end_command},
    {st_java_arg_text, "ARG", st_in_java, end_arg},
    {st_java_data_text, "DATA", st_in_java, end_arg_data},
    {st_message_text, "MESSAGE", st_in_step, end_message},
};

constexpr MACHINE kMachine{kStarts, kEnds, st_error, st_final, 1};

// Each element in a step is a command.
void start_el(void* userData, const XML_Char* name, const XML_Char** atts) {
  auto* user = static_cast<USERDATA*>(userData);
  auto* dfa = static_cast<DFA*>(user->dfa);
  if (dfa->state == st_in_step) dfa->place = place_of(user);
  start_element<kMachine>(userData, name, atts);
}

const KIND& kind_of(FwTextString file) {
  FwTextString leaf = FwFileSkipToLeafname(file);
  const KIND* kind = kKinds;
  while (kind->leaf != nullptr && FwStrCompare(leaf, FWT(kind->leaf)) != 0)
    ++kind;
  return *kind;
}

const char* eol_of(FwTextString style) {
  struct STYLE {
    const char* name;
    const char* eol;
  };
  static const STYLE kStyles[] = {{"cr", "\r"}, {"crlf", "\r\n"}, {"lf", "\n"}};
  if (style != nullptr)
    for (const STYLE& one : kStyles)
      if (FwStrCompare(style, FWT(one.name)) == 0) return one.eol;
  return host_eol;
}

}  // namespace

void wh_convert_eol(FwTextString string, FwStrRecord* rec, FwTextString style) {
  FwTextString eol = FWT(eol_of(style));
  bool after_lf = false;
  while (*string != 0) {
    auto length = static_cast<uint32>(std::strcspn(FWC(string), "\r\n"));
    if (length > 0) FwStrNPutTextString(rec, string, length);
    string += length;
    if (*string == 0) break;
    // Kept, as part of the interface: it is a CR behind an LF, at any distance, that is swallowed;
    // CR LF gives two line ends.
    bool swallowed = *string == '\r' && after_lf;
    after_lf = *string == '\n';
    if (!swallowed) FwStrPutTextString(rec, eol);
    ++string;
  }
}

WH_RECIPE* read_recipe(FwErrorState* err, FwTextString file, WH_XML_PARSE_FLAGS flags) {
  DFA dfa;
  dfa.flags = flags;
  const KIND& kind = kind_of(file);
  dfa.version = kind.version;
  dfa.needhost = kind.needhost;
  PARSER parser{
      &dfa, start_el, end_element<kMachine>, doctype_element, text_data, &kFormatOf<kMachine>};
  // Kept, as the text of the output: the other readers report a fault of structure as
  // VQN_XML_ERROR.
  int done = run_reader(err, file, &parser, kMachine.final, whErrorInvalid);
  if (done) dfa.recipe->places = take_places(&dfa);
  release_reader(&dfa);
  if (!done) {
    free_record(&dfa.data);
    free_command(&dfa.command);
    free_recipe(&dfa.recipe);
    return nullptr;
  }
  return dfa.recipe;
}
