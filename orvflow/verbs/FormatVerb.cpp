// orvflow format FILE...: dictionary files in canonical form.
#include <algorithm>
#include <vector>

#include "orvflow/document/DocumentFile.h"
#include "orvflow/document/Merge.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/terminal/HostErrors.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

std::string WithWindowsLineEnds(const std::string& text) {
  std::string result;
  for (const char c : text) result.append(c == '\n' ? "\r\n" : std::string_view(&c, 1));
  return result;
}

std::size_t LineAt(std::string_view text, std::size_t offset) {
  return static_cast<std::size_t>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(offset), '\n')) +
         1;
}

// The first line of the text that is not as in its canonical form; 0 when it is canonical. Line ends of Windows, as git
// may make them in a working tree, are as good.
std::size_t FirstOddLine(const std::string& text, const std::string& canonical) {
  const bool has_windows_ends = text.find("\r\n") != std::string::npos;
  const std::string expected = has_windows_ends ? WithWindowsLineEnds(canonical) : canonical;
  if (text == expected) return 0;
  const auto odd = std::mismatch(text.begin(), text.end(), expected.begin(), expected.end()).first;
  return LineAt(text, static_cast<std::size_t>(odd - text.begin()));
}

class FormatVerb final : public Verb {
 public:
  explicit FormatVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  ExitCode Format(const DocumentFiles& files, const std::string& file) const;
  ExitCode Check(const DocumentSource& source, const std::string& shown_name, const std::string& canonical) const;

  std::vector<std::string> files_;
  std::string output_;
  std::string key_file_;
  bool check_ = false;
  bool canonical_ = false;
};

FormatVerb::FormatVerb(CLI::App& program) : Verb(program, "format", "Writes dictionary files in canonical form") {
  command().add_option("FILE", files_, "Dictionary files; - for standard input, to standard output")->type_name("");
  AddFlag("--check", check_, "Writes nothing; names the files that are not in that form, and exits with 1");
  AddFlag("--canonical", canonical_, "The canonical form; it is the only one, and need not be said");
  command()
      .add_option("-o,--output", output_, "Writes there instead of replacing the file; - for standard output")
      ->type_name("FILE");
  AddKeyFileOption(command(), key_file_);
  command().footer(
      "One entry a line, indented by tabs; __type ahead of the other attributes, which go by name; line\n"
      "breaks in values as &#10;; lines end in LF. Comments stay, with the entry that follows them or on\n"
      "whose line they end. Entries keep their order, which the engine goes by; list items go by their\n"
      "numbers. No value, type or attribute changes; the dictionary reads both forms alike. What replaces\n"
      "a file is written beside it first.\n"
      "Exit codes: 0 done, 1 not canonical (with --check) or a file cannot be read or written, 2 usage,\n"
      "5 a file is no dictionary, 7 a file is in use.\n"
      "\n"
      "Example:\n"
      "  orvflow format flow.xml\n"
      "  orvflow format --check *.xml\n"
      "  orvflow format - < flow.xml");
}

ExitCode FormatVerb::Execute() {
  if (files_.empty()) throw UsageError("no file given");
  if (check_ && !output_.empty()) throw UsageError("--check writes nothing; leave out --output");
  if (!output_.empty() && files_.size() > 1) throw UsageError("--output takes one file");
  if (std::count(files_.begin(), files_.end(), "-") > 1) throw UsageError("standard input can be read once only");
  const DocumentFiles files(key_file_);
  ExitCode code = ExitCode::Done;
  for (const std::string& file : files_) {
    try {
      const ExitCode one = Format(files, file);
      if (one != ExitCode::Done) code = one;
    } catch (const ProgramError& error) {  // The others are looked at all the same.
      PrintErrorLine(error.what());
      code = error.code();
    } catch (const Host::HostError& error) {
      PrintErrorLine(error.what());
      code = CodeOf(error.kind());
    }
  }
  return code;
}

ExitCode FormatVerb::Format(const DocumentFiles& files, const std::string& file) const {
  const std::string shown_name = IsStandardStream(file) ? kStandardInputName : file;
  const DocumentSource source = files.Read(file, shown_name);
  const std::string canonical = CanonicalText(source.document);
  if (!files.HoldSame(source.text, canonical)) {
    throw FileError(ExitCode::Failed, shown_name, "", "cannot be formatted without changing a value; it is as it was");
  }
  if (check_) return Check(source, shown_name, canonical);
  if (!output_.empty() || IsStandardStream(file)) {
    files.Write(output_.empty() ? "-" : output_, canonical, source.is_enciphered && !IsStandardStream(output_));
  } else if (FirstOddLine(source.text, canonical) > 0) {
    files.Write(file, canonical, source.is_enciphered);
  }
  return ExitCode::Done;
}

ExitCode FormatVerb::Check(const DocumentSource& source, const std::string& shown_name,
                           const std::string& canonical) const {
  const auto tell = [&](std::size_t line, const std::string& what) {
    WriteStandardOutput(Visible(shown_name + ":" + std::to_string(line) + ": " + what) + "\n");
  };
  const std::size_t odd = FirstOddLine(source.text, canonical);
  if (odd > 0) tell(odd, "not in canonical form; orvflow format " + shown_name + " mends it");
  const std::size_t conflict = source.text.find(kConflictMark);
  if (conflict != std::string::npos) {
    tell(LineAt(source.text, conflict), "a conflict that a merge has left; decide it and take the comment away");
  }
  return odd > 0 || conflict != std::string::npos ? ExitCode::Failed : ExitCode::Done;
}

}  // namespace

std::unique_ptr<Verb> MakeFormatVerb(CLI::App& program) { return std::make_unique<FormatVerb>(program); }

}  // namespace OrvWorkFlow::Program
