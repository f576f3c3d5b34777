#include <cstdlib>
#include <cstring>

#include "areas.h"
#include "environ.h"
#include "fwerror.h"
#include "fwhash.h"
#include "fwstring.h"

Area user_area;
Area system_area;

namespace {

FwTextString Text(const std::string& text) {
  return FWT(text.c_str());
}

void Deny(FwErrorState* err, const char* name) {
  FwErrorSet(err, fwErrorAccessDenied, 2, FWT("File"), FWT(name));
}

WH_ENVIRON* Read(FwErrorState* err, const Area& area, const char* name) {
  if (!area.exists) return nullptr;
  if (!area.readable) {
    Deny(err, name);
    return nullptr;
  }
  WH_ENVIRON* env = make_environ();
  for (const auto& [variable, value] : area.variables)
    wh_set_ev(env, Text(variable), Text(value));
  return env;
}

int32 Keep(FwHashEntry* entry, void* context, FwErrorState*) {
  (*static_cast<std::map<std::string, std::string>*>(
      context))[FWC(static_cast<FwTextString>(entry->key))] =
      FWC(static_cast<FwTextString>(entry->value));
  return 1;
}

int Write(FwErrorState* err, Area* area, const char* name, WH_ENVIRON* env) {
  if (!area->writable) {
    Deny(err, name);
    return 0;
  }
  area->variables.clear();
  wh_enumerate_environ(env, Keep, &area->variables, nullptr);
  return 1;
}

}  // namespace

uint32 wh_env_hash(void* key) {
  return FwHash_StringHashFunction(key);
}

int32 wh_env_compare(void* key1, void* key2) {
  if (!key1 || !key2) return 0;
  return FwStrCompare(static_cast<FwTextString>(key1), static_cast<FwTextString>(key2)) == 0;
}

int32 wh_env_equal(FwTextString str1, FwTextString str2) {
  return std::strcmp(FWC(str1), FWC(str2)) == 0;
}

WH_ENVIRON* wh_get_system_env(FwErrorState* err) {
  return Read(err, system_area, "system area");
}

WH_ENVIRON* wh_get_user_env(FwErrorState* err) {
  return Read(err, user_area, "user area");
}

int wh_set_system_env(FwErrorState* err, WH_ENVIRON* env) {
  return Write(err, &system_area, "system area", env);
}

int wh_set_user_env(FwErrorState* err, WH_ENVIRON* env) {
  return Write(err, &user_area, "user area", env);
}

int wh_putenv(FwErrorState* /*err*/, FwTextString name, FwTextString value) {
  return setenv(FWC(name), FWC(value), 1) == 0;
}

int wh_delenv(FwErrorState* /*err*/, FwTextString var) {
  return unsetenv(FWC(var)) == 0;
}
