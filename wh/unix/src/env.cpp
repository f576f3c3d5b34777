// The platform's half of environments.
#include <cstdlib>
#include <cstring>

#include "environ.h"
#include "fwstring.h"

uint32 wh_env_hash(void* key) {
  return FwHash_StringHashFunction(key);
}

int32 wh_env_compare(void* key1, void* key2) {
  // A table checks itself with an empty key after an add that failed.
  if (!key1 || !key2) return 0;
  return FwStrCompare(static_cast<FwTextString>(key1), static_cast<FwTextString>(key2)) == 0;
}

int32 wh_env_equal(FwTextString str1, FwTextString str2) {
  return std::strcmp(FWC(str1), FWC(str2)) == 0;
}

WH_ENVIRON* wh_get_system_env(FwErrorState* /*err*/) {
  return nullptr;
}

WH_ENVIRON* wh_get_user_env(FwErrorState* /*err*/) {
  return nullptr;
}

int wh_set_system_env(FwErrorState* /*err*/, WH_ENVIRON* /*env*/) {
  return 0;
}

int wh_set_user_env(FwErrorState* /*err*/, WH_ENVIRON* /*env*/) {
  return 0;
}

int wh_putenv(FwErrorState* /*err*/, FwTextString name, FwTextString value) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, name);
  FwStrPutTextCharacter(&record, '=');
  FwStrPutTextString(&record, value);
  // The environment keeps the string itself, so it is never freed.
  return putenv(FWC(FwStrRecordClose(&record))) == 0;
}

int wh_delenv(FwErrorState* /*err*/, FwTextString var) {
  return putenv(FWC(var)) == 0;
}
