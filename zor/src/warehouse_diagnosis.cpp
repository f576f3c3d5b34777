// The diagnosis of data files: the readers of the warehouse floor tell what they meet, and here it
// becomes text.
#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <map>
#include <optional>
#include <utility>

#include "catalogue.h"
#include "diagnosis.h"
#include "source_text.h"
#include "vqnexpat.h"
#include "warehouse_private.h"

namespace zor {

namespace {

using Names = std::vector<std::string>;

constexpr const char* kPage = "zorenv-warehouse(5)";

// ---- The data files, by their names ----

enum class Format { kProduct, kPartList, kSettings, kRecipe };

struct FileRow {
  const char* name;
  Format format;
  const char* root;     // the element
  const char* section;  // of the manual page
};

constexpr FileRow kFiles[] = {
    {"product.xml", Format::kProduct, "PRODUCT-INFO", "PRODUCT.XML"},
    {"partlist.xml", Format::kPartList, "PARTLIST", "PARTLIST.XML"},
    {"env.xml", Format::kSettings, "ENV-SETTINGS", "ENV.XML AND UNENV.XML"},
    {"unenv.xml", Format::kSettings, "ENV-SETTINGS", "ENV.XML AND UNENV.XML"},
    {"setup.xml", Format::kRecipe, "RECIPE", "SETUP.XML AND UNSET.XML"},
    {"unset.xml", Format::kRecipe, "RECIPE", "SETUP.XML AND UNSET.XML"},
    {"prep.xml", Format::kRecipe, "RECIPE", "SETUP.XML AND UNSET.XML"},
};

const FileRow* row_of(const std::string& path) {
  const std::string leaf = path.substr(path.rfind('/') + 1);
  for (const FileRow& row : kFiles)
    if (leaf == row.name) return &row;
  return nullptr;
}

// Reads the file and drops what it holds.
void read_file(const FileRow& row, const std::string& path, FwErrorState* err) {
  std::string name = path;
  switch (row.format) {
    case Format::kProduct: {
      WH_PRODUCT_NAME* nobody = make_name({});
      WH_PRODUCT_INFO* info = read_prodinfo_file(err, nobody, text(name), 0, WH_XML_PF_NO_CHECKS);
      free_prodinfo(&info);
      free_prodname(&nobody);
      break;
    }
    case Format::kPartList: {
      WH_PARTLIST* list = read_partlist(err, text(name), WH_XML_PF_NO_CHECKS);
      free_partlist(&list);
      break;
    }
    case Format::kSettings: {
      WH_ENV_SETTINGS* settings = read_env_settings(err, text(name), WH_XML_PF_NO_CHECKS);
      free_env_settings(&settings);
      break;
    }
    case Format::kRecipe: {
      WH_RECIPE* recipe = read_recipe(err, text(name), WH_XML_PF_NO_CHECKS);
      free_recipe(&recipe);
      break;
    }
  }
}

// ---- Words ----

Names names_of(const WH_NAMES* names) {
  return {names->names, names->names + names->count};
}

std::string hint(const std::string& word, const Names& candidates) {
  const std::string near = meant(word, candidates);
  return near.empty() ? "" : fmt::format(" (did you mean {}?)", near);
}

// "a product.xml", "an env.xml"
std::string with_article(const char* file) {
  return fmt::format("{} {}", std::strchr("aeiou", file[0]) ? "an" : "a", file);
}

// What the engine calls a fault of the parser.
std::string engine_word(int code) {
  const FwError* kind = x2fwerr(code);
  if (!kind) return XML_ErrorString(static_cast<XML_Error>(code));
  const std::string format = string_of(kind->ptbzFormat);
  return format.substr(0, format.find(" in %"));
}

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// ---- References ----

// A reference in a text: %(NAME), %[FILE] or %{NAME}.
struct Reference {
  char bracket;
  std::string name;
};

char closing(char bracket) {
  return bracket == '(' ? ')' : bracket == '[' ? ']' : '}';
}

// All references of a text, in the order in which they are replaced: inner ones first. A percent
// sign takes the character behind it along if that begins none. One that nothing closes is none.
std::vector<Reference> references_in(std::string text) {
  std::vector<Reference> references;
  for (bool replaced = true; replaced;) {
    replaced = false;
    std::string next;
    for (std::size_t at = 0; at < text.size(); ++at) {
      next += text[at];
      if (text[at] != '%' || at + 1 == text.size()) continue;
      const char bracket = text[at + 1];
      if (!std::strchr("([{", bracket)) {
        next += text[++at];
        continue;
      }
      const std::size_t end = text.find_first_of({closing(bracket), '%'}, at + 2);
      if (end != std::string::npos && text[end] != '%') {
        references.push_back({bracket, text.substr(at + 2, end - at - 2)});
        next.back() = '_';
        at = end;
        replaced = true;
      } else {
        next += text[++at];
      }
    }
    text = std::move(next);
  }
  return references;
}

struct Use {
  Reference reference;
  SourceText::Place place;
};

// ---- What the names mean ----

Names names_of(const WH_CONTEXT* context) {
  Names names;
  for (const WH_CONTEXT_VALUE* value = context->vals; value; value = value->next)
    if (value->v) names.push_back(string_of(value->n));
  return names;
}

// The names, of the global ones, whose values lead to a name, and the name itself.
Names leading_to(const std::string& wanted) {
  Names names = {wanted};
  WH_SYMTAB* symtab = make_symtab(FWT(""));
  for (std::size_t i = 0; i < names.size(); ++i)
    for (const WH_CONTEXT* context : elements<WH_CONTEXT>(symtab->contexts))
      for (const WH_CONTEXT_VALUE* value = context->vals; value; value = value->next)
        if (string_of(value->v).find("%(" + names[i] + ")") != std::string::npos)
          names.push_back(string_of(value->n));
  free_symtab(&symtab);
  return names;
}

// ---- The reading of one file ----

// What its reader tells of a file, as diagnoses and as the references that are in it.
class Reading {
 public:
  Reading(const FileRow& row, std::string path) : row_(row), path_(std::move(path)) {}

