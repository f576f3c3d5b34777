// The whole tool. An input is a warehouse, an environment and a command line, a line for each
// thing:
//
//   P tools/weaver/1.10/2    a product; what follows belongs to the last one
//   V n=v n=v                a variety with its variables; one that fits any host if there is none
//   W n=v n=v                a variety that is not here
//   R tools spindle + -      a part: category, name, version, rev; "-" leaves a field out
//   Q n=v                    a condition of the last part
//   G n=v n=v                a further group of settings, with a condition or without
//   I PATH=/a/bin            an insert; X a remove, D (without a value) a delete
//   B pattern  A pattern     what the last insert stands before and after
//   x value                  a further value of the last remove
//   S :                      the separator of the last operation
//   U  E                     what follows goes to unenv.xml, or to env.xml again
//   O set NAME=value         a step of setup.xml; o of unset.xml
//   F text/one=content       another file
//   $NAME=value              a variable of the environment
//   - -p tools weaver --sh   words of the command line
//
// - The run prints the bytes, and ends with the status, that the plain model works out.
// - It ends by itself, with status 0 or 1, and no sanitizer says anything.
// - Behind status 1 there is no script.
// - A script of harmless characters has only the records of its dialect, and a shell that runs it
//   runs nothing else: without a PATH, it ends well and says nothing.
//
// Each run is a child process, because a run ends as a process does.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "child.h"
#include "fuzz.h"
#include "model/model.h"
#include "mymain.h"

// The model wants it; what comes behind its first line is told by other tests.
std::string Usage(std::string_view program) {
  return "usage:\n       " + std::string(program) + " [-r root]";
}

bool fuzz::BootsItself() {
  return true;
}

namespace {

using model::Action;
using model::Case;
using model::Maybe;

// ---- From the input to a warehouse ----

std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> words;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t end = std::min(text.find(' ', i), text.size());
    if (end > i) words.push_back(text.substr(i, end - i));
    i = end + 1;
  }
  return words;
}

model::Variable Binding(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) return {text, std::nullopt};
  return {text.substr(0, equals), text.substr(equals + 1)};
}

std::vector<model::Variable> Bindings(const std::string& text) {
  std::vector<model::Variable> bindings;
  for (const std::string& word : Words(text))
    bindings.push_back(Binding(word));
  return bindings;
}

bool IsPath(const std::string& path, std::size_t elements) {
  if (path.find_first_not_of(
          "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789./_-") !=
          std::string::npos ||
      ("/" + path + "/").find("//") != std::string::npos ||
      ("/" + path + "/").find("/.") != std::string::npos)
    return false;
  return !path.empty() &&
         static_cast<std::size_t>(std::count(path.begin(), path.end(), '/')) + 1 >= elements;
}

class Decoder {
 public:
  explicit Decoder(const std::string& base) {
    case_.base = base;
    case_.environment = {"LC_ALL=C.UTF-8"};
  }

  // False: a line that is left out makes the rest mean something else, so all is left out.
  bool Add(const std::string& line) {
    const char kind = line[0];
    // Or the rest would begin within a character.
    if (kind != '$' && line.size() > 1 && line[1] != ' ') return false;
    const std::string rest = line.size() > 2 ? line.substr(2) : "";
    if (kind == '$') return AddVariable(line.substr(1));
    if (kind == '-') return AddArguments(rest);
    if (kind == 'F') return AddFile(rest);
    if (kind == 'P') return AddProduct(rest);
    if (case_.products.empty()) return false;
    return AddToProduct(kind, rest);
  }

  Case Finish() {
    const auto& arguments = case_.arguments;
    if (std::find(arguments.begin(), arguments.end(), "-r") == arguments.end())
      case_.arguments.insert(case_.arguments.begin(), {"-r", case_.base + "/root"});
    case_.directories.emplace_back("root");
    for (model::Product& each : case_.products)
      if (each.info.content.empty()) each.info.content.push_back({{}, {"1"}});
    return case_;
  }

 private:
  bool AddVariable(const std::string& text) {
    const std::string name = text.substr(0, text.find('='));
    if (name.starts_with("LC_") || name.starts_with("LANG") || name.starts_with("ASAN_") ||
        name.starts_with("UBSAN_") || name.starts_with("LD_"))
      return false;
    case_.environment.push_back(text);
    return true;
  }

