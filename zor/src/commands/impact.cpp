// zor impact: which products, sets and saved requests include a product, or a file of one.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <tuple>

#include "catalogue.h"
#include "commands/command.h"
#include "error.h"
#include "files.h"
#include "graph.h"
#include "lock.h"
#include "render/json.h"

namespace zor {

namespace {

namespace fs = std::filesystem;

std::size_t at(int index) {
  return static_cast<std::size_t>(index);
}

// ---- What is asked about ----

// A product, of which version and revision may be left open, or a file.
struct Target {
  ProductName product;  // with empty fields for what is open
  std::string file;     // its real path, if it is one

  bool names(const ProductName& other) const {
    const auto fits = [](const std::string& mine, const std::string& theirs) {
      return mine.empty() || mine == theirs;
    };
    return product.category == other.category && product.name == other.name &&
           fits(product.version, other.version) && fits(product.rev, other.rev);
  }
};

std::string real_path(const std::string& path) {
  std::error_code error;
  const fs::path real = fs::weakly_canonical(path, error);
  return error ? path : real.string();
}

// The product in whose directory a file lies, with empty fields if it lies in none.
ProductName owner_of(const std::string& file, const std::string& root) {
  const std::string above = real_path(root) + '/';
  if (!file.starts_with(above)) return {};
  const std::vector<std::string> elements = path_elements(file.substr(above.size()));
  std::string path;
  for (std::size_t i = 0; i + 1 < elements.size(); ++i) {
    path += (i == 0 ? "" : "/") + elements[i];
    if (i < 3 || access((above + path + "/product.xml").c_str(), F_OK) != 0) continue;
    std::string category = elements[0];
    for (std::size_t j = 1; j + 3 <= i; ++j)
      category += '/' + elements[j];
    return {category, elements[i - 2], elements[i - 1], elements[i]};
  }
  return {};
}

bool is_file(const std::string& path) {
  struct stat info = {};
  return stat(path.c_str(), &info) == 0 && !S_ISDIR(info.st_mode);
}

Target target_of(const std::string& word, const Request& request) {
  Target target;
  for (const std::string& path : {word, request.root + '/' + word}) {
    if (!is_file(path)) continue;
    target.file = real_path(path);
    // A link belongs to the product in whose directory it lies, wherever it leads.
    const fs::path given(path);
    const fs::path directory = given.has_parent_path() ? given.parent_path() : ".";
    target.product =
        owner_of(real_path(directory.string()) + '/' + given.filename().string(), request.root);
    return target;
  }
  // A default version of the settings says nothing about what includes a product.
  Config config = *request.config;
  config.versions.clear();
  const Query query = read_word(word, request.root, config);
  if (!query.conditions.empty())
    misuse("{}: a product counts with all its varieties, so conditions have no place here", word);
  target.product = query.product;
  return target;
}

// ---- What includes it ----

struct Step {
  ProductName product;
  Location place;  // where the product before it names it; without a file for the first one
};

// From what is affected to what was asked about. A product that only names the file is one of its
// own.
using Chain = std::vector<Step>;

struct Affected {
  std::string name;  // of a set or of what was saved; empty for a product
  Chain chain;
};

struct Impact {
  std::vector<Affected> products;
  std::vector<Affected> sets;  // of the settings, and the default requests under no name
  std::vector<Affected> saved;
};

// Whether the member is what was asked about, or names the file.
bool is_target(const Member& member, const Target& target) {
  if (!target.product.category.empty() && target.names(member.product)) return true;
  if (target.file.empty()) return false;
  const std::string last = target.file.substr(target.file.rfind('/') + 1);
  return std::any_of(member.files.begin(), member.files.end(), [&](const std::string& file) {
    return file.ends_with(last) && real_path(file) == target.file;
  });
}

// For each member the part by which it comes nearest to the target: itself if it is one, no
// inclusion at all if it never gets there.
class Ways {
 public:
  Ways(const Inclusions& all, const Target& target)
      : all_(all), next_(all.members.size(), kNowhere) {
    std::vector<std::vector<int>> into(all.members.size());
    for (std::size_t i = 0; i < all.parts.size(); ++i)
      into[at(all.parts[i].to)].push_back(static_cast<int>(i));
    std::deque<int> waiting;
    for (std::size_t i = 0; i < all.members.size(); ++i)
      if (is_target(all.members[i], target)) {
        next_[i] = kHere;
        waiting.push_back(static_cast<int>(i));
      }
    for (; !waiting.empty(); waiting.pop_front())
      for (const int part : into[at(waiting.front())]) {
        const int from = all.parts[at(part)].from;
        if (next_[at(from)] != kNowhere) continue;
        next_[at(from)] = part;
        waiting.push_back(from);
      }
  }

