// A directory of its own for a test, removed with all that is in it at the end of the scope.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace orv_test {

class TempDirectory {
 public:
  // Throws when none can be made.
  TempDirectory();
  ~TempDirectory();
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }
  // The path of a file in it, as a narrow text.
  std::string file(std::string_view name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// Whole files, byte for byte. A file that cannot be read is "".
std::string ReadFile(const std::filesystem::path& file);
// Throws when it cannot be written.
void WriteFile(const std::filesystem::path& file, std::string_view bytes);

}  // namespace orv_test
