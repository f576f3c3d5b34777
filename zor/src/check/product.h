// One product under check: what the rules ask of it, and what they tell.
#ifndef ZOR_CHECK_PRODUCT_H
#define ZOR_CHECK_PRODUCT_H

#include <array>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "check/rule.h"
#include "document.h"
#include "inspection.h"

namespace zor::check {

// Where a PRODUCT element leads, for the rules on products together.
struct Link {
  std::string from;  // category/name/version/rev
  std::string to;
  std::string file;
  Position at;
  Position end;
};

// A separator that is stated for a variable.
struct StatedSeparator {
  std::string variable;
  std::string separator;
  std::string file;
  Position at;
  Position end;
};

// A value that settings insert into a variable or take out of it, if it is no pattern. Values in
// the product's own directory, which no other product names, are left out.
struct Claim {
  enum class Kind : char { kInsert = 'i', kRemove = 'r', kDelete = 'd' };  // the last: all values

  Kind kind = Kind::kInsert;
  std::string variable;
  std::string value;
  ProductName product;
  std::string file;
  Position at;
  Position end;
};

// What a product gives besides findings.
struct Facts {
  std::vector<Link> links;
  std::vector<StatedSeparator> separators;
  std::vector<Claim> claims;
};

class Product {
 public:
  // The root is absolute and leads to a directory.
  Product(const std::string& root, const ProductName& name, Inspection* inspection);

  const ProductName& name() const { return name_; }
  const std::string& root() const { return root_; }
  const std::string& path() const { return path_; }
  std::string directory() const { return root_ + '/' + path_; }
  Inspection& inspection() const { return *inspection_; }

  // Null if there is no such file, or it is no XML.
  const Document* document(std::string_view file) const;

  // These tell of a piece of a data file, of an element, or of a path below the root as a whole.
  void tell(std::string_view rule, std::string_view file, Span piece, std::string text,
            std::string help);
  void tell(std::string_view rule, std::string_view file, const Element& element, std::string text,
            std::string help);
  void tell(std::string_view rule, const std::string& path, std::string text, std::string help);
  void tell(Finding finding) { findings_.push_back(std::move(finding)); }

  // Notes a data file. It must be a regular one.
  void add_file(std::string_view file);
  // Makes the documents: takes those that were made when the files were read, if there are any.
  void make_documents(ReadingAlong* made);

  std::vector<Finding>& findings() { return findings_; }
  Facts& facts() { return facts_; }
  bool has_files(std::string_view file) const;

 private:
  std::string root_;
  ProductName name_;
  std::string path_;
  Inspection* inspection_;
  std::array<bool, std::size(kDataFiles)> there_ = {};
  std::array<std::optional<Document>, std::size(kDataFiles)> documents_;
  std::vector<Finding> findings_;
  Facts facts_;
};

// Calls visit with the element and all below it.
template <typename Visit>
void for_each_element(const Element& element, const Visit& visit) {
  visit(element);
  for (const Element& child : element.children)
    for_each_element(child, visit);
}

// The condition that a PATTERN element states.
Condition condition_of(const Element& pattern);

// Whether it holds a reference, which a pattern outside recipes does not replace.
bool has_reference(const std::string& text);
bool has_reference(const Condition& condition);

// Operations of env.xml or unenv.xml: ENV-INSERT, ENV-REMOVE, ENV-DELETE.
bool is_operation(const Element& element);
// The name of the variable; the element that holds it.
const Element& name_element(const Element& operation);

// ---- The groups of rules ----

// What lies beside versions and revisions of a product, and what these are called.
std::vector<Finding> check_versions(const std::string& root, const std::string& category_and_name);
// False if the product's files can't be read without danger: then no other rule is asked.
bool check_files(Product* product);
// False if the product can't be loaded.
bool check_readers(Product* product);
void check_varieties(Product* product);
void check_parts(Product* product);
void check_settings(Product* product);
void check_computations(Product* product);

}  // namespace zor::check

#endif
