// The rows that could not be taken, in a CSV file of their own: the line in which each begins, why, and the row as it
// stands. It is made with the first of them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "nodes/files/CsvParser.h"
#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes {

class RejectFile {
 public:
  // `name` "" refuses each row: Add throws. `begin` is how many bytes of the file count; what is behind them goes.
  RejectFile(IFileSystemA& file_system, std::string name, std::uint64_t begin);

  void Add(const CsvRow& row, const std::string& problem);
  // How long the file is, on the disk.
  std::uint64_t Flush();

 private:
  void Open();

  IFileSystemA& file_system_;
  std::string name_;
  std::uint64_t size_;
  std::unique_ptr<LocalFile> file_;
};

}  // namespace OrvWorkFlow::Nodes
