// New products, and the files that undo what others set.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <random>
#include <set>

#include "zor.h"

namespace {

namespace fs = std::filesystem;

TEST(New, LaysOutAProductThatLoads) {
  Warehouse warehouse;
  const std::string root = warehouse.Root();
  const std::string directory = root + "/tools/deep/loom/1.0/1/";
  Expect(Zor({"new", "-r", root, "tools/deep/loom/1.0/1"}),
         directory + "product.xml\n" + directory + "unenv.xml\n" + directory + "env.xml\n" +
             directory + "partlist.xml\n",
         "", 0);
  Expect(Zor({"avail", "-r", root}), "tools/deep/loom/1.0/1 (latest)\n", "", 0);
  const RunResult show = Zor({"show", "-r", root, "loom"});
  EXPECT_EQ("tools/deep/loom/1.0/1\nloom\nVersions: 1.0/1\nVarieties:\n  any (for this host)\n",
            show.out);
  Expect(Zor({"check", "-r", root}), "1 product: nothing found\n", "", 0);
  // Without a directory of commands it sets nothing.
  Expect(Zorenv(warehouse, {"-p", "tools/deep", "loom", "--sh"}), "", "", 0);
  Expect(Zorenv(warehouse, {"-p", "tools/deep", "loom", "-u", "--sh"}), "", "", 0);
}

TEST(New, PutsCommandsThatAreThereOnPath) {
  Warehouse warehouse;
  const std::string root = warehouse.Root();
  warehouse.Directory("root/tools/loom/1.0/1/bin");
  EXPECT_EQ(0, Zor({"new", "-r", root, "tools/loom/1.0/1"}).status);
  Expect(Zor({"check", "-r", root}), "1 product: nothing found\n", "", 0);
  const std::string path = root + "/tools/loom/1.0/1/bin:/usr/bin:/bin";
  Expect(Zorenv(warehouse, {"-p", "tools", "loom", "--sh"}), "PATH='" + path + "'; export PATH\n",
         "", 0);
  RunOptions options;
  options.environment = {"PATH=" + path};
  Expect(Zorenv({"-r", root, "-p", "tools", "loom", "-u", "--sh"}, options),
         "PATH='/usr/bin:/bin'; export PATH\n", "", 0);
  // What it writes for undoing says the same as what is made of its env.xml.
  const RunResult undo = Zor({"undo-file", "-r", root, "loom"});
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ENV-SETTINGS>\n  <ENV-GROUP>\n    <PATTERN/>\n"
      "    <ENV-REMOVE>\n      <NAME>PATH</NAME>\n      <VALUE>%(BASE-CNVR)/bin</VALUE>\n"
      "    </ENV-REMOVE>\n  </ENV-GROUP>\n</ENV-SETTINGS>\n",
      undo.out);
  EXPECT_EQ(
      "zor: PATH is as before if it was set and had no empty or repeated elements; none may "
      "have been " +
          root + "/tools/loom/1.0/1/bin\n",
      undo.err);
}

TEST(New, CopiesTheFilesOfAnother) {
  Warehouse warehouse;
  const std::string root = warehouse.Root();
  warehouse.Product("C/p/1/1", Insert("A", "%(THIS-VERSION)"));
  warehouse.Undo("C/p/1/1", Remove("A", "%(THIS-VERSION)"));
  const std::string directory = root + "/C/p/2/1/";
  Expect(Zor({"new", "-r", root, "C/p/2/1", "--from", "C/p"}),
         directory + "product.xml\n" + directory + "partlist.xml\n" + directory + "env.xml\n" +
             directory + "unenv.xml\n",
         "", 0);
  Expect(Zorenv(warehouse, {"-p", "C", "p", "--sh"}), "A='2'; export A\n", "", 0);
  // A copy that can't be read does not stay, nor do the directories that it needed.
  warehouse.File("C/q/1/1", "product.xml", "<oops/>");
  const RunResult broken = Zor({"new", "-r", root, "D/q/1/1", "--from", "C/q"});
  EXPECT_EQ("", broken.out);
  EXPECT_EQ(1, broken.status);
  EXPECT_NE(std::string::npos, broken.err.find("D/q/1/1/product.xml")) << broken.err;
  EXPECT_FALSE(fs::exists(root + "/D"));
}

