#include "hostname.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "hostplat.h"

namespace {

// A name as it grows, cut at what a name may take.
struct NAME {
  char text[kHostPlatformSize] = "";
  std::size_t length = 0;

  void put(std::string_view part) {
    const std::size_t n = std::min(part.size(), sizeof text - 1 - length);
    std::memcpy(text + length, part.data(), n);
    length += n;
  }
};

// The word for the operating system. rel loses what the word tells already.
std::string_view os_word(std::string_view system, std::string_view& rel) {
  if (system.starts_with("IRIX")) return "irix";
  if (system == "SunOS" || system == "sunos") {
    const bool five = rel.starts_with("5");
    if (!five && !rel.starts_with("6")) return "sunos";
    rel.remove_prefix(1);
    if (rel.starts_with(".")) rel.remove_prefix(1);
    return five ? "solaris_2" : "solaris_3";
  }
  if (system == "Linux" || system == "linux") return "linux";
  if (system == "HP-UX" || system == "hp-ux") return "hpux";
  if (system == "Darwin" || system == "darwin") {
    rel = {};
    return "darwin";
  }
  return "unknown";
}

void put_release(NAME& name, std::string_view rel) {
  if (rel.empty()) return;
  name.put("_");
  for (const char c : rel) {
    const char put = c == '.' || c == '-' ? '_' : c;
    name.put({&put, 1});
  }
}

bool is_i86(std::string_view machine) {
  return machine.size() == 4 && machine[0] == 'i' && machine[1] >= '0' && machine[1] <= '9' &&
         machine.ends_with("86");
}

std::string_view arch_word(std::string_view machine) {
  if (!is_i86(machine) || machine[1] > '5') return machine;
  return machine[1] == '5' ? "pentium" : machine.substr(1);
}

}  // namespace

void host_platform_of(const char* system, const char* release, const char* machine, char* result) {
  NAME name;
  std::string_view rel = release;
  name.put(os_word(system, rel));
  put_release(name, rel);
  name.put("-");
  name.put(arch_word(machine));
  std::memcpy(result, name.text, name.length);
  result[name.length] = '\0';
}
