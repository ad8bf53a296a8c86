#include "filesystem/PathTranslator.h"

#include <algorithm>
#include <vector>

#include "CoreObjects/CoreObjects.h"
#include "CoreObjects/FindObject.h"
#include "CoreObjects/Marshalled.h"
#include "filesystem/LocationMacros.h"
#include "filesystem/PathText.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

// Workflows whose definition file lies beside that of another workflow: more links than this are a mistake.
constexpr std::size_t kMostHops = 64;

template <class Char>
std::basic_string<Char> CleanPlatformPath(std::basic_string_view<Char> path) {
  path = Trimmed(path);
  if (path.size() >= 2 && path.back() == Char{'\\'} && path[path.size() - 2] != Char{':'}) path.remove_suffix(1);
  return std::basic_string<Char>(path);
}

// Only these three end a chain of workflows.
bool EndsChain(std::u16string_view path) {
  return path.starts_with(u"$TEMP") || path.starts_with(u"$PERMANENT") || path.starts_with(u"$HOSTEXEC");
}

}  // namespace

bool PathTranslator::Translate(std::u16string_view path, std::u16string* platform_path) {
  if (path.empty() || platform_path == nullptr) return hook_.Report(Failures::kInvalidParameter);
  if (!IsWorkflowPath(path)) {
    *platform_path = CleanPlatformPath(path);
    return true;
  }
  if (FindMacro(path) != nullptr) {
    *platform_path = ExpandMacro(platform_, path);
    return true;
  }
  return FollowWorkflows(std::u16string(path), platform_path);
}

bool PathTranslator::Translate(std::string_view path, std::string* platform_path, bool* exact) {
  if (path.empty() || platform_path == nullptr) return hook_.Report(Failures::kInvalidParameter);
  std::u16string wide;
  std::u16string result;
  if (!IsWorkflowPath(path) && IsPrintableAscii(path)) {
    *platform_path = CleanPlatformPath(path);
    if (exact != nullptr) *exact = true;
    return true;
  }
  if (!platform_.code_page.WidenPath(path, &wide)) return hook_.Report(Failures::kInvalidParameter);
  return Translate(wide, &result) && platform_.code_page.Narrow(result, platform_path, exact);
}

bool PathTranslator::FollowWorkflows(std::u16string path, std::u16string* platform_path) {
  IWorkFlowEngine* engine = Engine();
  if (engine == nullptr) return hook_.Report(Failures::kNoEngine);
  std::vector<std::u16string> names;
  for (;;) {
    const std::size_t slash = std::min(path.find(u'/'), path.size());
    const std::u16string name = path.substr(1, slash - 1);
    // The next name depends on this one alone, so a name that comes back would come back for ever.
    const bool circle = std::find(names.begin(), names.end(), name) != names.end();
    std::u16string result;
    if (circle || names.size() == kMostHops || !DirectoryOfWorkflow(*engine, name, &result)) {
      return hook_.Report(Failures::kUnknownWorkflow);
    }
    result += path.substr(slash);
    if (!result.starts_with(u'$')) {
      std::replace(result.begin(), result.end(), u'/', u'\\');
      *platform_path = std::move(result);
      return true;
    }
    if (EndsChain(result)) {
      *platform_path = ExpandMacro(platform_, result);
      return true;
    }
    names.push_back(name);
    path = std::move(result);
  }
}

bool PathTranslator::DirectoryOfWorkflow(IWorkFlowEngine& engine, std::u16string_view name, std::u16string* directory) {
  std::string narrow_name;
  std::string file;
  std::u16string wide_file;
  bool exact = false;
  if (!platform_.code_page.Narrow(name, &narrow_name, &exact) || !exact) return false;
  const auto ask = [&](IOrvPString* path) { return engine.GetWorkFlowFilePath(narrow_name.c_str(), path); };
  if (!FetchText(file, ask) || !platform_.code_page.Widen(file, &wide_file)) return false;
  const std::size_t separator = LastSeparator<char16_t>(wide_file);
  if (separator != std::u16string::npos) wide_file.resize(separator);
  *directory = std::move(wide_file);
  return true;
}

IWorkFlowEngine* PathTranslator::Engine() {
  IWorkFlowEngine* engine = engine_.load(std::memory_order_acquire);
  if (engine != nullptr) return engine;
  engine = FindGlobalObject<IWorkFlowEngine>(ObjectNames::kWorkFlowEngine, InterfaceNames::kWorkFlowEngine).get();
  engine_.store(engine, std::memory_order_release);
  return engine;
}

}  // namespace OrvWorkFlow::Core::FileSystem
