// Workflow paths and what becomes of them.
#include <algorithm>
#include <array>

#include "filesystem/LocationMacros.h"
#include "filesystem/PathText.h"
#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using orv_test::FakeEngine;
using orv_test::GlobalEngine;
using Names = std::vector<std::string>;

constexpr char kInvalidParameter[] = "/errors/invalid parameter|Invalid parameter.";
constexpr char kNoEngine[] =
    "/errors/IWorkFlow object required|The global workflow object is required but unavailable.";
constexpr char kUnknownWorkflow[] =
    "/errors/IWorkFlow cannot convert workflow name to path|The global workflow object was unable to find a workflow "
    "path for the requested workflow name.";

// Locations that a test sets.
template <class Char>
class ScriptedLocations final : public System::LocationsOf<Char> {
 public:
  std::string windows = "C:\\Windows";
  std::string system = "C:\\Windows\\system32";
  std::string temp = "C:\\Users\\me\\Temp\\";
  std::string program_files = "C:\\Program Files (x86)";
  std::string module = "C:\\Host\\bin\\host.exe";

  std::uint32_t WindowsDirectory(Char* buffer, std::uint32_t capacity) override {
    return Answer(windows, buffer, capacity);
  }
  std::uint32_t SystemDirectory(Char* buffer, std::uint32_t capacity) override {
    return Answer(system, buffer, capacity);
  }
  std::uint32_t TempPath(Char* buffer, std::uint32_t capacity) override { return Answer(temp, buffer, capacity); }
  std::uint32_t ExpandVariables(const Char* text, Char* buffer, std::uint32_t capacity) override {
    EXPECT_EQ(orv_test::Ascii(std::basic_string<Char>(text)), "%ProgramFiles%");
    return Answer(program_files, buffer, capacity);
  }
  std::uint32_t ModuleFileName(Char* buffer, std::uint32_t capacity) override {
    return Answer(module, buffer, capacity);
  }

 private:
  // As the system does: what is too long is cut, without a terminator.
  static std::uint32_t Answer(const std::string& value, Char* buffer, std::uint32_t capacity) {
    const std::size_t length = std::min<std::size_t>(value.size(), capacity);
    std::copy_n(value.begin(), length, buffer);
    if (length < capacity) buffer[length] = 0;
    return static_cast<std::uint32_t>(value.size());
  }
};

template <class Char>
class Translation : public orv_test::FileSystemTest<Char> {
 protected:
  Translation()
      : platform_{{System::SystemPlatform().narrow.files, System::SystemPlatform().narrow.directories,
                   System::SystemPlatform().narrow.trees, narrow_},
                  {System::SystemPlatform().wide.files, System::SystemPlatform().wide.directories,
                   System::SystemPlatform().wide.trees, wide_},
                  System::SystemPlatform().open_files,
                  System::SystemPlatform().code_page,
                  System::SystemPlatform().reasons,
                  System::SystemPlatform().written} {
    this->object_->Release();
    this->object_ = new CFileSystem(platform_, this->hook_);
    const char* name = sizeof(Char) == 1 ? "IFileSystemA" : "IFileSystemW";
    this->face_ = static_cast<typename TestFixture::Face*>(this->object_->QueryInterface(name));
  }
  using TestFixture = orv_test::FileSystemTest<Char>;

  std::string Of(std::string_view path) { return this->Translate(this->T(path)); }

  ScriptedLocations<char> narrow_;
  ScriptedLocations<char16_t> wide_;
  const System::Platform platform_;
};
TYPED_TEST_SUITE(Translation, orv_test::Widths);

TYPED_TEST(Translation, PlatformPathsAreCleanedOnly) {
  const struct {
    const char* path;
    const char* result;
  } cases[] = {
      {"C:\\Data\\", "C:\\Data"},
      {"C:\\", "C:\\"},
      {"D:", "D:"},
      {"  C:\\x  ", "C:\\x"},
      {"\t\r\n C:\\x\f\v", "C:\\x"},
      {"C:/Data/x", "C:/Data/x"},
      {"C:/Data/", "C:/Data/"},
      {"$WINDIR\\x", "$WINDIR\\x"},
      {"$TEMP\\x\\", "$TEMP\\x"},
      {" $TEMP/x", "$TEMP/x"},
      {"C:\\a\\\\", "C:\\a\\"},
      {"C:\\\\", "C:\\"},
      {"\\\\", "\\"},
      {"\\", "\\"},
      {"C:\\a \\", "C:\\a "},
      {"   ", ""},
      {"relative", "relative"},
      {"/host/path/", "/host/path/"},
      {"a$TEMP/x", "a$TEMP/x"},
  };
  for (const auto& one : cases) EXPECT_EQ(this->Of(one.path), one.result) << one.path;
  EXPECT_TRUE(this->hook_.Take().empty());
}

