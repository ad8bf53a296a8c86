// Reading a folder's entries as Windows lists them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Core::System::Posix {

// Sorted without regard to case, then byte by byte; "." and ".." and names that no path can hold are left out. Keeps
// its memory from one folder to the next.
class FolderReader {
 public:
  FolderReader();

  // Reads an open folder from its beginning, `on_drive_c` by the rules for names there. False when it cannot be read to
  // its end.
  bool Read(int folder, bool on_drive_c);

  std::size_t size() const { return order_.size(); }
  std::string_view name(std::size_t i) const { return Name(entries_[order_[i].entry]); }
  // FileAttribute::kDirectory, kLink, and kNormal for a plain file; not asked of the system for each, where the folder
  // itself tells them.
  std::uint32_t attributes(std::size_t i) const { return entries_[order_[i].entry].attributes; }
  // A name that no path can hold, if there is one: the first in byte order.
  const std::string& left_out() const { return left_out_; }
  // Of all names together.
  std::size_t characters() const { return names_.size(); }

 private:
  struct Entry {
    std::uint32_t begin;
    std::uint32_t length;
    std::uint32_t attributes;
  };
  // An entry with the part of its name, in capitals, that tells most entries of a folder from another.
  struct Ordered {
    std::uint64_t key;
    std::uint32_t entry;
  };

  std::string_view Name(const Entry& entry) const { return std::string_view(names_).substr(entry.begin, entry.length); }
  bool Take(int folder, const char* name, unsigned char type);
  void DropUnnameable(bool on_drive_c);
  void SortAll(bool ascii);
  template <class Unit>
  void Sort(const std::basic_string<Unit>& capitals, const std::vector<Entry>& places);

  std::vector<std::uint64_t> buffer_;  // Aligned for the records that the system writes.
  std::string names_;
  std::string left_out_;
  std::vector<Entry> entries_;
  std::vector<Ordered> order_;
};

}  // namespace OrvWorkFlow::Core::System::Posix
