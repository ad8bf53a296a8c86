// orvflow format: the canonical form of dictionary files.
#include <filesystem>
#include <regex>

#include "orvflow/document/DocumentFile.h"
#include "tests/program/support/ProgramFixture.h"
#include "tests/program/support/RandomDictionary.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using OrvWorkFlow::Program::CanonicalText;
using OrvWorkFlow::Program::Document;
using OrvWorkFlow::Program::DocumentFiles;
using ::testing::HasSubstr;

constexpr char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n\n";
constexpr char kRoot[] = "<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\">\n";

class FormatTest : public ProgramFixture {
 protected:
  std::string Write(const std::string& name, const std::string& text) const {
    WriteFile(File(name), text);
    return File(name);
  }
  // The lines below the root of a canonical file with this below its root.
  static std::string Formatted(const std::string& inner) {
    const ProcessResult result =
        Run({"format", "-"}, "<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\">" + inner + "</IDictionaryRoot>");
    EXPECT_EQ(result.exit_code, 0) << result.error;
    EXPECT_EQ(result.error, "");
    const std::string begin = std::string(kHead) + kRoot;
    const std::string end = "</IDictionaryRoot>\n";
    const std::string& text = result.raw_output;
    EXPECT_TRUE(text.starts_with(begin) && text.ends_with(end)) << text;
    return text.substr(begin.size(), text.size() - begin.size() - end.size());
  }
};

std::vector<std::string> RemarksIn(const std::string& text) {
  static const std::regex kRemark("remark [0-9]+\\.");
  std::vector<std::string> remarks;
  for (std::sregex_iterator at(text.begin(), text.end(), kRemark), end; at != end; ++at) remarks.push_back(at->str());
  std::sort(remarks.begin(), remarks.end());
  return remarks;
}

TEST_F(FormatTest, EveryRandomDictionaryKeepsAllThatItHolds) {
  const DocumentFiles library("");
  for (unsigned seed = 0; seed < 120; ++seed) {
    SCOPED_TRACE(seed);
    RandomDictionary random(seed);
    const Entry root = random.Make();
    int remarks = 0;
    const std::string text = random.Spell(root, &remarks);
    const std::string canonical = CanonicalText(Document::Read(text, "x"));
    ASSERT_TRUE(library.HoldSame(text, canonical)) << text << "\n--\n" << canonical;
    ASSERT_EQ(CanonicalText(Document::Read(canonical, "x")), canonical);
    ASSERT_EQ(static_cast<int>(RemarksIn(canonical).size()), remarks);
    ASSERT_EQ(RemarksIn(canonical), RemarksIn(text)) << canonical;
  }
}

TEST_F(FormatTest, OneDictionaryHasOneForm) {
  const DocumentFiles library("");
  for (unsigned seed = 0; seed < 40; ++seed) {
    SCOPED_TRACE(seed);
    RandomDictionary random(seed);
    const Entry root = random.Make();
    const std::string plain = RandomDictionary::SpellPlainly(root);
    const std::string canonical = CanonicalText(Document::Read(plain, "x"));
    ASSERT_TRUE(library.HoldSame(plain, canonical)) << canonical;
    for (int i = 0; i < 3; ++i) {
      ASSERT_EQ(CanonicalText(Document::Read(random.Spell(root, nullptr), "x")), canonical);
    }
  }
}

TEST_F(FormatTest, WritesOneEntryALine) {
  EXPECT_EQ(Formatted("<A z='1'\n __type=\"int\">5</A><B><C/></B><T __type=\"str\"> a\nb\r </T>"),
            "\t<A __type=\"int\" z=\"1\">5</A>\n\t<B>\n\t\t<C></C>\n\t</B>\n\t<T __type=\"str\"> a&#10;b&#13; </T>\n");
}

