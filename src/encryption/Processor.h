// What the processor can do, asked when it is wanted. The compiler's own question is asked at the start of every
// process, and each of its answers takes microseconds on a virtual machine.
#pragma once

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>

#include <cstdint>

namespace OrvWorkFlow::Core::Encryption::Md5 {

struct Processor {
  bool sse2 = false;
  bool avx2 = false;
  bool avx512f = false;
  bool avx512vl = false;
};

// Wide registers count only where the operating system saves them.
inline Processor AskProcessor() {
  constexpr std::uint32_t kSystemTellsRegisters = 1U << 27;
  constexpr std::uint32_t kSavesAvx = 0x06;
  constexpr std::uint32_t kSavesAvx512 = 0xE6;
  Processor processor;
  std::uint32_t a = 0;
  std::uint32_t b = 0;
  std::uint32_t c = 0;
  std::uint32_t d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0) return processor;
  processor.sse2 = (d & (1U << 26)) != 0;
  if ((c & kSystemTellsRegisters) == 0) return processor;
  std::uint32_t saved = 0;
  std::uint32_t high = 0;
  __asm__("xgetbv" : "=a"(saved), "=d"(high) : "c"(0));
  if ((saved & kSavesAvx) != kSavesAvx || __get_cpuid_count(7, 0, &a, &b, &c, &d) == 0) return processor;
  processor.avx2 = (b & (1U << 5)) != 0;
  if ((saved & kSavesAvx512) != kSavesAvx512) return processor;
  processor.avx512f = (b & (1U << 16)) != 0;
  processor.avx512vl = processor.avx512f && (b & (1U << 31)) != 0;
  return processor;
}

}  // namespace OrvWorkFlow::Core::Encryption::Md5
#endif
