#include "check/product.h"

#include <fmt/format.h>

#include <algorithm>

#include "files.h"

namespace zor::check {

namespace {

std::size_t number_of(std::string_view file) {
  const auto* const found = std::find(std::begin(kDataFiles), std::end(kDataFiles), file);
  return static_cast<std::size_t>(found - std::begin(kDataFiles));
}

}  // namespace

Product::Product(const std::string& root, const ProductName& name, Inspection* inspection)
    : root_(root), name_(name), path_(name.path()), inspection_(inspection) {}

void Product::add_file(std::string_view file) {
  there_[number_of(file)] = true;
}

void Product::make_documents(ReadingAlong* made) {
  for (std::size_t i = 0; i < std::size(kDataFiles); ++i) {
    if (!there_[i]) continue;
    const std::string path = directory() + '/' + kDataFiles[i];
    if (made) documents_[i] = made->take(path);
    if (documents_[i]) continue;
    if (std::optional<std::string> content = content_if_there(path))
      documents_[i] = parse_document(std::move(*content));
  }
}

bool Product::has_files(std::string_view file) const {
  return there_[number_of(file)];
}

const Document* Product::document(std::string_view file) const {
  const auto& document = documents_[number_of(file)];
  return document ? &*document : nullptr;
}

void Product::tell(std::string_view rule, std::string_view file, Span piece, std::string text,
                   std::string help) {
  const Document* from = document(file);
  const Position start = from->position(piece.at);
  const Position end = from->position(std::max(piece.end, piece.at));
  findings_.push_back({fmt::format("{}/{}", path_, file), start.line, start.column, end.line,
                       end.column, std::string(rule), std::move(text), std::move(help), path_});
}

void Product::tell(std::string_view rule, std::string_view file, const Element& element,
                   std::string text, std::string help) {
  tell(rule, file, document(file)->tag(element), std::move(text), std::move(help));
}

void Product::tell(std::string_view rule, const std::string& path, std::string text,
                   std::string help) {
  findings_.push_back(
      {path, 0, 0, 0, 0, std::string(rule), std::move(text), std::move(help), path_});
}

Condition condition_of(const Element& pattern) {
  Condition condition;
  for (const Element& match : pattern.children) {
    Alternative alternative;
    for (const Element& variable : match.children) {
      const std::string* name = variable.find("n");
      const std::string* value = variable.find("v");
      alternative.variables.push_back({name ? *name : "", value ? *value : ""});
    }
    condition.push_back(std::move(alternative));
  }
  return condition;
}

bool has_reference(const std::string& text) {
  return text.find("%(") != std::string::npos || text.find("%[") != std::string::npos ||
         text.find("%{") != std::string::npos;
}

bool has_reference(const Condition& condition) {
  return std::any_of(condition.begin(), condition.end(), [](const Alternative& alternative) {
    return std::any_of(alternative.variables.begin(), alternative.variables.end(),
                       [](const Binding& variable) { return has_reference(variable.value); });
  });
}

bool is_operation(const Element& element) {
  return element.name == "ENV-INSERT" || element.name == "ENV-REMOVE" ||
         element.name == "ENV-DELETE";
}

const Element& name_element(const Element& operation) {
  const Element* name = operation.child("NAME");
  return name ? *name : operation;
}

}  // namespace zor::check