  bool leads(int member) const { return next_[at(member)] != kNowhere; }

  Chain chain_from(int member) const {
    Chain chain = {{all_.members[at(member)].product, {}}};
    while (next_[at(member)] != kHere) {
      const Inclusion& part = all_.parts[at(next_[at(member)])];
      member = part.to;
      chain.push_back({all_.members[at(member)].product, part.place});
    }
    return chain;
  }

 private:
  static constexpr int kNowhere = -1;
  static constexpr int kHere = -2;

  const Inclusions& all_;
  std::vector<int> next_;  // the index of a part, or one of these
};

// The shortest chain of each product, in the order of the warehouse. What is itself asked about
// counts only where it is a file of it.
std::vector<Affected> affected_products(const Inclusions& all, const Target& target) {
  const Ways ways(all, target);
  std::map<ProductName, Chain> shortest;
  std::vector<ProductName> order;
  for (std::size_t i = 0; i < all.members.size(); ++i) {
    const int member = static_cast<int>(i);
    const Member& from = all.members[i];
    if (from.missing || !ways.leads(member)) continue;
    Chain chain = ways.chain_from(member);
    if (chain.size() == 1 && target.file.empty()) continue;
    Chain& known = shortest[from.product];
    if (known.empty()) order.push_back(from.product);
    if (known.empty() || chain.size() < known.size()) known = std::move(chain);
  }
  std::sort(order.begin(), order.end(), [](const ProductName& a, const ProductName& b) {
    const auto name = [](const ProductName& product) {
      return std::tie(product.category, product.name);
    };
    if (name(a) != name(b)) return name(a) < name(b);
    const int by_version = compare_versions(a.version, b.version);
    return by_version != 0 ? by_version < 0 : compare_versions(a.rev, b.rev) < 0;
  });
  std::vector<Affected> affected;
  affected.reserve(order.size());
  for (const ProductName& product : order)
    affected.push_back({"", shortest[product]});
  return affected;
}

// The shortest way from what a request names to a target; empty if there is none.
Chain chain_in(const Graph& graph, const std::function<bool(const ProductName&)>& is_wanted) {
  std::vector<std::vector<const Edge*>> edges(graph.nodes.size());
  for (const Edge& edge : graph.edges)
    edges[at(edge.from)].push_back(&edge);
  std::vector<const Edge*> came_by(graph.nodes.size());
  std::vector<bool> seen(graph.nodes.size());
  std::deque<int> waiting;
  for (std::size_t i = 0; i < graph.nodes.size(); ++i)
    if (graph.nodes[i].named) {
      seen[i] = true;
      waiting.push_back(static_cast<int>(i));
    }
  for (; !waiting.empty(); waiting.pop_front()) {
    const int node = waiting.front();
    if (!is_wanted(graph.nodes[at(node)].product)) {
      for (const Edge* edge : edges[at(node)])
        if (!seen[at(edge->to)]) {
          seen[at(edge->to)] = true;
          came_by[at(edge->to)] = edge;
          waiting.push_back(edge->to);
        }
      continue;
    }
    Chain chain;
    for (int i = node;; i = came_by[at(i)]->from) {
      const Edge* edge = came_by[at(i)];
      chain.insert(chain.begin(), {graph.nodes[at(i)].product, edge ? edge->place : Location()});
      if (!edge) return chain;
    }
  }
  return {};
}

// ---- Sets and saved requests ----

class Requests {
 public:
  Requests(const Request& request, const Target& target, const Impact& impact, Context* context)
      : request_(request), context_(*context) {
    wanted_ = [&target, files = files_owners(impact)](const ProductName& product) {
      return (!target.product.category.empty() && target.names(product)) || files.contains(product);
    };
  }

