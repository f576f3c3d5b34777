// The pieces of an account as texts for people, the same wherever reasons are given.
#ifndef ZOR_RENDER_ACCOUNT_H
#define ZOR_RENDER_ACCOUNT_H

#include <string>
#include <vector>

#include "reasons.h"
#include "request.h"

namespace zor {

// A value or a pattern, in which line ends and what steers a terminal are \xNN.
std::string in_one_line(const std::string& text);

// file:line:column
std::string place_text(const Location& place);

// "platform=linux-x86, compiler=gcc"
std::string bindings_text(const std::vector<Binding>& bindings);

// category/name/version/rev with the variables of the variety in brackets, if it has any.
std::string station_text(const Station& station);

// A product as the user named it; in the form of zorenv with -p in front.
std::string word_text(const NamedQuery& named);

// "tools/weaver/1.10/2 (/warehouse/tools/weaver/1.10/2/env.xml:6:5)"
std::string operation_text(const Account& account, int operation);

// How an operation's product came in, a line with its end for each step from it to the user's
// words.
std::string chain_text(const Account& account, const Request& request, int operation,
                       const std::string& indent);

// "BEFORE /usr/** of tools/weaver/1.10/2 (...)"
std::string constraint_text(const Account& account, const ConstraintReason& constraint);

// A line for each product that was named: the version that was taken, and the varieties.
std::string taken_text(const Answer& answer);

}  // namespace zor

#endif
