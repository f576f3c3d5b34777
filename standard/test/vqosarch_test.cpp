#include "vqosarch.h"
#include "caller.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

bool Includes(std::string general, std::string specific, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  const int result = platform_includes(general.data(), specific.data());
  EXPECT_EQ(result, platform_included(specific.data(), general.data()));
  return result != 0;
}

bool Overlaps(std::string a, std::string b, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  const int result = platform_overlaps(a.data(), b.data());
  EXPECT_EQ(result, platform_overlaps(b.data(), a.data())) << a << " " << b;
  return result != 0;
}

bool Known(std::string name) {
  return platform_known(name.data()) != 0;
}

struct Link {
  std::string node;
  std::vector<std::string> links;
};

const std::vector<Link> kOs = {
    {"all", {}},
    {"pc", {"all"}},
    {"dos", {"pc"}},
    {"win", {"dos"}},
    {"win_32", {"win"}},
    {"win_95", {"win_32"}},
    {"win_98", {"win_95"}},
    {"win_me", {"win_98"}},
    {"win_nt", {"win_32"}},
    {"win_nt_3", {"win_nt"}},
    {"win_nt_4", {"win_nt_3"}},
    {"win_2000", {"win_nt_4"}},
    {"win_xp", {"win_2000"}},
    {"solaris", {"unix"}},
    {"solaris_2", {"solaris"}},
    {"solaris_2_5", {"solaris_2"}},
    {"solaris_2_6", {"solaris_2_5"}},
    {"solaris_7", {"solaris_2_6"}},
    {"solaris_8", {"solaris_7"}},
    {"sunos", {"unix"}},
    {"irix", {"unix"}},
    {"irix_6", {"irix"}},
    {"irix_6_3", {"irix_6"}},
    {"irix_6_4", {"irix_6_3"}},
    {"irix_6_5", {"irix_6_4"}},
    {"mac", {"all"}},
    {"macos", {"mac"}},
    {"macos_8", {"macos"}},
    {"macos_9", {"macos_8"}},
    {"darwin", {"unix"}},
    {"macosx", {"darwin"}},
    {"hpux", {"unix"}},
    {"hpux_10", {"hpux"}},
    {"hpux_11", {"hpux"}},
    {"linux", {"unix"}},
    {"linux_2", {"linux"}},
    {"linux_2_4", {"linux_2"}},
    {"win_vista", {"win_xp"}},
    {"unix", {"all"}},
};

const std::vector<Link> kArch = {
    {"all", {}},
    {"x86", {"all"}},
    {"386", {"x86"}},
    {"486", {"386"}},
    {"486_sx", {"486"}},
    {"486_dx", {"486_sx"}},
    {"pentium", {"486"}},
    {"i686", {"pentium"}},
    {"mips", {"all"}},
    {"mips_r4000", {"mips"}},
    {"mips_r5000", {"mips", "mips_r10000"}},
    {"mips_r8000", {"mips_r5000"}},
    {"mips_r10000", {"mips_r8000"}},
    {"601", {"ppc"}},
    {"603", {"601"}},
    {"604", {"603"}},
    {"g3", {"604"}},
    {"x704", {"g3"}},
    {"ppc", {"all"}},
    {"sparc", {"all"}},
    {"g4", {"x704"}},
    {"hppa", {"all"}},
    {"pentium_4", {"i686"}},
    {"x86_64", {"pentium_4"}},
};

// All names that a node lies under, by following the links of the table to their ends.
std::vector<std::string> Above(const std::vector<Link>& list, const std::string& node) {
  std::vector<std::string> reached = {node};
  for (std::size_t i = 0; i < reached.size(); ++i)
    for (const Link& link : list)
      if (link.node == reached[i])
        for (const std::string& next : link.links)
          if (std::find(reached.begin(), reached.end(), next) == reached.end())
            reached.push_back(next);
  return reached;
}

TEST(PlatformIncludes, FollowsTheSystemsLinksAndNoOthers) {
  ASSERT_EQ(39u, kOs.size());
  for (const Link& specific : kOs) {
    const std::vector<std::string> above = Above(kOs, specific.node);
    for (const Link& general : kOs)
      EXPECT_EQ(std::find(above.begin(), above.end(), general.node) != above.end(),
                Includes(general.node, specific.node))
          << general.node << " " << specific.node;
  }
}

TEST(PlatformIncludes, FollowsTheArchitecturesLinksAndNoOthers) {
  ASSERT_EQ(24u, kArch.size());
  for (const Link& specific : kArch) {
    const std::vector<std::string> above = Above(kArch, specific.node);
    for (const Link& general : kArch)
      EXPECT_EQ(std::find(above.begin(), above.end(), general.node) != above.end(),
                Includes("unix-" + general.node, "linux-" + specific.node))
          << general.node << " " << specific.node;
  }
}

