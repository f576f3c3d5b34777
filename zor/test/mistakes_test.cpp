// Mistakes that administrators and users make, each alone on a warehouse of some products, and what
// they are told: where, what was met and what may stand there, why it matters, what to do, and
// where to read on.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>

#include "session_support.h"
#include "zor.h"

namespace {

using Words = std::vector<std::string>;

constexpr const char* kGcc = "compilers/gcc/14.1/1";
constexpr const char* kEnv = "compilers/gcc/14.1/1/env.xml";

std::string VarietyXml(const std::string& variables) {
  return "    <VARIETY><VAR n=\"platform\" v=\"unix\"/>" + variables +
         "<SEGMENT host=\"all-all\" here=\"1\"/></VARIETY>\n";
}

std::string SettingsXml(const std::string& name, const std::string& value) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<ENV-SETTINGS>\n"
         "  <ENV-GROUP>\n"
         "    <PATTERN/>\n"
         "    <ENV-INSERT>\n"
         "      <NAME>" +
         name +
         "</NAME>\n"
         "      <VALUE>" +
         value +
         "</VALUE>\n"
         "      <BEFORE>**</BEFORE>\n"
         "    </ENV-INSERT>\n"
         "  </ENV-GROUP>\n"
         "</ENV-SETTINGS>\n";
}

std::string ByCompiler(const std::string& compiler, const std::string& program) {
  return "  <ENV-GROUP>\n"
         "    <PATTERN><MATCH><VAR n=\"compiler\" v=\"" +
         compiler +
         "\"/></MATCH></PATTERN>\n"
         "    <ENV-DELETE>CXX</ENV-DELETE>\n"
         "    <ENV-INSERT><NAME>CXX</NAME><VALUE>" +
         program +
         "</VALUE></ENV-INSERT>\n"
         "  </ENV-GROUP>\n";
}

// The warehouse, of which each mistake gets a new one.
class Shop {
 public:
  std::string Root() const { return tree_.Root(); }
  const Warehouse& tree() const { return tree_; }

  void Renew() {
    std::filesystem::remove_all(Root());
    for (const char* gcc : {"compilers/gcc/13.2/1", kGcc})
      Product(gcc, SettingsXml("PATH", "%(BASE-CNVR)/bin"));
    Product("compilers/llvm/18/1", SettingsXml("PATH", "%(BASE-CNVR)/bin"));
    Product("compilers/intel/2024.1/1", SettingsXml("PATH", "%(BASE-CNVR)/bin"));
    Product("lang/python/3.12.4/1", SettingsXml("PATH", "%(BASE-CNVR)/bin"));
    Product("mpi/openmpi/5.0/1",
            "<ENV-SETTINGS>\n" + ByCompiler("gcc", "g++") + ByCompiler("llvm", "clang++") +
                "</ENV-SETTINGS>\n",
            "",
            VarietyXml("<VAR n=\"compiler\" v=\"gcc\"/>") +
                VarietyXml("<VAR n=\"compiler\" v=\"llvm\"/>"));
    Product("apps/cfd/1/1", SettingsXml("PATH", "%(BASE-CNVR)/bin"),
            "      <PRODUCT category=\"mpi\" name=\"openmpi\" version=\"5.0\" rev=\"1\">\n"
            "        <PATTERN><MATCH><VAR n=\"compiler\" v=\"gcc\"/></MATCH></PATTERN>\n"
            "      </PRODUCT>\n");
    Product("site/Contents/1/1", SettingsXml("USERDIR", "/home/%{USER}"));
  }

  void Product(const std::string& directory, const std::string& settings,
               const std::string& parts = "", const std::string& varieties = VarietyXml("")) {
    Put(directory + "/product.xml", "<PRODUCT-INFO name=\"x\">\n  <VARIETIES>\n" + varieties +
                                        "  </VARIETIES>\n</PRODUCT-INFO>\n");
    Put(directory + "/partlist.xml", "<PARTLIST>\n  <PARTSPEC>\n    <PATTERN/>\n    <PARTS>\n" +
                                         parts + "    </PARTS>\n  </PARTSPEC>\n</PARTLIST>\n");
    Put(directory + "/env.xml", settings);
  }

  void Put(const std::string& file, const std::string& content) {
    tree_.Write("root/" + file, content);
  }
  void Change(const std::string& file, const std::string& from, const std::string& to) {
    std::string content = ReadFile(Root() + '/' + file);
    ASSERT_NE(std::string::npos, content.find(from)) << file << ": " << from;
    for (std::size_t at = 0; (at = content.find(from, at)) != std::string::npos; at += to.size())
      content.replace(at, from.size(), to);
    Put(file, content);
  }
  void Drop(const std::string& path) { std::filesystem::remove_all(Root() + '/' + path); }
  void Directory(const std::string& path) { tree_.Directory("root/" + path); }
  void Mode(const std::string& path, mode_t mode) { chmod((Root() + '/' + path).c_str(), mode); }

 private:
  Warehouse tree_;
};

