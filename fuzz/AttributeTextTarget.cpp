// Attribute texts against the slow model's. An input is a name, a line feed, a value, a line feed, and the text.
#include "dictionary/values/AttributeText.h"

#include "fuzz/Requirements.h"
#include "fuzz/Targets.h"
#include "tests/dictionary/SlowModel.h"

namespace OrvWorkFlow::Fuzz {

namespace {

using Core::Dictionary::DictionaryTesting::SlowModel;

SlowModel::Pairs ReadPairs(std::string_view text) {
  SlowModel::Pairs pairs;
  Core::Dictionary::AttributeReader reader(text);
  std::string_view name;
  std::string_view value;
  while (reader.Next(name, value)) pairs.emplace_back(name, value);
  return pairs;
}

// The value of the first pair of that name; "<none>" when there is none.
std::string ValueOf(const SlowModel::Pairs& pairs, const std::string& name) {
  for (const auto& [found, value] : pairs) {
    if (found == name) return value;
  }
  return "<none>";
}

bool HasBothQuotes(const std::string& value) {
  return value.find('"') != std::string::npos && value.find('\'') != std::string::npos;
}

}  // namespace

void AttributeText(std::string_view input) {
  const std::string name(TakeUntil('\n', input));
  const std::string value(TakeUntil('\n', input));
  const std::string text(input);
  SlowModel::Pairs pairs = SlowModel::ParseAttributes(text);
  Require(ReadPairs(text) == pairs, "other pairs than the model's");
  RequireEqual(std::string(Core::Dictionary::FindAttribute(text, name).value_or("<none>")), ValueOf(pairs, name),
               "value");

  const std::string with = Core::Dictionary::WithAttribute(text, name, value);
  RequireEqual(with, SlowModel::ChangeAttribute(text, name, value), "text with the attribute");
  if (Core::Dictionary::IsAttributeName(name) && !HasBothQuotes(value) && !HasBothQuotes(text)) {
    RequireEqual(std::string(Core::Dictionary::FindAttribute(with, name).value_or("<none>")), value, "value read back");
  }

  const std::string without = Core::Dictionary::WithoutAttribute(text, name);
  for (auto pair = pairs.begin(); pair != pairs.end(); ++pair) {
    if (pair->first != name) continue;
    pairs.erase(pair);
    break;
  }
  RequireEqual(without, SlowModel::JoinAttributes(pairs), "text without the attribute");
}

}  // namespace OrvWorkFlow::Fuzz
