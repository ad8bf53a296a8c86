// The nodes of ArchiveNodes on real archives, those among them that mean ill.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tasks/TarBytes.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

class ArchiveNodesTest : public TaskFixture {
 protected:
  OrvWorkFlow::Sdk::NodeBench& Node(const std::string& type) {
    Make("ArchiveNodes", type);
    MapFailed();
    return *bench_;
  }
  OrvWorkFlow::Sdk::NodeBench& Packer(const std::string& source, const std::string& target) {
    Node("ArchivePacker").SetParameter("Source", File(source));
    bench_->SetParameter("Target", File(target));
    return *bench_;
  }
  OrvWorkFlow::Sdk::NodeBench& Extractor(const std::string& archive, const std::string& target) {
    Node("ArchiveExtractor").SetParameter("Archive", File(archive));
    bench_->SetParameter("Target", File(target));
    return *bench_;
  }
  // Why it could not be extracted, behind the archive's name; nothing may be left of it then.
  std::string Refusal(const std::string& bytes) {
    Write("bad", bytes);
    Extractor("bad", "out");
    return RefusalOfNode();
  }
  std::string RefusalOfNode() {
    if (Do("extract") != Signals{"failed"}) return "it was extracted";
    EXPECT_FALSE(Exists("out"));
    EXPECT_FALSE(Exists("out.part"));
    const std::string begin = File("bad") + ": ";
    const std::string problem = Problem();
    return problem.starts_with(begin) ? problem.substr(begin.size()) : problem;
  }
  // What the node fired first, stopped and killed again and again until then.
  std::string DoInterrupted(std::string signal) {
    for (int i = 0; i < 200; ++i) {
      bench_->Signal(signal);
      std::this_thread::sleep_for(std::chrono::milliseconds(10 << i / 4));
      if (i % 3 == 2) {
        bench_->Kill();
      } else {
        signal = bench_->Stop();
      }
      const Signals fired = bench_->TakeFired();
      if (!fired.empty()) return fired.front();
    }
    return "nothing";
  }
  void WriteFolder() {
    Write("in/a.txt", "alpha");
    Write("in/deep/er/b.bin", std::string(300000, 'x') + std::string("\0\r\n", 3));
    Write("in/deep/empty", "");
  }
  void ExpectFolder(const std::string& folder) {
    for (const char* const name : {"/a.txt", "/deep/er/b.bin", "/deep/empty"}) {
      ASSERT_TRUE(Exists(folder + name)) << name;
      EXPECT_TRUE(Read(folder + name) == Read("in" + std::string(name))) << name;
    }
    const auto entries = std::filesystem::recursive_directory_iterator(directory_.path() / folder);
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 5);
  }
};

TEST_F(ArchiveNodesTest, WhatIsPackedComesOutAgain) {
  WriteFolder();
  for (const std::string format : {"zip", "tar", "tar.gz", "tgz"}) {
    SCOPED_TRACE(format);
    const std::string archive = "kept/in." + format;
    Packer("in", archive);
    EXPECT_EQ(Do("pack"), Signals{"packed"}) << Problem();
    EXPECT_EQ(Said("Count"), "3");
    EXPECT_EQ(Said("Bytes"), "300008");
    EXPECT_EQ(Said("Size"), std::to_string(std::filesystem::file_size(File(archive))));
    EXPECT_FALSE(Exists(archive + ".part"));
    const std::string once = Read(archive);
    EXPECT_EQ(Do("pack"), Signals{"packed"}) << Problem();
    EXPECT_TRUE(Read(archive) == once) << "the same files make the same bytes";

    Extractor(archive, "out." + format + "/");
    EXPECT_EQ(Do("extract"), Signals{"extracted"}) << Problem();
    EXPECT_EQ(Said("Count"), "3");
    EXPECT_EQ(Said("Bytes"), "300008");
    ExpectFolder("out." + format);
    EXPECT_FALSE(Exists("out." + format + ".part"));
    const auto before = std::filesystem::last_write_time(File("in/a.txt"));
    const auto after = std::filesystem::last_write_time(File("out." + format + "/a.txt"));
    EXPECT_LE(std::chrono::abs(before - after), std::chrono::seconds(2));
  }
}

