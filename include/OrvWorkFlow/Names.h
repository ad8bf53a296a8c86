// The names of objects and interfaces.
#pragma once

namespace OrvWorkFlow {

// Names under which objects are registered and found.
namespace ObjectNames {
inline constexpr char kDictionary[] = "Dictionary";
inline constexpr char kEncryption[] = "Encryption";
inline constexpr char kFileSystem[] = "FileSystem";
inline constexpr char kRegExp[] = "RegExp";
inline constexpr char kUtilityStore[] = "UtilityStore";
inline constexpr char kWorkFlowEngine[] = "WorkFlowEngine";
inline constexpr char kSignalMediator[] = "SignalMediator";
inline constexpr char kLogger[] = "Logger";
inline constexpr char kHostApp[] = "HostApp";
}  // namespace ObjectNames

// Names under which interfaces are queried.
namespace InterfaceNames {
inline constexpr char kDictionary[] = "IDictionary";
inline constexpr char kDictionary3[] = "IDictionary3";
inline constexpr char kEncryption[] = "IEncryption";
inline constexpr char kFileSystemA[] = "IFileSystemA";
inline constexpr char kFileSystemW[] = "IFileSystemW";
inline constexpr char kRegExp[] = "IRegExp";
inline constexpr char kUtilityStore[] = "IUtilityStore";
inline constexpr char kWorkFlowEngine[] = "IWorkFlowEngine";
inline constexpr char kSignalMediator[] = "ISignalMediator";
inline constexpr char kLogger[] = "ILogger";
inline constexpr char kHostApp[] = "IHostApp";
inline constexpr char kHostRestart[] = "IHostRestart";
inline constexpr char kHostEnd[] = "IHostEnd";
inline constexpr char kWorkNode[] = "IWorkNode";
inline constexpr char kComponentFinder[] = "IComponentFinder";
inline constexpr char kNodeDescription[] = "INodeDescription";
inline constexpr char kNodeFiring[] = "INodeFiring";
inline constexpr char kNodeContinuation[] = "INodeContinuation";
inline constexpr char kNodeParameterRules[] = "INodeParameterRules";
}  // namespace InterfaceNames

}  // namespace OrvWorkFlow
