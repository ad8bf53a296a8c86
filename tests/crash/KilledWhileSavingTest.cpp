// A process killed at any moment of saving a dictionary leaves the old one or the new one, whole.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "tests/crash/SaveLoop.h"
#include "tests/crash/SavingChild.h"
#include "tests/support/TempDirectory.h"

namespace {

using orv_test::NumberOfSaved;

// What a killed process left beside the file.
int RemoveLeftovers(const std::filesystem::path& directory) {
  int removed = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    if (entry.path().filename() != "saved.xml") removed += std::filesystem::remove(entry.path()) ? 1 : 0;
  }
  return removed;
}

TEST(KilledWhileSaving, AtAnyMoment) {
  orv_test::MakeGlobalObjects();
  const orv_test::TempDirectory directory;
  const std::string file = directory.file("saved.xml");
  std::mt19937 engine(20240607);
  std::uniform_int_distribution<int> life(100, 25'000);
  std::int32_t last = 0;
  int advances = 0;
  int died_while_saving = 0;
  const auto begin = std::chrono::steady_clock::now();
  for (int round = 0; round < orv_test::kKills; ++round) {
    ASSERT_TRUE(orv_test::SaveAndDie(file, last + 1, std::chrono::microseconds(life(engine))));
    died_while_saving += RemoveLeftovers(directory.path());
    if (!std::filesystem::exists(file)) continue;  // The first save of all was not reached yet.
    const std::optional<std::int32_t> number = NumberOfSaved(file);
    ASSERT_TRUE(number) << "round " << round << ": the file is damaged";
    ASSERT_GE(*number, last) << "round " << round << ": a save was lost";
    advances += *number > last ? 1 : 0;
    last = *number;
  }
  EXPECT_GT(advances, orv_test::kKills / 20) << "hardly any process lived long enough to save";
  EXPECT_GT(died_while_saving, 0) << "no process died between its first write and the new name";
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::minutes(2));
  RecordProperty("saves", last);
  RecordProperty("died_while_saving", died_while_saving);
}

}  // namespace
