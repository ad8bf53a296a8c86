// orvflow dict: reading and editing dictionary files.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/program/ProgramFixture.h"

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
    EXPECT_EQ(result.error.find("orvflow: " + file_ + ": no dictionary"), 0U) << result.error;
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
      {{"/a", "str", "\x01"}, "\"\x01\" is no text without control characters"},
      {{"/a", "intlist", "1", "b"}, "\"b\" is no whole number of 32 bits"},
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
