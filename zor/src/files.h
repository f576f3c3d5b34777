// Whole files: read at once, and written so that nobody ever sees half of one.
#ifndef ZOR_FILES_H
#define ZOR_FILES_H

#include <optional>
#include <string>
#include <string_view>

namespace zor {

// The content of a file. Throws Error if it can't be read.
std::string content_of(const std::string& path);

// The same; nothing if there is no such file.
std::optional<std::string> content_if_there(const std::string& path);

// Makes or replaces a file, and makes the directories that it needs: the content goes into a
// temporary file beside it, which then takes its name. Throws Error, with the old file as it was.
void write_file(const std::string& path, std::string_view content);

}  // namespace zor

#endif