  void run() {
    std::vector<Fault> unheard;
    const Collecting collecting(&unheard);
    const WH_SYNTAX_OBSERVER observer = {this, on_start, on_end, on_text, on_refused, on_fault};
    const WH_SYNTAX_OBSERVER* const before = std::exchange(wh_syntax_observer, &observer);
    FwErrorState err;
    read_file(row_, path_, &err);
    wh_syntax_observer = before;
    if (err.pError && found_.empty() && !Fw_msg_IsDescendant(fwErrorNonExistent, err.pError))
      add_unreadable();
    FwErrorClear(&err);
  }

  std::vector<Diagnosis>& found() { return found_; }
  const std::vector<Use>& uses() const { return uses_; }

 private:
  struct Open {
    std::string name;
    SourceText::Place place;
    bool holds_text;
    bool refuses = false;  // an element in it was refused
    Names refused = {};    // those that were
    std::string text = {};
  };

  static Reading* self(void* context) { return static_cast<Reading*>(context); }
  static void on_start(void* context, const WH_START_TAG* tag) { self(context)->start(*tag); }
  static void on_end(void* context, const char*) { self(context)->end(); }
  static void on_text(void* context, const char* bytes, int count) {
    self(context)->open_.back().text.append(bytes, static_cast<std::size_t>(count));
  }
  static void on_refused(void* context, const WH_REFUSAL* refusal) {
    self(context)->refuse(*refusal);
  }
  static void on_fault(void* context, int code, int32 line, int32 column) {
    self(context)->add_malformed(code, self(context)->source().shown({line, column}));
  }

  const SourceText& source() {
    if (!source_) source_ = SourceText::of_file(path_);
    return *source_;
  }

  void add(SourceText::Place place, std::string text, std::string why, std::string help,
           const char* section) {
    found_.push_back({path_, place.line, place.column, std::move(text), std::move(why),
                      std::move(help), fmt::format("{}, {}", kPage, section)});
  }

  void add_refusal(SourceText::Place place, std::string text, std::string help) {
    add(place, std::move(text),
        fmt::format("{}: the file is not read, and its product can't be used",
                    row_.format == Format::kRecipe ? "invalid XML" : "XML parsing error"),
        std::move(help), row_.section);
  }

  // ---- Tags ----

  void start(const WH_START_TAG& tag) {
    const SourceText::Place place = source().shown({tag.line, tag.column});
    open_.push_back({tag.name, place, tag.holds_text != 0});
    if (!tag.asked || !expands_attributes()) return;
    const Names asked = names_of(tag.asked);
    for (const char** attribute = tag.attributes; *attribute; attribute += 2)
      if (std::find(asked.begin(), asked.end(), attribute[0]) != asked.end())
        note_references(attribute[1], place);
  }

