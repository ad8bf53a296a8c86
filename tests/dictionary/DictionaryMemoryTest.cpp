// Operations without memory: each allocation in turn fails. Nothing is thrown, the dictionary stays a whole one, and
// the operation does its work when it is tried again.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"
#include "encryption/EncryptionObject.h"
#include "filesystem/FileSystemObject.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/MarshalledTexts.h"
#include "tests/support/TempDirectory.h"
#include "utilitystore/UtilityStoreObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

// Names and values that are too long to be held without memory of their own; one element of many children.
std::string MakeFile() {
  std::string file =
      "<IDictionaryRoot><source a-long-attribute=\"of the source, and long\"><an-entry-of-a-long-name __type=\"str\">a "
      "long text"
      "</an-entry-of-a-long-name><list __type=\"strlist\"><__ListEntries><__item0>the first of the items</__item0>"
      "</__ListEntries></list></source><target><old>another long text</old></target><wide>";
  for (int i = 0; i < 20; ++i) file += "<child-" + std::to_string(i) + "/>";
  return file + "</wide></IDictionaryRoot>";
}

struct Operation {
  const char* name;
  std::function<bool(IDictionary&)> run;
};

class DictionaryMemory : public ::testing::Test {
 protected:
  void FailEachAllocation(const Operation& operation) {
    SCOPED_TRACE(operation.name);
    std::string expected;
    const std::size_t needed = Allocations(operation, expected);
    EXPECT_GT(needed, 0u);
    for (std::size_t limit = 0; limit < needed && !HasFailure(); ++limit) {
      SCOPED_TRACE(limit);
      CDictionary dictionary;
      ASSERT_TRUE(LoadText(dictionary, file_));
      bool is_done = false;
      {
        const orv_test::AllocationLimit allocations(limit);
        is_done = operation.run(dictionary);
      }
      const std::string saved = SaveText(dictionary);
      CDictionary other;
      EXPECT_TRUE(LoadText(other, saved));
      EXPECT_EQ(SaveText(other), saved);
      if (!is_done) {
        EXPECT_TRUE(operation.run(dictionary));
      }
      EXPECT_EQ(SaveText(dictionary), expected);
    }
  }

  const std::string file_ = MakeFile();
  const std::string long_text_ = std::string(300, 'x');
  const orv_test::PStringList strings_{Names{"a text of some length", long_text_}};
  const orv_test::WStringList wides_{{u"a wide text of some length"}};
  const orv_test::PStringList targets_{Names{"/source/an-entry-of-a-long-name"}};

 private:
  // How many the operation makes; `saved` is then what it has done.
  std::size_t Allocations(const Operation& operation, std::string& saved) {
    CDictionary dictionary;
    EXPECT_TRUE(LoadText(dictionary, file_));
    const std::size_t before = orv_test::allocation_count;
    EXPECT_TRUE(operation.run(dictionary));
    const std::size_t count = orv_test::allocation_count - before;
    saved = SaveText(dictionary);
    return count;
  }
};

TEST_F(DictionaryMemory, Writing) {
  const char* const path = "/target/an-entry/of-a-long-name-that-is-new";
  const Operation operations[] = {
      {"text", [&](IDictionary& d) { return d.SetValue(path, long_text_.c_str()); }},
      {"wide text", [&](IDictionary& d) { return d.SetValue(path, u"a wide text of some length"); }},
      {"number", [&](IDictionary& d) { return d.SetValue(path, 1e300); }},
      {"texts", [&](IDictionary& d) { return d.SetValue(path, static_cast<const IOrvPStringList*>(strings_.out())); }},
      {"wides", [&](IDictionary& d) { return d.SetValue(path, static_cast<const IOrvStringList*>(wides_.out())); }},
      {"binary", [&](IDictionary& d) { return d.SetBinary(path, long_text_.data(), long_text_.size()); }},
      {"attribute", [&](IDictionary& d) { return d.SetAttribute(path, "name-of-an-attribute", long_text_.c_str()); }},
      {"redirection", [&](IDictionary& d) { return d.SetRedirection(path, targets_.out()); }},
      {"text forms", [&](IDictionary& d) { return d.SetValueTexts(path, ValueType::StringList, strings_.out()); }},
      {"compared",
       [&](IDictionary& d) {
         // Tried again it finds what it has done, as far as it has come.
         const orv_test::PStringList now;
         const bool has_value = d.GetValueTexts(path, now.out());
         return d.CompareAndSetTexts(path, has_value ? ValueType::StringList : ValueType::Nil, now.out(),
                                     ValueType::StringList, strings_.out(), nullptr);
       }},
      {"many children", [&](IDictionary& d) { return d.SetValue("/wide/child-that-is-the-next", true); }},
      {"path object", [&](IDictionary& d) { return d.SetValue(DictionaryPathWrapperSimple(path), true); }},
  };
  for (const Operation& operation : operations) FailEachAllocation(operation);
}

