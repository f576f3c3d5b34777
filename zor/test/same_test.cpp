// The front end gives the environments that the tool gives, and tells of the same faults.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>

#include "model/generator.h"
#include "model/model.h"
#include "process.h"
#include "session_support.h"

namespace {

// The variables as a program finds them: of a name that stands twice the first counts, and a text
// without = is no variable. Names
// outside ASCII are left out: the tool writes each of their bytes as a character of its own.
std::map<std::string, std::string> Variables(const std::string& zero_ended) {
  std::map<std::string, std::string> variables;
  for (std::size_t at = 0; at < zero_ended.size();) {
    const std::size_t end = std::min(zero_ended.find('\0', at), zero_ended.size());
    const std::string text = zero_ended.substr(at, end - at);
    const std::size_t equals = std::min(text.find('='), text.size());
    const bool ascii = std::all_of(text.begin(), text.begin() + static_cast<long>(equals),
                                   [](char c) { return c >= 0; });
    if (ascii && equals < text.size())
      variables.emplace(text.substr(0, equals), text.substr(equals));
    at = end + 1;
  }
  return variables;
}

// The faults in what a program wrote on standard error, each once and without what stands before
// its words.
struct Faults {
  std::map<std::string, std::set<std::string>> files;  // the engine's words, by the file at fault
  std::set<std::string> names;                         // that are not defined
  std::set<std::string> others;
};

std::vector<std::string> Lines(const std::string& err) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < err.size();) {
    const std::size_t end = std::min(err.find('\n', at), err.size());
    std::string line = err.substr(at, end - at);
    at = end + 1;
    // Two blanks begin what the front end adds.
    if (line.starts_with("  ")) {
      lines.push_back(line);
      continue;
    }
    for (const char* prefix : {"*** ", "zor: ", "Error:", " ", " "})
      if (line.starts_with(prefix)) line.erase(0, std::string(prefix).size());
    lines.push_back(line);
  }
  return lines;
}

// "% variable NAME is not defined", wherever it stands in the line; empty if it does not.
std::string UndefinedName(const std::string& line) {
  const std::string_view end = " is not defined";
  const std::size_t begin = line.find("% variable ");
  const std::size_t at = line.find(end, begin);
  return at == std::string::npos ? "" : line.substr(begin, at + end.size() - begin);
}

Faults FaultsOfTool(const std::string& err) {
  Faults faults;
  for (const std::string& line : Lines(err)) {
    const std::size_t file = line.find(" in File ");
    if (const std::string name = UndefinedName(line); !name.empty())
      faults.names.insert(name);
    else if (file != std::string::npos)
      faults.files[line.substr(file + 9)].insert(line.substr(0, file));
    else
      faults.others.insert(line);
  }
  return faults;
}

// The front end tells of a file line by line, with the engine's word below.
Faults FaultsOfZor(const std::string& err) {
  Faults faults;
  std::string place;
  const auto flush = [&] {
    if (!place.empty()) faults.others.insert(place);
    place.clear();
  };
  for (const std::string& line : Lines(err)) {
    const std::size_t word = line.find(": the file is not read");
    if (line.starts_with("  ")) {
      if (word == std::string::npos) continue;
      faults.files[place.substr(0, place.find(".xml:") + 4)].insert(line.substr(2, word - 2));
      place.clear();
      continue;
    }
    flush();
    if (const std::string name = UndefinedName(line); !name.empty())
      faults.names.insert(name);
    else
      place = line;
  }
  flush();
  return faults;
}

bool IsOfDisk(const std::string& line) {
  return line.starts_with("File ") || line.starts_with("Operation ");
}

