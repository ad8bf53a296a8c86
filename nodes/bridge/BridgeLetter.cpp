#include "nodes/bridge/BridgeLetter.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/bridge/BridgeFrames.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

constexpr std::uint64_t kSignalVersion = 1;
constexpr std::uint64_t kRequestVersion = 2;  // with a kind and the number of a request
constexpr std::size_t kMostName = 200;
constexpr std::size_t kMostPath = 1000;
constexpr std::size_t kMostValues = 256;

bool IsName(std::string_view name) { return !name.empty() && name.find('\0') == std::string_view::npos; }

// A path as the dictionary takes it, and not of the root.
bool IsPath(std::string_view path) {
  const auto is_allowed = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
           c == '/';
  };
  return path.size() > 1 && path.starts_with('/') && !path.ends_with('/') &&
         path.find("//") == std::string_view::npos && std::all_of(path.begin(), path.end(), is_allowed);
}

void WriteContent(Writer& writer, const Value& value) {
  switch (value.type) {
    case ValueType::String:
      writer.Text(value.texts.front());
      break;
    case ValueType::Integer:
      writer.Number(static_cast<std::uint32_t>(value.integer), 4);
      break;
    case ValueType::Double:
      writer.Number(std::bit_cast<std::uint64_t>(value.number), 8);
      break;
    case ValueType::Boolean:
      writer.Byte(value.boolean ? 1 : 0);
      break;
    default:
      writer.Number(value.texts.size(), 4);
      for (const std::string& text : value.texts) writer.Text(text);
  }
}

void ReadContent(Reader& reader, Value& value) {
  switch (value.type) {
    case ValueType::String:
      value.texts.push_back(reader.Text(kMostLetter));
      break;
    case ValueType::Integer:
      value.integer = static_cast<std::int32_t>(static_cast<std::uint32_t>(reader.Number(4)));
      break;
    case ValueType::Double:
      value.number = std::bit_cast<double>(reader.Number(8));
      break;
    case ValueType::Boolean:
      value.boolean = reader.Number(1) != 0;
      break;
    case ValueType::StringList: {
      // Each takes four bytes at least, so the count costs nothing before they are there.
      const std::uint64_t count = reader.Number(4);
      for (std::uint64_t i = 0; i < count && !reader.failed(); ++i) value.texts.push_back(reader.Text(kMostLetter));
      break;
    }
    default:
      throw std::runtime_error("the value for " + value.path + " has an unknown type");
  }
}

Value ReadOne(Reader& reader) {
  Value value;
  value.path = reader.Text(kMostPath);
  value.type = static_cast<ValueType>(reader.Number(1));
  if (reader.failed()) return value;
  if (!IsPath(value.path)) throw std::runtime_error("a value has a path that is none");
  ReadContent(reader, value);
  const auto has_end = [](const std::string& text) { return text.find('\0') != std::string::npos; };
  if (std::any_of(value.texts.begin(), value.texts.end(), has_end)) {
    throw std::runtime_error("the text for " + value.path + " holds a zero");
  }
  return value;
}

}  // namespace

Value ReadValue(IDictionary& dictionary, const std::string& path) {
  Value value;
  value.path = path;
  if (!IsPath(path)) throw std::runtime_error("\"" + path + "\" is no path of an entry");
  const Sdk::TextHolder text;
  const Sdk::TextListHolder list;
  if (dictionary.GetValue(path.c_str(), text.get())) {
    value.type = ValueType::String;
    value.texts = {text.Text()};
  } else if (dictionary.GetValue(path.c_str(), &value.integer)) {
    value.type = ValueType::Integer;
  } else if (dictionary.GetValue(path.c_str(), &value.number)) {
    value.type = ValueType::Double;
  } else if (dictionary.GetValue(path.c_str(), &value.boolean)) {
    value.type = ValueType::Boolean;
  } else if (dictionary.GetValue(path.c_str(), list.get())) {
    value.type = ValueType::StringList;
    value.texts = list.Texts();
  } else {
    throw std::runtime_error(path + (dictionary.Exists(path.c_str()) ? " is of a type that no bridge carries"
                                                                     : " is not there: it cannot be sent"));
  }
  return value;
}

