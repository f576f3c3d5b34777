// Recipe files. An input is a digit that chooses the file's name, and so what it may hold, and the
// file.
//
// Besides what holds for every reader (support/reader.h): the commands of a record can be expanded,
// which keeps their types, and the conversion of line ends leaves none but those of the style.
#include "recipe.h"

#include "reader.h"

namespace {

const char* file_name;

void Expand(WH_COMMAND* command) {
  // Files would be read from everywhere.
  const std::string dump = Dump(command);
  if (dump.find("%[") != std::string::npos || dump.find("%{") != std::string::npos) return;
  fuzz::Text source("setup.xml");
  WH_SYMTAB* table = make_symtab(source);
  FwErrorState err;
  WH_COMMAND* expanded = wh_expand_command(&err, command, table);
  if (expanded->type != command->type) fuzz::Fail("expansion changes the type");
  if (err.pError == nullptr && dump.find('%') == std::string::npos && Dump(expanded) != dump)
    fuzz::Fail("expansion changes a command that has nothing to expand", dump);
  if (err.pError != nullptr && err.pError != whErrorNoValue) fuzz::Fail("an expansion's error");
  free_command(&expanded);
  FwErrorClear(&err);
  free_symtab(&table);
}

fuzz::Outcome Read(const std::string& document, WH_XML_PARSE_FLAGS flags) {
  fuzz::Text path(fuzz::WriteFile(file_name, document));
  FwErrorState err;
  WH_RECIPE* recipe = read_recipe(&err, path, flags);
  if (recipe != nullptr)
    for (int32 i = 0; i < FwVectorLength(&recipe->steps); ++i) {
      auto* step = static_cast<WH_STEP*>(FwVectorGetElement(&recipe->steps, i));
      for (int32 j = 0; j < FwVectorLength(&step->commands); ++j)
        Expand(static_cast<WH_COMMAND*>(FwVectorGetElement(&step->commands, j)));
    }
  return fuzz::Finish(recipe, free_recipe, &err);
}

// A CR behind an LF, however far, is dropped once; every other CR or LF is a line end.
std::string PlainLineEnds(const std::string& text, const std::string& end) {
  std::string converted;
  bool after_lf = false;
  for (const char c : text) {
    if (c == '\n') {
      after_lf = true;
      converted += end;
    } else if (c == '\r' && after_lf) {
      after_lf = false;
    } else if (c == '\r') {
      converted += end;
    } else {
      converted += c;
    }
  }
  return converted;
}

void CheckLineEnds(const std::string& raw) {
  const std::string text = raw.c_str();
  const fuzz::Allow allow = fuzz::Malformed(text);
  const std::pair<const char*, const char*> styles[] = {{"cr", "\r"}, {"crlf", "\r\n"}, {"", "\n"}};
  for (const auto& [style, end] : styles) {
    fuzz::Text writable(text), word(style);
    FwStrRecord converted = {};
    FwStrRecordOpen(&converted);
    wh_convert_eol(writable, &converted, word);
    if (PlainLineEnds(text, end) != FWC(converted.pbz))
      fuzz::Fail("line ends converted wrong", fuzz::Quoted(text) + " " + fuzz::Quoted(end));
    FwStrRecordAbandon(&converted);
  }
}

}  // namespace

void fuzz::Try(Input& input) {
  static const char* const kNames[] = {"setup.xml",   "unset.xml",     "prep.xml",
                                       "install.xml", "uninstall.xml", "other.xml"};
  file_name = kNames[input.Below(6)];
  const std::string document = input.Rest();
  CheckReader(document, whErrorInvalid, Read);
  CheckLineEnds(document);
}
