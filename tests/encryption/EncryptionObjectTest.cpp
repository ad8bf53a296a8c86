// The object "Encryption": its text forms, what it makes of damaged ones, and what it refuses.
#include "encryption/EncryptionObject.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "SlowCipher.h"
#include "base/text/Base64.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Encryption::EncryptionTesting {
namespace {

using orv_test::PString;
using orv_test::PStringList;
using orv_test::Stream;
using Texts = std::vector<std::string>;

constexpr char kKey[] = "the key";
const std::string kTooLong(kMaxKeyLength + 1, 'k');

std::string Padded(std::string text) {
  text.resize((std::max<std::size_t>(text.size(), 1) + 15) / 16 * 16);
  return text;
}

// Marshalled objects that throw whatever is asked of them, or refuse what is given to them.
class BadText final : public IOrvPString {
 public:
  bool Assign(const char*, std::size_t) override { throw 1; }
  const char* GetText() const override { throw 1; }
  std::size_t GetLength() const override { throw 1; }
  void Release() override {}
};
class BadStream final : public IOrvBasicStream {
 public:
  bool Assign(const void*, std::size_t) override { throw 1; }
  bool Append(const void*, std::size_t) override { throw 1; }
  const void* GetData() const override { throw 1; }
  std::size_t GetSize() const override { throw 1; }
  void Release() override {}
};
// Takes one text; a null text is what it holds.
class BadList final : public IOrvPStringList {
 public:
  std::size_t GetCount() const override { return 1; }
  const char* GetText(std::size_t) const override { return nullptr; }
  std::size_t GetLength(std::size_t) const override { return 0; }
  bool Add(const char*, std::size_t) override { return added++ == 0; }
  void Clear() override { ++cleared; }
  void Release() override {}

  int added = 0;
  int cleared = 0;
};

class EncryptionTest : public ::testing::Test {
 protected:
  std::string Encrypt(const std::string& text, const std::string& key = kKey) {
    PString output;
    EXPECT_TRUE(object_.EncryptString(text.c_str(), key.c_str(), output.out()));
    return output.str();
  }
  std::string Decrypt(const std::string& form, const std::string& key = kKey) {
    PString output;
    EXPECT_TRUE(object_.DecryptString(form.c_str(), key.c_str(), output.out()));
    return output.str();
  }

  CEncryption object_;
};

TEST_F(EncryptionTest, KnownForms) {
  // Computed with the MD5 and base64 of another language.
  const struct {
    std::string text;
    std::string key;
    std::string form;
  } cases[] = {
      {"", "key", "PG4LipwVIkqCKLmpjKFTHQ="},
      {"a", "key", "XW4LipwVIkqCKLmpjKFTHQ="},
      {"sixteen letters.", "", "p3T0repl3CSF5X3siYoxUA="},
      {"seventeen letters", "a longer key, of more than forty bytes indeed",
       "uUYrum7xCnjyIakp4fzWkJm9nmDmGF634d3NYyCupP8="},
      {"Work flows where it is led.", std::string(240, 'k'), "aONrbrfTLwOxzZymdHqZRUeQvkW9GF/nl/5/E/H2yZQ="},
  };
  for (const auto& [text, key, form] : cases) {
    EXPECT_EQ(Encrypt(text, key), form);
    EXPECT_EQ(Decrypt(form, key), text);
  }
}

TEST_F(EncryptionTest, AFormHasTheCipherBlocksInBase64) {
  std::mt19937 random(1);
  for (std::size_t length = 0; length <= 100; ++length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) text += static_cast<char>(1 + random() % 255);
    const std::string blocks = SlowEncipher(Padded(text), kKey, "", SlowMd5);
    std::string form = Base::EncodeBase64(blocks);
    if (length <= 16) form.pop_back();
    EXPECT_EQ(Encrypt(text), form);
    EXPECT_EQ(Decrypt(form), text);

    PString source(text);
    Stream stream;
    ASSERT_TRUE(object_.EncryptToStream(source.out(), kKey, stream.out()));
    EXPECT_EQ(stream.bytes(), blocks);
    PString back;
    ASSERT_TRUE(object_.DecryptStream(stream.out(), kKey, back.out()));
    EXPECT_EQ(back.str(), text);
  }
}

