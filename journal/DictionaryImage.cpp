#include "journal/DictionaryImage.h"

#include <memory>
#include <new>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/DictionaryReading.h"
#include "journal/ChangeReplay.h"

namespace OrvWorkFlow::Journal {

namespace {

struct Release {
  void operator()(IDictionary* dictionary) const { dictionary->Release(); }
};

std::string TextOf(IDictionary& dictionary) {
  const Sdk::TextHolder text;
  if (!dictionary.SaveToText(text.get())) throw std::bad_alloc();
  return text.Text();
}

DictionaryImage::Value ValueAt(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextListHolder texts;
  if (!dictionary.GetValueTexts(path.c_str(), texts.get())) return {path, ValueType::Nil, {}};
  return {path, dictionary.GetValueType(path.c_str()), texts.Texts()};
}

bool SetValue(const DictionaryImage::Value& value, IDictionary& dictionary) {
  Event change;
  change.kind = Kind::Change;
  change.operation = DictionaryChange::Operation::SetValue;
  change.path = value.path;
  change.value_type = value.type;
  change.texts = value.texts;
  return ApplyChange(dictionary, change);
}

}  // namespace

bool TakeImage(IDictionary& dictionary, DictionaryImage* image) {
  image->text = TextOf(dictionary);
  image->values.clear();
  const std::unique_ptr<IDictionary, Release> copy(dictionary.MakeDictionary());
  if (copy == nullptr) throw std::bad_alloc();
  if (!copy->LoadFromText(image->text.data(), image->text.size())) return false;
  if (TextOf(*copy) == image->text) return true;
  for (const std::string& path : Base::PathsFrom(dictionary, "/")) {
    DictionaryImage::Value value = ValueAt(dictionary, path);
    if (value.texts == ValueAt(*copy, path).texts) continue;
    if (!SetValue(value, *copy)) return false;
    image->values.push_back(std::move(value));
  }
  return TextOf(*copy) == image->text;
}

bool PutImage(const DictionaryImage& image, IDictionary& dictionary) {
  if (!dictionary.LoadFromText(image.text.data(), image.text.size())) return false;
  for (const DictionaryImage::Value& value : image.values) {
    if (!SetValue(value, dictionary)) return false;
  }
  return true;
}

}  // namespace OrvWorkFlow::Journal
