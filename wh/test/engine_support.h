// Helpers of the engine's tests: environments as lists, and warehouses laid out on disk.
#ifndef ENGINE_SUPPORT_H
#define ENGINE_SUPPORT_H

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "environ.h"
#include "model_support.h"
#include "process.h"

inline FwTextString Fwt(const std::string& text) {
  return FWT(text.c_str());
}

// A table that is freed at the end of the scope.
class Environment {
 public:
  Environment() : env_(make_environ()) {}
  Environment(WH_ENVIRON* env) : env_(env) {}
  Environment(const Pairs& variables) : env_(make_environ()) {
    for (const auto& [name, value] : variables)
      wh_set_ev(env_, Fwt(name), Fwt(value));
  }
  ~Environment() { free_environ(&env_); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  operator WH_ENVIRON*() const { return env_; }

  // The entries in slot order.
  Pairs list() const {
    Pairs entries;
    wh_enumerate_environ(env_, Collect, &entries, nullptr);
    return entries;
  }
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (auto& [name, value] : list())
      names.push_back(name);
    return names;
  }
  std::map<std::string, std::string> map() const {
    Pairs entries = list();
    return {entries.begin(), entries.end()};
  }
  std::optional<std::string> operator[](const std::string& name) const {
    FwTextString value = wh_lookup_ev(Fwt(name), env_);
    if (value == nullptr) return std::nullopt;
    return FWC(value);
  }

 private:
  static int32 Collect(FwHashEntry* entry, void* entries, FwErrorState* /*err*/) {
    static_cast<Pairs*>(entries)->emplace_back(static_cast<const char*>(entry->key),
                                               static_cast<const char*>(entry->value));
    return 1;
  }

  WH_ENVIRON* env_;
};

// The operations of a settings file, as text.
inline std::string Insert(const std::string& name, const std::string& value,
                          const std::string& constraints = "", const std::string& sep = "") {
  return "<ENV-INSERT" + (sep.empty() ? "" : " sep='" + sep + "'") + "><NAME>" + name +
         "</NAME><VALUE>" + value + "</VALUE>" + constraints + "</ENV-INSERT>\n";
}

inline std::string Before(const std::string& pattern) {
  return "<BEFORE>" + pattern + "</BEFORE>";
}

inline std::string After(const std::string& pattern) {
  return "<AFTER>" + pattern + "</AFTER>";
}

inline std::string Remove(const std::string& name, const std::vector<std::string>& values,
                          const std::string& sep = "") {
  std::string text =
      "<ENV-REMOVE" + (sep.empty() ? "" : " sep='" + sep + "'") + "><NAME>" + name + "</NAME>";
  for (const std::string& value : values)
    text += "<VALUE>" + value + "</VALUE>";
  return text + "</ENV-REMOVE>\n";
}

inline std::string Delete(const std::string& name) {
  return "<ENV-DELETE>" + name + "</ENV-DELETE>\n";
}

// A warehouse whose products have category C, version 1 and rev 0.
class Warehouse {
 public:
  Warehouse() : index_(index_open(Fwt(tree_.path()))) {}
  ~Warehouse() { index_close(index_); }
  Warehouse(const Warehouse&) = delete;
  Warehouse& operator=(const Warehouse&) = delete;

  const std::string& path() const { return tree_.path(); }
  WH_INDEX* index() const { return index_; }

  void Write(const std::string& product, const std::string& file, const std::string& text) const {
    tree_.Write("C/" + product + "/1/0/" + file, text);
  }

  // A product with one complete variety, its parts in order, and the operations of its env.xml;
  // without operations it has none.
  void Add(const std::string& name, const std::string& ops,
           const std::vector<std::string>& parts = {}) const {
    AddVarieties(name, "<VARIETY><SEGMENT host='all' here='1'/></VARIETY>", ops, parts);
  }

  void AddVarieties(const std::string& name, const std::string& varieties, const std::string& ops,
                    const std::vector<std::string>& parts = {}) const {
    Write(name, "product.xml",
          "<PRODUCT-INFO name='" + name + "'><VARIETIES>" + varieties +
              "</VARIETIES></PRODUCT-INFO>");
    std::string list;
    for (const std::string& part : parts)
      list += "<PRODUCT name='" + part + "'><PATTERN/></PRODUCT>";
    Write(name, "partlist.xml",
          "<PARTLIST><PARTSPEC><PATTERN/><PARTS>" + list + "</PARTS></PARTSPEC></PARTLIST>");
    if (!ops.empty()) Write(name, "env.xml", Settings(ops));
  }

  static std::string Settings(const std::string& ops) {
    return "<ENV-SETTINGS><ENV-GROUP><PATTERN/>\n" + ops + "</ENV-GROUP></ENV-SETTINGS>";
  }

  // The spec list of the products, for the caller to free.
  WH_PRODUCT_SPEC_LIST* Query(const std::vector<std::string>& products) const {
    WH_PRODUCT_QUERY_LIST* queries = make_querylist();
    for (const std::string& product : products)
      add_query(queries, make_query(Prodname("C", product.c_str(), "1", "0"), make_pattern(), 0));
    Error err;
    WH_PRODUCT_SPEC_LIST* specs = query_products(&err, index_, queries, Reports::Collect);
    free_querylist(&queries);
    return specs;
  }

  // A variety of a product, the first if not told otherwise.
  WH_VARIETY* variety(const std::string& product, int32 i = 0) const {
    WH_PRODUCT_SPEC_LIST* specs = Query({product});
    auto* spec = static_cast<WH_PRODUCT_SPEC*>(FwVectorGetElement(&specs->specs, 0));
    auto* variety =
        static_cast<WH_VARIETY*>(FwVectorGetElement(&spec->product->prodinfo->varieties->seq, i));
    free_speclist(&specs);
    return variety;
  }

  // Applies the settings of the products. Errors go to the collector of reports.
  WH_ENVIRON* Apply(const std::vector<std::string>& products, WH_ENVIRON* input, int set = 1,
                    WH_ERROR_FUNC error = Reports::Collect) const {
    WH_PRODUCT_SPEC_LIST* specs = Query(products);
    WH_ENVIRON* output = wh_apply_env(index_, input, Fwt(tree_.path()), specs, error, set);
    free_speclist(&specs);
    return output;
  }
  std::map<std::string, std::string> Apply(const std::vector<std::string>& products,
                                           const Pairs& input, int set = 1) const {
    return Environment(Apply(products, Environment(input), set)).map();
  }

 private:
  TemporaryTree tree_;
  WH_INDEX* index_;
};

#endif
