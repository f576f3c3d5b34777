#include <algorithm>
#include <iterator>

#include "check/rule.h"

namespace zor::check {

namespace {

constexpr Severity kNote = Severity::kNote;
constexpr Severity kWarning = Severity::kWarning;
constexpr Severity kError = Severity::kError;

constexpr Rule kRules[] = {
    // What the readers of data files say.
    {"ZW001", "unreadable-data", kError, "The data file can't be read as what its name says."},
    {"ZW002", "unknown-attribute", kWarning, "The attribute means nothing here."},
    {"ZW003", "doctype-mismatch", kWarning,
     "The document type names another element than the root."},
    // What lies on disk.
    {"ZW101", "stray-file", kWarning, "A file counts as a version or a revision."},
    {"ZW102", "stray-directory", kWarning, "A directory without a product counts as a version."},
    {"ZW103", "no-regular-file", kError, "A data file is no regular file that can be read."},
    {"ZW104", "mixed-versions", kWarning, "Versions with and without dots don't compare."},
    {"ZW105", "huge-number", kWarning, "A number in a version is too large and counts as 0."},
    {"ZW106", "missing-partlist", kError, "The product has no partlist.xml."},
    {"ZW107", "misspelt-file", kWarning, "The name differs from that of a data file in case only."},
    {"ZW108", "odd-version", kWarning, "The version can't be named on zorenv's command line."},
    {"ZW109", "odd-name", kWarning, "The name begins as a version does."},
    {"ZW110", "ignored-recipe", kWarning, "An old recipe no longer counts."},
    {"ZW111", "backup-copy", kWarning, "A copy counts as a version and may be the latest."},
    {"ZW112", "missing-info", kError, "There are data files, but no product.xml."},
    // Varieties.
    {"ZW201", "no-segment", kWarning, "The variety has no segment and so is never taken."},
    {"ZW202", "odd-here", kWarning, "The segment's attribute here is no number and so is 0."},
    {"ZW203", "no-variety", kError, "The product has no variety that could be taken."},
    {"ZW204", "unknown-platform", kWarning, "The platform fits no host of today."},
    {"ZW205", "platform-on-some", kWarning, "Some varieties have a platform and others have none."},
    {"ZW206", "overlapping-varieties", kWarning, "No condition tells the varieties apart."},
    {"ZW207", "reserved-name", kWarning, "The variable's name has another meaning already."},
    {"ZW208", "repeated-variable", kWarning, "The variety has the variable twice."},
    // Parts.
    {"ZW301", "missing-part", kError, "The part does not exist and is skipped."},
    {"ZW302", "open-part", kError, "A part list can't leave the version open."},
    {"ZW303", "part-circle", kWarning, "Products are parts of each other in a circle."},
    {"ZW304", "all-platforms", kWarning, "The part is taken for all platforms at once."},
    {"ZW305", "part-without-variety", kWarning, "No variety of the part meets the pattern."},
    {"ZW306", "idle-parts", kWarning, "No variety of the product has these parts."},
    {"ZW307", "missing-file", kWarning, "A file of the product is not on disk."},
    {"ZW308", "odd-category", kWarning, "The category is spelt in another way than elsewhere."},
    {"ZW309", "base-in-parts", kWarning, "The name has no meaning in the part list of a part."},
    // Settings.
    {"ZW401", "blanks-in-text", kWarning, "Blanks or line ends belong to the text."},
    {"ZW402", "open-reference", kWarning, "The reference has no end and stays as it is."},
    {"ZW403", "literal-reference", kWarning, "The reference is not replaced here."},
    {"ZW404", "host-attribute", kWarning, "The pattern's attribute host has no effect."},
    {"ZW405", "idle-group", kWarning, "No variety of the product gets these settings."},
    {"ZW406", "odd-pattern", kWarning, "The pattern matches other than it seems to."},
    {"ZW407", "pattern-of-names", kWarning, "The pattern reaches all variables that match."},
    {"ZW408", "odd-variable", kError, "The variable's name is none that shells take."},
    {"ZW409", "refused-variable", kWarning, "A shell or another dialect can't carry the variable."},
    {"ZW410", "quote-in-value", kWarning, "The value breaks the scripts that zorenv prints."},
    {"ZW411", "separator-in-value", kWarning, "The value holds the separator."},
    {"ZW412", "remove-without-insert", kWarning, "The removal may leave an empty variable."},
    {"ZW413", "missing-path", kWarning, "The directory on the path is not there."},
    {"ZW414", "missing-text", kWarning, "The file that a value is taken from can't be read."},
    {"ZW415", "undefined-name", kError, "Nothing defines the name."},
    {"ZW416", "environment-name", kNote, "The variable must be set before the run."},
    {"ZW417", "half-stated-separator", kWarning, "Some operations state a separator, others none."},
    {"ZW418", "long-separator", kWarning, "A separator is one character."},
    {"ZW419", "no-undo", kNote, "Nothing undoes these settings."},
    {"ZW420", "undo-of-one-version", kNote, "Undoing takes the latest version's directory."},
    {"ZW421", "before-everything", kNote, "Two products that want to be first form a circle."},
    {"ZW422", "value-evaluated-twice", kNote, "The portable script lets sh evaluate the value."},
    {"ZW423", "insert-adds", kWarning, "The variable holds one value and gets a second."},
    // Products and what they include.
    {"ZW501", "clash", kError, "One value is both inserted and removed."},
    {"ZW502", "circle", kError, "Constraints of order form a circle."},
    {"ZW503", "endless", kError, "A part removes what the product inserts, without an end."},
    {"ZW504", "separators", kError, "Two separators are stated for one variable."},
    {"ZW505", "varieties-at-odds", kWarning, "Varieties that are taken together contradict."},
    {"ZW506", "separators-differ", kWarning, "Products state different separators."},
    {"ZW507", "exhausting", kError, "Computing its environment exhausts memory."},
    {"ZW508", "other-fault", kError, "The computation fails."},
    {"ZW509", "lost-constraint", kNote, "A part's BEFORE or AFTER goes with its insert."},
    {"ZW510", "strangers-at-odds", kNote, "Another product inserts what this one removes."},
};

}  // namespace

std::string_view name_of(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "error";
    case Severity::kWarning:
      return "warning";
    case Severity::kNote:
      break;
  }
  return "note";
}

std::span<const Rule> rules() {
  return kRules;
}

const Rule* find_rule(std::string_view id_or_name) {
  const auto* const found = std::find_if(
      std::begin(kRules), std::end(kRules),
      [&](const Rule& rule) { return rule.id == id_or_name || rule.name == id_or_name; });
  return found == std::end(kRules) ? nullptr : found;
}

}  // namespace zor::check
