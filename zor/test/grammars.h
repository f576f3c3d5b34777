// Small readers of the dialects' own grammars, for those that no installed program reads, and for
// looking at more values than programs could be started for. They know what their publishers
// document and nothing of how zor writes, and refuse whatever would be expanded or run.
#ifndef ZOR_TEST_GRAMMARS_H
#define ZOR_TEST_GRAMMARS_H

#include <map>
#include <optional>
#include <string>
#include <string_view>

// Variables that a script sets; no value for those that it removes.
using Settings = std::map<std::string, std::optional<std::string>>;

// What a script in that dialect does, or nothing where it is not one of settings alone.
std::optional<Settings> ReadScript(std::string_view dialect, std::string_view script);

#endif
