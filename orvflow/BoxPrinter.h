// Message boxes of an unattended run: a line on standard error each, counted; nobody waits for a button.
#pragma once

#include <atomic>
#include <string>

#include "OrvWorkFlow/MessageBoxes.h"

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

  // The text of a box without what only a box needs: the full stops that make it wide, and the request to press a
  // button.
  static std::string TextForLine(std::string text);

 private:
  static void Print(const char* text, const char* caption, void* printer);

  const std::string shown_name_;
  std::atomic<unsigned> count_ = 0;
  MessageBoxRoute previous_;
};

}  // namespace OrvWorkFlow::Program
