#include "orvflow/files/KeyFile.h"

#include <cstdio>
#include <memory>
#include <string_view>

#include "host/files/HostFiles.h"
#include "orvflow/files/SecretMemory.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::string_view WithoutLineBreak(std::string_view text) {
  if (text.ends_with('\n')) {
    text.remove_suffix(1);
    if (text.ends_with('\r')) text.remove_suffix(1);
  }
  return text;
}

ProgramError KeyError(const std::string& path, const std::string& text) {
  return FileError(ExitCode::Failed, path, "", text);
}

}  // namespace

void AddKeyFileOption(CLI::App& command, std::string& path) {
  command
      .add_option("--key-file", path,
                  "Takes the key from a file: its content without one final line break, at most " +
                      std::to_string(kMaxKeyLength) +
                      " bytes. The cipher hides texts from a glance, and does not protect them")
      ->type_name("F");
}

KeyFile::KeyFile(const std::string& path) {
  const Host::FileKind kind = Host::FindFileKind(path);
  if (kind == Host::FileKind::Missing) throw KeyError(path, "no such file; --key-file needs one that holds the key");
  if (kind == Host::FileKind::Folder) throw KeyError(path, "is a folder; --key-file needs a file that holds the key");
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(Host::MakeAbsolutePath(path).c_str(), "rb"));
  if (file == nullptr) throw KeyError(path, "the key file cannot be read");
  std::setvbuf(file.get(), nullptr, _IONBF, 0);  // No second copy of the key.
  const std::size_t size = std::fread(key_.data(), 1, key_.size() - 1, file.get());
  const std::string_view key = WithoutLineBreak({key_.data(), size});
  std::string fault;
  if (std::ferror(file.get()) != 0) {
    fault = "the key file cannot be read";
  } else if (key.size() > kMaxKeyLength) {
    fault = "the key is longer than " + std::to_string(kMaxKeyLength) + " bytes";
  } else if (key.empty()) {
    fault = "the key file holds no key";
  } else if (key.find('\0') != std::string_view::npos) {
    fault = "the key holds a zero byte";
  }
  if (!fault.empty()) {
    Wipe();  // The destructor does not run.
    throw KeyError(path, fault);
  }
  key_[key.size()] = '\0';
}

void KeyFile::Wipe() { Base::Wipe(key_.data(), key_.size()); }

}  // namespace OrvWorkFlow::Program
