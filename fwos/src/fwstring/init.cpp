// The string module of the boot table.
#include "fcboot.h"
#include "fpstring.h"
#include "fwmem.h"
#include "fwunicod.h"

void FcStrInit() {
  FpStrInit();
  FwPlatformControlContext& platform = fcBootContext.control.platform;
  platform.argvUTF8 = nullptr;
  if (platform.argv == nullptr) return;
  // Never freed: what boots again makes new ones, and old ones may still be in use.
  const auto argc = static_cast<size_t>(platform.argc);
  auto* aptbz = static_cast<FwTextString*>(
      FwMemAlloc((argc + 1) * sizeof(FwTextString), ALLOC_MUST_SUCCEED | INIT_NONE));
  for (size_t i = 0; i < argc; i++)
    aptbz[i] = FwStrLocalToUTF8(platform.argv[i]);
  aptbz[argc] = nullptr;
  platform.argvUTF8 = aptbz;
}

void FcStrShutdown() {
  FpStrShutdown();
}
