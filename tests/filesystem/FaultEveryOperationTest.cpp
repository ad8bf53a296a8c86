// Every operation of both faces, with each of its system calls failing once, and with each of its allocations. An
// operation is one line of the table below.
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>

#include "tests/filesystem/FileSystemTesting.h"
#include "tests/filesystem/OpenDescriptors.h"
#include "tests/support/FailingMemory.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

// What a failed operation may leave behind.
enum class Leaves {
  Old,          // What was there before, to the byte.
  Part,         // Each entry as it was before or as the whole operation makes it.
  PartAndFile,  // The same, but a file may hold anything, if it is no longer than it was.
  OldOrGone,    // As Part; and when the first look finds nothing, there is nothing to do, and that is no failure.
};

// The result of an asynchronous call.
template <class Char>
class Waiter final : public IFileSystemNotificationOf<Char> {
 public:
  bool FileFound(const Char* /*path*/) override { return true; }
  bool DirectoryFound(const Char* /*path*/) override { return true; }
  void Completed(bool succeeded) override {
    const std::scoped_lock lock(mutex_);
    result_ = succeeded;
    changed_.notify_all();
  }
  // Of a call that was accepted or not; once.
  bool Result(bool accepted) {
    if (!accepted) return false;
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return result_.has_value(); });
    return *std::exchange(result_, std::nullopt);
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<bool> result_;
};

template <class Char>
class FaultInEveryOperation : public orv_test::FileSystemTest<Char> {
 public:
  // What is where: a file's content, "/" for a directory.
  using State = std::map<std::string, std::string>;

  struct Operation {
    const char* name;
    Leaves leaves;
    std::function<bool()> run;
    bool tolerant = false;  // It may make up for each single failure.
  };

  void Prepare() {
    std::filesystem::remove_all(this->Host("t"));
    this->MakeFile("t/file", "12345678");
    this->MakeFile("t/sub/file", "abcdefgh");
    this->MakeFile("t/sub/deep/other", "other content");
    this->MakeFile("t/taken/sub/file", "in the way");
  }

  State Now() {
    State state;
    for (const std::string& name : this->Everything()) {
      state[name] = name.back() == '/' ? "/" : this->Content(name);
    }
    return state;
  }

  static std::optional<std::string> Entry(const State& state, const std::string& name) {
    const auto found = state.find(name);
    return found == state.end() ? std::nullopt : std::optional(found->second);
  }

  static void ExpectAllowed(Leaves leaves, const State& before, const State& now, const State& after) {
    if (leaves == Leaves::Old) {
      EXPECT_EQ(now, before);
      return;
    }
    State all = before;
    all.insert(after.begin(), after.end());
    all.insert(now.begin(), now.end());
    for (const auto& [name, ignored] : all) {
      const auto content = Entry(now, name);
      if (content == Entry(before, name) || content == Entry(after, name)) continue;
      const bool written = leaves == Leaves::PartAndFile && content && name.back() != '/' &&
                           content->size() <= Entry(before, name).value_or("").size();
      EXPECT_TRUE(written) << name << " holds " << content.value_or("nothing");
    }
  }

  // Fails the first call, the second and so on until the operation makes no such call any more.
  void FailEachCall(const Operation& operation) {
    SCOPED_TRACE(operation.name);
    Prepare();
    const State before = Now();
    this->fault_.FailCall(0);
    ASSERT_TRUE(operation.run()) << "when nothing fails";
    const std::uint64_t calls = this->fault_.calls();
    const State after = Now();
    State now = after;
    int failures = 0;
    std::uint64_t n = 0;
    bool fired = true;
    const int descriptors = orv_test::OpenDescriptors();
    while (fired) {
      SCOPED_TRACE("call " + std::to_string(++n));
      ASSERT_LT(n, 500U);
      if (now != before) Prepare();
      this->fault_.FailCall(n);
      const bool done = operation.run();
      fired = this->fault_.calls() >= n;
      EXPECT_EQ(this->fault_.open_handles(), 0);
      EXPECT_EQ(orv_test::OpenDescriptors(), descriptors);
      now = Now();
      if (done) {
        EXPECT_TRUE(now == after || (operation.leaves == Leaves::OldOrGone && now == before));
      } else {
        EXPECT_TRUE(fired) << "it failed without a reason";
        ExpectAllowed(operation.leaves, before, now, after);
        ++failures;
      }
    }
    EXPECT_GT(n, calls) << "each call of the undisturbed operation failed once";
    EXPECT_TRUE(operation.tolerant || retries_ || failures > 0) << "no fault was noticed";
  }

