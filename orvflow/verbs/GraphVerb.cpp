// orvflow graph FLOW.xml: the wiring of a workflow as a picture.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "flow/drawing/Drawing.h"
#include "flow/drawing/DrawingDifference.h"
#include "flow/model/Workflow.h"
#include "host/files/HostFiles.h"
#include "orvflow/files/FileLoading.h"
#include "orvflow/files/KeyFile.h"
#include "orvflow/graph/GraphPage.h"
#include "orvflow/run/FlowCheck.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/terminal/OtherProgram.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

class GraphVerb final : public Verb {
 public:
  explicit GraphVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  std::string PictureForm() const;
  // The text for Graphviz, or the page around it.
  std::string Draw(bool as_page) const;
  // Adds a workflow that is to be taken in, and what is wrong with it.
  void TakeIn(Host::WorkflowHost& host, const std::string& guest, Flow::Workflow* workflow,
              Flow::Findings* findings) const;
  std::string DrawDifferenceFrom(IDictionary& other, IDictionary& dictionary, const Flow::Workflow& workflow,
                                 const std::string& title) const;
  void WriteText(const std::string& text) const;
  void DrawPicture(const std::string& form, const std::string& dot) const;

  std::string flow_;
  std::string other_;
  std::string output_;
  std::string key_file_;
  std::vector<std::string> absorbs_;
  std::vector<std::string> plugin_directories_;
  bool without_findings_ = false;
  bool grouped_ = false;
};

GraphVerb::GraphVerb(CLI::App& program) : Verb(program, "graph", "Draws the wiring of a workflow") {
  command().add_option("FLOW.xml", flow_, "The workflow's dictionary file; - for standard input")->type_name("");
  command()
      .add_option(
          "-o,--output", output_,
          "The picture: a file that ends in .html (a page to pan, zoom and search), in .svg, .png or .pdf (drawn by "
          "Graphviz), or in .dot; else DOT is written to standard output")
      ->type_name("FILE");
  command()
      .add_option("--diff", other_,
                  "Draws what has changed since this one: added, removed, changed; findings are left out")
      ->type_name("OTHER.xml");
  AddFlag("--group", grouped_, "Puts the instances of one type side by side, in a frame");
  command()
      .add_option("--absorb", absorbs_, "Another workflow that is to be taken in; drawn in a frame of its own")
      ->type_name("FILE")
      ->allow_extra_args(false);
  AddFlag("--no-findings", without_findings_, "Loads no libraries, and does not mark what check finds");
  AddKeyFileOption(command(), key_file_);
  command()
      .add_option("--plugin-path", plugin_directories_, "Looks for plug-in libraries there too")
      ->type_name("DIR")
      ->allow_extra_args(false);
  command().footer(
      "Example:\n"
      "  orvflow graph flow.xml -o flow.html\n"
      "  orvflow graph flow.xml -o flow.svg\n"
      "  orvflow graph flow.xml --diff flow-before.xml -o changes.svg\n"
      "  orvflow graph flow.xml | dot -Tx11");
}

