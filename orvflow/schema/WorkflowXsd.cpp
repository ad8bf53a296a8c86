#include "orvflow/schema/WorkflowXsd.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "OrvWorkFlow/sdk/ParameterValue.h"
#include "orvflow/schema/XsdText.h"

namespace OrvWorkFlow::Program {

namespace {

using namespace Xsd;

// A signal has as many receivers as there are names map0, map1...: XSD 1.0 has no pattern for names.
constexpr int kMostReceivers = 256;
constexpr char kNamePattern[] = "[A-Za-z0-9_\\-]+";

// What holds for every workflow. The entries that are not looked into are of the type Entries.
constexpr char kCommonTypes[] = R"(
<xs:complexType name="Entries" mixed="true">
<xs:sequence><xs:any processContents="skip" minOccurs="0" maxOccurs="unbounded"/></xs:sequence>
<xs:anyAttribute processContents="skip"/>
</xs:complexType>
<xs:complexType name="Text"><xs:simpleContent><xs:extension base="xs:string">
<xs:attribute name="__type" use="required" fixed="str"/><xs:anyAttribute processContents="skip"/>
</xs:extension></xs:simpleContent></xs:complexType>
<xs:complexType name="AnyParameter"><xs:simpleContent><xs:extension base="xs:string">
<xs:attribute name="__type" use="required"/><xs:anyAttribute processContents="skip"/>
</xs:extension></xs:simpleContent></xs:complexType>
<xs:complexType name="TextParameter"><xs:simpleContent><xs:extension base="xs:string">
<xs:attribute name="__type" use="required"><xs:simpleType><xs:restriction base="xs:string">
<xs:enumeration value="str"/><xs:enumeration value="UStr"/><xs:enumeration value="int"/>
</xs:restriction></xs:simpleType></xs:attribute><xs:anyAttribute processContents="skip"/>
</xs:extension></xs:simpleContent></xs:complexType>
<xs:complexType name="WordParameter"><xs:simpleContent><xs:extension base="xs:anySimpleType">
<xs:attribute name="__type" use="required"><xs:simpleType><xs:restriction base="xs:string">
<xs:enumeration value="str"/><xs:enumeration value="UStr"/><xs:enumeration value="int"/>
</xs:restriction></xs:simpleType></xs:attribute><xs:anyAttribute processContents="skip"/>
</xs:extension></xs:simpleContent></xs:complexType>
<xs:simpleType name="BooleanText"><xs:restriction base="xs:string">
<xs:pattern value="[01](\.0+)?"/><xs:pattern value="[Yy][Ee][Ss]|[Nn][Oo]"/>
<xs:pattern value="[Tt][Rr][Uu][Ee]|[Ff][Aa][Ll][Ss][Ee]"/><xs:pattern value="[^\{\}]*(\{[^\{\}]+\}[^\{\}]*)+"/>
</xs:restriction></xs:simpleType>
<xs:complexType name="BooleanParameter"><xs:simpleContent><xs:extension base="BooleanText">
<xs:attribute name="__type" use="required"><xs:simpleType><xs:restriction base="xs:string">
<xs:enumeration value="Bool"/><xs:enumeration value="str"/><xs:enumeration value="UStr"/>
<xs:enumeration value="int"/><xs:enumeration value="dbl"/>
</xs:restriction></xs:simpleType></xs:attribute><xs:anyAttribute processContents="skip"/>
</xs:extension></xs:simpleContent></xs:complexType>
<xs:simpleType name="Number"><xs:restriction base="xs:decimal">
<xs:pattern value="-?[0-9]+(\.0*)?"/>
<xs:minInclusive value="-2147483648"/><xs:maxInclusive value="2147483647"/>
</xs:restriction></xs:simpleType>
<xs:simpleType name="ValueFromElsewhere"><xs:restriction base="xs:string">
<xs:pattern value="[^\{\}]*(\{[^\{\}]+\}[^\{\}]*)+"/>
</xs:restriction></xs:simpleType>
<xs:complexType name="NumberParameter"><xs:simpleContent><xs:extension base="xs:anySimpleType">
<xs:attribute name="__type" use="required"><xs:simpleType><xs:restriction base="xs:string">
<xs:enumeration value="int"/><xs:enumeration value="str"/><xs:enumeration value="UStr"/><xs:enumeration value="dbl"/>
</xs:restriction></xs:simpleType></xs:attribute><xs:anyAttribute processContents="skip"/>
</xs:extension></xs:simpleContent></xs:complexType>
)";

// The key wants a WorkFlowEngine with a name: other entries may have any name, and a nearly right one would be one of
// these.
constexpr char kRoot[] = R"(
<xs:element name="IDictionaryRoot">
<xs:complexType>
<xs:sequence><xs:any processContents="lax" minOccurs="0" maxOccurs="unbounded"/></xs:sequence>
<xs:anyAttribute processContents="skip"/>
</xs:complexType>
<xs:key name="TheWorkflowHasAName"><xs:selector xpath="."/><xs:field xpath="WorkFlowEngine/WorkFlowName"/></xs:key>
</xs:element>
)";

