// Patterns that are asked for again and again, kept compiled.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "regexp/Pattern.h"

namespace OrvWorkFlow::Core::Patterns {

// Any thread; none waits for another. A few patterns of moderate length: a new one takes the place of another one when
// it is asked for the second time, so that patterns that come once drive none out.
template <class Char>
class KeptPatterns {
 public:
  using View = std::basic_string_view<Char>;

  static constexpr std::size_t kMost = 16;
  static constexpr std::size_t kLongest = 256;

  constexpr KeptPatterns() = default;
  KeptPatterns(const KeptPatterns&) = delete;
  KeptPatterns& operator=(const KeptPatterns&) = delete;

  // Whether the pattern is found in the text; empty when it is not kept, because it is new, too long or no pattern.
  std::optional<bool> Search(View pattern, View text) noexcept {
    if (pattern.size() > kLongest) return std::nullopt;
    const std::size_t hash = std::hash<View>()(pattern) | 1;  // 0 stands for none.
    for (Place& place : places_) {
      if (place.hash.load(std::memory_order_relaxed) != hash || !place.Enter()) continue;
      const Visit visit(place);
      if (place.pattern != nullptr && place.text == pattern) return place.pattern->Search(text);
    }
    std::atomic<std::size_t>& seen = seen_[hash / 2 % seen_.size()];
    if (seen.load(std::memory_order_relaxed) == hash) {
      Keep(pattern, hash);
    } else {
      seen.store(hash, std::memory_order_relaxed);
    }
    return std::nullopt;
  }

 private:
  // A kept pattern. Who reads it counts as a user; who changes it has it alone.
  struct Place {
    static constexpr int kChanging = -1;

    bool Enter() noexcept {
      int count = users.load(std::memory_order_relaxed);
      while (count != kChanging) {
        if (users.compare_exchange_weak(count, count + 1, std::memory_order_acquire)) return true;
      }
      return false;
    }
    void Leave() noexcept { users.fetch_sub(1, std::memory_order_release); }
    bool BeginChange() noexcept {
      int nobody = 0;
      return users.compare_exchange_strong(nobody, kChanging, std::memory_order_acquire);
    }
    void EndChange() noexcept { users.store(0, std::memory_order_release); }

    std::atomic<int> users = 0;
    std::atomic<std::size_t> hash = 0;
    std::basic_string<Char> text;
    std::unique_ptr<const Patterns::BasicPattern<Char>> pattern;
  };
  class Visit {
   public:
    explicit Visit(Place& place) : place_(place) {}
    ~Visit() { place_.Leave(); }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

   private:
    Place& place_;
  };

  // Without memory, or when all places are busy, it is kept some other time.
  void Keep(View pattern, std::size_t hash) noexcept {
    try {
      std::basic_string<Char> text(pattern);
      auto compiled = std::make_unique<Patterns::BasicPattern<Char>>();
      if (!compiled->Compile(text.c_str())) return;
      Place& place = places_[next_.fetch_add(1, std::memory_order_relaxed) % kMost];
      if (!place.BeginChange()) return;
      place.text.swap(text);
      place.pattern = std::move(compiled);
      place.hash.store(hash, std::memory_order_relaxed);
      place.EndChange();
    } catch (...) {  // No memory.
    }
  }

  std::array<Place, kMost> places_;
  std::array<std::atomic<std::size_t>, kMost> seen_{};  // Of patterns that are not kept.
  std::atomic<std::size_t> next_ = 0;
};

}  // namespace OrvWorkFlow::Core::Patterns