struct Mistake {
  const char* what;
  std::function<void(Shop*)> make;
  Words words;
  std::string told;  // $W stands for the warehouse
  int status = 1;
};

std::string WithRoot(std::string text, const std::string& root) {
  for (std::size_t at = 0; (at = text.find("$W", at)) != std::string::npos; at += root.size())
    text.replace(at, 2, root);
  return text;
}

void Check(const std::vector<Mistake>& mistakes, const Words& variables = {"ZORROOT=$W"}) {
  Shop shop;
  for (const Mistake& mistake : mistakes) {
    SCOPED_TRACE(mistake.what);
    shop.Renew();
    mistake.make(&shop);
    Words environment;
    for (const std::string& variable : variables)
      environment.push_back(WithRoot(variable, shop.Root()));
    Expect(Zor(mistake.words, environment), "", WithRoot(mistake.told, shop.Root()),
           mistake.status);
  }
}

void Nothing(Shop*) {}

// Lines of a message.
std::string Told(const std::string& text, const std::string& why, const std::string& help,
                 const std::string& read_on) {
  std::string lines = "zor: " + text + '\n';
  for (const std::string& line : {why, help})
    if (!line.empty()) lines += "  " + line + '\n';
  return lines + "  see " + read_on + '\n';
}

std::string Refused(const std::string& place, const std::string& text, const std::string& word,
                    const std::string& help, const std::string& section) {
  return Told("$W/compilers/gcc/14.1/1/env.xml:" + place + ": " + text,
              word + ": the file is not read, and its product can't be used", help,
              "zorenv-warehouse(5), " + section);
}

const Words kLoadGcc = {"env", "compilers/gcc"};
const std::string kForm = "Form of the data files";
const std::string kSettings = "ENV.XML AND UNENV.XML";

std::function<void(Shop*)> InEnv(const std::string& from, const std::string& to) {
  return [=](Shop* shop) { shop->Change(kEnv, from, to); };
}

TEST(Mistakes, InTheTagsOfAFile) {
  const std::string operations =
      "here may stand ENV-INSERT, ENV-REMOVE, ENV-DELETE or the end of ENV-GROUP "
      "(did you mean ENV-INSERT?)";
  const std::string fault = "XML parsing error";
  Check({
      {"end tag misspelt", InEnv("</VALUE>", "</VALEU>"), kLoadGcc,
       Refused("7:30", "</VALEU> can't close VALUE, which begins at 7:7", "mismatched tag",
               "write </VALUE>", kForm)},
      {"end tag forgotten", InEnv("  </ENV-GROUP>\n", ""), kLoadGcc,
       Refused("10:1", "</ENV-SETTINGS> can't close ENV-GROUP, which begins at 3:3",
               "mismatched tag", "close ENV-GROUP first, with </ENV-GROUP>", kForm)},
      {"NAME closed by VALUE", InEnv("</NAME>", "</VALUE>"), kLoadGcc,
       Refused("6:17", "</VALUE> can't close NAME, which begins at 6:7", "mismatched tag",
               "write </NAME>", kForm)},
      {"misspelt on both sides", InEnv("ENV-INSERT", "ENV-ISNERT"), kLoadGcc,
       Refused("5:5", "ENV-ISNERT is not an element of an env.xml; " + operations, fault,
               "write ENV-INSERT, in its end tag too", kSettings)},
      {"in lower case", InEnv("ENV-INSERT", "env-insert"), kLoadGcc,
       Refused("5:5", "env-insert is not an element of an env.xml; " + operations, fault,
               "write ENV-INSERT, in its end tag too", kSettings)},
      {"outside of a group",
       [](Shop* shop) {
         shop->Change(kEnv, "  <ENV-GROUP>\n    <PATTERN/>\n", "");
         shop->Change(kEnv, "  </ENV-GROUP>\n", "");
       },
       kLoadGcc,
       Refused("3:5",
               "ENV-INSERT has no place here in ENV-SETTINGS; here may stand ENV-GROUP or the end "
               "of ENV-SETTINGS",
               fault, "move ENV-INSERT to where it may stand", kSettings)},
      {"PATTERN forgotten", InEnv("    <PATTERN/>\n", ""), kLoadGcc,
       Refused("4:5", "ENV-INSERT has no place here in ENV-GROUP; here must stand PATTERN", fault,
               "move ENV-INSERT to where it may stand", kSettings)},
      {"BEFORE before VALUE",
       InEnv("      <VALUE>%(BASE-CNVR)/bin</VALUE>\n      <BEFORE>**</BEFORE>\n",
             "      <BEFORE>**</BEFORE>\n      <VALUE>%(BASE-CNVR)/bin</VALUE>\n"),
       kLoadGcc,
       Refused("7:7", "BEFORE has no place here in ENV-INSERT; here must stand VALUE", fault,
               "move BEFORE to where it may stand", kSettings)},
      {"VALUE forgotten", InEnv("      <VALUE>%(BASE-CNVR)/bin</VALUE>\n", ""), kLoadGcc,
       Refused("7:7", "BEFORE has no place here in ENV-INSERT; here must stand VALUE", fault,
               "move BEFORE to where it may stand", kSettings)},
      {"another kind of file", [](Shop* shop) { shop->Put(kEnv, "<PARTLIST/>\n"); }, kLoadGcc,
       Refused("1:1",
               "the root is PARTLIST, so this is a partlist.xml; the root of an env.xml is "
               "ENV-SETTINGS",
               fault, "give the file the name partlist.xml, and put an env.xml here", kSettings)},
  });
}

