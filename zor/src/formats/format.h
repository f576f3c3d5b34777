// The dialects in which environments are written: shells, languages, build systems, files.
//
// A dialect is a row of a table: its name and the functions that write it. Whatever a value holds
// arrives exactly, in whatever locale it is read, or the dialect says that it can't carry it, and
// then nothing is written at all. What is written for people's shells is ASCII where the shell has
// a way to say any byte in ASCII, and one record is one line wherever the dialect can say a line
// end in another way.
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
  // Why a change can't be written, in words that follow the variable's name ("is read-only in
  // bash"); empty if it can be.
  std::string (*refusal)(const Change& change);
  // Appends what sets or removes the variable.
  void (*write)(std::string* text, const Change& change);
  // What stands before the first change, between two of them, and at the end.
  std::string_view head = {};
  std::string_view separator = {};
  std::string_view tail = {};
  // Whether names that differ in the case of letters only are one variable there.
  bool folds_case = false;
};

// All dialects, in the order in which they are listed.
std::span<const Format> formats();

// By name, or by the name of a program that reads the dialect, such as "dash" or "tcsh". Null if
// there is none.
const Format* find_format(std::string_view name);

// The changes in that dialect, each variable once. Throws Error that names each variable that can't
// be carried, with the reason.
std::string written(const Format& format, std::span<const Change> changes);

}  // namespace zor

#endif
