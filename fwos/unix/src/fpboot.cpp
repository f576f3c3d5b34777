#include "fpboot.h"

#include <pthread.h>

#include "fwboot.h"
#include "vqmemcmp.h"

namespace {

pthread_t fpBootThreadID;

}  // namespace

void FpBootRecordThread() {
  fpBootThreadID = pthread_self();
}

int FwIsBootThread() {
  pthread_t self = pthread_self();
  return VqMemCmp(reinterpret_cast<uint8*>(&self), sizeof self,
                  reinterpret_cast<uint8*>(&fpBootThreadID), sizeof fpBootThreadID) == 0;
}
