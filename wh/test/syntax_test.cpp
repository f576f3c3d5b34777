// What the readers of data files tell an observer.
#include "syntax.h"

#include <expat.h>

#include <random>

#include "read_support.h"

namespace {

std::string Joined(const WH_NAMES* names) {
  std::string out;
  for (int i = 0; names != nullptr && i < names->count; ++i)
    out += (i ? "," : "") + std::string(names->names[i]);
  return out;
}

// What was told, a line each.
struct Log {
  std::string all;
  int refusals = 0;  // and faults
  std::string text;

  void Flush() {
    if (text.find_first_not_of(" \n") != std::string::npos) all += "text '" + text + "'\n";
    text.clear();
  }
  static Log* Of(void* context) {
    static_cast<Log*>(context)->Flush();
    return static_cast<Log*>(context);
  }
  static std::string Place(int32 line, int32 column) {
    return std::to_string(line) + ":" + std::to_string(column) + " ";
  }
  static void Start(void* context, const WH_START_TAG* tag) {
    Log* log = Of(context);
    log->all += Place(tag->line, tag->column) + tag->name;
    for (const char** attribute = tag->attributes; *attribute != nullptr; attribute += 2)
      log->all += std::string(" ") + attribute[0] + "=" + attribute[1];
    log->all += tag->asked == nullptr ? " passed over" : " asked(" + Joined(tag->asked) + ")";
    if (tag->holds_text) log->all += " text";
    if (tag->doctype != nullptr) log->all += std::string(" doctype ") + tag->doctype;
    log->all += "\n";
  }
  static void End(void* context, const char* name) {
    Of(context)->all += std::string("/") + name + "\n";
  }
  static void Text(void* context, const char* bytes, int count) {
    static_cast<Log*>(context)->text.append(bytes, static_cast<std::size_t>(count));
  }
  static void Refused(void* context, const WH_REFUSAL* refusal) {
    Log* log = Of(context);
    ++log->refusals;
    const char* const kinds[] = {"start", "end", "value", "file", "host"};
    log->all += Place(refusal->line, refusal->column) + "refused " + kinds[refusal->what] + " " +
                refusal->name;
    if (refusal->what == wh_refused_value)
      log->all += std::string(" ") + refusal->attribute + "=" +
                  (refusal->value == nullptr ? "(none)" : refusal->value) + " of " +
                  Joined(refusal->words);
    else if (refusal->what != wh_refused_file && refusal->what != wh_refused_host)
      log->all += " in place of " + Joined(refusal->starts) + "/" +
                  (refusal->end == nullptr ? "" : refusal->end);
    log->all += "\n";
  }
  static void Fault(void* context, int code, int32 line, int32 column) {
    Log* log = Of(context);
    ++log->refusals;
    log->all += Place(line, column) + "fault " + std::to_string(code) + "\n";
  }
};

struct File {
  TemporaryTree tree;

  // The outcome of the reader for files of that name.
  std::string Read(const std::string& name, const std::string& content) {
    ::Text path(Rewrite(tree, name, content));
    Error err;
    std::string outcome;
    if (name == "product.xml") {
      WH_PRODUCT_NAME* prodname = Prodname("c", "n", "1", "0");
      WH_PRODUCT_INFO* info = read_prodinfo_file(&err, prodname, path, 0, 0);
      outcome = Outcome(info, &err);
      free_prodinfo(&info);
      free_prodname(&prodname);
    } else if (name == "partlist.xml") {
      WH_PARTLIST* list = read_partlist(&err, path, 0);
      outcome = Outcome(list, &err);
      free_partlist(&list);
    } else if (name == "env.xml") {
      WH_ENV_SETTINGS* settings = read_env_settings(&err, path, 0);
      outcome = Outcome(settings, &err);
      free_env_settings(&settings);
    } else {
      WH_RECIPE* recipe = read_recipe(&err, path, 0);
      outcome = Outcome(recipe, &err);
      free_recipe(&recipe);
    }
    return outcome;
  }

