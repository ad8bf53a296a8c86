// The words that texts of nodes take, as the program knows them: in a check, before and in a run, in what it says of
// nodes.
#include <gmock/gmock.h>

#include <algorithm>

#include "nlohmann/json.hpp"
#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Json = nlohmann::json;

std::string Text(const std::string& name, const std::string& value) {
  return "\t\t<" + name + " __type=\"str\">" + value + "</" + name + ">\n";
}

std::string List(const std::string& name, const std::vector<std::string>& items) {
  std::string text = "\t\t<" + name + " __type=\"strlist\"><__ListEntries>";
  for (std::size_t i = 0; i < items.size(); ++i) {
    const std::string item = "__item" + std::to_string(i) + ">";
    text.append("<").append(item).append(items[i]).append("</").append(item);
  }
  return text + "</__ListEntries></" + name + ">\n";
}

class WordsTest : public ProgramFixture {
 protected:
  // A flow of one node; its parameters begin in line 8.
  std::string Write(const std::string& type, const std::string& library, const std::string& signal,
                    const std::string& parameters, const std::string& entries = "") const {
    std::string text = "<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\"><WorkFlowEngine>\n";
    text +=
        "<WorkFlowName __type=\"str\">Words</WorkFlowName><AbsorbTree><node0 "
        "__type=\"str\">Words</node0></AbsorbTree>\n";
    text += "<Mappings><StartSignal><ReceiverTypeName __type=\"str\">" + type + "</ReceiverTypeName>\n";
    text += "<ReceiverInstanceName __type=\"str\">One</ReceiverInstanceName><IncomingSignalName __type=\"str\">" +
            signal + "</IncomingSignalName></StartSignal></Mappings>\n";
    text += "<WorkNodes><" + type + "><Binaries><win32_bin __type=\"str\">" + library + "</win32_bin></Binaries>\n";
    text +=
        "\t<Instances><One><wfName __type=\"str\">Words</wfName>\n\t<Parameters>\n" + parameters + "\t</Parameters>\n";
    text += "</One></Instances></" + type + "></WorkNodes></WorkFlowEngine>\n" + entries + "</IDictionaryRoot>\n";
    WriteFile(File("flow.xml"), text);
    return File("flow.xml");
  }
  std::string WriteHasher(const std::string& kind, const std::string& entries = "") const {
    return Write("FileHasher", "FileNodes", "hash", Text("File", "$Words/flow.xml") + Text("Kind", kind), entries);
  }
  // What a check says, without the file's name.
  std::string Found() const {
    std::string found = Run({"check", File("flow.xml")}).output;
    const std::string name = File("flow.xml");
    for (std::size_t at = found.find(name); at != std::string::npos; at = found.find(name))
      found.erase(at, name.size());
    found.erase(std::remove(found.begin(), found.end(), '\r'), found.end());
    return found;
  }
};

TEST_F(WordsTest, AWrongWordIsFoundWhereItStands) {
  WriteHasher("sha265");
  EXPECT_EQ(Found(),
            ":9:3: /WorkFlowEngine/WorkNodes/FileHasher/Instances/One/Parameters/Kind: error: is \"sha265\"; it takes "
            "crc32, xxh3 or sha256; did you mean sha256?\n1 error, 0 warnings\n");
  EXPECT_EQ(Run({"check", File("flow.xml")}).exit_code, 3);
  WriteHasher("sha999");
  EXPECT_THAT(Found(), HasSubstr("is \"sha999\"; it takes crc32, xxh3 or sha256\n"));
  const ProcessResult run = Run({"run", File("flow.xml")});
  EXPECT_EQ(run.exit_code, 5) << run.error;
  EXPECT_THAT(run.error, HasSubstr("is \"sha999\"; it takes crc32, xxh3 or sha256"));
  WriteHasher("crc32");
  EXPECT_EQ(Found(), "");
}

TEST_F(WordsTest, AWordFromElsewhereIsRefusedInTheRun) {
  WriteHasher("{/Kind}", "<Kind __type=\"str\">sha999</Kind>\n");
  EXPECT_EQ(Found(), "");
  const ProcessResult run = Run({"run", File("flow.xml")});
  EXPECT_THAT(run.error,
              HasSubstr("the parameter /WorkFlowEngine/WorkNodes/FileHasher/Instances/One/Parameters/Kind is "
                        "\"sha999\"; it takes crc32, xxh3 or sha256"));
  WriteHasher("{/Kind}", "<Kind __type=\"str\">crc32</Kind>\n");
  EXPECT_EQ(Run({"run", "--fresh", File("flow.xml")}).exit_code, 0);
}

TEST_F(WordsTest, EachTextOfAListHasToBeOne) {
  const auto check = [&](const std::string& parameters) {
    Write("ChoosyPainter", "ProgramNodes", "paint", Text("Brush", "wide") + parameters);
    return Found();
  };
  EXPECT_EQ(check(List("Colours", {"red", "gren"})),
            ":9:3: /WorkFlowEngine/WorkNodes/ChoosyPainter/Instances/One/Parameters/Colours: error: holds \"gren\"; it "
            "takes red, green or blue; did you mean green?\n1 error, 0 warnings\n");
  EXPECT_THAT(check(Text("Colours", "gren")),
              HasSubstr("error: is \"gren\"; it takes red, green or blue; did you mean"));
  EXPECT_THAT(check(List("Colours", {""})), HasSubstr("error: is \"\"; it takes red, green or blue\n"));
  EXPECT_EQ(check(List("Colours", {"blue", "red"})), "");
  EXPECT_EQ(check(List("Colours", {})), "");
  EXPECT_EQ(check(List("Colours", {"{/WorkFlowEngine/WorkFlowName}"})), "");
  EXPECT_EQ(check(""), "");
}

