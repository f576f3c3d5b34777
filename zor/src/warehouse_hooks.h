// Between the hooks of the standard floor, which any program brings with it, and warehouse.cpp.
#ifndef ZOR_WAREHOUSE_HOOKS_H
#define ZOR_WAREHOUSE_HOOKS_H

namespace zor {

// Notes a broken contract as a fault of the computation at work.
void report_assertion(const char* message, const char* file, int line);

}  // namespace zor

#endif