  std::vector<Affected> sets() {
    std::vector<Affected> affected;
    std::map<std::string, std::vector<std::string>> all = request_.config->sets;
    all.emplace("", request_.config->defaults);
    for (const auto& [name, words] : all) {
      const std::string title = name.empty() ? "the default requests" : '@' + name;
      add(
          name, title, [&, &words = words] { return question_of(words); }, &affected);
    }
    return affected;
  }

  std::vector<Affected> saved() {
    std::vector<Affected> affected;
    if (user_directory(context_.environment).empty()) return affected;
    for (const std::string& name : saved_names(context_.environment)) {
      const std::string path = saved_path(name, context_.environment);
      add(
          name, fmt::format("@{}, saved", name),
          [&] { return question_of(read_lock(content_of(path), path)); }, &affected);
    }
    return affected;
  }

 private:
  // Products that name the file, though it is not theirs.
  static std::set<ProductName> files_owners(const Impact& impact) {
    std::set<ProductName> owners;
    for (const Affected& affected : impact.products)
      if (affected.chain.size() == 1) owners.insert(affected.chain[0].product);
    return owners;
  }

  Question question_of(const std::vector<std::string>& words) const {
    Question question;
    question.root = request_.root;
    question.groups.emplace_back();
    for (const std::string& word : words) {
      // Among the default requests there may be a set.
      const auto set = request_.config->sets.find(word.starts_with('@') ? word.substr(1) : "");
      const bool is_set = set != request_.config->sets.end();
      for (const std::string& each : is_set ? set->second : std::vector{word})
        if (!each.starts_with('@'))
          question.groups[0].push_back(read_word(each, request_.root, *request_.config));
    }
    return question;
  }

  // One that was saved from another warehouse asks for nothing here.
  Question question_of(const Lock& lock) const {
    Question question;
    if (absolute_root(lock.root) != absolute_root(request_.root)) return question;
    question.root = request_.root;
    question.platform = lock.platform;
    question.undo = lock.undo;
    for (const auto& group : lock.groups) {
      question.groups.emplace_back();
      for (const LockedProduct& product : group)
        question.groups.back().push_back(product.query);
    }
    return question;
  }

  void add(const std::string& name, const std::string& title,
           const std::function<Question()>& question_of_it, std::vector<Affected>* affected) {
    try {
      const Question question = question_of_it();
      if (question.groups.empty()) return;
      const Graph graph = graph_of(question, context_.environment);
      for (const Fault& fault : graph.answer.faults)
        context_.notes += fmt::format("zor: {}: {}\n", title, fault.text);
      Chain chain = chain_in(graph, wanted_);
      if (!chain.empty()) affected->push_back({name, std::move(chain)});
    } catch (const Error& error) {
      context_.notes += fmt::format("zor: {}: {}\n", title, error.what());
    }
  }

