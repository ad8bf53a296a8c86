// Workflow paths: the translator against the rules written down plainly, in both widths. An input is a path and, behind
// line feeds, workflows with their definition files: NAME=FILE.
#include <algorithm>
#include <optional>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "filesystem/LocationMacros.h"
#include "filesystem/PathTranslator.h"
#include "fuzz/Requirements.h"
#include "fuzz/Targets.h"
#include "tests/fakes/FakeEngine.h"

namespace OrvWorkFlow::Fuzz {

namespace {

class SilentHook final : public Core::FileSystem::ErrorHook {};

// What the macros stand for on this system is not of interest here.
std::u16string ValueOf(const Core::FileSystem::MacroName& name) {
  std::u16string value = Core::FileSystem::MacroValue(Core::System::SystemPlatform(), name.macro);
  if (value.ends_with('\\')) value.pop_back();
  return value;
}

// One engine for all inputs: a translator keeps it, and so may the factory.
orv_test::FakeEngine& Engine() {
  static orv_test::FakeEngine* const engine = [] {
    static orv_test::FakeEngine made;
    WorkFlowFactory::AddGlobalObject("WorkFlowEngine", &made, false);
    return &made;
  }();
  return *engine;
}

std::optional<std::u16string> Wide(const std::string& narrow) {
  std::u16string wide;
  if (!Core::System::SystemPlatform().code_page.Widen(narrow, &wide)) return std::nullopt;
  return wide;
}

bool IsBlank(char16_t c) {
  return std::u16string_view(
             u"\t\n\v\f\r \u0085\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008"
             u"\u2009\u200A\u2028\u2029\u202F\u205F\u3000")
             .find(c) != std::u16string_view::npos;
}

std::u16string SlowClean(std::u16string path) {
  while (!path.empty() && IsBlank(path.front())) path.erase(0, 1);
  while (!path.empty() && IsBlank(path.back())) path.pop_back();
  if (path.size() >= 2 && path.back() == '\\' && path[path.size() - 2] != ':') path.pop_back();
  return path;
}

std::u16string Backslashed(std::u16string path) {
  std::replace(path.begin(), path.end(), u'/', u'\\');
  return path;
}

// With the macro at its beginning replaced; nothing when it begins with none.
std::optional<std::u16string> SlowExpand(const std::u16string& path) {
  for (const Core::FileSystem::MacroName& name : Core::FileSystem::kMacroNames) {
    if (path.starts_with(name.text)) return ValueOf(name) + Backslashed(path.substr(name.text.size()));
  }
  return std::nullopt;
}

// The directory of a workflow's definition file.
std::optional<std::u16string> SlowDirectory(const std::u16string& name) {
  std::string narrow;
  bool exact = false;
  if (!Core::System::SystemPlatform().code_page.Narrow(name, &narrow, &exact) || !exact) return std::nullopt;
  const auto file = Engine().paths.find(narrow.c_str());
  if (file == Engine().paths.end()) return std::nullopt;
  std::optional<std::u16string> wide = Wide(file->second);
  if (wide) wide->resize(std::min(wide->find_last_of(u"/\\"), wide->size()));
  return wide;
}

std::optional<std::u16string> SlowTranslate(std::u16string path) {
  if (path.empty()) return std::nullopt;
  if (path[0] != '$' || path.find('\\') != std::u16string::npos) return SlowClean(path);
  if (const auto expanded = SlowExpand(path)) return expanded;
  for (std::size_t hop = 0; hop <= Engine().paths.size(); ++hop) {  // More hops than workflows are a circle.
    const std::size_t slash = std::min(path.find('/'), path.size());
    const std::optional<std::u16string> directory = SlowDirectory(path.substr(1, slash - 1));
    if (!directory) return std::nullopt;
    path = *directory + path.substr(slash);
    if (!path.starts_with(u'$')) return Backslashed(path);
    for (const std::u16string_view end : {u"$TEMP", u"$PERMANENT", u"$HOSTEXEC"}) {
      if (path.starts_with(end)) return SlowExpand(path);
    }
  }
  return std::nullopt;
}

}  // namespace

void WorkflowPath(std::string_view input) {
  constexpr std::size_t kMostWorkflows = 20;  // Fewer than the links that are followed.
  const std::string path(TakeUntil('\n', input));
  Engine().paths.clear();
  Engine().asked.clear();
  while (!input.empty() && Engine().paths.size() < kMostWorkflows) {
    std::string_view line = TakeUntil('\n', input);
    const std::string name(TakeUntil('=', line));
    Engine().paths.emplace(name, line);
  }
  SilentHook hook;
  Core::FileSystem::PathTranslator translator(Core::System::SystemPlatform(), hook);

  std::u16string wide_path;
  std::string narrow = "untouched";
  const bool is_text = Core::System::SystemPlatform().code_page.WidenPath(path, &wide_path);
  const bool is_translated = translator.Translate(path, &narrow);
  const std::optional<std::u16string> expected = is_text ? SlowTranslate(wide_path) : std::nullopt;
  std::string expected_narrow;
  const bool is_narrow =
      expected && Core::System::SystemPlatform().code_page.Narrow(*expected, &expected_narrow, nullptr);
  Require(is_translated == is_narrow, "translated in narrow characters, or not");
  RequireEqual<std::string>(narrow, is_narrow ? expected_narrow : "untouched", "platform path");

  // The same bytes as units, so that halves of surrogate pairs come by.
  std::u16string units = wide_path;
  for (std::size_t i = 0; i + 1 < path.size() && !is_text; i += 2) {
    units +=
        static_cast<char16_t>(static_cast<unsigned char>(path[i]) * 0x100 + static_cast<unsigned char>(path[i + 1]));
  }
  std::u16string wide = u"untouched";
  const std::optional<std::u16string> expected_wide = SlowTranslate(units);
  Require(translator.Translate(units, &wide) == expected_wide.has_value(), "translated in wide characters, or not");
  Require(wide == expected_wide.value_or(u"untouched"), "another wide platform path");
}

}  // namespace OrvWorkFlow::Fuzz
