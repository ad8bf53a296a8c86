// The guards around marshalled objects, with marshalled objects that refuse and throw.
#include "CoreObjects/Marshalled.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

namespace OrvWorkFlow::Core {
namespace {

enum class Fault { None, Refuse, Throw };

class FaultyText final : public IOrvPString {
 public:
  explicit FaultyText(Fault fault) : fault_(fault) {}
  bool Assign(const char* text, std::size_t length) override {
    if (fault_ == Fault::Throw) throw std::runtime_error("no");
    if (fault_ == Fault::Refuse) return false;
    text_.assign(text, length);
    return true;
  }
  const char* GetText() const override {
    if (fault_ == Fault::Throw) throw std::runtime_error("no");
    return text_.c_str();
  }
  std::size_t GetLength() const override { return text_.size(); }
  void Release() override {
    ++released;
    if (fault_ == Fault::Throw) throw std::runtime_error("no");
  }

  int released = 0;

 private:
  Fault fault_;
  std::string text_;
};

// A list that takes `room` texts and then refuses or throws.
class FaultyList final : public IOrvPStringList {
 public:
  FaultyList(std::size_t room, Fault fault) : room_(room), fault_(fault) {}
  std::size_t GetCount() const override { return texts.size(); }
  const char* GetText(std::size_t index) const override {
    if (index < room_) return texts[index].c_str();
    if (fault_ == Fault::Throw) throw std::runtime_error("no");
    return nullptr;
  }
  std::size_t GetLength(std::size_t index) const override { return texts[index].size(); }
  bool Add(const char* text, std::size_t length) override {
    if (texts.size() == room_) {
      if (fault_ == Fault::Throw) throw std::runtime_error("no");
      return false;
    }
    texts.emplace_back(text, length);
    return true;
  }
  void Clear() override { texts.clear(); }
  void Release() override {}

  std::vector<std::string> texts;

 private:
  std::size_t room_;
  Fault fault_;
};

constexpr std::array<std::string_view, 3> kThree = {"a", "b", "c"};

FaultyText* next_text = nullptr;
void* GiveNextText(const char* /*interface_name*/) { return next_text; }

// The marshaller gives `text` (null: nothing) for its lifetime.
class MarshallerGuard {
 public:
  explicit MarshallerGuard(FaultyText* text) : previous_(SetMarshallerSource(&GiveNextText)) { next_text = text; }
  ~MarshallerGuard() { SetMarshallerSource(previous_); }
  MarshallerGuard(const MarshallerGuard&) = delete;
  MarshallerGuard& operator=(const MarshallerGuard&) = delete;

