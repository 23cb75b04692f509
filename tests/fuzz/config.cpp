// Fuzzes the reader of the configuration file.
#include "config/cfg.h"
#include "fuzz.h"

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// The path of a file in memory with that content.
std::string file_of(const void* content, std::size_t size) {
    static const int file = memfd_create("vtrdc.conf", MFD_CLOEXEC);
    require(file >= 0 && ftruncate(file, 0) == 0);
    require(pwrite(file, content, size, 0) == static_cast<ssize_t>(size));
    return "/proc/self/fd/" + std::to_string(file);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    hush_log();
    global_config = {};
    const bool found = cfg_read_config(file_of(data, size).c_str()) == 0;
    require(found == !cfg_get_all_keys().empty());
    cfg_correct_indices();
    // Settings that were written read back as the same file.
    std::size_t length = 0;
    const malloc_text written = cfg_serialize_global_config(&length);
    require(cfg_read_config(file_of(written.get(), length).c_str()) == 0);
    require(std::strcmp(cfg_serialize_global_config().get(), written.get()) == 0);
    cfg_clean();
    return 0;
}
