#include <stdexcept>
#include <vector>

#include <optional>

#include "OrvWorkFlow/sdk/FileReason.h"
#include "nodes/data/DataFiles.h"
#include "nodes/data/JsonMapping.h"
#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kReaderInputs[] = {
    {"read", "reads the file"},
    kResumeInput,
};
constexpr NodeOutput kReaderOutputs[] = {
    {"read", false, "its content is in the dictionary"},
    kFailedOutput,
};
constexpr NodeParameter kReaderParameters[] = {
    TextParameterRow("File", "", "the file"),
    TextParameterRow("Into", "/Data", "the entry that becomes what the file says, as docs/data.md describes"),
    NumberParameterRow("MostBytes", "16777216", 1, "a larger file fails"),
};

constexpr NodeInput kWriterInputs[] = {
    {"write", "replaces the file; a reader finds the old content or the new one"},
    kResumeInput,
};
constexpr NodeOutput kWriterOutputs[] = {
    {"written", false, "the file is on the disk"},
    kFailedOutput,
};
constexpr NodeParameter kWriterParameters[] = {
    TextParameterRow("File", "", "the file"),
    TextParameterRow("From", "/Data", "the entry that is written, with all below it"),
    NumberParameterRow("Indent", "2", 0, "blanks a level; 0 writes one line", 16),
};

}  // namespace

constinit const NodeDescription JsonReader::kDescription = {
    .sentence = "Reads a JSON file into the dictionary",
    .inputs = kReaderInputs,
    .outputs = kReaderOutputs,
    .parameters = kReaderParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

constinit const NodeDescription JsonWriter::kDescription = {
    .sentence = "Writes a part of the dictionary as a JSON file",
    .inputs = kWriterInputs,
    .outputs = kWriterOutputs,
    .parameters = kWriterParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

const char* JsonReader::DoTask(const std::string& /*task*/) {
  const std::string name = TextParameter("File");
  const auto most = static_cast<std::uint64_t>(NumberParameter("MostBytes"));
  const auto stop_wanted = [this] { return StopWanted(); };
  const std::vector<std::string> source = IdentityOf(LocalPath(FileSystem(), name), name);
  std::int64_t done = TakeProgress(Record(), source);
  ComingEntry data(WorkflowDictionary(), Record(), TextParameter("Into"),
                   done > 0 ? ComingEntry::Start::WhereItWas : ComingEntry::Start::Anew);
  const auto leave = [&]() -> const char* {
    KeepProgress(Record(), source, done);
    if (done > 0) data.Keep();
    return nullptr;
  };
  const std::optional<std::string> text = ReadWholeFile(FileSystem(), name, most, stop_wanted);
  if (!text) return leave();
  try {
    if (!JsonToEntries(*text, data, done, stop_wanted)) return leave();
    HoldChanges();
    data.Become();
  } catch (const std::runtime_error& error) {
    throw FileProblem(name + ": " + error.what());
  }
  return "read";
}

const char* JsonWriter::DoTask(const std::string& /*task*/) {
  const std::string name = TextParameter("File");
  LocalPath(FileSystem(), name);  // Throws for what is none.
  const std::optional<std::string> text = EntriesToJson(WorkflowDictionary(), TextParameter("From"),
                                                        NumberParameter("Indent"), [this] { return StopWanted(); });
  if (!text) return nullptr;
  IFileSystemA& files = FileSystem();
  if (!files.ReplaceFileBytes(name.c_str(), text->data(), text->size())) {
    throw FileProblem(Sdk::WithReason(files, "cannot write " + name));
  }
  return "written";
}

}  // namespace OrvWorkFlow::Nodes
