// The product information file, product.xml. An input is the file.
//
// Besides what holds for every reader (support/reader.h): every variety has a segment, a record's
// description is never null, and its name is a copy of the one asked for.
#include "prodinfo.h"

#include "reader.h"

namespace {

fuzz::Outcome Read(const std::string& document, WH_XML_PARSE_FLAGS flags) {
  fuzz::WriteFile("c/n/1/2/product.xml", document);
  fuzz::Text directory(fuzz::Directory()), category("c"), name("n"), version("1"), rev("2");
  WH_PRODUCT_NAME prodname = {category, name, version, rev};
  FwErrorState err;
  WH_PRODUCT_INFO* info = read_prodinfo(&err, &prodname, directory, 0, flags);
  if (info != nullptr) {
    if (info->prodname == &prodname || !equal_prodnames(info->prodname, &prodname))
      fuzz::Fail("the name is not a copy of the one asked for");
    if (info->description == nullptr) fuzz::Fail("a description is null");
    FwVector* varieties = &info->varieties->seq;
    for (int32 i = 0; i < FwVectorLength(varieties); ++i)
      if (static_cast<WH_VARIETY*>(FwVectorGetElement(varieties, i))->segs == nullptr)
        fuzz::Fail("a variety without a segment");
  }
  return fuzz::Finish(info, free_prodinfo, &err);
}

}  // namespace

void fuzz::Try(Input& input) {
  CheckReader(input.Rest(), VQN_XML_ERROR, Read);
}
