#include "tests/fakes/MessageBoxRecorder.h"

#include <mutex>

namespace orv_test {

struct MessageBoxRecorder::State {
  std::mutex mutex;
  std::vector<RecordedBox> boxes;
};

MessageBoxRecorder::MessageBoxRecorder()
    : state_(new State), previous_(OrvWorkFlow::SetMessageBoxRoute({&MessageBoxRecorder::Record, state_})) {}

MessageBoxRecorder::~MessageBoxRecorder() {
  OrvWorkFlow::SetMessageBoxRoute(previous_);
  delete state_;
}

void MessageBoxRecorder::Record(const char* text, const char* caption, void* context) {
  State& state = *static_cast<State*>(context);
  const std::lock_guard lock(state.mutex);
  state.boxes.push_back({text, caption, std::this_thread::get_id()});
}

std::vector<RecordedBox> MessageBoxRecorder::GetBoxes() const {
  const std::lock_guard lock(state_->mutex);
  return state_->boxes;
}

std::vector<std::string> MessageBoxRecorder::GetTexts() const {
  std::vector<std::string> texts;
  for (const RecordedBox& box : GetBoxes()) {
    texts.push_back(box.text);
  }
  return texts;
}

void MessageBoxRecorder::Clear() {
  const std::lock_guard lock(state_->mutex);
  state_->boxes.clear();
}

}  // namespace orv_test
