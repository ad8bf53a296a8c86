// Files of a dictionary: where they are looked for, what a load or save leaves, and what makes it fail.
#include <gtest/gtest.h>

#include "DictionaryTesting.h"
#include "FakeFiles.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "dictionary/object/DictionaryObject.h"
#include "filesystem/FileSystemObject.h"
#include "tests/fakes/ScriptedWorkNode.h"
#include "tests/support/TempDirectory.h"
#include "utilitystore/UtilityStoreObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

// A dictionary whose utility store makes file systems.
class FilesTest : public ::testing::Test {
 protected:
  FilesTest() {
    store_.AddUtilityObjectCreator(&creator_);
    dictionary_.SetUtilityStore(&store_);
  }

  FakeFiles files_;
  FakeFileSystemCreator creator_{files_};
  Core::UtilityStore::CUtilityStore store_;
  CDictionary dictionary_;
};

std::string FileWith(const std::string& value) {
  return "<IDictionaryRoot><a __type=\"str\">" + value + "</a></IDictionaryRoot>";
}
constexpr char kEmptySavedFile[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n"
    "<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\"><IDictionaryNameValPairs></IDictionaryNameValPairs>\r\n"
    "</IDictionaryRoot>";

TEST_F(FilesTest, ABareNameIsTakenFromTheFirstSearchDirectoryThatHasIt) {
  files_.files["B/config.xml"] = FileWith("of B");
  files_.files["C/config.xml"] = FileWith("of C");
  for (const char* directory : {"A", "B", "C"}) dictionary_.AddContentDirectory(directory);
  ASSERT_TRUE(dictionary_.LoadFile("config.xml"));
  EXPECT_EQ(GetString(dictionary_, "/a"), "of B");
  EXPECT_EQ(files_.calls, (Names{"exists A/config.xml", "exists B/config.xml", "read B/config.xml"}));
}

TEST_F(FilesTest, ABareNameThatNoDirectoryHasIsUsedAsGiven) {
  files_.files["config.xml"] = FileWith("here");
  dictionary_.AddContentDirectory("A");
  ASSERT_TRUE(dictionary_.LoadState("config.xml"));
  EXPECT_EQ(GetString(dictionary_, "/a"), "here");
}

TEST_F(FilesTest, ANameThatIsNotBareNeverConsultsTheDirectories) {
  dictionary_.AddContentDirectory("A");
  for (const char* name : {"C:config.xml", "x/config.xml", "x\\config.xml", "$TEMP/config.xml"}) {
    files_.calls.clear();
    files_.files[name] = FileWith(name);
    ASSERT_TRUE(dictionary_.LoadFile(name));
    EXPECT_EQ(files_.calls, Names{std::string("read ") + name});
    files_.calls.clear();
    ASSERT_TRUE(dictionary_.SaveFile(name));
    EXPECT_EQ(files_.calls, Names{std::string("replace ") + name});
  }
}

TEST_F(FilesTest, ABareNameMayBeginWithADollarSign) {
  files_.files["A/$Flow"] = FileWith("x");
  dictionary_.AddContentDirectory("A");
  EXPECT_TRUE(dictionary_.LoadFile("$Flow"));
}

TEST_F(FilesTest, TheSeparatorIsTheDirectorysOwn) {
  const auto asked = [&](const char* directory) {
    files_.calls.clear();
    dictionary_.ResetContentDirectories();
    dictionary_.AddContentDirectory(directory);
    EXPECT_FALSE(dictionary_.LoadFile("f"));
    return files_.calls.front();
  };
  EXPECT_EQ(asked("C:\\dir"), "exists C:\\dir\\f");
  EXPECT_EQ(asked("$TEMP/dir"), "exists $TEMP/dir/f");
  EXPECT_EQ(asked("\\dir"), "exists \\dir/f");
  EXPECT_EQ(asked("dir/"), "exists dir//f");
}

TEST_F(FilesTest, ResettingForgetsTheSearchDirectories) {
  dictionary_.AddContentDirectory("A");
  dictionary_.AddContentDirectory(nullptr);
  dictionary_.ResetContentDirectories();
  EXPECT_FALSE(dictionary_.LoadFile("f"));
  EXPECT_EQ(files_.calls, Names{"read f"});
}

TEST_F(FilesTest, ABareNameIsSavedWhereTheLastOneWasFound) {
  files_.files["A/f"] = FileWith("x");
  dictionary_.SetWriteDirectory("W");
  ASSERT_TRUE(dictionary_.SaveFile("g"));
  EXPECT_EQ(files_.calls.back(), "replace W/g");
  dictionary_.AddContentDirectory("A");
  ASSERT_TRUE(dictionary_.LoadFile("f"));
  ASSERT_TRUE(dictionary_.SaveFile("g"));
  EXPECT_EQ(files_.calls.back(), "replace A/g");
  // A later load by a full name, or one that fails, does not change that.
  ASSERT_TRUE(dictionary_.LoadFile("A/f"));
  ASSERT_FALSE(dictionary_.LoadFile("missing"));
  ASSERT_TRUE(dictionary_.SaveState("g"));
  EXPECT_EQ(files_.calls.back(), "replace A/g");
}

TEST_F(FilesTest, ABareNameWithoutAnyDirectoryIsSavedAsGiven) {
  ASSERT_TRUE(dictionary_.SaveFile("g"));
  dictionary_.SetWriteDirectory("W");
  dictionary_.SetWriteDirectory(nullptr);
  ASSERT_TRUE(dictionary_.SaveFile("h"));
  EXPECT_EQ(files_.calls, (Names{"replace g", "replace h"}));
}

TEST_F(FilesTest, SavingEmptiesTheNameValuePairsInMemoryToo) {
  ASSERT_TRUE(dictionary_.SetValue("/IDictionaryNameValPairs/x", "secret"));
  ASSERT_TRUE(dictionary_.SetValue("/IDictionaryNameValPairs", "secret"));
  ASSERT_TRUE(dictionary_.SetValue("/a", "kept"));
  ASSERT_TRUE(dictionary_.SaveFile("f"));
  EXPECT_TRUE(dictionary_.Exists("/IDictionaryNameValPairs"));
  EXPECT_EQ(GetEntries(dictionary_, "/IDictionaryNameValPairs"), Names());
  EXPECT_EQ(dictionary_.GetValueType("/IDictionaryNameValPairs"), ValueType::Nil);
  // The entry made anew stands last.
  EXPECT_EQ(GetEntries(dictionary_, "/"), (Names{"a", "IDictionaryNameValPairs"}));
  EXPECT_EQ(files_.files["f"].find("secret"), std::string::npos);
}

TEST_F(FilesTest, AnEmptyDictionarysFileHoldsTheEmptyPairs) {
  ASSERT_TRUE(dictionary_.SaveFile("f"));
  EXPECT_EQ(files_.files["f"], kEmptySavedFile);
  ASSERT_TRUE(dictionary_.SaveFile("f"));
  EXPECT_EQ(files_.files["f"], kEmptySavedFile);
}

TEST_F(FilesTest, SavingToAndLoadingFromTextLeavesThePairs) {
  ASSERT_TRUE(dictionary_.SetValue("/IDictionaryNameValPairs/x", "1"));
  EXPECT_NE(SaveText(dictionary_).find("<x "), std::string::npos);
  EXPECT_EQ(GetString(dictionary_, "/IDictionaryNameValPairs/x"), "1");
}

TEST_F(FilesTest, ASaveThatFailsHasEmptiedThePairs) {
  for (const char* name : {static_cast<const char*>(nullptr), ""}) {
    ASSERT_TRUE(dictionary_.SetValue("/IDictionaryNameValPairs/x", "1"));
    EXPECT_FALSE(dictionary_.SaveFile(name));
    EXPECT_EQ(GetEntries(dictionary_, "/IDictionaryNameValPairs"), Names());
  }
  EXPECT_TRUE(files_.calls.empty());
  ASSERT_TRUE(dictionary_.SetValue("/IDictionaryNameValPairs/x", "1"));
  files_.refuses_to_write = true;
  EXPECT_FALSE(dictionary_.SaveFile("f"));
  EXPECT_EQ(GetEntries(dictionary_, "/IDictionaryNameValPairs"), Names());
}

TEST_F(FilesTest, AFileThatCannotBeReadLeavesTheDictionaryAsItWas) {
  ASSERT_TRUE(dictionary_.SetValue("/a", "old"));
  EXPECT_FALSE(dictionary_.LoadFile("missing"));
  EXPECT_FALSE(dictionary_.LoadFile(""));
  EXPECT_FALSE(dictionary_.LoadFile(nullptr));
  EXPECT_FALSE(dictionary_.LoadState(nullptr));
  EXPECT_FALSE(dictionary_.SaveState(nullptr));
  EXPECT_EQ(GetString(dictionary_, "/a"), "old");
  files_.throws = true;
  EXPECT_FALSE(dictionary_.LoadFile("f"));
  EXPECT_FALSE(dictionary_.SaveFile("f"));
  EXPECT_EQ(GetString(dictionary_, "/a"), "old");
}

TEST_F(FilesTest, AFileThatIsBrokenLeavesWhatWasCompleteInIt) {
  ASSERT_TRUE(dictionary_.SetValue("/old", "old"));
  files_.files["f"] = "<IDictionaryRoot><a __type=\"str\">new</a><b";
  EXPECT_FALSE(dictionary_.LoadFile("f"));
  EXPECT_EQ(GetPaths(dictionary_, ""), (Names{"", "/a"}));
  files_.files["f"] = "";
  EXPECT_FALSE(dictionary_.LoadFile("f"));
  EXPECT_FALSE(dictionary_.Exists("/"));
}

TEST_F(FilesTest, EveryFileSystemThatWasMadeIsReleased) {
  files_.files["f"] = FileWith("x");
  EXPECT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_TRUE(dictionary_.SaveFile("f"));
  EXPECT_FALSE(dictionary_.LoadFile("missing"));
  files_.throws = true;
  EXPECT_FALSE(dictionary_.LoadFile("f"));
  EXPECT_EQ(files_.objects, 0);
}

TEST(Files, WithoutAFileSystemLoadingAndSavingFail) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", "x"));
  EXPECT_FALSE(dictionary.LoadFile("f"));
  EXPECT_FALSE(dictionary.SaveFile("f"));
  Core::UtilityStore::CUtilityStore store;
  dictionary.SetUtilityStore(&store);
  EXPECT_FALSE(dictionary.LoadFile("f"));
  ASSERT_TRUE(dictionary.SetValue("/IDictionaryNameValPairs/x", "1"));
  EXPECT_FALSE(dictionary.SaveFile("f"));
  EXPECT_FALSE(dictionary.Exists("/IDictionaryNameValPairs/x"));
  EXPECT_EQ(GetString(dictionary, "/a"), "x");
}

