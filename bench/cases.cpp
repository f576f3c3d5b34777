#include "cases.h"

#include <cstdlib>

// ---- Warehouses ---------------------------------------------------------------------------------

void die(const std::string& what) {
  std::perror(what.c_str());
  std::exit(1);
}

void write_file(const std::string& path, const std::string& contents) {
  fs::create_directories(fs::path(path).parent_path());
  std::FILE* file = std::fopen(path.c_str(), "w");
  if (!file || std::fwrite(contents.data(), 1, contents.size(), file) != contents.size()) die(path);
  std::fclose(file);
}

namespace {

constexpr const char* kProductFiles[] = {"product.xml", "partlist.xml", "setup.xml", "prep.xml",
                                         "unset.xml",   "env.xml",      "unenv.xml"};

// The inside of VARIETIES: each with the XML of its variables.
std::string product_info(const std::string& name, const Strings& varieties) {
  std::string all;
  for (const std::string& variables : varieties)
    all += "    <VARIETY>\n      " + variables +
           "<SEGMENT host=\"all\" here=\"1\"/>\n    </VARIETY>\n";
  return text(
             "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
             "<PRODUCT-INFO name=\"%s\" flags=\"visible\">\n"
             "  <DESCRIPTION lang=\"en\">Product %s</DESCRIPTION>\n"
             "  <VARIETIES>\n",
             name.c_str(), name.c_str()) +
         all + "  </VARIETIES>\n</PRODUCT-INFO>\n";
}

}  // namespace

void Warehouse::add(const std::string& name, const std::string& env, const Strings& parts) {
  set_varieties(name, {""});
  std::string partlist = "<PARTLIST>\n";
  if (!parts.empty()) {
    partlist += "  <PARTSPEC>\n    <PATTERN/>\n    <PARTS>\n";
    for (const std::string& part : parts)
      partlist += "      <PRODUCT name=\"" + part + "\"><PATTERN/></PRODUCT>\n";
    partlist += "    </PARTS>\n  </PARTSPEC>\n";
  }
  write_file(directory(name) + "/partlist.xml", partlist + "</PARTLIST>\n");
  if (!env.empty())
    write_file(directory(name) + "/env.xml", "<ENV-SETTINGS>\n  <ENV-GROUP>\n    <PATTERN/>\n" +
                                                 env + "  </ENV-GROUP>\n</ENV-SETTINGS>\n");
}

void Warehouse::set_varieties(const std::string& name, const Strings& varieties) {
  write_file(directory(name) + "/product.xml", product_info(name, varieties));
}

void Warehouse::set_recipe(const std::string& name, const std::string& steps) {
  write_file(directory(name) + "/setup.xml", "<RECIPE>\n" + steps + "</RECIPE>\n");
}

void Warehouse::list_files(const std::string& name, Strings* files) const {
  for (const char* file : kProductFiles)
    files->push_back(directory(name) + "/" + file);
}

std::string insert(const std::string& name, const std::string& value,
                   const std::string& constraint) {
  return "    <ENV-INSERT>\n      <NAME>" + name + "</NAME>\n      <VALUE>" + value + "</VALUE>\n" +
         constraint + "    </ENV-INSERT>\n";
}

std::string remove(const std::string& name, const std::string& pattern) {
  return "    <ENV-REMOVE>\n      <NAME>" + name + "</NAME>\n      <VALUE>" + pattern +
         "</VALUE>\n    </ENV-REMOVE>\n";
}

std::string remove_all(const std::string& name) {
  return "    <ENV-DELETE>" + name + "</ENV-DELETE>\n";
}

std::string before(const std::string& pattern) {
  return "      <BEFORE>" + pattern + "</BEFORE>\n";
}

std::string after(const std::string& pattern) {
  return "      <AFTER>" + pattern + "</AFTER>\n";
}

