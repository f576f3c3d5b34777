#include "generator.h"

#include <random>

#include "words.h"

namespace model {

namespace {

using Strings = std::vector<std::string>;

class Generator {
 public:
  Generator(unsigned long long seed, const std::string& base) : random_(seed) { case_.base = base; }

  Case Make() {
    trouble_ = Chance(60) ? 0 : Chance(60) ? 1 : 3;
    conflicts_ = Chance(50);
    overrule_ = conflicts_ && Chance(60);
    big_ = Chance(8);
    huge_ = Chance(4);
    default_place_ = Chance(70);
    MakeWords();
    MakeProducts();
    MakeOtherFiles();
    MakeEnvironment();
    MakeArguments();
    case_.shuffle = random_();
    return case_;
  }

 private:
  std::size_t Below(std::size_t n) { return static_cast<std::size_t>(random_() % n); }
  bool Chance(int percent) { return Below(100) < static_cast<std::size_t>(percent); }
  // Something that goes wrong: never in a third of the warehouses and more.
  bool Trouble(int percent) { return trouble_ > 0 && Chance(percent * trouble_); }
  template <class T>
  const T& Pick(const std::vector<T>& list) {
    return list[Below(list.size())];
  }
  // A few of a list, in its order.
  Strings Some(const Strings& list, std::size_t at_most) {
    Strings some;
    for (const std::string& text : list)
      if (some.size() < at_most && Chance(60)) some.push_back(text);
    if (some.empty()) some.push_back(Pick(list));
    return some;
  }

  void MakeWords() {
    names_ = Some({"V", "W", "LIST_A", "LIST_B", "ab", "bR", "X1", "PATH"}, huge_ ? 2 : 5);
    elements_ = Some({"a",        "b",      "c",      "d",        "ab",  "bR",    "/a",
                      "/b",       "/a/bin", "/b/bin", "/a/lib/b", "a/b", "b/a/c", "e\xcc\x81",
                      "\xc3\xa9", "x y",    "it's",   "A",        "a.b", "/"},
                     big_                       ? 20
                     : conflicts_ && Chance(40) ? 3
                                                : 8);
    if (big_)
      for (int i = 0; i < 24; ++i)
        elements_.push_back("/opt/" + std::string(1, static_cast<char>('a' + i)) + "/bin");
    if (Chance(10)) {
      elements_.push_back(" a ");
      elements_.push_back("a\nb");
      elements_.push_back("<&\"\\$x>");
    }
    // Other spellings of one path.
    if (Chance(25)) {
      const std::string element = Pick(elements_);
      elements_.push_back(element + "/");
      elements_.push_back("/" + element);
      elements_.push_back("a//b");
      elements_.push_back("/a//bin/");
    }
    if (huge_)
      for (int i = 0; i < 90; ++i)
        elements_.push_back((i % 3 == 0 ? "/p/" : i % 3 == 1 ? "q/" : "r") + std::to_string(i * i));
    // Elements that only removes speak of, where conflicts are not wanted.
    old_ = conflicts_ ? elements_ : Strings{"old", "/old/bin", "old/x", "/usr/bin", "o"};
    if (huge_ && !conflicts_)
      for (int i = 0; i < 90; ++i)
        old_.push_back((i % 2 == 0 ? "/old/" : "old/") + std::to_string(i * i));
    separator_ =
        Chance(75) ? Maybe() : Maybe(Pick(Strings{":", ";", ",", " ", "\xe2\x86\x92", ":;"}));
  }

  // ---- Text ----

  std::string Reference() {
    if (Trouble(6))
      return Pick(Strings{"%(NOPE)", "%{NOPE}", "%[text/none]", "%[text]", "%(FROM-CN)",
                          "%[root/readme/x]", "%(BASE-CNVR", "%(a%(FS)b)"});
    switch (Below(12)) {
      case 0:
      case 1:
      case 2:
        return "%(BASE-CNVR)";
      case 3:
        return "%(THIS-NAME)";
      case 4:
        return "%(THIS-VERSION)%(FS)%(THIS-REV)";
      case 5:
        return Chance(50) ? "%(flavour)" : "%(THIS-CNVR)";
      case 6:
        return "%[text/one]";
      case 7:
        return "%[text/" + Pick(Strings{"two", "three", "%(THIS-REV)"}) + "]";
      case 8:
        return "%{" + Pick(names_) + "}";
      case 9:
        return Pick(Strings{"%(PFS)", "%(PDLL)", "%(PLAT-THIS-CNVR)", "%(platform)"});
      case 10:
        return Pick(
            Strings{"%(BASE-CN)", "%(BASE-CNV)", "%(BINPATH)", "%(LIB)", "%(HOST-PLATFORM)"});
      default:
        return Pick(Strings{"100%", "%%", "%x", "%(", "%[", "%%(FS)", "%"});
    }
  }

