// Environments as text, held against the programs that read them.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "grammars.h"
#include "zor.h"

namespace {

// One product that sets OUT to what the environment has as IN.
class Formats : public testing::Test {
 protected:
  Formats() { warehouse_.Product("C/Contents/1.0/1", Insert("OUT", "%{IN}")); }

  RunResult Write(const std::vector<std::string>& options, const std::string& value) {
    std::vector<std::string> words = {"env", "-r", warehouse_.Root(), "C"};
    words.insert(words.end(), options.begin(), options.end());
    return Zor(words, {"IN=" + value});
  }

  Warehouse warehouse_;
};

std::string RandomValue(std::mt19937* random) {
  static const std::string kPieces[] = {
      "'", "\"", "\\", "$", "`", "\n", " ", "!", "#", ";", "&", "*", "(", ")", "{", "}", "[", "]",
      "\t", "\r", "\x1b", "=", "~", ":", "a", "0", "%", "@", "<", "|", "?", "^", ",", "-", "\1",
      "\x7f", "$(x)", "`x`", "''", "\\'", "\\n", "\\\n", "!!", "!\n", "\r\n", "$HOME", "%PATH%",
      "endef", "define", "#{x}", "ZOR_END\n", "\u00e9", "\u4f60", "\U0001f600", "\u2019", "\u2028",
      // Characters of other encodings, the begin of one, and what is none anywhere.
      "\x95\\", "\xa1\\", "\x83|", "\x81",
      "\x81"
      "0",
      "\x81"
      "0\x81"
      "0",
      "\xff", "\xed\xa0\x80"};
  std::string value;
  const bool any_bytes = (*random)() % 5 == 0;
  for (std::size_t i = (*random)() % 14; i > 0; --i)
    value += any_bytes ? std::string(1, static_cast<char>((*random)() % 255 + 1))
                       : kPieces[(*random)() % std::size(kPieces)];
  return value;
}

// Whether it is UTF-8 as it should be.
bool WellFormed(const std::string& value) {
  for (std::size_t at = 0; at < value.size();) {
    const auto byte = [&](std::size_t i) {
      return at + i < value.size() ? static_cast<unsigned char>(value[at + i]) : 0u;
    };
    const unsigned first = byte(0);
    const std::size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    const unsigned lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (length > 1 && (first < 0xC2 || first > 0xF4)) return false;
    if (length > 1 && (byte(1) < lowest || byte(1) > highest)) return false;
    for (std::size_t i = 2; i < length; ++i)
      if ((byte(i) & 0xC0) != 0x80) return false;
    at += length;
  }
  return true;
}

TEST_F(Formats, ZeroEndedTextsHoldTheValueAsItIs) {
  const RunResult result = Write({"--format", "env0"}, "a\nb'c");
  EXPECT_EQ(std::string("OUT=a\nb'c\0", 10), result.out);
  EXPECT_EQ(0, result.status);
}

TEST_F(Formats, FullHoldsWhatDoesNotChange) {
  Expect(Write({"--full"}, "x"),
         "IN='x'; export IN;\nLC_ALL='C.UTF-8'; export LC_ALL;\nOUT='x'; export OUT;\n"
         "PATH='/usr/bin:/bin'; export PATH;\n",
         "", 0);
}

TEST_F(Formats, FullLeavesOutWhatStaysAndCannotBeCarried) {
  Expect(Zor({"env", "--full", "-r", warehouse_.Root(), "C"}, {"IN=x", "SHLVL=2", "F()=y"}),
         "IN='x'; export IN;\nLC_ALL='C.UTF-8'; export LC_ALL;\nOUT='x'; export OUT;\n"
         "PATH='/usr/bin:/bin'; export PATH;\n",
         "zor: left out, as they stay what they are: F() SHLVL\n", 0);
}

TEST_F(Formats, AreChosenOnceAndKnownByThePrograms) {
  Expect(Write({"--full", "--changes"}, "x"), "", "zor: --full and --changes exclude each other\n",
         2);
  Expect(Write({"--changes"}, "x"), "OUT='x'; export OUT;\n", "", 0);
  // A program's own name means its dialect, and what zorenv calls a dialect is known as well.
  Expect(Write({"--format", "tcsh"}, "x"), "setenv OUT 'x';\n", "", 0);
  Expect(Write({"--bat"}, "x"), "set \"OUT=x\"\r\n", "", 0);
  Expect(Write({"--format"}, "x"), "",
         "zor: --format: 1 required TEXT missing\nzor env --help tells what it takes\n", 2);
}

// Encodings that are too long, or of no character at all, are none of UTF-8.
TEST_F(Formats, FullLeavesOutWhatIsNotUtf8) {
  const std::vector<std::string> more = {
      "LONG2=\xC1\xBF", "LONG3=\xE0\x9F\xBF", "LONG4=\xF0\x8F\xBF\xBF", "HIGH=\xF4\x90\x80\x80",
      "CUT=\xE4\xBD",   "NAME\xFF=x",         "HALF=\xED\xA0\x80",      "GOOD=\xF4\x8F\xBF\xBF"};
  const auto left_out = [&](const char* dialect) {
    const RunResult result =
        Zor({"env", "--full", "-f", dialect, "-r", warehouse_.Root(), "-i", "-p", "NONE"}, more);
    EXPECT_EQ(0, result.status);
    EXPECT_NE(std::string::npos, result.out.find("\xF4\x8F\xBF\xBF")) << result.out;
    return result.err;
  };
  const std::string all =
      "zor: left out, as they stay what they are: CUT HALF HIGH LONG2 LONG3 LONG4";
  EXPECT_EQ(all + " NAME\\xff\n", left_out("json"));
  EXPECT_EQ(all + " NAME\\xff\n", left_out("dotenv"));
  EXPECT_EQ(all + " NAME\\xff\n", left_out("nushell"));
}

TEST_F(Formats, AVariableThatIsRemovedIsUnset) {
  warehouse_.Product("D/Contents/1.0/1", Delete("IN"));
  Expect(Zor({"env", "-r", warehouse_.Root(), "D"}, {"IN=x"}), "unset IN;\n", "", 0);
}

// bash and mksh would calculate with the first, and so run the command in it.
TEST_F(Formats, VariablesOfTheShellsAreRefusedAndNothingIsWritten) {
  const struct {
    std::string name, reason;
  } rows[] = {
      {"OPTIND", "is a number that would be calculated by bash"},
      {"RANDOM", "is a number that would be calculated by bash"},
      {"UID", "is read-only in bash"},
      {"USERNAME", "changes the user or group of root's zsh"},
      {"KSHUID", "is a number that would be calculated by mksh"},
      {"PS1", "holds what is run or expanded by bash"},
      {"histchars", "is kept for itself by bash"},
  };
  for (const auto& row : rows) {
    warehouse_.Product("K/Contents/1.0/1", Insert("A", "1") + Insert(row.name, "a[$(touch ran)]"));
    Expect(Zor({"env", "-r", warehouse_.Root(), "K"}), "",
           "zor: the format sh can't carry these variables, so nothing was written:\n  " +
               row.name + ' ' + row.reason + '\n',
           1);
  }
}

TEST_F(Formats, NamesThatAreNotValidInAShellAreRefused) {
  for (const char* name : {"A;touch ran;B", "1A", "A-B", "A~", "{A", "A[$(touch ran)]"}) {
    warehouse_.Product("N/Contents/1.0/1", Insert(name, "1"));
    Expect(Zor({"env", "-r", warehouse_.Root(), "N"}), "",
           "zor: the format sh can't carry these variables, so nothing was written:\n  " +
               std::string(name) + " is not a valid name for a variable of a shell\n",
           1);
  }
}

// --- every dialect ---

// How a program reads what is written: its command line, where @ is the script, and what is added
// to the script so that it prints its environment as "env -0" does.
struct Interpreter {
  std::string dialect;
  std::vector<std::string> argv;
  std::string tail = "exec /usr/bin/env -0\n";
  bool decodes = false;  // reads characters of the locale
};

const std::vector<Interpreter>& Interpreters() {
  static const std::vector<Interpreter> kRows = {
      {"sh", {"/usr/bin/dash", "@"}},
      {"sh", {"/usr/bin/busybox", "sh", "@"}},
      {"sh", {"/usr/bin/bash", "@"}, "exec /usr/bin/env -0\n", true},
      {"sh", {"/usr/bin/zsh", "-f", "@"}, "exec /usr/bin/env -0\n", true},
      {"sh", {"/usr/bin/ksh93", "@"}, "exec /usr/bin/env -0\n", true},
      {"sh", {"/usr/bin/mksh", "@"}, "exec /usr/bin/env -0\n", true},
      {"bash", {"/usr/bin/bash", "@"}, "exec /usr/bin/env -0\n", true},
      {"zsh", {"/usr/bin/zsh", "-f", "@"}, "exec /usr/bin/env -0\n", true},
      {"ksh", {"/usr/bin/ksh93", "@"}, "exec /usr/bin/env -0\n", true},
      {"ksh", {"/usr/bin/mksh", "@"}, "exec /usr/bin/env -0\n", true},
      {"fish", {"/usr/bin/fish", "-N", "@"}, "exec /usr/bin/env -0\n", true},
      {"csh", {"/usr/bin/tcsh", "-f", "@"}, "exec /usr/bin/env -0\n", true},
      {"elvish", {"/usr/bin/elvish", "-norc", "@"}},
      {"xonsh", {"/usr/bin/xonsh", "--no-rc", "@"}, "/usr/bin/env -0\n"},
      {"rc", {"/usr/bin/rc", "@"}},
      {"python", {"/usr/bin/python3", "-I", "@"}, "os.execv('/usr/bin/env', ['env', '-0'])\n"},
      {"perl", {"/usr/bin/perl", "@"}, "exec '/usr/bin/env', '-0';\n"},
      {"ruby", {"/usr/bin/ruby", "@"}, "exec '/usr/bin/env', '-0'\n"},
      {"lua",
       {"/usr/bin/lua5.4", "-e",
        "for k, v in pairs(dofile('@')) do if v then io.write(k, '=', v, '\\0') end end"},
       ""},
      {"tcl", {"/usr/bin/tclsh", "@"}, "exec /usr/bin/env -0 >@stdout\n"},
      {"r", {"/usr/bin/Rscript", "@"}, "invisible(system('/usr/bin/env -0'))\n"},
      {"make", {"/usr/bin/make", "-sf", "@"}, "all:\n\t@/usr/bin/env -0\n"},
      {"cmake", {"/usr/bin/cmake", "-P", "@"}, "execute_process(COMMAND /usr/bin/env -0)\n"},
      {"json",
       {"/usr/bin/python3", "-I", "-c",
        "import json, sys\n"
        "for k, v in json.load(open('@', encoding='utf-8')).items():\n"
        "  sys.stdout.buffer.write((k + '=' + v).encode() + b'\\0')"},
       ""},
  };
  return kRows;
}

// What a dialect can't carry, from what its publishers say of it.
bool Carries(const std::string& dialect, const std::string& value) {
  const auto has = [&](const char* set) { return value.find_first_of(set) != std::string::npos; };
  const auto has_text = [&](const char* text) { return value.find(text) != std::string::npos; };
  const auto has_control = [&](std::string_view but) {
    return std::any_of(value.begin(), value.end(), [&](char c) {
      return ((c >= 0 && c < ' ') || c == 0x7F) && but.find(c) == std::string_view::npos;
    });
  };
  const bool ascii = std::all_of(value.begin(), value.end(), [](char c) { return c >= 0; });
  if (dialect == "rc") return !has("\1\2\xFF");
  if (dialect == "cmake") return !value.empty();
  if (dialect == "cmd") return !value.empty() && ascii && !has("\"") && !has_control("\t");
  for (const char* known :
       {"json", "nushell", "powershell", "dotenv", "systemd", "docker", "github"})
    if (dialect == known && !WellFormed(value)) return false;
  if (dialect == "powershell") return !value.empty();
  if (dialect == "systemd") return !has_control("\t\n");
  if (dialect == "docker") return !has("\n") && !value.ends_with('\r');
  if (dialect == "github") return !has("\r");
  if (dialect == "dotenv")
    return !has("\r") &&
           ((!has("'") && !has_text("\\\\") && !value.ends_with('\\')) || !has("\"\\$`\n"));
  return true;
}

std::vector<std::string> Batch(std::mt19937* random, std::size_t count) {
  std::vector<std::string> values;
  while (values.size() < count)
    values.push_back(RandomValue(random));
  return values;
}

std::string NameOf(std::size_t number) {
  return "ZV" + std::to_string(number);
}

class Dialects : public testing::Test {
 protected:
  Dialects() { warehouse_.Product("C/Contents/1.0/1"); }

