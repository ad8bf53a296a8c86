// Compares the matcher with the naive one: narrow, wide, with and without positions, remembering from several moments
// on. Shared by the tests and the fuzzer.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "regexp/Compiler.h"
#include "regexp/Pattern.h"
#include "tests/regexp/NaiveMatcher.h"

namespace orv_test {

inline std::u16string Widen(std::string_view text) {
  std::u16string wide;
  for (const char c : text) wide += static_cast<char16_t>(static_cast<unsigned char>(c));
  return wide;
}

inline std::string Describe(const OrvWorkFlow::Core::Patterns::SubMatches& positions) {
  std::string out;
  for (std::size_t i = 0; i < positions.begin.size(); ++i) {
    if (positions.begin[i] == OrvWorkFlow::Core::Patterns::kNoPosition) continue;
    out += std::to_string(i) + "=[" + std::to_string(positions.begin[i]) + ',' + std::to_string(positions.end[i]) + ')';
  }
  return out;
}

// One pattern, compiled in both widths and by the naive matcher.
class ComparedPattern {
 public:
  explicit ComparedPattern(const std::string& pattern) : pattern_(pattern), naive_(Widen(pattern)) {
    narrow_.Compile(pattern.c_str());
    wide_.Compile(Widen(pattern).c_str());
    if (narrow_.IsCompiled()) {
      OrvWorkFlow::Core::Patterns::MakePlan(narrow_.program(), plan_);
    }
  }

  bool IsCompiled() const { return narrow_.IsCompiled(); }

  // Empty when all agree on whether the pattern is good.
  std::string DifferenceInCompiling() const {
    if (narrow_.error_text() == naive_.error() && wide_.error_text() == naive_.error()) return {};
    return "pattern \"" + pattern_ + "\": narrow \"" + narrow_.error_text() + "\", wide \"" + wide_.error_text() +
           "\", expected \"" + naive_.error() + '"';
  }

  // Empty when all agree on the text, or when the naive matcher takes more than `limit` steps.
  std::string Difference(const std::string& text, std::size_t limit) {
    std::array<NaivePattern::Position, 10> groups{};
    const NaivePattern::Answer answer = naive_.Search(Widen(text), groups, limit);
    if (answer == NaivePattern::Answer::kGaveUp) return {};
    std::string expected = "no";
    if (answer == NaivePattern::Answer::kYes) {
      OrvWorkFlow::Core::Patterns::SubMatches positions{};
      for (std::size_t i = 0; i < groups.size(); ++i) {
        positions.begin[i] = groups[i].first;
        positions.end[i] = groups[i].second;
      }
      expected = Describe(positions);
    }
    for (const std::string& result : Results(text, expected)) {
      if (result == expected) continue;
      return "pattern \"" + pattern_ + "\", text \"" + text + "\": found " + result + ", expected " + expected;
    }
    return {};
  }

 private:
  // What each way of searching gives. One that tells yes from no only gives `yes` for a yes.
  std::vector<std::string> Results(const std::string& text, const std::string& yes) const {
    using OrvWorkFlow::Core::Patterns::SubMatches;
    std::vector<std::string> results;
    const auto add = [&](bool found, const SubMatches* positions) {
      const std::string unexpected = yes == "no" ? "yes" : yes;
      results.push_back(!found ? "no" : positions != nullptr ? Describe(*positions) : unexpected);
    };
    SubMatches positions{};
    add(narrow_.Search(std::string_view(text)), nullptr);
    add(narrow_.Search(std::string_view(text), &positions), &positions);
    const std::u16string wide = Widen(text);
    add(wide_.Search(std::u16string_view(wide)), nullptr);
    add(wide_.Search(std::u16string_view(wide), &positions), &positions);
    const auto* begin = OrvWorkFlow::Core::Patterns::AsUnits(text.data());
    for (const std::size_t remember_after : {0U, 1U, 5U}) {
      const auto search = [&](SubMatches* to) {
        return OrvWorkFlow::Core::Patterns::SearchText(narrow_.program(), plan_, begin, begin + text.size(), to,
                                                       remember_after);
      };
      add(search(nullptr), nullptr);
      add(search(&positions), &positions);
    }
    return results;
  }

  std::string pattern_;
  NaivePattern naive_;
  OrvWorkFlow::Core::Patterns::Pattern narrow_;
  OrvWorkFlow::Core::Patterns::WidePattern wide_;
  OrvWorkFlow::Core::Patterns::Plan<OrvWorkFlow::Core::Patterns::NarrowUnit> plan_;
};

}  // namespace orv_test
