#include "commands/command.h"

#include <unistd.h>

#include <CLI/CLI.hpp>  // IWYU pragma: keep: the one header of the library
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "catalogue.h"
#include "conflict.h"
#include "error.h"
#include "facts.h"
#include "files.h"
#include "lock.h"
#include "render/text.h"

namespace zor {

struct CommandLine::Parser {
  CLI::App app;
};

CommandLine::CommandLine(const std::string& name, const std::string& summary,
                         const std::string& example)
    : parser_(std::make_unique<Parser>()) {
  CLI::App& app = parser_->app;
  app.description(summary);
  app.name("zor " + name);
  app.footer("Example:\n  " + example);
  app.set_help_flag("-h,--help", "show this text");
}

CommandLine::~CommandLine() = default;

void CommandLine::option(const char* names, std::string* target, const std::string& summary) {
  parser_->app.add_option(names, *target, summary);
}

void CommandLine::options(const char* names, std::vector<std::string>* targets,
                          const std::string& summary) {
  parser_->app.add_option(names, *targets, summary)->allow_extra_args(false);
}

void CommandLine::flag(const char* names, bool* target, const std::string& summary) {
  parser_->app.add_flag(names, *target, summary);
}

void CommandLine::positional(const char* name, std::string* target, const std::string& summary) {
  parser_->app.add_option(name, *target, summary);
}

void CommandLine::positionals(const char* name, std::vector<std::string>* target,
                              const std::string& summary) {
  parser_->app.add_option(name, *target, summary);
}

std::string CommandLine::time_limit(const Context& context) {
  constexpr std::string_view kName = "--timeout";
  option("--timeout", &timeout_, "give up after so many seconds; 0 is never");
  std::string limit = context.timeout;
  for (std::size_t i = 0; i < context.words.size() && context.words[i] != "--"; ++i) {
    const std::string& word = context.words[i];
    if (word == kName && i + 1 < context.words.size()) limit = context.words[i + 1];
    if (word.starts_with(kName) && word[kName.size()] == '=') limit = word.substr(kName.size() + 1);
  }
  return limit;
}

void CommandLine::parse(const std::vector<std::string>& words) {
  try {
    parser_->app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::CallForHelp&) {
    throw Help{parser_->app.help()};
  } catch (const CLI::ParseError& error) {
    misuse("{}\n{} --help tells what it takes", error.what(), parser_->app.get_name());
  }
}

Request CommandLine::parse_request(const Context& context) {
  // Help is there even where the settings or the warehouse can't be read.
  const auto end = std::find(context.words.begin(), context.words.end(), "--");
  if (std::find(context.words.begin(), end, "--help") != end) parse({"--help"});
  const auto lookup = [this](const std::string& word) {
    const std::string name = word.substr(0, word.find('='));
    const CLI::Option* option = parser_->app.get_option_no_throw(name);
    if (!option) return OptionForm::kUnknown;
    const bool takes_value = option->get_expected_min() > 0 && name == word;
    return takes_value ? OptionForm::kTakesValue : OptionForm::kFlag;
  };
  SplitWords split = take_request(context.words, lookup, context.environment);
  parse(split.rest);
  return std::move(split.request);
}

void check_deprecated(const Request& request, Context* context) {
  if (!request.config || request.config->deprecated.empty()) return;
  std::vector<ProductName> products;
  for (const auto& group : request.groups)
    for (const NamedQuery& named : group)
      if (product_exists(request.root.empty() ? "." : request.root, named.query.product))
        products.push_back(latest_of(request.root, named.query.product));
  context->notes += deprecation_notes(*request.config, products, context->environment);
}

Answer answer_to(const Request& request, const std::string& locked, Context* context) {
  if (locked.empty()) return answer_to(request, context->environment, context);
  if (!request.empty()) misuse("--locked takes the place of a request, so name no product with it");
  const Lock lock = read_lock(content_of(locked), locked);
  context->notes += remark_on_host(lock, locked);
  return answer_to(lock, request.root, context->environment, locked);
}

ProductName one_product(const Request& request) {
  if (request.groups.size() != 1 || request.groups[0].size() != 1)
    misuse("say which product, and only one, as in: zor show tools/weaver");
  const NamedQuery& named = request.groups[0][0];
  if (!named.query.conditions.empty())
    misuse("{}: a product is shown with all its varieties, so conditions have no place here",
           named.word);
  return latest_of(request.root, named.query.product);
}

[[noreturn]] void become(const std::vector<std::string>& program, const Environment& environment,
                         Context* context) {
  write_all(STDERR_FILENO, without_controls(context->notes));
  context->notes.clear();
  const auto pointers = [](const std::vector<std::string>& texts) {
    std::vector<char*> all;
    all.reserve(texts.size() + 1);
    for (const std::string& text : texts)
      all.push_back(const_cast<char*>(text.c_str()));
    all.push_back(nullptr);
    return all;
  };
  std::vector<char*> variables = pointers(environment.texts());
  std::vector<char*> arguments = pointers(program);
  environ = variables.data();
  execvp(arguments[0], arguments.data());
  const int reason = errno;
  environ = nullptr;
  if (reason == ENOENT && program[0].find('/') == std::string::npos)
    throw Error(fmt::format("there is no program {0} on the PATH of this environment\n"
                            "zor search {0} tells which products have one",
                            program[0]),
                127);
  throw Error(fmt::format("{}: {}", program[0], std::strerror(reason)),
              reason == ENOENT ? 127 : 126);
}

Answer answer_to(const Request& request, const Environment& base, Context* context) {
  context->notes += request.notes;
  if (request.empty()) misuse("say which product, as in: zor env tools/weaver");
  Answer answer = compute(request.question(), base);
  if (!answer.done) {
    const bool broken =
        std::any_of(answer.faults.begin(), answer.faults.end(),
                    [](const Fault& fault) { return fault.kind == FaultKind::kAssertion; });
    throw Error(explained(request, base, answer), broken ? kTrouble : kNotDone);
  }
  const std::vector<std::string> silent = silent_choices(request, answer);
  bool exact = true;
  for (const auto& group : request.groups)
    for (const NamedQuery& named : group)
      exact = exact && named.exact;
  std::string lines;
  for (const std::string& line : silent)
    lines += (lines.empty() ? "" : "\n") + line;
  // A line of zorenv means here what it means there, though not without a word.
  if (!lines.empty() && !exact) throw Error(lines);
  if (!lines.empty()) context->notes += lines + '\n';
  context->notes += missing_parts(answer);
  check_deprecated(request, context);
  return answer;
}

}  // namespace zor
