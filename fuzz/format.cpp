// Formatted output. An input is a digit that chooses the mode, a format, and the values of its
// arguments, a line each: the selectors of branches and the numbers are decimal.
//
// - What is printed is what a plain evaluation of the format gives, where that covers it: with the
//   framework's numbers, with those of the C library, and as a message with markers.
// - A format with a fault adds nothing to the record.
// - The result is the number of bytes added; %n stores the bytes before it.
// - A real that is printed reads back as the value, to the digits that were asked for.
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "fcstrprf.h"
#include "fuzz.h"
#include "fwstring.h"
#include "fwstrprf.h"
#include "plain_format.h"

namespace {

constexpr std::size_t kLongestFormat = 300;

class Lines : public fuzz::Values {
 public:
  explicit Lines(fuzz::Input& input) : input_(input) {}

  unsigned Selector() override {
    return static_cast<unsigned>(std::atoi(input_.Line().c_str())) % 8;
  }

  fuzz::Argument Value(std::size_t, fuzz::Argument::Type type) override {
    fuzz::Argument argument;
    argument.type = type;
    if (type == fuzz::Argument::kNothing) return argument;
    const std::string line = input_.Line();
    argument.number = static_cast<int>(std::strtoll(line.c_str(), nullptr, 10));
    argument.real = std::strtod(line.c_str(), nullptr);
    if (!std::isfinite(argument.real)) argument.real = 0;
    argument.text = line;
    return argument;
  }

 private:
  fuzz::Input& input_;
};

// The arguments as the engine takes them.
class List {
 public:
  explicit List(fuzz::Formatted& formatted) : counts_(formatted.arguments.size()) {
    for (fuzz::Argument& argument : formatted.selectors)
      Add(argument);
    for (fuzz::Argument& argument : formatted.arguments)
      Add(argument);
    list_ = {arguments_.data(), static_cast<uint32>(arguments_.size())};
  }
  operator FcStrArgList*() { return &list_; }
  const std::vector<int>& counts() const { return counts_; }

 private:
  void Add(fuzz::Argument& argument) {
    FcStrArg arg = {};
    arg.cbValueStringLength = kFcStrTerminated;
    arg.cbTypeSize = kFcTypeSize;
    const char* type = kFcTypeGeneric;
    switch (argument.type) {
      case fuzz::Argument::kNothing:
        break;
      case fuzz::Argument::kInt:
        type = kFcTypeInt32;
        arg.Value.int32_ = argument.number;
        break;
      case fuzz::Argument::kUnsigned:
        type = kFcTypeUint32;
        arg.Value.uint32_ = static_cast<uint32>(argument.number);
        break;
      case fuzz::Argument::kReal:
        type = kFcTypeReal;
        arg.Value.promoted_real_ = argument.real;
        arg.cbTypeSize = kFcTypeSizeReal;
        break;
      case fuzz::Argument::kString:
        type = kFcTypeTextString;
        arg.Value.FwTextString_ = reinterpret_cast<FwTextString>(argument.text.data());
        break;
      case fuzz::Argument::kCount:
        type = kFcTypePInt;
        arg.Value.FcPrfPInt_ = &counts_[used_counts_++];
        break;
      case fuzz::Argument::kPointer:
        type = kFcTypePVoid;
        arg.Value.FcPrfPVoid_ = nullptr;
        break;
    }
    arg.pszType = const_cast<char*>(type);
    arguments_.push_back(arg);
  }

