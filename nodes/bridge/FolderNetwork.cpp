#include "nodes/bridge/FolderNetwork.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "nodes/bridge/BridgeFrames.h"
#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

constexpr const char* kFaults[] = {"seed", "lose", "double", "delay", "forget"};
constexpr std::chrono::milliseconds kLook{2};
constexpr std::size_t kMostLooked = 512;
constexpr char kPart[] = ".part";

std::map<std::string, std::uint32_t> ReadFaults(const std::string& text) {
  std::map<std::string, std::uint32_t> faults;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const std::size_t sign = word.find('=');
    const std::string name = word.substr(0, sign);
    const std::string number = sign == std::string::npos ? "" : word.substr(sign + 1);
    std::uint32_t value = 0;
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    const bool is_known =
        std::any_of(std::begin(kFaults), std::end(kFaults), [&](const char* one) { return name == one; });
    if (!is_known || number.empty() || result.ptr != number.data() + number.size() || result.ec != std::errc()) {
      throw std::runtime_error("the parameter Faults holds \"" + word +
                               "\"; it takes seed, lose, double, delay, forget with numbers");
    }
    faults[name] = value;
  }
  return faults;
}

}  // namespace

FolderNetwork::FolderNetwork(std::filesystem::path folder, const std::string& faults)
    : folder_(std::move(folder)), faults_(ReadFaults(faults)), random_(faults_["seed"]), writer_(Id::Random().low) {}

void FolderNetwork::Open(const std::string& address) {
  own_ = folder_ / address;
  std::error_code error;
  std::filesystem::create_directories(own_, error);
  if (error) throw std::runtime_error(Utf8Of(own_) + ": the folder cannot be made: " + error.message());
}

bool FolderNetwork::Hits(const char* fault) {
  const std::uint32_t share = faults_[fault];
  return share != 0 && random_() % 1000 < share;
}

bool FolderNetwork::Send(const std::string& address, const std::string& bytes) {
  PutDelayed(false);
  if (Hits("forget")) Forget();
  if (Hits("lose")) return true;
  if (Hits("double") && !Put(address, bytes)) return false;
  if (!Hits("delay")) return Put(address, bytes);
  delayed_.push_back({Clock::now() + std::chrono::milliseconds(random_() % 100), address, bytes});
  return true;
}

// Complete under its name or not there at all.
bool FolderNetwork::Put(const std::string& address, const std::string& bytes) {
  char name[64];
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
  std::snprintf(name, sizeof(name), "%020lld-%016llx-%08llu", static_cast<long long>(microseconds),
                static_cast<unsigned long long>(writer_), static_cast<unsigned long long>(++count_));
  const std::filesystem::path file = folder_ / address / name;
  std::filesystem::path part = file;
  part += kPart;
  std::error_code error;
  std::filesystem::create_directories(folder_ / address, error);
  {
    std::ofstream stream(part, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) {
      problem_ = Utf8Of(file) + ": cannot be written";
      return false;
    }
  }
  std::filesystem::rename(part, file, error);
  problem_ = error ? Utf8Of(file) + ": cannot be written: " + error.message() : "";
  return !error;
}

void FolderNetwork::PutDelayed(bool all) {
  const Clock::time_point now = Clock::now();
  for (std::size_t i = 0; i < delayed_.size();) {
    if (!all && delayed_[i].due > now) {
      ++i;
      continue;
    }
    Put(delayed_[i].address, delayed_[i].bytes);
    delayed_.erase(delayed_.begin() + static_cast<std::ptrdiff_t>(i));
  }
}

void FolderNetwork::Forget() {
  delayed_.clear();
  std::error_code error;
  for (std::filesystem::recursive_directory_iterator at(folder_, error), end; !error && at != end;
       at.increment(error)) {
    std::error_code ignored;
    if (at->is_regular_file(ignored)) std::filesystem::remove(at->path(), ignored);
  }
}

void FolderNetwork::Look() {
  std::vector<std::filesystem::path> files;
  std::error_code error;
  for (std::filesystem::directory_iterator at(own_, error), end; !error && at != end; at.increment(error)) {
    if (at->path().extension() != kPart) files.push_back(at->path());
  }
  std::sort(files.begin(), files.end());
  if (files.size() > kMostLooked) files.resize(kMostLooked);
  for (const std::filesystem::path& file : files) {
    std::ifstream stream(file, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(stream), {});
    stream.close();
    std::filesystem::remove(file, error);
    if (bytes.size() <= kMostFrame) come_.push_back(std::move(bytes));
  }
}

std::optional<std::string> FolderNetwork::Poll(std::chrono::milliseconds time) {
  const Clock::time_point limit = Clock::now() + time;
  PutDelayed(false);
  if (come_.empty()) Look();
  while (come_.empty() && Clock::now() < limit) {
    std::this_thread::sleep_for(kLook);
    PutDelayed(false);
    Look();
  }
  if (come_.empty()) return std::nullopt;
  std::string bytes = std::move(come_.front());
  come_.pop_front();
  return bytes;
}

void FolderNetwork::Close() { PutDelayed(true); }

}  // namespace OrvWorkFlow::Nodes::Bridge
