// Files of subtrees, and of the name/value pairs that a dictionary's own file does not hold.
#include <gtest/gtest.h>

#include "DictionaryTesting.h"
#include "FakeFiles.h"
#include "dictionary/object/DictionaryObject.h"
#include "utilitystore/UtilityStoreObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

constexpr char kPairs[] = "/IDictionaryNameValPairs";

class SubtreeFiles : public ::testing::Test {
 protected:
  SubtreeFiles() {
    store_.AddUtilityObjectCreator(&creator_);
    dictionary_.SetUtilityStore(&store_);
    dictionary_.SetValue("/a/b", "x");
    dictionary_.SetValue((std::string(kPairs) + "/p").c_str(), "1");
  }
  std::string Pair(const char* name) { return GetString(dictionary_, (std::string(kPairs) + "/" + name).c_str()); }

  FakeFiles files_;
  FakeFileSystemCreator creator_{files_};
  Core::UtilityStore::CUtilityStore store_;
  CDictionary dictionary_;
};

TEST_F(SubtreeFiles, ASubtreeHasAFileOfItsOwn) {
  EXPECT_TRUE(dictionary_.SaveSubtree("/a", "f"));
  EXPECT_EQ(files_.files["f"],
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n"
            "<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\"><b __type=\"str\">x</b>\r\n</IDictionaryRoot>");
  EXPECT_TRUE(dictionary_.LoadSubtree("/c/d", "f"));
  EXPECT_EQ(GetString(dictionary_, "/c/d/b"), "x");
  EXPECT_EQ(GetAttribute(dictionary_, "/c/d", "IDictionaryFileVersion"), kFailed);
  EXPECT_EQ(Pair("p"), "1");
}

TEST_F(SubtreeFiles, ASubtreesFileThatDoesNotLoadChangesNothing) {
  files_.files["broken"] = "<IDictionaryRoot><x/>";
  files_.files["other"] = "<other><x/></other>";
  files_.files["empty"] = "";
  const std::string before = SaveText(dictionary_);
  for (const char* file : {"broken", "other", "empty", "missing", "", static_cast<const char*>(nullptr)}) {
    EXPECT_FALSE(dictionary_.LoadSubtree("/a", file));
  }
  EXPECT_EQ(SaveText(dictionary_), before);
  EXPECT_FALSE(dictionary_.SaveSubtree("/missing", "f"));
  EXPECT_FALSE(dictionary_.SaveSubtree("/a", nullptr));
  EXPECT_FALSE(dictionary_.SaveSubtree("/a", ""));
  EXPECT_FALSE(files_.files.contains("f"));
}

TEST_F(SubtreeFiles, PairsAreWrittenOnlyWhenAskedFor) {
  EXPECT_TRUE(dictionary_.SaveFileWithPairs("with"));
  EXPECT_NE(files_.files["with"].find("<p __type=\"str\">1</p>"), std::string::npos);
  EXPECT_EQ(Pair("p"), "1");
  EXPECT_FALSE(dictionary_.SaveFileWithPairs(nullptr));
  EXPECT_EQ(Pair("p"), "1");
  EXPECT_TRUE(dictionary_.SaveFile("without"));
  EXPECT_EQ(files_.files["without"].find("<p "), std::string::npos);
  EXPECT_EQ(Pair("p"), kFailed);
}

TEST_F(SubtreeFiles, ALoadMayKeepThePairsThatAreInMemory) {
  files_.files["f"] =
      "<IDictionaryRoot><new/><IDictionaryNameValPairs><q __type=\"str\">2</q></IDictionaryNameValPairs>"
      "</IDictionaryRoot>";
  files_.files["broken"] = "<IDictionaryRoot><half/><other>";
  EXPECT_TRUE(dictionary_.LoadFileKeepingPairs("f"));
  EXPECT_EQ(GetEntries(dictionary_, "/"), (Names{"new", "IDictionaryNameValPairs"}));
  EXPECT_EQ(Pair("p"), "1");
  EXPECT_EQ(Pair("q"), kFailed);
  EXPECT_FALSE(dictionary_.LoadFileKeepingPairs("broken"));
  EXPECT_EQ(GetEntries(dictionary_, "/"), (Names{"half", "IDictionaryNameValPairs"}));
  EXPECT_EQ(Pair("p"), "1");
  EXPECT_FALSE(dictionary_.LoadFileKeepingPairs("missing"));
  EXPECT_FALSE(dictionary_.LoadFileKeepingPairs(nullptr));
  EXPECT_EQ(Pair("p"), "1");
  // Without pairs in memory there are none afterwards.
  ASSERT_TRUE(dictionary_.Delete(kPairs));
  EXPECT_TRUE(dictionary_.LoadFileKeepingPairs("f"));
  EXPECT_FALSE(dictionary_.Exists(kPairs));
  EXPECT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_EQ(Pair("q"), "2");
}

TEST_F(SubtreeFiles, PairsHaveAFileOfTheirOwn) {
  EXPECT_TRUE(dictionary_.SavePairs("pairs"));
  ASSERT_TRUE(dictionary_.SetValue((std::string(kPairs) + "/q").c_str(), "2"));
  EXPECT_TRUE(dictionary_.LoadPairs("pairs"));
  EXPECT_EQ(Pair("p"), "1");
  EXPECT_EQ(Pair("q"), kFailed);
  EXPECT_EQ(GetString(dictionary_, "/a/b"), "x");
  EXPECT_FALSE(dictionary_.LoadPairs("missing"));
  EXPECT_EQ(Pair("p"), "1");
  ASSERT_TRUE(dictionary_.Delete(kPairs));
  EXPECT_TRUE(dictionary_.SavePairs("none"));
  EXPECT_FALSE(dictionary_.Exists(kPairs));
  EXPECT_TRUE(dictionary_.LoadPairs("none"));
  EXPECT_EQ(GetEntries(dictionary_, kPairs), Names());
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
