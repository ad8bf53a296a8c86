#include "orvflow/StateFile.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "orvflow/DictionaryLoading.h"
#include "orvflow/DictionaryReading.h"
#include "orvflow/HostFiles.h"
#include "orvflow/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kFlowChecksum[] = "/Orvflow/FlowChecksum";
constexpr char kExtension[] = ".state.xml";

// "dir/flow.xml" gives "dir/flow.state.xml".
std::string NameBeside(const std::string& flow) {
  const std::size_t name = flow.find_last_of("/\\") + 1;  // 0 without a separator
  const std::size_t dot = flow.rfind('.');
  const bool has_extension = dot != std::string::npos && dot > name;
  return flow.substr(0, has_extension ? dot : std::string::npos) + kExtension;
}

}  // namespace

StateFile::StateFile(const std::string& flow, const std::string& file)
    : shown_name_(file.empty() ? NameBeside(flow) : file),
      path_(MakeAbsolutePath(shown_name_)),
      lock_(path_ + ".lock") {
  if (path_ == MakeAbsolutePath(flow)) {
    throw ProgramError(ExitCode::Usage, "run: --state " + shown_name_ + ": is the flow file itself; name another");
  }
  if (FindFileKind(path_) == FileKind::Folder) {
    throw ProgramError(ExitCode::Usage, "run: --state " + shown_name_ + ": is a folder; name a file");
  }
  if (lock_.outcome() != FileLock::Outcome::InUse) return;
  const std::string who = lock_.owner().empty() ? "another process" : "process " + lock_.owner();
  throw FileError(
      ExitCode::DictionaryDamaged, shown_name_, "",
      "in use by " + who + ", which runs this workflow; wait for its end, or name another file with --state");
}

bool StateFile::Exists() const { return FindFileKind(path_) != FileKind::Missing; }

void StateFile::Read(IDictionary& dictionary, const std::string& workflow_name) const {
  static constexpr char kAdvice[] = "; put a whole one there, or begin anew with --fresh";
  LoadDictionary(dictionary, path_, shown_name_, kAdvice);
  if (!dictionary.Exists(WorkflowSchema::kWorkNodes)) {
    throw FileError(ExitCode::DictionaryDamaged, shown_name_, "", std::string("is no saved state") + kAdvice);
  }
  const std::string name = TextAt(dictionary, WorkflowSchema::kWorkFlowName);
  if (name != workflow_name) {
    throw FileError(ExitCode::DictionaryDamaged, shown_name_, WorkflowSchema::kWorkFlowName,
                    "the state of \"" + name + "\", not of \"" + workflow_name + "\"" + kAdvice);
  }
}

bool StateFile::Remove() const { return std::remove(path_.c_str()) == 0 || !Exists(); }

// FNV-1a of 64 bits.
std::string ChecksumOfFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::uint64_t checksum = 0xCBF29CE484222325u;
  for (std::istreambuf_iterator<char> byte(file), end; byte != end; ++byte) {
    checksum = (checksum ^ static_cast<unsigned char>(*byte)) * 0x100000001B3u;
  }
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (int shift = 60; shift >= 0; shift -= 4) text.push_back(kDigits[(checksum >> shift) & 0xFu]);
  return text;
}

std::string ReadFlowChecksum(IDictionary& dictionary) { return TextAt(dictionary, kFlowChecksum); }

bool WriteFlowChecksum(IDictionary& dictionary, const std::string& checksum) {
  return dictionary.SetValue(kFlowChecksum, checksum.c_str());
}

}  // namespace OrvWorkFlow::Program