  // Fails the first allocation, the second and so on until the operation needs none any more.
  void FailEachAllocation(const Operation& operation) {
    SCOPED_TRACE(operation.name);
    Prepare();
    const State before = Now();
    this->fault_.FailCall(0);
    ASSERT_TRUE(operation.run()) << "when nothing fails";
    const State after = Now();
    const int descriptors = orv_test::OpenDescriptors();
    State now = after;
    // The wide face runs through the same code, with more allocations: there every third is enough.
    constexpr std::size_t kStep = sizeof(Char) > 1 ? 3 : 1;
    std::size_t n = 1;
    for (bool fired = true; fired && !this->HasFailure(); n += kStep) {
      SCOPED_TRACE("allocation " + std::to_string(n));
      if (now != before) Prepare();
      bool done = false;
      {
        const orv_test::FailedAllocation failure(n);
        done = operation.run();
        fired = failure.fired();
      }
      EXPECT_EQ(this->fault_.open_handles(), 0);
      EXPECT_EQ(orv_test::OpenDescriptors(), descriptors);
      now = Now();
      if (done) {
        EXPECT_EQ(now, after);
      } else {
        EXPECT_TRUE(fired) << "it failed without a reason";
        ExpectAllowed(operation.leaves, before, now, after);
      }
    }
    EXPECT_GT(n, 1 + kStep) << "no allocation at all";
  }

  bool retries_ = false;  // The wide face makes most calls once more.
};
TYPED_TEST_SUITE(FaultInEveryOperation, orv_test::Widths);

// The wide face on a system that has no wide calls: every failure is one of the narrow calls.
using FaultWithoutWideCalls = FaultInEveryOperation<char16_t>;

// The arguments of the operations, in either width.
template <class Char>
struct Arguments {
  explicit Arguments(const std::basic_string<Char>& root) : tree(root) {}
  static std::basic_string<Char> T(std::string_view ascii) { return orv_test::Text<Char>(ascii); }

  std::basic_string<Char> tree;
  std::basic_string<Char> file = tree + T("\\file");
  std::basic_string<Char> fresh = tree + T("\\new\\deep\\a");
  std::basic_string<Char> target = tree + T("/copied/a");
  std::basic_string<Char> sub = tree + T("\\sub");
  std::basic_string<Char> taken = tree + T("\\taken\\sub");
  std::basic_string<Char> windows = T("$WINDIR/a");
  std::basic_string<Char> longer = T("a text that is longer than the file");
  typename orv_test::MarshalledOf<Char>::String text{T("text")};
  typename orv_test::MarshalledOf<Char>::String output;
  typename orv_test::MarshalledOf<Char>::List list;
  orv_test::Stream stream;
  Waiter<Char> waiter;
};

