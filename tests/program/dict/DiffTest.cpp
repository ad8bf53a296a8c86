// orvflow diff: in what two dictionary files differ.
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/ValueTags.h"
#include "nlohmann/json.hpp"
#include "orvflow/document/Differences.h"
#include "orvflow/files/DictionaryText.h"
#include "tests/program/support/ProgramFixture.h"
#include "tests/program/support/RandomDictionary.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using Json = nlohmann::json;
using ::testing::HasSubstr;
namespace Program = OrvWorkFlow::Program;
namespace Sdk = OrvWorkFlow::Sdk;
using OrvWorkFlow::IDictionary;
using Kind = Program::Difference::Kind;

std::string Dictionary(const std::string& inner) { return "<IDictionaryRoot>" + inner + "</IDictionaryRoot>"; }

class DiffTest : public ProgramFixture {
 protected:
  ProcessResult Diff(const std::string& a, const std::string& b, Arguments more = {}) const {
    WriteFile(File("a.xml"), Dictionary(a));
    WriteFile(File("b.xml"), Dictionary(b));
    more.insert(more.begin(), "diff");
    more.insert(more.end(), {File("a.xml"), File("b.xml")});
    return Run(more);
  }
  std::string Head() const { return "--- " + File("a.xml") + "\n+++ " + File("b.xml") + "\n"; }
};

// What the entry is to become.
void Apply(IDictionary& dictionary, const std::string& path, const Program::EntryContent& content) {
  const char* const where = path.c_str();
  const auto type = OrvWorkFlow::Base::TypeOfTag(content.value.tag);
  EXPECT_TRUE(dictionary.SetAttribute(where, "x", "")) << path;
  if (type == OrvWorkFlow::ValueType::Nil) {
    EXPECT_TRUE(dictionary.SetValue(where, ""));
    EXPECT_TRUE(dictionary.RemoveAttribute(where, "__type"));
  } else {
    const Sdk::TextListHolder texts;
    for (const std::string& text : content.value.texts) texts->Add(text.data(), text.size());
    EXPECT_TRUE(dictionary.SetValueTexts(where, type, texts.get())) << path;
    if (Program::IsList(type)) {
      // A list leaves the text of the scalar that was there; the type says what counts.
      EXPECT_EQ(dictionary.GetValueType(where), type);
    }
  }
  const Sdk::TextListHolder names;
  EXPECT_TRUE(dictionary.GetAttributeNames(where, names.get()));
  for (const std::string& name : names.Texts()) {
    if (name != "__type") dictionary.RemoveAttribute(where, name.c_str());
  }
  for (const auto& [name, value] : content.attributes) {
    EXPECT_TRUE(dictionary.SetAttribute(where, name.c_str(), value.c_str()));
  }
}

TEST_F(DiffTest, AppliedToTheFirstTheyMakeTheSecond) {
  const OrvWorkFlow::Host::WorkflowHost host;
  for (unsigned seed = 0; seed < 100; ++seed) {
    SCOPED_TRACE(seed);
    RandomDictionary random(seed);
    const Entry first = random.Make();
    Entry second = seed % 4 == 0 ? random.Make() : first;
    if (seed % 4 != 0) random.Change(second, random.Below(6));
    const std::string a = RandomDictionary::SpellPlainly(first);
    const std::string b = RandomDictionary::SpellPlainly(second);
    const auto before = host.MakeDictionary();
    const auto after = host.MakeDictionary();
    ASSERT_TRUE(before->LoadFromText(a.data(), a.size()) && after->LoadFromText(b.data(), b.size()));
    const auto differences = Program::FindDifferences(Program::Document::Read(random.Spell(first, nullptr), "a"),
                                                      Program::Document::Read(random.Spell(second, nullptr), "b"));
    for (const auto& difference : differences) {
      ASSERT_NE(difference.kind, Kind::Order);
      if (difference.kind == Kind::Removed) {
        before->Delete(difference.path.c_str());
      } else {
        Apply(*before, difference.path == "/" ? "" : difference.path, *difference.new_content);
      }
    }
    const Sdk::TextListHolder left;
    ASSERT_TRUE(before->CompareSubtrees("", after.get(), "", left.get()));
    ASSERT_EQ(left.Texts(), std::vector<std::string>()) << a << "\n" << b;
    const Sdk::TextListHolder at_first;
    ASSERT_TRUE(before->LoadFromText(a.data(), a.size()));
    ASSERT_TRUE(before->CompareSubtrees("", after.get(), "", at_first.get()));
    ASSERT_EQ(differences.empty(), at_first.Texts().empty());
  }
}

TEST_F(DiffTest, SaysWhatWasAddedRemovedAndChanged) {
  const ProcessResult result = Diff(
      "<A __type='int'>5</A><B><C __type='str'>x</C></B><L __type='strlist'><__ListEntries><__item0>p</__item0>"
      "</__ListEntries></L><T k='1'/>",
      "<A __type='str'>5</A><L __type='strlist'/><T k='2' n='3'/><N __type='Bool' m='q'>1</N>");
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.output, Head() +
                               "~ /A: int 5 -> str \"5\"\n"
                               "- /B\n"
                               "- /B/C: str \"x\"\n"
                               "~ /L: strlist [\"p\"] -> strlist []\n"
                               "~ /T: attribute k \"1\" -> \"2\"\n"
                               "~ /T: attribute n none -> \"3\"\n"
                               "+ /N: Bool 1, m=\"q\"\n"
                               "2 removed, 1 added, 3 changed\n");
}

