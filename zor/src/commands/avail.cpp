// zor avail: what lies in the warehouse.
#include "catalogue.h"
#include "commands/command.h"
#include "config.h"
#include "diagnosis.h"
#include "error.h"
#include "render/json.h"
#include "render/text.h"

namespace zor {

namespace {

Json json_of(const CatalogueProduct& product) {
  Json versions = Json::array();
  for (const CatalogueVersion& version : product.versions)
    versions.push_back(
        {{"version", json_text(version.version)}, {"revs", json_texts(version.revs)}});
  const CatalogueVersion& latest = product.versions.back();
  return {
      {"category", json_text(product.category)},
      {"name", json_text(product.name)},
      {"versions", versions},
      {"latest", {{"version", json_text(latest.version)}, {"rev", json_text(latest.revs.back())}}},
  };
}

Json json_of(const CatalogueRemark& remark) {
  return {{"path", json_text(remark.path)}, {"text", json_text(remark.text)}};
}

// One text for each revision, the latest of the product marked.
void add_lines(const CatalogueProduct& product, std::vector<std::string>* lines) {
  for (const CatalogueVersion& version : product.versions)
    for (const std::string& rev : version.revs) {
      const bool latest = &version == &product.versions.back() && &rev == &version.revs.back();
      lines->push_back(ProductName{product.category, product.name, version.version, rev}.path() +
                       (latest ? " (latest)" : ""));
    }
}

// With the marks of the latest in green.
std::string coloured(std::string text, bool wanted) {
  constexpr std::string_view kMark = "(latest)";
  if (!wanted) return text;
  std::string all;
  std::string_view rest = text;
  for (std::size_t at; (at = rest.find(kMark)) != std::string_view::npos;) {
    all += rest.substr(0, at);
    all += "\x1b[32m";
    all += kMark;
    all += "\x1b[m";
    rest.remove_prefix(at + kMark.size());
  }
  return all.append(rest);
}

bool is_wanted(const CatalogueProduct& product, const std::string& pattern) {
  return pattern.empty() || product.name == pattern ||
         pattern_matches(pattern, product.category + '/' + product.name);
}

}  // namespace

int run_avail(Context* context) {
  CommandLine line("avail",
                   "List the products of the warehouse: in columns on a terminal, one revision a "
                   "line elsewhere.",
                   "zor avail 'tools/*'");
  std::string pattern;
  std::string root;
  bool json = false;
  line.positional("PATTERN", &pattern,
                  "only products of that name, or whose category/name matches, as in 'tools/*'");
  line.option("-r,--root", &root, "the root of the warehouse, in place of ZORROOT");
  line.flag("--json", &json, "as JSON");
  line.parse(context->words);
  if (root.empty()) root = context->environment.find("ZORROOT").value_or(".");
  const Config config = load_config(root, context->environment);
  Catalogue catalogue = read_catalogue(root);
  hide(config, &catalogue);
  std::vector<std::string> names;
  for (const CatalogueProduct& product : catalogue.products)
    for (const std::string& name : {product.name, product.category + '/' + product.name})
      names.push_back(name);
  std::erase_if(catalogue.products,
                [&](const CatalogueProduct& product) { return !is_wanted(product, pattern); });
  if (json) {
    Json products = Json::array();
    for (const CatalogueProduct& product : catalogue.products)
      products.push_back(json_of(product));
    Json remarks = Json::array();
    for (const CatalogueRemark& remark : catalogue.remarks)
      remarks.push_back(json_of(remark));
    context->out += printed(
        {{"version", 1}, {"root", json_text(root)}, {"products", products}, {"remarks", remarks}});
    return kDone;
  }
  for (const CatalogueRemark& remark : catalogue.remarks)
    context->notes += fmt::format("zor: {}: {}\n", remark.path, remark.text);
  if (catalogue.products.empty()) {
    const std::string near = meant(pattern, names);
    fail("there is no such product in {}{}", root,
         near.empty() ? "" : fmt::format("; did you mean {}?", near));
  }
  std::vector<std::string> lines;
  for (const CatalogueProduct& product : catalogue.products)
    add_lines(product, &lines);
  const Screen screen = Screen::of_output(context->environment);
  if (!screen.is_terminal) {
    for (const std::string& each : lines)
      context->out += each + '\n';
    return kDone;
  }
  for (std::string& each : lines)
    each = without_controls(each, false);
  context->out += coloured(in_columns(lines, screen.width), screen.has_colour && config.colour);
  return kDone;
}

}  // namespace zor
