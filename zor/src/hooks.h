// Programs of a site or a user that run around each step of a session.
#ifndef ZOR_HOOKS_H
#define ZOR_HOOKS_H

#include <string>

#include "config.h"
#include "environment.h"

namespace zor {

// Runs the program for before a step, in the environment that the step finds. Throws Error, which
// ends the step, if there is one and it does not end with status 0.
void run_before_step(const Config& config, const std::string& step, const Environment& environment);

// Runs the program for after a step, in the environment that the step leads to. Gives a line about
// it if there is one and it does not end with status 0; the step stands.
std::string run_after_step(const Config& config, const std::string& step,
                           const Environment& environment);

}  // namespace zor

#endif
