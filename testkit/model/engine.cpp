// From operations to values.
#include "computation.h"
#include "words.h"

namespace model {

Computation::ValueOps& Computation::OpsOfValue(VariableOps& variable, const std::string& value) {
  if (variable.values.Find(value) == nullptr)
    variable.values.Add(value, std::make_shared<ValueOps>());
  return **variable.values.Find(value);
}

Computation::VariableOps& Computation::OpsOfVariable(Variables& variables,
                                                     const std::string& name) {
  if (variables.Find(name) == nullptr) variables.Add(name, std::make_shared<VariableOps>());
  return **variables.Find(name);
}

Computation::Node& Computation::NodeOf(VariableOps& variable, const std::string& value) {
  if (variable.nodes.Find(value) == nullptr) {
    auto node = std::make_shared<Node>();
    node->value = value;
    variable.nodes.Add(value, node);
  }
  return **variable.nodes.Find(value);
}

// ---- Collection ----

bool Computation::ExpandOperation(const Operation& operation, const Symbols& symbols,
                                  const Report& report, ExpandedOp& expanded) {
  Error err;
  Operation& op = expanded.op;
  op.action = operation.action;
  op.name = Expand(err, operation.name, symbols);
  for (const std::string& value : operation.values)
    op.values.push_back(Expand(err, value, symbols));
  if (operation.action == Action::kDelete) op.values = {"**"};
  for (const bool before : {true, false})
    for (const auto& [is_before, pattern] : operation.constraints)
      if (is_before == before) op.constraints.push_back({before, Expand(err, pattern, symbols)});
  if (err) {
    report(err);
    return false;
  }
  expanded.separator = FirstCharacter(operation.separator.value_or(""));
  expanded.has_glob = HasGlobs(op.name);
  return true;
}

void Computation::Collect(Walk& walk, Symbols& symbols, LoadedVariety& variety, Loaded& product,
                          const Environment& input, bool set, std::list<ExpandedOp>& ops,
                          Table<std::string>& new_variables) {
  symbols.contexts.push_back({{"BASE-DIRECTORY", root_}});
  TraverseParts(walk, symbols, variety, product);
  const DataFile<std::vector<Group>>& settings = set ? product.data->env : product.data->unenv;
  if (settings.there) {
    symbols.contexts.push_back(VarietyBindings(variety));
    for (const Group& group : settings.content) {
      if (!Meets(variety, group.pattern)) continue;
      for (const Operation& operation : group.operations) {
        ExpandedOp expanded;
        if (!ExpandOperation(operation, symbols, walk.report, expanded)) continue;
        expanded.variety = &variety;
        ops.push_back(expanded);
        const std::string& name = expanded.op.name;
        if (!expanded.has_glob && input.Find(name) == nullptr) new_variables.Add(name, name);
      }
    }
    symbols.contexts.pop_back();
  }
  symbols.contexts.pop_back();
}

// ---- Instances ----

void Computation::CheckSeparator(VariableOps& variable, ExpandedOp& op, const std::string& name,
                                 const Report& report) {
  if (variable.separator.empty()) {
    variable.separator = op.separator;
  } else if (op.separator.empty()) {
    op.separator = variable.separator;
  } else if (op.separator != variable.separator) {
    Error err{"Error:  inconsistent separators for environment variable " + name};
    report(err);
  }
}

void Computation::PairRemove(VariableOps& variable, const std::string& value, ExpandedOp& remove) {
  for (const std::string& pattern : remove.op.values) {
    if (!Matches(pattern, value)) continue;
    OpsOfValue(variable, value).removes.push_back(&remove);
    return;
  }
}

void Computation::AddToVariable(ExpandedOp& op, const std::string& name, Variables& variables,
                                const Environment& input, const Report& report) {
  VariableOps& variable = OpsOfVariable(variables, name);
  if (op.op.action == Action::kInsert) {
    CheckSeparator(variable, op, name, report);
    OpsOfValue(variable, op.op.values[0]).inserts.push_back(&op);
    variable.inserts.push_back(&op);
    for (ExpandedOp* remove : variable.removes)
      PairRemove(variable, op.op.values[0], *remove);
    return;
  }
  if (op.op.action == Action::kDelete) variable.deleted = true;
  CheckSeparator(variable, op, name, report);
  variable.removes.push_back(&op);
  for (ExpandedOp* insert : variable.inserts)
    PairRemove(variable, insert->op.values[0], op);
  if (const std::string* value = input.Find(name)) {
    if (op.separator.empty()) op.separator = variable.separator = ":";
    for (const std::string& element : Split(*value, op.separator))
      PairRemove(variable, element, op);
  }
}

// ---- Ancestors ----

void Computation::FindAncestors(LoadedVariety& variety, const Loaded& product,
                                const std::set<const LoadedVariety*>& ancestors, Symbols& symbols,
                                const Report& report) {
  symbols.contexts.push_back(VarietyBindings(variety));
  if (!variety.has_ancestors) {
    variety.has_ancestors = true;
    variety.ancestors.insert(&variety);
  }
  variety.ancestors.insert(ancestors.begin(), ancestors.end());
  for (const PartGroup& group : product.data->parts.content) {
    if (!Meets(variety, group.pattern)) continue;
    for (const Part& part : group.parts) {
      if (part.is_file) continue;
      const auto spec = RunPartQuery(part, symbols, report);
      if (!spec) continue;
      Symbols part_symbols = SymbolsOf(spec->product->name, "env.xml");
      for (LoadedVariety* sub : spec->varieties) {
        if (!sub->complete()) continue;
        std::set<const LoadedVariety*> fresh;
        for (const LoadedVariety* ancestor : variety.ancestors)
          if (sub->ancestors.count(ancestor) == 0) fresh.insert(ancestor);
        if (!fresh.empty()) FindAncestors(*sub, *spec->product, fresh, part_symbols, report);
      }
    }
  }
  symbols.contexts.pop_back();
}

// ---- Who wins ----

void Computation::Resolve(ValueOps& ops, const std::string& value, const std::string& variable,
                          const Report& report) {
  using List = std::vector<ExpandedOp*>;
  const auto at = [](List& list, int i) { return list.begin() + i; };
  const auto size = [](const List& list) { return static_cast<int>(list.size()); };
  const auto over = [](const ExpandedOp* a, const ExpandedOp* b) {
    return b->variety->ancestors.count(a->variety) != 0;
  };

  for (List* list : {&ops.inserts, &ops.removes}) {
    for (int i = 0; i < size(*list);) {
      const ExpandedOp* one = (*list)[static_cast<std::size_t>(i)];
      bool stays = true;
      for (int j = i + 1; stays && j < size(*list);) {
        const ExpandedOp* other = (*list)[static_cast<std::size_t>(j)];
        if (one->variety == other->variety) {
          ++j;
        } else if (over(one, other)) {
          list->erase(at(*list, j));
        } else if (over(other, one)) {
          list->erase(at(*list, i));
          stays = false;
        } else {
          ++j;
        }
      }
      if (stays) ++i;
    }
  }

  List &inserts = ops.inserts, &removes = ops.removes;
  for (int i = 0; i < size(inserts); ++i) {
    const ExpandedOp* insert = inserts[static_cast<std::size_t>(i)];
    for (int j = 0; j < size(removes);) {
      const ExpandedOp* remove = removes[static_cast<std::size_t>(j)];
      if (insert->variety == remove->variety) {
        removes.erase(at(removes, j));
        continue;
      }
      if (over(insert, remove)) throw Endless();
      if (over(remove, insert) && i >= 0) {
        inserts.erase(at(inserts, i));
        --i;
      }
      ++j;
    }
  }

  if (!inserts.empty() && !removes.empty()) {
    Error err{"Error:  value " + value + " is both inserted and removed in environment variable " +
              variable};
    report(err);
  }
}

// ---- The new values ----

void Computation::SortNode(Node& node, const std::string& name, VariableOps& variable, Error& err) {
  if (node.state == 2) return;
  if (node.state == 1) {
    err = {"Error:  value " + node.value + " has cyclic constraints in environment variable " +
           name};
    node.state = 2;
    return;
  }
  node.state = 1;
  for (Node* earlier : node.before_it)
    SortNode(*earlier, name, variable, err);
  if (!variable.result.empty()) variable.result += variable.separator;
  variable.result += node.value;
  node.state = 2;
}

Environment Computation::ApplyOps(Variables& variables, const Environment& input,
                                  const Report& report) {
  Environment output(50);
  for (const std::string& name : input.Keys()) {
    const std::string& value = *input.Find(name);
    if (variables.Find(name) == nullptr) {
      output.Add(name, value);
      continue;
    }
    VariableOps& variable = **variables.Find(name);
    if (variable.separator.empty()) variable.separator = ":";
    for (const std::string& element : Split(value, variable.separator))
      if (OpsOfValue(variable, element).removes.empty() && variable.nodes.Find(element) == nullptr)
        variable.old_order.push_back(&NodeOf(variable, element));
  }

  for (const std::string& name : variables.Keys()) {
    VariableOps& variable = **variables.Find(name);
    if (variable.separator.empty()) variable.separator = ":";
    for (const std::string& value : variable.values.Keys())
      if (!OpsOfValue(variable, value).inserts.empty()) NodeOf(variable, value);
    for (const std::string& value : variable.values.Keys()) {
      for (const ExpandedOp* insert : OpsOfValue(variable, value).inserts) {
        Node& node = NodeOf(variable, value);
        for (const auto& [before, pattern] : insert->op.constraints) {
          for (const std::string& other : variable.nodes.Keys()) {
            if (other == value || !Matches(pattern, other)) continue;
            Node& that = NodeOf(variable, other);
            if (before)
              that.before_it.push_back(&node);
            else
              node.before_it.push_back(&that);
          }
        }
      }
    }
  }

  for (const std::string& name : variables.Keys()) {
    VariableOps& variable = **variables.Find(name);
    Error err;
    for (Node* node : variable.old_order)
      SortNode(*node, name, variable, err);
    for (const std::string& value : variable.nodes.Keys())
      SortNode(NodeOf(variable, value), name, variable, err);
    if (err)
      report(err);
    else if (!variable.deleted || !variable.result.empty())
      output.Add(name, variable.result);
  }
  return output;
}

Environment Computation::Apply(const Environment& input, const std::vector<Spec>& specs, bool set) {
  const Report report = [this](Error& err) { ReportExceptMissing(err); };
  const std::string word = set ? "env.xml" : "unenv.xml";
  std::list<ExpandedOp> ops;
  Table<std::string> new_variables(13);

  Unvisit();
  Walk walk;
  walk.source = word;
  walk.report = report;
  walk.visit = [&](Walk& self, Symbols& symbols, LoadedVariety& variety, Loaded& product) {
    Collect(self, symbols, variety, product, input, set, ops, new_variables);
  };
  for (const Spec& spec : specs)
    TraverseSpec(walk, spec);

  Variables variables(13);
  for (ExpandedOp& op : ops) {
    if (!op.has_glob) {
      AddToVariable(op, op.op.name, variables, input, report);
      continue;
    }
    for (const std::string& name : input.Keys())
      if (Matches(op.op.name, name)) AddToVariable(op, name, variables, input, report);
    for (const std::string& name : new_variables.Keys())
      if (Matches(op.op.name, name)) AddToVariable(op, name, variables, input, report);
  }

  for (const Spec& spec : specs) {
    Symbols symbols = SymbolsOf(spec.product->name, word);
    symbols.contexts.push_back({{"BASE-DIRECTORY", root_}});
    for (LoadedVariety* variety : spec.varieties)
      if (variety->complete()) FindAncestors(*variety, *spec.product, {}, symbols, report);
  }

  for (const std::string& name : variables.Keys()) {
    VariableOps& variable = **variables.Find(name);
    for (const std::string& value : variable.values.Keys())
      Resolve(OpsOfValue(variable, value), value, name, report);
  }
  return ApplyOps(variables, input, report);
}

}  // namespace model