TEST_F(ArchiveNodesTest, OneFileAndFilesOfAPatternArePacked) {
  WriteFolder();
  Packer("in/a.txt", "in/it").SetParameter("Format", "ZIP");
  EXPECT_EQ(Do("pack"), Signals{"packed"}) << Problem();
  EXPECT_THAT(Read("in/it"), ::testing::StartsWith("PK"));
  Packer("in", "in/all.tar").SetParameter("Pattern", "*.txt;e*;all.tar*;it");
  EXPECT_EQ(Do("pack"), Signals{"packed"}) << Problem();
  EXPECT_EQ(Do("pack"), Signals{"packed"}) << "the archive lies in the folder, and is not packed";

  Node("ArchiveLister").SetParameter("Archive", File("in/all.tar"));
  EXPECT_EQ(Do("list"), Signals{"listed"}) << Problem();
  EXPECT_EQ(bench_->TextAt("/Entries"), "a.txt,deep/empty,it");
  bench_->SetParameter("Details", true);
  bench_->SetParameter("Pattern", "a*");
  bench_->SetParameter("Into", "/Lists/Here");
  EXPECT_EQ(Do("list"), Signals{"listed"}) << Problem();
  EXPECT_EQ(bench_->TextAt("/Lists/Here/f1/Name"), "a.txt");
  EXPECT_EQ(bench_->TextAt("/Lists/Here/f1/Size"), "5");
  EXPECT_EQ(Said("Count"), "1");
  bench_->SetParameter("Pattern", "*");
  bench_->SetParameter("Most", 2);
  EXPECT_EQ(Do("list"), Signals{"failed"});
  EXPECT_EQ(Problem(), File("in/all.tar") + " holds more than 2 such files");

  Extractor("in/all.tar", "out").SetParameter("Pattern", "deep/*");
  EXPECT_EQ(Do("extract"), Signals{"extracted"}) << Problem();
  EXPECT_TRUE(Exists("out/deep/empty"));
  EXPECT_FALSE(Exists("out/a.txt"));
}

TEST_F(ArchiveNodesTest, WhatCannotBeDoneSaysWhy) {
  WriteFolder();
  Packer("nowhere", "a.zip");
  EXPECT_EQ(Do("pack"), Signals{"failed"});
  EXPECT_EQ(Problem(), "cannot read " + File("nowhere") + ": no such file");
  Packer("in", "a.rar");
  EXPECT_EQ(Do("pack"), Signals{"failed"});
  EXPECT_EQ(Problem(),
            "the name \"" + File("a.rar") + "\" says no format (zip, tar, tar.gz, tar.bz2, tar.xz or tar.zst)");
  EXPECT_FALSE(Exists("a.rar.part"));
  Packer("in", "in");
  EXPECT_EQ(Do("pack"), Signals{"failed"});
  EXPECT_EQ(Problem(), "cannot write " + File("in") + ": is a folder");
  Write("a.zip", "mine");
  Packer("in", "a.zip").SetParameter("Overwrite", false);
  EXPECT_EQ(Do("pack"), Signals{"failed"});
  EXPECT_EQ(Problem(), File("a.zip") + ": already exists");
  EXPECT_EQ(Read("a.zip"), "mine");
  Packer("a.zip", "a.zip");
  EXPECT_EQ(Do("pack"), Signals{"failed"});
  EXPECT_EQ(Problem(), File("a.zip") + ": source and destination are the same file");

  Extractor("nowhere.zip", "out");
  EXPECT_EQ(Do("extract"), Signals{"failed"});
  EXPECT_EQ(Problem(), "cannot read " + File("nowhere.zip") + ": no such file");
  EXPECT_FALSE(Exists("out.part"));
  Write("good.tar", TarFile("a", "1") + kTarEnd);
  Extractor("good.tar", "in");
  EXPECT_EQ(Do("extract"), Signals{"failed"});
  EXPECT_EQ(Problem(), "cannot write " + File("in") + ": folder not empty");
  ExpectFolder("in");
  std::filesystem::create_directory(File("out"));
  Extractor("good.tar", "out");
  EXPECT_EQ(Do("extract"), Signals{"extracted"}) << "an empty folder is as good as none: " << Problem();
  EXPECT_EQ(Read("out/a"), "1");
}

TEST_F(ArchiveNodesTest, NothingComesOutOfWhatLeadsOutside) {
  const std::string first = TarFile("first", "1");
  const std::string outside = "it leads out of the folder";
  EXPECT_EQ(Refusal(first + TarFile("../evil", "1") + kTarEnd), "\"../evil\": " + outside);
  EXPECT_EQ(Refusal(first + TarFile("a/../../evil", "1") + kTarEnd), "\"a/../../evil\": " + outside);
  EXPECT_EQ(Refusal(first + TarFile("a/..", "1") + kTarEnd), "\"a/..\": " + outside);
  EXPECT_EQ(Refusal(first + TarFile("/evil", "1") + kTarEnd), "\"/evil\": " + outside);
  EXPECT_EQ(Refusal(first + TarEntry("a", '1', "", "../secret") + kTarEnd), "\"../secret\": " + outside);
  const std::string no_name = "no path can hold this name";
  EXPECT_EQ(Refusal(first + TarFile("C:evil", "1") + kTarEnd), "\"C:evil\": " + no_name);
  EXPECT_EQ(Refusal(first + TarFile("a:b", "1") + kTarEnd), "\"a:b\": " + no_name);
  EXPECT_EQ(Refusal(first + TarEntry("dev", '3', "") + kTarEnd), "\"dev\" is neither a file nor a folder");
  EXPECT_EQ(Refusal(first + TarEntry("pipe", '6', "") + kTarEnd), "\"pipe\" is neither a file nor a folder");
  EXPECT_FALSE(Exists("evil"));
}

