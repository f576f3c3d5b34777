// Reasons: what zor why says, and that it is so. Where it names a line as the reason for something,
// that line is taken away and the effect has to go.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "model/generator.h"
#include "model/model.h"
#include "process.h"
#include "session_support.h"
#include "zor.h"

namespace {

using Json = nlohmann::json;
using Texts = std::vector<std::string>;
using Places = std::set<std::tuple<std::string, int, int>>;  // file, line, column

// Names and values that are no text are told apart by their base64, which is all that is needed.
std::string TextOf(const Json& text) {
  return text.is_string() ? text.get<std::string>() : text.dump();
}

bool IsText(const Json& text) {
  return text.is_string();
}

// The tool writes each byte of another name as a character of its own.
bool IsAscii(const std::string& name) {
  return std::all_of(name.begin(), name.end(), [](char c) { return c >= 0; });
}

bool IsTried(const Json& variable) {
  return IsText(variable["name"]) && IsAscii(TextOf(variable["name"]));
}

// ---- Lines of data files ----

// The position of a line and a column, in characters, of a file.
std::size_t OffsetOf(const std::string& content, int line, int column) {
  std::size_t at = 0;
  for (; line > 1; --line)
    at = content.find('\n', at) + 1;
  for (; column > 1; --column) {
    ++at;
    while (at < content.size() && (static_cast<unsigned char>(content[at]) & 0xC0) == 0x80)
      ++at;
  }
  return at;
}

// Behind the end of the element that begins there.
std::size_t EndOf(const std::string& content, std::size_t begin) {
  const std::size_t name_end = content.find_first_of(" >/", begin);
  const std::string name = content.substr(begin + 1, name_end - begin - 1);
  char quote = 0;
  std::size_t at = begin;
  for (; quote != 0 || content[at] != '>'; ++at) {
    if (quote == 0 && (content[at] == '"' || content[at] == '\''))
      quote = content[at];
    else if (quote != 0 && content[at] == quote)
      quote = 0;
  }
  if (content[at - 1] == '/') return at + 1;
  return content.find("</" + name + ">", at) + name.size() + 3;
}

// Takes the elements at some places out of their files while it lives; of inserts, if a word is
// given, only those elements in them.
class Without {
 public:
  explicit Without(const Places& places, const std::string& inner = "") {
    // From the end of each file on, so that the other places stay what they are.
    for (auto place = places.rbegin(); place != places.rend(); ++place) {
      const auto& [file, line, column] = *place;
      const auto known = saved_.find(file);
      if (known == saved_.end()) saved_[file] = ReadFile(file);
      std::string content = ReadFile(file);
      const std::size_t begin = OffsetOf(content, line, column);
      EXPECT_TRUE(content.compare(begin, 5, "<ENV-") == 0 ||
                  content.compare(begin, 7, "<SETENV") == 0)
          << file << ':' << line << ':' << column << '\n'
          << content;
      const std::size_t end = EndOf(content, begin);
      std::string element = content.substr(begin, end - begin);
      if (inner.empty()) {
        element.clear();
      } else {
        for (std::size_t at; (at = element.find('<' + inner + '>')) != std::string::npos;)
          element.erase(at, EndOf(element, at) - at);
      }
      Write(file, content.replace(begin, end - begin, element));
    }
  }
  ~Without() {
    for (const auto& [file, content] : saved_)
      Write(file, content);
  }
  Without(const Without&) = delete;
  Without& operator=(const Without&) = delete;

 private:
  static void Write(const std::string& file, const std::string& content) {
    std::ofstream(file, std::ios::binary) << content;
  }
  std::map<std::string, std::string> saved_;
};

// ---- A request whose reasons are tried ----

struct Counts {
  int requests = 0;
  int elements = 0;
  int inserted = 0, removed = 0, overruled = 0, placed = 0, there_before = 0, skipped = 0;
};

class Trial {
 public:
  Trial(Texts request, Texts environment, std::string directory, Counts* counts)
      : request_(std::move(request)),
        environment_(std::move(environment)),
        directory_(std::move(directory)),
        counts_(counts) {}

