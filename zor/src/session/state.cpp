// A session as text in the environment, and back.
#include <algorithm>

#include "error.h"
#include "render/json.h"
#include "session/pack.h"
#include "session/session.h"

namespace zor {

namespace {

// A newer version of zor writes a higher number.
constexpr int kFormat = 1;

constexpr std::string_view kName = "ZOR_SESSION";

constexpr std::string_view kWayOut =
    "unset it to go on without the session: the environment stays as it is now";

// A variable holds at most so many letters: some shells and systems can't take many more.
constexpr std::size_t kMostLetters = std::size_t{60} << 10;

// ---- Texts, which are bytes ----

Json json_of(const std::string& bytes) {
  return json_text(bytes);
}

Json json_of(const std::optional<std::string>& value) {
  return value ? json_text(*value) : Json();
}

std::string text_of(const Json& json) {
  std::string text = bytes_of(json);
  // No variable can hold it.
  if (text.find('\0') != text.npos) fail("a zero byte");
  return text;
}

std::optional<std::string> value_of(const Json& json) {
  if (json.is_null()) return std::nullopt;
  return text_of(json);
}

// ---- Records, each as a list of its fields ----

Json json_of(const ProductName& product) {
  return Json::array({json_of(product.category), json_of(product.name), json_of(product.version),
                      json_of(product.rev)});
}

ProductName product_of(const Json& json) {
  return {text_of(json.at(0)), text_of(json.at(1)), text_of(json.at(2)), text_of(json.at(3))};
}

Json json_of(const Elements& elements) {
  return json_texts(elements);
}

Elements elements_of(const Json& json) {
  Elements elements;
  for (const Json& element : json)
    elements.push_back(text_of(element));
  return elements;
}

Json json_of(const std::vector<Binding>& bindings) {
  Json json = Json::array();
  for (const Binding& binding : bindings) {
    json.push_back(json_of(binding.name));
    json.push_back(json_of(binding.value));
  }
  return json;
}

std::vector<Binding> bindings_of(const Json& json) {
  std::vector<Binding> bindings;
  for (std::size_t i = 0; i < json.size(); i += 2)
    bindings.push_back({text_of(json.at(i)), text_of(json.at(i + 1))});
  return bindings;
}

Json json_of(const Pin& pin) {
  return Json::array({json_of(pin.named.query.product), json_of(pin.named.query.conditions),
                      json_of(pin.named.word), pin.named.exact, json_of(pin.asked)});
}

Pin pin_of(const Json& json) {
  Pin pin;
  pin.named.query.product = product_of(json.at(0));
  pin.named.query.conditions = bindings_of(json.at(1));
  pin.named.word = text_of(json.at(2));
  pin.named.exact = json.at(3).get<bool>();
  pin.asked = product_of(json.at(4));
  return pin;
}

Json json_of(const Contents& contents) {
  Json groups = Json::array();
  for (const auto& group : contents.groups) {
    groups.push_back(Json::array());
    for (const Pin& pin : group)
      groups.back().push_back(json_of(pin));
  }
  return Json::array({std::move(groups), json_of(contents.variables)});
}

Contents contents_of(const Json& json) {
  Contents contents;
  for (const Json& group : json.at(0)) {
    contents.groups.emplace_back();
    for (const Json& pin : group)
      contents.groups.back().push_back(pin_of(pin));
  }
  contents.variables = bindings_of(json.at(1));
  return contents;
}

Json json_of(const Tracked& tracked) {
  Json json = {{"base", json_of(tracked.base)}, {"last", json_of(tracked.last)}};
  if (tracked.separator != ":") json["separator"] = json_of(tracked.separator);
  const Hand& hand = tracked.hand;
  if (!hand.empty())
    json["hand"] = Json::array(
        {json_of(hand.shape), json_of(hand.added), json_of(hand.moved), json_of(hand.without)});
  if (tracked.left_alone) json["computed"] = json_of(tracked.computed);
  return json;
}

Tracked tracked_of(const Json& json) {
  Tracked tracked;
  tracked.base = value_of(json.at("base"));
  tracked.last = value_of(json.at("last"));
  if (json.contains("separator")) tracked.separator = text_of(json.at("separator"));
  if (json.contains("hand")) {
    const Json& hand = json.at("hand");
    tracked.hand = {elements_of(hand.at(0)), elements_of(hand.at(1)), elements_of(hand.at(2)),
                    elements_of(hand.at(3))};
  }
  tracked.left_alone = json.contains("computed");
  if (tracked.left_alone) tracked.computed = value_of(json.at("computed"));
  return tracked;
}

// ---- The whole ----

// Names of variables and files may be any bytes, too, so tables are lists of pairs.
Json json_of(const Session& session) {
  Json variables = Json::array();
  for (const auto& [name, tracked] : session.variables)
    variables.push_back(Json::array({json_of(name), json_of(tracked)}));
  Json files = Json::array();
  for (const auto& [path, digests] : session.files) {
    Json row = Json::array({json_of(path)});
    for (const auto& [name, digest] : digests) {
      row.push_back(json_of(name));
      row.push_back(json_of(digest));
    }
    files.push_back(std::move(row));
  }
  Json history = Json::array();
  for (const Contents& contents : session.history)
    history.push_back(json_of(contents));
  return {{"format", kFormat},
          {"root", json_of(session.root)},
          {"platform", json_of(session.platform)},
          {"contents", json_of(session.contents)},
          {"variables", std::move(variables)},
          {"files", std::move(files)},
          {"history", std::move(history)}};
}

Session session_of(const Json& json) {
  Session session;
  session.root = text_of(json.at("root"));
  session.platform = text_of(json.at("platform"));
  session.contents = contents_of(json.at("contents"));
  for (const Json& row : json.at("variables"))
    session.variables[text_of(row.at(0))] = tracked_of(row.at(1));
  for (const Json& row : json.at("files")) {
    Digests& digests = session.files[text_of(row.at(0))];
    for (std::size_t i = 1; i < row.size(); i += 2)
      digests[text_of(row.at(i))] = text_of(row.at(i + 1));
  }
  for (const Json& contents : json.at("history"))
    session.history.push_back(contents_of(contents));
  return session;
}

std::string name_of_text(std::size_t i) {
  return i == 0 ? std::string(kName) : fmt::format("{}_{}", kName, i);
}

}  // namespace

bool is_session_text(std::string_view name) {
  if (!name.starts_with(kName)) return false;
  name.remove_prefix(kName.size());
  if (name.empty()) return true;
  return name.size() > 1 && name[0] == '_' &&
         std::all_of(name.begin() + 1, name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

Session read_session(const Environment& environment) {
  std::string letters;
  for (std::size_t i = 0;; ++i) {
    const auto text = environment.find(name_of_text(i));
    if (!text || text->empty()) break;
    letters += *text;
  }
  if (letters.empty()) return {};
  const std::optional<std::string> text = unpacked(letters);
  if (!text) fail("{} was cut short or altered; {}", kName, kWayOut);
  int format = 0;
  try {
    const Json json = Json::parse(*text);
    format = json.at("format").get<int>();
    if (format == kFormat) return session_of(json);
  } catch (const Json::exception&) {
  } catch (const Error&) {
  }
  if (format > kFormat)
    fail("{} was written by a newer zor, in format {}; this one knows formats up to {}", kName,
         format, kFormat);
  fail("{} holds no session; {}", kName, kWayOut);
}

std::vector<Change> session_texts(const Session& session) {
  std::vector<Change> texts;
  if (session.empty()) return texts;
  const std::string letters = packed(json_of(session).dump());
  for (std::size_t at = 0; at < letters.size(); at += kMostLetters)
    texts.push_back({name_of_text(texts.size()), letters.substr(at, kMostLetters)});
  return texts;
}

}  // namespace zor
