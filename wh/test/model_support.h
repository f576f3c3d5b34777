// Helpers of the warehouse model's tests: texts, records of literals, and a collector of reports.
#ifndef MODEL_SUPPORT_H
#define MODEL_SUPPORT_H

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "fwmem.h"
#include "fwstring.h"
#include "warehouse.h"
#include "wherror.h"
#include "wqmem.h"

// A writable text that lives as long as the expression it stands in, or as its variable.
class Text {
 public:
  Text(const char* text) : text_(text) {}
  Text(std::string text) : text_(std::move(text)) {}
  operator FwTextString() { return reinterpret_cast<FwTextString>(text_.data()); }
  const std::string& str() const { return text_; }

 private:
  std::string text_;
};

inline std::string Str(FwTextString text) {
  return text == nullptr ? "(null)" : FWC(text);
}

// The string, which is freed.
inline std::string Take(FwTextString text) {
  std::string taken = Str(text);
  wh_free(text);
  return taken;
}

using Pairs = std::vector<std::pair<std::string, std::string>>;

// A variety that owns its variables, given as literals.
struct Variety : WH_VARIETY {
  Variety(std::initializer_list<std::pair<const char*, const char*>> list) {
    WH_VAR** tail = &vars;
    for (auto [n, v] : list) {
      *tail = make_var(n ? FWT(n) : nullptr, v ? FWT(v) : nullptr);
      tail = &(*tail)->next;
    }
  }
  ~Variety() { free_vars(&vars); }
  Variety(const Variety&) = delete;
  Variety& operator=(const Variety&) = delete;
};

// One alternative with conditions given as literals.
inline WH_PATTERN* Alternative(std::initializer_list<std::pair<const char*, const char*>> list,
                               const char* host = nullptr, WH_PATTERN* next = nullptr) {
  WH_PATTERN* pattern = make_pattern();
  Variety variety(list);
  std::swap(pattern->vars, variety.vars);
  pattern->host = host ? dup_str(FWT(host)) : nullptr;
  pattern->next = next;
  return pattern;
}

inline WH_PRODUCT_NAME* Prodname(const char* category, const char* name, const char* version,
                                 const char* rev) {
  Text writable(category);
  return make_prodname(writable, FWT(name), FWT(version), FWT(rev));
}

inline std::string Fields(WH_PRODUCT_NAME* name) {
  if (name == nullptr) return "(null)";
  return Str(name->category) + "|" + Str(name->name) + "|" + Str(name->version) + "|" +
         Str(name->rev);
}

// Collects the errors handed to Reports::Collect, as the user would read them on standard error.
class Reports {
 public:
  Reports() { list().clear(); }
  ~Reports() { list().clear(); }
  static void Collect(FwErrorState* err) { list().push_back(Read(err)); }
  // What report_error prints, without its line end.
  static std::string Read(FwErrorState* err) {
    testing::internal::CaptureStderr();
    report_error(err);
    std::string line = testing::internal::GetCapturedStderr();
    if (!line.empty() && line.back() == '\n') line.pop_back();
    return line;
  }
  const std::vector<std::string>& lines() const { return list(); }

 private:
  static std::vector<std::string>& list() {
    static std::vector<std::string> lines;
    return lines;
  }
};

// A state that is cleared at the end of the scope.
struct Error : FwErrorState {
  ~Error() { FwErrorClear(this); }
  std::string text() { return Reports::Read(this); }
};

#endif