Strings environment(int count) {
  Strings all = {"PATH=/usr/local/bin:/usr/bin:/bin",
                 "HOME=/home/user",
                 "LANG=C.UTF-8",
                 "SHELL=/bin/bash",
                 "TERM=xterm-256color",
                 "USER=user",
                 "LOGNAME=user",
                 "PWD=/home/user/src",
                 "MAIL=/var/mail/user",
                 "EDITOR=vi"};
  for (int i = 0; static_cast<int>(all.size()) < count; ++i)
    all.push_back(text("SITE_VARIABLE_%d=/usr/share/site/%d", i, i));
  return all;
}

Strings one_product(const Warehouse& warehouse, const char* name) {
  return {"-r", warehouse.root(), "-p", "tools", name, "1.0", "1", "--sh"};
}

Strings named(const Warehouse& warehouse, const Strings& products) {
  Strings words = {"-r", warehouse.root()};
  for (const std::string& name : products)
    words.insert(words.end(), {"-p", "tools", name, "1.0", "1"});
  words.push_back("--sh");
  return words;
}

std::string two_operations(const std::string& name) {
  return insert("PATH", "%(BASE-CNVR)%(FS)bin", before("/usr/bin")) +
         insert(name + "_HOME", "%(BASE-CNVR)");
}

// ---- Cases --------------------------------------------------------------------------------------

