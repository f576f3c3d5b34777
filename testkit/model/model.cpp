// The driver and the script.
#include "model.h"

#include "computation.h"
#include "usage.h"

namespace model {

struct Computation::Options {
  std::string root;
  std::vector<std::vector<Query>> groups = {{}};
  bool named_a_product = false;
  bool system = false, user = false, process = false;
  bool bat = false, sh = false, csh = false, posh = false, execute = false;
  bool set = true, ignore_missing = false;
  std::string program;
  std::vector<std::string> program_arguments;
};

Answer Compute(const Case& run) {
  return Computation(run).Compute();
}

Answer Computation::Compute() {
  for (const Product& product : run_.products)
    on_disk_[product.directory] = &product;
  process_ = run_.environment;
  try {
    Drive();
  } catch (const Endless&) {
    answer_.endless = true;
    answer_.out.clear();
  } catch (const Exhausted&) {
    answer_.out += "\nzorenv: frameWork error - Run out of memory\n";
    answer_.status = 1;
  }
  return answer_;
}

Maybe Computation::GetEnv(const std::string& name) const {
  for (const std::string& variable : process_)
    if (variable.starts_with(name + "=")) return variable.substr(name.size() + 1);
  return std::nullopt;
}

// A byte of a name that is no ASCII counts as a character of its own.
Environment Computation::ProcessEnvironment() const {
  Environment environment(50);
  for (const std::string& variable : process_) {
    const std::size_t equals = variable.find('=');
    std::string name;
    for (const char c : variable.substr(0, equals)) {
      const auto byte = static_cast<unsigned char>(c);
      if (byte < 0x80) {
        name += c;
      } else {
        name += static_cast<char>(0xc0 | byte >> 6);
        name += static_cast<char>(0x80 | (byte & 0x3f));
      }
    }
    environment.Add(name, equals == std::string::npos ? "" : variable.substr(equals + 1));
  }
  return environment;
}

void Computation::ReportError(Error& err) {
  if (!err) return;
  answer_.err += "*** " + err.text + "\n";
  ++reported_;
}

void Computation::ReportExceptMissing(Error& err) {
  if (err.missing) {
    err.Clear();
  } else {
    ReportError(err);
    ++errors_;
  }
}

// ---- The command line ----

Computation::Road Computation::ReadProduct(Options& options, std::size_t& at) {
  const std::vector<std::string>& words = run_.arguments;
  if (at + 1 >= words.size()) return Road::kUsage;
  const auto word = [&](std::size_t n) { return words[at + n]; };
  const auto free = [&](std::size_t n) {
    return at + n < words.size() && !words[at + n].starts_with("-");
  };
  const auto is_version = [](const std::string& text) {
    return text == "+" || (!text.empty() && text[0] >= '0' && text[0] <= '9');
  };
  ProductName name{word(1), "+", "+", "+"};
  if (free(2) && free(3) && free(4)) {
    if (is_version(word(2))) {
      name.version = word(2);
      name.rev = word(3);
      at += 4;
    } else {
      name.name = word(2);
      name.version = word(3);
      name.rev = word(4);
      at += 5;
    }
  } else {
    if (free(2) && free(3)) {
      name.name = word(2);
      name.version = word(3);
      at += 4;
    } else if (free(2)) {
      name.name = word(2);
      at += 3;
    } else {
      at += 2;
    }
    if (is_version(name.name)) {
      name.rev = name.version;
      name.version = name.name;
      name.name = "+";
    }
  }
  if (name.name == "+") name.name = "Contents";
  for (char& c : name.category)
    if (c == '\\' || c == ':') c = '/';
  options.groups.back().push_back({name, {{}}, false});
  options.named_a_product = true;
  return Road::kGoOn;
}

Computation::Road Computation::ReadOptions(Options& options) {
  const std::vector<std::string>& words = run_.arguments;
  std::size_t at = 0;
  // Where -v puts its condition: a group that is filled later does not change it.
  std::size_t group = 0, query = 0;
  while (!options.execute && at < words.size() && words[at].starts_with("-")) {
    const std::string& word = words[at];
    switch (word.size() > 1 ? word[1] : '\0') {
      case 'p':
        if (ReadProduct(options, at) == Road::kUsage) return Road::kUsage;
        group = options.groups.size() - 1;
        query = options.groups.back().size() - 1;
        continue;
      case 'v':
        if (at + 2 >= words.size() || !options.named_a_product) return Road::kUsage;
        options.groups[group][query].pattern[0].push_back({words[at + 1], words[at + 2]});
        at += 3;
        continue;
      case 'r':
        if (at + 1 >= words.size()) return Road::kUsage;
        options.root = words[at + 1];
        at += 2;
        continue;
      case 'u':
        options.set = false;
        break;
      case 'T':
        break;
      case 'A':
        options.groups.emplace_back();
        break;
      case 'i':
        options.ignore_missing = true;
        break;
      case 'X':
        options.execute = true;
        break;
      case 'S':
        options.system = true;
        break;
      case 'U':
        options.user = true;
        break;
      case 'P':
        options.process = true;
        break;
      case '-':
        if (word == "--and")
          options.groups.emplace_back();
        else if (word == "--ignore-missing")
          options.ignore_missing = true;
        else if (word == "--exec")
          options.execute = true;
        else if (word == "--system")
          options.system = true;
        else if (word == "--user")
          options.user = true;
        else if (word == "--proc")
          options.process = true;
        else if (word == "--bat")
          options.bat = true;
        else if (word == "--sh")
          options.sh = true;
        else if (word == "--csh")
          options.csh = true;
        else if (word == "--posh")
          options.posh = true;
        else
          return Road::kUsage;
        break;
      default:
        return Road::kUsage;
    }
    ++at;
    if (options.execute) {
      if (at >= words.size()) return Road::kUsage;
      options.program = words[at++];
      options.program_arguments.assign(words.begin() + static_cast<std::ptrdiff_t>(at),
                                       words.end());
      at = words.size();
    }
  }
  if (at < words.size() || !options.named_a_product) return Road::kUsage;
  return Road::kGoOn;
}

// ---- The road of a run ----

void Computation::Drive() {
  Options options;
  options.root = GetEnv("ZORROOT").value_or(run_.base + "/");
  if (ReadOptions(options) == Road::kUsage) {
    answer_.out = ::Usage("zorenv");
    answer_.status = 1;
    return;
  }
  const int output = options.bat + options.sh + options.csh + options.posh + options.execute;
  const int in_and_out = options.system + options.user;
  if (output >= 2) {
    answer_.out = "only one of --bat, --sh, --csh, --posh, --exec is allowed\n";
    answer_.status = 1;
    return;
  }
  if (output == 0 && in_and_out == 0) options.posh = true;
  if (options.process + in_and_out >= 2) {
    answer_.out = "only one of --proc, --user, --sys is allowed\n";
    answer_.status = 1;
    return;
  }
  // The process's environment is the only one that there is.
  const Environment old_env = ProcessEnvironment();

  root_ = options.root.starts_with("/") ? options.root : run_.base + "/" + options.root;
  if (root_.size() > 1 && root_.ends_with("/")) root_.pop_back();

  const Report report_error = [this](Error& err) { ReportError(err); };
  const Report except_missing = [this](Error& err) { ReportExceptMissing(err); };

  Error err;
  answer_.status = 1;
  for (std::vector<Query>& group : options.groups) {
    for (Query& query : group) {
      query.optional = options.ignore_missing;
      FindLatest(err, query.name);
      if (!err) continue;
      if (options.ignore_missing) {
        ReportExceptMissing(err);
      } else {
        ReportError(err);
        ++errors_;
      }
    }
  }
  if (errors_ != 0) return;

  std::vector<std::vector<Spec>> specs;
  for (const std::vector<Query>& group : options.groups) {
    specs.emplace_back();
    for (const Query& query : group)
      if (auto spec = RunHostQuery(err, query, report_error)) specs.back().push_back(*spec);
  }
  if (reported_ != 0) return;

  Environment new_env(50);
  for (const std::string& name : old_env.Keys())
    new_env.Add(name, *old_env.Find(name));
  for (const std::vector<Spec>& group : specs)
    Legacy(new_env, group, options.set);
  for (const std::vector<Spec>& group : specs)
    new_env = Apply(new_env, group, options.set);
  if (reported_ != 0) return;

  Emit(options, old_env, new_env);
  answer_.status = errors_ != 0 || reported_ != 0 ? 1 : 0;
}

void Computation::Emit(const Options& options, const Environment& old_env,
                       const Environment& new_env) {
  if (!options.bat && !options.sh && !options.csh && !options.posh) {
    if (options.execute) Execute(options, new_env);
    return;
  }
  std::string& out = answer_.out;
  if (!options.bat && !options.sh && !options.csh)
    out +=
        "test $?shell = 1 && set setcmd=setenv && set eq=' ' && set unsetcmd=unsetenv;\n"
        "test $?shell != 1 && setcmd=eval && eq== && unsetcmd=unset;\n";
  for (const std::string& name : new_env.Keys()) {
    const std::string& value = *new_env.Find(name);
    const std::string* old = old_env.Find(name);
    if (old != nullptr && *old == value) continue;
    if (options.bat)
      out += "set " + name + "=" + value + "\n";
    else if (options.sh)
      out += name + "='" + value + "'; export " + name + "\n";
    else if (options.csh)
      out += "setenv " + name + " '" + value + "' ;\n";
    else
      out +=
          "$setcmd " + name + "$eq'" + value + "' ;\ntest $?shell != 1 && export " + name + " ;\n";
  }
  for (const std::string& name : old_env.Keys()) {
    if (new_env.Find(name) != nullptr) continue;
    if (options.bat)
      out += "set " + name + "=\n";
    else if (options.sh)
      out += "unset " + name + " ;\n";
    else if (options.csh)
      out += "unsetenv " + name + " ;\n";
    else
      out += "$unsetcmd " + name + " ;\n";
  }
}

void Computation::SetProcess(const Environment& new_env) {
  const Environment old_env = ProcessEnvironment();
  for (const std::string& name : old_env.Keys())
    if (new_env.Find(name) == nullptr && !name.empty())
      std::erase_if(process_, [&](const std::string& s) { return s.starts_with(name + "="); });
  for (const std::string& name : new_env.Keys()) {
    const std::string& value = *new_env.Find(name);
    const std::string* old = old_env.Find(name);
    if (old != nullptr && *old == value) continue;
    const std::string text = name + "=" + value;
    bool replaced = false;
    for (std::string& s : process_)
      if (!replaced && s.starts_with(name + "=")) {
        s = text;
        replaced = true;
      }
    if (!replaced) process_.push_back(text);
  }
}

// The programs that a case may run: those that print their environment and their arguments, one
// that fails and one that isn't there.
void Computation::Execute(const Options& options, const Environment& new_env) {
  SetProcess(new_env);
  if (options.program == "/usr/bin/env") {
    for (const std::string& variable : process_)
      answer_.out += variable + "\n";
    return;
  }
  if (options.program == "/bin/echo") {
    for (std::size_t i = 0; i < options.program_arguments.size(); ++i)
      answer_.out += (i == 0 ? "" : " ") + options.program_arguments[i];
    answer_.out += "\n";
    return;
  }
  Error err{"Error: Error status 1 from Command " + options.program};
  ReportError(err);
}

}  // namespace model
