#include "journal/DurableDeliveries.h"

#include <chrono>
#include <thread>
#include <utility>

#include "host/HostParts.h"

namespace OrvWorkFlow::Journal {

namespace {

constexpr std::chrono::milliseconds kLook{50};

void NameNode(const char* type, const char* instance, std::string& name) {
  name.assign(type).push_back('\0');
  name.append(instance);
}

}  // namespace

DurableDeliveries::DurableDeliveries(Host::WorkflowHost& host, const std::string& flow)
    : host_(host), flow_(flow), tell_(host.parts().tell) {
  const auto hold = [](void* self) { static_cast<DurableDeliveries*>(self)->HoldWhileFull(); };
  host_.parts().objects.host_app().SetBeforeDelivery(hold, this);
}

void DurableDeliveries::Begin(std::vector<RunRecord*> records) {
  {
    const std::unique_lock<std::shared_mutex> lock(sync_mutex_);
    sync_.emplace(std::move(records), [this](const std::string& why) {
      has_failed_ = true;
      host_.RequestStop();
      Tell(flow_ + ": the record is not safe from a power failure: " + why + "; the run stops");
    });
  }
  if (!Await()) throw Host::HostError(Host::HostError::Kind::Failed, flow_, "", "is not run without a durable record");
}

bool DurableDeliveries::Await() {
  const std::shared_lock<std::shared_mutex> lock(sync_mutex_);
  return sync_ && sync_->Await();
}

void DurableDeliveries::End() {
  const std::unique_lock<std::shared_mutex> lock(sync_mutex_);
  if (sync_) last_deliveries_ = sync_->deliveries();
  sync_.reset();
}

std::uint64_t DurableDeliveries::deliveries() const {
  const std::shared_lock<std::shared_mutex> lock(sync_mutex_);
  return sync_ ? sync_->deliveries() : last_deliveries_;
}

void DurableDeliveries::NodeDescribed(const NodeFacts& node) {
  if (!node.acts_outside) return;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    NameNode(node.type, node.instance, name_);
    outside_.insert(name_);
    has_outside_ = true;
  }
  Await();  // It may be made in the middle of its first delivery.
}

void DurableDeliveries::Exempt(const char* type, const char* instance) {
  const std::lock_guard<std::mutex> lock(mutex_);
  NameNode(type, instance, name_);
  outside_.erase(name_);
}

void DurableDeliveries::DeliveryBegun(const Delivery& delivery) {
  if (!has_outside_) return;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    NameNode(delivery.receiver.type, delivery.receiver.instance, name_);
    if (!outside_.contains(name_)) return;
  }
  Await();
}

// On the GUI thread, without any lock: what has to be recorded meanwhile finds the room that was kept.
void DurableDeliveries::HoldWhileFull() {
  if (!sync_ || !sync_->lacks_room() || IsStopping()) return;
  Tell(flow_ + ": the disk has no more room for the record; the run waits until there is some");
  while (sync_->lacks_room() && !IsStopping()) std::this_thread::sleep_for(kLook);
  if (!sync_->lacks_room()) Tell(flow_ + ": there is room again; the run goes on");
}

// A run that stops delivers what it has begun to hand over.
bool DurableDeliveries::IsStopping() const {
  if (has_failed_ || host_.parts().wants_stop) return true;
  IWorkFlowEngine::QueueState queue;
  return !host_.engine().GetQueueState(&queue) || !queue.running;
}

}  // namespace OrvWorkFlow::Journal
