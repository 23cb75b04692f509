// What the simulated camera's driver does. A file beside the device says so, named as the device
// with
// ".state" at the end: "run" (also without the file), "silent" or "block".
#pragma once

#include "folder_watch.h"

#include <string>

namespace sim {

class camera_driver {
public:
    explicit camera_driver(const std::string& device);

    // No picture comes, but a wait for one can be ended.
    [[nodiscard]] bool is_silent();

    // A call of the driver: returns once it is not to block. Nothing else ends it.
    void call();

    // Can be read when something changed beside the device. Borrowed; negative where the system has
    // no more.
    [[nodiscard]] int descriptor() const { return watch_.descriptor(); }

private:
    enum class mode { run, silent, block };

    [[nodiscard]] mode read() const;
    [[nodiscard]] mode now();

    std::string file_;
    folder_watch watch_;
    mode mode_;
};

} // namespace sim
