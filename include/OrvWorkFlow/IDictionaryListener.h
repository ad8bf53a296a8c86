// Who wants to be told of changes in a dictionary.
#pragma once

namespace OrvWorkFlow {

class IDictionary;

// Given to IDictionary::AddListener; stays the caller's, who removes it before it goes.
class IDictionaryListener {
 public:
  // After a value has been written: a scalar, a list (once, however many items it has) or binary data. On the thread
  // that wrote, with no lock of the dictionary held: everything may be called on `dictionary`, adding and removing
  // listeners and its Release included. What a listener writes is told to nobody. `path` is the writer's own text,
  // valid during the call. What the call throws is swallowed.
  virtual void OnChange(IDictionary* dictionary, const char* path) = 0;

 protected:
  ~IDictionaryListener() = default;
};

}  // namespace OrvWorkFlow
