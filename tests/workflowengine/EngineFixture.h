// An engine among the objects that it works with: a real dictionary and file system, a fake mediator, a recording
// logger.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "dictionary/object/DictionaryObject.h"
#include "tests/fakes/MessageBoxRecorder.h"
#include "tests/fakes/RecordingLogger.h"
#include "tests/support/MarshalledTexts.h"
#include "tests/workflowengine/FakeMediator.h"
#include "tests/workflowengine/FakePrimitives.h"
#include "tests/workflowengine/FaultyDictionary.h"
#include "workflowengine/WorkFlowEngineObject.h"

namespace orv_test {

struct ReleaseObject {
  void operator()(OrvWorkFlow::IBaseWorkFlowObject* object) const { object->Release(); }
};
template <class Interface>
using Owned = std::unique_ptr<Interface, ReleaseObject>;

template <class Creator, class Interface>
Owned<Interface> MakeObject(const char* interface_name) {
  Creator creator;
  OrvWorkFlow::IBaseWorkFlowObject* object = creator.Create();
  return Owned<Interface>(static_cast<Interface*>(object->QueryInterface(interface_name)));
}

inline std::string LastError(OrvWorkFlow::IBaseWorkFlowObject& object) {
  const PString text;
  EXPECT_TRUE(object.GetLastErrorText(text.out()));
  return text.str();
}

// "/WorkFlowEngine/WorkNodes/TYPE/Instances/INSTANCE/maps/SIGNAL"
inline std::string MapsKey(const std::string& type, const std::string& instance, const std::string& signal) {
  return "/WorkFlowEngine/WorkNodes/" + type + "/Instances/" + instance + "/maps/" + signal;
}

class EngineTest : public ::testing::Test {
 protected:
  EngineTest() {
    AddGlobal("Dictionary", &dictionary);
    AddGlobal("SignalMediator", &mediator);
    AddGlobal("Logger", &logger);
  }
  ~EngineTest() override {
    engine.reset();
    OrvWorkFlow::WorkFlowFactory::ReleaseGlobalObjects();
  }

  static void AddGlobal(const char* name, OrvWorkFlow::IBaseWorkFlowObject* object) {
    EXPECT_TRUE(OrvWorkFlow::WorkFlowFactory::AddGlobalObject(name, object, false));
  }

  // For tests that install primitives of their own, or look at the engine's end.
  static Owned<OrvWorkFlow::IWorkFlowEngine> MakeEngine() {
    return MakeObject<OrvWorkFlow::Core::Engine::CWorkFlowEngineObjectCreator, OrvWorkFlow::IWorkFlowEngine>(
        "IWorkFlowEngine");
  }

  OrvWorkFlow::IWorkFlowEngine& Engine() {
    if (!engine) engine = MakeEngine();
    return *engine;
  }

  bool AddMapping(const char* type, const char* instance, const char* signal, const char* receiver_type,
                  const char* receiver_instance, const char* incoming) {
    return Engine().AddSignalMapping(type, instance, signal, nullptr, nullptr, receiver_type, receiver_instance,
                                     incoming);
  }

  std::vector<std::string> Children(const std::string& path) {
    const PStringList names;
    EXPECT_TRUE(dictionary.GetEntries(path.c_str(), names.out())) << path;
    return names.vec();
  }
  // "(none)" when there is no such text.
  std::string Value(const std::string& path) {
    const PString text;
    return dictionary.GetValue(path.c_str(), text.out()) ? text.str() : "(none)";
  }

  OrvWorkFlow::IWorkFlowEngine::QueueState State() {
    OrvWorkFlow::IWorkFlowEngine::QueueState state;
    EXPECT_TRUE(Engine().GetQueueState(&state));
    return state;
  }

  Owned<OrvWorkFlow::IDictionary> inner_dictionary =
      MakeObject<OrvWorkFlow::Core::Dictionary::CDictionaryObjectCreator, OrvWorkFlow::IDictionary>("IDictionary");
  FaultyDictionary dictionary{inner_dictionary.get()};
  FakeMediator mediator;
  RecordingLogger logger;
  MessageBoxRecorder boxes;
  Owned<OrvWorkFlow::IWorkFlowEngine> engine;
};

}  // namespace orv_test
