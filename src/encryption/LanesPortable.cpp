#include "encryption/LaneFiles.h"
#include "encryption/LaneKernel.h"
#include "encryption/ScalarWord.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {
namespace {

using Word = Twice<ScalarWord>;

void Decipher(const PreparedKey& key, unsigned char* blocks, std::size_t count) {
  DecipherInLanes<Word>(key, blocks, count);
}

}  // namespace

const Lanes kPortableLanes = {"portable", Word::kLanes, Decipher};

}  // namespace OrvWorkFlow::Core::Encryption::Md5
