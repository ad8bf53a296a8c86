// Where the system keeps things.
#pragma once

#include <cstdint>

namespace OrvWorkFlow::Core::System {

// Each query writes a terminated text of at most `capacity` characters, the terminator included, and answers its
// length; 0 means failure. A value that does not fit leaves either its beginning or an empty text in the buffer and
// answers not 0. Platform paths. Any thread.
template <class Char>
class LocationsOf {
 public:
  // Without a final separator, unless it is a root.
  virtual std::uint32_t WindowsDirectory(Char* buffer, std::uint32_t capacity) = 0;
  virtual std::uint32_t SystemDirectory(Char* buffer, std::uint32_t capacity) = 0;
  // The user's directory for temporary files, absolute and with a final backslash. It need not exist.
  virtual std::uint32_t TempPath(Char* buffer, std::uint32_t capacity) = 0;
  // Replaces each "%NAME%" in `text` by the value of that environment variable, if there is one.
  virtual std::uint32_t ExpandVariables(const Char* text, Char* buffer, std::uint32_t capacity) = 0;
  // The file of the program that this process runs.
  virtual std::uint32_t ModuleFileName(Char* buffer, std::uint32_t capacity) = 0;

 protected:
  ~LocationsOf() = default;
};

}  // namespace OrvWorkFlow::Core::System
