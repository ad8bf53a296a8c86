// The nodes of DataNodes: values, JSON and CSV.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

class DataNodesTest : public TaskFixture {
 protected:
  OrvWorkFlow::Sdk::NodeBench& Node(const std::string& type) {
    Make("DataNodes", type);
    MapFailed();
    return *bench_;
  }
  // The result, or the problem.
  std::string Computed(const std::string& expression) {
    bench_->SetParameter("Expression", expression);
    return Do("compute") == Signals{"computed"} ? Said("Result") : Problem();
  }
  std::string WrittenJson() {
    Node("JsonWriter").SetParameter("File", File("out.json"));
    bench_->SetParameter("Indent", 0);
    return Do("write") == Signals{"written"} ? Read("out.json") : Problem();
  }
  // The rows of the text, read and written again.
  std::string RoundTrip(const std::string& csv) {
    Write("in.csv", csv);
    Node("CsvReader").SetParameter("File", File("in.csv"));
    if (Do("read") != Signals{"read"}) return Problem();
    const std::string state = bench_->SaveState();
    Node("CsvWriter");
    bench_->Kill(state);
    bench_->SetParameter("File", File("out.csv"));
    return Do("write") == Signals{"written"} ? Read("out.csv") : Problem();
  }
};

TEST_F(DataNodesTest, ExpressionsAreComputed) {
  Node("ValueComputer").Set("/Jobs/Count", 7);
  bench_->Set("/Jobs/Name", "seven");
  bench_->Set("/Jobs/Text", "12");
  bench_->Set("/Jobs/Done", true);
  EXPECT_EQ(Computed("1 + 2 * 3"), "7");
  EXPECT_EQ(bench_->TextAt("/Result"), "7");
  EXPECT_EQ(Computed("(1 + 2) * -3"), "-9");
  EXPECT_EQ(Computed("/Jobs/Count / 2"), "3");
  EXPECT_EQ(Computed("-7 / 2"), "-3");
  EXPECT_EQ(Computed("-7 % 4"), "-3");
  EXPECT_EQ(Computed("7.0 / 2"), "3.5");
  EXPECT_EQ(Computed("/Jobs/Text + 1"), "13");
  EXPECT_EQ(Computed("'it''s ' & /Jobs/Name"), "it's seven");
}

TEST_F(DataNodesTest, ComparisonsAndTexts) {
  Node("ValueComputer").Set("/A", "10");
  bench_->Set("/B", true);
  EXPECT_EQ(Computed("'a' & (1 + 1)"), "a2");
  EXPECT_EQ(Computed("/A >= 9"), "yes");
  EXPECT_EQ(Computed("/A < '9'"), "yes") << "two texts compare as texts";
  EXPECT_EQ(Computed("'a' != 'b'"), "yes");
  EXPECT_EQ(Computed("/B = (1 = 1)"), "yes");
  EXPECT_EQ(Computed("'a' < 1"), "'a' < 1 compares what does not compare");
  EXPECT_EQ(Computed("/B < /B"), "yes < yes compares what does not compare");
  EXPECT_EQ(Computed("9007199254740993 = 9007199254740992"), "no") << "whole numbers compare as such";
}

