// What the front end shows of a warehouse.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "zor.h"

namespace {

// What the front end writes on a terminal of so many columns, its line ends as in a file.
std::string OnTerminal(unsigned short columns, const std::vector<std::string>& arguments,
                       std::vector<std::string> more = {}) {
  winsize size = {24, columns, 0, 0};
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
  if (child == 0) {
    std::vector<std::string> environment = PlainEnvironment(std::move(more));
    std::vector<char*> variables, argv = {const_cast<char*>(ZOR_PROGRAM)};
    for (std::string& text : environment)
      variables.push_back(text.data());
    for (const std::string& argument : arguments)
      argv.push_back(const_cast<char*>(argument.c_str()));
    variables.push_back(nullptr);
    argv.push_back(nullptr);
    execve(ZOR_PROGRAM, argv.data(), variables.data());
    _exit(99);
  }
  std::string text;
  char block[4096];
  // Reading fails with EIO once the other end is closed.
  for (ssize_t count; (count = read(terminal, block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(count));
  close(terminal);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(0, status);
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  return text;
}

TEST(Avail, ListsRevisionsLowestFirst) {
  Expect(ZorOnExamples({"avail", "weaver"}),
         "tools/weaver/1.9/1\ntools/weaver/1.10/1\ntools/weaver/1.10/2 (latest)\n", "", 0);
  Expect(ZorOnExamples({"avail", "libs/**"}), "libs/graphics/fibre/2.0/1 (latest)\n", "", 0);
  Expect(ZorOnExamples({"avail", "nothing"}), "",
         "zor: there is no such product in " + Examples() + "\n", 1);
}

TEST(Avail, GivesJson) {
  Expect(ZorOnExamples({"avail", "--json", "libs/**"}),
         R"({
  "version": 1,
  "root": ")" +
             Examples() + R"(",
  "products": [
    {
      "category": "libs/graphics",
      "name": "fibre",
      "versions": [
        {
          "version": "2.0",
          "revs": [
            "1"
          ]
        }
      ],
      "latest": {
        "version": "2.0",
        "rev": "1"
      }
    }
  ],
  "remarks": []
}
)",
         "", 0);
}

TEST(Avail, PassesOverWhatIsNoProductAndSaysWhatItDoesNotFollow) {
  Warehouse warehouse;
  warehouse.Product("C/P/1/1");
  warehouse.Write("root/C/P/2/README", "no revision");
  warehouse.Write("root/.git/a/b/c/product.xml", "hidden");
  warehouse.Write("root/C/P/1/1/deep/a/b/c/product.xml", "below a product");
  // With two links each walk of a circle would double the work.
  warehouse.Link("root/C/around", "..");
  warehouse.Link("root/C/again", "../C");
  Expect(Zor({"avail", "-r", warehouse.Root()}), "C/P/1/1 (latest)\n",
         "zor: C/again: a link that leads back to a directory above it\n"
         "zor: C/around: a link that leads back to a directory above it\n",
         0);
}

TEST(Avail, FollowsLinksToVersionsAndCategories) {
  Warehouse warehouse;
  warehouse.Product("C/P/1/1");
  warehouse.Link("root/C/P/2", "1");
  warehouse.Link("root/D", "C");
  warehouse.Link("root/C/Q", "nowhere");
  Expect(Zor({"avail", "-r", warehouse.Root()}),
         "C/P/1/1\nC/P/2/1 (latest)\nD/P/1/1\nD/P/2/1 (latest)\n", "", 0);
}

TEST(Avail, TellsOfFilesWhereVersionsAndRevsStand) {
  Warehouse warehouse;
  warehouse.Product("a/b/P/1/1");
  warehouse.Write("root/a/b/P/README", "beside versions");
  warehouse.Write("root/a/b/P/1/notes", "beside revs");
  warehouse.Write("root/a/b/notes", "beside products, where it does no harm");
  const std::string told = ": a file where each entry counts as a ";
  Expect(Zor({"avail", "-r", warehouse.Root()}), "a/b/P/1/1 (latest)\n",
         "zor: a/b/P/1/notes" + told + "rev, also when the latest is looked for\n" +
             "zor: a/b/P/README" + told + "version, also when the latest is looked for\n",
         0);
}

TEST(Avail, TellsOfDirectoriesThatItMayNotRead) {
  if (geteuid() == 0) GTEST_SKIP() << "root may read all";
  Warehouse warehouse;
  warehouse.Product("C/P/1/1");
  warehouse.Product("D/P/1/1");
  std::filesystem::permissions(warehouse / "root/D", std::filesystem::perms::none);
  Expect(Zor({"avail", "-r", warehouse.Root()}), "C/P/1/1 (latest)\n",
         "zor: D: Permission denied\n", 0);
  std::filesystem::permissions(warehouse / "root/D", std::filesystem::perms::owner_all);
}

TEST(Avail, StandsInColumnsOnATerminal) {
  Warehouse warehouse;
  for (const char* name : {"aa", "b", "c", "dddd", "e"})
    warehouse.Product(std::string("C/") + name + "/1/1");
  const std::vector<std::string> words = {"avail", "-r", warehouse.Root()};
  // "C/aa/1/1 (latest)" takes 17 columns, "C/dddd/1/1 (latest)" 19; two stand between columns.
  EXPECT_EQ(
      "C/aa/1/1 (latest)  C/dddd/1/1 (latest)\nC/b/1/1 (latest)   C/e/1/1 (latest)\n"
      "C/c/1/1 (latest)\n",
      OnTerminal(38, words));
  // In four rows the first column is 19 wide: 37 in all.
  EXPECT_EQ(
      "C/aa/1/1 (latest)    C/e/1/1 (latest)\nC/b/1/1 (latest)\nC/c/1/1 (latest)\n"
      "C/dddd/1/1 (latest)\n",
      OnTerminal(37, words));
  EXPECT_EQ(
      "C/aa/1/1 (latest)\nC/b/1/1 (latest)\nC/c/1/1 (latest)\nC/dddd/1/1 (latest)\n"
      "C/e/1/1 (latest)\n",
      OnTerminal(36, words));
}

TEST(Avail, CountsTheColumnsOfWideAndCombiningCharacters) {
  Warehouse warehouse;
  warehouse.Product("C/a\xCC\x88/1/1");                 // a with a combining diaeresis: one column
  warehouse.Product("C/b/1/1");                         // one column
  warehouse.Product("C/\xE7\xB9\x94\xE6\xA9\x9F/1/1");  // two wide characters: four columns
  warehouse.Product("C/\xC3\xA9/1/1");                  // one column
  // Sorted by bytes: a, b, e acute, the wide ones.
  for (const char* locale : {"LC_ALL=C.UTF-8", "LC_ALL=C"})
    EXPECT_EQ(
        "C/a\xCC\x88/1/1 (latest)  C/\xC3\xA9/1/1 (latest)\n"
        "C/b/1/1 (latest)  C/\xE7\xB9\x94\xE6\xA9\x9F/1/1 (latest)\n",
        OnTerminal(38, {"avail", "-r", warehouse.Root()}, {locale}));
}

TEST(Avail, NamesThatAreNoTextStayWhatTheyAre) {
  Warehouse warehouse;
  warehouse.Product("C/x\xFF\x1By/1/1");
  Expect(Zor({"avail", "-r", warehouse.Root()}), "C/x\xFF\x1By/1/1 (latest)\n", "", 0);
  EXPECT_EQ("C/x\\xff\\x1by/1/1 (latest)\n", OnTerminal(80, {"avail", "-r", warehouse.Root()}));
  const RunResult json = Zor({"avail", "--json", "-r", warehouse.Root()});
  // 78 FF 1B 79 in base64.
  EXPECT_NE(std::string::npos,
            json.out.find("\"name\": {\n        \"base64\": \"eP8beQ==\"\n      }"))
      << json.out;
}

}  // namespace
