// Texts NAME=VALUE, each ended by a zero byte, as "env -0" writes them; a name alone is a variable
// to remove.
#include "formats/rows.h"

namespace zor {

std::string refuse_for_env0(const Change& change) {
  if (change.name.find('=') != std::string::npos) return "holds a '='";
  return {};
}

void write_env0(std::string* text, const Change& change) {
  *text += change.name;
  if (change.value) *text += '=' + *change.value;
  *text += '\0';
}

}  // namespace zor