  bool AddArguments(const std::string& text) {
    for (const std::string& word : Words(text)) {
      // These start programs, or tell much.
      if (word.starts_with("-X") || word.starts_with("--exec") || word.starts_with("-T"))
        return false;
      // The model finds files by their names, so each must have one only.
      if (word.find("/.") != std::string::npos) return false;
      case_.arguments.push_back(word);
    }
    return true;
  }

  bool AddFile(const std::string& text) {
    const std::size_t equals = text.find('=');
    const std::string path = "text/" + text.substr(0, equals);
    if (equals == std::string::npos || !IsPath(path, 2) || path.find('/', 5) != std::string::npos ||
        !paths_.insert(path).second)
      return false;
    case_.files.emplace_back(path, text.substr(equals + 1));
    return true;
  }

  bool AddProduct(const std::string& path) {
    if (!IsPath(path, 4) || path.find(".xml") != std::string::npos || !paths_.insert(path).second)
      return false;
    case_.products.emplace_back();
    model::Product& product = case_.products.back();
    product.directory = path;
    product.info.there = product.parts.there = true;
    undo_ = false;
    return true;
  }

  std::vector<model::Group>& Groups() {
    model::DataFile<std::vector<model::Group>>& file =
        undo_ ? case_.products.back().unenv : case_.products.back().env;
    file.there = true;
    if (file.content.empty()) file.content.emplace_back();
    return file.content;
  }

  model::Operation* LastOperation() {
    auto& operations = Groups().back().operations;
    return operations.empty() ? nullptr : &operations.back();
  }

  bool AddToProduct(char kind, const std::string& rest) {
    model::Product& product = case_.products.back();
    switch (kind) {
      case 'V':
      case 'W':
        product.info.content.push_back({Bindings(rest), {}});
        if (kind == 'V') product.info.content.back().segments.push_back("1");
        return true;
      case 'R':
        return AddPart(Words(rest));
      case 'Q':
        if (product.parts.content.empty()) return false;
        product.parts.content.back().parts.back().pattern.push_back(Bindings(rest));
        return true;
      case 'U':
      case 'E':
        undo_ = kind == 'U';
        return true;
      case 'G':
        Groups().emplace_back();
        if (!rest.empty()) Groups().back().pattern.push_back(Bindings(rest));
        return true;
      case 'O':
      case 'o':
        return AddStep(kind == 'O' ? product.setup : product.unset, rest);
      default:
        return AddOperation(kind, rest);
    }
  }

  bool AddPart(const std::vector<std::string>& words) {
    if (words.size() > 4) return false;
    model::Part part;
    Maybe* const fields[] = {&part.category, &part.name, &part.version, &part.rev};
    for (std::size_t i = 0; i < words.size(); ++i)
      if (words[i] != "-") *fields[i] = words[i];
    case_.products.back().parts.content.push_back({{}, {part}});
    return true;
  }

  bool AddStep(model::DataFile<std::vector<model::Step>>& file, const std::string& rest) {
    static const std::set<std::string> kOperations = {"set",      "append",    "prepend",
                                                      "unappend", "unprepend", "delete"};
    const std::size_t blank = rest.find(' ');
    if (blank == std::string::npos || kOperations.count(rest.substr(0, blank)) == 0) return false;
    const model::Variable binding = Binding(rest.substr(blank + 1));
    file.there = true;
    file.content.push_back({{}, {{rest.substr(0, blank), binding.name, binding.value, ""}}});
    return true;
  }

  bool AddOperation(char kind, const std::string& rest) {
    model::Operation* const last = LastOperation();
    if (kind == 'I' || kind == 'X' || kind == 'D') {
      const model::Variable binding = Binding(rest);
      model::Operation operation;
      operation.action = kind == 'I'   ? Action::kInsert
                         : kind == 'X' ? Action::kRemove
                                       : Action::kDelete;
      operation.name = binding.name.value_or("");
      if (kind != 'D') operation.values.push_back(binding.value.value_or(""));
      Groups().back().operations.push_back(operation);
      return true;
    }
    if (last == nullptr) return false;
    if (kind == 'B' || kind == 'A') {
      if (last->action != Action::kInsert) return false;
      last->constraints.emplace_back(kind == 'B', rest);
    } else if (kind == 'x') {
      if (last->action != Action::kRemove) return false;
      last->values.push_back(rest);
    } else if (kind == 'S') {
      last->separator = rest;
    } else {
      return false;
    }
    return true;
  }

