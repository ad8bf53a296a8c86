#include "orvflow/history/MergedHistory.h"

#include "journal/GrowingFile.h"

namespace OrvWorkFlow::Program {

MergedHistory::MergedHistory(const RecordSet& records, const HistoryFilter& filter, bool as_json) : records_(records) {
  for (std::size_t i = 0; i < records.size(); ++i) sources_.emplace_back(records, i, filter, as_json);
}

// Deliveries that are not shown are told, too, with an empty text: others wait for them.
void MergedHistory::ReadOn(Source& source) const {
  source.has_next = false;
  source.ended.reset();
  source.cause.reset();
  Journal::Event event;
  while (!source.is_over && !source.has_next) {
    if (!source.file.reader().Next(&event)) {
      source.is_over = true;
      source.text = Journal::IsGrowing(source.file.path()) ? "" : source.lines.End();
      source.has_next = !source.text.empty();
      return;
    }
    source.text = source.lines.Take(event);
    source.time = source.lines.time();
    const auto& ended = source.lines.ended();
    source.has_next = ended || !source.text.empty();
    if (!ended) continue;
    source.ended = DeliveryPlace{ended->run, ended->number};
    const CameLetter* const came = records_.ways(source.record).CameWith(*source.ended);
    if (came == nullptr) continue;
    const auto sent = records_.FindSend(came->key);
    if (sent && sent->record != source.record) source.cause = sent;
  }
}

// Where all wait for one another, which no two true records do, the clocks decide.
MergedHistory::Source* MergedHistory::Choose() {
  Source* first = nullptr;
  bool first_waits = false;
  for (Source& source : sources_) {
    if (!source.has_next) continue;
    const bool waits = source.cause && !told_.contains(*source.cause);
    if (first == nullptr || (first_waits && !waits) || (first_waits == waits && source.time < first->time)) {
      first = &source;
      first_waits = waits;
    }
  }
  return first;
}

void MergedHistory::Print(const std::function<void(const std::string&)>& print) {
  for (Source& source : sources_) ReadOn(source);
  while (Source* const source = Choose()) {
    print(source->text);
    if (source->ended && records_.ways(source->record).SentBy(*source->ended)) {
      told_.insert({source->record, *source->ended});
    }
    ReadOn(*source);
  }
}

}  // namespace OrvWorkFlow::Program