TEST(PlatformIncludes, AnsweringCases) {
  struct {
    std::string general, specific;
    bool includes;
  } rows[] = {
      {"unix", "linux_2_4_20-i686", true},
      {"linux_2_4_20-i686", "unix", false},
      {"x86", "linux-x86", false},  // read as a system
      {"foo", "foo", true},
      {"foo", "foo_1", false},
      {"linux-x86", "linux-x86_64", true},
      {"linux-x86_64", "linux-x86", false},
      {"solaris_2_6", "solaris_8", true},
      {"solaris_8", "solaris_2_6", false},
      {"linux_2_4", "linux_2_4_20-i686", true},
      {"linux_2", "linux_2_6_9-i686", true},
      {"linux_2_4", "linux_2_6_9-i686", false},
      {"linux", "linux_6_1_0_18_amd64-x86_64", true},
      {"linux_2_4", "linux_6_1_0_18_amd64-x86_64", false},
      {"all-all", "linux-x86_64", true},
      {"all", "foo-x86", false},
      // The node that is found answers; its shorter forms are not tried.
      {"linux_2_6", "linux_2_6_9", false},
      {"linux_2_6_9", "linux_2_6_9", true},
      // A machine that is no node reaches not even all.
      {"unix", "linux-aarch64", false},
      {"unix-aarch64", "linux-aarch64", true},
      // Shortened architectures.
      {"linux-mips", "linux-mips_r4000_b", true},
      // The last dash divides.
      {"my-own-x86", "my-own-i686", true},
      {"unix-", "linux-x86", false},
      {"unix-", "linux-", true},
      {"", "", true},
      {"all", "", false},
      {"all", "_x", false},
  };
  for (auto& row : rows)
    EXPECT_EQ(row.includes, Includes(row.general, row.specific))
        << row.general << " " << row.specific;
}

TEST(PlatformOverlaps, AnsweringCases) {
  struct {
    std::string a, b;
    bool overlaps;
  } rows[] = {
      {"unix-x86", "linux-all", true},  // each part its own way
      {"unix", "linux-i686", true},    {"solaris-sparc", "solaris-x86", false},
      {"solaris", "linux", false},     {"foo-x86", "foo-386", true},
      {"all", "win_xp-i686", true},
  };
  for (auto& row : rows)
    EXPECT_EQ(row.overlaps, Overlaps(row.a, row.b)) << row.a << " " << row.b;
}

TEST(PlatformKnown, TakesBothPartsAsTheyStand) {
  for (const Link& os : kOs)
    EXPECT_TRUE(Known(os.node)) << os.node;
  for (const Link& arch : kArch)
    EXPECT_TRUE(Known("linux-" + arch.node)) << arch.node;
  EXPECT_FALSE(Known("linux_2_4_20-i686"));
  EXPECT_FALSE(Known("linux-aarch64"));
  EXPECT_FALSE(Known("x86"));
  EXPECT_FALSE(Known("foo-x86"));
  EXPECT_FALSE(Known("linux-"));
  EXPECT_FALSE(Known(""));
}

// The words of a graph as its enumeration gives them, sorted.
std::vector<std::string> Words(const char* (*word)(int number)) {
  std::vector<std::string> words;
  while (const char* each = word(static_cast<int>(words.size())))
    words.emplace_back(each);
  std::sort(words.begin(), words.end());
  return words;
}

std::vector<std::string> Nodes(const std::vector<Link>& list) {
  std::vector<std::string> nodes;
  for (const Link& link : list)
    nodes.push_back(link.node);
  std::sort(nodes.begin(), nodes.end());
  return nodes;
}

TEST(PlatformWords, AreAllNodesOfTheGraphs) {
  EXPECT_EQ(Nodes(kOs), Words(platform_system_word));
  EXPECT_EQ(Nodes(kArch), Words(platform_architecture_word));
  EXPECT_EQ(nullptr, platform_system_word(-1));
  EXPECT_EQ(nullptr, platform_architecture_word(24));
}

TEST(PlatformIdentical, IsEqualityOfTheTexts) {
  std::string a = "linux-x86", b = "linux-x86", c = "linux-all", d = "linux";
  EXPECT_TRUE(platform_identical(a.data(), b.data()));
  EXPECT_FALSE(platform_different(a.data(), b.data()));
  EXPECT_FALSE(platform_identical(c.data(), d.data()));
  EXPECT_TRUE(platform_different(c.data(), d.data()));
}

}  // namespace
