// Texts in the clear do not stay in memory that is given back.
#include <gtest/gtest.h>
#include <unistd.h>
#include <CLI/App.hpp>

#include <cstdio>
#include <string>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "orvflow/verbs/Verb.h"
#include "tests/support/SearchedMemory_posix.h"
#include "tests/support/TempDirectory.h"

namespace OrvWorkFlow::Program {
namespace {

constexpr char kSecret[] = "a text that nobody may find in memory";

template <class Work>
int BlocksWithSecret(const Work& work) {
  return orv_test::BlocksThatHeld(kSecret, work);
}

// Standard input and output are files for as long as it lives.
class StreamsInFiles {
 public:
  StreamsInFiles(const std::string& input, const std::string& output) : saved_(::dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    opened_ = std::freopen(input.c_str(), "rb", stdin) != nullptr &&
              std::freopen(output.c_str(), "wb", stdout) != nullptr && saved_ >= 0;
  }
  ~StreamsInFiles() {
    std::fflush(stdout);
    ::dup2(saved_, STDOUT_FILENO);
    ::close(saved_);
    opened_ = std::freopen("/dev/null", "rb", stdin) != nullptr;
  }
  StreamsInFiles(const StreamsInFiles&) = delete;
  StreamsInFiles& operator=(const StreamsInFiles&) = delete;

  bool opened() const { return opened_; }

 private:
  int saved_;
  bool opened_;
};

class WipingTest : public ::testing::Test {
 protected:
  WipingTest() { orv_test::WriteFile(File("key"), "key"); }

  std::string File(const std::string& name) const { return directory_.file(name); }

  // Runs the verb on a file and gives the number of blocks that it leaves the secret in.
  int Run(const std::string& verb, const std::string& options, const std::string& input, const std::string& output) {
    CLI::App program;
    const std::unique_ptr<Verb> made = verb == "encrypt" ? MakeEncryptVerb(program) : MakeDecryptVerb(program);
    program.parse(verb + " --key-file " + File("key") + options);
    const StreamsInFiles streams(File(input), File(output));
    EXPECT_TRUE(streams.opened());
    return BlocksWithSecret([&] { EXPECT_EQ(made->Execute(), ExitCode::Done); });
  }

  orv_test::TempDirectory directory_;
};

TEST_F(WipingTest, TheLookFindsWhatStays) {
  EXPECT_EQ(BlocksWithSecret([] { const std::string text(kSecret); }), 1);
  EXPECT_GT(BlocksWithSecret([] {
              const Sdk::TextHolder text;
              text->Assign(kSecret, sizeof kSecret - 1);
            }),
            0)
      << "the runtime's blocks are looked into as well";
  const std::unique_ptr<Host::WorkflowHost> host = std::make_unique<Host::WorkflowHost>();
  EXPECT_GT(BlocksWithSecret([&] {
              const Host::WorkflowHost::OwnedDictionary dictionary = host->MakeDictionary();
              const Sdk::TextHolder text;
              dictionary->SetValue("/a", kSecret);
              dictionary->SaveToText(text.get());
            }),
            0);
}

TEST_F(WipingTest, EncryptAndDecrypt) {
  // Small and large, so that texts grow, and line by line.
  std::string lines;
  for (int i = 0; i < 3; ++i) lines += std::string(kSecret) + "\n";
  for (const std::string& text : {std::string(kSecret), std::string(200'000, 'x') + kSecret, lines}) {
    const std::string options = text == lines ? " --list" : "";
    orv_test::WriteFile(File("plain"), text);
    EXPECT_EQ(Run("encrypt", options, "plain", "enciphered"), 0);
    EXPECT_EQ(orv_test::ReadFile(File("enciphered")).find(kSecret), std::string::npos);
    EXPECT_EQ(Run("decrypt", options, "enciphered", "again"), 0);
    EXPECT_TRUE(orv_test::ReadFile(File("again")) == text);
  }
}

// A dictionary's file with a key; what an owner of the dictionary reads from it is the owner's affair.
TEST_F(WipingTest, EncipheredDictionaries) {
  const std::unique_ptr<Host::WorkflowHost> host = std::make_unique<Host::WorkflowHost>();
  const std::string file = File("dictionary");
  const Host::WorkflowHost::OwnedDictionary saved = host->MakeDictionary();
  saved->SetEncryptionKey("key");
  saved->SetValue("/a", kSecret);
  EXPECT_EQ(BlocksWithSecret([&] { EXPECT_TRUE(saved->SaveFile(file.c_str())); }), 0);
  EXPECT_EQ(orv_test::ReadFile(file).find(kSecret), std::string::npos);
  EXPECT_EQ(BlocksWithSecret([&] {
              const Host::WorkflowHost::OwnedDictionary loaded = host->MakeDictionary();
              loaded->SetEncryptionKey("key");
              EXPECT_TRUE(loaded->LoadFile(file.c_str()));
              EXPECT_TRUE(loaded->Exists("/a"));
            }),
            0);
}

}  // namespace
}  // namespace OrvWorkFlow::Program
