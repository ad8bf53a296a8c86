// orvflow ui FILE: a recorded run in a browser, at any of its moments.
#include <charconv>
#include <optional>
#include <vector>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "monitor/MonitorServer.h"
#include "orvflow/page/PageAccess.h"
#include "orvflow/page/PageOptions.h"
#include "orvflow/page/RecordPage.h"
#include "orvflow/terminal/StopRequest.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

class UiVerb final : public Verb {
 public:
  explicit UiVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  std::uint16_t Port() const;

  std::string file_;
  unsigned run_ = 0;
  std::string port_;
  std::string token_file_;
  std::vector<std::string> others_;
};

UiVerb::UiVerb(CLI::App& program) : Verb(program, "ui", "Shows a recorded run in a browser (see run --record)") {
  command().add_option("FILE", file_, "The record: of --record, or the one beside a state")->type_name("");
  command().add_option("--run", run_, "The record's run with this number; else the last one")->type_name("N");
  command().add_option("--port", port_, "Shown at this port of 127.0.0.1; else at any that is free")->type_name("N");
  command()
      .add_option("--token-file", token_file_,
                  "The token in the printed address, for scripts; else it is a new one each time")
      ->type_name("FILE");
  command()
      .add_option("--with", others_, "The record of another run too, which sent signals over a bridge")
      ->type_name("FILE")
      ->allow_extra_args(false);
  command().footer(
      "Shows the workflow as it was after any of its deliveries, until Ctrl-C. The record is read once: a run\n"
      "that goes on is shown by run --ui.\n"
      "\n"
      "Example:\n"
      "  orvflow run flow.xml --record flow.record\n"
      "  orvflow ui flow.record\n"
      "  orvflow ui north.record --with south.record");
}

std::uint16_t UiVerb::Port() const {
  if (port_.empty()) return 0;
  std::uint16_t port = 0;
  const char* const end = port_.data() + port_.size();
  const std::from_chars_result result = std::from_chars(port_.data(), end, port);
  if (result.ec == std::errc() && result.ptr == end && port > 0) return port;
  throw UsageError("--port " + port_ + ": not a port, a number from 1 to 65535");
}

ExitCode UiVerb::Execute() try {
  if (file_.empty()) throw UsageError("no record given");
  const std::uint16_t port = Port();
  const std::string token = TokenFrom(token_file_);
  Host::WorkflowHost host;
  RecordPage page(host, file_, run_, others_);
  if (page.records() != nullptr) page.records()->WarnOfStrangers();
  WatchForStopRequests();  // Not before: reading a long record takes its time, and Ctrl-C ends that at once.
  if (!page.problem().empty()) PrintErrorLine(file_ + ": " + page.problem() + "; shown up to there");
  Monitor::MonitorServer server(port, token, {});
  server.Start(page);
  PrintErrorLine("the record is shown at " + AddressOf(server.port(), token, token_file_) + " until Ctrl-C");
  WaitForStopRequest();
  server.Stop({});
  if (page.records() != nullptr) page.records()->ThrowIfDamaged();
  return page.problem().empty() ? ExitCode::Done : ExitCode::DictionaryDamaged;
} catch (const Monitor::ServerProblem& problem) {
  throw ProgramError(ExitCode::Failed, "ui: port " + port_ + " cannot be had (" + problem.what() +
                                           "); name another one, or none for any that is free");
}

}  // namespace

std::unique_ptr<Verb> MakeUiVerb(CLI::App& program) { return std::make_unique<UiVerb>(program); }

}  // namespace OrvWorkFlow::Program
