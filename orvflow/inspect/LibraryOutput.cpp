#include "orvflow/inspect/LibraryOutput.h"

#include <algorithm>

#include "OrvWorkFlow/sdk/ParameterValue.h"
#include "nlohmann/json.hpp"
#include "orvflow/terminal/Terminal.h"
#include "orvflow/verbs/HelpText.h"

namespace OrvWorkFlow::Program {

namespace {

using Json = nlohmann::ordered_json;

constexpr char kIndent[] = "          ";

std::string InterfacesOf(const TypeDescription& type) {
  if (type.kind.empty()) return "";
  if (!type.can_be_made) return "(none can be made)";
  std::string text;
  for (const std::string& name : type.interfaces) text += (text.empty() ? "" : " ") + name;
  return text.empty() ? "(no known interface)" : text;
}

// "number, 1 to 10, else 5", "text: one or two, else one"; what is no number has no range.
std::string ValueOf(const ParameterDescription& parameter) {
  std::string text = parameter.is_one_text ? "text or list of its parts" : parameter.type;
  if (!parameter.words.empty()) text += ": " + Sdk::Parameters::Alternatives(parameter.words);
  if (parameter.any_case) text += ", in small or capital letters";
  if (parameter.may_be_left_out) text += ", may be left out";
  if (parameter.minimum && parameter.maximum) {
    text += ", " + std::to_string(*parameter.minimum) + " to " + std::to_string(*parameter.maximum);
  } else if (parameter.minimum) {
    text += ", " + std::to_string(*parameter.minimum) + " at least";
  } else if (parameter.maximum) {
    text += ", " + std::to_string(*parameter.maximum) + " at most";
  }
  return parameter.fallback.empty() ? text : text + ", else " + parameter.fallback;
}

std::string TraitsOf(const NodeWords& words) {
  std::string text = words.state_in_dictionary ? "keeps its state in the workflow" : "may keep a state of its own";
  if (words.acts_outside) text += ", and acts outside of the workflow";
  return text;
}

// The words behind what stands in the line already, in lines that a terminal shows whole, each below the first.
void AppendWords(std::string& text, std::size_t column, const std::string& words) {
  const std::size_t room = column + 20 < kHelpColumns ? kHelpColumns - column : kHelpColumns;
  std::string_view rest = words;
  while (rest.size() > room) {
    std::size_t end = rest.rfind(' ', room);
    if (end == std::string_view::npos) end = rest.find(' ');
    if (end == std::string_view::npos) break;
    text.append(rest.substr(0, end)).append("\n").append(column, ' ');
    rest.remove_prefix(end + 1);
  }
  text.append(rest).append("\n");
}

using Rows = std::vector<std::pair<std::string, std::string>>;

// One kind of rows of a node: "takes  name  sentence".
void AppendRows(std::string& text, const char* verb, const Rows& rows, std::size_t width) {
  for (const auto& [name, sentence] : rows) {
    const std::size_t begin = text.size();
    text += std::string(kIndent) + verb + "  " + name + std::string(width - name.size(), ' ') + "  ";
    AppendWords(text, text.size() - begin, sentence);
  }
}

std::string WordsAsText(const NodeWords& words) {
  Rows inputs;
  Rows outputs;
  Rows parameters;
  for (const SignalDescription& row : words.inputs) inputs.emplace_back(row.name, row.sentence);
  for (const SignalDescription& row : words.outputs) {
    outputs.emplace_back(row.name, row.sentence + (row.must_be_taken ? " (to be mapped)" : ""));
  }
  for (const ParameterDescription& row : words.parameters) {
    parameters.emplace_back(row.name, row.sentence + " (" + ValueOf(row) + ")");
  }
  std::size_t width = 0;
  for (const auto* rows : {&inputs, &outputs, &parameters}) {
    for (const auto& [name, sentence] : *rows) width = std::max(width, name.size());
  }
  std::string text = kIndent;
  AppendWords(text, text.size(), words.sentence);
  AppendRows(text, "takes", inputs, width);
  AppendRows(text, "fires", outputs, width);
  AppendRows(text, "reads", parameters, width);
  return text + kIndent + TraitsOf(words) + "\n";
}

// In a table cell of a page.
std::string Cell(const std::string& text) {
  std::string cell;
  for (const char c : text) {
    if (c == '|' || c == '<' || c == '&' || c == '*' || c == '_' || c == '`' || c == '\\' || c == '[') cell += '\\';
    cell += c == '\n' ? ' ' : c;
  }
  return cell;
}

std::string Code(const std::string& text) { return text.empty() ? "" : "`" + text + "`"; }

std::string WordsAsMarkdown(const NodeWords& words) {
  std::string text = Cell(words.sentence) + ". It " + TraitsOf(words) + ".\n";
  const auto begin_table = [&text](const char* head, const char* line) {
    text += std::string("\n") + head + "\n" + line + "\n";
  };
  if (!words.inputs.empty()) begin_table("| takes | |", "|---|---|");
  for (const SignalDescription& row : words.inputs) text += "| " + Code(row.name) + " | " + Cell(row.sentence) + " |\n";
  if (!words.outputs.empty()) begin_table("| fires | | |", "|---|---|---|");
  for (const SignalDescription& row : words.outputs) {
    text +=
        "| " + Code(row.name) + " | " + Cell(row.sentence) + " | " + (row.must_be_taken ? "to be mapped" : "") + " |\n";
  }
  if (!words.parameters.empty()) begin_table("| reads | | |", "|---|---|---|");
  for (const ParameterDescription& row : words.parameters) {
    text += "| " + Code(row.name) + " | " + Cell(row.sentence) + " | " + Cell(ValueOf(row)) + " |\n";
  }
  return text;
}

Json AsJson(const std::vector<SignalDescription>& rows, bool is_output) {
  Json list = Json::array();
  for (const SignalDescription& row : rows) {
    Json one = {{"name", row.name}, {"sentence", row.sentence}};
    if (is_output) one["must_be_taken"] = row.must_be_taken;
    list.push_back(std::move(one));
  }
  return list;
}

Json AsJson(const std::vector<ParameterDescription>& rows) {
  Json list = Json::array();
  for (const ParameterDescription& row : rows) {
    Json one = {{"name", row.name}, {"type", row.type}, {"default", row.fallback}};
    if (row.minimum) one["minimum"] = *row.minimum;
    if (row.maximum) one["maximum"] = *row.maximum;
    if (!row.words.empty()) one["words"] = row.words;
    if (row.any_case) one["any_case"] = true;
    if (row.may_be_left_out) one["may_be_left_out"] = true;
    if (row.is_one_text) one["is_one_text"] = true;
    one["sentence"] = row.sentence;
    list.push_back(std::move(one));
  }
  return list;
}

Json AsJson(const TypeDescription& type) {
  Json one = {{"kind", type.kind},
              {"name", type.name},
              {"version", type.version},
              {"can_be_made", type.can_be_made},
              {"interfaces", type.interfaces}};
  if (!type.words) return one;
  one["sentence"] = type.words->sentence;
  one["inputs"] = AsJson(type.words->inputs, false);
  one["outputs"] = AsJson(type.words->outputs, true);
  one["parameters"] = AsJson(type.words->parameters);
  one["state_in_dictionary"] = type.words->state_in_dictionary;
  one["acts_outside"] = type.words->acts_outside;
  return one;
}

}  // namespace

std::string LibraryAsText(const LibraryDescription& library) {
  std::size_t name_width = 0;
  std::size_t version_width = 0;
  for (const TypeDescription& type : library.types) {
    name_width = std::max(name_width, type.name.size());
    version_width = std::max(version_width, type.version.size());
  }
  std::string text = library.shown_name + "\n";
  const auto append = [&text](const std::string& column, std::size_t width) {
    text.append("  ").append(column).append(width - std::min(width, column.size()), ' ');
  };
  for (const TypeDescription& type : library.types) {
    append(type.kind, 6);
    append(type.name, name_width);
    append(type.version, version_width);
    append(InterfacesOf(type), 0);
    text.push_back('\n');
    if (type.words) text += WordsAsText(*type.words);
  }
  return text;
}

std::string LibrariesAsJson(const std::vector<LibraryDescription>& libraries) {
  Json list = Json::array();
  for (const LibraryDescription& library : libraries) {
    Json types = Json::array();
    for (const TypeDescription& type : library.types) types.push_back(AsJson(type));
    list.push_back({{"library", library.shown_name}, {"types", std::move(types)}});
  }
  const Json json = {{"version", 1}, {"libraries", std::move(list)}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string LibrariesAsMarkdown(const std::vector<LibraryDescription>& libraries) {
  std::string text;
  for (const LibraryDescription& library : libraries) {
    text += (text.empty() ? "## " : "\n## ") + Code(library.shown_name) + "\n";
    for (const TypeDescription& type : library.types) {
      text += "\n### " + Code(type.name) + "\n\n";
      text += type.words ? WordsAsMarkdown(*type.words)
                         : (type.kind == "node" ? "A node that says nothing about itself.\n" : "An object.\n");
    }
  }
  return text;
}

}  // namespace OrvWorkFlow::Program
