// A host that keeps a record, and may die in its run:
//
//   RecordedHost FLOW [fresh] [power] [key] [begun N | ended N | stop N]
//
// N counts the deliveries of this run. Ends with 0, with 1 where signals failed, with 6 when it was stopped and saved,
// and with 5 for a file that is damaged.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "OrvWorkFlow/host/RunObserver.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "tests/program/host/DieAtOnce.h"

namespace {

using namespace OrvWorkFlow;

void Tell(const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); }

class Ending final : public Host::RunObserver {
 public:
  std::string moment;
  int at = 0;
  Host::WorkflowHost* host = nullptr;

  void DeliveryBegun(const Delivery& /*delivery*/) override {
    if (moment == "begun" && ++begun_ == at) orv_test::DieAtOnce();
  }
  void DeliveryEnded(const Delivery& /*delivery*/, Outcome /*outcome*/, const char* /*text*/) override {
    if (++ended_ != at) return;
    if (moment == "ended") orv_test::DieAtOnce();
    if (moment == "stop") host->RequestStop();
  }

 private:
  std::atomic<int> begun_ = 0;
  std::atomic<int> ended_ = 0;
};

int Execute(const std::vector<std::string>& arguments) {
  Ending ending;
  auto durability = Host::StateRecord::Durability::Process;
  bool has_key = false;
  bool is_fresh = false;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    if (arguments[i] == "power") {
      durability = Host::StateRecord::Durability::Power;
    } else if (arguments[i] == "key") {
      has_key = true;
    } else if (arguments[i] == "fresh") {
      is_fresh = true;
    } else {
      ending.moment = arguments[i];
      ending.at = std::atoi(arguments.at(++i).c_str());
    }
  }
  Host::StateFile state(arguments.at(0), "", Tell);
  Host::StateRecord record(durability);
  if (is_fresh) Tell(state.Remove() + Host::StateRecord::Remove(state));
  Host::WorkflowHost host;
  ending.host = &host;
  host.TellWith(Tell);
  if (has_key) host.UseKey("a key");
  host.UseState(state);
  host.UseRecord(record);
  host.AddObserver(ending);
  host.ShowMessagesWith([](const std::string& text, const std::string& /*caption*/) { Tell(text); });
  host.Load(arguments.at(0));
  std::printf("%s, %s\n", host.IsContinued() ? "continues" : "begins", record.IsKept() ? "recorded" : "not recorded");
  std::fflush(stdout);
  const Host::RunResult result = host.Run();
  if (result.end == Host::RunEnd::Stopped) return result.saved ? 6 : 1;
  return result.end == Host::RunEnd::Idle && result.failures == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Execute({argv + 1, argv + argc});
  } catch (const Host::HostError& error) {
    Tell(error.what());
    return error.kind() == Host::HostError::Kind::Damaged ? 5 : 1;
  } catch (const std::exception& error) {
    Tell(error.what());
    return 2;
  }
}
