// Does a recorded change again.
#pragma once

#include "OrvWorkFlow/IDictionary.h"
#include "journal/RecordReader.h"

namespace OrvWorkFlow::Journal {

// `event` is of the kind Change or Snapshot. False when the dictionary refuses. Throws std::bad_alloc.
bool ApplyChange(IDictionary& dictionary, const Event& event);

}  // namespace OrvWorkFlow::Journal
