// Nodes found by pattern: always those on which the pattern matches, in slot order.
#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <random>

#include "engine_support.h"
#include "environ/names_table.h"
#include "environ/node_list.h"
#include "glob.h"

namespace {

using Strings = std::vector<std::string>;

// A variable with a node for each text.
class Nodes {
 public:
  explicit Nodes(const Strings& texts) : var_ops_(make_var_ops()) {
    for (const std::string& text : texts)
      get_node(var_ops_, Fwt(text));
    open_nodes(&list_, var_ops_);
  }
  ~Nodes() {
    close_nodes(&list_);
    FwHashTable* variables = make_names_table();
    FwHashAddEntry(variables, FWT("V"), var_ops_, nullptr);
    free_variables(&variables);
  }
  Nodes(const Nodes&) = delete;
  Nodes& operator=(const Nodes&) = delete;

  Strings Found(const std::string& pattern) {
    const POSITIONS* found = match_nodes(&list_, Fwt(patterns_.emplace_back(pattern)));
    Strings texts;
    for (int32 i = 0; i < found->count; ++i)
      texts.push_back(Str(node_at(&list_, found->list[i])->value));
    return texts;
  }
  // Each pair tried, in slot order.
  Strings Tried(const std::string& pattern) {
    Strings texts;
    for (int32 i = 0; i < FwVectorLength(&list_.list); ++i)
      if (wh_glob_matches(Fwt(pattern), node_at(&list_, i)->value))
        texts.push_back(Str(node_at(&list_, i)->value));
    return texts;
  }

 private:
  VAR_OPS* var_ops_;
  NODE_LIST list_;
  std::deque<std::string> patterns_;  // each is looked at once more with the next
};

TEST(MatchNodes, ALiteralFindsAllSpellingsOfItsPath) {
  Nodes nodes({"/a/b", "/a//b", "/a/b/", "/a", "a/b", "/a/b|c"});
  EXPECT_EQ(3u, nodes.Found("/a/b").size());
  EXPECT_EQ(nodes.Tried("/a/b"), nodes.Found("/a/b"));
  EXPECT_EQ(nodes.Tried("/a/b"), nodes.Found("//a/b//"));
  EXPECT_EQ(Strings{"a/b"}, nodes.Found("a/b"));
  EXPECT_EQ(Strings{}, nodes.Found("/c"));
}

TEST(MatchNodes, APatternAskedForAgainFindsTheSame) {
  Nodes nodes({"/usr/bin", "/usr/local/bin", "/bin"});
  const Strings found = nodes.Found("/usr/**");
  EXPECT_EQ(2u, found.size());
  EXPECT_EQ(found, nodes.Found("/usr/**"));
  EXPECT_EQ(Strings{"/bin"}, nodes.Found("/bin"));
  EXPECT_EQ(found, nodes.Found("/usr/**"));
}

TEST(MatchNodes, AGlobBesideFewNodesTriesEach) {
  Nodes nodes({"/usr/bin", "/usr/local/bin", "/bin"});
  EXPECT_EQ(Strings{"/usr/bin"}, nodes.Found("/usr/*"));
  EXPECT_EQ(3u, nodes.Found("**").size());
}

TEST(MatchNodes, AGlobFindsTextsThatBeginAsItDoesInAnotherSpelling) {
  Nodes nodes({"/a/b", "/a//b1", "//a/b2/", "/a/b|x", "/a", "/a/c", "a/b"});
  EXPECT_EQ(nodes.Tried("/a/b*"), nodes.Found("/a/b*"));
  EXPECT_EQ(3u, nodes.Found("/a/b*").size());
  EXPECT_EQ(nodes.Tried("//a//b?"), nodes.Found("//a//b?"));
  EXPECT_EQ(2u, nodes.Found("//a//b?").size());
}

TEST(MatchNodes, AGlobBesideManyNodesFindsWhatEachTryWould) {
  // Few letters, so that texts are met by patterns, and by each other's spellings.
  std::mt19937 random(1);
  auto word = [&](const char* letters, int most) {
    std::string text;
    for (int n = std::uniform_int_distribution(0, most)(random); n > 0; --n)
      text += letters[std::uniform_int_distribution<size_t>(0, std::strlen(letters) - 1)(random)];
    return text;
  };
  Strings texts;
  for (int i = 0; i < 400; ++i)
    texts.push_back(word("ab//\xC3\xA4", 6));
  for (int i = 0; i < 20; ++i)
    texts.push_back(word("ab/*?", 6));
  Nodes nodes(texts);
  int met = 0;
  for (int i = 0; i < 2000; ++i) {
    std::string pattern = word("aab//*?\xC3\xA4", 7);
    Strings tried = nodes.Tried(pattern);
    EXPECT_EQ(tried, nodes.Found(pattern)) << pattern;
    met += !tried.empty();
  }
  EXPECT_GT(met, 500);
}

TEST(MatchNodes, ABeginningEndsBeforeWhatMayDiffer) {
  auto beginning = [](const char* pattern) {
    GLOB glob;
    open_glob(&glob, FWT(pattern));
    std::string text = Take(literal_beginning(&glob));
    close_glob(&glob);
    return text;
  };
  EXPECT_EQ("/opt/weaver", beginning("/opt/weaver*/bin"));
  EXPECT_EQ("/opt/w", beginning("/opt//w?"));
  EXPECT_EQ("/opt", beginning("/opt/**"));
  EXPECT_EQ("/opt", beginning("/opt|file"));
  EXPECT_EQ("/opt/", beginning("/opt/*"));
  EXPECT_EQ("opt/a", beginning("opt/a"));
  EXPECT_EQ("", beginning("*/bin"));
  EXPECT_EQ("", beginning("**opt**"));
  EXPECT_EQ("/", beginning("/"));
}

TEST(MatchNodes, TextsAreTheirOwnKeysIfTheKeySaysSo) {
  // All texts of up to five of these characters.
  const std::string characters = "a/*?|\\:\xC3";
  Strings texts = {""};
  for (size_t i = 0; texts[i].size() < 5; ++i)
    for (char c : characters)
      texts.push_back(texts[i] + c);
  for (const std::string& text : texts) {
    FwTextString key = literal_key(Fwt(text));
    EXPECT_EQ(key != nullptr && Str(key) == text, is_own_key(Fwt(text))) << text;
    wh_free(key);
  }
}

}  // namespace
