// runs [--only TEXT] [--seconds S] [--reference PROGRAM] [--existing] TOOL FLOOR
// runs [--only TEXT] --lay-out DIRECTORY
//
// Measures whole runs of the tool, as users feel them, against the floor (floor.c) on warehouses
// that it lays out itself. A round runs each of the two once, in turns which goes first; both write
// to a file in memory. Reported are medians over all rounds, of the pairwise ratios too, because
// what else the machine does in a round slows both. The report is the table of doc/performance.md.
//
//   --only TEXT          only cases whose name holds TEXT
//   --seconds S          how long each case may be repeated (3), but for at least 5 rounds
//   --reference PROGRAM  also runs another build of the tool once in each case, and says where its
//                        status or output differs
//   --existing           the floor's list leaves out names of files that don't exist; otherwise it
//                        tries to open all that the tool must try
//   --lay-out DIRECTORY  measures nothing, but leaves each case in a directory of its own there,
//                        with the floor's list and two scripts: "run TOOL" runs the tool, or
//                        valgrind if its words stand before TOOL, and "run-floor" the floor alike
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

using Strings = std::vector<std::string>;

// ---- Warehouses ---------------------------------------------------------------------------------

std::string text(const char* format, auto... values) {
  char buffer[4096];
  std::snprintf(buffer, sizeof buffer, format, values...);
  return buffer;
}

[[noreturn]] void die(const std::string& what) {
  std::perror(what.c_str());
  std::exit(1);
}

void write_file(const std::string& path, const std::string& contents) {
  fs::create_directories(fs::path(path).parent_path());
  std::FILE* file = std::fopen(path.c_str(), "w");
  if (!file || std::fwrite(contents.data(), 1, contents.size(), file) != contents.size()) die(path);
  std::fclose(file);
}

std::string read_file(const std::string& path) {
  std::string contents;
  if (std::FILE* file = std::fopen(path.c_str(), "r")) {
    char block[1 << 16];
    while (size_t n = std::fread(block, 1, sizeof block, file))
      contents.append(block, n);
    std::fclose(file);
  }
  return contents;
}

constexpr const char* kProductFiles[] = {"product.xml", "partlist.xml", "setup.xml", "prep.xml",
                                         "unset.xml",   "env.xml",      "unenv.xml"};

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

  void add(const std::string& name, const std::string& env, const Strings& parts = {}) {
    std::string dir = directory(name);
    write_file(dir + "/product.xml",
               text("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                    "<PRODUCT-INFO name=\"%s\" flags=\"visible\">\n"
                    "  <DESCRIPTION lang=\"en\">Product %s</DESCRIPTION>\n"
                    "  <VARIETIES>\n    <VARIETY>\n      <SEGMENT host=\"all\" here=\"1\"/>\n"
                    "    </VARIETY>\n  </VARIETIES>\n</PRODUCT-INFO>\n",
                    name.c_str(), name.c_str()));
    std::string partlist = "<PARTLIST>\n";
    if (!parts.empty()) {
      partlist += "  <PARTSPEC>\n    <PATTERN/>\n    <PARTS>\n";
      for (const std::string& part : parts)
        partlist += "      <PRODUCT name=\"" + part + "\"><PATTERN/></PRODUCT>\n";
      partlist += "    </PARTS>\n  </PARTSPEC>\n";
    }
    write_file(dir + "/partlist.xml", partlist + "</PARTLIST>\n");
    if (!env.empty())
      write_file(dir + "/env.xml", "<ENV-SETTINGS>\n  <ENV-GROUP>\n    <PATTERN/>\n" + env +
                                       "  </ENV-GROUP>\n</ENV-SETTINGS>\n");
  }

  // The names that the tool opens for a product, in its order.
  void list_files(const std::string& name, Strings* files) const {
    for (const char* file : kProductFiles)
      files->push_back(directory(name) + "/" + file);
  }

 private:
  std::string root_;
};

