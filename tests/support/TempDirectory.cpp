#include "tests/support/TempDirectory.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace orv_test {

namespace {

// A name that no other process and no other thread of this one uses.
std::string MakeUniqueName() {
  static std::atomic<unsigned> serial{0};
  const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
  const auto system_now = std::chrono::system_clock::now().time_since_epoch().count();
  return "orv_test_" + std::to_string(now) + "_" + std::to_string(system_now) + "_" + std::to_string(serial++);
}

}  // namespace

TempDirectory::TempDirectory() {
  const std::filesystem::path parent = std::filesystem::temp_directory_path();
  do {
    path_ = parent / MakeUniqueName();
  } while (!std::filesystem::create_directory(path_));
}

TempDirectory::~TempDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string ReadFile(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::filesystem::path& file, std::string_view bytes) {
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (!stream) {
    throw std::runtime_error("cannot write " + file.string());
  }
}

}  // namespace orv_test
