// The expansion language: %(NAME), %[FILE] and %{NAME}.
//
// Text is worked through in passes. A pass replaces each reference once and copies all else; as
// long as one has replaced something, the next works on what it made. References inside the
// brackets of another come first by themselves: a percent sign ends the search for the closing
// bracket, so the outer one is plain text until the inner ones are gone.
#include <cstring>

#include "fwfile.h"
#include "fwstring.h"
#include "private.h"
#include "wherror.h"
#include "wqmem.h"

// What a name of a table comes to in the end.
struct WH_MEANING {
  FwTextString name = nullptr;
  std::size_t length = 0;  // of the name, in bytes
  FwTextString text = nullptr;
  int number = 0;  // of those that the table keeps, from 1
  WH_MEANING* next = nullptr;
};

namespace {

// A value that refers to itself never settles. These bounds lie far above any use; passing one of
// them counts as exhausted memory. A text that doubles with each pass meets the first one, and soon
// enough for a person who waits; one that grows slowly meets one of the others.
constexpr std::size_t kMaxLength = std::size_t{20} << 20;  // bytes, one pass
constexpr std::size_t kMaxTotal = std::size_t{1} << 28;    // bytes, all passes of one call
constexpr int kMaxPasses = 100000;
constexpr uint32 kFirstRoom = 256;  // bytes, enough for most

// What is kept with a table, and what a text at once may hold. More goes through the passes.
constexpr int kMostMeanings = 16;
constexpr int kMostReferences = 64;
constexpr std::size_t kPlainRoom = 512;  // bytes, the end included

struct PASS {
  FwErrorState* err;
  WH_SYMTAB* symtab;
  FwStrRecord* output;
  bool expanded;  // something was replaced

