// The nodes of FileNodes on real files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>

#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;

class FileNodesTest : public TaskFixture {
 protected:
  OrvWorkFlow::Sdk::NodeBench& Node(const std::string& type) { return Make("FileNodes", type); }
};

TEST_F(FileNodesTest, AListHasTheFilesOfThePattern) {
  Write("in/b.csv", "12");
  Write("in/a.csv", "1");
  Write("in/note.txt", "x");
  Write("in/deep/c.csv", "123");
  Node("FileLister").SetParameter("Folder", File("in"));
  bench_->SetParameter("Pattern", "*.csv");
  EXPECT_EQ(Do("list"), Signals{"listed"});
  EXPECT_EQ(bench_->TextAt("/Files"), File("in") + "/a.csv," + File("in") + "/b.csv");
  bench_->SetParameter("Recursive", true);
  bench_->SetParameter("Pattern", "deep/?.csv;n*");
  bench_->SetParameter("Into", "/Lists/Here");
  bench_->SetParameter("Details", true);
  EXPECT_EQ(Do("list"), Signals{"listed"});
  EXPECT_EQ(bench_->TextAt("/Lists/Here/Count"), "2");
  EXPECT_EQ(bench_->TextAt("/Lists/Here/f1/Name"), "deep/c.csv");
  EXPECT_EQ(bench_->TextAt("/Lists/Here/f1/Size"), "3");
  EXPECT_EQ(bench_->TextAt("/Lists/Here/f2/Path"), File("in") + "/note.txt");
}

TEST_F(FileNodesTest, AnEntryThatIsWrittenNeedsNoSlashAndIsNotTheWorkflowsOwn) {
  Write("in/a", "text");
  for (const std::string type : {"FileLister", "TextReader"}) {
    const std::string task = type == "FileLister" ? "list" : "read";
    Node(type).SetParameter(type == "FileLister" ? "Folder" : "File", File(type == "FileLister" ? "in" : "in/a"));
    MapFailed();
    for (const char* const into : {"/", "//", "/WorkFlowEngine", "WorkFlowEngine/WorkNodes"}) {
      bench_->SetParameter("Into", into);
      EXPECT_EQ(Do(task), Signals{"failed"}) << type << " " << into;
      EXPECT_THAT(Problem(), AnyOf(HasSubstr("belongs to the workflow itself"), HasSubstr("the root is the whole")));
    }
    bench_->SetParameter("Into", "Plain");
    EXPECT_NE(Do(task), Signals{"failed"}) << Problem();
    EXPECT_EQ(bench_->TextAt("/Plain"), type == "FileLister" ? File("in") + "/a" : "text") << type;
  }
  Node("TextMatcher").SetParameter("Text", "text");
  bench_->SetParameter("Pattern", "x");
  bench_->SetParameter("Into", "/WorkFlowEngine");
  EXPECT_THROW(bench_->Signal("replace"), std::runtime_error);
}

TEST_F(FileNodesTest, AListThatCannotBeMadeSaysWhy) {
  Node("FileLister").SetParameter("Folder", File("nowhere"));
  EXPECT_EQ(Do("list"), Signals{"failed"});
  EXPECT_EQ(Problem(), "cannot list " + File("nowhere") + ": no such file");
  EXPECT_EQ(bench_->TakeMessages(), Signals{"FileLister Bench: " + Problem()}) << "nobody takes the signal";
  MapFailed();
  Write("in/a", "");
  Write("in/b", "");
  bench_->SetParameter("Folder", File("in"));
  bench_->SetParameter("Most", 1);
  EXPECT_EQ(Do("list"), Signals{"failed"});
  EXPECT_EQ(Problem(), File("in") + " holds more than 1 such files");
  EXPECT_EQ(bench_->TakeMessages(), Signals{});
}

