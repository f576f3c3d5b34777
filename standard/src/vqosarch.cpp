#include "vqosarch.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "vqtypes.h"

namespace {

// No terminator needed: parts of a caller's name are looked at where they stand.
using NSTRING = std::string_view;

struct PLATFORM {
  NSTRING os;
  NSTRING arch;
};

// The architecture of a name without one.
constexpr NSTRING all = "all";

constexpr int kMaxLinks = 2;

// A node's links lead from the more specific to the more general. They are positions in the list,
// counted from 1 so that 0 can end them: a table without a pointer needs no work when the program
// is loaded.
struct NODE {
  char name[32];
  uint8 links[kMaxLinks + 1];
};

enum : uint8 {
  OS_none,
  OS_all,
  OS_pc,
  OS_dos,
  OS_win,
  OS_win_32,
  OS_win_95,
  OS_win_98,
  OS_win_me,
  OS_win_nt,
  OS_win_nt_3,
  OS_win_nt_4,
  OS_win_2000,
  OS_win_xp,
  OS_solaris,
  OS_solaris_2,
  OS_solaris_2_5,
  OS_solaris_2_6,
  OS_solaris_7,
  OS_solaris_8,
  OS_sunos,
  OS_irix,
  OS_irix_6,
  OS_irix_6_3,
  OS_irix_6_4,
  OS_irix_6_5,
  OS_mac,
  OS_macos,
  OS_macos_8,
  OS_macos_9,
  OS_darwin,
  OS_macosx,
  OS_hpux,
  OS_hpux_10,
  OS_hpux_11,
  OS_linux,
  OS_linux_2,
  OS_linux_2_4,
  OS_win_vista,
  OS_unix
};

constexpr NODE list_os[] = {
    {"all", {}},
    {"pc", {OS_all}},
    {"dos", {OS_pc}},
    {"win", {OS_dos}},
    {"win_32", {OS_win}},
    {"win_95", {OS_win_32}},
    {"win_98", {OS_win_95}},
    {"win_me", {OS_win_98}},
    {"win_nt", {OS_win_32}},
    {"win_nt_3", {OS_win_nt}},
    {"win_nt_4", {OS_win_nt_3}},
    {"win_2000", {OS_win_nt_4}},
    {"win_xp", {OS_win_2000}},
    {"solaris", {OS_unix}},
    {"solaris_2", {OS_solaris}},
    {"solaris_2_5", {OS_solaris_2}},
    {"solaris_2_6", {OS_solaris_2_5}},
    {"solaris_7", {OS_solaris_2_6}},
    {"solaris_8", {OS_solaris_7}},
    {"sunos", {OS_unix}},
    {"irix", {OS_unix}},
    {"irix_6", {OS_irix}},
    {"irix_6_3", {OS_irix_6}},
    {"irix_6_4", {OS_irix_6_3}},
    {"irix_6_5", {OS_irix_6_4}},
    {"mac", {OS_all}},
    {"macos", {OS_mac}},
    {"macos_8", {OS_macos}},
    {"macos_9", {OS_macos_8}},
    {"darwin", {OS_unix}},
    {"macosx", {OS_darwin}},
    {"hpux", {OS_unix}},
    {"hpux_10", {OS_hpux}},
    {"hpux_11", {OS_hpux}},
    {"linux", {OS_unix}},
    {"linux_2", {OS_linux}},
    {"linux_2_4", {OS_linux_2}},
    {"win_vista", {OS_win_xp}},
    {"unix", {OS_all}},
};

enum : uint8 {
  ARCH_none,
  ARCH_all,
  ARCH_x86,
  ARCH_386,
  ARCH_486,
  ARCH_486_sx,
  ARCH_486_dx,
  ARCH_pentium,
  ARCH_i686,
  ARCH_mips,
  ARCH_mips_r4000,
  ARCH_mips_r5000,
  ARCH_mips_r8000,
  ARCH_mips_r10000,
  ARCH_601,
  ARCH_603,
  ARCH_604,
  ARCH_g3,
  ARCH_x704,
  ARCH_ppc,
  ARCH_sparc,
  ARCH_g4,
  ARCH_hppa,
  ARCH_pentium_4,
  ARCH_x86_64
};

// mips_r5000, mips_r8000 and mips_r10000 form a cycle.
constexpr NODE list_arch[] = {
    {"all", {}},
    {"x86", {ARCH_all}},
    {"386", {ARCH_x86}},
    {"486", {ARCH_386}},
    {"486_sx", {ARCH_486}},
    {"486_dx", {ARCH_486_sx}},
    {"pentium", {ARCH_486}},
    {"i686", {ARCH_pentium}},
    {"mips", {ARCH_all}},
    {"mips_r4000", {ARCH_mips}},
    {"mips_r5000", {ARCH_mips, ARCH_mips_r10000}},
    {"mips_r8000", {ARCH_mips_r5000}},
    {"mips_r10000", {ARCH_mips_r8000}},
    {"601", {ARCH_ppc}},
    {"603", {ARCH_601}},
    {"604", {ARCH_603}},
    {"g3", {ARCH_604}},
    {"x704", {ARCH_g3}},
    {"ppc", {ARCH_all}},
    {"sparc", {ARCH_all}},
    {"g4", {ARCH_x704}},
    {"hppa", {ARCH_all}},
    {"pentium_4", {ARCH_i686}},
    {"x86_64", {ARCH_pentium_4}},
};

static_assert(std::size(list_os) == OS_unix && std::size(list_arch) == ARCH_x86_64);

constexpr int kMaxNodes = std::size(list_os);
static_assert(std::size(list_arch) <= kMaxNodes);

struct LIST {
  const NODE* nodes;
  int length;
};

constexpr LIST kListOs{list_os, std::size(list_os)};
constexpr LIST kListArch{list_arch, std::size(list_arch)};

PLATFORM parse_platform(NSTRING string) {
  const std::size_t dash = string.rfind('-');
  if (dash == NSTRING::npos) return {string, all};
  // Cut by hand: substr can throw, and what serves throwing runs before main.
  return {{string.data(), dash}, {string.data() + dash + 1, string.size() - dash - 1}};
}

// The position of the node of that name, -1 if there is none.
int find_node(NSTRING name, const LIST& list) {
  for (int i = 0; i < list.length; ++i)
    if (list.nodes[i].name == name) return i;
  return -1;
}

// Whether the node, or one that its links lead to, has that name.
bool compatible_rec(int n, NSTRING name, const LIST& list, bool* visited) {
  if (visited[n]) return false;
  visited[n] = true;
  const NODE& node = list.nodes[n];
  if (node.name == name) return true;
  return std::any_of(node.links, std::find(node.links, std::end(node.links), 0),
                     [&](int link) { return compatible_rec(link - 1, name, list, visited); });
}

// Whether name1 is name2 or lies under it. A name1 without a node is tried without its last parts;
// name2 must be a node as it stands.
bool compatible(NSTRING name1, NSTRING name2, const LIST& list) {
  if (name1 == name2) return true;
  while (!name1.empty()) {
    const int n = find_node(name1, list);
    if (n >= 0) {
      bool visited[kMaxNodes] = {};
      return compatible_rec(n, name2, list, visited);
    }
    const std::size_t underscore = name1.rfind('_');
    name1 = {name1.data(), underscore == NSTRING::npos ? 0 : underscore};
  }
  return false;
}

bool compatible_either_way(NSTRING name1, NSTRING name2, const LIST& list) {
  return compatible(name1, name2, list) || compatible(name2, name1, list);
}

const char* word_in(const LIST& list, int number) {
  return number >= 0 && number < list.length ? list.nodes[number].name : nullptr;
}

}  // namespace

int platform_includes(char* general, char* specific) {
  const PLATFORM g = parse_platform(general);
  const PLATFORM s = parse_platform(specific);
  return compatible(s.os, g.os, kListOs) && compatible(s.arch, g.arch, kListArch);
}

int platform_included(char* specific, char* general) {
  return platform_includes(general, specific);
}

int platform_overlaps(char* platform1, char* platform2) {
  const PLATFORM p1 = parse_platform(platform1);
  const PLATFORM p2 = parse_platform(platform2);
  return compatible_either_way(p1.os, p2.os, kListOs) &&
         compatible_either_way(p1.arch, p2.arch, kListArch);
}

int platform_known(char* str) {
  const PLATFORM p = parse_platform(str);
  return find_node(p.os, kListOs) >= 0 && find_node(p.arch, kListArch) >= 0;
}

const char* platform_system_word(int number) {
  return word_in(kListOs, number);
}

const char* platform_architecture_word(int number) {
  return word_in(kListArch, number);
}

int platform_identical(char* a, char* b) {
  return std::strcmp(a, b) == 0;
}

int platform_different(char* a, char* b) {
  return !platform_identical(a, b);
}
