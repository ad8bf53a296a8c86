// The text of a dictionary file as a tree that keeps what the dictionary leaves out: comments, and where they belong.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace OrvWorkFlow::Program {

inline constexpr char kDictionaryRoot[] = "IDictionaryRoot";
inline constexpr char kListHolder[] = "__ListEntries";
inline constexpr char kTypeAttribute[] = "__type";
inline constexpr char kVersionAttribute[] = "IDictionaryFileVersion";

using Remarks = std::vector<std::string>;  // comments, each with its marks

// Elements are known by their numbers, which stay; the first is the root. What is taken out of its parent's children
// stays in the document and belongs to nothing.
class Document {
 public:
  using Id = std::size_t;
  static constexpr Id kRoot = 0;
  static constexpr Id kNone = static_cast<Id>(-1);
  // Deeper ones are not read: what walks a document may call itself for each level.
  static constexpr std::size_t kMostLevels = 1000;

  struct Element {
    std::string name;
    std::string attributes;  // the raw text of the start tag, without references
    std::string text;        // as the dictionary holds it
    Remarks before;          // the comments that stand above it
    Remarks behind;          // those on the line on which it ends
    Remarks last;            // those behind its last child, or in it where there is none
    std::vector<Id> children;
    std::size_t offset = 0;  // of the start tag in the text that was read
  };

  // An empty dictionary.
  Document();
  // Reads a text that the dictionary reads, the way it does: of siblings with one name the later one's content wins,
  // and its children join the earlier one's. Throws ProgramError, whose line begins with the name, for a text that is
  // none or that nests too deep.
  static Document Read(std::string_view text, const std::string& shown_name);

  Element& at(Id id) { return elements_[id]; }
  const Element& at(Id id) const { return elements_[id]; }
  // The child of that name, or kNone.
  Id Find(Id parent, std::string_view name) const;
  Id AddChild(Id parent, std::string name);
  // Copies the element with all that is in it to the end of the children of `parent`.
  Id CopyFrom(const Document& source, Id from, Id parent);
  void RemoveChild(Id parent, Id child);

  Remarks prolog;  // what stands above the root, each on a line
  Remarks epilog;  // and below it

 private:
  struct Key {
    Id parent;
    std::string name;
    bool operator==(const Key&) const = default;
  };
  struct KeyHash {
    std::size_t operator()(const Key& key) const {
      return std::hash<std::string>()(key.name) ^ static_cast<std::size_t>(key.parent * 0x9E3779B97F4A7C15ull);
    }
  };

  std::vector<Element> elements_;
  std::unordered_map<Key, Id, KeyHash> by_name_;
};

// The canonical text of a document: one entry a line, indented by tabs; attributes in order; list items by their
// numbers; the entries in the order in which they stand, which the engine goes by. Lines end in "\n". The same content
// and comments in the same order make the same text, and the text read again makes itself.
std::string CanonicalText(const Document& document);
// One element of it with all that is in it, without comments; lines after the first begin with `indent`.
std::string CanonicalText(const Document& document, Document::Id id, const std::string& indent);

// Whether the text of an element is nothing but the layout of a file: blanks that are no value.
bool IsLayout(const Document::Element& element);

}  // namespace OrvWorkFlow::Program
