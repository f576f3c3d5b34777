// zor diff: two environments, element by element, with the product behind each.
#include <algorithm>
#include <map>
#include <set>

#include "commands/command.h"
#include "conflict.h"
#include "error.h"
#include "files.h"
#include "lock.h"
#include "reasons.h"
#include "render/json.h"

namespace zor {

namespace {

// ---- The two sides ----

// What is compared: a request, a lock, or the environment as it is.
struct Side {
  std::string title;
  std::optional<Lock> lock;
  std::string root;                    // absolute; empty for the environment as it is
  std::optional<Environment> results;  // absent where a lock does not hold any more
  Account account;
  std::vector<ProductName> products;
};

constexpr std::string_view kWith = "--with";
constexpr std::string_view kLocked = "--locked";
constexpr std::string_view kLockHead = "zor-lock ";

bool is_lock(const std::string& word) {
  try {
    const auto content = content_if_there(word);
    return content && content->starts_with(kLockHead);
  } catch (const Error&) {
    return false;  // a directory, for one
  }
}

// The words of one side, taken apart into what says where and what says which products.
struct SideWords {
  std::vector<std::string> place;     // -r and its value
  std::vector<std::string> products;  // the rest
  std::size_t plain = 0;              // of these, words that are no options
  bool detailed = false;              // products are named as on a line of zorenv
};

SideWords sorted_out(std::vector<std::string>::const_iterator begin,
                     std::vector<std::string>::const_iterator end) {
  SideWords words;
  for (auto word = begin; word != end; ++word) {
    const bool has_value = word + 1 != end;
    if ((*word == "-r" || *word == "--root") && has_value) {
      words.place = {*word, *(word + 1)};
      ++word;
    } else if (*word == kLocked && has_value) {
      words.products.insert(words.products.end(), {*word, *(word + 1)});
      ++word;
      words.detailed = true;
    } else {
      words.detailed = words.detailed || word->starts_with("-p");
      words.plain += word->starts_with('-') ? 0 : 1;
      words.products.push_back(*word);
    }
  }
  return words;
}

// The platform of a lock counts as the host's.
void compute_side(const Request& request, const std::string& platform, const Environment& base,
                  Side* side) {
  Question question = request.question();
  question.platform = platform;
  side->account = account_of(question, base);
  if (!side->account.answer.done) throw Error(explained(request, base, side->account.answer));
  side->root = side->account.answer.root;
  side->results = side->account.answer.environment;
  if (!side->lock) side->products = side->account.answer.products;
}

Request request_of(const Lock& lock, const std::string& root) {
  Request request;
  request.root = root;
  request.undo = lock.undo;
  for (const auto& group : lock.groups) {
    request.groups.emplace_back();
    for (const LockedProduct& product : group)
      request.groups.back().push_back({product.query, product.query.product.path(), false});
  }
  return request;
}

Side lock_side(const std::string& path, const std::string& root, Context* context) {
  Side side;
  side.title = path;
  side.lock = read_lock(content_of(path), path);
  side.products = side.lock->loaded;
  const std::string place = absolute_root(root.empty() ? side.lock->root : root);
  side.root = place;
  context->notes += remark_on_host(*side.lock, path);
  const std::vector<std::string> changes = changes_since(*side.lock, place);
  if (changes.empty()) {
    compute_side(request_of(*side.lock, place), side.lock->platform, context->environment, &side);
    return side;
  }
  context->notes += fmt::format(
      "zor: {} does not hold any more in {}, so its environment can't be computed:\n", path, place);
  for (const std::string& line : changes)
    context->notes += "zor:   " + line + '\n';
  return side;
}

// The words without those that do not say what is compared.
std::string title_of(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words)
    if (word != "--json" && word != "--current") text += (text.empty() ? "" : " ") + word;
  return text;
}

struct Options {
  bool json = false;
  bool current = false;
};

// One side of the command line.
Side side_of(const SideWords& words, Options* options, Context* context) {
  CommandLine line("diff",
                   "Compare two environments element by element: those of two requests, of two "
                   "locks, of one request in two warehouses, or the present one and that of a "
                   "request. The status is 0 if they are alike, 1 if not, 2 on trouble.",
                   "zor diff tools/weaver/1.9 --with tools/weaver");
  std::string locked;
  line.option("--locked", &locked, "the lock in this file, in place of a request");
  line.flag("--current", &options->current, "compare the present environment with the request");
  line.flag("--json", &options->json, "as JSON");
  // For the help alone: it parts the sides before they are read.
  std::string with;
  line.option("--with", &with, "behind it stands the second request");
  Context one = *context;
  one.words = words.place;
  std::vector<std::string> products = words.products;
  if (!words.detailed && words.plain == 1) {
    const auto word = std::find_if(products.begin(), products.end(),
                                   [](const std::string& each) { return !each.starts_with('-'); });
    if (is_lock(*word)) products.insert(word, std::string(kLocked));
  }
  one.words.insert(one.words.end(), products.begin(), products.end());
  const Request request = line.parse_request(one);
  if (!locked.empty()) {
    if (!request.empty()) misuse("a lock takes the place of a request, so name no product with it");
    return lock_side(locked, words.place.empty() ? "" : request.root, context);
  }
  context->notes += request.notes;
  if (request.empty())
    misuse("say which two requests, as in: zor diff tools/weaver/1.9 --with tools/weaver");
  Side side;
  side.title = title_of(one.words);
  compute_side(request, "", context->environment, &side);
  for (const std::string& text : silent_choices(request, side.account.answer))
    context->notes += "zor: " + text + '\n';
  return side;
}

Side present_side(const Context& context) {
  Side side;
  side.title = "the present environment";
  side.results = context.environment;
  return side;
}

// Both sides, in the four forms that there are.
std::pair<Side, Side> sides_of(Options* options, Context* context) {
  const std::vector<std::string>& all = context->words;
  const auto with = std::find(all.begin(), all.end(), kWith);
  SideWords first = sorted_out(all.begin(), with);
  if (with != all.end()) {
    SideWords second = sorted_out(with + 1, all.end());
    // What the second request leaves out is as in the first one.
    if (second.plain == 0 && !second.detailed)
      second.products.insert(second.products.begin(), first.products.begin(), first.products.end()),
          second.plain = first.plain, second.detailed = first.detailed;
    if (second.place.empty()) second.place = first.place;
    Side one = side_of(first, options, context);
    return {std::move(one), side_of(second, options, context)};
  }
  const bool current = std::find(all.begin(), all.end(), "--current") != all.end();
  if (!current && !first.detailed && first.plain == 2) {
    SideWords second = first;
    const auto is_plain = [](const std::string& word) { return !word.starts_with('-'); };
    const auto take = [&](SideWords* words, bool last) {
      auto word = std::find_if(words->products.begin(), words->products.end(), is_plain);
      if (last) word = std::find_if(word + 1, words->products.end(), is_plain);
      words->products.erase(word);
      words->plain = 1;
    };
    take(&first, true);
    take(&second, false);
    Side one = side_of(first, options, context);
    return {std::move(one), side_of(second, options, context)};
  }
  Side side = side_of(first, options, context);
  std::size_t named = 0;
  for (const auto& group : side.account.answer.taken)
    named += group.size();
  if (!options->current && !side.lock && named > 1)
    misuse(
        "say where the second request begins, by --with, or that all of it is one to be compared "
        "with the present environment, by --current");
  return {present_side(*context), std::move(side)};
}

// ---- What differs ----

enum class Change { kKept, kRemoved, kAdded, kMoved };

struct Origin {
  bool is_known = false;
  Location place;  // of the operation that put it there
};

struct ElementDifference {
  std::string value;
  Change change = Change::kKept;
  Origin first, second;
};

struct VariableDifference {
  std::string name;
  std::string separator;
  std::optional<std::string> before, after;
  std::vector<ElementDifference> elements;
};

struct FileDifference {
  std::string path;
  const char* word;
};

struct Difference {
  bool is_computed = true;  // both environments could be
  std::vector<std::pair<ProductName, Change>> products;
  std::vector<FileDifference> files;
  std::vector<VariableDifference> variables;

