// Parts: products and files that a part list names.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "catalogue.h"
#include "check/product.h"

namespace zor::check {

namespace {

constexpr const char* kFile = "partlist.xml";

std::string or_own(const Element& part, const char* attribute, const char* own) {
  const std::string* value = part.find(attribute);
  return value ? *value : own;
}

// The name as it is written, with what is left out in the form that means the product's own.
ProductName written_name(const Element& part) {
  return {or_own(part, "category", "%(THIS-CATEGORY)"), or_own(part, "name", "%(THIS-NAME)"),
          or_own(part, "version", "%(THIS-VERSION)"), or_own(part, "rev", "%(THIS-REV)")};
}

bool has_platform(const Condition& condition) {
  return std::any_of(condition.begin(), condition.end(), [](const Alternative& alternative) {
    return std::any_of(alternative.variables.begin(), alternative.variables.end(),
                       [](const Binding& variable) { return variable.name == "platform"; });
  });
}

// How many platforms there are among varieties.
std::size_t platforms_of(const std::vector<VarietyFacts>& varieties) {
  std::set<std::string> platforms;
  for (const VarietyFacts& variety : varieties)
    for (const Binding& variable : variety.variables)
      if (variable.name == "platform") platforms.insert(variable.value);
  return platforms.size();
}

// What the names of a part lack if it does not exist: the longest beginning that does.
std::string lacking(const Product& product, const ProductName& part) {
  std::string known = product.root();
  for (const std::string* element : {&part.category, &part.name, &part.version, &part.rev}) {
    const std::string next = known + '/' + *element;
    if (access(next.c_str(), F_OK) != 0) {
      // An empty category is the root itself.
      if (known.size() <= product.root().size() + 1) return fmt::format("there is no {}", *element);
      return fmt::format("there is no {} in {}", *element, known.substr(product.root().size() + 1));
    }
    known = next;
  }
  return "its product.xml or partlist.xml is missing";
}

bool is_open(const Element& part, const char* attribute) {
  const std::string* value = part.find(attribute);
  return value && *value == "+";
}

// The rules on one PRODUCT element, for the varieties that have it.
class PartCheck {
 public:
  PartCheck(Product* product, const Element& part)
      : product_(product), document_(*product->document(kFile)), part_(part) {
    if (const Element* pattern = part.child("PATTERN")) condition_ = condition_of(*pattern);
  }

  void run(const std::vector<std::size_t>& varieties) {
    check_spelling();
    for (const std::size_t variety : varieties)
      check_for(variety);
    if (varieties.empty() || !exists_) return;
    if (!any_taken_ && any_complete_)
      product_->tell(
          "ZW305", kFile, part_,
          fmt::format("no variety of {} meets the pattern, so nothing of it is taken", to_.path()),
          "Ask for values that the part's product.xml has.");
  }

 private:
  void check_spelling() {
    if (const std::string* category = part_.find("category")) {
      std::string slashed = *category;
      std::replace_if(
          slashed.begin(), slashed.end(), [](char c) { return c == '\\' || c == ':'; }, '/');
      if (slashed.find('%') == std::string::npos && !slashed.empty() &&
          normal_path(slashed) != slashed)
        product_->tell("ZW308", kFile, document_.value(part_, "category"),
                       fmt::format("to the program {} is another category than {}, so the same "
                                   "product may be taken twice and clash with itself",
                                   *category, normal_path(slashed)),
                       fmt::format("Write {}.", normal_path(slashed)));
    }
    for (const char* attribute : {"version", "rev"})
      if (is_open(part_, attribute))
        product_->tell("ZW302", kFile, document_.value(part_, attribute),
                       fmt::format("a part list does not know +, so the part counts as missing and "
                                   "is skipped"),
                       fmt::format("State the {} of the part.", attribute));
    for_each_element(part_, [&](const Element& element) {
      for (const Attribute& attribute : element.attributes)
        for (const char* name : {"%(BASE-", "%(BINPATH)"})
          if (attribute.value.find(name) != std::string::npos)
            product_->tell("ZW309", kFile, document_.value(element, attribute.name),
                           "the name has a meaning only in the part list of a product on the "
                           "command line; where this product is a part itself, the run fails",
                           "Name parts by category, name, version and revision alone.");
    });
  }

