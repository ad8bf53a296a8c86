#include "runtime/log/LogSink.h"

#include <cerrno>
#include <cstdio>
#include <limits>
#include <string>

namespace OrvWorkFlow::Runtime {

namespace {

// Writes and flushes. Returns how many bytes were taken.
std::size_t WriteTo(std::FILE* stream, std::string_view bytes) noexcept {
  const std::size_t written = std::fwrite(bytes.data(), 1, bytes.size(), stream);
  return std::fflush(stream) == 0 ? written : 0;
}

// A file of the log's own has no buffer: what could not be written is not tried again behind the logger's back.
std::FILE* OpenUnbuffered(const char* path, const char* mode) noexcept {
  std::FILE* const stream = path != nullptr ? std::fopen(path, mode) : nullptr;
  if (stream != nullptr) std::setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

class StreamSink final : public LogSink {
 public:
  StreamSink(std::FILE* stream, bool owns) : stream_(stream), owns_(owns) {}
  ~StreamSink() override {
    if (owns_) std::fclose(stream_);
  }

  std::size_t Write(std::string_view lines) noexcept override { return WriteTo(stream_, lines); }

 private:
  std::FILE* const stream_;
  const bool owns_;
};

class AppendingSink final : public LogSink {
 public:
  AppendingSink(const char* path, Logger::Growth growth) : path_(path), growth_(growth) {}
  ~AppendingSink() override { Close(); }

  // What a run that was killed has cut off stays a line of its own.
  bool Open() {
    file_ = OpenUnbuffered(path_.c_str(), "ab");
    if (file_ == nullptr) return false;
    size_ = SizeOnDisk();
    if (size_ > 0 && EndsInsideALine()) size_ += WriteTo(file_, "\n");
    return true;
  }

  std::size_t Write(std::string_view lines) noexcept override {
    std::size_t done = 0;
    while (done < lines.size()) {
      if (file_ == nullptr && !Open()) return done;
      std::string_view part = WhatFits(lines.substr(done));
      if (part.empty()) {
        if (BeginNewFile()) continue;
        if (file_ == nullptr) return done;
        part = lines.substr(done);  // Rather too long a file than lines lost.
      }
      const std::size_t written = WriteTo(file_, part);
      size_ += written;
      done += written;
      if (written < part.size()) return done;
    }
    return done;
  }

 private:
  void Close() noexcept {
    if (file_ != nullptr) std::fclose(file_);
    file_ = nullptr;
  }

  // 0 for what is no file: a device, a pipe.
  std::uint64_t SizeOnDisk() const noexcept {
    errno = 0;
    const long size = std::fseek(file_, 0, SEEK_END) == 0 ? std::ftell(file_) : -1;
    if (size >= 0) return static_cast<std::uint64_t>(size);
    return errno == ESPIPE ? 0 : std::numeric_limits<long>::max();
  }

  bool EndsInsideALine() const {
    std::FILE* const file = std::fopen(path_.c_str(), "rb");
    if (file == nullptr) return false;
    const bool is_cut = std::fseek(file, -1, SEEK_END) == 0 && std::fgetc(file) != '\n';
    std::fclose(file);
    return is_cut;
  }

  // The lines that the file has room for; an empty file takes one of any length.
  std::string_view WhatFits(std::string_view lines) const {
    if (growth_.limit == 0 || size_ + lines.size() <= growth_.limit) return lines;
    const std::uint64_t room = growth_.limit > size_ ? growth_.limit - size_ : 0;
    const std::size_t last_end =
        room == 0 ? std::string_view::npos : lines.rfind('\n', static_cast<std::size_t>(room) - 1);
    if (last_end != std::string_view::npos) return lines.substr(0, last_end + 1);
    return size_ == 0 ? lines.substr(0, lines.find('\n') + 1) : std::string_view();
  }

  std::string NameOfOld(unsigned number) const { return path_ + "." + std::to_string(number); }

  // False when the file could not be put aside; it is then written on, if it is open.
  bool BeginNewFile() noexcept {
    try {
      if (SizeOnDisk() == 0) return false;
      Close();
      for (unsigned number = growth_.kept; number > 0; --number) {
        const std::string older = NameOfOld(number);
        std::remove(older.c_str());  // Not every system renames over a file.
        std::rename((number > 1 ? NameOfOld(number - 1) : path_).c_str(), older.c_str());
      }
      if (growth_.kept == 0) std::remove(path_.c_str());
      return Open() && size_ == 0;
    } catch (...) {
      return false;
    }
  }

  const std::string path_;
  const Logger::Growth growth_;
  std::FILE* file_ = nullptr;
  std::uint64_t size_ = 0;
};

}  // namespace

std::unique_ptr<LogSink> OpenStreamSink(std::FILE* stream) {
  if (stream == nullptr) return nullptr;
  return std::make_unique<StreamSink>(stream, false);
}

std::unique_ptr<LogSink> OpenNewFileSink(const char* path) {
  std::FILE* const stream = OpenUnbuffered(path, "wb");
  if (stream == nullptr) return nullptr;
  try {
    return std::make_unique<StreamSink>(stream, true);
  } catch (...) {
    std::fclose(stream);
    throw;
  }
}

std::unique_ptr<LogSink> OpenAppendingSink(const char* path, Logger::Growth growth) {
  if (path == nullptr) return nullptr;
  auto sink = std::make_unique<AppendingSink>(path, growth);
  return sink->Open() ? std::move(sink) : nullptr;
}

}  // namespace OrvWorkFlow::Runtime
