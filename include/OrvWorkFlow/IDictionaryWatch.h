// Says cheaply whether a part of a dictionary has changed, for callers that keep what they read from it.
#pragma once

#include <cstdint>

#include "OrvWorkFlow/Marshaller.h"

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

  // For callers that keep much and can do better than read all of it again: replaces the content of `paths` by the
  // paths, in the order of the changes, at which something was changed since the count was `*count`, and `*count` by
  // the present count. A path is as its writer gave it; what is below it may have changed as well, and missing entries
  // on the way to it were made. It may come twice. Read the entries afterwards. False, with the outputs untouched
  // unless `paths` itself fails, when not all of the paths are known: a watch keeps some of the last ones, from the
  // first call of this on, and none for loading and while a watched entry is a redirection.
  virtual bool GetChanges(std::uint64_t* count, IOrvPStringList* paths) = 0;

 protected:
  ~IDictionaryWatch() = default;
};

}  // namespace OrvWorkFlow
