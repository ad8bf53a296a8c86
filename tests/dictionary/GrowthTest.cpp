// Sixteen times as much takes sixteen times as long, not 256 times.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <string>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

constexpr int kFew = 1000;
constexpr int kTimes = 16;
// Far from what is linear, and from what is quadratic (256).
constexpr double kMostGrowth = 100;

// The best of three runs; each is given a dictionary of its own.
template <class Work>
double BestTime(int count, Work work) {
  double best = std::numeric_limits<double>::infinity();
  for (int run = 0; run < 3; ++run) {
    CDictionary dictionary;
    const std::clock_t begin = std::clock();
    work(dictionary, count);
    best = std::min(best, static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
  }
  return best;
}

template <class Work>
void ExpectLinear(Work work) {
  const double few = BestTime(kFew, work);
  const double many = BestTime(kFew * kTimes, work);
  EXPECT_LT(many, few * kMostGrowth + 0.05);
}

std::string PathOf(int number) { return "/wide/n" + std::to_string(number); }

TEST(Growth, SettingAndGettingInOneElement) {
  ExpectLinear([](IDictionary& dictionary, int count) {
    for (int i = 0; i < count; ++i) ASSERT_TRUE(dictionary.SetValue(PathOf(i).c_str(), i));
    std::int32_t value = 0;
    for (int i = count - 1; i >= 0; --i) ASSERT_TRUE(dictionary.GetValue(PathOf(i).c_str(), &value) && value == i);
  });
}

TEST(Growth, DeletingFromOneElement) {
  ExpectLinear([](IDictionary& dictionary, int count) {
    for (int i = 0; i < count; ++i) ASSERT_TRUE(dictionary.SetValue(PathOf(i).c_str(), i));
    for (int i = 0; i < count; i += 2) ASSERT_TRUE(dictionary.Delete(PathOf(i).c_str()));
    for (int i = count - 1; i > 0; i -= 2) ASSERT_TRUE(dictionary.Delete(PathOf(i).c_str()));
  });
}

TEST(Growth, LoadingAndSavingSiblings) {
  ExpectLinear([](IDictionary& dictionary, int count) {
    std::string text = "<IDictionaryRoot>";
    for (int i = 0; i < 2 * count; ++i) text += "<n" + std::to_string(i % count) + " __type=\"int\">1</n0>";
    ASSERT_TRUE(LoadText(dictionary, text + "</IDictionaryRoot>"));
    ASSERT_FALSE(SaveText(dictionary).empty());
  });
}

TEST(Growth, ListsOfTexts) {
  ExpectLinear([](IDictionary& dictionary, int count) {
    const Names items(static_cast<std::size_t>(count), "a list's item");
    ASSERT_TRUE(SetStrings(dictionary, "/list", items));
    ASSERT_EQ(GetStrings(dictionary, "/list"), items);
  });
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
