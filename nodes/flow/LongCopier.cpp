#include "nodes/flow/LongCopier.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/files/FilePieces.h"

namespace OrvWorkFlow::Nodes {

namespace {

// A stop waits for what is on its way to the disk.
constexpr std::uint32_t kFlushEvery = std::uint32_t{16} << 20;

constexpr NodeInput kInputs[] = {
    {"copy", "begins with the first byte"},
    {"resume", "goes on after a stop"},
};
constexpr NodeOutput kOutputs[] = {
    {"copied", false, "the copy is whole"},
    {"failed", false, "the user was told why"},
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Source", "", "the file to copy"),
    TextParameterRow("Target", "", "where the copy goes"),
    NumberParameterRow("StepBytes", "65536", 1, "how many bytes a step copies"),
    NumberParameterRow("PauseMilliseconds", "0", 0, "the pause after each step"),
};

}  // namespace

// The two files of a copy. Its operations throw FileProblem.
class LongCopier::Copy {
 public:
  Copy(IFileSystemA& file_system, const std::string& source, const std::string& target)
      : file_system_(file_system), source_(source), target_(target), size_(SizeOfFile(file_system, source)) {}

  std::uint32_t size() const { return size_; }
  std::uint32_t TargetSize() const { return file_system_.FileSize(target_.c_str()); }

  // Whether both files hold the same from `begin` to `end`, which is behind it.
  bool IsSame(std::uint32_t begin, std::uint32_t end) const {
    const Sdk::StreamHolder in_source;
    const Sdk::StreamHolder in_target;
    for (std::uint32_t count = 0; begin < end; begin += count) {
      count = std::min(kPieceBytes, end - begin);
      ReadPiece(file_system_, source_, begin, count, in_source);
      ReadPiece(file_system_, target_, begin, count, in_target);
      if (std::memcmp(in_source->GetData(), in_target->GetData(), count) != 0) return false;
    }
    return true;
  }

  void EmptyTarget() const {
    if (!file_system_.WriteFileBytes(target_.c_str(), nullptr, 0))
      throw FileProblem(Sdk::WithReason(file_system_, "cannot write " + target_));
  }

  // What was written is on the disk then.
  void Flush() const {
    if (!file_system_.FlushWrites()) throw FileProblem(Sdk::WithReason(file_system_, "cannot write " + target_));
  }

  // Appends these bytes of the source to the target.
  void AppendPiece(std::uint32_t first, std::uint32_t count) const {
    ReadPiece(file_system_, source_, first, count, piece_);
    const Sdk::TextHolder text;
    if (!text->Assign(static_cast<const char*>(piece_->GetData()), piece_->GetSize()) ||
        !file_system_.AppendFileString(target_.c_str(), text.get())) {
      throw FileProblem(Sdk::WithReason(file_system_, "cannot write " + target_));
    }
  }

 private:
  IFileSystemA& file_system_;
  const std::string& source_;
  const std::string& target_;
  const std::uint32_t size_;
  const Sdk::StreamHolder piece_;
};

constinit const NodeDescription LongCopier::kDescription = {
    .sentence = "Copies one large file in small steps, on a thread of its own",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool LongCopier::OnSignal(std::string_view signal) {
  if (signal == "copy") {
    StopWork();
    SetCopied(0);
    return BeginAnew();
  }
  Continue();
  return true;
}

// The state that is being saved says what was copied.
bool LongCopier::SaveState(const char* /*path*/) { return FileSystem().FlushWrites(); }

Sdk::WorkerNode::Outcome LongCopier::Work() {
  const std::string source = TextParameter("Source");
  const std::string target = TextParameter("Target");
  const auto step = static_cast<std::uint32_t>(NumberParameter("StepBytes"));
  const std::chrono::milliseconds pause(NumberParameter("PauseMilliseconds"));
  try {
    Copy copy(FileSystem(), source, target);
    std::uint32_t copied = std::min(Copied(), copy.size());
    if (!Resume(copy, copied)) return Outcome::Stopped;
    std::uint32_t waiting = 0;
    for (std::uint32_t in_step = 0; copied < copy.size();) {
      if (StopWanted() || (in_step == 0 && !Pause(pause))) return Outcome::Stopped;
      const std::uint32_t count = std::min({kPieceBytes, step - in_step, copy.size() - copied});
      copy.AppendPiece(copied, count);
      copied += count;
      in_step = (in_step + count) % step;
      waiting += count;
      if (waiting >= kFlushEvery || copied == copy.size()) {  // Nothing that could be lost is called done.
        copy.Flush();
        waiting = 0;
      }
      SetCopied(copied);
    }
  } catch (const FileProblem& problem) {
    TellUser(problem.what());
    FireLast("failed");
    return Outcome::Done;
  }
  FireLast("copied");
  return Outcome::Done;
}

// Makes the target hold what the state knows of, and no more; what it holds beyond that counts when it is right.
bool LongCopier::Resume(const Copy& copy, std::uint32_t& copied) {
  const std::uint32_t present = copied == 0 ? 0 : copy.TargetSize();
  if (copied != 0 && present == copied) return true;
  if (present > copied && present <= copy.size() && copy.IsSame(copied, present)) {
    copied = present;
    SetCopied(copied);
    return true;
  }
  copy.EmptyTarget();
  for (std::uint32_t done = 0; done < copied;) {
    if (StopWanted()) return false;
    const std::uint32_t count = std::min(kPieceBytes, copied - done);
    copy.AppendPiece(done, count);
    done += count;
  }
  return true;
}

std::uint32_t LongCopier::Copied() const {
  const std::string path = CopiedEntry();
  std::int32_t bytes = 0;
  if (WorkflowDictionary().GetValue(path.c_str(), &bytes)) return static_cast<std::uint32_t>(std::max(0, bytes));
  const std::string text =
      Sdk::TextFrom([&](IOrvPString* out) { return WorkflowDictionary().GetValue(path.c_str(), out); });
  std::uint32_t count = 0;
  std::from_chars(text.data(), text.data() + text.size(), count);
  return count;
}

void LongCopier::SetCopied(std::uint32_t bytes) const {
  const std::string path = CopiedEntry();
  IDictionary& dictionary = WorkflowDictionary();
  const bool written = std::in_range<std::int32_t>(bytes)
                           ? dictionary.SetValue(path.c_str(), static_cast<std::int32_t>(bytes))
                           : dictionary.SetValue(path.c_str(), std::to_string(bytes).c_str());
  if (!written) throw std::runtime_error("cannot write " + path);
}

std::string LongCopier::CopiedEntry() const { return "/LongCopies/" + InstanceName() + "/Copied"; }

}  // namespace OrvWorkFlow::Nodes