  Case case_;
  std::set<std::string> paths_;
  bool undo_ = false;
};

// Text that the data files can't hold, the model's plain matcher takes too long for, or that leads
// out of the warehouse.
bool Plain(const std::string& line) {
  if (line.size() > 100 || !fuzz::WellFormed(line)) return false;
  for (const char c : line)
    if (static_cast<signed char>(c) >= 0 && (c < ' ' || c == 0x7F)) return false;
  for (const char* out : {"]]>", "..", "/dev", "/proc", "/sys", "%[/", "\xEF\xBF", "\xC2\x80"})
    if (line.find(out) != std::string::npos) return false;
  if (fuzz::Complains(line)) return false;
  if (std::count(line.begin(), line.end(), '*') > 4) return false;
  // A value that refers to itself fills the memory before it is given up.
  const bool refers = line.find("%(") != std::string::npos ||
                      line.find("%{") != std::string::npos || line.find("%[") != std::string::npos;
  return !refers || (line[0] != '$' && line[0] != 'V' && line[0] != 'W' && line[0] != 'F');
}

void LayOut(const Case& run) {
  std::error_code ignored;
  std::filesystem::remove_all(run.base, ignored);
  for (const auto& [name, content] : model::Layout(run))
    if (content)
      fuzz::WriteFile("w/" + name, *content);
    else
      std::filesystem::create_directories(run.base + "/" + name);
}

// ---- The run ----

std::vector<char*> Pointers(std::vector<std::string>& strings) {
  std::vector<char*> pointers;
  pointers.reserve(strings.size() + 1);
  for (std::string& each : strings)
    pointers.push_back(each.data());
  pointers.push_back(nullptr);
  return pointers;
}

fuzz::Result RunTool(const Case& run) {
  return fuzz::InChild([&run] {
    std::vector<std::string> arguments = run.arguments, environment = run.environment;
    arguments.insert(arguments.begin(), "zorenv");
    std::vector<char*> argv = Pointers(arguments), envp = Pointers(environment);
    char** const own = environ;
    environ = envp.data();
    if (chdir(run.base.c_str()) != 0) return 99;
    const int status = mymain(static_cast<int>(argv.size()) - 1, argv.data());
    // What runs at the end of the process may look at the environment still.
    environ = own;
    return status;
  });
}

// ---- The script ----

bool Harmless(const std::string& text) {
  return text.find_first_not_of(
             "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_/.:;=' \n-+$?&|!") ==
         std::string::npos;
}

// Every line is a record whose names and values are harmless.
bool HasOnlyRecords(const std::string& script, const std::string& dialect) {
  static const std::string kName = "[A-Za-z_][A-Za-z_0-9]*";
  static const std::string kValue = "[A-Za-z0-9_/.:+-]*";
  static const std::regex kSh("(" + kName + ")='" + kValue + "'; export \\1\n|unset " + kName +
                              " ;\n");
  static const std::regex kCsh("setenv " + kName + " '" + kValue + "' ;\n|unsetenv " + kName +
                               " ;\n");
  static const std::regex kPosh("\\$setcmd (" + kName + ")\\$eq'" + kValue +
                                "' ;\ntest \\$[?]shell != 1 && export \\1 ;\n|\\$unsetcmd " +
                                kName + " ;\n");
  const std::regex& records = dialect == "--sh" ? kSh : dialect == "--csh" ? kCsh : kPosh;
  std::string rest = script;
  const std::string head =
      "test $?shell = 1 && set setcmd=setenv && set eq=' ' && set unsetcmd=unsetenv;\n"
      "test $?shell != 1 && setcmd=eval && eq== && unsetcmd=unset;\n";
  if (dialect == "--posh") {
    if (!rest.starts_with(head)) fuzz::Fail("no head", script);
    rest.erase(0, head.size());
  }
  for (std::smatch match; !rest.empty(); rest = match.suffix())
    if (!std::regex_search(rest, match, records, std::regex_constants::match_continuous))
      return false;
  return true;
}

