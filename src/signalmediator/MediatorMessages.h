// Every log category, log text and box text of the mediator, once. "%s" and "%d" stand for names, paths and numbers.
// Hosts and their users know these texts by heart: they stay as they are, misspellings included.
#pragma once

#include <cstddef>

// Categories.
namespace OrvWorkFlow::Core::Mediator::MediatorCategories {

inline constexpr char kLoadState[] = "/workflow/signalmediator/loadstate";
inline constexpr char kLoadWorkNodes[] = "/workflow/signalmediator/loadworknodes";
inline constexpr char kInstantiate[] = "/workflow/signalmediator/instantiate_worknode_instance";
inline constexpr char kCallAbsorb[] = "/workflow/signalmediator/GetInstantiatedWorknodesThatCallAbsorb";
inline constexpr char kFireInputSignal[] = "/workflow/signalmediator/FireInputSignal";
inline constexpr char kSignal[] = "/workflow/signalmediator/Signal";
inline constexpr char kStopAllWorkNodes[] = "/workflow/signalmediator/StopAllWorkNodes";
inline constexpr char kSaveState[] = "/workflow/signalmediator/SaveState";
inline constexpr char kSaveWorkNodes[] = "/workflow/signalmediator/SaveWorkNodes";
inline constexpr char kSaveUtilityObjects[] = "/workflow/signalmediator/SaveGlobalUtilityObjects";
inline constexpr char kContentDirectories[] = "/workflow/signalmediator/GetAllContentDirectories";

}  // namespace OrvWorkFlow::Core::Mediator::MediatorCategories

// Log texts, in the order in which a workflow's life writes them. A node is "<type, instance>".
namespace OrvWorkFlow::Core::Mediator::MediatorLines {

inline constexpr char kLoggerCreated[] = "Logger created";
inline constexpr char kLoadingGlobalObject[] = "Loading global utility object %s.";
inline constexpr char kLoadingLocalObject[] = "Loading local utility object %s.";
inline constexpr char kUtilityObjectsLoaded[] = "Done loading utility objects";
inline constexpr char kStateLoaded[] = "Done with signal mediator LoadState()";

inline constexpr char kNotFound[] = "Could not find %s";
inline constexpr char kNodeNotCreated[] = "Failed to create %s : %s";
inline constexpr char kNodeCreated[] = "Created %s : %s";
inline constexpr char kAboutToUnlock[] = "At the end of and about to unlock";
inline constexpr char kAfterUnlock[] = "At the end of and after unlock";
inline constexpr char kBeginCallAbsorb[] = "begin GetInstantiatedWorknodesThatCallAbsorb";

inline constexpr char kBeforeFirstLock[] = "Before first lock";
inline constexpr char kAfterFirstLock[] = "After first lock";
inline constexpr char kDoneInstantiating[] = "Done instantiating %s, %s";
inline constexpr char kNoHostApp[] = "Hostapp does not exist";

inline constexpr char kNoNodeToFireOn[] = "Could not find <%s, %s> to fire '%s' on.";
inline constexpr char kFiring[] = "Firing input signal '%s' on <%s, %s>";
inline constexpr char kFired[] = "<%s, %s> fired output signal '%s'";

inline constexpr char kAboutToStop[] = "In stop thread, about to call LockAccess()";
inline constexpr char kPassedFirstStop[] = "Passed first stop, waiting for num messages received to equal num sent";
inline constexpr char kComparing[] = "Comparing numbers...";
inline constexpr char kWaitingForThirdLock[] = "Waiting for third lock";
inline constexpr char kPassedThirdLock[] = "Passed third lock";
inline constexpr char kCallingStopWork[] = "Calling StopWork on <%s, %s>";
inline constexpr char kStopWorkFalse[] = "returning false from StopWork on <%s, %s>";
inline constexpr char kStopWorkTrue[] = "returning true from StopWork on <%s, %s>";
inline constexpr char kAllStopped[] = "done stoping all worknodes";

inline constexpr char kSavingUtilityObjects[] = "About to save global utility objects";
inline constexpr char kSavingNodeNumber[] = "About to save worknode instance number %d";
inline constexpr char kSavingNode[] = "About to save workndoe %s : %s";
inline constexpr char kSavingUtilityObject[] = "About to save utility object %s";

inline constexpr char kFlowNotInTree[] = "Could not fine %s in the absorb flow tree";

}  // namespace OrvWorkFlow::Core::Mediator::MediatorLines

