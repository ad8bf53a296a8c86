#include "orvflow/run/FlowSource.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

#include "host/files/HostFiles.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/terminal/Terminal.h"
#include "orvflow/watch/StatusServer.h"

namespace OrvWorkFlow::Program {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

[[noreturn]] void Fail(const std::string& reason) {
  throw FileError(ExitCode::Failed, kStandardInputName, "",
                  "cannot be copied to the folder of temporary files: " + reason);
}

// False when not all of it is in the file.
bool Write(const std::string& file, const std::string& text) {
  std::unique_ptr<std::FILE, FileCloser> stream(std::fopen(file.c_str(), "wb"));
  if (stream == nullptr || std::fwrite(text.data(), 1, text.size(), stream.get()) != text.size()) return false;
  return std::fclose(stream.release()) == 0;
}

}  // namespace

bool IsStandardStream(const std::string& name) { return name == "-"; }

// The engine and the nodes read files only.
FlowSource::FlowSource(const std::string& name)
    : shown_name_(IsStandardStream(name) ? kStandardInputName : name),
      path_(Host::MakeAbsolutePath(name)),
      file_(path_) {
  if (!IsStandardStream(name)) return;
  const std::string text = ReadStandardInput();
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
  if (error) Fail(error.message());
  file_ = Host::MakeAbsolutePath((folder / ("orvflow-" + NumberOfThisProcess() + ".xml")).string());
  const std::string reason = Host::MakePrivateFile(file_);
  if (!reason.empty()) Fail(reason);
  is_copy_ = true;
  if (Write(file_, text)) return;
  Forget();  // The destructor does not run.
  Fail("not all of it could be written; is the disk full?");
}

void FlowSource::Forget() noexcept {
  if (is_copy_) std::remove(file_.c_str());
  is_copy_ = false;
}

}  // namespace OrvWorkFlow::Program
