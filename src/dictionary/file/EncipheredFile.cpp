#include "dictionary/file/EncipheredFile.h"

#include <optional>
#include <string>
#include <vector>

#include "CoreObjects/Marshalled.h"
#include "base/lock/Mutex.h"
#include "base/text/Base64.h"
#include "dictionary/file/LoadedBytes.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

constexpr std::size_t kCipherBlock = 16;

// The copy of a file that is being loaded.
class TemporaryCopy {
 public:
  explicit TemporaryCopy(IFileSystemA& file_system) : file_system_(file_system) {}
  TemporaryCopy(const TemporaryCopy&) = delete;
  TemporaryCopy& operator=(const TemporaryCopy&) = delete;
  ~TemporaryCopy() {
    if (path_.empty()) return;
    try {
      Overwrite();
    } catch (...) {  // Removed all the same.
    }
    // Twice: a file that cannot be looked at for a moment counts as missing, and removing what is missing succeeds.
    for (int attempt = 0; attempt < 2; ++attempt) {
      try {
        file_system_.RemoveFile(path_.c_str());
      } catch (...) {  // There is nobody to tell.
      }
    }
  }

  const std::string& path() const { return path_; }

  // Never takes a name that is in use, not even one that another process takes at the same moment.
  bool Make(const char* source) {
    std::string name;
    for (int number = 0; number < kMostNames; ++number) {
      name = "$TEMP/tmpdic" + std::to_string(number);
      if (IsTaken(name)) continue;
      path_.reserve(name.size());  // No failure may come between the copy and its path.
      if (file_system_.CopyOneFile(source, name.c_str(), false)) {
        path_ = name;
        return true;
      }
      if (!IsTaken(name)) return false;
    }
    return false;
  }

 private:
  // Files that a crash left behind occupy names.
  static constexpr int kMostNames = 100'000;

  bool IsTaken(const std::string& name) {
    return file_system_.FileExists(name.c_str()) || file_system_.DirectoryExists(name.c_str());
  }
  void Overwrite() {
    const std::vector<char> zeros(file_system_.FileSize(path_.c_str()));
    file_system_.WriteFileBytes(path_.c_str(), zeros.data(), zeros.size());
  }

  IFileSystemA& file_system_;
  std::string path_;
};

// Takes the deciphered text where it stays. Belongs to whoever made it.
class PlainText final : public IOrvPString {
 public:
  virtual ~PlainText() = default;
  bool Assign(const char* text, std::size_t length) noexcept override {
    try {
      text_.Assign({text, length});
      return true;
    } catch (...) {
      return false;
    }
  }
  const char* GetText() const noexcept override { return text_.c_str(); }
  std::size_t GetLength() const noexcept override { return text_.view().size(); }
  void Release() noexcept override {}

 private:
  Base::SecretText text_;
};

// As ReadPlainFile. False also when there was no copy to read.
bool ReadCopy(IFileSystemA& file_system, const char* path, FileText& content) {
  TemporaryCopy copy(file_system);
  FileOutcome unused;
  return copy.Make(path) && ReadPlainFile(file_system, copy.path().c_str(), content, unused);
}

}  // namespace

bool IsEnciphered(std::string_view content) {
  const std::optional<std::size_t> size = Base::CleanBase64Size(content);
  return size.has_value() && *size > 0 && *size % kCipherBlock == 0;
}

bool IsBrokenEnciphered(std::string_view content) {
  constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=\r\n";
  const std::string_view beginning = content.substr(0, 2 * kCipherBlock);
  return beginning.size() == 2 * kCipherBlock && beginning.find_first_not_of(kAlphabet) == std::string_view::npos;
}

void EncryptionKey::Set(const char* key) noexcept {
  const Base::Hold lock(mutex_);
  is_lost_ = false;
  try {
    key_.Assign(key == nullptr ? "" : key);
  } catch (...) {
    is_lost_ = true;
  }
}

bool EncryptionKey::Copy(Base::SecretText& key) {
  const Base::Hold lock(mutex_);
  key.Assign(key_.view());
  return !is_lost_;
}

bool ReadPlainFile(IFileSystemA& file_system, const char* path, FileText& content, FileOutcome& outcome) {
  const auto bytes = std::make_shared<LoadedBytes>();
  if (!file_system.ReadFileToStream(path, bytes.get())) {
    if (bytes->lacks_memory()) return outcome.Fail(FileFailure::NoMemory);
    return outcome.FailFor(bytes->is_opened() ? FileFailure::CannotRead : FileFailure::CannotOpen, file_system);
  }
  content = {bytes, bytes->view()};
  return true;
}

bool ReadEncipheredFile(IFileSystemA& file_system, IEncryption& encryption, const char* path,
                        const Base::SecretText& key, FileText& content, FileOutcome& outcome) {
  if (!ReadCopy(file_system, path, content) && !ReadPlainFile(file_system, path, content, outcome)) return false;
  outcome.report.plain_under_key = !IsEnciphered(content.text);
  if (outcome.report.plain_under_key) return true;
  const auto plain = std::make_shared<PlainText>();
  const std::string enciphered(content.text);  // With a terminator.
  if (encryption.DecryptString(enciphered.c_str(), key.c_str(), plain.get())) {
    content = {plain, {plain->GetText(), plain->GetLength()}};
  } else if (key.view().size() <= kMaxKeyLength) {
    return outcome.Fail(FileFailure::NoMemory);  // There is no other reason for this key and this text.
  }
  return true;
}

bool ReplaceFile(IFileSystemA& file_system, const char* path, std::string_view bytes, FileOutcome& outcome) {
  if (file_system.ReplaceFileBytes(path, bytes.data(), bytes.size())) return true;
  return outcome.FailFor(FileFailure::CannotWrite, file_system);
}

bool WriteEncipheredFile(IFileSystemA& file_system, IEncryption& encryption, const char* path,
                         const Base::SecretText& key, SecretBuffer& text, FileOutcome& outcome) {
  const Marshalled<IOrvPString> enciphered;
  if (!enciphered) return outcome.Fail(FileFailure::NoMemory);
  if ((*text).view().find('\0') != std::string_view::npos) {
    return outcome.Fail(FileFailure::NotEnciphered, "a text with a zero byte cannot be enciphered");
  }
  (*text).Append('\0', 1);
  if (!encryption.EncryptString((*text).view().data(), key.c_str(), enciphered.get())) {
    return outcome.Fail(FileFailure::NotEnciphered,
                        key.view().size() > kMaxKeyLength ? "the key is too long" : std::string_view());
  }
  return ReplaceFile(file_system, path, {enciphered.get()->GetText(), enciphered.get()->GetLength()}, outcome);
}

}  // namespace OrvWorkFlow::Core::Dictionary
