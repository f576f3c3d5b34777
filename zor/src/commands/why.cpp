// zor why: why a variable is as it is, and why a version and a variety were taken.
#include <algorithm>
#include <optional>
#include <set>
#include <unordered_set>

#include "catalogue.h"
#include "commands/command.h"
#include "conflict.h"
#include "error.h"
#include "reasons.h"
#include "render/account.h"
#include "render/json.h"
#include "session/session.h"
#include "words.h"

namespace zor {

namespace {

// ---- The command line ----

// What is asked of a request.
struct Asked {
  std::string variable;  // empty: of its products
  std::optional<std::string> element;
};

// Letters, all capital, digits and _, as the names of nearly all variables are.
bool looks_like_variable(const std::string& word) {
  return !word.empty() && !(word[0] >= '0' && word[0] <= '9') &&
         std::all_of(word.begin(), word.end(), [](char c) {
           return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
         });
}

// The positions of the words that are no options, nor values of options that stand before products.
std::vector<std::size_t> free_words(const std::vector<std::string>& words) {
  std::vector<std::size_t> all;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (!words[i].starts_with('-'))
      all.push_back(i);
    else if (words[i].starts_with("-r") || words[i] == "--root")
      ++i;
  }
  return all;
}

// Takes the variable and the element out of the words. They stand behind --; or, where no product
// is named by -p, which takes any words behind it, they are the last two words: of these the first
// that looks like a variable is it. The request comes first, so its first word is none.
Asked take_asked(std::vector<std::string>* words) {
  Asked asked;
  if (const auto end = std::find(words->begin(), words->end(), "--"); end != words->end()) {
    const std::vector<std::string> behind(end + 1, words->end());
    if (behind.empty() || behind.size() > 2 || behind[0].empty())
      misuse(
          "behind -- stand a variable and, if you like, one of its elements, as in:\n"
          "  zor why tools/weaver -- PATH /usr/bin");
    asked.variable = behind[0];
    if (behind.size() > 1) asked.element = behind[1];
    words->erase(end, words->end());
    return asked;
  }
  const auto names_by_option = [](const std::string& word) { return word.starts_with("-p"); };
  if (std::any_of(words->begin(), words->end(), names_by_option)) return asked;
  const std::vector<std::size_t> free = free_words(*words);
  const auto is_variable = [&](std::size_t i) {
    const std::string& before = (*words)[free[i] - 1];
    return looks_like_variable((*words)[free[i]]) && before != "//" && before != "--and" &&
           !before.starts_with("-A");
  };
  const std::size_t count = free.size();
  const auto take = [&](std::size_t i) {
    std::string word = std::move((*words)[free[i]]);
    words->erase(words->begin() + static_cast<std::ptrdiff_t>(free[i]));
    return word;
  };
  if (count > 2 && is_variable(count - 2)) {
    asked.element = take(count - 1);
    asked.variable = take(count - 2);
  } else if (count > 1 && is_variable(count - 1)) {
    asked.variable = take(count - 1);
  }
  return asked;
}

// ---- Choices ----

struct NamedChoice {
  ChoiceReason reason;
  std::size_t group;
  const NamedQuery* named;
  std::vector<CatalogueVersion> versions;
};

struct PartChoice {
  PartReason reason;
  std::vector<CatalogueVersion> versions;
};

struct AllChoices {
  std::vector<NamedChoice> named;
  std::vector<PartChoice> parts;
};

std::vector<CatalogueVersion> versions_of(const std::string& root, const ProductName& name) {
  for (CatalogueProduct& product : read_catalogue(root, name.category + '/' + name.name).products)
    if (product.category == name.category && product.name == name.name)
      return std::move(product.versions);
  return {};
}

AllChoices choices_of(const Request& request, const Environment& base) {
  Choices choices = choices_of(request.question(), base);
  const std::string& root = choices.answer.root;
  if (!choices.answer.done) throw Error(explained(request, base, choices.answer));
  AllChoices all;
  for (std::size_t i = 0; i < choices.named.size(); ++i)
    for (ChoiceReason& reason : choices.named[i]) {
      const NamedQuery* named = &request.groups[i][static_cast<std::size_t>(reason.query)];
      std::vector<CatalogueVersion> versions = versions_of(root, reason.product);
      all.named.push_back({std::move(reason), i, named, std::move(versions)});
    }
  for (PartReason& reason : choices.parts) {
    std::vector<CatalogueVersion> versions;
    try {
      versions = versions_of(root, reason.product);
    } catch (const Error&) {
      // Of a part that is not there the directory may be missing as well.
    }
    all.parts.push_back({std::move(reason), std::move(versions)});
  }
  return all;
}

// Whether the version comes from the settings, and not from the user's word.
bool is_default_version(const NamedChoice& choice, const Request& request) {
  const ProductName& asked = choice.named->query.product;
  if (choice.named->exact || !request.config) return false;
  return request.config->versions.contains(asked.category + '/' + asked.name) &&
         choice.named->word.find('/' + asked.version) == std::string::npos;
}

// The revisions of a product besides one, as words behind a statement on that one.
std::string others_text(const std::vector<CatalogueVersion>& versions, const ProductName& taken) {
  std::vector<std::string> others;
  for (const CatalogueVersion& version : versions)
    for (const std::string& rev : version.revs)
      if (version.version != taken.version || rev != taken.rev)
        others.push_back(version.version + '/' + rev);
  return others.empty() ? "there is no other" : "there are also " + joined(others, " ");
}

std::string version_text(const NamedChoice& choice, const Request& request) {
  const ProductName& asked = choice.named->query.product;
  const ProductName& taken = choice.reason.product;
  const char* const why = is_default_version(choice, request) ? "the default of the settings"
                          : asked.version == "+"              ? "the latest version"
                          : asked.rev == "+"                  ? "asked for, in its latest revision"
                                                              : "asked for";
  return fmt::format("  {}/{} is {}; {}\n", taken.version, taken.rev, why,
                     others_text(choice.versions, taken));
}

std::string variety_text(const VarietyReason& reason) {
  const Variety& variety = reason.variety;
  std::string text = variety.name.empty() ? "the variety" : "the variety " + variety.name;
  if (!variety.variables.empty()) text += " [" + bindings_text(variety.variables) + ']';
  text += variety.chosen ? " is taken" : " is not taken:";
  if (!reason.failed.empty())
    text += fmt::format(" it does not meet {}", bindings_text(reason.failed));
  else if (reason.other_host)
    text += fmt::format(" it is not for this host, {}", host_platform_name());
  if (!variety.complete)
    text += fmt::format("{} its segment for {} is not here",
                        variety.chosen ? ", but gives no settings:" : ", and",
                        joined(reason.missing, ", for "));
  return "  " + text + '\n';
}

std::string varieties_text(const std::vector<VarietyReason>& varieties) {
  std::string text;
  for (const VarietyReason& variety : varieties)
    text += variety_text(variety);
  return text.empty() ? "  it has no varieties, so it has no settings\n" : text;
}

std::string text_of(const NamedChoice& choice, const Request& request) {
  return fmt::format("{}, named as {}\n", choice.reason.product.path(), word_text(*choice.named)) +
         version_text(choice, request) + varieties_text(choice.reason.varieties);
}

std::string conditions_text(const PartReason& reason) {
  std::vector<std::string> alternatives;
  for (const std::vector<Binding>& conditions : reason.conditions)
    if (!conditions.empty()) alternatives.push_back(bindings_text(conditions));
  return alternatives.empty() ? "" : "  asked for with " + joined(alternatives, ", or ") + '\n';
}

std::string text_of(const PartChoice& choice) {
  const PartReason& reason = choice.reason;
  std::string text;
  for (const PartReason::Includer& includer : reason.includers)
    text += fmt::format(
        "{} a part of {} ({}:{}:{})\n", text.empty() ? reason.product.path() + "," : "  and",
        includer.product.path(), includer.place.file, includer.place.line, includer.place.column);
  text += conditions_text(reason);
  if (reason.presence == Presence::kUnreadable)
    return text + "  its data files can't be read; zor check tells why\n";
  if (reason.presence == Presence::kMissing)
    return text + fmt::format("  {} does not exist and is passed over{}; {}\n",
                              reason.product.version + '/' + reason.product.rev,
                              reason.optional ? ", as it may be missing" : "",
                              others_text(choice.versions, reason.product));
  return text +
         fmt::format("  {}/{} is what the part list names; {}\n", reason.product.version,
                     reason.product.rev, others_text(choice.versions, reason.product)) +
         varieties_text(reason.varieties);
}

std::string text_of(const AllChoices& choices, const Request& request) {
  std::string text;
  for (const NamedChoice& choice : choices.named)
    text += text_of(choice, request);
  for (const PartChoice& choice : choices.parts)
    text += text_of(choice);
  return text;
}

// ---- Variables ----

// The steps that a variable has gone through: the old recipes, then group by group.
struct Story {
  std::string name;
  std::vector<const VariableReason*> steps;
  std::optional<std::string> base;  // its value before all of them
};

// What becomes of one element.
struct Fate {
  std::string value;
  bool is_there = false;   // in the end
  bool was_there = false;  // in the beginning
};

// Those that are there in the end in their order, then the others.
std::vector<Fate> fates_of(const Story& story, const ReasonIndex& index) {
  std::vector<Fate> fates;
  std::unordered_set<std::string_view> known;
  const auto add = [&](const ElementReason& element, bool is_there) {
    if (!known.insert(element.value).second) return;
    const ElementReason* at_first = index.find(*story.steps.front(), element.value);
    fates.push_back({element.value, is_there, at_first && at_first->was_there});
  };
  for (const ElementReason& element : story.steps.back()->elements)
    if (element.position >= 0) add(element, true);
  for (const VariableReason* step : story.steps)
    for (const ElementReason& element : step->elements)
      add(element, false);
  return fates;
}

class StoryText {
 public:
  StoryText(const Account& account, const ReasonIndex& index, const Request& request)
      : account_(account), index_(index), request_(request) {}

