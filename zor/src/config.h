// Settings: zor.toml at the root of the warehouse, at the system and at the user. Where two set the
// same, that order decides and the later one wins: for a table, key by key; for a list, whole.
//
//   const Config config = load_config(root, environment);
//
// zor.toml(5) tells what the keys mean.
#ifndef ZOR_CONFIG_H
#define ZOR_CONFIG_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue.h"
#include "environment.h"
#include "warehouse.h"

namespace zor {

// Where a setting stands.
struct SettingPlace {
  std::string file;
  unsigned line = 0;
  unsigned column = 0;

  // file:line:column
  std::string text() const;
};

// A product or products, as category/name or category/name/version, with * and ** as in patterns.
struct ProductPattern {
  std::string text;
  SettingPlace place;
};

// A product that is to go out of use.
struct Deprecation {
  ProductPattern products;
  std::string message;
  std::string replacement;  // a request; may be empty
  std::string warn_from;    // dates as YYYY-MM-DD; empty: always, and never
  std::string refuse_from;
};

// What users are to hear once.
struct News {
  std::string id;
  std::string text;
  std::string from;  // dates, both included; empty: since ever, and for ever
  std::string until;
};

// Where loads are logged.
struct Log {
  bool syslog = false;
  std::string file;
  std::vector<std::string> program;  // with its arguments
};

// Programs that run around each step of a session, with their arguments; empty: none.
struct Hooks {
  std::vector<std::string> before;
  std::vector<std::string> after;
};

struct Config {
  std::vector<std::string> defaults;  // what "zor load" alone loads
  bool skip_broken_defaults = false;
  bool colour = true;
  std::map<std::string, std::vector<std::string>> sets;  // requests by name
  std::map<std::string, std::string> aliases;            // category/name... by a word
  std::map<std::string, std::string> versions;           // VERSION or VERSION/REV by category/name
  std::vector<ProductPattern> hidden;
  std::vector<Deprecation> deprecated;
  std::vector<News> news;
  Log log;
  Hooks hooks;
  // Of aliases, versions and the requests in sets and defaults, for messages; by "table.key".
  std::map<std::string, SettingPlace> places;
};

// Adds the settings that a text holds. Errors name the file by the given name. Throws Error with
// the place of an unknown key, of a value that has the wrong type, or of text that is not TOML.
void read_config(std::string_view text, const std::string& name, Config* config);

// Reads the three files; each may be missing.
Config load_config(const std::string& root, const Environment& environment);

// The files that load_config looks for, in its order.
std::vector<std::string> config_files(const std::string& root, const Environment& environment);

// Where the user's settings and saved sets are: $XDG_CONFIG_HOME/zor, else ~/.config/zor; empty if
// neither variable is set.
std::string user_directory(const Environment& environment);

bool is_hidden(const Config& config, const CatalogueProduct& product);

// Takes the hidden products out of a catalogue, which must be of the whole warehouse. Throws Error
// for a pattern that matches none of its products.
void hide(const Config& config, Catalogue* catalogue);

// The present day as YYYY-MM-DD, local time; ZOR_TODAY if that is set.
std::string today(const Environment& environment);

// Lines that warn of deprecated products among those. Throws Error if one is refused by now.
std::string deprecation_notes(const Config& config, const std::vector<ProductName>& products,
                              const Environment& environment);

// The product with the version and rev that the settings prefer, where both are open.
ProductName with_default_version(const Config& config, ProductName product);

}  // namespace zor

#endif
