// What a node remembers between its signals, and over a stop: entries of one folder in the workflow's dictionary.
//
// Header-only, so that no type of the standard library crosses a library's border.
#pragma once

#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Sdk {

// Any thread, as the dictionary. Operations that write throw std::runtime_error when the dictionary refuses.
class NodeRecord {
 public:
  // `folder` has no "/" at its end. The dictionary outlives the record.
  NodeRecord(IDictionary& dictionary, std::string folder) : dictionary_(&dictionary), folder_(std::move(folder)) {}

  const std::string& folder() const { return folder_; }
  std::string PathOf(std::string_view name) const { return folder_ + "/" + std::string(name); }

  bool Has(std::string_view name) const { return dictionary_->Exists(PathOf(name).c_str()); }

  std::string Text(std::string_view name, std::string_view fallback = {}) const {
    const std::string path = PathOf(name);
    return TextFrom([&](IOrvPString* text) { return dictionary_->GetValue(path.c_str(), text); }, fallback);
  }
  void SetText(std::string_view name, const std::string& text) {
    const std::string path = PathOf(name);
    Expect(path, dictionary_->SetValue(path.c_str(), text.c_str()));
  }

  // A number is an int up to 31 bits, from there on a text.
  std::int64_t Number(std::string_view name, std::int64_t fallback = 0) const {
    const std::string path = PathOf(name);
    std::int32_t number = 0;
    if (dictionary_->GetValue(path.c_str(), &number)) return number;
    const std::string text = Text(name);
    std::int64_t large = 0;
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), large);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() ? large : fallback;
  }
  void SetNumber(std::string_view name, std::int64_t number) {
    const std::string path = PathOf(name);
    Expect(path, std::in_range<std::int32_t>(number)
                     ? dictionary_->SetValue(path.c_str(), static_cast<std::int32_t>(number))
                     : dictionary_->SetValue(path.c_str(), std::to_string(number).c_str()));
  }

  std::vector<std::string> Texts(std::string_view name) const {
    const TextListHolder list;
    if (!dictionary_->GetValue(PathOf(name).c_str(), list.get())) return {};
    return list.Texts();
  }
  void SetTexts(std::string_view name, const std::vector<std::string>& texts) {
    const std::string path = PathOf(name);
    const TextListHolder list;
    for (const std::string& text : texts) Expect(path, list->Add(text.data(), text.size()));
    Expect(path, dictionary_->SetValue(path.c_str(), list.get()));
  }

  void Remove(std::string_view name) { dictionary_->Delete(PathOf(name).c_str()); }
  // Removes the folder with all that is in it.
  void Clear() { dictionary_->Delete(folder_.c_str()); }

 private:
  static void Expect(const std::string& path, bool is_written) {
    if (!is_written) throw std::runtime_error("cannot write " + path);
  }

  IDictionary* dictionary_;
  std::string folder_;
};

}  // namespace OrvWorkFlow::Sdk
