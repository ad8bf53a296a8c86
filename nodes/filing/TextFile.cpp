#include "nodes/filing/TextFile.h"

#include <string_view>
#include <vector>

#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/files/LocalFile.h"

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

std::vector<std::string> LinesOf(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.emplace_back(line);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
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
  const std::string name = TextParameter("File");
  const auto most = static_cast<std::uint64_t>(NumberParameter("MostBytes"));
  std::string text = ReadWholeFile(FileSystem(), name, most);
  if (text.find('\0') != std::string::npos) throw FileProblem(name + " is no text: there is a zero in it");
  Record().SetNumber("Size", static_cast<std::int64_t>(text.size()));
  if (text.starts_with(kMark)) text.erase(0, kMark.size());
  Sdk::NodeRecord root(WorkflowDictionary(), "");
  const std::string into = TextParameter("Into");
  if (BooleanParameter("Lines")) {
    root.SetTexts(into, LinesOf(text));
  } else {
    root.SetText(into, text);
  }
  return "read";
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
