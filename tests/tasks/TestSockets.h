// The system's sockets on 127.0.0.1, as servers and clients of tests need them.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace orv_test::TestSockets {

using Socket = std::intptr_t;
inline constexpr Socket kNone = -1;

// On this port, or for 0 on one that is free, which `port` becomes. kNone when it cannot be had.
Socket Listen(std::uint16_t& port);
Socket Connect(std::uint16_t port);
// kNone when nobody came in that time.
Socket Accept(Socket listening, std::chrono::milliseconds time);
// How many bytes came; 0 at the end, and when none came in that time.
std::size_t Receive(Socket socket, char* bytes, std::size_t size, std::chrono::milliseconds time);
// How many bytes were taken; 0 when the other side has gone.
std::size_t Send(Socket socket, const char* bytes, std::size_t size);
void Close(Socket socket);

// Those that have something to accept or to receive, or are at their end; waits until there is one, but not longer.
std::vector<Socket> Ready(const std::vector<Socket>& sockets, std::chrono::milliseconds time);
// How many bytes are taken at once, without waiting; nothing when the other side has gone.
std::optional<std::size_t> SendNow(Socket socket, const char* bytes, std::size_t size);

}  // namespace orv_test::TestSockets
