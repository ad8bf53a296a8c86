// One dictionary and many threads; and one process whose locale writes decimal commas.
#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <cstdint>
#include <functional>
#include <locale>
#include <string>
#include <thread>
#include <vector>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

constexpr int kThreads = 8;

template <class Work>
void RunOnAllThreads(Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

TEST(Threads, EachSeesItsOwnWrites) {
  CDictionary dictionary;
  RunOnAllThreads([&](int number) {
    const std::string own = "/t" + std::to_string(number) + "/";
    for (int i = 0; i < 500; ++i) {
      const std::string path = own + "n" + std::to_string(i % 50);
      ASSERT_TRUE(dictionary.SetValue(path.c_str(), std::int32_t{i}));
      std::int32_t value = -1;
      ASSERT_TRUE(dictionary.GetValue(path.c_str(), &value));
      ASSERT_EQ(value, i);
      if (i % 7 == 0) {
        ASSERT_TRUE(dictionary.Delete(path.c_str()));
        ASSERT_FALSE(dictionary.Exists(path.c_str()));
      }
      ASSERT_TRUE(SetStrings(dictionary, (own + "list").c_str(), {"a", "b", "c"}));
      ASSERT_EQ(GetStrings(dictionary, (own + "list").c_str()).size(), 3u);
    }
  });
  EXPECT_EQ(GetEntries(dictionary, "/").size(), static_cast<std::size_t>(kThreads));
}

// Writers of the same entry, readers, savers and loaders at once: every operation is as a whole.
TEST(Threads, OperationsDoNotMix) {
  CDictionary dictionary;
  const std::string file =
      "<IDictionaryRoot><l "
      "__type=\"strlist\"><__ListEntries><__item0>f</__item0><__item1>f</__item1></__ListEntries></l>"
      "</IDictionaryRoot>";
  ASSERT_TRUE(LoadText(dictionary, file));
  RunOnAllThreads([&](int number) {
    const std::string mark(1, static_cast<char>('a' + number));
    for (int i = 0; i < 200; ++i) {
      if (number == 0 && i % 4 == 0) {
        ASSERT_TRUE(LoadText(dictionary, file));
      } else if (number == 1) {
        CDictionary copy;
        ASSERT_TRUE(LoadText(copy, SaveText(dictionary)));
        ASSERT_EQ(copy.GetValueType("/l"), ValueType::StringList);
      } else if (number < 5) {
        ASSERT_TRUE(SetStrings(dictionary, "/l", Names(static_cast<std::size_t>(1 + i % 40), mark)));
      } else {
        const Names items = GetStrings(dictionary, "/l");
        ASSERT_FALSE(items.empty());
        for (const std::string& item : items) ASSERT_EQ(item, items.front());
      }
    }
  });
}

// Each way to read, beside a thread that makes and takes away what is read: with the thread sanitizer one that does not
// hold the mutex is found.
TEST(Threads, EveryReadHoldsTheMutex) {
  using Read = std::function<void(CDictionary&)>;
  const Read reads[] = {
      [](CDictionary& d) { d.GetValueType("/a/b"); },
      [](CDictionary& d) { d.Exists("/a/b/c"); },
      [](CDictionary& d) { GetString(d, "/a/b"); },
      [](CDictionary& d) { GetStrings(d, "/a/l"); },
      [](CDictionary& d) { GetAttribute(d, "/a/b", "k"); },
      [](CDictionary& d) { d.HasAttribute("/a/b", "k"); },
      [](CDictionary& d) { d.IsRedirection("/a/b"); },
      [](CDictionary& d) { GetEntries(d, "/a"); },
      [](CDictionary& d) { GetPaths(d, "/a"); },
      [](CDictionary& d) { d.EnumeratePaths("/a", orv_test::PStringList().out()); },
      [](CDictionary& d) { d.FindPaths("/a", "b$", orv_test::PStringList().out()); },
      [](CDictionary& d) { d.GetValueTexts("/a/l", orv_test::PStringList().out()); },
      [](CDictionary& d) { d.GetAttributeNames("/a/b", orv_test::PStringList().out()); },
      [](CDictionary& d) { d.GetBinary("/a/x", orv_test::Stream().out()); },
      [](CDictionary& d) {
        std::size_t count = 0;
        d.CountEntries("/a", &count);
      },
      [](CDictionary& d) {
        std::size_t count = 0;
        d.CountSubtree("/a", &count);
      },
      [](CDictionary& d) { d.CompareSubtrees("/a", &d, "/c", orv_test::PStringList().out()); },
      [](CDictionary& d) { CDictionary().CopySubtreeFrom(&d, "/a", "/"); },
      [](CDictionary& d) { CDictionary().MergeSubtree(&d, "/a", "/"); },
      [](CDictionary& d) { d.SaveSubtreeToStream("/a", orv_test::Stream().out()); },
  };
  for (std::size_t i = 0; i < std::size(reads); ++i) {
    SCOPED_TRACE(i);
    CDictionary dictionary;
    std::atomic<bool> is_over = false;
    std::thread writer([&] {
      for (int round = 0; !is_over; ++round) {
        dictionary.SetValue("/a/b", std::string(static_cast<std::size_t>(round % 40), 'x').c_str());
        dictionary.SetAttribute("/a/b", "k", round % 2 == 0 ? "v" : "another value");
        dictionary.SetBinary("/a/x", "bytes", static_cast<std::size_t>(round % 5));
        SetStrings(dictionary, "/a/l", Names(static_cast<std::size_t>(round % 12), "an item"));
        dictionary.SetValue(("/a/n" + std::to_string(round % 20)).c_str(), round);
        if (round % 8 == 0) dictionary.Delete("/a");
      }
    });
    for (int round = 0; round < 100; ++round) reads[i](dictionary);
    is_over = true;
    writer.join();
  }
}

// Who reads the count before the value, and finds the count unchanged, still has the newest value.
TEST(Threads, TheChangeCountIsSeenWithTheChange) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", std::int32_t{0}));
  std::atomic<std::int32_t> written = 0;
  std::thread writer([&] {
    for (std::int32_t i = 1; i <= 5000; ++i) {
      dictionary.SetValue("/a", i);
      written.store(i);
    }
  });
  std::uint64_t known_count = 0;
  std::int32_t known_value = -1;
  while (known_value < 5000) {
    const std::int32_t at_least = written.load();
    const std::uint64_t count = dictionary.GetChangeCount();
    if (count != known_count || known_value < 0) {
      known_count = count;
      dictionary.GetValue("/a", &known_value);
    }
    if (known_value < at_least) {
      ADD_FAILURE() << "kept " << known_value << " although " << at_least << " was written";
      break;
    }
  }
  writer.join();
}