TEST(Mistakes, InTheXmlOfAFile) {
  Check({
      {"a raw &", InEnv("/bin</VALUE>", "/R&D</VALUE>"), kLoadGcc,
       Refused("7:28", "a & that begins no reference", "not well-formed", "write &amp; for it",
               kForm)},
      {"a raw & before a blank", InEnv("/bin</VALUE>", "/R & D</VALUE>"), kLoadGcc,
       Refused("7:29", "a & that begins no reference", "not well-formed", "write &amp; for it",
               kForm)},
      {"Latin-1 without a declaration",
       [](Shop* shop) {
         shop->Change(kEnv, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", "");
         shop->Change(kEnv, "/bin", "/\xFC");
       },
       kLoadGcc,
       Refused("6:27",
               "the byte FC is not a character of UTF-8, and the file declares no other encoding",
               "not well-formed",
               "save the file as UTF-8, or begin it with <?xml version=\"1.0\" "
               "encoding=\"ISO-8859-1\"?> if that is what it is in",
               kForm)},
      {"an attribute without quotes", InEnv("<ENV-INSERT>", "<ENV-INSERT sep=;>"), kLoadGcc,
       Refused("5:21", "the value of an attribute stands in no quotes", "not well-formed",
               "write name=\"value\"", kForm)},
      {"windows-1252", InEnv("UTF-8", "windows-1252"), kLoadGcc,
       Refused("1:31",
               "the encoding windows-1252 is not known; there are UTF-8, UTF-16, ISO-8859-1 and "
               "US-ASCII",
               "unknown encoding", "save the file as UTF-8, and declare that or nothing", kForm)},
      {"a blank line in front", InEnv("<?xml", "\n<?xml"), kLoadGcc,
       Refused("2:1",
               "<?xml ...?> stands here, and may stand only at the very beginning of the file",
               "xml processing instruction not at start of external entity",
               "remove the blanks and line ends before it", kForm)},
      {"an empty file", [](Shop* shop) { shop->Put(kEnv, ""); }, kLoadGcc,
       Refused("1:1", "the file is empty", "no element found",
               "write at least <ENV-SETTINGS></ENV-SETTINGS> into it, or remove it if it is not "
               "needed",
               kForm)},
      {"a file cut short", [](Shop* shop) { shop->Put(kEnv, "<ENV-SETTINGS>\n <ENV-GROUP>\n"); },
       kLoadGcc,
       Refused("3:1",
               "the file ends, and not closed are ENV-GROUP (begins at 2:2) and ENV-SETTINGS "
               "(begins at 1:1)",
               "no element found", "the innermost comes first: add </ENV-GROUP> where it ends",
               kForm)},
      {"a declaration without a version", InEnv("version=\"1.0\" ", ""), kLoadGcc,
       Refused("1:7", "this is no XML declaration", "XML declaration not well-formed",
               "write <?xml version=\"1.0\" encoding=\"UTF-8\"?>, or nothing", kForm)},
  });
}

TEST(Mistakes, InNamesAndParts) {
  const std::string part = "mpi/openmpi/5.0/1";
  const std::string at_part =
      "zor: $W/apps/cfd/1/1/partlist.xml:5:7: apps/cfd/1/1 is without its part ";
  const auto in_parts = [](const std::string& from, const std::string& to) {
    return [=](Shop* shop) { shop->Change("apps/cfd/1/1/partlist.xml", from, to); };
  };
  const Words cfd = {"exec", "apps/cfd", "--", "true"};
  Check({
      {"a name in capital letters", InEnv("%(BASE-CNVR)", "%(BASE-CNVR)/%(PLATFORM)"), kLoadGcc,
       Told(
           "$W/compilers/gcc/14.1/1/env.xml:7:27: % variable PLATFORM is not defined (did you mean "
           "%(platform)?)",
           "defined are BASE-DIRECTORY, PLIB, PDLL, PEXE, PFS, platform, FS, EXE, DLL, LIB, "
           "THIS-CNVR, PLAT-THIS-CNVR, BASE-CN, BASE-CNV, BASE-CNVR, BINPATH, HOST-PLATFORM, "
           "THIS-CATEGORY, THIS-NAME, THIS-REV, THIS-VERSION and PLAT-CATEGORY",
           "write one of these, or give the variety a VAR of that name in product.xml",
           "zorenv-warehouse(5), EXPANSION")},
      {"a user under cron",
       Nothing,
       {"env", "site"},
       Told("$W/site/Contents/1/1/env.xml:7:20: % variable USER is not defined: %{USER} stands for "
            "an environment variable, and there is none of that name",
            "there is no default for one, so the product can't be used without it",
            "set it before, as in USER=... zor ...; or write its value into the file in place of "
            "%{USER}",
            "zorenv-warehouse(5), EXPANSION")},
      {"a part's name misspelt", in_parts("\"openmpi\"", "\"openmpii\""), cfd,
       at_part + "mpi/openmpii/5.0/1: mpi has no product openmpii; there is openmpi (did you mean "
                 "openmpi?)\n",
       0},
      {"a part's version misspelt", in_parts("\"5.0\"", "\"5.1\""), cfd,
       at_part + "mpi/openmpi/5.1/1: mpi/openmpi has no version 5.1; there is 5.0 (did you mean "
                 "5.0?)\n",
       0},
      {"the latest as a part", in_parts("\"5.0\"", "\"+\""), cfd,
       at_part + "mpi/openmpi/+/1: a part list names the version, and + is none; there is 5.0\n",
       0},
      {"partlist.xml of a part missing", [part](Shop* shop) { shop->Drop(part + "/partlist.xml"); },
       cfd, at_part + "mpi/openmpi/5.0/1: it has no partlist.xml\n", 0},
      {"a fault in a part", [](Shop* shop) { shop->Put("mpi/openmpi/5.0/1/env.xml", "<X/>"); }, cfd,
       Told("$W/mpi/openmpi/5.0/1/env.xml:1:1: the root is X; the root of an env.xml is "
            "ENV-SETTINGS",
            "XML parsing error: the file is not read, and its product can't be used",
            "write ENV-SETTINGS, in its end tag too", "zorenv-warehouse(5), " + kSettings)},
      {"SEGMENT forgotten",
       [](Shop* shop) {
         shop->Change(std::string(kGcc) + "/product.xml", "<SEGMENT host=\"all-all\" here=\"1\"/>",
                      "");
       },
       kLoadGcc,
       "zor: compilers/gcc/14.1/1: a segment of each variety that fits is not here, so none of its "
       "settings apply (SEGMENT here=\"1\" in its product.xml says that one is)\n"},
  });
}

std::string Highest(const std::string& entry, const std::string& trouble) {
  return Told("$W/compilers/gcc/" + entry +
                  " is taken for the latest version of compilers/gcc, and " + trouble,
              "where no version is named the highest entry is taken, whatever it is, and so nobody "
              "can use the product without naming a version",
              "move " + entry +
                  " out of $W/compilers/gcc if it is not a version; until then name one: "
                  "compilers/gcc/14.1",
              "zorenv-warehouse(5), VERSIONS");
}

TEST(Mistakes, OnDisk) {
  Check({
      {"README", [](Shop* shop) { shop->Put("compilers/gcc/README", "x"); }, kLoadGcc,
       Highest("README", "is a file")},
      {"an empty directory", [](Shop* shop) { shop->Directory("compilers/gcc/default"); }, kLoadGcc,
       Highest("default", "is an empty directory")},
      {"a release candidate to come",
       [](Shop* shop) { shop->Directory("compilers/gcc/15.0-rc1"); },
       {"show", "compilers/gcc"},
       Highest("15.0-rc1", "is an empty directory")},
      {".git", [](Shop* shop) { shop->Directory("compilers/gcc/.git/refs"); }, kLoadGcc,
       Highest(".git", "has no revision with a product.xml")},
      {".nfs00001", [](Shop* shop) { shop->Put("compilers/gcc/14.1/.nfs00001", "x"); }, kLoadGcc,
       Told(
           "$W/compilers/gcc/14.1/.nfs00001 is taken for the latest revision of compilers/gcc, and "
           "is a file",
           "where no revision is named the highest entry is taken, whatever it is, and so nobody "
           "can use the product without naming a revision",
           "move .nfs00001 out of $W/compilers/gcc/14.1 if it is not a revision; until then name "
           "one: "
           "compilers/gcc/14.1/1",
           "zorenv-warehouse(5), VERSIONS")},
      {"product.xml missing",
       [](Shop* shop) { shop->Drop(std::string(kGcc) + "/product.xml"); },
       {"env", "-p", "compilers", "gcc", "14.1", "1"},
       Told("$W/compilers/gcc/14.1/1 has no product.xml",
            "each product must have one, so this one can't be used (File "
            "$W/compilers/gcc/14.1/1/product.xml Does not exist)",
            "write one, or move the directory away", "zorenv-warehouse(5), PRODUCT.XML")},
      {"partlist.xml missing", [](Shop* shop) { shop->Drop(std::string(kGcc) + "/partlist.xml"); },
       kLoadGcc,
       Told("$W/compilers/gcc/14.1/1 has no partlist.xml",
            "each product must have one, so this one can't be used (File "
            "$W/compilers/gcc/14.1/1/partlist.xml Does not exist)",
            "a product without parts has <PARTLIST/> in it", "zorenv-warehouse(5), PARTLIST.XML")},
      {"a directory for a file",
       [](Shop* shop) {
         shop->Drop(kEnv);
         shop->Directory(kEnv);
       },
       kLoadGcc,
       Told("$W/compilers/gcc/14.1/1/env.xml: this is a directory, and should be a file",
            "its product can't be used", "move it away, and put the file in its place",
            "zorenv-warehouse(5), " + kSettings)},
  });
}

TEST(Mistakes, WithPermissions) {
  const auto told = [](const std::string& path, const std::string& why, const std::string& mode) {
    return Told("$W/compilers/gcc/" + path + ": permission denied", why,
                "whoever looks after the warehouse can open it to all: chmod " + mode,
                "zorenv-warehouse(5), DESCRIPTION");
  };
  const Mistake mistakes[] = {
      {"a file", [](Shop* shop) { shop->Mode(kEnv, 0600); }, kLoadGcc,
       told("14.1/1/env.xml", "you may not read this file", "a+r $W/compilers/gcc/14.1/1/env.xml")},
      {"a directory", [](Shop* shop) { shop->Mode(kGcc, 0700); }, kLoadGcc,
       told("14.1/1/product.xml", "you may not enter the directory $W/compilers/gcc/14.1/1",
            "a+rx $W/compilers/gcc/14.1/1")},
      {"a directory to pass through",
       [](Shop* shop) { shop->Mode("compilers/gcc", 0711); },
       {"env", "-p", "compilers", "gcc"},
       told("", "you may not read this directory", "a+rx $W/compilers/gcc")},
  };
  if (geteuid() != 0) GTEST_SKIP() << "it takes root to be somebody else";
  Shop shop;
  for (const Mistake& mistake : mistakes) {
    SCOPED_TRACE(mistake.what);
    shop.Renew();
    mistake.make(&shop);
    Words argv = {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                  ZOR_PROGRAM};
    argv.insert(argv.end(), mistake.words.begin(), mistake.words.end());
    RunOptions options;
    options.environment = PlainEnvironment({"ZORROOT=" + shop.Root()});
    Expect(RunProgram(argv, options), "", WithRoot(mistake.told, shop.Root()), 1);
  }
}

TEST(Mistakes, InTheNamesOfProducts) {
  const std::string requests = "zor(1), Requests";
  const std::string own = "-p takes category, name, version and revision as words of their own";
  Check({
      {"a category",
       Nothing,
       {"env", "-p", "compiler", "gcc"},
       Told("there is no category compiler in $W; there are apps, compilers, lang, mpi and site "
            "(did you mean compilers?)",
            "", "zor avail lists all products", requests)},
      {"a name",
       Nothing,
       {"env", "-p", "compilers", "gc"},
       Told("compilers has no product gc; there are gcc, intel and llvm (did you mean gcc?)", "",
            "zor avail 'compilers*' lists them", requests)},
      {"a version",
       Nothing,
       {"env", "-p", "compilers", "gcc", "11"},
       Told("compilers/gcc has no version 11; there are 13.2 and 14.1", "",
            "zor avail 'compilers/gcc*' lists them", requests)},
      {"only a name",
       Nothing,
       {"env", "-p", "gcc"},
       Told("there is no category gcc in $W; there are apps, compilers, lang, mpi and site", "",
            "gcc is the name of a product: -p compilers gcc", requests)},
      {"a path behind -p",
       Nothing,
       {"env", "-p", "compilers/gcc"},
       Told("there is no product Contents in the category compilers/gcc", own,
            "did you mean -p compilers gcc?", requests)},
      {"a slash in a name",
       Nothing,
       {"env", "-p", "compilers", "gcc/14.1"},
       Told("the name of a product holds no slash, but here is gcc/14.1", own,
            "did you mean -p compilers gcc 14.1?", requests)},
      {"a category in a path",
       Nothing,
       {"env", "compiler/gcc"},
       "zor: there is no product compiler/gcc in $W\ndid you mean compilers/gcc?\n"},
      {"a short name",
       Nothing,
       {"env", "gc"},
       "zor: there is no product gc in $W\ndid you mean gcc?\n"},
      {"a version in a path",
       Nothing,
       {"env", "gcc/11"},
       "zor: compilers/gcc has no such version or revision: gcc/11\nthere are: 13.2 14.1\n"},
      {"what there is",
       Nothing,
       {"avail", "gc"},
       "zor: there is no such product in $W; did you mean gcc?\n"},
  });
}

TEST(Mistakes, InConditionsAndOptions) {
  Check({
      {"a variable",
       Nothing,
       {"exec", "-p", "mpi", "openmpi", "-v", "compler", "gcc", "--", "true"},
       "no variety of mpi/openmpi/5.0/1 has compler=gcc; none has such a variable, they have "
       "compiler and platform (did you mean compiler?)\n",
       0},
      {"a value",
       Nothing,
       {"exec", "-p", "mpi", "openmpi", "-v", "compiler", "intel", "--", "true"},
       "no variety of mpi/openmpi/5.0/1 has compiler=intel; there are gcc, llvm\n",
       0},
      {"a variable in brackets",
       Nothing,
       {"env", "mpi/openmpi[compler=gcc]"},
       "zor: no variety of mpi/openmpi/5.0/1 has compler=gcc; none has such a variable, they have "
       "compiler and platform (did you mean compiler?)\n"},
      {"a value forgotten",
       Nothing,
       {"env", "-p", "mpi", "openmpi", "-v", "platform", "--sh"},
       "zor: -v platform needs a value, and behind it stands --sh\nas in -v platform VALUE --sh\n",
       2},
      {"a value forgotten at the end",
       Nothing,
       {"env", "-p", "mpi", "openmpi", "-v", "platform"},
       "zor: -v needs the name of a variable and a value: -v VARIABLE VALUE\n",
       2},
      {"-v before -p",
       Nothing,
       {"exec", "-v", "compiler", "gcc", "-p", "mpi", "openmpi", "--", "true"},
       "zor: -v stands behind the product whose variety it chooses: -p CATEGORY NAME -v VARIABLE "
       "VALUE\n",
       2},
      {"a dialect as an option",
       Nothing,
       {"env", "-p", "compilers", "gcc", "--fish"},
       "zor: there is no option --fish\nthe dialect fish is chosen with --format fish\n",
       2},
      {"a word too many",
       Nothing,
       {"env", "-p", "compilers", "gcc", "--sh", "extra"},
       "zor: there is no product extra in $W\nzor avail lists what there is\n"},
      {"a program that does not exist",
       Nothing,
       {"exec", "gcc", "--", "nosuchprog"},
       "zor: there is no program nosuchprog on the PATH of this environment\n"
       "zor search nosuchprog tells which products have one\n",
       127},
      {"a program that fails", Nothing, {"exec", "gcc", "--", "sh", "-c", "exit 7"}, "", 7},
  });
}

TEST(Mistakes, WithTheRoot) {
  const std::string unset =
      Told("neither -r nor ZORROOT says where the warehouse is, and the current directory is none",
           "say it with -r DIRECTORY, or for all commands with export ZORROOT=DIRECTORY", "",
           "zor(1), ENVIRONMENT");
  const std::string misspelt =
      Told("there is no warehouse $Wx: No such file or directory",
           "that is where -r or ZORROOT says it is", "did you mean $W?", "zor(1), ENVIRONMENT");
  const Words exact = {"env", "-p", "compilers", "gcc"};
  Check({{"not set", Nothing, exact, unset}}, {});
  Check({{"empty", Nothing, exact, unset}}, {"ZORROOT="});
  Check({{"misspelt", Nothing, exact, misspelt},
         {"misspelt, with a path", Nothing, kLoadGcc, misspelt}},
        {"ZORROOT=$Wx"});
}

// What is taken without a word, a check of the product tells: the place, and which rule it is.
TEST(Mistakes, ThatOnlyACheckTells) {
  struct Row {
    const char* what;
    std::function<void(Shop*)> make;
    std::string words;  // behind "check"
    std::string told;   // the head of a line
    const char* rule;
  };
  const std::string list = "apps/cfd/1/1/partlist.xml";
  const auto in = [](const std::string& file, const std::string& from, const std::string& to) {
    return [=](Shop* shop) { shop->Change(file, from, to); };
  };
  const auto copy = [](const std::string& from, const std::string& to) {
    return [=](Shop* shop) {
      std::filesystem::copy(shop->Root() + '/' + from, shop->Root() + '/' + to,
                            std::filesystem::copy_options::recursive);
    };
  };
  const Row rows[] = {
      {"seperator", InEnv("<ENV-INSERT>", "<ENV-INSERT seperator=\";\">"), kGcc,
       "compilers/gcc/14.1/1/env.xml:5:17: warning: ENV-INSERT has no attribute seperator",
       "ZW002"},
      {"ver for version", in(list, "version=", "ver="), "apps/cfd/1/1",
       list + ":5:46: warning: PRODUCT has no attribute ver", "ZW002"},
      {"no closing bracket", InEnv("%(BASE-CNVR)/bin", "%(platform/bin"), kGcc,
       "compilers/gcc/14.1/1/env.xml:7:14: warning: %(platform/bin has no closing bracket",
       "ZW402"},
      {"a value on a line of its own", InEnv("%(BASE-CNVR)/bin", "\n        /usr\n      "), kGcc,
       "compilers/gcc/14.1/1/env.xml:7:14: warning: the blanks or line ends around it", "ZW401"},
      {"the variable of a group",
       in("mpi/openmpi/5.0/1/env.xml", "n=\"compiler\" v=\"gcc\"", "n=\"compler\" v=\"gcc\""),
       "mpi/openmpi/5.0/1", "mpi/openmpi/5.0/1/env.xml:3:5: warning: no variety of the product",
       "ZW405"},
      {"the variable of a part", in(list, "n=\"compiler\"", "n=\"compler\""), "apps/cfd/1/1",
       list + ":5:7: warning: no variety of mpi/openmpi/5.0/1 meets the pattern", "ZW305"},
      {"a part of itself",
       in(list, "category=\"mpi\" name=\"openmpi\" version=\"5.0\" rev=\"1\"", "name=\"cfd\""),
       "apps/cfd/1/1", list + ":5:7: warning: apps/cfd/1/1 is a part of itself", "ZW303"},
      {"capital letters in a file's name", copy(kEnv, "compilers/gcc/14.1/1/Env.xml"), kGcc,
       "compilers/gcc/14.1/1/Env.xml: warning: this is not env.xml", "ZW107"},
      {"a link that leads nowhere",
       [](Shop* shop) {
         shop->Drop(kEnv);
         shop->tree().Link(std::string("root/") + kEnv, "nowhere");
       },
       kGcc, "compilers/gcc/14.1/1/env.xml: error: the link leads nowhere", "ZW103"},
      {"a copy of a version", copy("compilers/gcc/14.1", "compilers/gcc/14.1.bak"), "",
       "compilers/gcc/14.1.bak: warning: what looks like a copy", "ZW111"},
      {"a copy of a revision", copy(kGcc, "compilers/gcc/14.1/1~"), "",
       "compilers/gcc/14.1/1~: warning: what looks like a copy", "ZW111"},
      {"a version without a dot", copy("compilers/gcc/14.1", "compilers/gcc/15"), "",
       "compilers/gcc: warning: versions with dots", "ZW104"},
  };
  Shop shop;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    shop.Renew();
    row.make(&shop);
    Words words = {"check", "--rule", row.rule};
    if (!row.words.empty()) words.push_back(row.words);
    const RunResult result = Zor(words, {"ZORROOT=" + shop.Root()});
    EXPECT_EQ(1, result.status) << result.err;
    EXPECT_EQ(0U, result.out.find(shop.Root() + '/' + row.told)) << result.out;
    EXPECT_NE(std::string::npos, result.out.find(std::string("[") + row.rule)) << result.out;
  }
}

