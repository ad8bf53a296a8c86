// orvflow dict: reading and editing dictionary files.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>
#include <vector>

#include "nlohmann/json.hpp"
#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

constexpr char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n";

class DictTest : public ProgramFixture {
 protected:
  // One action on the test's file.
  ProcessResult Dict(const std::string& action, const Arguments& arguments = {}) const {
    Arguments words = {"dict", action, file_};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return Run(words);
  }
  std::string Get(const std::string& path) const { return Dict("get", {path}).output; }

  const std::string file_ = File("d.xml");
};

struct Value {
  const char* tag;
  Arguments texts;
  const char* output;  // what `get` prints
};

TEST_F(DictTest, EveryTypeIsSetAndRead) {
  const Value values[] = {
      {"str", {"a<b> & \"c\""}, "a<b> & \"c\"\n"},
      {"str", {""}, "\n"},
      {"str", {"run"}, "run\n"},  // also a verb's name
      {"UStr", {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"}, "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n"},
      {"int", {"-2147483648"}, "-2147483648\n"},
      {"dbl", {"-0.1"}, "-0.100000\n"},
      {"dbl", {"1e20"}, "100000000000000000000.000000\n"},
      {"Bool", {"true"}, "1\n"},
      {"Bool", {"0"}, "0\n"},
      {"strlist", {"b", "", "a"}, "b\n\na\n"},
      {"strlist", {}, ""},
      {"UStrLst", {"\xC3\x9C", "x"}, "\xC3\x9C\nx\n"},
      {"intlist", {"1", "-2", "3"}, "1\n-2\n3\n"},
      {"doublelist", {"0.5", "-1"}, "0.500000\n-1.000000\n"},
      {"BoolLst", {"1", "false"}, "1\n0\n"},
      {"Binary", {"AP8="}, "AP8=\n"},
  };
  for (const Value& value : values) {
    Arguments arguments = {"/a/b", value.tag};
    arguments.insert(arguments.end(), value.texts.begin(), value.texts.end());
    const ProcessResult set = Dict("set", arguments);
    EXPECT_EQ(set.exit_code, 0) << value.tag;
    EXPECT_EQ(set.output + set.error, "") << value.tag;
    EXPECT_EQ(Get("/a/b"), value.output) << value.tag;
    EXPECT_EQ(Dict("type", {"/a/b"}).output, std::string(value.tag) + "\n");
  }
}

TEST_F(DictTest, OlderTagsAreWrittenAsTheNewOnes) {
  const std::pair<const char*, const char*> tags[] = {{"Str", "str"}, {"Int", "int"}, {"IntLst", "intlist"}};
  for (const auto& [old_tag, tag] : tags) {
    EXPECT_EQ(Dict("set", {"/a", old_tag, "1"}).exit_code, 0);
    EXPECT_EQ(Dict("type", {"/a"}).output, std::string(tag) + "\n");
  }
}

TEST_F(DictTest, WordsBehindTwoDashesAreValues) {
  EXPECT_EQ(Dict("set", {"/a", "strlist", "--", "-x", "--help", "--"}).exit_code, 0);
  EXPECT_EQ(Get("/a"), "-x\n--help\n--\n");
}

TEST_F(DictTest, ListsEntriesAndPaths) {
  WriteFile(file_,
            "<IDictionaryRoot><b><c __type=\"int\">1</c></b><a __type=\"strlist\"><__ListEntries/></a>"
            "</IDictionaryRoot>");
  EXPECT_EQ(Dict("list").output, "b\na\n");
  EXPECT_EQ(Dict("list", {"/b/"}).output, "c\n");
  EXPECT_EQ(Dict("list", {"/a"}).output, "");
  EXPECT_EQ(Dict("paths").output, "/\n/b\n/b/c\n/a\n");
  EXPECT_EQ(Dict("paths", {"/b/"}).output, "/b\n/b/c\n");
}

TEST_F(DictTest, WhatIsReadIsPrintedAsJson) {
  WriteFile(file_,
            "<IDictionaryRoot><b><c __type=\"int\">1</c></b><a __type=\"strlist\"><__ListEntries><__item0>x</__item0>"
            "</__ListEntries></a></IDictionaryRoot>");
  const auto json = [&](const std::string& action, const std::string& path) {
    return nlohmann::json::parse(Dict(action, {path, "--json"}).output);
  };
  using Json = nlohmann::json;
  EXPECT_EQ(json("get", "/a"), Json::parse(R"({"version": 1, "path": "/a", "type": "strlist", "texts": ["x"]})"));
  EXPECT_EQ(json("type", "/z"), Json::parse(R"({"version": 1, "path": "/z", "type": "Nil", "exists": false})"));
  EXPECT_EQ(json("list", "/"), Json::parse(R"({"version": 1, "path": "/", "type": "Nil", "entries": ["b", "a"]})"));
  EXPECT_EQ(json("paths", "/b"),
            Json::parse(R"({"version": 1, "path": "/b", "type": "Nil", "paths": ["/b", "/b/c"]})"));
  EXPECT_EQ(Dict("remove", {"/b", "--json"}).exit_code, 2);
  EXPECT_EQ(Dict("get", {"/z", "--json"}).exit_code, 1);
}

TEST_F(DictTest, RemoveTakesAWholeSubtree) {
  Dict("set", {"/a/b", "int", "1"});
  Dict("set", {"/c", "int", "2"});
  EXPECT_EQ(Dict("remove", {"/a"}).exit_code, 0);
  EXPECT_EQ(Dict("paths").output, "/\n/c\n/IDictionaryNameValPairs\n");
  const ProcessResult again = Dict("remove", {"/a"});
  EXPECT_EQ(again.exit_code, 1);
  EXPECT_EQ(again.error, "orvflow: " + file_ + ": /a: no such entry\n");
}

TEST_F(DictTest, FormatIsTheSavedFormWithItsPairs) {
  const std::string pairs = "<IDictionaryNameValPairs><x __type=\"str\">1\n2</x></IDictionaryNameValPairs>";
  WriteFile(file_, "<IDictionaryRoot>" + pairs + "</IDictionaryRoot>");
  const std::string content = ReadFile(file_);
  const ProcessResult result = Dict("format");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.raw_output, std::string(kHead) +
                                   "<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\"><IDictionaryNameValPairs>"
                                   "\r\n\t\t<x __type=\"str\">1\n2</x>\r\n\t</IDictionaryNameValPairs>\r\n"
                                   "</IDictionaryRoot>");
  EXPECT_EQ(ReadFile(file_), content);
}

TEST_F(DictTest, StandardStreamsStandForAFile) {
  const std::string input = "<IDictionaryRoot><a __type=\"str\">x\ny</a></IDictionaryRoot>";
  EXPECT_EQ(Run({"dict", "get", "-", "/a"}, input).raw_output, "x\ny\n");
  const ProcessResult set = Run({"dict", "set", "-", "/a", "int", "5"}, input);
  EXPECT_EQ(set.raw_output, std::string(kHead) +
                                "<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\"><a __type=\"int\">5</a>\r\n"
                                "</IDictionaryRoot>");
  const ProcessResult broken = Run({"dict", "list", "-"}, "<a>");
  EXPECT_EQ(broken.exit_code, 5);
  EXPECT_EQ(broken.error.substr(0, 24), "orvflow: standard input:");
}

TEST_F(DictTest, FilesHaveTheNameThatWasGiven) {
  // Not every system's code page has both; a file of another name must not be made then.
  for (const char* name : {"\xC3\xA4 b.xml", "\xD0\xB6.xml"}) {
    const std::string file = File("") + name;
    const ProcessResult set = Run({"dict", "set", file, "/a", "int", "1"});
    if (set.exit_code == 0) {
      EXPECT_EQ(Run({"dict", "get", file, "/a"}).output, "1\n") << name;
      EXPECT_EQ(ReadFile(std::filesystem::path(std::u8string(file.begin(), file.end()))).find("<?xml"), 0U) << name;
    } else {
      EXPECT_EQ(set.error, "orvflow: " + file + ": the name holds characters that the system's code page lacks\n");
    }
  }
  for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
    EXPECT_TRUE(entry.path().filename() == std::filesystem::path(u8"\u00E4 b.xml") ||
                entry.path().filename() == std::filesystem::path(u8"\u0436.xml"))
        << entry.path();
  }
}

