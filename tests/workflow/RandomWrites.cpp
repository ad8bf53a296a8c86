#include "tests/workflow/RandomWrites.h"

#include <thread>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/support/MarshalledTexts.h"

namespace orv_test {

namespace {

using OrvWorkFlow::IDictionary;

constexpr char kInstances[] = "/WorkFlowEngine/WorkNodes/Actor/Instances";
constexpr char kTree[] = "/WorkFlowEngine/AbsorbTree";
constexpr char kDirectories[] = "/WorkFlowEngine/Directories";

void Set(IDictionary& dictionary, const std::string& path, const std::string& value) {
  dictionary.SetValue(path.c_str(), value.c_str());
}

void SetList(IDictionary& dictionary, const std::string& path, const std::vector<std::string>& values) {
  const PStringList list(values);
  dictionary.SetValue(path.c_str(), static_cast<const OrvWorkFlow::IOrvPStringList*>(list.out()));
}

std::string FlowName(int number) { return number == 0 ? "Flow" : "Guest" + std::to_string(number - 1); }

void DefineNode(IDictionary& dictionary, const std::string& instance, const std::string& flow) {
  const std::string path = std::string(kInstances) + "/" + instance;
  Set(dictionary, path + "/wfName", flow);
  Set(dictionary, path + "/maps/out/map0", "Actor,N0,in");
  Set(dictionary, path + "/maps/alt/map0", "Actor,N1,in");
}

}  // namespace

RandomWrites::RandomWrites(std::uint32_t seed, IDictionary& dictionary, OrvWorkFlow::IWorkFlowEngine& engine)
    : dictionary_(dictionary), engine_(engine), random_(seed) {
  for (int i = 0; i < kGuests; ++i) {
    auto* const guest = static_cast<IDictionary*>(
        OrvWorkFlow::WorkFlowFactory::CreateNewObject("Dictionary")->QueryInterface("IDictionary"));
    const std::string number = std::to_string(i);
    Set(*guest, "/WorkFlowEngine/WorkFlowName", "Guest" + number);
    Set(*guest, "/WorkFlowEngine/WorkNodes/Actor/Binaries/win32_bin", "GoodPlugin");
    DefineNode(*guest, "G" + number, "Guest" + number);
    SetList(*guest, std::string(kDirectories) + "/Guest" + number + "/ReadDirs", {"guest" + number});
    const std::string start = "/WorkFlowEngine/Mappings/StartSignal";
    Set(*guest, start + "/ReceiverTypeName", "Actor");
    Set(*guest, start + "/ReceiverInstanceName", "G" + number);
    Set(*guest, start + "/IncomingSignalName", "in");
    guest->SaveFile(directory_.file("guest" + number + ".xml").c_str());
    guest->Release();
  }
}

void RandomWrites::SetUp() {
  Set(dictionary_, "/WorkFlowEngine/WorkFlowName", "Flow");
  Set(dictionary_, "/WorkFlowEngine/WorkNodes/Actor/Binaries/win32_bin", "GoodPlugin");
  for (int i = 0; i < kNodes; ++i) DefineNode(dictionary_, "N" + std::to_string(i), "Flow");
  Set(dictionary_, std::string(kTree) + "/node0", "Flow");
  SetList(dictionary_, std::string(kDirectories) + "/Flow/ReadDirs", {"flow"});
}

void RandomWrites::Change() {
  switch (Below(5)) {
    case 0:
      return ChangeThroughEngine();
    case 1: {
      std::thread other([this] { ChangeDictionary(); });
      return other.join();
    }
    default:
      return ChangeDictionary();
  }
}

void RandomWrites::ChangeThroughEngine() {
  const std::string node = Node();
  const std::string receiver = Node();
  const char* const signal = Below(2) == 0 ? "out" : "alt";
  switch (Below(6)) {
    case 0:
      engine_.RemoveSignalMapping("Actor", node.c_str(), signal, nullptr, nullptr, "Actor", receiver.c_str(), "in");
      break;
    case 1:
      if (Below(4) == 0) engine_.RemoveAllSignalMappings();
      break;
    case 2:
      engine_.AbsorbFlow(directory_.file("guest" + std::to_string(Below(kGuests)) + ".xml").c_str(), Below(2) == 0);
      break;
    default:
      engine_.AddSignalMapping("Actor", node.c_str(), signal, nullptr, nullptr, "Actor", receiver.c_str(), "in");
  }
}

void RandomWrites::ChangeDictionary() {
  const std::string path = Path();
  switch (Below(8)) {
    case 0:
    case 1:
      return ChangeSubtree(path);
    case 2:
      return ChangeRedirection(path);
    case 3:
      return ChangeByLoading(path);
    default:
      return ChangeValue(path);
  }
}

void RandomWrites::ChangeValue(const std::string& path) {
  const char* const at = path.c_str();
  if (path.ends_with("/ReadDirs")) return SetList(dictionary_, path, {"dir" + std::to_string(Below(9)), "more"});
  if (path.ends_with("/wfName") || path.starts_with(kTree)) return Set(dictionary_, path, FlowName(Below(kGuests + 1)));
  if (Below(12) == 0) {
    dictionary_.SetValue(at, std::int32_t{7});
  } else if (Below(12) == 0) {
    dictionary_.SetAttribute(at, "note", "x");
  } else {
    Set(dictionary_, path, Receiver());
  }
}

void RandomWrites::ChangeSubtree(const std::string& path) {
  const char* const at = path.c_str();
  const std::string other = Path();
  switch (Below(7)) {
    case 0:
      dictionary_.Delete(at);
      break;
    case 1:
      dictionary_.Clear(at);
      break;
    case 2:
      dictionary_.Rename(at, Below(2) == 0 ? "map7" : "away");
      break;
    case 3:
      dictionary_.MoveSubtree(at, other.c_str());
      break;
    default:
      dictionary_.CopySubtree(at, other.c_str());
  }
}

void RandomWrites::ChangeRedirection(const std::string& path) {
  const std::string elsewhere = "/Data/r" + std::to_string(Below(3));
  if (Below(3) == 0) {
    dictionary_.RemoveRedirection(path.c_str());
  } else if (Below(2) == 0) {
    const PStringList targets(std::vector<std::string>{elsewhere});
    dictionary_.SetRedirection(path.c_str(), targets.out());
  } else {
    Set(dictionary_, elsewhere, Below(2) == 0 ? Receiver() : FlowName(Below(kGuests + 1)));
  }
}

void RandomWrites::ChangeByLoading(const std::string& path) {
  const std::string file = directory_.file("saved.xml");
  const std::string other = Path();
  switch (Below(4)) {
    case 0: {
      const Stream stream;
      if (dictionary_.SaveSubtreeToStream(path.c_str(), stream.out())) {
        dictionary_.LoadSubtreeFromStream(other.c_str(), stream.out());
      }
      break;
    }
    case 1: {
      const PString text;
      if (dictionary_.SaveToText(text.out())) dictionary_.LoadFromText(text.str().data(), text.str().size());
      break;
    }
    case 2:
      is_saved_ = dictionary_.SaveFile(file.c_str()) || is_saved_;
      break;
    default:
      if (is_saved_) dictionary_.LoadFile(file.c_str());
  }
}

std::string RandomWrites::Node() { return "N" + std::to_string(Below(kNodes)); }

// Now and then what is none.
std::string RandomWrites::Receiver() { return Below(15) == 0 ? "broken" : "Actor," + Node() + ",in"; }

std::string RandomWrites::PathOfMapping() {
  std::string path = std::string(kInstances) + "/" + Node() + "/maps";
  if (Below(8) != 0) path += Below(2) == 0 ? "/out" : "/alt";
  if (Below(8) != 0) path += "/map" + std::to_string(Below(3));
  return path;
}

std::string RandomWrites::Path() {
  switch (Below(10)) {
    case 0:
      return std::string(kInstances) + "/" + Node() + "/wfName";
    case 1: {
      std::string path = kTree;
      for (int depth = Below(4); depth > 0; --depth) path += "/node" + std::to_string(Below(2));
      return path;
    }
    case 2:
      return std::string(kDirectories) + "/" + FlowName(Below(kGuests + 1)) + "/ReadDirs";
    case 3:
    case 4:
      return "/Data/" + Node();
    default:
      return PathOfMapping();
  }
}

}  // namespace orv_test
