#include "request.h"

#include <algorithm>
#include <set>

#include "catalogue.h"
#include "diagnosis.h"
#include "error.h"
#include "files.h"
#include "formats/format.h"
#include "lock.h"
#include "words.h"

namespace zor {

namespace {

constexpr std::string_view kLatest = "+";

// ---- The form of zorenv ----

// A name can't begin with a digit: such a field is a version. Neither is a name left open.
bool is_no_name(std::string_view field) {
  return field == kLatest || (!field.empty() && field[0] >= '0' && field[0] <= '9');
}

class Words {
 public:
  explicit Words(const std::vector<std::string>& words) : words_(words) {}

  bool done() const { return at_ == words_.size(); }
  const std::string& peek() const { return words_[at_]; }
  const std::string& take() { return words_[at_++]; }
  std::size_t left() const { return words_.size() - at_; }
  // Whether the word at a distance is there and does not look like an option.
  bool free(std::size_t distance) const {
    return at_ + distance < words_.size() &&
           (words_[at_ + distance].empty() || words_[at_ + distance][0] != '-');
  }

 private:
  const std::vector<std::string>& words_;
  std::size_t at_ = 0;
};

// Behind -p: category [name] [version] [rev]
NamedQuery take_product(Words* words) {
  if (words->done()) misuse("-p needs a product: -p category [name] [version] [rev]");
  NamedQuery named;
  const std::string category = words->take();
  named.word = category;
  std::vector<std::string> fields;
  const bool four = words->free(0) && words->free(1) && words->free(2);
  // Where the first of three free words is a version, the last does not belong to the product.
  const std::size_t room = four && is_no_name(words->peek()) ? 2 : 3;
  std::string name(kLatest), version(kLatest), rev(kLatest);
  while (fields.size() < room && words->free(0)) {
    fields.push_back(words->take());
    named.word += ' ' + fields.back();
  }
  if (!fields.empty() && is_no_name(fields[0])) {
    version = fields[0];
    if (fields.size() > 1) rev = fields[1];
  } else {
    if (!fields.empty()) name = fields[0];
    if (fields.size() > 1) version = fields[1];
    if (fields.size() > 2) rev = fields[2];
  }
  if (name == kLatest) name = "Contents";
  named.query.product = {category, name, version, rev};
  return named;
}

// ---- Short words ----

// "platform=x,y" and "compiler=gcc" in brackets: an item without "=" goes on with the value before
// it, where a comma means "or".
void take_conditions(const std::string& word, std::string_view inside, Query* query) {
  while (!inside.empty()) {
    const std::size_t comma = std::min(inside.find(','), inside.size());
    const std::string_view item = inside.substr(0, comma);
    const std::size_t equals = item.find('=');
    if (equals == std::string_view::npos) {
      if (query->conditions.empty())
        misuse("{}: a condition is written [name=value], as in tools/weaver[platform=linux-x86]",
               word);
      query->conditions.back().value += ',' + std::string(item);
    } else {
      query->conditions.push_back(
          {std::string(item.substr(0, equals)), std::string(item.substr(equals + 1))});
    }
    inside.remove_prefix(std::min(comma + 1, inside.size()));
  }
}

// Takes the brackets off the end of a word.
std::string without_conditions(const std::string& word, Query* query) {
  const std::size_t bracket = word.find('[');
  if (bracket == std::string::npos) return word;
  std::string_view rest = std::string_view(word).substr(bracket);
  while (!rest.empty()) {
    const std::size_t close = rest.find(']');
    if (rest[0] != '[' || close == std::string_view::npos)
      misuse("{}: a condition is written [name=value], as in tools/weaver[platform=linux-x86]",
             word);
    take_conditions(word, rest.substr(1, close - 1), query);
    rest.remove_prefix(close + 1);
  }
  return word.substr(0, bracket);
}

ProductName reading(const std::vector<std::string>& elements, std::size_t category_length) {
  ProductName product{"", "Contents", std::string(kLatest), std::string(kLatest)};
  product.category =
      joined({elements.begin(), elements.begin() + static_cast<long>(category_length)}, "/");
  std::size_t i = category_length;
  if (i < elements.size() && !is_no_name(elements[i])) product.name = elements[i++];
  if (i < elements.size()) product.version = elements[i++];
  if (i < elements.size()) product.rev = elements[i++];
  return product;
}

// All ways in which the elements name a product that is there.
std::vector<ProductName> readings(const std::vector<std::string>& elements,
                                  const std::string& root) {
  std::set<ProductName> found;
  for (std::size_t length = 1; length <= elements.size(); ++length) {
    const std::size_t rest = elements.size() - length;
    const std::size_t most = rest > 0 && !is_no_name(elements[length]) ? 3 : 2;
    if (rest > most) continue;
    ProductName product = reading(elements, length);
    if (product_exists(root, product)) found.insert(std::move(product));
  }
  return {found.begin(), found.end()};
}

// "name", "name/version", "name/version/rev", where the name alone says which product it is.
std::vector<ProductName> readings_by_name(const std::vector<std::string>& elements,
                                          const Catalogue& catalogue) {
  std::vector<ProductName> found;
  if (elements.size() > 3) return found;
  for (const CatalogueProduct& product : products_named(catalogue, elements[0]))
    found.push_back({product.category, product.name,
                     elements.size() > 1 ? elements[1] : std::string(kLatest),
                     elements.size() > 2 ? elements[2] : std::string(kLatest)});
  return found;
}

// With the name in any case, so that two readings of the same word look different.
std::string path_of(const ProductName& product) {
  std::string path = product.category + '/' + product.name;
  if (product.version != kLatest || product.rev != kLatest) path += '/' + product.version;
  if (product.rev != kLatest) path += '/' + product.rev;
  return path;
}

std::string listed(const std::vector<ProductName>& products) {
  std::vector<std::string> paths;
  paths.reserve(products.size());
  for (const ProductName& product : products)
    paths.push_back("  " + path_of(product));
  return joined(paths, "\n");
}

[[noreturn]] void fail_unknown(const std::string& word, const std::vector<std::string>& elements,
                               const Catalogue& catalogue, const std::string& root) {
  std::vector<std::string> candidates;
  for (const CatalogueProduct& product : catalogue.products) {
    const std::string path = product.category + '/' + product.name;
    if ((joined(elements, "/") + '/').starts_with(path + '/') ||
        (elements.size() > 1 && product.name == elements[0])) {
      std::vector<std::string> versions;
      for (const CatalogueVersion& version : product.versions)
        versions.push_back(version.version);
      fail("{} has no such version or revision: {}\nthere are: {}", path, word,
           joined(versions, " "));
    }
    candidates.push_back(path);
    candidates.push_back(product.name);
  }
  if (root.empty() && catalogue.products.empty()) fail("{}", no_warehouse(root, false));
  const std::vector<std::string> near = nearest(joined(elements, "/"), candidates);
  std::string hint =
      near.empty() ? "zor avail lists what there is" : "did you mean " + joined(near, " or ") + "?";
  fail("there is no product {} in {}\n{}", word, root.empty() ? "." : root, hint);
}

// What stands for the word's first element, in place of it.
std::vector<std::string> without_alias(std::vector<std::string> elements, const Config& config) {
  if (elements.empty()) return elements;
  const auto alias = config.aliases.find(elements[0]);
  if (alias == config.aliases.end()) return elements;
  std::vector<std::string> all = path_elements(alias->second);
  all.insert(all.end(), elements.begin() + 1, elements.end());
  return all;
}

ProductName resolve(const std::string& word, const std::string& path, const std::string& given_root,
                    const Config& config) {
  const std::string root = given_root.empty() ? "." : given_root;
  const std::vector<std::string> elements = without_alias(path_elements(path), config);
  if (elements.empty()) misuse("'{}' names no product", word);
  std::vector<ProductName> found = readings(elements, root);
  if (found.empty()) {
    Catalogue catalogue = read_catalogue(root);
    hide(config, &catalogue);
    found = readings_by_name(elements, catalogue);
    if (found.size() == 1 && !product_exists(root, found[0])) found.clear();
    if (found.empty()) fail_unknown(word, elements, catalogue, given_root);
  }
  if (found.size() > 1) fail("{} may be any of these; say which:\n{}", word, listed(found));
  const bool asks_for_latest =
      std::find(elements.begin(), elements.end(), kLatest) != elements.end();
  return asks_for_latest ? found[0] : with_default_version(config, found[0]);
}

// ---- The whole line ----

class Splitter {
 public:
  // The settings are read if none are given.
  Splitter(const OptionLookup& options, const Environment& environment,
           std::shared_ptr<const Config> config = nullptr)
      : options_(options), environment_(environment) {
    split_.request.config = std::move(config);
    if (const auto root = environment.find("ZORROOT")) split_.request.root = *root;
    split_.request.groups.emplace_back();
  }

