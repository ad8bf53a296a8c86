#include "orvflow/terminal/Colours.h"

#include <cstdlib>
#include <map>

#include "orvflow/terminal/Console.h"

namespace OrvWorkFlow::Program {

namespace {

bool AreWanted(ColourUse use, bool (*shows)()) {
  if (use != ColourUse::Auto) return use == ColourUse::Always;
  const char* const no_colour = std::getenv("NO_COLOR");
  return (no_colour == nullptr || *no_colour == '\0') && shows();
}

}  // namespace

void AddColourOption(CLI::App& command, ColourUse& use) {
  static const std::map<std::string, ColourUse> kUses = {
      {"auto", ColourUse::Auto}, {"always", ColourUse::Always}, {"never", ColourUse::Never}};
  const auto take = [&use](const std::string& word) {
    const auto found = kUses.find(word);
    if (found == kUses.end()) throw CLI::ValidationError("--color", "auto, always or never, not \"" + word + "\"");
    use = found->second;
  };
  command
      .add_option_function<std::string>("--color", take, "auto (on a terminal, unless NO_COLOR is set), always, never")
      ->type_name("WHEN");
}

Colours Colours::ForOutput(ColourUse use) { return Colours(AreWanted(use, OutputShowsColours)); }
Colours Colours::ForErrors(ColourUse use) { return Colours(AreWanted(use, ErrorsShowColours)); }

std::string Colours::Painted(const char* code, std::string_view text) const {
  if (!is_on_) return std::string(text);
  return std::string("\x1b[") + code + "m" + std::string(text) + "\x1b[0m";
}

}  // namespace OrvWorkFlow::Program
