// Release of warehouse strings and records.
#ifndef WQMEM_H
#define WQMEM_H

// Frees a block of the framework's memory. A null pointer is ignored.
void wh_free(void* ptr);

#endif
