// Signals a second from one run to another one over a bridge, beside `mosquitto_pub` and `mosquitto_sub` with
// quality 1.
//
//   bridge_bench [SIGNALS] [ROUNDS]    (defaults: 20000 and 3; the peers and the runs take turns, the median counts)
//
// All go through one Mosquitto on this machine, which keeps nothing on a disk. A run sends its number with each signal,
// the peer the same as a line. It is measured from the start of the sending program until both have ended; the
// receiving one is there before. The runs have their records in the folder for temporary files: on a disk, for the
// figures with --durable power to mean anything.
#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "benchmarks/signals/Measure.h"

namespace {

namespace fs = std::filesystem;
using signals_bench::Judge;
using signals_bench::Median;
using Words = std::vector<std::string>;

constexpr char kMosquitto[] = "/usr/sbin/mosquitto";
constexpr char kPublisher[] = "/usr/bin/mosquitto_pub";
constexpr char kSubscriber[] = "/usr/bin/mosquitto_sub";
constexpr int kMostSeconds = 300;

void Fail(const std::string& why) {
  std::fprintf(stderr, "bridge_bench: %s\n", why.c_str());
  std::exit(1);
}

// A program that is ended with this object, if it still runs.
class Process {
 public:
  // With the file as its input; what it says goes to `log`.
  Process(Words words, const std::string& input, const std::string& log) : name_(words.front()), log_(log) {
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
    const int status = posix_spawn(&process_, pointers.front(), &files, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    if (status != 0) Fail(name_ + " does not start");
  }
  ~Process() {
    if (process_ == 0) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  // This program fails when that one does, or takes too long.
  void Wait() {
    int status = 0;
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(kMostSeconds);
    while (waitpid(process_, &status, WNOHANG) == 0) {
      if (std::chrono::steady_clock::now() > limit) Fail(name_ + " does not end; see " + log_);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    process_ = 0;
    if (status != 0) Fail(name_ + " fails; see " + log_);
  }

 private:
  const std::string name_, log_;
  pid_t process_ = 0;
};

int FreePort() {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  const int listening = socket(AF_INET, SOCK_STREAM, 0);
  const bool is_bound = bind(listening, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                        getsockname(listening, reinterpret_cast<sockaddr*>(&address), &size) == 0;
  close(listening);
  if (!is_bound) Fail("there is no free port");
  return ntohs(address.sin_port);
}

std::string Node(const std::string& type, const std::string& plugin, const std::string& instance,
                 const std::string& content) {
  return "<" + type + "><Binaries><win32_bin __type=\"str\">" + plugin + "</win32_bin></Binaries><Instances><" +
         instance + "><wfName __type=\"str\">Bench</wfName>" + content + "</" + instance + "></Instances></" + type +
         ">\n";
}

std::string Text(const std::string& name, const std::string& value) {
  return "<" + name + " __type=\"str\">" + value + "</" + name + ">";
}

std::string Flow(const std::string& type, const std::string& instance, const std::string& signal,
                 const std::string& nodes) {
  return "<IDictionaryRoot><WorkFlowEngine><WorkFlowName __type=\"str\">Bench</WorkFlowName>\n"
         "<AbsorbTree><node0 __type=\"str\">Bench</node0></AbsorbTree>\n<Mappings><StartSignal>" +
         Text("ReceiverTypeName", type) + Text("ReceiverInstanceName", instance) + Text("IncomingSignalName", signal) +
         "</StartSignal></Mappings>\n<WorkNodes>" + nodes + "</WorkNodes></WorkFlowEngine></IDictionaryRoot>\n";
}

std::string SendingFlow(int port, long count) {
  const std::string send = Text("map0", "BridgeOut,B,send");
  const std::string counter = "<Parameters>" + Text("Limit", std::to_string(count)) + "</Parameters><maps><counted>" +
                              send + Text("map1", "Counter,C,count") + "</counted><reached>" + send +
                              "</reached></maps>";
  const std::string bridge =
      "<Parameters>" + Text("Bridge", "bench") + Text("Port", std::to_string(port)) + Text("MostEntries", "1000000") +
      "<Values __type=\"strlist\"><__ListEntries><__item0>/Counter/C/Count</__item0></__ListEntries></Values>"
      "</Parameters>";
  return Flow("Counter", "C", "count",
              Node("Counter", "FlowNodes", "C", counter) + Node("BridgeOut", "BridgeNodes", "B", bridge));
}

std::string ReceivingFlow(int port, long count, bool one_by_one) {
  const std::string bridge = "<Parameters>" + Text("Bridge", "bench") + Text("Port", std::to_string(port)) +
                             Text("OneByOne", one_by_one ? "yes" : "no") + "</Parameters><maps><received>" +
                             Text("map0", "Counter,C,count") + "</received></maps>";
  const std::string next = one_by_one ? "<counted>" + Text("map0", "BridgeIn,B,next") + "</counted>" : "";
  const std::string counter = "<Parameters>" + Text("Limit", std::to_string(count)) + "</Parameters><maps>" + next +
                              "<reached>" + Text("map0", "BridgeIn,B,stop") + "</reached></maps>";
  return Flow("BridgeIn", "B", "listen",
              Node("BridgeIn", "BridgeNodes", "B", bridge) + Node("Counter", "FlowNodes", "C", counter));
}

class Bench {
 public:
  Bench(std::string program, fs::path folder, long count)
      : program_(std::move(program)), folder_(std::move(folder)), count_(count), port_(FreePort()) {
    std::ofstream(File("broker.conf")) << "listener " << port_ << " 127.0.0.1\nuser root\nallow_anonymous true\n"
                                       << "persistence false\nmax_queued_messages 0\n";
    std::ofstream lines(File("lines"));
    for (long i = 1; i <= count_; ++i) lines << i << "\n";
    std::ofstream(File("north.xml")) << ReceivingFlow(port_, count_, false);
    std::ofstream(File("north_one_by_one.xml")) << ReceivingFlow(port_, count_, true);
    std::ofstream(File("south.xml")) << SendingFlow(port_, count_);
  }

  double Peers() const {
    const std::string port = std::to_string(port_), count = std::to_string(count_);
    return SignalsASecond({kSubscriber, "-p", port, "-q", "1", "-t", "bench", "-C", count},
                          {kPublisher, "-p", port, "-q", "1", "-t", "bench", "-l"});
  }
  double Runs(const std::string& durable, bool one_by_one) const {
    const std::string north = File(one_by_one ? "north_one_by_one.xml" : "north.xml");
    return SignalsASecond({program_, "run", "--durable", durable, north},
                          {program_, "run", "--durable", durable, File("south.xml")});
  }

 private:
  std::string File(const std::string& name) const { return (folder_ / name).string(); }
  double SignalsASecond(const Words& receiver, const Words& sender) const {
    Process broker({kMosquitto, "-c", File("broker.conf")}, "/dev/null", File("broker.log"));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    Process receiving(receiver, "/dev/null", File("receiver.log"));
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const auto begin = std::chrono::steady_clock::now();
    Process sending(sender, File("lines"), File("sender.log"));
    receiving.Wait();
    sending.Wait();
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    return static_cast<double>(count_) / time.count();
  }

  const std::string program_;
  const fs::path folder_;
  const long count_;
  const int port_;
};

struct Case {
  const char* name;
  const char* durable;
  bool one_by_one;
  std::vector<double> rates = {};
};

}  // namespace

int main(int argc, char** argv) {
  const long count = argc > 1 ? std::atol(argv[1]) : 20000;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
  if (count < 100 || rounds < 1) {
    std::fprintf(stderr, "usage: bridge_bench [SIGNALS] [ROUNDS]\n");
    return 2;
  }
  for (const char* peer : {kMosquitto, kPublisher, kSubscriber}) {
    if (fs::exists(peer)) continue;
    std::printf("bridge_bench measures nothing: there is no %s (Debian: mosquitto and mosquitto-clients)\n", peer);
    return 0;
  }
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const fs::path folder = fs::temp_directory_path() / ("bridge_bench_" + std::to_string(getpid()));
  fs::create_directories(folder);
  const Bench bench((fs::path(argv[0]).parent_path() / "orvflow").string(), folder, count);
  Case cases[] = {{"process", "process", false},
                  {"power", "power", false},
                  {"process, one by one", "process", true},
                  {"power, one by one", "power", true}};
  std::vector<double> peers;
  for (int round = 0; round < rounds; ++round) {
    peers.push_back(bench.Peers());
    for (Case& one : cases) one.rates.push_back(bench.Runs(one.durable, one.one_by_one));
  }
  const double peer = Median(peers);
  std::printf("%ld signals a round; mosquitto_pub and mosquitto_sub, quality 1: %.0f a second\n", count, peer);
  for (const Case& one : cases) {
    const double rate = Median(one.rates);
    std::printf("a bridge at %s: %.0f signals a second\n", one.name, rate);
    const std::string what = std::string("time of a bridge at ") + one.name + " / theirs";
    if (one.one_by_one) {
      std::printf("       %-58s %8.2f\n", what.c_str(), peer / rate);  // It waits for the workflow.
    } else {
      Judge(what.c_str(), peer / rate, "half of their rate", 2.0);
    }
  }
  std::printf("%d limits missed\n", signals_bench::failures);
  fs::remove_all(folder);
  return 0;
}
