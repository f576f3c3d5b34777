// Locks: requests with all that they depend on, so that they give the same environment another day
// and in another place, or say what has changed.
//
// A lock is a file of lines, each a word and its fields, with one blank between two. In fields a
// blank, a percent sign, a quote and what is no printable UTF-8 stand as %XX; an empty one is "".
//
//   zor-lock 1                                     the format
//   root /srv/warehouse                            where it was made; used where nothing names one
//   platform linux_6_1_0-x86_64                    what the host counts as
//   undo                                           if it undoes
//   group                                          one or more, each with its products
//   product tools weaver 1.10 2 platform=linux-x86 what was asked for, and its conditions
//   variety linux-x86 platform=linux-x86           those that were chosen of it
//   loaded libs/graphics fibre 2.0 1               all products that were read, parts included
//   file SHA256 tools/weaver/1.10/2/env.xml        data files, below the root unless absolute
//   absent tools/weaver/1.10/2/setup.xml           those that were looked for in vain
//   sum SHA256                                     of all lines above
#ifndef ZOR_LOCK_H
#define ZOR_LOCK_H

#include <string>
#include <string_view>
#include <vector>

#include "request.h"
#include "warehouse.h"

namespace zor {

struct LockedVariety {
  std::string name;
  std::vector<Binding> variables;

  bool operator==(const LockedVariety&) const = default;
};

struct LockedProduct {
  Query query;  // with a version and a rev
  std::vector<LockedVariety> varieties;

  bool operator==(const LockedProduct&) const = default;
};

struct LockedFile {
  std::string path;
  std::string digest;  // empty for a file that is absent

  bool operator==(const LockedFile&) const = default;
};

struct Lock {
  std::string root;  // absolute
  std::string platform;
  bool undo = false;
  std::vector<std::vector<LockedProduct>> groups;
  std::vector<ProductName> loaded;
  std::vector<LockedFile> files;

  bool operator==(const Lock&) const = default;
};

// The lock of a request with its answer, which must be done and have been asked to list what it
// depends on. Throws Error if a data file can't be read any more.
Lock lock_of(const Request& request, const Answer& answer);

// The text of a lock, and the lock that a text holds. Error names the line that is wrong, in a file
// of the given name.
std::string written(const Lock& lock);
Lock read_lock(std::string_view text, const std::string& name);

// Where the lock is that was saved under a name: a file below the user's settings. Throws Error for
// a name that can't be one of a file, and where there is no such directory.
std::string saved_path(const std::string& name, const Environment& environment);
// The names under which something was saved, sorted. Throws Error where there is no such directory.
std::vector<std::string> saved_names(const Environment& environment);

// A line for each data file that is not what it was: "changed: PATH", "missing: PATH" or
// "added: PATH".
std::vector<std::string> changes_since(const Lock& lock, const std::string& root);

// The environment of a lock, computed from base. The root is that of the lock if the one given is
// empty. Throws Error that names all that has changed.
Answer answer_to(const Lock& lock, const std::string& root, const Environment& base,
                 const std::string& name);

// What to tell of a lock that was made on a host of another kind; empty if this one is alike.
std::string remark_on_host(const Lock& lock, const std::string& name);

}  // namespace zor

#endif