  std::vector<FcStrArg> arguments_;
  std::vector<int> counts_;
  std::size_t used_counts_ = 0;
  FcStrArgList list_ = {};
};

uint32 Print(FwStrRecord* record, bool local, bool message, FwTextString format,
             FcStrArgList* list) {
  if (local) return FcPrfPrintArgList(record, format, list);
  FcPrfArgIterator arguments = {};
  arguments.nType = kFcPrfArgList;
  arguments.ArgList.pArgList_ = list;
  FcPrfContext context;
  if (!fFcPrfInitContext(&context, message, 0, format, 1, &arguments)) return 0;
  const bool done = FcPrfDoPrintf(&context, record);
  FcPrfDestroyContext(&context);
  return done ? context.cbOutput : 0;
}

void CheckFormat(const std::string& format, bool local, bool message, fuzz::Input& input) {
  Lines lines(input);
  fuzz::Formatted expected = fuzz::PlainFormat(format, local, message, lines);
  for (fuzz::Argument& argument : expected.arguments)
    if (!fuzz::WellFormed(argument.text)) return;
  for (fuzz::Argument& argument : expected.arguments)
    if (argument.type == fuzz::Argument::kInt && (argument.number > 999 || argument.number < 0) &&
        format.find('*') != std::string::npos)
      return;
  List list(expected);
  const fuzz::Allow allow(expected.verdict == fuzz::Formatted::kKnown
                              ? std::vector<std::string_view>()
                              : fuzz::Complaints());
  FwStrRecord record = {};
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, FWT("<"));
  fuzz::Text writable(format);
  const uint32 added = Print(&record, local, message, writable, list);
  const std::string printed = FWC(record.pbz) + 1;
  FwStrRecordAbandon(&record);

  const std::string detail = fuzz::Quoted(format) + " gave " + fuzz::Quoted(printed);
  if (writable.str() != format) fuzz::Fail("the format was written to", detail);
  if (expected.verdict == fuzz::Formatted::kFault && (added != 0 || !printed.empty()))
    fuzz::Fail("a fault, and something is printed", detail);
  if (expected.verdict == fuzz::Formatted::kFault && allow.seen() == 0)
    fuzz::Fail("a fault without a complaint", detail);
  if (expected.verdict != fuzz::Formatted::kKnown) return;
  if (printed != expected.text)
    fuzz::Fail("another text", detail + " not " + fuzz::Quoted(expected.text));
  if (added != printed.size()) fuzz::Fail("another count", detail);
  if (format.find("%[") == std::string::npos)
    for (std::size_t i = 0; i < expected.counts.size(); ++i)
      if (list.counts()[i] != static_cast<int>(expected.counts[i]))
        fuzz::Fail("%n stores another count", detail);
}

void CheckReal(const std::string& text, int precision, int width, char type) {
  const double value = std::strtod(text.c_str(), nullptr);
  if (!std::isfinite(value)) return;
  FwStrRecord record = {};
  FwStrRecordOpen(&record);
  const uint32 added = FwStrPrintReal(&record, value, type, width, precision, 0, 0, 0, 1, 0);
  std::string printed = FWC(record.pbz);
  FwStrRecordAbandon(&record);
  const std::string detail = text + " " + type + " " + std::to_string(precision) + ": " + printed;
  if (added != printed.size()) fuzz::Fail("another count", detail);
  if (printed.size() < static_cast<std::size_t>(width)) fuzz::Fail("not the width", detail);

  // Below this everything is zero, and above it the digits run out.
  if (std::fabs(value) < 1e-25 || std::fabs(value) > 1e12 || precision > 9 || precision < 1) return;
  const double back = std::strtod(printed.c_str(), nullptr);
  const double unit =
      type == 'f' ? std::pow(10, -precision) : std::fabs(value) * std::pow(10, 1 - precision);
  if (std::fabs(back - value) > 0.5001 * unit + std::fabs(value) * 1e-12)
    fuzz::Fail("reads back as another value", detail);
}

}  // namespace

void fuzz::Try(Input& input) {
  const unsigned mode = input.Below(4);
  const std::string format = input.Line();
  if (format.size() > kLongestFormat || HasLongNumber(format) || !WellFormed(format)) return;
  if (mode == 3) {
    const int precision = static_cast<int>(input.Below(12));
    const int width = static_cast<int>(input.Below(40));
    CheckReal(format, precision, width, "eEfgG"[input.Below(5)]);
  } else {
    CheckFormat(format, mode == 1, mode == 2, input);
  }
}
