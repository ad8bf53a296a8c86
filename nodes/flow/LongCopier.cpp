#include "nodes/flow/LongCopier.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

bool LongCopier::OnSignal(std::string_view signal) {
  if (signal == "copy") {
    StopWork();
    SetCopied(0);
  } else if (signal != "resume") {
    return false;
  }
  Begin();
  return true;
}

WorkerNode::Outcome LongCopier::Work() {
  const std::string source = TextParameter("Source", "");
  const std::string target = TextParameter("Target", "");
  const std::int32_t step = std::max(1, NumberParameter("StepBytes", 65536));
  const std::chrono::milliseconds pause(std::max(0, NumberParameter("PauseMilliseconds", 0)));
  IFileSystemA& file_system = FileSystem();
  const StreamHolder content;
  if (!file_system.ReadFileToStream(source.c_str(), content.get())) return Fail("cannot read " + source);
  const char* bytes = static_cast<const char*>(content->GetData());
  const auto size = static_cast<std::int32_t>(content->GetSize());

  std::int32_t copied = std::min(Copied(), size);
  if (copied == 0 || file_system.FileSize(target.c_str()) != static_cast<std::uint32_t>(copied)) {
    if (!file_system.WriteFileBytes(target.c_str(), bytes, static_cast<std::size_t>(copied))) {
      return Fail("cannot write " + target);
    }
  }
  const TextHolder part;
  while (copied < size) {
    if (StopWanted() || !Pause(pause)) return Outcome::Stopped;
    const std::int32_t count = std::min(step, size - copied);
    if (!part->Assign(bytes + copied, static_cast<std::size_t>(count)) ||
        !file_system.AppendFileString(target.c_str(), part.get())) {
      return Fail("cannot write " + target);
    }
    copied += count;
    SetCopied(copied);
  }
  FireOutput("copied");
  return Outcome::Done;
}

WorkerNode::Outcome LongCopier::Fail(const std::string& problem) {
  TellUser(problem);
  FireOutput("failed");
  return Outcome::Done;
}

std::int32_t LongCopier::Copied() const {
  std::int32_t bytes = 0;
  WorkflowDictionary().GetValue(("/LongCopies/" + InstanceName() + "/Copied").c_str(), &bytes);
  return std::max(0, bytes);
}

void LongCopier::SetCopied(std::int32_t bytes) const {
  const std::string path = "/LongCopies/" + InstanceName() + "/Copied";
  if (!WorkflowDictionary().SetValue(path.c_str(), bytes)) throw std::runtime_error("cannot write " + path);
}

}  // namespace OrvWorkFlow::Nodes