TEST_F(FileNodesTest, HashesAreThoseOfOtherPrograms) {
  Write("abc", "abc");
  Node("FileHasher").SetParameter("File", File("abc"));
  EXPECT_EQ(Do("hash"), Signals{"hashed"});
  EXPECT_EQ(Said("Hash"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(Said("Size"), "3");
  bench_->SetParameter("Kind", "crc32");
  bench_->SetParameter("Expected", "352441C2");
  EXPECT_EQ(Do("hash"), Signals{"hashed"});
  bench_->SetParameter("Expected", "352441c3");
  EXPECT_EQ(Do("hash"), Signals{"differs"});
  EXPECT_EQ(Said("Hash"), "352441c2");
  EXPECT_EQ(bench_->TakeMessages().size(), 1u) << "nothing takes it, so the user is told";
  bench_->Set("/WorkFlowEngine/WorkNodes/FileHasher/Instances/Bench/maps/differs/map0", "Any,Any,any");
  EXPECT_EQ(Do("hash"), Signals{"differs"});
  EXPECT_EQ(bench_->TakeMessages(), std::vector<std::string>{});
  bench_->SetParameter("Kind", "xxh3");
  bench_->SetParameter("Expected", "78af5f94892f3950");
  EXPECT_EQ(Do("hash"), Signals{"hashed"});
  MapFailed();
  bench_->SetParameter("Kind", "md6");
  EXPECT_EQ(Do("hash"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("/Kind is \"md6\"; it takes crc32, xxh3 or sha256"));
  bench_->SetParameter("Kind", "crc32");
  bench_->SetParameter("File", directory_.path().string());
  EXPECT_EQ(Do("hash"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("is a folder"));
}

TEST_F(FileNodesTest, AFolderIsCopiedAndMoved) {
  Write("in/a", "1");
  Write("in/deep/b", std::string(700000, 'b'));
  Node("TreeCopier").SetParameter("Source", File("in"));
  bench_->SetParameter("Target", File("out"));
  EXPECT_EQ(Do("copy"), Signals{"copied"});
  EXPECT_EQ(Read("out/a"), "1");
  EXPECT_EQ(Read("out/deep/b"), std::string(700000, 'b'));
  EXPECT_EQ(Said("Count"), "2");
  EXPECT_EQ(Said("Bytes"), "700001");
  bench_->SetParameter("Target", File("elsewhere"));
  EXPECT_EQ(Do("move"), Signals{"moved"});
  EXPECT_FALSE(Exists("in"));
  EXPECT_EQ(Read("elsewhere/deep/b").size(), 700000U);
  EXPECT_FALSE(Exists("elsewhere/deep/b.part"));
}

TEST_F(FileNodesTest, AFileIsCopiedIntoAFolderAndNothingIsReplacedUnasked) {
  Write("a", "new");
  Write("out/a", "old");
  Node("TreeCopier").SetParameter("Source", File("a"));
  MapFailed();
  bench_->SetParameter("Target", File("out") + "/");
  bench_->SetParameter("Overwrite", false);
  EXPECT_EQ(Do("copy"), Signals{"failed"});
  EXPECT_EQ(Problem(), File("out") + "/" + "a: already exists");
  EXPECT_EQ(Read("out/a"), "old");
  bench_->SetParameter("Overwrite", true);
  EXPECT_EQ(Do("copy"), Signals{"copied"});
  EXPECT_EQ(Read("out/a"), "new");
  bench_->SetParameter("Target", File("a"));
  EXPECT_EQ(Do("copy"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("the same file"));
  bench_->SetParameter("Source", File("nothing"));
  EXPECT_EQ(Do("move"), Signals{"failed"});
  EXPECT_EQ(Problem(), "cannot read " + File("nothing") + ": no such file");
}

// Each object gets a little further; what is in the part beyond what the state knows of does not count.
TEST_F(FileNodesTest, AStoppedCopyGoesOnWhereItWas) {
  std::string bytes;
  for (int i = 0; i < 6 << 20; ++i) bytes.push_back(static_cast<char>(i * 7 + i / 251));
  Write("large", bytes);
  Node("TreeCopier").SetParameter("Source", File("large"));
  bench_->SetParameter("Target", File("copy"));
  std::string signal = "copy";
  int stops = 0;
  for (; !signal.empty() && stops < 500; ++stops) {
    bench_->Signal(signal);
    std::this_thread::sleep_for(std::chrono::milliseconds(1 + stops / 10));
    signal = bench_->Stop();
    if (signal.empty()) break;
    EXPECT_EQ(signal, "resume");
    if (Exists("copy.part"))
      std::ofstream(directory_.path() / "copy.part", std::ios::app | std::ios::binary) << "behind";
  }
  EXPECT_EQ(bench_->TakeFired(), Signals{"copied"});
  EXPECT_TRUE(Read("copy") == bytes);
  EXPECT_FALSE(Exists("copy.part"));
}

TEST_F(FileNodesTest, AFileIsNoFolderToList) {
  Write("a", "1");
  Node("FileLister").SetParameter("Folder", File("a"));
  MapFailed();
  EXPECT_EQ(Do("list"), Signals{"failed"});
  EXPECT_EQ(Problem(), "cannot list " + File("a") + ": not a folder");
}

TEST_F(FileNodesTest, DeletingIsExact) {
  Write("in/a.tmp", "1");
  Write("in/b", "1");
  Write("in/deep/c.tmp", "1");
  Node("FileDeleter").SetParameter("Path", File("in"));
  MapFailed();
  EXPECT_EQ(Do("delete"), Signals{"failed"});
  EXPECT_EQ(Problem(), "cannot delete " + File("in") + ": is a folder (Recursive deletes it)");
  bench_->SetParameter("Pattern", "*.tmp");
  EXPECT_EQ(Do("delete"), Signals{"deleted"});
  EXPECT_EQ(Said("Count"), "1");
  EXPECT_TRUE(Exists("in/deep/c.tmp"));
  bench_->SetParameter("Pattern", "");
  bench_->SetParameter("Recursive", true);
  EXPECT_EQ(Do("delete"), Signals{"deleted"});
  EXPECT_FALSE(Exists("in"));
  EXPECT_EQ(Do("delete"), Signals{"deleted"}) << "what is not there is gone";
  bench_->SetParameter("Path", "/");
  EXPECT_EQ(Do("delete"), Signals{"failed"});
}

TEST_F(FileNodesTest, AWatcherTellsOneFileAfterTheOther) {
  Write("in/old", "1");
  Node("FolderWatcher").SetParameter("Folder", File("in"));
  bench_->SetParameter("SettleMilliseconds", 50);
  bench_->SetParameter("PollMilliseconds", 10);
  EXPECT_TRUE(bench_->Signal("watch"));
  EXPECT_EQ(WaitForFired(), Signals{"new"});
  EXPECT_EQ(Said("Name"), "old");
  Write("in/next", "1");
  Write("in/next.part", "1");
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(bench_->TakeFired(), Signals{}) << "the first is not done with";
  bench_->Signal("next");
  EXPECT_EQ(WaitForFired(), Signals{"new"});
  EXPECT_EQ(Said("File"), File("in") + "/next");
  // Stopped while a file is being worked on: it is not told again.
  EXPECT_EQ(bench_->Stop(), "resume");
  Write("in/old", "12");
  std::filesystem::remove(directory_.path() / "in/next");
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  bench_->Signal("resume");
  bench_->Signal("next");
  EXPECT_EQ(WaitForFired(), Signals{"changed"});
  EXPECT_EQ(Said("Name"), "old");
  bench_->Signal("next");
  EXPECT_EQ(WaitForFired(), Signals{"gone"});
  EXPECT_EQ(Said("Name"), "next");
  EXPECT_EQ(Do("stop"), Signals{"ended"});
}

TEST_F(FileNodesTest, AFileThatGrowsIsNotTaken) {
  Write("in/grows", "1");
  Node("FolderWatcher").SetParameter("Folder", File("in"));
  bench_->SetParameter("SettleMilliseconds", 2000);
  bench_->SetParameter("PollMilliseconds", 10);
  bench_->Signal("watch");
  std::string text = "1";
  for (int i = 0; i < 30; ++i) {
    Write("in/grows", text += "1");
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(bench_->TakeFired(), Signals{});
  EXPECT_EQ(WaitForFired(), Signals{"new"});
}

TEST_F(FileNodesTest, AFolderThatVanishesEndsTheWatch) {
  Write("in/a", "1");
  Node("FolderWatcher").SetParameter("Folder", File("in"));
  MapFailed();
  bench_->SetParameter("Existing", false);
  bench_->SetParameter("PollMilliseconds", 10);
  bench_->Signal("watch");
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  // On Windows it cannot go while it is being listed.
  std::error_code error;
  for (int i = 0; i < 1000 && std::filesystem::exists(directory_.path() / "in", error); ++i) {
    std::filesystem::remove_all(directory_.path() / "in", error);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_TRUE(bench_->WaitUntilIdle());
  EXPECT_EQ(bench_->TakeFired().back(), "failed");
  // On Windows a folder that is about to go can no longer be opened.
  EXPECT_THAT(Problem(), ::testing::AnyOf("cannot list " + File("in") + ": no such file",
                                          "cannot list " + File("in") + ": permission denied"));
}

TEST_F(FileNodesTest, TextsAreReadAndWritten) {
  Node("TextWriter").SetParameter("File", File("out/a.txt"));
  bench_->SetParameter("Text", "one");
  EXPECT_EQ(Do("write"), Signals{"written"});
  SetListParameter("Text", {"two", "three"});
  EXPECT_EQ(Do("append"), Signals{"written"});
  EXPECT_EQ(Read("out/a.txt"), "one\ntwo\nthree\n");
  MapFailed();
  bench_->SetParameter("File", directory_.path().string());
  EXPECT_EQ(Do("write"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("cannot write "));

  Node("TextReader").SetParameter("File", File("out/a.txt"));
  MapFailed();
  EXPECT_EQ(Do("read"), Signals{"read"});
  EXPECT_EQ(bench_->TextAt("/Text"), "one\ntwo\nthree\n");
  Write("out/a.txt", "\xEF\xBB\xBFone\r\n\r\nlast");
  bench_->SetParameter("Lines", true);
  EXPECT_EQ(Do("read"), Signals{"read"});
  EXPECT_EQ(bench_->TextAt("/Text"), "one,,last");
  bench_->SetParameter("MostBytes", 5);
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_EQ(Problem(), File("out/a.txt") + " is too large: 14 bytes; MostBytes is 5");
  bench_->SetParameter("MostBytes", 50);
  Write("out/a.txt", std::string_view("a\0b", 3));
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_EQ(Problem(), File("out/a.txt") + " is no text: there is a zero in it");
}

TEST_F(FileNodesTest, APatternIsFoundAndReplaced) {
  Node("TextMatcher").SetParameter("Text", "order-17.csv and order-18.csv");
  bench_->SetParameter("Pattern", "order-([0-9]+)\\.(csv|txt)");
  bench_->SetParameter("Replacement", "<\\2 \\1 \\0 \\\\>");
  EXPECT_TRUE(bench_->Signal("match"));
  EXPECT_EQ(bench_->TakeFired(), Signals{"matched"});
  EXPECT_EQ(Said("Match"), "order-17.csv");
  EXPECT_EQ(Said("G1"), "17");
  EXPECT_TRUE(bench_->Signal("replace"));
  EXPECT_EQ(bench_->TakeFired(), Signals{"replaced"});
  EXPECT_EQ(bench_->TextAt("/Text"), "<csv 17 order-17.csv \\> and <csv 18 order-18.csv \\>");
  EXPECT_EQ(Said("Count"), "2");
  bench_->SetParameter("Pattern", "^o");
  bench_->SetParameter("Text", "ooo");
  bench_->SetParameter("Replacement", "x");
  EXPECT_TRUE(bench_->Signal("replace"));
  EXPECT_EQ(bench_->TextAt("/Text"), "xoo");
  bench_->SetParameter("Pattern", "z");
  bench_->TakeFired();
  EXPECT_TRUE(bench_->Signal("match"));
  EXPECT_EQ(bench_->TakeFired(), Signals{"unmatched"});
  bench_->SetParameter("Pattern", "(z");
  EXPECT_THROW(bench_->Signal("match"), std::runtime_error);
}

TEST_F(FileNodesTest, AStopIsNotKeptWaitingByTheLinesOfAFile) {
  std::string text;
  std::string items;
  for (int i = 0; i < 200000; ++i) {
    text += "line " + std::to_string(i) + "\r\n";
    items += (i == 0 ? "line " : ",line ") + std::to_string(i);
  }
  Write("large.txt", text);
  Make("FileNodes", "TextReader").SetParameter("File", File("large.txt"));
  bench_->SetParameter("Lines", true);
  bench_->Signal("read");
  WaitUntil([&] { return bench_->dictionary().Exists("/TextReader/Bench/Coming/__ListEntries/__item1000"); });
  EXPECT_EQ(bench_->TextAt("/Text"), "");
  EXPECT_EQ(bench_->Stop(), "resume");
  EXPECT_EQ(DoInPieces("resume", std::chrono::milliseconds(150)), Signals{"read"}) << Problem();
  EXPECT_TRUE(bench_->TextAt("/Text") == items);
  EXPECT_FALSE(bench_->dictionary().Exists("/TextReader/Bench/Coming"));
  EXPECT_FALSE(bench_->dictionary().Exists("/TextReader/Bench/Progress"));
  SetList("/Same", {"line 0", "line 1"});
  const std::string state = bench_->SaveState();
  EXPECT_THAT(state, ::testing::HasSubstr("<__item1>line 1</__item1>"));
  EXPECT_THAT(state, ::testing::Not(::testing::HasSubstr("<__item1 "))) << "it is a list as any other";
}

}  // namespace
}  // namespace orv_test
