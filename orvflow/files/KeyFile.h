// The option --key-file: a key is never an argument, because everybody sees a program's arguments.
#pragma once

#include <array>
#include <string>

#include "CLI/App.hpp"
#include "OrvWorkFlow/IEncryption.h"

namespace OrvWorkFlow::Program {

// Declares the option to a verb's command.
void AddKeyFileOption(CLI::App& command, std::string& path);

// A key read from a file: its content without one final line break. Forgotten at the end.
class KeyFile {
 public:
  // Throws ProgramError for a file that cannot be read, and for one whose content is no key: empty, longer than
  // kMaxKeyLength bytes, or with a zero byte.
  explicit KeyFile(const std::string& path);
  KeyFile(const KeyFile&) = delete;
  KeyFile& operator=(const KeyFile&) = delete;
  ~KeyFile() { Wipe(); }

  const char* key() const { return key_.data(); }

 private:
  void Wipe();

  // Room for a line break behind the longest key, and for the byte that shows that a file is too long.
  std::array<char, kMaxKeyLength + 4> key_ = {};
};

}  // namespace OrvWorkFlow::Program
