// A program for tests of nodes that run programs: the first argument says what it does.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <process.h>
#endif

namespace {

using namespace std::chrono_literals;

// Shows that it lives, for a minute at most.
int Beat(const std::string& file) {
  for (int i = 0; i < 3000; ++i) {
    std::ofstream(file, std::ios::app) << '.';
    std::this_thread::sleep_for(20ms);
  }
  return 0;
}

// Starts a program of its own, which beats, and waits for no one.
void StartBeating(const std::string& self, const std::string& file) {
#ifdef _WIN32
  if (_spawnl(_P_NOWAIT, self.c_str(), self.c_str(), "beat", file.c_str(), nullptr) == -1) std::abort();
#else
  const std::string command = "'" + self + "' beat '" + file + "' &";
  if (std::system(command.c_str()) != 0) std::abort();
#endif
}

int Flood(long bytes) {
  const std::string piece(4096, 'x');
  for (; bytes > 0; bytes -= static_cast<long>(piece.size())) std::fwrite(piece.data(), 1, piece.size(), stdout);
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string what = count > 1 ? arguments[1] : "";
  const std::string value = count > 2 ? arguments[2] : "";
  if (what == "exit") return std::stoi(value);
  if (what == "beat") return Beat(value);
  if (what == "flood") return Flood(std::stol(value));
  if (what == "both") {
    StartBeating(arguments[0], value);
    return Beat(value + "2");
  }
  if (what == "leave") {
    StartBeating(arguments[0], value);
    while (!std::filesystem::exists(value)) std::this_thread::sleep_for(5ms);
    return 0;
  }
  if (what == "variable") std::cout << (std::getenv(value.c_str()) == nullptr ? "none" : std::getenv(value.c_str()));
  if (what == "folder") std::cout << std::filesystem::current_path().filename().string();
  if (what == "bytes") std::cout << "a\x01\xFF\xC3\xA4z";
  if (what == "error") {
#ifdef _WIN32
    _setmode(_fileno(stderr), _O_BINARY);  // As it is on Linux.
#endif
    std::cerr << "wrong\nindeed";
    return 4;
  }
  if (what == "words") {
    for (int i = 2; i < count; ++i) std::cout << '[' << arguments[i] << ']';
  }
  return 0;
}
