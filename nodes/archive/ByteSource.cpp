#include "nodes/archive/ByteSource.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "nodes/archive/GzipSource.h"
#include "nodes/archive/LibraryArchive.h"

namespace OrvWorkFlow::Nodes {

namespace {

using std::string_view_literals::operator""sv;

class FileSource final : public ByteSource {
 public:
  FileSource(const std::filesystem::path& path, const std::string& shown_name, StopCheck stop_wanted)
      : file_(path, LocalFile::Mode::Read, shown_name), stop_wanted_(std::move(stop_wanted)) {}
  std::size_t Read(char* bytes, std::size_t size) override {
    if (stop_wanted_()) throw ArchiveStopped();
    return file_.Read(bytes, size);
  }
  std::optional<std::uint64_t> Size() const override { return file_.Size(); }
  void Seek(std::uint64_t position) override { file_.Seek(position); }

 private:
  LocalFile file_;
  StopCheck stop_wanted_;
};

// What libarchive unpacks. It is asked for one kind alone, never for one that it would have another program unpack.
class UnpackedSource final : public ByteSource {
 public:
  UnpackedSource(std::unique_ptr<ByteSource> packed, int (*filter)(archive*), const char* kind, std::string shown_name,
                 StopCheck stop_wanted)
      : callbacks_(std::move(packed)), shown_name_(std::move(shown_name)), stop_wanted_(std::move(stop_wanted)) {
    object_.reset(archive_read_new());
    if (object_ == nullptr) throw FileProblem(shown_name_ + ": out of memory");
    if (filter(object_.get()) != ARCHIVE_OK) {
      throw FileProblem(shown_name_ + ": what " + kind + " has packed cannot be read here");
    }
    archive_read_support_format_raw(object_.get());
    callbacks_.Open(object_.get(), shown_name_);
    archive_entry* entry = nullptr;
    const int result = archive_read_next_header(object_.get(), &entry);
    at_end_ = result == ARCHIVE_EOF;
    if (!at_end_ && result != ARCHIVE_OK) callbacks_.Fail(object_.get(), shown_name_);
  }

  std::size_t Read(char* bytes, std::size_t size) override {
    if (at_end_) return 0;
    if (stop_wanted_()) throw ArchiveStopped();
    const la_ssize_t count = archive_read_data(object_.get(), bytes, std::min<std::size_t>(size, 64 * 1024));
    if (count < 0) callbacks_.Fail(object_.get(), shown_name_);
    at_end_ = count == 0;
    return static_cast<std::size_t>(count);
  }

 private:
  SourceCallbacks callbacks_;
  std::string shown_name_;
  StopCheck stop_wanted_;
  ArchivePointer object_;  // goes before what it reads from
  bool at_end_ = false;
};

struct Kind {
  std::string_view begins;
  const char* name;
  int (*filter)(archive*);
};

constexpr std::string_view kGzip = "\x1F\x8B"sv;
constexpr std::array<Kind, 3> kKinds = {{
    {"BZh"sv, "bzip2", archive_read_support_filter_bzip2},
    {"\xFD\x37zXZ\0"sv, "xz", archive_read_support_filter_xz},
    {"\x28\xB5\x2F\xFD"sv, "zstd", archive_read_support_filter_zstd},
}};

}  // namespace

std::unique_ptr<ByteSource> OpenSource(const std::filesystem::path& path, const std::string& shown_name,
                                       StopCheck stop_wanted) {
  auto file = std::make_unique<FileSource>(path, shown_name, stop_wanted);
  std::array<char, 6> begin = {};
  const std::string_view begins(begin.data(), file->Read(begin.data(), begin.size()));
  file->Seek(0);
  if (begins.starts_with(kGzip)) {
    return std::make_unique<GzipSource>(std::move(file), shown_name, std::move(stop_wanted));
  }
  for (const Kind& kind : kKinds) {
    if (!begins.starts_with(kind.begins)) continue;
    return std::make_unique<UnpackedSource>(std::move(file), kind.filter, kind.name, shown_name,
                                            std::move(stop_wanted));
  }
  return file;
}

}  // namespace OrvWorkFlow::Nodes
