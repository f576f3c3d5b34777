// What all of the warehouse floor shares: its start, texts that may be null, and errors on their
// way to whoever reports them.
#ifndef WH_BASE_H
#define WH_BASE_H

#include "fwerror.h"
#include "fwtypes.h"
#include "fwvector.h"

// The callback through which a walk hands out an error and goes on. Null silences the reports.
using WH_ERROR_FUNC = void (*)(FwErrorState* err);

// The host's platform name, such as "linux_6_1_0-x86_64". Set by wh_init and wh_set_host_platform.
extern FwTextString wh_host_platform;

// Makes the error kinds and notes the host's platform, also as HOST-PLATFORM of the global context.
// Must follow wh_boot_fw.
void wh_init();

// From now on the host counts as a platform of this name, of which a copy is kept. Must follow
// wh_init.
void wh_set_host_platform(FwTextString name);

// A copy that the caller frees, null for null.
FwTextString dup_str(FwTextString str);

// Opens a vector in storage that need not be zeroed. A size of 0 counts as 1.
void open_vector(FwVector* vector, int32 size);

// Empties an open vector, freeing its elements if asked, and opens it with room for size. For
// programs on this library.
void recycle_vector(FwVector* vector, int32 free_elements, int32 size);

// If err holds no error: 1. Otherwise hands it to errorfunc, clears it and gives 0.
int rep_clear(FwErrorState* err, WH_ERROR_FUNC errorfunc);

// Whether err holds fwErrorNonExistent or a descendant.
int is_ErrorNonExistent(FwErrorState* err);

#endif