  // The name that was looked up last, in the text that the pass reads, and what was found. Text
  // that has grown by references holds the same one over and over.
  FwTextByte* name;
  uint32 length;
  FwTextString value;
};

// Characters of several bytes are stepped over by the framework, so that bytes of unknown encoding
// are taken as everywhere else: they may hide a percent sign.
FwTextByte* behind_character(FwTextByte* ptb) {
  if (*ptb < 0x80) return ptb + 1;
  FwStrGetTextCharacter(&ptb);
  return ptb;
}

FwTextByte* next_percent(FwTextByte* ptb) {
  while (*ptb != 0 && *ptb != '%')
    ptb = behind_character(ptb);
  return ptb;
}

// The bracket that closes the one at open, null if there is none or if the byte at open is none.
FwTextByte* closing_bracket(FwTextByte* open) {
  FwTextByte closing = 0;
  switch (*open) {
    case '(':
      closing = ')';
      break;
    case '[':
      closing = ']';
      break;
    case '{':
      closing = '}';
      break;
    default:
      return nullptr;
  }
  FwTextByte* ptb = open + 1;
  while (*ptb != closing) {
    if (*ptb == 0 || *ptb == '%') return nullptr;
    ptb = behind_character(ptb);
  }
  return ptb;
}

// Bytes are copied as they stand, whatever their encoding.
void put_bytes(FwStrRecord* output, FwByte* bytes, std::size_t count) {
  if (count == 0) return;
  if (static_cast<std::size_t>(output->pbTerminator - output->pbz) + count > kMaxLength)
    FwMemExitMemoryExhausted();
  FwStrNPutRawString(output, bytes, static_cast<uint32>(count));
}

void put_value(PASS* pass, FwTextString value) {
  put_bytes(pass->output, value, std::strlen(FWC(value)));
  pass->expanded = true;
}

void set_no_value(PASS* pass, FwTextString name) {
  FwErrorSet(pass->err, whErrorNoValue, 4, FWT("% variable"), name, FWT("File"),
             pass->symtab->source);
}

// Removes one line end, of any of the three kinds.
// Kept, as the text of the output: this looks at all that was put in, so an empty file takes
// away a line end that stood before it.
void strip_line_end(FwStrRecord* output) {
  const std::size_t length = static_cast<std::size_t>(output->pbTerminator - output->pbz);
  std::size_t cut = 0;
  if (length > 0 && output->pbz[length - 1] == '\r') cut = 1;
  if (length > 0 && output->pbz[length - 1] == '\n')
    cut = length > 1 && output->pbz[length - 2] == '\r' ? 2 : 1;
  if (cut > 0) FwStrRecordShorten(output, static_cast<uint32>(length - cut));
}

// Appends a file's contents, less one line end at their end. 0 if the file can't be read: output
// then has what was read before.
int wh_expand_with_file_contents(FwErrorState* pErr, FwTextString ptbzFileName,
                                 FwStrRecord* output) {
  const FwFile file = FwFileOpen(pErr, ptbzFileName, FW_OPEN_RDONLY);
  if (file == FW_FILE_INVALID) return 0;
  FwByte block[1024];
  std::size_t total = 0;
  while (const uint32 count = FwFileRead(pErr, file, block, sizeof block)) {
    if (pErr->pError != nullptr) break;
    // Counted here as well: a block ends at a zero byte for put_bytes, and devices never end.
    total += count;
    if (total > kMaxLength) FwMemExitMemoryExhausted();
    put_bytes(output, block, count);
  }
  if (pErr->pError != nullptr) {
    FwErrorState closeErr;
    FwFileClose(&closeErr, file);
    FwErrorClear(&closeErr);
    return 0;
  }
  strip_line_end(output);
  return FwFileClose(pErr, file) != 0;
}

// %(NAME). A name without a value stays in the text, bare.
void expand_name(PASS* pass, FwTextByte* name, uint32 length) {
  if (pass->name == nullptr || length != pass->length ||
      std::memcmp(name, pass->name, length) != 0) {
    pass->name = name;
    pass->length = length;
    pass->value = symtab_lookup(name, pass->symtab, length);
  }
  if (pass->value != nullptr) {
    put_value(pass, pass->value);
    return;
  }
  put_bytes(pass->output, name, length);
  FwTextString text = FwStrNDuplicate(name, static_cast<int>(length));
  set_no_value(pass, text);
  FwMemFree(text);
}

// %[FILE]. No file is opened once there is an error.
void expand_file(PASS* pass, FwTextByte* name, uint32 length) {
  if (pass->err->pError != nullptr) return;
  FwTextString text = FwStrNDuplicate(name, static_cast<int>(length));
  if (wh_file_observer != nullptr) wh_file_observer(text);
  if (wh_expand_with_file_contents(pass->err, text, pass->output)) pass->expanded = true;
  FwMemFree(text);
}

// %{NAME}. A variable that exists is not put in once there is an error; one that does not exist
// replaces the error.
void expand_variable(PASS* pass, FwTextByte* name, uint32 length) {
  FwTextString text = FwStrNDuplicate(name, static_cast<int>(length));
  environment_reads++;
  FwTextString value = getenv_UTF8(text);
  if (value == nullptr)
    set_no_value(pass, text);
  else if (pass->err->pError == nullptr)
    put_value(pass, value);
  wh_free(value);
  FwMemFree(text);
}

void run_pass(PASS* pass, FwTextString text) {
  FwTextByte* ptb = text;
  for (;;) {
    FwTextByte* percent = next_percent(ptb);
    put_bytes(pass->output, ptb, static_cast<std::size_t>(percent - ptb));
    if (*percent == 0) return;

    FwTextByte* open = percent + 1;
    FwTextByte* close = closing_bracket(open);
    if (close == nullptr) {
      // The character behind the sign goes with it, a second sign as well: there is no escape.
      ptb = *open == 0 ? open : behind_character(open);
      put_bytes(pass->output, percent, static_cast<std::size_t>(ptb - percent));
      continue;
    }
    FwTextByte* name = open + 1;
    const uint32 length = static_cast<uint32>(close - name);
    if (*open == '(') expand_name(pass, name, length);
    if (*open == '[') expand_file(pass, name, length);
    if (*open == '{') expand_variable(pass, name, length);
    ptb = close + 1;
  }
}

// ---- Plain texts
//
// A text is plain if it holds nothing but ASCII and references %(NAME) to values that are plain
// again. Each reference can then be replaced by what it comes to in the end: what stands around it
// never has a part in it. Nearly all texts of data files are plain.

struct PLAIN {
  FwTextByte text[kPlainRoom];
  std::size_t length = 0;
  int references = 0;
};

bool put_plain_bytes(PLAIN* plain, const FwTextByte* bytes, std::size_t count) {
  if (count >= kPlainRoom - plain->length) return false;
  std::memcpy(plain->text + plain->length, bytes, count);
  plain->length += count;
  plain->text[plain->length] = 0;
  return true;
}

const WH_MEANING* find_meaning(const WH_SYMTAB* symtab, const FwTextByte* name,
                               std::size_t length) {
  const WH_MEANING* known = symtab->meanings;
  while (known != nullptr &&
         (known->length != length || std::memcmp(known->name, name, length) != 0))
    known = known->next;
  return known;
}

void keep_meaning(WH_SYMTAB* symtab, FwTextByte* name, std::size_t length, FwTextString text) {
  const int number = symtab->meanings == nullptr ? 1 : symtab->meanings->number + 1;
  if (number > kMostMeanings) return;
  auto* meaning = make<WH_MEANING>();
  meaning->name = FwStrNDuplicate(name, static_cast<int>(length));
  meaning->length = length;
  meaning->text = FwStrDuplicate(text);
  meaning->number = number;
  meaning->next = symtab->meanings;
  symtab->meanings = meaning;
}

// False if the text is not plain, or is too long; then there is more or less of it in *plain.
bool put_plain(PLAIN* plain, FwTextByte* ptb, WH_SYMTAB* symtab) {
  for (;;) {
    FwTextByte* percent = ptb;
    while (*percent != 0 && *percent != '%' && *percent < 0x80)
      percent++;
    if (!put_plain_bytes(plain, ptb, static_cast<std::size_t>(percent - ptb))) return false;
    if (*percent == 0) return true;
    FwTextByte* close =
        *percent == '%' && percent[1] == '(' ? closing_bracket(percent + 1) : nullptr;
    if (close == nullptr || ++plain->references > kMostReferences) return false;
    ptb = close + 1;

    FwTextByte* name = percent + 2;
    const std::size_t length = static_cast<std::size_t>(close - name);
    if (const WH_MEANING* known = find_meaning(symtab, name, length)) {
      if (!put_plain_bytes(plain, known->text, std::strlen(FWC(known->text)))) return false;
      continue;
    }
    FwTextString value = symtab_lookup(name, symtab, static_cast<uint32>(length));
    const std::size_t before = plain->length;
    if (value == nullptr || !put_plain(plain, value, symtab)) return false;
    if (symtab->keeps_meanings && !is_settled(value))
      keep_meaning(symtab, name, length, plain->text + before);
  }
}

}  // namespace

