#include "tests/fault/FaultPlatform.h"

#include <algorithm>
#include <limits>
#include <mutex>

namespace OrvWorkFlow::Core::System {
namespace {

constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

// The switches and the counters.
class FaultState {
 public:
  explicit FaultState(Reasons& reasons) : reasons_(reasons) {}

  // Counts a call; false when it is to fail. `wide` tells that it is one in wide characters.
  bool Passes(PlatformCall call, bool wide = false) {
    std::function<void()> killed;
    bool passes = true;
    {
      const std::scoped_lock lock(mutex_);
      if (dead_) return Refuse();
      ++calls_;
      dead_ = calls_ == kill_at_;
      if (dead_) killed.swap(killed_);
      if (call == failing_call_) ++calls_of_kind_;
      const bool chosen = calls_ == fail_at_ || (call == failing_call_ && calls_of_kind_ == fail_kind_at_);
      passes = !dead_ && !chosen && !(wide && fail_wide_);
    }
    if (killed) killed();
    return passes || Refuse();
  }

  template <class Change>
  void Set(const Change& change) {
    const std::scoped_lock lock(mutex_);
    change(*this);
    calls_ = 0;
    calls_of_kind_ = 0;
  }

  // How many of the bytes fit on the disk; they are taken.
  std::size_t TakeSpace(std::size_t wanted) {
    const std::scoped_lock lock(mutex_);
    if (space_ == kUnlimited) return wanted;
    const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(wanted, space_));
    space_ -= taken;
    return taken;
  }

  bool RefuseSpace() {
    reasons_.SetLastCode(RefusalCode(Reason::NoSpace));
    return false;
  }

  SystemResult failure() const {
    const std::scoped_lock lock(mutex_);
    return failure_;
  }
  std::uint64_t calls() const {
    const std::scoped_lock lock(mutex_);
    return calls_;
  }
  int open_handles() const {
    const std::scoped_lock lock(mutex_);
    return open_handles_;
  }
  void AddHandles(int count) {
    const std::scoped_lock lock(mutex_);
    open_handles_ += count;
  }

  // Set through `Set`.
  bool fail_wide_ = false;
  std::uint64_t fail_at_ = 0;
  PlatformCall failing_call_ = PlatformCall::Open;
  std::uint64_t fail_kind_at_ = 0;
  SystemResult failure_ = SystemResult::Failed;
  std::uint64_t kill_at_ = 0;
  std::function<void()> killed_;
  std::uint64_t space_ = kUnlimited;

 private:
  // The mutex may be held or not: `failure_` is set while nobody calls.
  bool Refuse() {
    const bool denied = failure_ == SystemResult::Denied;
    const bool in_use = failure_ == SystemResult::InUse;
    reasons_.SetLastCode(RefusalCode(denied ? Reason::Denied : in_use ? Reason::InUse : Reason::Unknown));
    return false;
  }

  Reasons& reasons_;
  mutable std::mutex mutex_;
  bool dead_ = false;
  std::uint64_t calls_ = 0;
  std::uint64_t calls_of_kind_ = 0;
  int open_handles_ = 0;
};

template <class Char>
class FaultFiles final : public FilesOf<Char> {
 public:
  using Text = std::basic_string<Char>;

  FaultFiles(FaultState& state, FilesOf<Char>& real) : state_(state), real_(real) {}