TYPED_TEST(Translation, Macros) {
  const struct {
    const char* path;
    const char* result;
  } cases[] = {
      {"$TEMP", "C:\\Windows\\Temp"},
      {"$TEMP/a/b.txt", "C:\\Windows\\Temp\\a\\b.txt"},
      {"$TEMPFILES/x", "C:\\Windows\\TempFILES\\x"},
      {"$TEMP/$TEMP/x", "C:\\Windows\\Temp\\$TEMP\\x"},
      {"$TEMP/x/", "C:\\Windows\\Temp\\x\\"},
      {"$TEMP/x ", "C:\\Windows\\Temp\\x "},
      {"$PERMANENT", "C:\\Windows"},
      {"$PERMANENT/x", "C:\\Windows\\x"},
      {"$HOSTEXEC", "C:\\Host\\bin"},
      {"$HOSTEXEC/plugins", "C:\\Host\\bin\\plugins"},
      {"$WINDIR", "C:\\Windows"},
      {"$WINDIR/x", "C:\\Windows\\x"},
      {"$WINSYSDIR/x", "C:\\Windows\\system32\\x"},
      {"$PROGRAMFILES/x", "C:\\Program Files (x86)\\x"},
      {"$WINTEMP", "C:\\Users\\me\\Temp"},
      {"$WINTEMP/a/b.txt", "C:\\Users\\me\\Temp\\a\\b.txt"},
      {"$WINTEMPLATE/x", "C:\\Users\\me\\TempLATE\\x"},
  };
  for (const auto& one : cases) EXPECT_EQ(this->Of(one.path), one.result) << one.path;
  // Letter case counts, and there is no engine for a workflow "temp".
  EXPECT_EQ(this->Of("$temp/x"), "failed");
}

TYPED_TEST(Translation, AValueIsAskedForAnew) {
  EXPECT_EQ(this->Of("$WINDIR/x"), "C:\\Windows\\x");
  this->wide_.windows = "D:\\WinNT\\";
  EXPECT_EQ(this->Of("$WINDIR"), "D:\\WinNT");
  EXPECT_EQ(this->Of("$WINDIR/x"), "D:\\WinNT\\x");
  EXPECT_EQ(this->Of("$TEMP"), "D:\\WinNT\\\\Temp");
  this->wide_.temp = "C:\\";
  EXPECT_EQ(this->Of("$WINTEMP"), "C:");
}

TYPED_TEST(Translation, TheNarrowQueryStandsInForTheWideOne) {
  this->wide_ = {};
  for (std::string* value : {&this->wide_.windows, &this->wide_.system, &this->wide_.temp, &this->wide_.program_files,
                             &this->wide_.module}) {
    value->clear();
  }
  this->narrow_.windows = "E:\\W";
  this->narrow_.system = "E:\\S";
  this->narrow_.temp = "E:\\T\\";
  this->narrow_.program_files = "E:\\P";
  this->narrow_.module = "E:\\H\\h.exe";
  EXPECT_EQ(this->Of("$TEMP/x"), "E:\\W\\Temp\\x");
  EXPECT_EQ(this->Of("$PERMANENT/x"), "E:\\W\\x");
  EXPECT_EQ(this->Of("$WINDIR/x"), "E:\\W\\x");
  EXPECT_EQ(this->Of("$WINSYSDIR/x"), "E:\\S\\x");
  EXPECT_EQ(this->Of("$WINTEMP/x"), "E:\\T\\x");
  EXPECT_EQ(this->Of("$HOSTEXEC/x"), "E:\\H\\x");
  EXPECT_EQ(this->Of("$PROGRAMFILES/x"), "E:\\P\\x");
  // Without either, the programs lie on the drive of the Windows directory, or on C:.
  this->narrow_.program_files.clear();
  EXPECT_EQ(this->Of("$PROGRAMFILES/x"), "E:\\Program Files\\x");
  this->narrow_.windows.clear();
  EXPECT_EQ(this->Of("$PROGRAMFILES/x"), "C:\\Program Files\\x");
  // A value that nobody knows is empty.
  this->narrow_.system.clear();
  EXPECT_EQ(this->Of("$WINSYSDIR/x"), "\\x");
  EXPECT_EQ(this->Of("$WINSYSDIR"), "");
  EXPECT_EQ(this->Of("$TEMP"), "\\Temp");
}

