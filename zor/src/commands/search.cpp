// zor search: products by what they are called, how they are described and what they let one run.
#include <dirent.h>

#include <algorithm>

#include "catalogue.h"
#include "commands/command.h"
#include "config.h"
#include "error.h"
#include "facts.h"
#include "files.h"
#include "render/json.h"
#include "render/text.h"
#include "words.h"

namespace zor {

namespace {

struct Hit {
  ProductFacts facts;
  std::vector<std::string> commands;  // paths of those that the word stands in
};

// The programs in a directory whose names hold the word, which is folded.
void add_commands(const std::string& directory, const std::string& word,
                  std::vector<std::string>* commands) {
  const Directory stream(opendir(directory.c_str()));
  if (!stream) return;
  std::vector<std::string> found;
  while (const dirent* entry = readdir(stream.get())) {
    if (entry->d_name[0] == '.' || folded(entry->d_name).find(word) == std::string::npos) continue;
    const std::string path = directory + '/' + entry->d_name;
    if (is_program(path)) found.push_back(path);
  }
  std::sort(found.begin(), found.end());
  commands->insert(commands->end(), found.begin(), found.end());
}

bool describes(const ProductFacts& facts, const std::string& word) {
  const auto holds = [&](const std::string& text) {
    return folded(text).find(word) != std::string::npos;
  };
  return holds(facts.product.category + '/' + facts.product.name) || holds(facts.title) ||
         std::any_of(facts.descriptions.begin(), facts.descriptions.end(),
                     [&](const Description& each) { return holds(each.text); });
}

// Blanks and line ends of the file turned into single blanks.
std::string on_one_line(std::string_view text) {
  std::string line;
  for (const char c : text) {
    const bool blank = c == ' ' || c == '\n' || c == '\t' || c == '\r';
    if (!blank)
      line += c;
    else if (!line.empty() && line.back() != ' ')
      line += ' ';
  }
  if (!line.empty() && line.back() == ' ') line.pop_back();
  return line;
}

void print_hit(const Hit& hit, std::string* out) {
  *out += hit.facts.product.path();
  std::string about = hit.facts.title;
  for (const Description& description : hit.facts.descriptions) {
    const std::string text = on_one_line(description.text);
    if (!text.empty()) about += (about.empty() ? "" : ": ") + text;
  }
  *out += about.empty() ? "\n" : "  " + about + '\n';
  for (const std::string& command : hit.commands)
    *out += "  " + command + '\n';
}

Json json_of(const Hit& hit) {
  Json descriptions = Json::array();
  for (const Description& each : hit.facts.descriptions)
    descriptions.push_back(
        {{"language", json_text(each.language)}, {"text", json_text(each.text)}});
  return {{"product", json_text(hit.facts.product.path())},
          {"title", json_text(hit.facts.title)},
          {"descriptions", descriptions},
          {"commands", json_texts(hit.commands)}};
}

// The revisions to look at: the latest of each product, or all.
std::vector<ProductName> revisions_in(const Catalogue& catalogue, bool all) {
  std::vector<ProductName> names;
  for (const CatalogueProduct& product : catalogue.products)
    for (const CatalogueVersion& version : product.versions)
      for (const std::string& rev : version.revs)
        if (all || (&version == &product.versions.back() && &rev == &version.revs.back()))
          names.push_back({product.category, product.name, version.version, rev});
  return names;
}

}  // namespace

int run_search(Context* context) {
  CommandLine line("search",
                   "Find products whose name, title or description holds a word, or that put a "
                   "command on PATH whose name does. Small and capital letters are the same.",
                   "zor search weave");
  std::string word;
  std::string root;
  bool all = false;
  bool json = false;
  line.positional("WORD", &word, "what to look for");
  line.option("-r,--root", &root, "the root of the warehouse, in place of ZORROOT");
  line.flag("-a,--all", &all, "look at all versions, not only the latest of each product");
  line.flag("--json", &json, "as JSON");
  line.parse(context->words);
  if (word.empty()) misuse("say which word to look for, as in: zor search weave");
  if (root.empty()) root = context->environment.find("ZORROOT").value_or(".");
  const std::string wanted = folded(word);
  Json list = Json::array();
  Catalogue catalogue = read_catalogue(root);
  hide(load_config(root, context->environment), &catalogue);
  for (const ProductName& name : revisions_in(catalogue, all)) {
    Hit hit;
    try {
      hit.facts = read_product(root, name);
    } catch (const Error& error) {
      context->notes +=
          fmt::format("zor: passed over {}: {}\n", name.path(), first_line(error.what()));
      continue;
    }
    for (const std::string& directory : hit.facts.path)
      add_commands(directory, wanted, &hit.commands);
    if (hit.commands.empty() && !describes(hit.facts, wanted)) continue;
    if (json)
      list.push_back(json_of(hit));
    else
      print_hit(hit, &context->out);
  }
  if (json)
    context->out += printed({{"version", 1}, {"word", json_text(word)}, {"products", list}});
  else if (context->out.empty())
    fail("no product has {} in its name, its description or its commands", word);
  return kDone;
}

}  // namespace zor
