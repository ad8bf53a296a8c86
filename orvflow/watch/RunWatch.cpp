#include "orvflow/watch/RunWatch.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "OrvWorkFlow/IRunReport.h"
#include "base/lock/Mutex.h"
#include "orvflow/terminal/Console.h"
#include "orvflow/terminal/ReportRequest.h"
#include "orvflow/terminal/Terminal.h"
#include "orvflow/watch/UntakenSignals.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr std::chrono::milliseconds kInterval{200};
// A run that ends sooner shows no status line.
constexpr std::chrono::milliseconds kFirstLine{500};
// The rate is that of the last so many looks.
constexpr std::size_t kSamples = 10;
constexpr std::size_t kWaitingShown = 10;

LogLevel LevelOf(bool is_failure) { return is_failure ? LogLevel::Failures : LogLevel::Signals; }

// The nodes that work outside of their signals, "TYPE INSTANCE" each.
class BusyNodes final : public IRunReport {
 public:
  explicit BusyNodes(ISignalMediator& mediator) { mediator.Report(this); }

  const std::vector<std::string>& names() const { return names_; }
  bool Has(const RunTally::Node& node) const {
    return std::find(names_.begin(), names_.end(), node.type + " " + node.instance) != names_.end();
  }

  void NodeAtWork(const Work& /*work*/) override {}
  void NodeThere(const Node& node) override {
    if (node.busy) names_.push_back(std::string(node.type) + " " + node.instance);
  }
  void SignalWaiting(const Waiting& /*signal*/) override {}

 private:
  std::vector<std::string> names_;
};

}  // namespace

RunWatch::RunWatch(Settings settings, BoxPrinter& boxes)
    : settings_(std::move(settings)),
      boxes_(boxes),
      tracing_(settings_.log),
      record_({[this](bool is_failure) { return tracing_.Wants(LevelOf(is_failure)); },
               [this](bool is_failure, const std::string& text) {
                 tracing_.Write(LevelOf(is_failure), is_failure ? "failure" : "signal", text);
               },
               [this](const std::string& reason) { boxes_.SetReason(reason); }}) {
  boxes_.SetListener([this](const std::string& text) { tracing_.Write(LogLevel::Failures, "message", text); });
}

RunWatch::~RunWatch() {
  End();
  boxes_.SetListener({});
}

void RunWatch::Begin(const std::string& workflow_name, const std::string& note, ISignalMediator& mediator) {
  mediator_ = &mediator;
  workflow_name_ = workflow_name;
  begin_ = Clock::now();
  if (settings_.progress) {
    next_progress_ = begin_ + std::chrono::duration_cast<Clock::duration>(*settings_.progress);
  }
  WriteLog(note);
  server_.emplace([this] {
    const RunDetails details = GetDetails();
    return settings_.state_path + "\n" + ReportText(details) + kFormSeparator + ReportAsJson(details);
  });
  service_.SayReady();
  try {
    thread_ = std::thread([this] { Watch(); });
  } catch (const std::exception&) {  // The run is worth more than its status line.
  }
}

// The thread comes to its end while the server does.
void RunWatch::End() noexcept {
  {
    const Base::Hold lock(mutex_);
    ended_ = true;
  }
  changed_.NotifyAll();
  server_.reset();
  if (thread_.joinable()) {
    thread_.join();
    service_.SayStopping();
  }
  try {
    StatusLine::Finish();
    PrintNewFailures();
  } catch (const std::bad_alloc&) {  // They are counted all the same.
  }
}

void RunWatch::Watch() {
  while (!EndsWithin(kInterval)) {
    try {
      LookOnce();
    } catch (const std::bad_alloc&) {  // Another time, perhaps.
    }
  }
}

bool RunWatch::EndsWithin(Clock::duration interval) {
  const Clock::time_point time = Clock::now() + interval;
  const Base::Hold lock(mutex_);
  while (!ended_ && changed_.WaitUntil(mutex_, time)) {
  }
  return ended_;
}

void RunWatch::LookOnce() {
  if (!tracing_.Flush() && !complained_.exchange(true)) {
    PrintErrorLine(tracing_.Complaint() + "; the workflow goes on");
  }
  PrintNewFailures();
  if (TakeReportRequest()) WriteErrorText(MakeReport());
  TellService();
  ShowStanding();
}

void RunWatch::TellService() {
  if (!service_.IsWanted()) return;
  const std::vector<RunTally::Work> work = record_.GetWork();
  service_.Look(StandingLine(GetStanding()), work.empty() ? RunTally::Clock::duration{} : work.front().time);
}