// "BackupNodes" of "./libBackupNodes.so".
std::string StemOf(std::string file) {
  const std::size_t slash = file.find_last_of("/\\");
  if (slash != std::string::npos) file.erase(0, slash + 1);
  for (const std::string_view ending : {".so", ".dll"}) {
    if (file.ends_with(ending)) file.erase(file.size() - ending.size());
  }
  return file.starts_with("lib") ? file.substr(3) : file;
}

struct Kind {
  const TypeDescription* type = nullptr;
  std::vector<std::string> libraries;  // stems

  bool IsDescribed() const { return type->words.has_value(); }
};

template <class Rows>
std::vector<std::string> NamesOf(const Rows& rows) {
  std::vector<std::string> names;
  for (const auto& row : rows) names.push_back(row.name);
  return names;
}

class XsdWriter {
 public:
  XsdWriter(const std::vector<LibraryDescription>& libraries, const Flow::Workflow* flow) : flow_(flow) {
    for (const LibraryDescription& library : libraries) {
      for (const TypeDescription& type : library.types) {
        if (type.kind != "node" || !IsElementName(type.name)) continue;
        Kind& kind = kinds_[type.name];
        if (kind.type == nullptr) kind.type = &type;
        kind.libraries.push_back(StemOf(library.shown_name));
      }
    }
  }

  std::string Write() const {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!-- Workflow files, from what the nodes of the installed plug-ins say; made by orvflow schema. -->\n"
        "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">\n";
    text.append(kCommonTypes).append(ReceiverTypes()).append(kRoot).append(Engine());
    if (flow_ == nullptr) text += EntriesOfAnyInstance();
    return text + "</xs:schema>\n";
  }

 private:
  const Flow::NodeType* TypeInFlow(const std::string& name) const {
    if (flow_ == nullptr) return nullptr;
    const auto type = std::find_if(flow_->types.begin(), flow_->types.end(),
                                   [&](const Flow::NodeType& candidate) { return candidate.name == name; });
    return type == flow_->types.end() ? nullptr : &*type;
  }

  bool AreAllDescribed() const {
    return std::all_of(kinds_.begin(), kinds_.end(), [](const auto& kind) { return kind.second.IsDescribed(); });
  }

  // The instances of a type that a mapping may name.
  std::string InstancePattern(const std::string& type) const {
    const Flow::NodeType* const in_flow = TypeInFlow(type);
    return in_flow == nullptr ? kNamePattern : OneOf(NamesOf(in_flow->instances));
  }

