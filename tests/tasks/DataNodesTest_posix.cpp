// CSV as another program writes and reads it.
#include <gtest/gtest.h>

#include "tests/program/support/ChildProcess.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

class DataNodesPosixTest : public TaskFixture {
 protected:
  std::string Python(const std::string& lines) {
    Write("script.py", lines);
    const ProcessResult result = RunProcess("/usr/bin/env", {"python3", File("script.py")});
    EXPECT_EQ(result.exit_code, 0) << result.error;
    return result.output;
  }
};

// Random rows of quotes, separators, line ends and blanks: written by Python's module, read here, written here, and
// read by Python's module again.
TEST_F(DataNodesPosixTest, CsvIsThatOfPython) {
  const std::string rows =
      "import csv, os, random, sys\n"
      "random.seed(7)\n"
      "os.chdir('" +
      File("") +
      "')\n"
      "parts = ['\"', ',', ';', '\\t', '\\n', '\\r', '\\r\\n', ' ', 'a', '12', '\\xfc', '\"\"', \"'\", '\\\\']\n"
      "rows = [[''.join(random.choices(parts, k=random.randrange(6))) for _ in range(3)] for _ in range(200)]\n";
  for (const std::string separator : {",", ";", "tab"}) {
    SCOPED_TRACE(separator);
    const std::string delimiter = separator == "tab" ? "\\t" : separator;
    Python(rows +
           "for kind in (csv.QUOTE_MINIMAL, csv.QUOTE_ALL):\n"
           "  with open('in%d.csv' % kind, 'w', newline='', encoding='utf-8') as file:\n"
           "    w = csv.writer(file, delimiter='" +
           delimiter +
           "', quoting=kind)\n"
           "    w.writerow(['x', 'y', 'z']); w.writerows(rows)\n");
    for (const std::string in : {"in0.csv", "in1.csv"}) {
      Make("DataNodes", "CsvReader").SetParameter("File", File(in));
      MapFailed();
      bench_->SetParameter("Separator", separator);
      ASSERT_EQ(Do("read"), Signals{"read"}) << Problem();
      EXPECT_EQ(Said("Rows"), "200");
      const std::string state = bench_->SaveState();
      Make("DataNodes", "CsvWriter").Kill(state);
      bench_->SetParameter("File", File("out.csv"));
      bench_->SetParameter("Separator", separator);
      ASSERT_EQ(Do("write"), Signals{"written"}) << Problem();
      EXPECT_EQ(Python(rows + "found = list(csv.reader(open('out.csv', newline='', encoding='utf-8'), delimiter='" +
                       delimiter +
                       "'))\n"
                       "print('same' if found == [['x', 'y', 'z']] + rows else 'other')\n"),
                "same\n");
    }
  }
}

}  // namespace
}  // namespace orv_test
