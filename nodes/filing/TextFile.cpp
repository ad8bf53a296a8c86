#include "nodes/filing/TextFile.h"

#include <algorithm>
#include <functional>
#include <new>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/files/LocalFile.h"
#include "nodes/task/ComingEntry.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kReaderInputs[] = {
    {"read", "reads the file"},
    kResumeInput,
};
constexpr NodeOutput kReaderOutputs[] = {
    {"read", false, "its text is in the dictionary"},
    kFailedOutput,
};
constexpr NodeParameter kReaderParameters[] = {
    TextParameterRow("File", "", "the file"),
    TextParameterRow("Into", "/Text", "the entry that gets the text"),
    BooleanParameterRow("Lines", false, "whether it gets a list of the lines instead, without their ends"),
    NumberParameterRow("MostBytes", "16777216", 1, "a larger file fails"),
};

constexpr NodeInput kWriterInputs[] = {
    {"write", "replaces the file; a reader finds the old text or the new one"},
    {"append", "puts the text behind what the file holds"},
    kResumeInput,
};
constexpr NodeOutput kWriterOutputs[] = {
    {"written", false, "the text is on the disk"},
    kFailedOutput,
};
constexpr NodeParameter kWriterParameters[] = {
    TextParameterRow("File", "", "the file; it is made where it is missing"),
    TextListParameterRow("Text", "the text, or a list of lines"),
    BooleanParameterRow("LineEnd", true, "whether a line end follows the text, or each line"),
};

constexpr std::string_view kMark = "\xEF\xBB\xBF";

// The lines of a text as a list that is made while it is read, without their ends. Reading it fails when the node has
// to return.
class Lines final : public IOrvPStringList {
 public:
  Lines(std::string text, const std::function<bool()>& stop_wanted)
      : text_(std::move(text)), stop_wanted_(stop_wanted) {
    for (std::size_t begin = 0; begin < text_.size() && !IsStopped(); begin = ends_.back() + 1) {
      ends_.push_back(std::min(text_.find('\n', begin), text_.size()));
      if (ends_.back() < text_.size()) text_[ends_.back()] = '\0';
    }
  }

  std::size_t GetCount() const override { return ends_.size(); }
  const char* GetText(std::size_t index) const override {
    return index >= ends_.size() || IsStopped() ? nullptr : text_.data() + Begin(index);
  }
  std::size_t GetLength(std::size_t index) const override {
    if (index >= ends_.size()) return 0;
    const std::size_t begin = Begin(index);
    const std::size_t end = ends_[index];
    return end - begin - (end > begin && text_[end - 1] == '\r' ? 1 : 0);
  }
  bool Add(const char* /*text*/, std::size_t /*length*/) override { return false; }
  void Clear() override {}
  void Release() override {}

  // Asks now and then.
  bool IsStopped() const {
    constexpr unsigned kSteps = 256;
    is_stopped_ = is_stopped_ || (++steps_ % kSteps == 0 && stop_wanted_());
    return is_stopped_;
  }

 private:
  std::size_t Begin(std::size_t index) const { return index == 0 ? 0 : ends_[index - 1] + 1; }

  std::string text_;
  const std::function<bool()>& stop_wanted_;
  std::vector<std::size_t> ends_;
  mutable unsigned steps_ = 0;
  mutable bool is_stopped_ = false;
};

// So many make a list in a few milliseconds.
constexpr std::size_t kLinesAtOnce = 50'000;