  std::string ReceiverTypes() const {
    std::string text = "<xs:simpleType name=\"ReceiverText\"><xs:restriction base=\"xs:string\">\n";
    for (const auto& [name, kind] : kinds_) {
      const Flow::NodeType* const in_flow = TypeInFlow(name);
      if (flow_ != nullptr && (in_flow == nullptr || in_flow->instances.empty())) continue;
      if (kind.IsDescribed() && kind.type->words->inputs.empty()) continue;
      const std::string signals = kind.IsDescribed() ? OneOf(NamesOf(kind.type->words->inputs)) : "[^,]+";
      const std::string pattern = Pattern(name) + "," + InstancePattern(name) + "," + signals;
      text += "<xs:pattern value=\"" + Escaped(pattern) + "\"/>\n";
    }
    text +=
        "</xs:restriction></xs:simpleType>\n"
        "<xs:complexType name=\"Receiver\"><xs:simpleContent><xs:extension base=\"ReceiverText\">\n"
        "<xs:attribute name=\"__type\" use=\"required\" fixed=\"str\"/><xs:anyAttribute processContents=\"skip\"/>\n"
        "</xs:extension></xs:simpleContent></xs:complexType>\n"
        "<xs:complexType name=\"Receivers\"><xs:choice minOccurs=\"0\" maxOccurs=\"unbounded\">\n";
    for (int i = 0; i < kMostReceivers; ++i) text += ElementOf("map" + std::to_string(i), "", "", "Receiver");
    return text + "</xs:choice><xs:anyAttribute processContents=\"skip\"/></xs:complexType>\n";
  }

  std::string Engine() const {
    std::string entries = ElementOf("WorkFlowName", "", "The workflow's name; $NAME is its folder", "Text");
    entries += Element("Mappings", kOptional, "",
                       All(Element("StartSignal", kOptional, "The signal with which the workflow begins", Start())));
    std::string types;
    for (const auto& [name, kind] : kinds_) types += Type(name, kind);
    entries += Element("WorkNodes", kOptional, "The types of nodes, with their instances", All(types));
    for (const char* name : {"AbsorbTree", "UtilityObjects", "Directories", "RebootSignals", "SignalQueue", "WorkFlows",
                             "DelayLoadingWorknodes"}) {
      entries += ElementOf(name, kOptional, "", "Entries");
    }
    return Element("WorkFlowEngine", "", "", All(entries));
  }

  static std::string Choice(const std::vector<std::string>& values) {
    std::string text = "<xs:complexType><xs:simpleContent><xs:restriction base=\"Text\">\n";
    for (const std::string& value : values) text += "<xs:enumeration value=\"" + Escaped(value) + "\"/>\n";
    return text + "<xs:anyAttribute processContents=\"skip\"/></xs:restriction></xs:simpleContent></xs:complexType>";
  }

  std::string Start() const {
    std::set<std::string> types;
    std::set<std::string> signals;
    std::set<std::string> instances;
    for (const auto& [name, kind] : kinds_) {
      const Flow::NodeType* const in_flow = TypeInFlow(name);
      if (flow_ != nullptr && in_flow == nullptr) continue;
      types.insert(name);
      if (in_flow != nullptr) instances.merge(Set(NamesOf(in_flow->instances)));
      if (kind.IsDescribed()) signals.merge(Set(NamesOf(kind.type->words->inputs)));
    }
    std::string entries = Element("ReceiverTypeName", "", "", Choice({types.begin(), types.end()}));
    entries += flow_ == nullptr ? ElementOf("ReceiverInstanceName", "", "", "Text")
                                : Element("ReceiverInstanceName", "", "", Choice({instances.begin(), instances.end()}));
    entries += AreAllDescribed() ? Element("IncomingSignalName", "", "", Choice({signals.begin(), signals.end()}))
                                 : ElementOf("IncomingSignalName", "", "", "Text");
    for (const char* name : {"SenderTypeName", "SenderInstanceName", "OutgoingSignalName"}) {
      entries += ElementOf(name, kOptional, "", "Text");
    }
    return All(entries);
  }

  static std::set<std::string> Set(const std::vector<std::string>& names) { return {names.begin(), names.end()}; }