  std::string of(const Story& story, const std::optional<std::string>& only) const {
    std::string text = story.name + '\n';
    if (story.steps.empty()) return text + untouched(story, only);
    bool told = false;
    for (const Fate& fate : fates_of(story, index_)) {
      if (only && fate.value != *only) continue;
      text += of(story, fate);
      told = true;
    }
    if (only && !told)
      text += fmt::format("  {} is not there: nothing inserts it, and it was not there before\n",
                          *only);
    if (!only && !told) text += without_elements(story);
    return text;
  }

 private:
  static std::string untouched(const Story& story, const std::optional<std::string>& only) {
    const char* const set = story.base ? "it was set before" : "it is not set";
    if (!only) return fmt::format("  nothing in this request touches it; {}\n", set);
    return fmt::format("  nothing in this request touches {}; {}\n", story.name, set);
  }

  // Operations touch a variable also where they leave no element, and find none.
  std::string without_elements(const Story& story) const {
    const VariableReason& last = *story.steps.back();
    std::string text = last.after ? "  it is set and empty\n" : "  it is not set\n";
    for (const VariableReason* step : story.steps)
      for (const int operation : step->operations)
        text += with_chain("touched by", operation);
    return text;
  }

  std::string of(const Story& story, const Fate& fate) const {
    std::string text =
        fmt::format("  {}{}\n", fate.value, fate.is_there ? "" : ", which is not there");
    if (fate.was_there) text += "    was there before\n";
    for (const VariableReason* step : story.steps)
      if (const ElementReason* element = index_.find(*step, fate.value)) text += of(*element);
    return text;
  }

