// All that a dictionary holds, as texts that make another one the same.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Journal {

struct DictionaryImage {
  // One that its dictionary's text does not bring back: blanks around it go with saving and loading.
  struct Value {
    std::string path;
    ValueType type = ValueType::Nil;
    std::vector<std::string> texts;

    template <class Self, class Archive>
    static void PassMembers(Self& self, Archive& archive) {
      archive(self.path, self.type, self.texts);
    }
  };

  std::string text;
  std::vector<Value> values;

  template <class Self, class Archive>
  static void PassMembers(Self& self, Archive& archive) {
    archive(self.text, self.values);
  }
};

// False when what it holds cannot be brought back as it is, such as an attribute with a double quote. Redirections are
// not part of it. Throws std::bad_alloc.
bool TakeImage(IDictionary& dictionary, DictionaryImage* image);

// The dictionary becomes as that is. False when the image is none.
bool PutImage(const DictionaryImage& image, IDictionary& dictionary);

}  // namespace OrvWorkFlow::Journal