  // References to what varieties may lack are rare where nothing is to go wrong.
  std::string SafeReference() {
    for (;;) {
      const std::string reference = Reference();
      const bool doubtful = reference.starts_with("%(P") || reference.starts_with("%(fl") ||
                            reference.starts_with("%(pl") || reference.starts_with("%{") ||
                            reference.starts_with("%[text/%");
      if (trouble_ > 0 || !doubtful || Chance(3)) return reference;
    }
  }

  std::string Element() {
    if (Chance(78)) return Pick(elements_);
    if (Chance(10)) return "";
    std::string text = SafeReference();
    if (Chance(50)) text += Pick(Strings{"/bin", "/", "x", "/lib|1"});
    if (Chance(10)) {
      text = Pick(elements_) + text;
      text += SafeReference();
    }
    return text;
  }

  std::string Globbed(const std::string& element) {
    switch (Below(9)) {
      case 0:
        return "**" + element + "**";
      case 1:
        return element + "/**";
      case 2:
        return "**/" + element;
      case 3:
        return FirstCharacter(element) + "*";
      case 4:
        return Pick(Strings{"*", "?", "/*", "/?", "/**", "*/*", "***", "****", "/", "*a*", "??"});
      case 5:
        return element + "|" + Pick(Strings{"", "one", "*", "root", "?wo", "product.xml"});
      case 6:
        return "**";
      case 7:
        return "%(BASE-CN)/**";
      default:
        return "//" + element + "/";
    }
  }

  std::string ElementPattern(const Strings& elements) {
    const std::string element = Pick(elements);
    if (Chance(60)) return element;
    if (Chance(20)) return Element();
    return Globbed(element);
  }

  std::string VariableName() {
    // Enough new ones to make the tables of variables grow.
    if (big_ && Chance(35)) return "N" + std::to_string(Below(26));
    if (Chance(80)) return Pick(names_);
    switch (Below(5)) {
      case 0:
        return Pick(Strings{"NEW", "NEW2", "other"});
      case 1:
        return FirstCharacter(Pick(names_)) + "*";
      case 2:
        return Pick(Strings{"*", "**", "?", "LIST_?", "**LIST_A**", "E*", "n\xc3\xa9*"});
      case 3:
        return trouble_ > 0 && Chance(30) ? Reference() : "%(THIS-NAME)";
      default:
        return Pick(Strings{"LIST_%(THIS-NAME)", "V|", "", "N\xc3\xa9"});
    }
  }

  // ---- Conditions ----

  Variable Condition() {
    if (Trouble(3)) return {Maybe(), "x"};
    if (Trouble(3)) return {"flavour", Maybe()};
    if (Chance(60))
      return {"flavour",
              Pick(Strings{"sweet", "s*", "?our", "sweet,sour", "sour", "**", "salt", ","})};
    return {Pick(Strings{"platform", "platform", "target"}),
            Pick(Strings{"unix", "linux", "pc", "linux-x86", "all", "unix,pc", "solaris",
                         "x,linux_2", "lin*", "hpux_11", "macos"})};
  }

  Pattern Conditions(int percent) {
    Pattern pattern;
    if (!Chance(percent)) return pattern;
    for (std::size_t i = Below(3); i < 3; ++i) {
      pattern.emplace_back();
      for (std::size_t k = Below(3); k < 2; ++k)
        pattern.back().push_back(Condition());
    }
    return pattern;
  }

  // ---- Data files ----

