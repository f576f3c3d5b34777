// The schemas of share/schemas accept what the readers accept: each file that comes of a good one
// by a change of any kind, at any place, is read and is checked by xmllint, and the two agree.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "read_support.h"

namespace {

struct Node {
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::string text;  // before the first child
  std::vector<Node> children;
};

std::string Escaped(const std::string& text) {
  std::string out;
  for (char c : text)
    out += c == '<' ? "&lt;" : c == '&' ? "&amp;" : c == '"' ? "&quot;" : std::string(1, c);
  return out;
}

std::string Print(const Node& node) {
  std::string out = "<" + node.name;
  for (const auto& [name, value] : node.attributes)
    out += " " + name + "=\"" + Escaped(value) + "\"";
  out += ">" + Escaped(node.text);
  for (const Node& child : node.children)
    out += Print(child);
  return out + "</" + node.name + ">";
}

using Attributes = std::vector<std::pair<std::string, std::string>>;

Node El(std::string name, Attributes attributes = {}, std::vector<Node> children = {}) {
  return {std::move(name), std::move(attributes), "", std::move(children)};
}

Node Leaf(std::string name, std::string text, Attributes attributes = {}) {
  return {std::move(name), std::move(attributes), std::move(text), {}};
}

Node Pattern() {
  return El("PATTERN", {{"host", "h"}},
            {El("MATCH", {{"host", "m"}}, {El("VAR", {{"n", "a"}, {"v", "b"}}), El("VAR")}),
             El("MATCH")});
}

Node ProductInfo() {
  return El("PRODUCT-INFO", {{"name", "Kiln"}, {"flags", "visible"}},
            {Leaf("DESCRIPTION", "It burns.", {{"lang", "en"}}),
             El("VARIETIES", {},
                {El("VARIETY", {{"name", "v"}, {"desc", "d"}, {"chosen", "1"}},
                    {El("VAR", {{"n", "platform"}, {"v", "unix"}}),
                     El("SEGMENT", {{"host", "h"}, {"here", "1"}}), El("VAR"), El("SEGMENT")}),
                 El("VARIETY")})});
}

Node PartList() {
  return El("PARTLIST", {},
            {El("PARTSPEC", {},
                {Pattern(),
                 El("PARTS", {},
                    {El("PRODUCT",
                        {{"category", "c"},
                         {"name", "n"},
                         {"version", "1"},
                         {"rev", "2"},
                         {"optional", "1"}},
                        {El("PATTERN"), El("PACK", {{"medium", "cd"}}), El("PACK")}),
                     El("FILE", {{"name", "f"}, {"built-as", "b"}, {"pack-as", "p"}}, {El("PACK")}),
                     El("FILE")})}),
             El("PARTSPEC", {}, {El("PATTERN"), El("PARTS")})});
}

Node Settings() {
  return El("ENV-SETTINGS", {},
            {El("ENV-GROUP", {},
                {Pattern(),
                 El("ENV-INSERT", {{"sep", ";"}},
                    {Leaf("NAME", "PATH"), Leaf("VALUE", "/x"), Leaf("BEFORE", "/a"),
                     Leaf("AFTER", "/b"), Leaf("BEFORE", "/c")}),
                 El("ENV-REMOVE", {{"sep", ";"}},
                    {Leaf("NAME", "PATH"), Leaf("VALUE", "/x"), Leaf("VALUE", "/y")}),
                 El("ENV-REMOVE", {}, {Leaf("NAME", "PATH")}),
                 Leaf("ENV-DELETE", "HOME", {{"sep", ";"}})}),
             El("ENV-GROUP", {}, {El("PATTERN")})});
}

Node Data() {
  return Leaf("DATA", "text",
              {{"file", "f"}, {"creator", "c"}, {"type", "t"}, {"mode", "m"}, {"eol", "lf"}});
}

Node Recipe(std::vector<Node> more, Node pattern) {
  std::vector<Node> commands = {
      std::move(pattern),
      Leaf("CMD", "ls", {{"cwd", "d"}, {"feedback", "yes"}}),
      Leaf("MAKE", "all", {{"cwd", "d"}}),
      El("RUN", {{"program", "p"}, {"cwd", "d"}, {"feedback", "f"}, {"wait", "no"}},
         {Leaf("ARG", "a"), Data(), Leaf("ARG", "b")}),
      El("COPY", {{"from", "f"}, {"to", "t"}, {"onlyifabsent", "yes"}}),
      El("CREATE", {}, {Data()}),
      El("APPEND", {}, {Data()}),
      El("SETREG",
         {{"op", "o"}, {"hive", "h"}, {"key", "k"}, {"value", "v"}, {"data", "d"}, {"type", "t"}}),
      El("SHORTCUT", {{"op", "create"},
                      {"name", "n"},
                      {"program", "p"},
                      {"args", "a"},
                      {"icon", "i"},
                      {"folder", "f"},
                      {"workdir", "w"}}),
      El("JAVA", {{"name", "n"}, {"entry", "e"}, {"location", "l"}}, {Leaf("ARG", "a"), Data()}),
      Leaf("MESSAGE", "hello", {{"title", "t"}})};
  commands.insert(commands.end(), more.begin(), more.end());
  return El("RECIPE", {}, {El("STEP", {{"ui", "gui"}}, commands), El("STEP", {}, {El("PATTERN")})});
}

Node SetupRecipe() {
  return Recipe({El("SETENV", {{"op", "set"}, {"name", "n"}, {"value", "v"}, {"context", "user"}}),
                 El("SETENV")},
                Pattern());
}

Node InstallRecipe() {
  Node recipe = Recipe(
      {Leaf("DELETE", "d", {{"ifempty", "yes"}}), Leaf("DIR", "d", {{"mode", "755"}})}, Pattern());
  // The one without a host of its own stands on that of its pattern; here each has its own.
  recipe.children.push_back(
      El("STEP", {},
         {El("PATTERN", {},
             {El("MATCH", {{"host", "h"}}, {El("VAR")}), El("MATCH", {{"host", ""}})})}));
  return recipe;
}

const char* const kElements[] = {
    "PRODUCT-INFO", "DESCRIPTION", "VARIETIES",  "VARIETY",    "VAR",        "SEGMENT", "PARTLIST",
    "PARTSPEC",     "PATTERN",     "MATCH",      "PARTS",      "PRODUCT",    "FILE",    "PACK",
    "ENV-SETTINGS", "ENV-GROUP",   "ENV-INSERT", "ENV-REMOVE", "ENV-DELETE", "NAME",    "VALUE",
    "BEFORE",       "AFTER",       "RECIPE",     "STEP",       "CMD",        "MAKE",    "RUN",
    "COPY",         "CREATE",      "APPEND",     "DELETE",     "DIR",        "SETENV",  "SETREG",
    "SHORTCUT",     "JAVA",        "MESSAGE",    "ARG",        "DATA",       "ODD",     "var"};

const char* const kWords[] = {"",        "yes",      "1",      "set",    "SET",    "Append",
                              "prepend", "unappend", "delete", "Create", "CREATE", "forceCreate",
                              "all",     "User",     "users",  "create "};

// All documents that come of this one by one change at this node or below it.
void Change(Node* node, Node* parent, std::size_t index, std::vector<std::string>* out,
            Node* root) {
  const Node before = *node;
  const auto take = [&] {
    out->push_back(Print(*root));
    *node = before;
  };
  for (const char* name : kElements) {
    node->name = name;
    take();
    node->children.insert(node->children.begin(), El(name));
    take();
    node->children.push_back(El(name));
    take();
  }
  node->text += "odd text";
  take();
  node->attributes.emplace_back("odd", "1");
  take();
  node->attributes.emplace_back("xml:lang", "en");
  take();
  node->children.clear();
  take();
  for (std::size_t i = 0; i < before.attributes.size(); i++) {
    node->attributes.erase(node->attributes.begin() + static_cast<std::ptrdiff_t>(i));
    take();
    for (const char* word : kWords) {
      node->attributes[i].second = word;
      take();
    }
  }
  for (const char* name : {"op", "context", "host", "here"})
    if (before.attributes.empty())
      for (const char* word : kWords) {
        node->attributes.emplace_back(name, word);
        take();
      }
  if (parent) {
    const Node all = *parent;
    const auto at = static_cast<std::ptrdiff_t>(index);
    const auto take_parent = [&] {
      out->push_back(Print(*root));
      parent->children = all.children;
    };
    parent->children.erase(parent->children.begin() + at);
    take_parent();
    parent->children.insert(parent->children.begin() + at, all.children[index]);
    take_parent();
    if (index + 1 < all.children.size()) {
      std::swap(parent->children[index], parent->children[index + 1]);
      take_parent();
    }
    node = &parent->children[index];
  }
  for (std::size_t i = 0; i < node->children.size(); i++)
    Change(&node->children[i], node, i, out, root);
}

std::vector<std::string> Changed(const Node& document) {
  std::vector<std::string> out = {Print(document)};
  Node root = document;
  Change(&root, nullptr, 0, &out, &root);
  return out;
}

bool Took(FwErrorState* err, void* record) {
  return record != nullptr && Reports::Read(err).empty();
}

struct Kind {
  const char* schema;
  std::vector<const char*> files;  // the names of such files; the first one stands for all
  Node (*good)();
  bool (*read)(const TemporaryTree& tree, FwTextString file);
};

bool ReadProduct(const TemporaryTree& tree, FwTextString) {
  Text dir(tree.path());
  Error err;
  WH_PRODUCT_NAME* name = Prodname("c", "n", "1", "0");
  WH_PRODUCT_INFO* info = read_prodinfo(&err, name, dir, 0, 0);
  const bool taken = Took(&err, info);
  free_prodinfo(&info);
  free_prodname(&name);
  return taken;
}

template <class RECORD, RECORD* (*READ)(FwErrorState*, FwTextString, WH_XML_PARSE_FLAGS),
          void (*FREE)(RECORD**)>
bool ReadWith(const TemporaryTree&, FwTextString file) {
  Error err;
  RECORD* record = READ(&err, file, 0);
  const bool taken = Took(&err, record);
  FREE(&record);
  return taken;
}

const std::vector<Kind> kKinds = {
    {"product", {"product.xml"}, ProductInfo, ReadProduct},
    {"partlist", {"partlist.xml"}, PartList, ReadWith<WH_PARTLIST, read_partlist, free_partlist>},
    {"env",
     {"env.xml", "unenv.xml"},
     Settings,
     ReadWith<WH_ENV_SETTINGS, read_env_settings, free_env_settings>},
    {"setup",
     {"setup.xml", "unset.xml", "prep.xml"},
     SetupRecipe,
     ReadWith<WH_RECIPE, read_recipe, free_recipe>},
    {"install",
     {"install.xml", "uninstall.xml"},
     InstallRecipe,
     ReadWith<WH_RECIPE, read_recipe, free_recipe>},
};

// The files in a directory that a schema accepts, out of 0.xml, 1.xml and so on, all of them
// well-formed or not.
std::vector<bool> Accepted(const TemporaryTree& tree, std::size_t count, const std::string& option,
                           const std::string& schema, bool well_formed = true) {
  std::vector<std::string> command = {"/usr/bin/xmllint", "--noout", option,
                                      std::string(ZOR_SOURCE_DIR) + "/share/schemas/" + schema};
  for (std::size_t i = 0; i < count; i++)
    command.push_back(std::to_string(i) + ".xml");
  RunOptions options;
  options.directory = tree.path();
  options.limit = std::chrono::seconds(120);
  std::istringstream report(RunProgram(command, options).err);
  std::set<std::string> lines;
  for (std::string line; std::getline(report, line);)
    lines.insert(line);
  std::vector<bool> accepted;
  for (std::size_t i = 0; i < count; i++) {
    const std::string name = std::to_string(i) + ".xml ";
    accepted.push_back(lines.count(name + "validates") != 0);
    if (!accepted[i] && well_formed && lines.count(name + "fails to validate") == 0) {
      ADD_FAILURE() << "xmllint says nothing of " << ReadFile(tree / (std::to_string(i) + ".xml"));
      break;
    }
  }
  accepted.resize(count);
  return accepted;
}

// The same with a host for each PATTERN.
std::string WithHosts(std::string document) {
  for (std::size_t at = 0; (at = document.find("<PATTERN", at)) != std::string::npos; ++at) {
    const std::string tag = document.substr(at, document.find('>', at) - at);
    if (tag.find(" host=\"") == std::string::npos) document.insert(at + 8, " host=\"h\"");
  }
  return document;
}

class Schemas : public testing::TestWithParam<Kind> {
 protected:
  void SetUp() override {
    if (access("/usr/bin/xmllint", X_OK) != 0) GTEST_SKIP() << "xmllint is not installed";
  }
};

TEST_P(Schemas, AcceptWhatTheReadersAccept) {
  const Kind& kind = GetParam();
  TemporaryTree tree;
  const std::string path = tree / (std::string("c/n/1/0/") + kind.files[0]);
  Text file(path);
  const std::vector<std::string> documents = Changed(kind.good());
  const std::size_t count = documents.size();
  std::vector<bool> taken;
  for (std::size_t i = 0; i < count; i++) {
    SCOPED_TRACE(i);
    tree.Write(std::string("c/n/1/0/") + kind.files[0], documents[i]);
    taken.push_back(kind.read(tree, file));
    const std::string name = std::to_string(i) + ".xml";
    ASSERT_EQ(0, std::rename(path.c_str(), (tree / name).c_str()));
  }
  EXPECT_TRUE(taken[0]);
  EXPECT_LT(50, std::count(taken.begin(), taken.end(), true));
  EXPECT_LT(500, std::count(taken.begin(), taken.end(), false));

  const std::string schema = kind.schema;
  int differences = 0;
  std::vector<bool> accepted = Accepted(tree, count, "--relaxng", schema + ".rng");
  for (std::size_t i = 0; i < count && differences < 5; i++) {
    EXPECT_EQ(taken[i], accepted[i]) << documents[i];
    differences += taken[i] != accepted[i];
  }
  // Any element may be the root there.
  const std::string root = documents[0].substr(0, documents[0].find_first_of(" >"));
  accepted = Accepted(tree, count, "--schema", "xsd/" + schema + ".xsd");
  int without_host = 0;
  for (std::size_t i = 0; i < count && differences < 5; i++) {
    if (documents[i].substr(0, documents[i].find_first_of(" >")) != root) continue;
    if (schema == "install" && accepted[i] && !taken[i]) {
      // All that it misses: a host, which these patterns now have.
      tree.Write(std::string("c/n/1/0/") + kind.files[0], WithHosts(documents[i]));
      taken[i] = kind.read(tree, file);
      ++without_host;
    }
    EXPECT_EQ(taken[i], accepted[i]) << documents[i];
    differences += taken[i] != accepted[i];
  }
  EXPECT_EQ(schema == "install", without_host > 0);
}

TEST_P(Schemas, AcceptTheExamples) {
  const std::string schema = GetParam().schema;
  if (schema == "install") return;  // there is none among them
  std::vector<std::string> command = {
      "/usr/bin/xmllint", "--noout", "--relaxng",
      std::string(ZOR_SOURCE_DIR) + "/share/schemas/" + schema + ".rng"};
  const std::size_t options = command.size();
  for (const auto& entry : std::filesystem::recursive_directory_iterator(
           std::string(ZOR_SOURCE_DIR) + "/examples/warehouse")) {
    const std::string leaf = entry.path().filename();
    if (leaf == GetParam().files[0] || (schema == "env" && leaf == "unenv.xml") ||
        (schema == "setup" && leaf == "unset.xml"))
      command.push_back(entry.path());
  }
  ASSERT_LT(options, command.size());
  const RunResult result = RunProgram(command);
  EXPECT_EQ(0, result.status) << result.err;
}

// The files that the tests of the readers write, good and bad ones.
const TemporaryTree& FilesOfTheReadersTests() {
  static const TemporaryTree kTree;
  static bool kept = false;
  if (kept) return kTree;
  kept = true;
  RunOptions options;
  options.environment = {"LC_ALL=C.UTF-8", "ZOR_KEEP_DATA_FILES=" + kTree.path(),
                         "ASAN_OPTIONS=detect_leaks=0"};
  options.limit = std::chrono::seconds(120);
  const RunResult run =
      RunProgram({std::filesystem::read_symlink("/proc/self/exe"), "--gtest_brief=1",
                  "--gtest_filter=ReadProdinfo.*:ReadPartlist.*:ReadEnvSettings.*:ReadRecipe.*"},
                 options);
  EXPECT_EQ(0, run.status) << run.out;
  return kTree;
}

TEST_P(Schemas, AgreeOnTheFilesOfTheReadersTests) {
  const std::vector<const char*>& names = GetParam().files;
  TemporaryTree tree;
  std::vector<std::string> documents;
  std::vector<bool> taken;
  for (const auto& entry : std::filesystem::directory_iterator(FilesOfTheReadersTests().path())) {
    const std::string name = entry.path().filename();
    const std::string leaf = name.substr(name.find('-') + 1);
    if (std::find(names.begin(), names.end(), leaf) == names.end()) continue;
    // xmllint takes minutes over a variety with many thousand variables.
    if (entry.file_size() > 0x10000) continue;
    documents.push_back(ReadFile(entry.path()));
    const std::string path = tree.Write("c/n/1/0/" + leaf, documents.back());
    taken.push_back(GetParam().read(tree, Text(path)));
    std::filesystem::rename(path, tree / (std::to_string(taken.size() - 1) + ".xml"));
  }
  EXPECT_LT(2, std::count(taken.begin(), taken.end(), true));
  EXPECT_LT(2, std::count(taken.begin(), taken.end(), false));
  const std::vector<bool> accepted =
      Accepted(tree, documents.size(), "--relaxng", std::string(GetParam().schema) + ".rng", false);
  for (std::size_t i = 0; i < documents.size(); i++)
    EXPECT_EQ(taken[i], accepted[i]) << documents[i].substr(0, 1000);
}

INSTANTIATE_TEST_SUITE_P(All, Schemas, testing::ValuesIn(kKinds),
                         [](const auto& kind) { return std::string(kind.param.schema); });

}  // namespace
