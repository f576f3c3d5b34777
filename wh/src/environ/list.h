// Lists that mostly stay empty.
#ifndef ENVIRON_LIST_H
#define ENVIRON_LIST_H

#include "fwvector.h"

// A list that is opened when its first element comes, as most never get one.
inline int32 count_of(const FwVector* list) {
  return list->state == FW_VECTOR_OPEN ? list->nCurrentSize : 0;
}
inline void add_to_list(FwVector* list, void* element, int32 room) {
  if (list->state != FW_VECTOR_OPEN) FwVectorOpen(list, room);
  FwVectorAddElement(list, element);
}
inline void abandon_list(FwVector* list) {
  if (list->state == FW_VECTOR_OPEN) FwVectorAbandon(list, 0);
}

#endif