namespace {

bool WriteValue(IDictionary& dictionary, const std::string& folder, const Value& value) {
  const std::string path = folder + value.path;
  switch (value.type) {
    case ValueType::String:
      return dictionary.SetValue(path.c_str(), value.texts.front().c_str());
    case ValueType::Integer:
      return dictionary.SetValue(path.c_str(), value.integer);
    case ValueType::Double:
      return dictionary.SetValue(path.c_str(), value.number);
    case ValueType::Boolean:
      return dictionary.SetValue(path.c_str(), value.boolean);
    default: {
      const Sdk::TextListHolder list;
      for (const std::string& text : value.texts) {
        if (!list->Add(text.data(), text.size())) return false;
      }
      return dictionary.SetValue(path.c_str(), list.get());
    }
  }
}

void ExpectHead(const Letter& letter) {
  if (letter.kind == LetterKind::Answer) return;
  if (letter.kind == LetterKind::Refusal) {
    if (letter.signal.size() <= kMostReason) return;
    throw std::runtime_error("the parameter Reason is longer than " + std::to_string(kMostReason) + " bytes");
  }
  if (IsName(letter.signal) && letter.signal.size() <= kMostName) return;
  throw std::runtime_error("the parameter Signal is empty or longer than " + std::to_string(kMostName) + " bytes");
}

void ReadHead(Reader& reader, Letter& letter) {
  const std::uint64_t version = reader.Number(1);
  if (version == kRequestVersion) {
    const std::uint64_t kind = reader.Number(1);
    if (kind < 1 || kind > 3) throw std::runtime_error("it is of an unknown kind");
    letter.kind = static_cast<LetterKind>(kind);
    letter.request = reader.Number(8);
    if (letter.request == 0 || letter.request >= kMostNumber) throw std::runtime_error("it is of no request");
  } else if (version != kSignalVersion) {
    throw std::runtime_error("it is of an unknown version");
  }
  letter.signal = reader.Text(letter.kind == LetterKind::Refusal ? kMostReason : kMostName);
}

bool HasName(const Letter& letter) {
  const bool has_none = letter.kind == LetterKind::Answer || letter.kind == LetterKind::Refusal;
  return has_none ? letter.signal.find('\0') == std::string::npos : IsName(letter.signal);
}

}  // namespace

std::vector<Value> ReadValues(IDictionary& dictionary, const std::vector<std::string>& paths) {
  std::vector<Value> values;
  for (const std::string& path : paths) values.push_back(ReadValue(dictionary, path));
  return values;
}

void WriteValues(IDictionary& dictionary, Sdk::NodeRecord record, const std::vector<Value>& values) {
  const std::string folder = record.PathOf("Values");
  record.Remove("Values");
  for (const Value& value : values) {
    if (!WriteValue(dictionary, folder, value)) throw std::runtime_error("cannot write " + folder + value.path);
  }
}

std::string EncodeLetter(const Letter& letter) {
  ExpectHead(letter);
  if (letter.values.size() > kMostValues) {
    throw std::runtime_error("more than " + std::to_string(kMostValues) + " values for one signal");
  }
  Writer writer;
  const bool is_signal = letter.kind == LetterKind::Signal;
  writer.Number(is_signal ? kSignalVersion : kRequestVersion, 1);
  if (!is_signal) {
    writer.Byte(static_cast<std::uint8_t>(letter.kind));
    writer.Number(letter.request, 8);
  }
  writer.Text(letter.signal);
  writer.Number(letter.values.size(), 2);
  for (const Value& value : letter.values) {
    if (value.path.size() > kMostPath) throw std::runtime_error(value.path + ": the path is too long to be sent");
    writer.Text(value.path);
    writer.Byte(static_cast<std::uint8_t>(value.type));
    WriteContent(writer, value);
  }
  if (writer.bytes().size() > kMostLetter) {
    throw std::runtime_error("the values take " + std::to_string(writer.bytes().size()) + " bytes; a signal carries " +
                             std::to_string(kMostLetter));
  }
  return writer.bytes();
}

Letter DecodeLetter(std::string_view bytes) {
  Reader reader(bytes);
  Letter letter;
  ReadHead(reader, letter);
  const std::uint64_t count = reader.Number(2);
  if (count > kMostValues) throw std::runtime_error("it has too many values");
  for (std::uint64_t i = 0; i < count && !reader.failed(); ++i) letter.values.push_back(ReadOne(reader));
  if (!reader.IsAtEnd() || !HasName(letter)) throw std::runtime_error("it is not whole");
  return letter;
}

}  // namespace OrvWorkFlow::Nodes::Bridge
