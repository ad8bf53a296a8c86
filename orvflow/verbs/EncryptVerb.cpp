// orvflow encrypt, orvflow decrypt: texts under a key, from standard input to standard output.
#include <vector>

#include "orvflow/files/KeyFile.h"
#include "orvflow/files/SecretTextList.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/EncryptionAccess.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr std::size_t kCipherBlock = 16;

// Lines end in "\n" or "\r\n"; the last one may lack its end.
std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (end != std::string_view::npos && line.ends_with('\r')) line.remove_suffix(1);
    lines.emplace_back(line);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return lines;
}

// What the two verbs share: the options, and one text or a list of them.
class CipherVerb : public Verb {
 public:
  ExitCode Execute() override {
    if (key_file_.empty()) throw UsageError("no key given; name the file that holds it with --key-file");
    const KeyFile key(key_file_);
    const EncryptionAccess encryption;
    const SecretText input = ReadSecretInput();
    const std::string_view text = ViewOf(input);
    const std::vector<std::string_view> texts = list_ ? SplitLines(text) : std::vector<std::string_view>{text};
    for (std::size_t i = 0; i < texts.size(); ++i) Check(encryption, texts[i], Place(i));
    WriteSecretOutput(Convert(encryption, texts, key));
    return ExitCode::Done;
  }

 protected:
  CipherVerb(CLI::App& program, const std::string& name, const std::string& description, const std::string& footer)
      : Verb(program, name, description) {
    AddKeyFileOption(command(), key_file_);
    AddFlag("--list", list_, "Takes each line for a text of its own");
    command().footer(footer);
  }

  // Throws ProgramError for a text that cannot be converted; `place` says which.
  virtual void Check(const EncryptionAccess& encryption, std::string_view text, const std::string& place) const = 0;
  virtual bool ConvertList(IEncryption& encryption, const IOrvPStringList* texts, const char* key,
                           IOrvPStringList* results) const = 0;
  // Does a text that is no line of a list get a line break behind it, too?
  virtual bool EndsInLineBreak() const = 0;

  ProgramError InputError(const std::string& place, const std::string& text) const {
    return ProgramError(ExitCode::Failed, command().get_name() + ": " + place + ": " + text);
  }

 private:
  std::string Place(std::size_t index) const {
    return list_ ? "line " + std::to_string(index + 1) + " of standard input" : "standard input";
  }

  SecretText Convert(const EncryptionAccess& encryption, const std::vector<std::string_view>& texts,
                     const KeyFile& key) const {
    SecretTextList source;
    SecretTextList results;
    bool done = true;
    for (const std::string_view text : texts) done = done && source.Add(text.data(), text.size());
    done = done && ConvertList(*encryption.operator->(), &source, key.key(), &results);
    if (!done) throw ProgramError(ExitCode::Failed, command().get_name() + ": not enough memory");
    SecretText output;
    for (std::size_t i = 0; i < results.GetCount(); ++i) {
      Append(output, {results.GetText(i), results.GetLength(i)});
      if (list_ || EndsInLineBreak()) output.push_back('\n');
    }
    return output;
  }

  std::string key_file_;
  bool list_ = false;
};

class EncryptVerb final : public CipherVerb {
 public:
  explicit EncryptVerb(CLI::App& program)
      : CipherVerb(program, "encrypt", "Enciphers standard input",
                   "The text is taken byte for byte, a line break at its end too, and printed as one line of base64.\n"
                   "It is at most 64 MiB long.\n"
                   "The cipher hides a text from a glance; it is no protection against an attacker.\n"
                   "\n"
                   "Example:\n"
                   "  printf %s 'a password' | orvflow encrypt --key-file key.txt > password.txt") {}

 private:
  void Check(const EncryptionAccess& /*encryption*/, std::string_view text, const std::string& place) const override {
    if (text.find('\0') != std::string::npos) throw InputError(place, "holds a zero byte, which no text can");
  }
  bool ConvertList(IEncryption& encryption, const IOrvPStringList* texts, const char* key,
                   IOrvPStringList* results) const override {
    return encryption.EncryptList(texts, key, results);
  }
  bool EndsInLineBreak() const override { return true; }
};

class DecryptVerb final : public CipherVerb {
 public:
  explicit DecryptVerb(CLI::App& program)
      : CipherVerb(program, "decrypt", "Deciphers standard input",
                   "Reads what encrypt has printed, and enciphered dictionary files. With --list each text is printed\n"
                   "on a line of its own. A wrong key is not noticed: it gives some other text.\n"
                   "Standard input is at most 64 MiB.\n"
                   "\n"
                   "Example:\n"
                   "  orvflow decrypt --key-file key.txt < password.txt") {}

 private:
  void Check(const EncryptionAccess& encryption, std::string_view text, const std::string& place) const override {
    const std::optional<std::string> bytes = encryption.Decode(std::string(text));
    if (!bytes) throw InputError(place, "no enciphered text: it holds what is no base64");
    if (bytes->empty() || bytes->size() % kCipherBlock != 0) {
      throw InputError(place, "no enciphered text, or not all of it: it has " + std::to_string(bytes->size()) +
                                  " bytes, not a multiple of " + std::to_string(kCipherBlock));
    }
  }
  bool ConvertList(IEncryption& encryption, const IOrvPStringList* texts, const char* key,
                   IOrvPStringList* results) const override {
    return encryption.DecryptList(texts, key, results);
  }
  bool EndsInLineBreak() const override { return false; }
};

}  // namespace

std::unique_ptr<Verb> MakeEncryptVerb(CLI::App& program) { return std::make_unique<EncryptVerb>(program); }
std::unique_ptr<Verb> MakeDecryptVerb(CLI::App& program) { return std::make_unique<DecryptVerb>(program); }

}  // namespace OrvWorkFlow::Program