// What the tool tells, the front end tells: of data files and of names in its words among others,
// of what lies on disk in other words, of all else in the same.
void ExpectSameFaults(const Faults& tool, const Faults& zor) {
  EXPECT_EQ(tool.names, zor.names);
  for (const auto& [file, words] : tool.files)
    for (const std::string& word : words)
      EXPECT_TRUE(zor.files.contains(file) && zor.files.at(file).contains(word))
          << word << " in " << file;
  EXPECT_EQ(tool.files.size(), zor.files.size());
  std::set<std::string> contradictions = tool.others;
  std::erase_if(contradictions, IsOfDisk);
  const bool of_disk = contradictions.size() < tool.others.size();
  std::set<std::string> rest;
  std::set_difference(zor.others.begin(), zor.others.end(), contradictions.begin(),
                      contradictions.end(), std::inserter(rest, rest.begin()));
  EXPECT_TRUE(std::includes(zor.others.begin(), zor.others.end(), contradictions.begin(),
                            contradictions.end()));
  EXPECT_EQ(of_disk, !rest.empty()) << testing::PrintToString(rest);
}

// The request alone: without what says what is to become of it.
std::vector<std::string> RequestOf(const std::vector<std::string>& arguments) {
  static const std::set<std::string> kOutputs = {"--sh",   "--csh",  "--posh",  "--bat",
                                                 "--proc", "--user", "--system"};
  std::vector<std::string> request;
  for (const std::string& argument : arguments) {
    if (argument == "--exec" || argument.starts_with("-X")) break;
    if (!kOutputs.contains(argument)) request.push_back(argument);
  }
  return request;
}

RunResult RunRequest(std::vector<std::string> argv, const model::Case& run,
                     const std::vector<std::string>& program) {
  const std::vector<std::string> request = RequestOf(run.arguments);
  argv.insert(argv.end(), request.begin(), request.end());
  argv.insert(argv.end(), program.begin(), program.end());
  RunOptions options;
  options.environment = run.environment;
  options.directory = run.base;
  return RunProgram(argv, options);
}

TEST(Same, EnvironmentsAndFaultsOnRandomWarehouses) {
  const char* rounds_set = std::getenv("ZOR_MODEL_ROUNDS");
  const int rounds = rounds_set ? std::stoi(rounds_set) : 150;
  const TemporaryTree tree;
  int environments = 0, faults = 0, endless = 0, failed = 0;
  for (unsigned long long seed = 1; environments + faults < rounds && failed < 5; ++seed) {
    const model::Case run = model::Generate(seed, tree / std::to_string(seed));
    std::filesystem::create_directories(run.base);
    LayOut(run);
    const model::Answer answer = model::Compute(run);
    // An option at the end would take what comes behind it for its own.
    const std::vector<std::string> request = RequestOf(run.arguments);
    const auto waits = [&](std::size_t back) {
      return request.size() >= back && (request[request.size() - back].starts_with("-v") ||
                                        request[request.size() - back].starts_with("-r"));
    };
    // Wrong usage is told by each program in its way. Where the tool never ends, the front end says
    // why.
    if (!waits(1) && !waits(2) && answer.endless) {
      SCOPED_TRACE("seed " + std::to_string(seed));
      const RunResult zor = RunRequest({ZOR_PROGRAM, "exec"}, run, {"--", "/usr/bin/env", "-0"});
      EXPECT_EQ(1, zor.status);
      EXPECT_EQ("", zor.out);
      EXPECT_NE(std::string::npos, zor.err.find("nothing settles this")) << zor.err;
      ++endless;
      failed += HasFailure();
    } else if (!waits(1) && !waits(2) && !answer.out.starts_with("usage:") &&
               !answer.out.starts_with("only one of")) {
      SCOPED_TRACE("seed " + std::to_string(seed));
      const RunResult tool = RunRequest({ZORENV_PROGRAM}, run, {"--exec", "/usr/bin/env", "-0"});
      const RunResult zor = RunRequest({ZOR_PROGRAM, "exec"}, run, {"--", "/usr/bin/env", "-0"});
      EXPECT_EQ(tool.status, zor.status);
      if (tool.status == 0) {
        EXPECT_EQ(Variables(tool.out), Variables(zor.out));
        ++environments;
      } else {
        ExpectSameFaults(FaultsOfTool(tool.err), FaultsOfZor(zor.err));
        if (HasFailure()) ADD_FAILURE() << tool.err << zor.err;
        ++faults;
      }
      failed += HasFailure();
    }
    std::filesystem::remove_all(run.base);
  }
  EXPECT_GT(environments, rounds / 4);
  EXPECT_GT(faults, rounds / 8);
  EXPECT_GT(endless, rounds / 50);
}