class DecimalComma : public std::numpunct<char> {
 protected:
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

// Sets a locale for the whole process until the end of the scope: of the C++ library, and of the C library, where the
// system has one.
class CommaLocale {
 public:
  CommaLocale() : old_(std::locale()), old_c_(std::setlocale(LC_ALL, nullptr)) {
    std::locale::global(std::locale(old_, new DecimalComma));
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "German", "fr_FR.UTF-8"}) {
      if (std::setlocale(LC_ALL, name) != nullptr) break;
    }
  }
  ~CommaLocale() {
    std::locale::global(old_);
    std::setlocale(LC_ALL, old_c_.c_str());
  }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

 private:
  std::locale old_;
  std::string old_c_;
};

TEST(Locale, ADecimalCommaChangesNothing) {
  CDictionary plain;
  ASSERT_TRUE(plain.SetValue("/d", 1234567.5));
  ASSERT_TRUE(plain.SetValue("/i", std::int32_t{-1234567}));
  const std::string expected = SaveText(plain);
  const CommaLocale comma;
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/d", 1234567.5));
  ASSERT_TRUE(dictionary.SetValue("/i", std::int32_t{-1234567}));
  EXPECT_EQ(SaveText(dictionary), expected);
  ASSERT_TRUE(LoadText(dictionary, expected));
  double number = 0;
  std::int32_t integer = 0;
  EXPECT_TRUE(dictionary.GetValue("/d", &number));
  EXPECT_TRUE(dictionary.GetValue("/i", &integer));
  EXPECT_EQ(number, 1234567.5);
  EXPECT_EQ(integer, -1234567);
  EXPECT_FALSE(dictionary.SetValue("/\xE4", "x"));
  ASSERT_TRUE(LoadText(dictionary, "<IDictionaryRoot><a __type=\"dbl\">1,5</a></IDictionaryRoot>"));
  EXPECT_TRUE(dictionary.GetValue("/a", &number));
  EXPECT_EQ(number, 1);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
