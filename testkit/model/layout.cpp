// The data files of a warehouse.
#include <algorithm>
#include <random>

#include "model.h"

namespace model {

namespace {

// A line end in an attribute would come out as a blank.
std::string Escape(const std::string& text, bool in_attribute = false) {
  std::string escaped;
  for (const char c : text) {
    if (c == '&')
      escaped += "&amp;";
    else if (c == '<')
      escaped += "&lt;";
    else if (c == '"')
      escaped += "&quot;";
    else if (c == '\n' && in_attribute)
      escaped += "&#10;";
    else
      escaped += c;
  }
  return escaped;
}

std::string Attribute(const std::string& name, const Maybe& value) {
  return value ? " " + name + "=\"" + Escape(*value, true) + "\"" : "";
}

class Writer {
 public:
  explicit Writer(unsigned long long style) : style_(style) {}

  std::string Whole(const DataFile<std::vector<Variety>>& file) {
    return Finish("PRODUCT-INFO", (Styled(0) ? "<DESCRIPTION lang=\"en\">x</DESCRIPTION>" : "") +
                                      ("<VARIETIES>" + Each(file.content) + "</VARIETIES>"));
  }
  std::string Whole(const DataFile<std::vector<PartGroup>>& file) {
    return Finish("PARTLIST", Each(file.content));
  }
  std::string Whole(const DataFile<std::vector<Step>>& file) {
    return Finish("RECIPE", Each(file.content));
  }
  std::string Whole(const DataFile<std::vector<Group>>& file) {
    return Finish("ENV-SETTINGS", Each(file.content));
  }

 private:
  bool Styled(int bit) const { return (style_ >> bit & 1) != 0; }

  template <class List>
  std::string Each(const List& list) {
    std::string text;
    for (const auto& element : list)
      text += (Styled(1) ? "\n  " : "") + One(element);
    return text;
  }

  std::string Element(const std::string& name, const std::string& content) {
    return "<" + name + ">" + Escape(content) + "</" + name + ">";
  }

  std::string One(const Variable& variable) {
    return "<VAR" + Attribute("n", variable.name) + Attribute("v", variable.value) + "/>";
  }

  std::string One(const Variety& variety) {
    std::string text = "<VARIETY name=\"v\">" + Each(variety.variables);
    for (const Maybe& here : variety.segments)
      text += "<SEGMENT host=\"all\"" + Attribute("here", here) + "/>";
    return text + "</VARIETY>";
  }

  // Hosts in a condition have no effect.
  std::string One(const Pattern& pattern) {
    const std::string host =
        Styled(5) ? " host=\"" + std::string(Styled(6) ? "pc" : "unix") + "\"" : "";
    std::string text;
    for (const std::vector<Variable>& alternative : pattern)
      text += "<MATCH" + (Styled(7) ? host : "") + ">" + Each(alternative) + "</MATCH>";
    return text.empty() && Styled(2) ? "<PATTERN" + host + "/>"
                                     : "<PATTERN" + host + ">" + text + "</PATTERN>";
  }

  std::string One(const Part& part) {
    if (part.is_file) return "<FILE name=\"f\" pack-as=\"g\"><PACK medium=\"m\"/></FILE>";
    return "<PRODUCT" + Attribute("category", part.category) + Attribute("name", part.name) +
           Attribute("version", part.version) + Attribute("rev", part.rev) +
           (part.optional ? " optional=\"1\"" : "") + ">" + One(part.pattern) +
           (Styled(3) ? "<PACK/>" : "") + "</PRODUCT>";
  }

  std::string One(const PartGroup& group) {
    return "<PARTSPEC>" + One(group.pattern) + "<PARTS>" + Each(group.parts) +
           "</PARTS></PARTSPEC>";
  }

  std::string One(const Operation& operation) {
    const std::string separator = Attribute("sep", operation.separator);
    if (operation.action == Action::kDelete)
      return "<ENV-DELETE" + separator + ">" + Escape(operation.name) + "</ENV-DELETE>";
    const std::string name = operation.action == Action::kInsert ? "ENV-INSERT" : "ENV-REMOVE";
    std::string text = "<" + name + separator + ">" + Element("NAME", operation.name);
    for (const std::string& value : operation.values)
      text += Element("VALUE", value);
    for (const auto& [before, pattern] : operation.constraints)
      text += Element(before ? "BEFORE" : "AFTER", pattern);
    return text + "</" + name + ">";
  }

  std::string One(const Group& group) {
    return "<ENV-GROUP>" + One(group.pattern) + Each(group.operations) + "</ENV-GROUP>";
  }

  std::string One(const Command& command) {
    if (!command.other.empty()) return command.other;
    return "<SETENV" + Attribute("op", command.op) + Attribute("name", command.name) +
           Attribute("value", command.value) + "/>";
  }

  std::string One(const Step& step) {
    return "<STEP>" + One(step.pattern) + Each(step.commands) + "</STEP>";
  }

  std::string Finish(const std::string& root, const std::string& content) {
    return (Styled(4) ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE " + root + ">\n"
                      : "") +
           "<" + root + ">" + content + (Styled(1) ? "\n" : "") + "</" + root + ">\n";
  }

  unsigned long long style_;
};

}  // namespace

std::vector<std::pair<std::string, Maybe>> Layout(const Case& run) {
  std::mt19937_64 random(run.shuffle);
  std::vector<std::pair<std::string, Maybe>> layout;
  for (const std::string& directory : run.directories)
    layout.push_back({directory, std::nullopt});
  for (const auto& [name, content] : run.files)
    layout.push_back({name, content});
  for (const Product& product : run.products) {
    const auto put = [&](const std::string& name, const auto& file) {
      if (!file.there) return;
      const std::string path = "root/" + product.directory + "/" + name;
      if (file.fault && file.fault->is_directory)
        layout.push_back({path, std::nullopt});
      else
        layout.push_back({path, file.fault ? file.fault->text : Writer(random()).Whole(file)});
    };
    put("product.xml", product.info);
    put("partlist.xml", product.parts);
    put("setup.xml", product.setup);
    put("prep.xml", product.prep);
    put("unset.xml", product.unset);
    put("env.xml", product.env);
    put("unenv.xml", product.unenv);
  }
  for (std::size_t i = layout.size(); i > 1; --i)
    std::swap(layout[i - 1], layout[random() % i]);
  return layout;
}

}  // namespace model
