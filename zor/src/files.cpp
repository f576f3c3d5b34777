#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "error.h"

namespace zor {

namespace {

[[noreturn]] void fail_errno(const std::string& path, int reason) {
  fail("{}: {}", path, std::strerror(reason));
}

std::string read_all(int fd, const std::string& path) {
  std::string content;
  char block[16384];
  ssize_t count;
  while ((count = read(fd, block, sizeof block)) > 0 || (count < 0 && errno == EINTR))
    if (count > 0) content.append(block, static_cast<std::size_t>(count));
  const int reason = errno;
  close(fd);
  if (count < 0) fail_errno(path, reason);
  return content;
}

void make_directories(const std::string& path) {
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    const std::string directory = path.substr(0, slash);
    if (mkdir(directory.c_str(), 0777) != 0 && errno != EEXIST) fail_errno(directory, errno);
  }
}

// Where a link leads to, or the path itself if it is none or leads nowhere.
std::string behind_links(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                         &std::free);
  return real ? real.get() : path;
}

// Gives the temporary file its name; what must be new takes no name that is there.
bool take_name(const std::string& temporary, const std::string& path, bool is_new) {
  if (!is_new) return rename(temporary.c_str(), path.c_str()) == 0;
  if (renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0)
    return true;
  // Not every file system can do so in one step.
  if (errno != EINVAL && errno != ENOSYS) return false;
  struct stat info = {};
  if (lstat(path.c_str(), &info) == 0) {
    errno = EEXIST;
    return false;
  }
  return rename(temporary.c_str(), path.c_str()) == 0;
}

// A temporary file is its owner's alone, so the mode is given in any case.
void replace_file(const std::string& given, std::string_view content, mode_t mode,
                  bool is_new = false) {
  make_directories(given);
  const std::string path = is_new ? given : behind_links(given);
  struct stat info = {};
  const bool there = !is_new && stat(path.c_str(), &info) == 0;
  std::string temporary = path + ".XXXXXX";
  const int fd = mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) fail_errno(path, errno);
  bool good = fchmod(fd, there ? info.st_mode & 07777 : mode) == 0;
  // Only root can give files away; whoever else may write here owns them.
  if (good && there && geteuid() == 0) good = fchown(fd, info.st_uid, info.st_gid) == 0;
  good = good && write_all(fd, content) && fsync(fd) == 0;
  int reason = errno;
  if (close(fd) != 0 && good) {
    good = false;
    reason = errno;
  }
  if (good && take_name(temporary, path, is_new)) return;
  if (good) reason = errno;
  unlink(temporary.c_str());
  fail_errno(path, reason);
}

mode_t usual_mode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

std::string content_of(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) fail_errno(path, errno);
  return read_all(fd, path);
}

std::optional<std::string> content_if_there(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd >= 0) return read_all(fd, path);
  if (errno != ENOENT && errno != ENOTDIR) fail_errno(path, errno);
  return std::nullopt;
}

void write_file(const std::string& path, std::string_view content) {
  replace_file(path, content, usual_mode());
}

void write_new_file(const std::string& path, std::string_view content) {
  replace_file(path, content, usual_mode(), true);
}

void write_file_for_all(const std::string& path, std::string_view content) {
  replace_file(path, content, 0644);
}

bool is_directory(DIR* parent, const dirent& entry) {
  if (entry.d_type == DT_DIR) return true;
  if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return false;
  struct stat info;
  return fstatat(dirfd(parent), entry.d_name, &info, 0) == 0 && S_ISDIR(info.st_mode);
}

bool write_all(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(fd, text.data(), text.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool is_program(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(path.c_str(), X_OK) == 0;
}

}  // namespace zor
