#include "OrvWorkFlow/sdk/WorkerNode.h"

#include <exception>
#include <string_view>
#include <utility>

namespace OrvWorkFlow::Sdk {

void* WorkerNode::QueryInterface(const char* interface_name) {
  const std::string_view name = interface_name == nullptr ? "" : interface_name;
  if (name == InterfaceNames::kNodeContinuation) return static_cast<INodeContinuation*>(this);
  return WorkNodeBase::QueryInterface(interface_name);
}

void WorkerNode::FireLast(const char* signal_name) {
  continues_ = false;
  FireOutput(signal_name);
}

bool WorkerNode::IsWorking() {
  if (busy_ && continues_) return true;
  if (worker_ == std::this_thread::get_id()) return true;  // It fires, and is answered by itself.
  const std::lock_guard lock(thread_mutex_);
  if (thread_.joinable()) thread_.join();
  return false;
}

bool WorkerNode::BeginAnew() {
  if (IsWorking()) return false;
  KeepValues(ValuesFolder());
  return Start();
}

bool WorkerNode::Continue() {
  if (IsWorking()) return false;
  TakeKeptValues(ValuesFolder());
  return Start();
}

std::string WorkerNode::ValuesFolder() const { return "/WorkerNodes/" + TypeName() + "/" + InstanceName(); }

bool WorkerNode::Start() {
  const std::lock_guard lock(thread_mutex_);
  if (busy_) return false;
  if (thread_.joinable()) thread_.join();
  {
    const std::lock_guard stop_lock(stop_mutex_);
    stop_ = false;
    woken_ = false;
  }
  was_stopped_ = false;
  busy_ = true;
  continues_ = true;
  try {
    thread_ = std::thread([this] { Run(); });
  } catch (...) {
    busy_ = false;
    continues_ = false;
    throw;
  }
  return true;
}

void WorkerNode::Run() {
  worker_ = std::this_thread::get_id();
  try {
    was_stopped_ = Work() == Outcome::Stopped;
  } catch (const std::exception& error) {
    TellUser(error.what());
  }
  continues_ = false;
  worker_ = std::thread::id();
  busy_ = false;  // Last: what was fired is in the queue before the node counts as idle.
}

bool WorkerNode::StopWork() {
  const std::lock_guard lock(thread_mutex_);
  if (!thread_.joinable()) return false;
  {
    const std::lock_guard stop_lock(stop_mutex_);
    stop_ = true;
  }
  stop_changed_.notify_all();
  if (busy_) InterruptWork();
  thread_.join();
  DropValues();
  continues_ = false;
  return std::exchange(was_stopped_, false);
}

bool WorkerNode::Pause(std::chrono::milliseconds time) {
  std::unique_lock lock(stop_mutex_);
  stop_changed_.wait_for(lock, time, [this] { return stop_.load() || woken_; });
  woken_ = false;
  return !stop_;
}

void WorkerNode::Wake() {
  {
    const std::lock_guard lock(stop_mutex_);
    woken_ = true;
  }
  stop_changed_.notify_all();
}

bool WorkerNode::GetRebootSignal(IOrvPString* signal_name) { return AssignText(signal_name, "resume"); }

bool WorkerNode::GetProperty(const char* property_name, IOrvPString* value) {
  if (property_name == nullptr || std::string_view(property_name) != "Busy") return false;
  return AssignText(value, busy_ ? "yes" : "no");
}

void WorkerNode::Release() {
  StopWork();
  WorkNodeBase::Release();
}

}  // namespace OrvWorkFlow::Sdk
