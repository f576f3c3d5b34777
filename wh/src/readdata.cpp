// What readdata.h and whreaddata.h declare: attributes, the run of a reader, and the pieces that
// formats share.
#include "readdata.h"

#include <cstring>

#include "fcpp.h"
#include "fwmem.h"
#include "wherror.h"
#include "whreaddata.h"

namespace {

// Bytes of the pool of places: some files have a few, some have thousands.
constexpr uint32 kPlacesFirst = 512;
constexpr uint32 kPlacesGrow = 4096;

struct BRACKET_CHECK {
  WH_XML_PARSE_FLAGS flag;
  FwError* kind;
};

const BRACKET_CHECK kBracketChecks[] = {
    {WH_XML_PF_ROUND_BRACKETS, whErrorRoundBrackets},
    {WH_XML_PF_SQUARE_BRACKETS, whErrorSquareBrackets},
    {WH_XML_PF_SQUIGGLY_BRACKETS, whErrorSquigglyBrackets},
};

// ---- The observer of syntax ----

// Where the names of attributes go that the readers ask for, while an element is observed.
WH_NAMES* asked_attributes = nullptr;

// What the handlers receive, and what those of an observed reader know besides.
struct WATCHED : USERDATA {
  const PARSER* handlers;
  int skipping;  // elements that are open inside the refused one, itself included
  bool refused;
};

WATCHED* watched(void* userData) {
  return static_cast<WATCHED*>(static_cast<USERDATA*>(userData));
}

void tell_refusal(USERDATA* user, int state, WH_REFUSAL refusal) {
  const FORMAT* format = static_cast<WATCHED*>(user)->handlers->format;
  WH_NAMES starts, all;
  format->add_starts(state, &starts);
  format->add_starts(kAnyState, &all);
  refusal.starts = &starts;
  refusal.end = format->end(state);
  refusal.all = &all;
  xml_current_place(user->parser, &refusal.line, &refusal.column);
  wh_syntax_observer->refused(wh_syntax_observer->context, &refusal);
}

// Tells of an element that begins. What the reader passes over asks for no attributes.
void tell_start(WATCHED* user, const XML_Char* name, const XML_Char** atts, const WH_NAMES* asked) {
  const READER* reader = user->dfa;
  WH_START_TAG tag = {
      name, 0, 0, atts, asked, asked != nullptr && reader->textopen, FWC(reader->doctype)};
  xml_current_place(user->parser, &tag.line, &tag.column);
  wh_syntax_observer->start(wh_syntax_observer->context, &tag);
}

// An element that has no place here is passed over, so that the faults behind it are found as well.
// At its end the file is refused.
void watched_start(void* userData, const XML_Char* name, const XML_Char** atts) {
  WATCHED* user = watched(userData);
  const FORMAT* format = user->handlers->format;
  const int before = user->dfa->state;
  if (user->skipping > 0 || before == format->error) {
    if (user->skipping > 0) ++user->skipping;
    tell_start(user, name, atts, nullptr);
    return;
  }
  WH_NAMES starts, asked;
  format->add_starts(before, &starts);
  asked_attributes = &asked;
  user->handlers->start_el(userData, name, atts);
  asked_attributes = nullptr;
  if (starts.has(name)) {
    tell_start(user, name, atts, &asked);
    return;
  }
  tell_refusal(user, before, {wh_refused_start, name});
  tell_start(user, name, atts, nullptr);
  user->dfa->state = before;
  user->refused = true;
  user->skipping = 1;
}

void watched_end(void* userData, const XML_Char* name) {
  WATCHED* user = watched(userData);
  const FORMAT* format = user->handlers->format;
  const int before = user->dfa->state;
  if (user->skipping > 0) {
    --user->skipping;
  } else if (before != format->error) {
    user->handlers->end_el(userData, name);
    const char* end = format->end(before);
    if (end == nullptr || !uni_eq_str(name, end))
      tell_refusal(user, before, {wh_refused_end, name});
    else if (user->dfa->state == format->error)
      tell_refusal(user, before, {wh_refused_file, name});
  }
  wh_syntax_observer->end(wh_syntax_observer->context, name);
}

void watched_text(void* userData, const XML_Char* s, int len) {
  WATCHED* user = watched(userData);
  if (user->handlers->cdata != nullptr) user->handlers->cdata(userData, s, len);
  wh_syntax_observer->text(wh_syntax_observer->context, s, len);
}

void watch(XML_Parser xml) {
  XML_SetElementHandler(xml, watched_start, watched_end);
  XML_SetCharacterDataHandler(xml, watched_text);
}

void end_watch(WATCHED* user, int status) {
  if (user->refused) user->dfa->state = user->handlers->format->error;
  if (status) return;
  int32 line, column;
  xml_current_place(user->parser, &line, &column);
  wh_syntax_observer->fault(wh_syntax_observer->context, XML_GetErrorCode(user->parser), line,
                            column);
}

// The parser's own string, its brackets noted; null if the attribute is absent.
FwTextString find_attr(const char* name, const XML_Char** attlist, WH_XML_PARSE_FLAGS* flags) {
  if (asked_attributes != nullptr) asked_attributes->add(name);
  for (; attlist[0] != nullptr; attlist += 2) {
    if (!uni_eq_str(attlist[0], name)) continue;
    FwTextString value = FWT(attlist[1]);
    *flags |= scan_for_expansions(value);
    return value;
  }
  return nullptr;
}

}  // namespace

