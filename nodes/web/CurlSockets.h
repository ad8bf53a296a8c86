// What a transfer does with the system itself.
#pragma once

#include <curl/curl.h>

namespace OrvWorkFlow::Nodes {

// One that no program inherits which this process starts; CURL_SOCKET_BAD when there is none.
curl_socket_t OpenSocket(const curl_sockaddr& address);

// Keeps the library with that code for as long as this process lives.
void KeepLoaded(const void* code);

}  // namespace OrvWorkFlow::Nodes