TEST_F(EncryptionTest, TheLengthOfAForm) {
  // Length of the text, of its form, and number of "=" at the end.
  const std::size_t cases[][3] = {{0, 23, 1},  {1, 23, 1},  {16, 23, 1}, {17, 44, 1},
                                  {32, 44, 1}, {33, 64, 0}, {48, 64, 0}, {49, 88, 2}};
  for (const auto& [length, characters, ends] : cases) {
    const std::string form = Encrypt(std::string(length, 'x'));
    EXPECT_EQ(form.size(), characters);
    EXPECT_EQ(form.size() - form.find_last_not_of('=') - 1, ends);
  }
}

TEST_F(EncryptionTest, TextsThatBeginAlikeShareTheirFirstBlock) {
  const std::string begin(16, 'b');
  EXPECT_EQ(Encrypt(begin + "one").substr(0, 21), Encrypt(begin + "two").substr(0, 21));
  EXPECT_NE(Encrypt(begin + "one"), Encrypt(begin + "two"));
}

TEST_F(EncryptionTest, AZeroEndsAText) {
  const std::string text("ab\0cd", 5);
  PString source(text);
  Stream stream;
  ASSERT_TRUE(object_.EncryptToStream(source.out(), kKey, stream.out()));
  EXPECT_EQ(stream.bytes(), SlowEncipher(Padded(text), kKey, "", SlowMd5));
  PString back;
  ASSERT_TRUE(object_.DecryptStream(stream.out(), kKey, back.out()));
  EXPECT_EQ(back.str(), "ab");
}

TEST_F(EncryptionTest, AnEmptyKeyIsAKey) {
  EXPECT_EQ(Decrypt(Encrypt("text", ""), ""), "text");
  EXPECT_NE(Encrypt("text", ""), Encrypt("text", kKey));
}

TEST_F(EncryptionTest, WhatIsNoBase64IsSkipped) {
  const std::string form = Encrypt("a text that takes two blocks");
  std::string spread = "<\xE4>";
  for (const char character : form) (spread += character) += "\r\n-";
  EXPECT_EQ(Decrypt(spread), "a text that takes two blocks");
  for (const char* nothing : {"", "=", "A", "\r\n", "=AAAA"}) EXPECT_EQ(Decrypt(nothing), "");
}

TEST_F(EncryptionTest, ATextOfNoWholeBlocksIsDecipheredAsFarAsItGoes) {
  const std::string text = "a text that takes three blocks, or so";
  const std::string blocks = SlowEncipher(Padded(text), kKey, "", SlowMd5);
  for (std::size_t size = 0; size <= blocks.size(); ++size) {
    const std::string expected = text.substr(0, size);
    EXPECT_EQ(Decrypt(Base::EncodeBase64(blocks.substr(0, size))), expected);
    const Stream stream(blocks.substr(0, size));
    PString back;
    ASSERT_TRUE(object_.DecryptStream(stream.out(), kKey, back.out()));
    EXPECT_EQ(back.str(), expected);
  }
}

TEST_F(EncryptionTest, AnotherKeyGivesAnotherTextAndNoFailure) {
  EXPECT_NE(Decrypt(Encrypt("some text"), "other"), "some text");
}

TEST_F(EncryptionTest, ListsAreConvertedTextByText) {
  const Texts texts = {"", "one", std::string(17, 'x'), "\xE4"};
  const PStringList source(texts);
  PStringList forms;
  ASSERT_TRUE(object_.EncryptList(source.out(), kKey, forms.out()));
  Texts expected;
  for (const std::string& text : texts) expected.push_back(Encrypt(text));
  EXPECT_EQ(forms.vec(), expected);
  PStringList back({"is replaced"});
  ASSERT_TRUE(object_.DecryptList(forms.out(), kKey, back.out()));
  EXPECT_EQ(back.vec(), texts);
}

TEST_F(EncryptionTest, AListMayTakeItsOwnPlace) {
  const Texts texts = {"one", "two"};
  PStringList list(texts);
  ASSERT_TRUE(object_.EncryptList(list.out(), kKey, list.out()));
  EXPECT_EQ(list.vec(), (Texts{Encrypt("one"), Encrypt("two")}));
  ASSERT_TRUE(object_.DecryptList(list.out(), kKey, list.out()));
  EXPECT_EQ(list.vec(), texts);
  PStringList empty;
  ASSERT_TRUE(object_.EncryptList(empty.out(), kKey, list.out()));
  EXPECT_EQ(list.vec(), Texts());
}

