// The check of a warehouse, or of some of its products.
//
// Products are checked by several processes at a time, since the floors below are made for one
// thread, and since one product that exhausts memory must not end the check of the others. Their
// findings come through pipes and are put in order at the end.
#ifndef ZOR_CHECK_CHECK_H
#define ZOR_CHECK_CHECK_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "check/rule.h"

namespace zor::check {

struct Report {
  std::vector<Finding> findings;  // by place
  std::size_t products = 0;       // that were checked
};

// Called now and then with the number of products that are done.
using Progress = std::function<void(std::size_t done, std::size_t all)>;

// All products below a directory of the warehouse; an empty one is the whole of it. Products that
// are parts are read wherever they are. Throws Error if the directory can't be read. When the user
// interrupts, stopped is called and the process ends by the signal.
Report check_warehouse(const std::string& root, const std::string& below, const Progress& progress,
                       const std::function<void()>& stopped);

}  // namespace zor::check

#endif
