// The fuzz targets: each takes arbitrary bytes, feeds them to one part of the library and compares what comes out with
// an obvious model of it. `./dev fuzz` mutates the inputs of fuzz/corpus/NAME without end, under sanitizers; the tests
// run them, and some random ones, on every platform.
#pragma once

#include <string>
#include <string_view>

namespace OrvWorkFlow::Fuzz {

// A target throws std::runtime_error for a finding; memory faults are the sanitizers' findings.
void DictionaryFile(std::string_view input);
void Store(std::string_view input);
void AttributeText(std::string_view input);
void ValueText(std::string_view input);
void Pattern(std::string_view input);
void WorkflowPath(std::string_view input);
void Base64(std::string_view input);
void CipherText(std::string_view input);

struct Target {
  const char* name;  // as of its corpus folder, its dictionary and its program
  void (*run)(std::string_view input);
};

inline constexpr Target kTargets[] = {
    {"dictionary_file", &DictionaryFile},
    {"store", &Store},
    {"attribute_text", &AttributeText},
    {"value_text", &ValueText},
    {"pattern", &Pattern},
    {"workflow_path", &WorkflowPath},
    {"base64", &Base64},
    {"cipher_text", &CipherText},
};

}  // namespace OrvWorkFlow::Fuzz
