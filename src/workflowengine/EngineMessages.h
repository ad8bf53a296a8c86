// Every text of the engine that a user or a log reads, once. Misspellings are part of the texts.
#pragma once

namespace OrvWorkFlow::Core::Engine {

// Log categories.
namespace EngineCategories {
inline constexpr char kSignalPump[] = "/workflow/signalpump";
inline constexpr char kFireAllReadySignals[] = "workflow/FireAllReadySignals";
inline constexpr char kSignal[] = "workflow/Signal";
inline constexpr char kIgnoredSignals[] = "workflow/IgnoredSingals";
inline constexpr char kLoadState[] = "/workflow/workflowengine/loadstate";
inline constexpr char kSaveState[] = "/workflow/workflowengine/SaveState";
inline constexpr char kUpdateAbsorbTree[] = "workflow/UpdateAbsorbTree";
}  // namespace EngineCategories

// Log lines. "%s" and "%d" stand for values.
namespace EngineLines {
inline constexpr char kPumpRound[] = "sigpump doing stuff";
inline constexpr char kLocked[] = "WorkflowEngineLocked";
inline constexpr char kUnlocked[] = "WorkflowEngineUnlocked";
inline constexpr char kQueueEmpty[] = "signal queue is empty";
inline constexpr char kRemoved[] = "signal mapping removed from the signal queue";
inline constexpr char kLeft[] = "There are %d left in the signal queue";
inline constexpr char kAbsorbing[] = "Absorbing %s, %s";  // name, path; among the lines of a pass
inline constexpr char kMovingNode[] = "Moving the child node";
inline constexpr char kAdded[] = "signal mapping added to the signal queue";
inline constexpr char kIgnored[] = "<%s, %s, %s> did not map to any input signals.";  // type, instance, signal
inline constexpr char kNoWorkFlowName[] = "ERROR: could not find the workflow name.";
inline constexpr char kLoadQueue[] = "About to load signal queues.";
inline constexpr char kLoadStateTable[] = "About to load state table.";
inline constexpr char kLoadStartSignal[] = "About to load start signal.";
inline constexpr char kLoadDone[] = "Done with workflow engine LoadState()";
inline constexpr char kSaveBegin[] = "Beginning of WorkflowEngine::SaveState";
inline constexpr char kSaveStateTable[] = "About to save the state table";
inline constexpr char kSaveQueue[] = "About to save the signal queue";
inline constexpr char kSaveToDisk[] = "Saving to disk";
}  // namespace EngineLines

// Message boxes, without the run of full stops that follows.
namespace EngineBoxes {
inline constexpr char kPumpThrew[] = "An exception was thrown in MainWorkFlowProc().  Press OK to continue.";
inline constexpr char kWaitThrew[] =
    "An exception was thrown in MainWorkFlowProc() during WaitForEvent().  Press OK to continue.";
inline constexpr char kStopThrew[] = "An exception was thrown in the stop flowing thread.  Press OK to continue.";
inline constexpr char kSaveThrew[] = "An exception was while trying to save state.  Press OK to continue.";
inline constexpr char kNoGetSignalMappings[] = "CWorkFlowEngine::GetSignalMappings func not implemented";
}  // namespace EngineBoxes

// Texts of the last error.
namespace EngineErrors {
inline constexpr char kInvalidParameter[] = "Invalid parameter.";
inline constexpr char kSecondStore[] = "The UtilityStore has already been set.";
inline constexpr char kNoMediator[] = "SignalMediator object not available.";
inline constexpr char kNoDictionary[] = "A dictionary object is not available.";
inline constexpr char kNotAbsorbed[] = "The workflow could not be absorbed.";
inline constexpr char kKeyLost[] = "There was no memory for the encryption key.";
inline constexpr char kNotSaved[] = "The workflow dictionary could not be saved.";
}  // namespace EngineErrors

}  // namespace OrvWorkFlow::Core::Engine
