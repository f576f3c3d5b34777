// What holds for every reader of a data file:
//
// - A file that the parser refuses by itself gives no record, and an error of the parser's family.
// - A well-formed file gives a record or an error that tells of its structure.
// - Where the blocks end in which the file is read changes nothing of a well-formed file's outcome,
//   and makes no other file a good one.
// - With all checks asked for, the record is the same; what the checks tell is of the family of
//   faults in data files.
#ifndef FUZZ_READER_H
#define FUZZ_READER_H

#include <expat.h>

#include <string>

#include "fuzz.h"
#include "fwtree.h"
#include "read_support.h"
#include "wherror.h"

namespace fuzz {

struct Outcome {
  bool record = false;
  std::string dump;
  FwError* kind = nullptr;
  std::string details;

  bool operator==(const Outcome&) const = default;
};

// Frees the record and clears the error.
template <class RECORD>
Outcome Finish(RECORD* record, void (*release)(RECORD**), FwErrorState* err) {
  Outcome outcome;
  outcome.record = record != nullptr;
  if (outcome.record) outcome.dump = Dump(record);
  outcome.kind = err->pError;
  if (outcome.kind != nullptr) outcome.details = Str(outcome.kind->ptbzFormat) + ": ";
  for (const FwErrorItem& item : err->items)
    outcome.details += Str(item.type) + " " + Str(item.name) + " ";
  release(&record);
  FwErrorClear(err);
  return outcome;
}

// The parser's own judgement; 0 if the document is well-formed.
inline int ParserError(const std::string& document) {
  XML_Parser parser = XML_ParserCreate(nullptr);
  const auto status =
      XML_Parse(parser, document.data(), static_cast<int>(document.size()), XML_TRUE);
  const int error = status == XML_STATUS_ERROR ? XML_GetErrorCode(parser) : 0;
  XML_ParserFree(parser);
  return error;
}

// The document with a comment in front, or behind the declaration, so that its byte number cut, or
// one behind it, is the first of the second block. Empty if that is not possible.
inline std::string Shifted(const std::string& document, std::size_t cut) {
  constexpr std::size_t kComment = 7;
  if (document.find('\0') != std::string::npos || document.starts_with("\xFF") ||
      document.starts_with("\xFE") || document.starts_with("\xEF"))
    return {};
  std::size_t at = 0;
  if (document.starts_with("<?xml")) {
    at = document.find("?>");
    if (at == std::string::npos) return {};
    at += 2;
  }
  cut = at + cut % (document.size() - at + 1);
  if (cut + kComment > kXmlBlockSize) return {};
  return document.substr(0, at) + "<!--" + std::string(kXmlBlockSize - cut - kComment, ' ') +
         "-->" + document.substr(at);
}

inline bool IsA(FwError* family, FwError* kind) {
  return kind != nullptr && Fw_msg_IsDescendant(family, kind) != 0;
}

// read takes the document and the flags, and gives an Outcome. structure is the kind that tells
// that elements are out of place.
template <class READ>
void CheckReader(const std::string& document, FwError* structure, READ read) {
  const int error = ParserError(document);
  // A parser's error that came up later than the kinds is told so, and becomes a kind of its own.
  std::vector<std::string_view> asserts;
  if (error != 0 && x2fwerr(error) == nullptr) asserts = {"Attempting to set error to FW_SUCCESS"};
  const Allow allow(asserts);
  const Outcome plain = read(document, WH_XML_PF_NO_CHECKS);
  if (error != 0) {
    FwError* const kind = x2fwerr(error);
    if (plain.record) Fail("a record of a file that the parser refuses", plain.dump);
    if (kind != nullptr && plain.kind != kind) Fail("not the parser's error", plain.details);
  } else {
    if (plain.record != (plain.kind == nullptr)) Fail("a record or an error", plain.details);
    if (!plain.record && !IsA(structure, plain.kind)) Fail("not of the structure", plain.details);
  }

  const std::string shifted = Shifted(document, document.size() * 7 / 11);
  if (!shifted.empty()) {
    const Outcome moved = read(shifted, WH_XML_PF_NO_CHECKS);
    // Which of several faults is told depends on where the parser is stopped.
    if (error != 0 ? moved.record : !(moved == plain))
      Fail("the edge of a block changes the outcome",
           plain.dump + plain.details + "\n" + moved.dump + moved.details);
  }

  const Outcome checked = read(document, WH_XML_PF_ALL_CHECKS);
  if (plain.record && checked.record && checked.dump != plain.dump)
    Fail("checks change the record", plain.dump + checked.dump);
  if (checked.record && checked.kind != nullptr && !IsA(whErrorInvalid, checked.kind))
    Fail("a check's kind of error", checked.details);
  if (checked.record && !plain.record) Fail("checks make a file better", checked.dump);
}

}  // namespace fuzz

#endif