TEST_F(DataNodesTest, WhatCannotBeComputedIsAFailureThatSaysWhy) {
  Node("ValueComputer");
  EXPECT_EQ(Computed("1 / 0"), "1 / 0 divides by zero");
  EXPECT_EQ(Computed("1 % 0"), "1 % 0 divides by zero");
  EXPECT_EQ(Computed("1.5 / 0"), "1.5 / 0 divides by zero");
  EXPECT_EQ(Computed("9223372036854775807 + 1"), "9223372036854775807 + 1 overflows");
  EXPECT_EQ(Computed("(-9223372036854775807 - 1) / -1"), "-9223372036854775808 / -1 overflows");
  EXPECT_EQ(Computed("(-9223372036854775807 - 1) % -1"), "0");
  EXPECT_EQ(Computed("/None"), "there is no value at /None");
  EXPECT_EQ(Computed(""), "the expression has no value at character 1");
  EXPECT_EQ(Computed("1 +"), "the expression has no value at character 4");
  EXPECT_EQ(Computed("1 2"), "the expression has something that does not belong there at character 3");
  EXPECT_EQ(Computed("'a"), "the expression has a text without its end at character 3");
  EXPECT_EQ(Computed("(1"), "the expression has no ) where one has to be at character 3");
  EXPECT_THAT(Computed(std::string(5000, '(')), HasSubstr("too many levels"));
  EXPECT_THAT(Computed(std::string(5000, '-') + "1"), HasSubstr("too many levels"));
  EXPECT_EQ(Computed("99999999999999999999"), "the expression has a number that is too large at character 21");
}

TEST_F(DataNodesTest, EntriesAreSetCopiedAndRemoved) {
  Node("ValueSetter").SetParameter("Entry", "/Jobs/Count");
  bench_->SetParameter("Value", "12");
  bench_->SetParameter("Type", "int");
  EXPECT_EQ(Do("set"), Signals{"done"});
  EXPECT_EQ(bench_->dictionary().GetValueType("/Jobs/Count"), OrvWorkFlow::ValueType::Integer);
  bench_->SetParameter("Value", "twelve");
  EXPECT_EQ(Do("set"), Signals{"failed"});
  EXPECT_EQ(Problem(), "the entry \"/Jobs/Count\" of type int does not take \"twelve\"");
  SetListParameter("Value", {"1", "2"});
  bench_->SetParameter("Type", "intlist");
  EXPECT_EQ(Do("set"), Signals{"done"});
  EXPECT_EQ(bench_->TextAt("/Jobs/Count"), "1,2");
  bench_->SetParameter("Entry", "/Copy");
  bench_->SetParameter("From", "/Jobs");
  EXPECT_EQ(Do("copy"), Signals{"done"});
  EXPECT_EQ(bench_->TextAt("/Copy/Count"), "1,2");
  EXPECT_EQ(Do("remove"), Signals{"done"});
  EXPECT_FALSE(bench_->dictionary().Exists("/Copy"));
  bench_->SetParameter("From", "/Nothing");
  EXPECT_EQ(Do("copy"), Signals{"failed"});
  EXPECT_EQ(Problem(), "there is no entry \"/Nothing\"");
  bench_->SetParameter("Entry", "/");
  EXPECT_EQ(Do("remove"), Signals{"failed"}) << "not the whole workflow";
}

TEST_F(DataNodesTest, JsonComesBackAsItWas) {
  const std::string json =
      "{\"name\":\"a \\\"b\\\" \xC3\xA4\",\"list\":[1,2],\"texts\":[\"x\",\"\"],\"mixed\":[1,\"x\",null,{\"a\":1.5}],"
      "\"large\":12345678901,\"exact\":0.1234567890123,\"half\":0.5,\"no\":false,\"nothing\":null,\"empty\":{},"
      "\"none\":[],\"deep\":{\"a\":{\"b\":[[1],[2]]}}}\n";
  Write("in.json", json);
  Node("JsonReader").SetParameter("File", File("in.json"));
  EXPECT_EQ(Do("read"), Signals{"read"}) << Problem();
  EXPECT_EQ(bench_->TextAt("/Data/list"), "1,2");
  EXPECT_EQ(bench_->TextAt("/Data/large"), "12345678901");
  EXPECT_EQ(bench_->TextAt("/Data/mixed/i4/a"), "1.500000");
  const std::string state = bench_->SaveState();
  Node("JsonWriter");
  bench_->Kill(state);
  bench_->SetParameter("File", File("out.json"));
  bench_->SetParameter("Indent", 0);
  EXPECT_EQ(Do("write"), Signals{"written"}) << Problem();
  EXPECT_EQ(Read("out.json"), json);
}

