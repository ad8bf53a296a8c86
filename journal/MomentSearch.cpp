#include "journal/MomentSearch.h"

#include <algorithm>
#include <new>

#include "OrvWorkFlow/host/HostError.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Journal {

MomentSearch::MomentSearch(IDictionary& scratch, const std::string& shown_name, unsigned run,
                           const std::vector<Moment>& wanted)
    : shown_name_(shown_name), wanted_run_(run), wanted_(wanted), found_(wanted.size()), view_(scratch) {}

bool MomentSearch::ResumeFrom(StateLoader& loader) {
  if (!view_.ResumeFrom(loader)) return false;
  runs_ = view_.standing().run();
  if (wanted_run_ == 0 || wanted_run_ == runs_) run_ = runs_;
  return true;
}

bool MomentSearch::IsAllFound() const {
  return std::all_of(found_.begin(), found_.end(), [](const MomentFound& found) { return found.is_found; });
}

void MomentSearch::Take(const Event& event) {
  if (event.kind == Kind::RunBegun) return Begin(event);
  if (run_ == 0 || run_ != runs_) return;
  const bool is_delivery = event.kind == Kind::DeliveryBegun || event.kind == Kind::DeliveryEnded;
  if (is_delivery && view_.first_delivery() == 0) Find(Moment::Point::Start, 0);
  // What is behind the last moment is looked at, but not made.
  if (IsAllFound()) {
    view_.TakeWithoutChanges(event);
  } else if (!view_.Take(event)) {
    throw Host::HostError(Host::HostError::Kind::Damaged, shown_name_, event.path,
                          "the record of a change there does not fit what was before");
  }
  if (event.kind == Kind::DeliveryEnded) Find(Moment::Point::Delivery, event.number);
}

void MomentSearch::Begin(const Event& event) {
  Finish();
  ++runs_;
  if (wanted_run_ != 0 && wanted_run_ < runs_) return;
  view_.Take(event);
  if (wanted_run_ != 0 && wanted_run_ != runs_) return;
  found_.assign(wanted_.size(), {});
  run_ = runs_;
}

void MomentSearch::Finish() {
  if (run_ == 0 || run_ != runs_) return;
  if (view_.first_delivery() == 0) Find(Moment::Point::Start, 0);
  Find(Moment::Point::End, 0);
}

void MomentSearch::Find(Moment::Point point, std::uint64_t number) {
  for (std::size_t i = 0; i < wanted_.size(); ++i) {
    if (found_[i].is_found || wanted_[i].point != point || wanted_[i].number != number) continue;
    MomentFound& found = found_[i];
    found.is_found = true;
    found.has_dictionary = view_.has_dictionary();
    found.lacks_changes = view_.standing().has_lost_changes();
    found.time = view_.time();
    found.standing = view_.standing();
    found.nodes = view_.nodes();
    if (!found.has_dictionary) continue;
    const Sdk::TextHolder text;
    if (!view_.dictionary().SaveToText(text.get())) throw std::bad_alloc();
    found.dictionary.assign(text->GetText(), text->GetLength());
  }
}

}  // namespace OrvWorkFlow::Journal
