// What one platform saves the other continues. A workflow is stopped behind each of its signals; "states/checksums.txt"
// has the checksum of each state, and three states are there as files. They are the same on every platform, so a state
// that is saved and continued here is the one that would be saved there.
//
// ORVFLOW_WRITE_STATES=1 writes them anew, after a wanted change of what is saved.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

#include "tests/platforms/Stage.h"
#include "tests/support/SourceFolder.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {
namespace {

constexpr std::uint32_t kSeed = 4;

std::filesystem::path Folder() { return SourceFolder() / "tests/platforms/states"; }

bool IsKept(std::size_t point) { return point == 0 || point == 12 || point == 40; }
std::filesystem::path KeptFile(std::size_t point) { return Folder() / ("after-" + std::to_string(point) + ".xml"); }

// FNV-1a of 64 bits.
std::string Checksum(const std::string& text) {
  std::uint64_t checksum = 0xCBF29CE484222325u;
  for (const char character : text) checksum = (checksum ^ static_cast<unsigned char>(character)) * 0x100000001B3u;
  return std::to_string(checksum);
}

class StatesTest : public ::testing::Test {
 protected:
  void SetUp() override { flow_.Write(directory_.path()); }

  std::vector<std::string> ExpectedAfter(std::size_t point) const {
    const std::vector<std::string> whole = flow_.ExpectedTrace();
    return {whole.begin() + static_cast<std::ptrdiff_t>(point), whole.end()};
  }
  void ExpectContinued(const std::filesystem::path& state, std::size_t point) const {
    const Performance rest = Perform(flow_, Host::kNone, state, directory_.path() / "end.xml");
    EXPECT_TRUE(rest.done);
    EXPECT_EQ(rest.trace, ExpectedAfter(point)) << "stopped after " << point;
  }

  const RandomFlow flow_{kSeed};
  const TempDirectory directory_;
};

TEST_F(StatesTest, AreTheSameOnEveryPlatform) {
  const bool write = std::getenv("ORVFLOW_WRITE_STATES") != nullptr;
  std::string checksums;
  const std::size_t signals = flow_.ExpectedTrace().size();
  ASSERT_GT(signals, 40u);
  for (std::size_t point = 0; point <= signals; ++point) {
    const std::filesystem::path state = directory_.path() / "state.xml";
    ASSERT_TRUE(Perform(flow_, Host::kNone, directory_.path() / "top.xml", state, point).done);
    const std::string saved = ReadFile(state);
    checksums += std::to_string(point) + " " + Checksum(saved) + "\n";
    if (write && IsKept(point)) WriteFile(KeptFile(point), saved);
    EXPECT_TRUE(!IsKept(point) || saved == ReadFile(KeptFile(point))) << "stopped after " << point;
    ExpectContinued(state, point);
  }
  if (write) WriteFile(Folder() / "checksums.txt", checksums);
  EXPECT_EQ(checksums, ReadFile(Folder() / "checksums.txt"));
}

TEST_F(StatesTest, FromTheSourcesAreContinued) {
  for (std::size_t point = 0; point <= 40; ++point) {
    if (!IsKept(point)) continue;
    const std::filesystem::path state = directory_.path() / "kept.xml";
    std::filesystem::copy_file(KeptFile(point), state, std::filesystem::copy_options::overwrite_existing);
    ExpectContinued(state, point);
  }
}

}  // namespace
}  // namespace orv_test