  Fault AnyFault(bool recipe) {
    const std::string structure =
        recipe ? "Error:  invalid XML in File " : "XML parsing error in File ";
    if (recipe && Chance(40)) {
      const std::string command =
          Pick(Strings{"<SETENV op=\"put\"/>", "<DELETE>x</DELETE>", "<DIR>x</DIR>", "<RUN>x<ARG/>",
                       "<SETENV context=\"some\"/>", "<SHORTCUT/>", "<CREATE/>", "<PATTERN/>",
                       "<CMD><ARG/></CMD>"});
      return {false, "<RECIPE><STEP><PATTERN/>" + command + "</STEP></RECIPE>",
              command.starts_with("<RUN>") ? "mismatched tag in File " : structure};
    }
    switch (Below(10)) {
      case 0:
        return {false, "", "no element found in File "};
      case 1:
        return {false, "<A><B></A>", "mismatched tag in File "};
      case 2:
        return {false, "<A a='1' a='2'/>", "duplicate attribute in File "};
      case 3:
        return {false, "<A/><B/>", "junk after document element in File "};
      case 4:
        return {false, "<A>&b;</A>", "undefined entity in File "};
      case 5:
        return {false, "<A b='<'/>", "not well-formed in File "};
      case 6:
        return {false, "<A", "unclosed token in File "};
      case 7:
        return {true, "", "Error: Operation denied", false};
      default:
        return {
            false,
            Pick(Strings{"<A/>", "<PRODUCT-INFO/>", "<PARTLIST><PARTSPEC/></PARTLIST>",
                         "<RECIPE><STEP/></RECIPE>", "<ENV-SETTINGS><ENV-GROUP/></ENV-SETTINGS>"}),
            structure};
    }
  }

  template <class Content>
  void Finish(DataFile<Content>& file, bool recipe = false) {
    file.there = true;
    if (Trouble(2)) file.fault = AnyFault(recipe);
  }

  Variety MakeVariety() {
    Variety variety;
    if (Chance(50))
      variety.variables.push_back({"flavour", Pick(Strings{"sweet", "sour", "salt"})});
    if (Chance(25))
      variety.variables.push_back(
          {Pick(Strings{"platform", "platform", "target"}),
           Pick(Strings{"linux-x86", "linux_2_4-all", "unix", "pc", "win_32-x86", "all", "hpux",
                        "solaris_8-sparc", "weird", "macos_9-ppc", "linux_2_6-x86"})});
    if (Chance(10)) variety.variables.push_back({"FS", "overridden"});
    if (Chance(20)) variety.variables.push_back({"next", Pick(Strings{"A", "B", "C", "D"})});
    if (Chance(10)) variety.variables.push_back({"extra", "%(THIS-NAME)%(flavour)"});
    if (Trouble(2)) variety.variables.push_back({"loop", "%(loop)"});
    if (Trouble(2)) variety.variables.push_back({Maybe(), "x"});
    if (Trouble(2)) variety.variables.push_back({"platform", Maybe()});
    if (!Trouble(3)) variety.segments.push_back("1");
    if (Chance(5)) variety.segments.push_back(Pick(Strings{"1", "2", "0"}));
    if (Trouble(3)) variety.segments.push_back(Maybe());
    return variety;
  }

  // Of several faults in one operation the last one is reported.
  void Spoil(Operation& operation) {
    const auto spoil = [&](std::string& text) {
      if (!Chance(50)) return;
      const std::string reference = Pick(Strings{"%(NOPE1)", "%{NOPE2}", "%[text/none]", "%(NOPE3)",
                                                 "%[text]", "%(NOPE4)%{NOPE5}%[text/one]"});
      text = Chance(50) ? reference : text + reference;
    };
    spoil(operation.name);
    for (std::string& value : operation.values)
      spoil(value);
    if (operation.action == Action::kInsert)
      while (operation.constraints.size() < 3)
        operation.constraints.push_back({Chance(50), Pick(elements_)});
    for (auto& constraint : operation.constraints)
      spoil(constraint.second);
  }

  Operation MakeOperation(std::size_t product) {
    Operation operation;
    operation.separator = Trouble(10)  ? Maybe(Pick(Strings{":", ";", ""}))
                          : Chance(60) ? separator_
                                       : Maybe();
    operation.name = VariableName();
    // Where includers are to overrule, only they remove: a part that removes what an includer
    // inserts makes a run without end.
    const std::size_t kind = !overrule_ ? Below(20) : product < 2 ? 10 + Below(10) : Below(14);
    if (kind < 14) {
      operation.values = {Element()};
      for (std::size_t i = Below(4); i < 2; ++i)
        operation.constraints.push_back(
            {Chance(50), ElementPattern(Chance(70) ? elements_ : old_)});
    } else if (kind < 19 || Chance(60)) {
      operation.action = Action::kRemove;
      for (std::size_t i = Below(3), n = huge_ ? 3 + Below(40) : 3; i < n; ++i)
        operation.values.push_back(conflicts_ ? ElementPattern(old_) : Pick(old_));
      if (Chance(10)) operation.values.clear();
    } else {
      operation.action = Action::kDelete;
    }
    if (Trouble(2)) Spoil(operation);
    return operation;
  }