// Its parts may stand apart, and its letters may be small or capital.
TEST_F(WordsTest, AListThatIsOneTextIsTakenTogether) {
  const auto check = [&](const std::string& paper) {
    Write("ChoosyPainter", "ProgramNodes", "paint", Text("Brush", "wide") + paper);
    return Found();
  };
  for (const std::string& paper :
       {Text("Paper", "a4"), List("Paper", {"A4"}), List("Paper", {"A", "4"}), List("Paper", {}), Text("Paper", "")}) {
    EXPECT_EQ(check(paper), "") << paper;
  }
  EXPECT_THAT(check(List("Paper", {"A", "5"})), HasSubstr("error: is \"A5\"; it takes A4 or A3; did you mean A4?\n"));
}

// Also one that was built before there were words.
TEST_F(WordsTest, ANodeThatSaysNoWordsTakesAnyText) {
  const std::string parameters =
      Text("Brush", "wide") + List("Colours", {"gren"}) + List("Paper", {"A", "5"}) + Text("Note", "+");
  Write("PlainPainter", "ProgramNodes", "paint", parameters);
  EXPECT_EQ(Found(), "");
  EXPECT_THAT(Run({"run", File("flow.xml")}).error, HasSubstr("wide+ gren A 5"));
  Write("ChoosyPainter", "ProgramNodes", "paint", parameters);
  EXPECT_THAT(Run({"run", "--force", "--fresh", File("flow.xml")}).error,
              HasSubstr("Parameters/Colours is \"gren\"; it takes red, green or blue"));
}

TEST_F(WordsTest, OnlyATextThatMayBeLeftOutIsNotAskedFor) {
  Write("ChoosyPainter", "ProgramNodes", "paint", "");
  EXPECT_THAT(Found(), HasSubstr("Parameters/Brush: warning: is not set, so it is empty: the brush"));
  EXPECT_THAT(Found(), HasSubstr("0 errors, 1 warning\n"));
  Write("PlainPainter", "ProgramNodes", "paint", "");
  EXPECT_THAT(Found(), HasSubstr("0 errors, 2 warnings\n"));
  Write("CsvReader", "DataNodes", "read", Text("File", "$Words/rows.csv"));
  EXPECT_EQ(Found(), "") << "Rejects may be left out";
}

// As it was written before there were texts that may be left out.
TEST_F(WordsTest, ATextThatWasAListIsTakenAsOne) {
  const std::string file = Text("File", "$Words/data") + Text("Kind", "crc32");
  WriteFile(File("data"), "abc");
  for (const std::string& expected : {Text("Expected", "352441C2"), List("Expected", {"352441c2"}),
                                      List("Expected", {"3524", "41c2"}), List("Expected", {}), Text("Expected", "")}) {
    Write("FileHasher", "FileNodes", "hash", file + expected);
    EXPECT_EQ(Found(), "") << expected;
    const ProcessResult run = Run({"run", "--fresh", File("flow.xml")});
    EXPECT_EQ(run.exit_code, 0) << run.error;
    EXPECT_THAT(run.error, Not(HasSubstr("not what was expected"))) << expected;
  }
  Write("FileHasher", "FileNodes", "hash", file + List("Expected", {"3524", "41c3"}));
  EXPECT_THAT(Run({"run", "--fresh", File("flow.xml")}).error, HasSubstr("is not what was expected"));
}

TEST_F(WordsTest, TheyAreInWhatIsSaidOfNodes) {
  const std::string text = Run({"inspect", "ProgramNodes"}).output;
  EXPECT_THAT(text, HasSubstr("reads  Brush    the brush (text)"));
  EXPECT_THAT(text, HasSubstr("reads  Note     what is written beside it (text, may be left out)"));
  EXPECT_THAT(text, HasSubstr("(list of texts: red, green or blue)"));
  const std::string page = Run({"inspect", "--markdown", "ProgramNodes"}).output;
  EXPECT_THAT(page,
              HasSubstr("| `Paper` | the paper | text or list of its parts: A4 or A3, in small or capital letters, "
                        "may be left out |"));
  const Json json = Json::parse(Run({"inspect", "--json", "ProgramNodes"}).output);
  const Json& types = json["libraries"][0]["types"];
  const auto choosy =
      std::find_if(types.begin(), types.end(), [](const Json& t) { return t["name"] == "ChoosyPainter"; });
  ASSERT_NE(choosy, types.end());
  const Json& rows = (*choosy)["parameters"];
  EXPECT_FALSE(rows[0].contains("words"));
  EXPECT_EQ(rows[1]["may_be_left_out"], true);
  EXPECT_EQ(rows[2]["words"], Json({"red", "green", "blue"}));
  EXPECT_FALSE(rows[2].contains("may_be_left_out"));
  EXPECT_EQ(rows[3]["type"], "list of texts");
  EXPECT_EQ(rows[3]["is_one_text"], true);
  EXPECT_EQ(rows[3]["any_case"], true);
}

TEST_F(WordsTest, TheyAreInTheSchema) {
  const std::string schema = Run({"schema", "FileNodes", "ArchiveNodes"}).output;
  EXPECT_THAT(schema, HasSubstr("<xs:enumeration value=\"crc32\"/><xs:enumeration value=\"sha256\"/>"
                                "<xs:enumeration value=\"xxh3\"/>"));
  EXPECT_THAT(schema, HasSubstr("<xs:pattern value=\"[Oo][Mm][Ii][Tt]\"/>"));
  EXPECT_THAT(schema, HasSubstr("what the name of Target ends in: zip, tar, tar.gz, "));
}

}  // namespace
}  // namespace orv_test