  std::string Observed(const std::string& name, const std::string& content, Log* log) {
    const WH_SYNTAX_OBSERVER observer = {log,       Log::Start,   Log::End,
                                         Log::Text, Log::Refused, Log::Fault};
    wh_syntax_observer = &observer;
    std::string outcome = Read(name, content);
    wh_syntax_observer = nullptr;
    return outcome;
  }

  std::string Told(const std::string& name, const std::string& content) {
    Log log;
    Observed(name, content, &log);
    return log.all;
  }
};

TEST(Syntax, TellsTagsTextsAndTheAttributesThatAreAskedFor) {
  File file;
  EXPECT_EQ(
      "1:1 ENV-SETTINGS asked()\n"
      "2:2 ENV-GROUP asked()\n"
      "2:13 PATTERN hots=h asked(host)\n"
      "2:31 MATCH asked(host)\n"
      "2:38 VAR n=a v=b asked(n,v)\n"
      "/VAR\n/MATCH\n/PATTERN\n"
      "text 'stray  '\n"
      "3:6 ENV-DELETE sep=; asked(sep) text\n"
      "text ' Ä '\n"
      "/ENV-DELETE\n/ENV-GROUP\n"
      "3:54 ENV-GROUP asked()\n"
      "3:65 PATTERN asked(host)\n"
      "/PATTERN\n/ENV-GROUP\n/ENV-SETTINGS\n",
      file.Told("env.xml",
                "<ENV-SETTINGS>\n"
                " <ENV-GROUP><PATTERN hots='h'><MATCH><VAR n='a' v='b'/></MATCH></PATTERN>"
                "stray<!--\n-->  <ENV-DELETE sep=';'> Ä </ENV-DELETE></ENV-GROUP>"
                "<ENV-GROUP><PATTERN/></ENV-GROUP></ENV-SETTINGS>"));
  EXPECT_EQ("2:1 VARIETIES asked() doctype A\n/VARIETIES\n",
            file.Told("product.xml", "<!DOCTYPE A>\n<VARIETIES/>"));
}

TEST(Syntax, PassesOverARefusedElementAndTellsWhatMayStandThere) {
  File file;
  EXPECT_EQ(
      "1:1 PARTLIST asked()\n"
      "1:11 refused start PART in place of PARTSPEC/PARTLIST\n"
      "1:11 PART a=b passed over\n"
      "1:23 X passed over\n/X\n/PART\n"
      "1:37 PARTSPEC asked()\n"
      "1:47 refused end PARTSPEC in place of PATTERN/\n"
      "/PARTSPEC\n"
      // From here on the reader passes over everything.
      "1:58 ODD passed over\n/ODD\n/PARTLIST\n",
      file.Told("partlist.xml",
                "<PARTLIST><PART a='b'><X></X></PART><PARTSPEC></PARTSPEC><ODD/></PARTLIST>"));
  EXPECT_EQ("1:1 refused start A in place of PRODUCT-INFO,VARIETIES/\n1:1 A passed over\n/A\n",
            file.Told("product.xml", "<A/>"));
}

TEST(Syntax, TellsWhatARecipeRefuses) {
  File file;
  const auto refusal = [&](const std::string& name, const std::string& step) {
    const std::string all =
        file.Told(name, "<RECIPE><STEP><PATTERN host='h'/>\n" + step + "</STEP></RECIPE>");
    const std::size_t at = all.find("refused");
    return at == std::string::npos ? "" : all.substr(at, all.find('\n', at) - at);
  };
  EXPECT_EQ("refused value SETENV op=sets of set,delete,append,unappend,prepend,unprepend",
            refusal("setup.xml", "<SETENV op='sets'/>"));
  EXPECT_EQ("refused value SETENV context=me of all,user",
            refusal("setup.xml", "<SETENV context='me'/>"));
  EXPECT_EQ("refused value SHORTCUT op=(none) of create,forcecreate,delete",
            refusal("setup.xml", "<SHORTCUT/>"));
  EXPECT_EQ("refused file SETENV", refusal("install.xml", "<SETENV/>"));
  EXPECT_EQ("refused file DELETE", refusal("setup.xml", "<DELETE/>"));
  EXPECT_EQ("", refusal("setup.xml", "<SETENV/>"));
  EXPECT_EQ(
      "1:1 RECIPE asked()\n1:9 STEP asked(ui)\n1:15 PATTERN asked(host)\n"
      "1:24 refused host MATCH\n1:24 MATCH asked(host)\n"
      "/MATCH\n/PATTERN\n/STEP\n/RECIPE\n",
      file.Told("install.xml", "<RECIPE><STEP><PATTERN><MATCH/></PATTERN></STEP></RECIPE>"));
}

TEST(Syntax, TellsWhereTheParserEnds) {
  File file;
  EXPECT_EQ("1:1 fault 3\n", file.Told("env.xml", ""));
  EXPECT_EQ("1:1 ENV-SETTINGS asked()\n2:3 fault 7\n",
            file.Told("env.xml", "<ENV-SETTINGS>\n</ENV>"));
}

// Good files, from which others come by small changes.
const std::pair<const char*, const char*> kGood[] = {
    {"product.xml",
     "<PRODUCT-INFO name='a' flags='visible'><DESCRIPTION lang='en'>It</DESCRIPTION><VARIETIES>"
     "<VARIETY name='v'><VAR n='p' v='u'/><SEGMENT host='h' here='1'/></VARIETY></VARIETIES>"
     "</PRODUCT-INFO>"},
    {"partlist.xml",
     "<PARTLIST><PARTSPEC><PATTERN><MATCH><VAR n='a' v='b'/></MATCH></PATTERN><PARTS>"
     "<PRODUCT name='n'><PATTERN/><PACK/></PRODUCT><FILE name='f'><PACK/></FILE></PARTS>"
     "</PARTSPEC></PARTLIST>"},
    {"env.xml",
     "<ENV-SETTINGS><ENV-GROUP><PATTERN host='h'/><ENV-INSERT sep=';'><NAME>P</NAME>"
     "<VALUE>x</VALUE><BEFORE>y</BEFORE></ENV-INSERT><ENV-REMOVE><NAME>P</NAME><VALUE/>"
     "</ENV-REMOVE><ENV-DELETE>Q</ENV-DELETE></ENV-GROUP></ENV-SETTINGS>"},
    {"setup.xml",
     "<RECIPE><STEP ui='u'><PATTERN/><CMD>ls</CMD><RUN program='p'><ARG>a</ARG></RUN>"
     "<SETENV op='append' name='n' value='v'/><CREATE><DATA>d</DATA></CREATE></STEP></RECIPE>"},
    {"install.xml",
     "<RECIPE><STEP><PATTERN host='h'><MATCH/></PATTERN><DELETE>d</DELETE><DIR>e</DIR></STEP>"
     "</RECIPE>"},
};

// The same file with a tag, or a letter, taken away, doubled, or put elsewhere.
std::string Changed(const std::string& document, std::mt19937* random) {
  const auto below = [&](std::size_t limit) { return (*random)() % limit; };
  std::size_t at = below(document.size());
  std::size_t length = 1;
  if (below(3) > 0) {
    at = document.rfind('<', at);
    length = document.find('>', at) - at + 1;
  }
  const std::string piece = document.substr(at, length);
  std::string changed = document;
  if (below(2) == 0) changed.erase(at, length);
  if (below(2) == 0) {
    std::size_t to = below(changed.size());
    if (below(3) > 0) to = changed.rfind('<', to) == std::string::npos ? 0 : changed.rfind('<', to);
    changed.insert(to, piece);
  }
  return changed;
}

TEST(Syntax, AnObservedReaderTakesAndRefusesTheSame) {
  const char* factor = std::getenv("ZOR_TEST_ROUNDS");
  const int rounds = 400 * (factor == nullptr ? 1 : std::atoi(factor));
  File file;
  std::mt19937 random(20240117);
  int taken = 0;
  for (int round = 0; round < rounds; ++round)
    for (const auto& [name, good] : kGood) {
      const std::string content = round == 0 ? good : Changed(good, &random);
      SCOPED_TRACE(content);
      Log log;
      const std::string plain = file.Read(name, content);
      ASSERT_EQ(plain, file.Observed(name, content, &log));
      const bool refused = plain.starts_with("(null)");
      ASSERT_EQ(refused, log.refusals > 0) << plain << log.all;
      taken += refused ? 0 : 1;
    }
  // The changes are such that both kinds come about.
  EXPECT_GT(taken, rounds / 4);
  EXPECT_LT(taken, rounds * 4);
}

// ---- Reading along ----

struct Along {
  static Along*& Current() {
    static Along* current = nullptr;
    return current;
  }

