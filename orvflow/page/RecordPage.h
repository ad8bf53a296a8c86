// The page of `orvflow ui`: what its server gives of a recorded run. docs/monitor.md describes all of it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "flow/model/Workflow.h"
#include "journal/MomentSearch.h"
#include "monitor/MonitorServer.h"
#include "orvflow/history/RecordSet.h"
#include "orvflow/page/PageOptions.h"
#include "orvflow/page/RecordIndex.h"

namespace OrvWorkFlow::Program {

class RecordPage final : public Monitor::LiveSource {
 public:
  // Reads the record as it is now: of the run with that number, or with 0 of the last one. `file` is what the user
  // calls it. Throws ProgramError when there is no such run, or nothing that can be shown of it; one that is damaged is
  // shown as far as it goes. `others` are records of runs at the other ends of bridges. `host` outlives this.
  RecordPage(Host::WorkflowHost& host, const std::string& file, unsigned run,
             const std::vector<std::string>& others = {});
  RecordPage(const RecordPage&) = delete;
  RecordPage& operator=(const RecordPage&) = delete;
  ~RecordPage() = default;

  // What is wrong with the record, for a user; "" for nothing.
  const std::string& problem() const { return problem_; }
  // Null without any.
  const RecordSet* records() const { return records_ ? &*records_ : nullptr; }

  Monitor::Content Get(std::string_view target) override;
  std::string WholeUpdate() override;
  std::string Update() override { return {}; }  // Nothing changes any more.

 private:
  // What was at a place, and in the dictionary before it.
  struct View {
    Journal::MomentFound found;
    std::string before;
  };

  // The place that a request asks for; nothing for one that is not there.
  std::optional<std::size_t> PlaceIn(std::string_view target) const;
  Journal::Moment MomentOf(std::size_t place) const;
  const View& At(std::size_t place);
  IDictionary& DictionaryAt(std::size_t place);

  Json AsJson() const;
  Json MomentAsJson(std::size_t place);
  Json NodesAsJson(const Journal::MomentFound& found, std::size_t place);
  Json ChangesAsJson(const View& view, bool* is_cut) const;
  Json RowsAsJson(std::size_t begin, std::size_t end) const;
  Json ChainOf(std::size_t place) const;
  Json BridgeLinesOf(std::size_t place) const;
  Json ElsewhereOf(std::size_t place) const;
  Monitor::Content NodeContent(std::string_view target, std::size_t place);
  Monitor::Content DictionaryContent(std::string_view target, std::size_t place);
  Monitor::Content WhyContent(const std::string& instance) const;
  std::string InstancePathOf(const std::string& type, const std::string& instance) const;
  bool IsSecret(const std::string& path) const;

  const std::string file_;
  std::string problem_;
  std::string name_;
  RecordIndex index_;
  BridgeWays ways_;                   // none of them with the other records
  std::optional<RecordSet> records_;  // with those
  Flow::Workflow wiring_;             // as it is at the end
  Host::WorkflowHost::OwnedDictionary scratch_;
  Host::WorkflowHost::OwnedDictionary shown_;
  std::size_t shown_place_;
  std::map<std::size_t, View> views_;  // of some places
};

}  // namespace OrvWorkFlow::Program
