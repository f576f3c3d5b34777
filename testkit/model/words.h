// The small languages of the warehouse: patterns over paths, versions, platforms, path names.
#ifndef MODEL_WORDS_H
#define MODEL_WORDS_H

#include <string>
#include <vector>

namespace model {

// Relative subjects are looked for on disk below current, which is absolute, or empty for the
// process's own directory.
bool GlobMatches(const std::string& pattern, const std::string& subject,
                 const std::string& current);
bool HasGlobs(const std::string& pattern);

// Below, at or above 0.
int CompareVersions(const std::string& one, const std::string& other);

// The host's name, and whether either name lies under the other in each of its two parts.
std::string HostPlatform();
bool PlatformIncludes(const std::string& general, const std::string& specific);
bool PlatformsOverlap(const std::string& one, const std::string& other);

// The text between separators, which stand alone; empty pieces are dropped.
std::vector<std::string> Split(const std::string& text, const std::string& separator);
std::vector<std::string> SplitAtAny(const std::string& text, const std::string& separators);

// Joins a further element, or all elements of a path whatever its separators.
void Append(std::string& path, const std::string& element);
void AppendAll(std::string& path, const std::string& elements);
void EndWithSeparator(std::string& path);

std::string FirstCharacter(const std::string& text);
bool EqualFolded(const std::string& one, const std::string& other);

// The names of a directory's entries in the order that the system gives them.
std::vector<std::string> Entries(const std::string& directory);

}  // namespace model

#endif
