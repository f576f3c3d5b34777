// Requests. An input is the words of a command line, one a line, for a small warehouse.
//
// - The words are taken, or refused by an Error that says something.
// - Taking them again gives the same.
// - What a short word without conditions was taken for is what its whole path is taken for.
#include "request.h"

#include <string>
#include <vector>

#include "error.h"
#include "fuzz.h"

namespace {

// Options of a subcommand: one of either form.
zor::OptionForm Lookup(const std::string& word) {
  if (word == "--json") return zor::OptionForm::kFlag;
  return word == "--format" || word == "-f" ? zor::OptionForm::kTakesValue
                                            : zor::OptionForm::kUnknown;
}

const std::string& Root() {
  static const std::string kRoot = [] {
    for (const char* product :
         {"tools/loom/1.9/1", "tools/loom/1.10/2", "libs/yarn/fibre/2.0/1", "site/Contents/1/1",
          "tools/spindle/3/1", "other/spindle/3/1", "a b/c/1/1"})
      fuzz::WriteFile("root/" + std::string(product) + "/product.xml", "<PRODUCT-INFO/>");
    fuzz::WriteFile("root/zor.toml",
                    "[aliases]\nl = 'tools/loom'\n[sets]\ns = ['site', 'l/1.9']\n"
                    "[versions]\n'tools/loom' = '1.9'\n");
    return fuzz::Directory() + "/root";
  }();
  return kRoot;
}

std::string Told(const zor::SplitWords& split) {
  std::string all;
  for (const auto& group : split.request.groups) {
    all += "group\n";
    for (const zor::NamedQuery& named : group) {
      all += named.word + " " + named.query.product.path();
      for (const zor::Binding& condition : named.query.conditions)
        all += " " + condition.name + "=" + condition.value;
      all += "\n";
    }
  }
  for (const std::string& word : split.rest)
    all += "rest " + word + "\n";
  for (const std::string& word : split.request.program)
    all += "program " + word + "\n";
  return all;
}

}  // namespace

void fuzz::Try(Input& input) {
  std::vector<std::string> words;
  while (!input.Ended())
    words.push_back(input.Line());
  // Another root might be any directory, and all that is below it would be searched.
  for (const std::string& word : words)
    if (word.starts_with("-r") || word.starts_with("--root")) return;
  const zor::Environment environment({"ZORROOT=" + Root(), "ZOR_SYSTEM_CONFIG=/nonexistent"});
  try {
    const zor::SplitWords split = zor::take_request(words, Lookup, environment);
    if (Told(split) != Told(zor::take_request(words, Lookup, environment)))
      Fail("the same words are taken otherwise the second time", Told(split));
    for (const auto& group : split.request.groups)
      for (const zor::NamedQuery& named : group)
        if (!named.exact && named.query.conditions.empty()) {
          const std::string path = named.query.product.path();
          if (zor::read_word(path, Root()).product != named.query.product)
            Fail("a product is another by its path", Quoted(named.word) + " " + Quoted(path));
        }
  } catch (const zor::Error& error) {
    if (std::string(error.what()).empty()) Fail("an error that says nothing");
  }
}