const WH_SYNTAX_OBSERVER* wh_syntax_observer = nullptr;
void (*wh_xml_tap)(XML_ParserStruct* parser, FwTextString filename,
                   WH_XML_HANDLERS* handlers) = nullptr;

bool WH_NAMES::has(const char* name) const {
  for (int i = 0; i < count; ++i)
    if (std::strcmp(names[i], name) == 0) return true;
  return false;
}

void WH_NAMES::add(const char* name) {
  if (count < kMaxSyntaxNames && !has(name)) names[count++] = name;
}

void refuse(ELEMENT* element, int error, WH_REFUSED what) {
  element->user->dfa->state = error;
  if (wh_syntax_observer != nullptr) tell_refusal(element->user, error, {what, element->name});
}

void refuse_value(ELEMENT* element, int error, const char* attribute, const char* value,
                  const char* const* words, std::size_t count) {
  element->user->dfa->state = error;
  if (wh_syntax_observer == nullptr) return;
  WH_NAMES list;
  for (std::size_t i = 0; i < count; ++i)
    list.add(words[i]);
  WH_REFUSAL refusal = {wh_refused_value, element->name};
  refusal.attribute = attribute;
  refusal.value = value;
  refusal.words = &list;
  tell_refusal(element->user, error, refusal);
}

WH_XML_PARSE_FLAGS scan_for_expansions(FwTextString s) {
  WH_XML_PARSE_FLAGS seen = 0;
  // A percent sign and brackets are bytes of their own, and never part of another character.
  for (const char* p = std::strchr(FWC(s), '%'); p != nullptr; p = std::strchr(p, '%')) {
    switch (*++p) {
      case '\0':
        return seen;
      case '(':
        seen |= WH_XML_PF_ROUND_BRACKETS;
        break;
      case '[':
        seen |= WH_XML_PF_SQUARE_BRACKETS;
        break;
      case '{':
        seen |= WH_XML_PF_SQUIGGLY_BRACKETS;
        break;
    }
    ++p;
  }
  return seen;
}

int string_to_num(FwTextString str) {
  int32 number = 0;
  if (str == nullptr || !FwStrToL(&str, 10, &number)) return 0;
  return number;
}

int uni_eq_str(const XML_Char* uni, const char* str) {
  return std::strcmp(uni, str) == 0;
}

FwTextString attr(const char* name, const XML_Char** attlist, WH_XML_PARSE_FLAGS* flags) {
  return dup_str(find_attr(name, attlist, flags));
}

FwTextString attr_default(const char* name, const XML_Char** attlist, FwTextString deflt,
                          WH_XML_PARSE_FLAGS* flags) {
  FwTextString value = attr(name, attlist, flags);
  if (value != nullptr) return value;
  *flags |= scan_for_expansions(deflt);
  return FwStrDuplicate(deflt);
}

int num_attr(const char* name, const XML_Char** attlist, WH_XML_PARSE_FLAGS* flags) {
  return string_to_num(find_attr(name, attlist, flags));
}

FwTextCharacter char_attr(const char* name, const XML_Char** attlist, WH_XML_PARSE_FLAGS* flags) {
  FwTextString value = find_attr(name, attlist, flags);
  return value == nullptr ? 0 : FwStrGetTextCharacter(&value);
}

FwTextString xml_lineno(USERDATA* userData) {
  OpenRecord record;
  FwStrPutInt(&record, static_cast<int32>(XML_GetCurrentLineNumber(userData->parser)));
  return record.take();
}