  // Whether what the reader takes from attributes of the element that is open is expanded.
  bool expands_attributes() const {
    const auto is_open = [this](std::string_view name) {
      return std::any_of(open_.begin(), open_.end(),
                         [&](const Open& open) { return open.name == name; });
    };
    switch (row_.format) {
      case Format::kProduct:
        return open_.back().name == "VAR";
      case Format::kPartList:
        return is_open("PRODUCT");
      case Format::kSettings:
        return false;
      case Format::kRecipe:
        return open_.back().name == "SETENV" || is_open("PATTERN");
    }
    return false;
  }

  void note_references(const std::string& text, SourceText::Place element) {
    if (text.find('%') == std::string::npos) return;
    for (const Reference& reference : references_in(text)) {
      const std::string form = fmt::format("%{}{}", reference.bracket, reference.name);
      const std::size_t begin = source().offset(element);
      const std::size_t at = source().text().find(form, begin);
      const SourceText::Place place = at == std::string::npos ? element : source().place(at);
      uses_.push_back({reference, place});
    }
  }

  void end() {
    const Open& ended = open_.back();
    if (ended.holds_text && row_.format == Format::kSettings)
      note_references(ended.text, ended.place);
    open_.pop_back();
  }

  // ---- Refusals ----

  void refuse(const WH_REFUSAL& refusal) {
    const SourceText::Place place = source().shown({refusal.line, refusal.column});
    switch (refusal.what) {
      case wh_refused_start:
        refuse_start(refusal, place);
        break;
      case wh_refused_end:
        // What is missing was misspelt or misplaced, and that has been told.
        if (open_.back().refuses) break;
        add_refusal(place,
                    fmt::format("{} ends here, and {} has to come first", refusal.name,
                                enumerated(names_of(refusal.starts), "or")),
                    fmt::format("add <{}>", names_of(refusal.starts).front()));
        break;
      case wh_refused_value:
        refuse_value(refusal, place);
        break;
      case wh_refused_file:
        add_refusal(place,
                    fmt::format("{} can't stand in {}", refusal.name, with_article(row_.name)),
                    "it is for install.xml and uninstall.xml");
        break;
      case wh_refused_host:
        // In the files of installers alone, which nobody asks about.
        break;
    }
  }

  void refuse_value(const WH_REFUSAL& refusal, SourceText::Place place) {
    const Names words = names_of(refusal.words);
    const std::string value = refusal.value ? refusal.value : "";
    add_refusal(place,
                refusal.value ? fmt::format("{} has {}=\"{}\"; it may be {}{}", refusal.name,
                                            refusal.attribute, value, enumerated(words, "or"),
                                            hint(value, words))
                              : fmt::format("{} has no attribute {}; it may be {}", refusal.name,
                                            refusal.attribute, enumerated(words, "or")),
                fmt::format("write {}=\"{}\"", refusal.attribute,
                            meant(value, words).empty() ? words.front() : meant(value, words)));
  }

  void refuse_start(const WH_REFUSAL& refusal, SourceText::Place place) {
    const std::string name = refusal.name;
    const Names starts = names_of(refusal.starts);
    const Names all = names_of(refusal.all);
    if (open_.empty()) {
      refuse_root(name, starts, place);
      return;
    }
    Open& parent = open_.back();
    parent.refuses = true;
    // A name that is wrong once is often wrong many times.
    if (std::find(parent.refused.begin(), parent.refused.end(), name) != parent.refused.end())
      return;
    parent.refused.push_back(name);
    if (parent.holds_text) {
      add_refusal(
          place,
          fmt::format("{} holds text and no elements, but here begins {}", parent.name, name),
          fmt::format("close it first, with </{}>; in text, &lt; stands for <", parent.name));
      return;
    }
    const bool known = std::find(all.begin(), all.end(), name) != all.end();
    Names may = starts;
    if (refusal.end) may.push_back(fmt::format("the end of {}", parent.name));
    const std::string near = known ? "" : meant(name, starts.empty() ? all : starts);
    add_refusal(place,
                fmt::format("{} {}; here {} stand {}{}", name,
                            known ? fmt::format("has no place here in {}", parent.name)
                                  : "is not an element of " + with_article(row_.name),
                            refusal.end ? "may" : "must", enumerated(may, "or"),
                            near.empty() ? "" : fmt::format(" (did you mean {}?)", near)),
                near.empty() ? known ? fmt::format("move {} to where it may stand", name)
                                     : fmt::format("take {} out", name)
                             : fmt::format("write {}, in its end tag too", near));
  }

