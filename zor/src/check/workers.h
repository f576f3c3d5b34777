// Processes that share the products of a check among themselves.
#ifndef ZOR_CHECK_WORKERS_H
#define ZOR_CHECK_WORKERS_H

#include <cstddef>
#include <functional>
#include <vector>

#include "check/product.h"

namespace zor::check {

struct Findings {
  std::vector<Finding> findings;
  Facts facts;
};

struct Work {
  std::size_t items = 0;
  std::function<Findings(std::size_t number)> check;  // called in one of the processes
  // The others are called in this one, in no order.
  std::function<void(Findings findings)> take;
  // The process that had the item has ended, or took too long for it and was ended.
  std::function<void(std::size_t number, bool takes_long)> lost;
  std::function<void(std::size_t done, std::size_t all)> progress;
  std::function<void()> stopped;  // by a signal, which ends this process behind it
};

// Does all of it, on all cores. Throws Error if there can be no processes.
void run_workers(const Work& work);

}  // namespace zor::check

#endif
