// Where the checkout lies that the tests were built from.
#pragma once

#include <filesystem>

namespace orv_test {

std::filesystem::path SourceFolder();

}  // namespace orv_test
