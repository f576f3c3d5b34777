// The example application of the framework: whole runs, and what its document says about it.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "tool.h"

namespace {

const std::string kDirectory = std::string(ZOR_SOURCE_DIR) + "/examples/greet";

RunResult Greet(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), GREET_PROGRAM);
  RunOptions options;
  options.environment = PlainEnvironment();
  options.directory = kDirectory;
  return RunProgram(arguments, options);
}

// A line of the page: the English message, and its translations if it has any.
struct Message {
  std::string english, german, japanese;
};

const std::vector<Message> kPage = {
    {"Good morning!\n", "    Guten Morgen!\n", "    おはようございます。\n"},
    {"Welcome to our guest house, Ines.\n", "    Willkommen in unserem Gasthaus, Ines.\n",
     "    Ines様、私どもの宿へようこそ。\n"},
    {"Your key is B1F.\n", "    Ihr Schlüssel ist B1F.\n", "    お部屋の鍵はB1Fです。\n"},
    {"There is a letter for you.\n", "    Für Sie ist ein Brief gekommen.\n",
     "    お手紙が一通届いています。\n"},
    {"There are 12 letters for you.\n", "    Für Sie sind 12 Briefe gekommen.\n",
     "    お手紙が12通届いています。\n"},
    {"The ferry to Grey Isle leaves at 9:05.\n",
     "    Um 9.05 Uhr fährt die Fähre nach Grey Isle.\n",
     "    Grey Isleへの船は9時05分に出ます。\n"},
    {"The ferry to Saint Orla leaves at 11:40, 25 minutes late.\n",
     "    Um 11.40 Uhr fährt mit 25 Minuten Verspätung die Fähre nach Saint Orla.\n",
     "    Saint Orlaへの船は25分遅れて、11時40分に出ます。\n"},
    {"Today's soup costs 4.50 crowns and goes well with bread.\n",
     "    Zu Brot passt heute: Suppe, 4.50 Kronen.\n",
     "    パンによく合う本日のスープは4.50クローネです。\n"},
    // German has no word for the jelly, so it stays as it is.
    {"Today's pie costs 12.25 crowns and goes well with quince jelly.\n",
     "    Zu quince jelly passt heute: Pastete, 12.25 Kronen.\n",
     "    マルメロのゼリーによく合う本日のパイは12.25クローネです。\n"},
    {"Breakfast, which 90% of our guests take, is from 7 to 10.\n",
     "    Frühstück gibt es von 7 bis 10; 90% unserer Gäste kommen.\n",
     "    お客様の90%が召し上がる朝食は、7時から10時までです。\n"},
    {"Breakfast is on the terrace.\nPlease ring the bell.\n",
     "    Das Frühstück gibt es auf der Terrasse.\n    Bitte läuten Sie.\n",
     "    朝食はテラスでどうぞ。\n    ベルを鳴らしてください。\n"},
    // Japanese has no template for the step.
    {"Mind the step between hall and kitchen.\n",
     "    Achten Sie auf die Stufe zwischen Flur und Küche.\n", ""},
};

std::string Page(const std::string& heading, std::string Message::*translation = nullptr) {
  std::string text = heading + "\n\n";
  for (const Message& message : kPage) {
    text += message.english;
    if (translation != nullptr) text += message.*translation;
  }
  return text;
}

const std::string kLogged = "greet: ";

}  // namespace

TEST(Greet, SpeaksEnglishByItself) {
  Expect(Greet({}), Page("Lantern House"), "", 0);
}

TEST(Greet, TranslatesIntoGerman) {
  Expect(Greet({"deutsch.msg"}), Page("Lantern House / Haus zur Laterne", &Message::german), "", 0);
}

TEST(Greet, TranslatesIntoALanguageOfAnotherWordOrder) {
  Expect(Greet({"nihongo.msg"}), Page("Lantern House / 灯籠館", &Message::japanese), "", 0);
}

