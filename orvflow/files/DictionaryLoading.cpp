#include "orvflow/files/DictionaryLoading.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <new>
#include <thread>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "orvflow/files/HostFiles.h"

namespace OrvWorkFlow::Program {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{2};
constexpr std::chrono::milliseconds kFirstPause{2};
constexpr std::chrono::milliseconds kLongestPause{50};

// Repeats what fails because another has the file. Pauses differ from process to process and grow: several that want
// the same file come apart.
template <class Attempt, class IsInUse>
bool WithPatience(const Attempt& attempt, const IsInUse& is_in_use) {
  const Clock::time_point end = Clock::now() + kPatience;
  Clock::duration pause = kFirstPause;
  for (;;) {
    if (attempt()) return true;
    if (!is_in_use() || Clock::now() >= end) return false;
    std::this_thread::sleep_for(pause + std::chrono::microseconds(Clock::now().time_since_epoch().count() % 2000));
    pause = std::min<Clock::duration>(pause * 2, kLongestPause);
  }
}

FileReport LastLoad(IDictionary& dictionary, std::string* text = nullptr) {
  FileReport report;
  const Sdk::TextHolder words;
  if (!dictionary.GetLoadReport(&report, words.get())) throw std::bad_alloc();
  if (text != nullptr) *text = words.Text();
  return report;
}

FileReport LastSave(IDictionary& dictionary, std::string* text = nullptr) {
  FileReport report;
  const Sdk::TextHolder words;
  if (!dictionary.GetSaveReport(&report, words.get())) throw std::bad_alloc();
  if (text != nullptr) *text = words.Text();
  return report;
}

void TellPlainText(IDictionary& dictionary, const std::string& shown_name) {
  if (!LastLoad(dictionary).plain_under_key) return;
  PrintErrorLine(shown_name + ": is plain text, not enciphered, although a key is given; it is read as it is");
}

}  // namespace

ProgramError LoadError(IDictionary& dictionary, const std::string& shown_name, std::string_view remedy) {
  std::string text;
  const FileReport report = LastLoad(dictionary, &text);
  const auto error = [&](ExitCode code, const std::string& line) { return FileError(code, shown_name, "", line); };
  switch (report.failure) {
    case FileFailure::InUse:
      return error(ExitCode::InUse, "in use by another process; try again later");
    case FileFailure::Damaged: {
      std::string place;
      if (report.line > 0) {
        place = "line " + std::to_string(report.line) + ", column " + std::to_string(report.column) + ": ";
      }
      return error(ExitCode::DictionaryDamaged, place + text + std::string(remedy));
    }
    case FileFailure::NotDeciphered:
      return error(ExitCode::DictionaryDamaged, text + "; check --key-file" + std::string(remedy));
    default:
      return error(ExitCode::Failed, "cannot be read: " + text + "; the file may be whole");
  }
}

ProgramError SaveError(IDictionary& dictionary, const std::string& shown_name) {
  std::string text;
  const FileReport report = LastSave(dictionary, &text);
  const bool is_in_use = report.failure == FileFailure::InUse;
  return FileError(is_in_use ? ExitCode::InUse : ExitCode::Failed, shown_name, "",
                   "cannot be saved: " + text + "; the file is as it was");
}

void LoadDictionary(IDictionary& dictionary, const std::string& file, const std::string& shown_name,
                    std::string_view remedy) {
  const auto fail = [&](const char* text) { throw FileError(ExitCode::Failed, shown_name, "", text); };
  switch (FindFileKind(file)) {
    case FileKind::Missing:
      fail("no such file");
      break;
    case FileKind::Folder:
      fail("is a folder, not a file");
      break;
    case FileKind::Unreadable:
    case FileKind::Readable:
      break;
  }
  const bool loaded = WithPatience([&] { return dictionary.LoadFile(file.c_str()); },
                                   [&] { return LastLoad(dictionary).failure == FileFailure::InUse; });
  if (!loaded) throw LoadError(dictionary, shown_name, remedy);
  TellPlainText(dictionary, shown_name);
}

void LoadDictionaryText(IDictionary& dictionary, std::string_view text, const std::string& shown_name) {
  if (!dictionary.LoadFromText(text.data(), text.size())) throw LoadError(dictionary, shown_name);
}

void SaveDictionary(IDictionary& dictionary, const std::string& file, const std::string& shown_name) {
  const bool saved = WithPatience([&] { return dictionary.SaveFile(file.c_str()); },
                                  [&] { return LastSave(dictionary).failure == FileFailure::InUse; });
  if (!saved) throw SaveError(dictionary, shown_name);
}

LoadedText LookAtLoadedText(IDictionary& dictionary) {
  LoadedText text;
  const Sdk::TextListHolder problems;
  std::uint32_t remarks = 0;
  std::uint32_t line = 0;
  if (!dictionary.GetLoadProblems(problems.get(), &remarks, &line)) throw std::bad_alloc();
  text.problems = problems.Texts();
  text.remarks = remarks;
  text.first_remark_line = line;
  return text;
}

}  // namespace OrvWorkFlow::Program
