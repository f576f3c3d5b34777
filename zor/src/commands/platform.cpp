// zor platform: what this host is to the warehouse.
#include "commands/command.h"
#include "error.h"

namespace zor {

int run_platform(Context* context) {
  CommandLine line("platform", "Print the name of this host's platform.", "zor platform");
  line.parse(context->words);
  context->out += host_platform_name() + '\n';
  return kDone;
}

}  // namespace zor
