// Reads where the simulated board's files are.
#include "board_root.h"

#include <cstdlib>

namespace overlay {

std::string board_root() {
    const char* value = secure_getenv("VTRDC_SYSROOT");
    std::string root = value != nullptr ? value : "";
    while (!root.empty() && root.back() == '/') {
        root.pop_back();
    }
    return root.starts_with('/') ? root : std::string();
}

} // namespace overlay
