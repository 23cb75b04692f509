// A storage card in the place of a folder: an image with a file system of its own, which can be
// made to stall.
#pragma once

#include "support/process.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

class storage_card {
public:
    // Mounts the card on the folder; the image lies beside it.
    explicit storage_card(const std::filesystem::path& folder) : folder_{folder} {
        const std::string image = folder.string() + ".img";
        is_mounted_ = run({"/usr/bin/truncate", "-s", "256M", image}).status == 0 &&
                      run({"/sbin/mkfs.ext4", "-q", image}).status == 0 &&
                      run({"/bin/mount", "-o", "loop", image, folder}).status == 0;
        file_ = is_mounted_ ? open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
    }
    storage_card(const storage_card&) = delete;
    storage_card& operator=(const storage_card&) = delete;
    ~storage_card() {
        if (is_mounted_) {
            go_on();
            close(file_);
            umount2(folder_.c_str(), MNT_DETACH);
        }
    }

    // False without the right to mount.
    [[nodiscard]] bool is_mounted() const { return is_mounted_; }

    // Lets writes wait until go_on.
    void stall() { EXPECT_EQ(ioctl(file_, FIFREEZE, 0), 0); }
    void go_on() { static_cast<void>(ioctl(file_, FITHAW, 0)); }

private:
    std::filesystem::path folder_;
    bool is_mounted_ = false;
    int file_ = -1;
};