// A product with an operation for its env.xml and with its parts.
void AddProduct(const TemporaryTree& tree, const std::string& name, const std::string& operation,
                const std::string& parts) {
  const std::string directory = "tools/" + name + "/1/0/";
  tree.Write(directory + "product.xml",
             "<PRODUCT-INFO name='" + name +
                 "'><VARIETIES><VARIETY><SEGMENT host='all' here='1'/></VARIETY></VARIETIES>"
                 "</PRODUCT-INFO>");
  tree.Write(directory + "partlist.xml",
             "<PARTLIST><PARTSPEC><PATTERN/><PARTS>" + parts + "</PARTS></PARTSPEC></PARTLIST>");
  tree.Write(directory + "env.xml",
             "<ENV-SETTINGS><ENV-GROUP><PATTERN/>\n" + operation + "</ENV-GROUP></ENV-SETTINGS>");
}

TEST(Same, WhereTheToolNeverEndsBothOperationsAreNamed) {
  const TemporaryTree tree;
  AddProduct(tree, "whole", "<ENV-INSERT><NAME>V</NAME><VALUE>x</VALUE></ENV-INSERT>",
             "<PRODUCT name='part'><PATTERN/></PRODUCT>");
  AddProduct(tree, "part", "\n<ENV-REMOVE><NAME>V</NAME><VALUE>*</VALUE></ENV-REMOVE>", "");
  const RunResult result = RunProgram({ZOR_PROGRAM, "env", "-r", tree.path(), "tools/whole"});
  EXPECT_EQ(1, result.status);
  EXPECT_EQ("", result.out);
  EXPECT_EQ("zor: environment variable V: tools/whole/1/0 inserts x (at " + tree.path() +
                "/tools/whole/1/0/env.xml:2), which its part tools/part/1/0 removes (at " +
                tree.path() +
                "/tools/part/1/0/env.xml:3); nothing settles this, so one of the two has to go\n"
                "  inserted by tools/whole/1/0 (" +
                tree.path() + "/tools/whole/1/0/env.xml:2:1)\n    named as tools/whole\n" +
                "  removed by tools/part/1/0 (" + tree.path() +
                "/tools/part/1/0/env.xml:3:1)\n    a part of tools/whole/1/0 (" + tree.path() +
                "/tools/whole/1/0/partlist.xml:1:38)\n    named as tools/whole\n" +
                "  nothing that can be changed in the request helps; the data files have to "
                "change\n",
            result.err);
}

// A variable without a name can't be taken out of a process's environment, so both keep it.
TEST(Same, WhatHasNoNameStays) {
  const TemporaryTree tree;
  AddProduct(tree, "all", "<ENV-DELETE>**</ENV-DELETE>", "");
  RunOptions options;
  options.environment = {"=nameless", "GONE=x"};
  for (const char* program : {ZORENV_PROGRAM, ZOR_PROGRAM}) {
    std::vector<std::string> argv = {program, "-r", tree.path(), "-p", "tools", "all", "--exec"};
    if (program == std::string(ZOR_PROGRAM))
      argv = {program, "exec", "-r", tree.path(), "tools/all", "--"};
    argv.insert(argv.end(), {"/usr/bin/env", "-0"});
    const RunResult result = RunProgram(argv, options);
    EXPECT_EQ(std::string("=nameless\0", 10), result.out) << result.err;
    EXPECT_EQ(0, result.status);
  }
}

}  // namespace