TEST(New, TouchesNothingThatIsThere) {
  Warehouse warehouse;
  const std::string root = warehouse.Root();
  warehouse.Product("C/p/1/1");
  warehouse.Write("root/C/p/2/1/unenv.xml", "mine");
  warehouse.Write("root/C/p/2/1/setup.xml", "mine");
  warehouse.Write("root/C/file", "mine");
  warehouse.Product("D/a/b/c/1/1");
  const auto refuse = [&](const std::string& product, const std::string& why, int status) {
    Expect(Zor({"new", "-r", root, product}), "", "zor: " + why + "\n", status);
  };
  refuse("C/p/2/1",
         root + "/C/p/2/1 has data files already: setup.xml, unenv.xml; nothing was written", 1);
  EXPECT_FALSE(fs::exists(root + "/C/p/2/1/product.xml"));
  refuse("C/file/1/1", root + "/C/file is there already, and is no directory; nothing was written",
         1);
  refuse("C/p/1/1/q/1/1",
         root + "/C/p/1/1 is a product, and nothing is searched below one; nothing was written", 1);
  refuse(
      "D/a/b/c",
      root +
          "/D/a/b/c has products below it, which would not be found any more; nothing was written",
      1);
  EXPECT_FALSE(fs::exists(root + "/D/a/b/c/product.xml"));
  refuse("C/p/3",
         "say which product, in full: category/name/version/revision, as in tools/loom/1.0/1", 2);
  refuse("C/2nd/1/1", "'2nd' can't be a name: what begins with a digit is taken for a version", 2);
  refuse(".C/p/1/1", "'.C' can't be a category: directories of that name are not searched", 2);
  for (const char* odd : {"a b", "a:b", "+", "a[b]", "-a", "a\xFF", "a%b"})
    refuse("C/p/" + std::string(odd) + "/1",
           "'" + std::string(odd == std::string("a\xFF") ? "a\\xff" : odd) +
               "' can't be a version: it may have letters, digits and any of ._+-~,= in it, and "
               "not begin with -",
           2);
  Expect(Zor({"new", "-r", root + "/none", "C/p/1/1"}), "",
         "zor: there is no directory " + root + "/none\n", 1);
}

