// Stands in for system calls and for functions of the C library that hide one: each is counted,
// fails if it is its turn, and is handed on otherwise. What the C library does inside, such as the
// writes of its streams, does not come by here.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <iconv.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "faults.h"

namespace {

template <class Fn>
Fn* Next(Fn*, const char* name) {
  return reinterpret_cast<Fn*>(dlsym(RTLD_NEXT, name));
}

// What a regular file has left to read, at least what is asked for of anything else.
size_t Unread(int file, size_t size) {
  struct stat status;
  if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return size;
  const off_t at = ::lseek(file, 0, SEEK_CUR);
  return at < 0 ? size : static_cast<size_t>(std::max<off_t>(status.st_size - at, 0));
}

}  // namespace

// The function of this name that is linked behind.
#define NEXT(name)                                 \
  ([] {                                            \
    static auto* const next = Next(::name, #name); \
    return next;                                   \
  }())

extern "C" {

int open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if (flags & O_CREAT) {
    va_list list;
    va_start(list, flags);
    mode = va_arg(list, mode_t);
    va_end(list);
  }
  return CallFails(kOpen) ? -1 : NEXT(open)(path, flags, mode);
}

ssize_t read(int file, void* buffer, size_t size) {
  if (CallFails(kRead)) return -1;
  // What is left may be far less than what is asked for.
  if (TransferSize(kRead, size) < size) size = (std::min(size, Unread(file, size)) + 1) / 2;
  return NEXT(read)(file, buffer, size);
}

ssize_t write(int file, const void* buffer, size_t size) {
  if (CallFails(kWrite)) return -1;
  const long long taken = TakeRoom(file, TransferSize(kWrite, size));
  return taken < 0 ? -1 : NEXT(write)(file, buffer, static_cast<size_t>(taken));
}

// The descriptor is closed also when it fails, as it is by the system.
int close(int file) {
  const bool fails = CallFails(kClose);
  const int error = errno;
  const int result = NEXT(close)(file);
  if (!fails) return result;
  errno = error;
  return -1;
}

off_t lseek(int file, off_t offset, int whence) noexcept {
  return CallFails(kSeek) ? -1 : NEXT(lseek)(file, offset, whence);
}

int stat(const char* path, struct stat* status) noexcept {
  return CallFails(kStat) ? -1 : NEXT(stat)(path, status);
}

int lstat(const char* path, struct stat* status) noexcept {
  return CallFails(kStat) ? -1 : NEXT(lstat)(path, status);
}

int fstat(int file, struct stat* status) noexcept {
  return CallFails(kStat) ? -1 : NEXT(fstat)(file, status);
}

DIR* opendir(const char* path) {
  return CallFails(kOpenDir) ? nullptr : NEXT(opendir)(path);
}

struct dirent* readdir(DIR* dir) {
  return CallFails(kReadDir) ? nullptr : NEXT(readdir)(dir);
}

int closedir(DIR* dir) {
  const bool fails = CallFails(kCloseDir);
  const int error = errno;
  const int result = NEXT(closedir)(dir);
  if (!fails) return result;
  errno = error;
  return -1;
}

int mkdir(const char* path, mode_t mode) noexcept {
  return CallFails(kMakeDir) ? -1 : NEXT(mkdir)(path, mode);
}

int rmdir(const char* path) noexcept {
  return CallFails(kRemoveDir) ? -1 : NEXT(rmdir)(path);
}

int unlink(const char* path) noexcept {
  return CallFails(kUnlink) ? -1 : NEXT(unlink)(path);
}

int rename(const char* from, const char* to) noexcept {
  return CallFails(kRename) ? -1 : NEXT(rename)(from, to);
}

int chmod(const char* path, mode_t mode) noexcept {
  return CallFails(kChangeMode) ? -1 : NEXT(chmod)(path, mode);
}

int utime(const char* path, const struct utimbuf* times) noexcept {
  return CallFails(kSetTimes) ? -1 : NEXT(utime)(path, times);
}

ssize_t readlink(const char* path, char* buffer, size_t size) noexcept {
  return CallFails(kReadLink) ? -1 : NEXT(readlink)(path, buffer, size);
}

int symlink(const char* target, const char* path) noexcept {
  return CallFails(kMakeLink) ? -1 : NEXT(symlink)(target, path);
}

int lockf(int file, int command, off_t size) {
  return CallFails(kLock) ? -1 : NEXT(lockf)(file, command, size);
}

pid_t fork() noexcept {
  return CallFails(kFork) ? -1 : NEXT(fork)();
}

int pipe(int* ends) noexcept {
  return CallFails(kPipe) ? -1 : NEXT(pipe)(ends);
}

int dup2(int from, int to) noexcept {
  return CallFails(kDup2) ? -1 : NEXT(dup2)(from, to);
}

int execvp(const char* program, char* const* arguments) noexcept {
  return CallFails(kExec) ? -1 : NEXT(execvp)(program, arguments);
}

int execl(const char* path, const char* first, ...) noexcept {
  if (CallFails(kExec)) return -1;
  std::vector<char*> arguments = {const_cast<char*>(first)};
  va_list list;
  va_start(list, first);
  while (arguments.back())
    arguments.push_back(va_arg(list, char*));
  va_end(list);
  return execv(path, arguments.data());
}

pid_t waitpid(pid_t pid, int* status, int options) {
  return CallFails(kWait) ? -1 : NEXT(waitpid)(pid, status, options);
}

char* getcwd(char* buffer, size_t size) noexcept {
  return CallFails(kGetCwd) ? nullptr : NEXT(getcwd)(buffer, size);
}

char* realpath(const char* path, char* resolved) noexcept {
  return CallFails(kRealPath) ? nullptr : NEXT(realpath)(path, resolved);
}

iconv_t iconv_open(const char* to, const char* from) {
  if (CallFails(kIconvOpen)) return reinterpret_cast<iconv_t>(-1);
  return NEXT(iconv_open)(to, from);
}

int putenv(char* string) noexcept {
  return CallFails(kPutEnv) ? -1 : NEXT(putenv)(string);
}

char* setlocale(int category, const char* name) noexcept {
  return CallFails(kSetLocale) ? nullptr : NEXT(setlocale)(category, name);
}

int uname(struct utsname* name) noexcept {
  return CallFails(kUname) ? -1 : NEXT(uname)(name);
}

}  // extern "C"
