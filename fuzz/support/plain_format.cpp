#include "plain_format.h"

#include <cstdio>
#include <cstring>

namespace fuzz {

namespace {

constexpr char kMarker = 8;
constexpr int kMostDigits = 999;

struct Item {
  bool percent = false;  // a literal %
  std::string literal;   // text, if conversion is 0
  char conversion = 0;
  int position = -1;
  bool left = false, zero = false, alternate = false, half = false;
  char positive = 0;
  int width = 0;
  int precision = -1;
  bool star_width = false, star_precision = false;
};

class Plain {
 public:
  Plain(bool local, bool message, Values& values)
      : local_(local), message_(message), values_(values) {}

  Formatted Run(const std::string& format) {
    std::string flat;
    if (Check(format) && Expand(format, 0, format.size(), flat) && Parse(flat) && Assign()) Print();
    return result_;
  }

 private:
  bool Fault() {
    if (result_.verdict == Formatted::kKnown) result_.verdict = Formatted::kFault;
    return false;
  }
  bool Unknown() {
    result_.verdict = Formatted::kUnknown;
    return false;
  }

  // Faults that are seen before anything else.
  bool Check(const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] != '%') continue;
      if (++i == text.size()) return Fault();
      if (text[i] == '[') {
        std::size_t digits = i + 1;
        while (digits < text.size() && std::isdigit(static_cast<unsigned char>(text[digits])))
          ++digits;
        if (digits == i + 1) return Unknown();
        if (text.find(']', digits) == std::string::npos) return Fault();
        if (digits == text.size() || text[digits] != ']') return Unknown();
      }
    }
    return true;
  }

  // The end of the alternative or option that starts at i: the position of its %| or closer on the
  // same level. npos if the structure is not well nested.
  static std::size_t EndOf(const std::string& text, std::size_t i, std::size_t end) {
    std::string open;
    for (; i + 1 < end; ++i) {
      if (text[i] != '%') continue;
      const char c = text[i + 1];
      if (open.empty() && (c == '|' || c == ')' || c == '}')) return i;
      if (c == '(' || c == '{') open += c;
      if (c == ')' || c == '}') {
        if (open.back() != (c == ')' ? '(' : '{')) return std::string::npos;
        open.pop_back();
      }
      if (c == '|' && open.back() != '(') return std::string::npos;
      ++i;
    }
    return std::string::npos;
  }

  bool Expand(const std::string& text, std::size_t i, std::size_t end, std::string& flat) {
    while (i < end) {
      if (text[i] != '%' || i + 1 >= end) {
        flat += text[i++];
        continue;
      }
      const char c = text[i + 1];
      if (c != '(' && c != '{') {
        if (c == '|' || c == ')' || c == '}') return Unknown();
        flat += text[i++];
        flat += text[i++];
        continue;
      }
      std::vector<std::pair<std::size_t, std::size_t>> alternatives;
      std::size_t start = i + 2, stop = 0;
      do {
        stop = EndOf(text, start, end);
        if (stop == std::string::npos) return Unknown();
        alternatives.emplace_back(start, stop);
        start = stop + 2;
      } while (text[stop + 1] == '|');
      if (text[stop + 1] != (c == '(' ? ')' : '}')) return Unknown();
      if (c == '{' && alternatives.size() > 1) return Unknown();
      result_.plain = false;
      const unsigned selector = values_.Selector();
      Argument argument;
      argument.type = Argument::kUnsigned;
      argument.number = static_cast<int>(selector);
      result_.selectors.push_back(argument);
      if (c == '{' && selector != 0) {
        if (!Expand(text, alternatives[0].first, alternatives[0].second, flat)) return false;
      } else if (c == '(') {
        if (selector >= alternatives.size()) return Fault();
        if (!Expand(text, alternatives[selector].first, alternatives[selector].second, flat))
          return false;
      }
      i = stop + 2;
    }
    return true;
  }

  static bool Digits(const std::string& text, std::size_t& i, int& number) {
    const std::size_t start = i;
    number = 0;
    while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])) && i - start < 4)
      number = number * 10 + (text[i++] - '0');
    return i > start && i - start < 4;
  }

  bool Parse(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
      Item item;
      if (text[i] != '%') {
        while (i < text.size() && text[i] != '%')
          item.literal += text[i++];
        items_.push_back(item);
        continue;
      }
      if (++i == text.size()) return Fault();
      if (text[i] == '%') {
        ++i;
        item.percent = true;
        item.literal = "%";
        items_.push_back(item);
        continue;
      }
      if (!ParseItem(text, i, item)) return false;
      items_.push_back(item);
    }
    return true;
  }

  bool ParseItem(const std::string& text, std::size_t& i, Item& item) {
    const auto at = [&] { return i < text.size() ? text[i] : '\0'; };
    if (at() == '[') {
      ++i;
      if (!Digits(text, i, item.position) || at() != ']') return Unknown();
      ++i;
      result_.plain = false;
    }
    for (; at() != 0 && std::strchr("-+ #0", at()) != nullptr; ++i) {
      if (at() == '-') item.left = true;
      if (at() == '+') item.positive = '+';
      if (at() == ' ' && item.positive == 0) item.positive = ' ';
      if (at() == '#') item.alternate = true;
      if (at() == '0') item.zero = true;
    }
    if (at() == '*') {
      item.star_width = true;
      ++i;
    } else if (std::isdigit(static_cast<unsigned char>(at()))) {
      if (!Digits(text, i, item.width)) return Unknown();
    } else if (std::isspace(static_cast<unsigned char>(at()))) {
      return Unknown();
    }
    if (at() == '.') {
      ++i;
      item.precision = 0;
      if (at() == '*') {
        item.star_precision = true;
        ++i;
      } else if (std::isdigit(static_cast<unsigned char>(at()))) {
        if (!Digits(text, i, item.precision)) return Unknown();
      } else if (std::isspace(static_cast<unsigned char>(at())) || at() == '-' || at() == '+') {
        return Unknown();
      }
    }
    if (at() == 'h' || at() == 'l' || at() == 'L') {
      item.half = at() == 'h';
      ++i;
    }
    item.conversion = at();
    // A sign within an item is both its conversion and the start of another.
    if (item.conversion == '%') return Unknown();
    ++i;
    if (item.conversion == 0 || std::strchr("diuoxXcsteEfgGnpP", item.conversion) == nullptr)
      return Fault();
    const bool string = item.conversion == 's' || item.conversion == 't';
    result_.strings += string;
    result_.only_strings = result_.only_strings && string && !item.star_width && item.width == 0 &&
                           !item.star_precision && item.precision < 0;
    return true;
  }

  static Argument::Type TypeOf(char conversion) {
    switch (conversion) {
      case 'd':
      case 'i':
      case 'c':
        return Argument::kInt;
      case 's':
      case 't':
        return Argument::kString;
      case 'n':
        return Argument::kCount;
      case 'p':
      case 'P':
        return Argument::kPointer;
      default:
        return std::strchr("uoxX", conversion) != nullptr ? Argument::kUnsigned : Argument::kReal;
    }
  }

  bool Take(std::size_t slot, Argument::Type type) {
    if (slot >= result_.arguments.size()) result_.arguments.resize(slot + 1);
    if (result_.arguments[slot].type != Argument::kNothing) return Unknown();  // taken twice
    result_.arguments[slot] = values_.Value(slot, type);
    return result_.arguments[slot].type == type || Fault();
  }

  // Gives each item its slots; the first one tells whether by position.
  bool Assign() {
    bool first = true, positional = false;
    std::size_t running = 0;
    for (Item& item : items_) {
      if (!item.percent && item.conversion == 0) continue;
      if (first) positional = item.position >= 0;
      first = false;
      if (item.percent) continue;
      if ((item.position >= 0) != positional) return Fault();
    }
    for (Item& item : items_) {
      if (item.conversion == 0) continue;
      std::size_t slot = positional ? static_cast<std::size_t>(item.position) : running;
      if (slot > 60) return Unknown();
      if (item.star_width) {
        if (!Take(slot, Argument::kInt)) return false;
        item.width = result_.arguments[slot++].number;
        if (item.width < 0 || item.width > kMostDigits) return Unknown();
      }
      if (item.star_precision) {
        if (!Take(slot, Argument::kInt)) return false;
        item.precision = result_.arguments[slot++].number;
        if (item.precision < 0 || item.precision > kMostDigits) return Unknown();
      }
      if (!Take(slot, TypeOf(item.conversion))) return false;
      item.position = static_cast<int>(slot);
      running = slot + 1;
    }
    // What no item refers to must be nothing.
    for (std::size_t slot = 0; slot < result_.arguments.size(); ++slot)
      if (result_.arguments[slot].type == Argument::kNothing &&
          values_.Value(slot, Argument::kNothing).type != Argument::kNothing)
        return Fault();
    return true;
  }

  static std::string Padded(const std::string& text, const Item& item) {
    const auto width = static_cast<std::size_t>(item.width > 0 ? item.width : 0);
    const std::string pad(width > text.size() ? width - text.size() : 0, item.zero ? '0' : ' ');
    return item.left ? text + pad : pad + text;
  }

  static std::string Utf8(int code) {
    std::string out;
    const auto c = static_cast<unsigned>(code);
    const auto tail = [&](int shift) { return static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
    if (c < 0x80) return {static_cast<char>(c)};
    if (c < 0x800) return {static_cast<char>(0xC0 | (c >> 6)), tail(0)};
    if (c < 0x10000) return {static_cast<char>(0xE0 | (c >> 12)), tail(6), tail(0)};
    return {static_cast<char>(0xF0 | (c >> 18)), tail(12), tail(6), tail(0)};
  }

  std::string String(const Item& item, std::string text) {
    const bool cut = item.precision >= 0 && static_cast<std::size_t>(item.precision) < text.size();
    if (cut) text.resize(static_cast<std::size_t>(item.precision));
    // A padded string must not be empty, and a cut one may end inside a character.
    if ((item.width > 0 && text.empty()) || (cut && !text.empty() && (text.back() & 0x80) != 0))
      Unknown();
    return item.width > 0 ? Padded(text, item) : text;
  }

  static std::string WithCLibrary(const Item& item, const Argument& argument) {
    std::string format = "%";
    if (item.left) format += '-';
    if (item.zero) format += '0';
    if (item.positive != 0) format += item.positive;
    if (item.alternate) format += '#';
    if (item.width > 0) format += std::to_string(item.width);
    if (item.precision >= 0) format += "." + std::to_string(item.precision);
    format += item.conversion;
    char text[4096];
    if (argument.type == Argument::kReal)
      std::snprintf(text, sizeof text, format.c_str(), argument.real);
    else
      std::snprintf(text, sizeof text, format.c_str(), argument.number);
    return text;
  }

  std::string Integer(const Item& item, int value) {
    if (item.half)
      value = TypeOf(item.conversion) == Argument::kInt
                  ? static_cast<short>(static_cast<unsigned short>(value))
                  : static_cast<unsigned short>(value);
    if (local_ && std::strchr("diu", item.conversion) != nullptr) {
      Argument argument;
      argument.number = value;
      return WithCLibrary(item, argument);
    }
    const bool is_signed = item.conversion == 'd' || item.conversion == 'i';
    auto magnitude = static_cast<unsigned>(value);
    std::string prefix;
    if (is_signed && value < 0) {
      prefix = "-";
      magnitude = 0u - magnitude;
    } else if (is_signed && item.positive != 0) {
      prefix = item.positive;
    }
    if (item.alternate && item.conversion == 'x') prefix = "0x";
    if (item.alternate && item.conversion == 'X') prefix = "0X";
    if (item.alternate && item.conversion == 'o') prefix = "0";
    const unsigned base = item.conversion == 'o'                             ? 8
                          : item.conversion == 'x' || item.conversion == 'X' ? 16
                                                                             : 10;
    const char* const digits = item.conversion == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
    std::string number;
    do {
      number.insert(number.begin(), digits[magnitude % base]);
      magnitude /= base;
    } while (magnitude != 0);
    while (item.precision > 0 && number.size() < static_cast<std::size_t>(item.precision))
      number.insert(number.begin(), '0');
    const auto width = static_cast<std::size_t>(item.width > 0 ? item.width : 0);
    while (item.zero && !item.left && number.size() + prefix.size() < width)
      number.insert(number.begin(), '0');
    Item spaces = item;
    spaces.zero = false;
    return Padded(prefix + number, spaces);
  }

  void Print() {
    for (const Item& item : items_) {
      if (item.conversion == 0) {
        result_.text += item.literal;
        continue;
      }
      const Argument& argument = result_.arguments[static_cast<std::size_t>(item.position)];
      switch (item.conversion) {
        case 's':
        case 't':
          result_.text += String(item, argument.text);
          if (message_ && result_.strings > 1) result_.text += kMarker;
          break;
        case 'c':
          if (item.precision >= 0 || argument.number <= 0 || argument.number > 0x1FFFFF) Unknown();
          result_.text += String(item, Utf8(argument.number));
          break;
        case 'n':
          result_.counts.push_back(result_.text.size());
          break;
        case 'p':
        case 'P':
          Unknown();
          break;
        default:
          if (argument.type != Argument::kReal) {
            result_.text += Integer(item, argument.number);
          } else {
            // The framework's own digits are not exact.
            if (!local_) Unknown();
            result_.text += WithCLibrary(item, argument);
          }
          break;
      }
    }
  }

  const bool local_;
  const bool message_;
  Values& values_;
  std::vector<Item> items_;
  Formatted result_;
};

}  // namespace