TEST(UndoFile, SaysWhatCanNotBeUndone) {
  Warehouse warehouse;
  const std::string root = warehouse.Root();
  const auto run = [&](std::vector<std::string> words) {
    words.insert(words.begin(), {"undo-file", "-r", root});
    return Zor(words);
  };
  const std::string place = "zor: C/p/1.0/1/env.xml:";
  warehouse.File(InC("p"), "product.xml", ProductXml(Variety("<VAR n='k' v='1'/>")));
  warehouse.File(InC("p"), "partlist.xml", PartListXml(Part("q")));
  warehouse.Product(InC("q"));
  warehouse.File(InC("p"), "env.xml",
                 "<ENV-SETTINGS><ENV-GROUP><PATTERN/>\n" + Delete("MODE") + "\n" +
                     Insert("MODE", "fast") + "\n" + Remove("OLD", "/old/**") + "\n" +
                     Insert("COPY", "%{OLD}/x") + "\n" + Delete("GONE") +
                     "</ENV-GROUP><ENV-GROUP><PATTERN><MATCH><VAR n='k' v='&lt;&amp;\"'/></MATCH>"
                     "</PATTERN>\n" +
                     Insert("LIST", "a;b&lt;", Before("x") + After("y"), "sep=';'") + "\n" +
                     Insert("LIST", "%{HOME}") + "</ENV-GROUP></ENV-SETTINGS>");
  const std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ENV-SETTINGS>\n  <ENV-GROUP>\n    <PATTERN/>\n"
      "    <ENV-DELETE>MODE</ENV-DELETE>\n  </ENV-GROUP>\n  <ENV-GROUP>\n    <PATTERN>\n"
      "      <MATCH><VAR n=\"k\" v=\"&lt;&amp;&quot;\"/></MATCH>\n    </PATTERN>\n"
      "    <ENV-REMOVE sep=\";\">\n      <NAME>LIST</NAME>\n      <VALUE>a</VALUE>\n"
      "      <VALUE>b&lt;</VALUE>\n      <VALUE>%{HOME}</VALUE>\n    </ENV-REMOVE>\n"
      "  </ENV-GROUP>\n</ENV-SETTINGS>\n";
  const std::string kept_nowhere = " is kept nowhere, so it can't be put back\n";
  // The condition of the second group holds for no variety, so its values mean nothing here.
  Expect(
      run({"C/p"}), text,
      "zor: what its parts set is undone by files of their own\n" + place +
          "2: ENV-DELETE of MODE can't be undone: what the variable held" + kept_nowhere + place +
          "4: ENV-REMOVE of OLD can't be undone: what it takes out" + kept_nowhere + place +
          "5: ENV-INSERT of COPY can't be undone: %{OLD} has another value once the product has "
          "changed OLD\n" +
          place + "6: ENV-DELETE of GONE can't be undone: what the variable held" + kept_nowhere +
          "zor: MODE is as before if it was not set\n"
          "zor: OLD is as before if it was set and had no empty or repeated elements; none may "
          "have been /old/**\n"
          "zor: GONE is as before if it was not set\n"
          "zor: LIST is as before if it was set and had no empty or repeated elements; its "
          "elements must have stood as BEFORE and AFTER want them; still the same must be "
          "%{HOME}\n",
      0);
  const std::string file = root + "/C/p/1.0/1/unenv.xml";
  EXPECT_EQ(file + "\n", run({"C/p", "--write"}).out);
  EXPECT_EQ(text, ReadFile(file));
  Expect(run({"C/p", "--write"}), "", "zor: " + file + " is there already; --force replaces it\n",
         1);
  const RunResult json = run({"C/p", "--write", "--force", "--json", "--delete", "LIST"});
  ExpectValid(json.out, "undo-file");
  EXPECT_NE(std::string::npos, ReadFile(file).find("<ENV-DELETE sep=\";\">LIST</ENV-DELETE>"));

  Expect(run({"C/q"}), "", "zor: C/q/1.0/1 has no env.xml, so there is nothing to undo\n", 1);
  warehouse.File(InC("q"), "setup.xml", RecipeXml(""));
  Expect(run({"C/q"}), "",
         "zor: C/q/1.0/1 has no env.xml but old recipes, and an unenv.xml would put these out of "
         "use; unset.xml undoes what setup.xml does\n",
         1);
}

TEST(New, TakesNamesOfAllLettersAndTellsWhatTheDiskDoesNotTake) {
  Warehouse warehouse;
  const std::string root = warehouse.Root(), directory = root + "/C/\u00fcber/1/1/";
  Expect(Zor({"new", "-r", root, "C/\u00fcber/1/1"}),
         directory + "product.xml\n" + directory + "unenv.xml\n" + directory + "env.xml\n" +
             directory + "partlist.xml\n",
         "", 0);
  const std::string longest(256, 'x');
  Expect(Zor({"new", "-r", root, "D/" + longest + "/1/1"}), "",
         "zor: " + root + "/D/" + longest + ": File name too long; nothing was written\n", 1);
  EXPECT_FALSE(fs::exists(root + "/D"));
}

// A product with the variable k, and what is made of its env.xml.
struct Undone : Warehouse {
  explicit Undone(const std::string& settings) {
    File(InC("p"), "product.xml", ProductXml(Variety("<VAR n='k' v='%{HOME}/k'/>")));
    File(InC("p"), "partlist.xml", PartListXml(""));
    File(InC("p"), "env.xml", settings);
  }
  RunResult Run(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words = {"undo-file", "-r", Root(), "C/p"};
    words.insert(words.end(), more.begin(), more.end());
    return Zor(words, {"HOME=/home/you"});
  }
};

constexpr const char* kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ENV-SETTINGS>\n";
constexpr const char* kGroup = "  <ENV-GROUP>\n    <PATTERN/>\n";
constexpr const char* kEnd = "  </ENV-GROUP>\n</ENV-SETTINGS>\n";