  // False if the request has no environment.
  bool Run() {
    const auto result = Computed(environment_);
    if (!result) return false;
    const Json told = Told();
    if (told.is_null()) return true;
    ++counts_->requests;
    AllIsAccountedFor(told, *result);
    for (const Json& variable : told["variables"])
      if (IsTried(variable) && !testing::Test::HasFailure()) TryVariable(told, variable);
    return true;
  }

 private:
  Variables Take(const std::string& zero_ended) const {
    Variables variables;
    for (std::size_t at = 0; at < zero_ended.size();) {
      const std::size_t end = std::min(zero_ended.find('\0', at), zero_ended.size());
      const std::string text = zero_ended.substr(at, end - at);
      const std::size_t equals = text.find('=');
      if (equals != std::string::npos)
        variables.emplace(text.substr(0, equals), text.substr(equals + 1));
      at = end + 1;
    }
    return variables;
  }

  RunResult Start(Texts argv, const Texts& behind, const Texts& environment) const {
    argv.insert(argv.end(), request_.begin(), request_.end());
    argv.insert(argv.end(), behind.begin(), behind.end());
    RunOptions options;
    options.environment = environment;
    options.directory = directory_;
    return RunProgram(argv, options);
  }

  // What the tool makes of it.
  std::optional<Variables> Computed(const Texts& environment) const {
    const RunResult result = Start({ZORENV_PROGRAM}, {"--exec", "/usr/bin/env", "-0"}, environment);
    if (result.status != 0) return std::nullopt;
    return Take(result.out);
  }

  Json Told() const {
    const RunResult result = Start({ZOR_PROGRAM, "why", "--all", "--json"}, {}, environment_);
    EXPECT_EQ(0, result.status) << result.err;
    return result.status == 0 ? Json::parse(result.out) : Json();
  }

  // The elements that there are in the end come from somewhere, in the order that is told, and
  // those that are gone went somewhere. What is not told of has not changed.
  void AllIsAccountedFor(const Json& told, const Variables& result) {
    Variables base;
    for (const std::string& text : environment_)
      base.merge(Take(text));
    std::set<std::string> names;
    for (const Json& variable : told["variables"]) {
      if (!IsTried(variable)) continue;
      const std::string name = variable["name"];
      names.insert(name);
      const Json& last = variable["steps"].back();
      const auto value = result.find(name);
      if (last["after"].is_null()) {
        EXPECT_EQ(result.end(), value) << name;
      } else if (IsText(last["after"])) {
        ASSERT_NE(result.end(), value) << name;
        EXPECT_EQ(last["after"], value->second) << name;
        std::string joined;
        for (const Json& element : last["elements"])
          if (!element["position"].is_null() && IsText(element["value"]))
            joined += (joined.empty() ? "" : TextOf(last["separator"])) + TextOf(element["value"]);
        if (!last["group"].is_null()) {
          EXPECT_EQ(value->second, joined) << name;
        }
      }
      for (const Json& step : variable["steps"])
        for (const Json& element : step["elements"]) {
          ++counts_->elements;
          const bool is_there = !element["position"].is_null();
          const bool has_reason =
              is_there ? element["was_there"] || !element["inserts"].empty()
                       : !element["removes"].empty() || !element["overruled"].empty();
          EXPECT_TRUE(has_reason) << element.dump(1) << variable.dump(1)
                                  << told["operations"].dump(1);
        }
    }
    for (const auto& [name, value] : result)
      if (IsAscii(name) && !names.contains(name)) {
        EXPECT_TRUE(base.contains(name)) << name;
        EXPECT_EQ(base[name], value) << name;
      }
  }

  // ---- One variable ----

  Places PlacesOf(const Json& told, const std::set<int>& operations) const {
    Places places;
    for (const int index : operations) {
      const Json& place = told["operations"][static_cast<std::size_t>(index)]["place"];
      places.emplace(TextOf(place["file"]), place["line"], place["column"]);
    }
    return places;
  }

