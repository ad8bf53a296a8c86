// Takes message boxes in place of the user, for its lifetime.
#pragma once

#include <string>
#include <thread>
#include <vector>

#include "OrvWorkFlow/MessageBoxes.h"

namespace orv_test {

struct RecordedBox {
  std::string text;
  std::string caption;
  std::thread::id thread;
};

// Boxes may be shown on any thread. Recorders may nest: the innermost gets the boxes. No thread may be showing a box
// when the recorder goes.
class MessageBoxRecorder {
 public:
  MessageBoxRecorder();
  ~MessageBoxRecorder();
  MessageBoxRecorder(const MessageBoxRecorder&) = delete;
  MessageBoxRecorder& operator=(const MessageBoxRecorder&) = delete;

  std::vector<RecordedBox> GetBoxes() const;
  // Of all boxes so far, in order.
  std::vector<std::string> GetTexts() const;
  void Clear();

 private:
  struct State;
  static void Record(const char* text, const char* caption, void* context);

  State* state_;
  OrvWorkFlow::MessageBoxRoute previous_;
};

}  // namespace orv_test