// "svg" and so on; "" for DOT on standard output.
std::string GraphVerb::PictureForm() const {
  if (output_.empty() || IsStandardStream(output_)) return {};
  const std::size_t dot = output_.find_last_of("./\\");
  std::string form = dot == std::string::npos || output_[dot] != '.' ? "" : output_.substr(dot + 1);
  std::transform(form.begin(), form.end(), form.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (const char* known : {"html", "svg", "png", "pdf", "dot"}) {
    if (form == known) return form;
  }
  throw UsageError("-o " + output_ + ": the name has to end in .html, .svg, .png, .pdf or .dot");
}

ExitCode GraphVerb::Execute() {
  if (flow_.empty()) throw UsageError("no workflow file given");
  if (!other_.empty() && grouped_) throw UsageError("--diff draws no groups; leave --group out");
  if (!other_.empty() && !absorbs_.empty()) throw UsageError("--diff compares two workflows; leave --absorb out");
  if (std::any_of(absorbs_.begin(), absorbs_.end(), IsStandardStream)) {
    throw UsageError("--absorb -: only the workflow can come from standard input; name a file");
  }
  if (IsStandardStream(other_)) throw UsageError("--diff -: the other workflow has to be a file");
  const std::string form = PictureForm();
  AddPluginDirectories(plugin_directories_);
  const bool is_page = form == "html";
  if (is_page && !HasGraphPage()) {
    throw ProgramError(ExitCode::Failed,
                       "-o " + output_ +
                           ": this program was built without the page, which npm makes; take .svg, or "
                           "build it where npm is there and reaches its registry");
  }
  const std::string text = Draw(is_page);
  if (form.empty()) {
    WriteStandardOutput(text);
  } else if (is_page || form == "dot") {
    WriteText(text);
  } else {
    DrawPicture(form, text);
  }
  return ExitCode::Done;
}

void GraphVerb::TakeIn(Host::WorkflowHost& host, const std::string& guest, Flow::Workflow* workflow,
                       Flow::Findings* findings) const {
  const FlowSource source(guest);
  const Host::WorkflowHost::OwnedDictionary dictionary = host.MakeDictionary();
  ReadFlow(*dictionary, source.file(), source.shown_name());
  Flow::TakeIn(*workflow, Flow::ReadWorkflow(*dictionary));
  if (without_findings_) return;
  const Flow::Findings found = FindFaults(*dictionary, {.is_guest = true, .file = source.path()});
  findings->insert(findings->end(), found.begin(), found.end());
}

std::string GraphVerb::Draw(bool as_page) const {
  const OutputAside aside;
  std::optional<KeyFile> key;
  if (!key_file_.empty()) key.emplace(key_file_);
  const std::unique_ptr<Host::WorkflowHost> host = std::make_unique<Host::WorkflowHost>();
  if (key) host->UseKey(key->key());
  const FlowSource source(flow_);
  const Host::WorkflowHost::OwnedDictionary dictionary = host->MakeDictionary();
  ReadFlow(*dictionary, source.file(), source.shown_name());
  Flow::Workflow workflow = Flow::ReadWorkflow(*dictionary);
  if (workflow.types.empty()) {
    throw FileError(ExitCode::DictionaryDamaged, source.shown_name(), WorkflowSchema::kWorkNodes,
                    "a dictionary, but no workflow: it has no work nodes");
  }
  Flow::Findings findings;
  if (!without_findings_ && other_.empty()) {
    findings = FindFaults(*dictionary, {.takes_in_others = !absorbs_.empty(), .file = source.path()});
  }
  for (const std::string& guest : absorbs_) TakeIn(*host, guest, &workflow, &findings);
  const std::string title = workflow.name.empty() ? source.shown_name() : workflow.name;
  const std::string dot = other_.empty() ? Flow::DrawAsDot(workflow, findings, title, grouped_)
                                         : DrawDifferenceFrom(*host->MakeDictionary(), *dictionary, workflow, title);
  return as_page ? MakeGraphPage(title, dot, workflow, findings) : dot;
}

std::string GraphVerb::DrawDifferenceFrom(IDictionary& other, IDictionary& dictionary, const Flow::Workflow& workflow,
                                          const std::string& title) const {
  ReadFlow(other, Host::MakeAbsolutePath(other_), other_);
  const Flow::Workflow before = Flow::ReadWorkflow(other);
  if (before.types.empty()) {
    throw FileError(ExitCode::DictionaryDamaged, other_, WorkflowSchema::kWorkNodes,
                    "a dictionary, but no workflow: it has no work nodes");
  }
  return Flow::DrawDifference(before, workflow, Flow::CompareNodes(other, dictionary, workflow), title, other_);
}

constexpr char kNotWritten[] = "cannot be written; check the folder and the disk";

// Gone in the end, unless it is kept.
class TextFile {
 public:
  TextFile(std::string path, const std::string& text) : path_(std::move(path)) {
    std::ofstream file(path_, std::ios::binary);
    file << text;
    file.close();
    is_written_ = !file.fail();
  }
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;
  ~TextFile() {
    if (!is_kept_) std::remove(path_.c_str());
  }

  bool is_written() const { return is_written_; }
  void Keep() { is_kept_ = true; }

 private:
  std::string path_;
  bool is_written_ = false;
  bool is_kept_ = false;
};

void GraphVerb::WriteText(const std::string& text) const {
  TextFile file(Host::MakeAbsolutePath(output_), text);
  if (!file.is_written()) throw FileError(ExitCode::Failed, output_, "", kNotWritten);
  file.Keep();
}

void GraphVerb::DrawPicture(const std::string& form, const std::string& dot) const {
  const std::string path = Host::MakeAbsolutePath(output_);
  const auto fail = [&](const std::string& text) { throw FileError(ExitCode::Failed, output_, "", text); };
  const std::string text_path = path + ".dot";
  if (Host::FindFileKind(text_path) != Host::FileKind::Missing) {
    fail("its text would be written to " + output_ + ".dot for a moment, and there is such a file; move it");
  }
  const TextFile text(text_path, dot);
  if (!text.is_written()) fail(kNotWritten);
  const std::optional<int> code = RunOtherProgram("dot", {"-T" + form, "-o", path, text_path});
  if (!code) {
    fail(
        "pictures are drawn by the program dot of Graphviz, which is not in the PATH; install the package graphviz, or "
        "take .html, which browsers draw");
  }
  if (*code != 0) fail("dot failed with exit code " + std::to_string(*code));
}

}  // namespace

std::unique_ptr<Verb> MakeGraphVerb(CLI::App& program) { return std::make_unique<GraphVerb>(program); }

}  // namespace OrvWorkFlow::Program
