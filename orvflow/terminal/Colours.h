// Colours in what the program prints: an addition for the eye, never the only sign of anything.
#pragma once

#include <string>
#include <string_view>

#include "CLI/App.hpp"

namespace OrvWorkFlow::Program {

enum class ColourUse {
  Auto,  // where the stream is a terminal that shows them, unless NO_COLOR is set to anything
  Always,
  Never,
};

// Declares --color to a verb's command.
void AddColourOption(CLI::App& command, ColourUse& use);

// The texts coloured, or as they are.
class Colours {
 public:
  static Colours None() { return Colours(false); }
  static Colours ForOutput(ColourUse use);
  static Colours ForErrors(ColourUse use);

  std::string Red(std::string_view text) const { return Painted("31", text); }
  std::string Green(std::string_view text) const { return Painted("32", text); }
  std::string Yellow(std::string_view text) const { return Painted("33", text); }
  std::string Bold(std::string_view text) const { return Painted("1", text); }

 private:
  explicit Colours(bool is_on) : is_on_(is_on) {}
  std::string Painted(const char* code, std::string_view text) const;

  bool is_on_;
};

}  // namespace OrvWorkFlow::Program
