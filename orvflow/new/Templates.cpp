#include "orvflow/new/Templates.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "OrvWorkFlow/Names.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr std::size_t kLongestName = 64;

// All of the language but those that no identifier can be; and macros that the compilers define without being asked.
constexpr const char* kTakenWords[] = {
    "alignas",     "alignof",  "and",        "and_eq",    "asm",       "auto",         "bitand",
    "bitor",       "bool",     "break",      "case",      "catch",     "char",         "char16_t",
    "char32_t",    "char8_t",  "class",      "co_await",  "co_return", "co_yield",     "compl",
    "concept",     "const",    "const_cast", "consteval", "constexpr", "constinit",    "continue",
    "decltype",    "default",  "delete",     "do",        "double",    "dynamic_cast", "else",
    "enum",        "explicit", "export",     "extern",    "false",     "float",        "for",
    "friend",      "goto",     "if",         "inline",    "int",       "long",         "mutable",
    "namespace",   "new",      "noexcept",   "not",       "not_eq",    "nullptr",      "operator",
    "or",          "or_eq",    "private",    "protected", "public",    "register",     "reinterpret_cast",
    "requires",    "return",   "short",      "signed",    "sizeof",    "static",       "static_assert",
    "static_cast", "struct",   "switch",     "template",  "this",      "thread_local", "throw",
    "true",        "try",      "typedef",    "typeid",    "typename",  "union",        "unsigned",
    "using",       "virtual",  "void",       "volatile",  "wchar_t",   "while",        "xor",
    "xor_eq",      "EOF",      "NULL",       "assert",    "errno",     "i386",         "linux",
    "stderr",      "stdin",    "stdout",     "unix",      "windows",   "WIN32",        "offsetof",
};

// What the library registers itself: a node of that name would never be made.
constexpr const char* kObjects[] = {
    ObjectNames::kDictionary,     ObjectNames::kEncryption,   ObjectNames::kFileSystem,
    ObjectNames::kRegExp,         ObjectNames::kUtilityStore, ObjectNames::kWorkFlowEngine,
    ObjectNames::kSignalMediator, ObjectNames::kLogger,       ObjectNames::kHostApp,
};

// Targets and folders that CMake makes beside that of a host.
constexpr const char* kTargets[] = {
    "all",           "clean",
    "help",          "install",
    "package",       "package_source",
    "preinstall",    "edit_cache",
    "rebuild_cache", "list_install_components",
    "test",          "ALL_BUILD",
    "INSTALL",       "PACKAGE",
    "RUN_TESTS",     "ZERO_CHECK",
    "CMakeFiles",    "Testing",
    "Makefile",
};

// Windows takes these for devices, whatever comes behind a dot.
constexpr const char* kDevices[] = {"con", "prn", "aux", "nul"};

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsWordCharacter(char c) { return IsLetter(c) || IsDigit(c) || c == '_'; }

template <std::size_t kCount>
bool IsAmong(std::string_view name, const char* const (&names)[kCount]) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool IsDevice(std::string_view name) {
  std::string lower(name);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (IsAmong(lower, kDevices)) return true;
  return lower.size() == 4 && (lower.starts_with("com") || lower.starts_with("lpt")) && IsDigit(lower.back());
}

std::string TokenOf(std::string_view kind) {
  if (kind == "node") return "NewNode";
  if (kind == "flow") return "NewFlow";
  if (kind == "host") return "NewHost";
  return {};
}

bool HasWord(std::string_view text, std::string_view word) {
  for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1)) {
    const std::size_t end = at + word.size();
    const bool begins = at == 0 || !IsWordCharacter(text[at - 1]);
    if (begins && (end == text.size() || !IsWordCharacter(text[end]))) return true;
  }
  return false;
}

// Where a node's name would be a name of something else as well.
bool IsCode(std::string_view path) { return path.ends_with(".cpp") || path.ends_with("CMakeLists.txt"); }

std::string Replaced(std::string_view text, std::string_view token, std::string_view name) {
  std::string result;
  std::size_t done = 0;
  for (std::size_t at = text.find(token); at != std::string_view::npos; at = text.find(token, done)) {
    result.append(text.substr(done, at - done)).append(name);
    done = at + token.size();
  }
  return result.append(text.substr(done));
}

}  // namespace

std::vector<NewFile> FilesFor(std::string_view kind, std::string_view name) {
  const std::string token = TokenOf(kind);
  const std::string folder = std::string(kind) + "/";
  std::vector<NewFile> files;
  if (token.empty()) return files;
  const std::vector<TemplateFile> templates = TemplateFiles();
  for (const TemplateFile& file : templates) {
    if (!file.path.starts_with(folder)) continue;
    files.push_back({Replaced(file.path.substr(folder.size()), token, name), Replaced(file.text, token, name)});
  }
  return files;
}

std::string WhyNotAName(std::string_view kind, std::string_view name) {
  if (name.empty() || !IsLetter(name.front()) || !std::all_of(name.begin(), name.end(), IsWordCharacter)) {
    return "a name begins with a letter, and has letters, digits and _ only, such as LineCounter";
  }
  if (name.size() > kLongestName) return "a name has " + std::to_string(kLongestName) + " characters at most";
  if (IsDevice(name)) return "Windows takes that name for a device; choose another one";
  if (kind == "host" && IsAmong(name, kTargets)) return "CMake makes something of that name; choose another one";
  if (kind != "node") return {};
  if (IsAmong(name, kObjects)) return "the library has an object of that name; choose another one";
  if (name.find("__") != std::string_view::npos) return "C++ keeps names with __ for itself; choose another one";
  if (IsAmong(name, kTakenWords)) return "C++ or its compilers know that word; choose another one";
  const std::string token = TokenOf(kind);
  const std::vector<TemplateFile> templates = TemplateFiles();
  for (const TemplateFile& file : templates) {
    const bool is_ours = file.path.starts_with(std::string(kind) + "/") && IsCode(file.path);
    if (is_ours && name != token && HasWord(file.text, name)) {
      return "the code that would be made uses that word already; choose another one";
    }
  }
  return {};
}

}  // namespace OrvWorkFlow::Program