  void refuse_root(const std::string& name, const Names& starts, SourceText::Place place) {
    for (const FileRow& other : kFiles)
      if (name == other.root || (other.format == Format::kProduct && name == "VARIETIES")) {
        add_refusal(place,
                    fmt::format("the root is {}, so this is {}; the root of {} is {}", name,
                                with_article(other.name), with_article(row_.name), row_.root),
                    fmt::format("give the file the name {}, and put {} here", other.name,
                                with_article(row_.name)));
        return;
      }
    const std::string near = meant(name, starts);
    add_refusal(place,
                fmt::format("the root is {}; the root of {} is {}{}", name, with_article(row_.name),
                            enumerated(starts, "or"), hint(name, starts)),
                fmt::format("write {}, in its end tag too", near.empty() ? row_.root : near));
  }

  // ---- What is no XML ----

  void add_unreadable();
  void add_malformed(int code, SourceText::Place place);
  std::pair<std::string, std::string> malformed(int code, SourceText::Place* place);
  std::pair<std::string, std::string> mismatched(SourceText::Place* place);
  std::pair<std::string, std::string> cut_short();
  std::pair<std::string, std::string> invalid(SourceText::Place* place);

  const FileRow& row_;
  std::string path_;
  std::optional<SourceText> source_;
  std::vector<Open> open_;
  std::vector<Diagnosis> found_;
  std::vector<Use> uses_;
};

void Reading::add_unreadable() {
  struct stat info = {};
  const int failed = stat(path_.c_str(), &info) == 0 ? 0 : errno;
  if (failed == ENOENT || failed == ENOTDIR) return;
  const bool is_directory = failed == 0 && S_ISDIR(info.st_mode);
  found_.push_back({path_, 0, 0,
                    is_directory ? "this is a directory, and should be a file"
                                 : "the file can't be read: permission denied",
                    "its product can't be used",
                    is_directory ? "move it away, and put the file in its place"
                                 : fmt::format("make it readable for all who use the warehouse: "
                                               "chmod a+r {}",
                                               path_),
                    fmt::format("{}, {}", kPage, row_.section)});
}

void Reading::add_malformed(int code, SourceText::Place place) {
  auto [text, help] = malformed(code, &place);
  add(place, std::move(text),
      fmt::format("{}: the file is not read, and its product can't be used", engine_word(code)),
      std::move(help), "Form of the data files");
}

std::pair<std::string, std::string> Reading::mismatched(SourceText::Place* place) {
  std::size_t at = source().offset(*place);
  const std::string name = source().name_at(at);
  // The parser points behind the "</".
  place->column -= 2;
  const Open& open = open_.back();
  const bool is_open = std::any_of(open_.begin(), open_.end(),
                                   [&](const Open& other) { return other.name == name; });
  return {fmt::format("</{}> can't close {}, which begins at {}:{}", name, open.name,
                      open.place.line, open.place.column),
          is_open ? fmt::format("close {} first, with </{}>", open.name, open.name)
                  : fmt::format("write </{}>", open.name)};
}

std::pair<std::string, std::string> Reading::cut_short() {
  if (open_.empty())
    return {source().text().find_first_not_of(" \t\r\n") == std::string::npos
                ? "the file is empty"
                : "the file holds no element",
            fmt::format("write at least <{0}></{0}> into it, or remove it if it is not needed",
                        row_.root)};
  Names names;
  for (auto open = open_.rbegin(); open != open_.rend(); ++open)
    names.push_back(
        fmt::format("{} (begins at {}:{})", open->name, open->place.line, open->place.column));
  return {fmt::format("the file ends, and not closed are {}", enumerated(names)),
          fmt::format("the innermost comes first: add </{}> where it ends", open_.back().name)};
}

std::pair<std::string, std::string> Reading::invalid(SourceText::Place* place) {
  const std::string& all = source().text();
  std::size_t at = source().offset(*place);
  const auto byte = [&](std::size_t i) { return i < all.size() ? all[i] : '\0'; };
  if (static_cast<unsigned char>(byte(at)) >= 0x80 && source().encoding().empty())
    return {
        fmt::format("the byte {:02X} is not a character of UTF-8, and the file declares no other "
                    "encoding",
                    static_cast<unsigned char>(byte(at))),
        "save the file as UTF-8, or begin it with <?xml version=\"1.0\" "
        "encoding=\"ISO-8859-1\"?> if that is what it is in"};
  if (static_cast<unsigned char>(byte(at)) >= 0x80)
    return {fmt::format("the byte {:02X} is not a character of {}",
                        static_cast<unsigned char>(byte(at)), source().encoding()),
            "save the file in the encoding that it declares, or declare the one that it is in"};
  const std::size_t line = all.find_last_of('\n', at) + 1;
  const std::size_t ampersand = at > 0 ? all.find_last_of('&', at) : std::string::npos;
  if (ampersand != std::string::npos && ampersand >= line &&
      all.find_first_of(" ;<>\"'", ampersand) >= at) {
    *place = source().place(ampersand);
    return {"a & that begins no reference", "write &amp; for it"};
  }
  const char before = at > 0 ? byte(at - 1) : '\0';
  const std::size_t equals = all.find_last_not_of(" \t\r\n", at > 0 ? at - 1 : 0);
  if (equals != std::string::npos && byte(equals) == '=' && byte(at) != '"')
    return {"the value of an attribute stands in no quotes", "write name=\"value\""};
  if (byte(at) == '<')
    return {"a < in a place where no tag may begin",
            "write &lt; for it, or close what is before it"};
  if (before == '<')
    return {fmt::format("a < that begins no tag, as {} stands behind it",
                        is_blank(byte(at)) ? "a blank" : fmt::format("\"{}\"", byte(at))),
            "write &lt; for it"};
  if (static_cast<unsigned char>(byte(at)) < 0x20 && !is_blank(byte(at)))
    return {fmt::format("the control character {:02X}, which no XML may hold",
                        static_cast<unsigned char>(byte(at))),
            "take it out"};
  return {fmt::format("\"{}\" can't stand here", byte(at)),
          "look for a quote, a \"<\" or a \">\" that is missing before it"};
}

// What to say of it, and what to do.
std::pair<std::string, std::string> Reading::malformed(int code, SourceText::Place* place) {
  const std::size_t at = source().offset(*place);
  switch (code) {
    case XML_ERROR_NO_ELEMENTS:
      return cut_short();
    case XML_ERROR_TAG_MISMATCH:
      return mismatched(place);
    case XML_ERROR_INVALID_TOKEN:
    case XML_ERROR_PARTIAL_CHAR:
      return invalid(place);
    case XML_ERROR_UNCLOSED_CDATA_SECTION:
      // The parser points behind it.
      *place = source().place(source().text().rfind("<![CDATA[", at));
      return {"what begins here is not closed before the file ends",
              "close the CDATA section, with ]]>"};
    case XML_ERROR_UNCLOSED_TOKEN:
      return {"what begins here is not closed before the file ends",
              source().from(at).starts_with("<!--") ? "close the comment, with -->"
                                                    : "look for the \">\" that is missing"};
    case XML_ERROR_DUPLICATE_ATTRIBUTE:
      return {fmt::format("the attribute {} stands twice in one tag", source().name_at(at)),
              "leave one of them out"};
    case XML_ERROR_JUNK_AFTER_DOC_ELEMENT:
      return {fmt::format("the root, {}, has ended, and behind it may stand nothing but comments",
                          row_.root),
              "move what is there into the root, or take it out"};
    case XML_ERROR_SYNTAX:
      return {"text or a tag where none may stand, outside of the root element",
              fmt::format("the file holds one root, {}, and all else is in that", row_.root)};
    case XML_ERROR_UNDEFINED_ENTITY:
      return {fmt::format("&{}; is not defined", source().name_at(at + 1)),
              "there are &amp; &lt; &gt; &quot; and &apos;; any other character can be written "
              "as itself, or as &#...; with its number"};
    case XML_ERROR_MISPLACED_XML_PI:
      return {"<?xml ...?> stands here, and may stand only at the very beginning of the file",
              source().text().substr(0, at).find_first_not_of(" \t\r\n") == std::string::npos
                  ? "remove the blanks and line ends before it"
                  : "take it out, or move it to the beginning"};
    case XML_ERROR_UNKNOWN_ENCODING:
      return {fmt::format("the encoding {} is not known; there are UTF-8, UTF-16, ISO-8859-1 and "
                          "US-ASCII",
                          source().encoding()),
              "save the file as UTF-8, and declare that or nothing"};
    case XML_ERROR_INCORRECT_ENCODING:
      return {
          fmt::format("the file declares the encoding {}, and is not in it", source().encoding()),
          "save the file as UTF-8, and declare that or nothing"};
    case XML_ERROR_XML_DECL:
      return {"this is no XML declaration",
              "write <?xml version=\"1.0\" encoding=\"UTF-8\"?>, or nothing"};
    default:
      return {engine_word(code), "xmllint --noout may tell more of it"};
  }
}

std::string folded(std::string word) {
  std::transform(word.begin(), word.end(), word.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return word;
}

}  // namespace

std::vector<std::string> defined_names(const std::string& directory) {
  Names names = {"BASE-DIRECTORY"};
  std::string path = directory + "/product.xml";
  WH_PRODUCT_NAME* nobody = make_name({});
  FwErrorState err;
  WH_PRODUCT_INFO* info = read_prodinfo_file(&err, nobody, text(path), 1, WH_XML_PF_NO_CHECKS);
  const auto add = [&names](const WH_CONTEXT* context) {
    for (std::string& name : names_of(context))
      if (std::find(names.begin(), names.end(), name) == names.end())
        names.push_back(std::move(name));
  };
  if (info)
    for (WH_VARIETY* variety : elements<WH_VARIETY>(info->varieties->seq)) {
      WH_CONTEXT* context = context_from_variety(variety);
      add(context);
      free_context(&context);
    }
  WH_SYMTAB* symtab = symtab_from_prodname(nobody, FWT(""));
  for (const WH_CONTEXT* context : elements<WH_CONTEXT>(symtab->contexts))
    for (const WH_CONTEXT_VALUE* value = context->vals; value; value = value->next) {
      const bool leads_nowhere =
          value->v && string_of(value->v).starts_with("%(INSTALLED-FROM)") &&
          std::find(names.begin(), names.end(), "INSTALLED-FROM") == names.end();
      if (value->v && !leads_nowhere) names.push_back(string_of(value->n));
    }
  free_symtab(&symtab);
  free_prodinfo(&info);
  free_prodname(&nobody);
  FwErrorClear(&err);
  return names;
}

std::vector<NameUse> uses_of_name(const std::vector<std::string>& files, const std::string& name) {
  const Names names = leading_to(name);
  std::vector<NameUse> found;
  for (const std::string& file : files) {
    const FileRow* row = row_of(file);
    if (!row) continue;
    Reading reading(*row, file);
    reading.run();
    for (const Use& use : reading.uses())
      if (use.reference.bracket != '[' &&
          std::find(names.begin(), names.end(), use.reference.name) != names.end())
        found.push_back({file, use.place.line, use.place.column, use.reference.name,
                         use.reference.bracket == '{'});
  }
  return found;
}

std::string enumerated(const std::vector<std::string>& words, std::string_view word) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i)
    text += (i == 0                  ? std::string()
             : i + 1 == words.size() ? fmt::format(" {} ", word)
                                     : std::string(", ")) +
            words[i];
  return text;
}