TEST_F(DictTest, WhatIsNotThere) {
  Dict("set", {"/a/b", "int", "1"});
  const std::tuple<const char*, const char*, const char*> cases[] = {{"get", "/x", "no such entry"},
                                                                     {"get", "/a", "no value"},
                                                                     {"get", "/a b", "no such entry"},
                                                                     {"list", "/x", "no such entry"},
                                                                     {"paths", "/x", "no such entry"}};
  for (const auto& [action, path, text] : cases) {
    const ProcessResult result = Dict(action, {path});
    EXPECT_EQ(result.exit_code, 1) << action << path;
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "orvflow: " + file_ + ": " + path + ": " + text + "\n");
  }
  EXPECT_EQ(Dict("type", {"/x"}).output, "Nil\n");
}

TEST_F(DictTest, FilesThatCannotBeRead) {
  EXPECT_EQ(Dict("get").error, "orvflow: " + file_ + ": no such file\n");
  EXPECT_EQ(Dict("remove", {"/a"}).exit_code, 1);
  EXPECT_FALSE(std::filesystem::exists(file_));
  EXPECT_EQ(Run({"dict", "list", directory_.path().string()}).exit_code, 1);
  WriteFile(file_, "<IDictionaryRoot><a>");
  for (const char* action : {"get", "format", "remove"}) {
    const ProcessResult result = Dict(action, action == std::string("remove") ? Arguments{"/a"} : Arguments{});
    EXPECT_EQ(result.exit_code, 5) << action;
    EXPECT_EQ(result.error,
              "orvflow: " + file_ + ": line 1, column 21: cut off: <a>, opened in line 1, has no end tag\n");
  }
  EXPECT_EQ(ReadFile(file_), "<IDictionaryRoot><a>");
}