  // Writes the values as variables, whole, and checks that those that are left out are those that
  // the dialect can't carry.
  std::string Script(const std::string& dialect, const std::vector<std::string>& values,
                     const std::vector<std::string>& locale, bool check_left_out = true) {
    std::vector<std::string> environment = {"PATH=/usr/bin:/bin"};
    environment.insert(environment.end(), locale.begin(), locale.end());
    // The C library keeps the list that it makes of LOCPATH for each locale, and a sanitizer tells.
    for (const std::string& text : locale)
      if (text.starts_with("LOCPATH=")) environment.emplace_back("ASAN_OPTIONS=detect_leaks=0");
    std::string left_out;
    std::set<std::string> sorted;
    for (std::size_t i = 0; i < values.size(); ++i) {
      environment.push_back(NameOf(i) + '=' + values[i]);
      if (!Carries(dialect, values[i])) sorted.insert(NameOf(i));
    }
    for (const std::string& name : sorted)
      left_out += ' ' + name;
    if (!left_out.empty())
      left_out = "zor: left out, as they stay what they are:" + left_out + '\n';
    RunOptions options;
    options.environment = environment;
    const RunResult result = RunProgram(
        {ZOR_PROGRAM, "env", "--full", "-f", dialect, "-r", warehouse_.Root(), "C"}, options);
    EXPECT_EQ(0, result.status) << result.err;
    if (check_left_out) {
      EXPECT_EQ(left_out, result.err);
    }
    return result.out;
  }

