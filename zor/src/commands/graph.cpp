// zor graph: the products of a request and what includes what, and the order of one variable's
// elements.
#include "graph.h"

#include <algorithm>
#include <set>

#include "commands/command.h"
#include "conflict.h"
#include "error.h"
#include "reasons.h"
#include "render/graph.h"
#include "render/json.h"

namespace zor {

namespace {

// ---- What both kinds share ----

std::size_t at(int index) {
  return static_cast<std::size_t>(index);
}

// A place as people read it: below the root, where it is so.
std::string shown(const Location& place, const std::string& root) {
  const std::string above = root + '/';
  const std::string file =
      place.file.starts_with(above) ? place.file.substr(above.size()) : place.file;
  return fmt::format("{}:{}:{}", file, place.line, place.column);
}

std::string group_label(int group) {
  return group == 0 ? "group 1" : fmt::format("group {}, overrides group {}", group + 1, group);
}

// The drawing in a format other than text and json.
std::string drawn(const Drawing& drawing, const std::string& format, const Context& context) {
  if (format == "dot") return as_dot(drawing);
  if (format == "mermaid") return as_mermaid(drawing);
  return as_svg(drawing, context.environment);
}

// ---- Products ----

std::string shown(const Variety& variety) {
  std::string text = variety.name;
  if (text.empty())
    for (const Binding& variable : variety.variables)
      text += (text.empty() ? "" : ", ") + variable.name + '=' + variable.value;
  if (!variety.complete) text += text.empty() ? "not here" : ", not here";
  return text;
}

// What is to be said of a product besides its name; empty for nothing.
std::string remark_on(const Node& node) {
  if (node.presence == Presence::kMissing) return "missing";
  if (node.presence == Presence::kUnreadable) return "can't be read";
  std::string text;
  bool any = false;
  for (const Variety& variety : node.varieties) {
    if (!variety.chosen) continue;
    any = true;
    const std::string one = shown(variety);
    if (!one.empty()) text += (text.empty() ? "" : "; ") + one;
  }
  return any ? text : "no variety fits";
}

// The edges that lead away from each node, in order.
std::vector<std::vector<const Edge*>> edges_by_node(const Graph& graph) {
  std::vector<std::vector<const Edge*>> edges(graph.nodes.size());
  for (const Edge& edge : graph.edges)
    edges[at(edge.from)].push_back(&edge);
  return edges;
}

// A tree, in which what is below a product is written out once. Two blanks a level.
std::string text_of(const Graph& graph) {
  const auto edges = edges_by_node(graph);
  const bool grouped = !graph.nodes.empty() && graph.nodes.back().group > 0;
  std::vector<bool> written(graph.nodes.size());
  std::string text;
  int group = -1;
  struct Line {
    int node;
    std::size_t depth;
    const Edge* edge;
  };
  for (std::size_t root = 0; root < graph.nodes.size(); ++root) {
    if (!graph.nodes[root].named) continue;
    if (grouped && graph.nodes[root].group != group)
      text += group_label(group = graph.nodes[root].group) + ":\n";
    std::vector<Line> stack = {{static_cast<int>(root), 0, nullptr}};
    while (!stack.empty()) {
      const Line line = stack.back();
      stack.pop_back();
      const Node& node = graph.nodes[at(line.node)];
      const std::string remark = remark_on(node);
      text += std::string(2 * (line.depth + (grouped ? 1 : 0)), ' ') + node.product.path();
      if (!remark.empty()) text += " [" + remark + ']';
      if (line.edge) {
        if (line.edge->optional) text += " (optional)";
        text += "  " + shown(line.edge->place, graph.answer.root);
      }
      const std::vector<const Edge*>& below = edges[at(line.node)];
      const bool again = written[at(line.node)] && !below.empty();
      text += again ? "  (see above)\n" : "\n";
      written[at(line.node)] = true;
      for (std::size_t i = again ? 0 : below.size(); i-- > 0;)
        stack.push_back({below[i]->to, line.depth + 1, below[i]});
    }
  }
  return text;
}

Drawing drawing_of(const Graph& graph) {
  Drawing drawing;
  drawing.title = "products";
  const bool grouped = !graph.nodes.empty() && graph.nodes.back().group > 0;
  std::vector<int> frames;  // the group of each
  for (const Node& node : graph.nodes) {
    if (grouped && (frames.empty() || frames.back() != node.group)) {
      frames.push_back(node.group);
      drawing.frames.push_back(fmt::format("group {}", node.group + 1));
    }
    Box box;
    box.lines = {node.product.category + '/' + node.product.name,
                 node.product.version + '/' + node.product.rev};
    const std::string remark = remark_on(node);
    if (!remark.empty()) box.lines.push_back('[' + remark + ']');
    box.frame = static_cast<int>(frames.size()) - 1;
    box.stroke = node.presence != Presence::kThere ? Stroke::kDashed
                 : node.named                      ? Stroke::kBold
                                                   : Stroke::kPlain;
    drawing.boxes.push_back(std::move(box));
  }
  for (const Edge& edge : graph.edges) {
    const std::string& file = edge.place.file;
    const std::string place =
        fmt::format("{}:{}", file.substr(file.rfind('/') + 1), edge.place.line);
    drawing.arrows.push_back(
        {edge.from, edge.to, edge.optional ? place + " (optional)" : place,
         graph.nodes[at(edge.to)].presence == Presence::kThere ? Stroke::kPlain : Stroke::kDashed});
  }
  for (int frame = 1; frame < static_cast<int>(frames.size()); ++frame)
    drawing.between_frames.push_back({frame, frame - 1, "overrides", Stroke::kDashed});
  return drawing;
}

Json json_of(const Node& node) {
  Json varieties = Json::array();
  for (const Variety& variety : node.varieties) {
    Json variables = Json::array();
    for (const Binding& variable : variety.variables)
      variables.push_back(
          {{"name", json_text(variable.name)}, {"value", json_text(variable.value)}});
    varieties.push_back({{"name", json_text(variety.name)},
                         {"variables", variables},
                         {"complete", variety.complete},
                         {"chosen", variety.chosen}});
  }
  return {{"product", json_product(node.product)},
          {"group", node.group + 1},
          {"named", node.named},
          {"presence", word_for(node.presence)},
          {"varieties", varieties}};
}

Json document_of(const Graph& graph) {
  Json nodes = Json::array();
  for (const Node& node : graph.nodes)
    nodes.push_back(json_of(node));
  Json edges = Json::array();
  for (const Edge& edge : graph.edges)
    edges.push_back({{"from", edge.from},
                     {"to", edge.to},
                     {"file", json_text(edge.place.file)},
                     {"line", edge.place.line},
                     {"column", edge.place.column},
                     {"optional", edge.optional}});
  return {
      {"version", 1}, {"root", json_text(graph.answer.root)}, {"nodes", nodes}, {"edges", edges}};
}

int print_products(const Request& request, const std::string& format, Context* context) {
  const Graph graph = graph_of(request.question(), context->environment);
  if (graph.nodes.empty()) throw Error(explained(request, context->environment, graph.answer));
  for (const std::string& line : silent_choices(request, graph.answer))
    context->notes += "zor: " + line + '\n';
  for (const Fault& fault : graph.answer.faults)
    context->notes += "zor: " + fault.text + '\n';
  context->out += format == "text"   ? text_of(graph)
                  : format == "json" ? printed(document_of(graph))
                                     : drawn(drawing_of(graph), format, *context);
  context->keeps_out = true;
  return graph.answer.done ? kDone : kNotDone;
}

// ---- The order of a variable's elements ----

// The constraints of a circle, as pairs of elements.
using Pairs = std::set<std::pair<std::string, std::string>>;

Pairs pairs_in_circles(const VariableReason& reason) {
  Pairs pairs;
  for (const auto& cycle : reason.cycles)
    for (const ConstraintReason& constraint : cycle)
      pairs.emplace(constraint.first, constraint.second);
  return pairs;
}

bool in_circle(const Pairs& pairs, const ConstraintReason& constraint) {
  return pairs.contains({constraint.first, constraint.second});
}

std::string place_of(const ConstraintReason& constraint, const Account& account) {
  return shown(account.operations[at(constraint.operation)].place, account.answer.root);
}

std::string text_of(const VariableReason& reason, const Account& account) {
  std::string text = reason.name;
  if (account.answer.groups.size() > 1) text += ", " + group_label(reason.group);
  text += ":\n";
  for (const ConstraintReason& constraint : reason.constraints)
    text += fmt::format("  {} before {}  {}\n", constraint.first, constraint.second,
                        place_of(constraint, account));
  if (reason.constraints.empty()) text += "  nothing orders its elements\n";
  for (const auto& cycle : reason.cycles) {
    text += "  a circle: ";
    for (const ConstraintReason& constraint : cycle)
      text += constraint.first + " before ";
    text += (cycle.empty() ? "" : cycle[0].first) + '\n';
  }
  return text;
}

// The elements that have a place in the new value or are ordered against others.
std::vector<std::string> ordered_elements(const VariableReason& reason) {
  std::set<std::string> named;
  for (const ConstraintReason& constraint : reason.constraints) {
    named.insert(constraint.first);
    named.insert(constraint.second);
  }
  std::vector<std::string> values;
  for (const ElementReason& element : reason.elements)
    if (element.position >= 0 || named.contains(element.value)) {
      values.push_back(element.value);
      named.erase(element.value);
    }
  values.insert(values.end(), named.begin(), named.end());
  return values;
}

void draw(const VariableReason& reason, const Account& account, Drawing* drawing) {
  const int frame = static_cast<int>(drawing->frames.size());
  drawing->frames.push_back(account.answer.groups.size() > 1 ? group_label(reason.group)
                                                             : reason.name);
  const std::size_t first = drawing->boxes.size();
  const std::vector<std::string> values = ordered_elements(reason);
  const Pairs circles = pairs_in_circles(reason);
  for (const std::string& value : values) {
    const bool circular = std::any_of(circles.begin(), circles.end(),
                                      [&](const auto& pair) { return pair.first == value; });
    drawing->boxes.push_back({{value}, frame, circular ? Stroke::kAlarm : Stroke::kPlain});
  }
  const auto number = [&](const std::string& value) {
    const auto found = std::find(values.begin(), values.end(), value);
    return static_cast<int>(first + static_cast<std::size_t>(found - values.begin()));
  };
  for (const ConstraintReason& constraint : reason.constraints)
    drawing->arrows.push_back({number(constraint.first), number(constraint.second),
                               place_of(constraint, account),
                               in_circle(circles, constraint) ? Stroke::kAlarm : Stroke::kPlain});
}

Json json_of(const VariableReason& reason, const Account& account) {
  const Pairs circles = pairs_in_circles(reason);
  Json constraints = Json::array();
  for (const ConstraintReason& constraint : reason.constraints) {
    const Location& place = account.operations[at(constraint.operation)].place;
    constraints.push_back({{"first", json_text(constraint.first)},
                           {"second", json_text(constraint.second)},
                           {"product", json_product(place.product)},
                           {"file", json_text(place.file)},
                           {"line", place.line},
                           {"column", place.column},
                           {"circular", in_circle(circles, constraint)}});
  }
  Json cycles = Json::array();
  for (const auto& cycle : reason.cycles) {
    std::vector<std::string> members;
    members.reserve(cycle.size());
    for (const ConstraintReason& constraint : cycle)
      members.push_back(constraint.first);
    cycles.push_back(json_texts(members));
  }
  return {{"group", reason.group + 1},
          {"elements", json_texts(ordered_elements(reason))},
          {"constraints", constraints},
          {"cycles", cycles}};
}

int print_constraints(const Request& request, const std::string& variable,
                      const std::string& format, Context* context) {
  const Account account = account_of(request.question(), context->environment, variable, true);
  std::vector<const VariableReason*> reasons;
  for (const VariableReason& reason : account.variables)
    if (reason.name == variable && reason.group >= 0) reasons.push_back(&reason);
  if (reasons.empty() && !account.answer.done)
    throw Error(explained(request, context->environment, account.answer));
  if (reasons.empty()) fail("these products do nothing to {}", variable);
  for (const Fault& fault : account.answer.faults)
    context->notes += "zor: " + fault.text + '\n';
  context->keeps_out = true;
  const int status = account.answer.done ? kDone : kNotDone;
  if (format == "text") {
    for (const VariableReason* reason : reasons)
      context->out += text_of(*reason, account);
    return status;
  }
  if (format == "json") {
    Json groups = Json::array();
    for (const VariableReason* reason : reasons)
      groups.push_back(json_of(*reason, account));
    context->out +=
        printed({{"version", 1}, {"variable", json_text(variable)}, {"groups", groups}});
    return status;
  }
  Drawing drawing;
  drawing.title = variable;
  for (const VariableReason* reason : reasons)
    draw(*reason, account, &drawing);
  context->out += drawn(drawing, format, *context);
  return status;
}

}  // namespace

int run_graph(Context* context) {
  CommandLine line("graph",
                   "Show which products a request leads to and which of them include which. An "
                   "arrow leads from a product to a part of it, which it overrules.",
                   "zor graph tools/weaver --format dot");
  std::string format = "text";
  std::string variable;
  line.option("-f,--format", &format, "text, dot, svg, mermaid or json");
  line.option("--constraints", &variable,
              "in place of products the elements of this variable, and what orders them");
  const Request request = line.parse_request(*context);
  constexpr std::string_view kFormats[] = {"text", "dot", "svg", "mermaid", "json"};
  if (std::find(std::begin(kFormats), std::end(kFormats), format) == std::end(kFormats))
    misuse("there is no format {}; there are text, dot, svg, mermaid, json", format);
  context->notes += request.notes;
  if (request.empty()) misuse("say which product, as in: zor graph tools/weaver");
  return variable.empty() ? print_products(request, format, context)
                          : print_constraints(request, variable, format, context);
}

}  // namespace zor