void RunInShell(const std::string& script) {
  const fuzz::Result result = fuzz::InChild([&script] {
    std::array<char*, 1> nothing = {nullptr};
    const std::string whole = "PATH=/nowhere\nset -e\n" + script;
    execle("/bin/sh", "sh", "-c", whole.c_str(), static_cast<char*>(nullptr), nothing.data());
    return 99;
  });
  if (result.status != 0 || !result.out.empty() || !result.err.empty())
    fuzz::Fail("a shell runs more than the script", script + result.out + result.err);
}

std::string DialectOf(const Case& run) {
  std::string dialect = "--posh";
  for (const std::string& argument : run.arguments) {
    if (argument == "--sh" || argument == "--csh" || argument == "--bat") dialect = argument;
    if (argument.starts_with("-S") || argument.starts_with("-U") || argument == "--system" ||
        argument == "--user")
      return "none";
  }
  return dialect;
}

void CheckScript(const Case& run, const fuzz::Result& result) {
  const std::string dialect = DialectOf(run);
  if (dialect == "none" || dialect == "--bat" || result.status != 0) return;
  // Names and values that are not harmless come out as they are.
  std::string all;
  for (const std::string& variable : run.environment)
    all += variable + "\n";
  for (const auto& [name, content] : model::Layout(run))
    if (content && !name.ends_with(".xml")) all += *content + "\n";
  if (!Harmless(all) || !Harmless(result.out) || result.out.find('\'') == std::string::npos) return;
  if (!HasOnlyRecords(result.out, dialect)) return;
  // The shell's own variables are not to be changed under it.
  for (const char* own : {"PATH", "IFS", "PWD", "PPID", "OPTIND", "PS1", "PS2", "PS4", "eq",
                          "setcmd", "unsetcmd", "shell", "_"})
    if (result.out.find(std::string(own) + "=") != std::string::npos ||
        result.out.find(" " + std::string(own) + " ") != std::string::npos ||
        result.out.find(" " + std::string(own) + "$") != std::string::npos)
      return;
  if (dialect != "--csh") RunInShell(result.out);
}

// Besides scripts, standard output has these.
bool IsMessage(const std::string& out) {
  return out.starts_with("usage:") || out.starts_with("only one of ") ||
         out.find("frameWork error") != std::string::npos || out.find(" at ") != std::string::npos;
}

}  // namespace

void fuzz::Try(Input& input) {
  Decoder decoder(Directory() + "/w");
  for (int lines = 0; !input.Ended(); ++lines) {
    const std::string line = input.Line();
    if (line.empty() || line[0] == '#') continue;
    if (lines > 60 || !Plain(line) || !decoder.Add(line)) return;
  }
  const Case run = decoder.Finish();
  if (run.products.size() > 12) return;
  LayOut(run);
  const model::Answer answer = model::Compute(run);
  // Kept by the program: a run that never ends.
  if (answer.endless) return;
  const Result result = RunTool(run);

  const std::string told = "status " + std::to_string(result.status) + ", signal " +
                           std::to_string(result.signal) + "\n" + result.out + result.err;
  if (Complains(result.err)) Fail("a sanitizer complains", told);
  if (result.signal != 0 || (result.status != 0 && result.status != 1))
    Fail("the run does not end well", told);
  if (result.status == 1 && !result.out.empty() && !IsMessage(result.out))
    Fail("a script behind status 1", told);
  // A file that is named like a directory. The assertion tells its place in the sources, which the
  // model doesn't know.
  if (result.out.find(" when file name expected at ") != std::string::npos) return;
  const bool same = answer.out.starts_with("usage:") ? result.out.starts_with(answer.out)
                                                     : result.out == answer.out;
  if (!same || result.err != answer.err || result.status != answer.status)
    Fail("not what the model works out", told + "\nmodel: status " + std::to_string(answer.status) +
                                             "\n" + answer.out + answer.err);
  CheckScript(run, result);
}
