// The dialects in which environments are written: shells, languages, build systems, files.
//
// A dialect is a row of a table: its name and the functions that write it. Whatever a value holds
// arrives exactly, or the dialect says that it can't carry it, and then nothing is written at all.
#ifndef ZOR_FORMATS_FORMAT_H
#define ZOR_FORMATS_FORMAT_H

#include <span>
#include <string>
#include <string_view>

#include "environment.h"

namespace zor {

struct Format {
  std::string_view name;
  std::string_view summary;
  // Why a change can't be written, in words that follow the variable's name ("is read by ... as a
  // number"); empty if it can be.
  std::string (*refusal)(const Change& change);
  // Appends what sets or removes the variable.
  void (*write)(std::string* text, const Change& change);
};

// All dialects, in the order in which they are listed.
std::span<const Format> formats();

// Null if there is none of that name.
const Format* find_format(std::string_view name);

// The changes in that dialect. Throws Error that names each variable that can't be carried, with
// the reason.
std::string written(const Format& format, std::span<const Change> changes);

}  // namespace zor

#endif
