// Files and directories: read at once, and written so that nobody ever sees half of one.
#ifndef ZOR_FILES_H
#define ZOR_FILES_H

#include <dirent.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace zor {

// The content of a file. Throws Error if it can't be read.
std::string content_of(const std::string& path);

// The same; nothing if there is no such file.
std::optional<std::string> content_if_there(const std::string& path);

// Makes or replaces a file, and makes the directories that it needs: the content goes into a
// temporary file beside it, which then takes its name. A file that is there keeps its mode and its
// owner, and a link stays one. Throws Error, with the old file as it was.
void write_file(const std::string& path, std::string_view content);
// The same for a file that all users are to read, whatever the umask is.
void write_file_for_all(const std::string& path, std::string_view content);

// The same for a file that must not be there yet. Throws Error if it is.
void write_new_file(const std::string& path, std::string_view content);

// Writes all of the text, or gives false with errno set.
bool write_all(int fd, std::string_view text);

// Whether the path leads to a file that may be run.
bool is_program(const std::string& path);

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

// Whether an entry of the directory is one itself, or a link to one.
bool is_directory(DIR* parent, const dirent& entry);

}  // namespace zor

#endif
