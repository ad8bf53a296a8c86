#include "dictionary/tree/Element.h"

#include <stdexcept>

#include "dictionary/tree/TextSize.h"

namespace OrvWorkFlow::Core::Dictionary {

void Element::SetOwnedText(std::string_view text) {
  if (text.size() > kMaxTextSize) throw std::length_error("text of an element");
  char* block = new char[text.size()];
  std::memcpy(block, text.data(), text.size());
  ClearText();
  text_.outside = block;
  text_length_ = static_cast<std::uint32_t>(text.size());
  text_kind_ = kOwned;
}

}  // namespace OrvWorkFlow::Core::Dictionary
