// Whole files: making, reading, writing, replacing. Platform paths.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "OrvWorkFlow/Marshaller.h"
#include "filesystem/ErrorHook.h"
#include "filesystem/OpenedFile.h"
#include "filesystem/SystemCalls.h"

namespace OrvWorkFlow::Core::FileSystem {

// Each names its failures to the hook. Any thread.
template <class Char>
class FileContent {
 public:
  using Text = std::basic_string<Char>;

  FileContent(const SystemCalls<Char>& calls, ErrorHook& hook) : calls_(calls), hook_(hook) {}

  // Something has that name and is no directory.
  bool Exists(const Text& path) const;
  // Creates the directory and every missing parent; true when it is there already.
  bool MakeDirectory(const Text& path) const;
  // Creates an empty file, and its directory, if it is missing.
  bool Make(const Text& path) const;
  bool GetSize(const Text& path, std::uint64_t* size) const;
  bool Remove(const Text& path) const;

  // False for a file of 4 GiB and more. `*content` is untouched on failure.
  bool Read(const Text& path, std::string* content) const;
  // The same into a stream, without a copy if it is empty and has room to give.
  bool Read(const Text& path, IOrvBasicStream* content) const;
  // `count` bytes from `first` on, as far as the file reaches, which may be of any size.
  bool ReadRange(const Text& path, std::uint64_t first, std::uint64_t count, IOrvBasicStream* content) const;
  // A failure may leave the file half written, though not longer than it was.
  bool Write(const Text& path, std::string_view content) const;
  // A failure leaves the file as long as it was.
  bool Append(const Text& path, std::string_view content) const;
  // The file holds the old content or the new one at every moment: the new content is written to a file beside it,
  // which then takes its name. Only where the directory takes no new files, the file is written itself, and a failure
  // puts the old content back.
  bool Replace(const Text& path, std::string_view content) const;
  // Gives a file what `change` makes of its content, as Replace does; `change` answers false when that cannot be.
  // Nobody else changes the file meanwhile.
  bool Edit(const Text& path, const std::function<bool(std::string&)>& change) const;

 private:
  enum class Position { Start, End };

  bool OpenForWriting(const Text& path, System::FileHandle* handle) const;
  bool OpenForReading(const Text& path, OpenedFile& file, std::uint64_t* size) const;
  bool OpenWhole(const Text& path, OpenedFile& file, std::uint64_t* size) const;
  bool ReadHere(System::FileHandle handle, std::uint64_t count, IOrvBasicStream* content) const;
  // Takes back what an append has written whose file could not be closed properly.
  void CutBack(const Text& path, std::uint64_t size) const;
  bool WriteAt(Position position, const Text& path, std::string_view content) const;
  bool WriteOver(const Text& path, std::string_view content) const;
  bool ReadWhole(System::FileHandle handle, std::uint64_t size, std::string* content) const;
  bool WriteHeld(System::FileHandle handle, std::string_view content) const;
  bool MakeParent(const Text& path) const;
  System::SystemResult WriteBeside(const Text& target, bool exists, std::string_view content,
                                   System::FileHandle held) const;

  bool FailFor(const Failure& failure, System::Reason reason) const;

  System::Reasons& reasons() const { return calls_.platform().reasons; }
  System::OpenFiles& open_files() const { return calls_.platform().open_files; }

  const SystemCalls<Char>& calls_;
  ErrorHook& hook_;
};

}  // namespace OrvWorkFlow::Core::FileSystem
