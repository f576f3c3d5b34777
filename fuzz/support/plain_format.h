// A plain evaluation of the framework's formats, for the fuzzers that compare with it. It draws the
// arguments that it needs, and so also tells what a format takes.
#ifndef FUZZ_PLAIN_FORMAT_H
#define FUZZ_PLAIN_FORMAT_H

#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

struct Argument {
  enum Type { kNothing, kInt, kUnsigned, kReal, kString, kCount, kPointer };
  Type type = kNothing;
  int number = 0;  // also the bits of an unsigned one
  double real = 0;
  std::string text;
};

struct Formatted {
  enum Verdict {
    kKnown,    // text is what is printed
    kFault,    // nothing is printed, and the format or an argument is complained of
    kUnknown,  // a corner that is not evaluated here
  };
  Verdict verdict = kKnown;
  std::string text;
  std::vector<Argument> selectors;
  std::vector<Argument> arguments;  // by slot
  std::vector<std::size_t> counts;  // what each %n stores, in the order of the format
  int strings = 0;                  // %s and %t items
  bool only_strings = true;         // all items are those, without width and precision
  bool plain = true;                // no branches, options or positions
};

// Where the values come from.
class Values {
 public:
  virtual ~Values() = default;
  virtual unsigned Selector() = 0;
  // The value for the slot, of the type; another type is a fault.
  virtual Argument Value(std::size_t slot, Argument::Type type) = 0;
};

// Numbers as in the C locale by the framework's own rules, or local by those of the C library. With
// message, each string is followed by the marker if there are two or more.
Formatted PlainFormat(const std::string& format, bool local, bool message, Values& values);

// Whether it has a number of more than three digits: widths and precisions of millions would print
// millions.
bool HasLongNumber(std::string_view format);

// What is said of formats and templates that are none, and of limits that they pass.
const std::vector<std::string_view>& Complaints();

}  // namespace fuzz

#endif
