#include "dictionary/values/ValueTypes.h"

#include <array>
#include <cstddef>

namespace OrvWorkFlow::Core::Dictionary {
namespace {

constexpr std::array<std::string_view, 12> kTags = {"str",     "UStr",    "int",        "dbl",     "Bool",   "strlist",
                                                    "UStrLst", "intlist", "doublelist", "BoolLst", "Binary", "Nil"};

struct OlderTag {
  std::string_view tag;
  ValueType type;
};
constexpr OlderTag kOlderTags[] = {{"Str", ValueType::String},         {"Int", ValueType::Integer},
                                   {"Dbl", ValueType::Double},         {"StrLst", ValueType::StringList},
                                   {"IntLst", ValueType::IntegerList}, {"DblLst", ValueType::DoubleList}};

}  // namespace

std::string_view TagOf(ValueType type) { return kTags[static_cast<std::size_t>(type)]; }

ValueType TypeOfTag(std::string_view tag) {
  for (std::size_t code = 0; code < kTags.size(); ++code) {
    if (tag == kTags[code]) return static_cast<ValueType>(code);
  }
  for (const OlderTag& older : kOlderTags) {
    if (tag == older.tag) return older.type;
  }
  return ValueType::Nil;
}

}  // namespace OrvWorkFlow::Core::Dictionary
