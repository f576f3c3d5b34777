// The frame of the data-file readers: private to them, because it needs the parser's header.
//
// A format is a state machine over start and end tags, and is written down as two tables of rows
// {state, tag, next state, action}. What a table doesn't list leads to the format's error state,
// which no tag leaves; the parser reads on to the end of the file. A reader is
//
//   struct DFA : READER { ... };                       the record being built, and where it grows
//   constexpr START_RULE<DFA> kStarts[] = {...};       rows in the order of their states
//   constexpr END_RULE<DFA> kEnds[] = {...};
//   constexpr MACHINE kMachine{kStarts, kEnds, st_error, st_final, 1};
//   ...
//   DFA dfa;
//   dfa.flags = flags;
//   PARSER parser{&dfa, start_element<kMachine>, end_element<kMachine>, doctype_element,
//                 text_data, &kFormatOf<kMachine>};
//   int done = run_reader(err, file, &parser, kMachine.final, VQN_XML_ERROR);
//   release_reader(&dfa);                              then, if not done, what was half built
//
// Text between elements is dropped; the text of an element that opens its record is kept byte for
// byte. The parser delivers it in pieces of any size, so that handlers may only append.
#ifndef WHREADDATA_H
#define WHREADDATA_H

#include <cstddef>
#include <type_traits>
#include <utility>

#include "fwerror.h"
#include "fwmem.h"
#include "fwstring.h"
#include "readdata.h"
#include "syntax.h"
#include "vqnexpat.h"
#include "warehouse.h"

// ---- The parser's side --------------------------------------------------------------------------

struct READER;

// What a format's tables say, for the observer of syntax.
struct FORMAT {
  int error;
  // The tags that may begin in a state, or in any, and the one that may end in it, null for none.
  void (*add_starts)(int state, WH_NAMES* names);
  const char* (*end)(int state);
};
inline constexpr int kAnyState = -3;

// What a reader hands to read_datafile.
struct PARSER {
  READER* state;                                 // the format's DFA
  XML_StartElementHandler start_el;              // required
  XML_EndElementHandler end_el;                  // required
  XML_StartDoctypeDeclHandler doctype_start_el;  // null if DOCTYPE isn't looked at
  XML_CharacterDataHandler cdata;                // null if the format has no text
  const FORMAT* format = nullptr;                // kFormatOf<kMachine>; null: never observed
};

// What the handlers receive.
struct USERDATA {
  READER* dfa;
  XML_Parser parser;  // to be asked for the current line
};

// Parses the file with the reader's handlers. The result is that of xml_from_fwfile.
int read_datafile(FwErrorState* err, FwTextString filename, PARSER* parser);

// 1 if the strings are equal byte by byte.
int uni_eq_str(const XML_Char* uni, const char* str);

// The value of an attribute as a new string, or null if it is absent. The bracket forms in it are
// added to *flags.
FwTextString attr(const char* name, const XML_Char** attlist, WH_XML_PARSE_FLAGS* flags);

// The same with a default, whose bracket forms count as well.
FwTextString attr_default(const char* name, const XML_Char** attlist, FwTextString deflt,
                          WH_XML_PARSE_FLAGS* flags);

// The value as a number. 0 if it is absent or no number: the two can't be told apart.
int num_attr(const char* name, const XML_Char** attlist, WH_XML_PARSE_FLAGS* flags);

// The first character of the value, 0 if it is absent or empty.
FwTextCharacter char_attr(const char* name, const XML_Char** attlist, WH_XML_PARSE_FLAGS* flags);

// The parser's current line in decimal, a new string.
FwTextString xml_lineno(USERDATA* userData);

// ---- The machine --------------------------------------------------------------------------------

// What the DFAs of all formats begin with. Initialised to zero throughout.
struct READER {
  int state = 0;
  int retstate = 0;  // where a shared sub-machine goes back to
  WH_XML_PARSE_FLAGS flags = 0;
  FwErrorState* err = nullptr;
  FwTextString filename = nullptr;  // not owned
  FwTextString doctype = nullptr;   // owned; null without a DOCTYPE
  FwStrRecord text = {};            // open while textopen is set
  int textopen = 0;
  FwTextString host = nullptr;       // owned; the default of the PATTERN being read
  WH_PATTERN** pattern = nullptr;    // the link at the end of the chain being read
  WH_VAR** var = nullptr;            // likewise
  FwMemPool* places = nullptr;       // owned until take_places
  FwTextString placefile = nullptr;  // the file's name, in that pool
};

