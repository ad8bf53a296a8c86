#include "nodes/filing/TextMatcher.h"

#include <stdexcept>
#include <vector>

#include "nodes/task/ComingEntry.h"
#include "regexp/Pattern.h"

namespace OrvWorkFlow::Nodes {

namespace {

using Core::Patterns::kNoPosition;
using Core::Patterns::Pattern;
using Core::Patterns::SubMatches;

constexpr NodeInput kInputs[] = {
    {"match", "looks for the pattern"},
    {"replace", "replaces it wherever it is found"},
};
constexpr NodeOutput kOutputs[] = {
    {"matched", false, "it is there; Match and G1 to G9 have what was found first"},
    {"unmatched", false, "it is not"},
    {"replaced", false, "Into has the new text"},
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Text", "", "the text"),
    TextParameterRow("Pattern", "", "what is looked for"),
    TextListParameterRow("Replacement",
                         "what comes instead: \\0 is what was found, \\1 to \\9 its groups, \\\\ a backslash"),
    TextParameterRow("Into", "/Text", "the entry that gets the text with the replacements"),
};
constexpr ParameterRule kRuleRows[] = {
    {.name = "Replacement", .between = ""},
};

void CompileOrThrow(Pattern& compiled, const std::string& pattern) {
  if (!compiled.Compile(pattern.c_str())) {
    throw std::runtime_error("the pattern \"" + pattern + "\" is none: " + compiled.error_text());
  }
}

std::string GroupOf(std::string_view text, const SubMatches& found, std::size_t group) {
  if (group >= found.begin.size() || found.begin[group] == kNoPosition) return {};
  return std::string(text.substr(found.begin[group], found.end[group] - found.begin[group]));
}

// What the replacement says for one match.
std::string Filled(std::string_view replacement, std::string_view text, const SubMatches& found) {
  std::string filled;
  for (std::size_t i = 0; i < replacement.size(); ++i) {
    const char c = replacement[i];
    const char next = i + 1 < replacement.size() ? replacement[i + 1] : '\0';
    if (c != '\\') {
      filled += c;
    } else if (next >= '0' && next <= '9') {
      filled += GroupOf(text, found, static_cast<std::size_t>(next - '0'));
      ++i;
    } else {
      if (next == '\0') throw std::runtime_error("the Replacement ends with a backslash; write two for the character");
      filled += next;
      ++i;
    }
  }
  return filled;
}

}  // namespace

constinit const NodeTable<ParameterRule> TextMatcher::kRules = kRuleRows;

constinit const NodeDescription TextMatcher::kDescription = {
    .sentence = "Looks for a pattern in a text, or replaces what it finds",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool TextMatcher::OnSignal(std::string_view signal) {
  Sdk::NodeRecord record(WorkflowDictionary(), "/TextMatcher/" + InstanceName());
  record.Clear();
  const std::string text = TextParameter("Text");
  const std::string pattern = TextParameter("Pattern");
  if (signal == "match") {
    Match(text, pattern, record);
  } else {
    Replace(text, pattern, record);
  }
  return true;
}

void TextMatcher::Match(const std::string& text, const std::string& pattern, Sdk::NodeRecord& record) {
  Pattern compiled;
  CompileOrThrow(compiled, pattern);
  SubMatches found;
  if (!compiled.Search(std::string_view(text), &found)) {
    FireOutput("unmatched");
    return;
  }
  record.SetText("Match", GroupOf(text, found, 0));
  for (std::size_t group = 1; group < found.begin.size(); ++group) {
    if (found.begin[group] != kNoPosition) record.SetText("G" + std::to_string(group), GroupOf(text, found, group));
  }
  FireOutput("matched");
}

// From left to right, each behind the one before. "^" is the text's beginning: once something was replaced it is not
// found again, for which the search gets the character before its place.
void TextMatcher::Replace(const std::string& text, const std::string& pattern, Sdk::NodeRecord& record) {
  const std::string replacement = OptionalText("Replacement");
  Pattern first;
  Pattern further;
  CompileOrThrow(first, pattern);
  CompileOrThrow(further, "^.(" + pattern + ")");
  std::string result;
  std::int64_t count = 0;
  std::size_t at = 0;
  SubMatches found;
  if (first.Search(std::string_view(text), &found)) {
    result = text.substr(0, found.begin[0]) + Filled(replacement, text, found);
    at = found.end[0];
    const bool was_empty = found.begin[0] == found.end[0];
    ++count;
    if (was_empty && at < text.size()) result += text[at++];
    while (at > 0 && at < text.size()) {
      const std::string_view rest = std::string_view(text).substr(at - 1);
      if (!further.Search(rest, &found) || found.begin[1] == found.end[1]) {
        result += text[at++];
        continue;
      }
      // The groups move down by the one that stands around the pattern.
      SubMatches inner = found;
      for (std::size_t group = 0; group + 1 < found.begin.size(); ++group) {
        inner.begin[group] = found.begin[group + 1];
        inner.end[group] = found.end[group + 1];
      }
      inner.begin.back() = inner.end.back() = kNoPosition;
      result += Filled(replacement, rest, inner);
      at += found.end[1] - found.begin[1];
      ++count;
    }
    result += text.substr(std::min(at, text.size()));
  } else {
    result = text;
  }
  WriteEntry(WorkflowDictionary(), TextParameter("Into"), result);
  record.SetNumber("Count", count);
  FireOutput("replaced");
}

}  // namespace OrvWorkFlow::Nodes