  void MakeSettings(DataFile<std::vector<Group>>& file, std::size_t product) {
    for (std::size_t i = Below(3); i < 3; ++i) {
      file.content.emplace_back();
      Group& group = file.content.back();
      group.pattern = Conditions(20);
      for (std::size_t k = Below(6); k < 6; ++k)
        group.operations.push_back(MakeOperation(product));
      if (big_ || huge_)
        for (std::size_t k = Below(12), n = huge_ ? 40 : 10; k < n; ++k)
          group.operations.push_back(MakeOperation(product));
    }
    Finish(file);
  }

  void MakeRecipe(DataFile<std::vector<Step>>& file) {
    for (std::size_t i = Below(3); i < 3; ++i) {
      file.content.emplace_back();
      Step& step = file.content.back();
      step.pattern = Conditions(20);
      if (Trouble(10)) step.pattern = {{{"flavour", Reference()}}};
      for (std::size_t k = Below(4); k < 4; ++k) {
        Command command;
        if (Chance(12)) {
          command.other = Pick(Strings{
              "<CMD>ls</CMD>", "<MESSAGE title=\"t\">m</MESSAGE>", "<COPY from=\"a\" to=\"b\"/>",
              "<CREATE><DATA>x</DATA></CREATE>", "<RUN program=\"p\"><ARG>a</ARG></RUN>"});
        } else {
          command.op = Pick(std::vector<Maybe>{"set",
                                               "append",
                                               "APPEND",
                                               "prepend",
                                               "Prepend",
                                               "unappend",
                                               "unprepend",
                                               "delete",
                                               {}});
          if (!Trouble(3)) command.name = Chance(90) ? Pick(names_) : "NEW";
          if (!Chance(4)) command.value = Element();
        }
        step.commands.push_back(command);
      }
    }
    Finish(file, true);
  }

  // A part, mostly of the warehouse, sometimes of its includer.
  Part MakePart(std::size_t includer) {
    Part part;
    if (Chance(5)) {
      part.is_file = true;
      return part;
    }
    const bool any = Chance(overrule_ ? 1 : 12) || includer + 1 >= places_.size();
    const std::size_t which =
        any ? Below(places_.size()) : includer + 1 + Below(places_.size() - includer - 1);
    const Strings &own = places_[includer], &wanted = places_[which];
    Maybe* fields[] = {&part.category, &part.name, &part.version, &part.rev};
    for (std::size_t k = 0; k < 4; ++k)
      if (own[k] != wanted[k] || Chance(40)) *fields[k] = wanted[k];
    if (Trouble(8)) part.name = "%(next)";
    if (part.category && Chance(10)) part.category = "/" + *part.category;
    if (Trouble(4)) part.version = Pick(Strings{"9.9", "+", "%(NOPE)", "%[text/none]"});
    if (Trouble(3)) part.name = "Missing";
    if (Trouble(2)) part.category = "%(BASE-CN)";
    part.optional = Chance(15);
    if (Chance(15))
      part.pattern = {{{"platform", "%(platform)"}}};
    else
      part.pattern = Conditions(15);
    if (!part.pattern.empty() && trouble_ == 0 && part.pattern[0].size() == 1 &&
        part.pattern[0][0].value == "%(platform)")
      part.pattern[0][0].value = "all";
    return part;
  }

