// The commands of the documents are run, and print what the documents say.
//
// In a document written in Markdown, lines that begin with "$ " in blocks of the kind "console" are
// commands, those with "> " right behind one are its further lines; what follows, up to the next
// command or the end of the block, is their output. A block behind a line that ends with a file's
// name, "`tools/kiln/1.0/1/env.xml`:", is what this file holds from then on.
//
// In a manual page it is the same with the displays, whose further lines need no mark when they are
// output, and a line ".Pa env.xml :" before one that is a file.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <set>
#include <sstream>

#include "tool.h"

namespace {

// One command, or one file to be written.
struct Step {
  std::string file;
  std::string text;
  std::string output;
};

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

bool StartsWith(const std::string& text, std::string_view start) {
  return text.rfind(start, 0) == 0;
}

bool EndsWith(const std::string& text, std::string_view end) {
  return text.size() >= end.size() &&
         text.compare(text.size() - end.size(), std::string::npos, end) == 0;
}

std::string Replace(std::string text, const std::string& what, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
    text.replace(at, what.size(), by);
  return text;
}

// Adds what one block holds.
void AddBlock(std::vector<Step>* steps, const std::string& file,
              const std::vector<std::string>& block) {
  if (!file.empty()) {
    steps->push_back({file, "", ""});
    for (const std::string& line : block)
      steps->back().text += line + "\n";
    return;
  }
  bool in_command = false;
  for (std::size_t i = 0; i < block.size(); i++) {
    const std::string& line = block[i];
    if (StartsWith(line, "$ ")) {
      steps->push_back({"", line.substr(2) + "\n", ""});
      in_command = true;
    } else if (in_command && StartsWith(line, "> ")) {
      steps->back().text += line.substr(2) + "\n";
    } else if (i > 0) {
      steps->back().output += line + "\n";
      in_command = false;
    }
  }
}

std::vector<Step> StepsOfMarkdown(const std::string& document) {
  std::vector<Step> steps;
  std::string file, before;
  std::vector<std::string> block;
  bool inside = false, wanted = false;
  for (const std::string& line : Lines(document)) {
    if (StartsWith(line, "```")) {
      if (inside && wanted) AddBlock(&steps, file, block);
      inside = !inside;
      block.clear();
      file.clear();
      if (EndsWith(before, "`:")) {
        const std::size_t end = before.size() - 2;
        const std::size_t begin = before.rfind('`', end - 1) + 1;
        file = before.substr(begin, end - begin);
      }
      wanted = !file.empty() || line == "```console";
      before.clear();
    } else if (inside) {
      block.push_back(line);
    } else if (!line.empty()) {
      before = line;
    }
  }
  return steps;
}

// A line of a manual page's display as it is shown.
std::string Displayed(std::string text) {
  for (const auto& [written, meant] :
       {std::pair("\\-", "-"), std::pair("\\(aq", "'"), std::pair("\\(ga", "`"),
        std::pair("\\(ti", "~"), std::pair("\\&", ""), std::pair("\\e", "\\")})
    text = Replace(text, written, meant);
  return text;
}

std::vector<Step> StepsOfManual(const std::string& page) {
  std::vector<Step> steps;
  std::string file, before;
  std::vector<std::string> block;
  bool inside = false;
  for (const std::string& line : Lines(page)) {
    if (StartsWith(line, ".Bd -literal")) {
      inside = true;
      block.clear();
      file.clear();
      if (StartsWith(before, ".Pa ") && EndsWith(before, " :"))
        file = before.substr(4, before.size() - 6);
    } else if (line == ".Ed") {
      inside = false;
      if (!file.empty() || (!block.empty() && StartsWith(block[0], "$ ")))
        AddBlock(&steps, file, block);
    } else if (inside) {
      block.push_back(Displayed(line));
    }
    before = line;
  }
  return steps;
}

// Documents speak of a warehouse at this place.
const char kStatedRoot[] = "/srv/warehouse";

struct Document {
  const char* name;
  const char* warehouse;  // in the source tree; null: an empty directory
  // The commands stand in an empty directory, not in the warehouse, and zorenv on PATH.
  bool elsewhere = false;
};

class Documents : public testing::TestWithParam<Document> {};

TEST_P(Documents, TellWhatTheirCommandsPrint) {
  const std::string source = ZOR_SOURCE_DIR;
  std::unique_ptr<TemporaryTree> empty;
  if (!GetParam().warehouse) empty = std::make_unique<TemporaryTree>();
  const std::string root = empty ? empty->path() : source + "/" + GetParam().warehouse;

  const std::string name = GetParam().name;
  const std::string text = ReadFile(source + "/" + name);
  const std::vector<Step> steps =
      EndsWith(name, ".md") ? StepsOfMarkdown(text) : StepsOfManual(text);
  ASSERT_FALSE(steps.empty());
  // One shell runs them all, in order, as a reader would; a line marks the end of each.
  const std::string mark = "---- next step ----\n";
  std::string script = "exec 2>&1\n";
  std::string path = "/usr/bin:/bin";
  const TemporaryTree directory;
  if (GetParam().elsewhere) {
    path.insert(0, directory.Directory("bin") + ":");
    directory.Link("bin/zorenv", ZORENV_PROGRAM);
    directory.Link("bin/zor", ZOR_PROGRAM);
  } else {
    script +=
        "zorenv() { command \"$ZORENV_PROGRAM\" \"$@\"; }\n"
        "zor() { command \"$ZOR_PROGRAM\" \"$@\"; }\n";
  }
  for (const Step& step : steps) {
    if (step.file.empty())
      script += step.text;
    else
      script += "mkdir -p \"$(dirname " + step.file + ")\"\ncat >" + step.file +
                " <<'---- end of file ----'\n" + step.text + "---- end of file ----\n";
    script += "printf '%s' '" + mark + "'\n";
  }
  RunOptions options;
  options.environment = {"PATH=" + path,
                         "HOME=/home/you",
                         "LC_ALL=C.UTF-8",
                         "ZORROOT=" + root,
                         std::string("ZORENV_PROGRAM=") + ZORENV_PROGRAM,
                         std::string("ZOR_PROGRAM=") + ZOR_PROGRAM};
  options.directory = GetParam().elsewhere ? directory.Directory("work") : root;
  script = Replace(script, kStatedRoot, root);
  const RunResult result = RunProgram({"/bin/sh", "-c", script}, options);
  std::string rest = Replace(result.out, root, kStatedRoot);
  if (GetParam().elsewhere) rest = Replace(rest, directory / "bin:", "");
  for (const Step& step : steps) {
    SCOPED_TRACE(step.file + step.text);
    const std::size_t end = rest.find(mark);
    ASSERT_NE(std::string::npos, end) << rest;
    EXPECT_EQ(step.output, rest.substr(0, end));
    rest.erase(0, end + mark.size());
  }
}

INSTANTIATE_TEST_SUITE_P(All, Documents,
                         testing::Values(Document{"README.md", "examples/warehouse", true},
                                         Document{"examples/warehouse/README.md",
                                                  "examples/warehouse"},
                                         Document{"doc/guide.md", nullptr},
                                         Document{"doc/daily-use.md", "examples/warehouse", true},
                                         Document{"doc/cookbook.md", nullptr, true},
                                         Document{"doc/man/zorenv.1", "examples/warehouse"},
                                         Document{"doc/man/zorenv-warehouse.5", nullptr},
                                         Document{"doc/sharp-edges.md", nullptr}),
                         [](const auto& test) {
                           std::string name = test.param.name;
                           for (char& c : name)
                             if (c == '/' || c == '.' || c == '-') c = '_';
                           return name;
                         });

// All that the page on the architecture names in code quotes is in the source: files, directories,
// headers, functions and records.
TEST(Documents, NameWhatIsInTheSource) {
  const std::filesystem::path source = ZOR_SOURCE_DIR;
  std::string all;
  std::set<std::string> headers;
  for (const char* directory :
       {"zor", "zorenv", "wh", "vqnexpat", "fwos", "standard", "testkit", "cmake", "share"})
    for (const auto& entry : std::filesystem::recursive_directory_iterator(source / directory))
      if (entry.is_regular_file() && entry.path() != source / "zorenv/test/documents_test.cpp") {
        all += ReadFile(entry.path());
        if (entry.path().extension() == ".h") headers.insert(entry.path().filename());
      }
  const std::string page = ReadFile(source / "doc/architecture.md");
  int names = 0;
  for (std::size_t at = 0; (at = page.find('`', at)) != std::string::npos;) {
    if (page.compare(at, 3, "```") == 0) {
      at = page.find("```", at + 3) + 3;
      continue;
    }
    const std::size_t end = page.find('`', at + 1);
    ASSERT_NE(std::string::npos, end);
    std::string name = page.substr(at + 1, end - at - 1);
    at = end + 1;
    ++names;
    name = Replace(Replace(name, "...", ""), "*", "");  // "make_...", "FwErrorState*"
    EXPECT_TRUE(all.find(name) != std::string::npos || headers.count(name) != 0 ||
                std::filesystem::exists(source / name))
        << name;
  }
  EXPECT_LT(100, names);
}

// The parser's complaints that the manual page lists, each with a file that gives rise to it.
TEST(Documents, ListTheComplaintsOfTheParser) {
  const std::string page = ReadFile(std::string(ZOR_SOURCE_DIR) + "/doc/man/zorenv.1");
  const struct {
    const char* complaint;
    std::string_view file;
  } rows[] = {
      {"no element found", ""},
      {"no element found", "<ENV-SETTINGS>"},
      {"syntax error", "hello"},
      {"not well-formed", "<ENV-SETTINGS>&</ENV-SETTINGS>"},
      {"not well-formed", "<ENV-SETTINGS>\xe4 </ENV-SETTINGS>"},
      {"unclosed token", "<ENV-SETTINGS"},
      {"unclosed token", "<ENV-SETTINGS>\xc3"},
      {"mismatched tag", "<ENV-SETTINGS></ENV-GROUP>"},
      {"duplicate attribute", "<ENV-SETTINGS a='1' a='2'/>"},
      {"junk after document element", "<ENV-SETTINGS/><ENV-SETTINGS/>"},
      {"undefined entity", "<ENV-SETTINGS>&auml;</ENV-SETTINGS>"},
      {"reference to invalid character number", "<ENV-SETTINGS>&#1;</ENV-SETTINGS>"},
      {"unclosed CDATA section", "<ENV-SETTINGS><![CDATA["},
      {"xml processing instruction not at start of external entity",
       "\n<?xml version='1.0'?><ENV-SETTINGS/>"},
      {"unknown encoding", "<?xml version='1.0' encoding='KOI8-R'?><ENV-SETTINGS/>"},
      {"encoding specified in XML declaration is incorrect",
       "<?xml version='1.0' encoding='UTF-16'?><ENV-SETTINGS/>"},
      {"illegal parameter entity reference",
       "<!DOCTYPE a [<!ENTITY % p 'x'><!ENTITY q '%p;'>]><ENV-SETTINGS/>"},
      {"recursive entity reference",
       "<!DOCTYPE a [<!ENTITY x '&x;'>]><ENV-SETTINGS>&x;</ENV-SETTINGS>"},
      {"asynchronous entity",
       "<!DOCTYPE a [<!ENTITY x '<b>'>]><ENV-SETTINGS>&x;</b></ENV-SETTINGS>"},
      {"reference to binary entity",
       "<!DOCTYPE a [<!NOTATION n SYSTEM 'n'><!ENTITY x SYSTEM 'f' NDATA n>]>"
       "<ENV-SETTINGS>&x;</ENV-SETTINGS>"},
      {"reference to external entity in attribute",
       "<!DOCTYPE a [<!ENTITY x SYSTEM 'f'>]><ENV-SETTINGS a='&x;'/>"},
  };
  Warehouse warehouse;
  warehouse.Product(InC("A"));
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file);
    warehouse.File(InC("A"), "env.xml", row.file);
    const RunResult result = Zorenv(warehouse, {"-p", "C", "A", "--sh"});
    EXPECT_EQ("", result.out);
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(std::string("*** ") + row.complaint + " in File " + warehouse.Root() + "/" +
                  InC("A") + "/env.xml",
              result.err.substr(0, result.err.find('\n')));
    EXPECT_NE(std::string::npos, page.find(std::string("\n.It \"") + row.complaint + "\"\n"));
  }
}

