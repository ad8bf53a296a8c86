#include "orvflow/new/NewFolder.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

namespace fs = std::filesystem;

fs::path PathOf(const std::string& text) { return fs::path(std::u8string(text.begin(), text.end())); }

std::string Shown(const std::string& parent, const std::string& name) {
  if (parent.empty()) return name;
  return parent.ends_with('/') || parent.ends_with('\\') ? parent + name : parent + "/" + name;
}

// Is gone with all that is in it, unless it got its name.
class FolderInTheMaking {
 public:
  explicit FolderInTheMaking(fs::path path) : path_(std::move(path)) {}
  FolderInTheMaking(const FolderInTheMaking&) = delete;
  FolderInTheMaking& operator=(const FolderInTheMaking&) = delete;
  ~FolderInTheMaking() {
    std::error_code ignored;
    if (is_made_) fs::remove_all(path_, ignored);
  }

  const fs::path& path() const { return path_; }
  std::error_code Make() {
    std::error_code error;
    is_made_ = fs::create_directory(path_, error);
    if (!is_made_ && !error) error = std::make_error_code(std::errc::file_exists);
    return error;
  }
  std::error_code GiveName(const fs::path& name) {
    std::error_code error;
    fs::rename(path_, name, error);
    if (!error) is_made_ = false;
    return error;
  }

 private:
  fs::path path_;
  bool is_made_ = false;
};

std::error_code LastError() {
  return errno != 0 ? std::error_code(errno, std::generic_category()) : std::make_error_code(std::errc::io_error);
}

std::error_code WriteNewFile(const fs::path& path, std::string_view text) {
  errno = 0;
  std::ofstream file(path, std::ios::binary);
  file.write(text.data(), static_cast<std::streamsize>(text.size()));
  file.close();
  if (file.fail()) return LastError();
  std::error_code error;
  if (path.extension() == ".sh") {
    fs::permissions(path, fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec, fs::perm_options::add,
                    error);
  }
  return error;
}

}  // namespace

void MakeNewFolder(const std::string& parent, const std::string& name, const std::vector<NewFile>& files) {
  const std::string shown = Shown(parent, name);
  const auto fail_if = [&](const std::string& file, const std::error_code& error) {
    if (!error) return;
    throw FileError(ExitCode::Failed, file, "", "cannot be made: " + error.message());
  };
  std::error_code error;
  if (!parent.empty() && !fs::is_directory(PathOf(parent), error)) {
    throw FileError(ExitCode::Usage, parent, "", "no such folder; --into needs one that is there");
  }
  const fs::path folder = PathOf(parent) / PathOf(name);
  if (fs::exists(fs::symlink_status(folder, error))) {
    throw FileError(ExitCode::Failed, shown, "", "is there already; choose another name, or move it away");
  }
  FolderInTheMaking making(PathOf(parent) / PathOf(name + ".new"));
  fail_if(shown + ".new", making.Make());
  for (const NewFile& file : files)
    fail_if(shown + "/" + file.name, WriteNewFile(making.path() / file.name, file.text));
  fail_if(shown, making.GiveName(folder));
}

}  // namespace OrvWorkFlow::Program
