// The state of a session. An input is what it holds, as it stands in ZOR_SESSION once it is
// unpacked; or, behind a line "packed", what stands in the variable itself.
//
// - It is taken, or refused with words that name the variable.
// - What was taken is written and read again as the same, in letters that no shell minds.
// - The environment without the session, and what the user has done by hand, can be told of it.
#include "session/session.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "error.h"
#include "fuzz.h"
#include "session/pack.h"

namespace {

std::optional<zor::Session> Taken(const zor::Environment& environment) {
  try {
    return zor::read_session(environment);
  } catch (const zor::Error& error) {
    if (std::string(error.what()).find("ZOR_SESSION ") == std::string::npos)
      fuzz::Fail("a refusal that does not say of what", error.what());
    return std::nullopt;
  }
}

std::vector<std::string> TextsOf(const zor::Session& session) {
  std::vector<std::string> texts;
  for (const zor::Change& change : zor::session_texts(session)) {
    if (!zor::is_session_text(change.name))
      fuzz::Fail("a name that is none of a session", change.name);
    if (!change.value || !std::all_of(change.value->begin(), change.value->end(), [](char c) {
          return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                 c == '-' || c == '_';
        }))
      fuzz::Fail("a text that a shell might mind", change.value.value_or("none"));
    texts.push_back(change.name + '=' + *change.value);
  }
  return texts;
}

}  // namespace

void fuzz::Try(Input& input) {
  std::string content = input.Rest();
  const std::string mark = "packed\n";
  const bool is_packed = content.starts_with(mark);
  if (is_packed) content.erase(0, mark.size());
  if (content.empty() || (is_packed && content.find('\0') != std::string::npos)) return;
  const std::string text = is_packed ? content : zor::packed(content);
  const zor::Environment environment({"HOME=/home/you", "L=one:two", "ZOR_SESSION=" + text});
  const std::optional<zor::Session> session = Taken(environment);
  if (!session) return;
  const std::vector<std::string> written = TextsOf(*session);
  if (written.empty() != session->empty()) Fail("a session that is not written", content);
  const std::optional<zor::Session> again = Taken(zor::Environment(written));
  if (!again || TextsOf(*again) != written) Fail("a session that changes as it is read", content);
  zor::base_of(*session, environment);
  zor::Session changed = *session;
  zor::take_up_changes(&changed, environment);
  if (changed.contents != session->contents) Fail("a product that comes or goes by hand", content);
}
