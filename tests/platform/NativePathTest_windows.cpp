// Attributes and long paths as this platform alone has them.
#include "platform/windows/NativePath.h"

#include <gtest/gtest.h>

namespace OrvWorkFlow::Core::System::Windows {
namespace {

TEST(NativeAttributes, LinksAreToldFromOtherReparsePoints) {
  constexpr DWORD kReparse = FILE_ATTRIBUTE_REPARSE_POINT;
  EXPECT_EQ(ToAttributes(FILE_ATTRIBUTE_ARCHIVE, IO_REPARSE_TAG_SYMLINK), FileAttribute::kNormal);
  EXPECT_EQ(ToAttributes(kReparse, IO_REPARSE_TAG_SYMLINK), FileAttribute::kLink);
  EXPECT_EQ(ToAttributes(kReparse | FILE_ATTRIBUTE_DIRECTORY, IO_REPARSE_TAG_MOUNT_POINT),
            FileAttribute::kLink | FileAttribute::kDirectory);
  constexpr DWORD kCloudFile = 0x9000001A;
  EXPECT_EQ(ToAttributes(kReparse | FILE_ATTRIBUTE_DIRECTORY, kCloudFile), FileAttribute::kDirectory);
  EXPECT_EQ(ToAttributes(kReparse | FILE_ATTRIBUTE_DIRECTORY, 0), FileAttribute::kLink | FileAttribute::kDirectory)
      << "a tag that nobody told may be a link's";
}

TEST(NativePath, OnlyLongPathsGetTheLongForm) {
  const std::u16string name(300, u'n');
  EXPECT_TRUE(LongForm(u"C:\\short") == u"C:\\short");
  EXPECT_TRUE(LongForm(u"C:\\a/..\\" + name) == u"\\\\?\\C:\\" + name);
  EXPECT_TRUE(LongForm(u"\\\\server\\share\\" + name) == u"\\\\?\\UNC\\server\\share\\" + name);
  EXPECT_TRUE(LongForm(u"\\\\?\\C:\\" + name) == u"\\\\?\\C:\\" + name);
}

TEST(NativePath, AColonBehindTheDrivesIsRefused) {
  for (const char* path : {"C:", "C:\\a", "a", "\\\\?\\C:\\a"}) EXPECT_TRUE(IsNameable(path)) << path;
  for (const char* path : {"", "a:b:c", "C:\\a:b", "file:stream", "\\\\?\\C:\\a:b"})
    EXPECT_FALSE(IsNameable(path)) << path;
}

}  // namespace
}  // namespace OrvWorkFlow::Core::System::Windows