  SplitWords split(const std::vector<std::string>& all) {
    Words words(all);
    while (!words.done() && !ended_)
      take(&words);
    while (!words.done())
      split_.request.program.push_back(words.take());
    // Only now is the root known, and with it the settings.
    if (!split_.request.config)
      split_.request.config =
          std::make_shared<Config>(load_config(split_.request.root, environment_));
    std::vector<std::vector<NamedQuery>> groups;
    for (auto& group : split_.request.groups)
      read_short_words(&group, &groups);
    split_.request.groups = std::move(groups);
    return std::move(split_);
  }

 private:
  void take(Words* words) {
    const std::string word = words->take();
    if (word == "--") {
      ended_ = true;
    } else if (word == "//") {
      split_.request.groups.emplace_back();
    } else if (word.empty() || word[0] != '-') {
      take_short(word);
    } else if (!take_request_option(word, words)) {
      take_own(word, words);
    }
  }

  void take_short(const std::string& word) {
    split_.request.groups.back().push_back({{}, word, false});
    conditions_ = nullptr;
  }

  // Appends a group with the queries that short words mean in place of them. One that was saved may
  // bring further groups.
  void read_short_words(std::vector<NamedQuery>* group,
                        std::vector<std::vector<NamedQuery>>* groups) {
    const Config& config = *split_.request.config;
    const std::string& root = split_.request.root;
    groups->emplace_back();
    for (NamedQuery& named : *group) {
      if (named.exact) {
        groups->back().push_back(std::move(named));
      } else if (!named.word.starts_with('@')) {
        groups->back().push_back({read_word(named.word, root, config), named.word, false});
      } else if (!take_saved(named.word, groups)) {
        for (const std::string& word : words_in_set(named.word.substr(1), config))
          groups->back().push_back({read_word(word, root, config), word, false});
      }
    }
  }

