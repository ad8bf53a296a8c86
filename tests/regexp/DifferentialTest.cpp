// The matcher against the naive one: all small patterns on all small texts, then random bigger ones.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/regexp/Compare.h"

namespace {

using orv_test::ComparedPattern;

constexpr std::size_t kNaiveLimit = 20'000;

// All words over `letters` with at most `longest` of them, the empty one first.
std::vector<std::string> AllWords(std::string_view letters, std::size_t longest) {
  std::vector<std::string> words{""};
  std::size_t first_of_length = 0;
  for (std::size_t length = 1; length <= longest; ++length) {
    const std::size_t end = words.size();
    for (std::size_t i = first_of_length; i < end; ++i) {
      for (const char letter : letters) words.push_back(words[i] + letter);
    }
    first_of_length = end;
  }
  return words;
}

// Stops at the first difference: one says as much as a million. Gives the number of good patterns.
std::size_t ExpectAgreement(const std::vector<std::string>& patterns, const std::vector<std::string>& texts) {
  std::size_t good = 0;
  for (const std::string& pattern : patterns) {
    ComparedPattern compared(pattern);
    const std::string difference = compared.DifferenceInCompiling();
    if (!difference.empty()) {
      ADD_FAILURE() << difference;
      return good;
    }
    if (!compared.IsCompiled()) continue;
    ++good;
    for (const std::string& text : texts) {
      const std::string in_text = compared.Difference(text, kNaiveLimit);
      if (!in_text.empty()) {
        ADD_FAILURE() << in_text;
        return good;
      }
    }
  }
  return good;
}

TEST(DifferentialTest, AllPatternsOfFourSymbols) {
  EXPECT_GT(ExpectAgreement(AllWords("ab.*+?|()[]^$-\\", 4), AllWords("ab-", 2)), 8000U);
}

TEST(DifferentialTest, AllPatternsOfRepetitionsAndAnchors) {
  EXPECT_GT(ExpectAgreement(AllWords("ab*?|$", 5), AllWords("ab", 4)), 1500U);
}

TEST(DifferentialTest, AllGroupsOfFiveSymbolsInALoop) {
  std::vector<std::string> patterns;
  for (const std::string& inside : AllWords("ab|*+", 4)) {
    patterns.push_back("(" + inside + ")*b");
    patterns.push_back("^(" + inside + ")+$");
    patterns.push_back("(" + inside + ")?a");
  }
  EXPECT_GT(ExpectAgreement(patterns, AllWords("ab", 4)), 300U);
}

TEST(DifferentialTest, AllSetsOfFourSymbols) {
  std::vector<std::string> patterns;
  for (const std::string& inside : AllWords("ac]^-", 4)) patterns.push_back("[" + inside + "]");
  EXPECT_GT(ExpectAgreement(patterns, {"", "a", "b", "c", "]", "^", "-", "_", "z", "a]", "c-]"}), 300U);
}

// Random patterns by grammar, so that most are good.
class PatternMaker {
 public:
  explicit PatternMaker(unsigned seed) : random_(seed) {}

  std::string Alternatives(int depth) {
    std::string pattern = Sequence(depth);
    while (Below(4) == 0) pattern += '|' + Sequence(depth);
    return pattern;
  }

  std::string Text(std::size_t longest) {
    std::string text;
    for (std::size_t length = Below(longest + 1); length > 0; --length) text += Letter();
    return text;
  }

  std::string Noise(std::size_t longest) {
    std::string noise;
    for (std::size_t length = Below(longest + 1); length > 0; --length) {
      noise += Below(3) == 0 ? "^$.[()|?+*\\]-"[Below(13)] : static_cast<char>(1 + Below(255));
    }
    return noise;
  }

 private:
  std::size_t Below(std::size_t bound) { return random_() % bound; }
  char Letter() { return "aabbc"[Below(5)]; }

  std::string Sequence(int depth) {
    std::string sequence;
    for (std::size_t count = Below(4); count > 0; --count) {
      sequence += Atom(depth);
      if (Below(3) == 0) sequence += "*+?"[Below(3)];
    }
    return sequence;
  }

  std::string Atom(int depth) {
    const std::size_t choice = Below(depth > 0 ? 10 : 7);
    if (choice == 0) return ".";
    if (choice == 1) return Below(4) == 0 ? "$" : "^";
    if (choice == 2) return std::string("[") + (Below(3) == 0 ? "^" : "") + Letter() + (Below(2) == 0 ? "-c]" : "b]");
    if (choice >= 7) return "(" + Alternatives(depth - 1) + ")";
    return choice == 3 ? std::string{Letter(), Letter(), Letter()} : std::string{Letter()};
  }

  std::mt19937 random_;
};

TEST(DifferentialTest, RandomPatterns) {
  PatternMaker maker(20240229);
  for (int round = 0; round < 4000; ++round) {
    std::vector<std::string> texts;
    for (int i = 0; i < 8; ++i) texts.push_back(maker.Text(12));
    ExpectAgreement({maker.Alternatives(3)}, texts);
    if (HasFailure()) return;
  }
}

TEST(DifferentialTest, RandomBytesAsPatternsAndTexts) {
  PatternMaker maker(77);
  for (int round = 0; round < 6000; ++round) {
    ExpectAgreement({maker.Noise(12)}, {maker.Noise(20), maker.Noise(20)});
    if (HasFailure()) return;
  }
}

}  // namespace
