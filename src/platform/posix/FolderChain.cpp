#include "platform/posix/FolderChain.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>

#include "platform/posix/LetterCase.h"

namespace OrvWorkFlow::Core::System::Posix {
namespace {

// Deeper chains close their upper folders, and open them again on the way back.
constexpr std::size_t kMostOpen = 32;

bool IsEntryName(std::string_view name) { return name != "." && name != ".." && !name.empty() && IsNameable(name); }

// A folder that may be entered but not read is opened for that alone.
Descriptor OpenFolder(int parent, const char* name, int flags) {
  const int fd = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags);
  if (fd >= 0 || errno != EACCES) return Descriptor(fd);
  return Descriptor(::openat(parent, name, O_PATH | O_DIRECTORY | O_CLOEXEC | flags));
}

std::string_view FirstName(std::string_view path) { return path.substr(0, path.find('\\')); }
std::string_view Behind(std::string_view path, std::string_view name) {
  return path.substr(std::min(name.size() + 1, path.size()));
}

}  // namespace

FolderChain::FolderChain(Descriptor root, ChainLinks links, ChainCase letter_case)
    : flags_(links == ChainLinks::Refused ? O_NOFOLLOW : 0), ignores_case_(letter_case == ChainCase::Ignored) {
  levels_.push_back({{}, std::move(root), {}, {}});
}

int FolderChain::Enter(std::string_view path) {
  std::size_t depth = 0;
  while (depth + 1 < levels_.size() && !path.empty() && FirstName(path) == levels_[depth + 1].name) {
    path = Behind(path, levels_[++depth].name);
  }
  levels_.erase(levels_.begin() + static_cast<std::ptrdiff_t>(depth) + 1, levels_.end());
  if (!levels_[depth].folder && !Reopen(depth)) return -1;
  while (!path.empty()) {
    const std::string_view name = FirstName(path);
    if (!Descend(name)) return -1;
    path = Behind(path, name);
  }
  return levels_.back().folder.get();
}

FolderChain::Place FolderChain::Find(std::string_view path) {
  const std::size_t separator = path.rfind('\\');
  const std::string_view name = separator == std::string_view::npos ? path : path.substr(separator + 1);
  errno = ENOENT;
  if (!IsEntryName(name)) return {};
  const int folder = Enter(separator == std::string_view::npos ? std::string_view() : path.substr(0, separator));
  if (folder < 0) return {};
  if (ignores_case_) {
    name_ = NameInLast(name);
  } else {
    name_.assign(name);
  }
  return {name_.empty() ? -1 : folder, name_.c_str()};
}

const dev_t* FolderChain::DiskOfLast() {
  Level& last = levels_.back();
  struct stat status;
  if (!last.disk && ::fstat(last.folder.get(), &status) == 0) last.disk = status.st_dev;
  return last.disk ? &*last.disk : nullptr;
}

bool FolderChain::Descend(std::string_view name) {
  errno = ENOENT;
  if (!IsEntryName(name)) return false;
  const std::string host_name = ignores_case_ ? NameInLast(name) : std::string(name);
  Descriptor folder = OpenFolder(levels_.back().folder.get(), host_name.c_str(), flags_);
  if (!folder) return false;
  levels_.push_back({std::string(name), std::move(folder), {}, {}});
  CloseFarLevels();
  return true;
}

bool FolderChain::Reopen(std::size_t depth) {
  std::vector<std::string> names;
  while (!levels_[depth].folder) {
    names.push_back(std::move(levels_[depth--].name));
    levels_.pop_back();
  }
  return std::all_of(names.rbegin(), names.rend(), [this](const std::string& name) { return Descend(name); });
}

void FolderChain::CloseFarLevels() {
  if (levels_.size() > kMostOpen + 1) levels_[levels_.size() - 1 - kMostOpen].folder = Descriptor(-1);
}

std::string FolderChain::NameInLast(std::string_view name) {
  Level& level = levels_.back();
  std::string exact(WithoutTail(name));
  struct stat status;
  if (exact.empty() || ::fstatat(level.folder.get(), exact.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return exact;
  if (!level.names) {
    level.names.emplace();
    ForEachName(level.folder.get(), [&](std::string_view present) {
      const auto [at, added] = level.names->try_emplace(Capitals(present), present);
      if (!added && present < at->second) at->second = present;
    });
  }
  // Whoever asks for a name that is not there makes it.
  return level.names->try_emplace(Capitals(exact), exact).first->second;
}

}  // namespace OrvWorkFlow::Core::System::Posix
