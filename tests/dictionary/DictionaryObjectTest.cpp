// What the dictionary answers to the protocol of all objects.
#include <gtest/gtest.h>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

TEST(DictionaryObject, AnswersToItsTwoInterfaces) {
  CDictionary dictionary;
  EXPECT_EQ(dictionary.QueryInterface("IDictionary"), static_cast<IDictionary*>(&dictionary));
  EXPECT_EQ(dictionary.QueryInterface("IDictionary3"), static_cast<IDictionary*>(&dictionary));
  for (const char* name : {"idictionary", "IDictionary2", "IDictionary ", "IBaseWorkFlowObject", "IEncryption", ""}) {
    EXPECT_EQ(dictionary.QueryInterface(name), nullptr) << name;
  }
  EXPECT_EQ(dictionary.QueryInterface(nullptr), nullptr);
}

TEST(DictionaryObject, TellsTypeVersionAndNeeds) {
  CDictionary dictionary;
  const orv_test::PString text;
  EXPECT_TRUE(dictionary.GetTypeName(text.out()));
  EXPECT_EQ(text.str(), "Dictionary");
  EXPECT_TRUE(dictionary.GetVersion(text.out()));
  EXPECT_EQ(text.str(), "TAVIROVERSION");
  EXPECT_TRUE(dictionary.GetLastErrorText(text.out()));
  EXPECT_EQ(text.str(), "");
  const orv_test::PStringList names(Names{"old"});
  EXPECT_TRUE(dictionary.GetNeededLocalUtilityObjects(names.out()));
  EXPECT_EQ(names.vec(), (Names{"FileSystem", "Encryption"}));
  EXPECT_TRUE(dictionary.GetNeededGlobalUtilityObjects(names.out()));
  EXPECT_EQ(names.vec(), Names());
  EXPECT_FALSE(dictionary.GetNeededLocalUtilityObjects(nullptr));
  EXPECT_FALSE(dictionary.ReservedLoad("x"));
  EXPECT_FALSE(dictionary.ReservedSave("x"));
}

TEST(DictionaryObject, IsMadeByItsCreatorAndReleased) {
  CDictionaryObjectCreator creator;
  const orv_test::PString name;
  EXPECT_TRUE(creator.GetObjectName(name.out()));
  EXPECT_EQ(name.str(), "Dictionary");
  IBaseWorkFlowObject* const object = creator.Create();
  ASSERT_NE(object, nullptr);
  auto* const dictionary = static_cast<IDictionary*>(object->QueryInterface("IDictionary3"));
  ASSERT_NE(dictionary, nullptr);
  EXPECT_TRUE(dictionary->SetValue("/a", "x"));
  object->Release();
}

// A plain call with a literal or a variable must reach the overload that a reader expects.
TEST(DictionaryObject, OverloadsGoByTheTypeOfTheValue) {
  CDictionary object;
  IDictionary& dictionary = object;
  const char* text = "x";
  char buffer[] = "x";
  EXPECT_TRUE(dictionary.SetValue("/a", "x"));
  EXPECT_EQ(dictionary.GetValueType("/a"), ValueType::String);
  EXPECT_TRUE(dictionary.SetValue("/b", text));
  EXPECT_EQ(dictionary.GetValueType("/b"), ValueType::String);
  EXPECT_TRUE(dictionary.SetValue("/c", buffer));
  EXPECT_EQ(dictionary.GetValueType("/c"), ValueType::String);
  EXPECT_TRUE(dictionary.SetValue("/d", u"x"));
  EXPECT_EQ(dictionary.GetValueType("/d"), ValueType::WideString);
  EXPECT_TRUE(dictionary.SetValue("/e", 1));
  EXPECT_EQ(dictionary.GetValueType("/e"), ValueType::Integer);
  EXPECT_TRUE(dictionary.SetValue("/f", 1.0));
  EXPECT_EQ(dictionary.GetValueType("/f"), ValueType::Double);
  EXPECT_TRUE(dictionary.SetValue("/g", true));
  EXPECT_EQ(dictionary.GetValueType("/g"), ValueType::Boolean);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
