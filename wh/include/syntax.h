// What the readers of data files meet, told tag by tag to programs that explain what is wrong with
// a file. A reader does with an observer what it does without one: it opens the same file once,
// takes and refuses the same, and sets the same error.
//
//   WH_SYNTAX_OBSERVER observer = {&report, on_start, on_end, on_text, on_refusal, on_fault};
//   wh_syntax_observer = &observer;
//   WH_ENV_SETTINGS* settings = read_env_settings(&err, path, WH_XML_PF_NO_CHECKS);
//   wh_syntax_observer = nullptr;
//
// A file is refused if a refusal or a fault was told of it, or if it can't be read. What is told
// lives until the callback returns; texts are UTF-8. Places count from 1, columns in characters.
// All callbacks must be there, and none may read a file through a reader.
//
// For programs on this library.
#ifndef SYNTAX_H
#define SYNTAX_H

#include "fwtypes.h"

// So many elements, or attributes of one, the formats have at most.
inline constexpr int kMaxSyntaxNames = 32;

// The names of elements or attributes.
struct WH_NAMES {
  int count = 0;
  const char* names[kMaxSyntaxNames] = {};

  bool has(const char* name) const;
  // Leaves out those that are there already.
  void add(const char* name);
};

// An element that begins.
struct WH_START_TAG {
  const char* name;
  int32 line;
  int32 column;
  const char** attributes;  // name, value, name, value, ..., null
  const WH_NAMES* asked;    // the attributes that the reader looks for in such an element; null
                            // if it passes over it, as it has no place there or the file is refused
  int holds_text;           // 1: its text counts; 0: text in it is passed over
  const char* doctype;      // the name in the DOCTYPE, null if there is none so far; for the root
};

enum WH_REFUSED {
  wh_refused_start,  // an element has no place here; what is in it is passed over
  wh_refused_end,    // an element ends that can't end here yet
  wh_refused_value,  // the value of an attribute is not among the words that it may have
  wh_refused_file,   // an element is not for files of that name
  wh_refused_host,   // neither the element nor its PATTERN says for which host it is
};

struct WH_REFUSAL {
  WH_REFUSED what;
  const char* name;  // of the element
  int32 line = 0;
  int32 column = 0;
  const WH_NAMES* starts = nullptr;  // the elements that may begin here instead
  const char* end = nullptr;         // the element that may end here, null if none may
  const WH_NAMES* all = nullptr;     // the elements of the format
  // Of wh_refused_value.
  const char* attribute = nullptr;
  const char* value = nullptr;      // null if it is absent
  const WH_NAMES* words = nullptr;  // those that it may have, in any case
};

struct WH_SYNTAX_OBSERVER {
  void* context;
  void (*start)(void* context, const WH_START_TAG* tag);
  void (*end)(void* context, const char* name);
  // Text in the element that began last, in pieces of any size.
  void (*text)(void* context, const char* bytes, int count);
  void (*refused)(void* context, const WH_REFUSAL* refusal);
  // The file is not well-formed: the parser's code for it, and where.
  void (*fault)(void* context, int code, int32 line, int32 column);
};

// Asked by each reader when it begins; null by default.
extern const WH_SYNTAX_OBSERVER* wh_syntax_observer;

// ---- Reading along ----

struct XML_ParserStruct;

// What the parser of a reader calls. user is the reader's own.
struct WH_XML_HANDLERS {
  void (*start)(void* user, const char* name, const char** attributes);
  void (*end)(void* user, const char* name);
  void (*text)(void* user, const char* bytes, int count);  // null if it passes over all text
  void (*bytes)(const char* block, uint32 length);  // the file itself, in blocks; null for readers
};

// Called by each reader that is not observed when it begins, if it is not null. It may put handlers
// of its own into *handlers, which then must call those that were there before, with the same user.
// The parser says where it is; nothing else may be asked of it.
extern void (*wh_xml_tap)(XML_ParserStruct* parser, FwTextString filename,
                          WH_XML_HANDLERS* handlers);

#endif
