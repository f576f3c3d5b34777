// zor avail: what lies in the warehouse.
#include <nlohmann/json.hpp>

#include "catalogue.h"
#include "commands/command.h"
#include "error.h"

namespace zor {

namespace {

using Json = nlohmann::ordered_json;

// Names on disk are bytes. Those that are not UTF-8 are replaced by U+FFFD.
std::string printed(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

Json json_of(const CatalogueProduct& product) {
  Json versions = Json::array();
  for (const CatalogueVersion& version : product.versions)
    versions.push_back({{"version", version.version}, {"revs", version.revs}});
  return {{"category", product.category}, {"name", product.name}, {"versions", versions}};
}

// One line for each revision, the latest of each product marked.
void print_lines(const CatalogueProduct& product, std::string* out) {
  for (const CatalogueVersion& version : product.versions)
    for (const std::string& rev : version.revs) {
      const bool latest = &version == &product.versions.back() && &rev == &version.revs.back();
      *out += ProductName{product.category, product.name, version.version, rev}.path() +
              (latest ? " (latest)\n" : "\n");
    }
}

}  // namespace

int run_avail(Context* context) {
  CommandLine line("avail", "List the products of the warehouse, one revision a line.",
                   "zor avail 'tools/*'");
  std::string pattern;
  std::string root;
  bool json = false;
  line.positional("PATTERN", &pattern,
                  "only products whose category/name matches, as in 'tools/*'");
  line.option("-r,--root", &root, "the root of the warehouse, in place of ZORROOT");
  line.flag("--json", &json, "as JSON");
  line.parse(context->words);
  if (root.empty()) root = context->environment.find("ZORROOT").value_or(".");
  const Catalogue catalogue = read_catalogue(root);
  Json products = Json::array();
  bool any = false;
  for (const CatalogueProduct& product : catalogue.products) {
    const std::string path = product.category + '/' + product.name;
    if (!pattern.empty() && !pattern_matches(pattern, path) && product.name != pattern) continue;
    any = true;
    if (json)
      products.push_back(json_of(product));
    else
      print_lines(product, &context->out);
  }
  for (const CatalogueRemark& remark : catalogue.remarks)
    context->notes += fmt::format("zor: {}: {}\n", remark.path, remark.text);
  if (json) context->out += printed({{"format", 1}, {"products", products}});
  if (!any && !json) fail("there is no such product in {}", root);
  return kDone;
}

}  // namespace zor
