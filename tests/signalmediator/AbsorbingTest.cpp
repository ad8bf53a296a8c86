// Adding definitions, and taking another workflow's dictionary in.
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionaryListener.h"
#include "tests/fakes/ForwardingDictionary.h"
#include "tests/signalmediator/MediatorFixture.h"

namespace orv_test {
namespace {

using OrvWorkFlow::IOrvPStringList;
using OrvWorkFlow::IOrvString;
using OrvWorkFlow::ValueType;
using OrvWorkFlow::Core::Marshalled;
using OrvWorkFlow::Core::Dictionary::CDictionary;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kAddError[] = "Error in CSignalMediator::AddWorkNodeInstance. ";

class AddingTest : public MediatorTest {
 protected:
  bool AddInstance(const char* type, const char* instance, const std::vector<std::string>& read_directories,
                   const char* write_directory = "write") {
    const Marshalled<IOrvPStringList> list;
    EXPECT_TRUE(OrvWorkFlow::Core::AssignTexts(list.get(), read_directories));
    return mediator_->AddWorkNodeInstance(type, instance, "config", list.get(), write_directory);
  }
};

TEST_F(AddingTest, ALocalUtilityObjectHasItsLibraries) {
  EXPECT_TRUE(mediator_->AddLocalUtilityObject("Local", "l.dll", "l.so"));
  const std::string entry = "/WorkFlowEngine/UtilityObjects/Local/Local";
  EXPECT_THAT(GetNames(entry), ElementsAre("Binaries"));
  EXPECT_EQ(GetText(entry + "/Binaries/win32_bin"), "l.dll");
  EXPECT_EQ(GetText(entry + "/Binaries/mac_bin"), "l.so");
  ExpectBoxes({});
}

TEST_F(AddingTest, AGlobalUtilityObjectBelongsToTheWorkflow) {
  SetText("/WorkFlowEngine/WorkFlowName", "Flow");
  EXPECT_TRUE(mediator_->AddGlobalUtilityObject("Global", "g.dll", "g.so", "config"));
  const std::string entry = "/WorkFlowEngine/UtilityObjects/Global/Global";
  EXPECT_EQ(GetText(entry + "/Binaries/win32_bin"), "g.dll");
  EXPECT_EQ(GetText(entry + "/Binaries/mac_bin"), "g.so");
  EXPECT_EQ(GetText(entry + "/ConfigFile"), "config");
  EXPECT_EQ(GetText(entry + "/wfName"), "Flow");
}

TEST_F(AddingTest, AGlobalUtilityObjectWithoutAWorkflowNameIsShown) {
  EXPECT_FALSE(mediator_->AddGlobalUtilityObject("Global", "g.dll", "g.so", "config"));
  ExpectBoxes({"Could not discover workflow name!!"});
  EXPECT_EQ(GetText("/WorkFlowEngine/UtilityObjects/Global/Global/ConfigFile"), "config") << "the rest is written";
  EXPECT_EQ(GetText("/WorkFlowEngine/UtilityObjects/Global/Global/wfName"), "(none)");
}

TEST_F(AddingTest, AWorkNodeTypeHasItsLibraries) {
  EXPECT_TRUE(mediator_->AddWorkNode("Alpha", "a.dll", "a.so"));
  EXPECT_EQ(GetText("/WorkFlowEngine/WorkNodes/Alpha/Binaries/win32_bin"), "a.dll");
  EXPECT_EQ(GetText("/WorkFlowEngine/WorkNodes/Alpha/Binaries/mac_bin"), "a.so");
}

TEST_F(AddingTest, NamesThatNoPathCanHoldAreRefused) {
  SetText("/WorkFlowEngine/WorkFlowName", "Flow");
  EXPECT_FALSE(mediator_->AddLocalUtilityObject("a b", "l.dll", "l.so"));
  EXPECT_FALSE(mediator_->AddGlobalUtilityObject("a.b", "g.dll", "g.so", "config"));
  EXPECT_FALSE(mediator_->AddWorkNode("a%b", "a.dll", "a.so"));
  ExpectBoxes({});
}

TEST_F(AddingTest, AnInstanceSetsTheDirectoriesOfItsWorkflow) {
  SetText("/WorkFlowEngine/WorkFlowName", "Flow");
  mediator_->AddWorkNode("Alpha", kLibrary, kLibrary);
  EXPECT_TRUE(AddInstance("Alpha", "a1", {"one", "two"}, "w1"));
  EXPECT_EQ(GetText(DefinitionOf("Alpha", "a1") + "/ConfigFile"), "config");
  EXPECT_EQ(GetText(DefinitionOf("Alpha", "a1") + "/wfName"), "Flow");
  EXPECT_THAT(GetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs"), ElementsAre("one", "two"));
  EXPECT_EQ(GetText("/WorkFlowEngine/Directories/Flow/WriteDir"), "w1");
  EXPECT_TRUE(AddInstance("Alpha", "a2", {"three"}, "w2"));
  EXPECT_THAT(GetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs"), ElementsAre("three"));
  EXPECT_EQ(GetText("/WorkFlowEngine/Directories/Flow/WriteDir"), "w2");
  stage_.ScriptOf("a1").on_load_state = [](const std::string& file) { return file == "config"; };
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
}

TEST_F(AddingTest, AWorkflowNameThatBeginsWithADigitGetsAnUnderscoreInTheDirectories) {
  SetText("/WorkFlowEngine/WorkFlowName", "7th");
  mediator_->AddWorkNode("Alpha", kLibrary, kLibrary);
  EXPECT_TRUE(AddInstance("Alpha", "a1", {"one"}));
  EXPECT_EQ(GetText(DefinitionOf("Alpha", "a1") + "/wfName"), "7th");
  EXPECT_THAT(GetNames("/WorkFlowEngine/Directories"), ElementsAre("_7th"));
}

TEST_F(AddingTest, WithoutAnyTypeTheListingFails) {
  EXPECT_FALSE(AddInstance("Alpha", "a1", {}));
  ExpectBoxes({std::string(kAddError) +
               "Could not GetEntries on WFE path /WorkFlowEngine/WorkNodes while adding the following worknode "
               "instance:\r\n\r\n<Alpha, a1>"});
}

TEST_F(AddingTest, ATypeThatWasNeverAddedIsShownAndNothingIsWritten) {
  mediator_->AddWorkNode("Beta", kLibrary, kLibrary);
  const std::uint64_t before = dictionary_->GetChangeCount();
  EXPECT_FALSE(AddInstance("Alpha", "a1", {"one"}));
  ExpectBoxes({std::string(kAddError) + "Type doesn't exist."});
  EXPECT_EQ(dictionary_->GetChangeCount(), before);
}

TEST_F(AddingTest, AnInstanceThatTheDictionaryRefusesIsShown) {
  mediator_->AddWorkNode("Alpha", kLibrary, kLibrary);
  EXPECT_FALSE(AddInstance("Alpha", "a 1", {"one"}));
  ExpectBoxes(
      {std::string(kAddError) +
       "Could not SetValue on WFE path /WorkFlowEngine/WorkNodes/Alpha/Instances/a 1/ConfigFile while adding the "
       "following worknode instance:\r\n\r\n<Alpha, a 1>"});
}

TEST_F(AddingTest, AnInstanceWithoutAWorkflowNameIsShown) {
  mediator_->AddWorkNode("Alpha", kLibrary, kLibrary);
  EXPECT_FALSE(AddInstance("Alpha", "a1", {"one"}));
  ExpectBoxes({"Could not discover workflow name!!"});
  EXPECT_FALSE(dictionary_->Exists("/WorkFlowEngine/Directories"));
}

TEST_F(AddingTest, NullArgumentsFailAndChangeNothing) {
  SetText("/WorkFlowEngine/WorkFlowName", "Flow");
  mediator_->AddWorkNode("Alpha", kLibrary, kLibrary);
  const Marshalled<IOrvPStringList> list;
  const std::uint64_t before = dictionary_->GetChangeCount();
  EXPECT_FALSE(mediator_->AddLocalUtilityObject(nullptr, "l", "l"));
  EXPECT_FALSE(mediator_->AddLocalUtilityObject("n", nullptr, "l"));
  EXPECT_FALSE(mediator_->AddLocalUtilityObject("n", "l", nullptr));
  EXPECT_FALSE(mediator_->AddGlobalUtilityObject(nullptr, "l", "l", "c"));
  EXPECT_FALSE(mediator_->AddGlobalUtilityObject("n", nullptr, "l", "c"));
  EXPECT_FALSE(mediator_->AddGlobalUtilityObject("n", "l", nullptr, "c"));
  EXPECT_FALSE(mediator_->AddGlobalUtilityObject("n", "l", "l", nullptr));
  EXPECT_FALSE(mediator_->AddWorkNode(nullptr, "l", "l"));
  EXPECT_FALSE(mediator_->AddWorkNode("n", nullptr, "l"));
  EXPECT_FALSE(mediator_->AddWorkNode("n", "l", nullptr));
  EXPECT_FALSE(mediator_->AddWorkNodeInstance(nullptr, "i", "c", list.get(), "w"));
  EXPECT_FALSE(mediator_->AddWorkNodeInstance("Alpha", nullptr, "c", list.get(), "w"));
  EXPECT_FALSE(mediator_->AddWorkNodeInstance("Alpha", "i", nullptr, list.get(), "w"));
  EXPECT_FALSE(mediator_->AddWorkNodeInstance("Alpha", "i", "c", nullptr, "w"));
  EXPECT_FALSE(mediator_->AddWorkNodeInstance("Alpha", "i", "c", list.get(), nullptr));
  EXPECT_FALSE(mediator_->Absorb(nullptr));
  EXPECT_EQ(dictionary_->GetChangeCount(), before);
  ExpectBoxes({});
}

TEST_F(AddingTest, WithoutADictionaryEachOperationNamesItself) {
  RemoveGlobals();
  CDictionary absorbed;
  EXPECT_FALSE(mediator_->AddLocalUtilityObject("n", "l", "l"));
  EXPECT_FALSE(mediator_->AddGlobalUtilityObject("n", "l", "l", "c"));
  EXPECT_FALSE(mediator_->AddWorkNode("n", "l", "l"));
  EXPECT_FALSE(AddInstance("n", "i", {}));
  EXPECT_FALSE(mediator_->DeleteAllUtilityObjectsAndWorknodesFromMemory());
  EXPECT_FALSE(mediator_->DeleteTemporaryData());
  EXPECT_TRUE(mediator_->LoadWorkNodesNow(true));
  EXPECT_FALSE(mediator_->Absorb(&absorbed));
  const std::string text = "No global dic inside ";
  ExpectBoxes({text + "AddLocalUtilityObject", text + "AddGlobalUtilityObject", text + "AddWorkNode",
               text + "AddWorkNodeInstance", text + "DeleteAllUtilityObjectsAndWorknodesFromMemory",
               text + "DeleteTemporaryData", text + "LoadWorkNodes", text + "AbsorbUtilityObjects",
               text + "AbsorbWorknodes"});
}

// The dictionary goes away while a load runs: only then can the inner routines of a load find none.
class VanishingDictionary final : public ForwardingDictionary {
 public:
  using ForwardingDictionary::ForwardingDictionary;
  // Lookups that still find it.
  int lookups = 0;
  void* QueryInterface(const char* name) override {
    return lookups-- > 0 ? ForwardingDictionary::QueryInterface(name) : nullptr;
  }
};

TEST_F(AddingTest, ADictionaryThatGoesAwayInTheMiddleOfALoadIsShown) {
  VanishingDictionary vanishing(dictionary_);
  RemoveGlobals();
  Globalise("Dictionary", &vanishing);
  vanishing.lookups = 1;
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  ExpectBoxes({"No global dic inside LoadUtilityObjects", "No global dic inside LoadRebootSignals"});
  vanishing.lookups = 2;
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  ExpectBoxes({"No global dic inside InitHostApp", "No global dic inside LoadRebootSignals"});
}

// --- Absorbing -----------------------------------------------------------------------------------------------------

class AbsorbingTest : public AddingTest {
 protected:
  void Give(const std::string& path, const char* value) {
    ASSERT_TRUE(absorbed_.SetValue(path.c_str(), value)) << path;
  }

  CDictionary absorbed_;
};

TEST_F(AbsorbingTest, TakesWorkNodesAndDirectoriesInBesideItsOwn) {
  DefineNode("Alpha", "a1");
  SetText(DefinitionOf("Alpha", "a1") + "/ConfigFile", "old");
  Give(DefinitionOf("Alpha", "a1") + "/ConfigFile", "new");
  Give(DefinitionOf("Alpha", "a2") + "/wfName", "Sub");
  Give("/WorkFlowEngine/WorkNodes/Beta/Binaries/win32_bin", kLibrary);
  Give("/WorkFlowEngine/Directories/Sub/WriteDir", "$TEMP/sub");
  Give("/WorkFlowEngine/WorkFlowName", "Sub");
  TakeJournal();
  EXPECT_TRUE(mediator_->Absorb(&absorbed_));
  EXPECT_THAT(GetNames("/WorkFlowEngine/WorkNodes/Alpha/Instances"), ElementsAre("a1", "a2"));
  EXPECT_EQ(GetText(DefinitionOf("Alpha", "a1") + "/ConfigFile"), "new") << "equal names overwrite";
  EXPECT_EQ(GetText(DefinitionOf("Alpha", "a1") + "/wfName"), "Flow") << "what only the workflow has stays";
  EXPECT_EQ(GetText("/WorkFlowEngine/WorkNodes/Beta/Binaries/win32_bin"), kLibrary);
  EXPECT_EQ(GetText("/WorkFlowEngine/Directories/Sub/WriteDir"), "$TEMP/sub");
  EXPECT_EQ(GetText("/WorkFlowEngine/WorkFlowName"), "(none)") << "nothing else is taken";
  EXPECT_THAT(TakeJournal(), IsEmpty()) << "nodes are made on their first signal";
  EXPECT_TRUE(Fire("Alpha", "a2", "go"));
  EXPECT_THAT(stage_.GetJournal("WriteDirectory"), ElementsAre("a2.SetWriteDirectory($TEMP/sub)"));
}

TEST_F(AbsorbingTest, EveryKindOfValueIsCopiedAsAWhole) {
  const std::string parent = "/WorkFlowEngine/Directories/Sub/";
  const auto path = [&](const char* name) { return parent + name; };
  absorbed_.SetValue(path("text").c_str(), "text");
  absorbed_.SetValue(path("wide").c_str(), u"w\u00efde");
  absorbed_.SetValue(path("int").c_str(), std::int32_t{-5});
  absorbed_.SetValue(path("double").c_str(), 0.25);
  absorbed_.SetValue(path("bool").c_str(), true);
  absorbed_.SetAttribute(path("nothing").c_str(), "mark", "1");
  const std::string bytes("a\0b\xff", 4);
  absorbed_.SetBinary(path("binary").c_str(), bytes.data(), bytes.size());
  absorbed_.SetBinary(path("emptyBinary").c_str(), nullptr, 0);
  absorbed_.SetAttribute(path("noBase64").c_str(), "__type", "Binary");
  const Marshalled<IOrvPStringList> texts;
  const Marshalled<OrvWorkFlow::IOrvStringList> wides;
  const Marshalled<OrvWorkFlow::IOrvIntList> ints;
  const Marshalled<OrvWorkFlow::IOrvDoubleList> doubles;
  const Marshalled<OrvWorkFlow::IOrvBoolList> bools;
  texts.get()->Add("one", 3);
  wides.get()->Add(u"zwei", 4);
  ints.get()->Add(3);
  doubles.get()->Add(0.5);
  bools.get()->Add(true);
  absorbed_.SetValue(path("texts").c_str(), static_cast<const IOrvPStringList*>(texts.get()));
  absorbed_.SetValue(path("wides").c_str(), static_cast<const OrvWorkFlow::IOrvStringList*>(wides.get()));
  absorbed_.SetValue(path("ints").c_str(), static_cast<const OrvWorkFlow::IOrvIntList*>(ints.get()));
  absorbed_.SetValue(path("doubles").c_str(), static_cast<const OrvWorkFlow::IOrvDoubleList*>(doubles.get()));
  absorbed_.SetValue(path("bools").c_str(), static_cast<const OrvWorkFlow::IOrvBoolList*>(bools.get()));
  SetTexts(path("texts"), {"two", "items"});
  SetText(path("int"), "a text before");

  EXPECT_TRUE(mediator_->Absorb(&absorbed_));

  EXPECT_EQ(GetText(path("text")), "text");
  const Marshalled<IOrvString> wide;
  EXPECT_TRUE(dictionary_->GetValue(path("wide").c_str(), wide.get()));
  EXPECT_EQ(std::u16string(wide.get()->GetText()), u"w\u00efde");
  std::int32_t integer = 0;
  EXPECT_TRUE(dictionary_->GetValue(path("int").c_str(), &integer));
  EXPECT_EQ(integer, -5);
  double number = 0;
  EXPECT_TRUE(dictionary_->GetValue(path("double").c_str(), &number));
  EXPECT_EQ(number, 0.25);
  bool flag = false;
  EXPECT_TRUE(dictionary_->GetValue(path("bool").c_str(), &flag));
  EXPECT_TRUE(flag);
  EXPECT_TRUE(dictionary_->Exists(path("nothing").c_str()));
  EXPECT_EQ(dictionary_->GetValueType(path("nothing").c_str()), ValueType::Nil);
  EXPECT_THAT(GetTexts(path("texts")), ElementsAre("one")) << "a list is replaced, not merged";
  EXPECT_EQ(dictionary_->GetValueType(path("wides").c_str()), ValueType::WideStringList);
  EXPECT_EQ(dictionary_->GetValueType(path("ints").c_str()), ValueType::IntegerList);
  EXPECT_EQ(dictionary_->GetValueType(path("doubles").c_str()), ValueType::DoubleList);
  EXPECT_EQ(dictionary_->GetValueType(path("bools").c_str()), ValueType::BooleanList);
  for (const char* name : {"binary", "emptyBinary", "noBase64"}) {
    EXPECT_EQ(dictionary_->GetValueType(path(name).c_str()), absorbed_.GetValueType(path(name).c_str())) << name;
  }
  const Marshalled<OrvWorkFlow::IOrvBasicStream> binary;
  ASSERT_TRUE(dictionary_->GetBinary(path("binary").c_str(), binary.get()));
  EXPECT_EQ(std::string(static_cast<const char*>(binary.get()->GetData()), binary.get()->GetSize()), bytes);

  // Nothing was left out: the two are the same, but for the mark of the entry without a value.
  const Marshalled<IOrvPStringList> differences;
  const std::string parent_entry = parent.substr(0, parent.size() - 1);
  ASSERT_TRUE(dictionary_->CompareSubtrees(parent_entry.c_str(), &absorbed_, parent_entry.c_str(), differences.get()));
  std::vector<std::string> different;
  ASSERT_TRUE(OrvWorkFlow::Core::ReadTexts(differences.get(), different));
  EXPECT_THAT(different, ElementsAre("/nothing"));
}

// The paths of a redirection mean entries of the dictionary that is absorbed, which are not all taken along.
TEST_F(AbsorbingTest, ARedirectionIsCopiedWithTheValueThatItShows) {
  const std::string parent = "/WorkFlowEngine/Directories/Sub/";
  absorbed_.SetValue("/Elsewhere/text", "shown");
  absorbed_.SetValue("/Elsewhere/number", std::int32_t{7});
  absorbed_.SetBinary("/Elsewhere/binary", "a\0b", 3);
  for (const char* name : {"text", "number", "binary", "missing"}) {
    const Marshalled<IOrvPStringList> targets;
    const std::string target = std::string("/Elsewhere/") + name;
    targets.get()->Add(target.data(), target.size());
    EXPECT_TRUE(absorbed_.SetRedirection((parent + name).c_str(), targets.get()));
  }
  EXPECT_TRUE(mediator_->Absorb(&absorbed_));
  EXPECT_EQ(GetText(parent + "text"), "shown");
  std::int32_t number = 0;
  EXPECT_TRUE(dictionary_->GetValue((parent + "number").c_str(), &number));
  EXPECT_EQ(number, 7);
  const Marshalled<OrvWorkFlow::IOrvBasicStream> binary;
  ASSERT_TRUE(dictionary_->GetBinary((parent + "binary").c_str(), binary.get()));
  EXPECT_EQ(std::string(static_cast<const char*>(binary.get()->GetData()), binary.get()->GetSize()),
            std::string("a\0b", 3));
  EXPECT_TRUE(dictionary_->Exists((parent + "missing").c_str()));
  EXPECT_EQ(dictionary_->GetValueType((parent + "missing").c_str()), ValueType::Nil);
}

// A number has more digits than a written one would get, and a file may hold what is none.
TEST_F(AbsorbingTest, ValuesAreTakenInAsTheyStand) {
  const std::string parent = "/WorkFlowEngine/Directories/Sub/";
  const Marshalled<IOrvPStringList> digits;
  digits.get()->Add("0.0000000012", 12);
  EXPECT_TRUE(absorbed_.SetValueTexts((parent + "small").c_str(), ValueType::Double, digits.get()));
  Give(parent + "none", "many");
  EXPECT_TRUE(absorbed_.SetAttribute((parent + "none").c_str(), "__type", "int"));
  EXPECT_TRUE(mediator_->Absorb(&absorbed_));
  double small = 0;
  EXPECT_TRUE(dictionary_->GetValue((parent + "small").c_str(), &small));
  EXPECT_EQ(small, 0.0000000012);
  for (const std::string& path : {parent + "small", parent + "none"}) {
    const Marshalled<IOrvPStringList> differences;
    ASSERT_TRUE(dictionary_->CompareSubtrees(path.c_str(), &absorbed_, path.c_str(), differences.get()));
    EXPECT_EQ(differences.get()->GetCount(), 0U) << path;
  }
}

TEST_F(AbsorbingTest, WhatIsRedirectedHereIsWrittenWhereItLeads) {
  const std::string entry = "/WorkFlowEngine/Directories/Sub/number";
  const Marshalled<IOrvPStringList> targets;
  targets.get()->Add("/Elsewhere/number", 17);
  EXPECT_TRUE(dictionary_->SetValue("/Elsewhere/number", std::int32_t{1}));
  EXPECT_TRUE(dictionary_->SetRedirection(entry.c_str(), targets.get()));
  EXPECT_TRUE(absorbed_.SetValue(entry.c_str(), std::int32_t{7}));
  EXPECT_TRUE(mediator_->Absorb(&absorbed_));
  EXPECT_TRUE(dictionary_->IsRedirection(entry.c_str()));
  std::int32_t number = 0;
  EXPECT_TRUE(dictionary_->GetValue("/Elsewhere/number", &number));
  EXPECT_EQ(number, 7);
}

TEST_F(AbsorbingTest, ListenersAreToldOfWhatIsTakenIn) {
  class Listener final : public OrvWorkFlow::IDictionaryListener {
   public:
    void OnChange(OrvWorkFlow::IDictionary* /*dictionary*/, const char* path) override { paths.emplace_back(path); }
    std::vector<std::string> paths;
  } listener;
  dictionary_->AddListener(&listener, "");
  Give("/WorkFlowEngine/Directories/Sub/WriteDir", "w");
  absorbed_.SetBinary("/WorkFlowEngine/Directories/Sub/icon", "x", 1);
  EXPECT_TRUE(mediator_->Absorb(&absorbed_));
  EXPECT_THAT(listener.paths,
              ElementsAre("/WorkFlowEngine/Directories/Sub/WriteDir", "/WorkFlowEngine/Directories/Sub/icon"));
  dictionary_->RemoveListener(&listener);
}

TEST_F(AbsorbingTest, AnEntryWithoutAValueLeavesTheValueThatIsThere) {
  SetText("/WorkFlowEngine/Directories/Flow", "kept");
  Give("/WorkFlowEngine/Directories/Flow/WriteDir", "w");
  EXPECT_TRUE(mediator_->Absorb(&absorbed_));
  EXPECT_EQ(GetText("/WorkFlowEngine/Directories/Flow"), "kept");
}

TEST_F(AbsorbingTest, UtilityObjectsAreConfiguredFromTheirOwnDictionaryWithKeyAndState) {
  const std::string helper = "/WorkFlowEngine/UtilityObjects/Global/Helper";
  Give(helper + "/Binaries/win32_bin", kLibrary);
  Give(helper + "/wfName", "Sub");
  Give(helper + "/ConfigFile", "file");
  Give("/WorkFlowEngine/UtilityObjects/Global/Unknown/wfName", "Sub");
  Give("/WorkFlowEngine/UtilityObjects/Local/Local/Binaries/win32_bin", kLibrary);
  Give("/WorkFlowEngine/Directories/Sub/WriteDir", "w");
  Give("/WorkFlowEngine/Directories/Sub/ObfuscationKey", "key");
  EXPECT_TRUE(mediator_->Absorb(&absorbed_));
  const std::string load = "/workflow/signalmediator/loadstate: ";
  EXPECT_THAT(TakeTrace(), ElementsAre(load + "Logger created", load + "Loading global utility object Helper.",
                                       load + "Loading global utility object Unknown.",
                                       load + "Loading local utility object Local."));
  EXPECT_THAT(TakeJournal(), ElementsAre("Helper.SetUtilityStore(store)", "Helper.ResetContentDirectories()",
                                         "Helper.AddContentDirectory(w)", "Helper.SetWriteDirectory(w)",
                                         "Helper.SetEncryptionKey(key)", "Helper.LoadState(file)"));
  EXPECT_EQ(GetText(helper + "/ConfigFile"), "file");
  EXPECT_EQ(GetText("/WorkFlowEngine/UtilityObjects/Global/Unknown/wfName"), "Sub");
  EXPECT_EQ(GetText("/WorkFlowEngine/UtilityObjects/Local/Local/Binaries/win32_bin"), kLibrary);
  // Absorbed objects are saved with the others, each once.
  EXPECT_TRUE(mediator_->Absorb(&absorbed_));
  EXPECT_TRUE(mediator_->SaveState(nullptr));
  EXPECT_EQ(stage_.GetJournal("SaveState").size(), 1u);
  ReleaseMediator();
  RemoveGlobals();
}

TEST_F(AbsorbingTest, AnAbsorbedObjectThatDoesNotLoadItsFileFailsSilently) {
  const std::string helper = "/WorkFlowEngine/UtilityObjects/Global/Helper";
  Give(helper + "/ConfigFile", "file");
  stage_.ScriptOf("Helper").fails_in = {"LoadState"};
  EXPECT_TRUE(mediator_->Absorb(&absorbed_));
  EXPECT_EQ(clock_.GetPauses().size(), 3u);
  ExpectBoxes({});
  ReleaseMediator();
  RemoveGlobals();
}

TEST_F(AbsorbingTest, AnEmptyDictionaryChangesNothing) {
  DefineNode("Alpha", "a1");
  const std::uint64_t before = dictionary_->GetChangeCount();
  EXPECT_TRUE(mediator_->Absorb(&absorbed_));
  EXPECT_EQ(dictionary_->GetChangeCount(), before);
}

}  // namespace
}  // namespace orv_test
