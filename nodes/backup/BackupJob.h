// What the backup nodes share: one record in the workflow's dictionary, so that it is saved with the workflow and goes
// on where it stopped.
//
//   /Jobs/<job>/SourceFolder  str   the folder to back up            } set by the workflow's author;
//   /Jobs/<job>/TargetFolder  str   where the copies go              } workflow paths or platform paths
//   /Jobs/<job>/ReportFile    str   the report's file                }
//   /Jobs/<job>/FileCount     int   how many files were collected
//   /Jobs/<job>/Next          int   number of the file that the copier takes next
//   /Jobs/<job>/Current       int   number of the file in work
//   /Jobs/<job>/Files/File<n>/Path      str   relative to both folders, with "/"
//   /Jobs/<job>/Files/File<n>/State     str   "collected", "copied", "verified" or "failed"
//   /Jobs/<job>/Files/File<n>/Checksum  str   of the verified copy, CRC-32 as eight hexadecimal digits
//   /Jobs/<job>/Files/File<n>/Problem   str   why it failed
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Nodes {

// A write that the dictionary refuses throws std::runtime_error. What is missing reads as "" and 0.
class BackupJob {
 public:
  struct File {
    std::string path;
    std::string state;
    std::string checksum;
    std::string problem;
  };

  static constexpr char kCollected[] = "collected";
  static constexpr char kCopied[] = "copied";
  static constexpr char kVerified[] = "verified";
  static constexpr char kFailed[] = "failed";

  // The dictionary must outlive the object.
  BackupJob(IDictionary& dictionary, std::string_view name);

  bool Exists() const;
  // Without separators at the end.
  std::string SourceFolder() const;
  std::string TargetFolder() const;
  std::string ReportFile() const;
  // Places of a file on both sides.
  std::string SourceOf(std::string_view path) const { return SourceFolder().append("/").append(path); }
  std::string CopyOf(std::string_view path) const { return TargetFolder().append("/").append(path); }

  // Forgets the files of an earlier run.
  void RemoveFiles();
  void AddFile(std::string_view path);
  // A file that can be no part of the work.
  void AddFailed(std::string_view path, const std::string& problem);
  std::int32_t FileCount() const;
  File ReadFile(std::int32_t number) const;
  // Of the first file that has one, "a.txt: why"; "" when there is none.
  std::string FirstProblem() const;

  // Makes the next file the current one and answers its number; nothing when all were taken.
  std::optional<std::int32_t> TakeNext();
  std::int32_t Current() const;
  void SetState(std::int32_t number, const char* state);
  void SetChecksum(std::int32_t number, const char* checksum);
  void SetProblem(std::int32_t number, const char* problem);

 private:
  std::string FileEntry(std::int32_t number, const char* property) const;
  std::string ReadText(const std::string& path) const;
  std::string ReadFolder(const char* entry) const;
  std::int32_t ReadNumber(const char* entry) const;
  void WriteText(const std::string& path, const char* value);
  void WriteNumber(const char* entry, std::int32_t value);

  IDictionary& dictionary_;
  std::string root_;
};

}  // namespace OrvWorkFlow::Nodes
