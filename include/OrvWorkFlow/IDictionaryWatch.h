// Says cheaply whether a part of a dictionary has changed, for callers that keep what they read from it.
#pragma once

#include <cstdint>

namespace OrvWorkFlow {

// Made by IDictionary::WatchChanges. Any thread; never waits. May outlive its dictionary: the count then stands still.
class IDictionaryWatch {
 public:
  // A number that is another one after every change of what is watched. To keep what was read, take the count before
  // the first read: a change in between then makes what is kept look out of date, never up to date. It may also be
  // another one although nothing has changed.
  virtual std::uint64_t GetCount() = 0;

  // Ends the watch. Not while another thread uses it.
  virtual void Release() = 0;

 protected:
  ~IDictionaryWatch() = default;
};

}  // namespace OrvWorkFlow
