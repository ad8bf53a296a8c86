// Turns workflow paths into platform paths.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "filesystem/ErrorHook.h"
#include "platform/Platform.h"

namespace OrvWorkFlow::Core::FileSystem {

// Any thread. Keeps the engine that the first workflow-relative path finds, for good: the engine must outlive it.
class PathTranslator {
 public:
  PathTranslator(const System::Platform& platform, ErrorHook& hook) : platform_(platform), hook_(hook) {}

  // "$MACRO..." becomes the macro's value with the rest in backslashes; "$Flow/x" the directory of that workflow's
  // definition file with "\x". Anything else is a platform path: white space at its ends goes, then one final backslash
  // that does not stand behind a drive's colon. False leaves `*platform_path` untouched; an empty result is possible.
  bool Translate(std::u16string_view path, std::u16string* platform_path);

  // The same through the code page. `*exact` (may be null) tells whether nothing was lost in the result.
  bool Translate(std::string_view path, std::string* platform_path, bool* exact = nullptr);

 private:
  bool FollowWorkflows(std::u16string path, std::u16string* platform_path);
  bool DirectoryOfWorkflow(IWorkFlowEngine& engine, std::u16string_view name, std::u16string* directory);
  IWorkFlowEngine* Engine();

  const System::Platform& platform_;
  ErrorHook& hook_;
  std::atomic<IWorkFlowEngine*> engine_ = nullptr;
};

}  // namespace OrvWorkFlow::Core::FileSystem
