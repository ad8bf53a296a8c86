// Calls through an object's table of operations by place, as a host built by another compiler does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__i386__)
#define ORV_MEMBER_CALL __attribute__((thiscall))
#else
#define ORV_MEMBER_CALL
#endif

namespace orv_test {

// The place in the table that a member pointer to a virtual operation stands for: the ABI of both platforms keeps it as
// the byte offset plus one.
template <class Member>
std::size_t SlotOf(Member member) {
  static_assert(sizeof(member) == 2 * sizeof(void*));
  std::uintptr_t words[2];
  std::memcpy(words, &member, sizeof words);
  return (words[0] - 1) / sizeof(void*);
}

// Calls place `slot` of the table behind `face` with the given arguments.
template <class Result, class Face, class... Arguments>
Result CallSlot(Face* face, std::size_t slot, Arguments... arguments) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wattributes"  // The attribute is right for a function that stands in a table, too.
  using Function = Result(ORV_MEMBER_CALL*)(Face*, Arguments...);
#pragma GCC diagnostic pop
  void** table = nullptr;
  std::memcpy(&table, static_cast<const void*>(face), sizeof(void*));
  Function function = nullptr;
  std::memcpy(&function, &table[slot], sizeof function);
  return function(face, arguments...);
}

}  // namespace orv_test