TEST_F(DictTest, WrongValuesChangeNothing) {
  Dict("set", {"/a", "int", "1"});
  const std::string content = ReadFile(file_);
  const std::pair<Arguments, const char*> cases[] = {
      {{"/a", "int", "12x"}, "\"12x\" is no whole number of 32 bits"},
      {{"/a", "int", "2147483648"}, "\"2147483648\" is no whole number of 32 bits"},
      {{"/a", "int", ""}, "\"\" is no whole number of 32 bits"},
      {{"/a", "int", "1", "2"}, "one value is needed, not 2"},
      {{"/a", "str"}, "one value is needed, not 0"},
      {{"/a", "dbl", "nan"}, "\"nan\" is no number"},
      {{"/a", "dbl", "1,5"}, "\"1,5\" is no number"},
      {{"/a", "Bool", "yes"}, "\"yes\" is no truth value (1, 0, true, false)"},
      {{"/a", "Binary", "AP8"}, "\"AP8\" is no base64 text"},
      {{"/a", "str", "\x01"}, "\"\\x01\" is no UTF-8 text without control characters"},
      {{"/a", "str", "\xEF\xBF\xBF"}, "\"\xEF\xBF\xBF\" is no UTF-8 text without control characters"},
      {{"/1a", "int", "1"}, "\"1a\" cannot name an entry in a file; names begin with a letter or _"},
      {{"/b/-c", "int", "1"}, "\"-c\" cannot name an entry in a file; names begin with a letter or _"},
      {{"/a", "intlist", "1", "b"}, "\"b\" is no whole number of 32 bits"},
      {{"/a", "strlist", "b", " c"}, "\" c\" has blanks at its ends, which a list in a file does not keep"},
      {{"/a", "strlst", "1"}, "no type strlst; did you mean strlist?"},
      {{"/a", "Nil"}, "nothing can be set to Nil; remove the entry instead"},
      {{"/a b", "int", "1"}, "no path; its parts hold letters, digits, _ and - only"},
      {{"/IDictionaryNameValPairs/x", "int", "1"}, "is emptied whenever a file is saved; nothing can be kept there"},
  };
  for (const auto& [arguments, text] : cases) {
    const ProcessResult result = Dict("set", arguments);
    EXPECT_EQ(result.exit_code, 2) << text;
    EXPECT_EQ(result.error, "orvflow: " + file_ + ": " + arguments.front() + ": " + text + "\n");
    EXPECT_EQ(ReadFile(file_), content) << text;
  }
}

// Where a name stands already it may stay.
TEST_F(DictTest, ANameThatXmlDoesNotKnowIsKeptButNotMade) {
  WriteFile(file_, "<IDictionaryRoot><1 __type=\"int\">1</1></IDictionaryRoot>");
  EXPECT_EQ(Dict("set", {"/1", "int", "2"}).exit_code, 0);
  EXPECT_EQ(Get("/1"), "2\n");
  EXPECT_EQ(Dict("set", {"/1/2", "int", "2"}).exit_code, 2);
}

TEST_F(DictTest, CommentsAreNotDroppedWithoutAWord) {
  const std::string content = "<IDictionaryRoot>\n<!-- why -->\n<a __type=\"int\">1</a></IDictionaryRoot>";
  WriteFile(file_, content);
  const std::string what = "1 comment or instruction, the first in line 2";
  for (const auto& [action, arguments] :
       {std::pair<std::string, Arguments>("set", {"/a", "int", "2"}), {"remove", {"/a"}}}) {
    const ProcessResult refused = Dict(action, arguments);
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_EQ(refused.error, "orvflow: " + file_ + ": a save would drop " + what + "; --force drops them\n");
    EXPECT_EQ(ReadFile(file_), content);
  }
  const ProcessResult format = Dict("format");
  EXPECT_EQ(format.exit_code, 0);
  EXPECT_EQ(format.error, "orvflow: " + file_ + ": what is written leaves out " + what + "\n");
  EXPECT_EQ(Get("/a"), "1\n");
  EXPECT_EQ(Dict("set", {"/a", "int", "2", "--force"}).exit_code, 0);
  EXPECT_EQ(Get("/a"), "2\n");
}

