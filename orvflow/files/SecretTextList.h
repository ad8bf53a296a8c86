// A marshalled list of texts that leaves none of them in memory.
#pragma once

#include <vector>

#include "OrvWorkFlow/Marshaller.h"
#include "orvflow/files/SecretMemory.h"

namespace OrvWorkFlow::Program {

// Belongs to whoever made it: Release does nothing. Not synchronised.
class SecretTextList final : public IOrvPStringList {
 public:
  SecretTextList() = default;
  virtual ~SecretTextList() = default;
  SecretTextList(const SecretTextList&) = delete;
  SecretTextList& operator=(const SecretTextList&) = delete;

  // Text and length of an element; null and 0 beyond the last one.
  std::size_t GetCount() const noexcept override { return texts_.size(); }
  const char* GetText(std::size_t index) const noexcept override {
    return index < texts_.size() ? texts_[index].data() : nullptr;
  }
  std::size_t GetLength(std::size_t index) const noexcept override {
    return index < texts_.size() ? texts_[index].size() - 1 : 0;
  }
  bool Add(const char* text, std::size_t length) noexcept override {
    if (text == nullptr && length != 0) return false;
    try {
      SecretText copy;
      copy.reserve(length + 1);
      Append(copy, {text, length});
      copy.push_back('\0');
      texts_.push_back(std::move(copy));
      return true;
    } catch (...) {
      return false;
    }
  }
  void Clear() noexcept override { texts_.clear(); }
  void Release() noexcept override {}

 private:
  std::vector<SecretText> texts_;  // With their terminators.
};

}  // namespace OrvWorkFlow::Program