TEST(Greet, PrintsTheNumbersOfTranslationsByTheLocale) {
  const TemporaryTree tree;
  const std::string source = tree.Write("source",
                                        "comment_char %\nescape_char /\nLC_NUMERIC\n"
                                        "decimal_point \",\"\nthousands_sep \"\"\ngrouping -1\n"
                                        "END LC_NUMERIC\n");
  RunProgram({"/usr/bin/localedef", "-c", "-i", source, "-f", "ANSI_X3.4-1968", tree / "comma"});
  if (!std::filesystem::exists(tree / "comma")) GTEST_SKIP() << "no localedef here";
  RunOptions options;
  options.directory = kDirectory;
  options.environment = {"LC_CTYPE=C.UTF-8", "LC_NUMERIC=comma", "LOCPATH=" + tree.path()};
  const std::string out = RunProgram({GREET_PROGRAM, "deutsch.msg"}, options).out;
  EXPECT_NE(std::string::npos, out.find("Today's soup costs 4.50 crowns")) << out;
  EXPECT_NE(std::string::npos, out.find("Suppe, 4,50 Kronen.")) << out;
}

TEST(Greet, LeavesNoBlockOfMemoryBehind) {
  const std::string none = "greet: 0 blocks were not freed\n";
  Expect(Greet({"--memory"}), Page("Lantern House"), none, 0);
  for (const char* file : {"deutsch.msg", "nihongo.msg"}) {
    const RunResult result = Greet({"--memory", file});
    EXPECT_EQ(none, result.err) << file;
    EXPECT_EQ(Greet({file}).out, result.out) << file;
  }
  // A file that fails leaves nothing either.
  Expect(Greet({"--memory", "greet.cpp"}), "",
         kLogged + "greet.cpp: This is no message file\n" + none, 1);
}

TEST(Greet, ReportsAMissingFile) {
  const std::string text =
      "missing.msg: Error: File " + kDirectory + "/missing.msg Does not exist, (Error Code: 2)\n";
  Expect(Greet({"missing.msg"}), "", kLogged + text, 1);
  Expect(Greet({"--trace", "missing.msg"}), "",
         kLogged + "FwTranslLoadMessageFile: Unable to open file 'missing.msg'\n" + kLogged + text,
         1);
}

TEST(Greet, WordsErrorsInTheLanguageOfTheFilesBefore) {
  Expect(Greet({"deutsch.msg", "missing.msg"}), "",
         kLogged + "missing.msg: Fehler: Datei " + kDirectory +
             "/missing.msg gibt es nicht (Fehlernummer 2)\n",
         1);
  Expect(Greet({"deutsch.msg", "greet.cpp"}), "",
         kLogged + "greet.cpp: Das ist keine Meldungsdatei\n", 1);
}

TEST(Greet, LetsALaterFileOverride) {
  const TemporaryTree tree;
  const std::string file =
      tree.Write("plain.msg",
                 "[Header]\nLocale=de\nUS Text=#EN\nLocal Text=#DE\nend\n"
                 "[Fixed Strings]\n#EN\nGood morning!\n#DE\nMoin!\n#EN\nend\n");
  std::string expected = Page("Lantern House / Haus zur Laterne", &Message::german);
  const std::string morning = "Guten Morgen!";
  expected.replace(expected.find(morning), morning.size(), "Moin!");
  Expect(Greet({"deutsch.msg", file}), expected, "", 0);
}

TEST(Greet, ReportsAFileWithoutAHeader) {
  Expect(Greet({"greet.cpp"}), "", kLogged + "greet.cpp: This is no message file\n", 1);
}

TEST(Greet, ReportsAHeaderThatLacksTags) {
  const TemporaryTree tree;
  const std::string file = tree.Write("tags.msg", "[Header]\nUS Text=#EN\nend\n");
  const std::string logged = kLogged + "ERROR: In file '" + file + "': Required header tag ";
  Expect(Greet({file}), "",
         logged + "\"Locale\" not found\n" + logged + "\"Local Text\" not found\n" + kLogged +
             file + ": Error: Header tag Locale Does not exist, (Error Code: 0)\n",
         1);
}

