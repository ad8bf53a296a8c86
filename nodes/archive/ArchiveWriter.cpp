#include "nodes/archive/ArchiveWriter.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <utility>

#include "OrvWorkFlow/sdk/ParameterValue.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr std::size_t kPiece = 256 * 1024;

// The longer names first: the end of a name is compared with them in this order.
constexpr std::array<ArchiveFormat, 9> kFormats = {{
    {"tar.gz", archive_write_set_format_pax_restricted, archive_write_add_filter_gzip},
    {"tar.bz2", archive_write_set_format_pax_restricted, archive_write_add_filter_bzip2},
    {"tar.xz", archive_write_set_format_pax_restricted, archive_write_add_filter_xz},
    {"tar.zst", archive_write_set_format_pax_restricted, archive_write_add_filter_zstd},
    {"tgz", archive_write_set_format_pax_restricted, archive_write_add_filter_gzip},
    {"tbz2", archive_write_set_format_pax_restricted, archive_write_add_filter_bzip2},
    {"txz", archive_write_set_format_pax_restricted, archive_write_add_filter_xz},
    {"tar", archive_write_set_format_pax_restricted, archive_write_add_filter_none},
    {"zip", archive_write_set_format_zip, archive_write_add_filter_none},
}};

bool EndsIn(std::string_view file_name, std::string_view ending) {
  if (file_name.size() <= ending.size()) return false;
  const std::string end(file_name.substr(file_name.size() - ending.size() - 1));
  return Sdk::Parameters::EqualIgnoringCase(end, "." + std::string(ending));
}

// In seconds since 1970.
time_t TimeOf(const std::filesystem::path& path) {
  std::error_code error;
  const auto time = std::filesystem::last_write_time(path, error);
  if (error) return 0;
  return std::chrono::system_clock::to_time_t(
      std::chrono::time_point_cast<std::chrono::system_clock::duration>(std::chrono::file_clock::to_sys(time)));
}

}  // namespace

const ArchiveFormat& FormatOf(std::string_view name, std::string_view file_name) {
  const auto found = std::find_if(kFormats.begin(), kFormats.end(), [&](const ArchiveFormat& format) {
    return name.empty() ? EndsIn(file_name, format.name)
                        : Sdk::Parameters::EqualIgnoringCase(std::string(name), std::string(format.name));
  });
  if (found != kFormats.end()) return *found;
  throw FileProblem((name.empty() ? "the name \"" + std::string(file_name) + "\" says no format"
                                  : "\"" + std::string(name) + "\" is no format") +
                    " (zip, tar, tar.gz, tar.bz2, tar.xz or tar.zst)");
}

ArchiveWriter::ArchiveWriter(LocalFile& file, const ArchiveFormat& format, std::string shown_name,
                             StopCheck stop_wanted)
    : file_(file),
      shown_name_(std::move(shown_name)),
      stop_wanted_(std::move(stop_wanted)),
      object_(archive_write_new()) {
  archive* const object = object_.get();
  if (object == nullptr) throw FileProblem(shown_name_ + ": out of memory");
  // A kind that the library would have another program pack is none here.
  if (format.add_filter(object) != ARCHIVE_OK || format.set_format(object) != ARCHIVE_OK) {
    throw FileProblem("cannot write " + shown_name_ + ": " + std::string(format.name) + " cannot be written here");
  }
  // Refused by kinds that have none of these: the same files make the same bytes, and names are in UTF-8.
  archive_write_set_filter_option(object, "gzip", "timestamp", nullptr);
  archive_write_set_format_option(object, nullptr, "hdrcharset", "UTF-8");
  archive_write_set_bytes_in_last_block(object, 1);
  Check(archive_write_open(object, this, nullptr, WritePiece, nullptr));
}

// The library frees what packs only when it brings an archive to its end: one that is not whole ends, and nothing of
// that is written. A tar that has failed ends without the zeros that would fill its last file; a zip has none, and
// frees nothing of a file whose end has failed.
ArchiveWriter::~ArchiveWriter() {
  if (is_whole_) return;
  is_given_up_ = true;
  if (archive_format(object_.get()) != ARCHIVE_FORMAT_ZIP) archive_write_fail(object_.get());
  archive_write_close(object_.get());
}

void ArchiveWriter::Check(int result) {
  if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
  if (result < ARCHIVE_OK) throw FileProblem("cannot write " + shown_name_ + ": " + WordsOf(object_.get()));
}

// The library is not told of what fails here: it would free less.
la_ssize_t ArchiveWriter::WritePiece(archive* /*object*/, void* writer, const void* bytes, std::size_t size) {
  auto* const self = static_cast<ArchiveWriter*>(writer);
  if (self->is_given_up_) return static_cast<la_ssize_t>(size);
  try {
    if (self->stop_wanted_()) throw ArchiveStopped();
    self->file_.Write(bytes, size);
    self->pace_.Wrote(size, [self] { self->file_.Flush(); });
  } catch (...) {
    self->thrown_ = std::current_exception();
    self->is_given_up_ = true;
  }
  return static_cast<la_ssize_t>(size);
}

std::uint64_t ArchiveWriter::Add(const std::filesystem::path& source, const std::string& shown_source,
                                 const std::filesystem::path& name) {
  LocalFile file(source, LocalFile::Mode::Read, shown_source);
  const std::uint64_t size = file.Size();
  const EntryPointer entry(archive_entry_new());
  if (entry == nullptr) throw FileProblem(shown_name_ + ": out of memory");
  StoreName(entry.get(), name);
  archive_entry_set_filetype(entry.get(), AE_IFREG);
  archive_entry_set_size(entry.get(), static_cast<la_int64_t>(size));
  std::error_code error;
  const auto permissions = static_cast<unsigned>(std::filesystem::status(source, error).permissions());
  archive_entry_set_perm(entry.get(), error ? 0644 : permissions & 0777U);
  archive_entry_set_mtime(entry.get(), TimeOf(source), 0);
  Check(archive_write_header(object_.get(), entry.get()));
  std::vector<char> piece(kPiece);
  for (std::uint64_t done = 0; done < size;) {
    if (stop_wanted_()) throw ArchiveStopped();
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), size - done));
    const std::size_t count = file.Read(piece.data(), wanted);
    if (count == 0) throw FileProblem(shown_source + " became shorter while it was read");
    Check(archive_write_data(object_.get(), piece.data(), count) < 0 ? ARCHIVE_FATAL : ARCHIVE_OK);
    done += count;
  }
  Check(archive_write_finish_entry(object_.get()));
  return size;
}

void ArchiveWriter::End() {
  Check(archive_write_close(object_.get()));
  is_whole_ = true;
  file_.Flush();
}

}  // namespace OrvWorkFlow::Nodes
