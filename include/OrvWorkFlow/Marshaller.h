// Marshalled strings and lists: the only form in which texts and lists cross an interface as results.
//
// The host makes them: DirectGetObject("IOrvPString") gives a fresh, empty one that the asker owns and ends with
// Release(). An object that is handed to an operation as an output stays the caller's. One thread at a time for each
// object.
//
// An implementation may throw from any operation (out of memory, say); the library guards every call and reports false.
#pragma once

#include <cstddef>
#include <cstdint>

#include "OrvWorkFlow/Export.h"

namespace OrvWorkFlow {

// One text. `Char` is char ("IOrvPString") or char16_t ("IOrvString").
template <class Char>
class IOrvStringOf {
 public:
  // Replaces the text by a copy of `length` characters, the terminator not counted. The text may hold any characters,
  // zeros included. `text` may be null when `length` is 0.
  virtual bool Assign(const Char* text, std::size_t length) = 0;
  // The text with a terminator behind it; valid until the next Assign or Release. Never null.
  virtual const Char* GetText() const = 0;
  // In characters, the terminator not counted.
  virtual std::size_t GetLength() const = 0;
  virtual void Release() = 0;

 protected:
  ~IOrvStringOf() = default;
};

// An ordered list. `Item` is what Get answers; Add takes the same.
template <class Item>
class IOrvListOf {
 public:
  virtual std::size_t GetCount() const = 0;
  // False and `*value` untouched when there is no such item.
  virtual bool Get(std::size_t index, Item* value) const = 0;
  virtual bool Add(Item value) = 0;
  virtual void Clear() = 0;
  virtual void Release() = 0;

 protected:
  ~IOrvListOf() = default;
};

// An ordered list of texts.
template <class Char>
class IOrvStringListOf {
 public:
  virtual std::size_t GetCount() const = 0;
  // The item's text with a terminator, valid until the list changes; null when there is no such item.
  virtual const Char* GetText(std::size_t index) const = 0;
  // In characters; 0 when there is no such item.
  virtual std::size_t GetLength(std::size_t index) const = 0;
  // Appends a copy of `length` characters.
  virtual bool Add(const Char* text, std::size_t length) = 0;
  virtual void Clear() = 0;
  virtual void Release() = 0;

 protected:
  ~IOrvStringListOf() = default;
};

// Named classes, so that each is a type of its own in an overload and in a debugger.
// "IOrvPString": a narrow text
class IOrvPString : public IOrvStringOf<char> {
 protected:
  ~IOrvPString() = default;
};
// "IOrvString": a wide text
class IOrvString : public IOrvStringOf<char16_t> {
 protected:
  ~IOrvString() = default;
};
// "IOrvPStringList"
class IOrvPStringList : public IOrvStringListOf<char> {
 protected:
  ~IOrvPStringList() = default;
};
// "IOrvStringList"
class IOrvStringList : public IOrvStringListOf<char16_t> {
 protected:
  ~IOrvStringList() = default;
};
// "IOrvIntList"
class IOrvIntList : public IOrvListOf<std::int32_t> {
 protected:
  ~IOrvIntList() = default;
};
// "IOrvDoubleList"
class IOrvDoubleList : public IOrvListOf<double> {
 protected:
  ~IOrvDoubleList() = default;
};
// "IOrvBoolList"
class IOrvBoolList : public IOrvListOf<bool> {
 protected:
  ~IOrvBoolList() = default;
};

// "IOrvBasicStream": a block of bytes.
class IOrvBasicStream {
 public:
  // Replaces the content by a copy of `size` bytes. `data` may be null when `size` is 0.
  virtual bool Assign(const void* data, std::size_t size) = 0;
  // Appends a copy of `size` bytes.
  virtual bool Append(const void* data, std::size_t size) = 0;
  // Valid until the content changes; may be null when the size is 0.
  virtual const void* GetData() const = 0;
  virtual std::size_t GetSize() const = 0;
  virtual void Release() = 0;

  // For content that comes without a copy: room for `size` bytes behind the content, which stays as it is. Valid until
  // the next call. Null for lack of memory and where there is no such room to be had: then Append serves.
  virtual void* Room(std::size_t /*size*/) { return nullptr; }
  // The first `size` bytes of the room that was given last join the content. False without such a room.
  virtual bool Commit(std::size_t /*size*/) { return false; }

 protected:
  ~IOrvBasicStream() = default;
};

// A fresh, empty marshalled object of exactly that interface name, as a pointer to that interface (cast it to the named
// class), or null: unknown name, null, or no memory. Any thread.
ORV_RUNTIME_API void* DirectGetObject(const char* interface_name) noexcept;

// Lets a host supply marshalled objects of its own in place of the runtime's (and a test, ones that fail). Null brings
// the runtime's own back. Answers the source that was there before. Any thread; objects already made are not touched.
using MarshallerSource = void* (*)(const char* interface_name);
ORV_RUNTIME_API MarshallerSource SetMarshallerSource(MarshallerSource source) noexcept;

}  // namespace OrvWorkFlow