  // Whether nothing but the operations themselves goes with them: neither the separator, nor that
  // operations with patterns for names find the variable, nor steps before this one.
  bool IsClean(const Json& told, const Json& variable, const Places& places) const {
    const Json& last = variable["steps"].back();
    bool has_literal = !last["before"].is_null();
    bool has_pattern = false;
    bool all_state = true;
    for (const Json& step : variable["steps"])
      for (const int index : step["operations"]) {
        const Json& operation = told["operations"][static_cast<std::size_t>(index)];
        const bool goes = !std::ranges::none_of(
            PlacesOf(told, {index}), [&](const auto& place) { return places.contains(place); });
        if (goes && step != last) return false;
        if (goes) continue;
        const bool is_literal = operation["variable"] == variable["name"];
        (is_literal ? has_literal : has_pattern) = true;
        all_state = all_state && operation["separator"] != "";
      }
    return (has_literal || !has_pattern) && (last["separator"] == ":" || all_state);
  }

  // Whether the variable has the element once the places are gone; none if there is no environment.
  std::optional<bool> HasElement(const Json& variable, const std::string& value,
                                 const Places& places) const {
    const Without without(places);
    const auto result = Computed(environment_);
    if (!result) return std::nullopt;
    const auto found = result->find(TextOf(variable["name"]));
    if (found == result->end()) return false;
    const std::string separator = TextOf(variable["steps"].back()["separator"]);
    return (separator + found->second + separator).find(separator + value + separator) !=
           std::string::npos;
  }

  static std::set<int> Of(const Json& list) { return list.get<std::set<int>>(); }

  void TryVariable(const Json& told, const Json& variable) {
    const Json& last = variable["steps"].back();
    const bool is_recipe = last["group"].is_null();
    // An inserted text may be a list itself, in which another element seems to stand.
    const std::string separator = TextOf(last["separator"]);
    if (std::ranges::any_of(last["elements"], [&](const Json& element) {
          return TextOf(element["value"]).find(separator) != std::string::npos;
        })) {
      ++counts_->skipped;
      return;
    }
    for (const Json& element : last["elements"]) {
      // An empty element can't be seen in a value.
      if (!IsText(element["value"]) || TextOf(element["value"]).empty()) continue;
      SCOPED_TRACE(TextOf(variable["name"]) + ": " + element.dump(1));
      std::set<int> inserts = Of(element["inserts"]), removes = Of(element["removes"]);
      for (const Json& pair : element["overruled"]) {
        const Json& loser = told["operations"][pair["loser"].get<std::size_t>()];
        const bool inserts_it =
            loser["kind"] == "insert" || (is_recipe && loser["word"] != "remove");
        (inserts_it ? inserts : removes).insert(pair["loser"].get<int>());
      }
      if (!element["position"].is_null()) {
        if (!element["inserts"].empty())
          TryInserted(told, variable, element, inserts, removes);
        else if (variable["steps"].size() == 1 && IsText(variable["base"]))
          TryThereBefore(variable, element);
        if (!element["placed_by"].is_null()) TryPlaced(told, variable, element);
      } else if (!element["removes"].empty()) {
        TryRemoved(told, variable, element, inserts, removes);
      }
    }
  }

  // Without all that insert it the element is gone, unless it was there before and nothing else
  // removes it.
  void TryInserted(const Json& told, const Json& variable, const Json& element,
                   const std::set<int>& inserts, const std::set<int>& removes) {
    const Places places = PlacesOf(told, inserts);
    if (!IsClean(told, variable, places)) {
      ++counts_->skipped;
      return;
    }
    const auto has = HasElement(variable, element["value"], places);
    if (!has) return;
    const bool stays = element["was_there"] && removes.empty();
    EXPECT_EQ(stays, *has) << variable.dump(1) << told["operations"].dump(1);
    ++counts_->inserted;
    if (!removes.empty()) ++counts_->overruled;
    // With the one that stands gone alone, one that it overrules takes its place.
    const Places standing = PlacesOf(told, Of(element["inserts"]));
    if (standing == places || !removes.empty() || !IsClean(told, variable, standing)) return;
    const auto still = HasElement(variable, element["value"], standing);
    EXPECT_TRUE(still.value_or(true));
    ++counts_->overruled;
  }

