// A simulated storage card mounted on a folder: an image with a file system, which can be made to
// stall.
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
    // Mounts an empty card on the folder, with additional mount options. Its image is beside the
    // folder.
    explicit storage_card(const std::filesystem::path& folder, const std::string& options = {})
        : storage_card{empty_image(folder.string() + ".img"), folder, options} {}

    // Mounts the card with that image.
    storage_card(const std::filesystem::path& image, const std::filesystem::path& folder,
                 const std::string& options)
        : folder_{folder}, image_{image} {
        const std::string all = options.empty() ? "loop" : "loop," + options;
        is_mounted_ = run({"/bin/mount", "-o", all, image, folder}).status == 0;
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

    // False without permission to mount.
    [[nodiscard]] bool is_mounted() const { return is_mounted_; }

    // Blocks writes until go_on.
    void stall() const { EXPECT_EQ(ioctl(file_, FIFREEZE, 0), 0); }
    void go_on() const { static_cast<void>(ioctl(file_, FITHAW, 0)); }

    // Copies the image: the card's contents if the power were cut now.
    void copy_to(const std::filesystem::path& image) const {
        EXPECT_EQ(run({"/bin/cp", "--sparse=always", image_, image}).status, 0);
    }

private:
    static std::filesystem::path empty_image(const std::filesystem::path& image) {
        EXPECT_EQ(run({"/usr/bin/truncate", "-s", "256M", image}).status, 0);
        EXPECT_EQ(run({"/sbin/mkfs.ext4", "-q", image}).status, 0);
        return image;
    }

    std::filesystem::path folder_;
    std::filesystem::path image_;
    bool is_mounted_ = false;
    int file_ = -1;
};
