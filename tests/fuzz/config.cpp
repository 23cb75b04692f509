// Fuzzes reading of the configuration file.
#include "config/cfg.h"
#include "fuzz.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

// Returns the path of a memory file with that content.
std::string file_of(const void* content, std::size_t size) {
    static const int file = memfd_create("vtrdc.conf", MFD_CLOEXEC);
    require(file >= 0 && ftruncate(file, 0) == 0);
    require(pwrite(file, content, size, 0) == static_cast<ssize_t>(size));
    return "/proc/self/fd/" + std::to_string(file);
}

std::string serialized() {
    return cfg_serialize_global_config().get();
}

int read(const void* content, std::size_t size) {
    return cfg_read_config(file_of(content, size).c_str());
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    hush_log();
    global_config = {};
    const std::string defaults = serialized();
    const bool found = read(data, size) == 0;
    require(found == !cfg_get_all_keys().empty());
    // Written settings read back as the same file. Rarely checked, since it is slow.
    if (const std::string written = serialized(); written != defaults) {
        require(read(written.data(), written.size()) == 0 && serialized() == written);
    }
    cfg_clean();
    return 0;
}
