#include "orvflow/files/FileLoading.h"

#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

Host::LoadWords Words() { return {.key = kStateWords.key, .tell = PrintErrorLine}; }

}  // namespace

void LoadDictionary(IDictionary& dictionary, const std::string& file, const std::string& shown_name) {
  Host::LoadDictionary(dictionary, file, shown_name, Words());
}

void LoadDictionaryText(IDictionary& dictionary, std::string_view text, const std::string& shown_name) {
  if (!dictionary.LoadFromText(text.data(), text.size())) throw Host::LoadError(dictionary, shown_name, Words());
}

void ReadFlow(IDictionary& dictionary, const std::string& file, const std::string& shown_name) {
  Host::ReadFlow(dictionary, file, shown_name, Words());
}

}  // namespace OrvWorkFlow::Program