  void MakeProducts() {
    const std::size_t count = 2 + Below(huge_ || Chance(5) ? 20 : 7);
    for (std::size_t i = 0; i < count; ++i) {
      Strings place = {"C", std::string(1, static_cast<char>('A' + i)), "1.0", "1"};
      if (!default_place_) {
        place[0] = Pick(Strings{"C", "C", "D", "sub/cat"});
        if (Chance(30)) place[1] = Pick(Strings{"A", "Contents"});
        place[2] = Pick(Strings{"1.0", "1.00", "1.1", "1.9", "1.10", "2", "10a", "110", "a.b"});
        place[3] = Pick(Strings{"1", "2", "10", "01"});
      }
      bool taken = false;
      for (const Strings& other : places_)
        taken |= other == place;
      if (!taken) places_.push_back(place);
    }
    for (std::size_t i = 0; i < places_.size(); ++i) {
      const Strings& place = places_[i];
      case_.products.emplace_back();
      Product& product = case_.products.back();
      product.directory = place[0] + "/" + place[1] + "/" + place[2] + "/" + place[3];
      for (std::size_t k = Below(6); k < 6; k += 3)
        product.info.content.push_back(MakeVariety());
      Finish(product.info);
      for (std::size_t k = Below(3); k < 2; ++k) {
        product.parts.content.emplace_back();
        PartGroup& group = product.parts.content.back();
        group.pattern = Conditions(12);
        for (std::size_t j = Below(3); j < 3; ++j)
          group.parts.push_back(MakePart(i));
      }
      Finish(product.parts);
      const bool old = Chance(20);
      if (!old && Chance(88)) MakeSettings(product.env, i);
      if (!old && Chance(30)) MakeSettings(product.unenv, i);
      if (old || Chance(8)) {
        MakeRecipe(product.setup);
        if (Chance(50)) MakeRecipe(product.unset);
        if (Chance(20)) MakeRecipe(product.prep);
      }
      if (Trouble(2)) product.info.there = false;
      if (Trouble(2)) product.parts.there = false;
    }
  }

  void MakeOtherFiles() {
    case_.files = {{"text/one", Pick(Strings{"1\n", "one", "1\r\n", "a\n\n", ""})},
                   {"text/two", Pick(Strings{"%(THIS-NAME)\n", "2\r", "x%(FS)y"})},
                   {"text/three", Pick(Strings{"three:3\n", "%[text/one]\n", "\xc3\xa9"})},
                   {"text/1", "for rev 1\n"},
                   {"root/readme", "x"},
                   {"one", ""}};
    case_.directories = {"a/b", "/b/bin"};
    const Strings& place = Pick(places_);
    const std::string product = "root/" + place[0] + "/" + place[1];
    if (Chance(25)) {
      const std::string version = Pick(Strings{"1.1", "1.1.0", "0.9", ".svn", "2.0b"});
      case_.directories.push_back(product + "/" + version + "/" + Pick(Strings{"1", "2"}));
    }
    if (Trouble(15)) case_.directories.push_back(product + "/" + Pick(Strings{"3", "0"}));
    if (Trouble(15)) case_.files.push_back({product + "/" + Pick(Strings{"README", "0.1"}), "x"});
  }

  // ---- The run ----

  std::string StartValue() {
    const std::string separator = separator_ && Chance(80) ? *separator_ : Chance(90) ? ":" : ";";
    std::string value;
    const std::size_t count = huge_ ? Below(120) : big_ ? Below(30) : Below(7);
    for (std::size_t i = 0; i < count; ++i) {
      if (i != 0) value += separator;
      if (Chance(8)) continue;
      value += Chance(55) ? Pick(elements_) : Pick(old_);
      if (Chance(5)) value += separator;
    }
    if (Chance(4)) value += "/root|one";
    if (Chance(3)) value = "%(THIS-NAME)" + value;
    return value;
  }

  void MakeEnvironment() {
    Strings& environment = case_.environment;
    for (const std::string& name : names_)
      if (Chance(75)) environment.push_back(name + "=" + StartValue());
    if (Chance(50)) environment.push_back("E=");
    if (Chance(30)) environment.push_back("E2=a::b:" + Pick(elements_));
    if (Chance(15)) {
      const std::string name = Pick(names_) + "=";
      environment.push_back(name + StartValue());
    }
    if (Chance(10)) environment.push_back("BARE");
    if (Chance(10)) environment.push_back("=nameless");
    if (Chance(10)) environment.push_back("n\xc3\xa9=a:b");
    const std::size_t more = big_ || Chance(15) ? Below(140) : Below(4);
    for (std::size_t i = 0; i < more; ++i)
      environment.push_back("VAR" + std::to_string(i * 7) + "=" + Pick(old_));
    // The table of an environment grows before the 65th entry.
    if (Chance(15))
      for (std::size_t size = 58 + Below(6); environment.size() < size;)
        environment.push_back("PAD" + std::to_string(environment.size()) + "=");
    for (std::size_t i = environment.size(); i > 1; --i)
      std::swap(environment[i - 1], environment[Below(i)]);
    environment.insert(
        environment.begin() + static_cast<std::ptrdiff_t>(Below(environment.size() + 1)),
        "LC_ALL=C.UTF-8");
  }

