// What a site learns of loads, and users of the site's news.
#ifndef ZOR_LOG_H
#define ZOR_LOG_H

#include <string>
#include <vector>

#include "config.h"
#include "environment.h"
#include "warehouse.h"

namespace zor {

// Whether there is anything for log_load to do.
bool is_logging(const Config& config);

// Logs that products were loaded, as the settings say: one line of JSON to the system's log, to a
// file or to a program. Never fails and never waits: what can't be had at once is left out.
void log_load(const Config& config, const std::string& command, const std::string& root,
              const std::vector<ProductName>& products, const Environment& environment);

// The news of the settings that this user has not seen yet, as lines, and notes that they have been
// seen. Where that can't be noted they come again.
std::string unseen_news(const Config& config, const Environment& environment);

}  // namespace zor

#endif
