// Locks. An input is the text of one, with its sum or without.
//
// - It is taken, or refused with the file's name and a line that it has, or the one behind its end.
// - With the right sum behind its lines it says the same of a line, or the lock is the one that its
//   own text gives again.
#include "lock.h"

#include <algorithm>
#include <optional>
#include <string>

#include "error.h"
#include "fuzz.h"
#include "sha256.h"

namespace {

// The lock, or nothing if it was refused as it should be.
std::optional<zor::Lock> Read(const std::string& text) {
  try {
    return zor::read_lock(text, "zor.lock");
  } catch (const zor::Error& error) {
    const std::string told = error.what();
    const std::string name = "zor.lock:";
    if (!told.starts_with(name)) fuzz::Fail("a refusal without its place", told);
    const long line = std::atol(told.c_str() + name.size());
    if (line < 1 || line > std::count(text.begin(), text.end(), '\n') + 1)
      fuzz::Fail("a refusal of a line that is not there", told + "\n" + fuzz::Quoted(text));
    return std::nullopt;
  }
}

}  // namespace

void fuzz::Try(Input& input) {
  const std::string text = input.Rest();
  Read(text);
  std::string lines = text.substr(0, text.rfind("\nsum ") + 1);
  if (lines.empty()) lines = text;
  if (!lines.ends_with('\n')) lines += '\n';
  const auto lock = Read(lines + "sum " + zor::sha256(lines) + "\n");
  if (!lock) return;
  const std::string again = written(*lock);
  const auto same = Read(again);
  if (!same || *same != *lock) Fail("another lock from its own text", Quoted(text));
  if (written(*same) != again) Fail("another text from the same lock", Quoted(text));
}
