// Checks and reasons of whole warehouses. An input is the files of one: a line "@a/b/1/1/env.xml"
// begins a file, and what follows is in it.
//
// - zor check comes to its end, with status 1 if it found something and 0 otherwise.
// - zor why of each product comes to its end. Where the product has no environment, the check has
//   found something.
// - Each element of each variable has a reason.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "child.h"
#include "commands/command.h"
#include "error.h"
#include "fuzz.h"
#include "warehouse.h"

bool fuzz::BootsItself() {
  return true;
}

namespace {

using Json = nlohmann::json;
using Words = std::vector<std::string>;

// category/name/version/rev/file, of names that are no options.
bool IsPath(const std::string& path) {
  return path.find_first_not_of(
             "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/.-") ==
             std::string::npos &&
         std::count(path.begin(), path.end(), '/') == 4 && !path.ends_with('/') &&
         path.size() < 60 && ('/' + path).find("//") == std::string::npos &&
         ('/' + path).find("/.") == std::string::npos &&
         ('/' + path).find("/-") == std::string::npos;
}

// What leads out of the warehouse, fills the memory, or takes the plainest patterns too long.
bool IsTame(const std::string& line) {
  for (const char* word : {"%[/", "..", "/dev", "/proc", "/sys"})
    if (line.find(word) != std::string::npos) return false;
  return line.size() < 300 && std::count(line.begin(), line.end(), '*') < 9 &&
         !fuzz::Complains(line);
}

int Run(int (*command)(zor::Context*), const Words& words) {
  char name[] = "zor";
  char* argv[] = {name, nullptr};
  const zor::Engine engine(1, argv);
  zor::Context context;
  context.environment = zor::Environment(
      {"LC_ALL=C.UTF-8", "HOME=/home/you", "PATH=/usr/bin:/bin", "L=one:two:three", "EMPTY="});
  context.words = words;
  int status = zor::kTrouble;
  try {
    status = command(&context);
  } catch (const zor::Error& error) {
    std::fprintf(stderr, "zor: %s\n", error.what());
    status = error.status();
  }
  std::fputs(context.out.c_str(), stdout);
  return status;
}

// A value that refers to itself grows until memory is exhausted.
bool IsExhausted(const fuzz::Result& result) {
  return result.status == zor::kTrouble &&
         result.err == "zor: Run out of memory; nothing was changed\n";
}

fuzz::Result Told(int (*command)(zor::Context*), const Words& words) {
  const fuzz::Result result = fuzz::InChild([&] { return Run(command, words); });
  if (fuzz::Complains(result.err)) fuzz::Fail("a sanitizer complains", result.out + result.err);
  if (result.signal != 0 || (result.status != 0 && result.status != 1 && !IsExhausted(result)))
    fuzz::Fail("a run that does not end well", "status " + std::to_string(result.status) +
                                                   ", signal " + std::to_string(result.signal) +
                                                   '\n' + result.out + result.err);
  return result;
}

void CheckReasons(const std::string& out) {
  const Json told = Json::parse(out);
  for (const Json& variable : told["variables"])
    for (const Json& step : variable["steps"])
      for (const Json& element : step["elements"]) {
        const bool has_reason =
            element["position"].is_null()
                ? !element["removes"].empty() || !element["overruled"].empty()
                : element["was_there"].get<bool>() || !element["inserts"].empty();
        if (!has_reason) fuzz::Fail("an element without a reason", variable.dump(1));
      }
}

Words QueryOf(const std::string& product) {
  Words words = {"-p"};
  for (std::size_t at = 0; at <= product.size();) {
    const std::size_t end = std::min(product.find('/', at), product.size());
    words.push_back(product.substr(at, end - at));
    at = end + 1;
  }
  return words;
}

}  // namespace

void fuzz::Try(Input& input) {
  const std::string root = Directory() + "/root";
  std::filesystem::remove_all(root);
  std::filesystem::create_directory(root);
  std::set<std::string> products, files;
  std::string file, content;
  const auto finish = [&] {
    if (!file.empty()) WriteFile("root/" + file, content);
    content.clear();
  };
  while (!input.Ended()) {
    const std::string line = input.Line();
    if (!IsTame(line)) return;
    if (!line.starts_with('@')) {
      content += line + '\n';
      continue;
    }
    finish();
    file = line.substr(1);
    if (!IsPath(file) || !files.insert(file).second || files.size() > 12) return;
    // A directory without any data file is not a product that lacks one.
    if (std::find(std::begin(zor::kDataFiles), std::end(zor::kDataFiles),
                  file.substr(file.rfind('/') + 1)) != std::end(zor::kDataFiles))
      products.insert(file.substr(0, file.rfind('/')));
  }
  finish();
  if (products.size() > 4) return;
  const Result check = Told(zor::run_check, {root, "--severity", "note"});
  if ((check.status == 1) != (check.out.find(" [ZW") != std::string::npos))
    Fail("a status that is not what was found", check.out + check.err);
  for (const std::string& product : products) {
    Words words = {"--all", "--json", "-r", root};
    for (const std::string& word : QueryOf(product))
      words.push_back(word);
    const Result why = Told(zor::run_why, words);
    if (why.status == 0) CheckReasons(why.out);
    if (why.status != 0 && check.status == 0) Fail("a fault without a finding", why.err);
  }
}
