// Parts and what they lead to, by the queries of the warehouse floor.
#include "graph.h"

#include <algorithm>
#include <deque>
#include <map>
#include <set>

#include "warehouse_parts_private.h"

namespace zor {

namespace {

// ---- The graph of a request ----

class GraphMaker {
 public:
  GraphMaker(Graph* graph, WH_INDEX* index) : graph_(*graph), index_(index) {}

  void start_group(int group) {
    group_ = group;
    numbers_.clear();
    visited_.clear();
  }

  void add_named(const WH_PRODUCT_SPEC* spec) {
    const int number = enter(name_of(spec->product->prodinfo->prodname), Presence::kThere);
    graph_.nodes[static_cast<std::size_t>(number)].named = true;
    take(number, spec);
  }
  // One that the user named, unless it has been added.
  void add_absent(WH_PRODUCT_NAME* name) {
    if (numbers_.contains(name_of(name))) return;
    FwErrorState err;
    const bool faulty = !index_fetch(&err, index_, name, 0) && !is_ErrorNonExistent(&err);
    FwErrorClear(&err);
    const Presence presence = faulty ? Presence::kUnreadable : Presence::kMissing;
    graph_.nodes[static_cast<std::size_t>(enter(name_of(name), presence))].named = true;
  }

  // Follows the parts of all that has been added.
  void follow() {
    for (; !waiting_.empty(); waiting_.pop_front()) {
      const auto [number, product, variety] = waiting_.front();
      go_through_parts(
          index_, product, variety,
          [&, from = number, owner = product](const FoundPart& found) {
            const int to = enter(found.product, found.presence);
            const Edge edge = {from, to, place_of(owner, found.part->place),
                               found.part->u.product->optional != 0};
            // Two varieties of one product may share a part.
            if (std::find(graph_.edges.begin(), graph_.edges.end(), edge) == graph_.edges.end())
              graph_.edges.push_back(edge);
            if (found.spec) take(to, found.spec);
          },
          [](const std::string&) {});
    }
  }

 private:
  struct Visit {
    int number;
    WH_PRODUCT* product;
    WH_VARIETY* variety;
  };

  int enter(const ProductName& product, Presence presence) {
    const auto [at, is_new] = numbers_.try_emplace(product, static_cast<int>(graph_.nodes.size()));
    if (is_new) graph_.nodes.push_back({product, {}, presence, group_, false});
    return at->second;
  }

  // The varieties that a query gave count as chosen, and their parts are followed.
  void take(int number, const WH_PRODUCT_SPEC* spec) {
    std::vector<Variety>& known = graph_.nodes[static_cast<std::size_t>(number)].varieties;
    const std::vector<Variety> varieties = choice_of(spec).varieties;
    if (known.empty()) known = varieties;
    for (std::size_t i = 0; i < varieties.size(); ++i)
      known[i].chosen = known[i].chosen || varieties[i].chosen;
    for (WH_VARIETY* variety : elements<WH_VARIETY>(spec->varieties->seq))
      if (visited_.insert(variety).second) waiting_.push_back({number, spec->product, variety});
  }

  Graph& graph_;
  WH_INDEX* index_;
  int group_ = 0;
  std::map<ProductName, int> numbers_;  // of this group
  std::set<WH_VARIETY*> visited_;       // in this group
  std::deque<Visit> waiting_;
};

// ---- A whole warehouse ----

class InclusionReader {
 public:
  InclusionReader(Inclusions* all, WH_INDEX* index, bool with_files)
      : all_(*all), index_(index), with_files_(with_files) {}

  void read(const ProductName& name) {
    FwErrorState err;
    WH_PRODUCT_NAME* key = make_name(name);
    WH_PRODUCT* product = index_fetch(&err, index_, key, 0);
    free_prodname(&key);
    if (!product) {
      note_unreadable(name, &err);
      return;
    }
    for (WH_VARIETY* variety : elements<WH_VARIETY>(product->prodinfo->varieties->seq))
      read(name, product, variety);
  }

