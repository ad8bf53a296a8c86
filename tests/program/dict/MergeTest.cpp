// orvflow merge: three-way merges of dictionary files.
#include <map>
#include <set>

#include "orvflow/document/EntryContent.h"
#include "orvflow/document/Merge.h"
#include "tests/program/support/ProgramFixture.h"
#include "tests/program/support/RandomDictionary.h"

namespace orv_test {
namespace {

using OrvWorkFlow::Program::Document;
using ::testing::HasSubstr;
namespace Program = OrvWorkFlow::Program;

// A dictionary as a map: paths, and paths with "@" and an attribute's name.
using Flat = std::map<std::string, std::string>;

void Flatten(const Document& document, Document::Id id, const std::string& path, Flat& flat) {
  const Program::EntryContent content = Program::ContentOf(document, id);
  std::string value = content.value.tag;
  for (const std::string& text : content.value.texts) value += "|" + text;
  flat[path] = value;
  for (const auto& [name, text] : content.attributes) flat[path + "@" + name] = text;
  for (const Document::Id child : Program::EntriesOf(document, id)) {
    Flatten(document, child, path + "/" + document.at(child).name, flat);
  }
}

Flat Flattened(const Document& document) {
  Flat flat;
  Flatten(document, Document::kRoot, "", flat);
  return flat;
}

std::string EntryOf(const std::string& key) { return key.substr(0, key.find('@')); }

Flat Below(const Flat& flat, const std::string& path) {
  Flat below;
  for (const auto& [key, value] : flat) {
    if (key == path || key.starts_with(path + "/") || key.starts_with(path + "@")) below[key] = value;
  }
  return below;
}

// The highest entry on the way to `path` that is missing.
std::string HighestMissing(const Flat& flat, const std::string& path) {
  for (std::size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
    if (!flat.contains(path.substr(0, end))) return path.substr(0, end);
  }
  return path;
}

// The same merge, by the maps alone.
struct Expected {
  Flat merged;
  std::set<std::string> conflicts;
};
Expected MergeMaps(const Flat& base, const Flat& ours, const Flat& theirs) {
  Expected expected;
  std::set<std::string> keys;
  for (const Flat* flat : {&base, &ours, &theirs}) {
    for (const auto& [key, value] : *flat) keys.insert(key);
  }
  const auto get = [](const Flat& flat, const std::string& key) {
    const auto found = flat.find(key);
    return found == flat.end() ? std::string("\x01") : found->second;
  };
  for (const std::string& key : keys) {
    const std::string path = EntryOf(key);
    const bool is_ours = ours.contains(path);
    const bool is_theirs = theirs.contains(path);
    if (!is_ours && !is_theirs) continue;
    std::string value = get(is_ours ? ours : theirs, key);
    if (is_ours && is_theirs) {
      const std::string in_base = get(base, key);
      const std::string other = get(theirs, key);
      if (value != other && in_base == value) {
        value = other;
      } else if (value != other && in_base != other) {
        expected.conflicts.insert(path);
      }
    } else {
      const std::string removed = HighestMissing(is_ours ? theirs : ours, path);
      if (base.contains(removed)) {
        const bool is_changed = Below(is_ours ? ours : theirs, removed) != Below(base, removed);
        if (is_changed) expected.conflicts.insert(removed);
        if (!is_ours || !is_changed) continue;
      }
    }
    if (value != "\x01") expected.merged[key] = value;
  }
  return expected;
}

TEST(MergeOracleTest, RandomMergesAreThoseOfTheMaps) {
  unsigned clean = 0;
  for (unsigned seed = 0; seed < 150; ++seed) {
    SCOPED_TRACE(seed);
    RandomDictionary random(seed);
    const Entry base = random.Make();
    Entry ours = base;
    Entry theirs = base;
    random.Change(ours, random.Below(6));
    random.Change(theirs, random.Below(6));
    int remarks = 0;
    const Document documents[] = {Document::Read(random.Spell(base, nullptr), "base"),
                                  Document::Read(random.Spell(ours, &remarks), "ours"),
                                  Document::Read(random.Spell(theirs, nullptr), "theirs")};
    const Program::MergeResult result = Program::Merge(documents[0], documents[1], documents[2]);
    const Expected expected = MergeMaps(Flattened(documents[0]), Flattened(documents[1]), Flattened(documents[2]));
    std::set<std::string> conflicts;
    for (const auto& conflict : result.conflicts) conflicts.insert(conflict.path);
    ASSERT_EQ(conflicts, expected.conflicts);
    ASSERT_EQ(Flattened(result.document), expected.merged);
    // With its comments, those about conflicts too, the text is read back as what it was written from.
    const std::string text = Program::CanonicalText(result.document);
    ASSERT_EQ(Flattened(Document::Read(text, "merged")), expected.merged) << text;
    ASSERT_EQ(Program::CanonicalText(Document::Read(text, "merged")), text);
    clean += conflicts.empty() ? 1U : 0U;
  }
  EXPECT_GT(clean, 20U);
  EXPECT_LT(clean, 130U);
}

class MergeTest : public ProgramFixture {
 protected:
  std::string Write(const std::string& name, const std::string& inner) const {
    WriteFile(File(name), "<IDictionaryRoot>" + inner + "</IDictionaryRoot>");
    return File(name);
  }
  ProcessResult Merge(const std::string& base, const std::string& ours, const std::string& theirs,
                      const Arguments& more = {}) const {
    Arguments arguments = {"merge", Write("base.xml", base), Write("ours.xml", ours), Write("theirs.xml", theirs)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  // What is below the root of OURS now.
  std::string Merged() const {
    const std::string text = ReadFile(File("ours.xml"));
    const std::size_t begin = text.find("<IDictionaryRoot>\n") + 18;
    return text.substr(begin, text.rfind("</IDictionaryRoot>") - begin);
  }
};

TEST_F(MergeTest, WhatDoesNotConflictIsMergedIntoOurs) {
  const ProcessResult result = Merge("<!-- a --><A __type='int'>1</A><B __type='int'>1</B><C/><D/>",
                                     "<!-- a --><A __type='int'>2</A><B __type='int'>1</B><C/><E/>",
                                     "<!-- new --><A __type='int'>1</A><N/><!-- b --><B __type='int' k='v'>3</B><D/>");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output + result.error, "");
  EXPECT_EQ(Merged(),
            "\t<!-- new -->\n\t<A __type=\"int\">2</A>\n\t<N></N>\n\t<!-- b -->\n\t<B __type=\"int\" k=\"v\">3</B>\n"
            "\t<E></E>\n");
}

TEST_F(MergeTest, AConflictLeavesOursAndAReadableFile) {
  const ProcessResult result = Merge("<M><A __type='str'>1</A><R/></M>", "<M><A __type='str'>2</A></M>",
                                     "<M><A __type='str'>x--&gt;y</A><R><n/></R></M>", {"--name", "flow.xml"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error,
            "orvflow: flow.xml: /M/A: conflict: base: str \"1\"; ours: str \"2\"; theirs: str \"x-->y\"\n"
            "orvflow: flow.xml: /M/R: conflict: base: no value; ours: removed; theirs: changed, itself or below it\n");
  EXPECT_EQ(Merged(),
            "\t<M>\n"
            "\t\t<!-- CONFLICT /M/A: ours is below\n"
            "     base:   <A __type=\"str\">1</A>\n"
            "     theirs: <A __type=\"str\">x-&#45;&gt;y</A> -->\n"
            "\t\t<A __type=\"str\">2</A>\n"
            "\t\t<!-- CONFLICT /M/R: ours has removed it\n"
            "     base:   <R></R>\n"
            "     theirs: <R>\n             \t<n></n>\n             </R> -->\n"
            "\t</M>\n");
  EXPECT_EQ(Run({"dict", "get", File("ours.xml"), "/M/A"}).output, "2\n");
  const ProcessResult check = Run({"format", "--check", File("ours.xml")});
  EXPECT_EQ(check.exit_code, 1);
  EXPECT_EQ(check.output,
            File("ours.xml") + ":5: a conflict that a merge has left; decide it and take the comment away\n");
}

TEST_F(MergeTest, AListIsOneValue) {
  const auto list = [](const std::string& items) {
    return "<L __type='strlist'><__ListEntries>" + items + "</__ListEntries></L>";
  };
  const std::string one = "<__item0>a</__item0>";
  EXPECT_EQ(Merge(list(one), list(one), list(one + "<__item1>b</__item1>")).exit_code, 0);
  EXPECT_EQ(Run({"dict", "get", File("ours.xml"), "/L"}).output, "a\nb\n");
  EXPECT_EQ(Merge(list(one), list(one + "<__item1>c</__item1>"), list(one + "<__item1>b</__item1>")).exit_code, 1);
  EXPECT_EQ(Run({"dict", "get", File("ours.xml"), "/L"}).output, "a\nc\n");
}

TEST_F(MergeTest, TheOrderIsThatOfTheSideThatChangedIt) {
  EXPECT_EQ(Merge("<a/><b/><c/>", "<a/><b/><c/><o/>", "<c/><t/><b/><a/>").exit_code, 0);
  EXPECT_EQ(Merged(), "\t<c></c>\n\t<o></o>\n\t<t></t>\n\t<b></b>\n\t<a></a>\n");
  const ProcessResult both = Merge("<M><a/><b/><c/></M>", "<M><b/><a/><c/></M>", "<M><a/><c/><b/></M>");
  EXPECT_EQ(both.exit_code, 1);
  EXPECT_EQ(both.error, "orvflow: " + File("ours.xml") +
                            ": /M: conflict: base: order a b c; ours: order b a c; theirs: order a c b\n");
  EXPECT_THAT(Merged(), HasSubstr("<b></b>\n\t\t<a></a>\n\t\t<c></c>"));
}

TEST_F(MergeTest, CommentsOfBothSidesStay) {
  EXPECT_EQ(Merge("<!-- base --><A/>", "<!-- base --><!-- ours --><A/>", "<!-- theirs --><A/>").exit_code, 0);
  EXPECT_EQ(Merged(), "\t<!-- base -->\n\t<!-- ours -->\n\t<!-- theirs -->\n\t<A></A>\n");
}

TEST_F(MergeTest, AnEmptyBaseIsAnEmptyDictionary) {
  const std::string ours = Write("ours.xml", "<A/>");
  const std::string theirs = Write("theirs.xml", "<B/>");
  WriteFile(File("base.xml"), "");
  EXPECT_EQ(Run({"merge", File("base.xml"), ours, theirs}).exit_code, 0);
  EXPECT_EQ(Merged(), "\t<A></A>\n\t<B></B>\n");
}

TEST_F(MergeTest, TroubleLeavesOursAsItWas) {
  WriteFile(File("bad.xml"), "<<<<<<< ours\n");
  const std::string good = Write("good.xml", "<A/>");
  const std::string text = ReadFile(good);
  EXPECT_EQ(Run({"merge", good, good, File("bad.xml")}).exit_code, 5);
  EXPECT_EQ(Run({"merge", File("missing.xml"), good, good}).exit_code, 2);
  EXPECT_EQ(Run({"merge", good, good}).exit_code, 2);
  EXPECT_EQ(Run({"merge", good, good, good, good}).exit_code, 2);
  EXPECT_EQ(ReadFile(good), text);
  const ProcessResult elsewhere = Run({"merge", good, good, good, "-o", "-"});
  EXPECT_EQ(elsewhere.exit_code, 0);
  EXPECT_THAT(elsewhere.output, HasSubstr("\n\t<A></A>\n"));
  EXPECT_EQ(ReadFile(good), text);
}

TEST_F(MergeTest, EncipheredFilesStayEnciphered) {
  WriteFile(File("key"), "a key\n");
  const auto write = [&](const std::string& name, const std::string& inner) {
    WriteFile(
        File(name),
        Run({"encrypt", "--key-file", File("key")}, "<IDictionaryRoot>" + inner + "</IDictionaryRoot>").raw_output);
    return File(name);
  };
  const std::string ours = write("ours.xml", "<A/><O/>");
  EXPECT_EQ(Run({"merge", "--key-file", File("key"), write("base.xml", "<A/>"), ours, write("theirs.xml", "<A/><T/>")})
                .exit_code,
            0);
  EXPECT_EQ(ReadFile(ours).find('<'), std::string::npos);
  EXPECT_EQ(Run({"dict", "list", "--key-file", File("key"), ours}).output, "A\nT\nO\n");
}

}  // namespace
}  // namespace orv_test
