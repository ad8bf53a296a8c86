// Listing and copying trees, copying a large file, and saving a dictionary durably, beside find, cp, std::filesystem
// and the plain system calls.
//
//   files_bench [ROUNDS [ROWS]]    (default 7; own work and peers take turns in each round, the median counts;
//                                  ROWS: listing, small, large or saving, those alone)
//
// The file system is used as a host does, through the built library and its interface. Needs 4 GiB in /dev/shm and a
// little in the directory for temporary files. "ratio" is the library's time by the peer's; each row says which ratio
// it must reach. Exit code 1 when a row misses it. Saving, which waits for the disk, is measured by the clock on the
// wall, the rest in processor time, children and system included.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/Marshaller.h"
#include "OrvWorkFlow/WorkFlowFactory.h"

extern char** environ;

namespace {

using namespace OrvWorkFlow;
namespace fs = std::filesystem;

constexpr int kTreeDirectories = 100;
constexpr int kFilesInDirectory = 1000;
constexpr int kSmallFiles = 10'000;
constexpr std::size_t kLargeFileBytes = std::size_t{1} << 30;
constexpr int kSavesInRound = 20;
// All of them let the system copy the same pages: only the noise of the measurement is between them.
constexpr double kSameCalls = 1.05;
// Eight calls instead of thirteen. Of cp's time, making the file and its page alone take two thirds, and the locks that
// cp does without a tenth: the plain calls with locks, and nothing else, come to 0.78.
constexpr double kSmallFilesOfCp = 0.9;

[[noreturn]] void Stop(const std::string& what) {
  std::fprintf(stderr, "files_bench: %s\n", what.c_str());
  std::exit(1);
}
void Check(bool done, const std::string& what) {
  if (!done) Stop(what);
}

double WallSeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Of this process and the children that have ended.
double ProcessorSeconds() {
  double sum = 0;
  for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage{};
    getrusage(who, &usage);
    for (const timeval& time : {usage.ru_utime, usage.ru_stime}) {
      sum += static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    }
  }
  return sum;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// One thing that is measured: `prepare` is not.
struct Peer {
  const char* name;
  std::function<void()> run;
  std::function<void()> prepare = [] {};
  double target = 0;  // The library's time by this peer's must not be above; 0 for a figure that only informs.
};

class Table {
 public:
  explicit Table(int rounds) : rounds_(rounds) {}

  // The first peer is the library. `unit` seconds of the clock are one item.
  void Row(const std::string& what, double (*clock)(), double unit, const char* unit_name,
           const std::vector<Peer>& peers) {
    std::vector<std::vector<double>> times(peers.size());
    for (int round = 0; round <= rounds_; ++round) {
      for (std::size_t i = 0; i < peers.size(); ++i) {
        peers[i].prepare();
        const double begin = clock();
        peers[i].run();
        const double time = clock() - begin;
        if (round > 0) times[i].push_back(time);  // The first round warms up.
      }
    }
    const double own = Median(times[0]);
    std::printf("%-38s %9.1f %s\n", what.c_str(), own / unit, unit_name);
    for (std::size_t i = 1; i < peers.size(); ++i) {
      Result(peers[i].name, own / Median(times[i]), peers[i].target, Median(times[i]) / unit, unit_name);
    }
  }

  void Result(const char* name, double ratio, double target, double time, const char* unit_name) {
    const bool missed = target > 0 && ratio > target;
    met_ = met_ && !missed;
    std::printf("  beside %-29s %9.1f %s   ratio %.2f", name, time, unit_name, ratio);
    if (target > 0) std::printf("   at most %.2f   %s", target, missed ? "FAIL" : "PASS");
    std::printf("\n");
    std::fflush(stdout);
  }

  bool met() const { return met_; }