// An element as a start tag's action sees it.
struct ELEMENT {
  USERDATA* user;
  const XML_Char* name;
  const XML_Char** atts;
  WH_XML_PARSE_FLAGS seen;  // bracket forms met in the attributes read so far
};

// A next state that stands for the one in READER::retstate.
inline constexpr int kReturn = -2;

// The fields stand in the order in which a row is read.
template <class DFA>
struct START_RULE {  // NOLINT(clang-analyzer-optin.performance.Padding)
  int state;
  const char* tag;
  int next;
  void (*action)(DFA* dfa, ELEMENT* element) = nullptr;  // may set dfa->state to the error state
  int retstate = kReturn;                                // stored for a kReturn to come, if given
};

template <class DFA>
struct END_RULE {  // NOLINT(clang-analyzer-optin.performance.Padding)
  int state;
  const char* tag;
  int next;
  void (*action)(DFA* dfa) = nullptr;  // may set dfa->state to the error state
};

inline constexpr int kMaxState = 100;

// Rows, found by their state without a search. They must stand in the order of their states.
template <class RULE, std::size_t N>
struct RULE_TABLE {
  const RULE* rows;
  uint8 first[kMaxState + 2] = {};  // the rows of state s are first[s] to first[s + 1] - 1

  constexpr explicit RULE_TABLE(const RULE (&table)[N]) : rows(table) {
    static_assert(N < 256);
    std::size_t row = 0;
    for (int state = 0; state <= kMaxState; ++state) {
      first[state] = static_cast<uint8>(row);
      while (row < N && table[row].state == state)
        ++row;
    }
    first[kMaxState + 1] = static_cast<uint8>(row);
  }

  const RULE* begin() const { return rows; }
  const RULE* end() const { return rows + N; }

  constexpr bool InOrder() const { return first[kMaxState + 1] == N; }

  const RULE* Find(int state, const XML_Char* tag) const {
    if (state < 0 || state > kMaxState) return nullptr;
    for (int i = first[state]; i < first[state + 1]; ++i)
      if (uni_eq_str(tag, rows[i].tag)) return &rows[i];
    return nullptr;
  }
};

template <class DFA, std::size_t S, std::size_t E>
struct MACHINE {
  using Dfa = DFA;
  RULE_TABLE<START_RULE<DFA>, S> starts;
  RULE_TABLE<END_RULE<DFA>, E> ends;
  int error;
  int final;
  int checks;  // 0 if this format does not check its attributes for brackets

  constexpr MACHINE(const START_RULE<DFA> (&start_rows)[S], const END_RULE<DFA> (&end_rows)[E],
                    int error_state, int final_state, int bracket_checks)
      : starts(start_rows),
        ends(end_rows),
        error(error_state),
        final(final_state),
        checks(bracket_checks) {}
};

// Raises one of the located kinds, with the file and the element's line.
void raise_located(ELEMENT* element, FwError* kind);

// Raises, one after the other, the kinds of the bracket forms that were seen and asked for.
void check_brackets(ELEMENT* element);

// For the root: raises whErrorDoctypeMismatch if that was asked for and the DOCTYPE's name isn't
// the element's, or there is no DOCTYPE.
void check_doctype(ELEMENT* element);

// The element handlers of a format, as the parser calls them.
template <const auto& machine>
void start_element(void* userData, const XML_Char* name, const XML_Char** atts) {
  using DFA = typename std::remove_cvref_t<decltype(machine)>::Dfa;
  static_assert(machine.starts.InOrder() && machine.ends.InOrder());
  auto* user = static_cast<USERDATA*>(userData);
  auto* dfa = static_cast<DFA*>(user->dfa);
  ELEMENT element{user, name, atts, 0};
  const START_RULE<DFA>* rule = machine.starts.Find(dfa->state, name);
  if (rule == nullptr) {
    dfa->state = machine.error;
    return;
  }
  dfa->state = rule->next;
  if (rule->retstate != kReturn) dfa->retstate = rule->retstate;
  if (rule->action != nullptr) rule->action(dfa, &element);
  if (machine.checks)
    check_brackets(&element);
  else
    dfa->flags |= element.seen;
}

