// The slow model's files: reading and writing by the rules of the format, one character at a time.
#include "SlowModel.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

std::string Trim(std::string text) {
  while (!text.empty() && SlowModel::IsSpace(text.front())) text.erase(0, 1);
  while (!text.empty() && SlowModel::IsSpace(text.back())) text.pop_back();
  return text;
}

std::string ReplaceAll(const std::string& text, const std::string& from, const std::string& to) {
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    if (text.compare(i, from.size(), from) == 0) {
      result += to;
      i += from.size();
    } else {
      result += text[i++];
    }
  }
  return result;
}

std::string Escape(std::string text) {
  text = ReplaceAll(text, "&", "&amp;");
  text = ReplaceAll(text, "<", "&lt;");
  text = ReplaceAll(text, ">", "&gt;");
  for (char& c : text) {
    const bool is_control = (c >= 1 && c <= 8) || c == 0x0B || c == 0x0C || (c >= 0x0E && c <= 0x1F);
    if (is_control) c = '?';
  }
  return text;
}

std::string Unescape(std::string text, bool in_attributes) {
  if (text.find('&') == std::string::npos) return text;
  text = ReplaceAll(text, "&lt;", "<");
  text = ReplaceAll(text, "&gt;", ">");
  text = ReplaceAll(text, "&apos;", "'");
  text = ReplaceAll(text, "&quot;", in_attributes ? "'" : "\"");
  if (text.find("&#") != std::string::npos) {
    for (int n = 1; n <= 255; ++n) {
      const char byte = in_attributes && n == 34 ? '\'' : static_cast<char>(n);
      text = ReplaceAll(text, "&#" + std::to_string(n) + ";", std::string(1, byte));
    }
  }
  return ReplaceAll(text, "&amp;", "&");
}

}  // namespace

// One character at a time with one character of push-back; throws `false` where the input fails.
class SlowModel::Reader {
 public:
  Reader(const std::string& input, SlowModel& model) : input_(input), model_(model) {}

  bool Read() {
    try {
      for (;;) {
        while (Get() != '<') {
        }
        const int next = Get();
        if (next != '?' && next != '!') {
          --at_;
          --at_;
          ReadElement();
          return true;
        }
        while (Get() != '>') {
        }
      }
    } catch (const bool&) {
      return false;
    }
  }

 private:
  int Get() {
    if (at_ >= input_.size()) throw false;
    return static_cast<unsigned char>(input_[at_++]);
  }
  char GetChar() { return static_cast<char>(Get()); }

  // False for a comment, which yields nothing. Begins at the "<".
  bool ReadElement() {
    Get();
    std::string name;
    char c = GetChar();
    if (c == '!') {
      SkipComment();
      return false;
    }
    for (; c != '>' && c != '/' && !IsSpace(c); c = GetChar()) name += c;
    if (name.empty()) throw false;
    path_.push_back(name);
    std::string attributes;
    if (c == '/') {
      while (GetChar() != '>') {
      }
      return Finish("", "");
    }
    while (IsSpace(c)) c = GetChar();
    for (bool quoted = false; quoted || c != '>'; c = GetChar()) {
      if (c == '"') quoted = !quoted;
      if (c == '/' && !quoted && at_ < input_.size() && input_[at_] == '>') {
        GetChar();
        return Finish("", attributes);
      }
      attributes += c;
    }
    return ReadContent(attributes);
  }

  void SkipComment() {
    for (int dashes = 0;;) {
      const char c = GetChar();
      if (c == '>' && dashes >= 2) return;
      dashes = c == '-' ? dashes + 1 : 0;
    }
  }

  bool ReadContent(const std::string& attributes) {
    std::string text;
    std::string pending;
    bool has_child = false;
    for (;;) {
      const char c = GetChar();
      if (c != '<') {
        if (!has_child) {
          text += c;
        } else if (!pending.empty() || !IsSpace(c)) {
          pending += c;
        }
        continue;
      }
      text += Trim(pending);
      pending.clear();
      if (GetChar() == '/') break;
      at_ -= 2;
      if (ReadElement()) has_child = true;
    }
    while (GetChar() != '>') {
    }
    return Finish(text, attributes);
  }

  bool Finish(const std::string& raw_text, const std::string& raw_attributes) {
    const std::string attributes = Unescape(raw_attributes, true);
    std::string text = Unescape(raw_text, false);
    if (attributes.empty()) text = Trim(text);
    model_.SetContent(path_, text, attributes);
    path_.pop_back();
    return true;
  }

  const std::string& input_;
  SlowModel& model_;
  std::size_t at_ = 0;
  Strings path_;
};

bool SlowModel::Load(const std::string& text) {
  root_.reset();
  return Reader(text, *this).Read();
}

std::string SlowModel::Save() {
  if (Element* root = Ensure({"IDictionaryRoot"})) {
    root->attributes = ChangeAttribute(root->attributes, "IDictionaryFileVersion", "2.0.0.0");
  }
  std::string output = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n";
  WriteElement(*root_, 1, output);
  return output;
}

void SlowModel::WriteElement(const Element& element, std::size_t depth, std::string& output) {
  output += "<" + element.name;
  if (!element.attributes.empty()) output += " " + Escape(element.attributes);
  output += ">" + Escape(element.text);
  const std::string line = "\r\n" + std::string(depth, '\t');
  if (!element.children.empty() && element.text.empty() && element.attributes.empty()) output += line;
  for (std::size_t i = 0; i < element.children.size(); ++i) {
    if (i > 0) output += line;
    WriteElement(*element.children[i], depth + 1, output);
  }
  if (!element.children.empty()) output += "\r\n" + std::string(depth - 1, '\t');
  output += "</" + element.name + ">";
}

}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
