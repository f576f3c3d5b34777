// What the readers of data files say, and what they pass over.
#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "check/product.h"
#include "diagnosis.h"
#include "formats/names.h"

namespace zor::check {

namespace {

// Which attributes an element may have, separated by blanks.
struct Allowed {
  std::string_view element;
  std::string_view attributes;
};

constexpr Allowed kAllowed[] = {
    {"PRODUCT-INFO", "name flags"},
    {"DESCRIPTION", "lang"},
    {"VARIETIES", ""},
    {"VARIETY", "name desc chosen"},
    {"VAR", "n v"},
    {"SEGMENT", "here host"},
    {"PARTLIST", ""},
    {"PARTSPEC", ""},
    {"PATTERN", "host"},
    {"MATCH", "host"},
    {"PARTS", ""},
    {"PRODUCT", "category name version rev optional"},
    {"FILE", "name built-as pack-as"},
    {"PACK", "medium"},
    {"ENV-SETTINGS", ""},
    {"ENV-GROUP", ""},
    {"ENV-INSERT", "sep"},
    {"ENV-REMOVE", "sep"},
    {"ENV-DELETE", "sep"},
    {"NAME", ""},
    {"VALUE", ""},
    {"BEFORE", ""},
    {"AFTER", ""},
    {"RECIPE", ""},
    {"STEP", "ui"},
    {"SETENV", "op name value context"},
    {"CMD", "cwd feedback"},
    {"MAKE", "cwd"},
    {"RUN", "program cwd feedback wait"},
    {"COPY", "from to onlyifabsent"},
    {"CREATE", ""},
    {"APPEND", ""},
    {"DELETE", "ifempty"},
    {"DIR", "mode"},
    {"SETREG", "op hive key value data type"},
    {"SHORTCUT", "op name program args icon folder workdir"},
    {"JAVA", "name entry location"},
    {"MESSAGE", "title"},
    {"ARG", ""},
    {"DATA", "file creator type mode eol"},
};

bool has_word(std::string_view words, std::string_view word) {
  while (!words.empty()) {
    const std::size_t end = std::min(words.find(' '), words.size());
    if (words.substr(0, end) == word) return true;
    words.remove_prefix(std::min(end + 1, words.size()));
  }
  return false;
}

std::string with_commas(std::string_view words) {
  std::string text(words);
  for (std::size_t at = 0; (at = text.find(' ', at)) != std::string::npos; at += 2)
    text.replace(at, 1, ", ");
  return text;
}

void check_attributes(Product* product, const char* file, const Element& element) {
  if (element.attributes.empty()) return;
  const auto* const row =
      std::find_if(std::begin(kAllowed), std::end(kAllowed),
                   [&](const Allowed& allowed) { return allowed.element == element.name; });
  if (row == std::end(kAllowed)) return;
  for (const Attribute& attribute : element.attributes) {
    if (has_word(row->attributes, attribute.name) || attribute.name.starts_with("xml")) continue;
    product->tell(
        "ZW002", file, product->document(file)->name(element, attribute.name),
        fmt::format("{} has no attribute {}, so this is ignored", element.name, attribute.name),
        row->attributes.empty() ? "Leave it out."
                                : fmt::format("There are: {}.", with_commas(row->attributes)));
  }
}

void check_doctype(Product* product, const char* file, const Document& document) {
  const std::string_view content = document.content;
  const std::string_view prolog = content.substr(0, document.root.at);
  std::size_t at = prolog.find("<!");
  // What stands in a comment declares nothing.
  while (prolog.substr(std::min(at, prolog.size())).starts_with("<!--"))
    at = prolog.find("<!", prolog.find("-->", at));
  if (at == std::string_view::npos) return;
  const std::size_t start = content.find_first_not_of(" \t\r\n", at + 9);
  const std::size_t end = content.find_first_of(" \t\r\n[>", start);
  const std::string_view type = content.substr(start, end - start);
  if (type == document.root.name) return;
  product->tell("ZW003", file, Span{start, end},
                fmt::format("the document type says {}, but the root element is {}", type,
                            document.root.name),
                "State the root element's name, or leave the document type out.");
}

// Faults of the product's own files, where the readers meet them.
void tell_of_faults(Product* product, const std::vector<Fault>& faults) {
  const std::size_t before = product->findings().size();
  for (const char* file : kDataFiles)
    for (const Diagnosis& diagnosis : diagnose_file(product->directory() + '/' + file)) {
      product->tell(Finding{fmt::format("{}/{}", product->path(), file), diagnosis.line,
                            diagnosis.column, diagnosis.line, diagnosis.column + 1, "ZW001",
                            diagnosis.text, diagnosis.why + "; " + diagnosis.help,
                            product->path()});
    }
  if (product->findings().size() > before) return;
  for (const Fault& fault : faults)
    product->tell("ZW001", product->path(), fault.text, "");
}

}  // namespace

bool check_readers(Product* product) {
  if (!is_utf8(product->path())) {
    product->tell("ZW001", product->path(), "the path is not UTF-8, so nobody can use the product",
                  "Rename the directories.");
    return false;
  }
  ReadingAlong made;
  const std::vector<Fault> faults = product->inspection().load(product->name());
  // The readers may have stopped in the midst.
  product->make_documents(faults.empty() ? &made : nullptr);
  for (const char* file : kDataFiles) {
    const Document* document = product->document(file);
    if (!document) continue;
    check_doctype(product, file, *document);
    for_each_element(document->root,
                     [&](const Element& element) { check_attributes(product, file, element); });
  }
  if (faults.empty()) return true;
  tell_of_faults(product, faults);
  return false;
}

}  // namespace zor::check