TEST_F(EncryptionTest, ATextMayTakeItsOwnPlace) {
  PString text("some text");
  ASSERT_TRUE(object_.EncryptString(text->GetText(), kKey, text.out()));
  EXPECT_EQ(text.str(), Encrypt("some text"));
  ASSERT_TRUE(object_.DecryptString(text->GetText(), kKey, text.out()));
  EXPECT_EQ(text.str(), "some text");
  ASSERT_TRUE(object_.Base64Encode(text.out(), text.out()));
  EXPECT_EQ(text.str(), "c29tZSB0ZXh0");
}

TEST_F(EncryptionTest, Base64IsPlain) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""}, {"a", "YQ=="}, {std::string("\0\0", 2), "AAA="}, {std::string(16, 'x'), "eHh4eHh4eHh4eHh4eHh4eA=="}};
  for (const auto& [bytes, form] : cases) {
    const PString source(bytes);
    PString encoded("old");
    ASSERT_TRUE(object_.Base64Encode(source.out(), encoded.out()));
    EXPECT_EQ(encoded.str(), form);
    Stream decoded("old");
    ASSERT_TRUE(object_.Base64Decode(form.c_str(), decoded.out()));
    EXPECT_EQ(decoded.bytes(), bytes);
  }
  Stream decoded;
  ASSERT_TRUE(object_.Base64Decode("Y-Q\r\n=YQ", decoded.out()));
  EXPECT_EQ(decoded.bytes(), "a");
}

TEST_F(EncryptionTest, TheReservedPlacesDoNothing) {
  PString text("kept");
  EXPECT_FALSE(object_.Reserved5(text.out(), text.out()));
  EXPECT_FALSE(object_.Reserved7(text.out(), text.out()));
  EXPECT_FALSE(object_.Reserved5(nullptr, nullptr));
  EXPECT_FALSE(object_.Reserved7(nullptr, nullptr));
  EXPECT_EQ(text.str(), "kept");
}

TEST_F(EncryptionTest, AMissingArgumentOrALongKeyFailsAndLeavesTheOutput) {
  const PString in("text");
  const Stream in_stream(std::string(16, 'x'));
  const PStringList in_list({"text"});
  PString text("kept");
  Stream stream("kept");
  PStringList list({"kept"});
  for (const char* key : {static_cast<const char*>(nullptr), kTooLong.c_str()}) {
    EXPECT_FALSE(object_.EncryptToStream(in.out(), key, stream.out()));
    EXPECT_FALSE(object_.EncryptString("text", key, text.out()));
    EXPECT_FALSE(object_.DecryptStream(in_stream.out(), key, text.out()));
    EXPECT_FALSE(object_.DecryptString("text", key, text.out()));
    EXPECT_FALSE(object_.DecryptString("", key, text.out()));
    EXPECT_FALSE(object_.EncryptList(in_list.out(), key, list.out()));
    EXPECT_FALSE(object_.DecryptList(in_list.out(), key, list.out()));
    EXPECT_FALSE(object_.EncryptList(PStringList().out(), key, list.out()));
  }
  EXPECT_FALSE(object_.EncryptToStream(nullptr, kKey, stream.out()));
  EXPECT_FALSE(object_.EncryptString(nullptr, kKey, text.out()));
  EXPECT_FALSE(object_.DecryptStream(nullptr, kKey, text.out()));
  EXPECT_FALSE(object_.DecryptString(nullptr, kKey, text.out()));
  EXPECT_FALSE(object_.EncryptList(nullptr, kKey, list.out()));
  EXPECT_FALSE(object_.DecryptList(nullptr, kKey, list.out()));
  EXPECT_FALSE(object_.Base64Encode(nullptr, text.out()));
  EXPECT_FALSE(object_.Base64Decode(nullptr, stream.out()));
  EXPECT_FALSE(object_.EncryptToStream(in.out(), kKey, nullptr));
  EXPECT_FALSE(object_.EncryptString("text", kKey, nullptr));
  EXPECT_FALSE(object_.DecryptStream(in_stream.out(), kKey, nullptr));
  EXPECT_FALSE(object_.DecryptString("text", kKey, nullptr));
  EXPECT_FALSE(object_.EncryptList(in_list.out(), kKey, nullptr));
  EXPECT_FALSE(object_.DecryptList(in_list.out(), kKey, nullptr));
  EXPECT_FALSE(object_.Base64Encode(in.out(), nullptr));
  EXPECT_FALSE(object_.Base64Decode("text", nullptr));
  EXPECT_EQ(text.str(), "kept");
  EXPECT_EQ(stream.bytes(), "kept");
  EXPECT_EQ(list.vec(), Texts{"kept"});
  PString error("old");
  EXPECT_TRUE(object_.GetLastErrorText(error.out()));
  EXPECT_EQ(error.str(), "");
}

