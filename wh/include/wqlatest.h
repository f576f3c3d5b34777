// The latest version or revision present on disk. (wh_latest_prodname, which fills in a whole
// product name by it, is in warehouse.h.)
//
// Nothing here clears the error state on entry.
#ifndef WQLATEST_H
#define WQLATEST_H

#include "fwerror.h"
#include "fwstring.h"
#include "fwtypes.h"
#include "wqversion.h"

// A pair of results, both null if nothing was found.
struct WQ_VER_REV {
  WQ_PARSED_VERSION* version = nullptr;
  WQ_PARSED_VERSION* rev = nullptr;
};

// The latest entry of the directory path, whose name is appended to path, or null with the error in
// err: that of opening the directory, or fwErrorOperationFailed if it has no (fitting) entry. Any
// entry counts, a plain file too. Of entries that compare equal the first in directory order stays.
// The caller owns the result. With a platform, only entries that hold something for it count.
WQ_PARSED_VERSION* wq_find_latest(FwErrorState* err, FwStrRecord* path);
WQ_PARSED_VERSION* wq_find_latest_platform(FwErrorState* err, FwStrRecord* path,
                                           FwTextString platform);

// 1 if platform is null, or if the directory root has an entry, at most two levels down, named
// after a platform that includes it. "+" stands for the host's.
int wq_version_or_rev_contains_platform(FwErrorState* err, FwTextString root,
                                        FwTextString platform);

// For programs on this library, down to free_vr.
//
// The latest version of component in the directory place, and the latest rev in that, the whole
// path going to rec. If place is null or either step finds nothing, both results are null; in the
// latter case rec is emptied and the error is in err. The caller owns the results.
WQ_VER_REV wq_latest_version_and_rev_platform(FwErrorState* err, FwStrRecord* rec,
                                              FwTextString component, FwTextString place,
                                              FwTextString platform);
WQ_VER_REV wq_latest_version_and_rev(FwErrorState* err, FwStrRecord* rec, FwTextString component,
                                     FwTextString place);

// 1 if maybe is something and higher than sofar, or sofar is nothing.
int wq_vr_better(WQ_VER_REV maybe, WQ_VER_REV sofar);

// Frees both halves. A null vr, or one without version, is accepted.
void free_vr(WQ_VER_REV* vr);

#endif