TEST_F(ArchiveNodesTest, LinksAreNeverMade) {
  const std::string through =
      TarEntry("link", '2', "", File("")) + TarFile("link/evil", "1") + TarFile("b", "2") + kTarEnd;
  EXPECT_EQ(Refusal(through), "\"link\" is a symbolic link (Links)");
  bench_->SetParameter("Links", "follow");
  EXPECT_THAT(RefusalOfNode(), HasSubstr("/Links is \"follow\"; it takes refuse or omit"));
  bench_->SetParameter("Links", "omit");
  EXPECT_EQ(Do("extract"), Signals{"extracted"}) << Problem();
  EXPECT_EQ(Said("LeftOut"), "1");
  EXPECT_EQ(Said("Count"), "2");
  EXPECT_FALSE(Exists("evil"));
  EXPECT_EQ(Read("out/link/evil"), "1") << "a folder of that name, not what the link leads to";
  std::filesystem::remove_all(File("out"));

  Write("hard", TarFile("a", "bytes") + TarEntry("b", '1', "", "a") + kTarEnd);
  Extractor("hard", "out");
  EXPECT_EQ(Do("extract"), Signals{"extracted"}) << Problem();
  Write("out/a", "other");
  EXPECT_EQ(Read("out/b"), "bytes") << "a file of its own";
  std::filesystem::remove_all(File("out"));
  EXPECT_EQ(Refusal(TarEntry("b", '1', "", "a") + kTarEnd), "cannot read " + File("out.part/a") + ": no such file");
}

TEST_F(ArchiveNodesTest, EntriesThatAreInEachOthersWayAreRefused) {
  EXPECT_EQ(Refusal(TarFile("a", "1") + TarFile("./a", "2") + kTarEnd),
            "cannot write " + File("out.part/a") + ": another entry has that name here");
  EXPECT_EQ(Refusal(TarFile("a", "1") + TarFile("a/b", "2") + kTarEnd),
            "cannot make the folder " + File("out.part/a") + ": already exists");
  EXPECT_EQ(Refusal(TarFile("a/b", "1") + TarFile("a", "2") + kTarEnd),
            "cannot write " + File("out.part/a") + ": another entry has that name here");
  EXPECT_EQ(Refusal(TarFile(".", "1") + kTarEnd), "an entry has no name");
}

TEST_F(ArchiveNodesTest, ThereAreLimits) {
  std::string many;
  for (int i = 0; i < 10; ++i) many += TarFile("f" + std::to_string(i), "");
  Write("bad", many + kTarEnd);
  Extractor("bad", "out").SetParameter("MostEntries", 9);
  EXPECT_EQ(RefusalOfNode(), "more than 9 files and folders (MostEntries)");
  Write("bad", TarFile("a/b/c/d/e/f/g/h/i", "") + kTarEnd);
  EXPECT_EQ(RefusalOfNode(), "it was extracted");
  std::filesystem::remove_all(File("out"));
  bench_->SetParameter("MostEntries", 8);
  EXPECT_EQ(RefusalOfNode(), "more than 8 files and folders (MostEntries)") << "folders that no entry names count";

  const std::string mib(1 << 20, 'x');
  Write("bad", TarFile("a", mib) + TarFile("b", "1") + kTarEnd);
  Extractor("bad", "out").SetParameter("MostMegabytes", 1);
  EXPECT_EQ(RefusalOfNode(), "more than 1 MiB (MostMegabytes)");
  Write("bad", TarEntry("a", '0', "", "", 077777777777U) + kTarEnd);
  EXPECT_EQ(RefusalOfNode(), "more than 1 MiB (MostMegabytes)") << "before anything is written";
  EXPECT_THAT(Refusal(TarEntry("a", '0', "12", "", 077777777U) + kTarEnd), HasSubstr("runcated"));
}

TEST_F(ArchiveNodesTest, WhatIsNoArchiveIsRefused) {
  EXPECT_EQ(Refusal(""), "Unrecognized archive format");
  EXPECT_EQ(Refusal("no archive"), "Unrecognized archive format");
  EXPECT_EQ(Refusal(std::string(3000, 'x')), "Unrecognized archive format");
  EXPECT_THAT(Refusal("PK\3\4" + std::string(3000, 'x')), HasSubstr("Unrecognized archive format"));
  EXPECT_THAT(Refusal("\x1F\x8B\b" + std::string(3000, 'x')), HasSubstr("it is damaged (gzip: "));
}

