// The system's sockets on 127.0.0.1, as servers and clients of tests need them.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace orv_test::TestSockets {

using Socket = std::intptr_t;
inline constexpr Socket kNone = -1;

// On a port that is free, which `port` becomes.
Socket Listen(std::uint16_t& port);
Socket Connect(std::uint16_t port);
// kNone when nobody came in that time.
Socket Accept(Socket listening, std::chrono::milliseconds time);
// How many bytes came; 0 at the end, and when none came in that time.
std::size_t Receive(Socket socket, char* bytes, std::size_t size, std::chrono::milliseconds time);
// How many bytes were taken; 0 when the other side has gone.
std::size_t Send(Socket socket, const char* bytes, std::size_t size);
void Close(Socket socket);

}  // namespace orv_test::TestSockets
