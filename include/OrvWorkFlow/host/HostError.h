// Why a host could not do what it was asked.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Host {

// `what()` is one line, "FILE: /Dictionary/Path: what is wrong; what to do", ready to be shown to a user.
class HostError : public std::runtime_error {
 public:
  enum class Kind {
    Failed,        // not found, refused by the system, or called out of order
    Misplaced,     // the path cannot serve as what it was given for
    PluginBroken,  // a library is missing, cannot be loaded or lacks a type
    Damaged,       // the file was read, and is no dictionary, no workflow or no state
    InUse,         // another host, of this process or another one, has the file
  };

  HostError(Kind kind, const std::string& line) : std::runtime_error(line), kind_(kind) {}
  // In a file, at a path of the dictionary in it; an empty path is left out.
  HostError(Kind kind, std::string_view file, std::string_view dictionary_path, std::string_view text)
      : HostError(kind, Join(file, dictionary_path, text)) {}

  Kind kind() const noexcept { return kind_; }

 private:
  static std::string Join(std::string_view file, std::string_view dictionary_path, std::string_view text) {
    std::string line(file);
    if (!dictionary_path.empty()) line.append(": ").append(dictionary_path);
    return line.append(": ").append(text);
  }

  Kind kind_;
};

}  // namespace OrvWorkFlow::Host