  bool empty() const { return products.empty() && files.empty() && variables.empty(); }
};

// A side by its variables.
struct Look {
  explicit Look(const Side& of) : side(of), values(*of.results), reasons(of.account) {}

  std::optional<std::string> value(const std::string& variable) const {
    const auto found = values.find(variable);
    return found ? std::optional(std::string(*found)) : std::nullopt;
  }
  std::string separator(const std::string& variable) const {
    for (const VariableReason* step : reasons.steps(variable))
      if (!step->separator.empty()) return step->separator;
    return {};
  }

  const Side& side;
  const Values values;
  const ReasonIndex reasons;
};

// Where the roots differ, the same place in both warehouses is the same.
std::string without_root(std::string text, const Side& side, const Side& other) {
  if (side.root.empty() || other.root.empty() || side.root == other.root) return text;
  for (std::size_t at = 0; (at = text.find(side.root, at)) != std::string::npos;) {
    const std::size_t end = at + side.root.size();
    if (end < text.size() && text[end] != '/') {
      at = end;
      continue;
    }
    text.replace(at, side.root.size(), "%(BASE-DIRECTORY)");
  }
  return text;
}

std::vector<std::string> elements_of(const std::optional<std::string>& value,
                                     const std::string& separator) {
  std::vector<std::string> elements;
  if (!value) return elements;
  for (std::size_t start = 0; start <= value->size();) {
    const std::size_t end = std::min(value->find(separator, start), value->size());
    elements.push_back(value->substr(start, end - start));
    start = end + separator.size();
  }
  return elements;
}

// The operation of the last group that put the element there; none if it was there before all.
Origin origin_of(const Look& look, const std::vector<const VariableReason*>& steps,
                 const std::string& element) {
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
    const ElementReason* found = look.reasons.find(**step, element);
    if (!found || found->position < 0) continue;
    const std::vector<AppliedOperation>& operations = look.side.account.operations;
    if (!found->inserts.empty() && !found->was_there)
      return {true, operations[static_cast<std::size_t>(found->inserts.front())].place};
  }
  return {};
}

