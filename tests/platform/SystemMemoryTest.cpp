// Memory in pieces of every size: all of it usable, none of it shared.
#include "platform/Memory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace OrvWorkFlow::Core::System {
namespace {

constexpr std::size_t kSizes[] = {0,
                                  1,
                                  4096,
                                  SystemMemory::kLarge - 1,
                                  SystemMemory::kLarge,
                                  SystemMemory::kLargePage,
                                  SystemMemory::kLargePage + 1,
                                  3 * SystemMemory::kLargePage - 1};

TEST(SystemMemory, GivesWhatIsAskedFor) {
  for (const std::size_t size : kSizes) {
    void* const memory = SystemMemory::Take(size);
    ASSERT_NE(memory, nullptr) << size;
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % SystemMemory::kAlignment, 0u) << size;
    auto* const bytes = static_cast<unsigned char*>(memory);
    for (std::size_t at = 0; at < size; at += at < 64 || size - at <= 64 ? 1 : 63) bytes[at] = 0xA5;
    if (size > 0) {
      EXPECT_EQ(bytes[size - 1], 0xA5) << size;
    }
    SystemMemory::GiveBack(memory, size);
  }
  SystemMemory::GiveBack(nullptr, 5);
}

TEST(SystemMemory, FailsForMoreThanThereIs) {
  EXPECT_EQ(SystemMemory::Take(std::numeric_limits<std::size_t>::max() - 100), nullptr);
  EXPECT_THROW(MemoryBlock(std::numeric_limits<std::size_t>::max() - 1000), std::bad_alloc);
  LargeAllocator<std::uint64_t> allocator;
  EXPECT_THROW(allocator.allocate(std::numeric_limits<std::size_t>::max() / 4), std::bad_alloc);
}

TEST(MemoryBlock, HasOneOwner) {
  MemoryBlock first(100);
  const MemoryBlock& emptied = first;
  char* const data = first.data();
  MemoryBlock second(std::move(first));
  EXPECT_EQ(emptied.data(), nullptr);
  EXPECT_EQ(emptied.size(), 0u);
  EXPECT_EQ(second.data(), data);
  MemoryBlock third(50);
  third = std::move(second);
  EXPECT_EQ(third.data(), data);
  EXPECT_EQ(third.size(), 100u);
}

TEST(LargeAllocator, ServesAVectorThatGrows) {
  std::vector<std::uint32_t, LargeAllocator<std::uint32_t>> numbers;
  const std::uint32_t count = 3 * SystemMemory::kLargePage / sizeof(std::uint32_t);
  for (std::uint32_t i = 0; i < count; ++i) numbers.push_back(i);
  for (std::uint32_t i = 0; i < count; i += 1001) ASSERT_EQ(numbers[i], i);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::System