TEST_F(FormatTest, ListItemsStandInTheOrderOfTheirNumbers) {
  EXPECT_EQ(
      Formatted("<L __type='intlist'><__ListEntries><__item10>x</__item10><__item1>1</__item1><__item0>0</__item0>"
                "</__ListEntries></L>"),
      "\t<L __type=\"intlist\">\n\t\t<__ListEntries>\n\t\t\t<__item0>0</__item0>\n\t\t\t<__item1>1</__item1>\n"
      "\t\t\t<__item10>x</__item10>\n\t\t</__ListEntries>\n\t</L>\n");
}

TEST_F(FormatTest, CommentsStayWhereTheyBelong) {
  EXPECT_EQ(
      Formatted("<!-- of A --><A/> <!-- behind A -->\n<!-- of B -->\n\n<B>x<!-- in B --></B><C><!-- in C --></C>\n"
                "<!-- last -->"),
      "\t<!-- of A -->\n\t<A></A> <!-- behind A -->\n\t<!-- of B -->\n\t<!-- in B -->\n\t<B>x</B>\n\t<C>\n"
      "\t\t<!-- in C -->\n\t</C>\n\t<!-- last -->\n");
  const ProcessResult around =
      Run({"format", "-"}, "<?xml version='1.0'?><!-- one --><!-- two --><IDictionaryRoot/><!-- three -->");
  EXPECT_EQ(around.raw_output,
            std::string(kHead) + "<!-- one -->\n<!-- two -->\n<IDictionaryRoot></IDictionaryRoot>\n<!-- three -->\n");
}

// Blanks before the first child of such an entry would be part of its value.
TEST_F(FormatTest, AValueWithEntriesBelowItGetsNoBlanks) {
  EXPECT_EQ(Formatted("<S __type=\"str\">v<!-- c --><K/></S>"), "\t<S __type=\"str\">v<!-- c --><K></K>\n\t</S>\n");
}

TEST_F(FormatTest, OddAttributesStayAsTheyAre) {
  EXPECT_EQ(Formatted("<A x&#47;> t </A><B &#32;>y</B><C k='5\"' j='\"'>z</C>"),
            "\t<A x&#47;> t </A>\n\t<B &#32;>y</B>\n\t<C j='\"' k='5\"'>z</C>\n");
}

TEST_F(FormatTest, FilesAreReplacedAndThenLeftAlone) {
  const std::string one = Write("one.xml", "<IDictionaryRoot><A/></IDictionaryRoot>");
  const std::string two = Write("two.xml", "<IDictionaryRoot><B/></IDictionaryRoot>");
  const ProcessResult before = Run({"format", "--check", one, two});
  EXPECT_EQ(before.exit_code, 1);
  EXPECT_EQ(before.output, one + ":1: not in canonical form; orvflow format " + one + " mends it\n" + two +
                               ":1: not in canonical form; orvflow format " + two + " mends it\n");
  EXPECT_EQ(ReadFile(one), "<IDictionaryRoot><A/></IDictionaryRoot>");
  EXPECT_EQ(Run({"format", one, two}).output, "");
  EXPECT_EQ(ReadFile(one), std::string(kHead) + "<IDictionaryRoot>\n\t<A></A>\n</IDictionaryRoot>\n");
  const auto written = std::filesystem::last_write_time(one);
  EXPECT_EQ(Run({"format", "--canonical", one, two}).exit_code, 0);
  EXPECT_EQ(std::filesystem::last_write_time(one), written);
  EXPECT_EQ(Run({"format", "--check", one, two}).exit_code, 0);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path()), {}), 2);
}

TEST_F(FormatTest, CheckNamesTheFirstOddLineAndTakesWindowsLineEnds) {
  std::string text = std::string(kHead) + kRoot + "\t<A></A>\n  <B></B>\n</IDictionaryRoot>\n";
  const std::string file = Write("f.xml", text);
  EXPECT_EQ(Run({"format", "--check", file}).output.rfind(file + ":5: ", 0), 0U);
  text.replace(text.find("  <B"), 2, "\t");
  for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2)) text.insert(at, "\r");
  WriteFile(file, text);
  EXPECT_EQ(Run({"format", "--check", file}).exit_code, 0);
  EXPECT_EQ(Run({"format", file}).exit_code, 0);
  EXPECT_EQ(ReadFile(file), text);
}

