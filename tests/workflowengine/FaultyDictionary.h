// A dictionary in front of a real one, with switches that make operations fail and counters of reads.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "tests/fakes/ForwardingDictionary.h"

namespace orv_test {

class FaultyDictionary final : public ForwardingDictionary {
 public:
  using ForwardingDictionary::Exists;
  using ForwardingDictionary::ForwardingDictionary;
  using ForwardingDictionary::GetEntries;
  using ForwardingDictionary::GetValue;
  using ForwardingDictionary::SetValue;

  std::string unlisted_path;    // GetEntries of this path fails
  std::string unreadable_path;  // GetValue of this text fails
  std::string read_only_path;   // SetValue of a text there or below fails
  bool fail_save = false;
  std::function<void(const std::string& path)> on_listed;   // called after a listing that succeeded
  std::function<void(const std::string& path)> on_setting;  // called before a text is written
  std::atomic<int> listings = 0;
  std::atomic<int> reads = 0;         // of texts
  std::atomic<int> tests = 0;         // of existence
  std::string loaded_key = "(none)";  // the key at the last load
  std::string key = "(none)";

  void SetEncryptionKey(const char* k) override {
    key = k;
    ForwardingDictionary::SetEncryptionKey(k);
  }
  bool SetValue(const char* p, const char* v) override {
    if (!read_only_path.empty() && std::string(p).starts_with(read_only_path)) return false;
    if (on_setting) on_setting(p);
    return ForwardingDictionary::SetValue(p, v);
  }
  bool GetValue(const char* p, OrvWorkFlow::IOrvPString* v) override {
    ++reads;
    return p != unreadable_path && ForwardingDictionary::GetValue(p, v);
  }
  bool Exists(const char* p) override {
    ++tests;
    return ForwardingDictionary::Exists(p);
  }
  bool GetEntries(const char* p, OrvWorkFlow::IOrvPStringList* n) override {
    ++listings;
    const bool listed = p != unlisted_path && ForwardingDictionary::GetEntries(p, n);
    if (listed && on_listed) on_listed(p);
    return listed;
  }
  bool LoadFile(const char* f) override {
    loaded_key = key;
    return ForwardingDictionary::LoadFile(f);
  }
  bool SaveFile(const char* f) override { return !fail_save && ForwardingDictionary::SaveFile(f); }
};

}  // namespace orv_test
