#include "host/state/DeliveryKeys.h"

#include <charconv>
#include <cstdio>
#include <random>
#include <string_view>
#include <utility>

#include "base/dictionary/DictionaryReading.h"

namespace OrvWorkFlow::Host {

namespace {

constexpr char kFirst[] = "/First";

std::string NewRunName() {
  std::random_device device;
  char text[17];
  std::snprintf(text, sizeof(text), "%08x%08x", static_cast<unsigned>(device()), static_cast<unsigned>(device()));
  return text;
}

template <class Number>
bool ReadNumber(std::string_view text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && number != 0;
}

bool ReadDied(std::string_view text, DiedDelivery& delivery) {
  const std::size_t number = text.find(' ');
  const std::size_t attempt = text.rfind(' ');
  if (number == std::string_view::npos || attempt == number) return false;
  delivery.run = text.substr(0, number);
  return ReadNumber(text.substr(number + 1, attempt - number - 1), delivery.number) &&
         ReadNumber(text.substr(attempt + 1), delivery.attempt);
}

}  // namespace

KeptDeliveries ReadDiedDeliveries(IDictionary& dictionary) {
  KeptDeliveries kept;
  const std::string parent = kDiedDeliveries;
  ReadNumber(Base::TextAt(dictionary, parent + kFirst), kept.first);
  for (const std::string& name : Base::NamesBelow(dictionary, parent)) {
    std::uint64_t number = 0;
    DiedDelivery delivery;
    if (!ReadNumber(name, number) || number < kept.first) continue;
    if (ReadDied(Base::TextAt(dictionary, parent + "/" + name), delivery)) {
      kept.deliveries.emplace(number, std::move(delivery));
    }
  }
  return kept;
}

bool WriteDiedDeliveries(IDictionary& dictionary, const KeptDeliveries& kept) {
  if (!dictionary.Delete(kDiedDeliveries) && dictionary.Exists(kDiedDeliveries)) return false;
  const auto set = [&](const std::string& name, const std::string& text) {
    return dictionary.SetValue((kDiedDeliveries + name).c_str(), text.c_str());
  };
  if (kept.deliveries.empty()) return true;
  for (const auto& [number, died] : kept.deliveries) {
    const std::string text = died.run + " " + std::to_string(died.number) + " " + std::to_string(died.attempt);
    if (!set("/" + std::to_string(number), text)) return false;
  }
  return set(kFirst, std::to_string(kept.first));
}

DeliveryKeys::DeliveryKeys() : run_(NewRunName()) {}

bool DeliveryKeys::Take(IDictionary& dictionary) {
  KeptDeliveries kept = ReadDiedDeliveries(dictionary);
  if (kept.deliveries.empty()) return true;
  {
    const Base::Hold lock(mutex_);
    for (auto& [number, died] : kept.deliveries) died_.emplace(number - kept.first + first_restored_, std::move(died));
    has_died_ = true;
  }
  return Write(dictionary);
}

bool DeliveryKeys::Write(IDictionary& dictionary) {
  KeptDeliveries kept;
  {
    const Base::Hold lock(mutex_);
    kept = {last_ended_ + 1, died_};
  }
  return WriteDiedDeliveries(dictionary, kept);
}

void DeliveryKeys::SignalQueued(const QueuedSignal& signal) {
  if (!signal.restored || first_restored_ != 0) return;
  first_restored_ = signal.number;
  last_ended_ = signal.number - 1;
}

void DeliveryKeys::DeliveryEnded(const Delivery& delivery, Outcome /*outcome*/, const char* /*text*/) {
  if (delivery.number > kPastQueue) return;
  last_ended_.store(delivery.number, std::memory_order_relaxed);
  if (!has_died_) return;
  const Base::Hold lock(mutex_);
  died_.erase(delivery.number);
}

bool DeliveryKeys::NameDelivery(std::uint64_t number, DeliveryKey& key) {
  key = {run_.c_str(), number, 1};
  if (!has_died_) return true;
  const Base::Hold lock(mutex_);
  const auto died = died_.find(number);
  if (died != died_.end()) key = {died->second.run.c_str(), died->second.number, died->second.attempt};
  return true;
}

}  // namespace OrvWorkFlow::Host
