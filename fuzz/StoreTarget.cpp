// Operations on a dictionary, each compared with the slow model's. An input is lines of ComparedStore.
#include "fuzz/Requirements.h"
#include "fuzz/Targets.h"
#include "tests/dictionary/ComparedStore.h"

namespace OrvWorkFlow::Fuzz {

void Store(std::string_view input) {
  Core::Dictionary::DictionaryTesting::ComparedStore store;
  while (!input.empty()) store.Execute(TakeUntil('\n', input));
  store.SaveAndLoad(false);
}

}  // namespace OrvWorkFlow::Fuzz
