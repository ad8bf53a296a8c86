#include "dictionary/object/ChangeTeller.h"

#include <exception>
#include <string>
#include <vector>

#include "dictionary/values/ListItems.h"
#include "dictionary/values/ValueTypes.h"
#include "dictionary/xml/TextBuffer.h"
#include "dictionary/xml/XmlWriter.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

DictionaryText View(std::string_view text) noexcept { return {text.data(), text.size()}; }

// What an observer throws against its promise is dropped.
void Give(IDictionaryObserver& observer, const DictionaryChange& change) noexcept {
  try {
    observer.DictionaryChanged(change);
  } catch (...) {
  }
}

void GiveLost(IDictionaryObserver& observer) noexcept {
  try {
    observer.DictionaryLost();
  } catch (...) {
  }
}

}  // namespace

void ChangeTeller::Value(ElementTree& tree, std::string_view path, ElementId entry) const noexcept {
  DictionaryChange change;
  change.type = tree.type(entry);
  change.path = View(path);
  if (!IsListType(change.type)) {
    const DictionaryText text = View(tree.text(entry));
    change.texts = &text;
    change.text_count = 1;
    Give(*observer_, change);
    return;
  }
  try {
    std::vector<DictionaryText> texts;
    ListReader items(tree, entry);
    std::string_view text;
    while (items.Next(text)) texts.push_back(View(text));
    change.texts = texts.data();
    change.text_count = texts.size();
    Give(*observer_, change);
  } catch (...) {
    GiveLost(*observer_);
  }
}

void ChangeTeller::Tell(Operation operation, std::string_view path, std::string_view other,
                        std::string_view text) const noexcept {
  const DictionaryText only = View(text);
  DictionaryChange change;
  change.operation = operation;
  change.path = View(path);
  change.other = View(other);
  if (operation == Operation::SetAttribute) {
    change.texts = &only;
    change.text_count = 1;
  }
  Give(*observer_, change);
}

void ChangeTeller::Tree(Operation operation, std::string_view path, const ElementTree& tree) const noexcept {
  try {
    TextBuffer buffer;
    if (tree.root() != kNoElement) WriteXml(tree, buffer);
    const DictionaryText only = View(buffer.view());
    DictionaryChange change;
    change.operation = operation;
    change.path = View(path);
    change.texts = &only;
    change.text_count = 1;
    Give(*observer_, change);
  } catch (...) {
    GiveLost(*observer_);
  }
}

ChangeTeller::Guard::Guard(const ChangeTeller& teller) noexcept
    : observer_(teller.observer_), exceptions_(observer_ == nullptr ? 0 : std::uncaught_exceptions()) {}

void ChangeTeller::Guard::TellIfThrown() const noexcept {
  if (std::uncaught_exceptions() > exceptions_) GiveLost(*observer_);
}

}  // namespace OrvWorkFlow::Core::Dictionary
