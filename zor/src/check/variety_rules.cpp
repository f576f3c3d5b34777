// Varieties: which are never taken, and which are taken together.
#include <fmt/format.h>

#include <algorithm>

#include "check/product.h"

namespace zor::check {

namespace {

// Hosts on which warehouses are used today. A platform that fits none of them, nor the host of the
// check, is one of the past or misspelt.
constexpr const char* kHosts[] = {"linux_6_1_0-x86_64",
                                  "linux_6_1_0-i686",
                                  "linux_6_1_0-aarch64",
                                  "linux_6_1_0-ppc64le",
                                  "linux_6_1_0-riscv64",
                                  "linux_6_1_0-s390x",
                                  "linux_6_1_0-armv7l",
                                  "linux_6_1_0-loongarch64",
                                  "darwin-arm64",
                                  "darwin-x86_64",
                                  "solaris_2_11-x86",
                                  "solaris_2_11-sparc",
                                  "win_vista-x86_64",
                                  "win_xp-x86",
                                  "pc-x86",
                                  "hpux_11-hppa",
                                  "irix_6_5-mips",
                                  "irix_6_5-mips_r8000",
                                  "macos_9-ppc",
                                  "macosx-ppc"};

bool has_fitting_host(const std::string& platform) {
  return platforms_fit(platform, host_platform_name()) ||
         std::any_of(std::begin(kHosts), std::end(kHosts),
                     [&](const char* host) { return platforms_fit(platform, host); });
}

// The elements of a product.xml, beside the facts that the reader made of them.
std::vector<const Element*> variety_elements(const Document& document) {
  const Element* varieties = &document.root;
  if (varieties->name != "VARIETIES") varieties = document.root.child("VARIETIES");
  std::vector<const Element*> elements;
  if (varieties)
    for (const Element& child : varieties->children)
      elements.push_back(&child);
  return elements;
}

void check_segments(Product* product, const Element& variety) {
  bool has_segment = false;
  for (const Element& child : variety.children) {
    if (child.name != "SEGMENT") continue;
    has_segment = true;
    const std::string* here = child.find("here");
    const std::string word = here ? *here : "";
    const std::size_t digit = word.find_first_not_of(" \t\r\n+-");
    if (digit != std::string::npos && word[digit] >= '0' && word[digit] <= '9') continue;
    product->tell(
        "ZW202", "product.xml",
        here ? product->document("product.xml")->value(child, "here")
             : product->document("product.xml")->tag(child),
        here ? fmt::format("here=\"{}\" is no number and counts as 0, so the variety is "
                           "not here and is skipped without a message",
                           word)
             : "the segment has no attribute here, which counts as 0, so the variety is "
               "not here and is skipped without a message",
        "Write here=\"1\" for a segment that is installed, and here=\"0\" for one that is "
        "not.");
  }
  if (!has_segment)
    product->tell("ZW201", "product.xml", variety,
                  "the variety has no segment, so it is skipped without a message",
                  "Add <SEGMENT here=\"1\"/> to the variety.");
}

void check_variables(Product* product, const Element& variety) {
  const Document& document = *product->document("product.xml");
  std::vector<std::string> names;
  for (const Element& child : variety.children) {
    if (child.name != "VAR") continue;
    const std::string* name = child.find("n");
    const std::string* value = child.find("v");
    if (!name) continue;
    if (is_reserved_name(*name))
      product->tell("ZW207", "product.xml", document.value(child, "n"),
                    fmt::format("%({}) means something else in every product, so this value is "
                                "out of reach",
                                *name),
                    "Give the variable another name.");
    if (std::find(names.begin(), names.end(), *name) != names.end())
      product->tell(
          "ZW208", "product.xml", document.value(child, "n"),
          fmt::format("the variety has a variable {} already, and the first one counts", *name),
          "Leave one of the two out.");
    names.push_back(*name);
    const bool plain = value && value->find('%') == std::string::npos;
    if ((*name == "platform" || *name == "target") && plain && !has_fitting_host(*value))
      product->tell(
          "ZW204", "product.xml", document.value(child, "v"),
          fmt::format("{} fits no host of today", *value),
          "Write a system and a processor that zorenv-warehouse(5) lists under PLATFORMS, "
          "such as linux-x86, or a processor as uname -m prints it, such as "
          "linux-aarch64.");
  }
}

bool has_platform(const VarietyFacts& variety) {
  return std::any_of(variety.variables.begin(), variety.variables.end(),
                     [](const Binding& variable) { return variable.name == "platform"; });
}

// Whether each request that takes the one takes the other, too.
bool takes_along(const VarietyFacts& one, const VarietyFacts& other) {
  return std::all_of(one.variables.begin(), one.variables.end(), [&](const Binding& variable) {
    return std::any_of(other.variables.begin(), other.variables.end(), [&](const Binding& there) {
      if (there.name != variable.name) return false;
      return there.value == variable.value ||
             (variable.name == "platform" && platforms_fit(there.value, variable.value));
    });
  });
}

void check_together(Product* product, const std::vector<const Element*>& elements) {
  const std::vector<VarietyFacts>& varieties = product->inspection().varieties();
  if (elements.size() != varieties.size()) return;
  for (std::size_t i = 1; i < varieties.size(); ++i) {
    if (has_platform(varieties[i]) == has_platform(varieties[0])) continue;
    product->tell(
        "ZW205", "product.xml", *elements[i],
        has_platform(varieties[0])
            ? "the variety has no platform, though the first one has: no host ever takes it"
            : "the variety has a platform, though the first one has none: it is taken on "
              "every host",
        "Give a platform to all varieties or to none.");
    return;
  }
  for (std::size_t i = 1; i < varieties.size(); ++i)
    for (std::size_t j = 0; j < i; ++j) {
      if (!varieties[i].complete || !varieties[j].complete) continue;
      if (!takes_along(varieties[i], varieties[j]) && !takes_along(varieties[j], varieties[i]))
        continue;
      product->tell("ZW206", "product.xml", *elements[i],
                    fmt::format("no condition takes this variety and leaves {} out, so both are "
                                "applied",
                                varieties[j].name.empty() ? fmt::format("number {}", j + 1)
                                                          : varieties[j].name),
                    "Give the varieties variables that exclude one another.");
      return;
    }
}

}  // namespace

void check_varieties(Product* product) {
  const Document* document = product->document("product.xml");
  if (!document) return;
  const std::vector<const Element*> elements = variety_elements(*document);
  const std::size_t before = product->findings().size();
  for (const Element* element : elements) {
    check_segments(product, *element);
    check_variables(product, *element);
  }
  const auto& varieties = product->inspection().varieties();
  const bool any = std::any_of(varieties.begin(), varieties.end(),
                               [](const VarietyFacts& variety) { return variety.complete; });
  // What is told of single varieties says why.
  const bool explained = std::any_of(
      product->findings().begin() + static_cast<long>(before), product->findings().end(),
      [](const Finding& finding) { return finding.rule == "ZW201" || finding.rule == "ZW202"; });
  if (!any && !explained)
    product->tell("ZW203", "product.xml", document->root,
                  varieties.empty() ? "the product has no variety, so it never sets anything"
                                    : "no variety has all of its segments here, so the product "
                                      "never sets anything",
                  "Add a variety with <SEGMENT here=\"1\"/>.");
  check_together(product, elements);
}

}  // namespace zor::check