TYPED_TEST(Translation, AnUndefinedProgramFilesVariableStays) {
  this->wide_.program_files = "%ProgramFiles%";
  EXPECT_EQ(this->Of("$PROGRAMFILES/x"), "%ProgramFiles%\\x");
}

TYPED_TEST(Translation, LongValuesAreCut) {
  this->wide_.windows = "C:\\" + std::string(600, 'w');
  this->wide_.temp = "C:\\" + std::string(600, 't');
  this->wide_.module = "C:\\" + std::string(200, 'a') + "\\" + std::string(200, 'b') + "\\h.exe";
  EXPECT_EQ(this->Of("$WINDIR"), this->wide_.windows.substr(0, 260));
  EXPECT_EQ(this->Of("$WINTEMP"), this->wide_.temp.substr(0, 521));
  EXPECT_EQ(this->Of("$HOSTEXEC"), "C:\\" + std::string(200, 'a'));
}

TYPED_TEST(Translation, HostExecutablesWithoutADirectory) {
  this->wide_.module = "C:h.exe";
  EXPECT_EQ(this->Of("$HOSTEXEC/x"), "C:\\x");
  this->wide_.module = "h.exe";
  EXPECT_EQ(this->Of("$HOSTEXEC/x"), "\\x");
}

TYPED_TEST(Translation, MissingArguments) {
  typename TestFixture::String output;
  TypeParam buffer[4] = {'#', '#', '#', '#'};
  EXPECT_FALSE(this->face_->WorkflowPathToPlatformPathString(nullptr, output.out()));
  EXPECT_FALSE(this->face_->WorkflowPathToPlatformPathString(this->T("C:\\x").c_str(), nullptr));
  EXPECT_FALSE(this->face_->WorkflowPathToPlatformPathString(this->T("").c_str(), output.out()));
  EXPECT_FALSE(this->face_->WorkflowPathToPlatformPath(nullptr, buffer, 4, nullptr));
  EXPECT_FALSE(this->face_->WorkflowPathToPlatformPath(this->T("").c_str(), buffer, 4, nullptr));
  EXPECT_FALSE(this->face_->WorkflowPathToPlatformPath(this->T("C:\\x").c_str(), nullptr, 0, nullptr));
  EXPECT_EQ(this->hook_.Take(), Names(6, kInvalidParameter));
  EXPECT_EQ(buffer[0], '#');
}

TYPED_TEST(Translation, IntoABuffer) {
  TypeParam buffer[6] = {'#', '#', '#', '#', '#', '#'};
  std::size_t length = 99;
  const auto path = this->T(" C:\\x ");
  EXPECT_FALSE(this->face_->WorkflowPathToPlatformPath(path.c_str(), nullptr, 0, &length));
  EXPECT_EQ(length, 4U);
  length = 99;
  EXPECT_FALSE(this->face_->WorkflowPathToPlatformPath(path.c_str(), buffer, 4, &length));
  EXPECT_EQ(length, 4U);
  EXPECT_EQ(buffer[0], '#');
  EXPECT_TRUE(this->face_->WorkflowPathToPlatformPath(path.c_str(), buffer, 5, &length));
  EXPECT_EQ(std::basic_string<TypeParam>(buffer), this->T("C:\\x"));
  EXPECT_EQ(buffer[5], '#');
  EXPECT_TRUE(this->face_->WorkflowPathToPlatformPath(path.c_str(), buffer, 6, nullptr));
  length = 99;
  EXPECT_FALSE(this->face_->WorkflowPathToPlatformPath(this->T("$Nobody/x").c_str(), buffer, 6, &length));
  EXPECT_EQ(length, 99U);
}

TYPED_TEST(Translation, WithoutAnEngine) {
  typename TestFixture::String output(this->T("untouched"));
  EXPECT_FALSE(this->face_->WorkflowPathToPlatformPathString(this->T("$Unknown/x").c_str(), output.out()));
  EXPECT_EQ(output.str(), this->T("untouched"));
  EXPECT_EQ(this->hook_.Take(), Names{kNoEngine});
  EXPECT_EQ(this->Of("$"), "failed");
  EXPECT_EQ(this->hook_.Take(), Names{kNoEngine});
}

