#include "journal/MomentSearch.h"

#include <algorithm>
#include <new>

#include "OrvWorkFlow/host/HostError.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "journal/ChangeReplay.h"

namespace OrvWorkFlow::Journal {

MomentSearch::MomentSearch(IDictionary& scratch, const std::string& shown_name, unsigned run,
                           const std::vector<Moment>& wanted)
    : dictionary_(scratch), shown_name_(shown_name), wanted_run_(run), wanted_(wanted), found_(wanted.size()) {}

bool MomentSearch::IsAllFound() const {
  return std::all_of(found_.begin(), found_.end(), [](const MomentFound& found) { return found.is_found; });
}

void MomentSearch::Take(const Event& event) {
  if (event.kind == Kind::RunBegun) {
    if (IsOfRun()) Finish();
    standing_.Take(event);
    if (IsOfRun()) Begin();
    return;
  }
  if (run_ == 0 || !IsOfRun()) return;
  const bool is_delivery = event.kind == Kind::DeliveryBegun || event.kind == Kind::DeliveryEnded;
  if (is_delivery && first_delivery_ == 0) {
    Find(Moment::Point::Start, 0);
    first_delivery_ = event.number;
  }
  if (event.kind == Kind::Change || event.kind == Kind::Snapshot) Change(event);
  standing_.Take(event);
  if (event.time != 0) time_ = event.time;
  if (event.kind == Kind::NodeMade || event.kind == Kind::NodeDescribed) NoteNode({event.type, event.instance});
  if (event.kind == Kind::RunEnded) {
    has_ended_ = true;
    exit_code_ = event.exit_code;
  }
  if (event.kind == Kind::DeliveryBegun) at_work_.insert(event.number);
  if (event.kind != Kind::DeliveryEnded) return;
  at_work_.erase(event.number);
  last_ended_ = event.number;
  Find(Moment::Point::Delivery, event.number);
}

void MomentSearch::Begin() {
  found_.assign(wanted_.size(), {});
  nodes_.clear();
  known_nodes_.clear();
  run_ = standing_.run();
  time_ = 0;
  first_delivery_ = 0;
  last_ended_ = 0;
  at_work_.clear();
  has_ended_ = false;
  exit_code_ = 0;
  has_dictionary_ = false;
}

void MomentSearch::Finish() {
  if (run_ == 0 || run_ != standing_.run()) return;
  if (first_delivery_ == 0) Find(Moment::Point::Start, 0);
  Find(Moment::Point::End, 0);
}

// What is behind the last moment is looked at, but not made.
void MomentSearch::Change(const Event& event) {
  if (IsAllFound()) return;
  if (event.kind == Kind::Snapshot) has_dictionary_ = true;
  if (!has_dictionary_ || ApplyChange(dictionary_, event) || standing_.has_lost_changes()) return;
  throw Host::HostError(Host::HostError::Kind::Damaged, shown_name_, event.path,
                        "the record of a change there does not fit what was before");
}

void MomentSearch::NoteNode(const RunStanding::Node& node) {
  if (known_nodes_.insert(node).second) nodes_.push_back(node);
}

void MomentSearch::Find(Moment::Point point, std::uint64_t number) {
  for (std::size_t i = 0; i < wanted_.size(); ++i) {
    if (found_[i].is_found || wanted_[i].point != point || wanted_[i].number != number) continue;
    MomentFound& found = found_[i];
    found.is_found = true;
    found.has_dictionary = has_dictionary_;
    found.lacks_changes = standing_.has_lost_changes();
    found.time = time_;
    found.standing = standing_;
    found.nodes = nodes_;
    if (!has_dictionary_) continue;
    const Sdk::TextHolder text;
    if (!dictionary_.SaveToText(text.get())) throw std::bad_alloc();
    found.dictionary.assign(text->GetText(), text->GetLength());
  }
}

}  // namespace OrvWorkFlow::Journal
