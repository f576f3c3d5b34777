#include "zor.h"

#include <gtest/gtest.h>

#include <algorithm>

std::string Examples() {
  return std::string(ZOR_SOURCE_DIR) + "/examples/warehouse";
}

std::string Place(const std::string& file, const std::string& text) {
  const std::string content = ReadFile(file);
  const std::size_t at = content.find(text);
  EXPECT_NE(std::string::npos, at) << text;
  const std::string before = content.substr(0, at);
  const auto lines = std::count(before.begin(), before.end(), '\n');
  const std::size_t column = before.size() - (before.rfind('\n') + 1);
  return file + ':' + std::to_string(lines + 1) + ':' + std::to_string(column + 1);
}

RunResult Zor(const std::vector<std::string>& arguments, std::vector<std::string> more) {
  std::vector<std::string> argv = {ZOR_PROGRAM};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  RunOptions options;
  options.environment = PlainEnvironment(std::move(more));
  return RunProgram(argv, options);
}

RunResult ZorOnExamples(const std::vector<std::string>& arguments) {
  return Zor(arguments, {"ZORROOT=" + Examples()});
}

void ExpectValid(const std::string& document, const std::string& name) {
  const std::string source = ZOR_SOURCE_DIR;
  RunOptions options;
  options.input = document;
  const RunResult result = RunProgram({"/usr/bin/python3", source + "/zor/test/validate_json.py",
                                       source + "/share/schemas/json/" + name + ".schema.json"},
                                      options);
  EXPECT_EQ(0, result.status) << result.out << result.err << document;
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