TEST(Files, AnObjectThatIsNoFileSystemIsAsGoodAsNone) {
  orv_test::ScriptedCreator creator(ObjectNames::kFileSystem, [] { return new Core::UtilityStore::CUtilityStore; });
  Core::UtilityStore::CUtilityStore store;
  store.AddUtilityObjectCreator(&creator);
  CDictionary dictionary;
  dictionary.SetUtilityStore(&store);
  EXPECT_FALSE(dictionary.LoadFile("f"));
  EXPECT_FALSE(dictionary.SaveFile("f"));
}

TEST(Files, ASecondUtilityStoreTakesThePlaceOfTheFirst) {
  CDictionary dictionary;
  for (int i = 0; i < 2; ++i) {
    FakeFiles files;
    FakeFileSystemCreator creator(files);
    Core::UtilityStore::CUtilityStore store;
    store.AddUtilityObjectCreator(&creator);
    EXPECT_TRUE(dictionary.SetUtilityStore(&store));
    EXPECT_TRUE(dictionary.SaveFile("f"));
    EXPECT_EQ(files.calls, Names{"replace f"});
  }
}

TEST(Files, TheStoresFileSystemComesBeforeTheGlobalOne) {
  FakeFiles global_files;
  FakeFileSystem global(global_files);
  ASSERT_TRUE(WorkFlowFactory::AddGlobalObject(ObjectNames::kFileSystem, &global, false));
  FakeFiles store_files;
  FakeFileSystemCreator creator(store_files);
  Core::UtilityStore::CUtilityStore store;
  CDictionary dictionary;
  EXPECT_TRUE(dictionary.SaveFile("f"));
  EXPECT_EQ(global_files.calls, Names{"replace f"});
  store.AddUtilityObjectCreator(&creator);
  dictionary.SetUtilityStore(&store);
  EXPECT_TRUE(dictionary.SaveFile("f"));
  EXPECT_EQ(store_files.calls, Names{"replace f"});
  EXPECT_EQ(global_files.calls.size(), 1u);
  WorkFlowFactory::ReleaseGlobalObjects();
}