  // Whether something was saved under that name. Its products come with the versions that they had;
  // data files that have changed since are told.
  bool take_saved(const std::string& word, std::vector<std::vector<NamedQuery>>* groups) {
    if (user_directory(environment_).empty()) return false;
    const std::string path = saved_path(word.substr(1), environment_);
    const auto text = content_if_there(path);
    if (!text) return false;
    const Lock lock = read_lock(*text, path);
    if (lock.undo) split_.request.undo = true;
    for (std::size_t i = 0; i < lock.groups.size(); ++i) {
      if (i > 0) groups->emplace_back();
      for (const LockedProduct& product : lock.groups[i])
        groups->back().push_back({product.query, word, false});
    }
    if (split_.request.root.empty()) split_.request.root = lock.root;
    for (const std::string& line : changes_since(lock, absolute_root(split_.request.root)))
      split_.request.notes += fmt::format("zor: {}: since it was saved, {}\n", word, line);
    return true;
  }

  static std::vector<std::string> words_in_set(const std::string& name, const Config& config) {
    const auto set = config.sets.find(name);
    if (set != config.sets.end()) return set->second;
    std::vector<std::string> names;
    for (const auto& entry : config.sets)
      names.push_back('@' + entry.first);
    const std::vector<std::string> near = nearest('@' + name, names);
    fail("there is no set @{}{}", name,
         near.empty() ? "" : fmt::format("; did you mean {}?", joined(near, " or ")));
  }

