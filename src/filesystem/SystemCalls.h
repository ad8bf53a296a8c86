// The system calls as the operations make them: a wide call that fails is made once more in narrow characters, which
// keeps the wide interface usable where wide calls are missing. A path that would lose something is never narrowed: it
// would name another file.
#pragma once

#include <string>
#include <tuple>
#include <utility>

#include "platform/Platform.h"

namespace OrvWorkFlow::Core::FileSystem {

template <class Char>
class SystemCalls {
 public:
  using Text = std::basic_string<Char>;

  explicit SystemCalls(const System::Platform& platform) : platform_(platform) {}

  const System::Platform& platform() const { return platform_; }

  bool GetAttributes(const Text& path, std::uint32_t* attributes) const {
    return Try([&](auto& part, const auto& p) { return part.files.GetAttributes(p, attributes); }, path);
  }
  bool SetAttributes(const Text& path, std::uint32_t attributes) const {
    return Try([&](auto& part, const auto& p) { return part.files.SetAttributes(p, attributes); }, path);
  }
  bool IsWritableFile(const Text& path) const {
    return Try([](auto& part, const auto& p) { return part.files.IsWritableFile(p); }, path);
  }
  System::SystemResult Open(const Text& path, System::Access access, System::Creation creation,
                            System::FileHandle* handle) const {
    return Try([&](auto& part, const auto& p) { return part.files.Open(p, access, creation, handle); }, path);
  }
  // The copy has no mark.
  bool CopyOver(const Text& source, const Text& destination, bool fail_if_exists) const {
    const auto copy = [=](auto& part, const auto& from, const auto& to) {
      return part.files.CopyOver(from, to, fail_if_exists, System::CopiedMark::Dropped);
    };
    return Try(copy, source, destination);
  }
  System::SystemResult TakeTurn(const Text& path, System::FileHandle* handle) const {
    return Try([=](auto& part, const auto& p) { return part.files.TakeTurn(p, handle); }, path);
  }
  // Whatever its marks.
  bool RemoveOneFile(const Text& path) const {
    return Try([](auto& part, const auto& p) { return part.files.RemoveOneFile(p, System::Mark::Ignored); }, path);
  }
  bool RenameOver(const Text& from, const Text& to) const {
    return Try([](auto& part, const auto& f, const auto& t) { return part.files.RenameOver(f, t); }, from, to);
  }
  bool CopyPermissions(const Text& from, const Text& to) const {
    return Try([](auto& part, const auto& f, const auto& t) { return part.files.CopyPermissions(f, t); }, from, to);
  }
  bool FollowLink(const Text& path, Text* target) const {
    return Try([&](auto& part, const auto& p) { return Follow(part.files, p, target); }, path);
  }
  System::SystemResult CreateOneDirectory(const Text& path) const {
    return Try([](auto& part, const auto& p) { return part.directories.CreateOneDirectory(p); }, path);
  }
  bool RemoveOneDirectory(const Text& path) const {
    return Try([](auto& part, const auto& p) { return part.directories.RemoveOneDirectory(p, System::Mark::Ignored); },
               path);
  }
  bool IsRoot(const Text& path) const { return platform_.For<Char>().directories.IsRoot(path); }

  // Makes `call(part, paths...)` with the calls of the own width, and of the narrow one when that fails.
  template <class Call, class... Paths>
  auto Try(const Call& call, const Paths&... paths) const {
    auto result = call(platform_.For<Char>(), paths...);
    if constexpr (sizeof(Char) == 1) {
      return result;
    } else {
      if (Succeeded(result)) return result;
      const System::KeptReason kept(platform_.reasons);
      std::tuple narrow{Narrowed(paths)...};
      return std::apply(
          [&](const auto&... one) { return (one.exact && ...) ? call(platform_.narrow, one.text...) : result; },
          narrow);
    }
  }

  // The path in narrow characters; false when it would lose something.
  bool NarrowExactly(const std::u16string& path, std::string* narrow) const {
    bool exact = false;
    return platform_.code_page.Narrow(path, narrow, &exact) && exact;
  }

 private:
  struct NarrowPath {
    std::string text;
    bool exact = false;
  };

  NarrowPath Narrowed(const std::u16string& path) const {
    NarrowPath narrow;
    narrow.exact = NarrowExactly(path, &narrow.text);
    return narrow;
  }

  bool Follow(System::FilesOf<Char>& files, const Text& path, Text* target) const {
    return files.FollowLink(path, target);
  }
  bool Follow(System::FilesOf<char>& files, const std::string& path, std::u16string* target) const {
    std::string narrow;
    return files.FollowLink(path, &narrow) && platform_.code_page.Widen(narrow, target);
  }

  static bool Succeeded(bool result) { return result; }
  static bool Succeeded(System::SystemResult result) { return result == System::SystemResult::Ok; }

  const System::Platform& platform_;
};

}  // namespace OrvWorkFlow::Core::FileSystem
