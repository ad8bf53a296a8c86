// Texts for keys and in the clear, as the program reads them.
#pragma once

#include <string_view>

#include "base/secret/WipingAllocator.h"

namespace OrvWorkFlow::Program {

using SecretText = Base::WipedText;

inline std::string_view ViewOf(const SecretText& text) { return {text.data(), text.size()}; }
inline void Append(SecretText& text, std::string_view more) { text.insert(text.end(), more.begin(), more.end()); }

}  // namespace OrvWorkFlow::Program
