// How a run begins: nothing may come before or between the records of a script.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tool.h"

namespace {

// Prints nothing under --sh: PATH holds the element already.
void MakeNoDifference(Warehouse* warehouse) {
  warehouse->Product("C/Contents/1.0/1", Insert("PATH", "/bin"));
}

TEST(Startup, AnOrdinaryRunPrintsNothingButRecords) {
  Warehouse warehouse;
  MakeNoDifference(&warehouse);
  for (const char* locale :
       {"LC_ALL=C.UTF-8", "LC_ALL=C", "LC_ALL=POSIX", "LC_ALL=no_SUCH", "LANG=inv"}) {
    SCOPED_TRACE(locale);
    RunOptions options;
    options.environment = {"PATH=/usr/bin:/bin", locale};
    Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "--sh"}, options), "", "", 0);
  }
}

TEST(Startup, AnEmptyEnvironmentIsAnEnvironment) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "x"));
  RunOptions options;
  options.environment = std::vector<std::string>{};
  Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "--sh"}, options), "A='x'; export A\n", "", 0);
  warehouse.Product("D/Contents/1.0/1");
  Expect(Zorenv({"-r", warehouse.Root(), "-p", "D", "--sh"}, options), "", "", 0);
}

TEST(Startup, ARunMayEmptyTheEnvironment) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Delete("*"));
  RunOptions options;
  options.environment = {"A=x"};
  Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "--sh"}, options), "unset A ;\n", "", 0);
}

TEST(Startup, AnyNameWillDo) {
  Warehouse warehouse;
  MakeNoDifference(&warehouse);
  for (const char* argv0 : {"zorenv", "", "/no/such/zorenv", "no/such", "/"}) {
    SCOPED_TRACE(argv0);
    RunOptions options;
    options.argv0 = argv0;
    Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "--sh"}, options), "", "", 0);
  }
}

TEST(Startup, ABareNameWithoutAPathIsSilent) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "x"));
  RunOptions options;
  options.environment = {"LC_ALL=C.UTF-8", "A=x"};
  Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "--sh"}, options), "", "", 0);
}

TEST(Startup, ThroughASymbolicLink) {
  Warehouse warehouse;
  MakeNoDifference(&warehouse);
  const std::string link = warehouse.Link("bin/env-of-products", ZORENV_PROGRAM);
  RunOptions options;
  options.environment = PlainEnvironment();
  Expect(RunProgram({link, "-r", warehouse.Root(), "-p", "C", "--sh"}, options), "", "", 0);
}

TEST(Startup, InADeletedDirectory) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "x"));
  warehouse.Directory("gone");
  const std::string leave = "cd gone && rmdir ../gone && exec \"$0\" \"$@\"";
  RunOptions options;
  options.environment = PlainEnvironment();
  options.directory = warehouse.path();
  Expect(RunProgram(
             {"/bin/sh", "-c", leave, ZORENV_PROGRAM, "-r", warehouse.Root(), "-p", "C", "--sh"},
             options),
         "A='x'; export A\n", "", 0);
}

TEST(Startup, ADeletedDirectoryIsNotARoot) {
  Warehouse warehouse;
  const std::string leave = "mkdir gone; cd gone && rmdir ../gone && exec \"$0\" \"$@\"";
  RunOptions options;
  options.environment = PlainEnvironment();
  options.directory = warehouse.path();
  RunResult result =
      RunProgram({"/bin/sh", "-c", leave, ZORENV_PROGRAM, "-p", "C", "--sh"}, options);
  EXPECT_EQ(0u, result.out.find("NULL filename at "));
  EXPECT_EQ("*** Error: Pointer parameter NULL\n", result.err);
  EXPECT_EQ(1, result.status);
  result =
      RunProgram({"/bin/sh", "-c", leave, ZORENV_PROGRAM, "-r", "x", "-p", "C", "--sh"}, options);
  Expect(result, "", "*** Error: File x String parameter syntax incorrect\n", 1);
}

TEST(Startup, AnInterruptEndsTheRunWithStatusOne) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1");
  // The program run interrupts its parent, the tool, and waits.
  const RunResult result =
      Zorenv(warehouse, {"-p", "C", "--exec", "/bin/sh", "-c", "kill -INT $PPID; exec sleep 0.2"});
  EXPECT_EQ("\nzorenv: frameWork error - (null)\n", result.out);
  EXPECT_EQ("", result.err);
  EXPECT_EQ(1, result.status);
}

