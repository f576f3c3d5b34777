#include "wqlatest.h"

#include <array>

#include "fcpp.h"
#include "fwfile.h"
#include "fwvector.h"
#include "hostplat.h"
#include "vqosarch.h"
#include "warehouse.h"

namespace {

FwDir* open_directory(FwErrorState* err, FwTextString path) {
  OpenRecord name;
  FwStrPutTextString(&name, path);
  FwFileEnsureTrailingSeparator(&name);
  return FwDirOpen(err, name.pbz, 0);
}

// What the search of a directory for a platform has come to.
enum SEARCH { search_found, search_exhausted, search_failed };

// Looks for the platform among the entries of a directory, and below those that are directories as
// many levels as depth says.
SEARCH search_platform(FwErrorState* err, FwTextString path, char* platform, int depth) {
  FwDir* dir = open_directory(err, path);
  if (!dir) return search_failed;
  SEARCH result = search_exhausted;
  FwFileInfo info;
  OpenRecord entry;
  while (result == search_exhausted &&
         FwDirNext(err, dir, &entry, depth > 0 ? &info : nullptr, 0)) {
    if (platform_includes(FWC(entry.pbz), platform)) {
      result = search_found;
    } else if (depth > 0 && info.type == FW_FILE_TYPE_DIRECTORY) {
      const OwnedText below(FwFilenameConcatenateAlloc(path, entry.pbz));
      result = search_platform(err, below, platform, depth - 1);
    }
    entry.clear();
  }
  FwDirClose(err, dir);
  return result;
}

// The first of the versions that no later one is above.
int32 latest_of(const FwVector* versions) {
  int32 latest = 0;
  for (int32 i = 1; i < FwVectorLength(versions); ++i)
    if (wq_pv_compare(nth<WQ_PARSED_VERSION>(versions, i),
                      nth<WQ_PARSED_VERSION>(versions, latest)) > 0)
      latest = i;
  return latest;
}

}  // namespace

WQ_PARSED_VERSION* wq_find_latest(FwErrorState* err, FwStrRecord* path) {
  return wq_find_latest_platform(err, path, nullptr);
}

WQ_PARSED_VERSION* wq_find_latest_platform(FwErrorState* err, FwStrRecord* path,
                                           FwTextString platform) {
  FwFileEnsureTrailingSeparator(path);
  FwDir* dir = FwDirOpen(err, path->pbz, 0);
  if (!dir) return nullptr;

  const uint32 length = record_length(path);
  LocalVector versions(10, Elements::kKept);
  OpenRecord entry;
  // No information is asked for, so a link that leads nowhere is an entry like any other.
  while (FwDirNext(err, dir, &entry, nullptr, 0)) {
    FwStrPutTextString(path, entry.pbz);
    if (wq_version_or_rev_contains_platform(err, path->pbz, platform))
      FwVectorAddElement(&versions, wq_parse_version(entry.pbz));
    FwStrRecordShorten(path, length);
    entry.clear();
  }
  FwDirClose(err, dir);

  if (FwVectorLength(&versions) == 0) {
    FwErrorSet(err, fwErrorOperationFailed, 0);
    return nullptr;
  }
  auto* latest = nth<WQ_PARSED_VERSION>(&versions, latest_of(&versions));
  wq_put_parsed_version(path, latest);
  for (WQ_PARSED_VERSION* version : elements<WQ_PARSED_VERSION>(&versions))
    if (version != latest) free_parsed_version(&version);
  return latest;
}

int wq_version_or_rev_contains_platform(FwErrorState* err, FwTextString root,
                                        FwTextString platform) {
  if (!platform) return 1;
  // Room for the longest system and machine names together.
  std::array<char, 640> host;
  char* name = FWC(platform);
  if (FwStrCompare(platform, FWT("+")) == 0) {
    host_platform(host.data());
    name = host.data();
  }
  return search_platform(err, root, name, 1) == search_found;
}

WQ_VER_REV wq_latest_version_and_rev_platform(FwErrorState* err, FwStrRecord* rec,
                                              FwTextString component, FwTextString place,
                                              FwTextString platform) {
  WQ_VER_REV result;
  if (!place) return result;
  FwStrPutTextString(rec, place);
  FwFilenameConcatenate(rec, component);
  result.version = wq_find_latest_platform(err, rec, platform);
  if (result.version) result.rev = wq_find_latest_platform(err, rec, platform);
  if (!result.rev) {
    free_parsed_version(&result.version);
    FwStrRecordShorten(rec, 0);
  }
  return result;
}

WQ_VER_REV wq_latest_version_and_rev(FwErrorState* err, FwStrRecord* rec, FwTextString component,
                                     FwTextString place) {
  return wq_latest_version_and_rev_platform(err, rec, component, place, nullptr);
}

int wq_vr_better(WQ_VER_REV maybe, WQ_VER_REV sofar) {
  if (!maybe.version) return 0;
  if (!sofar.version) return 1;
  int order = wq_pv_compare(maybe.version, sofar.version);
  if (order == 0) order = wq_pv_compare(maybe.rev, sofar.rev);
  return order > 0;
}

void free_vr(WQ_VER_REV* vr) {
  if (!vr || !vr->version) return;
  free_parsed_version(&vr->version);
  free_parsed_version(&vr->rev);
}