// For each element of the second list its place in the first, -1 for none; the n-th of several
// alike belongs to the n-th.
std::vector<int> places_in(const std::vector<std::string>& first,
                           const std::vector<std::string>& second) {
  std::map<std::pair<std::string, int>, int> known;
  std::map<std::string, int> count;
  for (std::size_t i = 0; i < first.size(); ++i)
    known[{first[i], count[first[i]]++}] = static_cast<int>(i);
  count.clear();
  std::vector<int> places;
  for (const std::string& element : second) {
    const auto found = known.find({element, count[element]++});
    places.push_back(found == known.end() ? -1 : found->second);
  }
  return places;
}

// Which of them stand in a longest row of rising places, and so have kept their order.
std::vector<bool> in_order(const std::vector<int>& places) {
  std::vector<std::size_t> tails;  // of the best row of each length its last index
  std::vector<std::size_t> before(places.size(), places.size());
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (places[i] < 0) continue;
    const auto at =
        std::lower_bound(tails.begin(), tails.end(), places[i],
                         [&](std::size_t tail, int place) { return places[tail] < place; });
    if (at != tails.begin()) before[i] = *(at - 1);
    if (at == tails.end())
      tails.push_back(i);
    else
      *at = i;
  }
  std::vector<bool> kept(places.size());
  for (std::size_t i = tails.empty() ? places.size() : tails.back(); i < places.size();
       i = before[i])
    kept[i] = true;
  return kept;
}

// The elements of both values: in the order of the second, each removed one where it was.
std::vector<ElementDifference> compare(const std::vector<std::string>& first,
                                       const std::vector<std::string>& second) {
  const std::vector<int> places = places_in(first, second);
  const std::vector<bool> kept = in_order(places);
  std::set<int> still_there(places.begin(), places.end());
  std::vector<ElementDifference> all;
  std::size_t at = 0;  // in the first
  const auto add_removed = [&](std::size_t end) {
    for (; at < end; ++at)
      if (!still_there.contains(static_cast<int>(at)))
        all.push_back({first[at], Change::kRemoved, {}, {}});
  };
  // What is gone stands in front of what has come in its place.
  std::vector<std::size_t> next_kept(second.size() + 1, first.size());
  for (std::size_t i = second.size(); i-- > 0;)
    next_kept[i] = kept[i] ? static_cast<std::size_t>(places[i]) : next_kept[i + 1];
  for (std::size_t i = 0; i < second.size(); ++i) {
    add_removed(next_kept[i]);
    all.push_back({second[i],
                   places[i] < 0 ? Change::kAdded
                   : kept[i]     ? Change::kKept
                                 : Change::kMoved,
                   {},
                   {}});
  }
  add_removed(first.size());
  return all;
}

