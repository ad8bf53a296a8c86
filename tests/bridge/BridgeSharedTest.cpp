// Several receivers that share the work: the sender against receivers that the test plays, and runs of the program that
// are killed on a bad network.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>
#include <thread>

#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeLetter.h"
#include "nodes/bridge/BridgeReceiver.h"
#include "nodes/bridge/FolderNetwork.h"
#include "tests/bridge/BridgeRuns.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow::Nodes::Bridge;

// One that the test plays.
class PlayedReceiver {
 public:
  PlayedReceiver(const std::filesystem::path& folder, const std::string& name, const Id& id)
      : network_(folder, ""), receiver_(id, 1, 10) {
    network_.Open(AddressOfShare("road", name));
  }
  // Hears what has come, takes those that it may, and answers.
  void Work(std::size_t may_take = 1000) {
    for (auto bytes = network_.Poll(std::chrono::milliseconds(0)); bytes;
         bytes = network_.Poll(std::chrono::milliseconds(0))) {
      auto frame = Decode(*bytes);
      if (!frame) continue;
      if (const auto* hello = std::get_if<Hello>(&*frame)) receiver_.Hear(*hello);
      if (auto* data = std::get_if<Data>(&*frame)) receiver_.Hear(std::move(*data));
    }
    const Data* data = receiver_.Next();
    for (; data != nullptr && taken.size() < may_take; data = receiver_.Next()) {
      const int number = DecodeLetter(data->letter).values.at(0).integer;
      if (refused == number) {
        receiver_.Refuse(data->sender, "not this one");
        continue;
      }
      taken.push_back(number);
      receiver_.Deliver(data->sender);
    }
    for (const Ack& ack : receiver_.TakeAnswers()) network_.Send(AddressOf("road", ack.sender), Encode(ack));
  }

  std::vector<int> taken;
  int refused = 0;

 private:
  FolderNetwork network_;
  Receiver receiver_;
};

class BridgeShareTest : public TaskFixture {
 protected:
  void SetUp() override {
    Make("BridgeNodes", "BridgeOut");
    bench_->SetParameter("Bridge", "road");
    bench_->SetParameter("Transport", "folder");
    bench_->SetParameter("MostDealt", 3);
    SetListParameter("Folder", {File("net")});
    SetListParameter("Values", {"/N"});
    SetListParameter("Receivers", {"east", "west"});
  }
  void Send(int first, int last) {
    for (int number = first; number <= last; ++number) {
      bench_->Set("/N", number);
      EXPECT_TRUE(bench_->Signal("send")) << number;
    }
  }
  bool IsIdle() {
    return OrvWorkFlow::Sdk::TextFrom([&](auto* text) { return bench_->node()->GetProperty("Busy", text); }) == "no";
  }
  bool WorkUntil(const std::function<bool()>& condition, std::size_t east = 1000, std::size_t west = 1000) {
    return WaitUntil([&] {
      east_.Work(east);
      west_.Work(west);
      return condition();
    });
  }
  // Everybody has what may be dealt to it, and all answers are heard: nothing changes any more. What a bench restores
  // after a kill is what was there before.
  bool IsAtRest() {
    const auto number = [&](const std::string& name) { return std::atoi(Said(name).c_str()); };
    for (const std::string name : {"Receivers/east/", "Receivers/west/"}) {
      if (number(name + "Sent") + 1 - std::max(1, number(name + "First")) != 3) return false;
    }
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(directory_.path() / "net" / "road" / "out")) {
      if (entry.is_regular_file()) return false;
    }
    return true;
  }
  bool WaitForRest() {
    return WaitUntil([&] {
      if (!IsAtRest()) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      return IsAtRest();
    });
  }
  std::multiset<int> Taken() const {
    std::multiset<int> all(east_.taken.begin(), east_.taken.end());
    all.insert(west_.taken.begin(), west_.taken.end());
    return all;
  }
  static std::multiset<int> Numbers(int first, int last) {
    std::multiset<int> all;
    for (int number = first; number <= last; ++number) all.insert(number);
    return all;
  }

  PlayedReceiver east_{directory_.path() / "net", "east", {7, 1}};
  PlayedReceiver west_{directory_.path() / "net", "west", {7, 2}};
};

