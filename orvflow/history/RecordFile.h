// The record that a user names.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "journal/MomentSearch.h"
#include "journal/RecordReader.h"

namespace OrvWorkFlow::Program {

class RecordFile {
 public:
  // Throws ProgramError when there is no such file, or it cannot be read.
  explicit RecordFile(const std::string& file);

  const std::string& path() const { return path_; }
  Journal::RecordReader& reader() { return reader_; }

  // Goes as near as its table allows to what is wanted, before anything is read or taken. `run` is 0 for the last one.
  // The number of that run, or 0 when there is no table that fits: all is to be read.
  unsigned SeekTo(unsigned run, const std::vector<Journal::Moment>& wanted, Journal::MomentSearch& search);
  // All that can be read now.
  void ReadAll(const std::function<void(const Journal::Event&)>& take);
  // Throws ProgramError when there was no reading on, at something else than the record's end.
  void ThrowIfDamaged() const;

 private:
  std::string file_;
  std::string path_;
  Journal::RecordReader reader_;
};

}  // namespace OrvWorkFlow::Program
