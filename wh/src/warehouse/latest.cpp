// Filling in the latest version and revision of a product name.
#include "fwerror.h"
#include "fwfile.h"
#include "fwmem.h"
#include "fwstring.h"
#include "warehouse.h"
#include "wqlatest.h"

namespace {

// Appends one field to the path; a "+" is searched for there and replaced. True if err is clear.
bool latest_bit(FwErrorState* err, FwTextString* element, FwStrRecord* path) {
  FwFileEnsureTrailingSeparator(path);
  auto length = path->pbTerminator - path->pbz;
  if (FwStrCompare(*element, FWT("+")) == 0) {
    WQ_PARSED_VERSION* latest = wq_find_latest(err, path);
    free_parsed_version(&latest);
    if (!err->pError) {
      FwMemFree(*element);
      *element = FwStrDuplicate(path->pbz + length);
    }
  } else {
    FwFilenameConcatenate(path, *element);
    FwFileGetInfo(err, path->pbz, nullptr, 0);
  }
  return !err->pError;
}

}  // namespace

void wh_latest_prodname(FwErrorState* err, WH_PRODUCT_NAME* prodname, FwTextString basedir) {
  FwStrRecord path;
  FwStrRecordOpen(&path);
  FwStrPutTextString(&path, basedir);
  FwFilenameConcatenateEx(&path, prodname->category);
  FwFilenameConcatenate(&path, prodname->name);
  if (latest_bit(err, &prodname->version, &path)) latest_bit(err, &prodname->rev, &path);
  FwStrRecordAbandon(&path);
}
