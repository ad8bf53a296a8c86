#include "nodes/filing/FileHasher.h"

#include <algorithm>
#include <vector>

#include "OrvWorkFlow/sdk/ParameterValue.h"
#include "nodes/digest/Digest.h"
#include "nodes/files/LocalFile.h"
#include "nodes/task/MappedSignal.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"hash", "reads the file"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"hashed", false, "Hash has it, and it is what was expected"},
    {"differs", false, "it is not what was expected; the user is told where nothing takes it"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("File", "", "the file"),
    TextParameterRow("Kind", "sha256", "which one; xxh3 is the one of 64 bits"),
    TextListParameterRow("Expected", "what it should be, in hexadecimal digits; nothing: whatever it is"),
};
constexpr ParameterRule kRuleRows[] = {
    {.name = "Kind", .words = Digest::kKinds},
    {.name = "Expected", .between = ""},
};

constexpr std::size_t kPiece = 256 * 1024;

}  // namespace

constinit const NodeTable<ParameterRule> FileHasher::kRules = kRuleRows;

constinit const NodeDescription FileHasher::kDescription = {
    .sentence = "The checksum or hash of a file, whatever its size",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

const char* FileHasher::DoTask(const std::string& /*task*/) {
  const std::string name = TextParameter("File");
  const std::unique_ptr<Digest> digest = Digest::Make(TextParameter("Kind"));
  LocalFile file(LocalPath(FileSystem(), name), LocalFile::Mode::Read, name);
  const std::uint64_t whole = file.Size();
  std::vector<char> piece(kPiece);
  std::int64_t size = 0;
  while (const std::size_t count = file.Read(piece.data(), piece.size())) {
    if (StopWanted()) return nullptr;
    digest->Add(piece.data(), count);
    size += static_cast<std::int64_t>(count);
  }
  if (static_cast<std::uint64_t>(size) < whole) throw FileProblem(name + " became shorter while it was read");
  const std::string hash = digest->Text();
  const std::string expected = OptionalText("Expected");
  Record().SetText("Hash", hash);
  Record().SetNumber("Size", size);
  if (expected.empty() || Sdk::Parameters::EqualIgnoringCase(expected, hash)) return "hashed";
  if (!IsMapped(WorkflowDictionary(), TypeName(), InstanceName(), "differs")) {
    TellUser(name + " is not what was expected: its hash is " + hash);
  }
  return "differs";
}

}  // namespace OrvWorkFlow::Nodes
