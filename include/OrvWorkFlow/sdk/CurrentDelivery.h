// The delivery that the node at hand is handling.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace OrvWorkFlow::Sdk {

struct Delivery {
  // These two are the key: the same when the signal is delivered again because the process died in it, and of no other
  // delivery. "" where the host gives its runs no names: then the number is of this process.
  std::string run;
  std::uint64_t number = 0;
  std::uint32_t attempt = 1;  // 2 and more after the process died in it

  // "run-number", or the number alone: for what acts outside of the workflow and is to recognise a repetition.
  std::string Key() const { return run.empty() ? std::to_string(number) : run + "-" + std::to_string(number); }
};

// On the thread on which the node gets its signal. Nothing on other threads, and outside of a workflow.
std::optional<Delivery> CurrentDelivery();

}  // namespace OrvWorkFlow::Sdk
