// The functions of the dialects, for the table of them.
#ifndef ZOR_FORMATS_ROWS_H
#define ZOR_FORMATS_ROWS_H

#include <string>

#include "environment.h"

namespace zor {

std::string refuse_for_sh(const Change& change);
void write_sh(std::string* text, const Change& change);

std::string refuse_for_env0(const Change& change);
void write_env0(std::string* text, const Change& change);

}  // namespace zor

#endif
