// The environment settings files, env.xml and unenv.xml. An input is the file.
//
// Besides what holds for every reader (support/reader.h): the operations of a record can be
// expanded, which leaves their shape: type, separator, numbers of values and of patterns.
#include "settings.h"

#include "reader.h"

namespace {

std::size_t Count(const FwVector& vector) {
  return static_cast<std::size_t>(FwVectorLength(&vector));
}

std::string Shape(const WH_ENV_OP* op) {
  std::string shape = std::to_string(op->type) + " ";
  if (op->u.ins == nullptr) return shape + "nothing";
  if (op->type == wh_env_insert) {
    const WH_ENV_INSERT* ins = op->u.ins;
    return shape + std::to_string(ins->sep) + " " + std::to_string(Count(ins->before)) + " " +
           std::to_string(Count(ins->after));
  }
  return shape + std::to_string(op->u.rem->sep) + " " + std::to_string(Count(op->u.rem->values));
}

void Expand(WH_ENV_OP* op) {
  // Files would be read from everywhere.
  if (Dump(op).find("%[") != std::string::npos || Dump(op).find("%{") != std::string::npos) return;
  fuzz::Text source("env.xml");
  WH_SYMTAB* table = make_symtab(source);
  FwErrorState err;
  WH_ENV_OP* expanded = wh_expand_env_op(&err, op, table);
  if (err.pError == nullptr && Shape(op) != Shape(expanded))
    fuzz::Fail("expansion changes the shape", Shape(op) + " " + Shape(expanded));
  if (err.pError != nullptr && err.pError != whErrorNoValue) fuzz::Fail("an expansion's error");
  free_env_op(&expanded);
  FwErrorClear(&err);
  free_symtab(&table);
}

fuzz::Outcome Read(const std::string& document, WH_XML_PARSE_FLAGS flags) {
  fuzz::Text path(fuzz::WriteFile("env.xml", document));
  FwErrorState err;
  WH_ENV_SETTINGS* settings = read_env_settings(&err, path, flags);
  if (settings != nullptr)
    for (int32 i = 0; i < FwVectorLength(&settings->groups); ++i) {
      auto* group = static_cast<WH_ENV_GROUP*>(FwVectorGetElement(&settings->groups, i));
      for (int32 j = 0; j < FwVectorLength(&group->ops); ++j)
        Expand(static_cast<WH_ENV_OP*>(FwVectorGetElement(&group->ops, j)));
    }
  return fuzz::Finish(settings, free_env_settings, &err);
}

}  // namespace

void fuzz::Try(Input& input) {
  CheckReader(input.Rest(), VQN_XML_ERROR, Read);
}
