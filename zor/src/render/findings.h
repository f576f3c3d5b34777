// What zor check has found, for people, for programs and for what shows findings beside sources.
#ifndef ZOR_RENDER_FINDINGS_H
#define ZOR_RENDER_FINDINGS_H

#include <string>
#include <vector>

#include "check/check.h"

namespace zor {

// Where the findings' files are.
struct FindingsRoot {
  std::string given;     // what is put in front of their names for people, empty for nothing
  std::string absolute;  // where they are read
};

// Each finding with its source line and what it is about marked below, and a summary at the end.
std::string findings_text(const check::Report& report, const FindingsRoot& root, bool colour);

// Annotations of GitHub Actions, one a line.
std::string findings_github(const check::Report& report, const FindingsRoot& root);

// A document of the schema check.schema.json.
std::string findings_json(const check::Report& report, const FindingsRoot& root);

// A log of SARIF 2.1.0.
std::string findings_sarif(const check::Report& report, const FindingsRoot& root);

// The findings that an earlier run did not have; its document is the text. Lines don't count, since
// they move: as many findings of one rule, file and text are left out as there were. Throws Error
// if the text is no such document.
void leave_out_known(std::vector<check::Finding>* findings, const std::string& baseline,
                     const std::string& name);

}  // namespace zor

#endif
