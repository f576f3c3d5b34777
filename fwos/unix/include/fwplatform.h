// What the file layer's records and functions have from the platform: here, Unix.
//
// fwfile.h includes it by this name, so a port brings a header of its own in its place. Programs
// that are to run on other platforms use none of it by name.
#ifndef FWPLATFORM_H
#define FWPLATFORM_H

#include <dirent.h>
#include <sys/stat.h>
#include <sys/types.h>

#include "fwtypes.h"
#include "vq32x2.h"

struct statfs;

struct FwPlatformFileOpenExtras {
  int32 unused;
};

// A file time holds seconds since the epoch in high and nanoseconds in low, which stay 0 here.
struct FwPlatformFileInfo {
  VqU32x2 changedTime;
  VqU32x2 accessTime;
  struct stat status;
};

struct FpDir {
  DIR* handle;  // null once closed
};

// The system's functions of these names, for UTF-8 names: they pass the name in the local encoding.
// errno is the function's own.
int open_UTF8(FwTextString path, int flags, mode_t mode = 0);
int lstat_UTF8(FwTextString path, struct stat* status);
int stat_UTF8(FwTextString path, struct stat* status);
ssize_t readlink_UTF8(FwTextString path, char* buffer, size_t size);
int symlink_UTF8(FwTextString target, FwTextString path);
int rename_UTF8(FwTextString oldpath, FwTextString newpath);
int rmdir_UTF8(FwTextString path);
int chmod_UTF8(FwTextString path, mode_t mode);
int mkdir_UTF8(FwTextString path, mode_t mode);
DIR* opendir_UTF8(FwTextString path);
int statfs_UTF8(FwTextString path, struct statfs* status);
int unlink_UTF8(FwTextString path);

#endif