VariableDifference compare_variable(const std::string& name, const Look& one, const Look& two) {
  VariableDifference result;
  result.name = name;
  result.before = one.value(name);
  result.after = two.value(name);
  std::string separators[] = {one.separator(name), two.separator(name)};
  if (separators[0].empty()) separators[0] = separators[1];
  if (separators[1].empty()) separators[1] = separators[0];
  for (std::string& separator : separators)
    if (separator.empty()) separator = ":";
  result.separator = separators[1];
  const std::vector<std::string> first = elements_of(result.before, separators[0]);
  const std::vector<std::string> second = elements_of(result.after, separators[1]);
  std::vector<std::string> shown[2];
  std::map<std::string, std::string> real[2];
  for (const std::string& element : first)
    real[0][shown[0].emplace_back(without_root(element, one.side, two.side))] = element;
  for (const std::string& element : second)
    real[1][shown[1].emplace_back(without_root(element, two.side, one.side))] = element;
  result.elements = compare(shown[0], shown[1]);
  const auto first_steps = one.reasons.steps(name);
  const auto second_steps = two.reasons.steps(name);
  for (ElementDifference& element : result.elements) {
    if (element.change != Change::kAdded)
      element.first = origin_of(one, first_steps, real[0][element.value]);
    if (element.change != Change::kRemoved)
      element.second = origin_of(two, second_steps, real[1][element.value]);
  }
  return result;
}

bool are_alike(const VariableDifference& variable) {
  return variable.before.has_value() == variable.after.has_value() &&
         std::all_of(
             variable.elements.begin(), variable.elements.end(),
             [](const ElementDifference& element) { return element.change == Change::kKept; });
}

std::vector<FileDifference> compare_files(const Lock& one, const Lock& two) {
  std::map<std::string, std::string> digests;
  for (const LockedFile& file : one.files)
    if (!file.digest.empty()) digests[file.path] = file.digest;
  std::vector<FileDifference> files;
  for (const LockedFile& file : two.files) {
    if (file.digest.empty()) continue;
    const auto known = digests.find(file.path);
    if (known == digests.end()) {
      files.push_back({file.path, "added"});
      continue;
    }
    if (known->second != file.digest) files.push_back({file.path, "changed"});
    digests.erase(known);
  }
  for (const auto& [path, digest] : digests)
    files.push_back({path, "removed"});
  std::sort(files.begin(), files.end(),
            [](const FileDifference& a, const FileDifference& b) { return a.path < b.path; });
  return files;
}

Difference compare(const Side& one, const Side& two) {
  Difference all;
  // The same pins lead to the same environment, also where it can't be computed any more.
  if (one.lock && one.lock == two.lock) return all;
  // The present environment comes from products that nobody knows.
  if (!one.root.empty() && !two.root.empty()) {
    const std::set<ProductName> first(one.products.begin(), one.products.end());
    const std::set<ProductName> second(two.products.begin(), two.products.end());
    std::set<ProductName> both = first;
    both.insert(second.begin(), second.end());
    for (const ProductName& product : both)
      if (first.contains(product) != second.contains(product))
        all.products.emplace_back(product,
                                  first.contains(product) ? Change::kRemoved : Change::kAdded);
  }
  if (one.lock && two.lock) all.files = compare_files(*one.lock, *two.lock);
  all.is_computed = one.results && two.results;
  if (!all.is_computed) return all;
  const Look first(one), second(two);
  for (const auto& change : difference(*one.results, *two.results)) {
    VariableDifference variable = compare_variable(change.name, first, second);
    if (!are_alike(variable)) all.variables.push_back(std::move(variable));
  }
  return all;
}

// ---- Output ----