namespace {

Job lay_out_usual(Warehouse* warehouse) {
  std::string bin = "%(BASE-CNVR)%(FS)";
  warehouse->add("weaver", insert("PATH", bin + "bin", before("/usr/bin")) +
                               insert("PATH", bin + "sbin", before("/usr/bin")) +
                               insert("PATH", bin + "scripts", after("/usr/bin")) +
                               insert("WEAVER_HOME", "%(BASE-CNVR)") +
                               insert("WEAVER_LIBRARY", bin + "lib"));
  Job job{one_product(*warehouse, "weaver"), environment(30), {}};
  warehouse->list_files("weaver", &job.files);
  return job;
}

// Without version and revision: the tool reads two directories to find the latest.
Job lay_out_latest(Warehouse* warehouse) {
  Job job = lay_out_usual(warehouse);
  job.arguments = {"-r", warehouse->root(), "-p", "tools", "weaver", "--sh"};
  return job;
}

// The environment that the usual case leaves, and the product's file that takes its values out.
Job lay_out_undone(Warehouse* warehouse) {
  Job job = lay_out_usual(warehouse);
  std::string dir = warehouse->directory("weaver");
  std::string unenv = "<ENV-SETTINGS>\n  <ENV-GROUP>\n    <PATTERN/>\n";
  for (const char* name : {"PATH", "WEAVER_HOME", "WEAVER_LIBRARY"})
    unenv += text(
        "    <ENV-REMOVE>\n      <NAME>%s</NAME>\n      <VALUE>%%(BASE-CNVR)/**</VALUE>\n"
        "    </ENV-REMOVE>\n",
        name);
  write_file(dir + "/unenv.xml", unenv + "  </ENV-GROUP>\n</ENV-SETTINGS>\n");
  job.arguments.insert(job.arguments.begin() + 2, "-u");
  job.environment[0] =
      "PATH=/usr/local/bin:" + dir + "/bin:" + dir + "/sbin:/usr/bin:" + dir + "/scripts:/bin";
  job.environment.push_back("WEAVER_HOME=" + dir);
  job.environment.push_back("WEAVER_LIBRARY=" + dir + "/lib");
  return job;
}

Job lay_out_crowded(Warehouse* warehouse) {
  for (int i = 0; i < 10000; ++i) {
    std::string name = text("other%d", i);
    warehouse->add(name, two_operations(name));
  }
  return lay_out_usual(warehouse);
}

Job lay_out_named(Warehouse* warehouse, int count) {
  Job job{{"-r", warehouse->root()}, environment(30), {}};
  for (int i = 0; i < count; ++i) {
    std::string name = text("product%d", i);
    warehouse->add(name, two_operations(name));
    job.arguments.insert(job.arguments.end(), {"-p", "tools", name, "1.0", "1"});
    warehouse->list_files(name, &job.files);
  }
  job.arguments.push_back("--sh");
  return job;
}

Job lay_out_required(Warehouse* warehouse, int count) {
  Strings parts;
  Job job{one_product(*warehouse, "suite"), environment(30), {}};
  warehouse->list_files("suite", &job.files);
  for (int i = 0; i < count; ++i) {
    std::string name = text("product%d", i);
    warehouse->add(name, two_operations(name));
    parts.push_back(name);
    warehouse->list_files(name, &job.files);
  }
  warehouse->add("suite", insert("SUITE_HOME", "%(BASE-CNVR)"), parts);
  return job;
}

// Half of the elements stand in the variable, half are inserted, each before or after one of the
// others. One pattern in ten is a glob that a handful of elements match, or none is.
Job lay_out_elements(Warehouse* warehouse, int count, bool globs) {
  int half = count / 2;
  std::string value = "SEARCH_PATH=";
  std::string env;
  for (int i = 0; i < half; ++i) {
    value += text(i ? ":/o/%05d" : "/o/%05d", i);
    std::string pattern = globs && i % 10 == 0 ? text("/o/%04d*", i / 10) : text("/o/%05d", i);
    env += insert("SEARCH_PATH", text("/new/directory/%05d", i),
                  i % 2 ? before(pattern) : after(pattern));
  }
  warehouse->add("paths", env);
  Job job{one_product(*warehouse, "paths"), environment(29), {}};
  job.environment.push_back(value);
  warehouse->list_files("paths", &job.files);
  return job;
}

Job lay_out_chain(Warehouse* warehouse, int count) {
  Job job{one_product(*warehouse, "link0"), environment(30), {}};
  for (int i = 0; i < count; ++i) {
    std::string name = text("link%d", i);
    warehouse->add(name, two_operations(name),
                   i + 1 < count ? Strings{text("link%d", i + 1)} : Strings{});
    warehouse->list_files(name, &job.files);
  }
  return job;
}

Job lay_out_variables(Warehouse* warehouse, int count) {
  Job job = lay_out_usual(warehouse);
  job.environment = environment(count);
  return job;
}

// Globs that plain backtracking would try in exponentially many ways, on elements made to fit
// until their ends.
Job lay_out_hostile_globs(Warehouse* warehouse, int length) {
  std::string env, value = "HOSTILE=";
  std::string run(static_cast<size_t>(length), 'a');
  std::string deep;
  for (int i = 0; i < length / 2; ++i)
    deep += "/a";
  for (int i = 0; i < 10; ++i)
    value += "/" + run + text("/%d:", i) + deep + text("/%d:", i);
  std::string stars, anys;
  for (int i = 0; i < 30; ++i) {
    stars += "*a";
    anys += "/**/a";
  }
  for (int i = 0; i < 10; ++i)
    env += insert("HOSTILE", text("/new/%d", i),
                  before(i % 2 ? "/" + stars + "*b/**" : "**" + anys + "/b"));
  warehouse->add("hostile", env);
  Job job{one_product(*warehouse, "hostile"), environment(29), {}};
  job.environment.push_back(value);
  warehouse->list_files("hostile", &job.files);
  return job;
}

// One value of so many bytes, most of it from an expansion.
Job lay_out_long_value(Warehouse* warehouse, int length) {
  std::string line(99, 'x');
  std::string value;
  for (int i = 0; i < length / 100; ++i)
    value += line + (i % 10 ? "\n" : "%(FS)");
  warehouse->add("long", insert("LONG_VALUE", value));
  Job job{one_product(*warehouse, "long"), environment(30), {}};
  warehouse->list_files("long", &job.files);
  return job;
}

// A data file of so many operations, on as many variables.
Job lay_out_big_file(Warehouse* warehouse, int count) {
  std::string env;
  for (int i = 0; i < count; ++i)
    env += insert(text("BIG_%d", i), text("%%(BASE-CNVR)/%d", i));
  warehouse->add("big", env);
  Job job{one_product(*warehouse, "big"), environment(30), {}};
  warehouse->list_files("big", &job.files);
  return job;
}

// One attribute of so many bytes: Expat looks at an unfinished tag anew with each block of the
// file, so this is quadratic in the floor as well.
Job lay_out_long_attribute(Warehouse* warehouse, int length) {
  Job job = lay_out_usual(warehouse);
  write_file(warehouse->directory("weaver") + "/product.xml",
             "<PRODUCT-INFO name=\"" + std::string(static_cast<size_t>(length), 'x') +
                 "\">\n  <VARIETIES>\n    <VARIETY>\n      <SEGMENT host=\"all\" here=\"1\"/>\n"
                 "    </VARIETY>\n  </VARIETIES>\n</PRODUCT-INFO>\n");
  return job;
}

}  // namespace

