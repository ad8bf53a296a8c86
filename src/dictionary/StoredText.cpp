#include "dictionary/StoredText.h"

#include <cstring>
#include <stdexcept>

namespace OrvWorkFlow {

void StoredText::SetCopy(std::string_view text) {
  if (text.size() > kMaxTextSize) throw std::length_error("text of an element");
  if (text.size() <= kInlineSize) {
    Clear();
    if (!text.empty()) std::memcpy(bytes_.inside, text.data(), text.size());
    length_ = static_cast<std::uint32_t>(text.size());
    capacity_ = kInline;
    return;
  }
  char* block = new char[text.size()];
  std::memcpy(block, text.data(), text.size());
  Clear();
  Become(block, text.size(), text.size());
}

}  // namespace OrvWorkFlow
