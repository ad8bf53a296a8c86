// A disk that is really full: a file system in memory of a few hundred KiB, mounted for a child process alone.
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/filesystem/FileSystemTesting.h"
#include "tests/support/ForkAlone_posix.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

constexpr int kMountForbidden = 77;
constexpr std::size_t kDiskBytes = 256 * 1024;

// Runs the body in a child process to which `directory` is the small disk. Answers what the body complained of.
std::string OnSmallDisk(const std::filesystem::path& directory, const std::function<std::string()>& body,
                        bool* forbidden) {
  int ends[2];
  if (::pipe(ends) != 0) return "no pipe";
  const pid_t child = orv_test::ForkAlone();
  if (child == 0) {
    const std::string options = "size=" + std::to_string(kDiskBytes);
    if ((::geteuid() != 0 && ::unshare(CLONE_NEWUSER) != 0) || ::unshare(CLONE_NEWNS) != 0 ||
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tmpfs", directory.c_str(), "tmpfs", 0, options.c_str()) != 0) {
      ::_exit(kMountForbidden);
    }
    const std::string complaint = body();
    const bool told = ::write(ends[1], complaint.data(), complaint.size()) >= 0;
    ::_exit(told ? 0 : 1);
  }
  ::close(ends[1]);
  std::string complaint;
  char buffer[512];
  for (ssize_t count; (count = ::read(ends[0], buffer, sizeof buffer)) > 0;) {
    complaint.append(buffer, static_cast<std::size_t>(count));
  }
  ::close(ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  *forbidden = WIFEXITED(status) && WEXITSTATUS(status) == kMountForbidden;
  if (!*forbidden && status != 0) complaint += "the child ended with status " + std::to_string(status);
  return complaint;
}

template <class Char>
class FullDisk : public orv_test::FileSystemTest<Char> {
 protected:
  // What is wrong after an operation that cannot have had enough room; empty when nothing is.
  std::string Complaints();

 private:
  void Expect(bool right, const std::string& what) {
    if (!right) complaints_ += what + "; ";
  }
  std::string complaints_;
};
TYPED_TEST_SUITE(FullDisk, orv_test::Widths);

template <class Char>
std::string FullDisk<Char>::Complaints() {
  auto* face = this->face_;
  const std::string old(100'000, 'o');
  const std::string large(200'000, 'n');
  const auto file = this->At("d\\file");
  const typename orv_test::MarshalledOf<Char>::String text(this->T(large));
  this->MakeFile("d/file", old);
  const auto intact = [&](const std::string& what) {
    Expect(this->Content("d/file") == old, what + " changed the file");
    Expect(this->Everything() == std::vector<std::string>{"d/", "d/file"}, what + " left something");
  };
  Expect(!face->ReplaceFileBytes(file.c_str(), large.data(), large.size()), "replacing worked");
  intact("replacing");
  Expect(!face->AppendFileString(file.c_str(), text.out()), "appending worked");
  intact("appending");
  Expect(!face->PrependFileString(file.c_str(), text.out()), "prepending worked");
  intact("prepending");
  Expect(!face->InsertFileString(file.c_str(), 50'000, text.out()), "inserting worked");
  intact("inserting");
  Expect(!face->OverwriteFileString(file.c_str(), 90'000, text.out()), "overwriting worked");
  intact("overwriting");
  // The first copy fits, the second does not, and the third is small enough again.
  this->MakeFile("d/small", "small");
  Expect(face->CopyOneFile(file.c_str(), this->At("copy").c_str(), false), "the first copy failed");
  Expect(!face->CopyOneFile(file.c_str(), this->At("second").c_str(), false), "the second copy worked");
  Expect(!this->Exists("second"), "half a copy was left");
  Expect(!face->CopyDirectory(this->At("d").c_str(), this->At("e").c_str(), false), "copying the directory worked");
  Expect(!this->Exists("e/file"), "half a copy was left in the directory");
  Expect(this->Content("e/small") == "small", "a small file was not copied");
  Expect(!face->CopyOneFile(file.c_str(), this->At("d\\small").c_str(), true), "copying over a file worked");
  Expect(this->Content("d/small") == "small", "a copy that failed took the old file");
  typename orv_test::MarshalledOf<Char>::String reason;
  Expect(face->GetLastFailure(nullptr, nullptr, reason.out()) && reason.str() == this->T("no space left on device"),
         "the reason was another one");
  // In place a part may be lost, but the file gets no longer.
  Expect(!face->WriteFileBytes(file.c_str(), (old + large).data(), 300'000), "writing worked");
  Expect(this->Content("d/file").size() <= old.size(), "a failed write made the file longer");
  Expect(face->RemoveFile(this->At("copy").c_str()), "removing failed");
  Expect(face->ReplaceFileBytes(file.c_str(), "new", 3) && this->Content("d/file") == "new",
         "replacing failed although there was room again");
  Expect(this->fault_.open_handles() == 0, "something is open");
  return complaints_;
}

TYPED_TEST(FullDisk, LosesNothing) {
  bool forbidden = false;
  EXPECT_EQ(OnSmallDisk(
                this->directory_.path(), [this] { return this->Complaints(); }, &forbidden),
            "");
  if (forbidden) GTEST_SKIP() << "this process may not mount a disk of its own (neither root nor user namespaces)";
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