// The program in the manual page of the framework.
TEST(Documents, ShowAProgramThatCompiles) {
  const std::string source = ZOR_SOURCE_DIR;
  std::string program;
  bool inside = false;
  for (const std::string& line : Lines(ReadFile(source + "/doc/man/zorenv-framework.3"))) {
    if (StartsWith(line, ".Bd -literal"))
      inside = true;
    else if (line == ".Ed")
      inside = false;
    else if (inside)
      program += Displayed(line) + "\n";
  }
  TemporaryTree tree;
  const RunResult result =
      RunProgram({"/usr/bin/env", "c++", "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra",
                  "-Wconversion", "-fno-exceptions", "-fno-rtti", "-I" + source + "/fwos/include",
                  "-I" + source + "/fwos/unix/include", "-I" + source + "/standard/include",
                  tree.Write("twice.cpp", program)});
  EXPECT_EQ("", result.err);
  EXPECT_EQ(0, result.status);
}

TEST(Documents, AreCleanManualPages) {
  for (const char* page :
       {"zorenv.1", "zorenv-warehouse.5", "zorenv-framework.3", "zor-session.7"}) {
    SCOPED_TRACE(page);
    const RunResult result = RunProgram({"/usr/bin/mandoc", "-Tlint", "-W", "warning",
                                         std::string(ZOR_SOURCE_DIR) + "/doc/man/" + page});
    EXPECT_EQ("", result.out);
    EXPECT_EQ(0, result.status) << page;
  }
}

}  // namespace
