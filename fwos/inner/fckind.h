// Catalogues of error kinds: each floor lists its own in one constant table.
//
//   constexpr ErrorRow kKinds[] = {
//       {thErrorThing, fwErrorRoot, "Error: %[0]t %[1]s is not a thing"},
//       {thErrorBadThing, thErrorThing, "Error: %[0]t %[1]s is a bad thing"},
//   };
//   make_kinds(kKinds);
#ifndef FCKIND_H
#define FCKIND_H

#include <cstddef>

#include "fwerror.h"
#include "fwtypes.h"

struct ErrorRow {
  FwError* kind;
  FwError* parent;     // null for the root of all; stands in an earlier row or is made already
  const char* format;  // template of the message
};

// Makes the kinds in the order of their rows, each the last child of its parent so far.
template <std::size_t N>
void make_kinds(const ErrorRow (&rows)[N]) {
  for (const ErrorRow& row : rows)
    Fw_msg_CreateError(row.kind, row.parent, row.parent == nullptr ? nullptr : FW_TREE_LINK_LAST,
                       FWT(row.format));
}

#endif
