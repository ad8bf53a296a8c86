// orvflow encrypt, decrypt and base64: from standard input to standard output, byte for byte.
#include <gtest/gtest.h>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class EncryptTest : public ProgramFixture {
 protected:
  EncryptTest() { WriteFile(File("key"), "key\n"); }

  ProcessResult RunWithKey(const std::string& verb, std::string_view input, const Arguments& more = {}) const {
    Arguments arguments = {verb, "--key-file", File("key")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments, input);
  }
  static void ExpectFailure(const ProcessResult& result, int exit_code, const std::string& error) {
    EXPECT_EQ(result.exit_code, exit_code);
    EXPECT_EQ(result.error, "orvflow: " + error + "\n");
    EXPECT_EQ(result.raw_output, "");
  }
};

TEST_F(EncryptTest, KnownForms) {
  // Computed with the MD5 and base64 of another language.
  const std::pair<std::string, std::string> cases[] = {
      {"", "PG4LipwVIkqCKLmpjKFTHQ="},
      {"one", "UwBuipwVIkqCKLmpjKFTHQ="},
      {"seventeen letters", "Twt97/JhRy/sCNXM+NU2b3serRRIa0RV1MYFajsq0S8="},
      {"a text that needs three of the blocks", "XU5/7+RhAj7qSc2J4sQ2eUoI27alB8f3DbjFUCxP4h9K+JJSi/cYv6SMMKQyvl7+"}};
  for (const auto& [text, form] : cases) {
    EXPECT_EQ(RunWithKey("encrypt", text).raw_output, form + "\n");
    for (const char* end : {"", "\n", "\r\n"}) EXPECT_EQ(RunWithKey("decrypt", form + end).raw_output, text);
  }
}

TEST_F(EncryptTest, TextsComeBackByteForByte) {
  std::string all_bytes;
  for (int i = 1; i < 256; ++i) all_bytes += static_cast<char>(i);
  for (const std::string& text : {all_bytes, std::string("a\r\nb\n\n"), std::string(100'000, '\x1A')}) {
    const ProcessResult enciphered = RunWithKey("encrypt", text);
    EXPECT_EQ(enciphered.exit_code, 0);
    EXPECT_EQ(enciphered.raw_output.find('\n'), enciphered.raw_output.size() - 1);
    EXPECT_TRUE(RunWithKey("decrypt", enciphered.raw_output).raw_output == text);
  }
}

TEST_F(EncryptTest, AListIsConvertedLineByLine) {
  const ProcessResult forms = RunWithKey("encrypt", "one\r\n\ntwo\n", {"--list"});
  EXPECT_EQ(forms.raw_output, "UwBuipwVIkqCKLmpjKFTHQ=\nPG4LipwVIkqCKLmpjKFTHQ=\nSBlkipwVIkqCKLmpjKFTHQ=\n");
  EXPECT_EQ(RunWithKey("decrypt", forms.raw_output, {"--list"}).raw_output, "one\n\ntwo\n");
  EXPECT_EQ(RunWithKey("encrypt", "", {"--list"}).raw_output, "");
  EXPECT_EQ(RunWithKey("encrypt", "one", {"--list"}).raw_output, RunWithKey("encrypt", "one").raw_output);
}

TEST_F(EncryptTest, AListOfNoTextIsAList) {
  for (const char* verb : {"encrypt", "decrypt"}) {
    const ProcessResult result = RunWithKey(verb, "", {"--list"});
    EXPECT_EQ(result.exit_code, 0) << result.error;
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.raw_output, "");
  }
}

TEST_F(EncryptTest, WhatIsNoEncipheredTextIsRefused) {
  const std::string form = "UwBuipwVIkqCKLmpjKFTHQ=";
  ExpectFailure(RunWithKey("decrypt", "<xml>"), 1,
                "decrypt: standard input: no enciphered text: it holds what is no base64");
  ExpectFailure(RunWithKey("decrypt", std::string_view("AA\0A", 4)), 1,
                "decrypt: standard input: no enciphered text: it holds what is no base64");
  ExpectFailure(RunWithKey("decrypt", ""), 1,
                "decrypt: standard input: no enciphered text, or not all of it: it has 0 bytes, not a multiple of 16");
  ExpectFailure(RunWithKey("decrypt", form.substr(0, 20)), 1,
                "decrypt: standard input: no enciphered text, or not all of it: it has 15 bytes, not a multiple of 16");
  ExpectFailure(RunWithKey("decrypt", form + "\n" + form + form + "\n", {"--list"}), 1,
                "decrypt: line 2 of standard input: no enciphered text: it holds what is no base64");
  ExpectFailure(RunWithKey("encrypt", std::string_view("a\0b", 3)), 1,
                "encrypt: standard input: holds a zero byte, which no text can");
}

TEST_F(EncryptTest, AKeyIsAFile) {
  for (const char* verb : {"encrypt", "decrypt"}) {
    const std::string name = verb;
    ExpectFailure(
        Run({verb}), 2,
        name + ": no key given; name the file that holds it with --key-file (see orvflow " + name + " --help)");
    const std::string missing = File("missing");
    ExpectFailure(Run({verb, "--key-file", missing}), 1,
                  missing + ": no such file; --key-file needs one that holds the key");
    WriteFile(File("long"), std::string(241, 'k'));
    ExpectFailure(Run({verb, "--key-file", File("long")}), 1, File("long") + ": the key is longer than 240 bytes");
    EXPECT_EQ(Run({verb, "--key", "key"}).exit_code, 2);
    const std::string help = Run({verb, "--help"}).output;
    EXPECT_NE(help.find("--key-file F"), std::string::npos) << help;
    EXPECT_NE(help.find("--list"), std::string::npos) << help;
  }
}

class Base64VerbTest : public EncryptTest {};

TEST_F(Base64VerbTest, BytesComeBack) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "\n"}, {"a", "YQ==\n"}, {std::string("\0\r\n\x1A\xFF", 5), "AA0KGv8=\n"}};
  for (const auto& [bytes, form] : cases) {
    EXPECT_EQ(Run({"base64", "encode"}, bytes).raw_output, form);
    EXPECT_EQ(Run({"base64", "decode"}, form).raw_output, bytes);
  }
  EXPECT_EQ(Run({"base64", "decode"}, "Y Q\r\n").raw_output, "a");
}

TEST_F(Base64VerbTest, WhatIsNoBase64IsRefused) {
  for (const std::string input : {"YQ-=", "YQ==YQ==", "Y", "a b c !", "\xE4"}) {
    ExpectFailure(Run({"base64", "decode"}, input), 1, "base64: standard input holds what is no base64");
  }
  ExpectFailure(Run({"base64"}), 2, "base64: say encode or decode (see orvflow base64 --help)");
  ExpectFailure(Run({"base64", "code"}), 2, "base64: say encode or decode, not code (see orvflow base64 --help)");
}

}  // namespace
}  // namespace orv_test
