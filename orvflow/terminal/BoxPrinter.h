// Message boxes of an unattended run: a line on standard error for each distinct one, counted; nobody waits for a
// button.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OrvWorkFlow/MessageBoxes.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Program {

// Takes the boxes while it lives.
class BoxPrinter {
 public:
  // `shown_name` begins each line.
  explicit BoxPrinter(std::string shown_name);
  BoxPrinter(const BoxPrinter&) = delete;
  BoxPrinter& operator=(const BoxPrinter&) = delete;
  ~BoxPrinter();

  unsigned count() const { return count_; }

  // Is given each box as well, on the thread that shows it. Before the first box.
  void SetListener(std::function<void(const std::string& text)> listener) { listener_ = std::move(listener); }

  // The next box of this thread that tells of an exception says this too.
  void SetReason(const std::string& reason);

  // The texts that were shown and how often, in the order in which they first came. Of very many only the first ones.
  std::vector<std::pair<std::string, std::uint64_t>> GetTexts() const;

  // A line for each text that came more than once.
  void PrintRepeated() const;

  // The text of a box without what only a box needs: the full stops that make it wide, and the request to press a
  // button.
  static std::string TextForLine(std::string text);

 private:
  static void Print(const char* text, const char* caption, void* printer);
  std::string TakeReason();
  bool IsNew(const std::string& text);

  const std::string shown_name_;
  std::function<void(const std::string& text)> listener_;
  std::atomic<unsigned> count_ = 0;
  mutable Base::Mutex mutex_;  // A leaf; guards what follows.
  std::map<std::thread::id, std::string> reasons_ ORV_GUARDED_BY(mutex_);
  std::vector<std::pair<std::string, std::uint64_t>> texts_ ORV_GUARDED_BY(mutex_);
  std::map<std::string, std::size_t> places_ ORV_GUARDED_BY(mutex_);  // in `texts_`
  MessageBoxRoute previous_;                                          // Last: boxes come as soon as it is set.
};

}  // namespace OrvWorkFlow::Program
