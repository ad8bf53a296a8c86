#include "host/files/DictionaryLoading.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <new>
#include <thread>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "host/files/HostFiles.h"

namespace OrvWorkFlow::Host {

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

void TellPlainText(IDictionary& dictionary, const std::string& shown_name, const LineReceiver& tell) {
  if (!tell || !LastLoad(dictionary).plain_under_key) return;
  tell(shown_name + ": is plain text, not enciphered, although a key is given; it is read as it is");
}

// What is accepted and was hardly meant so.
void TellProblems(IDictionary& dictionary, const std::string& shown_name, const LineReceiver& tell) {
  constexpr std::size_t kMostLines = 100;
  const std::vector<std::string> problems = LookAtLoadedText(dictionary).problems;
  for (std::size_t i = 0; i < std::min(problems.size(), kMostLines); ++i) tell(shown_name + ": " + problems[i]);
  if (problems.size() > kMostLines) {
    tell(shown_name + ": and " + std::to_string(problems.size() - kMostLines) + " more of these");
  }
}

}  // namespace

HostError LoadError(IDictionary& dictionary, const std::string& shown_name, const LoadWords& words) {
  std::string text;
  const FileReport report = LastLoad(dictionary, &text);
  using Kind = HostError::Kind;
  const auto error = [&](Kind kind, const std::string& text_of_it) {
    return HostError(kind, shown_name, "", text_of_it);
  };
  switch (report.failure) {
    case FileFailure::InUse:
      return error(Kind::InUse, "in use by another process; try again later");
    case FileFailure::Damaged: {
      std::string place;
      if (report.line > 0) {
        place = "line " + std::to_string(report.line) + ", column " + std::to_string(report.column) + ": ";
      }
      return error(Kind::Damaged, place + text + std::string(words.remedy));
    }
    case FileFailure::NotDeciphered:
      return error(Kind::Damaged, text + "; check " + std::string(words.key) + std::string(words.remedy));
    default:
      return error(Kind::Failed, "cannot be read: " + text + "; the file may be whole");
  }
}

HostError SaveError(IDictionary& dictionary, const std::string& shown_name) {
  std::string text;
  const FileReport report = LastSave(dictionary, &text);
  const bool is_in_use = report.failure == FileFailure::InUse;
  return HostError(is_in_use ? HostError::Kind::InUse : HostError::Kind::Failed, shown_name, "",
                   "cannot be saved: " + text + "; the file is as it was");
}

void LoadDictionary(IDictionary& dictionary, const std::string& file, const std::string& shown_name,
                    const LoadWords& words) {
  const auto fail = [&](const char* text) { throw HostError(HostError::Kind::Failed, shown_name, "", text); };
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
  if (!loaded) throw LoadError(dictionary, shown_name, words);
  TellPlainText(dictionary, shown_name, words.tell);
}

void ReadFlow(IDictionary& dictionary, const std::string& file, const std::string& shown_name, const LoadWords& words) {
  if (FindFileKind(file) == FileKind::Folder) {
    throw HostError(HostError::Kind::Failed, shown_name, "", "is a folder; name the workflow's file in it");
  }
  LoadDictionary(dictionary, file, shown_name, words);
  if (!dictionary.Exists("/")) {
    throw HostError(HostError::Kind::Damaged, shown_name, "", "is no dictionary: its root is not IDictionaryRoot");
  }
  if (words.tell) TellProblems(dictionary, shown_name, words.tell);
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

}  // namespace OrvWorkFlow::Host
