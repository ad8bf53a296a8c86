// The waiting events of a thread: each name at most once, in posting order, with a count of all posts.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::OrvBase {

// One thread at a time. A name that was posted once needs no memory for later posts, so that a wake-up is not lost for
// lack of it; a first post that finds no memory leaves an event without a name.
class NamedEvents {
 public:
  void Post(std::string_view name) noexcept;
  bool HasPending() const noexcept { return nameless_pending_ || !pending_.empty(); }
  // The first waiting event's name. There must be one.
  std::string TakeFirst();
  unsigned long GetPostCount(std::string_view name) const noexcept;

 private:
  struct Known {
    std::string name;
    unsigned long posts = 0;
    bool pending = false;
  };

  Known& Find(std::string_view name);

  std::vector<Known> known_;
  std::vector<std::size_t> pending_;  // Places in known_; always has room for all of them.
  bool nameless_pending_ = false;
};

}  // namespace OrvWorkFlow::OrvBase