int read_datafile(FwErrorState* err, FwTextString filename, PARSER* parser) {
  // Opened first: most products lack most of the files, and a parser for nothing is not cheap.
  FwFile file = FwFileOpen(err, filename, FW_OPEN_RDONLY);
  if (file == FW_FILE_INVALID) return 0;
  XML_Parser xml = XML_ParserCreate(nullptr);
  if (xml == nullptr) FwMemExitMemoryExhausted();
  WATCHED user{{parser->state, xml}, parser, 0, false};
  XML_SetUserData(xml, static_cast<USERDATA*>(&user));
  if (parser->doctype_start_el != nullptr)
    XML_SetStartDoctypeDeclHandler(xml, parser->doctype_start_el);
  const bool observed = wh_syntax_observer != nullptr && parser->format != nullptr;
  WH_XML_HANDLERS handlers = {parser->start_el, parser->end_el, parser->cdata, nullptr};
  if (observed) {
    watch(xml);
  } else {
    if (wh_xml_tap != nullptr) wh_xml_tap(xml, filename, &handlers);
    XML_SetElementHandler(xml, handlers.start, handlers.end);
    if (handlers.text != nullptr) XML_SetCharacterDataHandler(xml, handlers.text);
  }
  int status = xml_from_open_fwfile(err, file, filename, xml, handlers.bytes);
  if (observed) end_watch(&user, status);
  XML_ParserFree(xml);
  return status;
}

void raise_located(ELEMENT* element, FwError* kind) {
  READER* reader = element->user->dfa;
  const OwnedText line(xml_lineno(element->user));
  FwErrorSet(reader->err, kind, 4, FWT("File"), reader->filename, FWT("Line number"), line.get());
}

void check_brackets(ELEMENT* element) {
  WH_XML_PARSE_FLAGS faults = element->seen & element->user->dfa->flags;
  if (faults == 0) return;
  for (const BRACKET_CHECK& check : kBracketChecks)
    if (faults & check.flag) raise_located(element, check.kind);
}

void check_doctype(ELEMENT* element) {
  READER* reader = element->user->dfa;
  if (!(reader->flags & WH_XML_PF_DOCTYPE_MISMATCH)) return;
  if (reader->doctype != nullptr && uni_eq_str(element->name, FWC(reader->doctype))) return;
  raise_located(element, whErrorDoctypeMismatch);
}

void doctype_element(void* userData, const XML_Char* name, const XML_Char*, const XML_Char*, int) {
  static_cast<USERDATA*>(userData)->dfa->doctype = xmlstr_to_FwStr(name);
}

void text_data(void* userData, const XML_Char* s, int len) {
  READER* reader = static_cast<USERDATA*>(userData)->dfa;
  if (reader->textopen) xmlstrN_to_FwStrRecord(s, &reader->text, len);
}

int run_reader(FwErrorState* err, FwTextString file, PARSER* parser, int final, FwError* invalid) {
  READER* reader = parser->state;
  reader->err = err;
  reader->filename = file;
  if (read_datafile(err, file, parser) && reader->state == final) return 1;
  if (err->pError == nullptr && reader->state != final)
    FwErrorSet(err, invalid, 2, FWT("File"), file);
  return 0;
}

void release_reader(READER* reader) {
  if (reader->textopen) FwStrRecordAbandon(&reader->text);
  reader->textopen = 0;
  FwMemFreeAndClear(&reader->host);
  FwMemFreeAndClear(&reader->doctype);
  FwMemPoolDestroy(&reader->places);
}

const WH_PLACE* make_place(USERDATA* user) {
  READER* reader = user->dfa;
  if (!reader->places) {
    const std::size_t size = std::strlen(FWC(reader->filename)) + 1;
    reader->places = FwMemPoolCreate(0, kPlacesFirst, kPlacesGrow, alignof(WH_PLACE),
                                     ALLOC_MUST_SUCCEED | INIT_NONE);
    if (!reader->places) FwMemExitMemoryExhausted();
    reader->placefile = static_cast<FwTextString>(std::memcpy(
        FwMemPoolAlloc(reader->places, static_cast<uint32>(size)), reader->filename, size));
  }
  auto* place = static_cast<WH_PLACE*>(FwMemPoolAlloc(reader->places, sizeof(WH_PLACE)));
  place->file = reader->placefile;
  xml_current_place(user->parser, &place->line, &place->column);
  return place;
}

void opentext(READER* reader) {
  FwStrRecordOpen(&reader->text);
  reader->textopen = 1;
}

FwTextString closetext(READER* reader) {
  reader->textopen = 0;
  return FwStrRecordClose(&reader->text);
}

void start_pattern(READER* reader, ELEMENT* element, WH_PATTERN** chain) {
  reader->pattern = chain;
  reader->host = attr("host", element->atts, &element->seen);
}

void match_entry(READER* reader, ELEMENT* element) {
  WH_PATTERN* entry = make_pattern();
  entry->host = attr("host", element->atts, &element->seen);
  if (entry->host == nullptr) entry->host = dup_str(reader->host);
  *reader->pattern = entry;
  reader->var = &entry->vars;
}

WH_VAR* var_entry(READER* reader, ELEMENT* element) {
  auto* entry = make<WH_VAR>();
  entry->n = attr("n", element->atts, &element->seen);
  entry->v = attr("v", element->atts, &element->seen);
  entry->place = place_of(element->user);
  *reader->var = entry;
  return entry;
}
