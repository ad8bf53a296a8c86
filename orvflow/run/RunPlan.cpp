#include "orvflow/run/RunPlan.h"

#include <algorithm>
#include <new>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "host/HostParts.h"
#include "host/files/HostFiles.h"
#include "host/state/FlowChecksum.h"
#include "orvflow/files/FileLoading.h"
#include "orvflow/run/FlowCheck.h"
#include "orvflow/run/FlowUpdate.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

// The workflows that a saved state has absorbed, by name.
std::vector<std::string> AbsorbedNames(IDictionary& state) {
  std::vector<std::string> names;
  for (const std::string& entry : Base::NamesBelow(state, WorkflowSchema::kWorkFlows)) {
    names.push_back(Base::TextAt(
        state, std::string(WorkflowSchema::kWorkFlows) + "/" + entry + WorkflowSchema::kWorkFlowRecordName));
  }
  return names;
}

// The dictionary becomes that of the state.
void PlanContinuation(const RunOptions& options, const FlowSource& source, const Host::WorkflowHost& host,
                      IDictionary& dictionary, const Host::StateFile& state, RunPlan& plan) {
  state.Read(dictionary, plan.name);
  plan.start = state.path();
  const std::string checksum = Host::ReadFlowChecksum(dictionary);
  if (options.update) {
    ShowFlowUpdate(host, dictionary, plan.file, source.shown_name(), state);
    return;
  }
  if (checksum != plan.checksum) {
    PrintErrorLine(source.shown_name() + ": has changed since " + state.shown_name() +
                   " was saved; the state is continued as it was saved (--update takes the changes in, --fresh begins "
                   "anew)");
  }
  plan.checksum = checksum;
}

// A workflow that is to be taken in.
struct Guest {
  Host::WorkflowHost::OwnedDictionary dictionary;
  std::string shown_name;
  std::string file;
  std::string name;
};

std::vector<Guest> ReadGuests(const RunOptions& options, const Host::WorkflowHost& host) {
  std::vector<Guest> guests;
  for (const std::string& shown_name : options.absorbs) {
    Guest guest{host.MakeDictionary(), shown_name, Host::MakeAbsolutePath(shown_name), {}};
    ReadFlow(*guest.dictionary, guest.file, shown_name);
    guest.name = Base::TextAt(*guest.dictionary, WorkflowSchema::kWorkFlowName);
    if (guest.name.empty()) {
      throw FileError(ExitCode::DictionaryDamaged, shown_name, WorkflowSchema::kWorkFlowName,
                      "only a workflow with a name can be absorbed; give it one");
    }
    guests.push_back(std::move(guest));
  }
  return guests;
}

// All that run as one. A state is looked at alone: what it has absorbed is part of it.
std::vector<Flow::FlowBeside> CompanyOf(const RunPlan& plan, const std::string& shown_name, IDictionary& dictionary,
                                        const std::vector<Guest>& guests) {
  std::vector<Flow::FlowBeside> company;
  if (plan.continued || guests.empty()) return company;
  company.push_back({Flow::ReadWorkflow(dictionary), shown_name, plan.flow, false});
  for (const Guest& guest : guests) {
    company.push_back({Flow::ReadWorkflow(*guest.dictionary), guest.shown_name, guest.file});
  }
  return company;
}

// What the state has absorbed is not taken in again.
void PlanAbsorbs(const RunOptions& options, const std::vector<Guest>& guests, IDictionary& dictionary,
                 const std::vector<Flow::FlowBeside>& company, RunPlan& plan) {
  std::vector<std::string> known;
  if (plan.continued) known = AbsorbedNames(dictionary);
  for (std::size_t i = 0; i < guests.size(); ++i) {
    const Guest& guest = guests[i];
    CheckFlow(
        *guest.dictionary, guest.shown_name,
        {.is_guest = true, .is_forced = options.force, .file = guest.file, .beside = Flow::WithoutOne(company, i + 1)});
    if (std::find(known.begin(), known.end(), guest.name) == known.end()) plan.absorbs.push_back(guest.file);
  }
}

