// One signal on its way, as engine and mediator know it.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace OrvWorkFlow::Core {

// Six texts that never change, in one block of memory that all copies share.
class SignalTexts {
 public:
  enum Field {
    SenderType,
    SenderInstance,
    OutgoingSignal,
    ReceiverType,
    ReceiverInstance,
    IncomingSignal,
    kFieldCount,
  };
  using Texts = std::array<std::string_view, kFieldCount>;

  SignalTexts() = default;  // six empty texts
  // A text ends at its first zero character.
  explicit SignalTexts(const Texts& texts);
  SignalTexts(const SignalTexts& other) noexcept : block_(other.block_) {
    if (block_ != nullptr) block_->shares.fetch_add(1, std::memory_order_relaxed);
  }
  SignalTexts(SignalTexts&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  SignalTexts& operator=(const SignalTexts& other) noexcept { return *this = SignalTexts(other); }
  SignalTexts& operator=(SignalTexts&& other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }
  ~SignalTexts() { GiveBack(block_, 1); }

  // Zero-terminated; valid as long as any copy.
  const char* Text(Field field) const noexcept { return block_ != nullptr ? block_->texts[field] : ""; }

  // What the mediator found for the receiver, guarded by its access lock.
  struct Note {
    std::size_t index = 0;
    std::uint64_t changes = 0;
  };
  // Shared by all copies; null for six empty texts.
  Note* note() const noexcept { return block_ != nullptr ? &block_->note : nullptr; }

  class Source;
  class Sink;

 private:
  // The characters stand behind it, each text with its terminator.
  struct Block {
    std::atomic<std::uint32_t> shares = 1;
    std::array<const char*, kFieldCount> texts{};
    Note note;
  };

  explicit SignalTexts(Block* block) noexcept : block_(block) {}
  static void GiveBack(Block* block, std::uint32_t shares) noexcept {
    if (block != nullptr && block->shares.fetch_sub(shares, std::memory_order_acq_rel) == shares) Free(block);
  }
  static void Free(Block* block) noexcept;

  Block* block_ = nullptr;
};

// Texts of which many copies are made, one thread at a time: a copy costs hardly anything, since shares for many are
// taken at once.
class SignalTexts::Source : public SignalTexts {
 public:
  explicit Source(const Texts& texts) : SignalTexts(texts) {}
  Source(Source&& other) noexcept : SignalTexts(std::move(other)), ready_(std::exchange(other.ready_, 0)) {}
  Source& operator=(Source&& other) noexcept {
    std::swap(block_, other.block_);
    std::swap(ready_, other.ready_);
    return *this;
  }
  ~Source() {
    if (ready_ > 0) GiveBack(block_, ready_);
  }

  SignalTexts Copy() const noexcept {
    if (ready_ == 0) {
      block_->shares.fetch_add(kAtOnce, std::memory_order_relaxed);
      ready_ = kAtOnce;
    }
    --ready_;
    return SignalTexts(block_);
  }

 private:
  static constexpr std::uint32_t kAtOnce = 4096;
  mutable std::uint32_t ready_ = 0;
};

// Where copies go that are not needed any more, one thread at a time: those of the same texts are given back together.
class SignalTexts::Sink {
 public:
  Sink() = default;
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;
  ~Sink() { GiveBack(block_, count_); }

  void Take(SignalTexts texts) noexcept {
    if (texts.block_ != block_ || count_ == kAtOnce) {
      GiveBack(std::exchange(block_, texts.block_), std::exchange(count_, 0));
    }
    if (std::exchange(texts.block_, nullptr) != nullptr) ++count_;
  }

 private:
  static constexpr std::uint32_t kAtOnce = 4096;
  Block* block_ = nullptr;
  std::uint32_t count_ = 0;  // shares of the block
};

}  // namespace OrvWorkFlow::Core
