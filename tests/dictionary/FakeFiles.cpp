#include "FakeFiles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {

void* FakeFileSystem::QueryInterface(const char* interface_name) {
  const bool answers = std::strcmp(interface_name, InterfaceNames::kFileSystemA) == 0;
  return answers ? static_cast<IFileSystemA*>(this) : nullptr;
}

void FakeFileSystem::Record(const std::string& call) {
  files_.calls.push_back(call);
  if (files_.before) files_.before(call);
  if (files_.throws || call == files_.throws_at) throw std::runtime_error("the host's file system");
}

bool FakeFileSystem::FileExists(const char* path) {
  Record("exists " + std::string(path));
  return files_.has_every_file || files_.files.contains(path);
}

bool FakeFileSystem::ReadFileToStream(const char* path, IOrvBasicStream* stream) {
  Record("read " + std::string(path));
  const auto file = files_.files.find(path);
  return file != files_.files.end() && stream->Assign(file->second.data(), file->second.size());
}

bool FakeFileSystem::CopyOneFile(const char* source, const char* destination, bool overwrite) {
  Record("copy " + std::string(source) + " to " + destination);
  if (files_.refuses_to_copy) return false;
  const auto file = files_.files.find(source);
  const bool is_taken = files_.files.contains(destination) || files_.directories.contains(destination);
  if (file == files_.files.end() || (is_taken && !overwrite)) return false;
  files_.files[destination] = std::string(file->second);
  return true;
}

bool FakeFileSystem::WriteFileBytes(const char* path, const void* data, std::size_t size) {
  Record("write " + std::string(path));
  files_.files[path].assign(static_cast<const char*>(data), size);
  return true;
}

bool FakeFileSystem::RemoveFile(const char* path) {
  Record("remove " + std::string(path));
  files_.files.erase(path);
  return true;
}

bool FakeFileSystem::ReplaceFileBytes(const char* path, const void* data, std::size_t size) {
  Record("replace " + std::string(path));
  if (files_.refuses_to_write) return false;
  files_.files[path].assign(static_cast<const char*>(data), size);
  return true;
}

bool FakeFileSystem::GetLastFailure(IOrvPString* /*operation*/, IOrvPString* /*path*/, IOrvPString* reason) {
  return !files_.reason.empty() && AssignText(reason, files_.reason);
}

bool FakeFileSystem::Refuse() {
  ADD_FAILURE() << "the dictionary asked the file system for something else";
  return false;
}

}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
