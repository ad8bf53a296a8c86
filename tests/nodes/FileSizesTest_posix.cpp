// Nodes at the sizes where counts of 32 bits end. The files are holes but for their ends, so that they cost nothing.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <thread>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/backup/ChecksumVerifier.h"
#include "nodes/files/FilePieces.h"
#include "nodes/flow/LongCopier.h"
#include "tests/fakes/MessageBoxRecorder.h"
#include "tests/nodes/NodeFixture.h"

namespace OrvWorkFlow::Nodes {
namespace {

constexpr std::uint64_t kLargest = 0xFFFFFFFFULL;

class FileSizesTest : public NodeFixture, public ::testing::WithParamInterface<std::uint64_t> {
 protected:
  // A file of that size which ends in "END", as far as there is room.
  std::string WriteHoles(const std::string& name, std::uint64_t size) {
    const std::string file = directory_.file(name);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    orv_test::WriteFile(file, "");
    std::filesystem::resize_file(file, size);
    const std::string end = std::string("END").substr(0, size);
    std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
    stream.seekp(static_cast<std::streamoff>(size - end.size()));
    stream << end;
    return file;
  }

  static std::string EndOf(const std::string& file, std::uint64_t size) {
    const std::uint64_t count = std::min<std::uint64_t>(size, 8);
    std::string end(count, '?');
    std::ifstream stream(file, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(size - count));
    stream.read(end.data(), static_cast<std::streamsize>(count));
    return end;
  }

  static IFileSystemA& Files() {
    auto* const object = WorkFlowFactory::GetGlobalObj("FileSystem");
    return *static_cast<IFileSystemA*>(object->QueryInterface("IFileSystemA"));
  }

  // What the saved state knows of: an int where that is enough.
  void SetCopied(std::uint64_t bytes) {
    const char* const path = "/LongCopies/Instance/Copied";
    if (bytes <= 0x7FFFFFFF) {
      dictionary_->SetValue(path, static_cast<std::int32_t>(bytes));
    } else {
      dictionary_->SetValue(path, std::to_string(bytes).c_str());
    }
  }

  void RunCopier(const std::string& source, const std::string& target, const char* signal) {
    const std::string parameters = "/WorkFlowEngine/WorkNodes/LongCopier/Instances/Instance/Parameters/";
    SetText((parameters + "Source").c_str(), source);
    SetText((parameters + "Target").c_str(), target);
    const NodePointer copier = Make<LongCopier>();
    EXPECT_TRUE(copier->Signal(signal));
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    const auto is_busy = [&] {
      return Sdk::TextFrom([&](IOrvPString* text) { return copier->GetProperty("Busy", text); }) == "yes";
    };
    while (is_busy() && std::chrono::steady_clock::now() < limit)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_FALSE(is_busy());
  }
};

TEST_P(FileSizesTest, AreReadInPieces) {
  const std::uint64_t size = GetParam();
  const std::string file = WriteHoles("file", size);
  if (size > kLargest) {
    try {
      SizeOfFile(Files(), file);
      FAIL() << "it counts as readable";
    } catch (const FileProblem& problem) {
      EXPECT_EQ(problem.what(), file + " is too large: 4 GiB and more cannot be read");
    }
    return;
  }
  EXPECT_EQ(SizeOfFile(Files(), file), size);
  if (size == 0) return;
  const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(size, 8));
  const Sdk::StreamHolder piece;
  ReadPiece(Files(), file, static_cast<std::uint32_t>(size) - count, count, piece);
  EXPECT_EQ(std::string(static_cast<const char*>(piece->GetData()), piece->GetSize()), EndOf(file, size));
  EXPECT_THROW(ReadPiece(Files(), file, static_cast<std::uint32_t>(size) - count, count + 1, piece), FileProblem);
}

TEST_P(FileSizesTest, AreCopiedToTheirEndOrRefused) {
  const orv_test::MessageBoxRecorder boxes;
  const std::uint64_t size = GetParam();
  const std::string source = WriteHoles("source", size);
  const std::string target = directory_.file("target");
  if (size > kLargest) {
    RunCopier(source, target, "copy");
    EXPECT_EQ(boxes.GetTexts(), Signals{source + " is too large: 4 GiB and more cannot be read"});
    EXPECT_EQ(TakeFired(), Signals{"failed"});
    EXPECT_FALSE(std::filesystem::exists(target));
    return;
  }
  const std::uint64_t before = size > 5 ? size - 5 : 0;
  if (before != 0) {
    orv_test::WriteFile(target, "");
    std::filesystem::resize_file(target, before);
    SetCopied(before);
  }
  RunCopier(source, target, before == 0 ? "copy" : "resume");
  EXPECT_EQ(boxes.GetTexts(), Signals{});
  EXPECT_EQ(TakeFired(), Signals{"copied"});
  EXPECT_EQ(std::filesystem::file_size(target), size);
  EXPECT_EQ(EndOf(target, size), EndOf(source, size));
}

// The target of a killed run is longer than what its state knows of.
TEST_P(FileSizesTest, WhatIsRightBeyondTheStateCountsAsCopied) {
  const std::uint64_t size = GetParam();
  if (size > kLargest || size < 10) return;
  const std::string source = WriteHoles("source", size);
  const std::string target = directory_.file("target");
  orv_test::WriteFile(target, "");
  std::filesystem::resize_file(target, size - 4);
  SetCopied(size - 9);
  RunCopier(source, target, "resume");
  EXPECT_EQ(TakeFired(), Signals{"copied"});
  EXPECT_EQ(std::filesystem::file_size(target), size);
  EXPECT_EQ(EndOf(target, size), EndOf(source, size));
}

TEST_P(FileSizesTest, AreVerifiedOrRefused) {
  const std::uint64_t size = GetParam();
  if (size > 1 && size <= kLargest) return;  // Their checksums take too long.
  SetUpJob();
  WriteHoles("source/a", size);
  WriteHoles("target/a", size);
  BackupJob job = Job();
  job.RemoveFiles();
  job.AddFile("a");
  ASSERT_EQ(job.TakeNext(), 0);
  EXPECT_TRUE(Make<ChecksumVerifier>()->Signal("verify"));
  EXPECT_EQ(TakeFired(), Signals{size > kLargest ? "failed" : "verified"});
  EXPECT_EQ(job.ReadFile(0).problem,
            size > kLargest ? directory_.file("source") + "/a is too large: 4 GiB and more cannot be read" : "");
}

INSTANTIATE_TEST_SUITE_P(Sizes, FileSizesTest,
                         ::testing::Values(0ULL, 1ULL, 0x7FFFFFFFULL, 0x80000000ULL, kLargest, 0x100000000ULL));

}  // namespace
}  // namespace OrvWorkFlow::Nodes