TEST_F(FormatTest, EncipheredFilesStayEnciphered) {
  WriteFile(File("key"), "a key\n");
  const std::string plain = "<IDictionaryRoot><!-- c --><A __type=\"str\">secret</A></IDictionaryRoot>";
  const std::string file = Write("f.xml", Run({"encrypt", "--key-file", File("key")}, plain).raw_output);
  EXPECT_EQ(Run({"format", "--check", "--key-file", File("key"), file}).exit_code, 1);
  EXPECT_EQ(Run({"format", "--key-file", File("key"), file}).exit_code, 0);
  EXPECT_EQ(ReadFile(file).find('<'), std::string::npos);
  EXPECT_EQ(
      Run({"decrypt", "--key-file", File("key")}, ReadFile(file)).raw_output,
      std::string(kHead) + "<IDictionaryRoot>\n\t<!-- c -->\n\t<A __type=\"str\">secret</A>\n</IDictionaryRoot>\n");
  const ProcessResult shown = Run({"format", "--key-file", File("key"), "-o", "-", file});
  EXPECT_THAT(shown.output, HasSubstr("secret"));
  const std::string content = ReadFile(file);
  EXPECT_EQ(Run({"format", file}).exit_code, 5);
  EXPECT_EQ(ReadFile(file), content);
}

TEST_F(FormatTest, WhatIsNoDictionaryIsSaidAndTheOthersAreDone) {
  const std::string bad = Write("bad.xml", "<IDictionaryRoot><A>");
  const std::string other = Write("other.xml", "<a><b/></a>");
  const std::string good = Write("good.xml", "<IDictionaryRoot><A/></IDictionaryRoot>");
  const ProcessResult result = Run({"format", bad, other, good});
  EXPECT_EQ(result.exit_code, 5);
  EXPECT_THAT(result.error, HasSubstr("orvflow: " + bad + ": line 1, column "));
  EXPECT_THAT(result.error, HasSubstr("orvflow: " + other + ": is no dictionary"));
  EXPECT_EQ(ReadFile(bad), "<IDictionaryRoot><A>");
  EXPECT_NE(ReadFile(good).find("\n\t<A></A>\n"), std::string::npos);
  EXPECT_EQ(Run({"format", File("missing.xml")}).exit_code, 1);
  EXPECT_EQ(Run({"format"}).exit_code, 2);
  EXPECT_EQ(Run({"format", "--check", "-o", "-", good}).exit_code, 2);
  EXPECT_EQ(Run({"format", "-", "-"}).exit_code, 2);
}

TEST_F(FormatTest, DeepFilesAreRefused) {
  std::string text = "<IDictionaryRoot>";
  for (int i = 0; i < 3000; ++i) text += "<a>";
  for (int i = 0; i < 3000; ++i) text += "</a>";
  const ProcessResult result = Run({"format", "-"}, text + "</IDictionaryRoot>");
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error, "orvflow: standard input: nests deeper than 1000 entries\n");
}

TEST_F(FormatTest, EveryExampleCanBeFormatted) {
  for (const auto& entry : std::filesystem::recursive_directory_iterator(SourceFolder() / "examples")) {
    if (entry.path().filename() != "flow.xml") continue;
    const std::string file = Write("copy.xml", ReadFile(entry.path()));
    EXPECT_EQ(Run({"format", file}).exit_code, 0) << entry.path();
    EXPECT_EQ(Run({"diff", entry.path().string(), file}).output, "");
    EXPECT_EQ(Run({"format", "--check", file}).exit_code, 0);
  }
}

}  // namespace
}  // namespace orv_test