// Whatever is cut off or damaged: it is refused, or all is there.
TEST_F(ArchiveNodesTest, APieceOfAnArchiveIsNotTakenForTheWhole) {
  Write("in/a", "alpha");
  Write("in/b/c", std::string(700, 'c'));
  for (const std::string format : {"zip", "tar", "tar.gz"}) {
    Packer("in", "whole." + format);
    ASSERT_EQ(Do("pack"), Signals{"packed"}) << Problem();
    const std::string whole = Read("whole." + format);
    Extractor("piece", "out");
    int refused = 0;
    const std::size_t step = format == "tar" ? 7 : 1;
    for (std::size_t size = 0; size < whole.size(); size += step) {
      SCOPED_TRACE(format + " " + std::to_string(size));
      Write("piece", whole.substr(0, size));
      if (Do("extract") == Signals{"failed"}) {
        ++refused;
        ASSERT_FALSE(Exists("out"));
        ASSERT_NE(Problem(), "");
      } else {
        ASSERT_EQ(Read("out/a"), "alpha");
        ASSERT_EQ(Read("out/b/c"), std::string(700, 'c'));
        std::filesystem::remove_all(File("out"));
      }
      ASSERT_FALSE(Exists("out.part"));
    }
    EXPECT_GT(refused, 100);
    if (format == "tar") continue;  // Its padding may be cut off.
    EXPECT_EQ(refused, static_cast<int>(whole.size()));
  }
}

TEST_F(ArchiveNodesTest, AChangedBitOfPackedBytesIsNoticed) {
  Write("in/a", std::string(5000, 'a') + "b");
  for (const std::string format : {"zip", "tar.gz"}) {
    Packer("in", "whole." + format);
    ASSERT_EQ(Do("pack"), Signals{"packed"}) << Problem();
    const std::string whole = Read("whole." + format);
    Extractor("piece", "out");
    for (std::size_t place = 0; place < whole.size(); ++place) {
      SCOPED_TRACE(format + " " + std::to_string(place));
      std::string changed = whole;
      changed[place] = static_cast<char>(changed[place] ^ 4);
      Write("piece", changed);
      if (Do("extract") == Signals{"failed"}) continue;
      // What is not of the bytes may say something else: a time, a name.
      for (const auto& file : std::filesystem::directory_iterator(File("out"))) {
        ASSERT_TRUE(ReadFile(file.path()) == Read("in/a"));
      }
      std::filesystem::remove_all(File("out"));
    }
  }
}

TEST_F(ArchiveNodesTest, AfterAKillItIsDoneOnceMoreOrSeenToBeDone) {
  WriteFolder();
  Packer("in", "a.zip").SetParameter("Overwrite", false);
  bench_->Signal("pack");
  ASSERT_TRUE(bench_->WaitUntilIdle());
  const std::string once = Read("a.zip");
  std::string state = bench_->SaveState();
  // As if it had died between the new name and the signal.
  bench_->TakeFired();
  bench_->dictionary().Delete("/ArchivePacker/Bench/Fired");
  bench_->Kill();
  EXPECT_EQ(Do("resume"), Signals{"packed"}) << Problem();
  EXPECT_TRUE(Read("a.zip") == once);

  Extractor("a.zip", "out");
  Write("out.part/left", "over");
  EXPECT_EQ(Do("extract"), Signals{"extracted"}) << Problem();
  ExpectFolder("out");
  bench_->dictionary().Delete("/ArchiveExtractor/Bench/Fired");
  bench_->Kill();
  EXPECT_EQ(Do("resume"), Signals{"extracted"}) << Problem();
  ExpectFolder("out");
}

TEST_F(ArchiveNodesTest, WorkThatIsStoppedOftenIsDoneInTheEnd) {
  std::string noise;
  for (unsigned value = 1; noise.size() < 6000000; value = value * 1664525U + 1013904223U) {
    noise += static_cast<char>(value >> 24);
  }
  Write("in/large", noise);
  Write("in/small", "1");
  Packer("in", "a.tar.gz");
  EXPECT_EQ(DoInterrupted("pack"), "packed");
  Extractor("a.tar.gz", "out");
  EXPECT_EQ(DoInterrupted("extract"), "extracted");
  EXPECT_TRUE(Read("out/large") == noise);
  EXPECT_EQ(Read("out/small"), "1");
  EXPECT_FALSE(Exists("out.part"));
}

}  // namespace
}  // namespace orv_test
