#include "OrvWorkFlow/Marshaller.h"

#include <atomic>

#include "base/guard/Guarded.h"
#include "runtime/marshal/MarshalledTypes.h"

namespace OrvWorkFlow {

namespace {

std::atomic<MarshallerSource> current_source{nullptr};

// As a pointer to the named interface: that is what the asker casts it back to.
template <class Interface, class Object>
void* New() noexcept {
  return static_cast<Interface*>(new (std::nothrow) Object);
}

using Maker = void* (*)() noexcept;

struct NamedMaker {
  const char* name;
  Maker make;
};

constexpr NamedMaker kMakers[] = {
    {"IOrvPString", &New<IOrvPString, Runtime::MarshalledPString>},
    {"IOrvPStringList", &New<IOrvPStringList, Runtime::MarshalledStringList<char, IOrvPStringList>>},
    {"IOrvString", &New<IOrvString, Runtime::MarshalledWString>},
    {"IOrvStringList", &New<IOrvStringList, Runtime::MarshalledStringList<char16_t, IOrvStringList>>},
    {"IOrvIntList", &New<IOrvIntList, Runtime::MarshalledList<std::int32_t, std::int32_t, IOrvIntList>>},
    {"IOrvDoubleList", &New<IOrvDoubleList, Runtime::MarshalledList<double, double, IOrvDoubleList>>},
    {"IOrvBoolList", &New<IOrvBoolList, Runtime::MarshalledList<bool, unsigned char, IOrvBoolList>>},
    {"IOrvBasicStream", &New<IOrvBasicStream, Runtime::MarshalledStream>},
};

void* NewOwnObject(const char* interface_name) noexcept {
  for (const NamedMaker& maker : kMakers) {
    if (std::strcmp(maker.name, interface_name) == 0) {
      return maker.make();
    }
  }
  return nullptr;
}

}  // namespace

bool Runtime::MarshalledStream::Assign(const void* data, std::size_t size) noexcept {
  if (data == nullptr && size != 0) {
    return false;
  }
  const auto* const first = static_cast<const unsigned char*>(data);
  return Base::Guarded([&] {
    // A copy first: the source may lie inside the present content.
    std::vector<unsigned char> bytes;
    if (size != 0) {
      bytes.assign(first, first + size);
    }
    bytes_.swap(bytes);
    return true;
  });
}

bool Runtime::MarshalledStream::Append(const void* data, std::size_t size) noexcept {
  if (data == nullptr && size != 0) {
    return false;
  }
  if (size == 0) {
    return true;
  }
  const auto* const first = static_cast<const unsigned char*>(data);
  return Base::Guarded([&] {
    const std::size_t old_size = bytes_.size();
    if (bytes_.capacity() - old_size >= size) {
      bytes_.insert(bytes_.end(), first, first + size);
      return true;
    }
    // The source may lie inside the present content: the old block has to live until it is copied.
    std::vector<unsigned char> bytes;
    bytes.reserve(old_size + (size > old_size ? size : old_size));
    bytes.insert(bytes.end(), bytes_.begin(), bytes_.end());
    bytes.insert(bytes.end(), first, first + size);
    bytes_.swap(bytes);
    return true;
  });
}

void* DirectGetObject(const char* interface_name) noexcept {
  if (interface_name == nullptr) {
    return nullptr;
  }
  const MarshallerSource source = current_source.load(std::memory_order_acquire);
  if (source == nullptr) {
    return NewOwnObject(interface_name);
  }
  return Base::Guarded([&] { return source(interface_name); });
}

MarshallerSource SetMarshallerSource(MarshallerSource source) noexcept {
  return current_source.exchange(source, std::memory_order_acq_rel);
}

}  // namespace OrvWorkFlow
