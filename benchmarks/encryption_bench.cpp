// The cipher beside OpenSSL's MD5 driven block by block, and base64 beside OpenSSL's and GLib's.
//
//   encryption_bench [ROUNDS]    (default 5; all take turns in each round, the median counts; processor time is
//   measured)
//
// Exit code 1 when a goal is missed; each is named in its line.
#define OPENSSL_API_COMPAT 0x10100000L  // The low-level MD5 is out of favour, and the fastest.
#include <glib.h>
#include <openssl/evp.h>
#include <openssl/md5.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/text/Base64.h"
#include "encryption/Cipher.h"
#include "encryption/EncryptionObject.h"

namespace {

namespace Base = OrvWorkFlow::Base;
using OrvWorkFlow::Core::Encryption::Md5::Lanes;

constexpr std::size_t kBlock = 16;
constexpr std::size_t kTextSize = std::size_t{16} << 20;
constexpr std::size_t kShortTexts = 20'000;

// `md5` makes the digest of the key followed by a block, or by nothing.
template <class Md5>
void CipherWith(std::string& text, bool decipher, Md5&& md5) {
  unsigned char digest[kBlock];
  unsigned char cipher_block[kBlock];
  md5(nullptr, digest);
  auto* const bytes = reinterpret_cast<unsigned char*>(text.data());
  for (std::size_t i = 0; i < text.size(); i += kBlock) {
    if (decipher) std::memcpy(cipher_block, bytes + i, kBlock);
    for (std::size_t j = 0; j < kBlock; ++j) bytes[i + j] = static_cast<unsigned char>(bytes[i + j] ^ digest[j]);
    if (!decipher) std::memcpy(cipher_block, bytes + i, kBlock);
    if (i + kBlock < text.size()) md5(cipher_block, digest);
  }
}

void OpenSslKeptPrefix(std::string& text, const std::string& key, bool decipher) {
  MD5_CTX prefix;
  MD5_Init(&prefix);
  MD5_Update(&prefix, key.data(), key.size());
  CipherWith(text, decipher, [&](const unsigned char* block, unsigned char* digest) {
    MD5_CTX context = prefix;
    if (block != nullptr) MD5_Update(&context, block, kBlock);
    MD5_Final(digest, &context);
  });
}

void OpenSslWholeMessages(std::string& text, const std::string& key, bool decipher) {
  CipherWith(text, decipher, [&](const unsigned char* block, unsigned char* digest) {
    MD5_CTX context;
    MD5_Init(&context);
    MD5_Update(&context, key.data(), key.size());
    if (block != nullptr) MD5_Update(&context, block, kBlock);
    MD5_Final(digest, &context);
  });
}

void OpenSslEvp(std::string& text, const std::string& key, bool decipher) {
  EVP_MD_CTX* const context = EVP_MD_CTX_new();
  CipherWith(text, decipher, [&](const unsigned char* block, unsigned char* digest) {
    EVP_DigestInit_ex(context, EVP_md5(), nullptr);
    EVP_DigestUpdate(context, key.data(), key.size());
    if (block != nullptr) EVP_DigestUpdate(context, block, kBlock);
    EVP_DigestFinal_ex(context, digest, nullptr);
  });
  EVP_MD_CTX_free(context);
}

struct Case {
  std::string name;
  std::function<void()> work;
  double goal = 0;  // At least so many times as fast as the first; 0 for a peer.
};

double ProcessorSeconds(const std::function<void()>& work) {
  const std::clock_t start = std::clock();
  work();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

class Report {
 public:
  explicit Report(std::size_t rounds) : rounds_(rounds) {}

  bool all_reached() const { return all_reached_; }

  // `amount` per second or, for texts, seconds per text are printed by `figure`. The first case is what others are
  // compared with.
  void Run(const std::string& title, const std::vector<Case>& cases, const std::function<std::string(double)>& figure) {
    std::printf("%s\n", title.c_str());
    const std::vector<double> times = Measure(cases);
    for (std::size_t i = 0; i < cases.size(); ++i) {
      const double ratio = times[0] / times[i];
      std::printf("  %-34s %12s  %5.2f x", cases[i].name.c_str(), figure(times[i]).c_str(), ratio);
      if (cases[i].goal > 0) {
        const bool reached = ratio >= cases[i].goal;
        std::printf("  goal %.2f%s", cases[i].goal, reached ? "" : " MISSED");
        all_reached_ = all_reached_ && reached;
      }
      std::printf("\n");
    }
    std::fflush(stdout);
  }

 private:
  std::vector<double> Measure(const std::vector<Case>& cases) const {
    std::vector<std::vector<double>> times(cases.size());
    for (std::size_t round = 0; round < rounds_; ++round) {
      for (std::size_t i = 0; i < cases.size(); ++i) times[i].push_back(ProcessorSeconds(cases[i].work));
    }
    std::vector<double> medians;
    for (std::vector<double>& of_case : times) {
      std::nth_element(of_case.begin(), of_case.begin() + static_cast<std::ptrdiff_t>(rounds_ / 2), of_case.end());
      medians.push_back(of_case[rounds_ / 2]);
    }
    return medians;
  }

  std::size_t rounds_;
  bool all_reached_ = true;
};

std::string Megabytes(std::size_t size, double seconds) {
  return std::to_string(static_cast<long>(static_cast<double>(size) / seconds / 1e6)) + " MB/s";
}

std::string Nanoseconds(double seconds) {
  return std::to_string(static_cast<long>(seconds * 1e9 / static_cast<double>(kShortTexts))) + " ns";
}

double GoalOf(const Lanes& lanes) {
  const std::string name = lanes.name;
  return name == "SSE2" ? 2.5 : name == "portable" ? 1.0 : 4.0;
}

void RunLongTexts(Report& report, std::size_t key_length) {
  std::string key(key_length, 'k');
  for (std::size_t i = 0; i < key_length; ++i) key[i] = static_cast<char>('a' + i % 26);
  std::string text(kTextSize, 't');
  const auto figure = [](double seconds) { return Megabytes(kTextSize, seconds); };
  const OrvWorkFlow::Core::Encryption::Md5::Chain& serial =
      OrvWorkFlow::Core::Encryption::Md5::SupportedChains().end[-1];
  const std::string title = "16 MiB, key of " + std::to_string(key_length) + " bytes, ";
  report.Run(
      title + "enciphered",
      {{"OpenSSL MD5, key prefix kept", [&] { OpenSslKeptPrefix(text, key, false); }},
       {"OpenSSL MD5", [&] { OpenSslWholeMessages(text, key, false); }},
       {"OpenSSL EVP", [&] { OpenSslEvp(text, key, false); }},
       {"own", [&] { OrvWorkFlow::Core::Encryption::Encipher(text.data(), text.size(), key); }, 1.15},
       {"own, serial", [&] { OrvWorkFlow::Core::Encryption::EncipherWith(serial, text.data(), text.size(), key); }}},
      figure);
  std::vector<Case> cases = {{"OpenSSL MD5, key prefix kept", [&] { OpenSslKeptPrefix(text, key, true); }},
                             {"OpenSSL EVP", [&] { OpenSslEvp(text, key, true); }}};
  const OrvWorkFlow::Core::Encryption::Md5::LanesList list = OrvWorkFlow::Core::Encryption::Md5::SupportedLanes();
  for (const Lanes* lanes = list.begin; lanes != list.end; ++lanes) {
    const auto work = [&text, &key, lanes] {
      OrvWorkFlow::Core::Encryption::DecipherWith(*lanes, text.data(), text.size(), key);
    };
    cases.push_back({std::string("own, ") + lanes->name, work, GoalOf(*lanes)});
  }
  report.Run(title + "deciphered", cases, figure);
}

void RunShortTexts(Report& report) {
  const std::string key = "eight by";
  std::string text(kBlock, 't');
  const auto many = [](auto&& one) {
    return [one] {
      for (std::size_t i = 0; i < kShortTexts; ++i) one();
    };
  };
  OrvWorkFlow::Core::Encryption::CEncryption object;
  const OrvWorkFlow::Sdk::TextHolder output;
  constexpr double kTenthSlower = 1 / 1.1;
  report.Run(
      "texts of 16 bytes, key of 8",
      {{"OpenSSL MD5", many([&] { OpenSslWholeMessages(text, key, false); })},
       {"OpenSSL EVP", many([&] { OpenSslEvp(text, key, false); })},
       {"own, enciphered", many([&] { OrvWorkFlow::Core::Encryption::Encipher(text.data(), text.size(), key); }), 1.0},
       {"own, deciphered", many([&] { OrvWorkFlow::Core::Encryption::Decipher(text.data(), text.size(), key); }), 1.0},
       {"own, EncryptString with base64",
        many([&] { object.EncryptString("sixteen letters.", key.c_str(), output.get()); }), kTenthSlower}},
      Nanoseconds);
}

void RunBase64(Report& report) {
  constexpr std::size_t kSize = std::size_t{1} << 20;
  std::string bytes(kSize, '\0');
  for (std::size_t i = 0; i < kSize; ++i) bytes[i] = static_cast<char>(i * 31 + (i >> 8));
  std::string text = Base::EncodeBase64(bytes);
  std::string output(2 * kSize, '\0');
  const auto* const from_bytes = reinterpret_cast<const unsigned char*>(bytes.data());
  const auto* const from_text = reinterpret_cast<const unsigned char*>(text.data());
  auto* const to = reinterpret_cast<unsigned char*>(output.data());
  const auto figure = [](double seconds) { return Megabytes(20 * kSize, seconds); };
  const auto many = [](auto&& one) {
    return [one] {
      for (int i = 0; i < 20; ++i) one();
    };
  };
  report.Run("base64 of 1 MiB, encoded",
             {{"OpenSSL", many([&] { EVP_EncodeBlock(to, from_bytes, static_cast<int>(kSize)); })},
              {"GLib", many([&] { g_free(g_base64_encode(from_bytes, kSize)); })},
              {"own", many([&] { Base::EncodeBase64(bytes.data(), kSize, output.data()); }), 1.0}},
             figure);
  report.Run("base64 of 1 MiB, decoded",
             {{"OpenSSL", many([&] { EVP_DecodeBlock(to, from_text, static_cast<int>(text.size())); })},
              {"GLib", many([&] {
                 gsize size = 0;
                 g_free(g_base64_decode(text.c_str(), &size));
               })},
              {"own", many([&] { Base::DecodeBase64(text, output.data()); }), 1.0}},
             figure);
}

}  // namespace

int main(int argument_count, char** arguments) {
  const int rounds = argument_count > 1 ? std::atoi(arguments[1]) : 5;
  Report report(static_cast<std::size_t>(std::max(rounds, 1)));
  for (const std::size_t key_length : {8U, 40U, 64U, 240U}) RunLongTexts(report, key_length);
  RunShortTexts(report);
  RunBase64(report);
  return report.all_reached() ? 0 : 1;
}
