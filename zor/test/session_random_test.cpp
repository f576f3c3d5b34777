// Random sessions on random warehouses, beside a plain model of a session.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "model/generator.h"
#include "session_support.h"

namespace {

using Lists = std::vector<std::vector<std::string>>;  // groups of "category name version rev"

// A session on a random warehouse beside a plain model of it: the environment is what the tool
// makes of the base and the list.
class RandomSession {
 public:
  RandomSession(const model::Case& run, unsigned long long seed)
      : run_(run), shell_(Base(run)), random_(seed), base_(shell_.variables) {
    shell_.directory = run.base;
    for (const model::Product& product : run.products)
      if (product.info.there && product.parts.there) products_.push_back(Words(product.directory));
  }

  bool empty() const { return products_.empty(); }
  int done = 0;
  int refused = 0;

  void Step() {
    switch (random_() % 10) {
      case 0:
      case 1:
      case 2:
      case 3:
        Load();
        break;
      case 4:
      case 5:
        if (!groups_.empty()) Unload();
        break;
      case 6:
      case 7:
        if (!groups_.empty()) Swap();
        break;
      case 8:
        Undo();
        break;
      default:
        if (random_() % 2 == 0)
          Check({"reload"}, groups_);
        else
          Purge();
    }
  }

  void Purge() {
    Check({"purge"}, {});
    EXPECT_EQ(base_, shell_.variables);
  }

