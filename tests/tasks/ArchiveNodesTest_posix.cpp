// Archives of other programs, and what only this platform has: rights, and files of more than 4 GiB that take no room.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "tests/program/support/ChildProcess.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

class ArchivePosixTest : public TaskFixture {
 protected:
  OrvWorkFlow::Sdk::NodeBench& Node(const std::string& type) {
    Make("ArchiveNodes", type);
    MapFailed();
    return *bench_;
  }
  Signals Pack(const std::string& source, const std::string& target) {
    Node("ArchivePacker").SetParameter("Source", File(source));
    bench_->SetParameter("Target", File(target));
    return Do("pack");
  }
  Signals Extract(const std::string& archive, const std::string& target) {
    Node("ArchiveExtractor").SetParameter("Archive", File(archive));
    bench_->SetParameter("Target", File(target));
    return Do("extract");
  }
  // Runs a line of the shell in the directory; what it printed.
  std::string Shell(const std::string& line) {
    const ProcessResult result = RunProcess("/bin/sh", {"-c", "cd '" + File("") + "' && " + line});
    EXPECT_EQ(result.exit_code, 0) << line << "\n" << result.output << result.error;
    return result.output;
  }
  std::string Python(const std::string& lines) {
    Write("script.py", "import io, os, stat, tarfile, zipfile\n" + lines);
    return Shell("python3 script.py");
  }
  void WriteFolder() {
    Write("in/a.txt", "alpha");
    Write("in/deep/er/b.bin", std::string(300000, 'x') + std::string("\0\r\n", 3));
    Write("in/deep/\xC3\xBC ber \xE2\x82\xAC.txt", "\xC3\xBC");
    Write("in/" + std::string(200, 'n') + "/" + std::string(200, 'm'), "long");
    Write("in/run.sh", "#!/bin/sh\n");
    ::chmod(File("in/run.sh").c_str(), 0750);
    ::chmod(File("in/a.txt").c_str(), 0600);
  }
  // How long the node takes to stop while it works: the shortest of some times, as the disk may be at work for others.
  std::chrono::milliseconds TimeToStop(const std::string& signal, int work_milliseconds) {
    auto shortest = std::chrono::milliseconds::max();
    for (int i = 0; i < 5; ++i) {
      bench_->Signal(i == 0 ? signal : "resume");
      std::this_thread::sleep_for(std::chrono::milliseconds(work_milliseconds));
      const auto begin = std::chrono::steady_clock::now();
      EXPECT_EQ(bench_->Stop(), "resume");
      EXPECT_EQ(bench_->TakeFired(), Signals{});
      const auto time = std::chrono::steady_clock::now() - begin;
      shortest = std::min(shortest, std::chrono::duration_cast<std::chrono::milliseconds>(time));
    }
    return shortest;
  }
};

TEST_F(ArchivePosixTest, OtherProgramsReadWhatIsPacked) {
  WriteFolder();
  for (const std::string format : {"tar", "tar.gz", "tar.bz2", "tar.xz"}) {
    SCOPED_TRACE(format);
    EXPECT_EQ(Pack("in", "a." + format), Signals{"packed"}) << Problem();
    Shell("rm -rf x && mkdir x && tar -xpf a." + format + " -C x && diff -r in x");
    EXPECT_EQ(Shell("stat -c '%a %Y' in/run.sh in/a.txt"), Shell("stat -c '%a %Y' x/run.sh x/a.txt"));
    Python("tarfile.open('a." + format + "').extractall('y')");
    Shell("diff -r in y && rm -rf y");
  }
  EXPECT_EQ(Pack("in", "a.zip"), Signals{"packed"}) << Problem();
  Shell("python3 -m zipfile -t a.zip && python3 -m zipfile -e a.zip y && diff -r in y");
  EXPECT_EQ(Python("print(sorted(oct(i.external_attr >> 16) for i in zipfile.ZipFile('a.zip').infolist()"
                   " if i.filename in ('a.txt', 'run.sh')))"),
            "['0o100600', '0o100750']\n");
}

