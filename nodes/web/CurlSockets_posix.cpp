#include <dlfcn.h>
#include <sys/socket.h>

#include "nodes/web/CurlSockets.h"

namespace OrvWorkFlow::Nodes {

curl_socket_t OpenSocket(const curl_sockaddr& address) {
  return ::socket(address.family, address.socktype | SOCK_CLOEXEC, address.protocol);
}

void KeepLoaded(const void* code) {
  Dl_info library = {};
  if (::dladdr(code, &library) != 0) ::dlopen(library.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

}  // namespace OrvWorkFlow::Nodes
