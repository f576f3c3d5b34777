#include "render/findings.h"

#include <algorithm>
#include <optional>

#include "document.h"
#include "error.h"
#include "files.h"
#include "render/text.h"

namespace zor {

namespace {

using check::Finding;
using check::Severity;

std::string shown_path(const FindingsRoot& root, const Finding& finding) {
  if (finding.file.starts_with('/') || root.given.empty()) return finding.file;
  return root.given + (root.given.ends_with('/') ? "" : "/") + finding.file;
}

// The lines of the files that findings are about, which come file by file.
class Sources {
 public:
  explicit Sources(const FindingsRoot& root) : root_(root) {}

  // Nothing if there is none.
  std::optional<std::string> line(const std::string& file, int number) {
    if (number < 1) return std::nullopt;
    if (file != file_ || lines_.empty()) read(file);
    const auto index = static_cast<std::size_t>(number - 1);
    return index < lines_.size() ? std::optional(lines_[index]) : std::nullopt;
  }

 private:
  void read(const std::string& file) {
    file_ = file;
    lines_.assign(1, "");
    std::string content;
    try {
      content = decoded(content_of(file.starts_with('/') ? file : root_.absolute + '/' + file));
    } catch (const Error&) {
      return;
    }
    for (std::size_t i = 0; i < content.size(); ++i) {
      if (content[i] == '\n' || content[i] == '\r') {
        if (content[i] == '\r' && i + 1 < content.size() && content[i + 1] == '\n') ++i;
        lines_.emplace_back();
      } else {
        // A tab would make the line wider than what is marked below it.
        lines_.back() += content[i] == '\t' ? ' ' : content[i];
      }
    }
  }

  const FindingsRoot& root_;
  std::string file_;
  std::vector<std::string> lines_;
};

// The bytes of the first characters of a line.
std::size_t bytes_of(const std::string& line, int characters) {
  std::size_t at = 0;
  for (; at < line.size() && characters > 0; --characters) {
    ++at;
    while (at < line.size() && (static_cast<unsigned char>(line[at]) & 0xC0) == 0x80)
      ++at;
  }
  return at;
}

// As many as the piece of the line takes columns on a screen.
std::string marks(const std::string& line, const Finding& finding) {
  const std::size_t start = bytes_of(line, finding.column - 1);
  const std::size_t end = finding.end_line == finding.line
                              ? std::max(start, bytes_of(line, finding.end_column - 1))
                              : line.size();
  const auto columns = [&](std::size_t from, std::size_t to) {
    return columns_of(without_controls(line.substr(from, to - from)));
  };
  const std::size_t length = std::max<std::size_t>(1, columns(start, end));
  return std::string(columns(0, start), ' ') + '^' + std::string(length - 1, '~');
}

const char* colour_of(Severity severity) {
  return severity == Severity::kError     ? "\033[1;31m"
         : severity == Severity::kWarning ? "\033[1;33m"
                                          : "\033[1;36m";
}

// A part of the text in a colour, if there are colours.
class Painter {
 public:
  explicit Painter(bool colour) : colour_(colour) {}
  std::string operator()(const char* code, std::string_view text) const {
    return colour_ ? fmt::format("{}{}\033[0m", code, text) : std::string(text);
  }

 private:
  bool colour_;
};

// "2 errors", or nothing.
void add_count(std::vector<std::string>* counts, std::size_t count, const char* word) {
  if (count > 0) counts->push_back(fmt::format("{} {}{}", count, word, count == 1 ? "" : "s"));
}

std::string summary(const check::Report& report) {
  std::size_t counts[3] = {};
  for (const Finding& finding : report.findings)
    ++counts[static_cast<std::size_t>(check::find_rule(finding.rule)->severity)];
  std::vector<std::string> words;
  add_count(&words, counts[2], "error");
  add_count(&words, counts[1], "warning");
  add_count(&words, counts[0], "note");
  return fmt::format("{} product{}: {}\n", report.products, report.products == 1 ? "" : "s",
                     words.empty() ? "nothing found" : fmt::format("{}", fmt::join(words, ", ")));
}

// Characters that mean something in an annotation.
std::string escaped(std::string_view text, bool property) {
  std::string safe;
  for (const char c : text) {
    if (c == '%' || c == '\r' || c == '\n' || (property && (c == ':' || c == ',')))
      safe += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    else
      safe += c;
  }
  return safe;
}

}  // namespace

std::string findings_text(const check::Report& report, const FindingsRoot& root, bool colour) {
  const Painter paint(colour);
  Sources sources(root);
  std::string text;
  for (const Finding& finding : report.findings) {
    const check::Rule& rule = *check::find_rule(finding.rule);
    std::string place = without_controls(shown_path(root, finding), false);
    if (finding.line > 0) place += fmt::format(":{}:{}", finding.line, finding.column);
    text += fmt::format("{}: {}: {} [{} {}]\n", paint("\033[1m", place),
                        paint(colour_of(rule.severity), check::name_of(rule.severity)),
                        without_controls(finding.text, false), rule.id, rule.name);
    if (const auto line = sources.line(finding.file, finding.line)) {
      const std::string number = std::to_string(finding.line);
      const std::string margin(number.size(), ' ');
      text += fmt::format("  {} | {}\n  {} | {}\n", number, without_controls(*line), margin,
                          paint(colour_of(rule.severity), marks(*line, finding)));
    }
    if (!finding.help.empty())
      text += fmt::format("  help: {}\n", without_controls(finding.help, false));
  }
  return text + summary(report);
}

std::string findings_github(const check::Report& report, const FindingsRoot& root) {
  std::string text;
  for (const Finding& finding : report.findings) {
    const check::Rule& rule = *check::find_rule(finding.rule);
    const char* command = rule.severity == Severity::kError     ? "error"
                          : rule.severity == Severity::kWarning ? "warning"
                                                                : "notice";
    std::string place = "file=" + escaped(shown_path(root, finding), true);
    if (finding.line > 0) {
      place += fmt::format(",line={},endLine={}", finding.line, finding.end_line);
      // Columns are refused where a piece has several lines.
      if (finding.line == finding.end_line)
        place += fmt::format(",col={},endColumn={}", finding.column, finding.end_column);
    }
    const std::string message =
        finding.help.empty() ? finding.text : finding.text + ".\n" + finding.help;
    text += fmt::format("::{} {},title={}::{}\n", command, place,
                        escaped(fmt::format("{} {}", rule.id, rule.name), true),
                        escaped(without_controls(message), false));
  }
  return text;
}

}  // namespace zor
