#include "nodes/web/WebNodes.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "OrvWorkFlow/sdk/ParameterValue.h"
#include "nodes/digest/Digest.h"
#include "nodes/files/FlushPace.h"
#include "nodes/task/ComingEntry.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeParameter kUrl = TextParameterRow("Url", "", "the address, http:// or https://");
constexpr NodeParameter kHeaders = TextListParameterRow("Headers", "headers of the request, Name: value each");
constexpr NodeParameter kRedirects = NumberParameterRow("Redirects", "10", 0, "how many redirects are followed", 100);
constexpr NodeParameter kConnect =
    NumberParameterRow("ConnectSeconds", "30", 1, "how long the server has to take the connection", 3600);
constexpr NodeParameter kIdle = NumberParameterRow("IdleSeconds", "60", 1, "how long it may send nothing", 86400);
constexpr NodeParameter kWhole =
    NumberParameterRow("WholeSeconds", "0", 0, "how long the whole may take; 0 is without a limit", 604800);

constexpr NodeInput kRequestInputs[] = {
    {"request", "sends the request; it is sent again when a stop or a kill came in between"},
    kResumeInput,
};
constexpr NodeOutput kRequestOutputs[] = {
    {"answered", false, "the answer has a status below 400"},
    {"refused", false, "the answer has a status of 400 and more"},
    kFailedOutput,
};
constexpr NodeParameter kRequestParameters[] = {
    kUrl,
    TextParameterRow("Method", "GET", "the method"),
    kHeaders,
    TextListParameterRow("Body", "what is sent; the parts are its lines"),
    TextParameterRow("Into", "/Answer", "the entry that gets the answer's text"),
    NumberParameterRow("MostBytes", "1048576", 0, "a longer answer fails"),
    kRedirects,
    kConnect,
    kIdle,
    kWhole,
};
constexpr ParameterRule kRequestRules[] = {
    {.name = "Body", .between = "\n"},
};

constexpr NodeInput kDownloadInputs[] = {
    {"download", "fetches the file, or the rest of it"},
    kResumeInput,
};
constexpr NodeOutput kDownloadOutputs[] = {
    {"downloaded", false, "the file is there, and is what was expected"},
    kFailedOutput,
};
constexpr NodeParameter kDownloadParameters[] = {
    kUrl,
    kHeaders,
    TextParameterRow("File", "", "where it goes; until it is whole it is FILE.part"),
    TextParameterRow("Kind", "sha256", "what Expected is"),
    TextListParameterRow("Expected", "what the file has to hash to, in hexadecimal digits; nothing: anything"),
    kRedirects,
    kConnect,
    kIdle,
    kWhole,
};
constexpr ParameterRule kDownloadRules[] = {
    {.name = "Kind", .words = Digest::kKinds},
    {.name = "Expected", .between = ""},
};

constexpr std::size_t kPiece = 256 * 1024;

// So that a text from elsewhere begins no header of its own.
std::vector<std::string> OneLineEach(std::vector<std::string> texts, const char* what) {
  for (const std::string& text : texts) {
    const bool has_control = std::any_of(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; });
    if (has_control) throw std::runtime_error(std::string(what) + " has more than one line");
  }
  return texts;
}

const std::string* Find(const std::vector<std::pair<std::string, std::string>>& headers, const char* name) {
  const auto found = std::find_if(headers.begin(), headers.end(), [&](const auto& row) { return row.first == name; });
  return found == headers.end() ? nullptr : &found->second;
}

}  // namespace

constinit const NodeTable<ParameterRule> HttpRequest::kRules = kRequestRules;

