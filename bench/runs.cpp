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
#include <filesystem>
#include <string>
#include <vector>

#include "cases.h"

namespace {

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
      // A case that explodes is to be seen, not waited for.
      rlimit limit{60, 60};
      setrlimit(RLIMIT_CPU, &limit);
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
    if (first.status != W_EXITCODE(the_case.status, 0)) {
      std::printf("%s: failed, status %#x: %.200s\n", the_case.name.c_str(),
                  static_cast<unsigned>(first.status), err.c_str());
      fs::remove_all(warehouse.root());
      return;
    }
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
        is_reached(the_case, median(ratio), costs) ? "" : " missed");
    std::fflush(stdout);
  }

  // Three digits.
  static std::string ms(double seconds) {
    double value = seconds * 1e3;
    return text("%.*f", value < 10 ? 2 : value < 100 ? 1 : 0, value);
  }

  static std::string wanted(const Case& the_case) {
    const Goal& goal = the_case.goal;
    return goal.ratio != 0 ? text("%.3g", goal.ratio)
           : goal.ms != 0  ? text("%g ms", goal.ms)
           : goal.mib != 0 ? text("%g MiB", goal.mib)
                           : "";
  }

  static bool is_reached(const Case& the_case, double ratio, const Costs& costs) {
    const Goal& goal = the_case.goal;
    // Two runs of the tool alike are told apart by chance alone.
    double allowed = the_case.other ? 1.03 : goal.ratio;
    return (goal.ratio == 0 || ratio <= allowed) &&
           (goal.ms == 0 || median(costs.wall) * 1e3 <= goal.ms) &&
           (goal.mib == 0 || static_cast<double>(costs.last.memory) / 1024 <= goal.mib);
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
  std::vector<Case> cases;
  add_usual_cases(&cases);
  add_hard_cases(&cases);
  for (const Case& the_case : cases) {
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
