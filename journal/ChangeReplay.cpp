#include "journal/ChangeReplay.h"

#include <cstdlib>
#include <new>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Journal {

namespace {

using Operation = DictionaryChange::Operation;

bool Load(IDictionary& dictionary, const std::string& text) {
  if (!text.empty()) return dictionary.LoadFromText(text.data(), text.size());
  return !dictionary.Exists("/") || dictionary.Delete("/");
}

// Infinities, and what is no number, are not taken by their texts.
bool SetNumbers(IDictionary& dictionary, const Event& event) {
  const char* const path = event.path.c_str();
  if (event.value_type == ValueType::Double && event.texts.size() == 1) {
    return dictionary.SetValue(path, std::strtod(event.texts.front().c_str(), nullptr));
  }
  if (event.value_type != ValueType::DoubleList) return false;
  const Sdk::MarshalledHolder<IOrvDoubleList> numbers("IOrvDoubleList");
  for (const std::string& text : event.texts) {
    if (!numbers->Add(std::strtod(text.c_str(), nullptr))) throw std::bad_alloc();
  }
  return dictionary.SetValue(path, numbers.get());
}

bool SetValue(IDictionary& dictionary, const Event& event) {
  const Sdk::TextListHolder texts;
  for (const std::string& text : event.texts) {
    if (!texts->Add(text.data(), text.size())) throw std::bad_alloc();
  }
  return dictionary.SetValueTexts(event.path.c_str(), event.value_type, texts.get()) || SetNumbers(dictionary, event);
}

bool Merge(IDictionary& dictionary, const Event& event) {
  IDictionary* const source = dictionary.MakeDictionary();
  if (source == nullptr) throw std::bad_alloc();
  const bool is_done = source->LoadFromText(event.texts.front().data(), event.texts.front().size()) &&
                       dictionary.MergeSubtree(source, "/", event.path.c_str());
  source->Release();
  return is_done;
}

bool Replace(IDictionary& dictionary, const Event& event) {
  const Sdk::StreamHolder stream;
  if (!stream->Assign(event.texts.front().data(), event.texts.front().size())) throw std::bad_alloc();
  return dictionary.LoadSubtreeFromStream(event.path.c_str(), stream.get());
}

bool EmptyPairs(IDictionary& dictionary) {
  if (dictionary.Exists(WorkflowSchema::kNameValuePairs) && !dictionary.Delete(WorkflowSchema::kNameValuePairs)) {
    return false;
  }
  return dictionary.SetAttribute(WorkflowSchema::kNameValuePairs, "a", "") &&
         dictionary.RemoveAttribute(WorkflowSchema::kNameValuePairs, "a");
}

}  // namespace

bool ApplyChange(IDictionary& dictionary, const Event& event) {
  if (event.kind == Kind::Snapshot) return Load(dictionary, event.texts.front());
  const char* const path = event.path.c_str();
  const char* const other = event.other.c_str();
  const bool has_text = event.texts.size() == 1;
  switch (event.operation) {
    case Operation::SetValue:
      return SetValue(dictionary, event);
    case Operation::SetAttribute:
      return has_text && dictionary.SetAttribute(path, other, event.texts.front().c_str());
    case Operation::RemoveAttribute:
      return dictionary.RemoveAttribute(path, other);
    case Operation::Delete:
      return dictionary.Delete(path);
    case Operation::Clear:
      return dictionary.Clear(path);
    case Operation::Rename:
      return dictionary.Rename(path, other);
    case Operation::Copy:
      return dictionary.CopySubtree(other, path);
    case Operation::Move:
      return dictionary.MoveSubtree(other, path);
    case Operation::Merge:
      return has_text && Merge(dictionary, event);
    case Operation::Replace:
      return has_text && Replace(dictionary, event);
    case Operation::Load:
      return has_text && Load(dictionary, event.texts.front());
    case Operation::EmptyPairs:
      return EmptyPairs(dictionary);
  }
  return false;
}

}  // namespace OrvWorkFlow::Journal
