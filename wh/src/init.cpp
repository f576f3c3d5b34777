// The start of the warehouse floor.
#include "fwstring.h"
#include "hostplat.h"
#include "warehouse/private.h"
#include "wherror.h"

FwTextString wh_host_platform = nullptr;

namespace {

constexpr int kHostNameSize = 640;
static_assert(kHostNameSize >= kHostPlatformSize);

}  // namespace

void wh_init() {
  wh_init_errors();
  char name[kHostNameSize];
  host_platform(name);
  wh_host_platform = FwStrDuplicate(FWT(name));
  bind_host_platform(wh_host_platform);
}

void wh_set_host_platform(FwTextString name) {
  FwTextString before = wh_host_platform;
  wh_host_platform = FwStrDuplicate(name);
  bind_host_platform(wh_host_platform);
  FwMemFree(before);
}
