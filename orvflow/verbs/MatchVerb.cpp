// orvflow match PATTERN [TEXT]: whether a pattern is found in a text.
#include "OrvWorkFlow/WinUtils.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/terminal/WideText.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

class MatchVerb final : public Verb {
 public:
  explicit MatchVerb(CLI::App& program) : Verb(program, "match", "Tells whether a pattern is found in a text") {
    command().add_option("PATTERN", pattern_, "See below")->type_name("");
    text_option_ = command()
                       .add_option("TEXT", text_, "Without it all of standard input, as one text of at most 64 MiB")
                       ->type_name("");
    command().footer(
        "Exit codes: 0 found, 1 not found, 2 no pattern, or no text that could be read.\n"
        "A pattern is found anywhere in the text. ^ and $ are the text's beginning and its very end, . is any\n"
        "character, [a-z_] one of a set, [^a-z_] one outside of it, (a|b) one of several; *, + and ? repeat what\n"
        "stands before them; a backslash takes the next character as it is. Of standard input one final line\n"
        "break does not count. Characters are those of UTF-8, or bytes where a text is no UTF-8.\n"
        "\n"
        "Example:\n"
        "  orvflow match '^/Jobs/[^/]*$' /Jobs/Backup && echo found\n"
        "  orvflow match '[0-9]+' < list.txt");
  }

  ExitCode Execute() override {
    if (command().count("PATTERN") == 0) throw UsageError("no pattern given");
    if (text_option_->count() == 0) text_ = ReadText();
    const std::optional<std::u16string> pattern = ToWide(pattern_);
    const std::optional<std::u16string> text = ToWide(text_);
    const bool is_found = pattern && text ? WinUtils::RegExpMatch(pattern->c_str(), text->c_str())
                                          : WinUtils::RegExpMatch(pattern_.c_str(), text_.c_str());
    const std::string error = WinUtils::LastRegExpError();
    if (!error.empty()) throw ProgramError(ExitCode::Usage, "match: \"" + pattern_ + "\": " + error);
    return is_found ? ExitCode::Done : ExitCode::Failed;
  }

 private:
  static std::string ReadText() {
    std::string text;
    try {
      text = ReadStandardInput();
    } catch (const ProgramError& error) {
      throw ProgramError(ExitCode::Usage, std::string("match: ") + error.what());  // 1 would say "not found".
    }
    if (text.find('\0') != std::string::npos) {
      throw ProgramError(ExitCode::Usage, "match: standard input holds a zero byte, which no text can");
    }
    if (text.ends_with('\n')) text.pop_back();
    if (text.ends_with('\r')) text.pop_back();
    return text;
  }

  std::string pattern_;
  std::string text_;
  CLI::Option* text_option_ = nullptr;
};

}  // namespace

std::unique_ptr<Verb> MakeMatchVerb(CLI::App& program) { return std::make_unique<MatchVerb>(program); }

}  // namespace OrvWorkFlow::Program