  std::string of(const ElementReason& element) const {
    std::string text, removes;
    for (const int insert : element.inserts)
      text += with_chain("inserted by", insert);
    for (const int remove : element.removes)
      removes += with_chain("removed by", remove);
    // What an old recipe has taken away another one may put back.
    text = element.position >= 0 ? removes + text : text + removes;
    for (const auto& [loser, winner] : element.overruled)
      text += fmt::format("    {} {}\n{}      gives way to {} {}\n", what(loser),
                          operation_text(account_, loser),
                          chain_text(account_, request_, loser, "      "), what(winner),
                          operation_text(account_, winner));
    if (element.placed_by)
      text += fmt::format("    in front of {}: {}\n", element.placed_by->second,
                          constraint_text(account_, *element.placed_by));
    return text;
  }

  std::string with_chain(const char* verb, int operation) const {
    return fmt::format("    {} {}\n{}", verb, operation_text(account_, operation),
                       chain_text(account_, request_, operation, "      "));
  }

  std::string what(int operation) const {
    const AppliedOperation& one = account_.operations[static_cast<std::size_t>(operation)];
    switch (one.kind) {
      case OperationKind::kInsert:
        return "the insert of";
      case OperationKind::kRemove:
        return "the remove of";
      case OperationKind::kDelete:
        return "the delete of";
      case OperationKind::kRecipe:
        break;
    }
    return fmt::format("the {} of", one.word);
  }