// The program needs the C library, and the parser where that has no archive; it runs no code before
// main.
TEST(Startup, NeedsNoOtherLibraries) {
  RunOptions options;
  options.environment = PlainEnvironment();
  const RunResult dynamic = RunProgram({"/usr/bin/readelf", "-d", ZORENV_PROGRAM}, options);
  ASSERT_EQ(0, dynamic.status);
  if (dynamic.out.find("libasan") != std::string::npos ||
      dynamic.out.find("libstdc++") != std::string::npos)
    GTEST_SKIP() << "an instrumented build";
  for (const char* library : {"libgcc", "libm.so"})
    EXPECT_EQ(std::string::npos, dynamic.out.find(library)) << library;
  EXPECT_EQ(ZOR_EXPAT_IS_SHARED != 0, dynamic.out.find("libexpat") != std::string::npos);
  const RunResult symbols = RunProgram({"/usr/bin/nm", ZORENV_PROGRAM}, options);
  ASSERT_EQ(0, symbols.status);
  EXPECT_NE(std::string::npos, symbols.out.find("mymain"));
  EXPECT_EQ(std::string::npos, symbols.out.find("_GLOBAL__sub_I"));
}

const char* const kTexts[] = {"cafe", "\xE6\x97\xA5\xE6\x9C\xAC", "caf\xE9"};

// What runs show of text outside ASCII in each place where it may come: values, the environment,
// the root, names on the command line, the working directory, arguments of a program.
std::vector<RunResult> RunsOutsideAscii(Warehouse* warehouse,
                                        const std::vector<std::string>& locale) {
  std::vector<RunResult> results;
  for (const char* text : kTexts) {
    RunOptions options;
    options.environment = {"PATH=/usr/bin:/bin", std::string("E=") + text};
    options.environment->insert(options.environment->end(), locale.begin(), locale.end());
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"-r", warehouse->Root(), "-p", "C", "--sh"},
             {"-r", warehouse->Root(), "-p", "E", "--sh"},
             {"-r", warehouse->Root(), "-p", "C", text, "1.0", "1", "--posh"},
             {"-r", *warehouse / text, "-p", "C", "--csh"},
             {"-r", warehouse->Root(), "-p", "E", "--exec", "/bin/sh", "-c", "echo $A $1", "sh",
              text}})
      results.push_back(Zorenv(arguments, options));
    options.directory = *warehouse / text;
    results.push_back(Zorenv({"-r", "../root", "-p", "C", "--bat"}, options));
  }
  return results;
}

// With a path of their own for locales, even if that is the system's, the program asks for the
// locale at its start; an empty one counts as none.
TEST(Startup, ALocaleAskedForLaterShowsWhatOneAskedForAtOnceDoes) {
  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "caf\xC3\xA9") + Insert("PATH", "/opt/bin"));
  warehouse.Product("E/Contents/1.0/1", Insert("A", "%{E}"));
  for (const char* text : kTexts)
    warehouse.Directory(text);
  for (const char* locale : {"LC_ALL=C", "LANG=C.UTF-8", "LC_CTYPE=C.utf8", "LC_ALL=no_SUCH.UTF-8",
                             "LANG=inv", "LC_ALL=ja_JP.EUC-JP"}) {
    SCOPED_TRACE(locale);
    const auto at_once = RunsOutsideAscii(&warehouse, {locale, "LOCPATH=/usr/lib/locale"});
    const auto later = RunsOutsideAscii(&warehouse, {locale, "LOCPATH="});
    ASSERT_EQ(18u, later.size());
    for (size_t i = 0; i < later.size(); ++i) {
      SCOPED_TRACE(i);
      Expect(later[i], at_once[i].out, at_once[i].err, at_once[i].status);
    }
    // The plain runs work in all of them.
    EXPECT_EQ("A='cafe'; export A\n", later[1].out);
  }
}

