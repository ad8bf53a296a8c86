#include "host/state/FlowChecksum.h"

#include "OrvWorkFlow/host/HostError.h"
#include "base/dictionary/DictionaryReading.h"
#include "host/files/HostFiles.h"

namespace OrvWorkFlow::Host {

namespace {

constexpr char kFlowChecksum[] = "/Orvflow/FlowChecksum";

}  // namespace

std::string ChecksumOfFile(const std::string& path, const std::string& shown_name) {
  const FileReading reading = ReadThrough(path);
  if (!reading.reason.empty()) {
    throw HostError(HostError::Kind::Failed, shown_name, "", "cannot be read: " + reading.reason + "; it may be whole");
  }
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (int shift = 60; shift >= 0; shift -= 4) text.push_back(kDigits[(reading.checksum >> shift) & 0xFu]);
  return text;
}

std::string ReadFlowChecksum(IDictionary& dictionary) { return Base::TextAt(dictionary, kFlowChecksum); }

bool WriteFlowChecksum(IDictionary& dictionary, const std::string& checksum) {
  return dictionary.SetValue(kFlowChecksum, checksum.c_str());
}

}  // namespace OrvWorkFlow::Host
