// Cron expressions, beside an oracle that looks at every second, or every minute, one by one.
#include "nodes/flow/CronTimes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace OrvWorkFlow::Nodes {
namespace {

// A field as a set of numbers, from the text, by another way than the parser's.
std::set<int> NumbersOf(const std::string& field, int least, int most) {
  std::set<int> numbers;
  std::istringstream parts(field);
  for (std::string part; std::getline(parts, part, ',');) {
    int step = 1;
    const std::size_t slash = part.find('/');
    if (slash != std::string::npos) step = std::stoi(part.substr(slash + 1));
    const std::string range = part.substr(0, slash);
    int first = least;
    int last = most;
    if (range != "*") {
      const std::size_t dash = range.find('-');
      first = std::stoi(range);
      last = dash != std::string::npos ? std::stoi(range.substr(dash + 1)) : slash != std::string::npos ? most : first;
    }
    for (int i = first; i <= last; ++i) {
      if ((i - first) % step == 0) numbers.insert(i);
    }
  }
  return numbers;
}

struct Oracle {
  explicit Oracle(const std::string& text) {
    std::istringstream words(text);
    for (std::string word; words >> word;) fields.push_back(word);
    if (fields.size() == 5) fields.insert(fields.begin(), "0");
    static constexpr int kBounds[6][2] = {{0, 59}, {0, 59}, {0, 23}, {1, 31}, {1, 12}, {0, 7}};
    for (std::size_t i = 0; i < 6; ++i) numbers.push_back(NumbersOf(fields[i], kBounds[i][0], kBounds[i][1]));
    if (numbers[5].count(7) != 0) numbers[5].insert(0);
  }

  bool Fits(std::int64_t moment) const {
    const std::chrono::sys_seconds time{std::chrono::seconds(moment)};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    const int weekday = static_cast<int>(std::chrono::weekday(day).c_encoding());
    const bool by_date = numbers[3].count(static_cast<int>(static_cast<unsigned>(date.day()))) != 0;
    const bool by_weekday = numbers[5].count(weekday) != 0;
    const bool is_day = fields[3] == "*" || fields[5] == "*" ? by_date && by_weekday : by_date || by_weekday;
    return is_day && numbers[4].count(static_cast<int>(static_cast<unsigned>(date.month()))) != 0 &&
           numbers[2].count(static_cast<int>(clock.hours().count())) != 0 &&
           numbers[1].count(static_cast<int>(clock.minutes().count())) != 0 &&
           numbers[0].count(static_cast<int>(clock.seconds().count())) != 0;
  }

  std::vector<std::string> fields;
  std::vector<std::set<int>> numbers;
};

constexpr std::int64_t kBegin = 1582930000;  // 2020-02-28 22:46:40, before a 29th of February

TEST(CronTimesTest, GivesWhatLookingAtEachSecondGives) {
  for (const char* text : {"* * * * * *", "*/7 * * * * *", "30 */10 * * * *", "0 0 0 29 2 *", "15,45 59 23 * * 6,7",
                           "0-3/2 5/20 1-5 * * 0-6", "59 59 23 29 2 6"}) {
    const Oracle oracle(text);
    const CronTimes times(text);
    std::int64_t moment = kBegin;
    for (std::int64_t at = kBegin + 1; at < kBegin + 2 * 86400; ++at) {
      if (!oracle.Fits(at)) continue;
      const std::optional<std::int64_t> next = times.Next(moment, true);
      ASSERT_EQ(next.value_or(0), at) << text << " behind " << moment;
      moment = at;
      if (at > kBegin + 5000 && text[0] == '*') break;
    }
  }
}

std::string RandomField(std::mt19937& random, int least, int most) {
  const auto number = [&](int from, int to) { return std::uniform_int_distribution<int>(from, to)(random); };
  switch (number(0, 4)) {
    case 0:
      return std::to_string(number(least, most));
    case 1: {
      const int first = number(least, most);
      return std::to_string(first) + "-" + std::to_string(number(first, most));
    }
    case 2:
      return "*/" + std::to_string(number(1, most));
    case 3:
      return std::to_string(number(least, most)) + "," + std::to_string(number(least, most)) + "/3";
    default:
      return "*";
  }
}

TEST(CronTimesTest, RandomExpressionsGiveWhatLookingAtEachMinuteGives) {
  std::mt19937 random(7);
  for (int round = 0; round < 60; ++round) {
    const std::string text = RandomField(random, 0, 59) + " " + RandomField(random, 0, 23) + " " +
                             RandomField(random, 1, 28) + " " + RandomField(random, 1, 12) + " " +
                             RandomField(random, 0, 7);
    const Oracle oracle(text);
    const std::int64_t after = kBegin + static_cast<std::int64_t>(random() % 40000000);
    std::int64_t at = after - after % 60 + 60;
    const std::int64_t end = at + 40 * 86400;
    while (at < end && !oracle.Fits(at)) at += 60;
    const std::optional<std::int64_t> next = CronTimes(text).Next(after, true);
    if (at < end) {
      ASSERT_EQ(next.value_or(0), at) << text << " behind " << after;
    } else {
      ASSERT_GE(next.value_or(end), end) << text << " behind " << after;
    }
  }
}

TEST(CronTimesTest, KnowsNamesShortFormsAndWhatNeverComes) {
  const auto next = [](const char* text) { return CronTimes(text).Next(kBegin, true).value_or(-1); };
  EXPECT_EQ(next("0 3 * * MON-fri"), next("0 3 ? * 1-5"));
  EXPECT_EQ(next("0 0 1 JAN *"), next("@yearly"));
  EXPECT_EQ(next("@hourly"), kBegin - kBegin % 3600 + 3600);
  EXPECT_EQ(next("@daily"), next("@midnight"));
  EXPECT_EQ(next("0 0 30 2 *"), -1);
  EXPECT_EQ(next("0 0 29 2 *"), 1582934400);
}

TEST(CronTimesTest, SaysWhatIsWrong) {
  const auto problem = [](const std::string& text) -> std::string {
    try {
      const CronTimes times(text);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "nothing";
  };
  EXPECT_NE(problem("").find("is no schedule; write [second] minute hour"), std::string::npos);
  EXPECT_NE(problem("* * * *").find("is no schedule"), std::string::npos);
  EXPECT_NE(problem("* * * * * * *").find("is no schedule"), std::string::npos);
  EXPECT_EQ(problem("60 * * * *"), "\"60\" is no minute, from 0 to 59");
  EXPECT_EQ(problem("0 24 * * *"), "\"24\" is no hour, from 0 to 23");
  EXPECT_EQ(problem("0 0 0 * *"), "\"0\" is no day of the month, from 1 to 31");
  EXPECT_EQ(problem("0 0 * FOO *"), "\"FOO\" is no month, from 1 to 12");
  EXPECT_EQ(problem("0 0 * * 8"), "\"8\" is no day of the week, from 0 to 7");
  EXPECT_EQ(problem("5-1 * * * *"), "\"5-1\" is no minute: it ends before it begins");
  EXPECT_EQ(problem("*/0 * * * *"), "\"*/0\" is no minute: its step is no number above 0");
  EXPECT_EQ(problem("1,,2 * * * *"), "\"\" is no minute, from 0 to 59");
  EXPECT_NE(problem(std::string(100000, '9') + " * * * *"), "nothing");
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