 private:
  // What any shell hands on: each name once, and no text that is no variable.
  static Variables Base(const model::Case& run) {
    Variables variables;
    for (const std::string& text : run.environment) {
      const std::size_t equals = text.find('=');
      const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return c >= 0; });
      if (ascii && equals != std::string::npos && equals > 0)
        variables[text.substr(0, equals)] = text.substr(equals + 1);
    }
    variables["ZORROOT"] = run.base + "/root";
    return variables;
  }

  // The tool writes each byte of another name as a character of its own.
  static Variables WithAsciiNames(Variables variables) {
    std::erase_if(variables, [](const auto& entry) {
      return std::any_of(entry.first.begin(), entry.first.end(), [](char c) { return c < 0; });
    });
    return variables;
  }

  // "category name version rev"
  static std::string Words(std::string directory) {
    for (int i = 0; i < 3; ++i)
      directory[directory.rfind('/')] = ' ';
    return directory;
  }

  static void AddRequest(std::vector<std::string>* words, const std::string& product) {
    words->push_back("-p");
    for (std::size_t at = 0; at < product.size();) {
      const std::size_t end = std::min(product.find(' ', at), product.size());
      words->push_back(product.substr(at, end - at));
      at = end + 1;
    }
  }

  const std::string& AnyProduct() { return products_[random_() % products_.size()]; }

  std::string AnyLoaded() {
    std::vector<std::string> all;
    for (const auto& group : groups_)
      all.insert(all.end(), group.begin(), group.end());
    return all[random_() % all.size()];
  }

  void Load() {
    Lists wanted = groups_;
    std::vector<std::string> words = {"load"};
    if (random_() % 4 == 0) {
      words.push_back("--over");
      wanted.emplace_back();
    }
    if (wanted.empty()) wanted.emplace_back();
    for (std::size_t i = random_() % 2; i < 2; ++i) {
      const std::string& product = AnyProduct();
      AddRequest(&words, product);
      auto& group = wanted.back();
      if (std::find(group.begin(), group.end(), product) == group.end()) group.push_back(product);
    }
    Check(words, wanted);
  }

  void Unload() {
    const std::string product = AnyLoaded();
    Lists wanted = groups_;
    for (auto& group : wanted)
      std::erase(group, product);
    std::erase_if(wanted, [](const auto& group) { return group.empty(); });
    Check({"unload", product}, wanted);
  }

  void Swap() {
    const std::string old = AnyLoaded();
    const std::string& product = AnyProduct();
    Lists wanted = groups_;
    for (auto& group : wanted)
      std::replace(group.begin(), group.end(), old, product);
    std::vector<std::string> words = {"swap", old};
    AddRequest(&words, product);
    Check(words, wanted);
  }

  void Undo() {
    if (history_.empty()) {
      EXPECT_EQ(1, shell_.Run({"undo"}).status);
      return;
    }
    const std::vector<Lists> before(history_.begin(), history_.end() - 1);
    Check({"undo"}, history_.back());
    history_ = groups_.empty() ? std::vector<Lists>() : before;
  }

  std::vector<std::string> Line(const Lists& wanted) const {
    std::vector<std::string> words;
    for (const auto& group : wanted) {
      if (!words.empty()) words.push_back("--and");
      for (const std::string& product : group)
        AddRequest(&words, product);
    }
    return words;
  }

  bool IsEndless(const Lists& wanted) const {
    model::Case run = run_;
    run.arguments = Line(wanted);
    run.arguments.push_back("--sh");
    run.environment = TextsOf(base_);
    return model::Compute(run).endless;
  }

  // The environment that the tool gives, or none.
  std::optional<Variables> Computed(const Lists& wanted) const {
    if (wanted.empty()) return base_;
    std::vector<std::string> argv = Line(wanted);
    argv.insert(argv.begin(), ZORENV_PROGRAM);
    argv.insert(argv.end(), {"--exec", "/usr/bin/env", "-0"});
    RunOptions options;
    options.environment = TextsOf(base_);
    options.directory = run_.base;
    const RunResult result = RunProgram(argv, options);
    if (result.status != 0) return std::nullopt;
    Variables variables;
    for (std::size_t at = 0; at < result.out.size();) {
      const std::size_t end = std::min(result.out.find('\0', at), result.out.size());
      const std::size_t equals = result.out.find('=', at);
      variables[result.out.substr(at, equals - at)] =
          result.out.substr(equals + 1, end - equals - 1);
      at = end + 1;
    }
    return variables;
  }

  // Runs a verb that is to lead to the wanted list.
  void Check(const std::vector<std::string>& words, Lists wanted) {
    if (!wanted.empty() && IsEndless(wanted)) return;
    const std::optional<Variables> expected = Computed(wanted);
    const Variables before = shell_.variables;
    const RunResult result = shell_.Run(words);
    // A variable without a name can't be carried to a shell.
    if (!expected || expected->contains("")) {
      EXPECT_EQ(1, result.status);
      EXPECT_EQ("", result.out);
      EXPECT_NE("", result.err);
      EXPECT_EQ(before, shell_.variables);
      ++refused;
      return;
    }
    EXPECT_EQ(0, result.status) << result.err;
    EXPECT_EQ(WithAsciiNames(*expected), WithAsciiNames(shell_.Others()));
    ++done;
    if (wanted != groups_) history_.push_back(groups_);
    if (history_.size() > 20) history_.erase(history_.begin());
    groups_ = std::move(wanted);
    if (groups_.empty()) history_.clear();
  }

  const model::Case& run_;
  ShellModel shell_;
  std::mt19937_64 random_;
  Variables base_;
  std::vector<std::string> products_;
  Lists groups_;
  std::vector<Lists> history_;
};

TEST(RandomSessions, AreFunctionsOfBaseAndList) {
  const int wanted = Rounds(150);
  const TemporaryTree tree;
  int done = 0;
  int refused = 0;
  for (unsigned long long seed = 1; done + refused < wanted && !testing::Test::HasFailure();
       ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const model::Case run = model::Generate(seed, tree / std::to_string(seed));
    std::filesystem::create_directories(run.base);
    LayOut(run);
    RandomSession session(run, seed);
    for (int step = 0; step < 15 && !session.empty() && !testing::Test::HasFailure(); ++step)
      session.Step();
    session.Purge();
    done += session.done;
    refused += session.refused;
    std::filesystem::remove_all(run.base);
  }
  EXPECT_GT(done, wanted / 3);
  EXPECT_GT(refused, wanted / 20);
}

}  // namespace
