// A file that grows at its end, and whose last part is memory: what was written there is in the file however the
// process ends, without a call of the system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace OrvWorkFlow::Journal {

// One thread at a time. Other processes may read the file meanwhile; none may grow it.
class GrowingFile {
 public:
  // Bytes that are memory at a time; a run on a 32-bit system has no address space to give away.
  static constexpr std::size_t kWindow = std::size_t{1} << 20;
  // At the beginning of a file, for a run that writes little: the system fills as much of a large window as it sees fit
  // when its first byte is touched (start_bench).
  static constexpr std::size_t kFirstWindow = std::size_t{64} << 10;

  enum class Outcome {
    Open,
    InUse,    // another process grows it
    Refused,  // by the system
  };

  // Makes the file when it is not there, for its owner alone to read. `path` is what MakeAbsolutePath gave.
  explicit GrowingFile(const std::string& path);
  GrowingFile(const GrowingFile&) = delete;
  GrowingFile& operator=(const GrowingFile&) = delete;
  ~GrowingFile();

  Outcome outcome() const { return outcome_; }
  // The system's, of the last operation that failed.
  const std::string& reason() const { return reason_; }

  // False with a reason when the system refuses. Not while a part of the file is memory.
  bool GetSize(std::uint64_t* size);
  bool CutAt(std::uint64_t size);

  // The bytes from `offset` on as memory, `*room` of them, at least kFirstWindow; what was memory before is no longer.
  // The file is made as long as that, with zeros, and the disk has room for it. Null with a reason when it has not.
  unsigned char* Map(std::uint64_t offset, std::size_t* room);
  void Unmap();

  // Returns when the disk has all that was in the file before the call, what is memory included; then that survives the
  // machine, too. False with the system's reason. Any thread, also while another one uses the file otherwise; not while
  // it is removed. An attempt that failed is not to be repeated: what it did not write may count as written since.
  bool Sync(std::string* reason);
  // Has the disk keep `size` bytes free behind what is memory, for the next Map. False when it has no more room; true
  // where that cannot be told. One thread at a time, which may be another than the one that uses the file otherwise.
  bool KeepRoom(std::uint64_t size);

  // Removes the file, as far as the system lets it; it is no longer to be used.
  void Remove();

 private:
  struct System;  // What the platform keeps.

  const std::string path_;
  std::unique_ptr<System> system_;
  Outcome outcome_ = Outcome::Refused;
  std::string reason_;
};

// How much of the file is made memory when what follows begins at `offset`.
constexpr std::size_t WindowAt(std::uint64_t offset) {
  return offset == 0 ? GrowingFile::kFirstWindow : GrowingFile::kWindow;
}

// Whether a process grows the file now. False for one that is not there or cannot be looked at.
bool IsGrowing(const std::string& path);

}  // namespace OrvWorkFlow::Journal
