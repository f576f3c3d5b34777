#include "config.h"

// Exceptions are this library's own way of telling where a text is no TOML.
#define TOML_ENABLE_FORMATTERS 0
#include <toml++/toml.h>

#include <algorithm>
#include <ctime>

#include "error.h"
#include "files.h"

namespace zor {

namespace {

// ---- Reading ----

// What all readers of keys get: the file, the place of the node at hand as "table.key", and the
// node.
struct Reading {
  const std::string& file;
  std::string key;
  const toml::node& node;

  SettingPlace place() const {
    const toml::source_position begin = node.source().begin;
    return {file, begin.line, begin.column};
  }
  [[noreturn]] void fail(const std::string& reason) const {
    throw Error(fmt::format("{}: {} {}", place().text(), key, reason), kTrouble);
  }
};

template <typename T>
struct Key {
  const char* name;
  void (*read)(const Reading& reading, T* target);
};

// Reads each key of a table by its row.
template <typename T, std::size_t N>
void read_table(const Reading& reading, const Key<T> (&keys)[N], T* target) {
  const toml::table* table = reading.node.as_table();
  if (!table) reading.fail("must be a table");
  for (const auto& [name, node] : *table) {
    const std::string text(name.str());
    const auto* row = std::find_if(std::begin(keys), std::end(keys),
                                   [&](const Key<T>& key) { return text == key.name; });
    if (row == std::end(keys)) {
      std::string names;
      for (const Key<T>& key : keys)
        names += (names.empty() ? "" : ", ") + std::string(key.name);
      const toml::source_position begin = name.source().begin;
      throw Error(fmt::format("{}: there is no key {}{}{}; there are {}",
                              SettingPlace{reading.file, begin.line, begin.column}.text(), text,
                              reading.key.empty() ? "" : " in ", reading.key, names),
                  kTrouble);
    }
    const std::string path = reading.key.empty() ? text : reading.key + '.' + text;
    row->read({reading.file, path, node}, target);
  }
}

std::string read_string(const Reading& reading) {
  const auto* value = reading.node.as_string();
  if (!value) reading.fail("must be a string");
  return value->get();
}

bool read_bool(const Reading& reading) {
  const auto* value = reading.node.as_boolean();
  if (!value) reading.fail("must be true or false");
  return value->get();
}

// YYYY-MM-DD, which sorts as days do.
std::string read_date(const Reading& reading) {
  const auto* value = reading.node.as_date();
  if (!value) reading.fail("must be a date, as in 2027-01-31");
  const toml::date date = value->get();
  return fmt::format("{:04}-{:02}-{:02}", date.year, date.month, date.day);
}

// Each element of a list, as a reading of its own.
template <typename F>
void for_each_in(const Reading& reading, const char* what, const F& function) {
  const toml::array* array = reading.node.as_array();
  if (!array) reading.fail(fmt::format("must be a list of {}", what));
  for (const toml::node& node : *array)
    function(Reading{reading.file, reading.key, node});
}

std::vector<std::string> read_strings(const Reading& reading) {
  std::vector<std::string> texts;
  for_each_in(reading, "strings", [&](const Reading& each) { texts.push_back(read_string(each)); });
  return texts;
}

// Each key of a table whose keys are the user's own.
template <typename F>
void for_each_key(const Reading& reading, Config* config, const F& function) {
  const toml::table* table = reading.node.as_table();
  if (!table) reading.fail("must be a table");
  for (const auto& [name, node] : *table) {
    const std::string text(name.str());
    const Reading each{reading.file, reading.key + '.' + text, node};
    function(text, each);
    config->places.insert_or_assign(each.key, each.place());
  }
}

void read_defaults(const Reading& reading, Config* config) {
  config->defaults = read_strings(reading);
  config->places.insert_or_assign(reading.key, reading.place());
}

void read_skip(const Reading& reading, Config* config) {
  config->skip_broken_defaults = read_bool(reading);
}

void read_colour(const Reading& reading, Config* config) {
  config->colour = read_bool(reading);
}

void read_sets(const Reading& reading, Config* config) {
  for_each_key(reading, config, [&](const std::string& name, const Reading& each) {
    config->sets.insert_or_assign(name, read_strings(each));
  });
}

void read_aliases(const Reading& reading, Config* config) {
  for_each_key(reading, config, [&](const std::string& name, const Reading& each) {
    config->aliases.insert_or_assign(name, read_string(each));
  });
}

void read_versions(const Reading& reading, Config* config) {
  for_each_key(reading, config, [&](const std::string& name, const Reading& each) {
    config->versions.insert_or_assign(name, read_string(each));
  });
}

void read_hidden(const Reading& reading, Config* config) {
  config->hidden.clear();
  for_each_in(reading, "strings", [&](const Reading& each) {
    config->hidden.push_back({read_string(each), each.place()});
  });
}

void read_product(const Reading& reading, Deprecation* deprecation) {
  deprecation->products = {read_string(reading), reading.place()};
}

void read_message(const Reading& reading, Deprecation* deprecation) {
  deprecation->message = read_string(reading);
}

void read_replacement(const Reading& reading, Deprecation* deprecation) {
  deprecation->replacement = read_string(reading);
}

void read_warn_from(const Reading& reading, Deprecation* deprecation) {
  deprecation->warn_from = read_date(reading);
}

void read_refuse_from(const Reading& reading, Deprecation* deprecation) {
  deprecation->refuse_from = read_date(reading);
}

constexpr Key<Deprecation> kDeprecatedKeys[] = {
    {"product", read_product},         {"message", read_message},
    {"replacement", read_replacement}, {"warn-from", read_warn_from},
    {"refuse-from", read_refuse_from},
};

// One for products that an earlier file names in the same words replaces it.
void read_deprecated(const Reading& reading, Config* config) {
  for_each_in(reading, "tables", [&](const Reading& each) {
    Deprecation deprecation;
    read_table(each, kDeprecatedKeys, &deprecation);
    if (deprecation.products.text.empty()) each.fail("must name a product");
    const auto same = std::find_if(
        config->deprecated.begin(), config->deprecated.end(),
        [&](const Deprecation& other) { return other.products.text == deprecation.products.text; });
    if (same == config->deprecated.end())
      config->deprecated.push_back(std::move(deprecation));
    else
      *same = std::move(deprecation);
  });
}

void read_news_id(const Reading& reading, News* news) {
  news->id = read_string(reading);
  if (news->id.find('\n') != std::string::npos) reading.fail("must be one line");
}

void read_news_text(const Reading& reading, News* news) {
  news->text = read_string(reading);
}

void read_news_from(const Reading& reading, News* news) {
  news->from = read_date(reading);
}

void read_news_until(const Reading& reading, News* news) {
  news->until = read_date(reading);
}

constexpr Key<News> kNewsKeys[] = {
    {"id", read_news_id},
    {"text", read_news_text},
    {"from", read_news_from},
    {"until", read_news_until},
};

// One with the id of an earlier one replaces it.
void read_news(const Reading& reading, Config* config) {
  for_each_in(reading, "tables", [&](const Reading& each) {
    News news;
    read_table(each, kNewsKeys, &news);
    if (news.id.empty()) each.fail("must have an id");
    const auto same = std::find_if(config->news.begin(), config->news.end(),
                                   [&](const News& other) { return other.id == news.id; });
    if (same == config->news.end())
      config->news.push_back(std::move(news));
    else
      *same = std::move(news);
  });
}

void read_syslog(const Reading& reading, Log* log) {
  log->syslog = read_bool(reading);
}

void read_log_file(const Reading& reading, Log* log) {
  log->file = read_string(reading);
  if (!log->file.empty() && log->file[0] != '/') reading.fail("must be an absolute path");
}

void read_program(const Reading& reading, Log* log) {
  log->program = read_strings(reading);
}

constexpr Key<Log> kLogKeys[] = {
    {"syslog", read_syslog},
    {"file", read_log_file},
    {"program", read_program},
};

void read_log(const Reading& reading, Config* config) {
  read_table(reading, kLogKeys, &config->log);
}

constexpr Key<Config> kKeys[] = {
    {"default", read_defaults}, {"skip-broken-defaults", read_skip}, {"colour", read_colour},
    {"sets", read_sets},        {"aliases", read_aliases},           {"versions", read_versions},
    {"hidden", read_hidden},    {"deprecated", read_deprecated},     {"news", read_news},
    {"log", read_log},
};

// ---- Applying ----

std::string name_of(const CatalogueProduct& product) {
  return product.category + '/' + product.name;
}

// A pattern is meant for a product as a whole, for a version or for a revision.
bool covers(const ProductPattern& pattern, const ProductName& product) {
  const std::string name = product.category + '/' + product.name;
  const std::string version = name + '/' + product.version;
  return pattern_matches(pattern.text, name) || pattern_matches(pattern.text, version) ||
         pattern_matches(pattern.text, version + '/' + product.rev);
}

bool any_covered(const ProductPattern& pattern, const Catalogue& catalogue) {
  for (const CatalogueProduct& product : catalogue.products)
    for (const CatalogueVersion& version : product.versions)
      for (const std::string& rev : version.revs)
        if (covers(pattern, {product.category, product.name, version.version, rev})) return true;
  return false;
}

[[noreturn]] void fail_nothing(const SettingPlace& place, const std::string& what) {
  throw Error(fmt::format("{}: {} matches no product", place.text(), what), kTrouble);
}

std::string advice(const Deprecation& deprecation) {
  std::string text = deprecation.message.empty() ? "" : ": " + deprecation.message;
  if (!deprecation.replacement.empty())
    text += fmt::format("; use {} in its place", deprecation.replacement);
  return text;
}

}  // namespace

std::string SettingPlace::text() const {
  return fmt::format("{}:{}:{}", file, line, column);
}

void read_config(std::string_view text, const std::string& name, Config* config) {
  try {
    const toml::table table = toml::parse(text);
    read_table({name, "", table}, kKeys, config);
  } catch (const toml::parse_error& error) {
    const toml::source_position begin = error.source().begin;
    throw Error(fmt::format("{}: {}", SettingPlace{name, begin.line, begin.column}.text(),
                            error.description()),
                kTrouble);
  }
}

std::string user_directory(const Environment& environment) {
  if (const auto set = environment.find("XDG_CONFIG_HOME"); set && set->starts_with('/'))
    return std::string(*set) + "/zor";
  if (const auto home = environment.find("HOME"); home && !home->empty())
    return std::string(*home) + "/.config/zor";
  return {};
}

std::vector<std::string> config_files(const std::string& root, const Environment& environment) {
  std::vector<std::string> files = {(root.empty() ? "." : root) + "/zor.toml"};
  files.emplace_back(environment.find("ZOR_SYSTEM_CONFIG").value_or("/etc/zor/zor.toml"));
  const std::string user = user_directory(environment);
  if (!user.empty()) files.push_back(user + "/zor.toml");
  return files;
}

Config load_config(const std::string& root, const Environment& environment) {
  Config config;
  for (const std::string& file : config_files(root, environment))
    if (const auto text = content_if_there(file)) read_config(*text, file, &config);
  return config;
}

bool is_hidden(const Config& config, const CatalogueProduct& product) {
  return std::any_of(config.hidden.begin(), config.hidden.end(), [&](const ProductPattern& each) {
    return pattern_matches(each.text, name_of(product));
  });
}

void hide(const Config& config, Catalogue* catalogue) {
  for (const ProductPattern& pattern : config.hidden)
    if (std::none_of(catalogue->products.begin(), catalogue->products.end(),
                     [&](const CatalogueProduct& product) {
                       return pattern_matches(pattern.text, name_of(product));
                     }))
      fail_nothing(pattern.place, pattern.text);
  for (const Deprecation& deprecation : config.deprecated)
    if (!any_covered(deprecation.products, *catalogue))
      fail_nothing(deprecation.products.place, deprecation.products.text);
  for (const auto& [name, version] : config.versions)
    if (!any_covered({name + '/' + version, {}}, *catalogue))
      fail_nothing(config.places.at("versions." + name), name + '/' + version);
  if (config.hidden.empty()) return;
  std::erase_if(catalogue->products,
                [&](const CatalogueProduct& product) { return is_hidden(config, product); });
}

std::string today(const Environment& environment) {
  if (const auto set = environment.find("ZOR_TODAY")) return std::string(*set);
  const std::time_t now = std::time(nullptr);
  std::tm day = {};
  localtime_r(&now, &day);
  return fmt::format("{:04}-{:02}-{:02}", day.tm_year + 1900, day.tm_mon + 1, day.tm_mday);
}

std::string deprecation_notes(const Config& config, const std::vector<ProductName>& products,
                              const Environment& environment) {
  std::string notes;
  if (config.deprecated.empty()) return notes;
  const std::string day = today(environment);
  for (const ProductName& product : products)
    for (const Deprecation& deprecation : config.deprecated) {
      if (!covers(deprecation.products, product)) continue;
      if (!deprecation.refuse_from.empty() && day >= deprecation.refuse_from)
        fail("{} is refused since {}{}", product.path(), deprecation.refuse_from,
             advice(deprecation));
      if (day >= deprecation.warn_from)
        notes += fmt::format("zor: {} is deprecated{}\n", product.path(), advice(deprecation));
    }
  return notes;
}

ProductName with_default_version(const Config& config, ProductName product) {
  if (product.version != "+" || product.rev != "+") return product;
  const auto found = config.versions.find(product.category + '/' + product.name);
  if (found == config.versions.end()) return product;
  const std::size_t slash = found->second.find('/');
  product.version = found->second.substr(0, slash);
  if (slash != std::string::npos) product.rev = found->second.substr(slash + 1);
  return product;
}

}  // namespace zor
