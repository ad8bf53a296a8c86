#include "journal/RunView.h"

#include "journal/ChangeReplay.h"
#include "journal/DictionaryImage.h"

namespace OrvWorkFlow::Journal {

bool RunView::Take(const Event& event) {
  bool fits = true;
  if (event.kind == Kind::Snapshot) has_dictionary_ = true;
  if (has_dictionary_ && (event.kind == Kind::Change || event.kind == Kind::Snapshot)) {
    fits = ApplyChange(dictionary_, event) || standing_.has_lost_changes();
  }
  TakeWithoutChanges(event);
  return fits;
}

void RunView::TakeWithoutChanges(const Event& event) {
  standing_.Take(event);
  if (event.kind == Kind::RunBegun) return Begin();
  if (event.time != 0) time_ = event.time;
  switch (event.kind) {
    case Kind::NodeMade:
    case Kind::NodeDescribed:
      NoteNode({event.type, event.instance});
      break;
    case Kind::DeliveryBegun:
    case Kind::DeliveryEnded:
      NoteDelivery(event);
      break;
    case Kind::RunEnded:
      has_ended_ = true;
      exit_code_ = event.exit_code;
      break;
    default:
      break;
  }
}

void RunView::Begin() {
  nodes_.clear();
  known_nodes_.clear();
  time_ = 0;
  first_delivery_ = 0;
  last_ended_ = 0;
  at_work_.clear();
  has_ended_ = false;
  exit_code_ = 0;
  has_dictionary_ = false;
}

void RunView::NoteNode(const RunStanding::Node& node) {
  if (known_nodes_.insert(node).second) nodes_.push_back(node);
}

void RunView::NoteDelivery(const Event& event) {
  if (first_delivery_ == 0) first_delivery_ = event.number;
  if (event.kind == Kind::DeliveryBegun) {
    at_work_.insert(event.number);
    return;
  }
  at_work_.erase(event.number);
  last_ended_ = event.number;
}

bool RunView::SaveTo(StateSaver& saver) const {
  DictionaryImage image;
  if (has_dictionary_ && !TakeImage(dictionary_, &image)) return false;
  PassMembers(*this, saver);
  if (has_dictionary_) saver(image);
  return true;
}

bool RunView::ResumeFrom(StateLoader& loader) {
  PassMembers(*this, loader);
  if (!loader.ok() || !has_dictionary_) return loader.ok();
  DictionaryImage image;
  loader(image);
  return loader.ok() && PutImage(image, dictionary_);
}

}  // namespace OrvWorkFlow::Journal
