// zor files: the files that a product's part list names.
#include "commands/command.h"
#include "error.h"
#include "facts.h"
#include "render/json.h"

namespace zor {

int run_files(Context* context) {
  CommandLine line("files",
                   "List the files that a product consists of, as its part list names them for the "
                   "varieties that are here, and mark those that are missing.",
                   "zor files tools/weaver");
  bool json = false;
  line.flag("--json", &json, "as JSON");
  const Request request = line.parse_request(*context);
  const ProductFacts facts = read_product(request.root, one_product(request));
  Json files = Json::array();
  for (const FilePart& file : facts.files) {
    if (json)
      files.push_back({{"path", json_text(file.path)}, {"exists", file.exists}});
    else
      context->out += file.path + (file.exists ? "\n" : " (missing)\n");
  }
  if (json)
    context->out += printed({{"version", 1},
                             {"product", json_text(facts.product.path())},
                             {"directory", json_text(facts.directory)},
                             {"files", files}});
  return kDone;
}

}  // namespace zor
