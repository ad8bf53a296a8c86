#include "tests/program/support/ProgramFixture.h"

#include "tests/support/SourceFolder.h"

namespace orv_test {

namespace {

std::string Element(const std::string& name, const std::string& content) {
  return "<" + name + ">" + content + "</" + name + ">";
}

std::string Text(const std::string& name, const std::string& value) {
  return "<" + name + " __type=\"str\">" + value + "</" + name + ">";
}

std::string NodeEntry(const FlowNode& node) {
  std::string maps;
  for (const std::string& map : node.maps) {
    const std::size_t equals = map.find('=');
    maps += Element(map.substr(0, equals), Text("map0", map.substr(equals + 1)));
  }
  const std::string instance = Element(node.instance, Element("maps", maps));
  return Element(node.type, Element("Binaries", Text("win32_bin", node.binary)) + Element("Instances", instance));
}

}  // namespace

std::string ProgramFixture::WriteFlow(const std::vector<FlowNode>& nodes, const std::string& start) const {
  std::string entries;
  for (const FlowNode& node : nodes) entries += NodeEntry(node);
  const std::size_t first = start.find(',');
  const std::size_t second = start.find(',', first + 1);
  const std::string signal = Text("ReceiverTypeName", start.substr(0, first)) +
                             Text("ReceiverInstanceName", start.substr(first + 1, second - first - 1)) +
                             Text("IncomingSignalName", start.substr(second + 1));
  const std::string engine = Text("WorkFlowName", "Test") + Element("AbsorbTree", Text("node0", "Test")) +
                             Element("Mappings", Element("StartSignal", signal)) + Element("WorkNodes", entries);
  const std::string file = File("flow.xml");
  const std::string counting = "<Limit __type=\"int\">0</Limit>" + Text("Log", "");  // For the nodes that count.
  WriteFile(file, Element("IDictionaryRoot", Element("WorkFlowEngine", engine) + Element("Counting", counting)));
  return file;
}

std::string ProgramFixture::CopyExample() const {
  const std::string file = File("flow.xml");
  WriteFile(file, ReadFile(SourceFolder() / "examples/01_backup/flow.xml"));
  return file;
}

}  // namespace orv_test