TEST_F(DictionaryMemory, Subtrees) {
  const orv_test::Stream stream;
  const Operation operations[] = {
      {"copy", [](IDictionary& d) { return d.CopySubtree("/source", "/target"); }},
      {"copy inside", [](IDictionary& d) { return d.CopySubtree("/wide", "/wide/child-19/inside"); }},
      {"merge", [](IDictionary& d) { return d.MergeSubtree(&d, "/source", "/target"); }},
      {"save", [&](IDictionary& d) { return d.SaveSubtreeToStream("/source", stream.out()); }},
      {"load", [&](IDictionary& d) { return d.LoadSubtreeFromStream("/target", stream.out()); }},
  };
  for (const Operation& operation : operations) FailEachAllocation(operation);
}

// These take the source away: tried again, they find it whole, or find that they have done it.
TEST_F(DictionaryMemory, MovingAndRenaming) {
  std::string deep = "/target";
  for (int i = 0; i < 100; ++i) deep += "/a-name-that-is-new-" + std::to_string(i);
  const Operation operations[] = {
      {"move", [&](IDictionary& d) { return d.MoveSubtree("/source", deep.c_str()); }},
      {"rename", [](IDictionary& d) { return d.Rename("/source", "another-name-for-the-source"); }},
  };
  for (const Operation& operation : operations) FailEachAllocation(operation);
}

// The entry lies in what it replaces: it must not be lost with that.
TEST_F(DictionaryMemory, MovingUpNeedsNone) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, file_));
  bool is_moved = false;
  {
    const orv_test::AllocationLimit none(0);
    is_moved = dictionary.MoveSubtree("/source/list", "/source");
  }
  EXPECT_TRUE(is_moved);
  EXPECT_EQ(GetStrings(dictionary, "/source"), Names{"the first of the items"});
  EXPECT_EQ(GetEntries(dictionary, "/source"), Names());
}

TEST_F(DictionaryMemory, MovingOntoAnotherNeedsNone) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, file_));
  bool is_moved = false;
  {
    const orv_test::AllocationLimit none(0);
    is_moved = dictionary.MoveSubtree("/source", "/target");
  }
  EXPECT_TRUE(is_moved);
  EXPECT_EQ(GetStrings(dictionary, "/target/list"), Names{"the first of the items"});
}

TEST_F(DictionaryMemory, Reading) {
  const orv_test::PStringList list;
  const orv_test::PString text;
  const char* const path = "/source/an-entry-of-a-long-name";
  const Operation operations[] = {
      {"texts", [&](IDictionary& d) { return d.GetValue("/source/list", list.out()); }},
      {"entries", [&](IDictionary& d) { return d.GetEntries("/wide", list.out()); }},
      {"paths", [&](IDictionary& d) { return d.EnumeratePaths("/", list.out()); }},
      {"found", [&](IDictionary& d) { return d.FindPaths("/", "child-[0-9]+$", list.out()); }},
      {"attributes", [&](IDictionary& d) { return d.GetAttributeNames("/source", list.out()); }},
      {"attribute", [&](IDictionary& d) { return d.GetAttribute("/source", "a-long-attribute", text.out()); }},
      {"forms", [&](IDictionary& d) { return d.GetValueTexts(path, list.out()); }},
      {"differences", [&](IDictionary& d) { return d.CompareSubtrees("/source", &d, "/target", list.out()); }},
  };
  for (const Operation& operation : operations) FailEachAllocation(operation);
}

