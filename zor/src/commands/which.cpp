// zor which: which file a command is in the environment of a request.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "catalogue.h"
#include "commands/command.h"
#include "error.h"
#include "files.h"
#include "render/json.h"

namespace zor {

namespace {

// All files that the command's name leads to, in the order of PATH, each once.
std::vector<std::string> found_on(std::string_view path, const std::string& command) {
  std::vector<std::string> files;
  for (std::size_t start = 0; start <= path.size();) {
    const std::size_t end = std::min(path.find(':', start), path.size());
    const std::string_view directory = path.substr(start, end - start);
    const std::string file = fmt::format("{}/{}", directory.empty() ? "." : directory, command);
    if (is_program(file) && std::find(files.begin(), files.end(), file) == files.end())
      files.push_back(file);
    start = end + 1;
  }
  return files;
}

// The product in whose directory a file stands, empty if it is none below the root.
std::string product_of(const std::string& file, const std::string& root) {
  const std::string base = root.empty() ? "." : root;
  const std::unique_ptr<char, decltype(&std::free)> absolute(realpath(base.c_str(), nullptr),
                                                             &std::free);
  for (const auto& place : {base, std::string(absolute ? absolute.get() : "")}) {
    const std::string above = place + '/';
    if (place.empty() || !file.starts_with(above)) continue;
    // The longest path of a product that is a head of it: four elements or more.
    const std::vector<std::string> elements = path_elements(file.substr(above.size()));
    std::string path;
    for (std::size_t i = 0; i + 1 < elements.size(); ++i) {
      path += (i == 0 ? "" : "/") + elements[i];
      if (i >= 3 && access((above + path + "/product.xml").c_str(), F_OK) == 0) return path;
    }
  }
  return {};
}

}  // namespace

int run_which(Context* context) {
  CommandLine line("which", "Print the file that a command is in the environment of products.",
                   "zor which weaver tools/weaver");
  bool all = false;
  bool json = false;
  line.flag("-a,--all", &all, "all files of that name on PATH, the first one first");
  line.flag("--json", &json, "as JSON, with the product that each belongs to");
  // The first word is the command, behind this subcommand's own options, none of which takes a
  // value.
  std::vector<std::string>& words = context->words;
  const auto first = std::find_if_not(words.begin(), words.end(), [](const std::string& word) {
    return word == "-a" || word == "--all" || word == "--json";
  });
  std::string command;
  if (first != words.end() && !first->starts_with('-')) {
    command = *first;
    words.erase(first);
  }
  const Request request = line.parse_request(*context);
  if (command.empty() || command.find('/') != std::string::npos)
    misuse("say which command, and then which products: zor which weaver tools/weaver");
  const Answer answer = answer_to(request, context->environment, context);
  std::vector<std::string> files = found_on(answer.environment.find("PATH").value_or(""), command);
  if (files.empty()) fail("there is no command {} in that environment", command);
  if (!all) files.resize(1);
  if (!json) {
    for (const std::string& file : files)
      context->out += file + '\n';
    return kDone;
  }
  Json list = Json::array();
  for (const std::string& file : files) {
    const std::string product = product_of(file, request.root);
    list.push_back({{"path", json_text(file)},
                    {"product", product.empty() ? Json(nullptr) : json_text(product)}});
  }
  context->out += printed({{"version", 1}, {"command", json_text(command)}, {"files", list}});
  return kDone;
}

}  // namespace zor
