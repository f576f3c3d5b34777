#include "formats/format.h"

#include "error.h"
#include "formats/rows.h"

namespace zor {

namespace {

constexpr Format kFormats[] = {
    {"sh", "sh, dash, busybox sh and all shells of that family", refuse_for_sh, write_sh},
    {"env0", "NAME=VALUE, each ended by a zero byte", refuse_for_env0, write_env0},
};

}  // namespace

std::span<const Format> formats() {
  return kFormats;
}

const Format* find_format(std::string_view name) {
  for (const Format& format : kFormats)
    if (format.name == name) return &format;
  return nullptr;
}

std::string written(const Format& format, std::span<const Change> changes) {
  std::string refused;
  for (const Change& change : changes) {
    const std::string reason = format.refusal(change);
    if (!reason.empty())
      refused += fmt::format("\n  {} {}", change.name.empty() ? "''" : change.name, reason);
  }
  if (!refused.empty())
    fail("the format {} can't carry these variables, so nothing was written:{}", format.name,
         refused);
  std::string text;
  for (const Change& change : changes)
    format.write(&text, change);
  return text;
}

}  // namespace zor
