// Helpers of the tests of files, directories and processes.
#ifndef FWOS_TEST_FILES_H
#define FWOS_TEST_FILES_H

#include <sys/stat.h>

#include <cstdlib>
#include <string>

#include "fcboot.h"
#include "fcfile.h"
#include "fpstring.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwtypes.h"

// A text for the length of an expression. Writable, as the framework's types have it.
class Txt {
 public:
  explicit Txt(std::string text) : text_(std::move(text)) {}
  operator FwTextString() { return FWT(text_.data()); }

 private:
  std::string text_;
};

inline std::string Text(const FwByte* ptbz) {
  return ptbz ? reinterpret_cast<const char*>(ptbz) : "(null)";
}

// Takes over a string of the framework's.
inline std::string Take(FwTextString ptbz) {
  std::string text = Text(ptbz);
  if (ptbz) FwMemFree(ptbz);
  return text;
}

// A state that clears itself.
struct Error : FwErrorState {
  ~Error() { FwErrorClear(this); }
  operator FwErrorState*() { return this; }
};

// A growing record that holds a text.
struct Record : FwStrRecord {
  explicit Record(const std::string& text = "") {
    FwStrRecordOpen(this);
    FwStrPutTextString(this, Txt(text));
  }
  ~Record() { FwStrRecordAbandon(this); }
  operator FwStrRecord*() { return this; }
  std::string text() const { return Text(pbz); }
};

// The kind of a state and its details: "NonExistent File /a/b", "clear".
inline std::string Describe(const FwErrorState& err) {
  struct Kind {
    FwError* pError;
    const char* name;
  };
  static const Kind kKinds[] = {
      {fwErrorPointerNull, "PointerNull"},
      {fwErrorNumericRange, "NumericRange"},
      {fwErrorParameter, "Parameter"},
      {fwErrorStringSyntax, "StringSyntax"},
      {fwErrorStringValue, "StringValue"},
      {fwErrorStringLength, "StringLength"},
      {fwErrorDirClosed, "DirClosed"},
      {fwErrorOperationDenied, "OperationDenied"},
      {fwErrorNonExistent, "NonExistent"},
      {fwErrorAlreadyExists, "AlreadyExists"},
      {fwErrorAccessDenied, "AccessDenied"},
      {fwErrorInUse, "InUse"},
      {fwErrorOperationFailed, "OperationFailed"},
      {fwErrorAbort, "Abort"},
      {fwErrorNoMemory, "NoMemory"},
      {fwErrorDiskFull, "DiskFull"},
      {fwErrorUnimplemented, "Unimplemented"},
      {fwErrorCallingCommand, "CallingCommand"},
      {fwErrorFromCommand, "FromCommand"},
      {fwErrorSoftwareLimit, "SoftwareLimit"},
  };
  if (!err.pError) return "clear";
  std::string text = "another kind";
  for (const Kind& kind : kKinds)
    if (kind.pError == err.pError) text = kind.name;
  for (const FwErrorItem& item : err.items) {
    if (item.type) text += " " + Text(item.type);
    if (item.name) text += " " + Text(item.name);
  }
  return text;
}

// Another boot-time directory for the length of a scope; null: unknown.
class CurrentDirectory {
 public:
  explicit CurrentDirectory(const char* path) : saved_(FcCurrentDir) {
    FcCurrentDir = path ? FwStrDuplicate(FWT(path)) : nullptr;
  }
  ~CurrentDirectory() {
    FwMemFreeAndClear(&FcCurrentDir);
    FcCurrentDir = saved_;
  }
  CurrentDirectory(const CurrentDirectory&) = delete;
  CurrentDirectory& operator=(const CurrentDirectory&) = delete;

 private:
  FwTextString saved_;
};

// Text in another locale for the length of a scope: the C library's own, without UTF-8.
class PlainLocale {
 public:
  PlainLocale() { Switch("C"); }
  ~PlainLocale() { Switch("C.UTF-8"); }

 private:
  static void Switch(const char* name) {
    FpStrShutdown();
    setenv("LC_ALL", name, 1);
    FpStrInit();
  }
};

// A tickle function that asks for an abort at its n-th call, or never.
inline int nTickles = 0;
inline int nAbortAt = 0;

inline int32 CountTickles(int32, int32) {
  return ++nTickles == nAbortAt;
}

class Tickle {
 public:
  explicit Tickle(int abort_at = 0) {
    nTickles = 0;
    nAbortAt = abort_at;
    fcBootContext.control.application_tickle = CountTickles;
  }
  ~Tickle() { fcBootContext.control.application_tickle = nullptr; }
  int count() const { return nTickles; }
};

inline bool Exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

inline mode_t Permissions(const std::string& path) {
  struct stat status = {};
  stat(path.c_str(), &status);
  return status.st_mode & 07777;
}

#endif
