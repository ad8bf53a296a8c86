#include "runtime/NamedEvents.h"

#include <utility>

namespace OrvWorkFlow::OrvBase {

NamedEvents::Known& NamedEvents::Find(std::string_view name) {
  for (Known& known : known_) {
    if (known.name == name) {
      return known;
    }
  }
  pending_.reserve(known_.size() + 1);
  known_.push_back(Known{std::string(name)});
  return known_.back();
}

void NamedEvents::Post(std::string_view name) noexcept {
  try {
    Known& known = Find(name);
    ++known.posts;
    if (!known.pending) {
      known.pending = true;
      pending_.push_back(static_cast<std::size_t>(&known - known_.data()));
    }
  } catch (...) {
    nameless_pending_ = true;
  }
}

std::string NamedEvents::TakeFirst() {
  if (pending_.empty()) {
    nameless_pending_ = false;
    return {};
  }
  Known& known = known_[pending_.front()];
  std::string name = known.name;  // May throw: the event then still waits.
  known.pending = false;
  pending_.erase(pending_.begin());
  return name;
}

unsigned long NamedEvents::GetPostCount(std::string_view name) const noexcept {
  for (const Known& known : known_) {
    if (known.name == name) {
      return known.posts;
    }
  }
  return 0;
}

}  // namespace OrvWorkFlow::OrvBase