// One that the user wants to have.
void RefuseAStateThatCannotBeSaved(const RunOptions& options, const Host::StateFile& state, const RunPlan& plan) {
  const bool is_wanted =
      options.checkpoint.kind == Host::CheckpointSetting::Kind::Fixed || !options.state_file.empty() || plan.continued;
  if (state.CanBeWritten() || !is_wanted) return;
  throw FileError(ExitCode::Failed, state.shown_name(), "",
                  "the state cannot be saved there: " + state.why_not_written() + "; check the folder");
}

}  // namespace

RunPlan MakeRunPlan(const RunOptions& options, const FlowSource& source, const Host::WorkflowHost& host,
                    const Host::StateFile& state) {
  RunPlan plan;
  plan.flow = source.path();
  plan.file = source.file();
  plan.start = plan.file;
  const Host::WorkflowHost::OwnedDictionary dictionary = host.MakeDictionary();
  ReadFlow(*dictionary, plan.file, source.shown_name());
  plan.checksum = Host::ChecksumOfFile(plan.file, source.shown_name());
  plan.name = Base::TextAt(*dictionary, WorkflowSchema::kWorkFlowName);
  plan.continued = !options.fresh && state.Exists();
  if (plan.continued) PlanContinuation(options, source, host, *dictionary, state, plan);
  const std::string& shown_name = plan.continued ? state.shown_name() : source.shown_name();
  for (const Setting& setting : options.settings) ApplySetting(*dictionary, setting, shown_name);
  const std::vector<Guest> guests = ReadGuests(options, host);
  const std::vector<Flow::FlowBeside> company = CompanyOf(plan, shown_name, *dictionary, guests);
  CheckFlow(*dictionary, shown_name,
            {.takes_in_others = !options.absorbs.empty(),
             .is_continued = plan.continued,
             .is_forced = options.force,
             .file = plan.flow,
             .beside = Flow::WithoutOne(company, 0)});
  PlanAbsorbs(options, guests, *dictionary, company, plan);
  if (plan.name.empty()) plan.name = source.shown_name();
  RefuseAStateThatCannotBeSaved(options, state, plan);
  return plan;
}

void LoadRun(const RunOptions& options, const FlowSource& source, const RunPlan& plan, Host::WorkflowHost& host) {
  const std::string& shown_name = source.shown_name();
  const auto change = [&] {
    for (const Setting& setting : options.settings) ApplySetting(host.dictionary(), setting, shown_name);
    Host::WriteFlowChecksum(host.dictionary(), plan.checksum);
    // The engine read the start signal before the settings came.
    const auto text = [&](const char* key) {
      return Base::TextAt(host.dictionary(), std::string(WorkflowSchema::kStartSignal) + key);
    };
    host.engine().SetStartSignal(text(WorkflowSchema::kReceiverTypeName).c_str(),
                                 text(WorkflowSchema::kReceiverInstanceName).c_str(),
                                 text(WorkflowSchema::kIncomingSignalName).c_str());
  };
  host.parts().LoadFrom({.start = plan.start,
                         .start_name = plan.start == plan.file ? shown_name : plan.start,
                         .flow = plan.flow,
                         .flow_name = shown_name,
                         .change = change});
  for (const std::string& file : plan.absorbs) {
    if (!host.engine().AbsorbFlow(file.c_str(), true)) {
      throw FileError(ExitCode::Failed, file, "", "the workflow cannot be absorbed");
    }
  }
}

void KeepFilesOfRun(const RunOptions& options, const RunPlan& plan, Host::WorkflowHost& host) {
  std::vector<std::string> files = plan.absorbs;
  for (const std::string& name : {options.key_file, options.log_file}) {
    if (!name.empty()) files.push_back(Host::MakeAbsolutePath(name));
  }
  for (const std::string& directory : options.plugin_directories) files.push_back(Host::MakeAbsolutePath(directory));
  for (const std::string& file : files) {
    if (!host.mediator().KeepFromDeletion(file.c_str())) throw std::bad_alloc();
  }
}

}  // namespace OrvWorkFlow::Program
