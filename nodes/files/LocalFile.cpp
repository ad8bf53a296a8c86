#include "nodes/files/LocalFile.h"

#include "OrvWorkFlow/FileReasons.h"

namespace OrvWorkFlow::Nodes {

namespace {

struct Meaning {
  std::errc error;
  const char* reason;
};

constexpr Meaning kMeanings[] = {
    {std::errc::no_such_file_or_directory, FileReasons::kNotFound},
    {std::errc::not_a_directory, FileReasons::kNotFound},
    {std::errc::permission_denied, FileReasons::kDenied},
    {std::errc::operation_not_permitted, FileReasons::kDenied},
    {std::errc::read_only_file_system, FileReasons::kReadOnlyDisk},
    {std::errc::operation_would_block, FileReasons::kInUse},
    {std::errc::device_or_resource_busy, FileReasons::kInUse},
    {std::errc::text_file_busy, FileReasons::kInUse},
    {std::errc::no_space_on_device, FileReasons::kNoSpace},
    {std::errc::file_too_large, FileReasons::kTooLarge},
    {std::errc::file_exists, FileReasons::kExists},
    {std::errc::is_a_directory, FileReasons::kIsFolder},
    {std::errc::invalid_seek, FileReasons::kNotPlainFile},
    {std::errc::no_such_device, FileReasons::kNotPlainFile},
    {std::errc::no_such_device_or_address, FileReasons::kNotPlainFile},
    {std::errc::directory_not_empty, FileReasons::kNotEmpty},
    {std::errc::filename_too_long, FileReasons::kNameTooLong},
    {std::errc::too_many_symbolic_link_levels, FileReasons::kTooManyLinks},
    {std::errc::too_many_files_open, FileReasons::kTooManyOpen},
    {std::errc::io_error, FileReasons::kDiskFailed},
    {std::errc::not_enough_memory, FileReasons::kNoMemory},
};

}  // namespace

std::string ReasonOf(const std::error_code& error) {
  for (const Meaning& meaning : kMeanings) {
    if (error == meaning.error) return meaning.reason;
  }
  return std::string(FileReasons::kUnknown) + " (system error " + std::to_string(error.value()) + ")";
}

void RenamePath(const std::filesystem::path& from, const std::filesystem::path& to, const std::string& shown_name) {
  const std::optional<FileState> replaced = StateOfPath(to);
  if (replaced && !replaced->is_plain && !replaced->is_folder) {
    throw FileProblem("cannot write " + shown_name + ": " + FileReasons::kNotPlainFile);
  }
  std::error_code error;
  std::filesystem::rename(from, to, error);
  if (error) throw FileProblem("cannot write " + shown_name + ": " + ReasonOf(error));
}

void MakeFolderOf(const std::filesystem::path& file, const std::string& shown_name) {
  if (!file.has_parent_path()) return;
  std::error_code error;
  std::filesystem::create_directories(file.parent_path(), error);
  if (error && !std::filesystem::is_directory(file.parent_path())) {
    throw FileProblem("cannot make the folder of " + shown_name + ": " + ReasonOf(error));
  }
}

std::vector<std::string> IdentityOf(const std::filesystem::path& path, const std::string& shown_name) {
  const FileState state = StateOfPath(path).value_or(FileState());
  return {shown_name, std::to_string(state.size), std::to_string(state.changed)};
}

std::optional<std::string> ReadWholeFile(IFileSystemA& file_system, const std::string& name, std::uint64_t most,
                                         const std::function<bool()>& stop_wanted) {
  LocalFile file(LocalPath(file_system, name), LocalFile::Mode::Read, name);
  const auto check = [&](std::uint64_t size) {
    if (size <= most) return;
    throw FileProblem(name + " is too large: " + std::to_string(size) + " bytes; MostBytes is " + std::to_string(most));
  };
  const std::uint64_t size = file.Size();
  check(size);
  // To the end, whatever the size says: files that the system makes up say that they are empty.
  constexpr std::size_t kPiece = std::size_t{1} << 20;
  std::string bytes;
  bytes.reserve(static_cast<std::size_t>(size) + kPiece);
  for (std::size_t end = 0, count = kPiece; count == kPiece; end += count) {
    if (stop_wanted()) return std::nullopt;
    bytes.resize(end + kPiece);
    count = file.Read(bytes.data() + end, kPiece);
    bytes.resize(end + count);
    check(bytes.size());
  }
  return bytes;
}

}  // namespace OrvWorkFlow::Nodes
