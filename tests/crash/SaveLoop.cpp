#include "tests/crash/SaveLoop.h"

#include <memory>
#include <stdexcept>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/WorkFlowFactory.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;

// Each holds the number of the save: enough of them that a file does not fit in one page.
constexpr int kEntries = 300;

std::string PathOf(int i) { return "/part" + std::to_string(i / 20) + "/value" + std::to_string(i); }

struct ReleaseIt {
  void operator()(IDictionary* dictionary) const { dictionary->Release(); }
};

std::unique_ptr<IDictionary, ReleaseIt> MakeDictionary() {
  IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewObject("Dictionary");
  if (object == nullptr) throw std::runtime_error("there is no dictionary");
  return std::unique_ptr<IDictionary, ReleaseIt>(static_cast<IDictionary*>(object->QueryInterface("IDictionary")));
}

}  // namespace

void MakeGlobalObjects() {
  if (!WorkFlowFactory::LoadSharedLibrary(ORVFLOW_CORE_LIBRARY)) {
    throw std::runtime_error(WorkFlowFactory::LastLoadError());
  }
  if (WorkFlowFactory::CreateNewGlobalObject("FileSystem") == nullptr)
    throw std::runtime_error("there is no file system");
}

void SaveForEver(const std::string& file, std::int32_t first) {
  const auto dictionary = MakeDictionary();
  for (std::int32_t number = first;; ++number) {
    for (int i = 0; i < kEntries; ++i) dictionary->SetValue(PathOf(i).c_str(), number);
    dictionary->SaveFile(file.c_str());  // Whoever reads the file at this moment may make it fail.
  }
}

std::optional<std::int32_t> NumberOfSaved(const std::string& file) {
  const auto dictionary = MakeDictionary();
  if (!dictionary->LoadFile(file.c_str())) return std::nullopt;
  std::int32_t number = 0;
  if (!dictionary->GetValue(PathOf(0).c_str(), &number)) return std::nullopt;
  for (int i = 1; i < kEntries; ++i) {
    std::int32_t other = 0;
    if (!dictionary->GetValue(PathOf(i).c_str(), &other) || other != number) return std::nullopt;
  }
  return number;
}

}  // namespace orv_test
