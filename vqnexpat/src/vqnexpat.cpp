#include "vqnexpat.h"

#include <iterator>

#include "fckind.h"

FwError VQN_XML_ERROR[1];
FwError VQN_XML_ERROR_NO_MEMORY[1];
FwError VQN_XML_ERROR_SYNTAX[1];
FwError VQN_XML_ERROR_NO_ELEMENTS[1];
FwError VQN_XML_ERROR_INVALID_TOKEN[1];
FwError VQN_XML_ERROR_UNCLOSED_TOKEN[1];
FwError VQN_XML_ERROR_PARTIAL_CHAR[1];
FwError VQN_XML_ERROR_TAG_MISMATCH[1];
FwError VQN_XML_ERROR_DUPLICATE_ATTRIBUTE[1];
FwError VQN_XML_ERROR_JUNK_AFTER_DOC_ELEMENT[1];
FwError VQN_XML_ERROR_PARAM_ENTITY_REF[1];
FwError VQN_XML_ERROR_UNDEFINED_ENTITY[1];
FwError VQN_XML_ERROR_RECURSIVE_ENTITY_REF[1];
FwError VQN_XML_ERROR_ASYNC_ENTITY[1];
FwError VQN_XML_ERROR_BAD_CHAR_REF[1];
FwError VQN_XML_ERROR_BINARY_ENTITY_REF[1];
FwError VQN_XML_ERROR_ATTRIBUTE_EXTERNAL_ENTITY_REF[1];
FwError VQN_XML_ERROR_MISPLACED_XML_PI[1];
FwError VQN_XML_ERROR_UNKNOWN_ENCODING[1];
FwError VQN_XML_ERROR_INCORRECT_ENCODING[1];
FwError VQN_XML_ERROR_UNCLOSED_CDATA_SECTION[1];
FwError VQN_XML_ERROR_EXTERNAL_ENTITY_HANDLING[1];
FwError VQN_XML_ERROR_NOT_STANDALONE[1];
FwError VQN_XML_ERROR_UNEXPECTED_STATE[1];
FwError VQN_XML_ERROR_ENTITY_DECLARED_IN_PE[1];
FwError VQN_XML_ERROR_FEATURE_REQUIRES_XML_DTD[1];
FwError VQN_XML_ERROR_CANT_CHANGE_FEATURE_ONCE_PARSING[1];
FwError VQN_XML_ERROR_UNBOUND_PREFIX[1];

namespace {

// The row of a kind is the parser's code, the family's row 0. Unclosed tokens and partial
// characters share a text on purpose.
constexpr ErrorRow kKinds[] = {
    {VQN_XML_ERROR, fwErrorRoot, "XML parsing error in %[0]t %[1]s"},
    {VQN_XML_ERROR_NO_MEMORY, VQN_XML_ERROR, "out of memory in %[0]t %[1]s"},
    {VQN_XML_ERROR_SYNTAX, VQN_XML_ERROR, "syntax error in %[0]t %[1]s"},
    {VQN_XML_ERROR_NO_ELEMENTS, VQN_XML_ERROR, "no element found in %[0]t %[1]s"},
    {VQN_XML_ERROR_INVALID_TOKEN, VQN_XML_ERROR, "not well-formed in %[0]t %[1]s"},
    {VQN_XML_ERROR_UNCLOSED_TOKEN, VQN_XML_ERROR, "unclosed token in %[0]t %[1]s"},
    {VQN_XML_ERROR_PARTIAL_CHAR, VQN_XML_ERROR, "unclosed token in %[0]t %[1]s"},
    {VQN_XML_ERROR_TAG_MISMATCH, VQN_XML_ERROR, "mismatched tag in %[0]t %[1]s"},
    {VQN_XML_ERROR_DUPLICATE_ATTRIBUTE, VQN_XML_ERROR, "duplicate attribute in %[0]t %[1]s"},
    {VQN_XML_ERROR_JUNK_AFTER_DOC_ELEMENT, VQN_XML_ERROR,
     "junk after document element in %[0]t %[1]s"},
    {VQN_XML_ERROR_PARAM_ENTITY_REF, VQN_XML_ERROR,
     "illegal parameter entity reference in %[0]t %[1]s"},
    {VQN_XML_ERROR_UNDEFINED_ENTITY, VQN_XML_ERROR, "undefined entity in %[0]t %[1]s"},
    {VQN_XML_ERROR_RECURSIVE_ENTITY_REF, VQN_XML_ERROR,
     "recursive entity reference in %[0]t %[1]s"},
    {VQN_XML_ERROR_ASYNC_ENTITY, VQN_XML_ERROR, "asynchronous entity in %[0]t %[1]s"},
    {VQN_XML_ERROR_BAD_CHAR_REF, VQN_XML_ERROR,
     "reference to invalid character number in %[0]t %[1]s"},
    {VQN_XML_ERROR_BINARY_ENTITY_REF, VQN_XML_ERROR, "reference to binary entity in %[0]t %[1]s"},
    {VQN_XML_ERROR_ATTRIBUTE_EXTERNAL_ENTITY_REF, VQN_XML_ERROR,
     "reference to external entity in attribute in %[0]t %[1]s"},
    {VQN_XML_ERROR_MISPLACED_XML_PI, VQN_XML_ERROR,
     "xml processing instruction not at start of external entity in %[0]t %[1]s"},
    {VQN_XML_ERROR_UNKNOWN_ENCODING, VQN_XML_ERROR, "unknown encoding in %[0]t %[1]s"},
    {VQN_XML_ERROR_INCORRECT_ENCODING, VQN_XML_ERROR,
     "encoding specified in XML declaration is incorrect in %[0]t %[1]s"},
    {VQN_XML_ERROR_UNCLOSED_CDATA_SECTION, VQN_XML_ERROR, "unclosed CDATA section in %[0]t %[1]s"},
    {VQN_XML_ERROR_EXTERNAL_ENTITY_HANDLING, VQN_XML_ERROR,
     "error in processing external entity reference in %[0]t %[1]s"},
    {VQN_XML_ERROR_NOT_STANDALONE, VQN_XML_ERROR, "document is not standalone in %[0]t %[1]s"},
    {VQN_XML_ERROR_UNEXPECTED_STATE, VQN_XML_ERROR, "unexpected state in %[0]t %[1]s"},
    {VQN_XML_ERROR_ENTITY_DECLARED_IN_PE, VQN_XML_ERROR, "entity declared in PE in %[0]t %[1]s"},
    {VQN_XML_ERROR_FEATURE_REQUIRES_XML_DTD, VQN_XML_ERROR,
     "feature requires XML DTD in %[0]t %[1]s"},
    {VQN_XML_ERROR_CANT_CHANGE_FEATURE_ONCE_PARSING, VQN_XML_ERROR,
     "can't change feature once parsing in %[0]t %[1]s"},
    {VQN_XML_ERROR_UNBOUND_PREFIX, VQN_XML_ERROR, "unbound prefix in %[0]t %[1]s"},
};

constexpr bool is_row(XML_Error code, const FwError* kind) {
  return kKinds[code].kind == kind;
}
static_assert(is_row(XML_ERROR_NO_MEMORY, VQN_XML_ERROR_NO_MEMORY) &&
              is_row(XML_ERROR_TAG_MISMATCH, VQN_XML_ERROR_TAG_MISMATCH) &&
              is_row(XML_ERROR_UNKNOWN_ENCODING, VQN_XML_ERROR_UNKNOWN_ENCODING) &&
              is_row(XML_ERROR_UNBOUND_PREFIX, VQN_XML_ERROR_UNBOUND_PREFIX));
static_assert(std::size(kKinds) == XML_ERROR_UNBOUND_PREFIX + 1);

}  // namespace

