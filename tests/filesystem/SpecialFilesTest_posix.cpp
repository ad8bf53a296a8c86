// Pipes, sockets and devices are files that nobody can read or write, and nobody waits for.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using Names = std::vector<std::string>;

template <class Char>
class SpecialFiles : public orv_test::FileSystemTest<Char> {
 protected:
  bool MakeSocket(const char* name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = this->Host(name).string();
    if (path.size() >= sizeof address.sun_path) return false;
    path.copy(address.sun_path, path.size());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool bound = ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return bound;
  }

  // "pipe", "socket" and, where that is allowed, "device" (one that would swallow and give endlessly).
  Names MakeAll(const std::string& directory) {
    std::filesystem::create_directories(this->Host(directory));
    EXPECT_EQ(::mkfifo(this->Host(directory + "/pipe").c_str(), 0600), 0);
    EXPECT_TRUE(MakeSocket((directory + "/socket").c_str()));
    if (::mknod(this->Host(directory + "/device").c_str(), S_IFCHR | 0600, makedev(1, 5)) != 0) {
      return {"pipe", "socket"};
    }
    return {"device", "pipe", "socket"};
  }
};
TYPED_TEST_SUITE(SpecialFiles, orv_test::Widths);

TYPED_TEST(SpecialFiles, AreThereButCannotBeUsed) {
  auto* face = this->face_;
  this->MakeFile("plain", "plain");
  const auto plain = this->At("plain");
  typename TestFixture::String text(this->T("text"));
  orv_test::Stream stream("untouched");
  for (const std::string& name : this->MakeAll("d")) {
    SCOPED_TRACE(name);
    const auto path = this->At("d\\" + name);
    EXPECT_TRUE(face->FileExists(path.c_str()));
    EXPECT_FALSE(face->DirectoryExists(path.c_str()));
    EXPECT_EQ(face->FileSize(path.c_str()), 0U);
    EXPECT_FALSE(face->ReadFileToStream(path.c_str(), stream.out()));
    EXPECT_FALSE(face->ReadFileRange(path.c_str(), 0, 5, stream.out()));
    EXPECT_FALSE(face->WriteFileBytes(path.c_str(), "x", 1));
    EXPECT_FALSE(face->AppendFileString(path.c_str(), text.out()));
    EXPECT_FALSE(face->PrependFileString(path.c_str(), text.out()));
    EXPECT_FALSE(face->DeleteFileBytes(path.c_str(), 0, 1));
    EXPECT_FALSE(face->ReplaceFileBytes(path.c_str(), "x", 1));
    EXPECT_FALSE(face->MakeFile(path.c_str()));
    EXPECT_FALSE(face->CopyOneFile(path.c_str(), this->At("copy").c_str(), true));
    EXPECT_FALSE(face->CopyOneFile(plain.c_str(), path.c_str(), true));
    EXPECT_TRUE(face->DeleteDirectory(path.c_str())) << "it is no directory";
  }
  EXPECT_EQ(stream.bytes(), "untouched");
  EXPECT_FALSE(this->Exists("copy"));
}

TYPED_TEST(SpecialFiles, AreListedNotCopiedAndRemoved) {
  const Names names = this->MakeAll("d");
  this->MakeFile("d/plain", "plain");
  const auto d = this->At("d");
  Names listed{"d\\pipe", "d\\plain", "d\\socket"};
  if (names.size() == 3) listed.insert(listed.begin(), "d\\device");
  EXPECT_EQ(this->Files(d), listed);
  EXPECT_EQ(this->face_->FileSize(d.c_str()), 5U);
  EXPECT_FALSE(this->face_->CopyDirectory(d.c_str(), this->At("copy").c_str(), true));
  EXPECT_EQ(this->Files(this->At("copy")), Names{"copy\\plain"});
  EXPECT_TRUE(this->face_->RemoveFile(this->At("d\\pipe").c_str()));
  EXPECT_TRUE(this->face_->DeleteDirectory(d.c_str()));
  EXPECT_FALSE(this->Exists("d"));
}

// What was a plain file when it was listed is not looked at again before it is opened.
TYPED_TEST(SpecialFiles, AreNotCopiedWhenTheyTakeThePlaceOfAFile) {
  auto& trees = System::SystemPlatform().For<TypeParam>().trees;
  const Names names = this->MakeAll("d");
  std::filesystem::create_directory(this->Host("to"));
  System::TreeHandle from = System::TreeHandle::None;
  System::TreeHandle to = System::TreeHandle::None;
  ASSERT_EQ(trees.OpenTree(this->At("d"), System::TreeUse::Read, &from), System::SystemResult::Ok);
  ASSERT_EQ(trees.OpenTree(this->At("to"), System::TreeUse::Fill, &to), System::SystemResult::Ok);
  System::Reasons& reasons = System::SystemPlatform().reasons;
  for (const std::string& name : names) {
    EXPECT_EQ(trees.CopyIn(from, to, this->T(name), true, System::FileAttribute::kNormal), System::SystemResult::Denied)
        << name;
    EXPECT_EQ(reasons.Meaning(reasons.LastCode()), System::Reason::NotPlainFile) << name;
  }
  EXPECT_EQ(trees.CopyIn(from, to, this->T("gone"), true, System::FileAttribute::kNormal),
            System::SystemResult::NotFound);
  EXPECT_EQ(reasons.Meaning(reasons.LastCode()), System::Reason::NotFound);
  trees.CloseTree(from);
  trees.CloseTree(to);
  EXPECT_TRUE(std::filesystem::is_empty(this->Host("to")));
}

TYPED_TEST(SpecialFiles, TheSystemsOwnFilesAreReadAndCopied) {
  const auto source = this->T("/proc/self/status");
  EXPECT_EQ(this->face_->FileSize(source.c_str()), 0U) << "such a file says that it is empty";
  ASSERT_TRUE(this->face_->CopyOneFile(source.c_str(), this->At("copy").c_str(), true));
  EXPECT_NE(this->Content("copy").find("Name:"), std::string::npos);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