TEST(Mistakes, InTheChoiceOfVarieties) {
  const std::string env = "mpi/openmpi/5.0/1/env.xml";
  const auto side = [&](const char* what, const char* compiler, int line) {
    return std::string("  ") + what + " by mpi/openmpi/5.0/1[platform=unix, compiler=" + compiler +
           "] ($W/" + env + ":" + std::to_string(line) + ":5)\n    named as -p mpi openmpi\n";
  };
  Check({{"two varieties fit",
          Nothing,
          {"env", "-p", "mpi", "openmpi"},
          "zor: value g++ is both inserted and removed in environment variable CXX\n" +
              side("inserted", "gcc", 5) + side("removed", "llvm", 9) +
              "value clang++ is both inserted and removed in environment variable CXX\n" +
              side("inserted", "llvm", 10) + side("removed", "gcc", 4) +
              "  what works, as trying it has shown:\n"
              "    -p mpi openmpi -v compiler gcc, as several varieties of it fit\n"
              "    -p mpi openmpi -v compiler llvm, as several varieties of it fit\n"}});
}

TEST(Mistakes, InProductsThatClash) {
  const std::string inserts = "    <ENV-INSERT><NAME>CC</NAME><VALUE>gcc-%(THIS-VERSION)</VALUE>";
  const std::string settings =
      "<ENV-SETTINGS>\n  <ENV-GROUP>\n    <PATTERN/>\n"
      "    <ENV-DELETE>CC</ENV-DELETE>\n" +
      inserts + "</ENV-INSERT>\n  </ENV-GROUP>\n</ENV-SETTINGS>\n";
  const auto side = [&](const char* what, const std::string& version, int line,
                        const std::string& named) {
    return std::string("  ") + what + " by compilers/gcc/" + version +
           "/1[platform=unix] ($W/compilers/gcc/" + version + "/1/env.xml:" + std::to_string(line) +
           ":5)\n" + named;
  };
  const std::string by_mpi =
      "    a part of mpi/openmpi/5.0/1[platform=unix, compiler=gcc] "
      "($W/mpi/openmpi/5.0/1/partlist.xml:5:7)\n"
      "    named as -p mpi openmpi\n";
  const std::string by_user = "    named as -p compilers gcc 14.1\n";
  Check(
      {{"a part and another version of it",
        [&](Shop* shop) {
          for (const char* gcc : {"compilers/gcc/13.2/1", kGcc})
            shop->Product(gcc, settings);
          shop->Change("mpi/openmpi/5.0/1/partlist.xml", "<PARTS>\n",
                       "<PARTS>\n      <PRODUCT category=\"compilers\" name=\"gcc\" "
                       "version=\"13.2\" rev=\"1\"><PATTERN/></PRODUCT>\n");
        },
        {"env", "-p", "mpi", "openmpi", "-v", "compiler", "gcc", "-p", "compilers", "gcc", "14.1"},
        "zor: value gcc-13.2 is both inserted and removed in environment variable CC\n" +
            side("inserted", "13.2", 5, by_mpi) + side("removed", "14.1", 4, by_user) +
            "value gcc-14.1 is both inserted and removed in environment variable CC\n" +
            side("inserted", "14.1", 5, by_user) + side("removed", "13.2", 4, by_mpi) +
            "  what works, as trying it has shown:\n"
            "    -p mpi openmpi behind // (or --and), where it overrides the others\n"
            "    without -p mpi openmpi\n"
            "    compilers/gcc/13.2/1 in place of -p compilers gcc 14.1\n"
            "    -p compilers gcc 14.1 behind // (or --and), where it overrides the others\n"
            "    without -p compilers gcc 14.1\n"},
       {"separators on inserts alone",
        InEnv("    <ENV-INSERT>",
              "    <ENV-REMOVE><NAME>PATH</NAME><VALUE>/old</VALUE></ENV-REMOVE>\n"
              "    <ENV-INSERT sep=\", \">"),
        kLoadGcc,
        "zor: inconsistent separators for environment variable PATH\n"
        "  separated by \":\", for none is stated, in compilers/gcc/14.1/1[platform=unix] "
        "($W/compilers/gcc/14.1/1/env.xml:5:5)\n"
        "    named as compilers/gcc\n"
        "  separated by \",\" in compilers/gcc/14.1/1[platform=unix] "
        "($W/compilers/gcc/14.1/1/env.xml:6:5)\n"
        "    named as compilers/gcc\n"
        "  what works, as trying it has shown:\n"
        "    compilers/gcc/13.2/1 in place of compilers/gcc\n"}});
}

