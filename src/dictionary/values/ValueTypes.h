// What an element's attributes say of its value.
#pragma once

#include <cstdint>
#include <string_view>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Core::Dictionary {

inline constexpr std::string_view kTypeAttribute = "__type";
inline constexpr std::string_view kRedirectionAttribute = "_isRedirection";

constexpr bool IsListType(ValueType type) { return type >= ValueType::StringList && type <= ValueType::BooleanList; }
// The type of a list's items; of a scalar its own.
constexpr ValueType ItemType(ValueType type) {
  if (!IsListType(type)) return type;
  return static_cast<ValueType>(static_cast<std::int32_t>(type) - static_cast<std::int32_t>(ValueType::StringList));
}

}  // namespace OrvWorkFlow::Core::Dictionary
