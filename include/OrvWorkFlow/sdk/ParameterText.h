// Values in the text of a parameter, which are put in when a node reads it:
//
//   {/Jobs/Current/File}                     a value of the workflow's dictionary
//   {env:NAME}                               a variable of the environment that /Orvflow/Environment lists
//   {delivery.number}, {delivery.attempt}, {delivery.key}    of the delivery that the node is handling
//   {{ and }}                                the characters { and }
//
// What is put in is not looked into again. The node's reading and the check before a run use the same rules.
//
// Header-only, so that no type of the standard library crosses a library's border.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Sdk::Parameters {

// A text, or a list of texts: names of environment variables, apart by blanks or commas, that parameters may name.
inline constexpr char kEnvironmentNames[] = "/Orvflow/Environment";

struct TextPart {
  enum class Kind {
    Literal,      // `text` as it stands
    Entry,        // the path of an entry of the dictionary
    Environment,  // the name of a variable
    Delivery,     // "number" or "attempt"
  };
  Kind kind = Kind::Literal;
  std::string text;
};

struct ParsedText {
  std::vector<TextPart> parts;
  std::string problem;  // what is wrong and what to do; empty: nothing

  bool HasValues() const {
    for (const TextPart& part : parts) {
      if (part.kind != TextPart::Kind::Literal) return true;
    }
    return false;
  }
};

// Whether reading the text is more than taking it as it stands.
inline bool HasBraces(std::string_view text) { return text.find_first_of("{}") != std::string_view::npos; }

// What stands between two braces; of the kind Literal when it is no value.
inline TextPart ValuePart(std::string_view inside) {
  constexpr std::string_view kEnvironment = "env:";
  constexpr std::string_view kDelivery = "delivery.";
  if (inside.size() > 1 && inside.front() == '/') return {TextPart::Kind::Entry, std::string(inside)};
  if (inside.size() > kEnvironment.size() && inside.starts_with(kEnvironment)) {
    const std::string_view name = inside.substr(kEnvironment.size());
    if (name.find_first_of("= \t\r\n,") == std::string_view::npos) {
      return {TextPart::Kind::Environment, std::string(name)};
    }
  }
  if (inside == "delivery.number" || inside == "delivery.attempt" || inside == "delivery.key") {
    return {TextPart::Kind::Delivery, std::string(inside.substr(kDelivery.size()))};
  }
  return {};
}

inline void AppendLiteral(ParsedText& parsed, char c) {
  if (parsed.parts.empty() || parsed.parts.back().kind != TextPart::Kind::Literal) parsed.parts.emplace_back();
  parsed.parts.back().text += c;
}

inline ParsedText ParseText(std::string_view text) {
  ParsedText parsed;
  const auto fail = [&](std::string problem) {
    parsed.parts.clear();
    parsed.problem = std::move(problem);
    return parsed;
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c != '{' && c != '}') {
      AppendLiteral(parsed, c);
      continue;
    }
    if (i + 1 < text.size() && text[i + 1] == c) {
      AppendLiteral(parsed, c);
      ++i;
      continue;
    }
    if (c == '}') return fail("has a } that closes nothing; write }} for the character");
    const std::size_t end = text.find_first_of("{}", i + 1);
    if (end == std::string_view::npos || text[end] == '{') {
      return fail("has a { that is not closed; write {{ for the character");
    }
    const std::string_view inside = text.substr(i + 1, end - i - 1);
    TextPart part = ValuePart(inside);
    if (part.kind == TextPart::Kind::Literal) {
      static constexpr std::size_t kMostShown = 60;
      return fail("has {" + std::string(inside.substr(0, kMostShown)) +
                  "}, which is no value; write {/Path}, {env:NAME}, {delivery.number}, {delivery.attempt}, "
                  "{delivery.key}, or {{ and }} for the characters");
    }
    parsed.parts.push_back(std::move(part));
    i = end;
  }
  return parsed;
}

// Reads back as this text.
inline std::string EscapeBraces(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '{' || c == '}') escaped += c;
    escaped += c;
  }
  return escaped;
}

// Appends the names in a text, apart by blanks or commas.
inline void AppendNames(std::string_view text, std::vector<std::string>& names) {
  constexpr std::string_view kBetween = " ,;\t\r\n";
  for (std::size_t i = text.find_first_not_of(kBetween); i < text.size();) {
    const std::size_t end = std::min(text.find_first_of(kBetween, i), text.size());
    names.emplace_back(text.substr(i, end - i));
    i = text.find_first_not_of(kBetween, end);
  }
}

// The variables that parameters may name.
inline std::vector<std::string> EnvironmentNames(IDictionary& dictionary) {
  std::vector<std::string> names;
  const TextListHolder texts;
  if (!dictionary.GetValueTexts(kEnvironmentNames, texts.get())) return names;
  const std::vector<std::string> all = texts.Texts();
  for (const std::string& text : all) AppendNames(text, names);
  return names;
}

}  // namespace OrvWorkFlow::Sdk::Parameters