  bool GetAttributes(const Text& path, std::uint32_t* attributes) override {
    return Passes(PlatformCall::GetAttributes) && real_.GetAttributes(path, attributes);
  }
  bool SetAttributes(const Text& path, std::uint32_t attributes) override {
    return Passes(PlatformCall::SetAttributes) && real_.SetAttributes(path, attributes);
  }
  bool IsWritableFile(const Text& path) override {
    return Passes(PlatformCall::IsWritableFile) && real_.IsWritableFile(path);
  }
  SystemResult Open(const Text& path, Access access, Creation creation, FileHandle* handle) override {
    if (!Passes(PlatformCall::Open)) return state_.failure();
    const SystemResult result = real_.Open(path, access, creation, handle);
    if (result == SystemResult::Ok) state_.AddHandles(1);
    return result;
  }
  SystemResult TakeTurn(const Text& path, FileHandle* handle) override {
    if (!Passes(PlatformCall::TakeTurn)) return state_.failure();
    const SystemResult result = real_.TakeTurn(path, handle);
    if (result == SystemResult::Ok) state_.AddHandles(1);
    return result;
  }
  bool CopyOver(const Text& source, const Text& destination, bool fail_if_exists, CopiedMark mark) override {
    return Passes(PlatformCall::CopyOver) && real_.CopyOver(source, destination, fail_if_exists, mark);
  }
  bool RemoveOneFile(const Text& path, Mark mark) override {
    return Passes(PlatformCall::RemoveOneFile) && real_.RemoveOneFile(path, mark);
  }
  bool RenameOver(const Text& from, const Text& to) override {
    return Passes(PlatformCall::RenameOver) && real_.RenameOver(from, to);
  }
  bool CopyPermissions(const Text& from, const Text& to) override {
    return Passes(PlatformCall::CopyPermissions) && real_.CopyPermissions(from, to);
  }
  bool FollowLink(const Text& path, Text* target) override {
    return Passes(PlatformCall::FollowLink) && real_.FollowLink(path, target);
  }

 private:
  bool Passes(PlatformCall call) { return state_.Passes(call, sizeof(Char) > 1); }

  FaultState& state_;
  FilesOf<Char>& real_;
};

template <class Char>
class FaultDirectories final : public DirectoriesOf<Char> {
 public:
  using Text = std::basic_string<Char>;

  FaultDirectories(FaultState& state, DirectoriesOf<Char>& real) : state_(state), real_(real) {}

  SystemResult CreateOneDirectory(const Text& path) override {
    return Passes(PlatformCall::CreateOneDirectory) ? real_.CreateOneDirectory(path) : state_.failure();
  }
  bool RemoveOneDirectory(const Text& path, Mark mark) override {
    return Passes(PlatformCall::RemoveOneDirectory) && real_.RemoveOneDirectory(path, mark);
  }
  bool FindFirst(const Text& pattern, std::uint32_t* attributes) override {
    return Passes(PlatformCall::FindFirst) && real_.FindFirst(pattern, attributes);
  }
  bool IsRoot(const Text& path) override { return real_.IsRoot(path); }

 private:
  bool Passes(PlatformCall call) { return state_.Passes(call, sizeof(Char) > 1); }

  FaultState& state_;
  DirectoriesOf<Char>& real_;
};

template <class Char>
class FaultTrees final : public TreesOf<Char> {
 public:
  using Text = std::basic_string<Char>;

  FaultTrees(FaultState& state, TreesOf<Char>& real) : state_(state), real_(real) {}

  SystemResult OpenTree(const Text& path, TreeUse use, TreeHandle* tree) override {
    if (!Passes(PlatformCall::OpenTree)) return state_.failure();
    const SystemResult result = real_.OpenTree(path, use, tree);
    if (result == SystemResult::Ok) state_.AddHandles(1);
    return result;
  }
  void CloseTree(TreeHandle tree) override {
    state_.AddHandles(-1);
    real_.CloseTree(tree);
  }
  SystemResult List(TreeHandle tree, const Text& directory, EntryList<Char>* entries) override {
    return Passes(PlatformCall::List) ? real_.List(tree, directory, entries) : state_.failure();
  }
  void FindDoubles(TreeHandle tree, const EntryList<Char>& entries, std::vector<bool>* doubles) override {
    real_.FindDoubles(tree, entries, doubles);
  }
  bool SetAttributesIn(TreeHandle tree, const Text& path, std::uint32_t attributes) override {
    return Passes(PlatformCall::SetAttributesIn) && real_.SetAttributesIn(tree, path, attributes);
  }
  SystemResult RemoveFileIn(TreeHandle tree, const Text& path, Mark mark) override {
    return Passes(PlatformCall::RemoveFileIn) ? real_.RemoveFileIn(tree, path, mark) : state_.failure();
  }
  bool RemoveDirectoryIn(TreeHandle tree, const Text& path, Mark mark) override {
    return Passes(PlatformCall::RemoveDirectoryIn) && real_.RemoveDirectoryIn(tree, path, mark);
  }
  SystemResult CreateDirectoryIn(TreeHandle tree, const Text& path) override {
    return Passes(PlatformCall::CreateDirectoryIn) ? real_.CreateDirectoryIn(tree, path) : state_.failure();
  }
  SystemResult CopyIn(TreeHandle from, TreeHandle to, const Text& path, bool fail_if_exists,
                      std::uint32_t listed) override {
    return Passes(PlatformCall::CopyIn) ? real_.CopyIn(from, to, path, fail_if_exists, listed) : state_.failure();
  }

