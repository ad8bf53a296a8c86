// A dictionary and the slow model of it, led through the same operations and compared. The random tests and the fuzzer
// share it, so that what one finds can be given to the other.
#pragma once

#include <string>
#include <string_view>

#include "SlowModel.h"
#include "dictionary/object/DictionaryObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {

// One operation is a line: a letter, the entry's path and further arguments, separated by tabs.
//
//   s PATH TEXT         set a text             d PATH           delete
//   u PATH UTF8         set a wide text        e PATH           empty (clear)
//   i PATH NUMBER       set an integer         c PATH PATH      copy
//   b PATH 0|1          set a Boolean          m PATH PATH      move
//   y PATH BYTES        set bytes              g PATH PATH      merge
//   l PATH TEXT...      set a list of texts    n PATH NAME      give another name
//   a PATH NAME VALUE   set an attribute       t PATH PATH...   make a redirection
//   A PATH NAME         remove an attribute    T PATH           make it none
//   r PATH WORD         only read              f, F             save; and load what was saved
//   < FILE              load the rest of the line as a file
//
// Whatever can be read at the path is compared then, with the first argument as the name of an attribute and as the
// path to compare the entry with.
class ComparedStore {
 public:
  // Throws std::runtime_error, with what is different. An operation that would make the model too large is left out.
  void Execute(std::string_view line);

  // Compares the saved forms.
  void SaveAndLoad(bool loads);

 private:
  void Load(const std::string& file);
  void Write(char operation, const std::string& path, std::string_view arguments);
  bool WriteValue(char operation, const std::string& path, std::string_view arguments);
  bool WriteSubtree(char operation, const std::string& path, const std::string& argument);
  void Read(const std::string& path, const std::string& word);
  void ReadValues(const std::string& path);
  void ReadLists(const std::string& path, const std::string& word);

  CDictionary real_;
  SlowModel model_;
};

}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
