// Changes of a running workflow by chance, in every way in which a node can make them.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {

// The workflow "Flow" has the nodes N0 to N4 of type Actor; each fires "out" and "alt". It takes in "Guest0" to
// "Guest2", with the nodes G0 to G2.
class RandomWrites {
 public:
  static constexpr int kNodes = 5;
  static constexpr int kGuests = 3;

  // The same seed makes the same changes. Writes the files of the guests.
  RandomWrites(std::uint32_t seed, OrvWorkFlow::IDictionary& dictionary, OrvWorkFlow::IWorkFlowEngine& engine);

  // Fills the dictionary.
  void SetUp();
  // One change, on the calling thread or on another one; returns when it is made.
  void Change();
  int Below(int limit) { return static_cast<int>(random_() % static_cast<std::uint32_t>(limit)); }

 private:
  void ChangeThroughEngine();
  void ChangeValue(const std::string& path);
  void ChangeSubtree(const std::string& path);
  void ChangeRedirection(const std::string& path);
  void ChangeByLoading(const std::string& path);
  void ChangeDictionary();

  std::string Node();
  std::string Receiver();
  std::string Path();
  std::string PathOfMapping();

  OrvWorkFlow::IDictionary& dictionary_;
  OrvWorkFlow::IWorkFlowEngine& engine_;
  std::mt19937 random_;
  TempDirectory directory_;
  bool is_saved_ = false;
};

}  // namespace orv_test