int environment_reads = 0;
void (*wh_file_observer)(FwTextString filename) = nullptr;

void forget_meanings(WH_SYMTAB* symtab) {
  while (WH_MEANING* meaning = symtab->meanings) {
    symtab->meanings = meaning->next;
    FwMemFree(meaning->name);
    FwMemFree(meaning->text);
    FwMemFree(meaning);
  }
}

bool is_settled(FwTextString text) {
  for (; *text != 0; text++)
    if (*text == '%' || *text >= 0x80) return false;
  return true;
}

FwTextString settled_expansion(FwTextString str, WH_SYMTAB* symtab) {
  if (is_settled(str)) return str;
  if (str[0] != '%' || str[1] != '(') return nullptr;
  FwTextByte* close = closing_bracket(str + 1);
  if (close == nullptr || close[1] != 0) return nullptr;
  FwTextByte* name = str + 2;
  FwTextString value = symtab_lookup(name, symtab, static_cast<uint32>(close - name));
  return value != nullptr && is_settled(value) ? value : nullptr;
}

bool may_read_environment(FwTextString str, WH_SYMTAB* symtab) {
  if (str == nullptr || is_settled(str)) return false;
  for (FwTextByte* ptb = str; *(ptb = next_percent(ptb)) != 0;) {
    FwTextByte* close = ptb[1] == '(' ? closing_bracket(ptb + 1) : nullptr;
    if (close == nullptr) return true;
    FwTextByte* name = ptb + 2;
    FwTextString value = symtab_lookup(name, symtab, static_cast<uint32>(close - name));
    if (value != nullptr && std::strchr(FWC(value), '%') != nullptr) return true;
    ptb = close + 1;
  }
  return false;
}

