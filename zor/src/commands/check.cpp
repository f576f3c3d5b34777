// zor check: what is wrong with the data files of a warehouse, before its users find out.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <set>

#include "catalogue.h"
#include "check/check.h"
#include "commands/command.h"
#include "error.h"
#include "files.h"
#include "init/init.h"
#include "render/findings.h"
#include "render/text.h"

namespace zor {

namespace {

using check::Severity;

bool is_directory(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Tells on a terminal how far the check is, once it takes longer than a second.
class ProgressBar {
 public:
  ProgressBar()
      : shows_(isatty(STDERR_FILENO) != 0), next_(Clock::now() + std::chrono::seconds(1)) {}
  ~ProgressBar() { clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void show(std::size_t done, std::size_t all) {
    if (!shows_ || Clock::now() < next_) return;
    next_ = Clock::now() + std::chrono::milliseconds(100);
    constexpr std::size_t kWidth = 30;
    const std::size_t full = all == 0 ? kWidth : kWidth * done / all;
    const std::string line = fmt::format("\r[{}{}] {} of {} products\033[K", std::string(full, '#'),
                                         std::string(kWidth - full, ' '), done, all);
    drawn_ = write_all(STDERR_FILENO, line);
  }

  void clear() {
    if (drawn_) write_all(STDERR_FILENO, "\r\033[K");
    drawn_ = false;
  }

 private:
  using Clock = std::chrono::steady_clock;
  bool shows_;
  bool drawn_ = false;
  Clock::time_point next_;
};

Severity severity_of(const std::string& word) {
  for (const Severity severity : {Severity::kNote, Severity::kWarning, Severity::kError})
    if (word == check::name_of(severity)) return severity;
  misuse("--severity is note, warning or error, and not {}", word);
}

// The identifiers of the rules that are asked for.
std::set<std::string> rules_of(const std::vector<std::string>& words) {
  std::set<std::string> ids;
  for (const std::string& word : words)
    for (std::size_t at = 0; at <= word.size();) {
      const std::size_t end = std::min(word.find(',', at), word.size());
      const std::string name = word.substr(at, end - at);
      const check::Rule* rule = check::find_rule(name);
      if (!rule) misuse("there is no rule {}; zor check --rules lists them", name);
      ids.insert(std::string(rule->id));
      at = end + 1;
    }
  return ids;
}

std::string list_of_rules() {
  std::string text;
  for (const check::Rule& rule : check::rules())
    text += fmt::format("{}  {:<22} {:<8} {}\n", rule.id, rule.name, check::name_of(rule.severity),
                        rule.sentence);
  return text;
}

struct Place {
  std::string root;
  std::string below;
};

// A word names what is below the root if there is such a directory, else it is a root itself.
Place place_of(const std::string& word, std::string root, const Environment& environment) {
  if (root.empty()) root = environment.find("ZORROOT").value_or("");
  const std::string base = root.empty() ? "." : root;
  if (!is_directory(base))
    throw Error(fmt::format("{}: there is no such directory", base), kTrouble);
  if (word.empty()) return {base, ""};
  const bool by_path = word.starts_with('/') || word.starts_with('.');
  const std::string below = normal_path(word);
  if (!by_path && !root.empty() && is_directory(base + '/' + below)) return {base, below};
  if (is_directory(word)) return {word, ""};
  throw Error(fmt::format("{}: there is no such directory, and no such product in {}", word, base),
              kTrouble);
}

// The path that is put in front of file names: as the root was given, but nothing for the current
// directory.
std::string shown_root(std::string root) {
  while (root.starts_with("./"))
    root.erase(0, root.find_first_not_of('/', 1));
  return root == "." ? "" : root;
}

// Annotations need paths below the directory of the repository.
std::string github_root(const std::string& root, const Environment& environment) {
  std::string absolute = absolute_root(root);
  if (absolute.ends_with("/.")) absolute.erase(absolute.size() - 2);
  const std::string workspace(environment.find("GITHUB_WORKSPACE").value_or(absolute_root("")));
  if (absolute == workspace) return "";
  return absolute.starts_with(workspace + '/') ? shown_root(absolute.substr(workspace.size() + 1))
                                               : absolute;
}

int checked(Context* context) {
  CommandLine line(
      "check",
      "Check a warehouse, or the products below one of its directories, for what is "
      "wrong in it. Each kind of finding has an identifier, which zor-check(7) explains.",
      "zor check tools/weaver");
  std::string word;
  std::string root;
  std::string format = "text";
  std::string baseline;
  std::string level = "warning";
  std::vector<std::string> rules;
  bool list = false;
  line.positional("ROOT|PRODUCT", &word, "a warehouse, or what is below ZORROOT");
  line.option("-r,--root", &root, "the warehouse, in place of ZORROOT");
  line.option("--format", &format, "text, json, sarif or github");
  line.option("--baseline", &baseline, "leave out what this file has, made with --format json");
  line.options("--rule", &rules, "only these rules, by identifiers or names");
  line.option("--severity", &level, "note, warning (as a rule) or error, and what is worse");
  line.flag("--rules", &list, "list the rules");
  // What can take seconds is left to the run behind this one, in which no script is asked for.
  if (has_function(context->shell)) return kDone;
  line.parse(context->words);
  if (list) {
    context->out += list_of_rules();
    return kDone;
  }
  if (format != "text" && format != "json" && format != "sarif" && format != "github")
    misuse("--format is text, json, sarif or github, and not {}", format);
  const Severity least = severity_of(level);
  const std::set<std::string> wanted = rules_of(rules);
  const Place place = place_of(word, root, context->environment);
  ProgressBar bar;
  check::Report report = check::check_warehouse(
      place.root, place.below, [&](std::size_t done, std::size_t all) { bar.show(done, all); },
      [&] { bar.clear(); });
  bar.clear();
  std::erase_if(report.findings, [&](const check::Finding& finding) {
    // A rule that is asked for by name is told of whatever its severity.
    return wanted.empty() ? check::find_rule(finding.rule)->severity < least
                          : !wanted.contains(finding.rule);
  });
  if (!baseline.empty()) leave_out_known(&report.findings, content_of(baseline), baseline);
  const FindingsRoot where = {
      format == "github" ? github_root(place.root, context->environment) : shown_root(place.root),
      absolute_root(place.root)};
  if (format == "text")
    context->out +=
        findings_text(report, where, Screen::of_output(context->environment).has_colour);
  if (format == "json") context->out += findings_json(report, where);
  if (format == "sarif") context->out += findings_sarif(report, where);
  if (format == "github") context->out += findings_github(report, where);
  context->keeps_out = true;
  return report.findings.empty() ? kDone : kNotDone;
}

}  // namespace

// That there are findings has the status of other errors, so these have another one.
int run_check(Context* context) {
  try {
    return checked(context);
  } catch (const Error& error) {
    throw Error(error.what(), kTrouble);
  }
}

}  // namespace zor
