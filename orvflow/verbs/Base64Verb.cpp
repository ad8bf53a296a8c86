// orvflow base64 encode, orvflow base64 decode: from standard input to standard output.
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/EncryptionAccess.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

class Base64Verb final : public Verb {
 public:
  explicit Base64Verb(CLI::App& program) : Verb(program, "base64", "Encodes and decodes standard input") {
    command().add_option("encode|decode", direction_, "Bytes to a line of base64, or back")->type_name("");
    command().footer(
        "Standard input is at most 64 MiB.\n"
        "White space in base64 does not count, and the \"=\" at its end may be missing.\n"
        "\n"
        "Example:\n"
        "  orvflow base64 encode < picture.png\n"
        "  orvflow base64 decode < picture.txt > picture.png");
  }

  ExitCode Execute() override {
    if (direction_ != "encode" && direction_ != "decode") {
      throw UsageError(direction_.empty() ? "say encode or decode" : "say encode or decode, not " + direction_);
    }
    const EncryptionAccess encryption;
    const std::string input = ReadStandardInput();
    WriteStandardOutput(direction_ == "encode" ? Encode(encryption, input) : Decode(encryption, input));
    return ExitCode::Done;
  }

 private:
  static std::string Encode(const EncryptionAccess& encryption, const std::string& bytes) {
    const Sdk::TextHolder source;
    const Sdk::TextHolder result;
    if (!source->Assign(bytes.data(), bytes.size()) || !encryption->Base64Encode(source.get(), result.get())) {
      throw ProgramError(ExitCode::Failed, "base64: not enough memory");
    }
    return result.Text() + '\n';
  }
  static std::string Decode(const EncryptionAccess& encryption, const std::string& text) {
    const std::optional<std::string> bytes = encryption.Decode(text);
    if (!bytes) throw ProgramError(ExitCode::Failed, "base64: standard input holds what is no base64");
    return *bytes;
  }

  std::string direction_;
};

}  // namespace

std::unique_ptr<Verb> MakeBase64Verb(CLI::App& program) { return std::make_unique<Base64Verb>(program); }

}  // namespace OrvWorkFlow::Program