// The table: visits each operation.
template <class Operation, class Face, class Char, class Visit>
void ForEachOperation(Face* f, Arguments<Char>& x, const Visit& visit) {
  const auto tree = x.tree.c_str();
  const auto file = x.file.c_str();
  const auto fresh = x.fresh.c_str();
  const auto target = x.target.c_str();
  const auto sub = x.sub.c_str();
  const auto taken = x.taken.c_str();
  const auto windows = x.windows.c_str();
  const auto wait = [&x](bool accepted) { return x.waiter.Result(accepted); };
  constexpr Leaves kOld = Leaves::Old;
  constexpr Leaves kPart = Leaves::Part;
  constexpr Leaves kGone = Leaves::OldOrGone;
  // A location that cannot be had is an empty text.
  constexpr bool kTolerant = sizeof(Char) > 1;
  constexpr Leaves kWrite = Leaves::PartAndFile;
  // clang-format off
  std::vector<Operation> operations = {
      {"WorkflowPathToPlatformPath", kOld, [&] { Char buffer[300]; return f->WorkflowPathToPlatformPath(windows, buffer, 300, nullptr); }, kTolerant},
      {"WorkflowPathToPlatformPathString", kOld, [&] { return f->WorkflowPathToPlatformPathString(windows, x.output.out()); }, kTolerant},
      {"MakeDirectory", kPart, [&] { return f->MakeDirectory(fresh); }},
      {"DeleteDirectoryAsync", kGone, [&] { return wait(f->DeleteDirectoryAsync(tree, &x.waiter)); }},
      {"DeleteDirectory", kGone, [&] { return f->DeleteDirectory(tree); }},
      {"ListFilesAsync", kOld, [&] { return wait(f->ListFilesAsync(tree, &x.waiter)); }},
      {"ListFiles", kOld, [&] { return f->ListFiles(tree, x.list.out()); }},
      {"ListDirectoriesAsync", kOld, [&] { return wait(f->ListDirectoriesAsync(tree, &x.waiter)); }},
      {"ListDirectories", kOld, [&] { return f->ListDirectories(tree, x.list.out()); }},
      {"CopyOneFileAsync", kPart, [&] { return wait(f->CopyOneFileAsync(file, target, true, &x.waiter)); }},
      {"CopyOneFile", kPart, [&] { return f->CopyOneFile(file, target, true); }},
      {"CopyDirectoryAsync", kPart, [&] { return wait(f->CopyDirectoryAsync(sub, target, true, &x.waiter)); }},
      {"CopyDirectory", kPart, [&] { return f->CopyDirectory(sub, target, true); }},
      {"CopyDirectory over files", kPart, [&] { return f->CopyDirectory(sub, taken, true); }},
      {"FileExists", kOld, [&] { return f->FileExists(file); }},
      {"DirectoryExists", kOld, [&] { return f->DirectoryExists(tree); }},
      {"RemoveFile", kGone, [&] { return f->RemoveFile(file); }},
      {"FileSize", kOld, [&] { return f->FileSize(file) == 8; }},
      {"FileSize of a directory", kOld, [&] { return f->FileSize(tree) == 39; }},
      {"MakeFile", kPart, [&] { return f->MakeFile(fresh); }},
      {"ReadFileRange", kOld, [&] { return f->ReadFileRange(file, 1, 3, x.stream.out()); }},
      {"ReadFileToString", kOld, [&] { return f->ReadFileToString(file, x.output.out()); }},
      {"ReadFileToStream", kOld, [&] { return f->ReadFileToStream(file, x.stream.out()); }},
      {"WriteFileBytes", kWrite, [&] { return f->WriteFileBytes(file, "x", 1); }},
      {"WriteFileBytes to a new file", kWrite, [&] { return f->WriteFileBytes(fresh, "x", 1); }},
      {"WriteFileText", kWrite, [&] { return f->WriteFileText(file, x.longer.c_str()); }},
      {"WriteFileString", kWrite, [&] { return f->WriteFileString(file, x.text.out()); }},
      {"AppendFileString", kOld, [&] { return f->AppendFileString(file, x.text.out()); }},
      {"PrependFileString", kOld, [&] { return f->PrependFileString(file, x.text.out()); }},
      {"InsertFileString", kOld, [&] { return f->InsertFileString(file, 2, x.text.out()); }},
      {"OverwriteFileString", kOld, [&] { return f->OverwriteFileString(file, 6, x.text.out()); }},
      {"DeleteFileBytes", kOld, [&] { return f->DeleteFileBytes(file, 2, 3); }},
      {"ReplaceFileBytes", kOld, [&] { return f->ReplaceFileBytes(file, "x", 1); }},
      {"ReplaceFileBytes of a new file", kPart, [&] { return f->ReplaceFileBytes(fresh, "x", 1); }},
  };
  if constexpr (sizeof(Char) > 1) {
    operations.push_back({"ReadFileToWideString", kOld, [&] { return f->ReadFileToWideString(file, x.output.out()); }});
    operations.push_back({"WriteFileTextUnicode", kWrite, [&] { return f->WriteFileTextUnicode(file, x.longer.c_str()); }});
  }
  // clang-format on
  for (const Operation& operation : operations) visit(operation);
}

TYPED_TEST(FaultInEveryOperation, LeavesNothingOpenAndNothingHalfDone) {
  Arguments<TypeParam> arguments(this->At("t"));
  this->retries_ = sizeof(TypeParam) > 1;
  ForEachOperation<typename TestFixture::Operation>(this->face_, arguments,
                                                    [this](const auto& one) { this->FailEachCall(one); });
}

TYPED_TEST(FaultInEveryOperation, NorDoesALackOfMemory) {
  Arguments<TypeParam> arguments(this->At("t"));
  ForEachOperation<typename TestFixture::Operation>(this->face_, arguments,
                                                    [this](const auto& one) { this->FailEachAllocation(one); });
}

TEST_F(FaultWithoutWideCalls, LeavesNothingOpenAndNothingHalfDone) {
  Arguments<char16_t> arguments(At("t"));
  fault_.FailWideCalls(true);
  ForEachOperation<Operation>(face_, arguments, [this](const auto& one) { FailEachCall(one); });
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