TEST_F(DataNodesTest, BadJsonLeavesTheEntryAlone) {
  Node("JsonReader").SetParameter("File", File("in.json"));
  bench_->Set("/Data/Kept", 1);
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_EQ(Problem(), "cannot read " + File("in.json") + ": no such file");
  Write("in.json", "{\"a\":1,}");
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("in.json: this is no JSON: parse error at line 1, column 8"));
  Write("in.json", "{\"a b\":1}");
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("no entry can have the name \"a b\""));
  Write("in.json", std::string(100000, '[') + std::string(100000, ']'));
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("more than 500 levels"));
  Write("in.json", std::string("\"\xFF\""));
  EXPECT_EQ(Do("read"), Signals{"failed"});
  bench_->SetParameter("MostBytes", 2);
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("is too large: 3 bytes; MostBytes is 2"));
  EXPECT_EQ(bench_->TextAt("/Data/Kept"), "1");
}

TEST_F(DataNodesTest, WhatJsonCannotSayIsRefused) {
  EXPECT_EQ(WrittenJson(), "there is no entry /Data");
  Node("JsonWriter").SetParameter("File", File("out.json"));
  bench_->Set("/Data/A", 1);
  bench_->Set("/Data/A/B", 1);
  EXPECT_EQ(Do("write"), Signals{"failed"});
  EXPECT_EQ(Problem(), "/Data/A: JSON has no place for a value with entries below it");
  bench_->dictionary().Delete("/Data/A/B");
  bench_->dictionary().SetValue("/Data/A", std::numeric_limits<double>::infinity());
  EXPECT_EQ(Do("write"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("is no number that JSON has"));
}

// What Python's csv module makes of the same texts.
TEST_F(DataNodesTest, CsvIsReadAsOthersReadIt) {
  EXPECT_EQ(RoundTrip("a,b\n1,2\n"), "a,b\n1,2\n");
  EXPECT_EQ(RoundTrip("a,b\r\n1,\"x,\"\"y\"\"\"\r\n\r\n3,\"two\r\nlines\""),
            "a,b\n1,\"x,\"\"y\"\"\"\n3,\"two\r\nlines\"\n");
  EXPECT_EQ(RoundTrip("\xEF\xBB\xBF"
                      "a\n \n\"\"\nx\"y\n"),
            "a\n \n\"\"\n\"x\"\"y\"\n");
  EXPECT_EQ(RoundTrip("a,b\n,\n"), "a,b\n,\n");
}

TEST_F(DataNodesTest, RowsThatAreNoneAreSetAside) {
  Write("in.csv", "a,b\n1,2\n3\n\"x\"y,4\n5,6\n7,\"open\n");
  Node("CsvReader").SetParameter("File", File("in.csv"));
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_EQ(Problem(), File("in.csv") + ": line 3: 1 fields instead of 2 (Rejects sets such rows aside)");
  EXPECT_FALSE(bench_->dictionary().Exists("/Rows"));
  bench_->SetParameter("Rejects", File("rejects.csv"));
  EXPECT_EQ(Do("read"), Signals{"read"});
  EXPECT_EQ(Said("Rows"), "2");
  EXPECT_EQ(Said("Rejected"), "3");
  EXPECT_EQ(bench_->TextAt("/Rows/r2/b"), "6");
  EXPECT_EQ(Read("rejects.csv"),
            "3,1 fields instead of 2,3\n4,there is text behind a closing quote,\"\"\"x\"\"y,4\"\n"
            "6,a quote is not closed,\"7,\"\"open\n\"\n");
}

TEST_F(DataNodesTest, CsvThatFitsNowhereFails) {
  Node("CsvReader").SetParameter("File", File("in.csv"));
  Write("in.csv", "a/b\n1\n");
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("no entry can have the name \"a/b\""));
  Write("in.csv", "a\n\"" + std::string(2 << 20, 'x'));
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("the row that begins in line 2 is larger than 1 MiB"));
  Write("in.csv", "a\n1\n2\n");
  bench_->SetParameter("Most", 1);
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("there are more than 1 rows"));
  bench_->SetParameter("Separator", "::");
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_EQ(Problem(), "\"::\" is no separator: it is one character, or tab");
}

