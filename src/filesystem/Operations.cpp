#include "filesystem/Operations.h"

#include "CoreObjects/Marshalled.h"
#include "filesystem/PathText.h"
#include "filesystem/TextBytes.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

std::string_view BytesOf(const void* data, std::size_t size) { return {static_cast<const char*>(data), size}; }

}  // namespace

template <class Char>
bool Operations<Char>::Resolve(const Char* path, Text* platform_path) {
  if (path == nullptr || *path == 0) return Fail(Failures::kInvalidParameter);
  if constexpr (sizeof(Char) == 1) {
    bool exact = false;
    if (!parts_.translator.Translate(path, platform_path, &exact) || !exact) return Fail(Failures::kTranslation);
  } else {
    if (!parts_.translator.Translate(path, platform_path)) return Fail(Failures::kTranslation);
  }
  return !platform_path->empty() || Fail(Failures::kInvalidParameter);
}

template <class Char>
bool Operations<Char>::WorkflowPathToPlatformPath(const Char* path, Char* buffer, std::size_t capacity,
                                                  std::size_t* length) {
  Text result;
  if (path == nullptr || (buffer == nullptr && length == nullptr)) return Fail(Failures::kInvalidParameter);
  if (!parts_.translator.Translate(path, &result)) return false;
  if (length != nullptr) *length = result.size();
  if (buffer == nullptr || capacity <= result.size()) return false;
  result.copy(buffer, result.size());
  buffer[result.size()] = 0;
  return true;
}

template <class Char>
bool Operations<Char>::WorkflowPathToPlatformPathString(const Char* path, String* platform_path) {
  Text result;
  if (path == nullptr || platform_path == nullptr) return Fail(Failures::kInvalidParameter);
  return parts_.translator.Translate(path, &result) && AssignText(platform_path, std::basic_string_view<Char>(result));
}

template <class Char>
bool Operations<Char>::ExistsAs(const Char* path, Text* platform_path) {
  return Resolve(path, platform_path) && (content_.Exists(*platform_path) || parts_.hook.Note());
}

template <class Char>
bool Operations<Char>::FileExists(const Char* path) {
  Text platform_path;
  return ExistsAs(path, &platform_path);
}

template <class Char>
bool Operations<Char>::RemoveFile(const Char* path) {
  Text platform_path;
  return Resolve(path, &platform_path) && content_.Remove(platform_path);
}

template <class Char>
std::uint32_t Operations<Char>::FileSize(const Char* path) {
  Text platform_path;
  std::uint64_t size = 0;
  if (!Resolve(path, &platform_path)) return 0;
  if (content_.Exists(platform_path)) {
    return content_.GetSize(platform_path, &size) ? static_cast<std::uint32_t>(size) : 0;
  }
  if (!IsDirectory(calls_, platform_path)) {
    parts_.hook.Note();
    return 0;
  }
  Tree<Char> tree(calls_);
  tree.Open(platform_path, System::TreeUse::Read);
  ListedPath<Char> listed(platform_path, Char{'\\'});
  std::uint32_t sum = 0;
  const auto add = [&](const Listing<Char>& listing) {
    for (std::size_t i = 0; i < listing.entries.size(); ++i) {
      if (listing.entries.IsDirectory(i) || !content_.GetSize(listed.Of(listing, i), &size)) continue;
      sum += static_cast<std::uint32_t>(size);
    }
    return true;
  };
  return WalkTree<Char>(tree, add, NoteGaps(tree)) == WalkResult::Broken ? 0 : sum;
}

template <class Char>
bool Operations<Char>::MakeFile(const Char* path) {
  Text platform_path;
  return Resolve(path, &platform_path) && content_.Make(platform_path);
}

template <class Char>
bool Operations<Char>::ReadFileToString(const Char* path, String* text) {
  Text platform_path;
  std::string bytes;
  if (text == nullptr) return Fail(Failures::kInvalidParameter);
  if (!Resolve(path, &platform_path) || !content_.Read(platform_path, &bytes)) return false;
  const std::string_view narrow = std::string_view(bytes).substr(0, bytes.find('\0'));
  if constexpr (sizeof(Char) == 1) {
    return AssignText(text, narrow);
  } else {
    std::u16string wide;
    if (!parts_.platform.code_page.Widen(narrow, &wide)) return Fail(Failures::kCannotReadFile);
    return AssignText(text, std::u16string_view(wide));
  }
}

template <class Char>
bool Operations<Char>::ReadFileToStream(const Char* path, IOrvBasicStream* stream) {
  Text platform_path;
  if (stream == nullptr) return Fail(Failures::kInvalidParameter);
  return Resolve(path, &platform_path) && content_.Read(platform_path, stream);
}

template <class Char>
bool Operations<Char>::WriteFileBytes(const Char* path, const void* data, std::size_t size) {
  Text platform_path;
  if (data == nullptr && size != 0) return Fail(Failures::kInvalidParameter);
  return Resolve(path, &platform_path) && content_.Write(platform_path, BytesOf(data, size));
}

template <class Char>
bool Operations<Char>::WriteFileText(const Char* path, const Char* text) {
  Text platform_path;
  if (text == nullptr) return Fail(Failures::kInvalidParameter);
  return Resolve(path, &platform_path) && content_.Write(platform_path, BytesOf(std::basic_string_view<Char>(text)));
}