std::string Removal(const std::string& name, const std::vector<std::string>& values) {
  std::string text = "    <ENV-REMOVE>\n      <NAME>" + name + "</NAME>\n";
  for (const std::string& value : values)
    text += "      <VALUE>" + value + "</VALUE>\n";
  return text + "    </ENV-REMOVE>\n";
}

TEST(UndoFile, LeavesOutWhereItIsOpenWhichSeparatorCounts) {
  const std::string semicolon = "sep=';'";
  const std::string place = "zor: C/p/1.0/1/env.xml:";
  const auto open = [&](int line, const std::string& operation, int by) {
    return place + std::to_string(line) + ": " + operation +
           " can't be undone: which separator counts depends on the operation in line " +
           std::to_string(by) + "; state it in both\n";
  };
  // The name that k gives may be any.
  const Undone form(EnvXml("\n" + Insert("LIST", "a", "", semicolon) + "\n" + Insert("%(k)", "b")));
  Expect(form.Run(), std::string(kHead) + "</ENV-SETTINGS>\n",
         open(2, "ENV-INSERT of LIST", 3) + open(3, "ENV-INSERT of %(k)", 2), 0);
}

TEST(UndoFile, LeavesOutNamesThatPatternsGiveAnotherSeparator) {
  const std::string semicolon = "sep=';'";
  const Undone undone(EnvXml("\n" + Insert("FOO1", "a", "", semicolon) + "\n" +
                             Remove("FOO*", "b") + "\n" + Insert("OTHER", "x")));
  Expect(undone.Run(), std::string(kHead) + kGroup + Removal("OTHER", {"x"}) + kEnd,
         "zor: C/p/1.0/1/env.xml:2: ENV-INSERT of FOO1 can't be undone: which separator counts "
         "depends on the operation in line 3; state it in both\n"
         "zor: C/p/1.0/1/env.xml:3: ENV-REMOVE of FOO* can't be undone: which separator counts "
         "depends on the operation in line 2; state it in both\n"
         "zor: OTHER is as before if it was set and had no empty or repeated elements; none may "
         "have been x\n",
         0);
}

TEST(UndoFile, SaysWhereNothingLeadsBack) {
  const std::string condition =
      "</ENV-GROUP><ENV-GROUP><PATTERN><MATCH host='unix-all'><VAR n='k' v='a&gt;&#9;&#10;&#13;b'/>"
      "</MATCH></PATTERN>";
  const Undone undone(EnvXml("\n" + Delete("MODE") + "\n" + Insert("MODE", "fast") + condition +
                             "\n" + Insert("MODE", "slow") + "\n" + Insert("A=B", "x")));
  Expect(undone.Run(),
         std::string(kHead) + kGroup +
             "    <ENV-DELETE>MODE</ENV-DELETE>\n  </ENV-GROUP>\n  <ENV-GROUP>\n    <PATTERN>\n"
             "      <MATCH host=\"unix-all\"><VAR n=\"k\" v=\"a&gt;&#9;&#10;&#13;b\"/></MATCH>\n"
             "    </PATTERN>\n" +
             Removal("MODE", {"slow"}) + kEnd,
         "zor: C/p/1.0/1/env.xml:2: ENV-DELETE of MODE can't be undone: what the variable held is "
         "kept nowhere, so it can't be put back\n"
         "zor: C/p/1.0/1/env.xml:5: ENV-INSERT of A=B can't be undone: no variable can have such "
         "a name\n"
         "zor: MODE is never quite as before: it had to be both set and not set\n",
         0);
}

TEST(UndoFile, KeepsGroupsApartAndNamesAsTheyAreWritten) {
  std::string settings = "<ENV-SETTINGS>", text = kHead;
  for (const std::string condition : {"unix-all 1", "all-x86 1", "all-x86 2"}) {
    const std::string host = condition.substr(0, condition.size() - 2);
    const std::string value = condition.substr(condition.size() - 1);
    const std::string match =
        "<MATCH host=\"" + host + "\"><VAR n=\"k\" v=\"" + value + "\"/></MATCH>";
    settings += "<ENV-GROUP><PATTERN>" + match + "</PATTERN>" + Insert("A", value) + "</ENV-GROUP>";
    text += "  <ENV-GROUP>\n    <PATTERN>\n      " + match + "\n    </PATTERN>\n" +
            Removal("A", {value}) + "  </ENV-GROUP>\n";
  }
  const Undone groups(settings + "</ENV-SETTINGS>");
  Expect(groups.Run(), text + "</ENV-SETTINGS>\n",
         "zor: A is as before if it was set and had no empty or repeated elements\n", 0);
}

