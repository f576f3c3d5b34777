// Locks: the same environment from them, and the word of what has changed.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "zor.h"

namespace {

// By the program that everybody has.
std::string Sha256Of(const std::string& text) {
  RunOptions options;
  options.input = text;
  return RunProgram({"/usr/bin/sha256sum"}, options).out.substr(0, 64);
}

// With the sum that its lines give.
std::string WithSum(const std::string& lines) {
  return lines + "sum " + Sha256Of(lines) + "\n";
}

std::string WithoutSum(const std::string& lock) {
  return lock.substr(0, lock.rfind("sum "));
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(std::string::npos, at) << from << " in\n" << text;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

std::string Platform() {
  const std::string out = Zor({"platform"}).out;
  return out.substr(0, out.size() - 1);
}

// A tool with a part, both of which name their directories.
struct Shop : Warehouse {
  Shop() {
    ProductWithParts("C/tool/1.0/1", Insert("TOOL", "%(BASE-CNVR)"), Part("part", "3", "1"));
    Product("C/part/3/1", Insert("PART", "%(BASE-CNVR)"));
  }
  std::string Path(const std::string& path) const { return Root() + "/" + path; }
  RunResult Run(std::vector<std::string> words, std::vector<std::string> more = {}) const {
    more.push_back("ZORROOT=" + Root());
    return Zor(std::move(words), std::move(more));
  }
  std::string Lock(const std::vector<std::string>& request, std::vector<std::string> more = {},
                   const std::string& told = "") const {
    std::vector<std::string> words = {"lock"};
    words.insert(words.end(), request.begin(), request.end());
    const RunResult result = Run(words, std::move(more));
    EXPECT_EQ(told, result.err);
    EXPECT_EQ(0, result.status);
    return result.out;
  }
  std::string LockFile(const std::vector<std::string>& request) const {
    return Write("zor.lock", Lock(request));
  }
  std::string Expected(const std::string& root) const {
    return "PART='" + root + "/C/part/3/1'; export PART;\nTOOL='" + root +
           "/C/tool/1.0/1'; export TOOL;\n";
  }
};

std::string DataFiles(const Shop& shop, const std::string& product,
                      const std::vector<std::string>& present) {
  std::string lines;
  for (const char* name : {"env.xml", "partlist.xml", "prep.xml", "product.xml", "setup.xml",
                           "unenv.xml", "unset.xml"}) {
    const std::string path = product + "/" + name;
    const bool is_there = std::find(present.begin(), present.end(), name) != present.end();
    lines += is_there ? "file " + Sha256Of(ReadFile(shop.Path(path))) + " " + path + "\n"
                      : "absent " + path + "\n";
  }
  return lines;
}

TEST(Lock, PinsAllThatARequestDependsOn) {
  const Shop shop;
  const std::vector<std::string> present = {"env.xml", "partlist.xml", "product.xml"};
  EXPECT_EQ(
      WithSum("zor-lock 1\nroot " + shop.Root() + "\nplatform " + Platform() +
              "\ngroup\nproduct C tool 1.0 1\nvariety \"\"\n"
              "loaded C part 3 1\nloaded C tool 1.0 1\n" +
              DataFiles(shop, "C/part/3/1", present) + DataFiles(shop, "C/tool/1.0/1", present)),
      shop.Lock({"tool"}));
}

TEST(Lock, PinsVarietiesConditionsGroupsAndUndoing) {
  Shop shop;
  shop.File("C/kinds/1/1", "product.xml",
            ProductXml("<VARIETY name='a b'><VAR n='k' v='x=y'/><SEGMENT here='1'/></VARIETY>"
                       "<VARIETY><VAR n='k' v='z'/><SEGMENT here='1'/></VARIETY>"));
  shop.File("C/kinds/1/1", "partlist.xml", PartListXml(""));
  const std::string lock = shop.Lock({"-u", "kinds[k=x*]", "//", "part"});
  EXPECT_NE(std::string::npos,
            lock.find("\nundo\ngroup\nproduct C kinds 1 1 k=x*\nvariety a%20b k=x=y\n"
                      "group\nproduct C part 3 1\nvariety \"\"\nloaded "))
      << lock;
}

TEST(Lock, GivesTheSameEnvironmentWithNewerVersionsInstalled) {
  Shop shop;
  const std::string file = shop.LockFile({"tool"});
  shop.Product("C/tool/2.0/1", Insert("TOOL", "newer"));
  shop.Product("C/tool/1.0/2", Insert("TOOL", "newer"));
  shop.Product("C/part/4/1", Insert("PART", "newer"));
  Expect(shop.Run({"env", "tool"}), "TOOL='newer'; export TOOL;\n", "", 0);
  Expect(shop.Run({"env", "--locked", file}), shop.Expected(shop.Root()), "", 0);
  Expect(shop.Run({"exec", "--locked", file, "--", "sh", "-c", "echo $TOOL"}),
         shop.Path("C/tool/1.0/1\n"), "", 0);
}

TEST(Lock, HoldsWhereverTheRootIs) {
  const Shop shop;
  const std::string file = shop.LockFile({"tool"});
  // Without another root, that of the lock.
  Expect(Zor({"env", "--locked", file}), shop.Expected(shop.Root()), "", 0);
  const std::string moved = shop / "elsewhere/mounted";
  std::filesystem::create_directories(shop / "elsewhere");
  std::filesystem::rename(shop.Root(), moved);
  Expect(Zor({"env", "--locked", file, "-r", moved}), shop.Expected(moved), "", 0);
  Expect(Zor({"env", "--locked", file}, {"ZORROOT=" + moved + "/"}), shop.Expected(moved), "", 0);
}

TEST(Lock, NamesEachFileThatHasChangedOrGoneOrCome) {
  Shop shop;
  const std::string file = shop.LockFile({"tool"});
  shop.File("C/part/3/1", "env.xml", EnvXml(Insert("PART", "changed")));
  std::filesystem::remove(shop.Path("C/tool/1.0/1/env.xml"));
  shop.File("C/tool/1.0/1", "setup.xml", RecipeXml(""));
  const std::string told = "zor: " + file + " does not hold any more in " + shop.Root() +
                           ":\n  changed: C/part/3/1/env.xml\n  missing: C/tool/1.0/1/env.xml\n"
                           "  added: C/tool/1.0/1/setup.xml\n";
  Expect(shop.Run({"env", "--locked", file}), "", told, 1);
  Expect(shop.Run({"exec", "--locked", file, "--", "echo", "started"}), "", told, 1);
}

TEST(Lock, NamesAPartThatWasMissingAndHasCome) {
  Shop shop;
  shop.ProductWithParts("C/whole/1/1", Insert("WHOLE", "x"), Part("hole", "1", "1"));
  const std::string told =
      "zor: " + shop.Path("C/whole/1/1/partlist.xml") +
      ":1:38: C/whole/1/1 is without its part C/hole/1/1: C has no product hole; there are part, "
      "tool and whole (did you mean whole?)\n";
  const std::string file = shop.Write("zor.lock", shop.Lock({"whole"}, {}, told));
  Expect(shop.Run({"env", "--locked", file}), "WHOLE='x'; export WHOLE;\n", "", 0);
  shop.Product("C/hole/1/1");
  Expect(shop.Run({"env", "--locked", file}), "",
         "zor: " + file + " does not hold any more in " + shop.Root() +
             ":\n  added: C/hole/1/1/partlist.xml\n  added: C/hole/1/1/product.xml\n",
         1);
}

TEST(Lock, NamesAPartThatTheEnvironmentChoosesOtherwise) {
  Shop shop;
  shop.Product("C/part/4/1", Insert("PART", "four"));
  shop.ProductWithParts("C/open/1/1", Insert("OPEN", "x"), Part("part", "%{PART_VERSION}", "1"));
  const std::string file = shop.Write("zor.lock", shop.Lock({"open"}, {"PART_VERSION=3"}));
  EXPECT_EQ(0, shop.Run({"env", "--locked", file}, {"PART_VERSION=3"}).status);
  const RunResult other = shop.Run({"env", "--locked", file}, {"PART_VERSION=4"});
  EXPECT_EQ("", other.out);
  EXPECT_TRUE(other.err.starts_with("zor: " + file + " does not hold any more in " + shop.Root() +
                                    ":\n  not in the lock: C/part/4/1\n"
                                    "  no longer a part: C/part/3/1\n"
                                    "  not in the lock: C/part/4/1/env.xml\n"))
      << other.err;
}

TEST(Lock, TakesThePlatformWithIt) {
  Shop shop;
  shop.Product("C/host/1/1", Insert("HOST", "%(HOST-PLATFORM)"));
  const std::string own = shop.Lock({"host"});
  const std::string foreign =
      WithSum(Replaced(WithoutSum(own), "platform " + Platform(), "platform solaris_8-sparc"));
  const std::string file = shop.Write("zor.lock", foreign);
  Expect(shop.Run({"env", "--locked", file}), "HOST='solaris_8-sparc'; export HOST;\n",
         "zor: " + file + " is for solaris_8-sparc, and this host is " + Platform() + "\n", 0);
  // Another version of the same system is no other kind of host.
  const std::string kind = Platform().substr(0, Platform().find('_')) + "_0_9" +
                           Platform().substr(Platform().rfind('-'));
  shop.Write("zor.lock",
             WithSum(Replaced(WithoutSum(own), "platform " + Platform(), "platform " + kind)));
  Expect(shop.Run({"env", "--locked", file}), "HOST='" + kind + "'; export HOST;\n", "", 0);
}

TEST(Lock, CountsTheFilesThatTextsTakeIn) {
  // The examples of FIPS 180-4 and its validation suite, and one million times "a".
  const struct {
    std::string content, digest;
  } rows[] = {
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlm"
       "nopqrsmnopqrstnopqrstu",
       "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
      {std::string(1000000, 'a'),
       "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
  };
  Shop shop;
  shop.Product("C/text/1/1", Insert("TEXT", "x%[%(BASE-CNVR)/text]"));
  const std::string path = shop.Path("C/text/1/1/text");
  for (const auto& row : rows) {
    std::ofstream(path, std::ios::binary) << row.content;
    const std::string lock = shop.Lock({"text"});
    EXPECT_NE(std::string::npos, lock.find("\nfile " + row.digest + " C/text/1/1/text\n"));
  }
  // Where a block is just full, and where the length has no more room in it.
  for (const std::size_t length : {55, 56, 63, 64, 65, 119, 120, 128}) {
    const std::string content(length, 'b');
    std::ofstream(path, std::ios::binary) << content;
    const std::string lock = shop.Lock({"text"});
    EXPECT_NE(std::string::npos, lock.find("\nfile " + Sha256Of(content) + " C/text/1/1/text\n"))
        << length;
  }
  const std::string file = shop.LockFile({"text"});
  std::ofstream(path, std::ios::binary) << "other";
  Expect(shop.Run({"env", "--locked", file}), "",
         "zor: " + file + " does not hold any more in " + shop.Root() +
             ":\n  changed: C/text/1/1/text\n",
         1);
}

TEST(Lock, NamesWhatHasHappenedToAFileElsewhere) {
  Shop shop;
  const std::string text = shop.Write("elsewhere/sub/text", "t");
  shop.Product("C/text/1/1", Insert("TEXT", "%[" + text + "]"));
  const std::string lock = shop.Lock({"text"});
  EXPECT_NE(std::string::npos, lock.find("\nfile " + Sha256Of("t") + " " + text + "\n")) << lock;
  const std::string file = shop.Write("zor.lock", lock);
  Expect(shop.Run({"env", "--locked", file}), "TEXT='t'; export TEXT;\n", "", 0);
  std::filesystem::remove(text);
  std::filesystem::create_directory(text);
  Expect(shop.Run({"env", "--locked", file}), "", "zor: " + text + ": Is a directory\n", 1);
  std::filesystem::remove_all(shop / "elsewhere/sub");
  shop.Write("elsewhere/sub", "no directory any more");
  Expect(
      shop.Run({"env", "--locked", file}), "",
      "zor: " + file + " does not hold any more in " + shop.Root() + ":\n  missing: " + text + "\n",
      1);
}

TEST(Lock, HoldsForUndoingConditionsAndVarieties) {
  Shop shop;
  shop.File("C/kinds/1/1", "product.xml",
            ProductXml("<VARIETY><VAR n='a=b' v='c=d'/><SEGMENT here='1'/></VARIETY>"
                       "<VARIETY><VAR n='a=b' v='e'/><SEGMENT here='1'/></VARIETY>"));
  shop.File("C/kinds/1/1", "partlist.xml", PartListXml(""));
  shop.File("C/kinds/1/1", "env.xml", EnvXml(Insert("KIND", "%(a=b)")));
  shop.File("C/kinds/1/1", "unenv.xml", EnvXml(Insert("KIND", "none")));
  const std::vector<std::string> words = {"-p", "C", "kinds", "-v", "a=b", "c*"};
  const std::string lock = shop.Lock(words);
  // In a name an equals sign would end it.
  EXPECT_NE(std::string::npos,
            lock.find("\nproduct C kinds 1 1 a%3Db=c*\nvariety \"\" a%3Db=c=d\nloaded "))
      << lock;
  const std::string file = shop.Write("zor.lock", lock);
  Expect(shop.Run({"env", "--locked", file}), "KIND='c=d'; export KIND;\n", "", 0);
  shop.Write("zor.lock",
             WithSum(Replaced(WithoutSum(lock), "variety \"\" a%3Db=c=d", "variety \"\" a%3Db=e")));
  Expect(shop.Run({"env", "--locked", file}), "",
         "zor: " + file + " does not hold any more in " + shop.Root() +
             ":\n  other varieties: C/kinds/1/1\n",
         1);
  std::vector<std::string> undone = words;
  undone.insert(undone.begin(), "-u");
  shop.Write("zor.lock", shop.Lock(undone));
  Expect(shop.Run({"env", "--locked", file}), "KIND='none'; export KIND;\n", "", 0);
}

TEST(Lock, LeavesOutWhatNeedNotBeThere) {
  Shop shop;
  const std::string lock =
      shop.Lock({"-i", "-p", "C", "none", "1",  "1", "-p",   "D",  "part", "1",
                 "1",  "-v", "k", "w",    "-p", "C", "part", "-v", "k",    "v"},
                {}, "no variety of C/part/3/1 has k=v; none has such a variable\n");
  EXPECT_NE(std::string::npos, lock.find("\ngroup\nproduct C part 3 1 k=v\nloaded ")) << lock;
}

TEST(Lock, SaysWhyTheEnvironmentLeadsToNothing) {
  Shop shop;
  shop.Product("C/open/1/1", Insert("A", "%{CHOICE}"));
  shop.Product("C/shut/1/1", Remove("A", "no"));
  const std::string file = shop.Write("zor.lock", shop.Lock({"open", "shut"}, {"CHOICE=yes"}));
  Expect(shop.Run({"env", "--locked", file}, {"CHOICE=yes"}), "A='yes'; export A;\n", "", 0);
  const RunResult clash = shop.Run({"env", "--locked", file}, {"CHOICE=no"});
  EXPECT_EQ("", clash.out);
  EXPECT_EQ(0u, clash.err.find("zor: " + file + " does not hold any more in " + shop.Root() +
                               ":\n  value no is both inserted and removed in environment variable "
                               "A\n    inserted by C/open/1/1 ("))
      << clash.err;
  EXPECT_EQ(1, clash.status);
}

TEST(Lock, NamesMayHoldWhatSeparatesFields) {
  Shop shop;
  const std::string name = "a b%41\"\xC3\xBC=\t\x7F";
  shop.Product("C/" + name + "/1/1", Insert("A", "x"));
  const std::string lock = shop.Lock({"C/" + name});
  EXPECT_NE(std::string::npos, lock.find("\nproduct C a%20b%2541%22\xC3\xBC=%09%7F 1 1\n")) << lock;
  const std::string file = shop.Write("zor.lock", lock);
  Expect(shop.Run({"env", "--locked", file}), "A='x'; export A;\n", "", 0);
}

TEST(Lock, TellsTheLineThatIsWrong) {
  const Shop shop;
  const std::string digest(64, '0');
  const std::string head = "zor-lock 1\nroot /\n";
  const struct {
    std::string text, told;
  } rows[] = {
      {"", "1: this is no lock: 'zor-lock' must stand here"},
      {"group\n", "1: this is no lock: 'zor-lock' must stand here"},
      {"zor-lock 2\nsomething else\n",
       "1: the format of this lock is 2, and this zor knows only 1; a newer one may have written "
       "it"},
      {"zor-lock 1", "1: the lock is cut short in this line"},
      {"zor-lock 1\n", "2: the lock is cut short: the sum at its end is missing"},
      {head, "3: the lock is cut short: the sum at its end is missing"},
      {head + "sum " + digest.substr(1) + "\n",
       "3: '" + digest.substr(1) + "' is not a SHA-256 digest"},
      {head + "sum " + digest + "\n", "3: the lock was altered: its lines do not give this sum"},
      {WithSum(head) + "group\n", "4: nothing may stand behind the sum"},
      {head + "colour blue\n", "3: 'colour' is no line of a lock"},
      {head + "product a b c d\n", "3: a product in front of the first group"},
      {head + "variety a\n", "3: a variety in front of the first product"},
      {head + "group\nvariety a\n", "4: a variety in front of the first product"},
      {head + "group\nproduct a b c\n", "4: a field is missing"},
      {head + "group\nproduct a b c d e\n", "4: 'e' is not NAME=VALUE"},
      {head + "group 1\n", "3: nothing may follow here, and '1' does"},
      {head + "root a%4\n", "3: in 'a%4' two digits must stand behind %"},
      {head + "root a%00\n", "3: a zero byte in a field"},
      {head + "root  a\n", "3: a field is missing"},
      {head + "root a \n", "3: a blank at the end of the line"},
      {head + "file 12 a\n", "3: '12' is not a SHA-256 digest"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const std::string file = shop.Write("zor.lock", row.text);
    Expect(shop.Run({"env", "--locked", file}), "", "zor: " + file + ":" + row.told + "\n", 1);
  }
  Expect(shop.Run({"env", "--locked", shop / "none"}), "",
         "zor: " + (shop / "none") + ": No such file or directory\n", 1);
  Expect(shop.Run({"env", "--locked", shop / "zor.lock", "tool"}), "",
         "zor: --locked takes the place of a request, so name no product with it\n", 2);
}

TEST(Lock, CutShortOrAlteredAnywhereItIsRefusedWithALine) {
  const Shop shop;
  const std::string lock = shop.Lock({"tool"});
  const char* rounds_set = std::getenv("ZOR_TEST_ROUNDS");
  const std::size_t rounds = rounds_set ? std::stoul(rounds_set) : 1;
  const std::size_t step = std::max<std::size_t>(1, 29 / rounds);
  const auto expect_refused = [&](const std::string& text) {
    const std::string file = shop.Write("zor.lock", text);
    const RunResult result = shop.Run({"env", "--locked", file});
    EXPECT_EQ("", result.out);
    EXPECT_EQ(0u, result.err.find("zor: " + file + ":")) << result.err << text;
    EXPECT_EQ(1, result.status);
  };
  for (std::size_t i = 0; i < lock.size(); i += step) {
    expect_refused(lock.substr(0, i));
    std::string altered = lock;
    altered[i] = static_cast<char>(altered[i] ^ 1);
    expect_refused(altered);
  }
}

}  // namespace
