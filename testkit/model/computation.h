// One run, step by step. model.cpp has the driver and the script, warehouse.cpp what finds, loads
// and walks products, engine.cpp what turns operations into values.
#ifndef MODEL_COMPUTATION_H
#define MODEL_COMPUTATION_H

#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "model.h"
#include "table.h"

namespace model {

struct Endless {};    // the run never ends
struct Exhausted {};  // memory ran out

struct Error {
  std::string text;
  bool missing = false;  // of the kind that says that something is not there

  explicit operator bool() const { return !text.empty(); }
  void Clear() { *this = {}; }
};

using Report = std::function<void(Error&)>;

using Bindings = std::vector<std::pair<std::string, std::string>>;

struct Symbols {
  std::string source;
  std::vector<Bindings> contexts;
};

struct ProductName {
  std::string category, name, version, rev;
  bool operator==(const ProductName&) const = default;
};

struct LoadedVariety {
  const Variety* data = nullptr;
  bool visited = false;
  bool has_ancestors = false;
  std::set<const LoadedVariety*> ancestors;

  bool complete() const;
};

struct Loaded {
  ProductName name;
  const Product* data = nullptr;
  std::deque<LoadedVariety> varieties;
};

struct Query {
  ProductName name;
  Pattern pattern;
  bool optional = false;
};

struct Spec {
  Loaded* product = nullptr;
  std::vector<LoadedVariety*> varieties;
};

using Environment = Table<std::string>;

class Computation {
 public:
  explicit Computation(const Case& run) : run_(run) {}
  Answer Compute();

 private:
  // ---- The driver (model.cpp) ----
  struct Options;
  enum class Road { kGoOn, kUsage };

  void Drive();
  Road ReadOptions(Options& options);
  Road ReadProduct(Options& options, std::size_t& at);
  void Usage();
  void Emit(const Options& options, const Environment& old_env, const Environment& new_env);
  void Execute(const Options& options, const Environment& new_env);
  void SetProcess(const Environment& new_env);
  Environment ProcessEnvironment() const;
  Maybe GetEnv(const std::string& name) const;

  void ReportError(Error& err);
  void ReportExceptMissing(Error& err);

  // ---- Products (warehouse.cpp) ----
  void FindLatest(Error& err, ProductName& name);
  bool LatestBit(Error& err, std::string& field, std::string& path);

  std::string PathOf(const std::string& directory, const ProductName& name) const;
  std::string FilePath(const std::string& directory, const ProductName& name,
                       const std::string& file) const;
  Loaded* Fetch(Error& err, const ProductName& name, bool optional);
  Loaded* Load(Error& err, const ProductName& name, bool optional);
  void Unvisit();

  std::unique_ptr<Spec> RunQuery(Error& err, const Query& query, const Report& report);
  std::unique_ptr<Spec> RunHostQuery(Error& err, const Query& query, const Report& report);
  std::unique_ptr<Spec> RunPartQuery(const Part& part, const Symbols& symbols,
                                     const Report& report);

  std::string Expand(Error& err, std::string text, const Symbols& symbols);
  std::string ExpandOnce(Error& err, const std::string& text, const Symbols& symbols,
                         bool& expanded);
  Maybe ExpandMaybe(Error& err, const Maybe& text, const Symbols& symbols);
  Pattern ExpandPattern(Error& err, const Pattern& pattern, const Symbols& symbols);
  bool AppendFile(Error& err, const std::string& name, std::string& output);
  Symbols SymbolsOf(const ProductName& name, const std::string& source) const;
  Bindings VarietyBindings(const LoadedVariety& variety) const;

  bool Meets(const LoadedVariety& variety, const Pattern& pattern) const;
  bool MeetsCondition(const LoadedVariety& variety, const Variable& condition) const;
  bool Matches(const std::string& pattern, const std::string& subject) const;

  struct Walk {
    std::string source;
    Report report;
    std::function<void(Walk&, Symbols&, LoadedVariety&, Loaded&)> visit;
  };
  void TraverseSpec(Walk& walk, const Spec& spec);
  void TraverseParts(Walk& walk, Symbols& symbols, const LoadedVariety& variety,
                     const Loaded& product);

  void Legacy(Environment& environment, const std::vector<Spec>& specs, bool set);
  void EmulateSetenv(const Command& command, Environment& environment);

  // ---- The engine (engine.cpp) ----
  struct ExpandedOp {
    Operation op;
    std::string separator;  // empty: unset
    LoadedVariety* variety = nullptr;
    bool has_glob = false;
  };
  struct ValueOps {
    std::vector<ExpandedOp*> inserts, removes;
  };
  struct Node {
    std::string value;
    int state = 0;  // 0 new, 1 being visited, 2 visited
    std::vector<Node*> before_it;
  };
  struct VariableOps {
    Table<std::shared_ptr<ValueOps>> values{13};
    std::vector<ExpandedOp*> inserts, removes;
    bool deleted = false;
    std::string separator;
    std::vector<Node*> old_order;
    Table<std::shared_ptr<Node>> nodes{13};
    std::string result;
  };
  using Variables = Table<std::shared_ptr<VariableOps>>;

  Environment Apply(const Environment& input, const std::vector<Spec>& specs, bool set);
  void Collect(Walk& walk, Symbols& symbols, LoadedVariety& variety, Loaded& product,
               const Environment& input, bool set, std::list<ExpandedOp>& ops,
               Table<std::string>& new_variables);
  bool ExpandOperation(const Operation& operation, const Symbols& symbols, const Report& report,
                       ExpandedOp& expanded);
  void AddToVariable(ExpandedOp& op, const std::string& name, Variables& variables,
                     const Environment& input, const Report& report);
  void PairRemove(VariableOps& variable, const std::string& value, ExpandedOp& remove);
  void CheckSeparator(VariableOps& variable, ExpandedOp& op, const std::string& name,
                      const Report& report);
  void FindAncestors(LoadedVariety& variety, const Loaded& product,
                     const std::set<const LoadedVariety*>& ancestors, Symbols& symbols,
                     const Report& report);
  void Resolve(ValueOps& ops, const std::string& value, const std::string& variable,
               const Report& report);
  Environment ApplyOps(Variables& variables, const Environment& input, const Report& report);
  void SortNode(Node& node, const std::string& name, VariableOps& variable, Error& err);
  static ValueOps& OpsOfValue(VariableOps& variable, const std::string& value);
  static VariableOps& OpsOfVariable(Variables& variables, const std::string& name);
  static Node& NodeOf(VariableOps& variable, const std::string& value);

  const Case& run_;
  std::map<std::string, const Product*> on_disk_;  // by directory below the root
  std::string root_;                               // absolute
  std::list<Loaded> index_;
  std::vector<std::string> process_;
  Answer answer_;
  int errors_ = 0, reported_ = 0;
};

}  // namespace model

#endif
