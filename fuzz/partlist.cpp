// The part list, partlist.xml. An input is the file. What holds is told in support/reader.h.
#include "partlist.h"

#include "reader.h"

void fuzz::Try(Input& input) {
  CheckReader(input.Rest(), VQN_XML_ERROR,
              [](const std::string& document, WH_XML_PARSE_FLAGS flags) {
                Text path(WriteFile("partlist.xml", document));
                FwErrorState err;
                WH_PARTLIST* list = read_partlist(&err, path, flags);
                return Finish(list, free_partlist, &err);
              });
}