TEST(UndoFile, TakesPatternsAndFormsForWhatTheyMayMean) {
  const Undone undone(EnvXml("\n" + Remove("FOO*", "b") + "\n" + Insert("%(k)", "c") + "\n" +
                             Remove("%(k)*", "d")));
  const std::string lost =
      " can't be undone: what it takes out is kept nowhere, so it can't be put back\n";
  const auto claim = [](const std::string& name, const std::string& value) {
    return "zor: " + name +
           " is as before if it was set and had no empty or repeated elements; none may have "
           "been " +
           value + "\n";
  };
  Expect(undone.Run(), std::string(kHead) + kGroup + Removal("%(k)", {"c"}) + kEnd,
         "zor: C/p/1.0/1/env.xml:2: ENV-REMOVE of FOO*" + lost +
             "zor: C/p/1.0/1/env.xml:4: ENV-REMOVE of %(k)*" + lost + claim("FOO*", "b") +
             claim("%(k)", "c") + claim("%(k)*", "d"),
         0);
}

TEST(UndoFile, TakesOutPiecesAndSaysWhatMustStayTheSame) {
  const Undone undone(EnvXml(
      "\n" + Insert("LIST", "%(k)/y") + "\n" + Insert("LIST", "%{HOME}/a:%{HOME}/b::c") + "\n" +
      Insert("LIST", "%[%(BASE-CNVR)/text]") + "\n" + Insert("LIST", "%{HOME}/a") + "\n" +
      Remove("OWN", "o") + "\n" + Insert("TAKEN", "%{OLD_A}") + "\n" + Remove("OLD_*", "o")));
  undone.Write("root/C/p/1.0/1/text", "t");
  const std::string lost = " is kept nowhere, so it can't be put back\n";
  Expect(
      undone.Run({"--delete", "OWN,,"}),
      std::string(kHead) + kGroup +
          Removal("LIST", {"%(k)/y", "%{HOME}/a", "%{HOME}/b", "c", "%[%(BASE-CNVR)/text]"}) + kEnd,
      "zor: C/p/1.0/1/env.xml:6: ENV-REMOVE of OWN can't be undone: what it takes out" + lost +
          "zor: C/p/1.0/1/env.xml:7: ENV-INSERT of TAKEN can't be undone: %{OLD_A} has another "
          "value once the product has changed OLD_A\n"
          "zor: C/p/1.0/1/env.xml:8: ENV-REMOVE of OLD_* can't be undone: what it takes out" +
          lost +
          "zor: LIST is as before if it was set and had no empty or repeated elements; none may "
          "have been /home/you/k/y, /home/you/a, /home/you/b, c, t; still the same must be "
          "%{HOME}, %[%(BASE-CNVR)/text]\n"
          "zor: OWN is as before if it was set and had no empty or repeated elements; none may "
          "have been o\n"
          "zor: OLD_* is as before if it was set and had no empty or repeated elements; none may "
          "have been o\n",
      0);
  Expect(undone.Run({"--force"}), "", "zor: --force belongs to --write\n", 2);
}

// ---- Any env.xml ----

using Table = std::map<std::string, std::string>;

std::vector<std::string> Texts(const Table& table) {
  std::vector<std::string> texts;
  for (const auto& [name, value] : table)
    texts.push_back(name + "=" + value);
  return texts;
}

std::vector<std::string> Split(const std::string& text, const std::string& separator) {
  std::vector<std::string> elements;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find(separator, start), text.size());
    elements.push_back(text.substr(start, end - start));
    start = end + separator.size();
  }
  return elements;
}

// Patterns as zorenv-warehouse(5) tells: by the elements of paths.
bool MatchesElement(std::string_view pattern, std::string_view text) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == '*')
    return MatchesElement(pattern.substr(1), text) ||
           (!text.empty() && MatchesElement(pattern, text.substr(1)));
  return !text.empty() && (pattern[0] == '?' || pattern[0] == text[0]) &&
         MatchesElement(pattern.substr(1), text.substr(1));
}