// A global object of that name that is no engine is as good as none, and is asked again.
TYPED_TEST(Translation, WithAnEngineThatIsNone) {
  CFileSystem* other = new CFileSystem;
  EXPECT_TRUE(WorkFlowFactory::AddGlobalObject("WorkFlowEngine", static_cast<IFileSystemA*>(other), false));
  EXPECT_EQ(this->Of("$Flow/x"), "failed");
  EXPECT_EQ(this->hook_.Take(), Names{kNoEngine});
  WorkFlowFactory::ReleaseGlobalObjects();
  other->Release();
  FakeEngine engine;
  const GlobalEngine global(engine);
  engine.paths = {{"Flow", "C:\\Flows\\f.xml"}};
  EXPECT_EQ(this->Of("$Flow/x"), "C:\\Flows\\x");
}

TYPED_TEST(Translation, BesideAWorkflow) {
  FakeEngine engine;
  const GlobalEngine global(engine);
  engine.paths = {{"Flow", "C:\\Flows\\f.xml"},
                  {"Host", "/home/me/flows/f.xml"},
                  {"Mixed", "C:\\a/b\\c.xml"},
                  {"Bare", "flow.xml"},
                  {"Empty", ""},
                  {"Root", "/flow.xml"},
                  {"Drive", "C:\\flow.xml"},
                  {"", "C:\\Nameless\\f.xml"},
                  {"Mixed2", "C:\\a\\b/c.xml"},
                  {"A b", "C:\\Blank\\f.xml"}};
  const struct {
    const char* path;
    const char* result;
  } cases[] = {
      {"$Flow", "C:\\Flows"},
      {"$Flow/", "C:\\Flows\\"},
      {"$Flow/bin/tool.exe", "C:\\Flows\\bin\\tool.exe"},
      {"$Flow//x", "C:\\Flows\\\\x"},
      {"$Flow/../../x ", "C:\\Flows\\..\\..\\x "},
      {"$Host/x", "\\home\\me\\flows\\x"},
      {"$Mixed/x", "C:\\a\\b\\x"},
      {"$Mixed2/x", "C:\\a\\b\\x"},
      {"$Bare/x", "flow.xml\\x"},
      {"$Bare", "flow.xml"},
      {"$Empty/x", "\\x"},
      {"$Empty", ""},
      {"$Root", ""},
      {"$Root/x", "\\x"},
      {"$Drive", "C:"},
      {"$", "C:\\Nameless"},
      {"$/x", "C:\\Nameless\\x"},
      {"$A b/x", "C:\\Blank\\x"},
  };
  for (const auto& one : cases) EXPECT_EQ(this->Of(one.path), one.result) << one.path;
  EXPECT_TRUE(this->hook_.Take().empty());

  engine.throwing.insert("Thrower");
  for (const char* path : {"$Unknown/x", "$flow/x", "$Thrower/x"}) {
    EXPECT_EQ(this->Of(path), "failed") << path;
    EXPECT_EQ(this->hook_.Take(), Names{kUnknownWorkflow}) << path;
  }
}

TYPED_TEST(Translation, ChainsOfWorkflows) {
  FakeEngine engine;
  const GlobalEngine global(engine);
  engine.paths = {{"First", "$Second/sub/f.xml"}, {"Second", "C:\\Second\\f.xml"},
                  {"InTemp", "$TEMP\\f.xml"},     {"InPermanent", "$PERMANENT/flows/f.xml"},
                  {"InHost", "$HOSTEXEC/f.xml"},  {"InTempX", "$TEMPX/f.xml"},
                  {"InWinDir", "$WINDIR/f.xml"},  {"Odd", "$Other\\q\\f.xml"}};
  EXPECT_EQ(this->Of("$First/x"), "C:\\Second\\sub\\x");
  EXPECT_EQ(this->Of("$InTemp/x"), "C:\\Windows\\Temp\\x");
  EXPECT_EQ(this->Of("$InPermanent/x"), "C:\\Windows\\flows\\x");
  EXPECT_EQ(this->Of("$InHost/x"), "C:\\Host\\bin\\x");
  EXPECT_EQ(this->Of("$InTempX/x"), "C:\\Windows\\TempX\\x");

  // Other macros do not end a chain: there is a workflow of that name, or there is none.
  EXPECT_EQ(this->Of("$InWinDir/x"), "failed");
  engine.paths["WINDIR"] = "C:\\Odd\\f.xml";
  EXPECT_EQ(this->Of("$InWinDir/x"), "C:\\Odd\\x");

  // Nor does a backslash: it is a part of the name.
  engine.asked.clear();
  EXPECT_EQ(this->Of("$Odd/x"), "failed");
  EXPECT_EQ(engine.asked, (Names{"Odd", "Other\\q"}));
}