 private:
  bool Passes(PlatformCall call) { return state_.Passes(call, sizeof(Char) > 1); }

  FaultState& state_;
  TreesOf<Char>& real_;
};

template <class Char>
class FaultLocations final : public LocationsOf<Char> {
 public:
  FaultLocations(FaultState& state, LocationsOf<Char>& real) : state_(state), real_(real) {}

  std::uint32_t WindowsDirectory(Char* buffer, std::uint32_t capacity) override {
    return Passes() ? real_.WindowsDirectory(buffer, capacity) : 0;
  }
  std::uint32_t SystemDirectory(Char* buffer, std::uint32_t capacity) override {
    return Passes() ? real_.SystemDirectory(buffer, capacity) : 0;
  }
  std::uint32_t TempPath(Char* buffer, std::uint32_t capacity) override {
    return Passes() ? real_.TempPath(buffer, capacity) : 0;
  }
  std::uint32_t ExpandVariables(const Char* text, Char* buffer, std::uint32_t capacity) override {
    return Passes() ? real_.ExpandVariables(text, buffer, capacity) : 0;
  }
  std::uint32_t ModuleFileName(Char* buffer, std::uint32_t capacity) override {
    return Passes() ? real_.ModuleFileName(buffer, capacity) : 0;
  }

 private:
  bool Passes() { return state_.Passes(PlatformCall::Location, sizeof(Char) > 1); }

  FaultState& state_;
  LocationsOf<Char>& real_;
};

class FaultOpenFiles final : public OpenFiles {
 public:
  FaultOpenFiles(FaultState& state, OpenFiles& real) : state_(state), real_(real) {}

  bool Read(FileHandle handle, void* data, std::size_t size, std::size_t* done) override {
    *done = 0;
    return state_.Passes(PlatformCall::Read) && real_.Read(handle, data, size, done);
  }
  bool Write(FileHandle handle, const void* data, std::size_t size, std::size_t* done) override {
    *done = 0;
    if (!state_.Passes(PlatformCall::Write)) return false;
    const std::size_t fits = state_.TakeSpace(size);
    const bool written = real_.Write(handle, data, fits, done);
    return written && (fits == size || state_.RefuseSpace());
  }
  bool GetSize(FileHandle handle, std::uint64_t* size) override {
    return state_.Passes(PlatformCall::GetSize) && real_.GetSize(handle, size);
  }
  bool MoveTo(FileHandle handle, std::uint64_t position) override {
    return state_.Passes(PlatformCall::MoveTo) && real_.MoveTo(handle, position);
  }
  bool SetEnd(FileHandle handle) override { return state_.Passes(PlatformCall::SetEnd) && real_.SetEnd(handle); }
  bool Flush(FileHandle handle) override { return state_.Passes(PlatformCall::Flush) && real_.Flush(handle); }
  void LetReplace(FileHandle handle) override { real_.LetReplace(handle); }
  bool Close(FileHandle handle) override {
    const bool passes = state_.Passes(PlatformCall::Close);
    state_.AddHandles(-1);
    return real_.Close(handle) && passes;
  }

