#include <algorithm>

#include "cases.h"

namespace {

std::string numbered(const char* stem, int i) {
  return text("%s%05d", stem, i);
}

// So many products named, each with the operations that the function gives it.
Job lay_out_products(Warehouse* warehouse, int count,
                     const std::function<std::string(int)>& operations) {
  Strings names;
  Job job{{}, environment(29), {}};
  for (int i = 0; i < count; ++i) {
    names.push_back(numbered("product", i));
    warehouse->add(names.back(), operations(i));
    warehouse->list_files(names.back(), &job.files);
  }
  job.arguments = named(*warehouse, names);
  return job;
}

// The list of all these, which a variable holds.
std::string list(const char* format, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    if (i > 0) all += ':';
    all += text(format, i);
  }
  return all;
}

Job lay_out_one(Warehouse* warehouse, const std::string& operations) {
  warehouse->add("one", operations);
  Job job{one_product(*warehouse, "one"), environment(29), {}};
  warehouse->list_files("one", &job.files);
  return job;
}

std::string set_one_value() {
  return remove_all("MODE") + insert("MODE", "fast");
}

// ---- Many products of one mind ------------------------------------------------------------------

// The way in which a variable of one value is set.
Job lay_out_value_set(Warehouse* warehouse, int count) {
  return lay_out_products(warehouse, count, [](int) { return set_one_value(); });
}

Job lay_out_element_replaced(Warehouse* warehouse, int count) {
  return lay_out_products(warehouse, count, [](int) {
    return remove("PATH", "/opt/site/**") + insert("PATH", "/opt/site/bin", before("/usr/bin"));
  });
}

// As parts of one that does so as well; of the parts the first so many delete, all insert.
Job lay_out_value_set_below(Warehouse* warehouse, int count, int deletes) {
  Strings parts;
  Job job{one_product(*warehouse, "top"), environment(29), {}};
  warehouse->list_files("top", &job.files);
  for (int i = 0; i < count; ++i) {
    parts.push_back(numbered("product", i));
    warehouse->add(parts.back(), i < deletes ? set_one_value() : insert("MODE", "fast"));
    warehouse->list_files(parts.back(), &job.files);
  }
  warehouse->add("top", set_one_value(), parts);
  return job;
}

Job lay_out_one_value(Warehouse* warehouse, int count) {
  return lay_out_products(warehouse, count,
                          [](int) { return insert("PATH", "/opt/site/bin", before("/usr/bin")); });
}

Job lay_out_one_deleted(Warehouse* warehouse, int count) {
  Job job = lay_out_products(warehouse, count, [](int) { return remove_all("OLD_PATH"); });
  job.environment.push_back("OLD_PATH=" + list("/usr/e%02d/bin", 30));
  return job;
}

// As the manual has it for undoing and for upgrading.
Job lay_out_globs_removed(Warehouse* warehouse, int count) {
  Job job = lay_out_products(warehouse, count,
                             [](int i) { return remove("OLD_PATH", text("/o/%05d/**", i)); });
  job.environment.push_back("OLD_PATH=" + list("/o/%05d/bin", count));
  return job;
}

Job lay_out_recipes(Warehouse* warehouse, int count, const char* op) {
  Job job = lay_out_products(warehouse, count, [](int) { return std::string(); });
  for (int i = 0; i < count; ++i)
    warehouse->set_recipe(numbered("product", i),
                          text("  <STEP>\n    <PATTERN/>\n    <SETENV op=\"%s\" name=\"PATH\" "
                               "value=\"%%(BASE-CNVR)/bin\"/>\n  </STEP>\n",
                               op));
  return job;
}

// ---- Patterns, names, groups --------------------------------------------------------------------

// A glob in ten thousand is tried on all elements that begin as it does, which are all.
Job lay_out_globs_alike(Warehouse* warehouse, int count) {
  std::string env;
  for (int i = 0; i < count; ++i)
    env += insert("BIG", text("/o/%05d", i), before(text("/o/*/x%05d", i)));
  return lay_out_one(warehouse, env);
}

Job lay_out_groups(Warehouse* warehouse, int count) {
  Job job = lay_out_products(warehouse, count,
                             [](int i) { return insert(text("P%05d_HOME", i), "%(BASE-CNVR)"); });
  Strings words;
  for (const std::string& word : job.arguments) {
    if (word == "-p" && words.size() > 2) words.push_back("--and");
    words.push_back(word);
  }
  job.arguments = words;
  return job;
}

