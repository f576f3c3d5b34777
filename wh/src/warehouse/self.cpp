// The product that the running program belongs to: the first directory with a "product.xml" on the
// way from the warehouse's root to the program's own.
#include <cstdio>
#include <cstring>

#include "fcpp.h"
#include "fwfile.h"
#include "fwstring.h"
#include "wh_records.h"
#include "wh_symbols.h"
#include "wherror.h"
#include "wqmem.h"

namespace {

WH_PRODUCT_NAME* myProdName = nullptr;
FwTextString myVariant = nullptr;
bool done = false;

int not_located(FwErrorState* err, const char* why) {
  FwErrorSet(err, whErrorCouldNotReadWarehouse, 1, FWT(why));
  return 0;
}

// The warehouse's root in storage that may be written to, null if there is none.
FwTextString warehouse_root() {
  FwTextString root = getenv_UTF8(FWT("ZORROOT"));
  return root != nullptr ? root : dup_str(FwCurrentDir());
}

// Looks for "product.xml" in dir and in the directories on the way from there along rdir, and
// stops at the first. Not in the last one, where rdir is used up: that is the program's own.
// Gives 1 with dir being the file's path.
int find_product_file(FwStrRecord* dir, FwStrRecord* rdir) {
  while (*rdir->pbz != 0) {
    FwFilenameConcatenate(dir, FWT("product.xml"));
    LocalError missing;
    const int32 found = FwFileGetInfo(&missing, dir->pbz, nullptr, 0);
    if (found) return 1;
    FwFileRemoveLastPathElement(dir);
    OpenRecord element;
    FwFileCopyPathElement(&element, rdir->pbz);
    FwFilenameConcatenate(dir, element.pbz);
    FwFileRemoveFirstPathElement(rdir);
  }
  return 0;
}

// myroot is the part of exedir that denotes the warehouse's root.
int locate_below(FwErrorState* err, FwTextString myroot, FwTextString exedir) {
  OpenRecord dir;
  OpenRecord rdir;
  FwStrPutTextString(&dir, myroot);
  FwTextString behind = exedir + std::strlen(FWC(myroot));
  if (*behind == '/') behind++;
  FwStrPutTextString(&rdir, behind);
  FwFileRemoveTrailingSeparatorRec(&rdir);

  if (!find_product_file(&dir, &rdir)) return not_located(err, "product.xml not found");
  FwFileRemoveLastPathElement(&dir);
  FwTextString path = dir.pbz + std::strlen(FWC(myroot));
  if (*path == '/') path++;
  myProdName = name_from_path(path);
  if (myProdName == nullptr)
    return not_located(err, "Could not read product information from product.xml");
  return 1;
}

int init_myPCNVR(FwErrorState* err) {
  if (done) return 1;
  FwTextString zorroot = warehouse_root();
  if (zorroot == nullptr) {
    std::printf("zorroot unset");
    return not_located(err, "$ZORROOT unset");
  }
  FwTextString exedir = FwAppDir();
  // An empty root can't be compared as a file.
  FwTextString myroot = *zorroot == 0 ? nullptr : FwFilenameContainsFilename(err, zorroot, exedir);
  FwMemFree(zorroot);
  if (myroot == nullptr)
    return not_located(err, "$ZORROOT is not set correctly  - executable is not inside $ZORROOT");
  done = locate_below(err, myroot, exedir) != 0;
  FwMemFree(myroot);
  return done;
}

}  // namespace

WH_PRODUCT_NAME* wh_getCNVR(FwErrorState* err) {
  return init_myPCNVR(err) ? myProdName : nullptr;
}

FwTextString wh_getVariant(FwErrorState* /*err*/) {
  return myVariant;
}

void wh_setVariant(FwTextString variant) {
  FwTextString copy = dup_str(variant);
  wh_free(myVariant);
  myVariant = copy;
}