// With real files.

class RealFilesTest : public ::testing::Test {
 protected:
  RealFilesTest() {
    store_.AddUtilityObjectCreator(&creator_);
    dictionary_.SetUtilityStore(&store_);
  }

  orv_test::TempDirectory directory_;
  Core::FileSystem::CFileSystemObjectCreator creator_;
  Core::UtilityStore::CUtilityStore store_;
  CDictionary dictionary_;
};

TEST_F(RealFilesTest, AFileIsSavedByteForByteAndLoadedAgain) {
  const std::string file = directory_.file("dictionary.xml");
  ASSERT_TRUE(dictionary_.SaveFile(file.c_str()));
  EXPECT_EQ(orv_test::ReadFile(file), kEmptySavedFile);
  ASSERT_TRUE(dictionary_.SetValue("/A/B", std::int32_t{5}));
  ASSERT_TRUE(dictionary_.SaveFile(file.c_str()));
  CDictionary other;
  other.SetUtilityStore(&store_);
  ASSERT_TRUE(other.LoadFile(file.c_str()));
  EXPECT_EQ(SaveText(other), orv_test::ReadFile(file));
  std::int32_t value = 0;
  EXPECT_TRUE(other.GetValue("/A/B", &value));
  EXPECT_EQ(value, 5);
}

