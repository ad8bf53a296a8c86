// The library's entry: one creator of each type is handed to the host's factory while the library is loaded.
//
// All seven registrations stand in this one file, since only objects of one file are constructed in a known order (and
// destroyed in the reverse one). A creator that cannot be allocated is registered as null; the load goes on.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "dictionary/object/DictionaryObject.h"
#include "encryption/EncryptionObject.h"
#include "filesystem/FileSystemObject.h"
#include "regexp/RegExpObject.h"
#include "signalmediator/SignalMediatorObject.h"
#include "utilitystore/UtilityStoreObject.h"
#include "workflowengine/WorkFlowEngineObject.h"

// Hosts load the library as they load plug-ins.
ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Core {
namespace {

WorkFlowFactory dictionary_registration(new (std::nothrow) Dictionary::CDictionaryObjectCreator);
WorkFlowFactory encryption_registration(new (std::nothrow) Encryption::CEncryptionObjectCreator);
WorkFlowFactory file_system_registration(new (std::nothrow) FileSystem::CFileSystemObjectCreator);
WorkFlowFactory reg_exp_registration(new (std::nothrow) Patterns::CRegExpObjectCreator);
WorkFlowFactory utility_store_registration(new (std::nothrow) UtilityStore::CUtilityStoreObjectCreator);
WorkFlowFactory work_flow_engine_registration(new (std::nothrow) Engine::CWorkFlowEngineObjectCreator);
WorkFlowFactory signal_mediator_registration(new (std::nothrow) Mediator::CSignalMediatorObjectCreator);

}  // namespace
}  // namespace OrvWorkFlow::Core
