// zor lock: a request with all that its environment depends on, as a file.
#include "lock.h"

#include "commands/command.h"
#include "error.h"

namespace zor {

int run_lock(Context* context) {
  CommandLine line("lock",
                   "Print a lock: the versions, revisions and varieties that a request leads to, "
                   "this host's platform, and a digest of each data file. zor env, exec and shell "
                   "take it by --locked, and say what has changed if anything has.",
                   "zor lock tools/weaver > zor.lock");
  Request request = line.parse_request(*context);
  request.list_reads = true;
  const Answer answer = answer_to(request, context->environment, context);
  context->out += written(lock_of(request, answer));
  return kDone;
}

}  // namespace zor
