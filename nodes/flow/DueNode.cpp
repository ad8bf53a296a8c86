#include "nodes/flow/DueNode.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <string>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr char kWaiting[] = "Waiting";
// The clock on the wall may be set, and the machine may sleep.
constexpr std::chrono::milliseconds kMostPause = std::chrono::seconds(5);

}  // namespace

bool DueNode::GetProperty(const char* property_name, IOrvPString* value) {
  if (property_name == nullptr || std::string_view(property_name) != "Busy") return false;
  // A node that was stopped is not: its thread has ended, whatever still waits.
  return WorkerNode::GetProperty(property_name, value) && (has_more_ || AssignText(value, "no"));
}

std::int64_t DueNode::Now() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

bool DueNode::OnSignal(std::string_view signal) {
  DropValues();  // The thread, which is there all the time, reads no parameters.
  Outputs outputs;
  bool is_done = true;
  bool has_due = false;
  {
    const std::lock_guard lock(mutex_);
    Load();
    if (signal != "resume") is_done = OnInput(signal, outputs);
    has_due = !due_.empty();
    has_more_ = has_due || is_firing_;
  }
  if (has_due) {
    Continue();
    Wake();
  }
  for (const char* output : outputs) FireOutput(output);
  return is_done;
}

Sdk::WorkerNode::Outcome DueNode::Work() {
  while (!StopWanted()) {
    Outputs outputs;
    std::chrono::milliseconds wait = kMostPause;
    if (!TakeDue(outputs, wait)) {
      Pause(wait);
      continue;
    }
    for (const char* output : outputs) FireOutput(output);
    const std::lock_guard lock(mutex_);
    is_firing_ = false;
    has_more_ = !due_.empty();
  }
  const std::lock_guard lock(mutex_);
  return due_.empty() ? Outcome::Done : Outcome::Stopped;
}

bool DueNode::TakeDue(Outputs& outputs, std::chrono::milliseconds& wait) {
  const std::lock_guard lock(mutex_);
  if (due_.empty()) return false;
  const auto first = std::min_element(due_.begin(), due_.end());
  const std::int64_t time = *first;
  const std::int64_t now = Now();
  if (time > now) {
    wait = std::min(wait, std::chrono::milliseconds(time - now));
    return false;
  }
  HoldChanges();  // It is removed when what is fired for it is there.
  due_.erase(first);
  Store();
  OnDue(time, outputs);
  is_firing_ = true;
  return true;
}

void DueNode::Add(std::int64_t time) {
  due_.push_back(time);
  Store();
}

void DueNode::RemoveAll() {
  due_.clear();
  Store();
}

void DueNode::Load() {
  if (is_loaded_) return;
  is_loaded_ = true;
  const std::vector<std::string> texts = Record().Texts(kWaiting);
  for (const std::string& text : texts) {
    std::int64_t time = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), time).ec == std::errc()) due_.push_back(time);
  }
  MayFireMore(static_cast<std::int64_t>(due_.size()));
}

void DueNode::Store() {
  std::vector<std::string> texts;
  texts.reserve(due_.size());
  for (const std::int64_t time : due_) texts.push_back(std::to_string(time));
  Record().SetTexts(kWaiting, texts);
}

}  // namespace OrvWorkFlow::Nodes