TEST_F(BridgeShareTest, EachSignalGoesToOneAndBothGetSome) {
  Send(1, 40);
  EXPECT_TRUE(WorkUntil([&] { return IsIdle(); }));
  EXPECT_EQ(Taken(), Numbers(1, 40));
  EXPECT_GT(east_.taken.size(), 4U);
  EXPECT_GT(west_.taken.size(), 4U);
  EXPECT_TRUE(std::is_sorted(east_.taken.begin(), east_.taken.end()));
  EXPECT_FALSE(bench_->dictionary().Exists("/BridgeOut/Bench/Outbox/N40"));
  EXPECT_FALSE(bench_->dictionary().Exists("/BridgeOut/Bench/Dealt/N40"));
  EXPECT_EQ(Said("First"), "41");
}

// One that does nothing more keeps what was dealt to it, and no more than that.
TEST_F(BridgeShareTest, TheOthersDoAllButWhatADeadOneHas) {
  Send(1, 40);
  EXPECT_TRUE(WorkUntil([&] { return Taken().size() == 37; }, 2));
  EXPECT_EQ(east_.taken.size(), 2U);
  for (int i = 0; i < 50; ++i) {
    west_.Work();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_EQ(Taken().size(), 37U) << "three are dealt to the one that is gone";
  EXPECT_FALSE(IsIdle());
  // It comes back.
  EXPECT_TRUE(WorkUntil([&] { return IsIdle(); }));
  EXPECT_EQ(Taken(), Numbers(1, 40));
}

TEST_F(BridgeShareTest, OneThatNeverCameGetsNothing) {
  Send(1, 20);
  EXPECT_TRUE(WaitUntil([&] {
    west_.Work();
    return IsIdle();
  }));
  EXPECT_EQ(std::multiset<int>(west_.taken.begin(), west_.taken.end()), Numbers(1, 20));
}

TEST_F(BridgeShareTest, ASenderThatIsKilledAgainAndAgainDealsEachOnce) {
  Send(1, 30);
  for (int life = 1; life <= 8; ++life) {
    const std::size_t before = Taken().size();
    EXPECT_TRUE(WorkUntil([&] { return Taken().size() >= before + 3; }));
    ASSERT_TRUE(WaitForRest());
    bench_->Kill();
    Send(20 + 10 * life + 1, 20 + 10 * life + 10);
  }
  EXPECT_TRUE(WorkUntil([&] { return IsIdle(); }));
  EXPECT_EQ(Taken(), Numbers(1, 110));
}

TEST_F(BridgeShareTest, WhatIsRefusedIsParkedUnderItsNumberInTheOutbox) {
  east_.refused = west_.refused = 5;
  Send(1, 12);
  EXPECT_TRUE(WorkUntil([&] { return IsIdle(); }));
  EXPECT_EQ(Taken().size(), 11U);
  EXPECT_EQ(Taken().count(5), 0U);
  EXPECT_EQ(bench_->TakeFired(), Signals{"dead"});
  EXPECT_EQ(Said("Dead/N5/Reason"), "not this one");
}

// What it has got may be delivered there: it is not given to another one.
TEST_F(BridgeShareTest, OneThatIsNotInTheListAnyMoreKeepsWhatItWasSent) {
  Send(1, 12);
  EXPECT_TRUE(WorkUntil([&] { return Taken().size() == 9; }, 0));
  EXPECT_EQ(bench_->Stop(), "resume");
  SetListParameter("Receivers", {"west"});
  Send(13, 20);
  EXPECT_TRUE(WorkUntil([&] { return Taken().size() == 17; }, 0));
  EXPECT_TRUE(WorkUntil([&] { return IsIdle(); }));
  EXPECT_EQ(Taken(), Numbers(1, 20));
  EXPECT_EQ(east_.taken.size(), 3U);
}

TEST_F(BridgeShareTest, FromSeveralToOneAndBackOnlyWhenAllAreTaken) {
  Send(1, 4);
  EXPECT_TRUE(WorkUntil([&] { return Taken().size() == 1; }, 0, 1));
  EXPECT_EQ(bench_->Stop(), "resume");
  SetListParameter("Receivers", {});
  Send(5, 5);
  EXPECT_TRUE(WaitUntil([&] { return Said("Connection").find("signals are dealt to several") != std::string::npos; }));
  EXPECT_EQ(bench_->Stop(), "resume");
  SetListParameter("Receivers", {"east", "west"});
  Send(6, 6);
  EXPECT_TRUE(WorkUntil([&] { return IsIdle(); }));
  EXPECT_EQ(Taken(), Numbers(1, 6));
}

TEST_F(BridgeShareTest, ANameThatIsNoneIsSaid) {
  SetListParameter("Receivers", {"ea/st"});
  Send(1, 1);
  EXPECT_TRUE(
      WaitUntil([&] { return Said("Connection").find("the parameter Receiver is \"ea/st\"") != std::string::npos; }));
}

// The runs of the example on a bad network; sender and receivers are killed, one after the other.
class BridgeSharedRunsTest : public BridgeRuns {
 protected:
  static constexpr int kFiles = 150;

  void SetUp() override {
    const std::filesystem::path example = SourceFolder() / "examples" / "14_shared_work";
    std::filesystem::create_directories(directory_.path() / "in");
    for (int i = 100; i < 100 + kFiles; ++i) WriteFile(directory_.path() / "in" / std::to_string(i), "x");
    const std::string faults = ListEntry("Faults", "seed=3 lose=100 double=100 delay=150 forget=10");
    std::string office = ReadFile(example / "flow.xml");
    Replace(office, "<Bridge __type=\"str\">", faults + "<Bridge __type=\"str\">");
    WriteFile(directory_.path() / "office.xml", office);
    for (const char* name : kNames) {
      std::string worker = ReadFile(example / "worker.xml");
      Replace(worker, "{env:WORKER}", name);
      Replace(worker, "{/FileHasher/Hash/Hash}", "{/BridgeIn/Tasks/Values/ForEach/Files/Item}");
      Replace(worker, ">20<", ">2<");
      Replace(worker, "<Bridge __type=\"str\">", faults + "<Bridge __type=\"str\">");
      WriteFile(directory_.path() / (std::string(name) + ".xml"), worker);
    }
  }
  void StartAllRuns() {
    for (const char* name : kNames) Start(std::string(name) + ".xml");
    Start("office.xml");
  }
  // Whether the sender, which has begun, has come to its end within the time.
  bool IsDoneWithin(std::chrono::milliseconds time) {
    const std::filesystem::path record = directory_.path() / "office.state.xml.record";
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!std::filesystem::exists(record) && std::chrono::steady_clock::now() < limit) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::this_thread::sleep_for(time);
    return !std::filesystem::exists(record);
  }

  static constexpr const char* kNames[] = {"east", "south", "west"};
};

