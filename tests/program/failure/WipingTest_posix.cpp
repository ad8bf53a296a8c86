// Texts in the clear do not stay in memory that is given back. This program's operator delete looks into every block.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>
#include <CLI/App.hpp>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "orvflow/verbs/Verb.h"
#include "tests/support/TempDirectory.h"

namespace {

constexpr char kSecret[] = "a text that nobody may find in memory";

std::atomic<bool> looking = false;
std::atomic<int> found = 0;

void LookInto(void* block) noexcept {
  if (!looking || block == nullptr) return;
  if (::memmem(block, ::malloc_usable_size(block), kSecret, sizeof kSecret - 1) != nullptr) ++found;
}

}  // namespace

// Not inlined: else the compiler, which knows the ones it would have taken, leaves pairs of them out.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::calloc(1, size == 0 ? 1 : size);
}
void* operator new(std::size_t size) {
  if (void* const block = operator new(size, std::nothrow)) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return operator new(size, std::nothrow); }
[[gnu::noinline]] void operator delete(void* block) noexcept {
  LookInto(block);
  std::free(block);
}
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }

namespace OrvWorkFlow::Program {
namespace {

// How many blocks that held the secret are given back in there.
template <class Work>
int BlocksWithSecret(const Work& work) {
  found = 0;
  looking = true;
  work();
  looking = false;
  return found;
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
