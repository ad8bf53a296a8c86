// Pipes and devices in the place of a library.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/support/TempDirectory.h"

namespace {

using namespace OrvWorkFlow;
using namespace orv_test;

std::string WhyNotLoaded(const std::string& file) {
  const bool is_loaded = WorkFlowFactory::LoadSharedLibrary(file.c_str());
  WorkFlowFactory::UnloadSharedLibraries();
  return is_loaded ? "" : WorkFlowFactory::LastLoadError();
}

TEST(LibraryPlaceTest, APipeIsNotWaitedFor) {
  const TempDirectory directory;
  const std::string file = directory.file("libpipe.so");
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  EXPECT_EQ(WhyNotLoaded(file), file + ": is no regular file");
}

TEST(LibraryPlaceTest, ADeviceIsNotRead) { EXPECT_EQ(WhyNotLoaded("/dev/zero"), "/dev/zero: is no regular file"); }

}  // namespace