 private:
  FaultState& state_;
  OpenFiles& real_;
};

class FaultCodePage final : public CodePage {
 public:
  FaultCodePage(FaultState& state, CodePage& real) : state_(state), real_(real) {}

  bool Widen(std::string_view narrow, std::u16string* wide) override {
    return state_.Passes(PlatformCall::Widen) && real_.Widen(narrow, wide);
  }
  bool WidenPath(std::string_view narrow, std::u16string* wide) override {
    return state_.Passes(PlatformCall::Widen) && real_.WidenPath(narrow, wide);
  }
  bool Narrow(std::u16string_view wide, std::string* narrow, bool* exact) override {
    return state_.Passes(PlatformCall::Narrow) && real_.Narrow(wide, narrow, exact);
  }

 private:
  FaultState& state_;
  CodePage& real_;
};

class FaultWrittenFiles final : public WrittenFiles {
 public:
  FaultWrittenFiles(FaultState& state, WrittenFiles& real) : state_(state), real_(real) {}

  bool FlushAll() override { return state_.Passes(PlatformCall::FlushAll) && real_.FlushAll(); }

 private:
  FaultState& state_;
  WrittenFiles& real_;
};

template <class Char>
struct FaultWidth {
  FaultWidth(FaultState& state, const PlatformOf<Char>& real)
      : files(state, real.files),
        directories(state, real.directories),
        trees(state, real.trees),
        locations(state, real.locations) {}
  PlatformOf<Char> Of() { return {files, directories, trees, locations}; }

  FaultFiles<Char> files;
  FaultDirectories<Char> directories;
  FaultTrees<Char> trees;
  FaultLocations<Char> locations;
};

}  // namespace

struct FaultPlatform::Parts {
  explicit Parts(const Platform& real)
      : state(real.reasons),
        narrow(state, real.narrow),
        wide(state, real.wide),
        open_files(state, real.open_files),
        code_page(state, real.code_page),
        written(state, real.written),
        platform{narrow.Of(), wide.Of(), open_files, code_page, real.reasons, written} {}

  FaultState state;
  FaultWidth<char> narrow;
  FaultWidth<char16_t> wide;
  FaultOpenFiles open_files;
  FaultCodePage code_page;
  FaultWrittenFiles written;
  Platform platform;
};

FaultPlatform::FaultPlatform(const Platform& real) : parts_(std::make_unique<Parts>(real)) {}
FaultPlatform::~FaultPlatform() = default;

const Platform& FaultPlatform::platform() const { return parts_->platform; }

void FaultPlatform::FailWideCalls(bool fail) {
  parts_->state.Set([=](FaultState& state) { state.fail_wide_ = fail; });
}

void FaultPlatform::FailCall(std::uint64_t n) {
  parts_->state.Set([=](FaultState& state) { state.fail_at_ = n; });
}

void FaultPlatform::FailCall(PlatformCall call, std::uint64_t n) {
  parts_->state.Set([=](FaultState& state) {
    state.failing_call_ = call;
    state.fail_kind_at_ = n;
  });
}

void FaultPlatform::SetFailure(SystemResult result) {
  parts_->state.Set([=](FaultState& state) { state.failure_ = result; });
}

void FaultPlatform::KillAt(std::uint64_t n, std::function<void()> killed) {
  parts_->state.Set([&](FaultState& state) {
    state.kill_at_ = n;
    state.killed_ = std::move(killed);
  });
}

void FaultPlatform::SetDiskSpace(std::uint64_t bytes) {
  parts_->state.Set([=](FaultState& state) { state.space_ = bytes; });
}

void FaultPlatform::SetUnlimitedDiskSpace() { SetDiskSpace(kUnlimited); }

std::uint64_t FaultPlatform::calls() const { return parts_->state.calls(); }
int FaultPlatform::open_handles() const { return parts_->state.open_handles(); }

}  // namespace OrvWorkFlow::Core::System
