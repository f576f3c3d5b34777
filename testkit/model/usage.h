// The usage text of the tool.
#ifndef MODEL_USAGE_H
#define MODEL_USAGE_H

#include <string>
#include <string_view>

// With this program name.
std::string Usage(std::string_view program);

#endif
