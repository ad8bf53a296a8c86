// The base object, the creator template and the tracer.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/MediatorLockDepth.h"
#include "CoreObjects/ObjectCreator.h"
#include "CoreObjects/Tracer.h"
#include "tests/fakes/RecordingLogger.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core {
namespace {

using orv_test::PString;
using orv_test::PStringList;

constexpr char kSampleName[] = "Sample";
bool sample_throws = false;
int samples = 0;

class Sample final : public BaseObject<Sample, IBaseWorkFlowObject> {
 public:
  static constexpr const char* kTypeName = kSampleName;
  Sample() {
    if (sample_throws) throw std::runtime_error("no");
    ++samples;
  }
  ~Sample() { --samples; }
  void* QueryInterface(const char* /*interface_name*/) override { return nullptr; }
  using BaseObject::Fail;
  using BaseObject::utility_store;
};
using SampleCreator = ObjectCreator<Sample, kSampleName>;

std::string LastError(Sample& sample) {
  const PString text;
  EXPECT_TRUE(sample.GetLastErrorText(text.out()));
  return text.str();
}

TEST(BaseObjectTest, AnswersTheProtocol) {
  Sample sample;
  const PString text;
  const PStringList names;
  names.out()->Add("old", 3);
  EXPECT_TRUE(sample.GetVersion(text.out()));
  EXPECT_EQ(text.str(), "TAVIROVERSION");
  EXPECT_TRUE(sample.GetTypeName(text.out()));
  EXPECT_EQ(text.str(), "Sample");
  EXPECT_FALSE(sample.LoadState("x"));
  EXPECT_FALSE(sample.SaveState("x"));
  EXPECT_FALSE(sample.ReservedLoad("x"));
  EXPECT_FALSE(sample.ReservedSave("x"));
  EXPECT_TRUE(sample.GetNeededGlobalUtilityObjects(names.out()));
  EXPECT_EQ(names.out()->GetCount(), 0u);
  EXPECT_TRUE(sample.GetNeededLocalUtilityObjects(names.out()));
  EXPECT_TRUE(sample.SetUtilityStore(nullptr));
  EXPECT_EQ(sample.utility_store(), nullptr);
}

TEST(BaseObjectTest, NullOutputsFail) {
  Sample sample;
  EXPECT_FALSE(sample.GetVersion(nullptr));
  EXPECT_FALSE(sample.GetTypeName(nullptr));
  EXPECT_FALSE(sample.GetLastErrorText(nullptr));
  EXPECT_FALSE(sample.GetNeededGlobalUtilityObjects(nullptr));
  EXPECT_FALSE(sample.GetNeededLocalUtilityObjects(nullptr));
}

TEST(BaseObjectTest, TheLastErrorStaysUntilTheNext) {
  Sample sample;
  EXPECT_EQ(LastError(sample), "");
  EXPECT_FALSE(sample.Fail("first"));
  EXPECT_EQ(LastError(sample), "first");
  EXPECT_TRUE(sample.SetUtilityStore(nullptr));
  EXPECT_EQ(LastError(sample), "first");
  EXPECT_FALSE(sample.Fail("second"));
  EXPECT_EQ(LastError(sample), "second");
}

TEST(ObjectCreatorTest, MakesAndClones) {
  auto* creator = new SampleCreator;
  const PString text;
  EXPECT_TRUE(creator->GetObjectName(text.out()));
  EXPECT_EQ(text.str(), "Sample");
  EXPECT_TRUE(creator->GetVersion(text.out()));
  EXPECT_EQ(text.str(), "TAVIROVERSION");
  EXPECT_FALSE(creator->GetObjectName(nullptr));
  EXPECT_FALSE(creator->CreatesWorkNodes());
  IFactoryObjectCreator* clone = creator->Clone();
  ASSERT_NE(clone, nullptr);
  creator->Destroy();
  IBaseWorkFlowObject* object = clone->Create();
  clone->Destroy();
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(samples, 1);
  object->Release();
  EXPECT_EQ(samples, 0);
}

class ThrowingText final : public IOrvPString {
 public:
  bool Assign(const char* /*text*/, std::size_t /*length*/) override { throw std::runtime_error("no"); }
  const char* GetText() const override { return ""; }
  std::size_t GetLength() const override { return 0; }
  void Release() override {}
};

TEST(ObjectCreatorTest, WhatAnOutputThrowsIsAFailure) {
  SampleCreator creator;
  Sample sample;
  ThrowingText text;
  EXPECT_FALSE(creator.GetObjectName(&text));
  EXPECT_FALSE(creator.GetVersion(&text));
  EXPECT_FALSE(sample.GetVersion(&text));
  EXPECT_FALSE(sample.GetTypeName(&text));
  EXPECT_FALSE(sample.GetLastErrorText(&text));
}

TEST(ObjectCreatorTest, AConstructorThatThrowsMakesNothing) {
  SampleCreator creator;
  sample_throws = true;
  EXPECT_EQ(creator.Create(), nullptr);
  sample_throws = false;
  EXPECT_EQ(samples, 0);
}

class ThrowingLogger final : public Sdk::ObjectProtocol<ThrowingLogger, ILogger> {
 public:
  ThrowingLogger() : ObjectProtocol("Logger", "ILogger") {}
  void SetDefaultCategory(const char* /*category*/) override { throw 1; }
  void Log(const char* /*category*/, const char* /*format*/, ...) override {
    ++lines;
    throw 1;
  }
  int lines = 0;
};

TEST(TracerTest, IsSilentWithoutALogger) {
  Tracer tracer;
  EXPECT_FALSE(tracer);
  tracer.Log("/category", "%s", "text");
  tracer.SetLogger(nullptr);
  EXPECT_FALSE(tracer);
}

TEST(TracerTest, GivesTheDefaultCategoryAndLogs) {
  orv_test::RecordingLogger logger;
  Tracer tracer;
  tracer.SetLogger(&logger);
  EXPECT_TRUE(tracer);
  EXPECT_EQ(logger.GetDefaultCategory(), "/workflow/default");
  tracer.Log("/a", "%s and %d", "text", 7);
  tracer.Log("/b", "without values");
  tracer.LogText("/c", "100%s");
  EXPECT_EQ(logger.GetTrace(), (std::vector<std::string>{"/a: text and 7", "/b: without values", "/c: 100%s"}));
}

TEST(TracerTest, SwallowsWhatTheLoggerThrows) {
  ThrowingLogger logger;
  Tracer tracer;
  tracer.SetLogger(&logger);
  EXPECT_TRUE(tracer);
  tracer.Log("/a", "text");
  tracer.Log("/a", "%s", "text");
  EXPECT_EQ(logger.lines, 2);
}

TEST(MediatorLockDepthTest, IsCountedForEachThread) {
  EXPECT_EQ(MediatorLockDepth(), 0);
  ++MediatorLockDepth();
  std::thread([] { EXPECT_EQ(MediatorLockDepth()++, 0); }).join();
  EXPECT_EQ(MediatorLockDepth(), 1);
  --MediatorLockDepth();
}

}  // namespace
}  // namespace OrvWorkFlow::Core
