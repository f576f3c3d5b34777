// zor show: one product, as its data files describe it.

#include "catalogue.h"
#include "commands/command.h"
#include "error.h"
#include "facts.h"
#include "render/json.h"

namespace zor {

namespace {

// ---- JSON ----

Json json_of(const Condition& condition) {
  Json list = Json::array();
  for (const Alternative& alternative : condition)
    list.push_back({{"host", json_text(alternative.host)},
                    {"variables", json_bindings(alternative.variables)}});
  return list;
}

Json json_of(const VarietyFacts& variety) {
  Json segments = Json::array();
  for (const Segment& segment : variety.segments)
    segments.push_back({{"host", json_text(segment.host)}, {"here", segment.here}});
  return {{"name", json_text(variety.name)},
          {"description", json_text(variety.description)},
          {"variables", json_bindings(variety.variables)},
          {"segments", segments},
          {"complete", variety.complete},
          {"for_host", variety.for_host}};
}

Json json_of(const Operation& operation) {
  return {
      {"variable", json_text(operation.variable)}, {"kind", word_for(operation.kind)},
      {"word", json_text(operation.word)},         {"separator", json_text(operation.separator)},
      {"values", json_texts(operation.values)},    {"before", json_texts(operation.before)},
      {"after", json_texts(operation.after)},      {"when", json_of(operation.when)},
      {"file", json_text(operation.file)},         {"line", operation.line}};
}

Json json_of(const Part& part) {
  Json json = json_product(part.product);
  json["when"] = json_of(part.when);
  json["varieties"] = json_of(part.varieties);
  return json;
}

template <typename T>
Json list_of(const std::vector<T>& all) {
  Json list = Json::array();
  for (const T& each : all)
    list.push_back(json_of(each));
  return list;
}

Json document_of(const ProductFacts& facts, const std::vector<CatalogueVersion>& versions) {
  Json descriptions = Json::array();
  for (const Description& each : facts.descriptions)
    descriptions.push_back(
        {{"language", json_text(each.language)}, {"text", json_text(each.text)}});
  Json files = Json::array();
  for (const FilePart& file : facts.files)
    files.push_back({{"path", json_text(file.path)}, {"exists", file.exists}});
  Json others = Json::array();
  for (const CatalogueVersion& version : versions)
    others.push_back({{"version", json_text(version.version)}, {"revs", json_texts(version.revs)}});
  return {{"version", 1},
          {"product", json_product(facts.product)},
          {"directory", json_text(facts.directory)},
          {"title", json_text(facts.title)},
          {"visible", facts.visible},
          {"descriptions", descriptions},
          {"versions", others},
          {"varieties", list_of(facts.varieties)},
          {"parts", list_of(facts.parts)},
          {"operations", list_of(facts.operations)},
          {"recipes", json_texts(facts.recipes)},
          {"files", files}};
}

// ---- Text ----

std::string shown(const std::vector<Binding>& bindings) {
  std::string text;
  for (const Binding& binding : bindings)
    text += (text.empty() ? "" : ", ") + binding.name + '=' + binding.value;
  return text;
}

// In brackets, behind what it is a condition of; nothing if it is always met.
std::string shown(const Condition& condition) {
  std::string text;
  for (const Alternative& alternative : condition) {
    if (alternative.variables.empty()) return {};
    text += (text.empty() ? "" : " or ") + shown(alternative.variables);
  }
  return text.empty() ? text : fmt::format(" [{}]", text);
}

std::string shown(const VarietyFacts& variety) {
  std::string text = variety.name.empty() ? "(without a name)" : variety.name;
  if (!variety.description.empty()) text += ": " + variety.description;
  const std::string variables = shown(variety.variables);
  if (!variables.empty()) text += " [" + variables + ']';
  std::string absent;
  for (const Segment& segment : variety.segments)
    if (!segment.here) absent += (absent.empty() ? "" : ", ") + segment.host;
  if (!absent.empty())
    text += fmt::format(" (not here: {})", absent);
  else if (variety.for_host)
    text += " (for this host)";
  return text;
}

std::string shown(const Operation& operation) {
  std::string text = operation.variable + ' ' +
                     (operation.word.empty() ? word_for(operation.kind) : operation.word);
  for (const std::string& value : operation.values)
    text += ' ' + value;
  for (const std::string& pattern : operation.before)
    text += " before " + pattern;
  for (const std::string& pattern : operation.after)
    text += " after " + pattern;
  return fmt::format("{}{}  {}:{}", text, shown(operation.when), operation.file, operation.line);
}

std::string shown(const Part& part) {
  // What a part leaves out is the including product's own.
  return part.product.path() + shown(part.varieties) +
         (shown(part.when).empty() ? "" : ", for" + shown(part.when));
}

std::string shown(const FilePart& file) {
  return file.path + (file.exists ? "" : " (missing)");
}

template <typename T>
std::string section(const char* title, const std::vector<T>& all) {
  if (all.empty()) return {};
  std::string text = fmt::format("{}:\n", title);
  for (const T& each : all)
    text += fmt::format("  {}\n", shown(each));
  return text;
}

std::string text_of(const ProductFacts& facts, const std::vector<CatalogueVersion>& versions) {
  std::string text = facts.product.path() + '\n';
  if (!facts.title.empty()) text += facts.title + '\n';
  for (const Description& description : facts.descriptions)
    if (!description.text.empty()) text += description.text + '\n';
  text += "Versions:";
  for (const CatalogueVersion& version : versions)
    for (const std::string& rev : version.revs)
      text += ' ' + version.version + '/' + rev;
  text += '\n';
  text += section("Varieties", facts.varieties) + section("Parts", facts.parts) +
          section("Variables", facts.operations);
  if (!facts.recipes.empty()) {
    text += "Old recipes:";
    for (const std::string& recipe : facts.recipes)
      text += ' ' + recipe;
    text += '\n';
  }
  return text + section("Files", facts.files);
}

}  // namespace

int run_show(Context* context) {
  CommandLine line("show",
                   "Show a product: its description, versions, varieties, parts, the variables "
                   "that it touches, and its files.",
                   "zor show tools/weaver");
  bool json = false;
  line.flag("--json", &json, "as JSON");
  const Request request = line.parse_request(*context);
  const ProductName name = one_product(request);
  const ProductFacts facts = read_product(request.root, name);
  const std::string root = request.root.empty() ? "." : request.root;
  std::vector<CatalogueVersion> versions;
  for (CatalogueProduct& product : read_catalogue(root, name.category + '/' + name.name).products)
    if (product.category == name.category && product.name == name.name)
      versions = std::move(product.versions);
  context->out += json ? printed(document_of(facts, versions)) : text_of(facts, versions);
  return kDone;
}

}  // namespace zor
