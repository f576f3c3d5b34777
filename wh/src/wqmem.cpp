#include "wqmem.h"

#include "fwmem.h"

void wh_free(void* ptr) {
  if (ptr != nullptr) FwMemFree(ptr);
}