constinit const NodeDescription HttpRequest::kDescription = {
    .sentence = "Sends an HTTP request, and puts the answer into the dictionary",
    .inputs = kRequestInputs,
    .outputs = kRequestOutputs,
    .parameters = kRequestParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

constinit const NodeTable<ParameterRule> Downloader::kRules = kDownloadRules;

constinit const NodeDescription Downloader::kDescription = {
    .sentence = "Downloads a file, goes on where it was, and compares its hash",
    .inputs = kDownloadInputs,
    .outputs = kDownloadOutputs,
    .parameters = kDownloadParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

const char* HttpRequest::DoTask(const std::string& /*task*/) {
  HttpOrder order;
  order.url = TextParameter("Url");
  order.method = OneLineEach({TextParameter("Method")}, "Method").front();
  order.headers = OneLineEach(TextListParameter("Headers"), "a header");
  order.body = OptionalText("Body");
  order.most_redirects = NumberParameter("Redirects");
  order.connect_limit = std::chrono::seconds(NumberParameter("ConnectSeconds"));
  order.idle_limit = std::chrono::seconds(NumberParameter("IdleSeconds"));
  order.whole_limit = std::chrono::seconds(NumberParameter("WholeSeconds"));
  order.stop_wanted = [this] { return StopWanted(); };
  const auto most = static_cast<std::size_t>(NumberParameter("MostBytes"));
  std::string text;
  int answer = 0;
  order.begin = [&](int status, const auto& headers) {
    answer = status;
    Sdk::NodeRecord record = Record();
    record.SetNumber("Status", status);
    int number = 0;
    for (const auto& [name, value] : headers) record.SetText("H" + std::to_string(++number), name + ": " + value);
  };
  order.take = [&](std::string_view piece) {
    if (text.size() + piece.size() > most) {
      throw HttpProblem("the answer is longer than " + std::to_string(most) + " bytes");
    }
    text += piece;
    return true;
  };
  try {
    if (!DoHttp(order)) return nullptr;
  } catch (const HttpProblem& problem) {
    throw HttpProblem(order.url + ": " + problem.what());
  }
  if (text.find('\0') != std::string::npos)
    throw HttpProblem(order.url + ": the answer is no text: there is a zero in it");
  HoldChanges();
  WriteEntry(WorkflowDictionary(), TextParameter("Into"), text);
  return answer < 400 ? "answered" : "refused";
}

const char* Downloader::DoTask(const std::string& /*task*/) {
  const std::string name = TextParameter("File");
  const std::filesystem::path target = LocalPath(FileSystem(), name);
  std::filesystem::path part_path = target;
  part_path += ".part";
  MakeFolderOf(target, name);
  {
    LocalFile part(part_path, LocalFile::Mode::Write, name + ".part");
    try {
      if (!Fetch(part)) return nullptr;
    } catch (const HttpProblem& problem) {
      throw HttpProblem(TextParameter("Url") + ": " + problem.what());
    }
  }
  Verify(part_path);
  if (StopWanted()) return nullptr;
  RenamePath(part_path, target, name);
  return "downloaded";
}

void Downloader::ClearRecord() {
  Sdk::NodeRecord record = Record();
  const std::string of = TextParameter("Url") + " " + TextParameter("File");
  const bool is_same = record.Text("Of") == of;
  const std::string tag = record.Text("Tag");
  const std::int64_t bytes = record.Number("Bytes");
  record.Clear();
  record.SetText("Of", of);
  if (!is_same) return;
  record.SetText("Tag", tag);
  record.SetNumber("Bytes", bytes);
}

// What the part holds counts as long as the server says that it is still the same file.
bool Downloader::Fetch(LocalFile& part) {
  Sdk::NodeRecord record = Record();
  auto done = static_cast<std::uint64_t>(record.Number("Bytes"));
  const std::string tag = record.Text("Tag");
  if (tag.empty() || part.Size() < done) done = 0;
  HttpOrder order;
  order.url = TextParameter("Url");
  order.headers = OneLineEach(TextListParameter("Headers"), "a header");
  order.most_redirects = NumberParameter("Redirects");
  order.connect_limit = std::chrono::seconds(NumberParameter("ConnectSeconds"));
  order.idle_limit = std::chrono::seconds(NumberParameter("IdleSeconds"));
  order.whole_limit = std::chrono::seconds(NumberParameter("WholeSeconds"));
  order.stop_wanted = [this] { return StopWanted(); };
  order.from = done;
  if (done != 0) order.if_range = tag;
  FlushPace pace;
  const auto write_down = [&] {
    part.Flush();
    record.SetNumber("Bytes", static_cast<std::int64_t>(done));
  };
  order.begin = [&](int status, const auto& headers) {
    record.SetNumber("Status", status);
    if (status == 206 && order.from != 0) {
      const std::string* const range = Find(headers, "content-range");
      if (range == nullptr || !range->starts_with("bytes " + std::to_string(order.from) + "-")) {
        throw HttpProblem("the server sends another part than was asked for");
      }
    } else if (status == 200) {
      done = 0;
    } else {
      throw HttpProblem("the server answers " + std::to_string(status));
    }
    part.CutAt(done);
    const std::string* const entity = Find(headers, "etag");
    const std::string* const date = Find(headers, "last-modified");
    // A weak tag does not say that the bytes are the same.
    const bool is_strong = entity != nullptr && !entity->starts_with("W/");
    record.SetText("Tag", is_strong ? *entity : date != nullptr ? *date : "");
    record.SetNumber("Bytes", static_cast<std::int64_t>(done));
  };
  order.take = [&](std::string_view piece) {
    part.Write(piece.data(), piece.size());
    done += piece.size();
    pace.Wrote(piece.size(), write_down);
    return !StopWanted();
  };
  try {
    const bool is_whole = DoHttp(order);
    write_down();
    return is_whole;
  } catch (const HttpProblem&) {
    write_down();
    throw;
  }
}

void Downloader::Verify(const std::filesystem::path& part) {
  const std::string expected = OptionalText("Expected");
  if (expected.empty()) return;
  const std::string name = TextParameter("File");
  const std::unique_ptr<Digest> digest = Digest::Make(TextParameter("Kind"));
  bool is_same = false;
  std::string hash;
  {
    LocalFile file(part, LocalFile::Mode::Read, name + ".part");
    std::vector<char> piece(kPiece);
    while (const std::size_t count = file.Read(piece.data(), piece.size())) {
      if (StopWanted()) return;
      digest->Add(piece.data(), count);
    }
    hash = digest->Text();
    is_same = Sdk::Parameters::EqualIgnoringCase(hash, expected);
  }
  if (is_same) return;
  std::error_code error;
  std::filesystem::remove(part, error);
  Record().SetNumber("Bytes", 0);
  throw FileProblem(name + " is not what was expected: its hash is " + hash);
}

}  // namespace OrvWorkFlow::Nodes