  std::string Type(const std::string& name, const Kind& kind) const {
    const std::string library =
        "<xs:complexType><xs:simpleContent><xs:restriction base=\"Text\"><xs:pattern value=\"" +
        Escaped("(.*[/\\\\])?(lib)?" + OneOf(kind.libraries) + "(\\.dll|\\.so)?") +
        "\"/><xs:anyAttribute processContents=\"skip\"/></xs:restriction></xs:simpleContent></xs:complexType>";
    const std::string binaries = Element("win32_bin", "", "The plug-in library, without folder and ending", library) +
                                 ElementOf("mac_bin", kOptional, "", "Text");
    return Element(name, kOptional, kind.IsDescribed() ? kind.type->words->sentence : "",
                   All(Element("Binaries", "", "", All(binaries)) + Instances(name, kind)));
  }

  std::string Instances(const std::string& type, const Kind& kind) const {
    if (flow_ == nullptr) {
      return Element("Instances", kOptional, "",
                     "<xs:complexType><xs:sequence><xs:any processContents=\"lax\" minOccurs=\"0\" "
                     "maxOccurs=\"unbounded\"/></xs:sequence><xs:anyAttribute processContents=\"skip\"/>"
                     "</xs:complexType>");
    }
    std::string instances;
    if (const Flow::NodeType* const in_flow = TypeInFlow(type)) {
      for (const Flow::Instance& instance : in_flow->instances) {
        if (!IsElementName(instance.name)) continue;
        instances += Element(instance.name, kOptional, "", All(EntriesOfInstance(kOptional, {&kind})));
      }
    }
    return Element("Instances", kOptional, "", All(instances));
  }

  // Of an instance whose name, and so its type, is not known, any type's.
  std::string EntriesOfAnyInstance() const {
    std::vector<const Kind*> all;
    for (const auto& [name, kind] : kinds_) all.push_back(&kind);
    return EntriesOfInstance("", all);
  }

  static std::string EntriesOfInstance(std::string_view occurs, const std::vector<const Kind*>& kinds) {
    std::string entries = ElementOf("wfName", occurs, "The workflow that the instance belongs to", "Text");
    entries += ElementOf("ConfigFile", occurs, "A dictionary file with /Parameters that are not set here", "Text");
    entries += ElementOf("WriteDir", occurs, "", "Text");
    if (!occurs.empty()) entries += ElementOf("ReadDirs", occurs, "", "Entries");
    const bool is_closed =
        std::all_of(kinds.begin(), kinds.end(), [](const Kind* kind) { return kind->IsDescribed(); });
    if (!is_closed) return entries + (occurs.empty() ? "" : OpenEntries(occurs));
    return entries + Element("Parameters", occurs, "", All(Parameters(kinds))) +
           Element("maps", occurs, "Who gets the output signals", All(Outputs(kinds)));
  }

  static std::string OpenEntries(std::string_view occurs) {
    return ElementOf("Parameters", occurs, "", "Entries") + ElementOf("maps", occurs, "", "Entries");
  }

  static std::string Outputs(const std::vector<const Kind*>& kinds) {
    std::map<std::string, std::string> sentences;
    for (const Kind* kind : kinds) {
      for (const SignalDescription& output : kind->type->words->outputs) {
        if (IsElementName(output.name)) sentences.emplace(output.name, output.sentence);
      }
    }
    std::string text;
    for (const auto& [name, sentence] : sentences) text += ElementOf(name, kOptional, sentence, "Receivers");
    return text;
  }

  static std::string Parameters(const std::vector<const Kind*>& kinds) {
    std::map<std::string, ParameterDescription> rows;
    for (const Kind* kind : kinds) {
      for (const ParameterDescription& row : kind->type->words->parameters) {
        if (!IsElementName(row.name)) continue;
        const auto [place, is_new] = rows.emplace(row.name, row);
        if (!is_new) Widen(place->second, row);
      }
    }
    std::string text;
    for (const auto& [name, row] : rows) text += Parameter(row);
    return text;
  }