TEST_F(ArchivePosixTest, WhatOtherProgramsHavePackedComesOut) {
  WriteFolder();
  Shell("ln in/a.txt in/hard && mkdir in/nothing");
  for (const std::string format : {"--format=ustar", "--format=gnu", "--format=pax", "-z", "-j", "-J"}) {
    SCOPED_TRACE(format);
    if (format == "--format=ustar") {
      Shell("tar " + format + " -cf a.tar -C in a.txt hard deep run.sh nothing");
    } else {
      Shell("tar " + format + " -cf a.tar -C in .");
    }
    EXPECT_EQ(Extract("a.tar", "out"), Signals{"extracted"}) << Problem();
    Shell(format == "--format=ustar" ? "diff -r in/deep out/deep && cmp in/hard out/hard" : "diff -r in out");
    EXPECT_EQ(Shell("stat -c '%a %Y' in/run.sh in/a.txt"), Shell("stat -c '%a %Y' out/run.sh out/a.txt"));
    Shell("rm -rf out");
  }
  Shell("cd in && python3 -m zipfile -c ../a.zip .");
  EXPECT_EQ(Extract("a.zip", "out"), Signals{"extracted"}) << Problem();
  Shell("diff -r in out && rm -rf out");
  // Written as a stream: the sizes stand behind the bytes.
  Python(
      "class Pipe(io.RawIOBase):\n"
      "  def __init__(self, f): self.f = f\n"
      "  def writable(self): return True\n"
      "  def write(self, b): return self.f.write(b)\n"
      "z = zipfile.ZipFile(Pipe(open('a.zip', 'wb')), 'w', zipfile.ZIP_DEFLATED)\n"
      "for n in ('a.txt', 'deep/er/b.bin'): z.write('in/' + n, n)\n"
      "z.close()\n");
  EXPECT_EQ(Extract("a.zip", "out"), Signals{"extracted"}) << Problem();
  Shell("cmp in/deep/er/b.bin out/deep/er/b.bin");
}

TEST_F(ArchivePosixTest, RightsAreNeverMoreThanTheProcessGives) {
  Python(
      "t = tarfile.open('a.tar', 'w')\n"
      "for name, mode in (('setuid', 0o6777), ('none', 0), ('plain', 0o644)):\n"
      "  i = tarfile.TarInfo(name); i.mode = mode; i.size = 1; t.addfile(i, io.BytesIO(b'1'))\n"
      "i = tarfile.TarInfo('folder'); i.type = tarfile.DIRTYPE; i.mode = 0o7700; t.addfile(i)\n"
      "i = tarfile.TarInfo('locked'); i.type = tarfile.DIRTYPE; i.mode = 0; t.addfile(i)\n"
      "i = tarfile.TarInfo('locked/in'); t.addfile(i)\n"
      "t.close()\n");
  const mode_t before = ::umask(022);
  EXPECT_EQ(Extract("a.tar", "out"), Signals{"extracted"}) << Problem();
  ::umask(before);
  EXPECT_EQ(Shell("cd out && stat -c '%a %n' *"), "700 folder\n700 locked\n600 none\n644 plain\n755 setuid\n");
}

TEST_F(ArchivePosixTest, EncipheredAndMendaciousZipsAreRefused) {
  // Bits of both headers say that the entry is enciphered; then, sizes and names of the directory that are not so.
  Python(
      "def make():\n"
      "  b = io.BytesIO(); z = zipfile.ZipFile(b, 'w'); z.writestr('name', b'bytes'); z.close()\n"
      "  return bytearray(b.getvalue())\n"
      "b = make(); d = b.index(b'PK\\1\\2'); b[6] |= 1; b[d + 8] |= 1; open('crypt.zip', 'wb').write(b)\n"
      "b = make(); b[30:34] = b'../x'; d = b.index(b'PK\\1\\2'); b[d + 46:d + 50] = b'../x'\n"
      "open('up.zip', 'wb').write(b)\n"
      "b = make(); b[30:34] = b'a\\\\/b'; d = b.index(b'PK\\1\\2'); b[d + 46:d + 50] = b'a\\\\/b'\n"
      "open('back.zip', 'wb').write(b)\n"
      "b = make(); b[30:34] = b'..\\\\x'; d = b.index(b'PK\\1\\2'); b[d + 46:d + 50] = b'..\\\\x'\n"
      "open('dos.zip', 'wb').write(b)\n"
      "b = make(); d = b.index(b'PK\\1\\2'); b[d + 24] = 77; b[d + 20] = 77; open('size.zip', 'wb').write(b)\n"
      "b = make(); b[34] ^= 1; open('crc.zip', 'wb').write(b)\n"
      "z = zipfile.ZipFile('link.zip', 'w'); i = zipfile.ZipInfo('l'); i.create_system = 3\n"
      "i.external_attr = (stat.S_IFLNK | 0o777) << 16; z.writestr(i, '/etc'); z.writestr('l/passwd', 'x'); z.close()\n"
      "z = zipfile.ZipFile('bomb.zip', 'w', zipfile.ZIP_DEFLATED); z.writestr('b', bytes(3 << 20)); z.close()\n");
  const auto refusal = [this](const std::string& archive) {
    EXPECT_EQ(Extract(archive, "out"), Signals{"failed"});
    EXPECT_FALSE(Exists("out"));
    EXPECT_FALSE(Exists("out.part"));
    return Problem();
  };
  EXPECT_EQ(refusal("crypt.zip"), File("crypt.zip") + ": \"name\" is enciphered");
  EXPECT_EQ(refusal("up.zip"), File("up.zip") + ": \"../x\": it leads out of the folder");
  EXPECT_EQ(refusal("back.zip"), File("back.zip") + ": \"a\\/b\": no path can hold this name");
  EXPECT_EQ(refusal("dos.zip"), File("dos.zip") + ": \"../x\": it leads out of the folder");
  EXPECT_THAT(refusal("size.zip"), HasSubstr("size"));
  EXPECT_THAT(refusal("crc.zip"), HasSubstr("CRC"));
  EXPECT_EQ(refusal("link.zip"), File("link.zip") + ": \"l\" is a symbolic link (Links)");
  Node("ArchiveExtractor").SetParameter("Archive", File("bomb.zip"));
  bench_->SetParameter("Target", File("out"));
  bench_->SetParameter("MostMegabytes", 2);
  EXPECT_EQ(Do("extract"), Signals{"failed"});
  EXPECT_EQ(Problem(), File("bomb.zip") + ": more than 2 MiB (MostMegabytes)");
}

