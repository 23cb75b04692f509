// Reports the daemon's state to the supervisor that started it.
#include "core/notify.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

constexpr const char* SOCKET_VARIABLE = "NOTIFY_SOCKET";

// Stands for the NUL byte at the beginning of an abstract socket's name.
constexpr char ABSTRACT_MARK = '@';

// Open until the process ends; -1 without a supervisor.
int sender = -1;

sockaddr_un supervisor{};
socklen_t supervisor_size = 0;

// Returns false if the text is not the name of a socket.
bool set_supervisor(std::string_view name) {
    const bool is_abstract = name.starts_with(ABSTRACT_MARK);
    if ((!is_abstract && !name.starts_with('/')) || name.size() >= sizeof supervisor.sun_path) {
        return false;
    }
    supervisor.sun_family = AF_UNIX;
    std::memcpy(supervisor.sun_path, name.data(), name.size());
    if (is_abstract) {
        supervisor.sun_path[0] = '\0';
    }
    supervisor_size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    return true;
}

} // namespace

// The path is not below VTRDC_SYSROOT.
void notify_open() {
    const char* const name = secure_getenv(SOCKET_VARIABLE);
    if (name != nullptr && set_supervisor(name)) {
        sender = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    }
    unsetenv(SOCKET_VARIABLE);
}

void notify_supervisor(const char* state) {
    if (sender >= 0) {
        sendto(sender, state, std::strlen(state), MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr*>(&supervisor), supervisor_size);
    }
}
