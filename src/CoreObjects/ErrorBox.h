// The modal box in which the user acknowledges a failure.
#pragma once

#include <cstddef>
#include <string_view>

namespace OrvWorkFlow::Core {

inline constexpr char kBoxCaption[] = "Workflowengine";

// The engine's and the mediator's boxes differ in the run of full stops that widens them.
inline constexpr std::size_t kEngineBoxStops = 105;
inline constexpr std::size_t kMediatorBoxStops = 140;

// Shows the text followed at once by `stops` full stops and waits for OK, on the calling thread. Never throws.
void ShowErrorBox(std::string_view text, std::size_t stops) noexcept;

}  // namespace OrvWorkFlow::Core