TEST_F(DictionaryMemory, LoadingAndSaving) {
  const orv_test::PString text;
  const Operation operations[] = {
      {"load", [&](IDictionary& d) { return d.LoadFromText(file_.data(), file_.size()); }},
      {"save", [&](IDictionary& d) { return d.SaveToText(text.out()); }},
  };
  for (const Operation& operation : operations) FailEachAllocation(operation);
}

// Files in the test's folder; what a load under a key copies goes to $TEMP.
class FilesMemory : public ::testing::TestWithParam<const char*> {
 protected:
  FilesMemory() {
    store_.AddUtilityObjectCreator(&files_creator_);
    store_.AddUtilityObjectCreator(&encryption_creator_);
  }

  void Join(CDictionary& dictionary) {
    dictionary.SetUtilityStore(&store_);
    dictionary.SetEncryptionKey(GetParam());
  }
  bool HasCopy() {
    Core::FileSystem::CFileSystem file_system;
    return static_cast<IFileSystemA*>(file_system.QueryInterface(InterfaceNames::kFileSystemA))
        ->FileExists("$TEMP/tmpdic0");
  }
  std::vector<std::string> FilesThere() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

  orv_test::TempDirectory directory_;
  const std::string file_ = directory_.file("f");
  Core::FileSystem::CFileSystemObjectCreator files_creator_;
  Core::Encryption::CEncryptionObjectCreator encryption_creator_;
  Core::UtilityStore::CUtilityStore store_;
};
INSTANTIATE_TEST_SUITE_P(Keys, FilesMemory, ::testing::Values("", "a key"));

// Each allocation fails once. The file is the old or the new one, nothing lies beside it, and what did not succeed says
// so.
TEST_P(FilesMemory, NothingIsLostOrLeftBehind) {
  ASSERT_FALSE(HasCopy()) << "somebody else's; remove it";
  std::string contents[2];
  for (int i = 0; i < 2; ++i) {
    CDictionary dictionary;
    Join(dictionary);
    ASSERT_TRUE(dictionary.SetValue("/an-entry-of-a-long-name", i == 0 ? "the old one" : "the new one, and long"));
    ASSERT_TRUE(dictionary.SaveFile(file_.c_str()));
    contents[i] = orv_test::ReadFile(file_);
  }
  bool has_failed = true;
  int failures = 0;
  for (std::size_t n = 1; has_failed && n < 5000; ++n) {
    SCOPED_TRACE(n);
    orv_test::WriteFile(file_, contents[0]);
    CDictionary dictionary;
    Join(dictionary);
    bool is_loaded = false;
    bool is_saved = false;
    {
      const orv_test::FailedAllocation failed(n);
      is_loaded = dictionary.LoadFile(file_.c_str());
      const bool is_set = is_loaded && dictionary.SetValue("/an-entry-of-a-long-name", "the new one, and long");
      is_saved = is_set && dictionary.SaveFile(file_.c_str());
      has_failed = orv_test::failures_left == 0;
    }
    FileReport report;
    ASSERT_TRUE(dictionary.GetLoadReport(&report, nullptr));
    EXPECT_EQ(report.failure == FileFailure::None, is_loaded);
    EXPECT_NE(report.failure, FileFailure::Damaged);
    EXPECT_NE(report.failure, FileFailure::NotDeciphered);
    ASSERT_TRUE(dictionary.GetSaveReport(&report, nullptr));
    EXPECT_FALSE(is_saved && report.failure != FileFailure::None);
    ASSERT_EQ(orv_test::ReadFile(file_), contents[is_saved ? 1 : 0]);
    ASSERT_EQ(FilesThere(), std::vector<std::string>{"f"});
    ASSERT_FALSE(HasCopy());
    failures += is_saved ? 0 : 1;
  }
  EXPECT_FALSE(has_failed) << "each allocation has failed once";
  EXPECT_GT(failures, 20);
}

class Counter final : public IDictionaryListener {
 public:
  void OnChange(IDictionary*, const char*) override { ++calls; }
  int calls = 0;
};

TEST_F(DictionaryMemory, AddingAListener) {
  Counter counter;
  const std::string pattern = "^/target/(" + long_text_ + "|a)+$";
  FailEachAllocation({"listener", [&](IDictionary& d) { return d.AddListener(&counter, pattern.c_str()); }});
  EXPECT_EQ(counter.calls, 0);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