std::string shown(const Origin& origin, const Side& side) {
  if (!origin.is_known) return {};
  const std::string above = side.root + '/';
  const std::string& file = origin.place.file;
  return fmt::format("  {}:{}:{}", file.starts_with(above) ? file.substr(above.size()) : file,
                     origin.place.line, origin.place.column);
}

std::string text_of(const VariableDifference& variable, const Side& one, const Side& two) {
  std::string text = variable.name;
  if (!variable.before) text += " (was not set)";
  if (!variable.after) text += " (is not set)";
  text += ":\n";
  for (const ElementDifference& element : variable.elements) {
    const std::string value = element.value.empty() ? "(empty)" : element.value;
    if (element.change == Change::kRemoved)
      text += fmt::format("  - {}{}\n", value, shown(element.first, one));
    if (element.change == Change::kAdded)
      text += fmt::format("  + {}{}\n", value, shown(element.second, two));
    if (element.change == Change::kMoved)
      text += fmt::format("  ~ {}{} (moved)\n", value, shown(element.second, two));
  }
  return text;
}

std::string text_of(const Difference& all, const Side& one, const Side& two) {
  std::string text = fmt::format("--- {}\n+++ {}\n", one.title, two.title);
  if (!all.products.empty()) text += "Products:\n";
  for (const auto& [product, change] : all.products)
    text += fmt::format("  {} {}\n", change == Change::kRemoved ? '-' : '+', product.path());
  if (!all.files.empty()) text += "Data files:\n";
  for (const FileDifference& file : all.files)
    text += fmt::format("  {} {}\n", file.word, file.path);
  for (const VariableDifference& variable : all.variables)
    text += text_of(variable, one, two);
  return text;
}

const char* word_for(Change change) {
  switch (change) {
    case Change::kRemoved:
      return "removed";
    case Change::kAdded:
      return "added";
    case Change::kMoved:
      return "moved";
    case Change::kKept:
      break;
  }
  return "kept";
}

Json json_of(const Origin& origin) {
  if (!origin.is_known) return nullptr;
  return {{"product", json_product(origin.place.product)},
          {"file", json_text(origin.place.file)},
          {"line", origin.place.line},
          {"column", origin.place.column}};
}

Json json_of(const VariableDifference& variable) {
  Json elements = Json::array();
  for (const ElementDifference& element : variable.elements)
    elements.push_back({{"value", json_text(element.value)},
                        {"change", word_for(element.change)},
                        {"first", json_of(element.first)},
                        {"second", json_of(element.second)}});
  return {{"name", json_text(variable.name)},
          {"separator", json_text(variable.separator)},
          {"first", json_text_or_null(variable.before)},
          {"second", json_text_or_null(variable.after)},
          {"elements", elements}};
}

Json json_of(const Side& side) {
  return {{"title", json_text(side.title)},
          {"root", side.root.empty() ? Json(nullptr) : json_text(side.root)}};
}

Json document_of(const Difference& all, const Side& one, const Side& two) {
  Json products = Json::array();
  for (const auto& [product, change] : all.products)
    products.push_back({{"product", json_product(product)}, {"change", word_for(change)}});
  Json files = Json::array();
  for (const FileDifference& file : all.files)
    files.push_back({{"path", json_text(file.path)}, {"change", file.word}});
  Json variables = Json::array();
  for (const VariableDifference& variable : all.variables)
    variables.push_back(json_of(variable));
  return {{"version", 1},         {"first", json_of(one)},       {"second", json_of(two)},
          {"alike", all.empty()}, {"computed", all.is_computed}, {"products", products},
          {"files", files},       {"variables", variables}};
}

}  // namespace

int run_diff(Context* context) {
  Options options;
  try {
    const auto [one, two] = sides_of(&options, context);
    const Difference all = compare(one, two);
    // Where nothing else differs, it stays open whether the environments do.
    if (all.empty() && !all.is_computed)
      throw Error("the two locks are alike, but the files that they name are not what they were");
    if (options.json)
      context->out += printed(document_of(all, one, two));
    else if (!all.empty())
      context->out += text_of(all, one, two);
    context->keeps_out = true;
    return all.empty() ? kDone : kNotDone;
  } catch (const Error& error) {
    // A status of 1 means that they differ.
    throw Error(error.what(), kTrouble);
  }
}

}  // namespace zor
