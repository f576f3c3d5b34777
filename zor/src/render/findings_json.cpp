#include <map>
#include <tuple>

#include "error.h"
#include "render/findings.h"
#include "render/json.h"
#include "render/text.h"

namespace zor {

namespace {

using check::Finding;
using check::Rule;
using check::Severity;

Json or_null(int number) {
  return number > 0 ? Json(number) : Json(nullptr);
}

// A path as a part of a URI.
std::string in_uri(std::string_view path) {
  std::string uri;
  for (const char c : path) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       std::string_view("-._~/").find(c) != std::string_view::npos;
    uri += plain ? std::string(1, c) : fmt::format("%{:02X}", static_cast<unsigned char>(c));
  }
  return uri;
}

const char* level_of(Severity severity) {
  return severity == Severity::kError     ? "error"
         : severity == Severity::kWarning ? "warning"
                                          : "note";
}

Json sarif_rules() {
  Json all = Json::array();
  for (const Rule& rule : check::rules())
    all.push_back({{"id", rule.id},
                   {"name", rule.name},
                   {"shortDescription", {{"text", rule.sentence}}},
                   {"defaultConfiguration", {{"level", level_of(rule.severity)}}},
                   {"help", {{"text", fmt::format("zor-check(7), {}", rule.id)}}}});
  return all;
}

Json sarif_location(const Finding& finding) {
  Json artifact = {{"uri", in_uri(finding.file)}};
  if (!finding.file.starts_with('/')) artifact["uriBaseId"] = "ROOT";
  Json physical = {{"artifactLocation", artifact}};
  if (finding.line > 0)
    physical["region"] = {{"startLine", finding.line},
                          {"startColumn", finding.column},
                          {"endLine", finding.end_line},
                          {"endColumn", finding.end_column}};
  return {{"physicalLocation", physical}};
}

Json sarif_result(const Finding& finding) {
  const Rule* rule = check::find_rule(finding.rule);
  const std::string message =
      finding.help.empty() ? finding.text : finding.text + ". " + finding.help;
  return {{"ruleId", rule->id},
          {"ruleIndex", rule - check::rules().data()},
          {"level", level_of(rule->severity)},
          {"message", {{"text", without_controls(message)}}},
          {"locations", Json::array({sarif_location(finding)})}};
}

// What a finding is known by in a later run.
using Key = std::tuple<std::string, std::string, std::string>;

}  // namespace

std::string findings_json(const check::Report& report, const FindingsRoot& root) {
  Json findings = Json::array();
  for (const Finding& finding : report.findings) {
    const Rule* rule = check::find_rule(finding.rule);
    findings.push_back({{"rule", rule->id},
                        {"name", rule->name},
                        {"severity", check::name_of(rule->severity)},
                        {"file", json_text(finding.file)},
                        {"line", or_null(finding.line)},
                        {"column", or_null(finding.column)},
                        {"end_line", or_null(finding.end_line)},
                        {"end_column", or_null(finding.end_column)},
                        {"text", json_text(finding.text)},
                        {"help", json_text(finding.help)}});
  }
  return printed({{"version", 1},
                  {"root", json_text(root.absolute)},
                  {"products", report.products},
                  {"findings", findings}});
}

std::string findings_sarif(const check::Report& report, const FindingsRoot& root) {
  Json results = Json::array();
  for (const Finding& finding : report.findings)
    results.push_back(sarif_result(finding));
  const Json run = {
      {"tool", {{"driver", {{"name", "zor"}, {"rules", sarif_rules()}}}}},
      {"originalUriBaseIds", {{"ROOT", {{"uri", "file://" + in_uri(root.absolute) + "/"}}}}},
      {"columnKind", "unicodeCodePoints"},
      {"results", results}};
  return printed({{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                  {"version", "2.1.0"},
                  {"runs", Json::array({run})}});
}

void leave_out_known(std::vector<Finding>* findings, const std::string& baseline,
                     const std::string& name) {
  std::map<Key, int> known;
  try {
    const Json document = Json::parse(baseline);
    if (document.at("version") != 1) fail("{}: this is a document of another version", name);
    for (const Json& each : document.at("findings"))
      ++known[{each.at("rule").get<std::string>(), bytes_of(each.at("file")),
               bytes_of(each.at("text"))}];
  } catch (const Json::exception&) {
    throw Error(fmt::format("{}: this is not what zor check --format json prints", name), kTrouble);
  }
  std::erase_if(*findings, [&](const Finding& finding) {
    const auto entry = known.find({finding.rule, finding.file, finding.text});
    return entry != known.end() && entry->second-- > 0;
  });
}

}  // namespace zor
