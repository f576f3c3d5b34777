// What the fuzzers share. A fuzzer is one source fuzz/NAME.cpp that defines fuzz::Try; it is linked
// with libFuzzer in the preset "fuzz", and elsewhere with a small main that replays the corpus.
//
//   void fuzz::Try(Input& input) {
//     const std::string pattern = input.Line();
//     const std::string subject = input.Line();
//     if (Answer(pattern, subject) != PlainAnswer(pattern, subject))
//       Fail("the answers differ", pattern + "\n" + subject);
//   }
//
// The framework is booted before the first input, with the warehouse's kinds of error. An assertion
// or a trace that no Allow guard expects is a finding, and so is a block that is left allocated:
// what one input allocates is freed when Try returns. Inputs are cut at line ends, so that seeds
// can be read and written by people.
#ifndef FUZZ_H
#define FUZZ_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "fwtypes.h"

namespace fuzz {

class Input {
 public:
  Input(const unsigned char* data, std::size_t size) : data_(data), end_(data + size) {}

  bool Ended() const { return data_ == end_; }
  // The text up to the next line end or zero byte, which is passed over; never holds a zero byte.
  std::string Line();
  // All that is left, of any bytes.
  std::string Rest();
  // One byte, 0 at the end.
  unsigned char Byte();
  // One byte, cut to what is below the limit: a digit gives its value where the limit is 10 or
  // less.
  unsigned Below(unsigned limit);

 private:
  const unsigned char* data_;
  const unsigned char* end_;
};

// The target's own.
void Try(Input& input);

// The locale to boot in: "C.UTF-8" if the target doesn't define this itself.
const char* Locale();

// Whether each input boots the framework itself, in a process of its own: false if not defined. Its
// blocks are not counted then.
bool BootsItself();

// A finding: tells what and ends the process.
[[noreturn]] void Fail(const char* what, const std::string& detail = std::string());

// Lets assertions of these texts pass until the end of the scope.
class Allow {
 public:
  explicit Allow(std::vector<std::string_view> asserts);
  ~Allow();
  Allow(const Allow&) = delete;
  Allow& operator=(const Allow&) = delete;

  // How many of them there were.
  int seen() const;

 private:
  const std::vector<std::string_view> asserts_;
  const Allow* const outer_;
  friend bool Allowed(const char* text);
  mutable int seen_ = 0;
};

// Lets pass what the framework says of text that is no UTF-8, unless the text is well-formed:
//
//   const Allow allow = Malformed(one + other);
Allow Malformed(std::string_view text);

// For the hooks: whether a guard lets it pass, which counts.
bool Allowed(const char* text);

// Writable text for the functions that take it so.
class Text {
 public:
  explicit Text(std::string text) : text_(std::move(text)) {}
  operator FwTextString() { return reinterpret_cast<FwTextString>(text_.data()); }
  std::string str() const { return text_.c_str(); }

 private:
  std::string text_;
};

// A string of the framework, which is freed; "(null)" for null.
std::string Take(FwTextString text);

// Whether it is UTF-8 as it should be: shortest forms, no surrogates, nothing above U+10FFFF.
bool WellFormed(std::string_view text);

// A printable form, for the detail of a finding.
std::string Quoted(std::string_view text);

// The path of a directory of this process's own, without a trailing separator; the framework takes
// it for the current one. Removed at the end of the process, but not after a finding.
const std::string& Directory();
// Writes a file below it, anew, and makes the directories that it needs. Returns its path.
std::string WriteFile(const std::string& relative, std::string_view content);

// Blocks of the framework that are live.
long Blocks();

}  // namespace fuzz

// One input; what libFuzzer and the replay call.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size);

#endif
