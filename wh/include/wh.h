// The whole warehouse floor.
#ifndef WH_H
#define WH_H

#include "computation.h"
#include "environ.h"
#include "glob.h"
#include "observer.h"
#include "partlist.h"
#include "prodinfo.h"
#include "readdata.h"
#include "recipe.h"
#include "settings.h"
#include "syntax.h"
#include "traverse.h"
#include "warehouse.h"
#include "whbootfw.h"
#include "wherror.h"
#include "wqlatest.h"
#include "wqmem.h"
#include "wqversion.h"

#endif