void xml_init_errors() {
  make_kinds(kKinds);
}

FwError* x2fwerr(int code) {
  if (code < 1 || code >= static_cast<int>(std::size(kKinds))) return nullptr;
  return kKinds[code].kind;
}

int xml_from_fwfile(FwErrorState* err, FwTextString filename, XML_Parser parser) {
  FwFile file = FwFileOpen(err, filename, FW_OPEN_RDONLY);
  return file == FW_FILE_INVALID ? 0 : xml_from_open_fwfile(err, file, filename, parser);
}

int xml_from_open_fwfile(FwErrorState* err, FwFile file, FwTextString filename, XML_Parser parser,
                         void (*bytes)(const char* block, uint32 length)) {
  int status = 1;
  char block[kXmlBlockSize];
  bool last = false;
  while (!last) {
    uint32 length = FwFileRead(err, file, block, kXmlBlockSize);
    last = length < kXmlBlockSize;
    // Kept, as part of the interface: the status stays 1; the reader sees the error, and a state
    // that isn't final.
    if (err->pError != nullptr) break;
    if (bytes != nullptr) bytes(block, length);
    if (XML_Parse(parser, block, static_cast<int>(length), last) == XML_STATUS_ERROR) {
      // Kept, as the defined result: a code without a kind is asserted against and becomes
      // fwErrorBug.
      FwErrorSet(err, x2fwerr(XML_GetErrorCode(parser)), 2, FWT("File"), filename);
      status = 0;
      break;
    }
  }
  FwFileClose(err, file);
  return status;
}

void xml_current_place(XML_Parser parser, int32* line, int32* column) {
  *line = static_cast<int32>(XML_GetCurrentLineNumber(parser));
  *column = static_cast<int32>(XML_GetCurrentColumnNumber(parser)) + 1;
}

FwTextString xmlstrN_to_FwStr(const XML_Char* xmlstr, int len) {
  return len == 0 ? FwStrDuplicate(FWT(xmlstr)) : FwStrNDuplicate(FWT(xmlstr), len);
}

FwTextString xmlstr_to_FwStr(const XML_Char* xmlstr) {
  return xmlstrN_to_FwStr(xmlstr, 0);
}

void xmlstrN_to_FwStrRecord(const XML_Char* xmlstr, FwStrRecord* rec, int len) {
  if (len == 0)
    FwStrPutTextString(rec, FWT(xmlstr));
  else
    FwStrNPutTextString(rec, FWT(xmlstr), static_cast<uint32>(len));
}

void xmlstr_to_FwStrRecord(const XML_Char* xmlstr, FwStrRecord* rec) {
  xmlstrN_to_FwStrRecord(xmlstr, rec, 0);
}