std::string insert(const std::string& name, const std::string& value,
                   const std::string& constraint = "") {
  return "    <ENV-INSERT>\n      <NAME>" + name + "</NAME>\n      <VALUE>" + value + "</VALUE>\n" +
         constraint + "    </ENV-INSERT>\n";
}

std::string before(const std::string& pattern) {
  return "      <BEFORE>" + pattern + "</BEFORE>\n";
}

std::string after(const std::string& pattern) {
  return "      <AFTER>" + pattern + "</AFTER>\n";
}

// An environment of so many variables, such as a login leaves.
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

// Named in full: the floor searches no directories.
Strings one_product(const Warehouse& warehouse, const char* name) {
  return {"-r", warehouse.root(), "-p", "tools", name, "1.0", "1", "--sh"};
}

// Two operations in the product's own directory.
std::string two_operations(const std::string& name) {
  return insert("PATH", "%(BASE-CNVR)%(FS)bin", before("/usr/bin")) +
         insert(name + "_HOME", "%(BASE-CNVR)");
}

// ---- Cases --------------------------------------------------------------------------------------

struct Case {
  std::string name;
  int items;    // what the cost is counted by
  double goal;  // for the ratio; 0: none
  std::function<Job(Warehouse*)> lay_out;
  // In place of the floor another run of the tool.
  std::function<Job(Warehouse*)> other = nullptr;
};

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

