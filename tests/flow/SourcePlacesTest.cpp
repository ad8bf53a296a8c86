// Where entries stand in their file: cases, and every entry of every flow of the tests.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "flow/model/SourcePlaces.h"
#include "tests/support/SourceFolder.h"
#include "tests/support/TempDirectory.h"

namespace OrvWorkFlow::Flow {
namespace {

std::string PlaceOf(const char* text, const char* path) {
  const SourcePlace place = SourcePlaces(text).At(path);
  return std::to_string(place.line) + ":" + std::to_string(place.column);
}

TEST(SourcePlacesTest, AnEntryStandsWhereItsTagBegins) {
  constexpr char kText[] =
      "<?xml version=\"1.0\"?>\n<IDictionaryRoot>\n\t<A>\n\t\t<B x=\"a>b\"/><C>1</C>\r\n  </A>\n<D/></IDictionaryRoot>";
  EXPECT_EQ(PlaceOf(kText, ""), "2:1");
  EXPECT_EQ(PlaceOf(kText, "/A"), "3:2");
  EXPECT_EQ(PlaceOf(kText, "/A/B"), "4:3");
  EXPECT_EQ(PlaceOf(kText, "/A/C"), "4:15");
  EXPECT_EQ(PlaceOf(kText, "/D"), "6:1");
}

TEST(SourcePlacesTest, WhatIsNotThereStandsInWhatIsAboveIt) {
  constexpr char kText[] = "<R>\n<A>\n<B/></A></R>";
  EXPECT_EQ(PlaceOf(kText, "/A/B/Missing/More"), "3:1");
  EXPECT_EQ(PlaceOf(kText, "/A/Missing"), "2:1");
  EXPECT_EQ(PlaceOf(kText, "/Missing"), "1:1");
}

TEST(SourcePlacesTest, OfTwoOfOneNameTheFirstCounts) { EXPECT_EQ(PlaceOf("<R><A>1</A>\n<A>2</A></R>", "/A"), "1:4"); }

TEST(SourcePlacesTest, CommentsAndTheMarkOfTheEncodingAreSkipped) {
  EXPECT_EQ(PlaceOf("\xEF\xBB\xBF<!-- <X> --><R>\n<!-- <A> > -- > ---><A/></R>", "/A"), "2:21");
}

TEST(SourcePlacesTest, WhatIsNoDictionaryFileHasNoPlaces) {
  for (const char* text : {"", "   ", "Salted", "<", "<a", "</a>", "<!--", "<?", "<a><", "<a b=\"", "<a>text"}) {
    SourcePlaces(text).At("/A/B");
  }
  EXPECT_EQ(PlaceOf("\x01\x02<R><A/></R>", "/A"), "0:0");
}

TEST(SourcePlacesTest, HostileTextsEnd) {
  std::mt19937 random(7);
  constexpr char kBytes[] = "<>/!-?\" \nabR=";
  for (int round = 0; round < 20000; ++round) {
    std::string text = "<R>";
    for (std::size_t n = random() % 60; n > 0; --n) text += kBytes[random() % (sizeof kBytes - 1)];
    const SourcePlace place = SourcePlaces(text).At("/a/b");
    EXPECT_LE(place.line, 62u);
  }
  std::string deep;
  for (int i = 0; i < 100'000; ++i) deep += "<a>";
  EXPECT_EQ(SourcePlaces(deep).At("/a").line, 1u);
}

// The dictionary's own reader says what entries there are; each of them begins with its tag where it is found.
TEST(SourcePlacesTest, EveryEntryOfEveryFlowIsFound) {
  ASSERT_TRUE(WorkFlowFactory::LoadSharedLibrary("CoreObjects")) << WorkFlowFactory::LastLoadError();
  std::size_t entries = 0;
  for (const auto& file : std::filesystem::directory_iterator(orv_test::SourceFolder() / "tests" / "cases" / "flows")) {
    if (file.path().extension() != ".xml") continue;
    const std::string text = orv_test::ReadFile(file.path());
    auto* const dictionary =
        static_cast<IDictionary*>(WorkFlowFactory::CreateNewObject("Dictionary")->QueryInterface("IDictionary"));
    EXPECT_TRUE(dictionary->LoadFromText(text.data(), text.size())) << file.path();
    std::vector<std::string> lines(1);
    for (const char c : text) {
      if (c == '\n') {
        lines.emplace_back();
      } else {
        lines.back() += c;
      }
    }
    {
      const Sdk::TextListHolder paths;
      EXPECT_TRUE(dictionary->EnumeratePaths("", paths.get()));
      const SourcePlaces places(text);
      for (const std::string& path : paths.Texts()) {
        const SourcePlace place = places.At(path);
        ASSERT_GT(place.line, 0u) << path;
        const std::string tag = "<" + path.substr(path.rfind('/') + 1);
        EXPECT_EQ(lines[place.line - 1].substr(place.column - 1, tag.size()), tag) << file.path() << " " << path;
        ++entries;
      }
    }
    dictionary->Release();
  }
  WorkFlowFactory::UnloadSharedLibraries();
  EXPECT_GT(entries, 1000u);
}

}  // namespace
}  // namespace OrvWorkFlow::Flow
