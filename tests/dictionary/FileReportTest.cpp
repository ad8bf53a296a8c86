// Why a load or a save failed, and that nothing plain is written under a key.
#include <gtest/gtest.h>

#include <stdexcept>

#include "DictionaryTesting.h"
#include "FakeFiles.h"
#include "dictionary/object/DictionaryObject.h"
#include "encryption/EncryptionObject.h"
#include "tests/support/MarshalledTexts.h"
#include "utilitystore/UtilityStoreObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

class FileReportTest : public ::testing::Test {
 protected:
  FileReportTest() {
    store_.AddUtilityObjectCreator(&files_creator_);
    store_.AddUtilityObjectCreator(&encryption_creator_);
    dictionary_.SetUtilityStore(&store_);
  }

  void ExpectLoad(FileFailure failure, const std::string& text) {
    FileReport report;
    const orv_test::PString words;
    ASSERT_TRUE(dictionary_.GetLoadReport(&report, words.out()));
    EXPECT_EQ(report.failure, failure) << words.str();
    EXPECT_EQ(words.str(), text);
  }
  void ExpectSave(FileFailure failure, const std::string& text) {
    FileReport report;
    const orv_test::PString words;
    ASSERT_TRUE(dictionary_.GetSaveReport(&report, words.out()));
    EXPECT_EQ(report.failure, failure) << words.str();
    EXPECT_EQ(words.str(), text);
  }
  bool IsPlainUnderKey() {
    FileReport report;
    EXPECT_TRUE(dictionary_.GetLoadReport(&report, nullptr));
    return report.plain_under_key;
  }

  FakeFiles files_;
  FakeFileSystemCreator files_creator_{files_};
  Core::Encryption::CEncryptionObjectCreator encryption_creator_;
  Core::UtilityStore::CUtilityStore store_;
  CDictionary dictionary_;
};

TEST_F(FileReportTest, NothingHasFailedAtFirst) {
  ExpectLoad(FileFailure::None, "");
  ExpectSave(FileFailure::None, "");
  EXPECT_FALSE(dictionary_.GetLoadReport(nullptr, nullptr));
  EXPECT_FALSE(dictionary_.GetSaveReport(nullptr, nullptr));
}

TEST_F(FileReportTest, WithoutANameOrAFileSystemNothingIsBegun) {
  EXPECT_FALSE(dictionary_.LoadFile(nullptr));
  ExpectLoad(FileFailure::NotStarted, "no file name");
  EXPECT_FALSE(dictionary_.SaveFile(""));
  ExpectSave(FileFailure::NotStarted, "no file name");
  EXPECT_FALSE(dictionary_.SaveSubtree("/missing", "f"));
  ExpectSave(FileFailure::NotStarted, "no such entry");
  CDictionary alone;
  EXPECT_FALSE(alone.LoadFile("f"));
  FileReport report;
  ASSERT_TRUE(alone.GetLoadReport(&report, nullptr));
  EXPECT_EQ(report.failure, FileFailure::NotStarted);
}

TEST_F(FileReportTest, ASuccessForgetsTheFailureBefore) {
  files_.files["f"] = "<IDictionaryRoot/>";
  files_.files["g"] = "<IDictionaryRoot>";
  EXPECT_FALSE(dictionary_.LoadFile("g"));
  ExpectLoad(FileFailure::Damaged, "cut off: <IDictionaryRoot>, opened in line 1, has no end tag");
  EXPECT_TRUE(dictionary_.LoadFile("f"));
  ExpectLoad(FileFailure::None, "");
}

TEST_F(FileReportTest, ASubtreeWithAnotherRootIsDamaged) {
  files_.files["f"] = "<a/>";
  EXPECT_FALSE(dictionary_.LoadSubtree("/x", "f"));
  ExpectLoad(FileFailure::Damaged, "the root is <a>, not <IDictionaryRoot>; no path leads into it");
}

TEST_F(FileReportTest, ATextThatIsEncipheredNeedsItsKey) {
  ASSERT_TRUE(dictionary_.SetValue("/a", "value"));
  dictionary_.SetEncryptionKey("a key");
  ASSERT_TRUE(dictionary_.SaveFile("f"));
  EXPECT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_FALSE(IsPlainUnderKey());
  dictionary_.SetEncryptionKey("another key");
  EXPECT_FALSE(dictionary_.LoadFile("f"));
  ExpectLoad(FileFailure::NotDeciphered, "enciphered with another key, or damaged");
  dictionary_.SetEncryptionKey(nullptr);
  EXPECT_FALSE(dictionary_.LoadFile("f"));
  ExpectLoad(FileFailure::NotDeciphered, "enciphered, and no key is given");
  files_.files["f"].resize(files_.files["f"].size() - 3);
  dictionary_.SetEncryptionKey("a key");
  EXPECT_FALSE(dictionary_.LoadFile("f"));
  ExpectLoad(FileFailure::NotDeciphered, "enciphered text that was cut off or changed");
}

TEST_F(FileReportTest, APlainFileUnderAKeyIsTold) {
  files_.files["f"] = "<IDictionaryRoot/>";
  EXPECT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_FALSE(IsPlainUnderKey());
  dictionary_.SetEncryptionKey("a key");
  EXPECT_TRUE(dictionary_.LoadFile("f"));
  EXPECT_TRUE(IsPlainUnderKey());
}

TEST_F(FileReportTest, AKeyThatIsTooLongIsToldAndNothingWritten) {
  dictionary_.SetEncryptionKey(std::string(kMaxKeyLength + 1, 'k').c_str());
  EXPECT_FALSE(dictionary_.SaveFile("f"));
  ExpectSave(FileFailure::NotEnciphered, "the key is too long");
  EXPECT_TRUE(files_.files.empty());
}