// Texts of message boxes; the run of full stops is added when one is shown. Those in the first group are logged as
// well.
namespace OrvWorkFlow::Core::Mediator::MediatorBoxes {

inline constexpr char kTypeNotLoaded[] = "Could not load WorkNode : %s";
inline constexpr char kSignalFalse[] = "<%s, %s>::Signal(%s) returned false.";
inline constexpr char kSignalFalseEnd[] = ".  Press the OK button to continue.";  // in the box only
inline constexpr char kSignalThrew[] = "<%s, %s>::Signal(%s) threw an exception.  Press OK to continue.";

// "%s" is the name of one of the operations below.
inline constexpr char kNoGlobalDictionary[] = "No global dic inside %s";

inline constexpr char kLoadThrew[] = "An exception was thrown while trying to load %s";
inline constexpr char kInstantiateThrew[] = "An exception was thrown while trying to instantiate %s, %s";

// Configuring; "%s" is the definition path, except in the first.
inline constexpr char kConfigFileNotLoaded[] = "Worknode '%s' could not load config file: '%s'.";
inline constexpr char kInitThrew[] = "An execption was thrown while trying to init worknode defined at %s";
inline constexpr char kLoadingStateThrew[] =
    "An execption was thrown while trying to load the state of the worknode defined at %s";
inline constexpr char kLoadStateThrew[] =
    "An execption was thrown while calling load state of the worknode defined at %s";
inline constexpr char kEncryptionKeyThrew[] =
    "An execption was thrown while trying to set the encryption key of the worknode defined at %s";
inline constexpr char kContentDirectoryThrew[] =
    "An execption was thrown while trying to add a content directory of the worknode defined at %s";
inline constexpr char kWriteDirectoryThrew[] =
    "An execption was thrown while trying to set the write directory of the worknode defined at %s";
inline constexpr char kResetDirectoriesThrew[] =
    "An execption was thrown while trying to reset the content directories of the worknode defined at %s";

inline constexpr char kRebootSignalThrew[] = "Worknode <%s, %s> threw and exception while getting the reboot signal";
inline constexpr char kStopThrew[] = "An exception was thrown while stopping worknodes.  Press OK to continue.";

inline constexpr char kSavingNodesThrew[] =
    "An exception was thrown while saving the worknodes.  Press OK to continue.";
inline constexpr char kSavingUtilityObjectsThrew[] =
    "An exception was thrown while saving the utility objects.  Press OK to continue.";
inline constexpr char kNodeSaveThrew[] = "Worknode <%s, %s> threw and exception while saving state";
inline constexpr char kUtilityObjectSaveThrew[] = "Utility object <%s> threw an exception while saving state";

inline constexpr char kNoWorkFlowName[] = "Could not discover workflow name!!";
inline constexpr char kEntriesNotListed[] =
    "Error in CSignalMediator::AddWorkNodeInstance. Could not GetEntries on WFE path %s while adding the following "
    "worknode instance:\r\n\r\n<%s, %s>";
inline constexpr char kTypeUnknown[] = "Error in CSignalMediator::AddWorkNodeInstance. Type doesn't exist.";
inline constexpr char kValueNotSet[] =
    "Error in CSignalMediator::AddWorkNodeInstance. Could not SetValue on WFE path %s while adding the following "
    "worknode instance:\r\n\r\n<%s, %s>";

}  // namespace OrvWorkFlow::Core::Mediator::MediatorBoxes

// Operations as they name themselves when there is no global dictionary.
namespace OrvWorkFlow::Core::Mediator::MediatorOperations {

inline constexpr char kLoadUtilityObjects[] = "LoadUtilityObjects";
inline constexpr char kInitHostApp[] = "InitHostApp";
inline constexpr char kLoadWorkNodes[] = "LoadWorkNodes";
inline constexpr char kLoadWorknode[] = "LoadWorknode";
inline constexpr char kInstantiateWorknodeInstance[] = "InstantiateWorknodeInstance";
inline constexpr char kSaveWorkNodes[] = "SaveWorkNodes";
inline constexpr char kSaveGlobalUtilityObjects[] = "SaveGlobalUtilityObjects";
inline constexpr char kLoadRebootSignals[] = "LoadRebootSignals";
inline constexpr char kDeleteTemporaryData[] = "DeleteTemporaryData";
inline constexpr char kAddLocalUtilityObject[] = "AddLocalUtilityObject";
inline constexpr char kAddGlobalUtilityObject[] = "AddGlobalUtilityObject";
inline constexpr char kAddWorkNode[] = "AddWorkNode";
inline constexpr char kAddWorkNodeInstance[] = "AddWorkNodeInstance";
inline constexpr char kDeleteAll[] = "DeleteAllUtilityObjectsAndWorknodesFromMemory";
inline constexpr char kAbsorbUtilityObjects[] = "AbsorbUtilityObjects";
inline constexpr char kAbsorbWorknodes[] = "AbsorbWorknodes";

}  // namespace OrvWorkFlow::Core::Mediator::MediatorOperations

namespace OrvWorkFlow::Core::Mediator {

// The texts of a stop that name a node are cut to this many characters.
inline constexpr std::size_t kStopTextLimit = 499;

}  // namespace OrvWorkFlow::Core::Mediator
