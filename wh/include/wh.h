// The whole warehouse floor.
#ifndef WH_H
#define WH_H

#endif
