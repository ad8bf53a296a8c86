// Runs the program so that calls of it fail, see fault/OneFailure_posix.cpp.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {

class EnvironmentVariable {
 public:
  EnvironmentVariable(std::string name, const std::string& value) : name_(std::move(name)) {
    setenv(name_.c_str(), value.c_str(), 1);
  }
  ~EnvironmentVariable() { unsetenv(name_.c_str()); }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

 private:
  const std::string name_;
};

class FailureFixture : public ProgramFixture {
 protected:
  using Settings = std::vector<std::pair<std::string, std::string>>;

  // Settings as "KIND", "AT"...; none of them for a program that only has the library loaded.
  static ProcessResult RunFailing(const Settings& settings, const Arguments& arguments, std::string_view input = {}) {
    std::vector<std::unique_ptr<EnvironmentVariable>> variables;
    const auto set = [&](const std::string& name, const std::string& value) {
      variables.push_back(std::make_unique<EnvironmentVariable>(name, value));
    };
    set("LD_PRELOAD", ORVFLOW_ONE_FAILURE);
    set("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0:handle_abort=0");
    for (const auto& [name, value] : settings) set("ONE_FAILURE_" + name, value);
    return Run(arguments, input);
  }
};

}  // namespace orv_test
