// The cases of runs.cpp: warehouses that are laid out on disk, and what is run on them.
#ifndef ZOR_BENCH_CASES_H_
#define ZOR_BENCH_CASES_H_

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace fs = std::filesystem;

using Strings = std::vector<std::string>;

std::string text(const char* format, auto... values) {
  char buffer[4096];
  std::snprintf(buffer, sizeof buffer, format, values...);
  return buffer;
}

[[noreturn]] void die(const std::string& what);
void write_file(const std::string& path, const std::string& contents);

// What of a run both programs are to do: the tool is told by arguments and environment, the floor
// by the names of the files that the tool opens.
struct Job {
  Strings arguments;
  Strings environment;
  Strings files;
};

class Warehouse {
 public:
  explicit Warehouse(std::string root) : root_(std::move(root)) {}

  const std::string& root() const { return root_; }

  std::string directory(const std::string& name) const {
    return root_ + "/tools/" + name + "/1.0/1";
  }

  // A product of one variety with the operations, none for "", and parts that any variety of which
  // fits.
  void add(const std::string& name, const std::string& env, const Strings& parts = {});
  // In place of that variety as many as are given, each with the XML of its variables.
  void set_varieties(const std::string& name, const Strings& varieties);
  // In place of operations an old recipe.
  void set_recipe(const std::string& name, const std::string& steps);

  // The names that the tool opens for a product, in its order.
  void list_files(const std::string& name, Strings* files) const;
  // That of a product that is not there.
  void list_missing(const std::string& name, Strings* files) const {
    files->push_back(directory(name) + "/product.xml");
  }

 private:
  std::string root_;
};

std::string insert(const std::string& name, const std::string& value,
                   const std::string& constraint = "");
std::string remove(const std::string& name, const std::string& pattern);
std::string remove_all(const std::string& name);
std::string before(const std::string& pattern);
std::string after(const std::string& pattern);

// An environment of so many variables, such as a login leaves.
Strings environment(int count);

// Named in full: the floor searches no directories.
Strings one_product(const Warehouse& warehouse, const char* name);
Strings named(const Warehouse& warehouse, const Strings& products);

// Two operations in the product's own directory.
std::string two_operations(const std::string& name);

// What a case is to keep within; 0: no matter.
struct Goal {
  Goal(double ratio_) : ratio(ratio_) {}  // most cases say no more
  Goal(double ratio_, double ms_, double mib_ = 0) : ratio(ratio_), ms(ms_), mib(mib_) {}

  double ratio;   // to the floor
  double ms = 0;  // of wall-clock time; on the machine of doc/performance.md
  double mib = 0;
};

struct Case {
  std::string name;
  int items;  // what the cost is counted by
  Goal goal;
  std::function<Job(Warehouse*)> lay_out;
  // In place of the floor another run of the tool.
  std::function<Job(Warehouse*)> other = nullptr;
  int status = 0;  // that the run exits with
};

// The products of each layer require all of the next one, and so many that are not there.
Job lay_out_layers(Warehouse* warehouse, int layers, int width, int missing);

void add_usual_cases(std::vector<Case>* cases);
// Where a careless engine explodes: many products of one mind, missing parts, many patterns.
void add_hard_cases(std::vector<Case>* cases);

#endif
