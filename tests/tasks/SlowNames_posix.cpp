// The system's look-up of names, for this program: "slow.example" takes ten seconds and is not found.
#include <dlfcn.h>
#include <netdb.h>

#include <chrono>
#include <string_view>
#include <thread>

extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** found) {
  if (name != nullptr && std::string_view(name) == "slow.example") {
    std::this_thread::sleep_for(std::chrono::seconds(10));
    return EAI_AGAIN;
  }
  using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
  static const auto system_one = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "getaddrinfo"));
  return system_one(name, service, hints, found);
}
