// What the file layer shares with the rest of the framework.
#ifndef FCFILE_H
#define FCFILE_H

#include "fwfile.h"

// The directories of the process, set at boot by FpFileInit and freed by FcFileShutdown; null where
// their source failed. Directories end with a separator.
extern FwTextString FcAppDir;
extern FwTextString FcCurrentDir;
extern FwTextString FcAppFileName;

// What FwFileOpen passes: all zero.
extern const FwFileOpenExtras fcFileOpenExtrasDefault;

#endif