bool Matches(const std::string& pattern, const std::string& text) {
  if (pattern == "**") return true;
  const auto parts = [](const std::string& path) {
    std::vector<std::string> all = {path.starts_with('/') ? "/" : ""};
    for (const std::string& part : Split(path, "/"))
      if (!part.empty()) all.push_back(part);
    return all;
  };
  const auto wanted = parts(pattern), given = parts(text);
  return std::equal(wanted.begin(), wanted.end(), given.begin(), given.end(), MatchesElement);
}

class RandomUndo {
 public:
  explicit RandomUndo(unsigned seed) : random_(seed) {}

  bool simple = true;  // one group, and no pattern in a name

  std::string Settings() {
    simple = true;
    std::string text = "<ENV-SETTINGS>";
    for (int group = Any(3) == 0 ? 2 : 1; group > 0; --group) {
      text += "<ENV-GROUP>";
      if (group == 2) simple = false;
      text += group == 2 ? "<PATTERN><MATCH><VAR n='k' v='" + std::string(Any(2) ? "1" : "2") +
                               "'/></MATCH></PATTERN>"
                         : "<PATTERN/>";
      for (int i = 1 + Any(5); i > 0; --i)
        text += Operation();
      text += "</ENV-GROUP>";
    }
    return text + "</ENV-SETTINGS>";
  }

  Table Base() {
    Table base = {{"PATH", "/usr/bin:/bin"}, {"HOME", "/home/you"}, {"LC_ALL", "C.UTF-8"}};
    for (const char* name : {"LIST", "MODE", "FOO1", "FOO2", "OTHER"}) {
      if (Any(3) == 0) continue;
      std::string value;
      const std::string separator = Any(4) ? ":" : ";";
      for (int i = Any(5); i > 0; --i) {
        const std::string element = One({"d", "e", "/x/z", "ab", "f", "g", "/usr/y", "a"});
        const std::vector<std::string> known = Split(value, separator);
        const bool again = std::find(known.begin(), known.end(), element) != known.end();
        if (again && Any(6)) continue;
        value += (value.empty() ? "" : separator) + element;
      }
      if (Any(12) == 0) value += separator;
      base[name] = value;
    }
    return base;
  }

