// zor undo-file: the unenv.xml that a product's env.xml needs.
#include <unistd.h>

#include <algorithm>

#include "commands/command.h"
#include "error.h"
#include "facts.h"
#include "files.h"
#include "render/json.h"
#include "undo.h"

namespace zor {

namespace {

const char* element_name(OperationKind kind) {
  return kind == OperationKind::kInsert   ? "ENV-INSERT"
         : kind == OperationKind::kRemove ? "ENV-REMOVE"
                                          : "ENV-DELETE";
}

// The names between commas.
std::vector<std::string> names_in(const std::string& list) {
  std::vector<std::string> names;
  for (std::size_t start = 0; start < list.size();) {
    const std::size_t end = std::min(list.find(',', start), list.size());
    if (end > start) names.push_back(list.substr(start, end - start));
    start = end + 1;
  }
  return names;
}

std::string notes_on(const UndoFile& file) {
  std::string notes;
  for (const NotUndone& each : file.not_undone)
    notes += fmt::format("zor: {}:{}: {} of {} can't be undone: {}\n", each.operation.file,
                         each.operation.line, element_name(each.operation.kind),
                         each.operation.variable, each.why);
  for (const UndoClaim& claim : file.claims)
    notes += "zor: " + shown(claim) + '\n';
  return notes;
}

Json document_of(const UndoFile& file, const std::string& path, bool is_written) {
  Json claims = Json::array();
  for (const UndoClaim& claim : file.claims)
    claims.push_back({{"variable", json_text(claim.variable)},
                      {"separator", json_text(claim.separator)},
                      {"set", claim.set},
                      {"unset", claim.unset},
                      {"tidy", claim.tidy},
                      {"order", claim.order},
                      {"lacks", json_texts(claim.lacks)},
                      {"same", json_texts(claim.same)}});
  Json not_undone = Json::array();
  for (const NotUndone& each : file.not_undone)
    not_undone.push_back({{"variable", json_text(each.operation.variable)},
                          {"operation", element_name(each.operation.kind)},
                          {"file", json_text(each.operation.file)},
                          {"line", each.operation.line},
                          {"why", json_text(each.why)},
                          {"covered", each.is_covered}});
  return {{"version", 1},           {"path", json_text(path)},
          {"written", is_written},  {"text", json_text(written(file))},
          {"as_before_if", claims}, {"not_undone", not_undone}};
}

[[noreturn]] void fail_without_settings(const ProductFacts& facts) {
  if (facts.recipes.empty())
    fail("{} has no env.xml, so there is nothing to undo", facts.product.path());
  fail(
      "{} has no env.xml but old recipes, and an unenv.xml would put these out of use; unset.xml "
      "undoes what setup.xml does",
      facts.product.path());
}

}  // namespace

int run_undo_file(Context* context) {
  CommandLine line("undo-file",
                   "Print the unenv.xml that takes back what a product's env.xml sets, and say "
                   "what can't be taken back.",
                   "zor undo-file tools/weaver");
  bool write = false;
  bool force = false;
  bool json = false;
  std::string own;
  line.flag("-w,--write", &write, "write it beside env.xml");
  line.flag("--force", &force, "with --write, also in place of one that is there");
  line.option("--delete", &own,
              "variables that are the product's own, with commas between them: they are deleted, "
              "and not left empty");
  line.flag("--json", &json, "as JSON");
  const Request request = line.parse_request(*context);
  if (force && !write) misuse("--force belongs to --write");
  const ProductFacts facts = read_product(request.root, one_product(request));
  if (access((facts.directory + "/env.xml").c_str(), F_OK) != 0) fail_without_settings(facts);
  const std::string path = facts.directory + "/unenv.xml";
  if (write && !force && access(path.c_str(), F_OK) == 0)
    fail("{} is there already; --force replaces it", path);
  const UndoFile file = undo_of(facts, read_meanings(request.root, facts.product), names_in(own));
  if (write) write_file(path, written(file));
  if (json) {
    context->out += printed(document_of(file, path, write));
    return kDone;
  }
  if (!facts.parts.empty())
    context->notes += "zor: what its parts set is undone by files of their own\n";
  context->notes += notes_on(file);
  context->out += write ? path + '\n' : written(file);
  return kDone;
}

}  // namespace zor
