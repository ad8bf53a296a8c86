#include "tests/program/support/FlowMutation.h"

#include <cctype>
#include <stdexcept>
#include <vector>

namespace orv_test {

namespace {

// An element of the file: `<name attributes>content</name>`.
struct Element {
  std::string name;
  std::size_t begin = 0;          // of "<"
  std::size_t name_end = 0;       // of the name in the start tag
  std::size_t content_begin = 0;  // behind ">"
  std::size_t content_end = 0;    // of "</"
  std::size_t end = 0;
  bool is_leaf = true;
};

// Those within <WorkFlowEngine>. Every element has a start and an end tag.
std::vector<Element> ElementsOf(const std::string& text) {
  std::vector<Element> elements;
  std::vector<std::size_t> open;
  const std::size_t first = text.find("<WorkFlowEngine>") + 1;
  const std::size_t last = text.find("</WorkFlowEngine>");
  for (std::size_t at = text.find('<', first); at < last; at = text.find('<', at + 1)) {
    const std::size_t close = text.find('>', at);
    if (text[at + 1] == '/') {
      if (open.empty()) throw std::logic_error("an end tag without its begin");
      Element& element = elements[open.back()];
      element.content_end = at;
      element.end = close + 1;
      open.pop_back();
      continue;
    }
    for (const std::size_t outer : open) elements[outer].is_leaf = false;
    Element element;
    element.begin = at;
    element.name_end = text.find_first_of(" >", at);
    element.name = text.substr(at + 1, element.name_end - at - 1);
    element.content_begin = close + 1;
    open.push_back(elements.size());
    elements.push_back(element);
  }
  return elements;
}

class Mutation {
 public:
  Mutation(const std::string& text, std::mt19937& random) : random_(random), text_(text) {}

  FlowMutant Make() {
    for (;;) {
      const std::vector<Element> elements = ElementsOf(text_);
      const Element& element = elements[Below(elements.size())];
      const std::string before = text_;
      Change(element);
      if (text_ != before) return {text_, mistake_};
    }
  }

 private:
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_); }

  void Change(const Element& element) {
    const std::string value = text_.substr(element.content_begin, element.content_end - element.content_begin);
    switch (Below(8)) {
      case 0:
        return Rename(element);
      case 1:
        return ChangeType(element);
      case 2:
        if (element.is_leaf) Replace(element, Misspelt(value));
        return;
      case 3:
        text_.erase(element.begin, element.end - element.begin);
        mistake_ = "without " + element.name;
        return;
      case 4:
        text_.insert(element.end, text_.substr(element.begin, element.end - element.begin));
        mistake_ = element.name + " twice";
        return;
      case 5:
      case 6:
        if (element.is_leaf) Replace(element, SwappedMapping(value));
        return;
      default:
        return BreakValue(element, value);
    }
  }

  void Rename(const Element& element) {
    const std::string name = Misspelt(element.name);
    text_.replace(element.content_end + 2, element.name.size(), name);
    text_.replace(element.begin + 1, element.name.size(), name);
    mistake_ = element.name + " called " + name;
  }

  void ChangeType(const Element& element) {
    static constexpr const char* kTypes[] = {"",
                                             " __type=\"str\"",
                                             " __type=\"int\"",
                                             " __type=\"Bool\"",
                                             " __type=\"UStr\"",
                                             " __type=\"strlist\"",
                                             " __type=\"text\""};
    const std::string type = kTypes[Below(std::size(kTypes))];
    text_.replace(element.name_end, element.content_begin - 1 - element.name_end, type);
    mistake_ = element.name + " of the type" + type;
  }

  void BreakValue(const Element& element, const std::string& value) {
    static constexpr const char* kValues[] = {"", "many", "-5", "99999999999"};
    // An empty path may be taken for the root.
    const bool is_path = value.find('/') != std::string::npos;
    if (element.is_leaf && !is_path) Replace(element, kValues[Below(std::size(kValues))]);
  }

  void Replace(const Element& element, const std::string& value) {
    text_.replace(element.content_begin, element.content_end - element.content_begin, value);
    mistake_ = element.name + " is " + value;
  }

  // A letter is left out, doubled, changed, in the other case, or swapped with the next one.
  std::string Misspelt(std::string word) {
    std::vector<std::size_t> letters;
    for (std::size_t i = 0; i < word.size(); ++i) {
      if (std::isalnum(static_cast<unsigned char>(word[i])) != 0) letters.push_back(i);
    }
    if (letters.size() < 2) return word;
    const std::size_t at = letters[Below(letters.size())];
    switch (Below(5)) {
      case 0:
        return word.erase(at, 1);
      case 1:
        return word.insert(at, 1, word[at]);
      case 2:
        word[at] = static_cast<char>('a' + static_cast<char>(Below(26)));
        return word;
      case 3:
        word[at] = static_cast<char>(std::isupper(static_cast<unsigned char>(word[at])) != 0   ? word[at] + 32
                                     : std::islower(static_cast<unsigned char>(word[at])) != 0 ? word[at] - 32
                                                                                               : word[at]);
        return word;
      default:
        if (at + 1 < word.size() && std::isalnum(static_cast<unsigned char>(word[at + 1])) != 0) {
          std::swap(word[at], word[at + 1]);
        }
        return word;
    }
  }

  std::string SwappedMapping(const std::string& value) {
    const std::size_t first = value.find(',');
    const std::size_t second = first == std::string::npos ? first : value.find(',', first + 1);
    if (second == std::string::npos) return value;
    const std::string type = value.substr(0, first);
    const std::string instance = value.substr(first + 1, second - first - 1);
    const std::string signal = value.substr(second + 1);
    switch (Below(6)) {
      case 0:
        return instance + "," + type + "," + signal;
      case 1:
        return type + "," + signal + "," + instance;
      case 2:
        return type + "," + instance;
      case 3:
        return value + ",";
      case 4:
        return type + ", " + instance + "," + signal;
      default:
        return type + ";" + instance + ";" + signal;
    }
  }

  std::mt19937& random_;
  std::string text_;
  std::string mistake_;
};

}  // namespace

FlowMutant MutateFlow(const std::string& text, std::mt19937& random) { return Mutation(text, random).Make(); }

}  // namespace orv_test
