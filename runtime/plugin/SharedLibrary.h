// What plug-in loading asks of the operating system.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace OrvWorkFlow::Runtime {

// One loaded library. Destroying it unloads the library, unless somebody else in the process still uses it.
class SharedLibrary {
 public:
  // Loads the file of that absolute path, with all that it needs: null and a one-line `reason` of the system otherwise.
  // Throws std::bad_alloc when the system has no memory for it. Runs the library's static objects. The system's search
  // path is not used for the file itself.
  static std::unique_ptr<SharedLibrary> Open(const std::string& file, std::string* reason);

  virtual ~SharedLibrary() = default;
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;

  // Null when the library exports no such function.
  virtual void* FindFunction(const char* name) const = 0;

  // The same for two objects exactly when they stand for one library in the process.
  virtual const void* GetIdentity() const = 0;

 protected:
  SharedLibrary() = default;
};

// The file names under which a library called `name` may lie on this platform, the best first. `name` has no directory.
std::vector<std::string> GetLibraryFileNames(const std::string& name);

// Absolute, with slashes of this platform and no separator at the end; "" when the system does not tell.
std::string GetProgramDirectory();
std::string GetRuntimeDirectory();
// Where an installation keeps plug-ins for a runtime that lies in `runtime_directory`; "" when it has no folder for
// them.
std::string GetInstalledPluginDirectory(const std::string& runtime_directory);

bool IsFile(const std::string& path);
// `path` as an absolute path with this platform's separators.
std::string MakeAbsolute(const std::string& path);

}  // namespace OrvWorkFlow::Runtime
