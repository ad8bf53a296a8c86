#include "flow/graph/Circles.h"

#include <algorithm>

namespace OrvWorkFlow::Flow {

namespace {

using Place = std::size_t;

// After Tarjan, without recursion: a chain of 10^5 nodes has to fit.
class Circles {
 public:
  explicit Circles(const std::vector<std::vector<Place>>& roads)
      : roads_(roads), order_(roads.size(), kNew), low_(roads.size(), 0), on_path_(roads.size(), false) {
    for (Place place = 0; place < roads.size(); ++place) {
      if (order_[place] == kNew) Walk(place);
    }
  }

  // Each with its nodes in the order in which they are in the workflow.
  std::vector<std::vector<Place>> found;

 private:
  static constexpr std::size_t kNew = static_cast<std::size_t>(-1);
  struct Step {
    Place place;
    std::size_t next;
  };

  void Enter(Place place) {
    order_[place] = low_[place] = count_++;
    path_.push_back(place);
    on_path_[place] = true;
    steps_.push_back({place, 0});
  }

  void Walk(Place first) {
    Enter(first);
    while (!steps_.empty()) {
      Step& step = steps_.back();
      const Place place = step.place;
      if (step.next < roads_[place].size()) {
        const Place next = roads_[place][step.next++];
        if (order_[next] == kNew) {
          Enter(next);
        } else if (on_path_[next]) {
          low_[place] = std::min(low_[place], order_[next]);
        }
        continue;
      }
      steps_.pop_back();
      if (!steps_.empty()) low_[steps_.back().place] = std::min(low_[steps_.back().place], low_[place]);
      if (low_[place] == order_[place]) TakePart(place);
    }
  }

  void TakePart(Place first) {
    std::vector<Place> part;
    for (Place place = kNew; place != first;) {
      place = path_.back();
      path_.pop_back();
      on_path_[place] = false;
      part.push_back(place);
    }
    const auto& next = roads_[first];
    const bool leads_to_itself = std::find(next.begin(), next.end(), first) != next.end();
    if (part.size() == 1 && !leads_to_itself) return;
    std::sort(part.begin(), part.end());
    found.push_back(std::move(part));
  }

  const std::vector<std::vector<Place>>& roads_;
  std::vector<std::size_t> order_;
  std::vector<std::size_t> low_;
  std::vector<bool> on_path_;
  std::vector<Place> path_;
  std::vector<Step> steps_;
  std::size_t count_ = 0;
};

}  // namespace

std::vector<std::vector<Place>> FindCircles(const std::vector<std::vector<Place>>& roads) {
  return Circles(roads).found;
}

}  // namespace OrvWorkFlow::Flow
