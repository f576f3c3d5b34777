// The whole framework floor.
#ifndef FWOS_H
#define FWOS_H

#include "fwboot.h"
#include "fwclass.h"
#include "fwerror.h"
#include "fwevent.h"
#include "fwfile.h"
#include "fwhash.h"
#include "fwlist.h"
#include "fwmem.h"
#include "fwobserv.h"
#include "fwprog.h"
#include "fwrun.h"
#include "fwstream.h"
#include "fwstring.h"
#include "fwstrprf.h"
#include "fwtransl.h"
#include "fwtree.h"
#include "fwtypes.h"
#include "fwunicod.h"
#include "fwvector.h"

#endif
