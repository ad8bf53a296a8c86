// A small file whose bytes are memory: what is written there outlives the process, however that ends.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace OrvWorkFlow::Host {

class MappedPage {
 public:
  static constexpr std::size_t kSize = 4096;

  // Opens the file, or makes it, filled with zeros. What another user has put there is not used. A file that was made
  // and cannot be used is removed.
  explicit MappedPage(const std::string& path);
  MappedPage(const MappedPage&) = delete;
  MappedPage& operator=(const MappedPage&) = delete;
  ~MappedPage();

  // kSize bytes; null when that failed.
  void* data() const { return data_; }

  // Removes the file; the memory is no longer to be used.
  void Remove();

 private:
  struct System;  // What the platform keeps.

  std::string path_;
  std::unique_ptr<System> system_;
  void* data_ = nullptr;
};

}  // namespace OrvWorkFlow::Host
