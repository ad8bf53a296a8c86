// Where a run reads its flow from: the file that the user names, or standard input.
#pragma once

#include <string>

namespace OrvWorkFlow::Program {

// "-" as the name of a file.
bool IsStandardStream(const std::string& name);
inline constexpr char kStandardInputName[] = "standard input";

class FlowSource {
 public:
  // `name` as the user gave it. Standard input is read to its end, into a file that nobody else can read and that is
  // there as long as this object, or until Forget. Throws ProgramError.
  explicit FlowSource(const std::string& name);
  FlowSource(const FlowSource&) = delete;
  FlowSource& operator=(const FlowSource&) = delete;
  ~FlowSource() { Forget(); }

  // What messages call it.
  const std::string& shown_name() const { return shown_name_; }
  // What the workflow's definition is called, from the root of the host's file system. Standard input stands in the
  // current folder, so relative paths and the workflow's own folder are that one.
  const std::string& path() const { return path_; }
  // Where its text is, from there too.
  const std::string& file() const { return file_; }

  // The text was read for the last time.
  void Forget() noexcept;

 private:
  std::string shown_name_;
  std::string path_;
  std::string file_;
  bool is_copy_ = false;
};

}  // namespace OrvWorkFlow::Program
