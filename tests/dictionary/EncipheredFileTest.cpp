// Files of a dictionary with a key: what is on the disk, the copy that a load makes, and what makes both fail.
#include <gtest/gtest.h>

#include <algorithm>

#include "DictionaryTesting.h"
#include "FakeFiles.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "dictionary/object/DictionaryObject.h"
#include "encryption/EncryptionObject.h"
#include "filesystem/FileSystemObject.h"
#include "tests/fakes/RecordingLogger.h"
#include "tests/fakes/ScriptedWorkNode.h"
#include "tests/support/TempDirectory.h"
#include "utilitystore/UtilityStoreObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

constexpr char kKey[] = "a key";

// A dictionary with "/a" = "value", as a text and as a file under the key: the same on every platform.
constexpr char kPlainFile[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n"
    "<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\"><a __type=\"str\">value</a>\r\n"
    "\t<IDictionaryNameValPairs></IDictionaryNameValPairs>\r\n</IDictionaryRoot>";
constexpr char kEncipheredFile[] =
    "kzhphhGLWzaz1umrHmBehsY0kAAnDjB92jlevh5HFyNd+YdQuoTxeqrDGSX+I/dIpYsdSekHCsNab+iMJlwVKw7xaRbb0vJHnIQv"
    "l5UBpnXpi81c7O+gZoc6BnTX/2G3UeICh1qn39/PWNdEuoyW3IpmD46l0RMRARqhCefXSS9SPmBiH90d6YWydAgoCyGCUvsFJ5i9"
    "38cxvMUwXLHbxR8eNaqmMEqW4HRV2nsn5vUx2bP5gR9uHPTUd0+AnZdYgpTnxhNv7vxKdQWJeAVDIA==";

class EncipheredFileTest : public ::testing::Test {
 protected:
  EncipheredFileTest() {
    store_.AddUtilityObjectCreator(&files_creator_);
    store_.AddUtilityObjectCreator(&encryption_creator_);
    dictionary_.SetUtilityStore(&store_);
    dictionary_.SetEncryptionKey(kKey);
  }
  ~EncipheredFileTest() override { EXPECT_EQ(files_.objects, 0); }

  // Expects that a load of "f" makes the copy and leaves nothing of it.
  void ExpectNoCopyLeft(const std::string& copy) {
    EXPECT_EQ(std::count(files_.calls.begin(), files_.calls.end(), "copy f to " + copy), 1);
    EXPECT_EQ(files_.calls.back(), "remove " + copy);
    EXPECT_FALSE(files_.files.contains(copy));
  }

  FakeFiles files_;
  FakeFileSystemCreator files_creator_{files_};
  Core::Encryption::CEncryptionObjectCreator encryption_creator_;
  Core::UtilityStore::CUtilityStore store_;
  CDictionary dictionary_;
};

TEST_F(EncipheredFileTest, AFileIsTheSameOnEveryPlatform) {
  files_.files["f"] = kEncipheredFile;
  ASSERT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_EQ(GetString(dictionary_, "/a"), "value");
  ASSERT_TRUE(dictionary_.SaveFile("g"));
  EXPECT_EQ(files_.files["g"], kEncipheredFile);
  dictionary_.SetEncryptionKey(nullptr);
  ASSERT_TRUE(dictionary_.SaveFile("h"));
  EXPECT_EQ(files_.files["h"], kPlainFile);
}

TEST_F(EncipheredFileTest, NothingButTheEncipheredTextIsWritten) {
  ASSERT_TRUE(dictionary_.SetValue("/a", "value"));
  ASSERT_TRUE(dictionary_.SaveFile("f"));
  EXPECT_EQ(files_.calls, Names{"replace f"});
}

TEST_F(EncipheredFileTest, ALoadReadsACopyUnderTheFirstFreeName) {
  files_.files["f"] = kEncipheredFile;
  files_.files["$TEMP/tmpdic0"] = "another's";
  files_.directories.insert("$TEMP/tmpdic1");
  ASSERT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_EQ(files_.calls,
            (Names{"exists $TEMP/tmpdic0", "exists $TEMP/tmpdic1", "exists $TEMP/tmpdic2", "copy f to $TEMP/tmpdic2",
                   "read $TEMP/tmpdic2", "write $TEMP/tmpdic2", "remove $TEMP/tmpdic2", "remove $TEMP/tmpdic2"}));
  EXPECT_EQ(files_.files["$TEMP/tmpdic0"], "another's");
  EXPECT_FALSE(files_.files.contains("$TEMP/tmpdic2"));
}

TEST_F(EncipheredFileTest, ANameThatIsTakenAtTheLastMomentIsLeftAlone) {
  files_.files["f"] = kEncipheredFile;
  files_.before = [this](const std::string& call) {
    if (call == "copy f to $TEMP/tmpdic0") files_.files["$TEMP/tmpdic0"] = "another's";
  };
  ASSERT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_EQ(files_.files["$TEMP/tmpdic0"], "another's");
  ExpectNoCopyLeft("$TEMP/tmpdic1");
}

TEST_F(EncipheredFileTest, TheCopyNeverHoldsThePlainTextAndIsOverwritten) {
  files_.files["f"] = kEncipheredFile;
  std::string removed;
  files_.before = [&](const std::string& call) {
    const auto copy = files_.files.find("$TEMP/tmpdic0");
    if (copy == files_.files.end()) return;
    EXPECT_EQ(copy->second.find("value"), std::string::npos) << call;
    if (call == "remove $TEMP/tmpdic0") removed = copy->second;
  };
  ASSERT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_EQ(removed, std::string(sizeof kEncipheredFile - 1, '\0'));
}

TEST_F(EncipheredFileTest, APlainDictionaryLoadsAlthoughThereIsAKey) {
  for (const std::string& key : {std::string(kKey), std::string(kMaxKeyLength + 1, 'k')}) {
    dictionary_.SetEncryptionKey(key.c_str());
    files_.files["f"] = kPlainFile;
    ASSERT_TRUE(dictionary_.LoadFile("f"));
    EXPECT_EQ(GetString(dictionary_, "/a"), "value");
    ExpectNoCopyLeft("$TEMP/tmpdic0");
    ASSERT_TRUE(dictionary_.Delete("/a"));
    files_.calls.clear();
  }
}

TEST_F(EncipheredFileTest, LineBreaksInTheFileDoNotCount) {
  std::string broken;
  for (const char character : std::string_view(kEncipheredFile)) {
    broken += character;
    if (broken.size() % 70 == 0) broken += "\r\n";
  }
  files_.files["f"] = broken + "\r\n";
  ASSERT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_EQ(GetString(dictionary_, "/a"), "value");
}

TEST_F(EncipheredFileTest, WhatDeciphersToNoDictionaryFailsAndEmptiesTheDictionary) {
  const std::string form = kEncipheredFile;
  const struct {
    std::string key;
    std::string content;
  } cases[] = {{"another key", form},
               {std::string(kMaxKeyLength + 1, 'k'), form},
               {kKey, form.substr(0, form.size() - 4)},  // No whole number of blocks.
               {kKey, form + "-"},                       // No base64.
               {kKey, ""}};
  for (const auto& [key, content] : cases) {
    files_.files["f"] = content;
    dictionary_.SetEncryptionKey(key.c_str());
    ASSERT_TRUE(dictionary_.SetValue("/old", "old"));
    files_.calls.clear();
    EXPECT_FALSE(dictionary_.LoadFile("f"));
    EXPECT_FALSE(dictionary_.Exists("/old"));
    ExpectNoCopyLeft("$TEMP/tmpdic0");
  }
}

TEST_F(EncipheredFileTest, AFileThatCannotBeCopiedLeavesTheDictionaryAsItWas) {
  ASSERT_TRUE(dictionary_.SetValue("/a", "old"));
  EXPECT_FALSE(dictionary_.LoadFile("f"));
  EXPECT_EQ(files_.calls, (Names{"exists $TEMP/tmpdic0", "copy f to $TEMP/tmpdic0", "exists $TEMP/tmpdic0", "read f"}));
  EXPECT_EQ(GetString(dictionary_, "/a"), "old");
}

// As on a full disk, or where $TEMP may not be written.
TEST_F(EncipheredFileTest, WhereNoCopyCanBeMadeTheFileItselfIsRead) {
  files_.files["f"] = kEncipheredFile;
  files_.refuses_to_copy = true;
  ASSERT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_EQ(GetString(dictionary_, "/a"), "value");
  EXPECT_EQ(files_.files.size(), 1u);
  EXPECT_EQ(files_.files["f"], kEncipheredFile);
}

TEST_F(EncipheredFileTest, WhereEveryNameIsTakenTheFileItselfIsRead) {
  files_.files["f"] = kEncipheredFile;
  files_.has_every_file = true;
  ASSERT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_EQ(GetString(dictionary_, "/a"), "value");
  EXPECT_EQ(files_.files.size(), 1u);
}

TEST_F(EncipheredFileTest, ATextWithAZeroByteIsNotCutButRefused) {
  files_.files["f"] = std::string("<IDictionaryRoot><a __type=\"str\">x\0y</a></IDictionaryRoot>", 58);
  ASSERT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_EQ(GetString(dictionary_, "/a"), std::string("x\0y", 3));
  EXPECT_FALSE(dictionary_.SaveFile("g"));
  EXPECT_FALSE(files_.files.contains("g"));
}

TEST_F(EncipheredFileTest, WhateverIsThrownTheCopyIsRemoved) {
  const std::string copy = "$TEMP/tmpdic0";
  for (const std::string call : {"read ", "write ", "remove "}) {
    files_.files["f"] = kEncipheredFile;
    files_.calls.clear();
    files_.throws_at = call + copy;
    EXPECT_EQ(dictionary_.LoadFile("f"), call != "read ") << call;
    EXPECT_EQ(files_.calls.back(), "remove " + copy) << call;
    files_.files.erase(copy);
  }
}

TEST_F(EncipheredFileTest, AKeyThatIsTooLongWritesNothing) {
  ASSERT_TRUE(dictionary_.SetValue("/a", "value"));
  ASSERT_TRUE(dictionary_.SetValue("/IDictionaryNameValPairs/x", "1"));
  files_.files["f"] = "old";
  dictionary_.SetEncryptionKey(std::string(kMaxKeyLength + 1, 'k').c_str());
  EXPECT_FALSE(dictionary_.SaveFile("f"));
  EXPECT_EQ(files_.calls, Names());
  EXPECT_EQ(files_.files["f"], "old");
  EXPECT_FALSE(dictionary_.Exists("/IDictionaryNameValPairs/x"));
  dictionary_.SetEncryptionKey(std::string(kMaxKeyLength, 'k').c_str());
  EXPECT_TRUE(dictionary_.SaveFile("f"));
  EXPECT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_EQ(GetString(dictionary_, "/a"), "value");
}

TEST_F(EncipheredFileTest, AFileThatCannotBeWrittenFails) {
  files_.refuses_to_write = true;
  EXPECT_FALSE(dictionary_.SaveFile("f"));
  files_.refuses_to_write = false;
  files_.throws_at = "replace f";
  EXPECT_FALSE(dictionary_.SaveFile("f"));
}

TEST_F(EncipheredFileTest, WithoutAKeyThereIsNoCopy) {
  files_.files["f"] = kPlainFile;
  for (const char* no_key : {static_cast<const char*>(nullptr), ""}) {
    dictionary_.SetEncryptionKey(kKey);
    dictionary_.SetEncryptionKey(no_key);
    files_.calls.clear();
    EXPECT_TRUE(dictionary_.LoadFile("f"));
    EXPECT_TRUE(dictionary_.SaveFile("f"));
    EXPECT_EQ(files_.calls, (Names{"read f", "replace f"}));
    EXPECT_EQ(files_.files["f"], kPlainFile);
  }
}

// An object of that name that is no "IEncryption" is as good as none.
TEST(EncipheredFile, WithoutTheObjectEncryptionOnlyPlainFilesAreReadAndNoneIsWrittenAndThatIsTraced) {
  orv_test::ScriptedCreator misnamed(ObjectNames::kEncryption, [] { return new Core::UtilityStore::CUtilityStore; });
  for (IFactoryObjectCreator* const encryption :
       {static_cast<IFactoryObjectCreator*>(nullptr), static_cast<IFactoryObjectCreator*>(&misnamed)}) {
    orv_test::RecordingLogger logger;
    ASSERT_TRUE(WorkFlowFactory::AddGlobalObject(ObjectNames::kLogger, &logger, false));
    FakeFiles files;
    FakeFileSystemCreator creator(files);
    Core::UtilityStore::CUtilityStore store;
    store.AddUtilityObjectCreator(&creator);
    store.AddUtilityObjectCreator(encryption);
    CDictionary dictionary;
    dictionary.SetUtilityStore(&store);
    dictionary.SetEncryptionKey(kKey);
    ASSERT_TRUE(dictionary.SetValue("/a", "value"));
    EXPECT_FALSE(dictionary.SaveFile("f"));
    EXPECT_TRUE(files.files.empty());
    files.files["f"] = kPlainFile;
    EXPECT_TRUE(dictionary.LoadFile("f"));
    files.files["f"] = kEncipheredFile;
    EXPECT_FALSE(dictionary.LoadFile("f"));
    EXPECT_EQ(files.calls, (Names{"read f", "read f"}));
    const std::string line = "There is a key and no object Encryption: f is ";
    EXPECT_EQ(logger.GetTexts("/workflow/dictionary"),
              (Names{line + "not written", line + "a plain file", line + "a plain file"}));
    WorkFlowFactory::ReleaseGlobalObjects();
  }
}

TEST(EncipheredFile, WithRealFiles) {
  const orv_test::TempDirectory directory;
  const std::string file = directory.file("dictionary");
  Core::FileSystem::CFileSystemObjectCreator files_creator;
  Core::Encryption::CEncryptionObjectCreator encryption_creator;
  Core::UtilityStore::CUtilityStore store;
  store.AddUtilityObjectCreator(&files_creator);
  store.AddUtilityObjectCreator(&encryption_creator);
  CDictionary dictionary;
  dictionary.SetUtilityStore(&store);
  dictionary.SetEncryptionKey(kKey);
  ASSERT_TRUE(dictionary.SetValue("/a", "value"));
  ASSERT_TRUE(dictionary.SaveFile(file.c_str()));
  EXPECT_EQ(orv_test::ReadFile(file), kEncipheredFile);
  Core::FileSystem::CFileSystem file_system;
  IFileSystemA& files = *static_cast<IFileSystemA*>(file_system.QueryInterface(InterfaceNames::kFileSystemA));
  const bool was_there = files.FileExists("$TEMP/tmpdic0");
  CDictionary other;
  other.SetUtilityStore(&store);
  other.SetEncryptionKey(kKey);
  ASSERT_TRUE(other.LoadFile(file.c_str()));
  EXPECT_EQ(GetString(other, "/a"), "value");
  EXPECT_EQ(files.FileExists("$TEMP/tmpdic0"), was_there);
  EXPECT_EQ(orv_test::ReadFile(file), kEncipheredFile);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