// A record says of a task that has just ended that it goes on, when the process died at that moment.
TEST_F(DataNodesTest, ATaskThatHasEndedIsNotResumed) {
  Node("ValueSetter").SetParameter("Entry", "/Some/Entry");
  SetListParameter("Value", {"text"});
  EXPECT_EQ(Do("set"), Signals{"done"});
  for (int i = 0; i < 20; ++i) {
    bench_->Kill();
    EXPECT_TRUE(bench_->Signal("resume"));
    EXPECT_EQ(Do("set"), Signals{"done"}) << "it is not at work when the next one comes";
  }
}

TEST_F(DataNodesTest, AStopIsNotKeptWaitingByAJsonFile) {
  std::string json = "[[],null,[1,2],12345678901";
  for (int i = 5; i <= 50000; ++i) json += ",{\"a\":" + std::to_string(i) + ",\"b\":\"text\"}";
  Write("large.json", json + "]");
  Node("JsonReader").SetParameter("File", File("large.json"));
  bench_->Set("/Data/Old", 1);
  bench_->Signal("read");
  WaitUntil([&] { return bench_->dictionary().Exists("/JsonReader/Bench/Coming/i1000"); });
  EXPECT_EQ(bench_->TextAt("/Data/Old"), "1");
  EXPECT_EQ(bench_->Stop(), "resume");
  EXPECT_TRUE(bench_->dictionary().Exists("/JsonReader/Bench/Coming/i1000")) << "it goes on there";
  EXPECT_EQ(DoInPieces("resume", std::chrono::milliseconds(700)), Signals{"read"}) << Problem();
  EXPECT_FALSE(bench_->dictionary().Exists("/JsonReader/Bench/Coming"));
  EXPECT_FALSE(bench_->dictionary().Exists("/JsonReader/Bench/Progress"));
  EXPECT_FALSE(bench_->dictionary().Exists("/Data/Old"));
  const std::string state = bench_->SaveState();
  Node("JsonWriter");
  bench_->Kill(state);
  bench_->SetParameter("File", File("out.json"));
  bench_->SetParameter("Indent", 0);
  EXPECT_EQ(Do("write"), Signals{"written"}) << Problem();
  EXPECT_TRUE(Read("out.json") == json + "]\n");
}

std::string ManyRows(int count) {
  std::string csv = "a,b\n";
  for (int i = 1; i <= count; ++i) csv += std::to_string(i) + (i % 10000 == 0 ? "\n" : ",a text of some length\n");
  return csv;
}

TEST_F(DataNodesTest, AStopIsNotKeptWaitingByACsvFile) {
  Write("large.csv", ManyRows(150000));
  Node("CsvReader").SetParameter("File", File("large.csv"));
  bench_->SetParameter("Rejects", File("rejects.csv"));
  bench_->SetParameter("Most", 1000000);
  bench_->Set("/Rows/Old", 1);
  bench_->Signal("read");
  WaitUntil([&] { return bench_->dictionary().Exists("/CsvReader/Bench/Coming/r20000"); });
  EXPECT_EQ(bench_->TextAt("/Rows/Old"), "1");
  EXPECT_EQ(bench_->Stop(), "resume");
  EXPECT_EQ(DoInPieces("resume", std::chrono::milliseconds(150)), Signals{"read"}) << Problem();
  EXPECT_EQ(Said("Rows"), "149985");
  EXPECT_EQ(Said("Rejected"), "15");
  EXPECT_FALSE(bench_->dictionary().Exists("/Rows/Old"));
  EXPECT_EQ(bench_->TextAt("/Rows/r1/a"), "1");
  EXPECT_EQ(bench_->TextAt("/Rows/r10000/a"), "10001");
  EXPECT_EQ(bench_->TextAt("/Rows/r149985/a"), "149999");
  EXPECT_FALSE(bench_->dictionary().Exists("/CsvReader/Bench/Coming"));
  EXPECT_FALSE(bench_->dictionary().Exists("/CsvReader/Bench/Progress"));
  std::string rejects;
  for (int i = 10000; i <= 150000; i += 10000) {
    rejects += std::to_string(i + 1) + ",1 fields instead of 2," + std::to_string(i) + "\n";
  }
  EXPECT_EQ(Read("rejects.csv"), rejects);
}

