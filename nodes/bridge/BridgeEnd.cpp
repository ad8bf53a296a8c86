#include "nodes/bridge/BridgeEnd.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <stdexcept>

#include "OrvWorkFlow/IHostRecord.h"
#include "OrvWorkFlow/IRunReport.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"
#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

class AtWork final : public IRunReport {
 public:
  AtWork(std::string_view type, std::string_view instance) : type_(type), instance_(instance) {}
  void NodeAtWork(const Work& work) override {
    found_ = found_ || (work.delivery.receiver.type == type_ && work.delivery.receiver.instance == instance_);
  }
  void NodeThere(const Node& /*node*/) override {}
  void SignalWaiting(const Waiting& /*signal*/) override {}
  bool found() const { return found_; }

 private:
  const std::string_view type_, instance_;
  bool found_ = false;
};

void ExpectName(const std::string& parameter, const std::string& name) {
  const auto is_allowed = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  };
  if (name.empty() || name.size() > 64 || !std::all_of(name.begin(), name.end(), is_allowed)) {
    throw std::runtime_error("the parameter " + parameter + " is \"" + name +
                             "\"; it takes 1 to 64 letters, digits, \"_\" and \"-\"");
  }
}

}  // namespace

bool IsDeliveredTo(std::string_view type, std::string_view instance) {
  // Where there is no mediator, nothing is recorded.
  auto* const mediator =
      Sdk::FindGlobal<ISignalMediator>(ObjectNames::kSignalMediator, InterfaceNames::kSignalMediator);
  if (mediator == nullptr) return false;
  AtWork at_work(type, instance);
  return !mediator->Report(&at_work) || at_work.found();
}

namespace {

IHostRecord* FindRecord() { return Sdk::FindGlobal<IHostRecord>(ObjectNames::kHostApp, InterfaceNames::kHostRecord); }

}  // namespace

bool AwaitRecord() {
  IHostRecord* const host = FindRecord();
  return host == nullptr || host->AwaitRecord();
}

void SayThatItAwaits(const std::string& type, const std::string& instance) {
  if (IHostRecord* const host = FindRecord()) host->AwaitsItself(type.c_str(), instance.c_str());
}

void Promise::Note() {
  IHostRecord* const host = FindRecord();
  has_noted_ = host != nullptr;  // Else nothing is known of it.
  if (host != nullptr) saves_ = host->CountSaves();
}

bool Promise::IsKept() {
  if (!has_noted_) return true;
  IHostRecord* const host = FindRecord();
  is_broken_ = host != nullptr && !host->AwaitRecord() && host->CountSaves() == saves_;
  has_noted_ = is_broken_;
  return !is_broken_;
}

const char* Promise::Problem() const {
  return is_broken_ ? "the record of this run has ended; nothing is told before the state is saved" : "";
}

std::string AddressOf(const std::string& bridge) {
  ExpectName("Bridge", bridge);
  return bridge + "/in";
}

std::string AddressOfShare(const std::string& bridge, const std::string& receiver) {
  ExpectName("Bridge", bridge);
  ExpectName("Receiver", receiver);
  return bridge + "/share/" + receiver;
}

std::string AddressOf(const std::string& bridge, const Id& sender) {
  return AddressOf(bridge).substr(0, bridge.size()) + "/out/" + sender.Text();
}

std::unique_ptr<Transport> OpenTransport(const ParameterReader& parameters, const Id& id, const std::string& address) {
  TransportSettings settings;
  settings.kind = parameters.text("Transport");
  settings.host = parameters.text("Host");
  settings.port = static_cast<std::uint16_t>(parameters.number("Port"));
  settings.faults = parameters.optional_text("Faults");
  settings.client = "orvflow-" + id.Text();
  auto* const files = Sdk::FindGlobal<IFileSystemA>(ObjectNames::kFileSystem, InterfaceNames::kFileSystemA);
  if (files == nullptr) throw std::runtime_error("the host has no global file system");
  if (const std::string folder = parameters.optional_text("Folder"); !folder.empty()) {
    settings.folder = LocalPath(*files, folder);
  }
  if (const std::string secrets = parameters.optional_text("Secrets"); !secrets.empty()) {
    settings.secrets = ReadSecrets(LocalPath(*files, secrets), secrets);
  }
  std::unique_ptr<Transport> transport = MakeTransport(settings);
  transport->Open(address);
  return transport;
}

Id IdOf(Sdk::NodeRecord& record) {
  Id id = Id::FromText(record.Text("Id"));
  if (!id.IsNone()) return id;
  id = Id::Random();
  record.SetText("Id", id.Text());
  return id;
}

std::int64_t Now() {
  const auto passed = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(passed).count();
}

std::uint64_t NumberOfName(std::string_view name) {
  std::uint64_t number = 0;
  if (name.size() < 2 || name.front() != 'N') return 0;
  const auto result = std::from_chars(name.data() + 1, name.data() + name.size(), number);
  return result.ec == std::errc() && result.ptr == name.data() + name.size() ? number : 0;
}

std::string NameOfNumber(std::uint64_t number) { return "N" + std::to_string(number); }

}  // namespace OrvWorkFlow::Nodes::Bridge
