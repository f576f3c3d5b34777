// The program against the model, on random small warehouses.
//
// A few hundred run each time. More, elsewhere, or one alone:
//
//   ZOR_MODEL_ROUNDS=20000 ZOR_MODEL_SEED=1 zorenv_test --gtest_filter='Model.*'
//
// ZOR_MODEL_SEED is the first seed, ZOR_MODEL_DIR where the warehouses are laid out, and with
// ZOR_MODEL_KEEP the last of them stays there.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "model/generator.h"
#include "model/model.h"
#include "tool.h"

namespace {

std::string Setting(const char* name, const std::string& otherwise) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : otherwise;
}

// Memory is faster than the disk. The path is always the same, since the order of records follows
// from it; so one test program at a time has it.
class Place {
 public:
  Place() {
    const std::string user = std::to_string(getuid());
    const std::string memory = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    path_ = Setting("ZOR_MODEL_DIR", memory + "/zor-model-" + user);
    std::filesystem::create_directories(path_);
    lock_ = open((path_ + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock_ < 0 || flock(lock_, LOCK_EX) != 0) ADD_FAILURE() << "can't lock " << path_;
  }
  ~Place() { close(lock_); }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  int lock_ = -1;
};

void LayOut(const model::Case& run) {
  for (const auto& [name, content] : model::Layout(run)) {
    const std::filesystem::path path = run.base + "/" + name;
    if (!content) {
      std::filesystem::create_directories(path);
      continue;
    }
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << *content;
    if (!file.flush()) ADD_FAILURE() << "can't write " << path;
  }
}

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text)
    quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

std::string Describe(const model::Case& run, unsigned long long seed) {
  std::string text = "ZOR_MODEL_SEED=" + std::to_string(seed) +
                     " ZOR_MODEL_ROUNDS=1 ZOR_MODEL_KEEP=1 zorenv_test "
                     "--gtest_filter='Model.*' lays it out again. It is, and runs, thus:\n";
  text += "rm -rf " + run.base + "; mkdir -p " + run.base + "; cd " + run.base + "\n";
  for (const auto& [name, content] : model::Layout(run)) {
    if (!content) {
      text += "mkdir -p './" + name + "'\n";
      continue;
    }
    const std::string path = "./" + name;
    text += "mkdir -p " + Quoted(path.substr(0, path.rfind('/'))) + "; printf %s " +
            Quoted(*content) + " > " + Quoted(path) + "\n";
  }
  text += "env -i";
  for (const std::string& variable : run.environment)
    text += " " + Quoted(variable);
  text += " zorenv";
  for (const std::string& argument : run.arguments)
    text += " " + Quoted(argument);
  return text + "\n";
}

struct Tally {
  int scripts = 0, faults = 0, clashes = 0, cycles = 0, mixed = 0, endless = 0, usage = 0;

  void Count(const model::Answer& answer) {
    const auto has_record = [](const std::string& out) {
      return out.find("\n$") != std::string::npos;
    };
    const auto has = [&](const char* text) { return answer.err.find(text) != std::string::npos; };
    // More than the head of the portable dialect.
    const bool head_only = answer.out.starts_with("test $?shell") && !has_record(answer.out);
    scripts += answer.status == 0 && !answer.out.empty() && !head_only;
    faults += !answer.err.empty();
    clashes += has("both inserted and removed");
    cycles += has("cyclic constraints");
    mixed += has("inconsistent separators");
    endless += answer.endless;
    usage += answer.out.starts_with("usage:");
  }
};

TEST(Model, AgreesWithTheProgramOnRandomWarehouses) {
  const int rounds = std::stoi(Setting("ZOR_MODEL_ROUNDS", "250"));
  const unsigned long long first = std::stoull(Setting("ZOR_MODEL_SEED", "1"));
  const bool keep = std::getenv("ZOR_MODEL_KEEP") != nullptr;
  const Place place;
  Tally tally;
  int done = 0, failed = 0;
  for (unsigned long long seed = first; done < rounds && failed < 10; ++seed) {
    SCOPED_TRACE(seed);
    const model::Case run = model::Generate(seed, place.path() + "/" + std::to_string(seed % 100));
    std::filesystem::remove_all(run.base);
    std::filesystem::create_directories(run.base);
    LayOut(run);
    const model::Answer answer = model::Compute(run);
    // Runs without end cost time: the first few and one in sixteen of the others will do.
    if (!answer.endless || tally.endless < 3 || seed % 16 == 0) {
      ++done;
      tally.Count(answer);
      RunOptions options;
      options.environment = run.environment;
      options.directory = run.base;
      if (answer.endless) options.limit = std::chrono::milliseconds(400);
      const RunResult result = Zorenv(run.arguments, std::move(options));
      const bool same = result.out == answer.out && result.err == answer.err &&
                        result.timed_out == answer.endless &&
                        (answer.endless || result.status == answer.status);
      if (!same) {
        ++failed;
        EXPECT_EQ(answer.out, result.out);
        EXPECT_EQ(answer.err, result.err);
        EXPECT_EQ(answer.endless, result.timed_out);
        if (!answer.endless) {
          EXPECT_EQ(answer.status, result.status);
        }
        ADD_FAILURE() << "seed " << seed << "\n" << Describe(run, seed);
      }
    }
    if (!keep) std::filesystem::remove_all(run.base);
  }
  std::printf(
      "%d rounds: %d scripts, %d with reports (%d clashes, %d cycles, %d mixed separators), "
      "%d without end, %d of usage\n",
      done, tally.scripts, tally.faults, tally.clashes, tally.cycles, tally.mixed, tally.endless,
      tally.usage);
  // The warehouses must reach what they are for.
  if (rounds >= 250 && failed == 0) {
    EXPECT_GT(tally.scripts, rounds / 5);
    EXPECT_GT(tally.faults, rounds / 8);
    EXPECT_GT(tally.clashes, 0);
    EXPECT_GT(tally.cycles, 0);
    EXPECT_GT(tally.mixed, 0);
    EXPECT_GT(tally.endless, 0);
  }
}

}  // namespace
