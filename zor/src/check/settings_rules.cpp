// Settings: the texts of env.xml and unenv.xml, and the recipes that came before them.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "check/product.h"
#include "formats/format.h"
#include "formats/names.h"
#include "words.h"

namespace zor::check {

namespace {

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

Span text_span(const Element& element) {
  return {element.text_at, element.text_end};
}

// What a finding may be about: an element's text, or the value of an attribute, which is looked for
// only then.
struct Piece {
  const Element& element;
  const char* attribute = nullptr;
};

// ---- References ----

// Where a reference begins that has no end, or npos.
std::size_t open_reference(const std::string& text) {
  static constexpr std::pair<char, char> kBrackets[] = {{'(', ')'}, {'[', ']'}, {'{', '}'}};
  for (const auto& [opening, closing] : kBrackets) {
    std::size_t last = std::string::npos;
    for (std::size_t at = 0; (at = text.find('%', at)) != std::string::npos; ++at)
      if (text[at + 1] == opening) last = at;
    if (last != std::string::npos && text.find(closing, last) == std::string::npos) return last;
  }
  return std::string::npos;
}

// The names in %{NAME}.
std::vector<std::string> environment_names(const std::string& text) {
  std::vector<std::string> names;
  for (std::size_t at = 0; (at = text.find("%{", at)) != std::string::npos; at += 2) {
    const std::size_t end = text.find('}', at);
    if (end != std::string::npos) names.push_back(text.substr(at + 2, end - at - 2));
  }
  return names;
}

// ---- Dialects ----

// Why dialects can't carry a variable, or nothing.
std::string refusals(const Change& change) {
  // Dialects of one family ask by one function.
  static const std::vector<const Format*> kFamilies = [] {
    std::vector<const Format*> different;
    for (const Format& format : formats())
      if (std::none_of(different.begin(), different.end(),
                       [&](const Format* other) { return other->refusal == format.refusal; }))
        different.push_back(&format);
    return different;
  }();
  std::vector<std::string> reasons;
  for (const Format* family : kFamilies) {
    std::string reason = family->refusal(change);
    if (!reason.empty() && std::find(reasons.begin(), reasons.end(), reason) == reasons.end())
      reasons.push_back(std::move(reason));
  }
  return joined(reasons, "; ");
}

constexpr std::size_t kMostNames = 256;

// A name is asked for often by one product, and some by most products.
const std::string& refusals_of_name(const std::string& name) {
  static std::unordered_map<std::string, std::string> known;
  if (known.size() == kMostNames) known.clear();
  const auto [entry, is_new] = known.try_emplace(name);
  if (is_new) entry->second = refusals({name, "x"});
  return entry->second;
}

// ---- Variables ----

// Whether all the world takes the variable for one value, not for a list.
bool holds_one_value(std::string_view name) {
  static constexpr std::string_view kNames[] = {
      "BROWSER", "CC",       "COLORTERM", "CXX",     "DISPLAY", "EDITOR", "FC",
      "HOME",    "HOSTNAME", "LANG",      "LOGNAME", "MAIL",    "PAGER",  "PWD",
      "SHELL",   "TMPDIR",   "TERM",      "TZ",      "USER",    "VISUAL"};
  return name.starts_with("LC_") ||
         std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

// ---- The rules ----

// The settings of one file, group by group.
class FileCheck {
 public:
  FileCheck(Product* product, const char* file)
      : product_(product), file_(file), document_(*product->document(file)) {
    const auto& varieties = product->inspection().varieties();
    for (std::size_t i = 0; i < varieties.size(); ++i)
      if (varieties[i].complete) complete_.push_back(i);
    for (const Element& group : document_.root.children)
      for (const Element& operation : group.children) {
        if (!is_operation(operation)) continue;
        const std::string& name = name_element(operation).text;
        if (operation.name == "ENV-DELETE") deleted_.insert(name);
        if (const std::string* separator = operation.find("sep"); separator && !separator->empty())
          stated_.try_emplace(name, *separator);
      }
  }

  void run() {
    for (const Element& group : document_.root.children) {
      if (group.name != "ENV-GROUP" && group.name != "STEP") continue;
      enter(group);
      for (const Element& child : group.children) {
        if (is_operation(child)) check_operation(child);
        if (child.name == "SETENV") check_setenv(child);
      }
    }
  }

  // For part lists, of which only the references in names and patterns are looked at.
  void run_parts() {
    for (const Element& spec : document_.root.children) {
      enter(spec);
      const Element* parts = spec.child("PARTS");
      if (!parts) continue;
      for_each_element(*parts, [&](const Element& element) {
        if (element.name != "PRODUCT" && element.name != "VAR" && element.name != "FILE") return;
        for (const Attribute& attribute : element.attributes)
          check_references(attribute.value, {element, attribute.name.c_str()});
      });
    }
  }

 private:
  void tell(const char* rule, const Piece& piece, std::string text, std::string help) {
    const Span span = piece.attribute ? document_.value(piece.element, piece.attribute)
                                      : text_span(piece.element);
    product_->tell(rule, file_, span, std::move(text), std::move(help));
  }

  // Finds out which varieties get the group.
  void enter(const Element& group) {
    varieties_.clear();
    const Element* pattern = group.child("PATTERN");
    if (!pattern) return;
    const bool expands = group.name == "STEP";
    for (const std::size_t variety : complete_)
      if (product_->inspection().meets(variety, condition(*pattern, variety, expands)))
        varieties_.push_back(variety);
    const bool literal = !expands && has_reference(condition_of(*pattern));
    if (varieties_.empty() && !complete_.empty() && group.name != "PARTSPEC" && !literal)
      product_->tell("ZW405", file_, *pattern,
                     "no variety of the product meets the pattern, so these settings never apply",
                     "Ask for variables and values that product.xml has.");
    for_each_element(*pattern, [&](const Element& element) {
      if (element.find("host"))
        product_->tell("ZW404", file_, document_.name(element, "host"),
                       "the attribute host of a pattern has no effect",
                       "Write the condition as <VAR n=\"platform\" v=\"...\"/>.");
      const std::string* value = element.find("v");
      if (value && !expands && has_reference(*value))
        product_->tell("ZW403", file_, document_.value(element, "v"),
                       "references are not replaced in this pattern, so no variety meets it",
                       "State the value itself.");
    });
    if (expands) check_expanded(*pattern);
  }

  // What stands in the pattern of a recipe's step is replaced for each variety, met or not.
  void check_expanded(const Element& pattern) {
    const std::vector<std::size_t> met = std::exchange(varieties_, complete_);
    for_each_element(pattern, [&](const Element& element) {
      for (const char* attribute : {"n", "v"})
        if (const std::string* text = element.find(attribute))
          check_references(*text, {element, attribute});
    });
    varieties_ = met;
  }

  Condition condition(const Element& pattern, std::size_t variety, bool expands) const {
    Condition all = condition_of(pattern);
    if (expands)
      for (Alternative& alternative : all)
        for (Binding& variable : alternative.variables)
          if (has_reference(variable.value))
            variable.value = product_->inspection().expand(variety, variable.value).text;
    return all;
  }

  // Gives the meaning for the first variety that gets it; nothing if there is none.
  std::optional<std::string> check_references(const std::string& text, const Piece& piece) {
    if (text.find('%') == std::string::npos)
      return varieties_.empty() ? std::nullopt : std::optional(text);
    const std::size_t open = open_reference(text);
    if (open != std::string::npos)
      tell("ZW402", piece,
           fmt::format("{} has no closing bracket, so it stays as it is",
                       text.substr(open, std::min<std::size_t>(20, text.size() - open))),
           "Close the bracket.");
    if (!has_reference(text)) return varieties_.empty() ? std::nullopt : std::optional(text);
    const std::vector<std::string> from_environment = environment_names(text);
    for (const std::string& name : from_environment)
      if (name != "HOME" && name != "PATH")
        tell("ZW416", piece,
             fmt::format("where the environment variable {} is not set, the run fails", name),
             "Make sure that everybody who uses the product has it set, jobs that run at "
             "night as well.");
    // What else is wrong with the text is to be seen as well. The process is one of the check's
    // own.
    for (const std::string& name : from_environment)
      setenv(name.c_str(), "x", 0);
    std::optional<std::string> meaning;
    for (const std::size_t variety : varieties_) {
      const Expansion& expansion = product_->inspection().expand(variety, text);
      tell_of(expansion, text, piece);
      if (!meaning && expansion.done()) meaning = expansion.text;
    }
    return meaning;
  }

  // Varieties may differ in what is wrong.
  void tell_of(const Expansion& expansion, const std::string& text, const Piece& piece) {
    if (!expansion.undefined.empty() &&
        text.find("%{" + expansion.undefined + '}') == std::string::npos) {
      const bool from = expansion.undefined == "INSTALLED-FROM";
      tell("ZW415", piece,
           fmt::format("%({}) is not defined, so the run fails", expansion.undefined),
           from ? "Write the name with BASE- in place of FROM-; nothing defines "
                  "INSTALLED-FROM."
                : "zorenv-warehouse(5) lists the names under EXPANSION; the others are "
                  "the variables of each variety in product.xml.");
    } else if (!expansion.missing.empty()) {
      tell("ZW414", piece,
           fmt::format("the file {} does not exist, so the operation is skipped without a "
                       "message",
                       expansion.missing),
           "Name a file that is there, best by %(BASE-CNVR).");
    } else if (!expansion.fault.empty()) {
      tell("ZW508", piece,
           fmt::format("a file that is named here can't be read ({}), so the run fails",
                       expansion.fault),
           "Name a regular file.");
    }
  }

  // The text of an element. Gives its meaning as above.
  std::optional<std::string> check_text(const Element& element) {
    const std::string& text = element.text;
    if (!text.empty() && (is_blank(text.front()) || is_blank(text.back())))
      product_->tell(
          "ZW401", file_, text_span(element),
          fmt::format("the blanks or line ends around it belong to the text of {}", element.name),
          "Put the tags right beside the text.");
    return check_references(text, {element});
  }

  void check_name(const std::string& name, const Piece& piece) {
    if (is_pattern(name)) {
      tell("ZW407", piece,
           fmt::format("{} reaches each variable that is set and matches, and rebuilds it "
                       "as a list: empty elements and repeated ones vanish",
                       name),
           "Name the variables.");
    } else if (!is_identifier(name) && !name.empty() && !is_blank(name.front()) &&
               !is_blank(name.back())) {
      tell("ZW408", piece,
           fmt::format("shells don't accept the name {}; zorenv writes it into the "
                       "script unchanged, where it may be a command",
                       name),
           "Use letters, digits and _, and begin with no digit.");
    } else if (is_identifier(name)) {
      const std::string& reasons = refusals_of_name(name);
      if (!reasons.empty())
        tell("ZW409", piece, fmt::format("{} {}", name, reasons),
             "Use another name for the variable.");
    }
  }

  void check_value(const std::string& name, const std::string& value, const Piece& piece) {
    const bool breaks =
        value.find('\'') != std::string::npos || value.find('\n') != std::string::npos;
    if (breaks || value.find('!') != std::string::npos) {
      tell("ZW410", piece,
           breaks ? "a value with a quote or a line end breaks the script that zorenv "
                    "prints, which quotes it with nothing but single quotes"
                  : "csh looks for past commands behind the ! in what zorenv --csh prints",
           "Keep such values out of the warehouse, or let everybody use zor, which quotes "
           "them for each shell.");
    } else if (!std::all_of(value.begin(), value.end(), [](char c) {
                 return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                        (c >= '0' && c <= '9') || c < 0 ||
                        std::string_view("_@%+=:,./-").find(c) != std::string_view::npos;
               })) {
      tell("ZW422", piece,
           "zorenv without --sh or --csh makes a script in which sh evaluates this value "
           "once more",
           "Write --sh or --csh wherever zorenv is run.");
    }
    if (is_printable(value) || !is_identifier(name)) return;
    const std::string reasons = refusals({name, value});
    if (!reasons.empty() && refusals_of_name(name).empty())
      tell("ZW409", piece, fmt::format("{} {}", name, reasons),
           "Let those who use these dialects know, or take another value.");
  }

  void check_pattern(const Element& element) {
    const std::string& text = element.text;
    const bool rooted = text.size() > 6 && text.starts_with("**/") && text.ends_with("/**");
    if (rooted)
      product_->tell(
          "ZW406", file_, text_span(element),
          fmt::format("{} matches only paths that begin with /{}", text,
                      text.substr(3, text.size() - 6)),
          fmt::format("Write **{}** for it anywhere in a path.", text.substr(3, text.size() - 6)));
    else if (text.find("***") != std::string::npos)
      product_->tell("ZW406", file_, text_span(element),
                     "three stars are not more than two, and two mean any number of path elements "
                     "only where they stand alone between slashes",
                     "Write * within a path element and ** for whole ones.");
  }

  void check_separator(const Element& operation, const std::string& name) {
    const std::string* separator = operation.find("sep");
    if (!separator) return;
    const auto characters = std::count_if(separator->begin(), separator->end(), [](char c) {
      return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    });
    const Span piece = document_.value(operation, "sep");
    if (characters != 1) {
      product_->tell("ZW418", file_, piece,
                     characters == 0 ? "an empty separator is none, so : may be taken"
                                     : "of the separator only the first character counts",
                     "State one character.");
      return;
    }
    if (is_pattern(name) || has_reference(name)) return;
    product_->facts().separators.push_back({name, *separator, product_->path() + '/' + file_,
                                            document_.position(piece.at),
                                            document_.position(piece.end)});
  }

  void check_operation(const Element& operation) {
    const Element& name_at = name_element(operation);
    const std::optional<std::string> name = check_text(name_at);
    if (name) check_name(*name, {name_at});
    check_separator(operation, name.value_or(name_at.text));
    const bool inserts = operation.name == "ENV-INSERT";
    if (inserts && name) check_only_value(*name, name_at);
    if (operation.name == "ENV-DELETE" && name) claim(Claim::Kind::kDelete, *name, "", name_at);
    for (const Element& child : operation.children) {
      if (child.name == "NAME") continue;
      const std::optional<std::string> meaning = check_text(child);
      if (meaning && name && child.name == "VALUE")
        claim(inserts ? Claim::Kind::kInsert : Claim::Kind::kRemove, *name, *meaning, child);
      if (inserts && child.name == "VALUE") {
        if (meaning && name) check_inserted(operation, *name, *meaning, child);
        continue;
      }
      check_pattern(child);
      check_undo(child);
      if (child.name == "BEFORE" && child.text == "**")
        product_->tell("ZW421", file_, text_span(child),
                       "another product that wants to be before everything forms a circle with "
                       "this one, and nobody can use the two in one group",
                       "Say before what it must be, such as /usr/bin.");
    }
  }

  void check_only_value(const std::string& name, const Element& at) {
    if (!holds_one_value(name) || deleted_.contains(at.text) ||
        std::string_view(file_) != "env.xml")
      return;
    product_->tell(
        "ZW423", file_, text_span(at),
        fmt::format("where {} is set it gets a second value, since every variable is a "
                    "list and ENV-INSERT adds to it",
                    name),
        fmt::format("Add <ENV-DELETE>{}</ENV-DELETE>; within one product the insert wins.",
                    at.text));
  }

  // For the rule on strangers. A pattern for values would have to be tried on all that others
  // insert; most mean the product's own directory.
  void claim(Claim::Kind kind, const std::string& name, const std::string& value,
             const Element& at) {
    if (std::string_view(file_) != "env.xml" || !is_identifier(name) ||
        (kind == Claim::Kind::kRemove && is_pattern(value)) ||
        (value + '/').starts_with(product_->directory() + '/'))
      return;
    product_->facts().claims.push_back(
        {kind, name, value, product_->name(), product_->path() + '/' + file_,
         document_.position(at.text_at), document_.position(at.text_end)});
  }

  void check_undo(const Element& removed) {
    if (std::string_view(file_) != "unenv.xml" || removed.name != "VALUE") return;
    for (const char* name : {"%(BASE-CNVR)", "%(BASE-CNV)", "%(THIS-CNVR)", "%(THIS-VERSION)"})
      if (removed.text.find(name) != std::string::npos) {
        product_->tell("ZW420", file_, text_span(removed),
                       "once a new version is there, its unenv.xml is what undoes, and it names "
                       "another directory than the one in the user's environment",
                       "Remove a pattern over all versions, such as %(BASE-CN)/**.");
        return;
      }
  }

  void check_inserted(const Element& operation, const std::string& name, const std::string& value,
                      const Element& at) {
    check_value(name, value, {at});
    const std::string* stated = operation.find("sep");
    const std::string separator = stated && !stated->empty() ? *stated : stated_for(name);
    if (value.find(separator) != std::string::npos && !value.empty())
      product_->tell("ZW411", file_, text_span(at),
                     fmt::format("the value holds the separator {}: it is inserted as one element, "
                                 "and is several when it is read the next time",
                                 separator),
                     "Insert the elements one by one, or state a sep that values can't hold in "
                     "every operation on the variable.");
    if (name == "PATH") check_path(at);
  }

  // The separator that any operation of the file states for the variable.
  std::string stated_for(const std::string& name) const {
    const auto stated = stated_.find(name);
    return stated == stated_.end() ? ":" : stated->second;
  }

  // A directory below the root, for varieties that this host takes.
  void check_path(const Element& at) {
    for (const std::size_t variety : varieties_) {
      bool fits = true;
      for (const Binding& variable : product_->inspection().varieties()[variety].variables)
        if (variable.name == "platform") fits = platforms_fit(variable.value, host_platform_name());
      if (!fits) continue;
      const Expansion& path = product_->inspection().expand(variety, at.text);
      if (!path.done()) continue;
      if (!path.text.starts_with(product_->root() + '/')) continue;
      if (access(path.text.c_str(), F_OK) == 0) continue;
      product_->tell("ZW413", file_, text_span(at), fmt::format("{} does not exist", path.text),
                     "Name a directory that is there, or put the programs there.");
      return;
    }
  }

  void check_setenv(const Element& setenv) {
    const std::string* name = setenv.find("name");
    const std::string* value = setenv.find("value");
    std::optional<std::string> named;
    if (name) {
      named = check_references(*name, {setenv, "name"});
      if (named) check_name(*named, {setenv, "name"});
    }
    if (!value) return;
    const std::optional<std::string> meaning = check_references(*value, {setenv, "value"});
    const std::string* word = setenv.find("op");
    const bool takes_out = word && (*word == "delete" || word->starts_with("un"));
    if (meaning && named && !takes_out) check_value(*named, *meaning, {setenv, "value"});
  }

  Product* product_;
  const char* file_;
  const Document& document_;
  std::vector<std::size_t> complete_;
  std::vector<std::size_t> varieties_;                   // that get the group at hand
  std::unordered_map<std::string, std::string> stated_;  // of each variable the first separator
  std::unordered_set<std::string> deleted_;
};

// Operations on one variable of which some state a separator and others none. An ENV-DELETE takes
// out everything, however it is separated; but in one file with others it settles the separator.
void check_half_stated(Product* product) {
  struct Stated {
    std::string separator;
    std::string_view file;
  };
  std::map<std::string, std::vector<Stated>> stated;
  const auto for_each_operation = [&](const auto& visit) {
    for (const char* file : {"env.xml", "unenv.xml"})
      if (const Document* document = product->document(file))
        for (const Element& group : document->root.children)
          for (const Element& operation : group.children)
            if (is_operation(operation))
              visit(file, operation, name_element(operation).text, operation.find("sep"));
  };
  for_each_operation(
      [&](const char* file, const Element&, const std::string& name, const std::string* separator) {
        if (separator && !separator->empty() && *separator != ":")
          stated[name].push_back({*separator, file});
      });
  if (stated.empty()) return;
  for_each_operation([&](const char* file, const Element& operation, const std::string& name,
                         const std::string* separator) {
    const auto known = stated.find(name);
    if (known == stated.end() || (separator && !separator->empty())) return;
    const bool counts = operation.name != "ENV-DELETE" ||
                        std::any_of(known->second.begin(), known->second.end(),
                                    [&](const Stated& other) { return other.file == file; });
    if (!counts) return;
    const std::string& other = known->second[0].separator;
    product->tell(
        "ZW417", file, operation,
        fmt::format("other operations state sep=\"{}\" for {}, and this one none; a removal "
                    "that comes first settles : for it",
                    other, name),
        fmt::format("Write sep=\"{}\" here as well.", other));
  });
}

bool has_operations(const Document* document) {
  if (!document) return false;
  for (const Element& group : document->root.children)
    for (const Element& child : group.children)
      if (is_operation(child) || child.name == "SETENV") return true;
  return false;
}

}  // namespace

void check_settings(Product* product) {
  for (const char* file : {"setup.xml", "prep.xml", "unset.xml", "env.xml", "unenv.xml"})
    if (product->document(file)) FileCheck(product, file).run();
  if (product->document("partlist.xml")) FileCheck(product, "partlist.xml").run_parts();
  check_half_stated(product);
  const bool new_form = product->has_files("env.xml") || product->has_files("unenv.xml");
  const char* set = new_form ? "env.xml" : "setup.xml";
  const char* undo = new_form ? "unenv.xml" : "unset.xml";
  if (has_operations(product->document(set)) && !product->has_files(undo))
    product->tell("ZW419", set, product->document(set)->root,
                  fmt::format("there is no {}, so zorenv -u leaves all of this as it is", undo),
                  fmt::format("Add a {} that takes out what is set here.", undo));
}

}  // namespace zor::check
