// Libraries are tried in a process apart before this one loads them: what crashes, ends the process or does not return
// while it is loaded does that there.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

enum class TrialDepth {
  Load,  // as `run` does: beside the library's objects
  Make,  // as `inspect` does: alone, and one object of each type is made
};

// By file: what is wrong with it, one line without the file's name.
using TrialFaults = std::map<std::string, std::string>;

// Tries the libraries of these files, absolute paths in the characters of the host's file calls, all in one process
// and, when that fails, each in its own; returns those that have a fault. A file that was found good is not tried again
// by this process while its size, time and identity stay the same. Throws ProgramError when the user asks the program
// to stop meanwhile. Where no process can be started nothing is tried, and no fault is found.
TrialFaults TryLibraries(const std::vector<std::string>& files, TrialDepth depth);

// Gets such a process ready, for a TryLibraries that comes soon. One thread.
void PrepareToTryLibraries() noexcept;
// The same with the library's objects, which are loaded once for both then (start_bench): the other process has a copy
// of the host, and ends it.
void PrepareToTryLibraries(std::optional<Host::WorkflowHost>& host) noexcept;

// The first argument of a program that is such a process.
constexpr char kTrialArgument[] = "--try-libraries-and-report";

// What such a process does; it has no other arguments. Reads what to try from standard input, and reports on standard
// output, which the libraries do not get hold of.
[[noreturn]] void ServeTrial();

}  // namespace OrvWorkFlow::Program
