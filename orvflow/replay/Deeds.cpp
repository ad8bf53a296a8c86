#include "orvflow/replay/Deeds.h"

#include <algorithm>
#include <tuple>

namespace OrvWorkFlow::Program {

namespace {

auto Tied(const Journal::Route& route) {
  return std::tie(route.sender_type, route.sender_instance, route.sender_signal, route.receiver_type,
                  route.receiver_instance, route.receiver_signal);
}

}  // namespace

bool AreSame(const Firing& one, const Firing& other) {
  return one.kind == other.kind && Tied(one.route) == Tied(other.route) && one.path == other.path &&
         one.text == other.text;
}

bool IsSameChange(const Journal::Event& one, const Journal::Event& other) {
  return one.operation == other.operation && one.value_type == other.value_type && one.path == other.path &&
         one.other == other.other && one.texts == other.texts;
}

bool AreSameAnswers(const Deeds& one, const Deeds& other) {
  return one.outcome == other.outcome && one.text == other.text;
}

bool AreSameFirings(const Deeds& one, const Deeds& other) {
  return std::equal(one.fired.begin(), one.fired.end(), other.fired.begin(), other.fired.end(), AreSame);
}

bool AreSameChanges(const Deeds& one, const Deeds& other) {
  return std::equal(one.changes.begin(), one.changes.end(), other.changes.begin(), other.changes.end(), IsSameChange);
}

std::string CutAsInRecord(std::string text) {
  if (text.size() > Journal::kMostText) text.resize(Journal::kMostText);
  return text;
}

}  // namespace OrvWorkFlow::Program