void RunWatch::PrintNewFailures() {
  for (const std::string& text : record_.TakeNewSilentFailures()) PrintErrorLine(settings_.shown_name + ": " + text);
}

// The lines of a trace are all that a terminal can show.
void RunWatch::ShowStanding() {
  const Clock::time_point now = Clock::now();
  const RunStanding standing = GetStanding();
  if (CanRewriteLine() && !settings_.log.trace_category) {
    if (now - begin_ >= kFirstLine) StatusLine::Show(DescribeStanding(standing));
  } else if (next_progress_ && now >= *next_progress_) {
    next_progress_ = now + std::chrono::duration_cast<Clock::duration>(*settings_.progress);
    PrintErrorLine(settings_.shown_name + ": " + StandingLine(standing));
  }
}

std::uint64_t RunWatch::RateAt(Clock::time_point now, std::uint64_t delivered) {
  const Base::Hold lock(mutex_);
  // Whoever looks more often does not shorten the time.
  if (samples_.empty() || now - samples_.back().time >= kInterval) samples_.push_back({now, delivered});
  if (samples_.size() > kSamples) samples_.pop_front();
  const std::chrono::duration<double> time = now - samples_.front().time;
  if (time < kInterval) return 0;
  return static_cast<std::uint64_t>(static_cast<double>(delivered - samples_.front().delivered) / time.count() + 0.5);
}

RunStanding RunWatch::GetStanding() {
  const Clock::time_point now = Clock::now();
  const RunTally::Numbers numbers = record_.GetNumbers();
  RunStanding standing;
  standing.delivered = numbers.delivered;
  standing.per_second = RateAt(now, numbers.delivered);
  standing.waiting = numbers.waiting;
  standing.failures = CountFailures();
  standing.run_time = now - begin_;
  if (durable_) standing.durable = durable_();
  AddWork(standing, now);
  const Base::Hold lock(mutex_);
  if (last_save_) standing.since_save = now - *last_save_;
  return standing;
}

// A delivery, or else a node that is busy outside of its signals.
void RunWatch::AddWork(RunStanding& standing, Clock::time_point now) {
  const std::vector<RunTally::Work> work = record_.GetWork();
  const BusyNodes busy(*mediator_);
  const Base::Hold lock(mutex_);
  const std::string first = busy.names().empty() ? "" : busy.names().front();
  if (first != busy_node_) busy_since_ = now;
  busy_node_ = first;
  if (!work.empty() && work.front().time >= kInterval) {
    standing.work = work.front().type + " " + work.front().instance;
    standing.work_time = work.front().time;
  } else if (!first.empty()) {
    standing.work = first;
    standing.work_time = now - busy_since_;
  }
}

RunDetails RunWatch::GetDetails() {
  RunDetails details;
  details.title = workflow_name_ + " (" + settings_.shown_name + "), process " + NumberOfThisProcess();
  details.standing = GetStanding();
  details.work = record_.GetWork();
  details.first_waiting = record_.FirstWaiting(kWaitingShown);
  details.nodes = record_.GetNodes();
  const BusyNodes busy(*mediator_);
  for (RunTally::Node& node : details.nodes) node.busy = busy.Has(node);
  details.failures = boxes_.GetTexts();
  for (const RunTally::SilentFailure& failure : record_.GetSilentFailures()) {
    details.failures.emplace_back(failure.text, failure.times);
  }
  details.untaken = record_.GetUntaken();
  return details;
}

std::string RunWatch::MakeReport() { return ReportText(GetDetails()); }

void RunWatch::NoteSave() noexcept {
  {
    const Base::Hold lock(mutex_);
    last_save_ = Clock::now();
  }
  try {
    WriteLog("the state was saved");
  } catch (const std::bad_alloc&) {  // A line less.
  }
}

unsigned RunWatch::CountFailures() const { return boxes_.count() + static_cast<unsigned>(record_.GetNumbers().silent); }

unsigned RunWatch::TellUntaken(IDictionary& dictionary) {
  unsigned failures = 0;
  for (const UntakenSignal& signal : FindUntakenSignals(dictionary, record_)) {
    PrintErrorLine(settings_.shown_name + ": " + signal.text);
    tracing_.Write(LogLevel::Failures, signal.is_failure ? "failure" : "note", signal.text);
    if (signal.is_failure) ++failures;
  }
  return failures;
}

bool RunWatch::FinishLog() {
  if (tracing_.Flush()) return true;
  if (!complained_.exchange(true)) PrintErrorLine(tracing_.Complaint());
  return false;
}

}  // namespace OrvWorkFlow::Program