 private:
  MarshallerSource previous_;
};

TEST(AssignTextTest, NullRefusalAndExceptionAreFalse) {
  FaultyText good(Fault::None);
  FaultyText refusing(Fault::Refuse);
  FaultyText throwing(Fault::Throw);
  IOrvPString* none = nullptr;
  EXPECT_TRUE(AssignText(&good, std::string_view("a\0b", 3)));
  EXPECT_EQ(good.GetLength(), 3u);
  EXPECT_FALSE(AssignText(none, "text"));
  EXPECT_FALSE(AssignText(&refusing, "text"));
  EXPECT_FALSE(AssignText(&throwing, "text"));
}

TEST(ReadTextTest, AFailureLeavesTheTextAlone) {
  std::string text = "before";
  const FaultyText throwing(Fault::Throw);
  const IOrvPString* none = nullptr;
  EXPECT_FALSE(ReadText(none, text));
  EXPECT_FALSE(ReadText(static_cast<const IOrvPString*>(&throwing), text));
  EXPECT_EQ(text, "before");
  FaultyText good(Fault::None);
  good.Assign("a\0b", 3);
  EXPECT_TRUE(ReadText(static_cast<const IOrvPString*>(&good), text));
  EXPECT_EQ(text, std::string("a\0b", 3));
}

TEST(AssignTextsTest, AListThatFailsHalfWayIsEmptied) {
  for (const Fault fault : {Fault::Refuse, Fault::Throw}) {
    FaultyList list(2, fault);
    list.texts = {"old"};
    EXPECT_FALSE(AssignTexts(&list, kThree));
    EXPECT_TRUE(list.texts.empty());
  }
  IOrvPStringList* none = nullptr;
  EXPECT_FALSE(AssignTexts(none, kThree));
}

TEST(AssignTextsTest, ReplacesTheContent) {
  FaultyList list(3, Fault::None);
  list.texts = {"old", "older"};
  EXPECT_TRUE(AssignTexts(&list, kThree));
  EXPECT_EQ(list.texts, (std::vector<std::string>{"a", "b", "c"}));
}

TEST(ReadTextsTest, AFailureLeavesTheTextsAlone) {
  std::vector<std::string> texts = {"before"};
  const IOrvPStringList* none = nullptr;
  EXPECT_FALSE(ReadTexts(none, texts));
  for (const Fault fault : {Fault::Refuse, Fault::Throw}) {
    FaultyList list(2, fault);
    list.texts = {"a", "b", "c"};
    EXPECT_FALSE(ReadTexts(static_cast<const IOrvPStringList*>(&list), texts));
    EXPECT_EQ(texts, std::vector<std::string>{"before"});
  }
  FaultyList list(3, Fault::None);
  list.texts = {"a", "", "c"};
  EXPECT_TRUE(ReadTexts(static_cast<const IOrvPStringList*>(&list), texts));
  EXPECT_EQ(texts, (std::vector<std::string>{"a", "", "c"}));
}

TEST(HolderTest, MakesAndReleasesEveryMarshalledType) {
  EXPECT_TRUE(Marshalled<IOrvPString>());
  EXPECT_TRUE(Marshalled<IOrvString>());
  EXPECT_TRUE(Marshalled<IOrvPStringList>());
  EXPECT_TRUE(Marshalled<IOrvStringList>());
  EXPECT_TRUE(Marshalled<IOrvIntList>());
  EXPECT_TRUE(Marshalled<IOrvDoubleList>());
  EXPECT_TRUE(Marshalled<IOrvBoolList>());
  EXPECT_TRUE(Marshalled<IOrvBasicStream>());
}

TEST(HolderTest, ReleasesOnceAlsoWhenThatThrows) {
  FaultyText text(Fault::Throw);
  const MarshallerGuard guard(&text);
  {
    Marshalled<IOrvPString> first;
    EXPECT_EQ(first.get(), &text);
    const Marshalled<IOrvPString> second = std::move(first);
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): a moved holder is empty.
    EXPECT_EQ(second.get(), &text);
    EXPECT_EQ(text.released, 0);
  }
  EXPECT_EQ(text.released, 1);
}

TEST(HolderTest, IsEmptyWhenTheMarshallerHasNothing) {
  const MarshallerGuard guard(nullptr);
  EXPECT_FALSE(Marshalled<IOrvPString>());
  std::string text = "before";
  bool called = false;
  EXPECT_FALSE(FetchText(text, [&](IOrvPString*) { return called = true; }));
  EXPECT_FALSE(called);
  EXPECT_EQ(text, "before");
}

TEST(FetchTextTest, FailuresLeaveTheTextAlone) {
  std::string text = "before";
  EXPECT_FALSE(FetchText(text, [](IOrvPString* out) { return AssignText(out, "new") && false; }));
  EXPECT_FALSE(FetchText(text, [](IOrvPString*) -> bool { throw std::runtime_error("no"); }));
  EXPECT_EQ(text, "before");
  EXPECT_TRUE(FetchText(text, [](IOrvPString* out) { return AssignText(out, "new"); }));
  EXPECT_EQ(text, "new");
}

}  // namespace
}  // namespace OrvWorkFlow::Core
