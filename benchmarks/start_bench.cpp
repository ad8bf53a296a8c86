// From the start of a process to its end: a run of the smallest workflow, beside `ninja` with nothing to do.
//
//   start_bench [ROUNDS]    (default: 20)
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

// One node, which begins and ends at once.
constexpr char kFlow[] =
    R"(<IDictionaryRoot><WorkFlowEngine><WorkFlowName __type="str">Small</WorkFlowName>
<AbsorbTree><node0 __type="str">Small</node0></AbsorbTree>
<Mappings><StartSignal><ReceiverTypeName __type="str">Timer</ReceiverTypeName>
<ReceiverInstanceName __type="str">t</ReceiverInstanceName>
<IncomingSignalName __type="str">start</IncomingSignalName></StartSignal></Mappings>
<WorkNodes><Timer><Binaries><win32_bin __type="str">FlowNodes</win32_bin></Binaries>
<Instances><t><wfName __type="str">Small</wfName>
<Parameters><Milliseconds __type="int">0</Milliseconds></Parameters></t></Instances></Timer></WorkNodes>
</WorkFlowEngine></IDictionaryRoot>)";

// Milliseconds.
struct Times {
  std::vector<double> from_start_to_end;
  std::vector<double> of_processors;  // which other programs do not lengthen
};

double Milliseconds(const timeval& time) {
  return 1000.0 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1000.0;
}

// Ends this program when the other one fails.
void Run(std::vector<std::string> words, Times& times) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", 1, 0);
  const auto begin = std::chrono::steady_clock::now();
  pid_t process = 0;
  int status = 1;
  rusage used = {};
  if (posix_spawnp(&process, pointers.front(), &files, nullptr, pointers.data(), environ) == 0) {
    wait4(process, &status, 0, &used);
  }
  const auto time = std::chrono::steady_clock::now() - begin;
  posix_spawn_file_actions_destroy(&files);
  if (status != 0) {
    std::fprintf(stderr, "start_bench: %s does not run\n", words.front().c_str());
    std::exit(1);
  }
  times.from_start_to_end.push_back(std::chrono::duration<double, std::milli>(time).count());
  times.of_processors.push_back(Milliseconds(used.ru_utime) + Milliseconds(used.ru_stime));
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = std::max(argc > 1 ? std::atoi(argv[1]) : 20, 1);
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("start_bench_" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  const std::string flow = (folder / "flow.xml").string();
  std::ofstream(flow) << kFlow;
  std::ofstream(folder / "build.ninja") << "rule touch\n  command = touch $out\nbuild done: touch\n";
  const std::string program = (std::filesystem::path(argv[0]).parent_path() / "orvflow").string();
  Times runs;
  Times peers;
  for (int round = 0; round <= rounds; ++round) {
    Run({program, "run", flow}, runs);
    Run({"ninja", "-C", folder.string()}, peers);
  }
  std::filesystem::remove_all(folder);
  const double run = Median(runs.from_start_to_end);
  const double peer = Median(peers.from_start_to_end);
  std::printf("from start to end: a run %.1f ms, ninja with nothing to do %.1f ms\n", run, peer);
  std::printf("  %-4s %-58s %8.2f  (limit 3.00: three times)\n", run <= 3 * peer ? "PASS" : "FAIL", "a run / ninja",
              run / peer);
  std::printf("       %-58s %8.2f\n", "a run / ninja, time of processors",
              Median(runs.of_processors) / Median(peers.of_processors));
  return 0;
}
