// Behaviour of the simulated camera's driver, controlled by a file beside the device, with the
// device's name and ".state": "run" (also without the file), "silent" or "block".
#pragma once

#include "folder_watch.h"

#include <string>

namespace sim {

class camera_driver {
public:
    explicit camera_driver(const std::string& device);

    // Silent: no picture comes, but waiting for one can be interrupted.
    [[nodiscard]] bool is_silent();

    // A driver call: returns only when the driver doesn't block. Can't be interrupted.
    void call();

    // Readable when something changed beside the device. Borrowed; negative if the system has no
    // more inotify instances.
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
