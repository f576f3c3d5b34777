// zor platform: what this host is to the warehouse.
#include "commands/command.h"
#include "error.h"
#include "facts.h"
#include "render/json.h"
#include "words.h"

namespace zor {

int run_platform(Context* context) {
  CommandLine line("platform", "Print the name of this host's platform.", "zor platform");
  bool verbose = false;
  bool json = false;
  line.flag("-v,--verbose", &verbose,
            "also the words for systems and architectures that include it, the narrowest first");
  line.flag("--json", &json, "as JSON, with these words");
  line.parse(context->words);
  const std::string host = host_platform_name();
  const PlatformWords words = platform_words();
  if (json) {
    context->out += printed({{"version", 1},
                             {"platform", json_text(host)},
                             {"systems", json_texts(words.systems)},
                             {"architectures", json_texts(words.architectures)}});
    return kDone;
  }
  context->out += host + '\n';
  if (verbose)
    context->out += fmt::format("systems: {}\narchitectures: {}\n", joined(words.systems, " "),
                                joined(words.architectures, " "));
  return kDone;
}

}  // namespace zor
