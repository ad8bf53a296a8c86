#include "nodes/flow/LoopItems.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/files/FilePieces.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr char kOver[] = "Over";
constexpr char kWhat[] = "What";
constexpr char kPattern[] = "Pattern";
constexpr char kRecursive[] = "Recursive";
constexpr char kList[] = "List";
constexpr char kCursor[] = "Cursor";
constexpr std::size_t kLongestLine = 1U << 20;
constexpr std::uint32_t kReadAhead = 1U << 16;

std::string_view NameOf(std::string_view path) { return path.substr(path.find_last_of("/\\") + 1); }

}  // namespace

bool IsOfForm(std::string_view form, std::string_view name) {
  std::size_t star = std::string_view::npos;
  std::size_t retry = 0;
  std::size_t at = 0;
  for (std::size_t i = 0; i < name.size();) {
    if (at < form.size() && form[at] == '*') {
      star = at++;
      retry = i;
    } else if (at < form.size() && (form[at] == '?' || form[at] == name[i])) {
      ++at;
      ++i;
    } else if (star != std::string_view::npos) {
      at = star + 1;
      i = ++retry;
    } else {
      return false;
    }
  }
  while (at < form.size() && form[at] == '*') ++at;
  return at == form.size();
}

void LoopItems::Begin(Sdk::NodeRecord record, IDictionary& dictionary, const Loop& loop) {
  record.SetText(kOver, loop.over);
  record.SetText(kWhat, loop.what);
  record.SetText(kPattern, loop.pattern);
  record.SetNumber(kRecursive, loop.is_recursive ? 1 : 0);
  if (loop.over == "list") {
    std::vector<std::string> items = loop.items;
    if (!loop.what.empty()) {
      const Sdk::TextListHolder texts;
      if (!dictionary.GetValueTexts(loop.what.c_str(), texts.get()))
        throw std::runtime_error("there is no list at " + loop.what);
      items = texts.Texts();
    }
    record.SetTexts(kList, items);
  } else if (loop.over == "children") {
    const Sdk::TextListHolder names;
    if (!dictionary.GetEntries(loop.what.c_str(), names.get()))
      throw std::runtime_error("there is no entry " + loop.what);
    record.SetTexts(kList, names.Texts());
  }
}

std::optional<std::string> LoopItems::Next(Sdk::NodeRecord record, IFileSystemA& file_system) {
  const std::string over = record.Text(kOver);
  if (over == "files") return NextFile(record, file_system);
  if (over == "lines") return NextLine(record, file_system);
  return NextText(record);
}

std::optional<std::string> LoopItems::NextText(Sdk::NodeRecord& record) {
  const std::vector<std::string> texts = record.Texts(kList);
  const auto number = static_cast<std::size_t>(record.Number(kCursor));
  if (number >= texts.size()) return std::nullopt;
  record.SetNumber(kCursor, static_cast<std::int64_t>(number) + 1);
  return texts[number];
}

// In the order of their names; a file that comes later counts if its name does. One that is gone by then is left out.
std::optional<std::string> LoopItems::NextFile(Sdk::NodeRecord& record, IFileSystemA& file_system) {
  if (!is_listed_) ListFiles(record, file_system);
  while (!files_.empty()) {
    std::string file = std::move(files_.back());
    files_.pop_back();
    record.SetText(kCursor, file);
    if (file_system.FileExists(file.c_str())) return file;
  }
  return std::nullopt;
}

void LoopItems::ListFiles(const Sdk::NodeRecord& record, IFileSystemA& file_system) {
  const std::string folder = record.Text(kWhat);
  const std::string pattern = record.Text(kPattern, "*");
  const std::string cursor = record.Text(kCursor);
  const bool is_recursive = record.Number(kRecursive) != 0;
  const Sdk::TextListHolder listed;
  if (!file_system.DirectoryExists(folder.c_str()) || !file_system.ListFiles(folder.c_str(), listed.get())) {
    throw std::runtime_error(Sdk::WithReason(file_system, "the folder \"" + folder + "\" cannot be listed"));
  }
  const std::size_t begin = folder.size() + (folder.ends_with('/') || folder.ends_with('\\') ? 0 : 1);
  for (std::size_t i = 0; i < listed->GetCount(); ++i) {
    std::string file(listed->GetText(i), listed->GetLength(i));
    const bool is_below = file.find_first_of("/\\", begin) != std::string::npos;
    if ((is_below && !is_recursive) || !IsOfForm(pattern, NameOf(file)) || (!cursor.empty() && file <= cursor))
      continue;
    files_.push_back(std::move(file));
  }
  std::sort(files_.rbegin(), files_.rend());
  is_listed_ = true;
}

std::optional<std::string> LoopItems::NextLine(Sdk::NodeRecord& record, IFileSystemA& file_system) {
  const std::string file = record.Text(kWhat);
  const std::uint32_t size = SizeOfFile(file_system, file);
  const auto cursor = static_cast<std::uint64_t>(record.Number(kCursor));
  if (cursor >= size) return std::nullopt;
  if (ahead_begin_ != cursor) {
    ahead_.clear();
    ahead_begin_ = cursor;
  }
  std::size_t end = ahead_.find('\n');
  while (end == std::string::npos && ahead_begin_ + ahead_.size() < size) {
    if (ahead_.size() > kLongestLine) throw std::runtime_error(file + " has a line of more than 1 MiB");
    const auto first = static_cast<std::uint32_t>(ahead_begin_ + ahead_.size());
    const Sdk::StreamHolder piece;
    ReadPiece(file_system, file, first, std::min(kReadAhead, size - first), piece);
    const std::size_t before = ahead_.size();
    ahead_.append(static_cast<const char*>(piece->GetData()), piece->GetSize());
    end = ahead_.find('\n', before);
  }
  const std::size_t taken = end == std::string::npos ? ahead_.size() : end + 1;
  std::string line = ahead_.substr(0, end == std::string::npos ? ahead_.size() : end);
  if (line.ends_with('\r')) line.pop_back();
  ahead_.erase(0, taken);
  ahead_begin_ += taken;
  record.SetNumber(kCursor, static_cast<std::int64_t>(ahead_begin_));
  return line;
}

}  // namespace OrvWorkFlow::Nodes