TEST_F(BridgeSharedRunsTest, EachFileIsTakenOnceWhoeverIsKilled) {
  int kills = 0;
  const char* const victims[] = {"south.xml", "office.xml", "east.xml", "west.xml", "office.xml", "south.xml"};
  StartAllRuns();
  for (const char* victim : victims) {
    if (IsDoneWithin(std::chrono::milliseconds(250))) break;
    Kill(victim);
    ++kills;
    StartAllRuns();
  }
  EXPECT_GT(kills, 1);  // While they work.
  const ProcessResult office = runs_["office.xml"]->Wait();
  EXPECT_EQ(office.exit_code, 0) << office.output << office.error;
  std::multiset<std::string> taken;
  for (const char* name : kNames) {
    const std::string file = std::string(name) + ".xml";
    Stop(file);
    std::istringstream items(Run({"dict", "get", File(std::string(name) + ".state.xml"), "/Done"}).output);
    for (std::string item; items >> item;) taken.insert(item);
  }
  // What came last to a worker may still be at work.
  const std::set<std::string> each(taken.begin(), taken.end());
  EXPECT_EQ(each.size(), taken.size()) << "some were taken twice";
  EXPECT_LE(each.size(), std::size_t{kFiles});
  EXPECT_GE(each.size() + std::size(kNames), std::size_t{kFiles});
}

}  // namespace
}  // namespace orv_test