 private:
  void note_unreadable(const ProductName& name, FwErrorState* err) {
    std::vector<Fault> faults;
    {
      const Collecting collecting(&faults);
      collect_error(err);
    }
    all_.remarks.push_back({name.path(), faults.empty() ? "can't be read" : faults[0].text});
    FwErrorClear(err);
  }

  void read(const ProductName& name, WH_PRODUCT* product, WH_VARIETY* variety) {
    const int from = member(variety, name);
    const std::string directory = string_of(index_->base) + '/' + name.path() + '/';
    std::vector<Fault> faults;
    const Collecting collecting(&faults);
    go_through_parts(
        index_, product, variety,
        [&](const FoundPart& found) {
          const Location place = place_of(product, found.part->place);
          const auto taken = found.spec ? elements<WH_VARIETY>(found.spec->varieties->seq)
                                        : std::vector<WH_VARIETY*>();
          for (WH_VARIETY* each : taken)
            all_.parts.push_back({from, member(each, found.product), place});
          if (taken.empty())
            all_.parts.push_back(
                {from, bare(found.product, found.presence == Presence::kMissing), place});
        },
        [&](const std::string& file) {
          if (with_files_ && !file.empty())
            all_.members[static_cast<std::size_t>(from)].files.push_back(
                file.starts_with('/') ? file : directory + file);
        });
    for (const Fault& fault : faults)
      all_.remarks.push_back({name.path(), fault.text});
  }

  int add(const ProductName& product, const std::string& variety, bool missing) {
    all_.members.push_back({product, variety, missing, {}});
    return static_cast<int>(all_.members.size()) - 1;
  }
  int member(const WH_VARIETY* variety, const ProductName& product) {
    const auto [at, is_new] = varieties_.try_emplace(variety, 0);
    if (is_new) at->second = add(product, string_of(variety->name), false);
    return at->second;
  }
  int bare(const ProductName& product, bool missing) {
    const auto [at, is_new] = bare_.try_emplace(product, 0);
    if (is_new) at->second = add(product, "", missing);
    return at->second;
  }

  Inclusions& all_;
  WH_INDEX* index_;
  bool with_files_;
  std::map<const WH_VARIETY*, int> varieties_;
  std::map<ProductName, int> bare_;
};

}  // namespace

const char* word_for(Presence presence) {
  return presence == Presence::kThere     ? "there"
         : presence == Presence::kMissing ? "missing"
                                          : "unreadable";
}

Graph graph_of(const Question& question, const Environment& base) {
  Graph graph;
  Question choices = question;
  choices.choices_only = true;
  Inside inside;
  inside.look = [&](WH_COMPUTATION* all) {
    GraphMaker maker(&graph, all->index);
    int group = 0;
    for (WH_PRODUCT_SPEC_LIST* list : elements<WH_PRODUCT_SPEC_LIST>(all->group_speclists)) {
      maker.start_group(group);
      for (const WH_PRODUCT_SPEC* spec : elements<WH_PRODUCT_SPEC>(list->specs))
        maker.add_named(spec);
      auto* queries = element<WH_PRODUCT_QUERY_LIST>(*all->group_querylists, group);
      for (const WH_PRODUCT_QUERY* query : elements<WH_PRODUCT_QUERY>(queries->queries))
        maker.add_absent(query->prodname);
      maker.follow();
      ++group;
    }
  };
  graph.answer = compute(choices, base, inside);
  graph.answer.done = graph.answer.done && graph.answer.faults.empty();
  return graph;
}

Inclusions read_inclusions(const std::string& root, const std::vector<ProductName>& products,
                           bool with_files) {
  Inclusions all;
  std::string base = absolute_root(root);
  WH_INDEX* index = index_open(text(base));
  index->parse_flags |= WH_XML_PF_PLACES;
  index->missing_is_silent = 1;
  InclusionReader reader(&all, index, with_files);
  for (const ProductName& product : products)
    reader.read(product);
  index_close(index);
  // A faulty product is met again as a part of others.
  std::vector<CatalogueRemark>& remarks = all.remarks;
  std::set<std::string> told;
  std::erase_if(remarks,
                [&](const CatalogueRemark& remark) { return !told.insert(remark.text).second; });
  return all;
}

}  // namespace zor
