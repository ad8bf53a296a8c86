#include "FakeFiles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

namespace OrvWorkFlow::DictionaryTesting {

void* FakeFileSystem::QueryInterface(const char* interface_name) {
  const bool answers = std::strcmp(interface_name, InterfaceNames::kFileSystemA) == 0;
  return answers ? static_cast<IFileSystemA*>(this) : nullptr;
}

void FakeFileSystem::Record(const char* what, const char* path) {
  files_.calls.push_back(std::string(what) + " " + path);
  if (files_.throws) throw std::runtime_error("the host's file system");
}

bool FakeFileSystem::FileExists(const char* path) {
  Record("exists", path);
  return files_.files.contains(path);
}

bool FakeFileSystem::ReadFileToStream(const char* path, IOrvBasicStream* stream) {
  Record("read", path);
  const auto file = files_.files.find(path);
  return file != files_.files.end() && stream->Assign(file->second.data(), file->second.size());
}

bool FakeFileSystem::ReplaceFileBytes(const char* path, const void* data, std::size_t size) {
  Record("replace", path);
  if (files_.refuses_to_write) return false;
  files_.files[path].assign(static_cast<const char*>(data), size);
  return true;
}

bool FakeFileSystem::Refuse() {
  ADD_FAILURE() << "the dictionary asked the file system for something else";
  return false;
}

}  // namespace OrvWorkFlow::DictionaryTesting