  int Any(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

 private:
  std::string One(std::initializer_list<const char*> words) {
    return *(words.begin() + Any(static_cast<int>(words.size())));
  }

  std::string Operation() {
    const std::string name = One({"LIST", "LIST", "MODE", "MODE", "FOO1", "FOO*"});
    if (name == "FOO*") simple = false;
    const std::string attributes = Any(5) ? "" : One({"sep=':'", "sep=';'"});
    const int kind = Any(8);
    if (kind == 0) return Delete(name);
    if (kind == 1) return Remove(name, One({"a", "d", "/x/*", "**", "b*"}), attributes);
    const std::string value = One({"a", "b", "c", "/x/y", "/x//w/", "p:q", "p;q", "a*", "?",
                                   "%(THIS-NAME)", "%{HOME}", "%{MODE}", "", "%(k):s", "m&amp;n"});
    std::string constraints;
    if (Any(4) == 0) constraints += Before(One({"d", "**", "/x/*", "a"}));
    if (Any(4) == 0) constraints += After(One({"e", "f", "/usr/y", "b"}));
    return Insert(name, value, constraints, attributes);
  }

  std::mt19937 random_;
};

// What a run leaves, or nothing if it fails.
std::optional<Table> After(const Warehouse& warehouse, const Table& before, bool undo) {
  std::vector<std::string> words = {"-r", warehouse.Root()};
  if (undo) words.emplace_back("-u");
  for (const char* word : {"-p", "C", "p", "1.0", "1", "--exec", "/usr/bin/env", "-0"})
    words.emplace_back(word);
  RunOptions options;
  options.environment = Texts(before);
  const RunResult result = Zorenv(words, options);
  if (result.status != 0) return std::nullopt;
  Table table;
  for (const std::string& text : Split(result.out, std::string(1, '\0')))
    if (const std::size_t equals = text.find('='); equals != std::string::npos)
      table[text.substr(0, equals)] = text.substr(equals + 1);
  return table;
}

bool Holds(const nlohmann::json& claim, const std::string& name, const Table& before,
           const Table& set) {
  const auto old = before.find(name);
  const bool was_set = old != before.end();
  if (claim.at("set") && !was_set) return false;
  if (claim.at("unset")) return !was_set;
  const std::string separator = claim.at("separator");
  std::vector<std::string> elements;
  if (!old->second.empty()) elements = Split(old->second, separator);
  if (claim.at("tidy")) {
    const std::set<std::string> distinct(elements.begin(), elements.end());
    if (distinct.size() < elements.size() || distinct.contains("")) return false;
  }
  for (const std::string pattern : claim.at("lacks"))
    for (const std::string& element : elements)
      if (Matches(pattern, element)) return false;
  if (!claim.at("order") || !set.contains(name)) return true;
  std::vector<std::string> now;
  for (const std::string& element : Split(set.at(name), separator))
    if (std::find(elements.begin(), elements.end(), element) != elements.end())
      now.push_back(element);
  return now == elements;
}

TEST(UndoFile, RestoresWhatItPromisesToRestore) {
  const char* const factor = std::getenv("ZOR_TEST_ROUNDS");
  const int rounds = 25 * (factor ? std::max(1, std::atoi(factor)) : 1);
  Warehouse warehouse;
  warehouse.File(InC("p"), "product.xml", ProductXml(Variety("<VAR n='k' v='1'/>")));
  warehouse.File(InC("p"), "partlist.xml", PartListXml(""));
  const std::vector<std::string> names = {"LIST", "MODE", "FOO1", "FOO2", "OTHER", "HOME", "PATH"};
  int kept = 0, promised_of_touched = 0, broken_of_touched = 0;
  for (int round = 0; round < rounds; ++round) {
    RandomUndo random(static_cast<unsigned>(round));
    const std::string settings = random.Settings();
    const Table before = random.Base();
    SCOPED_TRACE("round " + std::to_string(round) + ": " + settings);
    warehouse.File(InC("p"), "env.xml", settings);
    fs::remove(warehouse.Root() + "/C/p/1.0/1/unenv.xml");
    const std::optional<Table> set = After(warehouse, before, false);
    if (!set) continue;  // contradictions and undefined names set nothing
    std::vector<std::string> words = {"undo-file", "-r",      warehouse.Root(),
                                      "C/p",       "--write", "--json"};
    if (random.Any(6) == 0) words.insert(words.end(), {"--delete", "MODE,FOO1"});
    const RunResult made = Zor(words, Texts(before));
    ASSERT_EQ(0, made.status) << made.err;
    const std::optional<Table> undone = After(warehouse, *set, true);
    ASSERT_TRUE(undone);
    const nlohmann::json said = nlohmann::json::parse(made.out);
    ++kept;
    for (const std::string& name : names) {
      bool promised = true, touched = false;
      for (const auto& claim : said.at("as_before_if")) {
        if (!Matches(claim.at("variable"), name)) continue;
        touched = true;
        promised = promised && Holds(claim, name, before, *set);
      }
      bool known = true;
      for (const auto& operation : said.at("not_undone"))
        if (Matches(operation.at("variable"), name) && !operation.at("covered")) known = false;
      const auto value = [&](const Table& table) {
        const auto at = table.find(name);
        return at == table.end() ? std::string("(not set)") : "'" + at->second + "'";
      };
      if (promised && known) {
        EXPECT_EQ(value(before), value(*undone)) << name << "\n" << made.out;
        promised_of_touched += touched ? 1 : 0;
      } else if (known && random.simple) {
        // Where a claim does not hold, something is lost.
        EXPECT_NE(value(before), value(*undone)) << name << "\n" << made.out;
        ++broken_of_touched;
      }
    }
  }
  EXPECT_LT(rounds / 4, kept);
  EXPECT_LT(rounds / 8, promised_of_touched);
  EXPECT_LT(rounds / 8, broken_of_touched);
  RecordProperty("kept", kept);
  RecordProperty("promised", promised_of_touched);
  RecordProperty("broken", broken_of_touched);
}

}  // namespace
