// The camera's driver, controlled by a file beside the device.
#include "camera_driver.h"

#include <fstream>
#include <poll.h>

namespace sim {

// Watch the folder before reading the file, so that no change is missed.
camera_driver::camera_driver(const std::string& device)
    : file_(device + ".state"), watch_(std::filesystem::path(device).parent_path()), mode_(read()) {
}

camera_driver::mode camera_driver::read() const {
    std::string word;
    std::ifstream{file_} >> word;
    if (word == "block") {
        return mode::block;
    }
    return word == "silent" ? mode::silent : mode::run;
}

camera_driver::mode camera_driver::now() {
    if (watch_.changed()) {
        mode_ = read();
    }
    return mode_;
}

bool camera_driver::is_silent() {
    return now() == mode::silent;
}

void camera_driver::call() {
    while (now() == mode::block) {
        pollfd changes{watch_.descriptor(), POLLIN, 0};
        poll(&changes, 1, -1);
    }
}

} // namespace sim