template <const auto& machine>
void end_element(void* userData, const XML_Char* name) {
  using DFA = typename std::remove_cvref_t<decltype(machine)>::Dfa;
  auto* dfa = static_cast<DFA*>(static_cast<USERDATA*>(userData)->dfa);
  const END_RULE<DFA>* rule = machine.ends.Find(dfa->state, name);
  if (rule == nullptr) {
    dfa->state = machine.error;
    return;
  }
  dfa->state = rule->next == kReturn ? dfa->retstate : rule->next;
  if (rule->action != nullptr) rule->action(dfa);
}

template <const auto& machine>
void add_starts(int state, WH_NAMES* names) {
  using DFA = typename std::remove_cvref_t<decltype(machine)>::Dfa;
  for (const START_RULE<DFA>& rule : machine.starts)
    if (rule.state == state || state == kAnyState) names->add(rule.tag);
}

template <const auto& machine>
const char* end_in(int state) {
  using DFA = typename std::remove_cvref_t<decltype(machine)>::Dfa;
  for (const END_RULE<DFA>& rule : machine.ends)
    if (rule.state == state) return rule.tag;
  return nullptr;
}

template <const auto& machine>
inline constexpr FORMAT kFormatOf{machine.error, add_starts<machine>, end_in<machine>};

// For actions that refuse an element: the reader goes to the error state, and an observer hears
// why. The words are those that the value may be.
void refuse(ELEMENT* element, int error, WH_REFUSED what);
void refuse_value(ELEMENT* element, int error, const char* attribute, const char* value,
                  const char* const* words, std::size_t count);

// The other two handlers, the same for every format: the first keeps the DOCTYPE's name, the second
// appends to the text while it is open.
void doctype_element(void* userData, const XML_Char* name, const XML_Char* sysid,
                     const XML_Char* pubid, int has_internal_subset);
void text_data(void* userData, const XML_Char* s, int len);

// Reads the file: 1 if the parser found no error and the final state was reached. Otherwise 0, with
// the kind invalid set, and the file, if the file ended in another state and err is clear. 1 does
// not mean that err is clear: it may hold a located error.
int run_reader(FwErrorState* err, FwTextString file, PARSER* parser, int final, FwError* invalid);

// Frees what a READER may own: the text, if it is still open, the host, the DOCTYPE's name and the
// places.
void release_reader(READER* reader);

// ---- Places -------------------------------------------------------------------------------------

// All places of a file lie in one pool, each of them pointing to the one copy of the file's name.
const WH_PLACE* make_place(USERDATA* user);

// Where the element in hand begins, null if nobody asked for places.
inline const WH_PLACE* place_of(USERDATA* user) {
  return (user->dfa->flags & WH_XML_PF_PLACES) != 0 ? make_place(user) : nullptr;
}

// Hands the places over to the record of the whole file, which destroys the pool when it is freed.
inline FwMemPool* take_places(READER* reader) {
  return std::exchange(reader->places, nullptr);
}

// ---- Pieces that formats share ------------------------------------------------------------------

// Opens the record for an element's text, and closes it: the text as a new string.
void opentext(READER* reader);
FwTextString closetext(READER* reader);

// PATTERN, MATCH and VAR: the condition on varieties that parts, recipes and settings share. Its
// rows stand in each format's table under the format's own numbers:
//
//   {start, "PATTERN", in_pattern, aim at a chain}
//   {in_pattern, "MATCH", in_match, start_match}        {in_pattern, "PATTERN", next, end_pattern}
//   {in_match, "VAR", in_var, start_var}                {in_match, "MATCH", in_pattern, end_match}
//                                                       {in_var, "VAR", in_match, end_var}
//
// chain is where the alternatives are to hang.
void start_pattern(READER* reader, ELEMENT* element, WH_PATTERN** chain);
void match_entry(READER* reader, ELEMENT* element);
WH_VAR* var_entry(READER* reader, ELEMENT* element);

template <class DFA>
void start_match(DFA* dfa, ELEMENT* element) {
  match_entry(dfa, element);
}

template <class DFA>
void start_var(DFA* dfa, ELEMENT* element) {
  var_entry(dfa, element);
}

template <class DFA>
void end_pattern(DFA* dfa) {
  FwMemFreeAndClear(&dfa->host);
}

template <class DFA>
void end_match(DFA* dfa) {
  dfa->pattern = &(*dfa->pattern)->next;
}

template <class DFA>
void end_var(DFA* dfa) {
  dfa->var = &(*dfa->var)->next;
}

#endif