bool HasLongNumber(std::string_view format) {
  std::size_t digits = 0;
  for (const char c : format) {
    digits = c >= '0' && c <= '9' ? digits + 1 : 0;
    if (digits > 3) return true;
  }
  return false;
}

const std::vector<std::string_view>& Complaints() {
  static const std::vector<std::string_view> kComplaints = {
      // The templates' faults and limits.
      "Format string too complex",
      "Too many formats",
      "Too many recursed branches",
      "Too many branches",
      "%| outside branch",
      "%) outside branch",
      "Unknown format for matching",
      "Infinite loop?",
      "Infinite loop entered?",
      "Number string appears bad",
      "Unhandled format",
      "Bad precision",
      "Bad template start",
      // Those of printing.
      "Bad positional argument",
      "Negative positional argument",
      "No closing bracket in positional arg",
      "Non-positive width format",
      "Negative precision given",
      "Invalid format",
      "Format just before terminator",
      "Expected a number after '[' in format string",
      "Failed to find closing ']' in format string",
      "Badly terminated branch list",
      "Branch is unterminated",
      "Not on branch",
      "Option is unterminated",
      "All or none of arguments must have positionals",
      "Format to output doesn't match arguments",
      "Don't use precison with %c",
      "Attempt to insert zero text character",
      "No cbSize",
      "Overflow",
      "Bad precision arg",
      "Badly terminated string",
      "Badly encoded UTF-8 character (malformed header in leading byte)",
      "Badly encoded UTF-8 character (overly long encoding)",
  };
  return kComplaints;
}

Formatted PlainFormat(const std::string& format, bool local, bool message, Values& values) {
  return Plain(local, message, values).Run(format);
}

}  // namespace fuzz