// In numbers of its own: files enciphered with such a key are read by other builds.
TEST_F(EncryptionTest, AKeyHas240BytesAtMost) {
  PStringList list({"text"});
  for (const std::size_t length : {std::size_t{240}, std::size_t{241}}) {
    const std::string key(length, 'k');
    const bool is_taken = length == 240;
    PString text;
    PStringList output;
    Stream stream;
    EXPECT_EQ(object_.EncryptString("text", key.c_str(), text.out()), is_taken);
    EXPECT_EQ(object_.DecryptString("PG4LipwVIkqCKLmpjKFTHQ=", key.c_str(), text.out()), is_taken);
    EXPECT_EQ(object_.EncryptToStream(PString("text").out(), key.c_str(), stream.out()), is_taken);
    EXPECT_EQ(object_.DecryptStream(stream.out(), key.c_str(), text.out()), is_taken);
    EXPECT_EQ(object_.EncryptList(list.out(), key.c_str(), output.out()), is_taken);
    EXPECT_EQ(object_.DecryptList(list.out(), key.c_str(), output.out()), is_taken);
    EXPECT_EQ(object_.EncryptList(PStringList().out(), key.c_str(), output.out()), is_taken) << "of no text at all";
  }
}

TEST_F(EncryptionTest, AFormOfNoBlockGivesTheEmptyText) {
  for (const char* form : {"", "=", " \n", "!?"}) {
    const PString text("old");
    EXPECT_TRUE(object_.DecryptString(form, kKey, text.out())) << form;
    EXPECT_EQ(text.str(), "") << form;
  }
}

TEST_F(EncryptionTest, AnItemOfAListEndsAtItsFirstZero) {
  const PStringList texts({std::string("be\0fore", 7), std::string("\0", 1)});
  const PStringList forms;
  ASSERT_TRUE(object_.EncryptList(texts.out(), kKey, forms.out()));
  EXPECT_EQ(forms.vec(), (Texts{Encrypt("be"), Encrypt("")}));
}

TEST_F(EncryptionTest, TheLongestKeyIsTaken) {
  const std::string longest = kTooLong.substr(1);
  EXPECT_EQ(Decrypt(Encrypt("text", longest), longest), "text");
}

TEST_F(EncryptionTest, WhatMarshalledObjectsThrowIsCaught) {
  BadText bad_text;
  BadStream bad_stream;
  const PString in("text");
  const Stream in_stream(std::string(16, 'x'));
  PString text("kept");
  Stream stream("kept");
  EXPECT_FALSE(object_.EncryptToStream(&bad_text, kKey, stream.out()));
  EXPECT_FALSE(object_.EncryptToStream(in.out(), kKey, &bad_stream));
  EXPECT_FALSE(object_.EncryptString("text", kKey, &bad_text));
  EXPECT_FALSE(object_.DecryptStream(&bad_stream, kKey, text.out()));
  EXPECT_FALSE(object_.DecryptStream(in_stream.out(), kKey, &bad_text));
  EXPECT_FALSE(object_.DecryptString("text", kKey, &bad_text));
  EXPECT_FALSE(object_.Base64Encode(&bad_text, text.out()));
  EXPECT_FALSE(object_.Base64Encode(in.out(), &bad_text));
  EXPECT_FALSE(object_.Base64Decode("text", &bad_stream));
  EXPECT_EQ(text.str(), "kept");
  EXPECT_EQ(stream.bytes(), "kept");
}

TEST_F(EncryptionTest, AListIsFilledWholeOrLeftEmpty) {
  BadList bad;
  PStringList list({"kept"});
  EXPECT_FALSE(object_.EncryptList(&bad, kKey, list.out()));
  EXPECT_EQ(list.vec(), Texts{"kept"});
  EXPECT_FALSE(object_.EncryptList(PStringList({"one", "two"}).out(), kKey, &bad));
  EXPECT_EQ(bad.added, 2);
  EXPECT_EQ(bad.cleared, 2);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Encryption::EncryptionTesting
