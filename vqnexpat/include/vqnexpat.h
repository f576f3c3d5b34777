// The adapter to the XML parser: feeds it a file, turns its errors into kinds of the framework, and
// converts its strings.
//
// This is the only header of the project that includes the parser's. Parser strings (XML_Char) are
// UTF-8 in plain char, so that a conversion copies bytes and never recodes.
//
// A file is fed through one buffer of kXmlBlockSize bytes: no file is ever held whole in memory. A
// parser error stops the feeding; a fault that a handler finds does not, since nothing aborts the
// parser from inside a handler.
#ifndef VQNEXPAT_H
#define VQNEXPAT_H

#include <expat.h>

#include "fwerror.h"
#include "fwfile.h"
#include "fwstring.h"
#include "fwtypes.h"

// The bytes read, and parsed, at a time.
inline constexpr uint32 kXmlBlockSize = 4096;

// The parser's errors. VQN_XML_ERROR is their family, and itself the report of a file whose
// elements don't follow its format. Every template takes two details: a type word, here always
// "File", and the path.
extern FwError VQN_XML_ERROR[1];
extern FwError VQN_XML_ERROR_NO_MEMORY[1];
extern FwError VQN_XML_ERROR_SYNTAX[1];
extern FwError VQN_XML_ERROR_NO_ELEMENTS[1];
extern FwError VQN_XML_ERROR_INVALID_TOKEN[1];
extern FwError VQN_XML_ERROR_UNCLOSED_TOKEN[1];
extern FwError VQN_XML_ERROR_PARTIAL_CHAR[1];
extern FwError VQN_XML_ERROR_TAG_MISMATCH[1];
extern FwError VQN_XML_ERROR_DUPLICATE_ATTRIBUTE[1];
extern FwError VQN_XML_ERROR_JUNK_AFTER_DOC_ELEMENT[1];
extern FwError VQN_XML_ERROR_PARAM_ENTITY_REF[1];
extern FwError VQN_XML_ERROR_UNDEFINED_ENTITY[1];
extern FwError VQN_XML_ERROR_RECURSIVE_ENTITY_REF[1];
extern FwError VQN_XML_ERROR_ASYNC_ENTITY[1];
extern FwError VQN_XML_ERROR_BAD_CHAR_REF[1];
extern FwError VQN_XML_ERROR_BINARY_ENTITY_REF[1];
extern FwError VQN_XML_ERROR_ATTRIBUTE_EXTERNAL_ENTITY_REF[1];
extern FwError VQN_XML_ERROR_MISPLACED_XML_PI[1];
extern FwError VQN_XML_ERROR_UNKNOWN_ENCODING[1];
extern FwError VQN_XML_ERROR_INCORRECT_ENCODING[1];
extern FwError VQN_XML_ERROR_UNCLOSED_CDATA_SECTION[1];
extern FwError VQN_XML_ERROR_EXTERNAL_ENTITY_HANDLING[1];
extern FwError VQN_XML_ERROR_NOT_STANDALONE[1];
extern FwError VQN_XML_ERROR_UNEXPECTED_STATE[1];
extern FwError VQN_XML_ERROR_ENTITY_DECLARED_IN_PE[1];
extern FwError VQN_XML_ERROR_FEATURE_REQUIRES_XML_DTD[1];
extern FwError VQN_XML_ERROR_CANT_CHANGE_FEATURE_ONCE_PARSING[1];
extern FwError VQN_XML_ERROR_UNBOUND_PREFIX[1];

// Makes the kinds above. Called once, after boot and before any file is read.
void xml_init_errors();

// The kind for a parser's error code, or null for a code that has none: 0, and the codes above 27
// that later parsers added.
FwError* x2fwerr(int code);

// Opens the file, feeds it to the parser up to its end, and closes it. Returns 0 if it couldn't be
// opened or the parser found an error, which err then tells. Otherwise 1, which says no more than
// that the parser was content: err may hold an error of reading, or one that a handler set, and the
// file was then read no further than the last block that was read without error.
// err may hold an error already: nothing is then parsed, and the error stays. For programs on this
// library, as the readers open their files themselves.
int xml_from_fwfile(FwErrorState* err, FwTextString filename, XML_Parser parser);
// The same for a file that is open already. It closes the file; the name is for errors. bytes gets
// each block before the parser does, if it is not null.
int xml_from_open_fwfile(FwErrorState* err, FwFile file, FwTextString filename, XML_Parser parser,
                         void (*bytes)(const char* block, uint32 length) = nullptr);

// Where the parser stands: the line, and the character in it, both counted from 1. In a handler it
// is the first character of what the handler is called for.
void xml_current_place(XML_Parser parser, int32* line, int32* column);

// A new string, which the caller frees: exactly len bytes of the parser's string, or all of it, up
// to its terminator, if len is 0.
FwTextString xmlstrN_to_FwStr(const XML_Char* xmlstr, int len);
FwTextString xmlstr_to_FwStr(const XML_Char* xmlstr);

// Appends to an open record; len as above. The second is for programs on this library.
void xmlstrN_to_FwStrRecord(const XML_Char* xmlstr, FwStrRecord* rec, int len);
void xmlstr_to_FwStrRecord(const XML_Char* xmlstr, FwStrRecord* rec);

#endif
