// What the tests of the platform seam and of the file system share.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Platform.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {

// A text of ASCII characters in either width.
template <class Char>
std::basic_string<Char> Text(std::string_view ascii) {
  return std::basic_string<Char>(ascii.begin(), ascii.end());
}

// The platform path (Windows shape) of a host path of ASCII characters.
inline std::string PlatformPath(const std::filesystem::path& path) {
  std::string text = path.string();
  if (!text.empty() && text.front() == '/') text.insert(0, "Z:");
  for (char& c : text) {
    if (c == '/') c = '\\';
  }
  return text;
}

// Prints a list of texts of either width in a test's message.
template <class Char>
std::string Ascii(const std::basic_string<Char>& text) {
  std::string result;
  for (const Char c : text) result += c < 0x80 && c > 0 ? static_cast<char>(c) : '?';
  return result;
}

// An open tree of the real platform.
template <class Char>
class TestTree {
 public:
  TestTree(const std::basic_string<Char>& root, OrvWorkFlow::Core::System::TreeUse use) {
    result_ = trees().OpenTree(root, use, &handle_);
  }
  ~TestTree() {
    if (result_ == OrvWorkFlow::Core::System::SystemResult::Ok) trees().CloseTree(handle_);
  }
  TestTree(const TestTree&) = delete;
  TestTree& operator=(const TestTree&) = delete;

  static OrvWorkFlow::Core::System::TreesOf<Char>& trees() {
    return OrvWorkFlow::Core::System::SystemPlatform().For<Char>().trees;
  }
  OrvWorkFlow::Core::System::SystemResult result() const { return result_; }
  OrvWorkFlow::Core::System::TreeHandle handle() const { return handle_; }
  // The names in a directory, with "/" behind a directory's and "@" behind a link's; {"failed"} when it has none.
  std::vector<std::string> Names(std::string_view directory = {}) const {
    OrvWorkFlow::Core::System::EntryList<Char> entries;
    if (trees().List(handle_, Text<Char>(directory), &entries) != OrvWorkFlow::Core::System::SystemResult::Ok)
      return {"failed"};
    std::vector<std::string> names;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      std::string name;
      for (const Char c : entries.name(i)) name += static_cast<char>(c);
      names.push_back(name + (entries.IsDirectory(i) ? "/" : "") + (entries.IsLink(i) ? "@" : ""));
    }
    return names;
  }

 private:
  OrvWorkFlow::Core::System::SystemResult result_;
  OrvWorkFlow::Core::System::TreeHandle handle_ = OrvWorkFlow::Core::System::TreeHandle::None;
};

}  // namespace orv_test