TEST_F(FileReportTest, NothingIsWrittenUnderAKeyWithoutTheObjectEncryption) {
  Core::UtilityStore::CUtilityStore store;
  store.AddUtilityObjectCreator(&files_creator_);
  dictionary_.SetUtilityStore(&store);
  dictionary_.SetEncryptionKey("a key");
  ASSERT_TRUE(dictionary_.SetValue("/a", "value"));
  files_.files["f"] = "old";
  EXPECT_FALSE(dictionary_.SaveFile("f"));
  ExpectSave(FileFailure::NotEnciphered, "there is a key and no object Encryption");
  EXPECT_FALSE(dictionary_.SaveFileWithPairs("f"));
  EXPECT_FALSE(dictionary_.SaveSubtree("/a", "f"));
  EXPECT_FALSE(dictionary_.SavePairs("f"));
  EXPECT_EQ(files_.files["f"], "old");
  EXPECT_EQ(files_.files.size(), 1u);
}

TEST_F(FileReportTest, AFileThatCannotBeWrittenIsNotEnciphersFault) {
  files_.refuses_to_write = true;
  dictionary_.SetEncryptionKey("a key");
  EXPECT_FALSE(dictionary_.SaveFile("f"));
  FileReport report;
  ASSERT_TRUE(dictionary_.GetSaveReport(&report, nullptr));
  EXPECT_EQ(report.failure, FileFailure::CannotWrite);
}

TEST_F(FileReportTest, TheFileSystemsReasonIsPassedOn) {
  const std::pair<std::string, FileFailure> reasons[] = {
      {"permission denied", FileFailure::CannotOpen},  {"too many open files", FileFailure::CannotOpen},
      {"input/output error", FileFailure::CannotOpen}, {"in use", FileFailure::InUse},
      {"out of memory", FileFailure::NoMemory},        {"file too large", FileFailure::TooLarge}};
  files_.refuses_to_write = true;
  for (const char* key : {"", "a key"}) {
    dictionary_.SetEncryptionKey(key);
    for (const auto& [reason, failure] : reasons) {
      files_.reason = reason;
      EXPECT_FALSE(dictionary_.LoadFile("missing"));
      ExpectLoad(failure, reason);
      EXPECT_FALSE(dictionary_.SaveFile("f"));
      ExpectSave(failure == FileFailure::CannotOpen ? FileFailure::CannotWrite : failure, reason);
    }
    files_.reason.clear();
    EXPECT_FALSE(dictionary_.LoadFile("missing"));
    ExpectLoad(FileFailure::CannotOpen, "cannot be opened");
  }
}

// Says that it holds more than a dictionary takes, and has next to nothing to show for it.
class BoastfulStream final : public IOrvBasicStream {
 public:
  bool Assign(const void*, std::size_t) noexcept override { return false; }
  bool Append(const void*, std::size_t) noexcept override { return false; }
  const void* GetData() const noexcept override { return "<IDictionaryRoot/>"; }
  std::size_t GetSize() const noexcept override { return kMaxTextSize + 1; }
  void Release() noexcept override {}
  virtual ~BoastfulStream() = default;
};

TEST_F(FileReportTest, ATextThatIsTooLargeIsNotLookedAt) {
  ASSERT_TRUE(dictionary_.SetValue("/a", "old"));
  EXPECT_FALSE(dictionary_.LoadFromText("<IDictionaryRoot/>", kMaxTextSize + 1));
  ExpectLoad(FileFailure::TooLarge, "too large, or nested too deep");
  const BoastfulStream stream;
  EXPECT_FALSE(dictionary_.LoadSubtreeFromStream("/a", &stream));
  ExpectLoad(FileFailure::TooLarge, "too large, or nested too deep");
  EXPECT_EQ(GetString(dictionary_, "/a"), "old");
  DataStore store;
  ASSERT_TRUE(store.Set("/a", std::int32_t{1}));
  EXPECT_FALSE(store.Load({"<IDictionaryRoot/>", kMaxTextSize + 1}, nullptr, DataStore::Pairs::Taken));
  EXPECT_TRUE(store.Exists("/a"));
  TextBuffer buffer;
  buffer.Append("x");
  EXPECT_THROW(buffer.Room(kMaxTextSize), std::length_error);
}

// Thirty thousand levels would be a file of 900 MB, of which all but some 400 KB are tabs.
TEST_F(FileReportTest, WhatNestsTooDeepIsNotWritten) {
  std::string text;
  for (int i = 0; i < 30'000; ++i) text += "<a>";
  for (int i = 0; i < 30'000; ++i) text += "</a>";
  ASSERT_TRUE(LoadText(dictionary_, "<IDictionaryRoot>" + text + "</IDictionaryRoot>"));
  files_.files["f"] = "old";
  EXPECT_FALSE(dictionary_.SaveFile("f"));
  ExpectSave(FileFailure::TooLarge, "entries nest too deep to be written to a file");
  EXPECT_EQ(files_.files["f"], "old");
  const orv_test::PString output;
  EXPECT_FALSE(dictionary_.SaveToText(output.out()));
}

// Many entries in a depth that is sane may have as much of it as they need.
TEST_F(FileReportTest, AThousandLevelsAreWritten) {
  std::string text;
  for (int i = 0; i < 3'000; ++i) text += "<a>";
  for (int i = 0; i < 3'000; ++i) text += "</a>";
  ASSERT_TRUE(LoadText(dictionary_, "<IDictionaryRoot>" + text + "</IDictionaryRoot>"));
  EXPECT_TRUE(dictionary_.SaveFile("f"));
  ExpectSave(FileFailure::None, "");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