  const Account& account_;
  const ReasonIndex& index_;
  const Request& request_;
};

// One for the variable that is asked for, or one for each that there are reasons for.
std::vector<Story> stories_of(const Account& account, const ReasonIndex& index,
                              const std::string& variable, const Environment& base) {
  std::set<std::string> names;
  if (!variable.empty()) names.insert(variable);
  for (const VariableReason& reason : account.variables)
    names.insert(reason.name);
  const Values values(base);
  std::vector<Story> stories;
  for (const std::string& name : names) {
    stories.push_back({name, index.steps(name), {}});
    if (const auto value = values.find(name)) stories.back().base = std::string(*value);
  }
  return stories;
}

// ---- JSON ----

Json index_or_null(int index) {
  return index < 0 ? Json(nullptr) : Json(index);
}

Json json_of(const Location& place) {
  return {{"file", json_text(place.file)}, {"line", place.line}, {"column", place.column}};
}

Json json_of(const Station& station, const Request& request) {
  Json word = nullptr;
  if (station.query >= 0)
    word = json_text(request
                         .groups[static_cast<std::size_t>(station.group)]
                                [static_cast<std::size_t>(station.query)]
                         .word);
  return {{"product", json_product(station.product)},
          {"variety", json_text(station.variety)},
          {"variables", json_bindings(station.variables)},
          {"group", station.group},
          {"word", word},
          {"includer", index_or_null(station.includer)},
          {"part", station.includer < 0 ? Json(nullptr) : json_of(station.part)}};
}

Json json_of(const AppliedOperation& operation) {
  return {{"kind", word_for(operation.kind)},
          {"word", json_text(operation.word)},
          {"group", index_or_null(operation.group)},
          {"station", operation.station},
          {"place", json_of(operation.place)},
          {"variable", json_text(operation.variable)},
          {"separator", json_text(operation.separator)},
          {"values", json_texts(operation.values)},
          {"before", json_texts(operation.before)},
          {"after", json_texts(operation.after)}};
}

Json json_of(const ElementReason& element) {
  Json overruled = Json::array();
  for (const auto& [loser, winner] : element.overruled)
    overruled.push_back({{"loser", loser}, {"winner", winner}});
  Json placed_by = nullptr;
  if (element.placed_by)
    placed_by = {{"first", json_text(element.placed_by->first)},
                 {"second", json_text(element.placed_by->second)},
                 {"operation", element.placed_by->operation}};
  return {{"value", json_text(element.value)},
          {"position", index_or_null(element.position)},
          {"was_there", element.was_there},
          {"inserts", element.inserts},
          {"removes", element.removes},
          {"overruled", overruled},
          {"placed_by", placed_by}};
}

Json json_of(const Story& story, const std::optional<std::string>& only) {
  Json steps = Json::array();
  for (const VariableReason* step : story.steps) {
    Json elements = Json::array();
    for (const ElementReason& element : step->elements)
      if (!only || element.value == *only) elements.push_back(json_of(element));
    steps.push_back({{"group", index_or_null(step->group)},
                     {"separator", json_text(step->separator)},
                     {"before", json_text_or_null(step->before)},
                     {"after", json_text_or_null(step->after)},
                     {"operations", step->operations},
                     {"elements", elements}});
  }
  return {
      {"name", json_text(story.name)}, {"base", json_text_or_null(story.base)}, {"steps", steps}};
}

Json json_of(const CatalogueVersion& version) {
  return {{"version", json_text(version.version)}, {"revs", json_texts(version.revs)}};
}

Json json_of(const VarietyReason& reason) {
  return {{"name", json_text(reason.variety.name)},
          {"variables", json_bindings(reason.variety.variables)},
          {"chosen", reason.variety.chosen},
          {"complete", reason.variety.complete},
          {"failed", json_bindings(reason.failed)},
          {"other_host", reason.other_host},
          {"missing", json_texts(reason.missing)}};
}

Json json_of(const PartReason::Includer& includer) {
  return {{"product", json_product(includer.product)},
          {"variety", json_text(includer.variety)},
          {"place", json_of(includer.place)}};
}

template <typename T, typename... More>
Json list_of(const std::vector<T>& all, const More&... more) {
  Json list = Json::array();
  for (const T& each : all)
    list.push_back(json_of(each, more...));
  return list;
}

Json json_of(const NamedChoice& choice) {
  return {{"group", choice.group},
          {"word", json_text(choice.named->word)},
          {"asked", json_product(choice.named->query.product)},
          {"product", json_product(choice.reason.product)},
          {"versions", list_of(choice.versions)},
          {"varieties", list_of(choice.reason.varieties)}};
}

Json json_of(const PartChoice& choice) {
  const PartReason& reason = choice.reason;
  Json conditions = Json::array();
  for (const std::vector<Binding>& alternative : reason.conditions)
    conditions.push_back(json_bindings(alternative));
  return {{"group", reason.group},
          {"product", json_product(reason.product)},
          {"presence", word_for(reason.presence)},
          {"optional", reason.optional},
          {"conditions", conditions},
          {"included_by", list_of(reason.includers)},
          {"versions", list_of(choice.versions)},
          {"varieties", list_of(reason.varieties)}};
}

std::string document(const std::string& root, const AllChoices& choices, const Json& variables,
                     const Account& account, const Request& request) {
  return printed({{"version", 1},
                  {"root", json_text(root)},
                  {"choices", list_of(choices.named)},
                  {"parts", list_of(choices.parts)},
                  {"variables", variables},
                  {"operations", list_of(account.operations)},
                  {"stations", list_of(account.stations, request)}});
}

// What is loaded in the shell, if the words name nothing.
Request request_or_session(Request request, Environment* base) {
  if (!request.empty()) return request;
  const Session session = read_session(*base);
  if (session.contents.groups.empty())
    misuse("say which product, as in: zor why tools/weaver PATH");
  *base = base_of(session, *base);
  Request loaded = request_of(session.contents, session.root);
  loaded.config = request.config;
  return loaded;
}

}  // namespace

