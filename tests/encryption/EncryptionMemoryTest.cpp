// The object without memory: it fails, and leaves its output as it was.
#include <gtest/gtest.h>

#include <functional>

#include "encryption/EncryptionObject.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Encryption::EncryptionTesting {
namespace {

using orv_test::PString;
using orv_test::PStringList;
using orv_test::Stream;

constexpr char kKey[] = "the key";

TEST(EncryptionMemory, EachAllocationThatFailsLeavesTheOutput) {
  CEncryption object;
  const std::string plain(1000, 'x');
  PString form;
  ASSERT_TRUE(object.EncryptString(plain.c_str(), kKey, form.out()));
  const std::string enciphered = form.str();
  const PString text(plain);
  const PStringList texts({plain, plain});
  const PStringList forms({enciphered, enciphered});
  const Stream blocks(std::string(1024, 'b'));
  PString text_output;
  Stream stream_output;
  PStringList list_output;
  struct Operation {
    const char* name;
    std::function<bool()> run;
  };
  const Operation operations[] = {
      {"EncryptToStream", [&] { return object.EncryptToStream(text.out(), kKey, stream_output.out()); }},
      {"EncryptString", [&] { return object.EncryptString(plain.c_str(), kKey, text_output.out()); }},
      {"DecryptStream", [&] { return object.DecryptStream(blocks.out(), kKey, text_output.out()); }},
      {"DecryptString", [&] { return object.DecryptString(enciphered.c_str(), kKey, text_output.out()); }},
      {"EncryptList", [&] { return object.EncryptList(texts.out(), kKey, list_output.out()); }},
      {"DecryptList", [&] { return object.DecryptList(forms.out(), kKey, list_output.out()); }},
      {"Base64Encode", [&] { return object.Base64Encode(text.out(), text_output.out()); }},
      {"Base64Decode", [&] { return object.Base64Decode(enciphered.c_str(), stream_output.out()); }},
  };
  for (const Operation& operation : operations) {
    SCOPED_TRACE(operation.name);
    std::size_t n = 0;
    for (bool fired = true; fired;) {
      SCOPED_TRACE(++n);
      text_output->Assign("kept", 4);
      stream_output->Assign("kept", 4);
      list_output->Clear();
      bool done = false;
      {
        const orv_test::FailedAllocation failure(n);
        done = operation.run();
        fired = failure.fired();
      }
      EXPECT_EQ(done, !fired);
      if (done) continue;
      EXPECT_EQ(text_output.str(), "kept");
      EXPECT_EQ(stream_output.bytes(), "kept");
      EXPECT_TRUE(list_output.vec().empty());
    }
    EXPECT_GT(n, 1U) << "no allocation at all";
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Encryption::EncryptionTesting
