#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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

bool write_all(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t count = write(fd, content.data(), content.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) content.remove_prefix(static_cast<std::size_t>(count));
  }
  return fsync(fd) == 0;
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
  make_directories(path);
  std::string temporary = path + ".XXXXXX";
  const int fd = mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) fail_errno(path, errno);
  // As a file is made otherwise; a temporary one is its owner's alone.
  const mode_t mask = umask(0);
  umask(mask);
  bool good = fchmod(fd, 0666 & ~mask) == 0 && write_all(fd, content);
  int reason = errno;
  if (close(fd) != 0 && good) {
    good = false;
    reason = errno;
  }
  if (good && rename(temporary.c_str(), path.c_str()) != 0) {
    good = false;
    reason = errno;
  }
  if (good) return;
  unlink(temporary.c_str());
  fail_errno(path, reason);
}

}  // namespace zor