int run_why(Context* context) {
  CommandLine line("why",
                   "Tell why a variable is as it is: REQUEST VARIABLE [ELEMENT], the variable in "
                   "capital letters, or REQUEST -- VARIABLE [ELEMENT]. REQUEST alone tells why its "
                   "versions and varieties were taken. Without a request: of what is loaded.",
                   "zor why tools/weaver PATH");
  bool all = false;
  bool json = false;
  line.flag("-a,--all", &all, "all variables that the request touches");
  line.flag("--json", &json, "as JSON");
  const Asked asked = take_asked(&context->words);
  Environment base = context->environment;
  const Request request = request_or_session(line.parse_request(*context), &base);
  if (all && !asked.variable.empty()) misuse("--all takes the place of a variable");
  context->notes += request.notes;
  if (asked.variable.empty() && !all) {
    const AllChoices choices = choices_of(request, base);
    context->out +=
        json ? document(absolute_root(request.root), choices, Json::array(), Account(), request)
             : text_of(choices, request);
    return kDone;
  }
  const Account account = account_of(request.question(), base, asked.variable);
  if (!account.answer.done) throw Error(explained(request, base, account.answer));
  const ReasonIndex index(account);
  const std::vector<Story> stories = stories_of(account, index, asked.variable, base);
  if (json) {
    context->out +=
        document(account.answer.root, {}, list_of(stories, asked.element), account, request);
    return kDone;
  }
  const StoryText text(account, index, request);
  for (const Story& story : stories)
    context->out += text.of(story, asked.element);
  return kDone;
}

}  // namespace zor
