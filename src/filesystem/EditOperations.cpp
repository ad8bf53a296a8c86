// The operations on parts of a file, and those on wide text.
#include <algorithm>

#include "CoreObjects/Marshalled.h"
#include "filesystem/Operations.h"
#include "filesystem/TextBytes.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

constexpr char16_t kByteOrderMark = 0xFEFF;
constexpr char16_t kSwappedMark = 0xFFFE;

constexpr char16_t Swapped(char16_t unit) { return static_cast<char16_t>(unit << 8 | unit >> 8); }

}  // namespace

template <class Char>
bool Operations<Char>::ReadFileRange(const Char* path, std::uint32_t first, std::uint32_t last,
                                     IOrvBasicStream* stream) {
  Text platform_path;
  if (stream == nullptr || first > last) return Fail(Failures::kInvalidParameter);
  const std::uint64_t count = std::uint64_t{last} - first + 1;
  return Resolve(path, &platform_path) && content_.ReadRange(platform_path, first, count, stream);
}

template <class Char>
bool Operations<Char>::ReadFileToWideString(const Char* path, String* text) requires(sizeof(Char) == 2) {
  Text platform_path;
  std::string bytes;
  if (text == nullptr) return Fail(Failures::kInvalidParameter);
  if (!Resolve(path, &platform_path) || !content_.Read(platform_path, &bytes)) return false;
  std::u16string units(bytes.size() / 2, u'\0');
  bytes.copy(reinterpret_cast<char*>(units.data()), units.size() * 2);
  if (units.empty()) return AssignText(text, std::u16string_view());
  if (units.front() == kSwappedMark) std::transform(units.begin(), units.end(), units.begin(), Swapped);
  return AssignText(text, std::u16string_view(units).substr(1));
}

template <class Char>
bool Operations<Char>::WriteFileTextUnicode(const Char* path, const Char* text) requires(sizeof(Char) == 2) {
  Text platform_path;
  if (text == nullptr) return Fail(Failures::kInvalidParameter);
  const std::u16string marked = kByteOrderMark + std::u16string(text);
  return Resolve(path, &platform_path) && content_.Write(platform_path, BytesOf(std::u16string_view(marked)));
}

template <class Char>
bool Operations<Char>::Edit(const Char* path, const std::function<bool(std::string&)>& change) {
  Text platform_path;
  return Resolve(path, &platform_path) && content_.Edit(platform_path, change);
}

template <class Char>
bool Operations<Char>::PrependFileString(const Char* path, const String* text) {
  return InsertFileString(path, 0, text);
}

template <class Char>
bool Operations<Char>::InsertFileString(const Char* path, std::uint32_t position, const String* text) {
  Text inserted;
  if (!ReadText(text, inserted)) return Fail(Failures::kInvalidParameter);
  return Edit(path, [&](std::string& content) {
    if (position > content.size()) return false;
    content.insert(position, BytesOf(std::basic_string_view<Char>(inserted)));
    return true;
  });
}

template <class Char>
bool Operations<Char>::OverwriteFileString(const Char* path, std::uint32_t position, const String* text) {
  Text overwriting;
  if (!ReadText(text, overwriting)) return Fail(Failures::kInvalidParameter);
  return Edit(path, [&](std::string& content) {
    if (position > content.size()) return false;
    const std::string_view bytes = BytesOf(std::basic_string_view<Char>(overwriting));
    content.replace(position, bytes.size(), bytes);
    return true;
  });
}

template <class Char>
bool Operations<Char>::DeleteFileBytes(const Char* path, std::uint32_t position, std::uint32_t count) {
  return Edit(path, [&](std::string& content) {
    if (position > content.size()) return false;
    content.erase(position, count);
    return true;
  });
}

template bool Operations<char>::ReadFileRange(const char*, std::uint32_t, std::uint32_t, IOrvBasicStream*);
template bool Operations<char16_t>::ReadFileRange(const char16_t*, std::uint32_t, std::uint32_t, IOrvBasicStream*);
template bool Operations<char16_t>::ReadFileToWideString(const char16_t*, String*);
template bool Operations<char16_t>::WriteFileTextUnicode(const char16_t*, const char16_t*);
template bool Operations<char>::PrependFileString(const char*, const String*);
template bool Operations<char16_t>::PrependFileString(const char16_t*, const String*);
template bool Operations<char>::InsertFileString(const char*, std::uint32_t, const String*);
template bool Operations<char16_t>::InsertFileString(const char16_t*, std::uint32_t, const String*);
template bool Operations<char>::OverwriteFileString(const char*, std::uint32_t, const String*);
template bool Operations<char16_t>::OverwriteFileString(const char16_t*, std::uint32_t, const String*);
template bool Operations<char>::DeleteFileBytes(const char*, std::uint32_t, std::uint32_t);
template bool Operations<char16_t>::DeleteFileBytes(const char16_t*, std::uint32_t, std::uint32_t);

}  // namespace OrvWorkFlow::Core::FileSystem
