// Dictionary files read and written as documents: their text stays, comments and all.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "OrvWorkFlow/IEncryption.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "orvflow/document/Document.h"
#include "orvflow/files/KeyFile.h"

namespace OrvWorkFlow::Program {

// What was read from a file. Its text is not enciphered.
struct DocumentSource {
  std::string text;
  Document document;
  bool is_enciphered = false;
};

// Loads the library and has it for as long as it lives.
class DocumentFiles {
 public:
  // `key_file` may be "". Throws ProgramError for a key that cannot be had.
  explicit DocumentFiles(const std::string& key_file);
  DocumentFiles(const DocumentFiles&) = delete;
  DocumentFiles& operator=(const DocumentFiles&) = delete;
  ~DocumentFiles();

  // Reads a file, or standard input for "-". The library reads it first: what it refuses is refused in its words, and
  // what is doubtful becomes a line on standard error. Throws ProgramError and HostError.
  DocumentSource Read(const std::string& file, const std::string& shown_name) const;
  // The same for a file that may be empty or no file at all, like git's for what did not exist: an empty dictionary.
  DocumentSource ReadOrNothing(const std::string& file, const std::string& shown_name) const;

  // Replaces the file as a whole, enciphered if `is_enciphered`; "-" is standard output. Throws ProgramError: the file
  // is as it was.
  void Write(const std::string& file, const std::string& text, bool is_enciphered) const;

  // Whether the library finds the same in both texts: entries, types, values, attributes, the order of entries.
  bool HoldSame(const std::string& one, const std::string& other) const;

 private:
  std::string ReadBytes(const std::string& file, const std::string& shown_name) const;
  Host::WorkflowHost::OwnedDictionary MakeDictionary() const;

  std::optional<KeyFile> key_;
  std::unique_ptr<Host::WorkflowHost> host_;
  std::unique_ptr<IBaseWorkFlowObject, Host::ObjectReleaser> encryption_object_;
  IEncryption* encryption_ = nullptr;
  IFileSystemA* files_ = nullptr;
};

}  // namespace OrvWorkFlow::Program