Job lay_out_layers(Warehouse* warehouse, int layers, int width, int missing) {
  Job job{one_product(*warehouse, "top"), environment(30), {}};
  warehouse->list_files("top", &job.files);
  auto layer = [&](int i) {
    Strings names;
    for (int j = 0; i < layers && j < width; ++j)
      names.push_back(text("layer%d_%d", i, j));
    return names;
  };
  auto parts = [&](int i) {
    Strings names;
    for (int j = 0; j < missing; ++j)
      names.push_back(text("missing%d", j));
    for (const std::string& name : layer(i + 1))
      names.push_back(name);
    return names;
  };
  warehouse->add("top", "", layer(0));
  for (int i = 0; i < layers; ++i)
    for (const std::string& name : layer(i))
      warehouse->add(name, two_operations(name), parts(i));
  // A product is read when the first that requires it is walked: down the left side, then across.
  for (int i = 0; i < layers; ++i)
    warehouse->list_files(layer(i)[0], &job.files);
  for (int i = layers; i-- > 0;)
    for (int j = 1; j < width; ++j)
      warehouse->list_files(layer(i)[static_cast<size_t>(j)], &job.files);
  for (int j = 0; j < missing; ++j)
    warehouse->list_missing(text("missing%d", j), &job.files);
  return job;
}

void add_usual_cases(std::vector<Case>* cases) {
  using namespace std::placeholders;
  cases->push_back({"one product", 1, 1.25, lay_out_usual});
  cases->push_back({"one product, the latest", 1, 0, lay_out_latest});
  cases->push_back({"one product undone", 1, 0, lay_out_undone});
  for (int n : {10, 100, 500, 2000})
    cases->push_back({text("products named, %d", n), n, 2, std::bind(lay_out_named, _1, n)});
  for (int n : {10, 100, 500, 2000})
    cases->push_back({text("products required, %d", n), n, 2, std::bind(lay_out_required, _1, n)});
  for (int n : {100, 1000, 5000, 20000})
    cases->push_back({text("elements, %d", n), n,
                      n > 5000    ? 8.0
                      : n == 5000 ? 4.0
                                  : 0.0,
                      std::bind(lay_out_elements, _1, n, true)});
  for (int n : {100, 1000, 5000, 20000})
    cases->push_back(
        {text("elements without globs, %d", n), n, 0, std::bind(lay_out_elements, _1, n, false)});
  for (int n : {100, 1000, 10000})
    cases->push_back({text("chain, %d", n), n, 3, std::bind(lay_out_chain, _1, n)});
  cases->push_back({"20 layers of 20", 400, 3, std::bind(lay_out_layers, _1, 20, 20, 0)});
  for (int n : {100, 1000})
    cases->push_back({text("%d diamonds", n), 2 * n, 3, std::bind(lay_out_layers, _1, n, 2, 0)});
  cases->push_back({"10,000 other products", 1, 1, lay_out_crowded, lay_out_usual});
  for (int n : {1000, 10000})
    cases->push_back({text("variables, %d", n), n, 0, std::bind(lay_out_variables, _1, n)});
  for (int n : {100, 1000, 4000})
    cases->push_back({text("hostile globs, %d", n), n, 0, std::bind(lay_out_hostile_globs, _1, n)});
  for (int n : {10000, 100000, 1000000})
    cases->push_back({text("long value, %d", n), n, 0, std::bind(lay_out_long_value, _1, n)});
  for (int n : {100, 1000, 10000})
    cases->push_back({text("big file, %d", n), n, 0, std::bind(lay_out_big_file, _1, n)});
  for (int n : {250000, 1000000})
    cases->push_back(
        {text("long attribute, %d", n), n, 0, std::bind(lay_out_long_attribute, _1, n)});
}
