// What a dictionary's observer is told makes another dictionary the same.
#include "journal/ChangeReplay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "journal/RunRecord.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {
namespace {

namespace Host = OrvWorkFlow::Host;
namespace Journal = OrvWorkFlow::Journal;
namespace Sdk = OrvWorkFlow::Sdk;
using OrvWorkFlow::IDictionary;

std::string TextOf(IDictionary& dictionary) {
  const Sdk::TextHolder text;
  EXPECT_TRUE(dictionary.SaveToText(text.get()));
  return text.Text();
}

// As it is after it was saved and loaded: blanks around a text go with that.
std::string SavedTextOf(Host::WorkflowHost& host, IDictionary& dictionary) {
  const std::string text = TextOf(dictionary);
  const auto loaded = host.MakeDictionary();
  EXPECT_TRUE(loaded->LoadFromText(text.data(), text.size()));
  return TextOf(*loaded);
}

class RandomChanges {
 public:
  RandomChanges(unsigned seed, IDictionary& dictionary, IDictionary& other)
      : random_(seed), dictionary_(dictionary), other_(other) {}

  void Do() {
    const std::string path = Path();
    const char* const at = path.c_str();
    switch (Random(22)) {
      case 0:
        dictionary_.SetValue(at, Text().c_str());
        break;
      case 1:
        dictionary_.SetValue(at, static_cast<std::int32_t>(random_()));
        break;
      case 2: {
        constexpr double kValues[] = {0.25, -1e300, std::numeric_limits<double>::infinity(),
                                      std::numeric_limits<double>::quiet_NaN()};
        dictionary_.SetValue(at, kValues[Random(4)]);
        break;
      }
      case 3:
        dictionary_.SetValue(at, Random(2) == 0);
        break;
      case 4: {
        const char16_t* const texts[] = {u"wide \x20AC", u"\xD83D\xDE00", u"\xD83D lone", u""};
        dictionary_.SetValue(at, texts[Random(4)]);
        break;
      }
      case 5:
      case 6: {
        const Sdk::TextListHolder list;
        for (std::size_t i = Random(5); i > 0; --i) {
          const std::string text = Text();
          list->Add(text.data(), text.size());
        }
        dictionary_.SetValue(at, list.get());
        break;
      }
      case 7: {
        const std::string bytes = Text();
        dictionary_.SetBinary(at, bytes.data(), bytes.size());
        break;
      }
      case 8: {
        // An attribute with a double quote makes a text that cannot be read.
        std::string text = Text();
        std::replace(text.begin(), text.end(), '"', '.');
        dictionary_.SetAttribute(at, Name(), text.c_str());
      } break;
      case 9:
        dictionary_.RemoveAttribute(at, Name());
        break;
      case 10:
        dictionary_.Delete(at);
        break;
      case 11:
        dictionary_.Clear(at);
        break;
      case 12:
        dictionary_.Rename(at, Name());
        break;
      case 13:
        dictionary_.CopySubtree(at, Path().c_str());
        break;
      case 14:
        dictionary_.MoveSubtree(at, Path().c_str());
        break;
      case 15:
        dictionary_.MergeSubtree(Random(2) == 0 ? &other_ : &dictionary_, at, Path().c_str());
        break;
      case 16:
        dictionary_.CopySubtreeFrom(&other_, at, Path().c_str());
        break;
      case 17: {
        const Sdk::TextListHolder targets;
        for (std::size_t i = Random(3); i > 0; --i) {
          const std::string target = Path();
          targets->Add(target.data(), target.size());
        }
        dictionary_.SetRedirection(at, targets.get());
        break;
      }
      case 18:
        dictionary_.RemoveRedirection(at);
        break;
      case 19:
        other_.SetValue(at, Text().c_str());
        break;
      case 20: {
        const Sdk::StreamHolder stream;
        if (other_.SaveSubtreeToStream(at, stream.get()))
          dictionary_.LoadSubtreeFromStream(Path().c_str(), stream.get());
        break;
      }
      default: {
        if (Random(8) != 0) break;
        std::string text = TextOf(other_);
        if (Random(2) == 0) text.resize(text.size() / 2);
        dictionary_.LoadFromText(text.data(), text.size());
        break;
      }
    }
  }

 private:
  std::size_t Random(std::size_t below) { return random_() % below; }
  const char* Name() {
    constexpr const char* kNames[] = {"a", "b", "c", "IDictionaryNameValPairs", "d-1"};
    return kNames[Random(5)];
  }
  std::string Path() {
    if (Random(20) == 0) return "/";
    std::string path;
    for (std::size_t i = 1 + Random(4); i > 0; --i) path += std::string("/") + Name();
    return path;
  }
  // Some do not fit into an entry of the record.
  std::string Text() {
    const std::size_t size = Random(60) == 0 ? 40000 : Random(20);
    std::string text;
    while (text.size() < size) text += "<&>\"' \n\txyz"[Random(11)];
    return text;
  }

  std::mt19937 random_;
  IDictionary& dictionary_;
  IDictionary& other_;
};

TEST(ChangeReplayTest, WhatIsToldOfRandomChangesMakesAnotherDictionaryTheSame) {
  const TempDirectory directory;
  Host::WorkflowHost host;
  for (unsigned seed = 0; seed < 40; ++seed) {
    const auto dictionary = host.MakeDictionary();
    const auto other = host.MakeDictionary();
    const std::string file = directory.file("record" + std::to_string(seed));
    RandomChanges changes(seed, *dictionary, *other);
    for (int i = 0; i < 30; ++i) changes.Do();
    Journal::RunRecord record(file, "record");
    record.Begin({"0.1", "linux", "/flow.xml", false, "name"});
    record.Snapshot(TextOf(*dictionary), "");
    dictionary->SetObserver(&record);
    const auto copy = host.MakeDictionary();
    Journal::RecordReader reader(file);
    for (int round = 0; round < 60; ++round) {
      for (int i = 0; i < 5; ++i) changes.Do();
      Journal::Event event;
      while (reader.Next(&event)) {
        if (event.kind == Journal::Kind::RunBegun) continue;
        ASSERT_NE(event.kind, Journal::Kind::ChangesLost);
        ASSERT_TRUE(Journal::ApplyChange(*copy, event))
            << "seed " << seed << " operation " << static_cast<int>(event.operation) << " type "
            << static_cast<int>(event.value_type) << " at " << event.path << " other " << event.other.substr(0, 50)
            << " text " << (event.texts.empty() ? "-" : event.texts.front().substr(0, 200));
      }
      ASSERT_EQ(reader.state(), Journal::RecordReader::State::AtEnd) << reader.problem();
      ASSERT_TRUE(SavedTextOf(host, *copy) == SavedTextOf(host, *dictionary)) << "seed " << seed << " round " << round;
    }
    dictionary->SetObserver(nullptr);
  }
}

}  // namespace
}  // namespace orv_test