  // Faults of its data files are told of where these are checked.
  void tell_of_absence(const PartFacts& facts) {
    const Fault* other = nullptr;
    for (const Fault& fault : facts.faults)
      if (fault.kind != FaultKind::kMissing) other = &fault;
    if ((other && other->kind == FaultKind::kData) || !told_.insert(to_.path()).second) return;
    product_->tell("ZW301", kFile, part_,
                   other ? fmt::format("the part {} can't be had, so the run fails: {}", to_.path(),
                                       other->text)
                         : fmt::format("the part {} does not exist, so it is skipped without a "
                                       "message: {}",
                                       to_.path(), lacking(*product_, to_)),
                   "Name a product that is there, or put it there. What is left out of the name is "
                   "as in the including product.");
  }

  void check_for(std::size_t variety) {
    if (is_open(part_, "version") || is_open(part_, "rev")) return;
    const PartFacts facts = product_->inspection().part(variety, written_name(part_), condition_);
    // Names that are not defined are told of with all others.
    if (facts.product.name.empty()) return;
    to_ = facts.product;
    if (!facts.exists) {
      tell_of_absence(facts);
      return;
    }
    exists_ = true;
    any_taken_ = any_taken_ || !facts.taken.empty();
    any_complete_ = any_complete_ || facts.complete > 0;
    const Span tag = document_.tag(part_);
    product_->facts().links.push_back({product_->path(), to_.path(), product_->path() + '/' + kFile,
                                       document_.position(tag.at), document_.position(tag.end)});
    if (!has_platform(condition_) && platforms_of(facts.taken) > 1 && told_.insert("all").second)
      product_->tell("ZW304", kFile, part_,
                     fmt::format("the pattern says nothing of platform, so the varieties of {} for "
                                 "{} platforms are all taken at once",
                                 to_.path(), platforms_of(facts.taken)),
                     "Add <MATCH><VAR n=\"platform\" v=\"%(platform)\"/></MATCH> if this product "
                     "has platforms itself, and %(HOST-PLATFORM) if not.");
  }

  Product* product_;
  const Document& document_;
  const Element& part_;
  Condition condition_;
  ProductName to_;
  std::set<std::string> told_;
  bool exists_ = false;
  bool any_taken_ = false;
  bool any_complete_ = false;
};

// A file that does not exist, in any of the varieties that have it.
void check_file(Product* product, const Element& file, const std::vector<std::size_t>& varieties) {
  const std::string* name = file.find("name");
  if (!name) return;
  for (const std::size_t variety : varieties) {
    const Expansion& path = product->inspection().expand(variety, *name);
    if (!path.done() || path.text.empty()) continue;
    const std::string full =
        path.text[0] == '/' ? path.text : product->directory() + '/' + path.text;
    if (access(full.c_str(), F_OK) == 0) continue;
    product->tell("ZW307", kFile, product->document(kFile)->value(file, "name"),
                  fmt::format("the file {} does not exist", full),
                  "Put the file there, or leave it out of the part list.");
    return;
  }
}

std::vector<std::size_t> complete_varieties(const Inspection& inspection) {
  std::vector<std::size_t> complete;
  for (std::size_t i = 0; i < inspection.varieties().size(); ++i)
    if (inspection.varieties()[i].complete) complete.push_back(i);
  return complete;
}

}  // namespace

void check_parts(Product* product) {
  const Document* document = product->document(kFile);
  if (!document) return;
  const Inspection& inspection = product->inspection();
  const std::vector<std::size_t> complete = complete_varieties(inspection);
  for (const Element& spec : document->root.children) {
    const Element* pattern = spec.child("PATTERN");
    const Element* parts = spec.child("PARTS");
    if (!pattern || !parts) continue;
    const Condition condition = condition_of(*pattern);
    std::vector<std::size_t> varieties;
    for (const std::size_t variety : complete)
      if (inspection.meets(variety, condition)) varieties.push_back(variety);
    if (varieties.empty() && !complete.empty() && !has_reference(condition))
      product->tell("ZW306", kFile, *pattern,
                    "no variety of the product meets the pattern, so these parts are never taken",
                    "Ask for variables and values that product.xml has.");
    for (const Element& part : parts->children) {
      if (part.name == "FILE") check_file(product, part, varieties);
      if (part.name == "PRODUCT") PartCheck(product, part).run(varieties);
    }
  }
}

}  // namespace zor::check