FwTextString wh_expand(FwErrorState* err, FwTextString str, WH_SYMTAB* symtab) {
  if (str == nullptr) return nullptr;
  if (FwTextString settled = settled_expansion(str, symtab)) return FwStrDuplicate(settled);

  PLAIN plain;
  if (put_plain(&plain, str, symtab)) return FwStrDuplicate(plain.text);

  // Each pass reads what the one before has written.
  FwStrRecord outputs[2];
  for (FwStrRecord& output : outputs)
    FwStrRecordOpenSize(&output, kFirstRoom);
  FwTextString text = str;
  std::size_t total = 0;
  for (int passes = 1;; passes++) {
    FwStrRecord* output = &outputs[passes % 2];
    FwStrRecordShorten(output, 0);
    PASS pass = {err, symtab, output, false, nullptr, 0, nullptr};
    run_pass(&pass, text);
    const bool unchanged = std::strcmp(FWC(output->pbz), FWC(text)) == 0;
    text = output->pbz;
    if (!pass.expanded || is_settled(text)) break;

    total += std::strlen(FWC(text));
    if (unchanged || passes == kMaxPasses || total > kMaxTotal) FwMemExitMemoryExhausted();
  }
  FwTextString expanded = FwStrDuplicate(text);
  for (FwStrRecord& output : outputs)
    FwStrRecordAbandon(&output);
  return expanded;
}

WH_PATTERN* wh_expand_pattern(FwErrorState* err, WH_PATTERN* pattern, WH_SYMTAB* symtab) {
  WH_PATTERN* chain = nullptr;
  WH_PATTERN** link = &chain;
  for (; pattern != nullptr; pattern = pattern->next) {
    WH_PATTERN* alternative = make_pattern();
    alternative->host = wh_expand(err, pattern->host, symtab);
    WH_VAR** tail = &alternative->vars;
    for (WH_VAR* var = pattern->vars; var != nullptr; var = var->next) {
      *tail = make<WH_VAR>();
      (*tail)->n = wh_expand(err, var->n, symtab);
      (*tail)->v = wh_expand(err, var->v, symtab);
      tail = &(*tail)->next;
    }
    *link = alternative;
    link = &alternative->next;
  }
  return chain;
}

// As make_prodname does, of the expanded category.
WH_PRODUCT_NAME* wh_expand_prodname(FwErrorState* err, WH_PRODUCT_NAME* prodname,
                                    WH_SYMTAB* symtab) {
  auto* expanded = make<WH_PRODUCT_NAME>();
  expanded->category = wh_expand(err, prodname->category, symtab);
  expanded->name = wh_expand(err, prodname->name, symtab);
  expanded->version = wh_expand(err, prodname->version, symtab);
  expanded->rev = wh_expand(err, prodname->rev, symtab);
  if (expanded->category != nullptr) standardize_separators(expanded->category);
  return expanded;
}