  // Options that the request has in common with zorenv, which knows the short ones by their second
  // character alone. An option of the subcommand's own goes before them, but for a -v, which
  // belongs to the product in front of it.
  bool take_request_option(const std::string& word, Words* words) {
    const bool is_long = word.starts_with("--");
    const std::string key = is_long ? word : word.substr(0, 2);
    if (key == "-v" && conditions_ && words->left() >= 2) {
      const std::string name = words->take();
      if (words->peek().starts_with("--"))
        misuse("-v {0} needs a value, and behind it stands {1}\nas in -v {0} VALUE {1}", name,
               words->peek());
      conditions_->query.conditions.push_back({name, words->take()});
      return true;
    }
    // Elsewhere it may be the subcommand's own.
    if (key == "-v" && conditions_ && words->left() == 1 && words->free(0)) fail_option(word);
    if (options_(word) != OptionForm::kUnknown) return false;
    if (key == "-p") {
      split_.request.groups.back().push_back(take_product(words));
      conditions_ = &split_.request.groups.back().back();
    } else if (key == "-A" || key == "--and") {
      split_.request.groups.emplace_back();
    } else if (key == "-r" || key == "--root") {
      if (words->done()) misuse("{} needs the root of a warehouse", word);
      split_.request.root = words->take();
    } else if (key == "-u" || key == "--undo") {
      split_.request.undo = true;
    } else if (key == "-i" || key == "--ignore-missing") {
      split_.request.ignore_missing = true;
    } else if (key == "-X" || key == "--exec") {
      ended_ = true;
    } else if (key == "--sh" || key == "--csh" || key == "--posh" || key == "--bat") {
      split_.request.dialect = key.substr(2);
    } else if (key == "--proc" || key == "--user" || key == "--system" || key == "-P" ||
               key == "-U" || key == "-S" || key == "-T") {
      // On this platform the first mean the environment of the process, and there are no traces.
    } else {
      return false;
    }
    return true;
  }

  [[noreturn]] void fail_option(const std::string& word) const {
    const bool is_condition = word.starts_with("-v");
    if (is_condition && conditions_)
      misuse("-v needs the name of a variable and a value: -v VARIABLE VALUE");
    if (is_condition)
      misuse(
          "-v stands behind the product whose variety it chooses: -p CATEGORY NAME -v VARIABLE "
          "VALUE");
    const std::string name = word.substr(std::min(word.size(), word.find_first_not_of('-')));
    if (find_format(name))
      misuse("there is no option {0}\nthe dialect {1} is chosen with --format {1}", word, name);
    misuse("there is no option {}", word);
  }

  void take_own(const std::string& word, Words* words) {
    const OptionForm form = options_(word);
    if (form == OptionForm::kUnknown) fail_option(word);
    split_.rest.push_back(word);
    if (form == OptionForm::kTakesValue && !words->done()) split_.rest.push_back(words->take());
  }