// Makes the list item by item, so that it can be stopped: false then, and it goes on there if the file, which `source`
// names, is still the same. The items stand as those of any list. Calls `hold` before the list is where it belongs.
bool PutMany(const Lines& lines, IDictionary& dictionary, Sdk::NodeRecord record, const std::string& into,
             const std::vector<std::string>& source, const std::function<void()>& hold) {
  auto count = static_cast<std::size_t>(TakeProgress(record, source));
  ComingEntry list(dictionary, record, into, count > 0 ? ComingEntry::Start::WhereItWas : ComingEntry::Start::Anew);
  if (count == 0) record.SetTexts(ComingEntry::kName, {});
  const std::string item = list.path() + "/" + WorkflowSchema::kListEntries + "/__item";
  for (; count < lines.GetCount(); ++count) {
    const char* const line = lines.GetText(count);
    if (line == nullptr) {
      KeepProgress(record, source, static_cast<std::int64_t>(count));
      if (count > 0) list.Keep();
      return false;
    }
    const std::string path = item + std::to_string(count);
    const std::string text(line, lines.GetLength(count));
    if (!dictionary.SetValue(path.c_str(), text.c_str()) || !dictionary.RemoveAttribute(path.c_str(), "__type")) {
      throw std::bad_alloc();
    }
  }
  hold();
  list.Become();
  return true;
}

}  // namespace

constinit const NodeDescription TextReader::kDescription = {
    .sentence = "Reads a text file into the dictionary",
    .inputs = kReaderInputs,
    .outputs = kReaderOutputs,
    .parameters = kReaderParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

constinit const NodeDescription TextWriter::kDescription = {
    .sentence = "Writes a text to a file, or appends it",
    .inputs = kWriterInputs,
    .outputs = kWriterOutputs,
    .parameters = kWriterParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

const char* TextReader::DoTask(const std::string& /*task*/) {
  const std::function<bool()> stop_wanted = [this] { return StopWanted(); };
  const std::string name = TextParameter("File");
  const std::string into = TextParameter("Into");
  const auto most = static_cast<std::uint64_t>(NumberParameter("MostBytes"));
  const std::vector<std::string> source = IdentityOf(LocalPath(FileSystem(), name), name);
  std::optional<std::string> text = ReadWholeFile(FileSystem(), name, most, stop_wanted);
  if (!text) return nullptr;
  if (text->find('\0') != std::string::npos) throw FileProblem(name + " is no text: there is a zero in it");
  Record().SetNumber("Size", static_cast<std::int64_t>(text->size()));
  if (text->starts_with(kMark)) text->erase(0, kMark.size());
  const auto hold = [this] { HoldChanges(); };
  if (!BooleanParameter("Lines")) {
    hold();
    WriteEntry(WorkflowDictionary(), into, *text);
    return "read";
  }
  const Lines lines(std::move(*text), stop_wanted);
  if (lines.IsStopped()) return nullptr;
  ExpectReplaceable(into);
  const bool are_many = lines.GetCount() > kLinesAtOnce;
  if (!are_many) hold();
  const bool is_written = are_many ? PutMany(lines, WorkflowDictionary(), Record(), into, source, hold)
                                   : WorkflowDictionary().SetValue(into.c_str(), &lines);
  if (is_written) return "read";
  if (lines.IsStopped()) return nullptr;
  throw FileProblem("cannot write the entry \"" + into + "\"");
}

const char* TextWriter::DoTask(const std::string& task) {
  const std::string name = TextParameter("File");
  LocalPath(FileSystem(), name);  // Throws for what is none.
  const bool ends_lines = BooleanParameter("LineEnd");
  const std::vector<std::string> lines = TextListParameter("Text");
  std::string text;
  for (const std::string& line : lines) text += ends_lines ? line + "\n" : line;
  IFileSystemA& files = FileSystem();
  if (task == "append") {
    const Sdk::TextHolder holder;
    if (!holder->Assign(text.data(), text.size())) throw std::bad_alloc();
    if (!files.AppendFileString(name.c_str(), holder.get()) || !files.FlushWrites()) {
      throw FileProblem(Sdk::WithReason(files, "cannot write " + name));
    }
  } else if (!files.ReplaceFileBytes(name.c_str(), text.data(), text.size())) {
    throw FileProblem(Sdk::WithReason(files, "cannot write " + name));
  }
  return "written";
}

}  // namespace OrvWorkFlow::Nodes
