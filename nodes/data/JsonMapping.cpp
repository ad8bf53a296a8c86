#include "nodes/data/JsonMapping.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nlohmann/json.hpp"

namespace OrvWorkFlow::Nodes {

namespace {

using Json = nlohmann::ordered_json;

constexpr char kMark[] = "json";
constexpr int kDeepest = 500;

void Expect(bool done, const std::string& path) {
  if (!done) throw std::runtime_error("cannot write the entry \"" + path + "\"");
}

bool IsName(const std::string& name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-';
  });
}

// The type and the text of a scalar; nothing for null, arrays and objects. `is_marked` for a number that is kept as
// text.
struct Scalar {
  ValueType type;
  std::string text;
  bool is_marked = false;
};

std::optional<Scalar> ScalarOf(const Json& json, const std::string& path) {
  if (json.is_string()) {
    const auto& text = json.get_ref<const std::string&>();
    if (text.find('\0') != std::string::npos) throw std::runtime_error(path + ": a text has a zero in it");
    return Scalar{ValueType::String, text};
  }
  if (json.is_boolean()) return Scalar{ValueType::Boolean, json.get<bool>() ? "1" : "0"};
  if (json.is_number_integer()) {
    const bool fits = json.is_number_unsigned() ? std::in_range<std::int32_t>(json.get<std::uint64_t>())
                                                : std::in_range<std::int32_t>(json.get<std::int64_t>());
    return Scalar{fits ? ValueType::Integer : ValueType::String, json.dump(), !fits};
  }
  if (json.is_number()) {
    const double number = json.get<double>();
    char text[400];
    std::snprintf(text, sizeof(text), "%f", number);
    std::string plain(text);
    std::replace(plain.begin(), plain.end(), ',', '.');
    const Json again = Json::parse(plain, nullptr, false);
    if (again.is_number() && again.get<double>() == number) return Scalar{ValueType::Double, plain};
    return Scalar{ValueType::String, json.dump(), true};
  }
  return std::nullopt;
}

// The type of a list that the array can be.
std::optional<ValueType> ListTypeOf(const Json& array) {
  if (array.empty()) return std::nullopt;
  std::optional<ValueType> type;
  for (const Json& item : array) {
    const std::optional<Scalar> scalar = ScalarOf(item, "");
    if (!scalar || scalar->is_marked || (type && *type != scalar->type)) return std::nullopt;
    type = scalar->type;
  }
  switch (*type) {
    case ValueType::Integer:
      return ValueType::IntegerList;
    case ValueType::Double:
      return ValueType::DoubleList;
    case ValueType::Boolean:
      return ValueType::BooleanList;
    default:
      return ValueType::StringList;
  }
}

void SetTexts(IDictionary& dictionary, const std::string& path, ValueType type,
              const std::vector<std::string>& values) {
  const Sdk::TextListHolder texts;
  for (const std::string& value : values) Expect(texts->Add(value.data(), value.size()), path);
  Expect(dictionary.SetValueTexts(path.c_str(), type, texts.get()), path);
}

void Mark(IDictionary& dictionary, const std::string& path, const char* kind) {
  Expect(dictionary.SetAttribute(path.c_str(), kMark, kind), path);
}

struct Stopped {};

// Asks now and then whether to stop; throws Stopped.
class StopWatch {
 public:
  explicit StopWatch(const std::function<bool()>& stop_wanted) : stop_wanted_(stop_wanted) {}
  void Look() {
    if (++steps_ % kSteps == 0 && stop_wanted_()) throw Stopped();
  }

 private:
  static constexpr unsigned kSteps = 256;

  const std::function<bool()>& stop_wanted_;
  unsigned steps_ = 0;
};

class Writer {
 public:
  // `done` is how many writes were made before, and counts on.
  Writer(IDictionary& dictionary, StopWatch& watch, std::int64_t& done)
      : dictionary_(dictionary), watch_(watch), done_(done), before_(done) {
    done_ = 0;
  }

  void Write(const Json& json, const std::string& path, int depth) {
    watch_.Look();
    if (depth > kDeepest) throw std::runtime_error(path + ": more than " + std::to_string(kDeepest) + " levels");
    if (const std::optional<Scalar> scalar = ScalarOf(json, path)) {
      Do([&] {
        SetTexts(dictionary_, path, scalar->type, {scalar->text});
        if (scalar->is_marked) Mark(dictionary_, path, "number");
      });
    } else if (json.is_array()) {
      WriteArray(json, path, depth);
    } else if (json.is_null() || json.empty()) {
      Do([&] { Mark(dictionary_, path, json.is_null() ? "null" : "object"); });
    } else {
      for (const auto& [name, member] : json.items()) {
        if (!IsName(name)) throw std::runtime_error(path + ": no entry can have the name \"" + name + "\"");
        Write(member, path + "/" + name, depth + 1);
      }
    }
  }

 private:
  template <class Step>
  void Do(Step step) {
    if (done_ >= before_) step();
    ++done_;
  }