 private:
  int rounds_;
  bool met_ = true;
};

// Runs a program with its output thrown away.
void Run(std::vector<std::string> arguments) {
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  int status = 0;
  const bool started = posix_spawnp(&child, pointers[0], &actions, nullptr, pointers.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  Check(started && waitpid(child, &status, 0) == child && status == 0, "cannot run " + arguments[0]);
}

struct ReleaseIt {
  template <class T>
  void operator()(T* object) const {
    object->Release();
  }
};
template <class T>
using Holder = std::unique_ptr<T, ReleaseIt>;

template <class T>
Holder<T> Make(const char* object_name, const char* interface_name) {
  IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewObject(object_name);
  Check(object != nullptr, std::string("the library registers no ") + object_name);
  return Holder<T>(static_cast<T*>(object->QueryInterface(interface_name)));
}

class TempDirectory {
 public:
  explicit TempDirectory(const fs::path& parent) : path_((parent / "files_bench_XXXXXX").string()) {
    Check(mkdtemp(path_.data()) != nullptr, "no temporary directory can be made in " + parent.string());
  }
  ~TempDirectory() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;
  std::string At(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  Check(file.flush().good(), "cannot write " + path);
}

void MakeTree(const std::string& root, int directories, int files, const std::string& content) {
  for (int d = 0; d < directories; ++d) {
    const std::string directory = root + "/part" + std::to_string(d / 10) + "/group" + std::to_string(d % 10);
    fs::create_directories(directory);
    for (int f = 0; f < files; ++f) WriteFile(directory + "/measured_values_" + std::to_string(f) + ".dat", content);
  }
}

void MeasureListing(Table& table, IFileSystemA& files, const char* disk, const fs::path& parent) {
  const TempDirectory directory(parent);
  constexpr int kFiles = kTreeDirectories * kFilesInDirectory;
  MakeTree(directory.At("tree"), kTreeDirectories, kFilesInDirectory, "");
  // The library is asked by workflow path, and answers in workflow paths.
  ::setenv("TMP", directory.path().c_str(), 1);
  const auto list_own = [&] {
    const Holder<IOrvPStringList> list(static_cast<IOrvPStringList*>(DirectGetObject("IOrvPStringList")));
    Check(files.ListFiles("$WINTEMP/tree", list.get()) && list->GetCount() == kFiles, "the library lists wrongly");
  };
  const auto list_std = [&] {
    std::vector<std::string> list;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory.At("tree"))) {
      if (!entry.is_directory()) list.push_back(entry.path().string());
    }
    Check(list.size() == kFiles, "std::filesystem lists wrongly");
  };
  table.Row(std::string("list 100000 files, ") + disk, ProcessorSeconds, 1e-9 * kFiles, "ns/file",
            {{"library", list_own},
             {"find -type f",
              [&] {
                Run({"find", directory.At("tree"), "-type", "f"});
              },
              [] {}, 1.0},
             {"recursive_directory_iterator", list_std, [] {}, 1.0}});
  ::unsetenv("TMP");
}

// `of_cp` is how much of cp's time the library may take.
void MeasureTreeCopy(Table& table, IFileSystemA& files, const fs::path& parent, std::size_t kilobytes, double of_cp) {
  const TempDirectory directory(parent);
  const std::string from = directory.At("from");
  const std::string to = directory.At("to");
  MakeTree(from, 100, kSmallFiles / 100, std::string(kilobytes * 1024, 's'));
  const auto clear = [&] { fs::remove_all(to); };
  table.Row("copy 10000 files of " + std::to_string(kilobytes) + " KiB, tmpfs", ProcessorSeconds, 1e-6 * kSmallFiles,
            "us/file",
            {{"library", [&] { Check(files.CopyDirectory(from.c_str(), to.c_str(), true), "the copy failed"); }, clear},
             {"cp -r",
              [&] {
                Run({"cp", "-r", from, to});
              },
              clear, of_cp},
             {"filesystem::copy", [&] { fs::copy(from, to, fs::copy_options::recursive); }, clear, 1.0}});
}

void MeasureLargeCopy(Table& table, IFileSystemA& files, const fs::path& parent) {
  const TempDirectory directory(parent);
  const std::string from = directory.At("from");
  const std::string to = directory.At("to");
  WriteFile(from, std::string(kLargeFileBytes, 'l'));
  const auto clear = [&] { fs::remove(to); };
  table.Row("copy a file of 1 GiB, tmpfs", ProcessorSeconds, 1e-3, "ms",
            {{"library", [&] { Check(files.CopyOneFile(from.c_str(), to.c_str(), true), "the copy failed"); }, clear},
             {"cp",
              [&] {
                Run({"cp", from, to});
              },
              clear, kSameCalls},
             {"filesystem::copy_file", [&] { fs::copy_file(from, to); }, clear, kSameCalls}});
}

// What the library does to replace a file safely, without the library.
void SavePlainly(const std::string& directory, const std::string& path, const char* bytes, std::size_t size) {
  const std::string beside = path + ".new";
  const int file = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  const bool written = ::write(file, bytes, size) == static_cast<ssize_t>(size) && ::fsync(file) == 0;
  Check(::close(file) == 0 && written && ::rename(beside.c_str(), path.c_str()) == 0, "cannot save plainly");
  const int folder = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  Check(::fsync(folder) == 0 && ::close(folder) == 0, "cannot save plainly");
}

void MeasureSaving(Table& table, IFileSystemA& files, const fs::path& parent, int entries) {
  const TempDirectory directory(parent);
  const auto dictionary = Make<IDictionary>("Dictionary", "IDictionary");
  for (int i = 0; i < entries; ++i) {
    const std::string path = "/area" + std::to_string(i / 100) + "/value" + std::to_string(i % 100);
    Check(dictionary->SetValue(path.c_str(), i), "an entry cannot be set");
  }
  const Holder<IOrvPString> text(static_cast<IOrvPString*>(DirectGetObject("IOrvPString")));
  Check(dictionary->SaveToText(text.get()), "the dictionary cannot be saved");
  const auto repeated = [](std::function<void()> work) {
    return [work = std::move(work)] {
      for (int i = 0; i < kSavesInRound; ++i) work();
    };
  };
  const std::string own = directory.At("own.xml");
  const std::string plain = directory.At("plain.xml");
  const std::string size = std::to_string(text->GetLength() / 1024) + " KiB";
  table.Row(
      "replace a file of " + size + " durably", WallSeconds, 1e-6 * kSavesInRound, "us",
      {{"library", repeated([&] {
          Check(files.ReplaceFileBytes(own.c_str(), text->GetText(), text->GetLength()), "cannot replace");
        })},
       {"the plain calls", repeated([&] { SavePlainly(directory.path(), plain, text->GetText(), text->GetLength()); }),
        [] {}, 1.1}});
  table.Row("save that dictionary durably", WallSeconds, 1e-6 * kSavesInRound, "us",
            {{"library", repeated([&] { Check(dictionary->SaveFile(own.c_str()), "the dictionary cannot be saved"); })},
             {"to memory and the plain calls", repeated([&] {
                Check(dictionary->SaveToText(text.get()), "the dictionary cannot be saved");
                SavePlainly(directory.path(), plain, text->GetText(), text->GetLength());
              }),
              [] {}, 1.1}});
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 7;
  const std::string wanted = argc > 2 ? argv[2] : "";
  const auto is_wanted = [&wanted](std::string_view rows) { return rows.find(wanted) != std::string_view::npos; };
  const fs::path disk = fs::temp_directory_path();
  const fs::path memory = "/dev/shm";
  Check(fs::is_directory(memory), "there is no /dev/shm");
  const auto files = Make<IFileSystemA>("FileSystem", "IFileSystemA");
  Check(WorkFlowFactory::CreateNewGlobalObject("FileSystem") != nullptr, "the library registers no file system");
  Table table(rounds);
  if (is_wanted("listing")) {
    MeasureListing(table, *files, "tmpfs", memory);
    MeasureListing(table, *files, "disk", disk);
  }
  if (is_wanted("small")) {
    MeasureTreeCopy(table, *files, memory, 1, kSmallFilesOfCp);
    MeasureTreeCopy(table, *files, memory, 2, 1.0);
  }
  if (is_wanted("large")) MeasureLargeCopy(table, *files, memory);
  if (is_wanted("saving")) {
    MeasureSaving(table, *files, disk, 2000);
    MeasureSaving(table, *files, disk, 50'000);
  }
  WorkFlowFactory::ReleaseGlobalObjects();
  std::printf("%s\n", table.met() ? "all targets met" : "targets missed");
  return table.met() ? 0 : 1;
}