  // Without all that remove it the element is there, if it was before or anything inserts it.
  void TryRemoved(const Json& told, const Json& variable, const Json& element,
                  const std::set<int>& inserts, const std::set<int>& removes) {
    const Places places = PlacesOf(told, removes);
    if (!IsClean(told, variable, places)) {
      ++counts_->skipped;
      return;
    }
    const auto has = HasElement(variable, element["value"], places);
    if (!has) return;
    const bool is_recipe = variable["steps"].back()["group"].is_null();
    if (is_recipe && !*has) {
      // Recipes go one after another, so that a later command may take it as well.
      const Without without(places);
      EXPECT_NE(element["removes"], RemovesOf(TextOf(variable["name"]), element["value"]));
      return;
    }
    EXPECT_EQ(element["was_there"] || !inserts.empty(), *has)
        << variable.dump(1) << told["operations"].dump(1);
    ++(inserts.empty() ? counts_->removed : counts_->overruled);
    // Each of several that stand is enough.
    const std::set<int> standing = Of(element["removes"]);
    for (const int one : standing) {
      const Places place = PlacesOf(told, {one});
      if (place == PlacesOf(told, standing)) break;
      const auto still = HasElement(variable, element["value"], place);
      EXPECT_FALSE(still.value_or(false));
    }
  }

  // The removes that are told now, with their places.
  Json RemovesOf(const std::string& name, const std::string& value) const {
    const Json told = Told();
    Json all = Json::array();
    if (told.is_null()) return all;
    for (const Json& variable : told["variables"])
      if (variable["name"] == name)
        for (const Json& element : variable["steps"].back()["elements"])
          if (element["value"] == value)
            for (const int index : element["removes"])
              all.push_back(told["operations"][static_cast<std::size_t>(index)]["place"]);
    return all;
  }

  void TryThereBefore(const Json& variable, const Json& element) {
    const std::string separator = TextOf(variable["steps"][0]["separator"]);
    const std::string name = variable["name"];
    std::string value;
    std::string rest = variable["base"];
    while (!rest.empty()) {
      const std::size_t end = std::min(rest.find(separator), rest.size());
      const std::string one = rest.substr(0, end);
      if (one != TextOf(element["value"])) value += (value.empty() ? "" : separator) + one;
      rest.erase(0, end + separator.size());
    }
    Texts environment = environment_;
    std::erase_if(environment, [&](const auto& text) { return text.starts_with(name + '='); });
    environment.push_back(name + '=' + value);
    const auto result = Computed(environment);
    if (!result) return;
    const auto found = result->find(name);
    const std::string now = found == result->end() ? "" : found->second;
    EXPECT_EQ(std::string::npos,
              (separator + now + separator).find(separator + TextOf(element["value"]) + separator));
    ++counts_->there_before;
  }

  // Without the constraint the element comes in its turn, which is behind the other one, unless
  // something else pulls it forward.
  void TryPlaced(const Json& told, const Json& variable, const Json& element) {
    const Json& pair = element["placed_by"];
    const Json& operation = told["operations"][pair["operation"].get<std::size_t>()];
    if (variable["steps"].size() != 1 || !IsText(pair["second"])) return;
    EXPECT_EQ(element["value"], pair["first"]);
    const bool before = operation["values"][0] == pair["first"];
    const Without without(PlacesOf(told, {pair["operation"].get<int>()}),
                          before ? "BEFORE" : "AFTER");
    const auto result = Computed(environment_);
    if (!result) return;
    const Json now = Told();
    if (now.is_null()) return;
    for (const Json& other : now["variables"]) {
      if (other["name"] != variable["name"]) continue;
      Json first, second;
      for (const Json& each : other["steps"].back()["elements"]) {
        if (each["value"] == pair["first"]) first = each;
        if (each["value"] == pair["second"]) second = each;
      }
      ASSERT_TRUE(first.is_object() && second.is_object());
      EXPECT_EQ(result->at(TextOf(variable["name"])), other["steps"].back()["after"]);
      if (first["placed_by"].is_null()) {
        EXPECT_GT(first["position"].get<int>(), second["position"].get<int>());
        ++counts_->placed;
      } else {
        EXPECT_NE(pair, first["placed_by"]);
      }
    }
  }