// A program ends as it would without zor, also by a signal, of which no message is wanted.
TEST(Mistakes, InBytesThatAreNoText) {
  Shop shop;
  shop.Renew();
  const std::string root = "ZORROOT=" + shop.Root();
  // A variable that the products leave alone may hold any bytes.
  Expect(Zor({"exec", "gcc", "--", "printenv", "OTHER"}, {root, "OTHER=a\xff"}), "a\xff\n", "", 0);
  Expect(Zor({"env", "gcc"}, {root, "OTHER=a\xff", "PATH=/usr/bin:/x\xff"}), "",
         "zor: the environment variables OTHER and PATH hold bytes that are not UTF-8\n"
         "  what these products change is taken apart as text, and can't be here\n"
         "  write the value in UTF-8, or unset the variable\n"
         "  see zorenv(1), DIAGNOSTICS\n",
         1);
  std::filesystem::copy(shop.Root() + "/compilers/gcc", shop.Root() + "/compilers/g\xff",
                        std::filesystem::copy_options::recursive);
  Expect(Zor({"env", "compilers/g\xff"}, {root}), "",
         "zor: g\\xff is not UTF-8, and can't be read as a name\n"
         "  rename its directory\n"
         "  see zorenv-warehouse(5), DESCRIPTION\n",
         1);
  const std::filesystem::path latin = shop.Root() + "/../\xe9";
  std::filesystem::create_directory_symlink(shop.Root(), latin);
  Expect(Zor({"env", "gcc"}, {"ZORROOT=" + latin.string()}), "",
         "zor: the path " + shop.Root() +
             "/../\\xe9 is not UTF-8, and can't be read\n"
             "  rename the directory, or reach it by a link\n"
             "  see zorenv-warehouse(5), DESCRIPTION\n",
         1);
  const std::string unusable =
      ": error: the path is not UTF-8, so nobody can use the product [ZW001 unreadable-data]\n"
      "  help: Rename the directories.\n";
  const std::string product = shop.Root() + "/compilers/g\\xff/";
  const std::string out = Zor({"check", shop.Root(), "--rule", "ZW001"}).out;
  EXPECT_EQ(product + "13.2/1" + unusable + product + "14.1/1" + unusable,
            out.substr(0, out.rfind('\n', out.size() - 2) + 1));
}
TEST(Mistakes, OfTheProgramItselfAreItsOwn) {
  Shop shop;
  shop.Renew();
  const RunResult result =
      Zor({"exec", "gcc", "--", "sh", "-c", "kill -SEGV $$"}, {"ZORROOT=" + shop.Root()});
  EXPECT_EQ("", result.out);
  EXPECT_EQ("", result.err);
  EXPECT_EQ(SIGSEGV, result.signal);
}

// What the fingers know from other tools is right here as well.
TEST(Mistakes, AreNoneInTheWordsOfOtherTools) {
  Shop shop;
  shop.Renew();
  ShellModel shell(
      {{"LC_ALL", "C.UTF-8"}, {"PATH", "/usr/bin:/bin"}, {"ZORROOT", shop.Root()}, {"USER", "a"}});
  Expect(shell.Ask({"avail", "gcc"}), "compilers/gcc/13.2/1\ncompilers/gcc/14.1/1 (latest)\n", "",
         0);
  Expect(shell.Ask({"list"}), "", "", 0);
  const RunResult loaded = shell.Run({"load", "gcc"});
  EXPECT_EQ("", loaded.err);
  EXPECT_EQ(0, loaded.status);
  Expect(shell.Ask({"list"}), "compilers/gcc/14.1/1\n", "", 0);
  EXPECT_EQ(shop.Root() + "/compilers/gcc/14.1/1/bin:/usr/bin:/bin", shell.Get("PATH"));
}

}  // namespace
