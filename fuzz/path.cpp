// Path names. An input is two names, a line each.
//
// Everything has the answer of a plain computation on the text, and besides:
//
// - The root and the elements, with what stands between them, make up the name again.
// - A name without its last element, and that element, make up the name again.
// - Cutting a trailing separator off undoes adding it.
// - An extension that is changed and changed back leaves the name as it was.
// - An absolute name stays as it is; a relative one comes behind the current directory.
#include <algorithm>
#include <string>

#include "fuzz.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwstring.h"
#include "warehouse.h"

namespace {

// An open record that begins with a text.
class Record {
 public:
  explicit Record(const std::string& text) {
    FwStrRecordOpen(&record_);
    fuzz::Text writable(text);
    FwStrPutTextString(&record_, writable);
  }
  ~Record() { FwStrRecordAbandon(&record_); }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
  operator FwStrRecord*() { return &record_; }
  std::string str() const { return FWC(record_.pbz); }

 private:
  FwStrRecord record_ = {};
};

void Expect(const char* what, const std::string& expected, const std::string& got,
            const std::string& name) {
  if (expected != got)
    fuzz::Fail(what,
               fuzz::Quoted(name) + ": " + fuzz::Quoted(got) + " not " + fuzz::Quoted(expected));
}

void Expect(const char* what, bool expected, int32 got, const std::string& name) {
  if (expected != (got != 0)) fuzz::Fail(what, fuzz::Quoted(name));
}

std::string Joined(std::string one, const std::string& other) {
  if (!one.empty() && !one.ends_with("/")) one += "/";
  return one + (other.starts_with("/") ? other.substr(1) : other);
}

void CheckParts(const std::string& name) {
  fuzz::Text text(name);
  Record together("");
  FwTextString rest = FwFileCopyRoot(together, text);
  while (*rest != 0) {
    rest = FwFileCopyPathElement(together, rest);
    if (*rest == 0) break;
    fuzz::Text separator("/");
    FwStrPutTextString(together, separator);
    ++rest;
  }
  Expect("root and elements", name, together.str(), name);

  Expect("absolute", name.starts_with("/"), FwFileIsAbsolute(text), name);
  Expect("the root", name == "/", FwFileIsRoot(text), name);
  const std::size_t slash = name.rfind('/');
  Expect("leaf name", slash == std::string::npos ? name : name.substr(slash + 1),
         FWC(FwFileSkipToLeafname(text)), name);
  Expect("first element", name.substr(0, name.find('/')),
         std::string(FWC(static_cast<FwTextString>(text)), FWC(FwFileSkipPathElement(text))), name);

  Record without_first(name);
  FwFileRemoveFirstPathElement(without_first);
  const std::size_t first = name.find('/');
  Expect("without the first element", first == std::string::npos ? "" : name.substr(first + 1),
         without_first.str(), name);
}

// What is left of the name, up to and with the separator in front of the last element.
std::string WithoutLast(std::string name) {
  const std::size_t length = name.size();
  std::size_t characters = 0;
  for (const char c : name)
    characters += (c & 0xC0) != 0x80;
  if (characters <= 1) return "";
  if (name[length - 1] == '/') name.pop_back();
  while (!name.empty() && name.back() != '/')
    name.pop_back();
  return name;
}

void CheckLastElement(const std::string& name) {
  Record record(name);
  FwFileRemoveLastPathElement(record);
  Expect("without the last element", WithoutLast(name), record.str(), name);
  fuzz::Text text(name);
  const std::string last = FWC(FwFileLastPathElement(text));
  if (name.size() > 1 || name != "/") {
    const std::string head = name.substr(0, name.size() - last.size());
    if (!name.ends_with(last) || last.substr(0, last.size() - 1).find('/') != std::string::npos)
      fuzz::Fail("the last element", fuzz::Quoted(name) + " " + fuzz::Quoted(last));
    if (!head.empty() && !head.ends_with("/")) fuzz::Fail("what stands before it", head);
  }
}

void CheckSeparators(const std::string& name) {
  fuzz::Text text(name);
  const bool ends = name.ends_with("/");
  Expect("ends with a separator", ends, FwFileEndsWithSeparator(text) != nullptr, name);

  Record record(name);
  Expect("a separator added", !ends && !name.empty(), FwFileEnsureTrailingSeparator(record), name);
  const std::string added = ends || name.empty() ? name : name + "/";
  Expect("with a separator", added, record.str(), name);
  FwTextString allocated = FwStrDuplicate(text);
  FwFileEnsureTrailingSeparatorRealloc(&allocated);
  Expect("with a separator, anew", added, fuzz::Take(allocated), name);
  Expect("a separator cut", !name.empty(), FwFileRemoveTrailingSeparatorRec(record), name);
  Expect("without a separator", ends ? name.substr(0, name.size() - 1) : name, record.str(), name);

  Expect("a separator cut in place", ends && name != "/", FwFileRemoveTrailingSeparator(text),
         name);
  Expect("without it in place", ends && name != "/" ? name.substr(0, name.size() - 1) : name,
         text.str(), name);

  Record native(name);
  FwFileNativeSeparators(native);
  std::string expected = name;
  for (char& c : expected)
    if (c == '\\') c = '/';
  Expect("separators of this system", expected, native.str(), name);
}

void CheckJoins(const std::string& one, const std::string& other) {
  fuzz::Text first(one), second(other);
  Expect("joined", Joined(one, other), fuzz::Take(FwFilenameConcatenateAlloc(first, second)),
         one + "\n" + other);
  Record record(one);
  FwFilenameConcatenateEx(record, second);
  std::string expected = one, element;
  for (const char c : other + "/") {
    if (c != '/' && c != '\\' && c != ':') {
      element += c;
      continue;
    }
    if (!element.empty()) expected = Joined(expected, element);
    element.clear();
  }
  Expect("joined from foreign elements", expected, record.str(), one + "\n" + other);

  FwErrorState err;
  const std::string absolute = fuzz::Take(FwFileAbsolutePath(&err, first));
  if (err.pError != nullptr) fuzz::Fail("no absolute name", one);
  Expect("absolute name", one.starts_with("/") ? one : fuzz::Directory() + "/" + one, absolute,
         one);
}

void CheckExtension(const std::string& name, const std::string& other) {
  const std::size_t dot = name.rfind('.');
  const std::size_t slash = name.rfind('/');
  const bool has = dot != std::string::npos && (slash == std::string::npos || slash < dot);
  Record record(name);
  FwTextByte* found = FwFileFindExtension(record);
  Expect("an extension", has, found != nullptr, name);
  if (has) Expect("the extension", name.substr(dot + 1), FWC(found), name);

  fuzz::Text text(name), extension(other);
  Expect("an extension's text", has && name.substr(dot + 1) == other,
         FwFileCheckExtension(record, extension), name);
  Record changed("x");
  Expect("an extension changed", has, FwFileChangeExtension(text, changed, extension), name);
  Expect("with another extension", has ? name.substr(0, dot + 1) + other : name, changed.str(),
         name);
  Record cut("x");
  FwFileChangeExtension(text, cut, nullptr);
  Expect("without an extension", has ? name.substr(0, dot) : name, cut.str(), name);
}

// The elements of a product's directory are its name's, for a relative path as the system writes
// it.
void CheckProductName(const std::string& path) {
  if (path.starts_with("/") || path.ends_with("/") || path.find("//") != std::string::npos ||
      path.find_first_of("\\:") != std::string::npos)
    return;
  fuzz::Text text(path);
  WH_PRODUCT_NAME* name = name_from_path(text);
  const auto separators = std::count(path.begin(), path.end(), '/');
  if ((name != nullptr) != (separators >= 3)) fuzz::Fail("four elements make a name", path);
  if (name == nullptr) return;
  fuzz::Text base("");
  fuzz::Text directory(fuzz::Take(wh_dirpath(base, name)));
  WH_PRODUCT_NAME* again = name_from_path(directory);
  if (again == nullptr || !equal_prodnames(name, again))
    fuzz::Fail("a product's directory is not its name's", fuzz::Quoted(path));
  free_prodname(&again);
  free_prodname(&name);
}

}  // namespace

void fuzz::Try(Input& input) {
  const std::string name = input.Line();
  const std::string other = input.Line();
  const Allow allow = Malformed(name + "\n" + other);
  if (!WellFormed(name) || !WellFormed(other)) return;
  CheckParts(name);
  CheckLastElement(name);
  CheckSeparators(name);
  CheckJoins(name, other);
  CheckExtension(name, other);
  CheckProductName(name);
}