TEST_F(ArchivePosixTest, WhatMayNotBeReadOrWrittenIsNamed) {
  Write("full/a", std::string(100, 'x'));
  EXPECT_EQ(Pack("full", "a.zip"), Signals{"packed"});
  Node("ArchivePacker").SetParameter("Source", File("full"));
  bench_->SetParameter("Target", "/proc/nowhere/a.zip");
  EXPECT_EQ(Do("pack"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("/proc/nowhere/a.zip"));
  Node("ArchiveExtractor").SetParameter("Archive", File("a.zip"));
  bench_->SetParameter("Target", "/proc/out");
  EXPECT_EQ(Do("extract"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("cannot make the folder /proc/out.part: "));
  ASSERT_EQ(::mkfifo(File("pipe").c_str(), 0600), 0);
  EXPECT_EQ(Extract("pipe", "out"), Signals{"failed"});
  EXPECT_EQ(Problem(), "cannot read " + File("pipe") + ": not a plain file");
}

TEST_F(ArchivePosixTest, FilesOfMoreThanFourGibGoThroughAndAreStoppedAtOnce) {
  Write("in/huge", "");
  ASSERT_EQ(::truncate(File("in/huge").c_str(), (off_t{4} << 30) + 5), 0);
  for (const std::string format : {"zip", "tar.gz", "tar"}) {
    SCOPED_TRACE(format);
    Node("ArchivePacker").SetParameter("Source", File("in"));
    bench_->SetParameter("Target", File("never." + format));
    EXPECT_LT(TimeToStop("pack", 60).count(), 100);
    EXPECT_FALSE(Exists("never." + format));
  }
  // Zeros, which cost little as a hole, in forms with 64 bits.
  Shell("tar -S --format=pax -cf sparse.tar -C in huge");
  Python(
      "import struct, zlib\n"
      "z = bytes(1 << 20); n = 4097; size = n << 20; crc = 0\n"
      "c = zlib.compressobj(1, zlib.DEFLATED, -15); p = (c.compress(z) + c.flush(zlib.Z_FULL_FLUSH)) * n + b'\\3\\0'\n"
      "for i in range(n): crc = zlib.crc32(z, crc)\n"
      "m = 0xFFFFFFFF; extra = b'huge' + struct.pack('<HHQQ', 1, 16, size, len(p))\n"
      "a = struct.pack('<IHHHHHIIIHH', 0x04034B50, 45, 0, 8, 0, 33, crc, m, m, 4, 20) + extra\n"
      "d = struct.pack('<IHHHHHHIIIHHHHHII', 0x02014B50, 45, 45, 0, 8, 0, 33, crc, m, m, 4, 20, 0, 0, 0, 0, 0) + "
      "extra\n"
      "e = struct.pack('<IHHHHIIH', 0x06054B50, 0, 0, 1, 1, len(d), len(a) + len(p), 0)\n"
      "open('z.zip', 'wb').write(a + p + d + e)\n");
  Node("ArchiveLister").SetParameter("Archive", File("z.zip"));
  EXPECT_EQ(Do("list"), Signals{"listed"}) << Problem();
  EXPECT_EQ(Said("Bytes"), "4296015872");
  EXPECT_EQ(Extract("sparse.tar", "out"), Signals{"extracted"}) << Problem();
  EXPECT_EQ(std::filesystem::file_size(File("out/huge")), 4294967301U);
  std::filesystem::remove_all(File("out"));
  Node("ArchiveExtractor").SetParameter("Archive", File("z.zip"));
  bench_->SetParameter("Target", File("out"));
  EXPECT_LT(TimeToStop("extract", 150).count(), 100);
  EXPECT_FALSE(Exists("out"));
  // A bomb of xz, of which a few bytes on the disk make many.
  Shell("head -c 300000000 /dev/zero >z && XZ_OPT=-1 tar -cJf z.tar.xz z && rm z");
  Node("ArchiveLister").SetParameter("Archive", File("z.tar.xz"));
  EXPECT_LT(TimeToStop("list", 60).count(), 100);
}

}  // namespace
}  // namespace orv_test
