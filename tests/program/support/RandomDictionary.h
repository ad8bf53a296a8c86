// Random dictionaries, and the many ways in which a file can spell one.
#pragma once

#include <map>
#include <random>
#include <string>
#include <vector>

namespace orv_test {

// An entry of a dictionary as it is meant: what a file spells.
struct Entry {
  std::string name;
  std::string tag;                 // "" for none
  std::vector<std::string> texts;  // one of a scalar, any number of a list, none without a tag
  std::map<std::string, std::string> attributes;
  std::vector<Entry> entries;
};

class RandomDictionary {
 public:
  explicit RandomDictionary(unsigned seed) : random_(seed) {}

  // A root of random entries, in the alphabetical order of their names.
  Entry Make();
  // Sets, adds and removes entries and attributes.
  void Change(Entry& root, unsigned changes);

  // A file's text, differently laid out each time. `remarks` is the number of comments put into it, each with a number
  // of its own ("remark 7."); null for none.
  std::string Spell(const Entry& root, int* remarks);
  // The text that a library would write: no blank in it is part of the layout of an entry with attributes.
  static std::string SpellPlainly(const Entry& root);

  unsigned Below(unsigned limit) { return std::uniform_int_distribution<unsigned>(0, limit - 1)(random_); }

 private:
  std::string Text(bool is_hostile);
  void Fill(Entry& entry, unsigned depth);
  void GiveValue(Entry& entry);
  std::string Blanks();
  std::string SpellText(const std::string& text, bool in_attributes);
  std::string SpellAttributes(const Entry& entry);
  void SpellEntry(const Entry& entry, std::string& text, int* remarks);
  void SpellList(const Entry& entry, std::string& text, int* remarks);
  void Remark(std::string& text, int* remarks);

  std::mt19937 random_;
};

bool IsListTag(const std::string& tag);

}  // namespace orv_test
