// Every dictionary path of a workflow, once. "%s" and "%d" stand for a name and a number.
#pragma once

namespace OrvWorkFlow::WorkflowSchema {

inline constexpr char kRoot[] = "/WorkFlowEngine";
inline constexpr char kWorkFlowName[] = "/WorkFlowEngine/WorkFlowName";

// Work nodes: type / Instances / instance / maps / outgoing signal / mapN = "type,instance,signal".
inline constexpr char kWorkNodes[] = "/WorkFlowEngine/WorkNodes";
inline constexpr char kInstances[] = "/Instances";  // below a type
inline constexpr char kMaps[] = "/maps";            // below an instance
inline constexpr char kMapPrefix[] = "/map";        // below an outgoing signal, followed by a number
// The mappings and the workflow names of all instances, as patterns of IDictionary::WatchChanges.
inline constexpr char kAllMaps[] = "/WorkFlowEngine/WorkNodes/*/Instances/*/maps";
inline constexpr char kAllInstanceWorkFlowNames[] = "/WorkFlowEngine/WorkNodes/*/Instances/*/wfName";
inline constexpr char kInstanceWorkFlowName[] = "/wfName";
inline constexpr char kConfigFile[] = "/ConfigFile";
inline constexpr char kWriteDir[] = "/WriteDir";
inline constexpr char kReadDirs[] = "/ReadDirs";
inline constexpr char kObfuscationKey[] = "/ObfuscationKey";
inline constexpr char kWin32Binary[] = "/Binaries/win32_bin";
inline constexpr char kOtherBinary[] = "/Binaries/mac_bin";

inline constexpr char kGlobalUtilityObjects[] = "/WorkFlowEngine/UtilityObjects/Global";
inline constexpr char kLocalUtilityObjects[] = "/WorkFlowEngine/UtilityObjects/Local";

// One entry a workflow name, with WriteDir, ReadDirs and ObfuscationKey; a name that begins with a digit has a leading
// "_".
inline constexpr char kDirectories[] = "/WorkFlowEngine/Directories";

// Reserved name; the library always loads work nodes on their first signal.
inline constexpr char kDelayLoadingWorknodes[] = "/WorkFlowEngine/DelayLoadingWorknodes";

// The workflow path prefix of the directory that holds plug-in libraries.
inline constexpr char kPluginPrefix[] = "/workflow/bin/";

inline constexpr char kRebootSignals[] = "/WorkFlowEngine/RebootSignals";
inline constexpr char kRebootSignalFormat[] = "%s/RebootSignal%d";
inline constexpr char kRebootSignal[] = "/Signal";
inline constexpr char kRebootTypeName[] = "/WorkNodeTypeName";
inline constexpr char kRebootInstanceName[] = "/WorkNodeInstanceName";

// Entries hold workflow names; an entry's parent is the flow that absorbed it.
inline constexpr char kAbsorbTree[] = "/WorkFlowEngine/AbsorbTree";
inline constexpr char kAbsorbTopNode[] = "/node0";

inline constexpr char kStartSignal[] = "/WorkFlowEngine/Mappings/StartSignal";
inline constexpr char kSignalQueue[] = "/WorkFlowEngine/SignalQueue";
inline constexpr char kQueueEntryPrefix[] = "/Mapping";  // followed by a number
inline constexpr char kSenderTypeName[] = "/SenderTypeName";
inline constexpr char kSenderInstanceName[] = "/SenderInstanceName";
inline constexpr char kOutgoingSignalName[] = "/OutgoingSignalName";
inline constexpr char kReceiverTypeName[] = "/ReceiverTypeName";
inline constexpr char kReceiverInstanceName[] = "/ReceiverInstanceName";
inline constexpr char kIncomingSignalName[] = "/IncomingSignalName";

inline constexpr char kWorkFlows[] = "/WorkFlowEngine/WorkFlows";
inline constexpr char kWorkFlowPrefix[] = "/Flow";  // followed by a number
inline constexpr char kWorkFlowRecordName[] = "/Name";
inline constexpr char kWorkFlowRecordFilePath[] = "/FilePath";

// The child that holds the items of a list; no listing shows it.
inline constexpr char kListEntries[] = "__ListEntries";

inline constexpr char kNameValuePairs[] = "/IDictionaryNameValPairs";

}  // namespace OrvWorkFlow::WorkflowSchema