  static void Tap(XML_ParserStruct* parser, FwTextString filename, WH_XML_HANDLERS* handlers) {
    Current()->parser = parser;
    Current()->filename = Str(filename);
    Current()->reader = *handlers;
    *handlers = {Start, End, Text, Bytes};
  }
  static void Start(void* user, const char* name, const char** attributes) {
    Current()->Note(name);
    for (const char** each = attributes; *each != nullptr; each += 2)
      Current()->log += std::string(" ") + each[0] + "=" + each[1];
    Current()->log += "\n";
    Current()->reader.start(user, name, attributes);
  }
  static void End(void* user, const char* name) {
    Current()->Note((std::string("/") + name).c_str());
    Current()->log += "\n";
    Current()->reader.end(user, name);
  }
  static void Text(void* user, const char* bytes, int count) {
    Current()->Note("text ");
    Current()->log += std::string(bytes, static_cast<std::size_t>(count)) + "\n";
    if (Current()->reader.text != nullptr) Current()->reader.text(user, bytes, count);
  }
  static void Bytes(const char* block, uint32 length) { Current()->content.append(block, length); }
  void Note(const char* what) {
    log += std::to_string(XML_GetCurrentByteIndex(parser)) + " " + what;
  }

  XML_ParserStruct* parser = nullptr;
  std::string filename, log, content;
  WH_XML_HANDLERS reader = {};
};

std::string ReadAlong(File* file, const std::string& name, const std::string& content,
                      Along* along) {
  Along::Current() = along;
  wh_xml_tap = Along::Tap;
  std::string outcome = file->Read(name, content);
  wh_xml_tap = nullptr;
  return outcome;
}

TEST(ReadingAlong, TellsTagsAndTextsWithTheirPlaces) {
  File file;
  Along along;
  ReadAlong(&file, "env.xml",
            "<ENV-SETTINGS>\n<ENV-GROUP><PATTERN/><ENV-DELETE sep=';'>A</ENV-DELETE>"
            "</ENV-GROUP></ENV-SETTINGS>",
            &along);
  EXPECT_EQ(file.tree / "env.xml", along.filename);
  EXPECT_EQ(
      "0 ENV-SETTINGS\n14 text \n\n15 ENV-GROUP\n26 PATTERN\n36 /PATTERN\n"
      "36 ENV-DELETE sep=;\n56 text A\n57 /ENV-DELETE\n70 /ENV-GROUP\n82 /ENV-SETTINGS\n",
      along.log);
}

TEST(ReadingAlong, TheReaderTakesAndRefusesTheSame) {
  File file;
  std::mt19937 random(20240118);
  for (int round = 0; round < 100; ++round)
    for (const auto& [name, good] : kGood) {
      const std::string content = round == 0 ? good : Changed(good, &random);
      SCOPED_TRACE(content);
      Along along;
      const std::string plain = file.Read(name, content);
      ASSERT_EQ(plain, ReadAlong(&file, name, content, &along));
      // A fault of XML ends the reading, but not before the block that holds it.
      ASSERT_EQ(content, along.content);
    }
}

TEST(ReadingAlong, AnObservedReaderIsNotTapped) {
  File file;
  Along along;
  Log log;
  Along::Current() = &along;
  wh_xml_tap = Along::Tap;
  file.Observed("env.xml", "<ENV-SETTINGS/>", &log);
  wh_xml_tap = nullptr;
  EXPECT_EQ("", along.log);
  EXPECT_EQ("1:1 ENV-SETTINGS asked()\n/ENV-SETTINGS\n", log.all);
}

}  // namespace
