// A small file system mounted on a folder.
#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/mount.h>

class small_storage {
public:
    // Size for mount, such as "8m".
    small_storage(const std::filesystem::path& folder, const std::string& size) : folder_{folder} {
        is_mounted_ = mount_with(0, size) == 0;
    }
    small_storage(const small_storage&) = delete;
    small_storage& operator=(const small_storage&) = delete;
    ~small_storage() {
        if (is_mounted_) {
            umount2(folder_.c_str(), MNT_DETACH);
        }
    }

    // False without permission to mount.
    [[nodiscard]] bool is_mounted() const { return is_mounted_; }
    void resize(const std::string& size) const { EXPECT_EQ(mount_with(MS_REMOUNT, size), 0); }

private:
    [[nodiscard]] int mount_with(unsigned long flags, const std::string& size) const {
        return mount("vtrdc-test", folder_.c_str(), "tmpfs", flags, ("size=" + size).c_str());
    }

    std::filesystem::path folder_;
    bool is_mounted_;
};
