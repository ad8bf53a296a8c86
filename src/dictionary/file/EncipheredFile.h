// Files of a dictionary that has an encryption key: enciphered by the object "Encryption", in its text form.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "OrvWorkFlow/IEncryption.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "base/lock/Mutex.h"
#include "base/secret/Secret.h"
#include "dictionary/file/FileRecord.h"
#include "dictionary/xml/TextBuffer.h"

namespace OrvWorkFlow::Core::Dictionary {

// A dictionary's key. Any thread.
class EncryptionKey {
 public:
  // Null empties the key. A key for which there is no memory is lost: see Copy.
  void Set(const char* key) noexcept;
  // The key; empty when there is none. False when it was lost: nothing may be saved as plain text then. Throws
  // std::bad_alloc.
  bool Copy(Base::SecretText& key);

 private:
  Base::Mutex mutex_;
  Base::SecretText key_ ORV_GUARDED_BY(mutex_);
  bool is_lost_ ORV_GUARDED_BY(mutex_) = false;
};

// What a file holds. `owner` keeps the text alive, and wipes what was deciphered in the end.
struct FileText {
  std::shared_ptr<const void> owner;
  std::string_view text;
};

// Keeps a text that is to be enciphered from staying in memory: it is wiped in the end, and whenever it grows.
class SecretBuffer {
 public:
  SecretBuffer() { text_.MakeSecret(); }
  SecretBuffer(const SecretBuffer&) = delete;
  SecretBuffer& operator=(const SecretBuffer&) = delete;
  ~SecretBuffer() { text_.Wipe(); }

  TextBuffer& operator*() { return text_; }

 private:
  TextBuffer text_;
};

// Reads a file as it is. False when it cannot be read; the outcome says why. Throws std::bad_alloc and what the file
// system throws.
bool ReadPlainFile(IFileSystemA& file_system, const char* path, FileText& content, FileOutcome& outcome);

// Whether a file's content is the text form of something enciphered.
bool IsEnciphered(std::string_view content);
// The same for one that was cut off, or has something in it that does not belong there.
bool IsBrokenEnciphered(std::string_view content);

// Reads a file through a copy of its own, "$TEMP/tmpdicN" with the first number that is free, and deciphers it. Where
// no copy can be made or read, the file itself is read. A file that is no enciphered text is taken as it is, so a plain
// dictionary loads although a key is set; the outcome says so. What the copy holds is overwritten, and the copy
// removed, in any case. The plain text is in memory only. False when the file cannot be read; the outcome says why.
// Throws std::bad_alloc and what the objects throw.
bool ReadEncipheredFile(IFileSystemA& file_system, IEncryption& encryption, const char* path,
                        const Base::SecretText& key, FileText& content, FileOutcome& outcome);

// Replaces the file's content by the bytes. False, and the old file stands, when that fails; the outcome says why.
bool ReplaceFile(IFileSystemA& file_system, const char* path, std::string_view bytes, FileOutcome& outcome);

// Replaces the file's content by the enciphered text. False, and the old file stands, when the text cannot be
// enciphered or written: a key that is too long, or a zero in the text. `text` is zero-terminated.
bool WriteEncipheredFile(IFileSystemA& file_system, IEncryption& encryption, const char* path,
                         const Base::SecretText& key, SecretBuffer& text, FileOutcome& outcome);

}  // namespace OrvWorkFlow::Core::Dictionary
