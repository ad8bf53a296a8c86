#include "nodes/files/RejectFile.h"

#include <stdexcept>
#include <utility>

namespace OrvWorkFlow::Nodes {

RejectFile::RejectFile(IFileSystemA& file_system, std::string name, std::uint64_t begin)
    : file_system_(file_system), name_(std::move(name)), size_(begin) {
  if (name_.empty()) return;
  const std::filesystem::path path = LocalPath(file_system_, name_);
  if (begin == 0) {
    std::error_code error;
    std::filesystem::remove(path, error);
    if (error) throw FileProblem("cannot write " + name_ + ": " + ReasonOf(error));
  } else {
    Open();
  }
}

void RejectFile::Open() {
  const std::filesystem::path path = LocalPath(file_system_, name_);
  MakeFolderOf(path, name_);
  file_ = std::make_unique<LocalFile>(path, LocalFile::Mode::Write, name_);
  if (file_->Size() < size_) throw FileProblem(name_ + " became shorter: it does not hold the rows set aside before");
  file_->CutAt(size_);
}

void RejectFile::Add(const CsvRow& row, const std::string& problem) {
  if (name_.empty()) {
    throw std::runtime_error("line " + std::to_string(row.line) + ": " + problem + " (Rejects sets such rows aside)");
  }
  if (file_ == nullptr) Open();
  const std::string line = CsvLine({std::to_string(row.line), problem, row.text}, ',');
  file_->Write(line.data(), line.size());
  size_ += line.size();
}

std::uint64_t RejectFile::Flush() {
  if (file_ != nullptr) file_->Flush();
  return size_;
}

}  // namespace OrvWorkFlow::Nodes
