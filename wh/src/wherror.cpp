#include "wherror.h"

#include <cstdio>

#include "fckind.h"
#include "fcpp.h"
#include "fwstring.h"
#include "fwstrprf.h"
#include "vqnexpat.h"

FwError whErrorNoValue[1];
FwError whErrorMissing[1];
FwError whErrorCancel[1];
FwError whErrorEnv[1];
FwError whErrorEnvClash[1];
FwError whErrorEnvCycle[1];
FwError whErrorMixedSetup[1];
FwError whErrorEnvTooBig[1];
FwError whErrorEnvMixedSep[1];
FwError whErrorInvalid[1];
FwError whErrorHostNeeded[1];
FwError whErrorDoctypeMismatch[1];
FwError whErrorRoundBrackets[1];
FwError whErrorSquareBrackets[1];
FwError whErrorSquigglyBrackets[1];
FwError whErrorCouldNotReadWarehouse[1];
FwError whErrorRegistry[1];
FwError whErrorDataStorage[1];

int wh_errors = 0;

namespace {

// Texts are exact, double blanks included.
constexpr ErrorRow kKinds[] = {
    {whErrorNoValue, fwErrorRoot, "Error: %[0]t %[1]s is not defined in %[2]t %[3]s"},
    {whErrorMissing, fwErrorRoot, "Error: %[0]t %[1]s is missing from %[2]t %[3]s"},
    {whErrorCancel, fwErrorRoot, "Installation cancelled"},
    {whErrorEnv, fwErrorRoot, "Error:  problem setting environment variables"},
    {whErrorEnvClash, whErrorEnv,
     "Error:  %[0]t %[1]s is both inserted and removed in %[2]t %[3]s"},
    {whErrorEnvCycle, whErrorEnv, "Error:  %[0]t %[1]s has cyclic constraints in %[2]t %[3]s"},
    {whErrorMixedSetup, whErrorEnv, "Error:  %[0]t %[1]s has both old and new setup files"},
    // Kept, as the text of the output: the closing bracket is missing.
    {whErrorEnvTooBig, whErrorEnv,
     "Error:  %[0]t %[1]s is too long (over 2K characters, or over 1K characters on versions of "
     "Windows older than Windows XP Service Pack 2"},
    {whErrorEnvMixedSep, whErrorEnv, "Error:  inconsistent separators for %[0]t %[1]s"},
    {whErrorInvalid, fwErrorRoot, "Error:  invalid XML in %[0]t %[1]s"},
    {whErrorHostNeeded, whErrorInvalid, "Error:  host attributes must be set in %[0]t %[1]s"},
    {whErrorDoctypeMismatch, whErrorInvalid,
     "Error:  invalid XML (doctype mismatch) in %[0]t %[1]s at %[2]t %[3]s"},
    {whErrorRoundBrackets, whErrorInvalid,
     "Error:  invalid XML (round brackets present) in %[0]t %[1]s at %[2]t %[3]s"},
    {whErrorSquareBrackets, whErrorInvalid,
     "Error:  invalid XML (square brackets present) in %[0]t %[1]s at %[2]t %[3]s"},
    {whErrorSquigglyBrackets, whErrorInvalid,
     "Error:  invalid XML (squiggly brackets present) in %[0]t %[1]s at %[2]t %[3]s"},
    {whErrorCouldNotReadWarehouse, fwErrorRoot,
     "Error:  could not read warehouse structure to get CNVR (%[0]t %[1]s)"},
    {whErrorRegistry, fwErrorRoot, "Error:  could not read data from registry (%[0]t %[1]s)"},
    {whErrorDataStorage, fwErrorRoot, "Error:  data storage API error (%[0]t %[1]s)"},
};

}  // namespace

void wh_init_errors() {
  xml_init_errors();
  make_kinds(kKinds);
}

void report_error(FwErrorState* err) {
  if (!err->pError) return;
  const FwErrorItem& first = err->items[0];
  const FwErrorItem& second = err->items[1];
  OpenRecord record;
  FwStrPutTextString(&record, FWT("*** "));
  FwStrPrintf(&record, 0, err->pError->ptbzFormat, or_empty(first.type), or_empty(first.name),
              second.name ? or_empty(second.type) : FWT(""), or_empty(second.name));
  std::fprintf(stderr, "%s\n", FWC(record.pbz));
  ++wh_errors;
}