TEST_F(DiffTest, LayoutCommentsAndSpellingsAreNoDifferences) {
  const ProcessResult result =
      Diff("<A __type='int' k='1'>5</A><B/>", "\n<!-- c -->\n<A k=\"1\"\n__type=\"Int\">5</A> <!-- d -->\n<B>\n</B>\n");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output + result.error, "");
}

TEST_F(DiffTest, TheOrderOfEntriesIsOne) {
  const ProcessResult result = Diff("<M><a/><b/><c/></M>", "<M><a/><c/><d/><b/></M>");
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.output, Head() +
                               "~ /M: order of entries: b c -> c b\n+ /M/d\n"
                               "0 removed, 1 added, 0 changed, 1 in another order\n");
}

TEST_F(DiffTest, HostileAndLongTextsFitOnALine) {
  const ProcessResult result =
      Diff("<A __type='str'>&#27;[31m\n\"</A>", "<A __type='str'>" + std::string(500, 'x') + "</A>");
  EXPECT_THAT(result.output, HasSubstr("~ /A: str \"\\x1b[31m\\n\\\"\" -> str \"xxx"));
  EXPECT_THAT(result.output, HasSubstr("..xxx"));
  EXPECT_THAT(result.output, HasSubstr("x\" (500 bytes)\n"));
  EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
}

TEST_F(DiffTest, PrintsJson) {
  const ProcessResult result = Diff("<A __type='int'>5</A><b/><c/>", "<c/><b/><N m='q'/>", {"--json"});
  EXPECT_EQ(result.exit_code, 1);
  const Json json = Json::parse(result.output);
  EXPECT_EQ(json["version"], 1);
  EXPECT_EQ(json["old"], File("a.xml"));
  EXPECT_EQ(json["differences"],
            Json::parse(R"([{"kind": "order", "path": "/", "old_order": ["b", "c"], "new_order": ["c", "b"]},
                {"kind": "removed", "path": "/A", "old": {"type": "int", "texts": ["5"], "attributes": {}}},
                {"kind": "added", "path": "/N", "new": {"type": "Nil", "texts": [], "attributes": {"m": "q"}}}])"));
  const Json schema = Json::parse(ReadFile(SourceFolder() / "docs" / "differences.schema.json"));
  EXPECT_EQ(schema["properties"]["version"]["const"], 1);
  for (const char* name : {"version", "old", "new", "differences"}) EXPECT_TRUE(schema["properties"].contains(name));
  EXPECT_TRUE(Json::parse(Diff("<A/>", "<A/>", {"--json"}).output)["differences"].empty());
}

TEST_F(DiffTest, ColoursAreAnAddition) {
  const std::string plain = Diff("<A/>", "<B/>").output;
  const std::string coloured = Diff("<A/>", "<B/>", {"--color=always"}).output;
  EXPECT_THAT(coloured, HasSubstr("\x1b[31m- /A\x1b[0m\n\x1b[32m+ /B\x1b[0m\n"));
  std::string without;
  for (std::size_t at = 0; at < coloured.size(); ++at) {
    if (coloured[at] == '\x1b') {
      at = coloured.find('m', at);
    } else {
      without += coloured[at];
    }
  }
  EXPECT_EQ(without, plain);
  EXPECT_EQ(Diff("<A/>", "<B/>", {"--color=never"}).output, plain);
  EXPECT_EQ(Diff("<A/>", "<B/>", {"--color=red"}).exit_code, 2);
}

TEST_F(DiffTest, ReadsEncipheredFilesAndStandardInput) {
  WriteFile(File("key"), "a key\n");
  WriteFile(File("e.xml"), Run({"encrypt", "--key-file", File("key")}, Dictionary("<A __type='int'>1</A>")).raw_output);
  WriteFile(File("f.xml"), Run({"encrypt", "--key-file", File("key")}, Dictionary("<A __type='int'>2</A>")).raw_output);
  const ProcessResult enciphered = Run({"diff", "--key-file", File("key"), File("e.xml"), File("f.xml")});
  EXPECT_EQ(enciphered.exit_code, 1);
  EXPECT_THAT(enciphered.output, HasSubstr("~ /A: int 1 -> int 2\n"));
  EXPECT_EQ(Run({"diff", File("e.xml"), File("f.xml")}).exit_code, 5);
  WriteFile(File("a.xml"), Dictionary("<A/>"));
  EXPECT_EQ(Run({"diff", "-", File("a.xml")}, Dictionary("<A></A>")).exit_code, 0);
}

TEST_F(DiffTest, TroubleIsNoDifference) {
  WriteFile(File("a.xml"), Dictionary("<A/>"));
  WriteFile(File("bad.xml"), "<IDictionaryRoot>");
  EXPECT_EQ(Run({"diff", File("a.xml"), File("missing.xml")}).exit_code, 2);
  EXPECT_EQ(Run({"diff", File("a.xml"), File("bad.xml")}).exit_code, 5);
  EXPECT_EQ(Run({"diff", File("a.xml")}).exit_code, 2);
  EXPECT_EQ(Run({"diff", "-", "-"}).exit_code, 2);
  EXPECT_EQ(Run({"diff", "--git", "a", "b", "c"}).exit_code, 2);
}

}  // namespace
}  // namespace orv_test
