// The record that a user names.
#pragma once

#include <functional>
#include <string>

#include "journal/RecordReader.h"

namespace OrvWorkFlow::Program {

class RecordFile {
 public:
  // Throws ProgramError when there is no such file, or it cannot be read.
  explicit RecordFile(const std::string& file);

  const std::string& path() const { return path_; }
  Journal::RecordReader& reader() { return reader_; }

  // All that can be read now.
  void ReadAll(const std::function<void(const Journal::Event&)>& take);
  // Throws ProgramError when the reading ended at something else than the record's end.
  void ThrowIfDamaged() const;

 private:
  std::string file_;
  std::string path_;
  Journal::RecordReader reader_;
};

}  // namespace OrvWorkFlow::Program
