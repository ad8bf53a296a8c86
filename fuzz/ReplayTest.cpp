// The fuzz targets on every platform: their corpus, and what a fixed seed makes of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <vector>

#include "fuzz/Targets.h"
#include "tests/support/SourceFolder.h"
#include "tests/support/TempDirectory.h"

namespace OrvWorkFlow::Fuzz {

namespace {

std::vector<std::string> ReadCorpus(const std::string& name) {
  std::vector<std::filesystem::path> files;
  const std::filesystem::path folder = orv_test::SourceFolder() / "fuzz" / "corpus" / name;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  std::vector<std::string> inputs;
  for (const auto& file : files) inputs.push_back(orv_test::ReadFile(file));
  return inputs;
}

class Mutator {
 public:
  explicit Mutator(const std::vector<std::string>& corpus) : corpus_(corpus) {}

  // A piece of one input in the place of a piece of another, and some bytes changed.
  std::string Next() {
    std::string input = Pick();
    const std::string other = Pick();
    const std::size_t begin = Below(other.size() + 1);
    const std::size_t at = Below(input.size() + 1);
    input.replace(at, Below(20), other.substr(begin, Below(40)));
    for (std::size_t i = Below(3); i > 0 && !input.empty(); --i) {
      input[Below(input.size())] = static_cast<char>(Below(256));
    }
    return input;
  }

 private:
  // The same on every platform.
  std::size_t Below(std::size_t count) { return engine_() % count; }
  const std::string& Pick() { return corpus_[Below(corpus_.size())]; }

  const std::vector<std::string>& corpus_;
  std::mt19937 engine_{1};
};

class Replay : public ::testing::TestWithParam<Target> {};

TEST_P(Replay, TheCorpus) {
  const std::vector<std::string> corpus = ReadCorpus(GetParam().name);
  ASSERT_FALSE(corpus.empty());
  for (const std::string& input : corpus) EXPECT_NO_THROW(GetParam().run(input)) << input;
}

TEST_P(Replay, MutationsOfTheCorpus) {
  const std::vector<std::string> corpus = ReadCorpus(GetParam().name);
  Mutator mutator(corpus);
  for (int round = 0; round < 1500 && !HasFailure(); ++round) {
    const std::string input = mutator.Next();
    EXPECT_NO_THROW(GetParam().run(input)) << input;
  }
}

INSTANTIATE_TEST_SUITE_P(All, Replay, ::testing::ValuesIn(kTargets),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace

}  // namespace OrvWorkFlow::Fuzz
