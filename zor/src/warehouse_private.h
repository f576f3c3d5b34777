// What the sources of the wrapper around the warehouse floor share among themselves.
#ifndef ZOR_WAREHOUSE_PRIVATE_H
#define ZOR_WAREHOUSE_PRIVATE_H

#include <functional>
#include <string>
#include <vector>

#include "computation.h"
#include "facts.h"
#include "fwerror.h"
#include "fwstring.h"
#include "fwvector.h"
#include "observer.h"
#include "warehouse.h"
#include "wh.h"

namespace zor {

// A text for the floors, which take writable ones.
inline FwTextString text(std::string& string) {
  return FWT(string.data());
}

inline std::string string_of(FwTextString text) {
  return text ? FWC(text) : "";
}

inline std::string string_of(FwTextCharacter character) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextCharacter(&record, character);
  std::string bytes = string_of(record.pbz);
  FwStrRecordAbandon(&record);
  return bytes;
}

template <typename T>
T* element(const FwVector& vector, int32 i) {
  return static_cast<T*>(FwVectorGetElement(const_cast<FwVector*>(&vector), i));
}

// All elements, in order.
template <typename T>
std::vector<T*> elements(const FwVector& vector) {
  std::vector<T*> all;
  all.reserve(static_cast<std::size_t>(FwVectorLength(const_cast<FwVector*>(&vector))));
  for (int32 i = 0; i < FwVectorLength(const_cast<FwVector*>(&vector)); ++i)
    all.push_back(element<T>(vector, i));
  return all;
}

// Freed by free_prodname.
WH_PRODUCT_NAME* make_name(ProductName name);
ProductName name_of(const WH_PRODUCT_NAME* name);

std::vector<Binding> bindings_of(const WH_VAR* vars);
std::vector<std::string> strings_of(const FwVector& vector);
VarietyFacts facts_of(WH_VARIETY* variety);

// What a text means; empty if it can't be expanded, of which a computation tells.
std::string expanded(FwTextString form, WH_SYMTAB* symtab);

// What a query led to, and which of the product's varieties it takes.
Choice choice_of(const WH_PRODUCT_SPEC* spec);

// Names in an environment's table hold each byte as a character of its own, so one above ASCII
// stands there as two bytes.
std::string name_from_table(std::string_view name);

// Where a record of a product was read.
Location place_of(const WH_PRODUCT* product, const WH_PLACE* place);
Location place_of(const WH_OPERATION* operation);

// The callback for the floors' errors: a fault for those who collect.
void collect_error(FwErrorState* err);

// What the floors below report goes to faults while it lives. One inside another takes it all until
// it ends.
class Collecting {
 public:
  explicit Collecting(std::vector<Fault>* faults);
  ~Collecting();
  Collecting(const Collecting&) = delete;
  Collecting& operator=(const Collecting&) = delete;

 private:
  std::vector<Fault>* before_;
  int errors_before_;
};

// The observer by which faults get their places. Its callbacks need no context, so that another
// observer may hand on to them what it is told.
WH_OBSERVER collecting_observer();

// What goes on inside a computation besides it.
struct Inside {
  // In place of collecting_observer, to whose callbacks it hands on what they would be told.
  const WH_OBSERVER* observer = nullptr;
  // Called once the products are loaded and, unless there is a fault or only choices are asked for,
  // the environment is computed, while everything is still there.
  std::function<void(WH_COMPUTATION*)> look;
  // The products that were read so far, which stay the caller's and are not read again. The answer
  // then tells of choices and faults alone.
  WH_INDEX* index = nullptr;
};

Answer compute(const Question& question, const Environment& base, const Inside& inside);

// What was asked for when faults came about.
struct Asked {
  std::string root;                   // absolute
  bool root_given = true;             // by somebody; otherwise it is the current directory
  std::vector<ProductName> products;  // as they were asked for, and what they led to
  const Environment* base = nullptr;  // null if it has no part in it
};

// Puts faults of data files, and of what lies on disk, into words for people: where, what, why and
// what to do. Those that come to the same text become one.
void explain_faults(std::vector<Fault>* faults, const Asked& asked);

// Why a product that is asked for does not exist, in a line.
std::string why_missing(const std::string& root, const ProductName& product);

// Where a data file uses a name, or one that leads to it.
struct NameUse {
  std::string file;
  int line;
  int column;
  std::string name;     // the one that stands there
  bool of_environment;  // %{NAME}, not %(NAME)
};
std::vector<NameUse> uses_of_name(const std::vector<std::string>& files, const std::string& name);

// The names that %(NAME) may have in the files of the product whose directory this is. Those that
// only lead to one that is not defined are left out.
std::vector<std::string> defined_names(const std::string& directory);

}  // namespace zor

#endif
