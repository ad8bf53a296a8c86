#include "orvflow/document/DifferencesOutput.h"

#include <algorithm>

#include "nlohmann/json.hpp"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Json = nlohmann::ordered_json;
using Kind = Difference::Kind;

constexpr char kNamesPairs[] = " attribute ";

std::vector<std::string> ChangedLines(const Difference& difference) {
  const EntryContent& before = *difference.old_content;
  const EntryContent& after = *difference.new_content;
  const std::string path = Visible(difference.path);
  std::vector<std::string> lines;
  if (before.value != after.value) {
    lines.push_back(path + ": " + ShownValue(before.value) + " -> " + ShownValue(after.value));
  }
  const auto shown = [](const EntryContent& content, const std::string& name) {
    const auto found = content.attributes.find(name);
    return found == content.attributes.end() ? std::string("none") : ShownText(found->second);
  };
  std::map<std::string, std::string> all = before.attributes;
  all.insert(after.attributes.begin(), after.attributes.end());
  for (const auto& [name, text] : all) {
    const std::string old_text = shown(before, name);
    const std::string new_text = shown(after, name);
    const bool is_same = before.attributes.contains(name) && after.attributes.contains(name) &&
                         before.attributes.at(name) == after.attributes.at(name);
    if (!is_same) lines.push_back(path + ":" + kNamesPairs + Visible(name) + " " + old_text + " -> " + new_text);
  }
  return lines;
}

std::string Listed(const std::vector<std::string>& names) {
  constexpr std::size_t kMost = 8;
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i == kMost) return text + " ... (" + std::to_string(names.size()) + ")";
    text += (i == 0 ? "" : " ") + Visible(names[i]);
  }
  return text;
}

// From where the orders begin to differ.
std::string OrderLine(const Difference& difference) {
  const auto [before, after] =
      std::mismatch(difference.old_order.begin(), difference.old_order.end(), difference.new_order.begin());
  return Visible(difference.path) + ": order of entries: " + Listed({before, difference.old_order.end()}) + " -> " +
         Listed({after, difference.new_order.end()});
}

const char* WordFor(Kind kind) {
  switch (kind) {
    case Kind::Removed:
      return "removed";
    case Kind::Added:
      return "added";
    case Kind::Changed:
      return "changed";
    case Kind::Order:
      return "order";
  }
  return "";
}

}  // namespace

std::string EntryAsText(const std::string& path, const EntryContent& content) {
  std::string line = path;
  const bool has_value = !content.value.tag.empty() || !content.value.texts.empty();
  if (has_value) line += ": " + ShownValue(content.value);
  for (const auto& [name, text] : content.attributes) line += ", " + Visible(name) + "=" + ShownText(text);
  return line;
}

nlohmann::ordered_json EntryAsJson(const EntryContent& content) {
  Json attributes = Json::object();
  for (const auto& [name, text] : content.attributes) attributes[name] = text;
  return {{"type", content.value.tag.empty() ? "Nil" : content.value.tag},
          {"texts", content.value.texts},
          {"attributes", std::move(attributes)}};
}

std::string DifferencesAsText(const std::vector<Difference>& differences, const std::string& first_name,
                              const std::string& second_name, const Colours& colours) {
  if (differences.empty()) return {};
  std::string text =
      colours.Bold("--- " + Visible(first_name)) + "\n" + colours.Bold("+++ " + Visible(second_name)) + "\n";
  std::size_t counts[4] = {};
  for (const Difference& difference : differences) {
    ++counts[static_cast<std::size_t>(difference.kind)];
    switch (difference.kind) {
      case Kind::Removed:
        text += colours.Red("- " + EntryAsText(Visible(difference.path), *difference.old_content)) + "\n";
        break;
      case Kind::Added:
        text += colours.Green("+ " + EntryAsText(Visible(difference.path), *difference.new_content)) + "\n";
        break;
      case Kind::Changed:
        for (const std::string& line : ChangedLines(difference)) text += colours.Yellow("~ " + line) + "\n";
        break;
      case Kind::Order:
        text += colours.Yellow("~ " + OrderLine(difference)) + "\n";
        break;
    }
  }
  const auto count = [&](Kind kind) { return std::to_string(counts[static_cast<std::size_t>(kind)]); };
  text += count(Kind::Removed) + " removed, " + count(Kind::Added) + " added, " + count(Kind::Changed) + " changed";
  if (counts[static_cast<std::size_t>(Kind::Order)] > 0) text += ", " + count(Kind::Order) + " in another order";
  return text + "\n";
}

std::string DifferencesAsJson(const std::vector<Difference>& differences, const std::string& first_name,
                              const std::string& second_name) {
  Json list = Json::array();
  for (const Difference& difference : differences) {
    Json one = {{"kind", WordFor(difference.kind)}, {"path", difference.path}};
    if (difference.kind == Kind::Order) {
      one["old_order"] = difference.old_order;
      one["new_order"] = difference.new_order;
    }
    if (difference.old_content) one["old"] = EntryAsJson(*difference.old_content);
    if (difference.new_content) one["new"] = EntryAsJson(*difference.new_content);
    list.push_back(std::move(one));
  }
  const Json all = {{"version", 1}, {"old", first_name}, {"new", second_name}, {"differences", std::move(list)}};
  return all.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace OrvWorkFlow::Program
