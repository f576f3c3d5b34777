// Diagnoses of data files. An input is the name of a file in its first line, and behind it the
// file.
//
// - There is a diagnosis if and only if the file's reader refuses the file.
// - Each says what it is about, and why it matters, and stands at a place that is in the file.
#include "diagnosis.h"

#include <algorithm>

#include "fuzz.h"
#include "partlist.h"
#include "prodinfo.h"
#include "recipe.h"
#include "settings.h"
#include "warehouse.h"

namespace {

template <class RECORD>
bool Finish(RECORD* record, void (*release)(RECORD**), FwErrorState* err) {
  const bool taken = record != nullptr && err->pError == nullptr;
  release(&record);
  FwErrorClear(err);
  return taken;
}

bool IsTaken(const std::string& name, const std::string& path) {
  fuzz::Text file(path);
  FwErrorState err;
  if (name == "product.xml") {
    FwTextString none = FWT("");
    WH_PRODUCT_NAME* nobody = make_prodname(none, none, none, none);
    WH_PRODUCT_INFO* info = read_prodinfo_file(&err, nobody, file, 0, WH_XML_PF_NO_CHECKS);
    free_prodname(&nobody);
    return Finish(info, free_prodinfo, &err);
  }
  if (name == "partlist.xml")
    return Finish(read_partlist(&err, file, WH_XML_PF_NO_CHECKS), free_partlist, &err);
  if (name == "env.xml" || name == "unenv.xml")
    return Finish(read_env_settings(&err, file, WH_XML_PF_NO_CHECKS), free_env_settings, &err);
  return Finish(read_recipe(&err, file, WH_XML_PF_NO_CHECKS), free_recipe, &err);
}

}  // namespace

void fuzz::Try(Input& input) {
  const std::string name = input.Line();
  constexpr const char* kNames[] = {"product.xml", "partlist.xml", "env.xml", "unenv.xml",
                                    "setup.xml"};
  if (std::find(std::begin(kNames), std::end(kNames), name) == std::end(kNames)) return;
  const std::string document = input.Rest();
  const std::string path = WriteFile(name, document);
  const bool taken = IsTaken(name, path);
  const auto lines = std::count_if(document.begin(), document.end(),
                                   [](char c) { return c == '\n' || c == '\r'; });
  const std::vector<zor::Diagnosis> found = zor::diagnose_file(path);
  for (const zor::Diagnosis& each : found) {
    if (each.file != path || each.text.empty() || each.why.empty() || each.help.empty() ||
        each.read_on.empty())
      Fail("a diagnosis that says too little", told(each));
    if (each.line < 1 || each.line > lines + 1 || each.column < 1 ||
        each.column > static_cast<int>(document.size()) + 1)
      Fail("a diagnosis of a place that is not in the file", told(each));
  }
  if (found.empty() != taken)
    Fail("reader and diagnosis do not agree", taken ? "taken" : "refused");
}
