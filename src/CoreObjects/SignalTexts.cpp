#include "CoreObjects/SignalTexts.h"

#include <cstring>
#include <new>

namespace OrvWorkFlow::Core {

SignalTexts::SignalTexts(const Texts& texts) {
  Texts cut;
  std::size_t room = sizeof(Block);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    cut[i] = texts[i].substr(0, texts[i].find('\0'));
    room += cut[i].size() + 1;
  }
  void* const memory = ::operator new(room);
  char* next = static_cast<char*>(memory) + sizeof(Block);
  block_ = new (memory) Block;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    block_->texts[i] = next;
    if (!cut[i].empty()) std::memcpy(next, cut[i].data(), cut[i].size());
    next += cut[i].size();
    *next++ = '\0';
  }
}

void SignalTexts::Free(Block* block) noexcept {
  block->~Block();
  ::operator delete(block);
}

}  // namespace OrvWorkFlow::Core
