#include "sdk/ParameterResolution.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "OrvWorkFlow/sdk/CurrentDelivery.h"
#include "OrvWorkFlow/sdk/ParameterText.h"
#include "OrvWorkFlow/sdk/ParameterValue.h"

namespace OrvWorkFlow::Sdk::Parameters {

namespace {

[[noreturn]] void Fail(const std::string& problem) { throw std::runtime_error(problem); }

ParsedText Parsed(const std::string& text) {
  ParsedText parsed = ParseText(text);
  if (!parsed.problem.empty()) Fail(parsed.problem);
  return parsed;
}

// The text of a value of any type that is one text; a redirection is followed.
std::string EntryText(const std::string& path, IDictionary& dictionary) {
  Entry entry;
  for (const ParameterType type : {ParameterType::Text, ParameterType::Number, ParameterType::Boolean}) {
    entry = ReadEntry(dictionary, path, type);
    if (entry.IsScalar()) break;
  }
  if (entry.state == Entry::State::Missing) Fail("takes {" + path + "}, and there is no such entry");
  if (!entry.IsScalar() || (entry.type == ValueType::WideString && !ToText(entry))) {
    Fail("takes {" + path + "}, which is " + WhatItIs(entry) + " and no text or number");
  }
  return entry.texts[0];
}

std::string DeliveryText(const std::string& what) {
  const std::optional<Delivery> delivery = CurrentDelivery();
  if (!delivery) Fail("takes {delivery." + what + "}, and no signal is being delivered");
  if (what == "key") return delivery->Key();
  return what == "number" ? std::to_string(delivery->number) : std::to_string(delivery->attempt);
}

std::string EnvironmentText(const std::string& name, IDictionary& dictionary) {
  const std::vector<std::string> names = EnvironmentNames(dictionary);
  if (std::find(names.begin(), names.end(), name) == names.end()) {
    Fail("takes {env:" + name + "}, which " + kEnvironmentNames + " does not list");
  }
  const char* const value = std::getenv(name.c_str());
  if (value == nullptr) Fail("takes {env:" + name + "}, and the environment has no such variable");
  return value;
}

}  // namespace

std::string PutIn(const std::string& text, IDictionary& dictionary) {
  std::string result;
  for (const TextPart& part : Parsed(text).parts) {
    switch (part.kind) {
      case TextPart::Kind::Literal:
        result += EscapeBraces(part.text);
        break;
      case TextPart::Kind::Entry:
        result += EscapeBraces(EntryText(part.text, dictionary));
        break;
      case TextPart::Kind::Environment:
        result += "{env:" + part.text + "}";
        break;
      case TextPart::Kind::Delivery:
        result += DeliveryText(part.text);
        break;
    }
  }
  return result;
}

std::string PutInEnvironment(const std::string& text, IDictionary& dictionary) {
  std::string result;
  for (const TextPart& part : Parsed(text).parts) {
    result += part.kind == TextPart::Kind::Environment ? EnvironmentText(part.text, dictionary) : part.text;
  }
  return result;
}

}  // namespace OrvWorkFlow::Sdk::Parameters