// Outside UTF-8 the two conversions are crossed: a value of the environment goes from UTF-8 into
// the locale's encoding, and a name of a file from that encoding to UTF-8.
TEST(Startup, OtherEncodingsConvertTheEnvironmentAndNamesOfFiles) {
  if (!std::filesystem::exists("/usr/share/i18n/charmaps")) GTEST_SKIP() << "no localedef here";
  const struct {
    const char* charmap;
    const char* value;
    const char* converted;
    const char* directory;
  } rows[] = {
      // Of the second kind of name "\xC3\xA9" is one character, which in UTF-8 takes three bytes.
      {"ISO-8859-1", "\xC3\xA9-x", "\xE9-x", "w\xC3\x83\xC2\xA9"},
      {"EUC-JP", "\xE6\x97\xA5\xE6\x9C\xAC", "\xC6\xFC\xCB\xDC", "w\xE8\xBE\xBF"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.charmap);
    Warehouse warehouse;
    RunProgram(
        {"/usr/bin/localedef", "-c", "-i", "en_US", "-f", row.charmap, warehouse / "locale"});
    ASSERT_TRUE(std::filesystem::exists(warehouse / "locale/LC_CTYPE"));
    warehouse.Product("C/Contents/1.0/1",
                      Insert("A", "%{E}") + Insert("B", "caf\xC3\xA9") + Insert("C", "plain"));
    std::filesystem::rename(warehouse.Root(), warehouse / row.directory);
    RunOptions options;
    options.environment = {"PATH=/usr/bin:/bin", std::string("E=") + row.value,
                           "LOCPATH=" + warehouse.path(), "LC_ALL=locale"};
    // Three records, in the order of their slots.
    Expect(Zorenv({"-r", warehouse / "w\xC3\xA9", "-p", "C", "--sh"}, options),
           std::string("A='") + row.converted +
               "'; export A\nB='caf\xC3\xA9'; export B\nC='plain'; export C\n",
           "", 0);
    // With nothing outside ASCII all is as anywhere else.
    warehouse.Product("C/Contents/1.0/1", Insert("C", "plain"));
    Expect(Zorenv({"-r", warehouse.Root(), "-p", "C", "--sh"}, options), "C='plain'; export C\n",
           "", 0);
    Expect(Zorenv({"-r", warehouse.Root(), "-p", "D", "--sh"}, options), "",
           "*** Error: File " + warehouse.Root() + "/D/Contents/ Does not exist\n", 1);
  }
}

#ifdef ZORENV_STATIC_PROGRAM
// Without any shared library, the same answers.
TEST(Startup, TheStaticProgramNeedsNothingAndAnswersAlike) {
  RunOptions options;
  options.environment = PlainEnvironment();
  const RunResult headers = RunProgram({"/usr/bin/readelf", "-lW", ZORENV_STATIC_PROGRAM}, options);
  ASSERT_EQ(0, headers.status);
  EXPECT_NE(std::string::npos, headers.out.find("LOAD"));
  EXPECT_EQ(std::string::npos, headers.out.find("INTERP"));
  EXPECT_EQ(std::string::npos, headers.out.find("DYNAMIC"));

  Warehouse warehouse;
  warehouse.Product("C/Contents/1.0/1", Insert("A", "caf\xC3\xA9") + Insert("PATH", "/opt/bin"));
  for (const char* locale : {"LC_ALL=C.UTF-8", "LC_ALL=C", "LC_ALL=no_SUCH"}) {
    SCOPED_TRACE(locale);
    options.environment = {"PATH=/usr/bin:/bin", locale};
    for (const char* root : {"root", "caf\xC3\xA9", "caf\xE9"})
      for (const std::vector<std::string>& mode : std::initializer_list<std::vector<std::string>>{
               {"--sh"},
               {"--csh"},
               {"--posh"},
               {"--bat"},
               {"--exec", "/bin/sh", "-c", "echo $A"}}) {
        std::vector<std::string> arguments = {"-r", warehouse / root, "-p", "C"};
        arguments.insert(arguments.end(), mode.begin(), mode.end());
        SCOPED_TRACE(testing::PrintToString(arguments));
        const RunResult expected = Zorenv(arguments, options);
        arguments.insert(arguments.begin(), ZORENV_STATIC_PROGRAM);
        Expect(RunProgram(arguments, options), expected.out, expected.err, expected.status);
      }
  }
}
#endif

}  // namespace
