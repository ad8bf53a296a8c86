// Lists of values in and out of marshalled objects, guarded as CoreObjects/Marshalled.h guards texts.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "CoreObjects/Marshalled.h"
#include "base/guard/Guarded.h"

namespace OrvWorkFlow::Core::Dictionary {

// Reads every item in order; `values` is untouched when that fails.
template <class Item>
bool ReadItems(const IOrvListOf<Item>* source, std::vector<Item>& values) noexcept {
  if (source == nullptr) return false;
  return Base::Guarded([&] {
    std::vector<Item> result;
    const std::size_t count = source->GetCount();
    result.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      Item item{};
      if (!source->Get(i, &item)) return false;
      result.push_back(item);
    }
    values = std::move(result);
    return true;
  });
}

// Replaces the content. When the list refuses or throws half way it is emptied, as far as it lets itself.
template <class Item>
bool AssignItems(IOrvListOf<Item>* output, const std::vector<Item>& values) noexcept {
  if (output == nullptr) return false;
  try {
    output->Clear();
    bool done = true;
    for (std::size_t i = 0; done && i < values.size(); ++i) done = output->Add(values[i]);
    if (done) return true;
  } catch (...) {  // Emptied below.
  }
  try {
    output->Clear();
  } catch (...) {  // The answer is false in any case.
  }
  return false;
}

// One name for texts and other items.
template <class Char>
bool ReadItems(const IOrvStringListOf<Char>* source, std::vector<std::basic_string<Char>>& values) noexcept {
  return ReadTexts(source, values);
}
template <class Char>
bool AssignItems(IOrvStringListOf<Char>* output, const std::vector<std::basic_string<Char>>& values) noexcept {
  return AssignTexts(output, values);
}

}  // namespace OrvWorkFlow::Core::Dictionary