std::string meant(const std::string& word, const std::vector<std::string>& candidates) {
  std::map<std::string, std::string> by_folded;
  std::vector<std::string> all;
  for (const std::string& candidate : candidates) {
    by_folded.emplace(folded(candidate), candidate);
    all.push_back(folded(candidate));
  }
  const std::vector<std::string> near = nearest(folded(word), all, 1);
  return near.empty() ? "" : by_folded[near[0]];
}

std::vector<Diagnosis> diagnose_file(const std::string& path) {
  const FileRow* row = row_of(path);
  if (!row) return {};
  Reading reading(*row, path);
  reading.run();
  std::vector<Diagnosis>& found = reading.found();
  std::stable_sort(found.begin(), found.end(), [](const Diagnosis& a, const Diagnosis& b) {
    return std::pair(a.line, a.column) < std::pair(b.line, b.column);
  });
  return std::move(found);
}

std::string told(const Diagnosis& diagnosis) {
  std::string text = diagnosis.file;
  if (diagnosis.line > 0) text += fmt::format(":{}:{}", diagnosis.line, diagnosis.column);
  text += fmt::format(": {}\n  {}\n  {}\n  see {}", diagnosis.text, diagnosis.why, diagnosis.help,
                      diagnosis.read_on);
  return text;
}

}  // namespace zor