TYPED_TEST(Translation, CirclesAndLongChainsEnd) {
  FakeEngine engine;
  const GlobalEngine global(engine);
  engine.paths = {{"A", "$B/deeper/f.xml"}, {"B", "$A/deeper/f.xml"}, {"Self", "$Self/f.xml"}};
  for (int i = 0; i < 100; ++i) {
    engine.paths["N" + std::to_string(i)] = "$N" + std::to_string(i + 1) + "/f.xml";
  }
  engine.paths["N100"] = "C:\\End\\f.xml";
  for (const char* path : {"$A/x", "$Self/x", "$N0/x", "$N36/x"}) {
    EXPECT_EQ(this->Of(path), "failed") << path;
    EXPECT_EQ(this->hook_.Take(), Names{kUnknownWorkflow}) << path;
  }
  EXPECT_EQ(this->Of("$N37/x"), "C:\\End\\x") << "64 workflows are no mistake";
}

TYPED_TEST(Translation, TheEngineIsKept) {
  FakeEngine engine;
  engine.paths = {{"Flow", "C:\\Flows\\f.xml"}};
  EXPECT_EQ(this->Of("$Flow/x"), "failed");
  {
    const GlobalEngine global(engine);
    EXPECT_EQ(this->Of("$Flow/x"), "C:\\Flows\\x");
  }
  EXPECT_EQ(this->Of("$Flow/y"), "C:\\Flows\\y");
}

TYPED_TEST(Translation, TheRealLocations) {
  CFileSystem* real = new CFileSystem;
  auto* face = static_cast<typename TestFixture::Face*>(
      real->QueryInterface(sizeof(TypeParam) == 1 ? "IFileSystemA" : "IFileSystemW"));
  for (const MacroName& name : kMacroNames) {
    typename TestFixture::String output;
    const std::basic_string<TypeParam> path(name.text.begin(), name.text.end());
    EXPECT_TRUE(face->WorkflowPathToPlatformPathString(path.c_str(), output.out()));
    const std::string value = orv_test::Ascii(output.str());
    EXPECT_FALSE(value.empty());
    EXPECT_NE(value.back(), '\\') << value;
    EXPECT_EQ(value.find('/'), std::string::npos) << value;
  }
  real->Release();
}

TEST(WideTranslation, WhiteSpaceOfAllScriptsGoes) {
  constexpr std::u16string_view kSpaces =
      u"\u0009\u000A\u000B\u000C\u000D\u0020\u0085\u00A0\u1680\u2000\u200A\u2028\u3000";
  PathTranslator translator(System::SystemPlatform(), SilentErrorHook());
  for (const char16_t space : kSpaces) {
    std::u16string result;
    EXPECT_TRUE(translator.Translate(space + std::u16string(u"C:\\x") + space, &result));
    EXPECT_EQ(orv_test::Ascii(result), "C:\\x") << static_cast<unsigned>(space);
  }
  for (const char16_t other : {u'\u200B', u'\uFEFF', u'\u0008', u'x'}) EXPECT_FALSE(IsWhiteSpace(other));
}

TEST(WideTranslation, NamesInSeveralScripts) {
  PathTranslator translator(System::SystemPlatform(), SilentErrorHook());
  for (const std::u16string_view name : {u"Grüße", u"файл", u"文件", u"\U0001F600"}) {
    std::u16string result;
    EXPECT_TRUE(translator.Translate(u"C:\\" + std::u16string(name), &result));
    EXPECT_TRUE(result == u"C:\\" + std::u16string(name));
    EXPECT_TRUE(translator.Translate(u"$WINDIR/" + std::u16string(name), &result));
    EXPECT_TRUE(result.ends_with(u"\\" + std::u16string(name)));
  }
}

TEST(SilentHook, RecordsNothingAndAnswersFalse) {
  EXPECT_FALSE(SilentErrorHook().Report(Failures::kInvalidParameter));
  EXPECT_FALSE(SilentErrorHook().Report({nullptr, nullptr}));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
