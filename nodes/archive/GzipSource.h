// What is in a gzip file. Its checksums and sizes are compared, which libarchive does not do.
#pragma once

#include <zlib.h>

#include <string>
#include <vector>

#include "nodes/archive/ByteSource.h"

namespace OrvWorkFlow::Nodes {

class GzipSource final : public ByteSource {
 public:
  GzipSource(std::unique_ptr<ByteSource> packed, std::string shown_name, StopCheck stop_wanted);
  GzipSource(const GzipSource&) = delete;
  GzipSource& operator=(const GzipSource&) = delete;
  ~GzipSource() override;
  std::size_t Read(char* bytes, std::size_t size) override;

 private:
  bool Fill();
  bool NextMember();

  std::unique_ptr<ByteSource> packed_;
  std::string shown_name_;
  StopCheck stop_wanted_;  // a few packed bytes may make very many
  std::vector<char> piece_;
  z_stream stream_ = {};
  bool in_member_ = true;
  bool at_end_ = false;
};

}  // namespace OrvWorkFlow::Nodes
