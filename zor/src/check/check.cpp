#include "check/check.h"

#include <algorithm>
#include <memory>

#include "catalogue.h"
#include "check/product.h"
#include "check/together.h"
#include "check/workers.h"

namespace zor::check {

namespace {

constexpr std::size_t kProductsInMemory = 256;

struct Item {
  ProductName product;
  bool first = false;  // of its category and name
};

std::vector<Item> items_of(const Catalogue& catalogue) {
  std::vector<Item> items;
  for (const CatalogueProduct& product : catalogue.products) {
    bool first = true;
    for (const CatalogueVersion& version : product.versions)
      for (const std::string& rev : version.revs) {
        items.push_back({{product.category, product.name, version.version, rev}, first});
        first = false;
      }
  }
  return items;
}

// What one process does.
class Checker {
 public:
  Checker(std::string root, const std::vector<Item>* items)
      : root_(std::move(root)), items_(items), inspection_(root_) {}

  Findings check(std::size_t number) {
    const Item& item = (*items_)[number];
    Findings result;
    if (item.first)
      result.findings = check_versions(root_, item.product.category + '/' + item.product.name);
    if (++checked_ % kProductsInMemory == 0) inspection_.forget();
    Product product(root_, item.product, &inspection_);
    if (check_files(&product) && check_readers(&product)) {
      check_varieties(&product);
      check_parts(&product);
      check_settings(&product);
      check_computations(&product);
    }
    std::move(product.findings().begin(), product.findings().end(),
              std::back_inserter(result.findings));
    result.facts = std::move(product.facts());
    return result;
  }

 private:
  std::string root_;
  const std::vector<Item>* items_;
  Inspection inspection_;
  std::size_t checked_ = 0;
};

// Several products may lead to one finding, and so may several requests for one.
void sort_out(std::vector<Finding>* findings) {
  std::sort(findings->begin(), findings->end());
  const auto same = [](const Finding& a, const Finding& b) {
    return a.file == b.file && a.line == b.line && a.column == b.column && a.rule == b.rule &&
           a.text == b.text;
  };
  findings->erase(std::unique(findings->begin(), findings->end(), same), findings->end());
}

}  // namespace

Report check_warehouse(const std::string& root, const std::string& below, const Progress& progress,
                       const std::function<void()>& stopped) {
  const std::string absolute = absolute_root(root);
  const Catalogue catalogue = read_catalogue(absolute, below);
  const std::vector<Item> items = items_of(catalogue);
  Findings all;
  for (const std::string& path : catalogue.without_info)
    all.findings.push_back({path, 0, 0, 0, 0, "ZW112",
                            "there is no product.xml, so this is no product, and its other data "
                            "files are never read",
                            "Write a product.xml with a variety, or move the directory away.", ""});
  Together together;
  std::unique_ptr<Checker> checker;
  Work work;
  work.items = items.size();
  work.check = [&](std::size_t number) {
    // Made in the process that does the work.
    if (!checker) checker = std::make_unique<Checker>(absolute, &items);
    return checker->check(number);
  };
  work.take = [&](Findings findings) {
    std::move(findings.findings.begin(), findings.findings.end(), std::back_inserter(all.findings));
    together.add(findings.facts);
  };
  work.lost = [&](std::size_t number, bool takes_long) {
    const std::string path = items[number].product.path();
    all.findings.push_back(
        {path, 0, 0, 0, 0, "ZW507",
         takes_long ? "computing the product's environment takes longer than this check waits"
                    : "computing the product's environment exhausts memory",
         "Look for a value that refers to itself, for parts of enormous number, and for pipes in "
         "place of files.",
         path});
  };
  work.progress = progress;
  work.stopped = stopped;
  run_workers(work);
  together.tell(&all.findings);
  sort_out(&all.findings);
  return {std::move(all.findings), items.size()};
}

}  // namespace zor::check