TEST_F(DataNodesTest, ACsvFileThatHasChangedIsReadAnew) {
  Write("large.csv", ManyRows(150000));
  Node("CsvReader").SetParameter("File", File("large.csv"));
  bench_->SetParameter("Rejects", File("rejects.csv"));
  bench_->SetParameter("Most", 1000000);
  bench_->Signal("read");
  WaitUntil([&] { return bench_->dictionary().Exists("/CsvReader/Bench/Coming/r20000"); });
  EXPECT_EQ(bench_->Stop(), "resume");
  Write("large.csv", "a,b\nnew,rows\n");
  EXPECT_EQ(Do("resume"), Signals{"read"}) << Problem();
  EXPECT_EQ(Said("Rows"), "1");
  EXPECT_EQ(bench_->TextAt("/Rows/r1/a"), "new");
  EXPECT_FALSE(bench_->dictionary().Exists("/Rows/r2"));
  EXPECT_FALSE(Exists("rejects.csv"));
}

TEST_F(DataNodesTest, TheWorkflowItselfIsNotReplaced) {
  const std::string parameters = "/WorkFlowEngine/WorkNodes/ValueSetter/Instances/Bench/Parameters";
  Node("ValueSetter").SetParameter("From", "/Jobs");
  bench_->Set("/Jobs/Count", 1);
  for (const std::string entry : {"/WorkFlowEngine", "//WorkFlowEngine/", "/WorkFlowEngine/WorkNodes",
                                  "/WorkFlowEngine/WorkNodes/ValueSetter/Instances/Bench"}) {
    bench_->SetParameter("Entry", entry);
    for (const char* task : {"remove", "copy"}) {
      EXPECT_EQ(Do(task), Signals{"failed"}) << entry;
      EXPECT_EQ(Problem(), "the entry \"" + entry +
                               "\" belongs to the workflow itself: only parameters of instances can be replaced there");
    }
  }
  EXPECT_EQ(bench_->TextAt(parameters + "/From"), "/Jobs");
  bench_->SetParameter("Entry", parameters + "/From");
  EXPECT_EQ(Do("remove"), Signals{"done"});
  EXPECT_FALSE(bench_->dictionary().Exists((parameters + "/From").c_str()));
}

TEST_F(DataNodesTest, NorByWhatIsRead) {
  Write("in.csv", "a\n1\n");
  Write("in.json", "{}");
  for (const char* type : {"CsvReader", "JsonReader"}) {
    Node(type).SetParameter("File", File(type == std::string("CsvReader") ? "in.csv" : "in.json"));
    bench_->SetParameter("Into", "/WorkFlowEngine");
    EXPECT_EQ(Do("read"), Signals{"failed"});
    EXPECT_THAT(Problem(), HasSubstr("belongs to the workflow itself"));
    bench_->SetParameter("Into", "/");
    EXPECT_EQ(Do("read"), Signals{"failed"});
    EXPECT_EQ(Problem(), "no entry is given: the root is the whole workflow");
  }
}

}  // namespace
}  // namespace orv_test
