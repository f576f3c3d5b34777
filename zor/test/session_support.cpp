#include "session_support.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

RunResult RunIn(const Variables& variables, const std::string& directory,
                std::vector<std::string> argv) {
  argv.insert(argv.begin(), ZOR_PROGRAM);
  RunOptions options;
  options.environment = TextsOf(variables);
  options.directory = directory;
  return RunProgram(argv, options);
}

}  // namespace

std::vector<std::string> TextsOf(const Variables& variables) {
  std::vector<std::string> texts;
  for (const auto& [name, value] : variables) {
    texts.push_back(name);
    texts.back().append("=").append(value);
  }
  return texts;
}

RunResult ShellModel::Run(const std::vector<std::string>& words) {
  std::vector<std::string> argv = {"--shell", "env0"};
  argv.insert(argv.end(), words.begin(), words.end());
  RunResult result = RunIn(variables, directory, argv);
  if (result.status != 0) return result;
  const std::string& out = result.out;
  for (std::size_t at = 0; at < out.size();) {
    const std::size_t end = std::min(out.find('\0', at), out.size());
    const std::string text = out.substr(at, end - at);
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos)
      variables.erase(text);
    else
      variables[text.substr(0, equals)] = text.substr(equals + 1);
    at = end + 1;
  }
  return result;
}

RunResult ShellModel::Ask(const std::vector<std::string>& words) const {
  return RunIn(variables, directory, words);
}

std::optional<std::string> ShellModel::Get(const std::string& name) const {
  const auto found = variables.find(name);
  if (found == variables.end()) return std::nullopt;
  return found->second;
}

Variables ShellModel::Others() const {
  Variables others = variables;
  std::erase_if(others, [](const auto& entry) { return entry.first.starts_with("ZOR_SESSION"); });
  return others;
}

void LayOut(const model::Case& run) {
  for (const auto& [name, content] : model::Layout(run)) {
    const std::filesystem::path path = run.base + "/" + name;
    std::filesystem::create_directories(content ? path.parent_path() : path);
    if (content) std::ofstream(path, std::ios::binary) << *content;
  }
}

int Rounds(int usual) {
  const char* factor = std::getenv("ZOR_TEST_ROUNDS");
  return factor ? static_cast<int>(usual * std::stod(factor)) : usual;
}