Job lay_out_references(Warehouse* warehouse, int count) {
  std::string value, variables;
  for (int i = 0; i < count; ++i) {
    value += text("%%(a%05d)", i);
    variables += text("<VAR n=\"a%05d\" v=\"b\"/>", i);
  }
  Job job = lay_out_one(warehouse, insert("X", value));
  warehouse->set_varieties("one", {variables});
  return job;
}

Job lay_out_name_globs(Warehouse* warehouse, int count) {
  std::string env;
  Strings variables = environment(10);
  for (int i = 0; i < count; ++i) {
    env += remove_all(text("NOPE%d_*", i));
    variables.push_back(text("SITE_%d=x", i));
  }
  Job job = lay_out_one(warehouse, env);
  job.environment = variables;
  return job;
}

// So many inserts, each before or after all of as many old elements: that is the square of their
// number in constraints.
Job lay_out_all(Warehouse* warehouse, int count, std::string (*constrain)(const std::string&)) {
  std::string env;
  for (int i = 0; i < count; ++i)
    env += insert("SEARCH_PATH", text("/new/directory/%05d", i), constrain("/o/**"));
  Job job = lay_out_one(warehouse, env);
  job.environment.push_back("SEARCH_PATH=" + list("/o/%05d", count));
  return job;
}

// ---- Varieties and expansion --------------------------------------------------------------------

// All of them are taken, and each asks for the parts.
Job lay_out_varieties(Warehouse* warehouse, int count) {
  Strings varieties, parts;
  Job job{one_product(*warehouse, "many"), environment(30), {}};
  warehouse->list_files("many", &job.files);
  for (int i = 0; i < count; ++i)
    varieties.push_back(text("<VAR n=\"num\" v=\"%d\"/>", i));
  for (int i = 0; i < 10; ++i) {
    parts.push_back(numbered("part", i));
    warehouse->add(parts.back(), two_operations(parts.back()));
    warehouse->list_files(parts.back(), &job.files);
  }
  warehouse->add("many", insert("MANY_HOME", "%(BASE-CNVR)"), parts);
  warehouse->set_varieties("many", varieties);
  return job;
}

Job lay_out_doubling(Warehouse* warehouse) {
  Job job = lay_out_one(warehouse, insert("X", "%(a)"));
  warehouse->set_varieties("one", {"<VAR n=\"a\" v=\"%(a)%(a)\"/>"});
  return job;
}

}  // namespace

void add_hard_cases(std::vector<Case>* cases) {
  using namespace std::placeholders;
  auto add = [cases](const char* name, int n, Goal goal, auto lay_out, auto... arguments) {
    cases->push_back({text("%s, %d", name, n), n, goal, std::bind(lay_out, _1, n, arguments...)});
  };
  add("one value set", 200, {0, 20}, lay_out_value_set);
  add("one value set", 2000, {0, 1000}, lay_out_value_set);
  add("one element replaced", 200, {0, 20}, lay_out_element_replaced);
  add("one element replaced", 2000, {0, 1000}, lay_out_element_replaced);
  add("one value set by parts", 200, {0, 20}, lay_out_value_set_below, 200);
  add("one value set by 20 parts of", 200, {0, 20}, lay_out_value_set_below, 20);
  cases->push_back(
      {"40 layers of 10, 3 missing", 400, {0, 70}, std::bind(lay_out_layers, _1, 40, 10, 3)});
  add("globs removed", 4000, {0, 150}, lay_out_globs_removed);
  add("recipes that prepend", 4000, {0, 150}, lay_out_recipes, "prepend");
  add("recipes that append", 4000, {0, 150}, lay_out_recipes, "append");
  // What as many products cost that have nothing to do with each other.
  add("one value inserted", 8000, 3, lay_out_one_value);
  add("one variable deleted", 800, 3, lay_out_one_deleted);
  // A third of what they took when each was tried on each.
  add("globs that begin alike", 4000, {0, 450}, lay_out_globs_alike);
  add("groups", 2000, {0, 400}, lay_out_groups);
  add("references to variables", 4000, {0, 20}, lay_out_references);
  add("globs over names", 2000, {0, 60}, lay_out_name_globs);
  for (int n : {100, 1000, 4000}) {
    add("before all", n, {0, 0, n == 4000 ? 20.0 : 0}, lay_out_all, before);
    add("after all", n, {0, 0, n == 4000 ? 20.0 : 0}, lay_out_all, after);
  }
  add("varieties that are all taken", 20000, {0, 1000}, lay_out_varieties);
  cases->push_back({"a value that doubles itself", 1, {0, 500}, lay_out_doubling, nullptr, 1});
}