  const OptionLookup& options_;
  const Environment& environment_;
  SplitWords split_;
  NamedQuery* conditions_ = nullptr;  // the product that a -v belongs to
  bool ended_ = false;                // the rest is a program and its arguments
};

std::string values_of(const Choice& choice, const std::string& name) {
  std::set<std::string> values;
  for (const Variety& variety : choice.varieties)
    for (const Binding& variable : variety.variables)
      if (variable.name == name) values.insert(variable.value);
  return joined({values.begin(), values.end()}, ", ");
}

// Which variables the varieties have in place of one that none has.
std::string no_variable(const Choice& choice, const std::string& name) {
  std::set<std::string> names;
  for (const Variety& variety : choice.varieties)
    for (const Binding& variable : variety.variables)
      names.insert(variable.name);
  const std::vector<std::string> all(names.begin(), names.end());
  const std::string near = meant(name, all);
  return "none has such a variable" + (all.empty() ? "" : ", they have " + enumerated(all)) +
         (near.empty() ? "" : fmt::format(" (did you mean {}?)", near));
}

std::string why_silent(const Choice& choice, const std::vector<Binding>& conditions) {
  const std::string path = choice.product.path();
  const bool any = std::any_of(choice.varieties.begin(), choice.varieties.end(),
                               [](const Variety& variety) { return variety.chosen; });
  if (any)
    return fmt::format(
        "{}: a segment of each variety that fits is not here, so none of its settings apply "
        "(SEGMENT here=\"1\" in its product.xml says that one is)",
        path);
  if (choice.varieties.empty())
    return fmt::format("{} has no varieties, so it has no settings", path);
  std::string text;
  for (const Binding& condition : conditions) {
    const std::string values = values_of(choice, condition.name);
    text +=
        fmt::format("{}no variety of {} has {}={}; {}", text.empty() ? "" : "\n", path,
                    condition.name, condition.value,
                    values.empty() ? no_variable(choice, condition.name) : "there are " + values);
  }
  if (!text.empty()) return text;
  return fmt::format("no variety of {} is for this host, {}; there are {}", path,
                     host_platform_name(), values_of(choice, "platform"));
}

}  // namespace

bool Request::empty() const {
  return std::all_of(groups.begin(), groups.end(), [](const auto& group) { return group.empty(); });
}

Question Request::question() const {
  Question question;
  question.root = root;
  question.undo = undo;
  question.ignore_missing = ignore_missing;
  question.list_reads = list_reads;
  question.platform = platform;
  for (const auto& group : groups) {
    question.groups.emplace_back();
    for (const NamedQuery& named : group)
      question.groups.back().push_back(named.query);
  }
  return question;
}

SplitWords take_request(const std::vector<std::string>& words, const OptionLookup& options,
                        const Environment& environment) {
  return Splitter(options, environment).split(words);
}

namespace {

// A default request. Where broken ones are to be left out, the faults of its data files count as
// well, before they spoil the others.
Request default_request(const std::string& word, const std::shared_ptr<const Config>& config,
                        const Environment& environment) {
  const OptionLookup no_options = [](const std::string&) { return OptionForm::kUnknown; };
  Request request = Splitter(no_options, environment, config).split({word}).request;
  if (!config->skip_broken_defaults) return request;
  const Answer answer = compute(request.question(), environment);
  if (!answer.done)
    fail("{}", answer.faults.empty() ? "no answer" : first_line(answer.faults[0].text));
  return request;
}

}  // namespace

Request with_defaults(Request request, const Environment& environment) {
  Environment at_root = environment;
  if (!request.root.empty()) at_root.set("ZORROOT", request.root);
  auto& groups = request.groups;
  for (const std::string& word : request.config->defaults) {
    Request one;
    try {
      one = default_request(word, request.config, at_root);
    } catch (const Error& error) {
      if (!request.config->skip_broken_defaults) throw;
      request.notes += fmt::format("zor: {}, a default, is left out: {}\n", word, error.what());
      continue;
    }
    request.notes += one.notes;
    groups.back().insert(groups.back().end(), one.groups[0].begin(), one.groups[0].end());
    groups.insert(groups.end(), one.groups.begin() + 1, one.groups.end());
  }
  return request;
}

Query read_word(const std::string& word, const std::string& root, const Config& config) {
  Query query;
  const std::string path = without_conditions(word, &query);
  query.product = resolve(word, path, root, config);
  return query;
}

std::vector<std::string> silent_choices(const Request& request, const Answer& answer) {
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < answer.groups.size() && i < request.groups.size(); ++i)
    for (const Choice& choice : answer.groups[i]) {
      const bool speaks =
          std::any_of(choice.varieties.begin(), choice.varieties.end(),
                      [](const Variety& variety) { return variety.chosen && variety.complete; });
      if (speaks) continue;
      std::vector<Binding> conditions;
      for (const NamedQuery& named : request.groups[i])
        if (named.query.product.category == choice.product.category &&
            named.query.product.name == choice.product.name)
          conditions = named.query.conditions;
      lines.push_back(why_silent(choice, conditions));
    }
  return lines;
}

std::string missing_parts(const Answer& answer) {
  std::string lines;
  for (const MissingPart& part : answer.missing_parts)
    lines += fmt::format("zor: {}:{}:{}: {} is without its part {}: {}\n", part.where.file,
                         part.where.line, part.where.column, part.where.product.path(),
                         part.product.path(), part.why);
  return lines;
}

}  // namespace zor