  const Request& request_;
  Context& context_;
  std::function<bool(const ProductName&)> wanted_;
};

// ---- Output ----

std::string shown(const Location& place, const std::string& root) {
  const std::string above = root + '/';
  const std::string file =
      place.file.starts_with(above) ? place.file.substr(above.size()) : place.file;
  return fmt::format("{}:{}:{}", file, place.line, place.column);
}

// What stands behind the first product of a chain.
std::string shown(const Chain& chain, std::size_t from, const std::string& root) {
  std::string text;
  for (std::size_t i = from; i < chain.size(); ++i) {
    text += (i == from ? "" : ", ") + chain[i].product.path();
    if (!chain[i].place.file.empty()) text += fmt::format(" (at {})", shown(chain[i].place, root));
  }
  return text;
}

std::string text_of(const Impact& impact, const std::string& root) {
  std::string text;
  for (const Affected& affected : impact.products) {
    text += affected.chain[0].product.path();
    if (affected.chain.size() > 1) text += " includes " + shown(affected.chain, 1, root);
    text += '\n';
  }
  for (const Affected& affected : impact.sets)
    text += (affected.name.empty() ? "the default requests lead to "
                                   : '@' + affected.name + " leads to ") +
            shown(affected.chain, 0, root) + '\n';
  for (const Affected& affected : impact.saved)
    text += fmt::format("@{}, saved, leads to {}\n", affected.name, shown(affected.chain, 0, root));
  return text;
}

Json json_of(const Chain& chain) {
  Json steps = Json::array();
  for (const Step& step : chain) {
    const bool placed = !step.place.file.empty();
    steps.push_back({{"product", json_product(step.product)},
                     {"file", placed ? json_text(step.place.file) : Json(nullptr)},
                     {"line", placed ? Json(step.place.line) : Json(nullptr)},
                     {"column", placed ? Json(step.place.column) : Json(nullptr)}});
  }
  return steps;
}

Json json_of(const std::vector<Affected>& all, bool named) {
  Json list = Json::array();
  for (const Affected& affected : all) {
    Json one;
    if (named) one["name"] = json_text(affected.name);
    one["chain"] = json_of(affected.chain);
    list.push_back(std::move(one));
  }
  return list;
}

Json document_of(const Impact& impact, const Inclusions& all, const std::string& root) {
  Json remarks = Json::array();
  for (const CatalogueRemark& remark : all.remarks)
    remarks.push_back({{"path", json_text(remark.path)}, {"text", json_text(remark.text)}});
  return {{"version", 1},
          {"root", json_text(root)},
          {"products", json_of(impact.products, false)},
          {"sets", json_of(impact.sets, true)},
          {"saved", json_of(impact.saved, true)},
          {"remarks", remarks}};
}

// All revisions of all products.
std::vector<ProductName> all_products(const Catalogue& catalogue) {
  std::vector<ProductName> names;
  for (const CatalogueProduct& product : catalogue.products)
    for (const CatalogueVersion& version : product.versions)
      for (const std::string& rev : version.revs)
        names.push_back({product.category, product.name, version.version, rev});
  return names;
}

// The one word, or the one product of the form that zorenv takes.
Target take_target(const std::string& word, Request* request) {
  if (!word.empty()) return target_of(word, *request);
  if (request->groups.size() != 1 || request->groups[0].size() != 1)
    misuse("say which product or file, and only one, as in: zor impact libs/graphics/fibre");
  Target target;
  target.product = request->groups[0][0].query.product;
  return target;
}

// Takes the first word that is no option and no value of one out of the line; empty if there is
// none, or if the product is named as on a line of zorenv.
std::string take_word(std::vector<std::string>* words) {
  if (std::find(words->begin(), words->end(), "-p") != words->end()) return {};
  for (auto word = words->begin(); word != words->end(); ++word) {
    if (*word == "-r" || *word == "--root") {
      if (++word == words->end()) break;
    } else if (!word->starts_with('-')) {
      std::string taken = *word;
      words->erase(word);
      return taken;
    }
  }
  return {};
}

}  // namespace

int run_impact(Context* context) {
  CommandLine line("impact",
                   "Tell which products, in any version, include a product, directly or through "
                   "others, and which sets and saved requests lead to it. Of a file, its product "
                   "counts, and each that names it as a part.",
                   "zor impact libs/graphics/fibre");
  bool json = false;
  line.flag("--json", &json, "as JSON");
  // A word may be a file, so it is not for the request to read.
  const std::string word = take_word(&context->words);
  Request request = line.parse_request(*context);
  if (!word.empty() && !request.empty())
    misuse("say which product or file, and only one, as in: zor impact libs/graphics/fibre");
  if (request.root.empty()) request.root = ".";
  Target target = take_target(word, &request);
  for (std::string* field : {&target.product.version, &target.product.rev})
    if (*field == "+") field->clear();

  Catalogue catalogue = read_catalogue(request.root);
  Inclusions all = read_inclusions(request.root, all_products(catalogue), !target.file.empty());
  all.remarks.insert(all.remarks.begin(), catalogue.remarks.begin(), catalogue.remarks.end());
  Impact impact;
  impact.products = affected_products(all, target);
  Requests requests(request, target, impact, context);
  impact.sets = requests.sets();
  impact.saved = requests.saved();
  for (const CatalogueRemark& remark : all.remarks)
    context->notes += fmt::format("zor: {}: {}\n", remark.path, remark.text);
  const std::string root = absolute_root(request.root);
  context->out += json ? printed(document_of(impact, all, root)) : text_of(impact, root);
  context->keeps_out = true;
  if (!impact.products.empty() || !impact.sets.empty() || !impact.saved.empty()) return kDone;
  if (!json) context->notes += "zor: nothing includes it\n";
  return kNotDone;
}

}  // namespace zor
