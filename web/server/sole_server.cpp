// Makes sure that a board has only one page server.
#include "sole_server.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace web {
namespace {

// A server that has to end waits for nothing.
constexpr unsigned END_PATIENCE_S = 10;

} // namespace

// The kernel tells who holds this kind of lock.
bool become_sole_server(const std::string& file) {
    const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    struct flock holder {};
    holder.l_type = F_WRLCK;
    holder.l_whence = SEEK_SET;
    if (descriptor < 0 || fcntl(descriptor, F_GETLK, &holder) != 0) {
        return false;
    }
    if (holder.l_type != F_UNLCK && holder.l_pid > 0) {
        kill(holder.l_pid, SIGTERM);
    }
    struct flock own {};
    own.l_type = F_WRLCK;
    own.l_whence = SEEK_SET;
    alarm(END_PATIENCE_S);
    const bool is_locked = fcntl(descriptor, F_SETLKW, &own) == 0;
    alarm(0);
    return is_locked;
}

} // namespace web
