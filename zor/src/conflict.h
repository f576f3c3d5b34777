// Conflicts: operations of which not all can be had. Whoever meets one is told what stands against
// what, how both came in, and what would help.
#ifndef ZOR_CONFLICT_H
#define ZOR_CONFLICT_H

#include <string>

#include "request.h"
#include "warehouse.h"

namespace zor {

// The faults of an answer, as lines of which the last has no end: each in the engine's own words
// and, if it is a conflict, behind it in lines with two blanks in front both operations and the
// chains of parts from the user's words to them. Behind all of them stand the ways out, which have
// been tried by computing each; not more than some, nor for longer than two seconds.
std::string explained(const Request& request, const Environment& base, const Answer& answer);

}  // namespace zor

#endif