  void WriteArray(const Json& json, const std::string& path, int depth) {
    if (const std::optional<ValueType> type = ListTypeOf(json)) {
      std::vector<std::string> values;
      for (const Json& item : json) values.push_back(ScalarOf(item, path)->text);
      Do([&] { SetTexts(dictionary_, path, *type, values); });
      return;
    }
    Do([&] { Mark(dictionary_, path, "array"); });
    std::size_t number = 0;
    for (const Json& item : json) Write(item, path + "/i" + std::to_string(++number), depth + 1);
  }

  IDictionary& dictionary_;
  StopWatch& watch_;
  std::int64_t& done_;
  const std::int64_t before_;
};

class Reader {
 public:
  Reader(IDictionary& dictionary, StopWatch& watch) : dictionary_(dictionary), watch_(watch) {}

  Json Read(const std::string& path, int depth) {
    watch_.Look();
    if (depth > kDeepest) throw std::runtime_error(path + ": more than " + std::to_string(kDeepest) + " levels");
    const Sdk::TextListHolder names;
    if (!dictionary_.GetEntries(path.c_str(), names.get())) throw std::runtime_error("there is no entry " + path);
    const Sdk::TextListHolder texts;
    const bool has_value = dictionary_.GetValueTexts(path.c_str(), texts.get());
    const std::string mark =
        Sdk::TextFrom([&](IOrvPString* out) { return dictionary_.GetAttribute(path.c_str(), kMark, out); });
    const std::vector<std::string> children = names.Texts();
    if (has_value && !children.empty()) {
      throw std::runtime_error(path + ": JSON has no place for a value with entries below it");
    }
    if (has_value) return ValueOf(path, texts.Texts(), mark);
    if (children.empty() && mark == "null") return nullptr;
    Json json = mark == "array" ? Json::array() : Json::object();
    for (const std::string& name : children) {
      Json child = Read(path + "/" + name, depth + 1);
      if (mark == "array") {
        json.push_back(std::move(child));
      } else {
        json[name] = std::move(child);
      }
    }
    return json;
  }

 private:
  static Json Number(const std::string& path, const std::string& text) {
    Json number = Json::parse(text, nullptr, false);
    if (!number.is_number()) throw std::runtime_error(path + ": \"" + text + "\" is no number that JSON has");
    return number;
  }

  Json ValueOf(const std::string& path, const std::vector<std::string>& texts, const std::string& mark) const {
    const ValueType type = dictionary_.GetValueType(path.c_str());
    const bool is_list = type >= ValueType::StringList && type <= ValueType::BooleanList;
    Json list = Json::array();
    for (const std::string& text : texts) {
      switch (type) {
        case ValueType::Integer:
        case ValueType::IntegerList:
        case ValueType::Double:
        case ValueType::DoubleList:
          list.push_back(Number(path, text));
          break;
        case ValueType::Boolean:
        case ValueType::BooleanList:
          list.push_back(text != "0");
          break;
        default:
          list.push_back(mark == "number" && !is_list ? Number(path, text) : Json(text));
      }
    }
    if (is_list) return list;
    return list.empty() ? Json("") : list.front();
  }

  IDictionary& dictionary_;
  StopWatch& watch_;
};

// The characters of a text; going through them can be stopped. (A callback of the parser would be slow: it looks at all
// items of an array at the end of each.)
struct WatchedCharacter {
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  const char& operator*() const { return *at; }
  WatchedCharacter& operator++() {
    watch->Look();
    ++at;
    return *this;
  }
  bool operator==(const WatchedCharacter& other) const { return at == other.at; }

  const char* at;
  StopWatch* watch;
};

Json Parsed(const std::string& json, StopWatch& watch) {
  try {
    return Json::parse(WatchedCharacter{json.data(), &watch}, WatchedCharacter{json.data() + json.size(), &watch});
  } catch (const Json::parse_error& error) {
    std::string why = error.what();
    why.erase(0, why.find("] ") + 2);
    throw std::runtime_error("this is no JSON: " + why);
  }
}

}  // namespace

bool JsonToEntries(const std::string& json, ComingEntry& entry, std::int64_t& done,
                   const std::function<bool()>& stop_wanted) {
  StopWatch watch(stop_wanted);
  const std::int64_t before = done;
  try {
    const Json parsed = Parsed(json, watch);
    Writer(entry.dictionary(), watch, done).Write(parsed, entry.path(), 0);
  } catch (const Stopped&) {
    done = std::max(done, before);
    return false;
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(entry.Shown(error.what()));
  }
  return true;
}

std::optional<std::string> EntriesToJson(IDictionary& dictionary, const std::string& entry, int indent,
                                         const std::function<bool()>& stop_wanted) {
  StopWatch watch(stop_wanted);
  try {
    return Reader(dictionary, watch).Read(entry, 0).dump(indent == 0 ? -1 : indent) + "\n";
  } catch (const Stopped&) {
    return std::nullopt;
  } catch (const Json::exception&) {
    throw std::runtime_error(entry + ": a text in it is no UTF-8");
  }
}

}  // namespace OrvWorkFlow::Nodes
