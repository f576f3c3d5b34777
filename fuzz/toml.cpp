// Settings. An input is the text of a zor.toml.
//
// - It is read, or refused with the file's name, a line that it has, and a column.
// - Reading it a second time on top changes nothing.
#include <algorithm>
#include <string>

#include "config.h"
#include "error.h"
#include "fuzz.h"

namespace {

void CheckRefusal(const zor::Error& error, const std::string& text) {
  const std::string told = error.what();
  const std::string name = "zor.toml:";
  if (!told.starts_with(name)) fuzz::Fail("a refusal without its place", told);
  char* end = nullptr;
  const long line = std::strtol(told.c_str() + name.size(), &end, 10);
  const long column = *end == ':' ? std::strtol(end + 1, nullptr, 10) : 0;
  if (line < 1 || column < 1 || line > std::count(text.begin(), text.end(), '\n') + 1)
    fuzz::Fail("a refusal of a place that is not there", told + "\n" + fuzz::Quoted(text));
  if (error.status() != zor::kTrouble) fuzz::Fail("a refusal that is no trouble", told);
}

std::string Summary(const zor::Config& config) {
  std::string all = std::to_string(config.skip_broken_defaults) + std::to_string(config.colour);
  const auto add = [&](const std::string& text) { all += '\n' + text; };
  for (const auto& text : config.defaults)
    add(text);
  for (const auto& [name, words] : config.sets) {
    add(name);
    for (const auto& word : words)
      add(word);
  }
  for (const auto* table : {&config.aliases, &config.versions})
    for (const auto& [name, value] : *table)
      add(name + '=' + value);
  for (const auto& pattern : config.hidden)
    add(pattern.text + pattern.place.text());
  for (const auto& each : config.deprecated)
    add(each.products.text + '|' + each.message + '|' + each.replacement + '|' + each.warn_from +
        '|' + each.refuse_from);
  return all;
}

}  // namespace

void fuzz::Try(Input& input) {
  const std::string text = input.Rest();
  zor::Config config;
  try {
    zor::read_config(text, "zor.toml", &config);
  } catch (const zor::Error& error) {
    CheckRefusal(error, text);
    return;
  }
  const std::string once = Summary(config);
  try {
    zor::read_config(text, "zor.toml", &config);
  } catch (const zor::Error& error) {
    Fail("refused the second time", error.what());
  }
  // Products that one file names twice are one, whichever way it is read.
  if (Summary(config) != once) Fail("a second reading changes something", Quoted(text));
}