TEST_F(RealFilesTest, ALineBreakIsNotDoubled) {
  const std::string file = directory_.file("dictionary.xml");
  ASSERT_TRUE(dictionary_.SetValue("/a", "1\r\n2\n3\r"));
  ASSERT_TRUE(dictionary_.SaveFile(file.c_str()));
  ASSERT_TRUE(dictionary_.LoadFile(file.c_str()));
  EXPECT_EQ(GetString(dictionary_, "/a"), "1\r\n2\n3\r");
}

TEST_F(RealFilesTest, ABareNameIsFoundAndSavedInASearchDirectory) {
  const std::string file = directory_.file("config.xml");
  orv_test::WriteFile(file, FileWith("found"));
  std::filesystem::create_directory(directory_.path() / "first");
  // A directory of that name is no file.
  std::filesystem::create_directory(directory_.path() / "first" / "config.xml");
  dictionary_.AddContentDirectory(directory_.file("first").c_str());
  dictionary_.AddContentDirectory(directory_.path().string().c_str());
  ASSERT_TRUE(dictionary_.LoadFile("config.xml"));
  EXPECT_EQ(GetString(dictionary_, "/a"), "found");
  ASSERT_TRUE(dictionary_.SaveFile("saved.xml"));
  EXPECT_NE(orv_test::ReadFile(directory_.file("saved.xml")).find("found"), std::string::npos);
}

TEST_F(RealFilesTest, ASaveThatFailsLeavesTheOldFile) {
  EXPECT_FALSE(dictionary_.SaveFile(directory_.path().string().c_str()));
  EXPECT_TRUE(std::filesystem::is_directory(directory_.path()));
  EXPECT_FALSE(dictionary_.LoadFile(directory_.file("missing.xml").c_str()));
  EXPECT_FALSE(dictionary_.LoadFile(directory_.path().string().c_str()));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