  // What a program has after the script, of the variables of a batch.
  Settings Run(const Interpreter& interpreter, const std::string& script,
               const std::vector<std::string>& locale) {
    const std::string file = warehouse_.Write("script", script + interpreter.tail);
    std::vector<std::string> argv = interpreter.argv;
    for (std::string& word : argv)
      if (const std::size_t at = word.find('@'); at != std::string::npos) word.replace(at, 1, file);
    RunOptions options;
    options.environment = locale;
    options.environment->push_back("PATH=/usr/bin:/bin");
    options.environment->push_back("HOME=" + warehouse_.path());
    const RunResult result = RunProgram(argv, options);
    EXPECT_EQ("", result.err) << argv[0];
    EXPECT_EQ(0, result.status) << argv[0];
    Settings settings;
    for (std::size_t at = 0; at < result.out.size();) {
      const std::size_t end = std::min(result.out.find('\0', at), result.out.size());
      const std::string text = result.out.substr(at, end - at);
      const std::size_t equals = text.find('=');
      if (text.starts_with("ZV") && equals != std::string::npos)
        settings[text.substr(0, equals)] = text.substr(equals + 1);
      at = end + 1;
    }
    return settings;
  }

  Warehouse warehouse_;
};

Settings Carried(const std::string& dialect, const std::vector<std::string>& values) {
  Settings settings;
  for (std::size_t i = 0; i < values.size(); ++i)
    if (Carries(dialect, values[i])) settings[NameOf(i)] = values[i];
  return settings;
}

int Rounds() {
  const char* set = std::getenv("ZOR_TEST_ROUNDS");
  return set ? std::max(1, std::atoi(set)) : 1;
}

constexpr std::size_t kBatch = 200;

bool There(const Interpreter& interpreter, std::set<std::string>* absent) {
  if (access(interpreter.argv[0].c_str(), X_OK) == 0) return true;
  absent->insert(interpreter.argv[0]);
  return false;
}

void SayAbsent(const std::set<std::string>& absent) {
  std::string names;
  for (const std::string& name : absent)
    names += ' ' + name;
  if (!absent.empty()) GTEST_SKIP() << "not installed here, so not tried:" << names;
}

TEST_F(Dialects, ArriveExactlyInEveryProgram) {
  std::set<std::string> absent;
  for (int round = 0; round < Rounds(); ++round) {
    std::mt19937 random(static_cast<unsigned>(round));
    const std::vector<std::string> values = Batch(&random, kBatch);
    std::map<std::string, std::string> scripts;
    for (const Interpreter& interpreter : Interpreters()) {
      if (!There(interpreter, &absent)) continue;
      SCOPED_TRACE(interpreter.argv[0] + " round " + std::to_string(round));
      std::string& script = scripts[interpreter.dialect];
      if (script.empty()) script = Script(interpreter.dialect, values, {"LC_ALL=C.UTF-8"});
      EXPECT_EQ(Carried(interpreter.dialect, values), Run(interpreter, script, {"LC_ALL=C.UTF-8"}));
    }
  }
  SayAbsent(absent);
}

TEST_F(Dialects, AreWhatTheirGrammarsSay) {
  for (int round = 0; round < Rounds(); ++round) {
    std::mt19937 random(static_cast<unsigned>(round));
    const std::vector<std::string> values = Batch(&random, kBatch);
    for (const char* dialect :
         {"sh",         "bash", "zsh",    "ksh",     "fish",   "csh",   "elvish", "nushell",
          "powershell", "cmd",  "rc",     "python",  "perl",   "ruby",  "lua",    "make",
          "cmake",      "json", "dotenv", "systemd", "docker", "github"}) {
      SCOPED_TRACE(dialect);
      const std::string script = Script(dialect, values, {"LC_ALL=C.UTF-8"});
      const std::optional<Settings> read = ReadScript(dialect, script);
      ASSERT_TRUE(read) << script;
      Settings expected = Carried(dialect, values);
      Settings found;
      for (const auto& [name, value] : *read)
        if (name.starts_with("ZV")) found[name] = value;
      EXPECT_EQ(expected, found);
    }
  }
}

// The second byte of a character may be a backslash in these, and a digit may be the second of
// four.
TEST_F(Dialects, ArriveExactlyInLocalesOfOtherEncodings) {
  // Nothing but the encoding matters.
  std::string definition;
  for (const char* category :
       {"CTYPE", "COLLATE", "MONETARY", "NUMERIC", "TIME", "MESSAGES", "PAPER", "NAME", "ADDRESS",
        "TELEPHONE", "MEASUREMENT", "IDENTIFICATION"})
    definition += "LC_" + std::string(category) + "\ncopy \"POSIX\"\nEND LC_" + category + '\n';
  const std::string plain = warehouse_.Write("plain", definition);
  std::vector<std::string> charmaps = {"GBK", "BIG5", "SHIFT_JIS"};
  // This one takes a minute to make.
  if (Rounds() > 1) charmaps.push_back("GB18030");
  std::set<std::string> absent;
  for (const std::string& name : charmaps) {
    RunOptions patient;
    patient.limit = std::chrono::minutes(5);
    RunProgram({"/usr/bin/localedef", "-c", "-i", plain, "-f", name, warehouse_ / name}, patient);
    if (access((warehouse_ / (name + "/LC_CTYPE")).c_str(), R_OK) != 0)
      GTEST_SKIP() << "no localedef here";
    const std::vector<std::string> locale = {"LC_ALL=" + name, "LOCPATH=" + warehouse_.path()};
    for (int round = 0; round < Rounds(); ++round) {
      std::mt19937 random(static_cast<unsigned>(round));
      const std::vector<std::string> values = Batch(&random, kBatch);
      for (const Interpreter& interpreter : Interpreters()) {
        if (!interpreter.decodes || !There(interpreter, &absent)) continue;
        SCOPED_TRACE(interpreter.argv[0] + ' ' + name);
        // In glibc's Shift-JIS a backslash is a yen sign, so tcsh has no way to quote these.
        const bool yen = name == "SHIFT_JIS" && interpreter.dialect == "csh";
        Settings expected = Carried(interpreter.dialect, values);
        if (yen)
          std::erase_if(expected, [](const auto& setting) {
            return setting.second->find_first_of("\n!") != std::string::npos;
          });
        EXPECT_EQ(expected,
                  Run(interpreter, Script(interpreter.dialect, values, locale, !yen), locale));
      }
    }
  }
  SayAbsent(absent);
}

// Behind a byte outside ASCII, a digit would begin the second half of a character of GB18030, and
// bash would miss the quote.
TEST_F(Dialects, ADigitBehindAByteOutsideAsciiStandsOutsideTheQuotes) {
  warehouse_.Product("K/Contents/1.0/1", Insert("A", "\u4f600'1"));
  Expect(Zor({"env", "-r", warehouse_.Root(), "K"}), "A='\u4f60'0''\\''1'; export A;\n", "", 0);
}

TEST_F(Dialects, LongValuesArriveExactly) {
  std::set<std::string> absent;
  std::string mixed, quotes, characters, special;
  while (mixed.size() < 99000)
    mixed += "abc def'\\\n$x\u00e9;!`\"0";
  quotes.assign(20000, '\'');
  while (characters.size() < 20000)
    characters += "\u4f600";
  while (special.size() < 20000)
    special += "'\u00e9\"\u00e90\u00e9$\u00e9`\u00e9\\]=]";
  for (const Interpreter& interpreter : Interpreters()) {
    if (!There(interpreter, &absent)) continue;
    SCOPED_TRACE(interpreter.argv[0]);
    const std::vector<std::string> values = {mixed, quotes, characters, special};
    const std::string script = Script(interpreter.dialect, values, {"LC_ALL=C.UTF-8"});
    EXPECT_TRUE(Carried(interpreter.dialect, values) ==
                Run(interpreter, script, {"LC_ALL=C.UTF-8"}));
  }
  SayAbsent(absent);
}

// What a shell has from its start is refused, or is set to what it should be and nothing is run.
TEST_F(Dialects, VariablesOfEachShellAreRefusedOrArrive) {
  const struct {
    Interpreter interpreter;
    std::vector<std::string> list;
  } rows[] = {
      {{"bash", {"/usr/bin/bash", "@"}}, {"-c", "compgen -v"}},
      {{"zsh", {"/usr/bin/zsh", "-f", "@"}},
       {"-fc", "zmodload zsh/parameter zsh/datetime zsh/zle; print -l ${(k)parameters}"}},
      {{"ksh", {"/usr/bin/ksh93", "@"}}, {"-c", "set | sed 's/=.*//'"}},
      {{"ksh", {"/usr/bin/mksh", "@"}}, {"-c", "set | sed 's/=.*//'"}},
      {{"sh", {"/usr/bin/dash", "@"}}, {"-c", "set | sed 's/=.*//'"}},
      {{"fish", {"/usr/bin/fish", "-N", "@"}}, {"-Nc", "set --names"}},
  };
  std::set<std::string> absent;
  for (const auto& row : rows) {
    if (!There(row.interpreter, &absent)) continue;
    std::vector<std::string> argv = {row.interpreter.argv[0]};
    argv.insert(argv.end(), row.list.begin(), row.list.end());
    RunOptions options;
    options.environment = {"PATH=/usr/bin:/bin", "HOME=" + warehouse_.path(), "LC_ALL=C.UTF-8"};
    const RunResult list = RunProgram(argv, options);
    std::istringstream words(list.out);
    std::set<std::string> names;
    for (std::string line; std::getline(words, line);) {
      // Lines may hold attributes before the name.
      const std::string name = line.substr(line.rfind(' ') + 1);
      if (std::regex_match(name, std::regex("[A-Za-z_][A-Za-z0-9_]*"))) names.insert(name);
    }
    EXPECT_LT(5u, names.size()) << argv[0] << list.err;
    for (const std::string& name : names) {
      if (name == "PATH" || name.starts_with("LC_")) continue;
      SCOPED_TRACE(argv[0] + ' ' + name);
      const std::string value = "x[$(touch " + (warehouse_ / "ran") + ")]";
      warehouse_.Product("K/Contents/1.0/1", Insert(name, value));
      const RunResult script =
          Zor({"env", "-r", warehouse_.Root(), "-f", row.interpreter.dialect, "K"});
      if (script.status == 1) continue;
      EXPECT_EQ(0, script.status) << script.err;
      const std::string file = warehouse_.Write("script", script.out + row.interpreter.tail);
      std::vector<std::string> run = row.interpreter.argv;
      run.back() = file;
      const RunResult result = RunProgram(run, options);
      const std::string nul(1, '\0');
      const std::string wanted = std::string(nul).append(name).append("=").append(value) + nul;
      EXPECT_NE(std::string::npos, (nul + result.out).find(wanted));
      EXPECT_EQ("", result.err);
    }
  }
  EXPECT_FALSE(std::filesystem::exists(warehouse_ / "ran"));
  SayAbsent(absent);
}

TEST_F(Dialects, WhatCannotBeCarriedIsNamedWithTheReasonAndNothingIsWritten) {
  const struct {
    std::string dialect, name, value, reason;
  } rows[] = {
      {"powershell", "A", "", "is empty, which removes it in PowerShell"},
      {"cmake", "A", "", "is empty, which removes it in CMake"},
      {"cmd", "A", "", "is empty, which removes it in cmd"},
      {"cmd", "A", "a\"b", "holds a quote"},
      {"cmd", "A", "a\nb", "holds a line end"},
      {"cmd", "A", "\u00e9", "holds characters other than those of ASCII"},
      {"cmd", "A", std::string(8183, 'x'), "is too long for a line of cmd"},
      {"nushell", "FILE_PWD", "x", "is kept for itself by nushell"},
      {"nushell", "PROMPT_COMMAND", "x", "holds what is run or expanded by nushell"},
      {"nushell", "TRANSIENT_PROMPT_COMMAND", "x", "holds what is run or expanded by nushell"},
      {"rc", "A", "a\1b", "holds a byte 1 or 2, which rc writes in another way"},
      {"rc", "fn_x", "{touch ran}", "is a function to rc"},
      {"fish", "PATH", "/bin::/x", "has an empty element, which fish writes as '.'"},
      {"fish", "CDPATH", "/x:", "has an empty element, which fish writes as '.'"},
      {"fish", "fish_trace", "1", "is kept for itself by fish"},
      {"csh", "LS_COLORS", "x", "is kept for itself by tcsh"},
      {"xonsh", "MY_PATH", "/a:~/b", "is a list to xonsh, which would expand the $ or ~ in it"},
      {"xonsh", "MY_PATH", "/a/$b", "is a list to xonsh, which would expand the $ or ~ in it"},
      {"xonsh", "X_DIRS", "x=~", "is a list to xonsh, which would expand the $ or ~ in it"},
      {"xonsh", "XONTRIBS_AUTOLOAD", "1", "is kept for itself by xonsh"},
      {"xonsh", "XONSH_DEBUG", "1", "is kept for itself by xonsh"},
      {"ksh", "LC_ALL", "no_SUCH", "is a locale that ksh93 doesn't know here"},
      {"ksh", "LANG", "no_SUCH", "is a locale that ksh93 doesn't know here"},
      {"make", "SHELL", "x", "is kept for itself by make"},
      {"dotenv", "A", "a'b\"",
       "holds quotes or backslashes that readers of .env files take in "
       "different ways"},
      {"dotenv", "A", "a\\",
       "holds quotes or backslashes that readers of .env files take in "
       "different ways"},
      {"dotenv", "A", "a\\\\b",
       "holds quotes or backslashes that readers of .env files take in "
       "different ways"},
      {"cmake", "A", std::string(10001, 'x') + "\r",
       "is long and holds a carriage return, which CMake can't read"},
      {"dotenv", "A", "a\rb", "holds a carriage return"},
      {"systemd", "A", "\x1b", "holds control characters"},
      {"docker", "A", "a\nb", "holds a line end"},
      {"docker", "A", std::string(65535, 'x'), "is too long for a line of such a file"},
      {"github", "A", "a\rb", "holds a carriage return"},
      {"docker", "A", "a\r", "ends with a carriage return"},
      {"github", "RUNNER_X", "1", "is kept for itself by the workflow's runner"},
      {"github", "NODE_OPTIONS", "1", "is kept for itself by the workflow's runner"},
      {"github", "GITHUB_X", "1", "is kept for itself by the workflow's runner"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.dialect + ' ' + row.name);
    warehouse_.Product("K/Contents/1.0/1", Insert("OTHER", "1") + Insert(row.name, "%{IN}"));
    Expect(Zor({"env", "-r", warehouse_.Root(), "-f", row.dialect, "K"}, {"IN=" + row.value}), "",
           "zor: the format " + row.dialect +
               " can't carry these variables, so nothing was written:\n  " + row.name + ' ' +
               row.reason + '\n',
           1);
  }
}

// Not each dialect has a place for any name that an environment may hold.
TEST_F(Dialects, NamesAreTakenAsFarAsTheDialectGoes) {
  warehouse_.Product("K/Contents/1.0/1", Insert("%{IN}", "1"));
  const auto write = [&](const std::string& dialect, const std::string& name) {
    return Zor({"env", "-r", warehouse_.Root(), "-f", dialect, "K"}, {"IN=" + name});
  };
  const auto refused = [&](const std::string& dialect, const std::string& name,
                           const std::string& reason) {
    SCOPED_TRACE(dialect + ' ' + name);
    Expect(write(dialect, name), "",
           "zor: the format " + dialect +
               " can't carry these variables, so nothing was written:\n  " + reason + '\n',
           1);
  };
  for (const char* dialect : {"sh", "bash", "zsh", "ksh", "fish", "csh", "elvish", "xonsh",
                              "nushell", "powershell", "cmd", "rc"})
    refused(dialect, "A-B", "A-B is not a valid name for a variable of a shell");
  for (const char* dialect : {"make", "cmake"})
    refused(dialect, "A-B", "A-B is not a valid name for a variable of a build system");
  for (const char* dialect : {"dotenv", "systemd", "docker", "github"})
    refused(dialect, "A-B", "A-B is not a name that such a file takes");
  const struct {
    const char *dialect, *out;
  } rows[] = {
      {"perl", "$ENV{\"A-B\"} = \"1\";\n"},
      {"ruby", "ENV[\"A-B\"] = \"1\"\n"},
      {"lua", "return {\n  [\"A-B\"] = \"1\",\n}\n"},
      {"tcl",
       "set ::zor_encoding [encoding system]\nencoding system iso8859-1\n"
       "set \"::env(A-B)\" \"1\"\nencoding system $::zor_encoding\nunset ::zor_encoding\n"},
      {"json", "{\n  \"A-B\": \"1\"\n}\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.dialect);
    Expect(write(row.dialect, "A-B"), row.out, "", 0);
  }
}

TEST_F(Dialects, ListsThatXonshWouldNotExpandAreTaken) {
  warehouse_.Product("K/Contents/1.0/1", Insert("MY_PATH", "/a/~b:c~") + Insert("HOME_OF", "~/$x"));
  Expect(Zor({"env", "-r", warehouse_.Root(), "-f", "xonsh", "K"}),
         "${...}['HOME_OF'] = '~/$x'\n${...}['MY_PATH'] = '/a/~b:c~'\n", "", 0);
}

TEST_F(Dialects, WithoutAnInterpreterHereTheyRemoveAsTheirManualsSay) {
  warehouse_.Product("D/Contents/1.0/1", Delete("PATH") + Insert("TAB", "a\tb%"));
  const struct {
    const char *dialect, *out;
  } rows[] = {
      {"nushell", "hide-env --ignore-errors PATH;\n$env.TAB = \"a\\tb%\";\n"},
      {"powershell", "${env:PATH} = $null;\n${env:TAB} = \"a`tb%\";\n"},
      {"cmd", "set \"PATH=\"\r\nset \"TAB=a\tb%%\"\r\n"},
      {"fish", "set -e -g PATH;\nset -gx TAB 'a'\\t'b%';\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.dialect);
    Expect(Zor({"env", "-r", warehouse_.Root(), "-f", row.dialect, "D"}), row.out, "", 0);
  }
}

TEST_F(Dialects, FilesThatOnlySetRefuseARemoval) {
  warehouse_.Product("D/Contents/1.0/1", Delete("IN"));
  for (const char* dialect : {"dotenv", "systemd", "docker", "github"})
    Expect(Zor({"env", "-r", warehouse_.Root(), "-f", dialect, "D"}, {"IN=x"}), "",
           "zor: the format " + std::string(dialect) +
               " can't carry these variables, so nothing was written:\n"
               "  IN would be removed, which such a file can't say\n",
           1);
}

TEST_F(Dialects, NamesThatDifferInCaseAreOneToCmd) {
  warehouse_.Product("K/Contents/1.0/1", Insert("Name", "1") + Insert("NAME", "2"));
  Expect(Zor({"env", "-r", warehouse_.Root(), "-f", "cmd", "K"}), "",
         "zor: the format cmd can't carry these variables, so nothing was written:\n"
         "  Name is the same variable as NAME to cmd\n",
         1);
}

TEST_F(Dialects, ProgramsRemoveWhatIsRemoved) {
  std::set<std::string> absent;
  warehouse_.Product("D/Contents/1.0/1", Delete("ZV1"));
  for (const Interpreter& interpreter : Interpreters()) {
    if (interpreter.dialect == "lua" || interpreter.dialect == "json") continue;
    if (!There(interpreter, &absent)) continue;
    const RunResult script =
        Zor({"env", "-r", warehouse_.Root(), "-f", interpreter.dialect, "D"}, {"ZV1=x", "ZV2=y"});
    EXPECT_EQ("", script.err);
    const Settings left = {{"ZV2", "y"}};
    EXPECT_EQ(left, Run(interpreter, script.out, {"LC_ALL=C.UTF-8", "ZV1=x", "ZV2=y"}))
        << interpreter.argv[0];
  }
  SayAbsent(absent);
}

TEST_F(Dialects, RecordsOfWholeFilesAreHeldTogether) {
  warehouse_.Product("D/Contents/1.0/1", Delete("GONE") + Insert("A", "a\"b"));
  const auto write = [&](const char* dialect) {
    return Zor({"env", "-r", warehouse_.Root(), "-f", dialect, "D"}, {"GONE=x"}).out;
  };
  EXPECT_EQ("{\n  \"A\": \"a\\\"b\",\n  \"GONE\": null\n}\n", write("json"));
  EXPECT_EQ("return {\n  [\"A\"] = \"a\\\"b\",\n  [\"GONE\"] = false,\n}\n", write("lua"));
}

}  // namespace