TEST_F(DictTest, WhatIsDoubtfulIsSaidBeforeItIsSaved) {
  WriteFile(file_, "<IDictionaryRoot><a>\n</b></IDictionaryRoot>");
  const ProcessResult set = Dict("set", {"/c", "int", "1"});
  EXPECT_EQ(set.exit_code, 0);
  EXPECT_EQ(set.error, "orvflow: " + file_ + ": line 2, column 1: the end tag </b> closes <a>, opened in line 1\n");
  EXPECT_EQ(Dict("set", {"/c", "int", "2"}).error, "");
}

TEST_F(DictTest, TheRootIsRemovedByForceOnly) {
  Dict("set", {"/a", "int", "1"});
  const std::string content = ReadFile(file_);
  for (const char* root : {"/", "", "//"}) {
    const ProcessResult refused = Dict("remove", {root});
    EXPECT_EQ(refused.exit_code, 2) << root;
    EXPECT_NE(refused.error.find("--force"), std::string::npos) << refused.error;
    EXPECT_EQ(ReadFile(file_), content);
  }
  EXPECT_EQ(Dict("remove", {"/", "--force"}).exit_code, 0);
  EXPECT_EQ(Dict("paths").output, "/\n/IDictionaryNameValPairs\n");
}

TEST_F(DictTest, FoldersAreNotMade) {
  const ProcessResult result = Run({"dict", "set", File("nodir/x.xml"), "/a", "int", "1"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error, "orvflow: " + File("nodir/x.xml") + ": there is no such folder; make it first\n");
  EXPECT_FALSE(std::filesystem::exists(File("nodir")));
}

// An open file excludes other readers; they wait for their turn.
TEST_F(DictTest, ManyReadersAtOnceAllReadTheFile) {
  Dict("set", {"/a", "int", "1"});
  std::vector<std::thread> threads;
  std::atomic<int> read = 0;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < 10; ++n) read += Get("/a") == "1\n" ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(read, 40);
}

TEST_F(DictTest, APlainFileUnderAKeyIsSaid) {
  Dict("set", {"/a", "int", "1"});
  WriteFile(File("key"), "secret");
  const ProcessResult plain = Dict("get", {"/a", "--key-file", File("key")});
  EXPECT_EQ(plain.output, "1\n");
  EXPECT_EQ(plain.error,
            "orvflow: " + file_ + ": is plain text, not enciphered, although a key is given; it is read as it is\n");
  EXPECT_EQ(Dict("set", {"/a", "int", "2", "--key-file", File("key")}).exit_code, 0);
  EXPECT_EQ(ReadFile(file_).find('<'), std::string::npos);
  const ProcessResult enciphered = Dict("get", {"/a", "--key-file", File("key")});
  EXPECT_EQ(enciphered.output, "2\n");
  EXPECT_EQ(enciphered.error, "");
  const ProcessResult without = Dict("get", {"/a"});
  EXPECT_EQ(without.exit_code, 5);
  EXPECT_EQ(without.error, "orvflow: " + file_ + ": enciphered, and no key is given; check --key-file\n");
}

TEST_F(DictTest, UsageErrors) {
  const std::pair<Arguments, const char*> cases[] = {
      {{"dict"}, "no action given"},
      {{"dict", "gte", "x"}, "no action gte; did you mean get?"},
      {{"dict", "get"}, "get: no file given"},
      {{"dict", "get", file_, "/a", "/b"}, "get: one argument too many: /b"},
      {{"dict", "format", file_, "/a"}, "format: one argument too many: /a"},
      {{"dict", "set", file_, "/a"}, "set: PATH, TAG and values are needed"},
      {{"dict", "get", "-", "/a", "--key-file", "k"}, "--key-file is for files, not for standard input"},
  };
  WriteFile(file_, "<IDictionaryRoot></IDictionaryRoot>");
  for (const auto& [arguments, text] : cases) {
    const ProcessResult result = Run(arguments);
    EXPECT_EQ(result.exit_code, 2) << text;
    EXPECT_EQ(result.error, std::string("orvflow: dict: ") + text + " (see orvflow dict --help)\n");
  }
  EXPECT_NE(Run({"dict", "--help"}).output.find("orvflow dict set flow.xml"), std::string::npos);
}

}  // namespace
}  // namespace orv_test