TEST(Greet, TakesOfAMalformedSectionWhatStandsBeforeTheFault) {
  const TemporaryTree tree;
  const std::string file =
      tree.Write("pairs.msg",
                 "[Header]\nLocale=de\nUS Text=#EN\nLocal Text=#DE\nnot a tag\nend\n"
                 "[Fixed Strings]\n#EN\nGood morning!\n#DE\nMoin!\n"
                 "#EN\nLantern House\n#DE\nHaus zur Laterne\n");
  const RunResult result = Greet({file});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(kLogged + "WARNING: In file '" + file +
                "': Ignoring invalid line in header (not 'tag=value'): \"not a tag\"\n" + kLogged +
                "ERROR: In file '" + file + "': Unexpected EOF when reading Local text\n",
            result.err);
  std::string expected = Page("Lantern House");
  const std::string morning = "Good morning!\n";
  expected.insert(expected.find(morning) + morning.size(), "    Moin!\n");
  EXPECT_EQ(expected, result.out);
}

TEST(Greet, StopsWhenTheTickleAsksForIt) {
  Expect(Greet({"--impatient", "deutsch.msg"}), "",
         kLogged + "deutsch.msg: Error: Operation aborted, (Error Code: 0)\n", 1);
}

TEST(Greet, ShowsItsUsage) {
  const std::string usage = "usage: greet [--memory] [--trace] [--impatient] [FILE]...\n";
  Expect(Greet({"--help"}), "", usage, 1);
  Expect(Greet({"deutsch.msg", "-x"}), "", usage, 1);
}

namespace {

// A fenced block of a document, and its kind.
struct Block {
  std::string kind, text;
};

std::vector<Block> Blocks(const std::string& document) {
  std::vector<Block> blocks;
  std::istringstream lines(document);
  bool inside = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("```", 0) == 0) {
      if (!inside) blocks.push_back({line.substr(3), ""});
      inside = !inside;
    } else if (inside) {
      blocks.back().text += line + "\n";
    }
  }
  return blocks;
}

}  // namespace

// Code stands in the example word for word, and commands print what is shown.
TEST(Greet, IsWhatTheDocumentOfTheFrameworkShows) {
  const std::string code = ReadFile(kDirectory + "/greet.cpp");
  const std::string messages =
      ReadFile(kDirectory + "/deutsch.msg") + ReadFile(kDirectory + "/nihongo.msg");
  const std::string project = ReadFile(kDirectory + "/CMakeLists.txt");
  int commands = 0;
  for (const Block& block : Blocks(ReadFile(std::string(ZOR_SOURCE_DIR) + "/doc/framework.md"))) {
    SCOPED_TRACE(block.text);
    if (block.kind == "cpp") {
      EXPECT_NE(std::string::npos, code.find(block.text));
    } else if (block.kind == "cmake") {
      EXPECT_NE(std::string::npos, project.find(block.text));
    } else if (block.kind == "ini") {
      EXPECT_NE(std::string::npos, messages.find(block.text));
    } else if (block.kind == "console") {
      ++commands;
      ASSERT_EQ(0u, block.text.rfind("$ ", 0));
      const std::size_t end = block.text.find('\n');
      RunOptions options;
      options.environment = PlainEnvironment({std::string("GREET_PROGRAM=") + GREET_PROGRAM});
      options.directory = kDirectory;
      const std::string script = "exec 2>&1; greet() { command \"$GREET_PROGRAM\" \"$@\"; }\n" +
                                 block.text.substr(2, end - 2);
      std::string out = RunProgram({"/bin/sh", "-c", script}, options).out;
      // The document speaks of a directory of the reader's.
      for (std::size_t at = 0; (at = out.find(kDirectory, at)) != std::string::npos;)
        out.replace(at, kDirectory.size(), "/home/you/greet");
      EXPECT_EQ(block.text.substr(end + 1), out);
    }
  }
  EXPECT_GE(commands, 3);
}