  // So that it takes what the other one takes, too.
  static void Widen(ParameterDescription& row, const ParameterDescription& other) {
    if (row.type != other.type) row.type = IsList(row) || IsList(other) ? kList : "";
    row.minimum = row.minimum && other.minimum ? std::optional(std::min(*row.minimum, *other.minimum)) : std::nullopt;
    WidenWords(row, other);
    row.maximum = row.maximum && other.maximum ? std::optional(std::max(*row.maximum, *other.maximum)) : std::nullopt;
  }

  static void WidenWords(ParameterDescription& row, const ParameterDescription& other) {
    if (row.words.empty() || other.words.empty()) return row.words.clear();
    row.any_case = row.any_case || other.any_case;
    row.words.push_back(other.fallback);
    row.words.insert(row.words.end(), other.words.begin(), other.words.end());
  }

  static constexpr char kList[] = "list of texts";
  static bool IsList(const ParameterDescription& row) { return row.type == kList; }

  static std::string Parameter(const ParameterDescription& row) {
    std::string sentence = row.fallback.empty() ? row.sentence : row.sentence + " (" + row.fallback + ")";
    // A list can stand there as well, so that nothing but this says its words.
    if (IsList(row) && !row.words.empty()) sentence += ": " + Sdk::Parameters::Alternatives(row.words);
    if (row.type == "text" && !row.words.empty()) return Element(row.name, kOptional, sentence, Words(row));
    if (row.type == "text") return ElementOf(row.name, kOptional, sentence, "TextParameter");
    if (row.type == "yes or no") return ElementOf(row.name, kOptional, sentence, "BooleanParameter");
    if (IsList(row)) return ElementOf(row.name, kOptional, sentence, "Entries");
    if (row.type != "number") return ElementOf(row.name, kOptional, row.sentence, "AnyParameter");
    return Element(row.name, kOptional, sentence, Number(row));
  }

  // One of the words, or one that is somewhere else when the workflow runs.
  static std::string Words(const ParameterDescription& row) {
    std::set<std::string> words(row.words.begin(), row.words.end());
    words.insert(row.fallback);
    std::string choice = "<xs:simpleType><xs:restriction base=\"xs:string\">";
    for (const std::string& word : words) {
      choice += row.any_case ? "<xs:pattern value=\"" + Escaped(AnyCasePattern(word)) + "\"/>"
                             : "<xs:enumeration value=\"" + Escaped(word) + "\"/>";
    }
    return Restricted("WordParameter", choice + "</xs:restriction></xs:simpleType>");
  }

  // A number in its range, or one that is somewhere else when the workflow runs.
  static std::string Number(const ParameterDescription& row) {
    std::string range = "<xs:simpleType><xs:restriction base=\"Number\">";
    if (row.minimum) range += "<xs:minInclusive value=\"" + std::to_string(*row.minimum) + "\"/>";
    if (row.maximum) range += "<xs:maxInclusive value=\"" + std::to_string(*row.maximum) + "\"/>";
    return Restricted("NumberParameter", range + "</xs:restriction></xs:simpleType>");
  }

  static std::string Restricted(const std::string& base, const std::string& type) {
    return "<xs:complexType><xs:simpleContent><xs:restriction base=\"" + base +
           "\"><xs:simpleType><xs:union memberTypes=\"ValueFromElsewhere\">" + type +
           "</xs:union></xs:simpleType><xs:anyAttribute processContents=\"skip\"/></xs:restriction>"
           "</xs:simpleContent></xs:complexType>";
  }

  const Flow::Workflow* flow_;
  std::map<std::string, Kind> kinds_;
};

}  // namespace

std::string WriteWorkflowXsd(const std::vector<LibraryDescription>& libraries, const Flow::Workflow* flow) {
  return XsdWriter(libraries, flow).Write();
}

}  // namespace OrvWorkFlow::Program
