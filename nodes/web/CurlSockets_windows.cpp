#include <winsock2.h>

#include "nodes/web/CurlSockets.h"

namespace OrvWorkFlow::Nodes {

curl_socket_t OpenSocket(const curl_sockaddr& address) {
  return WSASocketW(address.family, address.socktype, address.protocol, nullptr, 0,
                    WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

void KeepLoaded(const void* code) {
  HMODULE library = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                     static_cast<const wchar_t*>(code), &library);
}

}  // namespace OrvWorkFlow::Nodes
