// What the plan makes of programs, beyond what shows in results: loops that run as one step, and where attempts begin.
#include <gtest/gtest.h>

#include <string>

#include "regexp/Compiler.h"
#include "regexp/Plan.h"

namespace OrvWorkFlow::Core::Patterns {
namespace {

class PlanTest : public testing::Test {
 protected:
  void Make(const char* pattern) {
    ASSERT_EQ(Compile(AsUnits(pattern), program_), PatternError::kNone);
    ASSERT_EQ(MakePlan(program_, plan_), PatternError::kNone);
  }
  const Step<NarrowUnit>& Entry() const { return plan_.steps[plan_.entry]; }

  Program<NarrowUnit> program_;
  Plan<NarrowUnit> plan_;
};

TEST_F(PlanTest, StarOfAGroupOfCharactersIsOneLoop) {
  Make("(a|[x-z])*c");
  EXPECT_EQ(Entry().action, Action::kLoop);
  EXPECT_EQ(Entry().repeated, Action::kSet);
  EXPECT_EQ(Entry().group, 1);
  EXPECT_EQ(Entry().least, 0);
  EXPECT_EQ(Entry().next_lead, 'c');
  const UnitSet<NarrowUnit>& set = plan_.sets[Entry().other];
  for (unsigned c = 0; c < 256; ++c) EXPECT_EQ(set.HasBit(c), c == 'a' || (c >= 'x' && c <= 'z')) << c;
}

TEST_F(PlanTest, PlusOfAGroupOfCharactersIsOneLoop) {
  Make("^(.)+");
  const Step<NarrowUnit>& loop = plan_.steps[Entry().next];
  EXPECT_EQ(loop.action, Action::kLoop);
  EXPECT_EQ(loop.repeated, Action::kAny);
  EXPECT_EQ(loop.least, 1);
  EXPECT_EQ(loop.group, 1);
}

TEST_F(PlanTest, StarOfAGroupOfWordsIsNot) {
  Make("(a|bc)*");
  EXPECT_EQ(Entry().action, Action::kChoice);
}

TEST_F(PlanTest, AnchoredPatternsHaveOnePlace) {
  Make("^a");
  EXPECT_EQ(plan_.start, Start::kOnlyFirst);
}

TEST_F(PlanTest, PatternsThatBeginWithAnythingHaveOnePlace) {
  Make("(.*)a");
  EXPECT_EQ(plan_.start, Start::kOnlyFirst);
}

TEST_F(PlanTest, PatternsThatBeginWithATextAreTriedWhereItStands) {
  Make("(Engine)x*");
  EXPECT_EQ(plan_.start, Start::kText);
}

TEST_F(PlanTest, AlternativesAreTriedAtTheirFirstCharacters) {
  Make("foo|b?ar|[x-z]1");
  EXPECT_EQ(plan_.start, Start::kSet);
  for (unsigned c = 0; c < 256; ++c) {
    const bool is_first = c == 'f' || c == 'b' || c == 'a' || (c >= 'x' && c <= 'z');
    EXPECT_EQ(plan_.first_set.HasBit(c), is_first) << c;
  }
}

TEST_F(PlanTest, PatternsThatMatchNothingAreTriedEverywhere) {
  Make("a|b*");
  EXPECT_EQ(plan_.start, Start::kEverywhere);
}

TEST_F(PlanTest, TextThatIsComparedFirstAnywayIsNotSearchedBefore) {
  Make("^/WorkFlowEngine/.*x");
  EXPECT_EQ(plan_.required, nullptr);
}

TEST_F(PlanTest, TextThatComesLaterIsSearchedBefore) {
  Make("^/a/.*/maps/");
  ASSERT_NE(plan_.required, nullptr);
  EXPECT_EQ(std::string(plan_.required, plan_.required + plan_.required_size), "/maps/");
}

TEST_F(PlanTest, ProgramWithoutItsMarkIsRefused) {
  ASSERT_EQ(Compile(AsUnits("abc"), program_), PatternError::kNone);
  program_.code[0] = 0x9b;
  EXPECT_EQ(MakePlan(program_, plan_), PatternError::kCorruptedProgram);
  EXPECT_STREQ(TextOf(PatternError::kCorruptedProgram), "corrupted program");
}

TEST_F(PlanTest, UnknownNodeIsRefused) {
  ASSERT_EQ(Compile(AsUnits("^a"), program_), PatternError::kNone);
  program_.code[kFirstNode + kNodeHead] = 19;
  EXPECT_EQ(MakePlan(program_, plan_), PatternError::kMemoryCorruption);
  EXPECT_STREQ(TextOf(PatternError::kMemoryCorruption), "memory corruption");
}

TEST_F(PlanTest, LinkOutOfTheProgramIsRefused) {
  ASSERT_EQ(Compile(AsUnits("^a"), program_), PatternError::kNone);
  program_.code[kFirstNode + kNodeHead + 1] = 0x7f;
  EXPECT_EQ(MakePlan(program_, plan_), PatternError::kCorruptedPointers);
  EXPECT_STREQ(TextOf(PatternError::kCorruptedPointers), "corrupted pointers");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Patterns