  Texts request_;
  Texts environment_;
  std::string directory_;
  Counts* counts_;
};

void Print(const Counts& counts) {
  std::printf(
      "%d requests, %d elements; tried: %d inserted, %d removed, %d overruled, %d placed, "
      "%d there before; passed over: %d\n",
      counts.requests, counts.elements, counts.inserted, counts.removed, counts.overruled,
      counts.placed, counts.there_before, counts.skipped);
}

// What a shell hands on: no text without =, and of a name that stands twice only the last text,
// which the tool takes. A program finds the first one, as long as no operation touches the
// variable.
Texts WithoutRepetitions(const Texts& environment) {
  Texts texts;
  for (const std::string& text : environment) {
    const std::string name = text.substr(0, text.find('='));
    std::erase_if(texts,
                  [&](const auto& other) { return other.substr(0, other.find('=')) == name; });
    if (name != text) texts.push_back(text);
  }
  return texts;
}

// The request alone, none where it can't be told from what stands behind it.
std::optional<Texts> RequestOf(const Texts& arguments) {
  static const std::set<std::string> kOutputs = {"--sh",   "--csh",  "--posh",  "--bat",
                                                 "--proc", "--user", "--system"};
  Texts request;
  for (const std::string& argument : arguments) {
    if (argument == "--exec" || argument.starts_with("-X") || argument == "--") break;
    if (!kOutputs.contains(argument)) request.push_back(argument);
  }
  for (std::size_t back = 1; back <= 2 && back <= request.size(); ++back) {
    const std::string& word = request[request.size() - back];
    if (word.starts_with("-v") || word.starts_with("-r")) return std::nullopt;
  }
  return request;
}

TEST(Reasons, VanishWithTheirLinesOnRandomWarehouses) {
  const int wanted = Rounds(5);
  const TemporaryTree tree;
  Counts counts;
  // A seed to begin with is for a look at one that failed.
  const char* start = std::getenv("ZOR_TEST_SEED");
  for (unsigned long long seed = start ? std::stoull(start) : 1;
       counts.requests < wanted && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const model::Case run = model::Generate(seed, tree / std::to_string(seed));
    const auto request = RequestOf(run.arguments);
    std::filesystem::create_directories(run.base);
    LayOut(run);
    const model::Answer answer = model::Compute(run);
    if (request && !answer.endless && !answer.out.starts_with("usage:") &&
        !answer.out.starts_with("only one of"))
      Trial(*request, WithoutRepetitions(run.environment), run.base, &counts).Run();
    std::filesystem::remove_all(run.base);
  }
  Print(counts);
  EXPECT_GT(counts.inserted, wanted / 2);
  EXPECT_GT(counts.there_before, 0);
}

TEST(Reasons, VanishWithTheirLinesOnTheExamples) {
  const TemporaryTree tree;
  const std::string root = tree / "warehouse";
  std::filesystem::copy(Examples(), root, std::filesystem::copy_options::recursive);
  Counts counts;
  const Texts environment = PlainEnvironment({"HOME=/home/you", "RENDER_MODE=draft:fast"});
  for (const Texts& request :
       {Texts{"-p", "tools", "suite", "--and", "-p", "site"}, Texts{"-p", "tools", "weaver"},
        Texts{"-p", "tools", "quill"}, Texts{"-p", "studio", "proof"},
        Texts{"-p", "studio", "canvas", "--and", "-p", "studio", "proof"},
        Texts{"-p", "tools", "spindle", "-u"}}) {
    Texts whole = {"-r", root};
    whole.insert(whole.end(), request.begin(), request.end());
    SCOPED_TRACE(request.back());
    EXPECT_TRUE(Trial(whole, environment, tree.path(), &counts).Run());
  }
  Print(counts);
  EXPECT_EQ(6, counts.requests);
  EXPECT_GT(counts.inserted, 10);
  EXPECT_GT(counts.removed, 0);
  EXPECT_GT(counts.overruled, 0);
  EXPECT_GT(counts.placed, 0);
}

}  // namespace