// The products of each layer require all of the next one.
Job lay_out_layers(Warehouse* warehouse, int layers, int width) {
  Job job{one_product(*warehouse, "top"), environment(30), {}};
  warehouse->list_files("top", &job.files);
  auto layer = [&](int i) {
    Strings names;
    for (int j = 0; i < layers && j < width; ++j)
      names.push_back(text("layer%d_%d", i, j));
    return names;
  };
  warehouse->add("top", "", layer(0));
  for (int i = 0; i < layers; ++i)
    for (const std::string& name : layer(i))
      warehouse->add(name, two_operations(name), layer(i + 1));
  // A product is read when the first that requires it is walked: down the left side, then across.
  for (int i = 0; i < layers; ++i)
    warehouse->list_files(layer(i)[0], &job.files);
  for (int i = layers; i-- > 0;)
    for (int j = 1; j < width; ++j)
      warehouse->list_files(layer(i)[static_cast<size_t>(j)], &job.files);
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

// So many inserts, each before all of as many old elements: that is the square of their number in
// constraints.
Job lay_out_before_all(Warehouse* warehouse, int count) {
  std::string env, value = "SEARCH_PATH=";
  for (int i = 0; i < count; ++i) {
    value += text(i ? ":/o/%05d" : "/o/%05d", i);
    env += insert("SEARCH_PATH", text("/new/directory/%05d", i), before("/o/**"));
  }
  warehouse->add("paths", env);
  Job job{one_product(*warehouse, "paths"), environment(29), {}};
  job.environment.push_back(value);
  warehouse->list_files("paths", &job.files);
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

std::vector<Case> all_cases() {
  using namespace std::placeholders;
  std::vector<Case> cases;
  cases.push_back({"one product", 1, 1.5, lay_out_usual});
  cases.push_back({"one product, the latest", 1, 0, lay_out_latest});
  cases.push_back({"one product undone", 1, 0, lay_out_undone});
  for (int n : {10, 100, 500, 2000})
    cases.push_back({text("products named, %d", n), n, 2, std::bind(lay_out_named, _1, n)});
  for (int n : {10, 100, 500, 2000})
    cases.push_back({text("products required, %d", n), n, 2, std::bind(lay_out_required, _1, n)});
  for (int n : {100, 1000, 5000, 20000})
    cases.push_back({text("elements, %d", n), n,
                     n > 5000    ? 8.0
                     : n == 5000 ? 4.0
                                 : 0.0,
                     std::bind(lay_out_elements, _1, n, true)});
  for (int n : {100, 1000, 5000, 20000})
    cases.push_back(
        {text("elements without globs, %d", n), n, 0, std::bind(lay_out_elements, _1, n, false)});
  for (int n : {100, 1000, 10000})
    cases.push_back({text("chain, %d", n), n, 3, std::bind(lay_out_chain, _1, n)});
  cases.push_back({"20 layers of 20", 400, 3, std::bind(lay_out_layers, _1, 20, 20)});
  for (int n : {100, 1000})
    cases.push_back({text("%d diamonds", n), 2 * n, 3, std::bind(lay_out_layers, _1, n, 2)});
  cases.push_back({"10,000 other products", 1, 1, lay_out_crowded, lay_out_usual});
  for (int n : {1000, 10000})
    cases.push_back({text("variables, %d", n), n, 0, std::bind(lay_out_variables, _1, n)});
  for (int n : {100, 1000, 4000})
    cases.push_back({text("hostile globs, %d", n), n, 0, std::bind(lay_out_hostile_globs, _1, n)});
  for (int n : {100, 1000, 4000})
    cases.push_back({text("before all, %d", n), n, 0, std::bind(lay_out_before_all, _1, n)});
  for (int n : {10000, 100000, 1000000})
    cases.push_back({text("long value, %d", n), n, 0, std::bind(lay_out_long_value, _1, n)});
  for (int n : {100, 1000, 10000})
    cases.push_back({text("big file, %d", n), n, 0, std::bind(lay_out_big_file, _1, n)});
  for (int n : {250000, 1000000})
    cases.push_back(
        {text("long attribute, %d", n), n, 0, std::bind(lay_out_long_attribute, _1, n)});
  return cases;
}

// ---- Running ------------------------------------------------------------------------------------

struct Cost {
  double wall;  // seconds
  double user;
  double system;
  long memory;  // KiB at the peak
  long faults;
  int status;
};

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

double now() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

// A program with its arguments, ready for execve.
class Program {
 public:
  Program(const std::string& path, Strings arguments, Strings environment)
      : arguments_(std::move(arguments)), environment_(std::move(environment)) {
    arguments_.insert(arguments_.begin(), path);
    for (std::string& argument : arguments_)
      argv_.push_back(argument.data());
    for (std::string& variable : environment_)
      envp_.push_back(variable.data());
    argv_.push_back(nullptr);
    envp_.push_back(nullptr);
  }
  Program(const Program&) = delete;

  Cost run(int out, int err) {
    if (ftruncate(out, 0) != 0 || ftruncate(err, 0) != 0) die("ftruncate");
    lseek(out, 0, SEEK_SET);
    lseek(err, 0, SEEK_SET);
    double start = now();
    pid_t child = fork();
    if (child == 0) {
      dup2(out, 1);
      dup2(err, 2);
      execve(argv_[0], argv_.data(), envp_.data());
      _exit(127);
    }
    int status;
    rusage usage;
    if (wait4(child, &status, 0, &usage) != child) die("wait4");
    double wall = now() - start;
    return {wall,
            seconds(usage.ru_utime),
            seconds(usage.ru_stime),
            usage.ru_maxrss,
            usage.ru_minflt + usage.ru_majflt,
            status};
  }

 private:
  Strings arguments_;
  Strings environment_;
  std::vector<char*> argv_;
  std::vector<char*> envp_;
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  size_t n = values.size();
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

double quantile(std::vector<double> values, double q) {
  std::sort(values.begin(), values.end());
  return values[static_cast<size_t>(q * static_cast<double>(values.size() - 1))];
}

struct Options {
  std::string only, reference, lay_out, tool, floor;
  double seconds = 3;
  bool existing = false;
};

// Shell text for a word.
std::string quoted(const std::string& word) {
  std::string result = "'";
  for (char c : word)
    result += c == '\'' ? "'\\''" : std::string(1, c);
  return result + "'";
}

// Leaves a case to be run by hand.
void lay_out(const Case& the_case, const std::string& directory) {
  std::string name = the_case.name;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == ' ' || c == ','; }, '-');
  std::string path = fs::absolute(directory + "/" + name);
  Warehouse warehouse(path + "/w");
  Job job = the_case.lay_out(&warehouse);
  std::string script = "#!/bin/sh\nexec env -i";
  for (const std::string& variable : job.environment)
    script += " \\\n  " + quoted(variable);
  script += " \\\n  \"$@\"";
  std::string tool = script;
  for (const std::string& argument : job.arguments)
    tool += " " + quoted(argument);
  std::string list;
  for (const std::string& file : job.files)
    list += file + "\n";
  write_file(path + "/list", list);
  write_file(path + "/run", tool + "\n");
  write_file(path + "/run-floor", script + " " + quoted(path + "/list") + " 2000\n");
  chmod((path + "/run").c_str(), 0755);
  chmod((path + "/run-floor").c_str(), 0755);
  std::printf("%s\n", path.c_str());
}

// All rounds of one program.
struct Costs {
  std::vector<double> wall, cpu, user, system;
  Cost last{};

  void add(const Cost& cost) {
    wall.push_back(cost.wall);
    cpu.push_back(cost.user + cost.system);
    user.push_back(cost.user);
    system.push_back(cost.system);
    last = cost;
  }
};

// What is added up by the tick is a matter of chance in a single short run, but not over many.
double mean(const std::vector<double>& values) {
  double sum = 0;
  for (double value : values)
    sum += value;
  return sum / static_cast<double>(values.size());
}

// Times in milliseconds.
void head() {
  std::printf(
      "| %-29s | wanted | ratio | 10 to 90 %% | CPU ratio |    ms | floor |  user | system "
      "| us/item | faults | floor |    MiB |\n",
      "case");
  std::printf(
      "|%s|--------|-------|------------|-----------|-------|-------|-------|--------"
      "|---------|--------|-------|--------|\n",
      std::string(31, '-').c_str());
}

class Bench {
 public:
  explicit Bench(Options options) : options_(std::move(options)) {
    const char* below = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    std::string pattern = std::string(below) + "/zor-bench-XXXXXX";
    if (!mkdtemp(pattern.data())) die(pattern);
    directory_ = pattern;
    out_ = open((directory_ + "/out").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    err_ = open((directory_ + "/err").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (out_ < 0 || err_ < 0) die(directory_);
  }
  ~Bench() { fs::remove_all(directory_); }

  void measure(const Case& the_case) {
    Warehouse warehouse(directory_ + "/w");
    Job job = the_case.lay_out(&warehouse);
    Program tool(options_.tool, job.arguments, job.environment);
    Cost first = tool.run(out_, err_);
    std::string out = read_file(directory_ + "/out");
    std::string err = read_file(directory_ + "/err");
    if (first.status != 0)
      std::printf("%s: failed, status %#x: %.200s\n", the_case.name.c_str(),
                  static_cast<unsigned>(first.status), err.c_str());
    if (!options_.reference.empty()) compare(job, first.status, out, err);

    Warehouse other_warehouse(directory_ + "/other");
    std::string list = directory_ + "/list";
    if (the_case.other) {
      Job other = the_case.other(&other_warehouse);
      Program floor(options_.tool, other.arguments, other.environment);
      rounds(the_case, &tool, &floor);
    } else {
      write_list(list, job.files);
      Program floor(options_.floor, {list, std::to_string(out.size())}, job.environment);
      rounds(the_case, &tool, &floor);
    }
    fs::remove_all(warehouse.root());
    fs::remove_all(other_warehouse.root());
  }

 private:
  void write_list(const std::string& path, const Strings& files) const {
    std::string list;
    for (const std::string& file : files)
      if (!options_.existing || access(file.c_str(), F_OK) == 0) list += file + "\n";
    write_file(path, list);
  }

  void compare(const Job& job, int status, const std::string& out, const std::string& err) {
    Program reference(options_.reference, job.arguments, job.environment);
    if (reference.run(out_, err_).status != status)
      std::printf("other status than the reference\n");
    if (read_file(directory_ + "/out") != out) std::printf("other output than the reference\n");
    if (read_file(directory_ + "/err") != err) std::printf("other messages than the reference\n");
  }

  void rounds(const Case& the_case, Program* tool, Program* floor) {
    Costs costs, floor_costs;
    std::vector<double> ratio, cpu_ratio;
    double end = now() + options_.seconds;
    for (int round = 0; round < 5 || (now() < end && round < 1000); ++round) {
      if (round % 2) costs.add(tool->run(out_, err_));
      floor_costs.add(floor->run(out_, err_));
      if (round % 2 == 0) costs.add(tool->run(out_, err_));
      if (floor_costs.last.status != 0) {
        std::printf("%s: the floor failed\n", the_case.name.c_str());
        return;
      }
      ratio.push_back(costs.wall.back() / floor_costs.wall.back());
      cpu_ratio.push_back(costs.cpu.back() / floor_costs.cpu.back());
    }
    std::printf(
        "| %-29s | %-6s | %5.2f | %4.2f, %4.2f | %9.2f | %5s | %5s | %5s | %6s | %7.2f | %6ld | "
        "%5ld | %6.1f |%s\n",
        the_case.name.c_str(), wanted(the_case).c_str(), median(ratio), quantile(ratio, 0.1),
        quantile(ratio, 0.9), median(cpu_ratio), ms(median(costs.wall)).c_str(),
        ms(median(floor_costs.wall)).c_str(), ms(mean(costs.user)).c_str(),
        ms(mean(costs.system)).c_str(), median(costs.wall) * 1e6 / the_case.items,
        costs.last.faults, floor_costs.last.faults, static_cast<double>(costs.last.memory) / 1024,
        is_reached(the_case, median(ratio)) ? "" : " missed");
    std::fflush(stdout);
  }

  // Three digits.
  static std::string ms(double seconds) {
    double value = seconds * 1e3;
    return text("%.*f", value < 10 ? 2 : value < 100 ? 1 : 0, value);
  }

  static std::string wanted(const Case& the_case) {
    return the_case.goal == 0 ? "" : text("%.3g", the_case.goal);
  }

  static bool is_reached(const Case& the_case, double ratio) {
    // Two runs of the tool alike are told apart by chance alone.
    double allowed = the_case.other ? 1.03 : the_case.goal;
    return the_case.goal == 0 || ratio <= allowed;
  }

  Options options_;
  std::string directory_;
  int out_;
  int err_;
};

bool read_options(Options* options, int argc, char** argv) {
  int i = 1;
  for (; i < argc && argv[i][0] == '-'; ++i) {
    std::string option = argv[i];
    if (option == "--existing") {
      options->existing = true;
      continue;
    }
    if (i + 1 == argc) return false;
    if (option == "--only")
      options->only = argv[++i];
    else if (option == "--seconds")
      options->seconds = std::atof(argv[++i]);
    else if (option == "--reference")
      options->reference = argv[++i];
    else if (option == "--lay-out")
      options->lay_out = argv[++i];
    else
      return false;
  }
  if (!options->lay_out.empty()) return i == argc;
  if (argc - i != 2) return false;
  options->tool = argv[i];
  options->floor = argv[i + 1];
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!read_options(&options, argc, argv)) {
    std::fprintf(stderr,
                 "usage: %s [--only TEXT] [--seconds S] [--reference PROGRAM] [--existing] "
                 "TOOL FLOOR\n"
                 "       %s [--only TEXT] --lay-out DIRECTORY\n",
                 argv[0], argv[0]);
    return 2;
  }
  if (options.lay_out.empty()) head();
  for (const Case& the_case : all_cases()) {
    if (the_case.name.find(options.only) == std::string::npos) continue;
    if (!options.lay_out.empty()) {
      lay_out(the_case, options.lay_out);
      continue;
    }
    // In a process of its own: a peak of memory counts from the fork, so what an earlier case has
    // left in this process would count as well.
    std::fflush(stdout);
    pid_t child = fork();
    if (child == 0) {
      Bench(options).measure(the_case);
      std::exit(0);
    }
    waitpid(child, nullptr, 0);
  }
}
