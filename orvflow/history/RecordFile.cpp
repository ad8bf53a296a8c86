#include "orvflow/history/RecordFile.h"

#include <filesystem>
#include <system_error>

#include "host/files/HostFiles.h"
#include "journal/SeekTable.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

std::string PathOf(const std::string& file) {
  std::string path = Host::MakeAbsolutePath(file);
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (std::filesystem::is_other(status)) {  // A device may have no end, and a pipe nothing to read.
    throw FileError(ExitCode::Failed, file, "", "a device or a pipe, not a record");
  }
  const Host::FileLook look = Host::LookAtFile(path);
  if (look.kind == Host::FileKind::Missing) throw FileError(ExitCode::Failed, file, "", "no such file");
  if (look.kind == Host::FileKind::Folder) throw FileError(ExitCode::Failed, file, "", "a folder, not a record");
  if (look.kind == Host::FileKind::Unreadable) {
    throw FileError(ExitCode::Failed, file, "", "cannot be read: " + look.reason);
  }
  return path;
}

}  // namespace

RecordFile::RecordFile(const std::string& file) : file_(file), path_(PathOf(file)), reader_(path_) {}

unsigned RecordFile::SeekTo(unsigned run, const std::vector<Journal::Moment>& wanted, Journal::MomentSearch& search) {
  return Journal::SeekTo(path_, run, wanted, reader_, search);
}

void RecordFile::ReadAll(const std::function<void(const Journal::Event&)>& take) {
  Journal::Event event;
  while (reader_.Next(&event)) take(event);
}

void RecordFile::ThrowIfDamaged() const {
  using State = Journal::RecordReader::State;
  if (reader_.state() == State::AtEnd || reader_.state() == State::Reading) return;
  throw FileError(ExitCode::DictionaryDamaged, file_, "", reader_.problem());
}

}  // namespace OrvWorkFlow::Program