  void MakeArguments() {
    Strings& arguments = case_.arguments;
    const auto add = [&](const Strings& words) {
      arguments.insert(arguments.end(), words.begin(), words.end());
    };
    const bool late_root = Chance(10);
    const std::string root = Chance(75)
                                 ? case_.base + "/root"
                                 : Pick(Strings{"root", "root/", case_.base + "/root/", "./root"});
    if (Chance(10))
      case_.environment.push_back("ZORROOT=" + root);
    else if (!late_root)
      add({"-r", root});
    if (Chance(20)) add({Pick(Strings{"-u", "-undo"})});
    if (Chance(8)) add({"--ignore-missing"});
    if (Chance(4)) add({"--and"});
    const std::size_t count = 1 + Below(4);
    for (std::size_t i = 0; i < count; ++i) {
      if (i != 0 && Chance(30)) add({Pick(Strings{"--and", "-A"})});
      AddProduct(arguments);
    }
    if (Trouble(8)) add({"--ignore-missing"});
    if (Trouble(1)) add({"-p", "C", "1.0", "1", "x"});
    if (Trouble(1)) add({Pick(Strings{"--proc", "-P"}), Pick(Strings{"--user", "-S"})});
    if (Trouble(1)) add({Pick(Strings{"x", "--sys", "-", "-q", "", "-v", "-r"})});
    if (late_root) add({"-r", root});
    const std::size_t mode = Below(40);
    if (mode < 22)
      add({"--sh"});
    else if (mode < 26)
      add({"--csh"});
    else if (mode < 30)
      add({"--bat"});
    else if (mode < 34)
      add({"--posh"});
    else if (mode == 34)
      add({Pick(Strings{"--proc", "--system", "--user"})});
    else if (mode == 35)
      add({"--sh", Pick(Strings{"--proc", "--system", "--csh", "--exec"})});
    else if (mode < 38)
      Execute(arguments);
  }

  void Execute(Strings& arguments) {
    arguments.push_back(Chance(80) ? "--exec" : "-X");
    const std::string program = Pick(Strings{"/usr/bin/env", "/usr/bin/env", "/usr/bin/env",
                                             "/bin/false", "/none/such", "/bin/echo"});
    arguments.push_back(program);
    if (program == "/bin/echo")
      for (std::size_t i = Below(4); i < 3; ++i)
        arguments.push_back(Pick(Strings{"--sh", "x y", "", "it's"}));
  }

  void AddProduct(Strings& arguments) {
    const Strings& place = Pick(places_);
    std::string category = place[0];
    for (char& c : category)
      if (c == '/' && Chance(50)) c = Chance(50) ? ':' : '\\';
    arguments.push_back("-p");
    arguments.push_back(Trouble(3) ? "Nowhere" : category);
    const std::size_t depth = Below(10);
    // Without a name only the contents are found.
    if (place[1] != "Contents" || Chance(50)) arguments.push_back(Trouble(2) ? "None" : place[1]);
    if (depth > 4) {
      arguments.push_back(Chance(80) ? place[2] : "+");
      if (depth > 6) arguments.push_back(Trouble(4) ? "77" : Chance(70) ? place[3] : "+");
    }
    if (Chance(10)) {
      const Variable condition = Condition();
      arguments.push_back("-v");
      arguments.push_back(condition.name.value_or("extra"));
      arguments.push_back(condition.value.value_or("*"));
    }
  }

  std::mt19937_64 random_;
  Case case_;
  int trouble_ = 0;
  bool conflicts_ = false, overrule_ = false, big_ = false, huge_ = false, default_place_ = false;
  Strings names_, elements_, old_;
  Maybe separator_;
  std::vector<Strings> places_;
};

}  // namespace

Case Generate(unsigned long long seed, const std::string& base) {
  return Generator(seed, base).Make();
}

}  // namespace model