template <class Char>
bool Operations<Char>::WriteFileString(const Char* path, const String* text) {
  Text platform_path;
  Text content;
  if (!ReadText(text, content)) return Fail(Failures::kInvalidParameter);
  return Resolve(path, &platform_path) && content_.Write(platform_path, BytesOf(std::basic_string_view<Char>(content)));
}

template <class Char>
bool Operations<Char>::AppendFileString(const Char* path, const String* text) {
  Text platform_path;
  Text content;
  if (!ReadText(text, content)) return Fail(Failures::kInvalidParameter);
  return Resolve(path, &platform_path) &&
         content_.Append(platform_path, BytesOf(std::basic_string_view<Char>(content)));
}

template <class Char>
bool Operations<Char>::ReplaceFileBytes(const Char* path, const void* data, std::size_t size) {
  Text platform_path;
  if (data == nullptr && size != 0) return Fail(Failures::kInvalidParameter);
  return Resolve(path, &platform_path) && content_.Replace(platform_path, BytesOf(data, size));
}

template <class Char>
bool Operations<Char>::FindSource(const Char* source, Text* platform_path) {
  if (ExistsAs(source, platform_path)) return true;
  for (const std::string& directory : parts_.content_directories.All()) {
    Text candidate;
    if constexpr (sizeof(Char) == 1) {
      candidate = directory;
    } else {
      if (!parts_.platform.code_page.Widen(directory, &candidate)) continue;
    }
    const std::size_t backslash = candidate.find(Char{'\\'});
    candidate += backslash != candidate.npos && backslash > 0 ? Char{'\\'} : Char{'/'};
    candidate += source;
    if (!ExistsAs(candidate.c_str(), platform_path)) continue;
    parts_.hook.TakeBack();
    return true;
  }
  return Fail(Failures::kSourceMissing);
}

template <class Char>
bool Operations<Char>::PrepareDestination(const Char* destination, Text* platform_path) {
  const Text target(destination);
  const std::size_t slash = target.rfind(Char{'/'});
  if (slash == target.npos) return Resolve(destination, platform_path);
  const Text written = target.substr(0, slash);
  Text parent;
  const bool resolved = Resolve(written.c_str(), &parent);
  const bool exists = resolved && (IsDirectory(calls_, parent) || parts_.hook.Note());
  if (!exists && !(resolved ? content_.MakeDirectory(parent) : MakeDirectory(written.c_str()))) {
    return Fail(Failures::kCannotCreateDirectory);
  }
  // Of a workflow path the rest stays what it is.
  const Text name = target.substr(slash + 1);
  if (!resolved || !IsWorkflowPath<Char>(target) || !IsPrintableAscii<Char>(name)) {
    return Resolve(destination, platform_path);
  }
  *platform_path = parent + Char{'\\'} + name;
  return true;
}

template <class Char>
bool Operations<Char>::FailCopy(const Text& source, const Text& destination) {
  OpenedFile file(parts_.platform.open_files);
  const System::KeptReason kept(parts_.platform.reasons);
  const bool readable = calls_.Open(source, System::Access::Read, System::Creation::OpenExisting, file.Slot()) ==
                        System::SystemResult::Ok;
  kept.Restore();
  return FailAt(Failures::kCopyFailed, readable ? destination : source);
}

template <class Char>
bool Operations<Char>::CopyOneFile(const Char* source, const Char* destination, bool overwrite) {
  if (source == nullptr || *source == 0 || destination == nullptr || *destination == 0) {
    return Fail(Failures::kInvalidParameter);
  }
  Text from;
  Text to;
  if (!FindSource(source, &from) || !PrepareDestination(destination, &to)) return false;
  calls_.SetAttributes(to, System::FileAttribute::kNormal);
  return calls_.CopyOver(from, to, !overwrite) || FailCopy(from, to);
}

template <class Char>
typename Operations<Char>::Text Operations<Char>::InOwnWidth(const FailedPath& path) {
  if (const Text* own = std::get_if<Text>(&path)) return *own;
  Text text;
  if constexpr (sizeof(Char) == 1) {
    parts_.platform.code_page.Narrow(std::get<std::u16string>(path), &text, nullptr);
  } else {
    parts_.platform.code_page.Widen(std::get<std::string>(path), &text);
  }
  return text;
}

template <class Char>
bool Operations<Char>::Tell(String* output, std::string_view ascii) {
  return output == nullptr || AssignText(output, std::basic_string_view<Char>(Text(ascii.begin(), ascii.end())));
}

template <class Char>
bool Operations<Char>::GetLastFailure(String* operation, String* path, String* reason) {
  FailureRecorder::Record record;
  if (!parts_.hook.Find(&record)) return false;
  if (path != nullptr && !AssignText(path, std::basic_string_view<Char>(InOwnWidth(record.path)))) return false;
  return Tell(operation, record.operation) && Tell(reason, WordsFor(record));
}

template <class Char>
bool Operations<Char>::FlushWrites() {
  return parts_.platform.written.FlushAll() || parts_.hook.Note();
}

template class Operations<char>;
template class Operations<char16_t>;

}  // namespace OrvWorkFlow::Core::FileSystem
